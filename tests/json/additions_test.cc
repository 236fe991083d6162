#include <cmath>
#include <cstdint>
#include <cstdlib>
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

TEST(JsonAdditions, UpdateBoolValIsEmpty) {
  cJSON *b = cJSON_CreateTrue();
  EXPECT_EQ(cJSON_UpdateBoolVal(b, 0), nullptr);
  EXPECT_EQ(b->type, cJSON_True);
  EXPECT_EQ(cJSON_UpdateBoolVal(nullptr, 1), nullptr);
  cJSON_Delete(b);
}

TEST(JsonAdditions, UpdateNumberVal) {
  cJSON *n = cJSON_CreateNumber(1);
  EXPECT_EQ(cJSON_UpdateNumberVal(n, 2.9), n);
  EXPECT_EQ(n->valuedouble, 2.9);
  EXPECT_EQ(n->valueint, 2);
  cJSON_UpdateNumberVal(n, -2.9);
  EXPECT_EQ(n->valueint, -2);
  cJSON_UpdateNumberVal(n, 1e12);
  EXPECT_EQ(n->valueint, INT32_MAX);
  cJSON_UpdateNumberVal(n, -1e12);
  EXPECT_EQ(n->valueint, INT32_MIN);
  cJSON_UpdateNumberVal(n, NAN);
  EXPECT_EQ(n->valueint, 0);
  cJSON_Delete(n);

  cJSON *s = cJSON_CreateString("5");
  EXPECT_EQ(cJSON_UpdateNumberVal(s, 7), nullptr);
  EXPECT_EQ(s->valuedouble, 0);
  EXPECT_EQ(s->valueint, 0);
  EXPECT_STREQ(s->valuestring, "5");
  cJSON_Delete(s);

  cJSON *target = cJSON_CreateNumber(1);
  cJSON *holder = cJSON_CreateArray();
  cJSON_AddItemReferenceToArray(holder, target);
  EXPECT_EQ(cJSON_UpdateNumberVal(holder->child, 3), nullptr);  // type is Number|reference
  cJSON_Delete(holder);
  cJSON_Delete(target);
  EXPECT_EQ(cJSON_UpdateNumberVal(nullptr, 1), nullptr);
}

TEST(JsonAdditions, UpdateStringVal) {
  cJSON *s = cJSON_CreateString("eth0");
  char *storage = s->valuestring;
  EXPECT_EQ(cJSON_UpdateStringVal(s, "eth0"), s);
  EXPECT_EQ(s->valuestring, storage);  // same text keeps the same storage
  EXPECT_EQ(cJSON_UpdateStringVal(s, "ETH0"), s);  // exact comparison
  EXPECT_STREQ(s->valuestring, "ETH0");
  EXPECT_EQ(cJSON_UpdateStringVal(s, ""), s);
  EXPECT_STREQ(s->valuestring, "");
  EXPECT_EQ(cJSON_UpdateStringVal(s, nullptr), nullptr);
  EXPECT_STREQ(s->valuestring, "");
  cJSON_Delete(s);

  cJSON *n = cJSON_CreateNumber(1);
  EXPECT_EQ(cJSON_UpdateStringVal(n, "x"), nullptr);
  EXPECT_EQ(n->valuestring, nullptr);
  cJSON_Delete(n);
}

TEST(JsonAdditions, Int8ArrayIsSigned) {
  const int8_t values[] = {static_cast<int8_t>(255), 1, -128, 127};
  cJSON *a = cJSON_CreateInt8Array(values, 2);
  EXPECT_EQ(compact(a), "[-1,1]");
  cJSON_Delete(a);
  a = cJSON_CreateInt8Array(values, 4);
  EXPECT_EQ(compact(a), "[-1,1,-128,127]");
  cJSON_Delete(a);
  a = cJSON_CreateInt8Array(values, 0);
  EXPECT_EQ(compact(a), "[]");
  cJSON_Delete(a);
}

TEST(JsonAdditions, Int64ArrayIsReadUnsigned) {
  const int64_t values[] = {-1, 5, INT64_MIN, (int64_t{1} << 53) + 1};
  cJSON *a = cJSON_CreateInt64Array(values, 4);
  ASSERT_EQ(cJSON_GetArraySize(a), 4);
  EXPECT_EQ(cJSON_GetArrayItem(a, 0)->valuedouble, 18446744073709551615.0);
  EXPECT_EQ(cJSON_GetArrayItem(a, 0)->valueint, INT32_MAX);
  EXPECT_EQ(cJSON_GetArrayItem(a, 1)->valueint, 5);
  EXPECT_EQ(cJSON_GetArrayItem(a, 2)->valuedouble, 9223372036854775808.0);
  EXPECT_EQ(cJSON_GetArrayItem(a, 3)->valuedouble, 9007199254740992.0);  // nearest double
  EXPECT_EQ(compact(a), "[18446744073709551616,5,9223372036854775808,9007199254740992]");
  cJSON_Delete(a);
  a = cJSON_CreateInt64Array(values, -1);
  EXPECT_EQ(compact(a), "[]");
  cJSON_Delete(a);
}

}  // namespace
