// MD5 (RFC 1321) on the caller's context, digests, HMAC-MD5 and the keys.
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "aputil_build_config.h"
#include "crypto.h"

namespace {

uint32_t rotl(uint32_t x, int n) { return (x << n) | (x >> (32 - n)); }

uint32_t load_le(const uint8_t *p) {
  return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 | static_cast<uint32_t>(p[2]) << 16 |
         static_cast<uint32_t>(p[3]) << 24;
}

void store_le(uint8_t *p, uint32_t v) {
  p[0] = static_cast<uint8_t>(v);
  p[1] = static_cast<uint8_t>(v >> 8);
  p[2] = static_cast<uint8_t>(v >> 16);
  p[3] = static_cast<uint8_t>(v >> 24);
}

// The message word and constant are added first so that only f waits for
// the previous step; G is split into two disjoint terms for the same reason.
#define MD5_STEP(f, a, b, c, d, x, t, s) (a) = (b) + rotl((a) + (x) + (t) + f((b), (c), (d)), (s))
#define MD5_F(x, y, z) ((z) ^ ((x) & ((y) ^ (z))))
#define MD5_G(x, y, z) (((x) & (z)) + ((y) & ~(z)))
#define MD5_H(x, y, z) ((x) ^ (y) ^ (z))
#define MD5_I(x, y, z) ((y) ^ ((x) | ~(z)))

void transform(uint32_t state[4], const uint8_t block[64]) {
  uint32_t x[16];
  for (int i = 0; i < 16; ++i) x[i] = load_le(block + 4 * i);
  uint32_t a = state[0], b = state[1], c = state[2], d = state[3];

  MD5_STEP(MD5_F, a, b, c, d, x[0], 0xd76aa478, 7);
  MD5_STEP(MD5_F, d, a, b, c, x[1], 0xe8c7b756, 12);
  MD5_STEP(MD5_F, c, d, a, b, x[2], 0x242070db, 17);
  MD5_STEP(MD5_F, b, c, d, a, x[3], 0xc1bdceee, 22);
  MD5_STEP(MD5_F, a, b, c, d, x[4], 0xf57c0faf, 7);
  MD5_STEP(MD5_F, d, a, b, c, x[5], 0x4787c62a, 12);
  MD5_STEP(MD5_F, c, d, a, b, x[6], 0xa8304613, 17);
  MD5_STEP(MD5_F, b, c, d, a, x[7], 0xfd469501, 22);
  MD5_STEP(MD5_F, a, b, c, d, x[8], 0x698098d8, 7);
  MD5_STEP(MD5_F, d, a, b, c, x[9], 0x8b44f7af, 12);
  MD5_STEP(MD5_F, c, d, a, b, x[10], 0xffff5bb1, 17);
  MD5_STEP(MD5_F, b, c, d, a, x[11], 0x895cd7be, 22);
  MD5_STEP(MD5_F, a, b, c, d, x[12], 0x6b901122, 7);
  MD5_STEP(MD5_F, d, a, b, c, x[13], 0xfd987193, 12);
  MD5_STEP(MD5_F, c, d, a, b, x[14], 0xa679438e, 17);
  MD5_STEP(MD5_F, b, c, d, a, x[15], 0x49b40821, 22);

  MD5_STEP(MD5_G, a, b, c, d, x[1], 0xf61e2562, 5);
  MD5_STEP(MD5_G, d, a, b, c, x[6], 0xc040b340, 9);
  MD5_STEP(MD5_G, c, d, a, b, x[11], 0x265e5a51, 14);
  MD5_STEP(MD5_G, b, c, d, a, x[0], 0xe9b6c7aa, 20);
  MD5_STEP(MD5_G, a, b, c, d, x[5], 0xd62f105d, 5);
  MD5_STEP(MD5_G, d, a, b, c, x[10], 0x02441453, 9);
  MD5_STEP(MD5_G, c, d, a, b, x[15], 0xd8a1e681, 14);
  MD5_STEP(MD5_G, b, c, d, a, x[4], 0xe7d3fbc8, 20);
  MD5_STEP(MD5_G, a, b, c, d, x[9], 0x21e1cde6, 5);
  MD5_STEP(MD5_G, d, a, b, c, x[14], 0xc33707d6, 9);
  MD5_STEP(MD5_G, c, d, a, b, x[3], 0xf4d50d87, 14);
  MD5_STEP(MD5_G, b, c, d, a, x[8], 0x455a14ed, 20);
  MD5_STEP(MD5_G, a, b, c, d, x[13], 0xa9e3e905, 5);
  MD5_STEP(MD5_G, d, a, b, c, x[2], 0xfcefa3f8, 9);
  MD5_STEP(MD5_G, c, d, a, b, x[7], 0x676f02d9, 14);
  MD5_STEP(MD5_G, b, c, d, a, x[12], 0x8d2a4c8a, 20);

  MD5_STEP(MD5_H, a, b, c, d, x[5], 0xfffa3942, 4);
  MD5_STEP(MD5_H, d, a, b, c, x[8], 0x8771f681, 11);
  MD5_STEP(MD5_H, c, d, a, b, x[11], 0x6d9d6122, 16);
  MD5_STEP(MD5_H, b, c, d, a, x[14], 0xfde5380c, 23);
  MD5_STEP(MD5_H, a, b, c, d, x[1], 0xa4beea44, 4);
  MD5_STEP(MD5_H, d, a, b, c, x[4], 0x4bdecfa9, 11);
  MD5_STEP(MD5_H, c, d, a, b, x[7], 0xf6bb4b60, 16);
  MD5_STEP(MD5_H, b, c, d, a, x[10], 0xbebfbc70, 23);
  MD5_STEP(MD5_H, a, b, c, d, x[13], 0x289b7ec6, 4);
  MD5_STEP(MD5_H, d, a, b, c, x[0], 0xeaa127fa, 11);
  MD5_STEP(MD5_H, c, d, a, b, x[3], 0xd4ef3085, 16);
  MD5_STEP(MD5_H, b, c, d, a, x[6], 0x04881d05, 23);
  MD5_STEP(MD5_H, a, b, c, d, x[9], 0xd9d4d039, 4);
  MD5_STEP(MD5_H, d, a, b, c, x[12], 0xe6db99e5, 11);
  MD5_STEP(MD5_H, c, d, a, b, x[15], 0x1fa27cf8, 16);
  MD5_STEP(MD5_H, b, c, d, a, x[2], 0xc4ac5665, 23);

  MD5_STEP(MD5_I, a, b, c, d, x[0], 0xf4292244, 6);
  MD5_STEP(MD5_I, d, a, b, c, x[7], 0x432aff97, 10);
  MD5_STEP(MD5_I, c, d, a, b, x[14], 0xab9423a7, 15);
  MD5_STEP(MD5_I, b, c, d, a, x[5], 0xfc93a039, 21);
  MD5_STEP(MD5_I, a, b, c, d, x[12], 0x655b59c3, 6);
  MD5_STEP(MD5_I, d, a, b, c, x[3], 0x8f0ccc92, 10);
  MD5_STEP(MD5_I, c, d, a, b, x[10], 0xffeff47d, 15);
  MD5_STEP(MD5_I, b, c, d, a, x[1], 0x85845dd1, 21);
  MD5_STEP(MD5_I, a, b, c, d, x[8], 0x6fa87e4f, 6);
  MD5_STEP(MD5_I, d, a, b, c, x[15], 0xfe2ce6e0, 10);
  MD5_STEP(MD5_I, c, d, a, b, x[6], 0xa3014314, 15);
  MD5_STEP(MD5_I, b, c, d, a, x[13], 0x4e0811a1, 21);
  MD5_STEP(MD5_I, a, b, c, d, x[4], 0xf7537e82, 6);
  MD5_STEP(MD5_I, d, a, b, c, x[11], 0xbd3af235, 10);
  MD5_STEP(MD5_I, c, d, a, b, x[2], 0x2ad7d2bb, 15);
  MD5_STEP(MD5_I, b, c, d, a, x[9], 0xeb86d391, 21);

  state[0] += a;
  state[1] += b;
  state[2] += c;
  state[3] += d;
}

uint8_t g_image_key[16] = {APUTIL_IMAGE_KEY_BYTES};
uint8_t g_config_key[16] = {APUTIL_CONFIG_KEY_BYTES};
uint8_t g_des_key[8] = {APUTIL_DES_KEY_BYTES};  // the first 8 bytes of the configuration key

}  // namespace

