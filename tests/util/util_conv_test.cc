// Acceptance tables of the text converters.
#include <arpa/inet.h>

#include <array>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "support/model_tree.h"
#include "util.h"

namespace aputil::test {
namespace {

using Mac = std::array<uint8_t, 6>;

TEST(UtilConv, Ipv4Text) {
  const struct {
    const char *text;
    int rc;
    uint32_t ip;
  } cases[] = {
      {"1.2.3.4", 0, 0x01020304},       {"10.20.30.", 0, 0x0A141E00},  // empty last group is 0
      {"010.0.0.1", 0, 0x0A000001},     {"255.255.255.255", 0, 0xFFFFFFFF},
      {"1.2.3.256", -1, 0},             {"1..2.3", -1, 0},  {".1.2.3", -1, 0}, {"1.2.3.4.5", -1, 0},
      {"1.2.3", -1, 0},                 {"a.b.c.d", -1, 0}, {"1.2.3.4 ", -1, 0}, {"1.2.34", -1, 0},
      {"1111.2.3.4", -1, 0},            {"1.2.3.4444444444", -1, 0},
  };
  for (const auto &c : cases) {
    uint32_t ip = 0;
    EXPECT_EQ(util_ip_strToNum(c.text, &ip), c.rc) << c.text;
    if (c.rc == 0) {
      EXPECT_EQ(ip, c.ip) << c.text;
    }
  }
  EXPECT_EQ(util_ip_strToNum(nullptr, nullptr), -1);
  char buf[16];
  EXPECT_STREQ(util_ip_numToStr(0xC0A80001, buf), "192.168.0.1");
}

TEST(UtilConv, MacText) {
  Mac mac{};
  EXPECT_EQ(util_mac_strToArray("aa:bb:cc:dd:ee:ff", mac.data()), 0);
  EXPECT_EQ(mac, (Mac{0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF}));
  EXPECT_EQ(util_mac_strToArray("00-11:22-33-44-55trailing", mac.data()), 0);
  EXPECT_EQ(mac, (Mac{0x00, 0x11, 0x22, 0x33, 0x44, 0x55}));
  EXPECT_EQ(util_mac_strToArray("001122334455", mac.data()), 0);
  EXPECT_EQ(util_mac_strToArray("0g:11:22:33:44:55", mac.data()), 0);  // second digit unchecked: 'g' - 'A' + 10
  EXPECT_EQ(mac[0], static_cast<uint8_t>(0x00 | static_cast<uint8_t>('g' - 'A' + 10)));
  EXPECT_EQ(util_mac_strToArray("zz:11:22:33:44:55", mac.data()), -1);
  EXPECT_EQ(util_mac_strToArray("aa:b", mac.data()), -1);  // ends early: never read past the end
  char buf[18];
  const Mac m = {0x00, 0x1a, 0x2b, 0x3c, 0x4d, 0x5e};
  EXPECT_STREQ(util_mac_arrayToStr(m.data(), buf, 0), "00-1A-2B-3C-4D-5E");
  EXPECT_EQ(util_mac_arrayToStr(nullptr, buf, 0), nullptr);
  const char *want[] = {"001a2b3c4d5e", "00-1a-2b-3c-4d-5e", "00:1a:2b:3c:4d:5e",
                        "001A2B3C4D5E", "00-1A-2B-3C-4D-5E", "00:1A:2B:3C:4D:5E"};
  for (uint32_t f = 0; f < 6; ++f) EXPECT_STREQ(util_mac_arrayToTargetFormatStr(m.data(), buf, f), want[f]);
  EXPECT_EQ(stdout_of([&] { EXPECT_STREQ(util_mac_arrayToTargetFormatStr(m.data(), buf, 9), want[4]); }),
            "unsupport special macFormat,use default format MAC_ADDR_FMT_UPPER_HYPHEN\n");
}

TEST(UtilConv, MacValueRules) {
  const Mac group = {0x01, 0x00, 0x5E, 0, 0, 1}, ok = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55}, zero{},
            ones = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
  EXPECT_EQ(util_mac_isValidMac(group.data()), 0);
  EXPECT_EQ(util_mac_isValidMac(ok.data()), 1);
  EXPECT_EQ(util_mac_isValidMac(zero.data()), 0);
  EXPECT_EQ(util_mac_isValidMac(ones.data()), 0);
  EXPECT_EQ(util_mac_isValidMac(nullptr), 0);
  Mac m = {0x00, 0x11, 0x22, 0xFF, 0xFF, 0xFF};
  EXPECT_EQ(util_calMacAddr(m.data(), 1), 0);
  EXPECT_EQ(m, (Mac{0x00, 0x11, 0x22, 0x00, 0x00, 0x00}));  // the OUI never changes
  EXPECT_EQ(util_calMacAddr(m.data(), 0x10101), 0);
  EXPECT_EQ(m, (Mac{0x00, 0x11, 0x22, 0x01, 0x01, 0x01}));
  EXPECT_EQ(util_calMacAddr(m.data(), -5), 0);
  EXPECT_EQ(m[5], 0x01);
  EXPECT_EQ(util_calMacAddr(nullptr, 1), -1);
}

TEST(UtilConv, HexAndOui) {
  uint8_t out[4] = {};
  EXPECT_EQ(util_strToArray("0aFf", out, 2), 0);
  EXPECT_EQ(out[1], 0xFF);
  EXPECT_EQ(util_strToArray("12x4", out, 2), -1);
  EXPECT_EQ(out[0], 0x12);  // written before the bad digit
  EXPECT_EQ(util_strToArray("1", out, 1), -1);

  uint8_t oui[6] = {}, mask[6] = {};
  EXPECT_EQ(util_oui_strToArray("00:1A:2", oui, mask), 0);
  EXPECT_EQ(Mac(std::to_array(oui)), (Mac{0x00, 0x1A, 0x20, 0, 0, 0}));
  EXPECT_EQ(Mac(std::to_array(mask)), (Mac{0xFF, 0xFF, 0xF0, 0, 0, 0}));
  char text[32] = "";
  EXPECT_STREQ(util_oui_arrayToStr(oui, mask, text, 1), "00:1A:2");
  text[0] = '\0';
  EXPECT_STREQ(util_oui_arrayToStr(oui, mask, text, 0), "00-1A-2");
  // Six whole groups fit the 18 bytes of a MAC text: nothing is written
  // past them, not even for a moment.
  const uint8_t full[6] = {1, 2, 3, 4, 5, 6}, all[6] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
  char mac_text[18 + 4];
  std::memset(mac_text, '#', sizeof mac_text);
  mac_text[0] = '\0';
  EXPECT_STREQ(util_oui_arrayToStr(full, all, mac_text, 1), "01:02:03:04:05:06");
  EXPECT_EQ(std::string(mac_text + 18, 4), "####");
  uint8_t oui2[6] = {}, mask2[6] = {};
  EXPECT_EQ(util_oui_strToArray("00:1A:", oui2, mask2), -1);
  EXPECT_EQ(mask2[1], 0xFF);
}

TEST(UtilConv, SplitInPlace) {
  char text[] = ",a,,b,";
  char *tokens[3] = {};
  EXPECT_EQ(util_formatStr2Array(text, ',', 2, tokens), 2);
  EXPECT_STREQ(tokens[0], "a");
  EXPECT_STREQ(tokens[1], "b");
  char again[] = ",a,,b,";
  EXPECT_EQ(util_formatStr2Array(again, ',', 1, tokens), -1);  // tokens[1] was still written
  EXPECT_STREQ(tokens[1], "b");
  char whole[] = "a,b";
  EXPECT_EQ(util_formatStr2Array(whole, '\0', 4, tokens), 1);
  EXPECT_STREQ(tokens[0], "a,b");
  char empty[] = ",,,";
  EXPECT_EQ(util_formatStr2Array(empty, ',', 4, tokens), 0);
  char kept[] = "a,b";  // a negative max writes neither the text nor a token
  char *none[1] = {nullptr};
  EXPECT_EQ(util_formatStr2Array(kept, ',', -1, none), -1);
  EXPECT_STREQ(kept, "a,b");
  EXPECT_EQ(none[0], nullptr);
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(util_formatStr2Array(nullptr, ',', 4, tokens), -1); }),
            "Invalid input parameter\n");
}

