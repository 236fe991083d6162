// The JSON interface, one table of cases per behaviour: a new case is a row.
#include <gtest/gtest.h>
#include <pthread.h>

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "cJSON.h"
#include "support/alloc_hooks.h"
#include "support/fw_root.h"

namespace {

using aputil::test::ScopedHooks;

// The printed text of item, "<none>" for NULL.
std::string text(cJSON *item, bool formatted = false) {
  char *t = formatted ? cJSON_Print(item) : cJSON_PrintUnformatted(item);
  const std::string s = t ? t : "<none>";
  ScopedHooks::release(t);
  return s;
}

// Whether the sibling links agree both ways, all the way down.
bool linked(const cJSON *item, const cJSON *prev = nullptr) {
  return !item || (item->prev == prev && linked(item->child) && linked(item->next, item));
}

// "name:text", and "#valueint" for numbers and booleans.
std::string describe(cJSON *item) {
  if (!item) return "<none>";
  const std::string s = (item->string ? item->string + std::string(":") : "") + text(item);
  return (item->type & 255) == cJSON_Number || item->type < 2 ? s + "#" + std::to_string(item->valueint) : s;
}

// An item handed to the caller: described, checked unlinked, and deleted.
std::string took(cJSON *item) {
  const std::string s = describe(item);
  EXPECT_TRUE(!item || (!item->next && !item->prev && linked(item))) << s;
  cJSON_Delete(item);
  return s;
}

// ---- parsing ----

// Texts parse to the tree shown (and its deep copy alike, and it prints
// formatted too), or are refused with the error pointer where reading
// stopped; nothing is left behind; up to the deepest nesting allowed, on a
// small stack.
void *parse_texts(void *) {
  ScopedHooks hooks;
  std::string deep, closing;  // arrays and objects in turn, as deep as allowed
  for (int i = 0; i < CJSON_NESTING_LIMIT; ++i) deep += i % 2 ? "{\"k\":" : "[";
  for (int i = CJSON_NESTING_LIMIT - 1; i >= 0; --i) closing += i % 2 ? "}" : "]";
  // Rows: text, where cJSON_GetErrorPtr() points then (-1: NULL), describe()
  // of the tree ("<none>" when refused). Numbers too large for a double are
  // refused, too small ones become 0; a parsed true has valueint 1.
  std::vector<std::tuple<std::string, long, std::string>> rows = {
      {"", 0, "<none>"},           {"   ", 3, "<none>"},           {"[1,]", 3, "<none>"},
      {R"({"a" 1})", 5, "<none>"}, {"tru", 3, "<none>"},           {"\"open", 5, "<none>"},
      {"[1 2]", 3, "<none>"},      {R"(["\ud800"])", 2, "<none>"}, {"[1.8e308]", 1, "<none>"},
      {"true", -1, "true#1"},      {"false", -1, "false#0"},       {R"(["a\u0000b"])", -1, R"(["a"])"}};
  rows.insert(
      rows.end(),
      {{R"( {"a": [1, "two", true, false, null], "b": {}} )", -1, R"({"a":[1,"two",true,false,null],"b":{}})"},
       // Text after a complete value is ignored: a loader's buffer may hold an older file's tail.
       {"{\"lanport\": {\"dlPortNum\": 1}}\n  \"ulPortIfName\": \"eth0\"}\n}", -1, R"({"lanport":{"dlPortNum":1}})"},
       {R"(["\"\\\/\b\f\n\r\t\u0001\u001f\u007f", "\u00e9\u20ac", "\ud83d\ude00", "caf\u00E9"])", -1,
        "[\"\\\"\\\\/\\b\\f\\n\\r\\t\\u0001\\u001f\x7f\","
        "\"\xc3\xa9\xe2\x82\xac\",\"\xf0\x9f\x98\x80\",\"caf\xc3\xa9\"]"},
       {"[1e-400, 0e150, -0.0e-999, 5E+2]", -1, "[0,0,0,500]"},
       {deep + "0.5" + closing, -1, deep + "0.500000" + closing},
       {"[{\"a\":" + deep + "0.5" + closing + "}]", 3000, "<none>"}});
  for (const auto &[in, error_at, out] : rows) {
    cJSON *t = cJSON_Parse(in.c_str()), *copy = cJSON_Duplicate(t, 1);
    EXPECT_EQ(cJSON_GetErrorPtr() ? cJSON_GetErrorPtr() - in.c_str() : -1, error_at) << in.substr(0, 80);
    EXPECT_EQ(describe(t) + describe(copy), out + out) << in.substr(0, 80);
    EXPECT_TRUE(linked(t) && (text(t, true) == "<none>") == !t) << in.substr(0, 80);
    cJSON_Delete(t);
    cJSON_Delete(copy);
    EXPECT_EQ(hooks.stats().live, 0);
  }
  return nullptr;
}

