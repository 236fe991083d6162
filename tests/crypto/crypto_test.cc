// MD5 and HMAC-MD5, the sealing format (buffers and files), single DES and RSA signature checks with
// their big numbers: a table per behaviour. libcrypto is the oracle: its digests, DES and big numbers
// make the expected bytes (one-shot digests in their own buffers) and the keys.
#define OPENSSL_SUPPRESS_DEPRECATED
#include "crypto.h"

#include <openssl/bn.h>
#include <openssl/des.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/md5.h>
#include <openssl/sha.h>

#include "support/model_tree.h"

namespace aputil::test {
namespace {

using Bytes = std::vector<uint8_t>;
std::string hex(const uint8_t *b, size_t n) {
  return n ? hex(b, n - 1) + "0123456789abcdef"[b[n - 1] >> 4] + "0123456789abcdef"[b[n - 1] & 15] : "";
}
DES_cblock g_key = {0x13, 0x34, 0x57, 0x79, 0x9B, 0xBC, 0xDF, 0xF1}, g_iv = {1, 2, 3, 4, 5, 6, 7, 8};  // never written
// libcrypto's DES of len bytes in whole blocks (a short one zero-padded when encrypting, read whole but
// written up to len when decrypting), then 0xEE up to size: ECB, or PCBC from g_iv; the key is g_key.
Bytes des(const uint8_t *in, int len, int enc, size_t size, bool pcbc = false) {
  DES_key_schedule ks;
  DES_set_key_unchecked(&g_key, &ks);
  Bytes out((static_cast<size_t>(len) + 7) / 8 * 8, 0xEE), padded(in, in + (enc ? len : out.size()));
  padded.resize(out.size());
  if (pcbc) DES_pcbc_encrypt(padded.data(), out.data(), len, &ks, &g_iv, enc);
  for (size_t i = 0; !pcbc && i < out.size(); i += 8)
    DES_ecb_encrypt(reinterpret_cast<DES_cblock *>(&padded[i]), reinterpret_cast<DES_cblock *>(&out[i]), &ks, enc);
  out.resize(enc ? out.size() : static_cast<size_t>(len));
  out.resize(size, 0xEE);
  return out;
}
const Bytes g_data = des(Bytes(304).data(), 304, 1, 304, true);  // 304 bytes that look random
const uint8_t *in = g_data.data();

// Every length from 0 to 300 at once and in updates of varying sizes, on a context that held garbage;
// md5_verify_digest with NULL; HMAC-MD5 with keys around the block size (0 or below: empty, never read);
// SHA-512 in pieces (a negative length adds nothing).
TEST(CryptoMd5, DigestsAndHmac) {
  uint8_t d[16], ref[16], sha[64];
  for (uint32_t n = 0; n <= 300; ++n) {
    kx_MD5_CTX ctx;
    memset(&ctx, 0xA5, sizeof ctx);
    kx_MD5_Init(&ctx);
    const auto step = [n](uint32_t from) { return std::min(n - from, 1 + (n * 7 + from) % 67); };
    for (uint32_t from = 0; from < n; from += step(from)) kx_MD5_Update(&ctx, in + from, step(from));
    kx_MD5_Update(&ctx, nullptr, 5);  // NULL adds nothing
    kx_MD5_Final(d, &ctx);
    md5_make_digest(ref, in, n);
    for (const uint8_t *x : {d, ctx.digest, ref}) ASSERT_EQ(hex(x, 16), hex(MD5(in, n, nullptr), 16)) << n;
  }
  EXPECT_EQ(stdout_of([] { EXPECT_EQ(md5_verify_digest(nullptr, "", 0) + md5_verify_digest(in, nullptr, 0), 0); }),
            "invalid input params\r\ninvalid input params\r\n");
  for (int klen : {-3, 0, 1, 16, 63, 64, 65, 200}) {
    const std::string key(static_cast<size_t>(std::max(klen, 0)), 'k');
    hmac_md5("payload", 7, klen > 0 ? key.data() : nullptr, klen, d);
    HMAC(EVP_md5(), key.data(), static_cast<int>(key.size()), reinterpret_cast<const uint8_t *>("payload"), 7, ref, 0);
    EXPECT_EQ(hex(d, 16), hex(ref, 16)) << klen;
  }
  RSA_SHA512_State st;
  RSA_SHA512_Init(&st);
  for (const auto &[piece, len] : {std::pair{"a", 1}, {"x", -1}, {"bc", 2}}) RSA_SHA512_Bytes(&st, piece, len);
  RSA_SHA512_Final(&st, sha);
  EXPECT_EQ(hex(sha, 64), hex(SHA512(reinterpret_cast<const uint8_t *>("abc"), 3, nullptr), 64));
}

// md5_des: rows of (input, length, capacity, direction) with the count, the line printed and the bytes
// written: the digest (its ECB after it is left to the round trip), the plain data, or none ("ee").
// The capacity tests are signed 32-bit ones; s10, sealed from 10 bytes, never unseals (the digest
// covers 10 bytes, unsealing checks all 16). Then file_md5_des on a firmware tree: rows of (input,
// output, direction, size written first) with the line printed (none: success, else -1)
// and the output's size.
TEST(CryptoSeal, BuffersAndFiles) {
  EXPECT_EQ(hex(md5_getImageKey(), 16) + hex(md5_getConfigKey(), 16) + hex(md5_getDesKey(), 8),
            "3c91e0a47b2d58f61e0c9a3b72d4856f9d14b7e25a0c63f8d1e7402b6fa93c159d14b7e25a0c63f8");
  uint8_t s16[32], s10[32], out[64];
  ASSERT_EQ(md5_des(in, 16, s16, 40, md5_getDesKey(), 1) + md5_des(in, 10, s10, 40, md5_getDesKey(), 1), 64);
  enum { kQuiet, kSmall, kBad };
  const std::string kLines[] = {"", "output buf too small.\r\n", "invalid input params\r\n"};
  const std::tuple<const uint8_t *, int, int, int, int, int> kRows[] = {
      {in, 16, 39, 1, -1, kSmall},  {in, 16, 40, 1, 32, kQuiet},        {in, 10, 40, 1, 32, kQuiet},
      {in, 0, 24, 1, 16, kQuiet},   {in, 16, INT32_MAX, 1, 32, kQuiet}, {in, 16, -16, 1, -1, kSmall},
      {in, -1, 64, 1, -1, kBad},    {nullptr, 16, 64, 1, -1, kBad},     {s16, 32, 23, 0, -1, kSmall},
      {s16, 32, 24, 0, 16, kQuiet}, {s16, 32, -16, 0, -1, kSmall},      {s16, 15, 64, 0, -1, kBad},
      {s10, 32, 64, 0, -1, kQuiet}};
  for (const auto &[p, len, cap, seal, rc, printed] : kRows) {
    memset(out, 0xEE, sizeof out);
    const auto call = [&] { EXPECT_EQ(md5_des(p, len, out, static_cast<uint32_t>(cap), md5_getDesKey(), seal), rc); };
    EXPECT_EQ(stdout_of(call), kLines[printed]) << len << " " << cap;
    const std::string want = rc < 0 ? printed ? "ee" : "" : seal ? hex(MD5(p, len, nullptr), 16) : hex(in, 16);
    EXPECT_EQ(hex(out, want.size() / 2), want) << len << " " << cap;
  }
  FirmwareRoot root;
  const std::string kPrinted[] = {"", "file too large!\n ", "invalid len\r\n",
                                  "open input file: No such file or directory\n",
                                  "open output file: No such file or directory\n"};
  const std::tuple<const char *, const char *, int, int, int, size_t> kFiles[] = {
      {"/a", "/a.s", 1, 16360, 0, 16376}, {"/a.s", "/a.p", 0, -1, 0, 16360}, {"/b", "/b.s", 1, 16382, 0, 16400},
      {"/c", "/c.s", 1, 16383, 1, 0},     {"/d", "/d.s", 1, 10, 0, 32},      {"/d.s", "/d.p", 0, -1, 2, 0},
      {"/e", "/e.s", 1, 0, 0, 16},        {"/e.s", "/e.p", 0, -1, 0, 0},     {"/missing", "/x", 1, -1, 3, 0},
      {"/e", "/no/x", 1, -1, 4, 0}};
  for (const auto &[from, to, seal, size, printed, written] : kFiles) {
    if (size >= 0) root.write(from, std::string(static_cast<size_t>(size), 'p'));
    std::string out,
        err = stderr_of([&] { out = stdout_of([&] { EXPECT_EQ(file_md5_des(from, to, seal), printed ? -1 : 0); }); });
    EXPECT_EQ(out + err, kPrinted[printed]) << from;
    EXPECT_EQ(root.read(to).size(), written) << from;
    EXPECT_TRUE(seal || printed || root.read(to) == root.read(std::string(from, 2))) << from;
  }
}

// des_min_do (ECB) against libcrypto: rows of (length, capacity, direction) with the count (only whole
// blocks when decrypting); des_min_do_ex in place (non-negative multiples of 8 only); des_min_do_pcbc
// both ways, a ciphertext bit changed (it spoils its block and every later one); NULL pointers.
TEST(CryptoDes, EcbAndPcbc) {
  const std::tuple<int, uint32_t, int, int> kRows[] = {
      {40, 48, 1, 40}, {40, 48, 0, 40}, {1, 8, 1, 0},           {1, 9, 1, 8},          {13, 24, 1, 16},
      {13, 24, 0, 8},  {0, 8, 1, 0},    {8, 0xFFFFFFF0u, 1, 0}, {8, 0x7FFFFFFF, 1, 8}, {-8, 8, 1, 0}};
  uint8_t out[48];
  for (const auto &[len, cap, enc, rc] : kRows) {
    memset(out, 0xEE, sizeof out);
    EXPECT_EQ(des_min_do(in, len, out, cap, g_key, enc), rc) << len << " " << cap;
    EXPECT_EQ(Bytes(out, out + 48), des(in, rc ? len : 0, enc, 48)) << len << " " << cap;
  }
  for (int len : {40, 16, 12, 9, -8, 0}) {
    const int done = len % 8 || len < 0 ? 0 : len;
    Bytes buf(in, in + 48), want = des(in, done, len == 40, static_cast<size_t>(done));
    want.insert(want.end(), in + done, in + 48);
    EXPECT_EQ(des_min_do_ex(buf.data(), len, g_key, len == 40), done);
    EXPECT_EQ(buf, want) << len;
  }
  for (int len : {32, 13, 0}) {
    Bytes c(32, 0xEE), p(32, 0xEE);
    EXPECT_TRUE(des_min_do_pcbc(in, c.data(), len, g_key, g_iv, 1) == 1 && c == des(in, len, 1, 32, true)) << len;
    c[static_cast<size_t>(len) / 3] ^= 1;
    EXPECT_TRUE(des_min_do_pcbc(c.data(), p.data(), len, g_key, g_iv, 0) == 1 && p == des(c.data(), len, 0, 32, true))
        << len;
  }
  EXPECT_EQ(0, des_min_do(nullptr, 8, out, 16, in, 1) + des_min_do(in, 8, nullptr, 16, in, 1) +
                   des_min_do(in, 8, out, 16, nullptr, 1) + des_min_do_ex(nullptr, 8, in, 1) +
                   des_min_do_pcbc(nullptr, out, 8, in, in, 1) + des_min_do_pcbc(in, nullptr, 8, in, in, 1) +
                   des_min_do_pcbc(in, out, 8, nullptr, in, 1) + des_min_do_pcbc(in, out, 8, in, nullptr, 1));
}

// An RSA key of libcrypto's (its modulus doubled when even), its public-key blob, and signatures:
// PKCS#1 v1.5 for SHA-1("fw") (00 01 FF..., the DigestInfo after its 00, the digest), one byte changed
// if asked (i from the least significant end), raised to the private exponent.
struct Key {
  explicit Key(int bits, bool even = false) : even(even) {
    EVP_PKEY *pkey = EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", static_cast<size_t>(bits));
    for (auto [name, bn] : {std::pair{"n", &n}, {"d", &d}}) EVP_PKEY_get_bn_param(pkey, name, bn);
    EVP_PKEY_free(pkey);
    BN_lshift(modulus, n, even);
    k = BN_num_bytes(modulus);
    blob = {0x06, 0x02, 0, 0, 0, 0xA4, 0, 0, 'R', 'S', 'A', '1', uint8_t(k * 8), uint8_t(k >> 5), 0, 0, 1, 0, 1, 0};
    blob.resize(20 + static_cast<size_t>(k));
    BN_bn2lebinpad(modulus, &blob[20], k);
  }
  Bytes sign(int changed = -1) const {
    const char kInfo[] = "\x00\x30\x21\x30\x09\x06\x05\x2b\x0e\x03\x02\x1a\x05\x00\x04\x14";
    Bytes em(static_cast<size_t>(k) - 2, 0xFF), sig(em.size() + 2);
    EVP_Digest("fw", 2, em.data(), nullptr, EVP_sha1(), nullptr);
    std::reverse(em.begin(), em.begin() + 20);
    std::reverse_copy(kInfo, kInfo + 16, em.begin() + 20);
    em.insert(em.end(), {1, 0});
    if (changed >= 0) em[static_cast<size_t>(changed)] ^= 1;
    BN_lebin2bn(em.data(), k, m);
    BN_mod_exp(s, m, d, n, ctx);
    if (even && BN_is_odd(s) != BN_is_odd(m)) BN_add(s, s, n);  // the root mod 2n
    BN_bn2lebinpad(s, sig.data(), k);
    return sig;
  }
  BIGNUM *n = nullptr, *d = nullptr, *modulus = BN_new(), *m = BN_new(), *s = BN_new();  // m, s: scratch
  BN_CTX *ctx = BN_CTX_new();
  int k = 0, even;
  Bytes blob;
};
const Key kKeys[] = {Key(1024), Key(1024), Key(1024, true)};  // live as long as the program

// rsaVerifySign: rows of (signing key, blob, message byte changed (-j: k - j), signature or data form)
// with the answer, in order: the key verified just before never decides the next answer; key 2 is
// even (no Montgomery). Then the blob in base64 (rows of text, bytes its length leaves out, answer): a
// leading "+ " is skipped and the length counts from after it. Then both work buffers fail.
TEST(CryptoRsa, Verify) {
  enum Form { kLe, kBe, kFlip, kNull, kOther, kNoData, k256 = 256, k257 };
  enum { kAsIs = -1000, kMagic = 3, kZeroN, kNil };
  const auto *kFw = reinterpret_cast<const uint8_t *>("fw!");  // "fw" but for kOther
  const std::tuple<int, int, int, Form, int> kRows[] = {
      {0, 0, kAsIs, kLe, 1},      {0, 0, kAsIs, kOther, 0},   {0, 0, kAsIs, kFlip, 0},  {0, 0, kAsIs, kBe, 0},
      {0, 0, -1, kLe, 0},         {0, 0, -2, kLe, 0},         {0, 0, -3, kLe, 0},       {0, 0, 36, kLe, 0},
      {0, 0, 35, kLe, 0},         {0, 0, 20, kLe, 0},         {0, 0, 19, kLe, 0},       {0, 0, 0, kLe, 0},
      {0, 1, kAsIs, kLe, 0},      {1, 1, kAsIs, kLe, 1},      {1, 0, kAsIs, kLe, 0},    {0, 0, kAsIs, kLe, 1},
      {0, 0, kAsIs, k256, 1},     {0, 0, kAsIs, k257, 0},     {2, 2, kAsIs, kLe, 1},    {2, 2, 19, kLe, 0},
      {0, kMagic, kAsIs, kLe, 0}, {0, kZeroN, kAsIs, kLe, 0}, {0, kNil, kAsIs, kLe, 0}, {0, 0, kAsIs, kNoData, 0},
      {0, 0, kAsIs, kNull, 0}};
  for (const auto &[signer, b, changed, form, rc] : kRows) {
    Bytes blob = kKeys[b % 3].blob, sig = kKeys[signer].sign(changed < 0 ? kKeys[signer].k + changed : changed);
    if (form == kBe) std::reverse(sig.begin(), sig.end());
    if (form == kFlip) sig[5] ^= 1;
    if (form >= k256) sig.resize(form);
    if (b == kMagic || b == kZeroN) std::fill(blob.begin() + (b == kMagic ? 11 : 20), blob.end(), 0);
    const int got = rsaVerifySign(b == kNil ? nullptr : blob.data(), 0, form == kNoData ? nullptr : kFw,
                                  2 + (form == kOther), form == kNull ? nullptr : sig.data(), sig.size());
    EXPECT_EQ(got, rc) << signer << " " << b << " " << changed << " " << form;
  }
  const Bytes sig = kKeys[0].sign();
  char text[400];
  const std::string high(text, EVP_EncodeBlock(reinterpret_cast<uint8_t *>(text), kKeys[0].blob.data(),
                                               static_cast<int>(kKeys[0].blob.size()))),
      bad = high.substr(0, 10) + '\xC3' + high.substr(11);
  const std::tuple<std::string, size_t, int> kBase64[] = {
      {high, 0, 1}, {"+ " + high, 2, 1}, {bad, 0, 0},   {std::string(257, 'A'), 0, 0},
      {"", 0, 0},   {"+ ", 0, 0},        {"QUJD", 1, 0}};
  for (const auto &[t, cut, rc] : kBase64)
    EXPECT_EQ(rsaVerifySignByBase64EncodePublicKeyBlob(t.c_str(), t.size() - cut, kFw, 2, sig.data(), sig.size()), rc)
        << t;
}

// Big numbers as "limbs:the limbs in hex, most significant first/bits" (or "null"), each released: a
// zero still owns its one limb. Then comparisons and bytes (0 beyond the count).
std::string num(RSA_Bignum b) {
  if (!b) return "null ";
  std::string s = std::to_string(b[0]) + ":";
  for (int i = b[0]; i >= 1; --i)
    s += hex(Bytes{static_cast<uint8_t>(b[i] >> 8), static_cast<uint8_t>(b[i])}.data(), 2);
  s += "/" + std::to_string(RSA_bignum_bitcount(b)) + " ";
  RSA_freebn(b);
  return s;
}
TEST(CryptoRsa, BigNumbers) {
  const uint8_t be[] = {0, 0, 1, 2, 3}, kBig[] = {0xe8, 0xd5, 0x00, 0x9d, 0x90};  // 1000003^2 + 7
  auto *n = RSA_bignum_from_int;
  RSA_Bignum seven = n(7), three = n(3), six = n(6), one = n(1), mod = n(1000003), zero = n(0), cut = n(0x10001),
             big = RSA_bignum_from_bytes(kBig, 5), wide = RSA_newbn(65535);
  auto *bytes = RSA_bignum_from_bytes;
  EXPECT_EQ(num(bytes(be, 5)) + num(bytes(be, 2)) + num(bytes(be, 0)) + num(bytes(be, -5)) + num(bytes(nullptr, 4)) +
                num(n(0)) + num(n(0xFFFF)) + num(n(0x12345)) + num(RSA_newbn(0)) + num(RSA_modpow(seven, three, mod)) +
                num(RSA_modpow(six, three, three)) + num(RSA_modpow(seven, three, zero)) + num(RSA_modinv(three, mod)) +
                num(RSA_modinv(six, three)) + num(RSA_modmul(six, seven, mod)) + num(RSA_modmul(six, one, three)) +
                num(RSA_bigmuladd(mod, mod, seven)) + num(RSA_bigmuladd(zero, one, zero)) + num(RSA_bigmod(big, mod)) +
                num(RSA_bigmod(six, three)) + num(RSA_bigmod(seven, zero)),
            "2:00010203/17 1:0000/0 1:0000/0 1:0000/0 1:0000/0 1:0000/0 1:ffff/16 2:00012345/17 0:/0 1:0157/9 "
            "1:0000/0 null 2:000a2c2d/20 null 1:002a/6 1:0000/0 3:00e8d5009d90/40 1:0000/0 1:0007/3 1:0000/0 null ");
  const std::tuple<RSA_Bignum, RSA_Bignum, int> kCmp[] = {{seven, mod, -1}, {mod, seven, 1},   {big, mod, 1},
                                                          {mod, big, -1},   {seven, seven, 0}, {zero, wide, 0},
                                                          {wide, zero, 0},  {three, cut, -1}};
  for (const auto &[a, b, cmp] : kCmp) EXPECT_EQ(RSA_bignum_cmp(a, b), cmp) << a[0] << "," << b[0];
  cut[0] = 1;  // 0x10001 cut to its low limb in place
  const std::tuple<RSA_Bignum, int, int> kByte[] = {{big, 0, 0x90}, {big, 1, 0x9d}, {big, 4, 0xe8}, {big, 5, 0},
                                                    {big, -1, 0},   {cut, 0, 1},    {cut, 2, 0}};
  for (const auto &[b, i, want] : kByte) EXPECT_EQ(RSA_bignum_byte(b, i), want) << i;
  for (RSA_Bignum b : {seven, three, six, one, mod, zero, big, wide, cut}) RSA_freebn(b);
}

}  // namespace
}  // namespace aputil::test
