// The simulated co-processor (tools/blesim) under the tests' names.
#pragma once

#include "blesim/ble_coprocessor.h"

namespace aputil::test {
using sim::BleCoprocessor;
using sim::Bytes;
using sim::HciCommand;
using sim::Reply;
}  // namespace aputil::test