// The texts are parsed on a thread with the small stack daemons give their
// workers (sanitized builds, whose frames are far larger, keep the default).
TEST(JsonParse, Texts) {
  pthread_attr_t attr;
  pthread_attr_init(&attr);
#if !defined(__SANITIZE_ADDRESS__)
  pthread_attr_setstacksize(&attr, 192u << 10);
#endif
  pthread_t th;
  ASSERT_EQ(pthread_create(&th, &attr, parse_texts, nullptr), 0);
  pthread_join(th, nullptr);
  pthread_attr_destroy(&attr);
}

// Every number is what strtod reads, to the bit, whether it takes the
// short exact path or not.
TEST(JsonParse, NumbersAsStrtodReadsThem) {
  std::vector<std::string> texts({"-0", "1e22", "1e23", "123456789012345", "1234567890123456", "0.3", "1e300",
                                  "9007199254740993", "1.7976931348623157e308", "5e-324", "2.2250738585072014e-308",
                                  "123456789012345e-22", "123456789012345e-23", "0.000000000000000000001", "1e-0"});
  texts.push_back("0." + std::string(620, '0') + "1e0");
  std::mt19937_64 rng(11);
  for (int i = 0; i < 20000; ++i) {  // up to 17 digits, a dot anywhere, an exponent or not
    std::string t = std::to_string(rng() % 100000000000000000ull);
    t.resize(1 + rng() % t.size());
    const size_t dot = rng() % (t.size() + 1);
    t = (rng() & 1 ? "-" : "") + (dot ? t.substr(0, dot) : "0") + (dot < t.size() ? "." + t.substr(dot) : "");
    texts.push_back(rng() % 3 ? t : t + "e" + std::to_string(static_cast<int>(rng() % 61) - 30));
  }
  for (const std::string &t : texts) {
    cJSON *n = cJSON_Parse(t.c_str());
    const double want = std::strtod(t.c_str(), nullptr);
    EXPECT_TRUE(n && std::memcmp(&n->valuedouble, &want, sizeof want) == 0) << t;
    cJSON_Delete(n);
  }
}

// The JSON test suite's corpus: y_ files parse, n_ files do not, but for
// those that hold a complete value and then other text (or a NUL); every
// block is released.
TEST(JsonParse, ConformanceCorpus) {
  const std::set<std::string> trailing(
      {"array_comma_after_close", "array_extra_close", "multidigit_number_then_00", "object_trailing_comment",
       "object_trailing_comment_open", "object_trailing_comment_slash_open", "object_with_trailing_garbage",
       "object_trailing_comment_slash_open_incomplete", "string_with_trailing_garbage", "structure_trailing_#",
       "structure_array_trailing_garbage", "structure_array_with_extra_array_close", "structure_double_array",
       "structure_close_unopened_array", "structure_number_with_trailing_garbage",
       "structure_object_followed_by_closing_object", "structure_object_with_trailing_garbage"});
  const std::string dir = std::string(getenv("APUTIL_TEST_DATA") ?: "tests/data") + "/json-conformance/";
  size_t trailing_seen = 0;
  ScopedHooks hooks;
  for (std::error_code missing; const auto &file : std::filesystem::directory_iterator(dir, missing)) {
    const std::string name = file.path().filename();
    const bool accepted = name[0] == 'y' || trailing.count(name.substr(2, name.size() - 7));
    trailing_seen += name[0] == 'n' && accepted;
    cJSON *tree = cJSON_Parse(aputil::test::read_file(dir + name).c_str());
    EXPECT_TRUE(name[0] == 'i' || (tree != nullptr) == accepted) << name;
    cJSON_Delete(tree);
    EXPECT_EQ(hooks.stats().live, 0) << name;
  }
  EXPECT_EQ(trailing_seen, trailing.size());
}

