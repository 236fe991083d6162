// RSA signature verification (PKCS#1 v1.5, SHA-1) against CryptoAPI
// "RSA1" public-key blobs, and the 16-bit-limb big numbers and hashes it
// exports. The arithmetic and hashes are libcrypto's; limb arrays are
// converted at the boundary.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/bn.h>
#include <openssl/sha.h>

#include <atomic>
#include <cstdlib>
#include <cstring>

#include "crypto.h"

static_assert(sizeof(SHA512_CTX) <= sizeof(RSA_SHA512_State));

namespace {

constexpr int kMaxBytes = 256;

[[noreturn]] void out_of_memory() { std::abort(); }

BIGNUM *to_bn(RSA_Bignum b) {
  const int limbs = b[0];
  auto *bytes = static_cast<uint8_t *>(RSA_safemalloc(2 * static_cast<size_t>(limbs)));
  for (int i = 0; i < limbs; ++i) {  // big-endian bytes, most significant limb first
    bytes[2 * i] = static_cast<uint8_t>(b[limbs - i] >> 8);
    bytes[2 * i + 1] = static_cast<uint8_t>(b[limbs - i]);
  }
  BIGNUM *bn = BN_bin2bn(bytes, 2 * limbs, nullptr);
  RSA_safefree(bytes);
  if (!bn) out_of_memory();
  return bn;
}

RSA_Bignum from_bn(const BIGNUM *bn) {
  const int n = BN_num_bytes(bn);
  auto *bytes = static_cast<uint8_t *>(RSA_safemalloc(static_cast<size_t>(n) + 1));
  BN_bn2bin(bn, bytes);
  RSA_Bignum r = RSA_bignum_from_bytes(bytes, n);
  RSA_safefree(bytes);
  return r;
}

// The Montgomery context of the last odd modulus verified against: a daemon
// checks many signatures under the same key, and setting the context up
// costs about as much as the exponentiation itself. One process-wide entry;
// a call that finds it taken by another thread computes without it.
struct MontCache {
  BN_MONT_CTX *mont;
  uint32_t nbytes;
  uint8_t modulus[256];
};
MontCache g_mont;
std::atomic_flag g_mont_busy = ATOMIC_FLAG_INIT;

// m = s^e mod n, through the cached Montgomery context when n is odd.
bool mod_exp(BIGNUM *m, const BIGNUM *s, const BIGNUM *e, const BIGNUM *n, const uint8_t *modulus, uint32_t nbytes,
             BN_CTX *ctx) {
  if (!BN_is_odd(n) || g_mont_busy.test_and_set(std::memory_order_acquire)) return BN_mod_exp(m, s, e, n, ctx) != 0;
  MontCache &c = g_mont;
  bool ok = true;
  if (!c.mont || c.nbytes != nbytes || std::memcmp(c.modulus, modulus, nbytes) != 0) {
    if (!c.mont && !(c.mont = BN_MONT_CTX_new())) out_of_memory();
    c.nbytes = 0;  // invalid until set up
    ok = BN_MONT_CTX_set(c.mont, n, ctx) != 0;
    if (ok) {
      std::memcpy(c.modulus, modulus, nbytes);
      c.nbytes = nbytes;
    }
  }
  ok = ok && BN_mod_exp_mont(m, s, e, n, ctx, c.mont) != 0;
  g_mont_busy.clear(std::memory_order_release);
  return ok;
}

BN_CTX *context() {
  BN_CTX *ctx = BN_CTX_new();
  if (!ctx) out_of_memory();
  return ctx;
}

// r = op(a, b, m) on BIGNUMs; NULL when the operation fails (m = 0).
template <typename Op>
RSA_Bignum binary_op(RSA_Bignum a, RSA_Bignum b, RSA_Bignum m, Op op) {
  BN_CTX *ctx = context();
  BIGNUM *x = to_bn(a), *y = b ? to_bn(b) : nullptr, *z = m ? to_bn(m) : nullptr, *r = BN_new();
  if (!r) out_of_memory();
  RSA_Bignum out = op(r, x, y, z, ctx) ? from_bn(r) : nullptr;
  BN_free(x);
  BN_free(y);
  BN_free(z);
  BN_free(r);
  BN_CTX_free(ctx);
  return out;
}

const uint8_t kDigestInfo[16] = {0x00, 0x30, 0x21, 0x30, 0x09, 0x06, 0x05, 0x2b,
                                 0x0e, 0x03, 0x02, 0x1a, 0x05, 0x00, 0x04, 0x14};

}  // namespace

