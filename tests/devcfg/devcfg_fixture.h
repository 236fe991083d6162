// A temporary firmware tree with a model's NVRAM identity and
// dev_config.json, and a fresh (unloaded) device configuration.
#pragma once

#include <string>

#include <gtest/gtest.h>

#include "devcfg.h"
#include "support/model_tree.h"

namespace aputil::test {

// Calls of nm_api_init since the last reset (counted by the test program's
// own NVRAM start, which takes the place of the emulation's).
extern int g_nvram_init_calls;

// A configuration that loads: two downlink ports, PoE out, cloud control.
extern const char kFullConfig[];
// The least that loads.
inline const char *const kMinimalConfig = kMinimalDevConfig;

class DevcfgTest : public ::testing::Test {
 protected:
  void SetUp() override;
  // Forget the loaded configuration, as in a new process.
  void reload() { ModelTree::forget_loaded(); }

  void set_identity(const std::string &product_info, const std::string &region = "US") {
    root_.set_identity(product_info, region);
  }
  // Write dev_config.json into a model directory.
  void set_config(const std::string &json, const std::string &model_dir = ModelTree::kModelDir) {
    root_.write_model("dev_config.json", json, model_dir);
  }

  ModelTree root_;
};

// A condition message up to its errno (whose value is whatever the last
// failed call left).
std::string condition(int line, const std::string &cond);

}  // namespace aputil::test