extern "C" {

APUTIL_API void kx_MD5_Init(kx_MD5_CTX *ctx) {
  ctx->bits[0] = ctx->bits[1] = 0;
  ctx->state[0] = 0x67452301;
  ctx->state[1] = 0xefcdab89;
  ctx->state[2] = 0x98badcfe;
  ctx->state[3] = 0x10325476;
}

APUTIL_API void kx_MD5_Update(kx_MD5_CTX *ctx, const void *data, uint32_t len) {
  if (!ctx || !data || len == 0) return;  // nothing to add (a NULL buffer counts as empty)
  const auto *in = static_cast<const uint8_t *>(data);
  uint32_t used = (ctx->bits[0] >> 3) & 63;
  const uint32_t low = ctx->bits[0] + (len << 3);
  if (low < ctx->bits[0]) ++ctx->bits[1];
  ctx->bits[0] = low;
  ctx->bits[1] += len >> 29;
  if (used) {
    const uint32_t room = 64 - used;
    if (len < room) {
      std::memcpy(ctx->buffer + used, in, len);
      return;
    }
    std::memcpy(ctx->buffer + used, in, room);
    transform(ctx->state, ctx->buffer);
    in += room;
    len -= room;
  }
  for (; len >= 64; in += 64, len -= 64) transform(ctx->state, in);
  std::memcpy(ctx->buffer, in, len);
}

APUTIL_API void kx_MD5_Final(uint8_t digest[16], kx_MD5_CTX *ctx) {
  uint8_t count[8];
  store_le(count, ctx->bits[0]);
  store_le(count + 4, ctx->bits[1]);
  const uint32_t used = (ctx->bits[0] >> 3) & 63;
  static const uint8_t kPad[64] = {0x80};
  kx_MD5_Update(ctx, kPad, used < 56 ? 56 - used : 120 - used);
  kx_MD5_Update(ctx, count, 8);
  for (int i = 0; i < 4; ++i) store_le(ctx->digest + 4 * i, ctx->state[i]);
  std::memcpy(digest, ctx->digest, 16);
}

APUTIL_API void md5_make_digest(uint8_t digest[16], const void *data, uint32_t len) {
  kx_MD5_CTX ctx;
  kx_MD5_Init(&ctx);
  kx_MD5_Update(&ctx, data, len);
  kx_MD5_Final(digest, &ctx);
}

APUTIL_API int md5_verify_digest(const uint8_t expected[16], const void *data, uint32_t len) {
  if (!expected || !data) {
    std::puts("invalid input params\r");
    return 0;
  }
  uint8_t digest[16];
  md5_make_digest(digest, data, len);
  return std::memcmp(digest, expected, 16) == 0 ? 1 : 0;
}

APUTIL_API void hmac_md5(const void *data, uint32_t dlen, const void *key, int klen, uint8_t out[16]) {
  uint8_t hashed_key[16];
  if (klen > 64) {
    md5_make_digest(hashed_key, key, static_cast<uint32_t>(klen));
    key = hashed_key;
    klen = 16;
  }
  uint8_t ipad[64] = {0}, opad[64] = {0};
  if (klen > 0) {
    std::memcpy(ipad, key, static_cast<size_t>(klen));
    std::memcpy(opad, key, static_cast<size_t>(klen));
  }
  for (int i = 0; i < 64; ++i) {
    ipad[i] ^= 0x36;
    opad[i] ^= 0x5c;
  }
  kx_MD5_CTX ctx;
  kx_MD5_Init(&ctx);
  kx_MD5_Update(&ctx, ipad, 64);
  kx_MD5_Update(&ctx, data, dlen);
  kx_MD5_Final(out, &ctx);  // the inner digest, in out between the passes
  kx_MD5_Init(&ctx);
  kx_MD5_Update(&ctx, opad, 64);
  kx_MD5_Update(&ctx, out, 16);
  kx_MD5_Final(out, &ctx);
}

APUTIL_API uint8_t *md5_getImageKey(void) { return g_image_key; }
APUTIL_API uint8_t *md5_getConfigKey(void) { return g_config_key; }
APUTIL_API uint8_t *md5_getDesKey(void) { return g_des_key; }

}  // extern "C"