// ---- printing ----

// "%d" when valuedouble equals valueint (within DBL_EPSILON, in the int
// range), "%.0f" within DBL_EPSILON above a whole number, "%e" below 1e-6
// or above 1e9 in magnitude, else "%f". Whole numbers from 2^63 and tiny
// fractions take snprintf, the rest is written directly.
TEST(JsonPrint, Numbers) {
  // Whatever is not "%d" prints as printf prints it (to nearest, ties to
  // even): the edges of each form, random magnitudes, ties at the sixth
  // decimal, carries into a new digit, the "%e" boundary, whole numbers to
  // 2^64 and beyond.
  std::mt19937_64 rng(5);
  std::vector<double> v({999999999.9999995, 9999999500.5, 1e300, 99999995e8 + 0.5, 1e-6 + 1e-22, 1e9 - 0.5,
                         123456.0000005, 4503599627370495.5, 2.5e-7, 9.2e18, 9007199254740993.0, 0x1p63});
  v.insert(v.end(), {-0.0, -2147483648.0, 1 + DBL_EPSILON, -2 + DBL_EPSILON, 2147483648.0, 1000000000.5, 1e-6,
                     0.9999995, -INFINITY, NAN});
  for (int i = 0; i < 200000; ++i) {
    const double sign = rng() & 1 ? -1 : 1;
    v.push_back(sign * (i % 2 ? std::pow(10.0, std::uniform_real_distribution<double>(-8, 16)(rng))
                              : std::ldexp(static_cast<double>(rng() >> 11), static_cast<int>(rng() % 90) - 80)));
  }
  for (int j = -3999; j < 4000; j += 2) v.push_back(j / 128.0);  // ties at the sixth decimal
  for (double x : v) {
    char want[400];
    const double a = std::fabs(x);
    const char *format = a < 1.0e-6 || a > 1.0e9 ? "%e" : "%f";
    std::snprintf(want, sizeof want, std::fabs(std::floor(x) - x) <= DBL_EPSILON ? "%.0f" : format, x);
    cJSON *n = cJSON_CreateNumber(x);
    ASSERT_EQ(text(n), n->valueint == x ? std::to_string(n->valueint) : want) << std::hexfloat << x;
    cJSON_Delete(n);
  }
  cJSON *n = cJSON_CreateNumber(5);
  n->valueint = 7;  // a valueint set apart counts only when it matches
  EXPECT_EQ(text(n), "5");
  EXPECT_EQ(cJSON_SetIntValue(n, 42), 42);  // sets both
  EXPECT_EQ(describe(n), "42#42");
  cJSON_Delete(n);
}

