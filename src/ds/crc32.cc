// CRC-32 (IEEE 802.3). Portable path: eight bytes per step with slicing
// tables built at compile time. On arm64 the CRC32 instructions are used
// when the CPU has them, on x86-64 carry-less multiply folding (both
// checked once at run time).
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
#if defined(__x86_64__)
#include <cpuid.h>
#include <immintrin.h>
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

#if defined(__x86_64__)
// Folding constants for the reflected polynomial 0xEDB88320: x^(4*128+32),
// x^(4*128-32) mod P for the four-lane fold, x^(128+32), x^(128-32) for the
// single fold, x^64 mod P, then P' and the Barrett constant u'.
alignas(16) constexpr uint64_t kK1K2[2] = {0x0154442bd4, 0x01c6e41596};
alignas(16) constexpr uint64_t kK3K4[2] = {0x01751997d0, 0x00ccaa009e};
alignas(16) constexpr uint64_t kK5K0[2] = {0x0163cd6124, 0};
alignas(16) constexpr uint64_t kPoly[2] = {0x01db710641, 0x01f7011641};

#define APUTIL_CLMUL __attribute__((target("pclmul,sse4.1")))
APUTIL_CLMUL inline __m128i load(const uint8_t *q) { return _mm_loadu_si128(reinterpret_cast<const __m128i *>(q)); }
APUTIL_CLMUL inline __m128i fold(__m128i acc, __m128i k, __m128i next) {
  return _mm_xor_si128(_mm_xor_si128(_mm_clmulepi64_si128(acc, k, 0x11), _mm_clmulepi64_si128(acc, k, 0x00)), next);
}

// Folds 512 bits of state (four lanes, the first 64 input bytes or what a
// wider loop left) over the rest of the n bytes at p, then reduces.
APUTIL_CLMUL uint32_t fold_lanes(const __m128i lanes[4], const uint8_t *p, size_t n) {
  const size_t tail = n & 15;
  n -= tail;
  __m128i x1 = lanes[0], x2 = lanes[1], x3 = lanes[2], x4 = lanes[3];
  __m128i k = _mm_load_si128(reinterpret_cast<const __m128i *>(kK1K2));
  for (; n >= 64; n -= 64, p += 64) {  // four 128-bit lanes, 512 bits per step
    x1 = fold(x1, k, load(p));
    x2 = fold(x2, k, load(p + 16));
    x3 = fold(x3, k, load(p + 32));
    x4 = fold(x4, k, load(p + 48));
  }
  k = _mm_load_si128(reinterpret_cast<const __m128i *>(kK3K4));
  x1 = fold(fold(fold(x1, k, x2), k, x3), k, x4);
  for (; n >= 16; n -= 16, p += 16) x1 = fold(x1, k, load(p));
  // 128 -> 64 bits, then Barrett reduction to 32.
  const __m128i mask = _mm_setr_epi32(-1, 0, -1, 0);
  x2 = _mm_clmulepi64_si128(x1, k, 0x10);
  x1 = _mm_xor_si128(_mm_srli_si128(x1, 8), x2);
  k = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(kK5K0));
  x2 = _mm_srli_si128(x1, 4);
  x1 = _mm_xor_si128(_mm_clmulepi64_si128(_mm_and_si128(x1, mask), k, 0x00), x2);
  k = _mm_load_si128(reinterpret_cast<const __m128i *>(kPoly));
  x2 = _mm_clmulepi64_si128(_mm_and_si128(x1, mask), k, 0x10);
  x2 = _mm_clmulepi64_si128(_mm_and_si128(x2, mask), k, 0x00);
  const uint32_t crc = static_cast<uint32_t>(_mm_extract_epi32(_mm_xor_si128(x1, x2), 1));
  return crc32_slice8(crc, p, tail);
}

APUTIL_CLMUL uint32_t crc32_fold(uint32_t crc, const uint8_t *p, size_t n) {
  if (n < 64) return crc32_slice8(crc, p, n);
  const __m128i lanes[4] = {_mm_xor_si128(load(p), _mm_cvtsi32_si128(static_cast<int>(crc))), load(p + 16),
                            load(p + 32), load(p + 48)};
  return fold_lanes(lanes, p + 64, n - 64);
}

