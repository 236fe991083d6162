#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <cstring>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "crypto.h"
#include "crypto_fixture.h"
#include "support/fw_root.h"
#include "support/model_tree.h"

namespace aputil::test {
namespace {

std::string md5_hex(const std::string &s) {
  uint8_t d[16];
  md5_make_digest(d, s.data(), static_cast<uint32_t>(s.size()));
  return hex(d, 16);
}

TEST(Md5, Rfc1321VectorsAndStreaming) {
  EXPECT_EQ(md5_hex(""), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(md5_hex("abc"), "900150983cd24fb0d6963f7d28e17f72");
  EXPECT_EQ(md5_hex("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
  EXPECT_EQ(md5_hex("12345678901234567890123456789012345678901234567890123456789012345678901234567890"),
            "57edf4a22be3c955ac49da2e2107b67a");
  std::string data(300, '\0');
  std::mt19937 rng(3);
  for (char &c : data) c = static_cast<char>(rng());
  const std::string whole = md5_hex(data);
  for (size_t a = 0; a < data.size(); a += 7) {
    for (size_t b = a; b < data.size(); b += 61) {
      kx_MD5_CTX ctx;
      kx_MD5_Init(&ctx);
      kx_MD5_Update(&ctx, data.data(), static_cast<uint32_t>(a));
      kx_MD5_Update(&ctx, data.data() + a, static_cast<uint32_t>(b - a));
      kx_MD5_Update(&ctx, data.data() + b, static_cast<uint32_t>(data.size() - b));
      uint8_t d[16];
      kx_MD5_Final(d, &ctx);
      ASSERT_EQ(hex(d, 16), whole) << a << "," << b;
      EXPECT_EQ(hex(ctx.digest, 16), whole);  // also left in the context
    }
  }
  uint8_t d[16];
  md5_make_digest(d, "abc", 3);
  EXPECT_EQ(md5_verify_digest(d, "abc", 3), 1);
  EXPECT_EQ(md5_verify_digest(d, "abd", 3), 0);
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(md5_verify_digest(nullptr, "abc", 3), 0); }), "invalid input params\r\n");
  // An empty update, even through a NULL pointer, adds nothing.
  kx_MD5_CTX ctx;
  kx_MD5_Init(&ctx);
  kx_MD5_Update(&ctx, nullptr, 0);
  kx_MD5_Update(&ctx, nullptr, 5);
  uint8_t empty[16], want[16];
  kx_MD5_Final(empty, &ctx);
  md5_make_digest(want, "", 0);
  EXPECT_EQ(hex(empty, 16), hex(want, 16));
  md5_make_digest(want, nullptr, 0);
  EXPECT_EQ(hex(want, 16), "d41d8cd98f00b204e9800998ecf8427e");
}

std::string hmac_hex(const std::string &data, const std::string &key) {
  uint8_t out[16];
  hmac_md5(data.data(), static_cast<uint32_t>(data.size()), key.data(), static_cast<int>(key.size()), out);
  return hex(out, 16);
}

TEST(HmacMd5, Rfc2202VectorsAndTheBlockBoundary) {
  EXPECT_EQ(hmac_hex("Hi There", std::string(16, '\x0b')), "9294727a3638bb1c13f48ef8158bfc9d");
  EXPECT_EQ(hmac_hex("what do ya want for nothing?", "Jefe"), "750c783e6ab0b503eaa86e310a5db738");
  EXPECT_EQ(hmac_hex(std::string(50, '\xdd'), std::string(16, '\xaa')), "56be34521d144c88dbb8c733f0e8b3f6");
  EXPECT_EQ(hmac_hex("Test Using Larger Than Block-Size Key - Hash Key First", std::string(80, '\xaa')),
            "6b1ab7fe4bd7bf8f0b62e6ce61b9d0cd");
  for (int klen : {0, 63, 64, 65, 200}) {
    const std::string key(static_cast<size_t>(klen), 'k'), data = "payload";
    uint8_t ref[16];
    unsigned int n = 0;
    HMAC(EVP_md5(), key.data(), klen, reinterpret_cast<const uint8_t *>(data.data()), data.size(), ref, &n);
    EXPECT_EQ(hmac_hex(data, key), hex(ref, 16)) << klen;
  }
  // A negative key length is an empty key (the key is not read).
  uint8_t neg[16];
  hmac_md5("payload", 7, nullptr, -3, neg);
  EXPECT_EQ(hex(neg, 16), hmac_hex("payload", ""));
}

TEST(Seal, KeysAndBufferRules) {
  EXPECT_EQ(hex(md5_getImageKey(), 16), "3c91e0a47b2d58f61e0c9a3b72d4856f");
  EXPECT_EQ(hex(md5_getConfigKey(), 16), "9d14b7e25a0c63f8d1e7402b6fa93c15");
  EXPECT_EQ(hex(md5_getDesKey(), 8), hex(md5_getConfigKey(), 8));
  const uint8_t *key = md5_getDesKey();
  uint8_t in[16], sealed[64], plain[64];
  for (int i = 0; i < 16; ++i) in[i] = static_cast<uint8_t>(i * 17);

  ASSERT_EQ(md5_des(in, 10, sealed, sizeof sealed, key, 1), 32);  // 16 + 16
  uint8_t digest[16];
  md5_make_digest(digest, in, 10);
  EXPECT_EQ(hex(sealed, 16), hex(digest, 16));
  EXPECT_EQ(md5_des(sealed, 32, plain, sizeof plain, key, 0), -1);  // the digest covered 10 bytes, not 16

  ASSERT_EQ(md5_des(in, 16, sealed, sizeof sealed, key, 1), 32);
  EXPECT_EQ(md5_des(sealed, 32, plain, sizeof plain, key, 0), 16);
  EXPECT_EQ(std::memcmp(plain, in, 16), 0);

  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(md5_des(in, 16, sealed, 16 + 23, key, 1), -1); }),
            "output buf too small.\r\n");
  EXPECT_EQ(md5_des(in, 16, sealed, 16 + 24, key, 1), 32);
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(md5_des(sealed, 32, plain, 23, key, 0), -1); }), "output buf too small.\r\n");
  EXPECT_EQ(md5_des(sealed, 32, plain, 24, key, 0), 16);
  EXPECT_EQ(md5_des(in, 0, sealed, 24, key, 1), 16);  // the digest alone
  // The capacity checks are signed 32-bit comparisons: a capacity that is
  // negative as an int is too small, and nothing is written.
  uint8_t small[8] = {0};
  for (int seal : {1, 0})
    EXPECT_EQ(stdout_of([&] { EXPECT_EQ(md5_des(sealed, 32, small, 0xFFFFFFF0u, key, seal), -1); }),
              "output buf too small.\r\n");
  EXPECT_EQ(md5_des(in, 16, sealed, 0x7FFFFFFFu, key, 1), 32);
  // A negative length is refused before anything is written.
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(md5_des(in, -1, small, 64, key, 1), -1); }), "invalid input params\r\n");
  EXPECT_EQ(small[0], 0);
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(md5_des(sealed, 8, plain, 64, key, 0), -1); }), "invalid input params\r\n");
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(md5_des(nullptr, 8, plain, 64, key, 0), -1); }), "invalid input params\r\n");
}

