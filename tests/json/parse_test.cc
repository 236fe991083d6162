#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cJSON.h"

namespace {

struct Tree {
  explicit Tree(const char *text) : root(cJSON_Parse(text)) {}
  ~Tree() { cJSON_Delete(root); }
  cJSON *root;
};

TEST(JsonParse, BuildsTheEarlyTreeShape) {
  Tree t(R"( {"a": [1, "two", true, false, null], "b": {}} )");
  ASSERT_NE(t.root, nullptr);
  EXPECT_EQ(cJSON_GetErrorPtr(), nullptr);
  EXPECT_EQ(t.root->type, cJSON_Object);
  EXPECT_EQ(t.root->string, nullptr);
  cJSON *a = t.root->child;
  ASSERT_NE(a, nullptr);
  EXPECT_STREQ(a->string, "a");
  EXPECT_EQ(a->prev, nullptr);
  EXPECT_EQ(a->type, cJSON_Array);
  cJSON *b = a->next;
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(b->prev, a);
  EXPECT_EQ(b->next, nullptr);
  EXPECT_EQ(b->type, cJSON_Object);
  EXPECT_EQ(b->child, nullptr);

  const int types[] = {cJSON_Number, cJSON_String, cJSON_True, cJSON_False, cJSON_NULL};
  cJSON *prev = nullptr;
  int n = 0;
  for (cJSON *c = a->child; c; prev = c, c = c->next, ++n) {
    EXPECT_EQ(c->type, types[n]);
    EXPECT_EQ(c->prev, prev);
    EXPECT_EQ(c->string, nullptr);
  }
  EXPECT_EQ(n, 5);
  EXPECT_EQ(cJSON_GetArrayItem(a, 2)->valueint, 1);  // parsed true
  EXPECT_EQ(cJSON_GetArrayItem(a, 3)->valueint, 0);
  EXPECT_STREQ(cJSON_GetArrayItem(a, 1)->valuestring, "two");
}

TEST(JsonParse, NumbersKeepBothValuesAndSaturateTheInt) {
  Tree t("[0, -7, 2.9, -2.9, 2147483647, 2147483648, -2147483649, 1e300, 18446744073709551615, 0.1]");
  ASSERT_NE(t.root, nullptr);
  struct {
    double d;
    int i;
  } want[] = {{0, 0},
              {-7, -7},
              {2.9, 2},
              {-2.9, -2},
              {2147483647.0, 2147483647},
              {2147483648.0, 2147483647},
              {-2147483649.0, -2147483647 - 1},
              {1e300, 2147483647},
              {18446744073709551615.0, 2147483647},
              {0.1, 0}};
  int k = 0;
  for (cJSON *c = t.root->child; c; c = c->next, ++k) {
    EXPECT_EQ(c->valuedouble, want[k].d) << k;
    EXPECT_EQ(c->valueint, want[k].i) << k;
  }
  EXPECT_EQ(k, 10);
}

// Found by fuzzing: a zero mantissa with a large exponent, overflow and
// underflow, and numbers whose printed text settles only after one round.
TEST(JsonParse, NumberEdges) {
  Tree t("[0e150, -0.0e-999, 1e-400, 5E+2]");
  ASSERT_NE(t.root, nullptr);
  EXPECT_EQ(cJSON_GetArrayItem(t.root, 0)->valuedouble, 0.0);
  EXPECT_EQ(cJSON_GetArrayItem(t.root, 2)->valuedouble, 0.0);  // underflow becomes 0
  EXPECT_EQ(cJSON_GetArrayItem(t.root, 3)->valueint, 500);
  EXPECT_EQ(cJSON_Parse("[1e400]"), nullptr);  // too large for a double
  EXPECT_EQ(cJSON_Parse("-1e309"), nullptr);

  Tree n("11110643096.1506972");  // "%e" keeps six digits: 1.111064e+10
  char *once = cJSON_PrintUnformatted(n.root);
  Tree again(once);
  char *twice = cJSON_PrintUnformatted(again.root);
  Tree third(twice);
  char *thrice = cJSON_PrintUnformatted(third.root);
  EXPECT_STREQ(once, "1.111064e+10");
  EXPECT_STREQ(twice, "11110640000");
  EXPECT_STREQ(thrice, twice);
  free(once);
  free(twice);
  free(thrice);
}

// Every number must come out as the C library's strtod reads it, to the
// bit, whether it takes the short exact path or not.
TEST(JsonParse, NumbersMatchStrtodToTheBit) {
  std::mt19937_64 rng(11);
  std::vector<std::string> texts = {"0", "-0", "-0.0", "0e150", "1e22", "1e23", "123456789012345",
                                    "1234567890123456", "9007199254740993", "0.1", "0.3", "1.7976931348623157e308",
                                    "4.9e-324", "2.2250738585072014e-308", "123456789012345e-22",
                                    "123456789012345e-23", "0.000000000000000000001", "5e-324", "1E+2", "1e-0"};
  for (int i = 0; i < 20000; ++i) {
    std::string digits = std::to_string(rng() % 100000000000000000ull);  // up to 17 digits
    digits.resize(1 + rng() % digits.size());
    const size_t dot = rng() % (digits.size() + 1);
    std::string t = (rng() & 1 ? "-" : "") + digits.substr(0, dot);
    if (dot == 0) t += "0";
    if (dot < digits.size()) t += "." + digits.substr(dot);
    if (rng() % 3 == 0) t += "e" + std::to_string(static_cast<int>(rng() % 61) - 30);
    texts.push_back(t);
  }
  for (const std::string &t : texts) {
    cJSON *n = cJSON_Parse(t.c_str());
    ASSERT_NE(n, nullptr) << t;
    const double want = std::strtod(t.c_str(), nullptr);
    EXPECT_EQ(std::memcmp(&n->valuedouble, &want, sizeof want), 0) << t << " " << n->valuedouble << " " << want;
    cJSON_Delete(n);
  }
}

TEST(JsonParse, StringEscapesAndUnicode) {
  Tree t(R"(["\"\\\/\b\f\n\r\t", "\u00e9\u20ac", "\ud83d\ude00", "caf\u00E9"])");
  ASSERT_NE(t.root, nullptr);
  EXPECT_STREQ(cJSON_GetArrayItem(t.root, 0)->valuestring, "\"\\/\b\f\n\r\t");
  EXPECT_STREQ(cJSON_GetArrayItem(t.root, 1)->valuestring, "\xc3\xa9\xe2\x82\xac");
  EXPECT_STREQ(cJSON_GetArrayItem(t.root, 2)->valuestring, "\xf0\x9f\x98\x80");
  EXPECT_STREQ(cJSON_GetArrayItem(t.root, 3)->valuestring, "caf\xc3\xa9");
}

