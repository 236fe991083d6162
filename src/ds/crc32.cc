// CRC-32 (IEEE 802.3), eight bytes per step with slicing tables built at
// compile time.
#include <cstring>

#include "base64.h"

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

}  // namespace

extern "C" APUTIL_API uint32_t tmp_crc32(const void *data, int len) {
  if (!data || len <= 0) return 0;
  const auto &t = kTables.t;
  const auto *p = static_cast<const uint8_t *>(data);
  size_t n = static_cast<size_t>(len);
  uint32_t crc = 0xFFFFFFFFu;
  for (; n >= 8; n -= 8, p += 8) {
    const uint32_t a = load_le32(p) ^ crc, b = load_le32(p + 4);
    crc = t[7][a & 0xFF] ^ t[6][(a >> 8) & 0xFF] ^ t[5][(a >> 16) & 0xFF] ^ t[4][a >> 24] ^ t[3][b & 0xFF] ^
          t[2][(b >> 8) & 0xFF] ^ t[1][(b >> 16) & 0xFF] ^ t[0][b >> 24];
  }
  for (; n > 0; --n, ++p) crc = t[0][(crc ^ *p) & 0xFF] ^ (crc >> 8);
  return ~crc;
}
