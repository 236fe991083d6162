// A temporary firmware tree holding one model: its NVRAM identity
// ("AP100 X(EU):2.0" in region US unless changed) and whatever files a test
// writes into the model directory /etc/AP100_X_2.0. Creating one forgets
// every configuration the library has loaded, as a new process would.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "support/fw_root.h"

namespace aputil::test {

class ModelTree : public FirmwareRoot {
 public:
  static constexpr const char *kModelDir = "/etc/AP100_X_2.0";

  ModelTree();

  void set_identity(const std::string &product_info, const std::string &region = "US") const;
  // Write a file (e.g. "dev_config.json") into a model directory.
  void write_model(const std::string &file, const std::string &content, const std::string &dir = kModelDir) const;

  // Forget the loaded device and radio configurations and region tables.
  static void forget_loaded();
};

// A dev_config.json that loads with nothing optional in it.
extern const char kMinimalDevConfig[];

// Run f and return what it printed on stderr (or stdout).
template <typename F>
std::string stderr_of(F f) {
  ::testing::internal::CaptureStderr();
  f();
  return ::testing::internal::GetCapturedStderr();
}

template <typename F>
std::string stdout_of(F f) {
  ::testing::internal::CaptureStdout();
  f();
  return ::testing::internal::GetCapturedStdout();
}

}  // namespace aputil::test