TEST(Seal, FilesUpToTheLimit) {
  FirmwareRoot root;
  // A multiple of 8 whose sealed form (16 bytes more) still fits the read.
  std::string plain(16360, 'p');
  root.write("/tmp/plain", plain);
  EXPECT_EQ(file_md5_des("/tmp/plain", "/tmp/sealed", 1), 0);
  EXPECT_EQ(root.read("/tmp/sealed").size(), 16u + 16360u);
  EXPECT_EQ(file_md5_des("/tmp/sealed", "/tmp/back", 0), 0);
  EXPECT_TRUE(root.read("/tmp/back") == plain);

  root.write("/tmp/max", std::string(16382, 'm'));
  EXPECT_EQ(file_md5_des("/tmp/max", "/tmp/max.sealed", 1), 0);
  root.write("/tmp/big", std::string(16383, 'b'));
  EXPECT_EQ(stdout_of([] { EXPECT_EQ(file_md5_des("/tmp/big", "/tmp/big.sealed", 1), -1); }), "file too large!\n ");
  EXPECT_EQ(root.read("/tmp/big.sealed"), "");
  root.write("/tmp/short", "0123456789");  // sealed from 10 bytes: the digest never matches
  ASSERT_EQ(file_md5_des("/tmp/short", "/tmp/short.sealed", 1), 0);
  EXPECT_EQ(stdout_of([] { EXPECT_EQ(file_md5_des("/tmp/short.sealed", "/tmp/short.back", 0), -1); }),
            "invalid len\r\n");
  testing::internal::CaptureStderr();
  EXPECT_EQ(file_md5_des("/tmp/missing", "/tmp/x", 1), -1);
  EXPECT_EQ(testing::internal::GetCapturedStderr().rfind("open input file: ", 0), 0u);
}

}  // namespace
}  // namespace aputil::test
