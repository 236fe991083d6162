#include <zlib.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base64.h"
#include "ds/crc32_impl.h"

namespace {

std::string enc(const std::string &s, int cap = 256) {
  char out[256];
  const int n = b64_encode(out, cap, reinterpret_cast<const uint8_t *>(s.data()), static_cast<int>(s.size()));
  return n < 0 ? "<-1>" : std::string(out, static_cast<size_t>(n));
}

int dec(const char *text, std::string *out = nullptr, int cap = 64, int n = -1) {
  uint8_t buf[64];
  const int got = b64_decode(buf, cap, text, n);
  if (out && got > 0) out->assign(reinterpret_cast<char *>(buf), static_cast<size_t>(got));
  return got;
}

TEST(Base64, Rfc4648Vectors) {
  const char *plain[] = {"", "f", "fo", "foo", "foob", "fooba", "foobar"};
  const char *coded[] = {"", "Zg==", "Zm8=", "Zm9v", "Zm9vYg==", "Zm9vYmE=", "Zm9vYmFy"};
  for (int i = 0; i < 7; ++i) {
    EXPECT_EQ(enc(plain[i]), coded[i]);
    std::string back;
    EXPECT_EQ(dec(coded[i], &back), static_cast<int>(std::strlen(plain[i])));
    EXPECT_EQ(back, i ? plain[i] : "");
  }
  EXPECT_EQ(enc("Man"), "TWFu");
  EXPECT_EQ(enc("\x4d"), "TQ==");
}

TEST(Base64, CapacityAndNullRules) {
  EXPECT_EQ(enc("abc", 5), "YWJj");
  EXPECT_EQ(enc("abc", 4), "<-1>");
  char out[4];
  EXPECT_EQ(b64_encode(out, 4, nullptr, 3), 0);
  EXPECT_EQ(dec("TWFu", nullptr, 3), -1);  // must exceed 3
  EXPECT_EQ(dec("TWFu", nullptr, 4), 3);
  uint8_t buf[4];
  EXPECT_EQ(b64_decode(buf, 4, nullptr, 0), 0);
  EXPECT_DEATH(b64_encode(nullptr, 4, reinterpret_cast<const uint8_t *>("a"), 1),
               "b64_encode: Assertion `dst != NULL && dstlen > 0 && srclen >= 0' failed");
  EXPECT_DEATH(b64_decode(buf, 0, "TWFu", 4), "base64.c:65: b64_decode: Assertion `dst != NULL && dstlen > 0' failed");
}

TEST(Base64, DecodingRules) {
  std::string out;
  EXPECT_EQ(dec(" TWFu\n", &out), 3);
  EXPECT_EQ(out, "Man");
  EXPECT_EQ(dec("TW Fu"), -1);  // inner blanks stay: five characters
  EXPECT_EQ(dec("TQ==QUJD", &out), 1);  // stops at the padded group
  EXPECT_EQ(out, "M");
  EXPECT_EQ(dec("TWE=QUJD", &out), 2);
  EXPECT_EQ(dec("TWF", &out), -1);
  EXPECT_EQ(dec("TW\x80u"), -1);
  // Outside the alphabet: not refused, decodes as 255 and spoils the bits.
  EXPECT_EQ(dec("T!Fu", &out), 3);
  EXPECT_EQ(static_cast<uint8_t>(out[0]), static_cast<uint8_t>((19 << 2) | (255 >> 4)));
  EXPECT_EQ(dec("TW=u", &out), 3);  // '=' third alone is just another invalid character
  EXPECT_EQ(dec("TWFuTQ==", nullptr, 64, 4), 3);  // explicit length
}

// Per-character coding, one character at a time, as the behaviour is
// defined: the whole-group tables must give the same bytes for every input,
// including characters outside the alphabet.
TEST(Base64, WholeGroupsMatchPerCharacterCoding) {
  static const char kAlpha[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  uint8_t value[128];
  std::memset(value, 255, sizeof value);
  for (int i = 0; i < 64; ++i) value[static_cast<int>(kAlpha[i])] = static_cast<uint8_t>(i);
  std::mt19937 rng(7);
  for (int round = 0; round < 20000; ++round) {
    char text[5] = {};
    for (int k = 0; k < 4; ++k) text[k] = static_cast<char>(1 + rng() % 127);  // no NUL, no byte above 127
    if (text[0] == ' ' || (text[0] >= 9 && text[0] <= 13)) text[0] = 'A';  // no blanks at the ends
    if (text[3] == ' ' || (text[3] >= 9 && text[3] <= 13)) text[3] = 'A';
    const uint32_t v0 = value[static_cast<int>(text[0])], v1 = value[static_cast<int>(text[1])];
    const uint32_t v2 = value[static_cast<int>(text[2])], v3 = value[static_cast<int>(text[3])];
    std::string want(1, static_cast<char>(v0 << 2 | v1 >> 4));
    if (!(text[2] == '=' && text[3] == '=')) want += static_cast<char>(v1 << 4 | v2 >> 2);
    if (text[3] != '=') want += static_cast<char>(v2 << 6 | v3);
    std::string got;
    ASSERT_EQ(dec(text, &got), static_cast<int>(want.size())) << text;
    ASSERT_EQ(got, want) << text;
  }
  // Long texts, so that whole blocks are decoded together, with now and
  // then one character from outside the alphabet or a '=' anywhere.
  for (int round = 0; round < 3000; ++round) {
    std::string text(4 * (1 + rng() % 100), 'A');
    for (char &ch : text) ch = kAlpha[rng() % 64];
    if (rng() % 2) text[rng() % text.size()] = static_cast<char>(rng() % 2 ? '=' : 33 + rng() % 94);
    if (text.back() == ' ' || text.back() == '\t') text.back() = 'A';
    std::string want;
    for (size_t i = 0; i < text.size(); i += 4) {
      const char *c = text.c_str() + i;
      const uint32_t v0 = value[static_cast<int>(c[0])], v1 = value[static_cast<int>(c[1])];
      const uint32_t v2 = value[static_cast<int>(c[2])], v3 = value[static_cast<int>(c[3])];
      want += static_cast<char>(v0 << 2 | v1 >> 4);
      if (c[2] == '=' && c[3] == '=') break;
      want += static_cast<char>(v1 << 4 | v2 >> 2);
      if (c[3] == '=') break;
      want += static_cast<char>(v2 << 6 | v3);
    }
    std::vector<uint8_t> out(text.size());
    ASSERT_EQ(b64_decode(out.data(), static_cast<int>(out.size()), text.c_str(), -1), static_cast<int>(want.size()))
        << text;
    ASSERT_EQ(std::string(out.begin(), out.begin() + static_cast<long>(want.size())), want) << text;
  }
  std::vector<uint8_t> bytes(300);
  for (auto &b : bytes) b = static_cast<uint8_t>(rng());
  for (int k = 0; k < 3; ++k) bytes[k] = static_cast<uint8_t>(k == 0 ? 0xFB : 0xFF);  // "+/" and "//"
  for (size_t n : {0, 1, 2, 3, 4, 5, 6, 15, 16, 17, 27, 28, 29, 40, 41, 299, 300}) {
    std::string want;
    for (size_t i = 0; i < n; i += 3) {
      const uint32_t g = bytes[i] << 16 | (i + 1 < n ? bytes[i + 1] << 8 : 0) | (i + 2 < n ? bytes[i + 2] : 0);
      want += kAlpha[g >> 18];
      want += kAlpha[(g >> 12) & 63];
      want += i + 1 < n ? kAlpha[(g >> 6) & 63] : '=';
      want += i + 2 < n ? kAlpha[g & 63] : '=';
    }
    std::vector<char> out(512);
    ASSERT_EQ(b64_encode(out.data(), 512, bytes.data(), static_cast<int>(n)), static_cast<int>(want.size()));
    EXPECT_EQ(std::string(out.data()), want) << n;
  }
}

TEST(Crc32, CheckValueAndAgreementWithZlib) {
  EXPECT_EQ(tmp_crc32("123456789", 9), 0xCBF43926u);
  EXPECT_EQ(tmp_crc32(nullptr, 9), 0u);
  EXPECT_EQ(tmp_crc32("x", 0), 0u);
  std::vector<uint8_t> data(5000);
  std::mt19937 rng(99);
  for (auto &b : data) b = static_cast<uint8_t>(rng());
  for (int round = 0; round < 300; ++round) {
    const size_t off = rng() % 16, len = 1 + rng() % 4000;  // every alignment and tail length
    EXPECT_EQ(tmp_crc32(data.data() + off, static_cast<int>(len)),
              static_cast<uint32_t>(crc32(0, data.data() + off, static_cast<uInt>(len))))
        << off << "+" << len;
  }
}

TEST(Crc32, EveryImplementationAgrees) {
  std::vector<uint8_t> data(3003);  // the longest case starts at offset 3
  std::mt19937 rng(42);
  for (auto &b : data) b = static_cast<uint8_t>(rng());
  std::vector<std::pair<const char *, aputil::ds::Crc32Fn>> impls = {{"slice8", aputil::ds::crc32_slice8}};
  if (aputil::ds::Crc32Fn arm = aputil::ds::crc32_armv8()) impls.push_back({"armv8", arm});
  if (aputil::ds::Crc32Fn clmul = aputil::ds::crc32_clmul()) impls.push_back({"clmul", clmul});
  if (aputil::ds::Crc32Fn wide = aputil::ds::crc32_vclmul()) impls.push_back({"vclmul", wide});
  for (const auto &[name, fn] : impls) {
    for (size_t len : {0, 1, 3, 4, 7, 8, 9, 15, 16, 17, 63, 64, 65, 79, 80, 127, 128, 143, 255, 256, 271, 319, 511, 512, 1000, 2999}) {
      for (size_t off : {0, 1, 3}) {
        const uint32_t want = static_cast<uint32_t>(crc32(0, data.data() + off, static_cast<uInt>(len)));
        EXPECT_EQ(~fn(0xFFFFFFFFu, data.data() + off, len), want) << name << " " << off << "+" << len;
      }
    }
  }
}

}  // namespace
