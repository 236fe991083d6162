// MD5 with arbitrary update splits, HMAC-MD5, the three DES wrappers and
// md5_des sealing, differential against OpenSSL (MD5, HMAC, DES_ecb_encrypt,
// DES_pcbc_encrypt) and checked against the short-block and capacity rules.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/des.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/md5.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "crypto.h"
#include "fuzz_args.h"

namespace {

using Bytes = std::vector<uint8_t>;

struct Des {
  DES_key_schedule ks;
  explicit Des(const uint8_t *key) {
    DES_cblock k;
    std::memcpy(k, key, 8);
    DES_set_key_unchecked(&k, &ks);
  }
  Bytes ecb(const Bytes &in, bool enc) {  // whole blocks
    Bytes out(in.size());
    for (size_t i = 0; i + 8 <= in.size(); i += 8)
      DES_ecb_encrypt(reinterpret_cast<const_DES_cblock *>(const_cast<uint8_t *>(in.data() + i)),
                      reinterpret_cast<DES_cblock *>(out.data() + i),
                      &ks, enc ? DES_ENCRYPT : DES_DECRYPT);
    return out;
  }
};

Bytes padded(const Bytes &b) {
  Bytes p = b;
  p.resize((b.size() + 7) / 8 * 8, 0);
  return p;
}

void md5_splits(FuzzedDataProvider &in, const Bytes &msg) {
  kx_MD5_CTX ctx;
  kx_MD5_Init(&ctx);
  for (size_t at = 0; at < msg.size();) {
    const size_t n = in.ConsumeIntegralInRange<size_t>(0, msg.size() - at);
    kx_MD5_Update(&ctx, msg.data() + at, static_cast<uint32_t>(n));
    at += n;
    if (!in.remaining_bytes() && at < msg.size()) {
      kx_MD5_Update(&ctx, msg.data() + at, static_cast<uint32_t>(msg.size() - at));
      break;
    }
  }
  uint8_t ours[16], want[16];
  kx_MD5_Final(ours, &ctx);
  MD5(msg.data(), msg.size(), want);
  FUZZ_CHECK(std::memcmp(ours, want, 16) == 0);
  md5_make_digest(ours, msg.data(), static_cast<uint32_t>(msg.size()));
  FUZZ_CHECK(std::memcmp(ours, want, 16) == 0);
  FUZZ_CHECK(md5_verify_digest(want, msg.data(), static_cast<uint32_t>(msg.size())) == 1);
  want[0] ^= 1;
  FUZZ_CHECK(md5_verify_digest(want, msg.data(), static_cast<uint32_t>(msg.size())) == 0);
}

void hmac(FuzzedDataProvider &in, const Bytes &msg) {
  const Bytes key = in.ConsumeBytes<uint8_t>(in.ConsumeIntegralInRange(0, 130));
  const int klen = in.ConsumeBool() ? static_cast<int>(key.size()) : in.ConsumeIntegralInRange(-3, 0);
  uint8_t ours[16], want[16];
  unsigned wlen = 16;
  hmac_md5(msg.data(), static_cast<uint32_t>(msg.size()), key.data(), klen, ours);
  // A negative key length is an empty key.
  HMAC(EVP_md5(), key.data(), klen > 0 ? klen : 0, msg.data(), msg.size(), want, &wlen);
  FUZZ_CHECK(std::memcmp(ours, want, 16) == 0);
}

void des(FuzzedDataProvider &in, const Bytes &msg) {
  uint8_t key[8], iv[8];
  for (uint8_t &k : key) k = in.ConsumeIntegral<uint8_t>();
  for (uint8_t &v : iv) v = in.ConsumeIntegral<uint8_t>();
  Des ref(key);
  const int len = static_cast<int>(msg.size());
  const Bytes whole = padded(msg);
  const Bytes cipher = ref.ecb(whole, true);

  // des_min_do at any capacity: refused (nothing written) unless the
  // signed 32-bit cap - 7 > len.
  const uint32_t cap = static_cast<uint32_t>(fuzz::any_int(in));
  const size_t room = whole.size() + 16;
  Bytes out(room, 0xA5);
  const bool fits = static_cast<int32_t>(cap - 7) > len;
  const uint32_t given = fits && cap > room ? static_cast<uint32_t>(room) : cap;  // never beyond our buffer
  const int n = des_min_do(msg.data(), len, out.data(), given, key, 1);
  if (!fits) {
    FUZZ_CHECK(n == 0);
    FUZZ_CHECK(out == Bytes(room, 0xA5));
  } else {
    FUZZ_CHECK(n == static_cast<int>(whole.size()));
    FUZZ_CHECK(std::equal(cipher.begin(), cipher.end(), out.begin()));
    FUZZ_CHECK(std::all_of(out.begin() + n, out.end(), [](uint8_t c) { return c == 0xA5; }));
  }
  // A negative length processes nothing and writes nothing.
  {
    const int neg = in.ConsumeIntegralInRange(INT32_MIN, -1);
    Bytes untouched(16, 0x3C);
    FUZZ_CHECK(des_min_do(whole.data() ? whole.data() : key, neg, untouched.data(), 16, key, in.ConsumeBool()) == 0);
    FUZZ_CHECK(des_min_do_ex(untouched.data(), neg, key, 1) == 0);
    FUZZ_CHECK(des_min_do_pcbc(key, untouched.data(), neg, key, iv, in.ConsumeBool()) == 1);
    FUZZ_CHECK(untouched == Bytes(16, 0x3C));
  }
  // Decryption of a short last block reads it whole and writes len bytes.
  Bytes back(room, 0x5A);
  const int m = des_min_do(cipher.data(), len, back.data(), static_cast<uint32_t>(len + 8), key, 0);
  FUZZ_CHECK(m == len / 8 * 8);
  FUZZ_CHECK(Bytes(back.begin(), back.begin() + len) == msg);
  FUZZ_CHECK(back[static_cast<size_t>(len)] == 0x5A);

  // In place, whole blocks only.
  Bytes buf = msg;
  const int ex = des_min_do_ex(buf.data(), len, key, 1);
  if (len % 8) {
    FUZZ_CHECK(ex == 0 && buf == msg);
  } else {
    FUZZ_CHECK(ex == len && buf == cipher);
    FUZZ_CHECK(des_min_do_ex(buf.data(), len, key, 0) == len && buf == msg);
  }

  // PCBC against OpenSSL's, and back.
  Bytes pc(whole.size()), want(whole.size());
  pc.reserve(8);  // never a NULL buffer
  FUZZ_CHECK(des_min_do_pcbc(msg.data(), pc.data(), len, key, iv, 1) == 1);
  DES_cblock ivec;
  std::memcpy(ivec, iv, 8);
  DES_pcbc_encrypt(whole.data(), want.data(), static_cast<long>(whole.size()), &ref.ks, &ivec, DES_ENCRYPT);
  FUZZ_CHECK(pc == want);
  Bytes pback(whole.size() + 1, 0x5A);
  FUZZ_CHECK(des_min_do_pcbc(pc.data(), pback.data(), len, key, iv, 0) == 1);
  FUZZ_CHECK(Bytes(pback.begin(), pback.begin() + len) == msg);
  FUZZ_CHECK(pback[static_cast<size_t>(len)] == 0x5A);
}

void seal(FuzzedDataProvider &in, const Bytes &msg) {
  const uint8_t *key = md5_getDesKey();
  const int len = static_cast<int>(msg.size());
  const uint32_t cap = static_cast<uint32_t>(fuzz::any_int(in));
  const size_t room = msg.size() + 40;
  Bytes out(room, 0xA5);
  const bool fits = static_cast<int32_t>(cap - 23) > len;
  const uint32_t given = fits && cap > room ? static_cast<uint32_t>(room) : cap;  // never beyond our buffer
  fuzz::Quiet quiet;
  const int n = md5_des(msg.data(), len, out.data(), given, key, 1);
  if (!fits) {
    FUZZ_CHECK(n == -1 && out == Bytes(room, 0xA5));
    return;
  }
  FUZZ_CHECK(n == 16 + static_cast<int>(padded(msg).size()));
  uint8_t digest[16];
  MD5(msg.data(), msg.size(), digest);
  FUZZ_CHECK(std::memcmp(out.data(), digest, 16) == 0);
  // Unsealing any length of that buffer at any capacity: refused (nothing
  // written) unless 16 <= inlen <= the signed outcap + 8; the input is read
  // up to its last whole block, which the sealed buffer holds.
  {
    const int inlen = in.ConsumeIntegralInRange(-2, n);
    const uint32_t ocap = static_cast<uint32_t>(fuzz::any_int(in));
    const size_t oroom = static_cast<size_t>(n) + 8;
    const bool ofits = inlen >= 16 && inlen <= static_cast<int32_t>(ocap + 8);
    Bytes plain(oroom, 0x5A);
    const int m = md5_des(out.data(), inlen, plain.data(), ofits && ocap > oroom ? static_cast<uint32_t>(oroom) : ocap,
                          key, 0);
    if (!ofits) {
      FUZZ_CHECK(m == -1 && plain == Bytes(oroom, 0x5A));
    } else {
      FUZZ_CHECK(m == -1 || m == (inlen - 16) / 8 * 8);
      for (size_t i = static_cast<size_t>(inlen - 16); i < oroom; ++i) FUZZ_CHECK(plain[i] == 0x5A);
    }
  }
  // Unsealing digests the padded length: it succeeds only for whole blocks.
  Bytes plain(static_cast<size_t>(n), 0);
  const int m = md5_des(out.data(), n, plain.data(), static_cast<uint32_t>(n), key, 0);
  if (len % 8 == 0) {
    FUZZ_CHECK(m == len && Bytes(plain.begin(), plain.begin() + len) == msg);
  } else {
    FUZZ_CHECK(m == -1);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  FuzzedDataProvider in(data, size);
  const int op = in.ConsumeIntegralInRange(0, 3);
  Bytes msg = in.ConsumeBytes<uint8_t>(in.ConsumeIntegralInRange(0, 300));
  msg.reserve(msg.size() + 1);  // data() is never NULL (NULL means "no data" to the library)
  switch (op) {
    case 0: md5_splits(in, msg); break;
    case 1: hmac(in, msg); break;
    case 2: des(in, msg); break;
    default: seal(in, msg); break;
  }
  return 0;
}
