// Single-DES wrappers on libcrypto's key schedule and block function.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/des.h>

#include <cstring>

#include "crypto.h"

namespace {

class Block {
 public:
  explicit Block(const uint8_t *key) {
    DES_cblock k;
    std::memcpy(k, key, sizeof k);
    DES_set_key_unchecked(&k, &ks_);
  }
  // Encrypt or decrypt 8 bytes, loaded and stored as two little-endian words.
  void run(const uint8_t in[8], uint8_t out[8], bool enc) {
    DES_LONG d[2] = {load(in), load(in + 4)};
    DES_encrypt1(d, &ks_, enc ? DES_ENCRYPT : DES_DECRYPT);
    store(out, static_cast<uint32_t>(d[0]));
    store(out + 4, static_cast<uint32_t>(d[1]));
  }

 private:
  static DES_LONG load(const uint8_t *p) {
    return static_cast<DES_LONG>(p[0] | p[1] << 8 | p[2] << 16 | static_cast<uint32_t>(p[3]) << 24);
  }
  static void store(uint8_t *p, uint32_t v) {
    for (int i = 0; i < 4; ++i) p[i] = static_cast<uint8_t>(v >> (8 * i));
  }
  DES_key_schedule ks_;
};

// Block offsets i are 64-bit so that a length near INT_MAX ends its loop.

// The 8-byte group at in + i (of len bytes), zero-padded when short.
void group(const uint8_t *in, int64_t i, int len, uint8_t g[8]) {
  const int64_t have = len - i < 8 ? len - i : 8;
  std::memset(g, 0, 8);
  std::memcpy(g, in + i, static_cast<size_t>(have));
}

// Bytes of the block at i that a decryption writes: the short last block
// is deciphered whole but written only up to len.
size_t kept(int64_t i, int len) { return static_cast<size_t>(len - i < 8 ? len - i : 8); }

}  // namespace

extern "C" {

APUTIL_API int des_min_do(const uint8_t *in, int len, uint8_t *out, uint32_t cap, const uint8_t *key, int enc) {
  if (!in || !out || !key || static_cast<int32_t>(cap - 7) <= len) return 0;
  Block des(key);
  int written = 0;
  for (int64_t i = 0; i < len; i += 8) {
    uint8_t r[8];
    if (enc) {
      uint8_t g[8];
      group(in, i, len, g);
      des.run(g, out + i, true);
      written += 8;
    } else {
      des.run(in + i, r, false);  // all 8 bytes of a short last block are read
      std::memcpy(out + i, r, kept(i, len));
      if (len - i >= 8) written += 8;
    }
  }
  return written;
}

APUTIL_API int des_min_do_ex(uint8_t *buf, int len, const uint8_t *key, int enc) {
  if (!buf || !key || len < 0 || len % 8 != 0) return 0;
  Block des(key);
  for (int64_t i = 0; i < len; i += 8) des.run(buf + i, buf + i, enc != 0);
  return len;
}

APUTIL_API int des_min_do_pcbc(const uint8_t *in, uint8_t *out, int len, const uint8_t *key, const uint8_t *iv,
                               int enc) {
  if (!in || !out || !key || !iv) return 0;
  Block des(key);
  uint8_t x[8];
  std::memcpy(x, iv, 8);
  for (int64_t i = 0; i < len; i += 8) {
    uint8_t r[8];
    if (enc) {
      uint8_t g[8], t[8];
      group(in, i, len, g);
      for (int k = 0; k < 8; ++k) t[k] = g[k] ^ x[k];
      des.run(t, r, true);
      std::memcpy(out + i, r, 8);
      for (int k = 0; k < 8; ++k) x[k] = g[k] ^ r[k];  // P xor C
    } else {
      des.run(in + i, r, false);  // all 8 bytes of a short last block are read
      for (int k = 0; k < 8; ++k) r[k] ^= x[k];
      for (int k = 0; k < 8; ++k) x[k] = r[k] ^ in[i + k];
      std::memcpy(out + i, r, kept(i, len));
    }
  }
  return 1;
}

}  // extern "C"
