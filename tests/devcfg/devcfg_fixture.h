// A temporary firmware tree with a model's NVRAM identity and
// dev_config.json, and a fresh (unloaded) device configuration.
#pragma once

#include <string>

#include <gtest/gtest.h>

#include "devcfg.h"
#include "support/fw_root.h"

namespace aputil::test {

// Calls of nm_api_init since the last reset (counted by the test program's
// own NVRAM start, which takes the place of the emulation's).
extern int g_nvram_init_calls;

// A configuration that loads: two downlink ports, PoE out, cloud control.
extern const char kFullConfig[];
// The least that loads.
extern const char kMinimalConfig[];

class DevcfgTest : public ::testing::Test {
 protected:
  void SetUp() override;
  // Forget the loaded configuration, as in a new process.
  void reload();

  // Identity "AP100 X(EU):2.0" in region US unless set otherwise.
  void set_identity(const std::string &product_info, const std::string &region = "US");
  // Write dev_config.json into the model directory of the current identity.
  void set_config(const std::string &json, const std::string &model_dir = "/etc/AP100_X_2.0");

  // Run f and return what it printed on stderr.
  template <typename F>
  std::string stderr_of(F f) {
    ::testing::internal::CaptureStderr();
    f();
    return ::testing::internal::GetCapturedStderr();
  }

  FirmwareRoot root_;
};

// A condition message up to its errno (whose value is whatever the last
// failed call left).
std::string condition(int line, const std::string &cond);

}  // namespace aputil::test
