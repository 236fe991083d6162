// The simulated co-processor with its line opened by the library.
#pragma once

#include <functional>

#include <gtest/gtest.h>

#include "ble.h"
#include "support/ble_coprocessor.h"
#include "support/model_tree.h"

namespace aputil::test {

class BleTest : public ::testing::Test {
 protected:
  void SetUp() override {
    fd_ = ble_uart_open(sim_.device().c_str(), BLE_UART_MODE_1152000);
    ASSERT_GE(fd_, 0);
  }
  void TearDown() override {
    if (fd_ >= 0) ble_uart_close(fd_);
  }

  BleCoprocessor sim_;
  int fd_ = -1;
};

// usleep calls made by the library since the last reset (the test program
// answers them at once instead of sleeping), and a hook run at each.
extern int g_usleep_calls;
extern long g_usleep_total_us;
extern std::function<void(long us)> g_on_usleep;

}  // namespace aputil::test
