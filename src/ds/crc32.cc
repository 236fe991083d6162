// CRC-32 (IEEE 802.3). Portable path: eight bytes per step with slicing
// tables built at compile time. On arm64 the CRC32 instructions are used
// when the CPU has them (checked once at run time).
#include <cstring>

#include "base64.h"
#include "ds/crc32_impl.h"

#if defined(__aarch64__)
#include <arm_acle.h>
#include <sys/auxv.h>
#ifndef HWCAP_CRC32
#define HWCAP_CRC32 (1 << 7)
#endif
#endif

namespace aputil::ds {
namespace {

struct Tables {
  uint32_t t[8][256];
  constexpr Tables() : t() {
    for (uint32_t i = 0; i < 256; ++i) {
      uint32_t c = i;
      for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
      t[0][i] = c;
    }
    for (int s = 1; s < 8; ++s)
      for (uint32_t i = 0; i < 256; ++i) t[s][i] = (t[s - 1][i] >> 8) ^ t[0][t[s - 1][i] & 0xFF];
  }
};
constexpr Tables kTables;

uint32_t load_le32(const uint8_t *p) {
  uint32_t w;
  std::memcpy(&w, p, 4);
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
  w = __builtin_bswap32(w);
#endif
  return w;
}

#if defined(__aarch64__)
__attribute__((target("+crc"))) uint32_t crc32_arm(uint32_t crc, const uint8_t *p, size_t n) {
  for (; n >= 8; n -= 8, p += 8) {
    uint64_t w;
    std::memcpy(&w, p, 8);
    crc = __crc32d(crc, w);
  }
  if (n >= 4) {
    uint32_t w;
    std::memcpy(&w, p, 4);
    crc = __crc32w(crc, w);
    p += 4;
    n -= 4;
  }
  for (; n > 0; --n, ++p) crc = __crc32b(crc, *p);
  return crc;
}
#endif

Crc32Fn select() {
  Crc32Fn arm = crc32_armv8();
  return arm ? arm : crc32_slice8;
}

}  // namespace

uint32_t crc32_slice8(uint32_t crc, const uint8_t *p, size_t n) {
  const auto &t = kTables.t;
  for (; n >= 8; n -= 8, p += 8) {
    const uint32_t a = load_le32(p) ^ crc, b = load_le32(p + 4);
    crc = t[7][a & 0xFF] ^ t[6][(a >> 8) & 0xFF] ^ t[5][(a >> 16) & 0xFF] ^ t[4][a >> 24] ^ t[3][b & 0xFF] ^
          t[2][(b >> 8) & 0xFF] ^ t[1][(b >> 16) & 0xFF] ^ t[0][b >> 24];
  }
  for (; n > 0; --n, ++p) crc = t[0][(crc ^ *p) & 0xFF] ^ (crc >> 8);
  return crc;
}

Crc32Fn crc32_armv8() {
#if defined(__aarch64__)
  return (getauxval(AT_HWCAP) & HWCAP_CRC32) ? crc32_arm : nullptr;
#else
  return nullptr;
#endif
}

}  // namespace aputil::ds

extern "C" APUTIL_API uint32_t tmp_crc32(const void *data, int len) {
  static const aputil::ds::Crc32Fn impl = aputil::ds::select();  // chosen once per process
  if (!data || len <= 0) return 0;
  return ~impl(0xFFFFFFFFu, static_cast<const uint8_t *>(data), static_cast<size_t>(len));
}