TEST(UtilConv, TimeTexts) {
  char buf[32];
  EXPECT_STREQ(util_time_numToStr(90061, buf), "1 days 01:01:01");
  EXPECT_STREQ(util_time_numToStr(0, buf), "0 days 00:00:00");
  EXPECT_STREQ(util_time_hourMinute2Str(7, 75, buf), "07:75");
  int32_t h = 9, m = 9;
  EXPECT_EQ(util_time_str2HourMinute("23:59", &h, &m), 0);
  EXPECT_EQ(h * 100 + m, 2359);
  EXPECT_EQ(util_time_str2HourMinute("99:99", &h, &m), 0);  // no range check
  EXPECT_EQ(util_time_str2HourMinute("7", &h, &m), -1);
  EXPECT_EQ(h + m, 0);
  EXPECT_EQ(stdout_of([&] {
              EXPECT_EQ(util_time_numToStr(1, nullptr), nullptr);
              EXPECT_EQ(util_time_str2HourMinute(nullptr, &h, &m), -1);
            }),
            "Invalid input parameter\nInvalid input parameter\n");
  EXPECT_GT(util_getTimestamp(), 1700000000000ull);
}

TEST(UtilConv, Ipv6) {
  uint8_t a[16], b[16];
  char text[46];
  EXPECT_EQ(util_str_to_ipv6_addr("2001:db8::1", a), 0);
  EXPECT_EQ(util_ipv6_addr_to_str(a, text), 0);
  EXPECT_STREQ(text, "2001:db8::1");
  EXPECT_EQ(util_str_to_ipv6_addr("2001:DB8:0::1", b), 0);
  EXPECT_EQ(util_ipv6_addr_cmp(a, b), 0);
  b[15] = 2;
  EXPECT_EQ(util_ipv6_addr_cmp(a, b), 1);
  EXPECT_EQ(stdout_of([&] {
              EXPECT_EQ(util_str_to_ipv6_addr("1.2.3.4", a), -1);
              EXPECT_EQ(util_str_to_ipv6_addr(nullptr, a), -1);
              EXPECT_EQ(util_ipv6_addr_cmp(a, nullptr), -1);
              EXPECT_EQ(util_ipv6_addr_to_str(nullptr, text), -1);
            }),
            "IPv6 is not in presentation format\r\npIpv6Addr is NULL or pStrAddr is NULL\r\n"
            "pIpv6Addr1 is NULL or pIpv6Addr2 is NULL\r\npIpv6Addr is NULL or pStrAddr is NULL\r\n");
}

}  // namespace
}  // namespace aputil::test
