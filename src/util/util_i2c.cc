// I2C address probing and the FEM register table.
#include <cstdio>
#include <cstdlib>

#include "util.h"

extern "C" {

APUTIL_API uint32_t l_FEMReg[3] = {1, 2, 0};

}  // extern "C"

namespace {

// Candidate I2C addresses of each front-end module type.
const uint32_t kI2cAddr[6][3] = {
    {0x00, 0x00, 0x21}, {0x39, 0x21, 0x23}, {0x3a, 0x21, 0x00},
    {0x00, 0x00, 0x25}, {0x38, 0x20, 0x00}, {0x38, 0x20, 0x00},
};

}  // namespace

extern "C" {

APUTIL_API uint32_t util_getI2cType(uint32_t type) {
  if (type >= 6) return 3;  // no such module type: nothing to probe
  for (int index = 2; index >= 0; --index) {
    char cmd[64];
    std::snprintf(cmd, sizeof cmd, "i2cget -f -y 0 0x%x 0 >& /dev/null", kI2cAddr[type][index]);
    const int status = std::system(cmd);
    if (status != -1 && (status & 0x7f) == 0 && ((status >> 8) & 0xff) == 0) return static_cast<uint32_t>(index);
  }
  return 3;
}

// Outside the tables (a type above 5, an index above 3, a negative one) the
// answer is 0, as for the "none" index 3, instead of a read beyond them.
APUTIL_API uint32_t util_getI2cAddr(uint32_t type, uint32_t index) {
  return type < 6 && index < 3 ? kI2cAddr[type][index] : 0;
}

APUTIL_API uint32_t util_getFEMReg(int index) { return index >= 0 && index < 3 ? l_FEMReg[index] : 0; }

}  // extern "C"
