// A model with a radio configuration and REG_DOMAIN files written per test.
#pragma once

#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "radio_config.h"
#include "radio_region.h"
#include "support/model_tree.h"

namespace aputil::test {

class RegionTest : public ::testing::Test {
 protected:
  void SetUp() override {
    tree_.write_model("dev_config.json", kMinimalDevConfig);
    set_radios(2, 5);
  }

  // radio_config.json with these bands; extra top-level members come first,
  // so they win over the defaults here (lookups take the first match).
  void set_radios(int band0, int band1, const std::string &top = "") {
    char buf[512];
    std::snprintf(buf, sizeof buf,
                  R"({%s "EIRP": true, "radioTable": [
                      {"band": %d, "mimo": 2, "anttgain": 3, "mode": 31},
                      {"band": %d, "mimo": 4, "anttgain": 5, "mode": 31}]})",
                  top.c_str(), band0, band1);
    ModelTree::forget_loaded();
    tree_.write_model("radio_config.json", buf);
    stdout_of([] { radio_config_getBand(0); });  // load now: the dump stays out of the tests' output
  }
  void set_reg2(const std::string &text) const { tree_.write_model("ath/REG_DOMAIN2", text); }
  void set_reg5(const std::string &text) const { tree_.write_model("ath/REG_DOMAIN5", text); }

  // radio_region_init(code); err receives what it printed on stderr.
  int init(int code, std::string *err = nullptr) {
    int rc = 0;
    std::string e = stderr_of([&] { rc = radio_region_init(code); });
    if (err) *err = e;
    return rc;
  }

  ModelTree tree_;
};

inline std::string region_msg(const char *kind, const char *func, int line, const std::string &text) {
  char head[96];
  std::snprintf(head, sizeof head, "<%s>%s():%4d  @ ", kind, func, line);
  return head + text;
}

}  // namespace aputil::test
