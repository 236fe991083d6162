// Base64 coding over whole groups through lookup tables.
#include "base64.h"

#include <cstring>

// The C library's assertion report (also used by assert()): prints
// "prog: file:line: function: Assertion `text' failed." and aborts.
extern "C" [[noreturn]] void __assert_fail(const char *assertion, const char *file, unsigned int line,
                                           const char *function) noexcept;

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

struct DecodeTable {
  uint8_t v[128];
  constexpr DecodeTable() : v() {
    for (auto &x : v) x = 255;
    for (int i = 0; i < 64; ++i) v[static_cast<unsigned char>(kAlphabet[i])] = static_cast<uint8_t>(i);
  }
};
constexpr DecodeTable kDecode;

bool blank(char c) { return c == ' ' || (c >= 9 && c <= 13); }

}  // namespace

extern "C" {

APUTIL_API int b64_encode(char *dst, int dstlen, const uint8_t *src, int n) {
  if (!(dst != nullptr && dstlen > 0 && n >= 0))
    __assert_fail("dst != NULL && dstlen > 0 && srclen >= 0", "base64.c", 126, "b64_encode");
  if (!src) return 0;
  const long long need = 4LL * ((static_cast<long long>(n) + 2) / 3);
  if (dstlen <= need) return -1;
  char *out = dst;
  int i = 0;
  for (; i + 3 <= n; i += 3, out += 4) {
    const uint32_t g = static_cast<uint32_t>(src[i]) << 16 | static_cast<uint32_t>(src[i + 1]) << 8 | src[i + 2];
    out[0] = kAlphabet[g >> 18];
    out[1] = kAlphabet[(g >> 12) & 63];
    out[2] = kAlphabet[(g >> 6) & 63];
    out[3] = kAlphabet[g & 63];
  }
  if (n - i == 1) {
    out[0] = kAlphabet[src[i] >> 2];
    out[1] = kAlphabet[(src[i] & 3) << 4];
    out[2] = out[3] = '=';
    out += 4;
  } else if (n - i == 2) {
    const uint32_t g = static_cast<uint32_t>(src[i]) << 8 | src[i + 1];
    out[0] = kAlphabet[g >> 10];
    out[1] = kAlphabet[(g >> 4) & 63];
    out[2] = kAlphabet[(g << 2) & 63];
    out[3] = '=';
    out += 4;
  }
  *out = '\0';
  return static_cast<int>(out - dst);
}

APUTIL_API int b64_decode(uint8_t *dst, int dstlen, const char *src, int n) {
  if (!(dst != nullptr && dstlen > 0)) __assert_fail("dst != NULL && dstlen > 0", "base64.c", 65, "b64_decode");
  if (!src) return 0;
  size_t len = n < 0 ? std::strlen(src) : static_cast<size_t>(n);
  while (len > 0 && blank(*src)) ++src, --len;
  while (len > 0 && blank(src[len - 1])) --len;
  if (len % 4 != 0 || static_cast<size_t>(dstlen) <= len / 4 * 3) return -1;
  uint8_t *out = dst;
  for (size_t i = 0; i < len; i += 4) {
    const auto *c = reinterpret_cast<const unsigned char *>(src + i);
    if ((c[0] | c[1] | c[2] | c[3]) & 0x80) return -1;
    const uint32_t v0 = kDecode.v[c[0]], v1 = kDecode.v[c[1]], v2 = kDecode.v[c[2]], v3 = kDecode.v[c[3]];
    *out++ = static_cast<uint8_t>(v0 << 2 | v1 >> 4);
    if (c[2] == '=' && c[3] == '=') break;  // one byte, and the end
    *out++ = static_cast<uint8_t>(v1 << 4 | v2 >> 2);
    if (c[3] == '=') break;  // two bytes, and the end
    *out++ = static_cast<uint8_t>(v2 << 6 | v3);
  }
  return static_cast<int>(out - dst);
}

}  // extern "C"
