// Base64 coding over whole groups through lookup tables.
#include "base64.h"

#include <cstring>

#if defined(__x86_64__)
#include <cpuid.h>
#include <immintrin.h>
#endif

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

// Whole-group tables. Encoding: two characters for each 12-bit half of a
// group. Decoding: each position's contribution to the three output bytes,
// OR-ed together exactly as the per-character shifts would (characters
// outside the alphabet keep their value 255 and so their bits), with bit 31
// marking a byte above 127.
struct GroupTables {
  uint16_t enc[4096];
  uint32_t dec[4][256];
  constexpr GroupTables() : enc(), dec() {
    for (int i = 0; i < 4096; ++i) {
      const unsigned first = static_cast<unsigned char>(kAlphabet[i >> 6]);
      const unsigned second = static_cast<unsigned char>(kAlphabet[i & 63]);
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
      enc[i] = static_cast<uint16_t>(first << 8 | second);
#else
      enc[i] = static_cast<uint16_t>(first | second << 8);
#endif
    }
    for (uint32_t c = 0; c < 256; ++c) {
      if (c >= 128) {
        for (auto &t : dec) t[c] = 0x80000000u;
        continue;
      }
      const uint32_t v = kDecode.v[c];
      dec[0][c] = (v << 2) & 0xFF;
      dec[1][c] = (v >> 4) | ((v << 4) & 0xFF) << 8;
      dec[2][c] = (v >> 2) << 8 | ((v << 6) & 0xFF) << 16;
      dec[3][c] = v << 16;
    }
  }
};
constexpr GroupTables kGroup;

// Whole groups of 3 bytes into 4 characters, through the 12-bit table.
// Returns how many input bytes it took (a multiple of 3).
int encode_groups(char *out, const uint8_t *src, int n) {
  int i = 0;
  for (; i + 3 <= n; i += 3, out += 4) {
    const uint32_t g = static_cast<uint32_t>(src[i]) << 16 | static_cast<uint32_t>(src[i + 1]) << 8 | src[i + 2];
    const uint16_t hi = kGroup.enc[g >> 12], lo = kGroup.enc[g & 4095];
    std::memcpy(out, &hi, 2);  // the table holds the characters in memory order
    std::memcpy(out + 2, &lo, 2);
  }
  return i;
}

#if defined(__x86_64__)
// SSSE3: 12 input bytes into 16 characters a step (reading 16), the
// 6-bit fields split out by shuffle and multiply, then mapped to the
// alphabet by range through one more shuffle.
__attribute__((target("ssse3"))) int encode_groups_ssse3(char *out, const uint8_t *src, int n) {
  const __m128i spread = _mm_set_epi8(10, 11, 9, 10, 7, 8, 6, 7, 4, 5, 3, 4, 1, 2, 0, 1);
  const __m128i offsets = _mm_setr_epi8('a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                                        '0' - 52, '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 'A', 0, 0);
  int i = 0;
  for (; i + 16 <= n; i += 12, out += 16) {
    const __m128i in = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i *>(src + i)), spread);
    const __m128i hi = _mm_mulhi_epu16(_mm_and_si128(in, _mm_set1_epi32(0x0fc0fc00)), _mm_set1_epi32(0x04000040));
    const __m128i lo = _mm_mullo_epi16(_mm_and_si128(in, _mm_set1_epi32(0x003f03f0)), _mm_set1_epi32(0x01000010));
    const __m128i idx = _mm_or_si128(hi, lo);  // one 6-bit value per byte
    __m128i range = _mm_subs_epu8(idx, _mm_set1_epi8(51));  // 0 for letters, 1..12 for digits, '+', '/'
    range = _mm_or_si128(range, _mm_and_si128(_mm_cmpgt_epi8(_mm_set1_epi8(26), idx), _mm_set1_epi8(13)));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(out), _mm_add_epi8(idx, _mm_shuffle_epi8(offsets, range)));
  }
  return i + encode_groups(out, src + i, n - i);
}

