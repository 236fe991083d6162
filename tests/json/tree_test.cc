#include <cstdlib>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "cJSON.h"

namespace {

std::string compact(cJSON *item) {
  char *text = cJSON_PrintUnformatted(item);
  std::string s = text ? text : "<null>";
  free(text);
  return s;
}

// The sibling links of a container agree in both directions.
void expect_linked(const cJSON *container) {
  const cJSON *prev = nullptr;
  for (const cJSON *c = container->child; c; prev = c, c = c->next) EXPECT_EQ(c->prev, prev);
  if (container->child) {
    EXPECT_EQ(container->child->prev, nullptr);
  }
}

TEST(JsonTree, ObjectLookupIgnoresAsciiCase) {
  cJSON *o = cJSON_Parse(R"({"LANPORT":1,"lanport":2,"Caf\u00c9":3,"x":4})");
  ASSERT_NE(o, nullptr);
  EXPECT_EQ(cJSON_GetObjectItem(o, "lanport")->valueint, 1);  // first match
  EXPECT_EQ(cJSON_GetObjectItem(o, "LanPort")->valueint, 1);
  EXPECT_EQ(cJSON_GetObjectItem(o, "X")->valueint, 4);
  EXPECT_EQ(cJSON_GetObjectItem(o, "lanpor"), nullptr);
  EXPECT_EQ(cJSON_GetObjectItem(o, "lanports"), nullptr);
  EXPECT_EQ(cJSON_GetObjectItem(o, "caf\xc3\xa9"), nullptr);  // only ASCII folds
  EXPECT_EQ(cJSON_GetObjectItem(o, "Caf\xc3\x89")->valueint, 3);
  EXPECT_EQ(cJSON_GetObjectItem(o, nullptr), nullptr);
  EXPECT_EQ(cJSON_GetObjectItem(nullptr, "x"), nullptr);
  cJSON_Delete(o);
}

TEST(JsonTree, ArrayIndexing) {
  cJSON *a = cJSON_Parse("[10,20,30]");
  EXPECT_EQ(cJSON_GetArraySize(a), 3);
  EXPECT_EQ(cJSON_GetArrayItem(a, 0)->valueint, 10);
  EXPECT_EQ(cJSON_GetArrayItem(a, 2)->valueint, 30);
  EXPECT_EQ(cJSON_GetArrayItem(a, 3), nullptr);
  EXPECT_EQ(cJSON_GetArrayItem(a, -1)->valueint, 10);  // a negative index counts as 0
  EXPECT_EQ(cJSON_GetArrayItem(a, INT32_MIN)->valueint, 10);
  EXPECT_EQ(cJSON_GetArraySize(nullptr), 0);
  EXPECT_EQ(cJSON_GetArrayItem(nullptr, 0), nullptr);
  cJSON_Delete(a);
}

TEST(JsonTree, DetachDeleteAndReplaceKeepLinks) {
  cJSON *a = cJSON_Parse("[0,1,2,3,4]");
  cJSON *first = cJSON_DetachItemFromArray(a, 0);
  cJSON *middle = cJSON_DetachItemFromArray(a, 1);  // was 2
  cJSON *last = cJSON_DetachItemFromArray(a, 2);    // was 4
  EXPECT_EQ(compact(a), "[1,3]");
  expect_linked(a);
  for (cJSON *c : {first, middle, last}) {
    EXPECT_EQ(c->next, nullptr);
    EXPECT_EQ(c->prev, nullptr);
  }
  EXPECT_EQ(first->valueint + middle->valueint + last->valueint, 6);
  cJSON_Delete(first);
  cJSON_Delete(middle);
  cJSON_Delete(last);
  EXPECT_EQ(cJSON_DetachItemFromArray(a, 5), nullptr);
  cJSON *negative = cJSON_DetachItemFromArray(a, -1);  // the first item
  ASSERT_NE(negative, nullptr);
  EXPECT_EQ(negative->valueint, 1);
  cJSON_AddItemToArray(a, negative);
  EXPECT_EQ(compact(a), "[3,1]");
  cJSON_ReplaceItemInArray(a, -7, cJSON_CreateNumber(4));
  cJSON_DeleteItemFromArray(a, -2);
  EXPECT_EQ(compact(a), "[1]");
  cJSON_ReplaceItemInArray(a, 0, cJSON_CreateNumber(3));
  cJSON_AddItemToArray(a, cJSON_CreateNumber(1));
  EXPECT_EQ(compact(a), "[3,1]");

  cJSON_ReplaceItemInArray(a, 0, cJSON_CreateString("a"));
  cJSON_ReplaceItemInArray(a, 1, cJSON_CreateString("b"));
  EXPECT_EQ(compact(a), "[\"a\",\"b\"]");
  expect_linked(a);
  cJSON *spare = cJSON_CreateNull();
  cJSON_ReplaceItemInArray(a, 2, spare);  // no such item: spare stays ours
  EXPECT_EQ(compact(a), "[\"a\",\"b\"]");
  cJSON_Delete(spare);

  cJSON_DeleteItemFromArray(a, 0);
  cJSON_DeleteItemFromArray(a, 9);
  EXPECT_EQ(compact(a), "[\"b\"]");
  cJSON_DeleteItemFromArray(a, 0);
  EXPECT_EQ(a->child, nullptr);
  cJSON_Delete(a);
}

TEST(JsonTree, ObjectEditingByName) {
  cJSON *o = cJSON_CreateObject();
  cJSON_AddNumberToObject(o, "a", 1);
  cJSON_AddStringToObject(o, "B", "two");
  cJSON_AddTrueToObject(o, "c");
  cJSON_AddFalseToObject(o, "d");
  cJSON_AddNullToObject(o, "e");
  cJSON_AddBoolToObject(o, "f", 5);
  EXPECT_EQ(compact(o), R"({"a":1,"B":"two","c":true,"d":false,"e":null,"f":true})");

  cJSON *b = cJSON_DetachItemFromObject(o, "b");
  ASSERT_NE(b, nullptr);
  EXPECT_STREQ(b->string, "B");
  cJSON_Delete(b);
  cJSON_DeleteItemFromObject(o, "A");
  cJSON_DeleteItemFromObject(o, "missing");

  cJSON *named = cJSON_CreateNumber(9);
  cJSON_AddItemToObject(o, "old", named);  // replacing renames it
  cJSON_ReplaceItemInObject(o, "C", named = cJSON_CreateNumber(3));
  EXPECT_STREQ(named->string, "C");
  cJSON *stray = cJSON_CreateNumber(4);
  cJSON_ReplaceItemInObject(o, "zzz", stray);
  EXPECT_EQ(stray->string, nullptr);
  cJSON_Delete(stray);
  EXPECT_EQ(compact(o), R"({"C":3,"d":false,"e":null,"f":true,"old":9})");
  expect_linked(o);

  // Adding an item that already has a name renames it.
  cJSON *moved = cJSON_DetachItemFromObject(o, "old");
  cJSON_AddItemToObject(o, "new", moved);
  EXPECT_EQ(compact(o), R"({"C":3,"d":false,"e":null,"f":true,"new":9})");

  // NULL arguments change nothing.
  cJSON_AddItemToObject(o, "x", nullptr);
  cJSON_AddItemToArray(nullptr, nullptr);
  cJSON_DeleteItemFromObject(nullptr, "x");
  EXPECT_EQ(cJSON_GetArraySize(o), 5);
  cJSON_Delete(o);
}

TEST(JsonTree, ReferencesShareAndAreNotFreed) {
  cJSON *target = cJSON_Parse(R"({"k":[1,2],"s":"text"})");
  cJSON *holder = cJSON_CreateObject();
  cJSON_AddItemReferenceToObject(holder, "ref", target);
  cJSON_AddItemReferenceToArray(holder, cJSON_GetObjectItem(target, "s"));
  cJSON *ref = cJSON_GetObjectItem(holder, "ref");
  ASSERT_NE(ref, nullptr);
  EXPECT_EQ(ref->type, cJSON_Object | cJSON_IsReference);
  EXPECT_EQ(ref->child, target->child);
  EXPECT_EQ(compact(holder), R"({"ref":{"k":[1,2],"s":"text"},"":"text"})");

  cJSON *copy = cJSON_Duplicate(ref, 1);
  EXPECT_EQ(copy->type, cJSON_Object);
  EXPECT_NE(copy->child, target->child);
  cJSON_Delete(copy);

  cJSON_Delete(holder);  // must leave target intact
  EXPECT_EQ(compact(target), R"({"k":[1,2],"s":"text"})");
  cJSON_Delete(target);
}

TEST(JsonTree, DuplicateDeepAndShallow) {
  cJSON *t = cJSON_Parse(R"({"a":[1,{"b":"c"}],"n":2.5})");
  cJSON *deep = cJSON_Duplicate(t, 1);
  EXPECT_EQ(compact(deep), compact(t));
  expect_linked(cJSON_GetObjectItem(deep, "a"));
  cJSON *shallow = cJSON_Duplicate(cJSON_GetObjectItem(t, "a"), 0);
  EXPECT_EQ(shallow->child, nullptr);
  EXPECT_STREQ(shallow->string, "a");
  EXPECT_EQ(shallow->next, nullptr);
  cJSON_Delete(t);  // the copies own their storage
  EXPECT_EQ(compact(deep), R"({"a":[1,{"b":"c"}],"n":2.500000})");
  cJSON_Delete(deep);
  cJSON_Delete(shallow);
  EXPECT_EQ(cJSON_Duplicate(nullptr, 1), nullptr);
}

TEST(JsonTree, ArrayConstructors) {
  const int ints[] = {1, -2, 3};
  const float floats[] = {0.5f, 1.0f};
  const double doubles[] = {2.25, -1e20};
  const char *strings[] = {"x", "", "z"};
  cJSON *arrays[] = {cJSON_CreateIntArray(ints, 3), cJSON_CreateFloatArray(floats, 2),
                     cJSON_CreateDoubleArray(doubles, 2), cJSON_CreateStringArray(strings, 3)};
  const char *want[] = {"[1,-2,3]", "[0.500000,1]", "[2.250000,-100000000000000000000]", R"(["x","","z"])"};
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(compact(arrays[i]), want[i]);
    expect_linked(arrays[i]);
    cJSON_Delete(arrays[i]);
  }
  for (int count : {0, -3}) {
    cJSON *empty = cJSON_CreateIntArray(ints, count);
    EXPECT_EQ(compact(empty), "[]");
    cJSON_Delete(empty);
  }
  EXPECT_EQ(cJSON_CreateIntArray(nullptr, 2), nullptr);
  cJSON *none = cJSON_CreateStringArray(nullptr, 0);
  EXPECT_EQ(compact(none), "[]");
  cJSON_Delete(none);
  // A NULL string element is left out.
  const char *with_null[] = {"a", nullptr, "b"};
  cJSON *partial = cJSON_CreateStringArray(with_null, 3);
  EXPECT_EQ(compact(partial), R"(["a","b"])");
  cJSON_Delete(partial);
  EXPECT_EQ(cJSON_CreateString(nullptr), nullptr);
}

