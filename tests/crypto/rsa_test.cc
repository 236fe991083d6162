#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/bn.h>
#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/rsa.h>

#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "base64.h"
#include "crypto.h"
#include "crypto_fixture.h"

namespace aputil::test {
namespace {

// An RSA key, its CryptoAPI public-key blob, and signatures in the byte
// order the verifier expects (least significant first).
struct Key {
  explicit Key(int bits) {
    rsa = RSA_new();
    BIGNUM *e = BN_new();
    BN_set_word(e, 65537);
    RSA_generate_key_ex(rsa, bits, e, nullptr);
    BN_free(e);
    const BIGNUM *n = nullptr;
    RSA_get0_key(rsa, &n, nullptr, nullptr);
    const int nbytes = BN_num_bytes(n);
    blob = {0x06, 0x02, 0x00, 0x00, 0x00, 0xA4, 0x00, 0x00, 'R', 'S', 'A', '1'};
    const uint32_t bitlen = static_cast<uint32_t>(nbytes * 8), exp = 65537;
    for (int i = 0; i < 4; ++i) blob.push_back(static_cast<uint8_t>(bitlen >> (8 * i)));
    for (int i = 0; i < 4; ++i) blob.push_back(static_cast<uint8_t>(exp >> (8 * i)));
    Bytes mod(static_cast<size_t>(nbytes));
    BN_bn2bin(n, mod.data());
    blob.insert(blob.end(), mod.rbegin(), mod.rend());
  }
  ~Key() { RSA_free(rsa); }
  // Big-endian signature of data with the given digest.
  Bytes sign_be(const std::string &data, int nid) const {
    uint8_t digest[64];
    unsigned int dlen = 0;
    EVP_Digest(data.data(), data.size(), digest, &dlen, nid == NID_sha1 ? EVP_sha1() : EVP_sha256(), nullptr);
    Bytes sig(static_cast<size_t>(RSA_size(rsa)));
    unsigned int slen = 0;
    RSA_sign(nid, digest, dlen, sig.data(), &slen, rsa);
    sig.resize(slen);
    return sig;
  }
  Bytes sign(const std::string &data, int nid = NID_sha1) const {
    Bytes be = sign_be(data, nid);
    return Bytes(be.rbegin(), be.rend());
  }
  RSA *rsa;
  Bytes blob;
};

int verify(const Bytes &blob, const std::string &data, const Bytes &sig) {
  return rsaVerifySign(blob.data(), static_cast<uint32_t>(blob.size()), reinterpret_cast<const uint8_t *>(data.data()),
                       static_cast<uint32_t>(data.size()), sig.data(), static_cast<uint32_t>(sig.size()));
}

TEST(Rsa, VerifiesAndRejects) {
  for (int bits : {1024, 2048}) {
    const Key key(bits);
    const std::string msg = "firmware image";
    const Bytes sig = key.sign(msg);
    EXPECT_EQ(verify(key.blob, msg, sig), 1) << bits;
    EXPECT_EQ(verify(key.blob, msg + "!", sig), 0);  // tampered data
    Bytes bad = sig;
    bad[5] ^= 1;
    EXPECT_EQ(verify(key.blob, msg, bad), 0);  // tampered signature
    EXPECT_EQ(verify(key.blob, msg, key.sign(msg, NID_sha256)), 0);  // another digest
    EXPECT_EQ(verify(key.blob, msg, key.sign_be(msg, NID_sha1)), 0);  // big-endian signature
    Bytes wrong_magic = key.blob;
    wrong_magic[11] = '2';
    EXPECT_EQ(verify(wrong_magic, msg, sig), 0);
  }
  const Key key(1024);
  Bytes big(257, 1);
  EXPECT_EQ(verify(key.blob, "x", big), 0);
  EXPECT_EQ(rsaVerifySign(nullptr, 0, reinterpret_cast<const uint8_t *>("x"), 1, big.data(), 4), 0);
  Bytes zero_modulus = key.blob;
  std::fill(zero_modulus.begin() + 20, zero_modulus.end(), 0);
  EXPECT_EQ(verify(zero_modulus, "x", key.sign("x")), 0);
}

TEST(Rsa, AlternatingKeysOfOneLength) {
  // Same length, different moduli: a result must never come from the key
  // verified just before.
  const Key a(1024), b(1024);
  const std::string msg = "config";
  const Bytes sa = a.sign(msg), sb = b.sign(msg);
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(verify(a.blob, msg, sa), 1);
    EXPECT_EQ(verify(b.blob, msg, sa), 0);
    EXPECT_EQ(verify(b.blob, msg, sb), 1);
    EXPECT_EQ(verify(a.blob, msg, sb), 0);
  }
  Bytes even = a.blob;  // an even modulus takes the plain exponentiation
  even[20] &= 0xFE;
  EXPECT_EQ(verify(even, msg, sa), 0);
  EXPECT_EQ(verify(a.blob, msg, sa), 1);
}

TEST(Rsa, Base64Blob) {
  const Key key(1024);
  const std::string msg = "config";
  const Bytes sig = key.sign(msg);
  char text[400];
  const int n = b64_encode(text, sizeof text, key.blob.data(), static_cast<int>(key.blob.size()));
  ASSERT_GT(n, 0);
  ASSERT_LE(n, 256);
  auto check = [&](const char *t, uint32_t len) {
    return rsaVerifySignByBase64EncodePublicKeyBlob(t, len, reinterpret_cast<const uint8_t *>(msg.data()),
                                                    static_cast<uint32_t>(msg.size()), sig.data(),
                                                    static_cast<uint32_t>(sig.size()));
  };
  EXPECT_EQ(check(text, static_cast<uint32_t>(n)), 1);
  // "+ " before the text: decoding starts at the third character; the end
  // is measured from there (two characters past the given length).
  const std::string prefixed = std::string("+ ") + text;
  EXPECT_EQ(check(prefixed.c_str(), static_cast<uint32_t>(n)), 1);
  const std::string too_long(257, 'A');
  EXPECT_EQ(check(too_long.c_str(), 257), 0);
  EXPECT_EQ(check("", 0), 0);
  std::string high(text);
  high[10] = static_cast<char>(0xC3);
  EXPECT_EQ(check(high.c_str(), static_cast<uint32_t>(n)), 0);
  EXPECT_EQ(rsa_read_bytes4_from_public_key(key.blob.data() + 16), 65537u);
}

TEST(Rsa, BigNumbersAndHashes) {
  const uint8_t be[] = {0x00, 0x00, 0x01, 0x02, 0x03};
  RSA_Bignum a = RSA_bignum_from_bytes(be, 5);
  EXPECT_EQ(a[0], 2);  // leading zero limbs trimmed
  EXPECT_EQ(a[1], 0x0203);
  EXPECT_EQ(RSA_bignum_byte(a, 0), 0x03);
  EXPECT_EQ(RSA_bignum_byte(a, 2), 0x01);
  EXPECT_EQ(RSA_bignum_byte(a, 9), 0);
  EXPECT_EQ(RSA_bignum_bitcount(a), 17);
  RSA_Bignum seven = RSA_bignum_from_int(7), mod = RSA_bignum_from_int(1000003), three = RSA_bignum_from_int(3);
  RSA_Bignum p = RSA_modpow(seven, three, mod);  // 343
  EXPECT_EQ(p[1], 343);
  RSA_Bignum inv = RSA_modinv(three, mod);
  RSA_Bignum one = RSA_modmul(inv, three, mod), unit = RSA_bignum_from_int(1);
  EXPECT_EQ(RSA_bignum_cmp(one, unit), 0);
  RSA_Bignum big = RSA_bigmuladd(mod, mod, seven);  // 1000003^2 + 7
  EXPECT_EQ(RSA_bignum_cmp(big, mod), 1);
  RSA_Bignum rem = RSA_bigmod(big, mod);
  EXPECT_EQ(RSA_bignum_cmp(rem, seven), 0);
  RSA_Bignum zero = RSA_bignum_from_int(0);
  EXPECT_EQ(RSA_modpow(seven, three, zero), nullptr);
  for (RSA_Bignum b : {a, seven, mod, three, p, inv, one, unit, big, rem, zero}) RSA_freebn(b);
}

// A zero result still owns its one limb: every operation that can produce
// zero is read back in full (ASan and valgrind see a read past it).
TEST(Rsa, ZeroResultsOwnOneLimb) {
  RSA_Bignum zero = RSA_bignum_from_int(0), one = RSA_bignum_from_int(1), six = RSA_bignum_from_int(6),
             three = RSA_bignum_from_int(3);
  const uint8_t none = 0;
  RSA_Bignum results[] = {
      RSA_bignum_from_bytes(&none, 0), RSA_bignum_from_bytes(&none, 1), RSA_bignum_from_bytes(&none, -5),
      RSA_bignum_from_bytes(nullptr, 4), RSA_bigmod(six, three),
      RSA_modmul(six, one, three),     RSA_modpow(six, three, three),   RSA_bigmuladd(zero, one, zero),
  };
  for (RSA_Bignum r : results) {
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r[0], 1);
    EXPECT_EQ(r[1], 0);
    EXPECT_EQ(RSA_bignum_bitcount(r), 0);
    EXPECT_EQ(RSA_bignum_cmp(r, zero), 0);
    RSA_Bignum sum = RSA_bigmuladd(r, one, one);  // 0 x 1 + 1
    EXPECT_EQ(RSA_bignum_cmp(sum, one), 0);
    RSA_freebn(sum);
    RSA_freebn(r);
  }
  for (RSA_Bignum b : {zero, one, six, three}) RSA_freebn(b);

  uint8_t sha1[20];
  RSA_SHA_Simple("abc", 3, sha1);
  EXPECT_EQ(hex(sha1, 20), "a9993e364706816aba3e25717850c26c9cd0d89d");
  RSA_SHA512_State s;
  RSA_SHA512_Init(&s);
  RSA_SHA512_Bytes(&s, "a", 1);
  RSA_SHA512_Bytes(&s, "bc", 2);
  uint8_t sha512[64];
  RSA_SHA512_Final(&s, sha512);
  EXPECT_EQ(hex(sha512, 64),
            "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a2192992a274fc1a836ba3c23a3feebbd"
            "454d4423643ce80e2a9ac94fa54ca49f");
}

}  // namespace
}  // namespace aputil::test
