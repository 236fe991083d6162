#include <pthread.h>

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cJSON.h"

namespace {

std::string printed(cJSON *item, bool formatted = false) {
  char *text = formatted ? cJSON_Print(item) : cJSON_PrintUnformatted(item);
  std::string s = text ? text : "<null>";
  free(text);
  return s;
}

std::string number(double d) {
  cJSON *n = cJSON_CreateNumber(d);
  std::string s = printed(n);
  cJSON_Delete(n);
  return s;
}

TEST(JsonPrint, NumberRules) {
  // Integers inside the int range: "%d".
  EXPECT_EQ(number(0), "0");
  EXPECT_EQ(number(-0.0), "0");
  EXPECT_EQ(number(-5), "-5");
  EXPECT_EQ(number(2147483647.0), "2147483647");
  EXPECT_EQ(number(-2147483648.0), "-2147483648");
  EXPECT_EQ(number(1.0 + DBL_EPSILON), "1");
  // Within DBL_EPSILON above a whole number but not equal to valueint
  // (truncated toward zero): "%.0f", which rounds to that whole number.
  for (double v : {-2.0 + DBL_EPSILON, -1.0 + DBL_EPSILON / 2, -1.0 + DBL_EPSILON / 4, -2147483649.0 + 0.0}) {
    char want[64];
    std::snprintf(want, sizeof want, "%.0f", v);
    EXPECT_EQ(number(v), want) << want;
  }
  EXPECT_EQ(number(-1.9999999999999998), "-2");
  EXPECT_EQ(number(-0.99999999999999989), "-1");
  // Whole values outside it: "%.0f".
  EXPECT_EQ(number(2147483648.0), "2147483648");
  EXPECT_EQ(number(-3e9), "-3000000000");
  EXPECT_EQ(number(1e15), "1000000000000000");
  EXPECT_EQ(number(18446744073709551615.0), "18446744073709551616");
  // Whole values of every magnitude up to the 64-bit edge and past it, as
  // the C library's "%.0f" prints them.
  for (double d : {4294967296.0, 9007199254740992.0, 9007199254740993.0, 4611686018427387904.0, 9.2e18,
                   9.2e18 - 2048, 9223372036854775808.0, 1e19, 1e300}) {
    for (double v : {d, -d}) {
      char want[400];
      std::snprintf(want, sizeof want, "%.0f", v);
      EXPECT_EQ(number(v), want) << want;
    }
  }
  // Fractions beyond 1e9 or below 1e-6 in magnitude: "%e".
  EXPECT_EQ(number(1000000000.5), "1.000000e+09");
  EXPECT_EQ(number(1e-7), "1.000000e-07");
  EXPECT_EQ(number(-2.5e-9), "-2.500000e-09");
  // Everything else: "%f".
  EXPECT_EQ(number(3.14159), "3.141590");
  EXPECT_EQ(number(-0.25), "-0.250000");
  EXPECT_EQ(number(1e-6), "0.000001");
  EXPECT_EQ(number(999999999.5), "999999999.500000");
}

// The printf format the rules choose, as the C library prints it.
std::string reference(double d) {
  char want[400];
  if (std::fabs(std::floor(d) - d) <= DBL_EPSILON)
    std::snprintf(want, sizeof want, "%.0f", d);
  else if (std::fabs(d) < 1.0e-6 || std::fabs(d) > 1.0e9)
    std::snprintf(want, sizeof want, "%e", d);
  else
    std::snprintf(want, sizeof want, "%f", d);
  return want;
}

// Fractions are rounded as printf rounds them (to nearest, ties to even on
// the exact binary value), in every range, at exact ties and where the
// rounding carries into a new digit.
TEST(JsonPrint, FractionsRoundAsPrintfDoes) {
  std::mt19937_64 rng(5);
  std::vector<double> v;
  for (int i = 0; i < 100000; ++i) {
    const double mag = std::pow(10.0, std::uniform_real_distribution<double>(-8, 16)(rng));
    v.push_back((rng() & 1 ? -1 : 1) * mag);
    v.push_back(std::ldexp(static_cast<double>(rng() >> 11), static_cast<int>(rng() % 90) - 80));
  }
  for (int j = 1; j < 4000; j += 2) v.push_back(j / 128.0);  // ties at the sixth decimal
  for (int j = 1; j < 400; j += 2) v.push_back(1e9 + j / 2.0);  // just past the "%e" boundary
  for (double d : {0.9999995, 0.99999949999999, 999999999.9999995, 9999999.5e3, 9999999499.5, 9999999500.5,
                   99999995e8 + 0.5, 1e-6 + 1e-22, 1e9 - 0.5, 123456.0000005, 4503599627370495.5,
                   9007199254740991.0 / 2, 1.5e-6, 2.5e-7})
    v.push_back(d), v.push_back(-d);
  for (double d : v) {
    cJSON *n = cJSON_CreateNumber(d);
    if (n->valueint == d) {  // "%d": covered above
      cJSON_Delete(n);
      continue;
    }
    ASSERT_EQ(printed(n), reference(d)) << std::hexfloat << d;
    cJSON_Delete(n);
  }
  EXPECT_EQ(number(std::nan("")), reference(std::nan("")));
  EXPECT_EQ(number(-INFINITY), "-inf");
}

TEST(JsonPrint, NumberUsesValueintOnlyWhenItMatches) {
  cJSON *n = cJSON_CreateNumber(5);
  n->valueint = 7;  // fields set apart by a caller
  EXPECT_EQ(printed(n), "5");
  n->valuedouble = 7;
  EXPECT_EQ(printed(n), "7");
  cJSON_Delete(n);
}

TEST(JsonPrint, StringEscapes) {
  cJSON *s = cJSON_CreateString("a\"b\\c\b\f\n\r\t\x01\x1f/\x7f\xc3\xa9");
  EXPECT_EQ(printed(s), "\"a\\\"b\\\\c\\b\\f\\n\\r\\t\\u0001\\u001f/\x7f\xc3\xa9\"");
  free(s->valuestring);
  s->valuestring = nullptr;
  EXPECT_EQ(printed(s), "\"\"");
  cJSON_Delete(s);

  cJSON *o = cJSON_CreateObject();
  cJSON_AddItemToObject(o, "tab\there", cJSON_CreateNull());
  EXPECT_EQ(printed(o), "{\"tab\\there\":null}");
  cJSON_Delete(o);
}

const char *kDoc = R"({"a":1,"b":[1,2,{"c":null}],"d":{},"e":{"f":"x","g":{}},"h":[],"i":[true,false]})";

TEST(JsonPrint, UnformattedLayout) {
  cJSON *t = cJSON_Parse(kDoc);
  EXPECT_EQ(printed(t), kDoc);
  cJSON_Delete(t);
}

TEST(JsonPrint, FormattedLayout) {
  cJSON *t = cJSON_Parse(kDoc);
  EXPECT_EQ(printed(t, true),
            "{\n"
            "\t\"a\":\t1,\n"
            "\t\"b\":\t[1, 2, {\n"
            "\t\t\t\"c\":\tnull\n"
            "\t\t}],\n"
            "\t\"d\":\t{\n"
            "},\n"
            "\t\"e\":\t{\n"
            "\t\t\"f\":\t\"x\",\n"
            "\t\t\"g\":\t{\n"
            "\t}\n"
            "\t},\n"
            "\t\"h\":\t[],\n"
            "\t\"i\":\t[true, false]\n"
            "}");
  cJSON_Delete(t);

  // An array's elements print one level deeper than the array; an empty
  // object closes one tab short of the depth it is printed at.
  const struct {
    const char *in, *out;
  } nested[] = {
      {R"([{"a":1}])", "[{\n\t\t\"a\":\t1\n\t}]"},
      {"[{}]", "[{\n}]"},
      {"[[{}]]", "[[{\n\t}]]"},
      {R"({"a":{}})", "{\n\t\"a\":\t{\n}\n}"},
      {R"([[{"a":[{"b":2}]}],{}])", "[[{\n\t\t\t\"a\":\t[{\n\t\t\t\t\t\"b\":\t2\n\t\t\t\t}]\n\t\t}], {\n}]"},
      {"[]", "[]"},
  };
  for (const auto &c : nested) {
    cJSON *doc = cJSON_Parse(c.in);
    EXPECT_EQ(printed(doc, true), c.out) << c.in;
    cJSON_Delete(doc);
  }

  cJSON *empty = cJSON_CreateObject();
  EXPECT_EQ(printed(empty, true), "{\n}");
  cJSON_Delete(empty);
  cJSON *scalar = cJSON_CreateString("x");
  EXPECT_EQ(printed(scalar, true), "\"x\"");
  cJSON_Delete(scalar);
}

// Texts around and beyond the length of the printer's first buffer come
// out whole.
TEST(JsonPrint, LongTextsAcrossBuffers) {
  for (size_t n : {4094u, 4095u, 4096u, 4097u, 4098u, 300000u}) {
    cJSON *a = cJSON_CreateArray();
    std::string want = "[\"" + std::string(n - 4, 'q') + "\"]";  // n characters in all
    cJSON_AddItemToArray(a, cJSON_CreateString(std::string(n - 4, 'q').c_str()));
    EXPECT_EQ(printed(a), want) << n;
    cJSON_Delete(a);
  }
  cJSON *t = cJSON_CreateArray();
  std::string want = "[";
  for (int i = 0; i < 20000; ++i) {
    cJSON_AddItemToArray(t, cJSON_CreateNumber(i + 0.25));
    want += (i ? ", " : "") + std::to_string(i) + ".250000";
  }
  EXPECT_EQ(printed(t, true), want + "]");
  cJSON_Delete(t);
}

// A tree as deep as the reader allows is parsed, printed both ways,
// duplicated and deleted on a thread with a small stack, as daemons give
// their worker threads.
TEST(JsonPrint, DeepestTreeOnASmallStack) {
  struct Job {
    static void *run(void *arg) {
      std::string open, close;
      for (int i = 0; i < CJSON_NESTING_LIMIT; ++i) open += i % 2 ? "{\"k\":" : "[";
      for (int i = CJSON_NESTING_LIMIT - 1; i >= 0; --i) close += i % 2 ? "}" : "]";
      cJSON *t = cJSON_Parse((open + "0.5" + close).c_str());
      bool ok = t != nullptr;
      char *a = cJSON_PrintUnformatted(t);
      char *b = cJSON_Print(t);
      cJSON *copy = cJSON_Duplicate(t, 1);
      ok = ok && a && b && copy && open + "0.500000" + close == a;
      free(a);
      free(b);
      cJSON_Delete(copy);
      cJSON_Delete(t);
      *static_cast<bool *>(arg) = ok;
      return nullptr;
    }
  };
#if defined(__SANITIZE_ADDRESS__)
  const size_t stack = 8u << 20;  // the sanitizer's frames are far larger
#else
  const size_t stack = 192u << 10;
#endif
  pthread_attr_t attr;
  pthread_attr_init(&attr);
  pthread_attr_setstacksize(&attr, stack);
  bool ok = false;
  pthread_t th;
  ASSERT_EQ(pthread_create(&th, &attr, Job::run, &ok), 0);
  pthread_join(th, nullptr);
  pthread_attr_destroy(&attr);
  EXPECT_TRUE(ok);
}

TEST(JsonPrint, UnknownTypeOrNullGivesNull) {
  EXPECT_EQ(cJSON_Print(nullptr), nullptr);
  cJSON *a = cJSON_CreateArray();
  cJSON *bad = cJSON_CreateNull();
  bad->type = 7;
  cJSON_AddItemToArray(a, bad);
  EXPECT_EQ(cJSON_PrintUnformatted(a), nullptr);
  EXPECT_EQ(cJSON_Print(a), nullptr);
  bad->type = cJSON_NULL | cJSON_IsReference;  // the flag is ignored when printing
  EXPECT_EQ(printed(a), "[null]");
  bad->type = cJSON_NULL;
  cJSON_Delete(a);
}

TEST(JsonPrint, MemberWithoutNamePrintsEmptyName) {
  cJSON *o = cJSON_CreateObject();
  cJSON_AddItemToArray(o, cJSON_CreateNumber(1));
  EXPECT_EQ(printed(o), "{\"\":1}");
  cJSON_Delete(o);
}

}  // namespace
