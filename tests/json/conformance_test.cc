// Replays the JSONTestSuite corpus in tests/data/json-conformance.
#include <dirent.h>

#include <algorithm>
#include <cstdlib>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cJSON.h"
#include "support/alloc_hooks.h"
#include "support/fw_root.h"

namespace {

std::string corpus_dir() {
  const char *data = std::getenv("APUTIL_TEST_DATA");
  return std::string(data ? data : "tests/data") + "/json-conformance";
}

std::vector<std::string> corpus(char kind) {
  std::vector<std::string> names;
  if (DIR *d = opendir(corpus_dir().c_str())) {
    while (dirent *e = readdir(d))
      if (e->d_name[0] == kind && e->d_name[1] == '_') names.push_back(e->d_name);
    closedir(d);
  }
  std::sort(names.begin(), names.end());
  return names;
}

// n_ files that hold a complete value followed by other text (or by a NUL,
// which ends a C string): the parser reads the first value and stops.
const std::set<std::string> kAcceptedTrailing = {
    "n_array_comma_after_close.json",
    "n_array_extra_close.json",
    "n_multidigit_number_then_00.json",
    "n_object_trailing_comment.json",
    "n_object_trailing_comment_open.json",
    "n_object_trailing_comment_slash_open.json",
    "n_object_trailing_comment_slash_open_incomplete.json",
    "n_object_with_trailing_garbage.json",
    "n_string_with_trailing_garbage.json",
    "n_structure_array_trailing_garbage.json",
    "n_structure_array_with_extra_array_close.json",
    "n_structure_close_unopened_array.json",
    "n_structure_double_array.json",
    "n_structure_number_with_trailing_garbage.json",
    "n_structure_object_followed_by_closing_object.json",
    "n_structure_object_with_trailing_garbage.json",
    "n_structure_trailing_#.json",
};

TEST(JsonConformance, CorpusIsPresent) {
  EXPECT_GE(corpus('y').size(), 90u);
  EXPECT_GE(corpus('n').size(), 180u);
  const auto rejected = corpus('n');
  for (const auto &name : kAcceptedTrailing)
    EXPECT_TRUE(std::binary_search(rejected.begin(), rejected.end(), name)) << name;
}

TEST(JsonConformance, AcceptsEveryValidText) {
  for (const auto &name : corpus('y')) {
    std::string text = aputil::test::read_file(corpus_dir() + "/" + name);
    cJSON *tree = cJSON_Parse(text.c_str());
    EXPECT_NE(tree, nullptr) << name;
    cJSON_Delete(tree);
  }
}

TEST(JsonConformance, RejectsInvalidTextExceptTrailingText) {
  for (const auto &name : corpus('n')) {
    std::string text = aputil::test::read_file(corpus_dir() + "/" + name);
    cJSON *tree = cJSON_Parse(text.c_str());
    if (kAcceptedTrailing.count(name))
      EXPECT_NE(tree, nullptr) << name;
    else
      EXPECT_EQ(tree, nullptr) << name;
    cJSON_Delete(tree);
  }
}

// Every text, valid or not: parse and print balance their allocations, and
// printed text (either layout) parses back to the same unformatted text.
TEST(JsonConformance, RoundTripsAndBalances) {
  aputil::test::ScopedHooks hooks;
  for (char kind : {'y', 'n', 'i'}) {
    for (const auto &name : corpus(kind)) {
      std::string text = aputil::test::read_file(corpus_dir() + "/" + name);
      hooks.reset();
      cJSON *tree = cJSON_Parse(text.c_str());
      if (tree) {
        char *once = cJSON_PrintUnformatted(tree);
        char *formatted = cJSON_Print(tree);
        ASSERT_NE(once, nullptr) << name;
        ASSERT_NE(formatted, nullptr) << name;
        for (const char *printed : {once, formatted}) {
          cJSON *again = cJSON_Parse(printed);
          ASSERT_NE(again, nullptr) << name << ": " << printed;
          char *twice = cJSON_PrintUnformatted(again);
          EXPECT_STREQ(once, twice) << name;
          aputil::test::ScopedHooks::release(twice);
          cJSON_Delete(again);
        }
        aputil::test::ScopedHooks::release(once);
        aputil::test::ScopedHooks::release(formatted);
        cJSON_Delete(tree);
      }
      EXPECT_EQ(hooks.stats().live, 0) << name;
    }
  }
}

}  // namespace