// AVX-512 with VPCLMULQDQ: four 512-bit lanes, 256 bytes per step, then
// the lanes folded into one and handed to the 128-bit code.
#define APUTIL_VCLMUL __attribute__((target("avx512f,avx512vl,vpclmulqdq,pclmul,sse4.1")))
APUTIL_VCLMUL inline __m512i fold512(__m512i acc, __m512i k, __m512i next) {
  return _mm512_ternarylogic_epi64(_mm512_clmulepi64_epi128(acc, k, 0x00), _mm512_clmulepi64_epi128(acc, k, 0x11),
                                   next, 0x96);  // three-way xor
}

APUTIL_VCLMUL uint32_t crc32_fold512(uint32_t crc, const uint8_t *p, size_t n) {
  if (n < 256) return crc32_fold(crc, p, n);
  // x^(2048+32), x^(2048-32) mod P for the 2048-bit step; the 512-bit pair
  // for joining the lanes.
  const __m512i k2048 = _mm512_set_epi64(0x1322d1430, 0x11542778a, 0x1322d1430, 0x11542778a, 0x1322d1430,
                                         0x11542778a, 0x1322d1430, 0x11542778a);
  const __m512i k512 = _mm512_set_epi64(kK1K2[1], kK1K2[0], kK1K2[1], kK1K2[0], kK1K2[1], kK1K2[0], kK1K2[1], kK1K2[0]);
  __m512i a = _mm512_xor_si512(_mm512_loadu_si512(p), _mm512_zextsi128_si512(_mm_cvtsi32_si128(static_cast<int>(crc))));
  __m512i b = _mm512_loadu_si512(p + 64), c = _mm512_loadu_si512(p + 128), d = _mm512_loadu_si512(p + 192);
  p += 256;
  n -= 256;
  for (; n >= 256; n -= 256, p += 256) {
    a = fold512(a, k2048, _mm512_loadu_si512(p));
    b = fold512(b, k2048, _mm512_loadu_si512(p + 64));
    c = fold512(c, k2048, _mm512_loadu_si512(p + 128));
    d = fold512(d, k2048, _mm512_loadu_si512(p + 192));
  }
  a = fold512(fold512(fold512(a, k512, b), k512, c), k512, d);
  __m128i lanes[4];
  _mm512_storeu_si512(lanes, a);
  _mm256_zeroupper();  // no dirty upper state into the SSE code
  return fold_lanes(lanes, p, n);
}
#endif

Crc32Fn select() {
  if (Crc32Fn arm = crc32_armv8()) return arm;
  if (Crc32Fn wide = crc32_vclmul()) return wide;
  if (Crc32Fn clmul = crc32_clmul()) return clmul;
  return crc32_slice8;
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

Crc32Fn crc32_clmul() {
#if defined(__x86_64__)
  unsigned a, b, c, d;
  if (__get_cpuid(1, &a, &b, &c, &d) && (c & bit_PCLMUL) && (c & bit_SSE4_1)) return crc32_fold;
#endif
  return nullptr;
}

Crc32Fn crc32_vclmul() {
#if defined(__x86_64__)
  unsigned a, b, c, d;
  if (!__get_cpuid(1, &a, &b, &c, &d) || !(c & bit_OSXSAVE) || !(c & bit_PCLMUL) || !(c & bit_SSE4_1)) return nullptr;
  if (!__get_cpuid_count(7, 0, &a, &b, &c, &d) || !(b & bit_AVX512F) || !(b & bit_AVX512VL) || !(c & bit_VPCLMULQDQ))
    return nullptr;
  uint32_t xlo, xhi;
  __asm__("xgetbv" : "=a"(xlo), "=d"(xhi) : "c"(0));
  if ((xlo & 0xE6) != 0xE6) return nullptr;  // the OS saves SSE, AVX and AVX-512 state
  return crc32_fold512;
#endif
  return nullptr;
}

}  // namespace aputil::ds

extern "C" APUTIL_API uint32_t tmp_crc32(const void *data, int len) {
  static const aputil::ds::Crc32Fn impl = aputil::ds::select();  // chosen once per process
  if (!data || len <= 0) return 0;
  return ~impl(0xFFFFFFFFu, static_cast<const uint8_t *>(data), static_cast<size_t>(len));
}
