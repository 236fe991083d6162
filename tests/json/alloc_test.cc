// Every allocation goes through the hooks, every release balances it, and a
// refused allocation anywhere leaves nothing behind.
#include <cstdlib>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "cJSON.h"
#include "support/alloc_hooks.h"
#include "support/fw_root.h"

namespace {

using aputil::test::ScopedHooks;

std::string sample_config() {
  const char *data = std::getenv("APUTIL_TEST_DATA");
  std::string text = aputil::test::read_file(std::string(data ? data : "tests/data") +
                                             "/../../examples/firmware/etc/AP100_X_2.0/dev_config.json");
  return text.empty() ? R"({"lanport":{"dlPortNum":1,"ulPortIfName":"eth0"},"list":[1,"a",null,true]})" : text;
}

TEST(JsonAlloc, ParsePrintAndDeleteBalance) {
  ScopedHooks hooks;
  std::string text = sample_config();
  cJSON *tree = cJSON_Parse(text.c_str());
  ASSERT_NE(tree, nullptr);
  EXPECT_GT(hooks.stats().live, 10);
  long after_parse = hooks.stats().live;
  char *a = cJSON_Print(tree);
  char *b = cJSON_PrintUnformatted(tree);
  EXPECT_EQ(hooks.stats().live, after_parse + 2);  // one block per printed text
  ScopedHooks::release(a);
  ScopedHooks::release(b);
  cJSON *copy = cJSON_Duplicate(tree, 1);
  cJSON_Delete(copy);
  cJSON_Delete(tree);
  EXPECT_EQ(hooks.stats().live, 0);
}

TEST(JsonAlloc, ParseFailsCleanlyAtEveryAllocation) {
  ScopedHooks hooks;
  std::string text = sample_config() + R"( trailing ["x\u00e9", {"k": [1.5, -2, {"deep": "er"}]}])";
  cJSON *tree = cJSON_Parse(text.c_str());
  ASSERT_NE(tree, nullptr);
  cJSON_Delete(tree);
  const long total = hooks.stats().allocations;
  for (long i = 0; i < total; ++i) {
    hooks.reset();
    hooks.stats().fail_at = i;
    EXPECT_EQ(cJSON_Parse(text.c_str()), nullptr) << "allocation " << i;
    EXPECT_NE(cJSON_GetErrorPtr(), nullptr);
    EXPECT_EQ(hooks.stats().live, 0) << "allocation " << i;
  }
}

TEST(JsonAlloc, PrintFailsCleanly) {
  ScopedHooks hooks;
  cJSON *tree = cJSON_Parse(sample_config().c_str());
  const long live = hooks.stats().live;
  hooks.stats().fail_from = hooks.stats().allocations;
  EXPECT_EQ(cJSON_Print(tree), nullptr);
  EXPECT_EQ(cJSON_PrintUnformatted(tree), nullptr);
  EXPECT_EQ(hooks.stats().live, live);
  cJSON_Delete(tree);
  EXPECT_EQ(hooks.stats().live, 0);
}

TEST(JsonAlloc, LongPrintTakesOneBlock) {
  ScopedHooks hooks;
  std::string text = "[";
  for (int i = 0; i < 3000; ++i) text += (i ? ",\"" : "\"") + std::to_string(i) + "\"";
  cJSON *tree = cJSON_Parse((text + "]").c_str());
  ASSERT_NE(tree, nullptr);
  const long live = hooks.stats().live;
  const long before = hooks.stats().allocations;
  char *whole = cJSON_PrintUnformatted(tree);
  ASSERT_NE(whole, nullptr);
  ScopedHooks::release(whole);
  const long used = hooks.stats().allocations - before;
  EXPECT_EQ(used, 1);  // the text itself, however long
  hooks.stats().fail_at = hooks.stats().allocations;
  EXPECT_EQ(cJSON_Print(tree), nullptr);
  EXPECT_EQ(hooks.stats().live, live);
  hooks.stats().fail_at = -1;
  cJSON_Delete(tree);
  EXPECT_EQ(hooks.stats().live, 0);
}

TEST(JsonAlloc, BuildingFailsCleanlyAtEveryAllocation) {
  ScopedHooks hooks;
  cJSON *tree = cJSON_Parse(sample_config().c_str());
  const long base_live = hooks.stats().live;
  const int ints[] = {1, 2, 3, 4};
  const char *strings[] = {"a", "b", "c"};
  for (long i = 0; i < 40; ++i) {
    hooks.stats().fail_at = hooks.stats().allocations + i;
    cJSON_Delete(cJSON_Duplicate(tree, 1));
    hooks.stats().fail_at = hooks.stats().allocations + i;
    cJSON *arr = cJSON_CreateIntArray(ints, 4);
    if (arr) {
      EXPECT_LE(cJSON_GetArraySize(arr), 4);
    }
    cJSON_Delete(arr);
    hooks.stats().fail_at = hooks.stats().allocations + i;
    cJSON_Delete(cJSON_CreateStringArray(strings, 3));

    // A name copy that fails leaves the item out and still the caller's.
    hooks.stats().fail_at = -1;
    cJSON *obj = cJSON_CreateObject();
    cJSON *item = cJSON_CreateString("v");
    hooks.stats().fail_at = hooks.stats().allocations + i;
    cJSON_AddItemToObject(obj, "name", item);
    cJSON_AddItemReferenceToObject(obj, "ref", item);
    if (!item->string) cJSON_Delete(item);
    cJSON_Delete(obj);

    // A failed text copy leaves valuestring NULL and frees the old text.
    hooks.stats().fail_at = -1;
    cJSON *s = cJSON_CreateString("old");
    hooks.stats().fail_at = hooks.stats().allocations + i;
    cJSON_UpdateStringVal(s, "new");
    {
      EXPECT_TRUE(s->valuestring == nullptr || std::strcmp(s->valuestring, "new") == 0);
    }
    cJSON_Delete(s);
    hooks.stats().fail_at = -1;
    EXPECT_EQ(hooks.stats().live, base_live) << "allocation " << i;
  }
  cJSON_Delete(tree);
  EXPECT_EQ(hooks.stats().live, 0);
}

TEST(JsonAlloc, HooksResetToMallocAndFree) {
  {
    ScopedHooks hooks;
    cJSON_Delete(cJSON_CreateNull());
    EXPECT_EQ(hooks.stats().allocations, 1);
  }
  cJSON_Hooks half = {nullptr, nullptr};
  cJSON_InitHooks(&half);  // NULL members mean malloc and free
  cJSON *item = cJSON_CreateNull();
  char *text = cJSON_PrintUnformatted(item);
  EXPECT_STREQ(text, "null");
  free(text);
  cJSON_Delete(item);
  cJSON_InitHooks(nullptr);
}

}  // namespace
