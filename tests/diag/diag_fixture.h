// A firmware root with the log folders, and fresh log state.
#pragma once

#include <regex>
#include <string>

#include <gtest/gtest.h>

#include "diag/diag_state.h"
#include "support/fw_root.h"
#include "support/model_tree.h"
#include "util_dbg.h"

namespace aputil::test {

class DiagTest : public ::testing::Test {
 protected:
  void SetUp() override {
    root_.write("/tmp/log/error/.keep", "");
    root_.write("/tmp/log/rec/.keep", "");
    diag::reset_dbg_for_tests();
    diag::reset_input_record_for_tests();
  }
  // A timestamp's stand-in, as long as a real one.
  static constexpr const char *kStamp = "YYYY-MM-DD hh:mm:ss";

  // File content with every timestamp replaced by kStamp.
  std::string masked(const std::string &device_path) const {
    static const std::regex ts(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d)");
    return std::regex_replace(root_.read(device_path), ts, kStamp);
  }
  // Expected text written with "TS" for each timestamp.
  static std::string ts(std::string s) {
    for (size_t at; (at = s.find("TS")) != std::string::npos;) s.replace(at, 2, kStamp);
    return s;
  }

  FirmwareRoot root_;
};

}  // namespace aputil::test