TEST(JsonTree, CreateBoolAndSetIntValue) {
  cJSON *t = cJSON_CreateBool(0), *f = cJSON_CreateTrue();
  EXPECT_EQ(t->type, cJSON_False);
  EXPECT_EQ(f->type, cJSON_True);
  cJSON *n = cJSON_CreateNumber(1.5);
  cJSON_SetIntValue(n, 42);
  EXPECT_EQ(n->valueint, 42);
  EXPECT_EQ(n->valuedouble, 42.0);
  cJSON_Delete(t);
  cJSON_Delete(f);
  cJSON_Delete(n);
}

TEST(JsonTree, Minify) {
  const struct {
    const char *in, *out;
  } cases[] = {
      {"{ \"a\" :\t[1, 2]\r\n}", "{\"a\":[1,2]}"},
      {"[1, // one\n 2 /* two */, 3]", "[1,2,3]"},
      {"{\"s\": \"keep  // this /* too */ \\\" and \\\\\"}", "{\"s\":\"keep  // this /* too */ \\\" and \\\\\"}"},
      {"/*/ 1", "1"},  // the comment's closing "*/" may share its opening '*'
      {"[1/**/,2/*/*/]", "[1,2*/]"},  // "/*/" closes at once, so "*/" is text
      {"[1] /* never closed", "[1]"},
      {"[1] // no line end", "[1]"},
      {"\"open string \\", "\"open string \\"},
      {"\"a b", "\"a b"},
      {"", ""},
  };
  for (const auto &c : cases) {
    std::string buf = c.in;
    cJSON_Minify(buf.data());
    EXPECT_STREQ(buf.c_str(), c.out) << c.in;
  }
  cJSON_Minify(nullptr);
}

}  // namespace
