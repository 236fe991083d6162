#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/des.h>

#include <cstring>
#include <random>

#include <gtest/gtest.h>

#include "crypto.h"
#include "crypto_fixture.h"

namespace aputil::test {
namespace {

const uint8_t kKey[8] = {0x13, 0x34, 0x57, 0x79, 0x9B, 0xBC, 0xDF, 0xF1};

Bytes openssl_ecb(const Bytes &in, bool enc) {
  DES_cblock k;
  std::memcpy(k, kKey, 8);
  DES_key_schedule ks;
  DES_set_key_unchecked(&k, &ks);
  Bytes out(in.size());
  for (size_t i = 0; i < in.size(); i += 8)
    DES_ecb_encrypt(reinterpret_cast<const_DES_cblock *>(const_cast<uint8_t *>(in.data() + i)),
                    reinterpret_cast<DES_cblock *>(out.data() + i),
                    &ks, enc ? DES_ENCRYPT : DES_DECRYPT);
  return out;
}

TEST(Des, EcbMatchesOpenSsl) {
  Bytes plain(40);
  std::mt19937 rng(5);
  for (auto &b : plain) b = static_cast<uint8_t>(rng());
  Bytes out(48);
  ASSERT_EQ(des_min_do(plain.data(), 40, out.data(), 48, kKey, 1), 40);
  out.resize(40);
  EXPECT_EQ(out, openssl_ecb(plain, true));
  Bytes back(48);
  ASSERT_EQ(des_min_do(out.data(), 40, back.data(), 48, kKey, 0), 40);
  back.resize(40);
  EXPECT_EQ(back, plain);
  Bytes in_place = plain;
  EXPECT_EQ(des_min_do_ex(in_place.data(), 40, kKey, 1), 40);
  EXPECT_EQ(in_place, out);
}

TEST(Des, LengthAndCapacityRules) {
  uint8_t one = 0xAB, out[16] = {};
  EXPECT_EQ(des_min_do(&one, 1, out, 8, kKey, 1), 0);  // needs len + 8
  EXPECT_EQ(des_min_do(&one, 1, out, 9, kKey, 1), 8);
  const Bytes padded = openssl_ecb({0xAB, 0, 0, 0, 0, 0, 0, 0}, true);
  EXPECT_EQ(Bytes(out, out + 8), padded);  // zero-padded last block
  // Encrypting 13 bytes writes 16; decrypting that buffer with length 13
  // deciphers the whole last block, writes 13 bytes and counts 8.
  const Bytes msg = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13};
  uint8_t sealed[24], plain[24];
  EXPECT_EQ(des_min_do(msg.data(), 13, sealed, sizeof sealed, kKey, 1), 16);
  std::memset(plain, 0xEE, sizeof plain);
  EXPECT_EQ(des_min_do(sealed, 13, plain, sizeof plain, kKey, 0), 8);
  EXPECT_EQ(Bytes(plain, plain + 13), msg);
  EXPECT_EQ(plain[13], 0xEE);
  // The capacity test is the signed 32-bit cap - 7 <= len.
  EXPECT_EQ(des_min_do(msg.data(), 8, out, 0xFFFFFFF0u, kKey, 1), 0);
  EXPECT_EQ(des_min_do(msg.data(), 8, out, 0x7FFFFFFFu, kKey, 1), 8);
  EXPECT_EQ(des_min_do(nullptr, 8, out, 16, kKey, 1), 0);
  Bytes buf(12, 7);
  EXPECT_EQ(des_min_do_ex(buf.data(), 12, kKey, 1), 0);
  EXPECT_EQ(buf, Bytes(12, 7));
  EXPECT_EQ(des_min_do_ex(buf.data(), -8, kKey, 1), 0);
}

TEST(Des, PcbcRoundTripAndErrorPropagation) {
  const uint8_t iv[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  Bytes plain(32);
  for (size_t i = 0; i < plain.size(); ++i) plain[i] = static_cast<uint8_t>(i);
  Bytes cipher(32), back(32);
  EXPECT_EQ(des_min_do_pcbc(plain.data(), cipher.data(), 32, kKey, iv, 1), 1);
  // Agreement with OpenSSL's PCBC.
  DES_cblock k, ivec;
  std::memcpy(k, kKey, 8);
  std::memcpy(ivec, iv, 8);
  DES_key_schedule ks;
  DES_set_key_unchecked(&k, &ks);
  Bytes ref(32);
  DES_pcbc_encrypt(plain.data(), ref.data(), 32, &ks, &ivec, DES_ENCRYPT);
  EXPECT_EQ(cipher, ref);
  EXPECT_EQ(des_min_do_pcbc(cipher.data(), back.data(), 32, kKey, iv, 0), 1);
  EXPECT_EQ(back, plain);
  cipher[9] ^= 1;  // block 1 and every later block are garbled; block 0 is not
  des_min_do_pcbc(cipher.data(), back.data(), 32, kKey, iv, 0);
  EXPECT_EQ(Bytes(back.begin(), back.begin() + 8), Bytes(plain.begin(), plain.begin() + 8));
  for (int blk = 1; blk < 4; ++blk)
    EXPECT_NE(Bytes(back.begin() + 8 * blk, back.begin() + 8 * blk + 8),
              Bytes(plain.begin() + 8 * blk, plain.begin() + 8 * blk + 8))
        << blk;
  // A short last block: encryption writes it whole, decryption deciphers
  // it whole and writes only its own bytes.
  Bytes part(16), part_back(16, 0xEE);
  EXPECT_EQ(des_min_do_pcbc(plain.data(), part.data(), 13, kKey, iv, 1), 1);
  EXPECT_EQ(des_min_do_pcbc(part.data(), part_back.data(), 13, kKey, iv, 0), 1);
  EXPECT_EQ(Bytes(part_back.begin(), part_back.begin() + 13), Bytes(plain.begin(), plain.begin() + 13));
  EXPECT_EQ(part_back[13], 0xEE);
  EXPECT_EQ(des_min_do_pcbc(plain.data(), cipher.data(), 0, kKey, iv, 1), 1);
  EXPECT_EQ(des_min_do_pcbc(plain.data(), cipher.data(), 8, kKey, nullptr, 1), 0);
}

}  // namespace
}  // namespace aputil::test