// SSSE3 decoding of whole 16-character blocks made only of alphabet
// characters: 12 bytes a step. Stops at the first block holding anything
// else ('=', blanks, bytes outside the alphabet), which the group loop then
// takes as it always does. Returns how many characters it took (a multiple
// of 16); it writes exactly 3 bytes for every 4 of them.
__attribute__((target("ssse3"))) size_t decode_blocks_ssse3(uint8_t *out, const char *src, size_t len) {
  // Validity by nibbles: a character is in the alphabet when the bits its
  // low and high nibbles select have nothing in common.
  const __m128i lut_lo = _mm_setr_epi8(0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x13, 0x1A, 0x1B,
                                       0x1B, 0x1B, 0x1A);
  const __m128i lut_hi = _mm_setr_epi8(0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10, 0x10, 0x10, 0x10,
                                       0x10, 0x10, 0x10);
  // What to add to each character, by high nibble ('/' apart), to get its value.
  const __m128i lut_roll = _mm_setr_epi8(0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0);
  const __m128i slash = _mm_set1_epi8(0x2F), nibble = _mm_set1_epi8(0x0F);
  const __m128i pack = _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
  size_t i = 0;
  for (; i + 16 <= len; i += 16, out += 12) {
    __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i *>(src + i));
    const __m128i hi_nibbles = _mm_and_si128(_mm_srli_epi32(v, 4), nibble);
    const __m128i lo_nibbles = _mm_and_si128(v, nibble);
    const __m128i bad = _mm_and_si128(_mm_shuffle_epi8(lut_lo, lo_nibbles), _mm_shuffle_epi8(lut_hi, hi_nibbles));
    if (_mm_movemask_epi8(_mm_cmpeq_epi8(bad, _mm_setzero_si128())) != 0xFFFF) break;
    const __m128i roll = _mm_shuffle_epi8(lut_roll, _mm_add_epi8(_mm_cmpeq_epi8(v, slash), hi_nibbles));
    v = _mm_add_epi8(v, roll);  // 6-bit values
    v = _mm_maddubs_epi16(v, _mm_set1_epi32(0x01400140));  // pairs into 12 bits
    v = _mm_madd_epi16(v, _mm_set1_epi32(0x00011000));     // quads into 24 bits
    alignas(16) uint8_t bytes[16];
    _mm_store_si128(reinterpret_cast<__m128i *>(bytes), _mm_shuffle_epi8(v, pack));
    std::memcpy(out, bytes, 12);
  }
  return i;
}
#endif

using EncodeFn = int (*)(char *, const uint8_t *, int);
using DecodeFn = size_t (*)(uint8_t *, const char *, size_t);
size_t decode_blocks_none(uint8_t *, const char *, size_t) { return 0; }

#if defined(__x86_64__)
bool have_ssse3() {
  unsigned a, b, c, d;
  return __get_cpuid(1, &a, &b, &c, &d) && (c & bit_SSSE3);
}
#endif

EncodeFn pick_encoder() {
#if defined(__x86_64__)
  if (have_ssse3()) return encode_groups_ssse3;
#endif
  return encode_groups;
}

DecodeFn pick_decoder() {
#if defined(__x86_64__)
  if (have_ssse3()) return decode_blocks_ssse3;
#endif
  return decode_blocks_none;
}

bool blank(char c) { return c == ' ' || (c >= 9 && c <= 13); }

}  // namespace

extern "C" {

APUTIL_API int b64_encode(char *dst, int dstlen, const uint8_t *src, int n) {
  if (!(dst != nullptr && dstlen > 0 && n >= 0))
    __assert_fail("dst != NULL && dstlen > 0 && srclen >= 0", "base64.c", 126, "b64_encode");
  if (!src) return 0;
  const long long need = 4LL * ((static_cast<long long>(n) + 2) / 3);
  if (dstlen <= need) return -1;
  static const EncodeFn encode = pick_encoder();  // chosen once per process
  const int i = encode(dst, src, n);
  char *out = dst + i / 3 * 4;
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
  static const DecodeFn blocks = pick_decoder();  // chosen once per process
  const size_t taken = blocks(dst, src, len);
  uint8_t *out = dst + taken / 4 * 3;
  for (size_t i = taken; i < len; i += 4) {
    const auto *c = reinterpret_cast<const unsigned char *>(src + i);
    const uint32_t w = kGroup.dec[0][c[0]] | kGroup.dec[1][c[1]] | kGroup.dec[2][c[2]] | kGroup.dec[3][c[3]];
    if (w & 0x80000000u) return -1;
    *out++ = static_cast<uint8_t>(w);
    if (c[2] == '=' && c[3] == '=') break;  // one byte, and the end
    *out++ = static_cast<uint8_t>(w >> 8);
    if (c[3] == '=') break;  // two bytes, and the end
    *out++ = static_cast<uint8_t>(w >> 16);
  }
  return static_cast<int>(out - dst);
}

}  // extern "C"