extern "C" {

APUTIL_API void *RSA_safemalloc(size_t size) {
  void *p = std::malloc(size ? size : 1);
  if (!p) out_of_memory();
  return p;
}

APUTIL_API void RSA_safefree(void *p) { std::free(p); }

APUTIL_API RSA_Bignum RSA_newbn(int limbs) {
  if (limbs < 0 || limbs > 65535) std::abort();
  auto *b = static_cast<RSA_Bignum>(RSA_safemalloc(sizeof(uint16_t) * (static_cast<size_t>(limbs) + 1)));
  std::memset(b, 0, sizeof(uint16_t) * (static_cast<size_t>(limbs) + 1));
  b[0] = static_cast<uint16_t>(limbs);
  return b;
}

APUTIL_API void RSA_freebn(RSA_Bignum b) { RSA_safefree(b); }

APUTIL_API RSA_Bignum RSA_bignum_from_int(uint32_t n) {
  RSA_Bignum b = RSA_newbn(2);
  b[1] = static_cast<uint16_t>(n);
  b[2] = static_cast<uint16_t>(n >> 16);
  if (b[2] == 0) b[0] = 1;
  return b;
}

APUTIL_API RSA_Bignum RSA_bignum_from_bytes(const uint8_t *data, int n) {
  if (n < 0 || !data) n = 0;
  RSA_Bignum b = RSA_newbn(n > 0 ? (n + 1) / 2 : 1);  // zero still owns one limb
  for (int i = 0; i < n; ++i) {  // byte i from the least significant end
    const uint8_t byte = data[n - 1 - i];
    b[1 + i / 2] |= static_cast<uint16_t>(byte << (8 * (i % 2)));
  }
  while (b[0] > 1 && b[b[0]] == 0) --b[0];
  return b;
}

APUTIL_API int RSA_bignum_bitcount(RSA_Bignum b) {
  for (int i = b[0]; i >= 1; --i)
    if (b[i]) return 16 * (i - 1) + (32 - __builtin_clz(b[i]));
  return 0;
}

APUTIL_API int RSA_bignum_byte(RSA_Bignum b, int i) {
  if (i < 0 || i / 2 >= b[0]) return 0;
  return (b[1 + i / 2] >> (8 * (i % 2))) & 0xFF;
}

APUTIL_API int RSA_bignum_cmp(RSA_Bignum a, RSA_Bignum b) {
  for (int i = (a[0] > b[0] ? a[0] : b[0]); i >= 1; --i) {
    const uint16_t x = i <= a[0] ? a[i] : 0, y = i <= b[0] ? b[i] : 0;
    if (x != y) return x < y ? -1 : 1;
  }
  return 0;
}

APUTIL_API RSA_Bignum RSA_modpow(RSA_Bignum base, RSA_Bignum exp, RSA_Bignum m) {
  return binary_op(base, exp, m, [](BIGNUM *r, BIGNUM *x, BIGNUM *y, BIGNUM *z, BN_CTX *ctx) {
    return !BN_is_zero(z) && BN_mod_exp(r, x, y, z, ctx);
  });
}

APUTIL_API RSA_Bignum RSA_bigmod(RSA_Bignum a, RSA_Bignum m) {
  return binary_op(a, nullptr, m, [](BIGNUM *r, BIGNUM *x, BIGNUM *, BIGNUM *z, BN_CTX *ctx) {
    return !BN_is_zero(z) && BN_mod(r, x, z, ctx);
  });
}

APUTIL_API RSA_Bignum RSA_modmul(RSA_Bignum a, RSA_Bignum b, RSA_Bignum m) {
  return binary_op(a, b, m, [](BIGNUM *r, BIGNUM *x, BIGNUM *y, BIGNUM *z, BN_CTX *ctx) {
    return !BN_is_zero(z) && BN_mod_mul(r, x, y, z, ctx);
  });
}

APUTIL_API RSA_Bignum RSA_bigmuladd(RSA_Bignum a, RSA_Bignum b, RSA_Bignum addend) {
  return binary_op(a, b, addend, [](BIGNUM *r, BIGNUM *x, BIGNUM *y, BIGNUM *z, BN_CTX *ctx) {
    return BN_mul(r, x, y, ctx) && BN_add(r, r, z);
  });
}

APUTIL_API RSA_Bignum RSA_modinv(RSA_Bignum a, RSA_Bignum m) {
  return binary_op(a, nullptr, m, [](BIGNUM *r, BIGNUM *x, BIGNUM *, BIGNUM *z, BN_CTX *ctx) {
    return !BN_is_zero(z) && BN_mod_inverse(r, x, z, ctx) != nullptr;
  });
}

APUTIL_API void RSA_SHA_Simple(const void *data, int len, uint8_t out[20]) {
  // The low-level calls on a stack context: the one-shot SHA1() looks the
  // algorithm up in the provider table on every call.
  SHA_CTX ctx;
  SHA1_Init(&ctx);
  if (len > 0) SHA1_Update(&ctx, data, static_cast<size_t>(len));
  SHA1_Final(out, &ctx);
}

APUTIL_API void RSA_SHA512_Init(RSA_SHA512_State *s) { SHA512_Init(reinterpret_cast<SHA512_CTX *>(s)); }

APUTIL_API void RSA_SHA512_Bytes(RSA_SHA512_State *s, const void *data, int len) {
  if (len > 0) SHA512_Update(reinterpret_cast<SHA512_CTX *>(s), data, static_cast<size_t>(len));
}

APUTIL_API void RSA_SHA512_Final(RSA_SHA512_State *s, uint8_t out[64]) {
  SHA512_Final(out, reinterpret_cast<SHA512_CTX *>(s));
}

APUTIL_API uint32_t rsa_read_bytes4_from_public_key(const uint8_t *p) {
  return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 | static_cast<uint32_t>(p[2]) << 16 |
         static_cast<uint32_t>(p[3]) << 24;
}

APUTIL_API int rsaVerifySign(const uint8_t *blob, uint32_t, const uint8_t *data, uint32_t dlen, const uint8_t *sig,
                             uint32_t siglen) {
  if (siglen > kMaxBytes || !blob || !data || !sig) return 0;
  struct Work {
    uint8_t modulus[kMaxBytes];
    uint8_t signature[kMaxBytes];
    uint8_t m[kMaxBytes];
  };
  auto *w = static_cast<Work *>(std::calloc(1, sizeof(Work)));
  if (!w) return 0;
  if (std::memcmp(blob + 8, "RSA1", 4) != 0) {
    std::free(w);
    return 0;
  }
  const uint32_t bitlen = rsa_read_bytes4_from_public_key(blob + 12);
  const uint32_t exponent = rsa_read_bytes4_from_public_key(blob + 16);
  const uint32_t nbytes = bitlen / 8 < kMaxBytes ? bitlen / 8 : kMaxBytes;
  for (uint32_t i = 0; i < nbytes; ++i) w->modulus[i] = blob[20 + nbytes - 1 - i];  // most significant first
  for (uint32_t i = 0; i < siglen; ++i) w->signature[i] = sig[siglen - 1 - i];

  BN_CTX *ctx = context();
  BIGNUM *n = BN_bin2bn(w->modulus, static_cast<int>(nbytes), nullptr);
  BIGNUM *s = BN_bin2bn(w->signature, static_cast<int>(siglen), nullptr);
  BIGNUM *e = BN_new(), *m = BN_new();
  if (!n || !s || !e || !m || !BN_set_word(e, exponent)) out_of_memory();
  int valid = 0;
  if (!BN_is_zero(n) && mod_exp(m, s, e, n, w->modulus, nbytes, ctx)) {
    const int k = (BN_num_bits(n) + 7) / 8;
    const int mlen = BN_num_bytes(m);  // m < n, so mlen <= k <= 256
    BN_bn2bin(m, w->m);
    auto byte = [&](int i) { return i >= 0 && i < mlen ? w->m[mlen - 1 - i] : 0; };
    uint8_t digest[20];
    RSA_SHA_Simple(data, static_cast<int>(dlen), digest);
    int ok = byte(k - 2) == 1 && byte(k - 1) == 0;
    for (int i = k - 3; i >= 36; --i) ok &= byte(i) == 0xFF;  // every comparison runs to the end
    for (int j = 0; j < 16; ++j) ok &= byte(35 - j) == kDigestInfo[j];
    for (int j = 0; j < 20; ++j) ok &= byte(19 - j) == digest[j];
    valid = ok;
  }
  BN_free(n);
  BN_free(s);
  BN_free(e);
  BN_free(m);
  BN_CTX_free(ctx);
  std::free(w);
  return valid;
}

APUTIL_API int rsaVerifySignByBase64EncodePublicKeyBlob(const char *text, uint32_t len, const uint8_t *data,
                                                        uint32_t dlen, const uint8_t *sig, uint32_t siglen) {
  static constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  if (len > kMaxBytes || !text) return 0;
  const char *start = text;
  if (text[0] == '+' && text[1] == ' ') start += 2;  // the end still counts from here
  if (*start == '\0') return 0;
  uint8_t value[128];
  std::memset(value, 255, sizeof value);
  for (int i = 0; i < 64; ++i) value[static_cast<unsigned char>(kAlphabet[i])] = static_cast<uint8_t>(i);
  // Room for the largest blob the header can describe, so rsaVerifySign
  // never reads past the decoded bytes.
  uint8_t blob[20 + kMaxBytes] = {0};
  int produced = 0;
  for (uint32_t i = 0; i + 4 <= (len & ~3u); i += 4) {
    const auto *c = reinterpret_cast<const unsigned char *>(start + i);
    if ((c[0] | c[1] | c[2] | c[3]) & 0x80) return 0;
    const uint32_t v0 = value[c[0]], v1 = value[c[1]], v2 = value[c[2]], v3 = value[c[3]];
    blob[produced++] = static_cast<uint8_t>(v0 << 2 | v1 >> 4);
    if (c[2] == '=') continue;
    blob[produced++] = static_cast<uint8_t>(v1 << 4 | v2 >> 2);
    if (c[3] == '=') continue;
    blob[produced++] = static_cast<uint8_t>(v2 << 6 | v3);
  }
  return produced > 0 ? rsaVerifySign(blob, static_cast<uint32_t>(produced), data, dlen, sig, siglen) : 0;
}

}  // extern "C"