// Formatted text: members one per line, a tab deeper than their object;
// array elements one level deeper than the array; an empty object closes
// one tab short of its depth. Unformatted text is the input itself.
// Parsing takes one block from the hooks per item and per string (value
// or name), however long or deep the text: its scratch space, sized from
// the length and the number of '[' and '{', is on the C stack or in pages
// of its own. Printing, below or past its 4 KiB first buffer, takes one
// block, the text, and gives NULL with nothing left behind when refused.
TEST(JsonPrint, LayoutAndBlocks) {
  std::vector<std::tuple<std::string, std::string, long>> rows = {
      // text, formatted ("": the same), blocks
      {R"({"a":1,"b":[1,2,{"c":null}],"d":{},"e":{"f":"x","g":{}},"h":[],"i":[true,false]})",
       "{\n\t\"a\":\t1,\n\t\"b\":\t[1, 2, {\n\t\t\t\"c\":\tnull\n\t\t}],\n\t\"d\":\t{\n},\n\t\"e\":\t{\n"
       "\t\t\"f\":\t\"x\",\n\t\t\"g\":\t{\n\t}\n\t},\n\t\"h\":\t[],\n\t\"i\":\t[true, false]\n}",
       25},
      {R"([{"a":1}])", "[{\n\t\t\"a\":\t1\n\t}]", 4}};

  for (size_t n : {4060, 4066, 4067, 4068, 4075, 4090, 4091, 4092, 4093, 4094, 300000})
    rows.push_back({"[\"" + std::string(n, 'y') + "\"]", "", 3});  // arrays print on one line
  for (long d = 204; d < 212; ++d)
    rows.push_back({std::string(d, '[') + '"' + std::string(2000, 'z') + '"' + std::string(d, ']'), "", d + 2});
  for (const auto &[json, formatted, blocks] : rows) {
    ScopedHooks hooks;
    cJSON *t = cJSON_Parse(json.c_str());
    EXPECT_EQ(hooks.stats().allocations, blocks) << json.size();
    const bool printed = text(t) == json && text(t, true) == (formatted.empty() ? json : formatted);
    EXPECT_TRUE(printed && hooks.stats().allocations == blocks + 2) << json.size();  // one block per text
    hooks.stats().fail_at = blocks + 2;
    EXPECT_EQ(cJSON_PrintUnformatted(t), nullptr);
    cJSON_Delete(t);
    EXPECT_EQ(hooks.stats().live, 0);
  }
}

// ---- building, looking up and editing trees ----
// (Adding, detaching, deleting and replacing by index and by name, with
// their index and name rules, are checked step by step against a model in
// fuzz_replay_json_edit.)

// The parts in order, each followed by a blank.
std::string words(std::initializer_list<std::string> parts) {
  std::string s;
  for (const std::string &p : parts) s += p + " ";
  return s;
}

const int kInts[] = {1, -2, 3};
const char *kStrings[] = {"x", "", "z", nullptr, "b"};

// Lookups fold ASCII letters only and the first match wins. Constructors
// leave valueint 0 on booleans and truncate numbers into it; array
// constructors leave out an element they cannot make; the update calls act
// only on items of exactly their type, and an update to equal text keeps
// its storage.
TEST(JsonTree, Calls) {
  cJSON *names = cJSON_Parse("{\"LANPORT\":1,\"lanport\":2,\"Caf\xc3\x89\":3,\"x\":4,\"Z\":5,\"a\":6}");
  cJSON *n = cJSON_CreateNumber(1), *s = cJSON_CreateString("eth0");
  const char *const eth0 = s->valuestring;
  auto storage = [&] { return s->valuestring == eth0 ? "kept" : "new"; };
  auto get = [names](const char *name) { return describe(cJSON_GetObjectItem(names, name)); };
  const int8_t int8s[] = {static_cast<int8_t>(255), 1, -128, 127};
  const int64_t int64s[] = {-1, 5, INT64_MIN, (int64_t{1} << 53) + 1};  // read unsigned
  const float floats[] = {0.5f, 1};
  const double doubles[] = {2.25, -1e20};
  EXPECT_EQ(
      words({get("LanPort"), get("lanpor"), get("caf\xc3\xa9"), get("Caf\xc3\x89"), get("z"), get("A"), get(nullptr)}),
      "LANPORT:1#1 <none> <none> Caf\xc3\x89:3#3 Z:5#5 a:6#6 <none> ");
  EXPECT_EQ(words({took(cJSON_CreateTrue()), took(cJSON_CreateBool(0)), took(cJSON_CreateBool(5)),
                   took(cJSON_CreateNumber(-1e12)), took(cJSON_CreateString(nullptr)), took(cJSON_CreateString("")),
                   took(cJSON_CreateIntArray(kInts, 3)), took(cJSON_CreateIntArray(kInts, -3)),
                   took(cJSON_CreateIntArray(nullptr, 2)), took(cJSON_CreateStringArray(nullptr, 0)),
                   took(cJSON_CreateFloatArray(floats, 2)), took(cJSON_CreateDoubleArray(doubles, 2)),
                   took(cJSON_CreateStringArray(kStrings, 5)), took(cJSON_CreateInt8Array(int8s, 4)),
                   took(cJSON_CreateInt64Array(int64s, 4))}),
            "true#0 false#0 true#0 -1000000000000#-2147483648 <none> \"\" [1,-2,3] [] <none> [] [0.500000,1] "
            "[2.250000,-100000000000000000000] [\"x\",\"\",\"z\",\"b\"] [-1,1,-128,127] "
            "[18446744073709551616,5,9223372036854775808,9007199254740992] ");
  EXPECT_EQ(words({describe(cJSON_UpdateNumberVal(n, 1e12)), describe(cJSON_UpdateNumberVal(n, NAN)),
                   describe(cJSON_UpdateNumberVal(n, 2.9)), describe(cJSON_UpdateStringVal(s, "eth0")), storage(),
                   describe(cJSON_UpdateStringVal(s, "ETH0")), describe(cJSON_UpdateStringVal(s, 0)),
                   describe(cJSON_UpdateStringVal(n, "x")), describe(cJSON_UpdateNumberVal(s, 3))}),
            "1000000000000#2147483647 nan#0 2.900000#2 \"eth0\" kept \"ETH0\" <none> <none> <none> ");
  cJSON_Delete(names);
  cJSON_Delete(n);
  cJSON_Delete(s);
}