TEST(JsonParse, RejectsIncompleteTextAndPointsAtTheFault) {
  const struct {
    const char *text;
    size_t offset;  // where the error pointer must point
  } cases[] = {{"", 0}, {"   ", 3}, {"{", 1}, {"[1,]", 3}, {"{\"a\" 1}", 5}, {"tru", 3}, {"\"open", 5}, {"[1 2]", 3}};
  for (const auto &c : cases) {
    EXPECT_EQ(cJSON_Parse(c.text), nullptr) << c.text;
    ASSERT_NE(cJSON_GetErrorPtr(), nullptr) << c.text;
    EXPECT_EQ(static_cast<size_t>(cJSON_GetErrorPtr() - c.text), c.offset) << c.text;
  }
  EXPECT_EQ(cJSON_Parse(nullptr), nullptr);
  // A later success clears the error pointer.
  Tree ok("1");
  EXPECT_EQ(cJSON_GetErrorPtr(), nullptr);
}

TEST(JsonParse, IgnoresTextAfterACompleteValue) {
  // A loader that reuses its buffer may see an older, longer file's tail.
  Tree t("{\"lanport\": {\"dlPortNum\": 1}}\n  \"ulPortIfName\": \"eth0\"}\n}");
  ASSERT_NE(t.root, nullptr);
  EXPECT_EQ(cJSON_GetArraySize(t.root), 1);
  Tree two("[1][2]");
  ASSERT_NE(two.root, nullptr);
  EXPECT_EQ(cJSON_GetArraySize(two.root), 1);
}

TEST(JsonParse, NestingLimit) {
  std::string ok(CJSON_NESTING_LIMIT, '[');
  ok += std::string(CJSON_NESTING_LIMIT, ']');
  Tree deep(ok.c_str());
  EXPECT_NE(deep.root, nullptr);

  std::string too_deep = "[" + ok + "]";
  EXPECT_EQ(cJSON_Parse(too_deep.c_str()), nullptr);
  // A huge nesting fails cleanly too (no recursion in the reader).
  std::string huge(200000, '[');
  EXPECT_EQ(cJSON_Parse(huge.c_str()), nullptr);
  std::string objects;
  for (int i = 0; i < 5000; ++i) objects += "{\"a\":";
  EXPECT_EQ(cJSON_Parse(objects.c_str()), nullptr);
}

TEST(JsonParse, LongStringsAndManyMembers) {
  std::string s(100000, 'x');
  std::string text = "[\"" + s + "\", \"" + s + "\\n\"]";
  Tree t(text.c_str());
  ASSERT_NE(t.root, nullptr);
  EXPECT_EQ(std::strlen(cJSON_GetArrayItem(t.root, 1)->valuestring), s.size() + 1);

  std::string obj = "{";
  for (int i = 0; i < 3000; ++i) obj += (i ? ",\"k" : "\"k") + std::to_string(i) + "\":" + std::to_string(i);
  obj += "}";
  Tree o(obj.c_str());
  ASSERT_NE(o.root, nullptr);
  EXPECT_EQ(cJSON_GetArraySize(o.root), 3000);
  EXPECT_EQ(cJSON_GetObjectItem(o.root, "K2999")->valueint, 2999);
}

// The reader's scratch space is sized from the text (its length and its
// number of '[' and '{'); texts around the size where it moves from the C
// stack to pages of its own parse alike.
TEST(JsonParse, ScratchSizesAroundTheStackLimit) {
  for (size_t n = 3980; n < 4120; n += 3) {
    std::string s(n, 'y');
    Tree t(("[\"" + s + "\"]").c_str());
    ASSERT_NE(t.root, nullptr) << n;
    EXPECT_EQ(std::strlen(t.root->child->valuestring), n);
  }
  for (size_t depth = 200; depth < 300; depth += 5) {  // 8 bytes per open level
    std::string text = std::string(depth, '[') + "\"" + std::string(2000, 'z') + "\"" + std::string(depth, ']');
    Tree t(text.c_str());
    ASSERT_NE(t.root, nullptr) << depth;
    cJSON *leaf = t.root;
    for (size_t d = 1; d < depth; ++d) leaf = leaf->child;
    EXPECT_EQ(std::strlen(leaf->child->valuestring), 2000u);
  }
}

TEST(JsonParse, EmbeddedNulInAStringEndsTheCString) {
  Tree t(R"(["a\u0000b"])");
  ASSERT_NE(t.root, nullptr);
  EXPECT_STREQ(t.root->child->valuestring, "a");
}

}  // namespace