// Added members take the name given (a detached member its new one); a
// reference shares its target's child and value, is no plain number, nor is
// its copy a reference, and deleting it leaves the target whole; a member
// without a name prints as "". A string item without text prints as "", the
// reference flag is ignored, an unknown type code gives NULL.
TEST(JsonTree, AddsReferencesAndOddItems) {
  cJSON *target = cJSON_Parse(R"({"k":[1,2]})"), *o = cJSON_CreateObject();
  cJSON_AddStringToObject(o, "a", "2");
  cJSON_AddItemToObject(o, "B", cJSON_DetachItemFromObject(o, "a"));
  cJSON_AddItemReferenceToObject(o, "o", target);
  cJSON_AddItemReferenceToArray(o, target->child->child);
  cJSON *copy = cJSON_Duplicate(o, 1), *b = o->child;
  EXPECT_EQ(cJSON_UpdateNumberVal(cJSON_GetArrayItem(o, 2), 3), nullptr);
  EXPECT_EQ(describe(cJSON_UpdateNumberVal(cJSON_GetArrayItem(copy, 2), 3)), "3#3");
  free(b->valuestring);
  b->valuestring = nullptr;
  EXPECT_EQ(text(o), R"({"B":"","o":{"k":[1,2]},"":1})");
  b->type = 7;
  EXPECT_EQ(text(o) + text(o, true), "<none><none>");
  cJSON_Delete(copy);
  cJSON_Delete(o);
  EXPECT_TRUE(linked(target) && text(target) == R"({"k":[1,2]})");
  cJSON_Delete(target);
}

// NULL arguments are accepted everywhere: the calls do nothing, allocate
// nothing and answer NULL or 0. NULL hook members mean malloc and free.
TEST(JsonTree, NullArguments) {
  ScopedHooks hooks;
  cJSON *a = cJSON_Parse("[null]");
  cJSON_AddItemToArray(a, nullptr);
  cJSON_AddItemToObject(a, "x", nullptr);
  cJSON_AddItemToObject(nullptr, "x", a);
  cJSON_AddItemReferenceToObject(nullptr, "x", a);
  cJSON_AddItemReferenceToObject(a, nullptr, a);
  cJSON_Delete(0);
  cJSON_AddItemReferenceToArray(nullptr, a);
  cJSON_AddItemReferenceToArray(a, nullptr);
  cJSON_Minify(nullptr);
  cJSON_ReplaceItemInArray(a, 0, 0);
  for (cJSON *none :
       {cJSON_GetArrayItem(nullptr, 0), cJSON_GetObjectItem(nullptr, "x"), cJSON_Parse(nullptr),
        cJSON_DetachItemFromObject(a, nullptr), cJSON_Duplicate(nullptr, 1), cJSON_UpdateNumberVal(nullptr, 1)})
    EXPECT_EQ(none, nullptr);
  EXPECT_TRUE(!cJSON_Print(nullptr) && cJSON_GetArraySize(nullptr) == 0 && text(a) == "[null]");
  cJSON_Delete(a);
  cJSON_Hooks none = {nullptr, nullptr};  // as cJSON_InitHooks(nullptr)
  cJSON_InitHooks(&none);
  cJSON_Delete(cJSON_Parse("[\"x\"]"));
  EXPECT_EQ(hooks.stats().allocations, 3);  // the two items and the one text above
}

// Blanks and both kinds of comment go and strings stay as they are; "/*/"
// is a whole comment and an unclosed one runs to the end. Nothing past the
// text's NUL is read or written.
TEST(JsonTree, Minify) {
  const std::string rows[][2] = {{"{ \"a\" :\t[1, // one\n 2 /* two */, 3]\r\n}", "{\"a\":[1,2,3]}"},
                                 {R"(" // /* \" \\")", R"(" // /* \" \\")"},
                                 {"[1/**/,2/*/*/]", "[1,2*/]"},
                                 {"[1] /* never closed", "[1]"},
                                 {"[1] // no line end", "[1]"},
                                 {"", ""},
                                 {std::string("\"a \\\0\" x", 8), "\"a \\"}};
  for (const auto &[in, out] : rows) {
    std::string buf = in + '\0', want = buf;
    cJSON_Minify(buf.data());
    EXPECT_EQ(buf, want.replace(0, out.size() + 1, out + '\0')) << in;
  }
}

// ---- allocation through the hooks ----

const char *const kSample = R"({"lanport":{"dlPortNum":1,"ulPortIfName":"eth0"},"l":[-1.5,"x\u00e9",null,true,{}]} x)";

// An object given a reference to sample as its member "ref", then a plain
// member "n": an item the object refuses stays the caller's to delete.
cJSON *with_reference(cJSON *sample) {
  cJSON *o = cJSON_CreateObject(), *n = cJSON_CreateNull();
  cJSON_AddItemReferenceToObject(o, "ref", sample);
  cJSON_AddItemToObject(o, "n", n);
  if (!cJSON_GetObjectItem(o, "n")) cJSON_Delete(n);
  return o;
}

// Refusing any one allocation of an operation gives its documented result
// and leaves nothing behind: NULL, except that an array constructor leaves
// out the element it could not make, an object takes no member whose name
// could not be copied, and a failed string update leaves valuestring NULL.
TEST(JsonAlloc, EveryAllocationMayFail) {
  const struct {
    const char *what;
    cJSON *(*make)(cJSON *sample);
    bool (*refused)(cJSON *made);  // whether made is what a refused allocation gives
  } rows[] = {
      {"parse", [](cJSON *) { return cJSON_Parse(kSample); }, [](cJSON *t) { return !t && cJSON_GetErrorPtr(); }},
      {"duplicate", [](cJSON *sample) { return cJSON_Duplicate(sample, 1); }, [](cJSON *t) { return !t; }},
      {"string array", [](cJSON *) { return cJSON_CreateStringArray(kStrings, 3); },
       [](cJSON *a) { return !a || cJSON_GetArraySize(a) == 2; }},
      {"string update", [](cJSON *) { return cJSON_UpdateStringVal(cJSON_CreateString("a"), "b"); },
       [](cJSON *s) { return !s || !s->valuestring; }},
      {"member names", with_reference, [](cJSON *o) { return !o || cJSON_GetArraySize(o) < 2; }}};
  ScopedHooks hooks;
  cJSON *sample = cJSON_Parse(kSample);
  const long live = hooks.stats().live;
  for (const auto &r : rows) {
    for (long i = -1, count = 0; i < count; ++i) {  // i = -1: nothing refused
      const long first = hooks.stats().allocations;
      hooks.stats().fail_at = i < 0 ? -1 : first + i;
      cJSON *made = r.make(sample);
      if (i < 0) count = hooks.stats().allocations - first;
      EXPECT_EQ(r.refused(made), i >= 0) << r.what << ", allocation " << i;
      cJSON_Delete(made);
      EXPECT_EQ(hooks.stats().live, live) << r.what << ", allocation " << i;
    }
  }
  cJSON_Delete(sample);
}

}  // namespace
