// The regulatory database parser: the real database, a small image built
// here field by field, and that image damaged in each way the format forbids.
#include "aputil-info/regdb.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

namespace aputil::info {
namespace {

// Big-endian writer.
struct Bytes {
  std::vector<uint8_t> v;
  Bytes &u8(unsigned x) {
    v.push_back(static_cast<uint8_t>(x));
    return *this;
  }
  Bytes &u16(unsigned x) { return u8(x >> 8).u8(x); }
  Bytes &u32(uint32_t x) { return u16(x >> 16).u16(x); }
  Bytes &code(const char *cc) { return u8(cc[0]).u8(cc[1]); }
};

// Countries "00" (no rules), "DE" (rules A B) and "US" (B C, after an odd
// header length); rule A is 16 bytes, B 18 (a CAC time), C 17 (bytes that
// follow it are not a CAC time). Offsets are in the comments.
std::vector<uint8_t> small_db() {
  Bytes b;
  b.u32(0x52474442).u32(20);
  b.code("00").u16(0x18 >> 2).code("DE").u16(0x1c >> 2).code("US").u16(0x24 >> 2).u32(0);                     // 0x08
  b.u8(3).u8(0).u8(0).u8(0);                                                                                  // 0x18
  b.u8(3).u8(2).u8(2).u8(0).u16(0x30 >> 2).u16(0x40 >> 2);                                                    // 0x1c
  b.u8(5).u8(2).u8(1).u8(0xee).u8(0xee).u8(0).u16(0x40 >> 2).u16(0x54 >> 2).u16(0);                           // 0x24
  b.u8(16).u8(0).u16(2000).u32(2400000).u32(2483500).u32(40000);                                              // 0x30
  b.u8(18).u8(kRuleDfs | kRuleAutoBw).u16(2300).u32(5250000).u32(5350000).u32(80000).u16(60000).u16(0);       // 0x40
  b.u8(17).u8(kRuleNoOutdoor | kRuleNoIr).u16(1200).u32(5925000).u32(7125000).u32(320000).u8(0xab).u8(0xcd);  // 0x54
  return b.v;
}

// A country as one line: code, DFS region, then per rule
// "start-end bandwidth EIRP flags CAC".
std::string text(const RegCountry *c) {
  if (!c) return "absent";
  std::string line = std::string(c->alpha2) + " " + std::to_string(c->dfs_region);
  for (const RegRule &r : c->rules) {
    char rule[80];
    std::snprintf(rule, sizeof rule, " | %u-%u %u %d 0x%x %u", r.start_khz, r.end_khz, r.max_bw_khz, r.max_eirp_mbm,
                  r.flags, r.cac_ms);
    line += rule;
  }
  return line;
}

TEST(RegDb, SmallImageRoundTrips) {
  const std::vector<uint8_t> image = small_db();
  RegDb db;
  std::string error;
  ASSERT_TRUE(parse_regdb(image.data(), image.size(), &db, &error)) << error;
  const char *const want[] = {"00 0", "DE 2 | 2400000-2483500 40000 2000 0x0 0 | 5250000-5350000 80000 2300 0x14 60000",
                              "US 1 | 5250000-5350000 80000 2300 0x14 60000 | 5925000-7125000 320000 1200 0xa 0"};
  ASSERT_EQ(db.countries.size(), 3u);
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(text(&db.countries[i]), want[i]);
    EXPECT_EQ(db.find(db.countries[i].alpha2), &db.countries[i]);
  }
}

TEST(RegDb, DamagedImagesAreRefused) {
  const struct {
    const char *name;
    size_t keep;  // bytes kept of the 102-byte image
    std::vector<std::pair<size_t, uint8_t>> patch;
    const char *phrase;
  } cases[] = {
      {"in the header", 6, {}, "file of 6 bytes is shorter than the 8-byte header"},
      {"no terminator", 0x14, {}, "no terminator before the end of the 20-byte file"},
      {"in a collection", 0x1e, {}, "country 'DE': collection pointer 0x1c outside the 30-byte file"},
      {"in rule pointers", 0x22, {}, "2 rule pointers at 0x20 run past the end"},
      {"in a rule", 0x48, {}, "rule at 0x40 (length 18) runs past the end of the 72-byte file"},
      {"bad magic", 102, {{0, 'X'}}, "bad magic 0x58474442 at offset 0"},
      {"version 19", 102, {{7, 19}}, "unsupported version 19"},
      {"country pointer", 102, {{0x0e, 0xff}, {0x0f, 0xff}}, "country 'DE': collection pointer 0x3fffc outside"},
      {"rule pointer", 102, {{0x20, 0x01}}, "country 'DE': rule pointer 0x430 outside the 102-byte file"},
      {"rule length 8", 102, {{0x30, 8}}, "rule at 0x30 has length 8 (minimum 16)"},
      {"lower-case code", 102, {{0x0d, 'e'}}, "entry at 0xc: code 0x4465 is not two upper-case letters"},
      {"listed twice", 102, {{0x10, 'D'}, {0x11, 'E'}}, "'DE' at 0x10 is listed twice"},
      {"header length 2", 102, {{0x1c, 2}}, "collection at 0x1c has header length 2 (minimum 3)"},
      {"end below start", 102, {{0x39, 0x24}, {0x3a, 0x9e}, {0x3b, 0xff}}, "ends at 2399999 kHz, below its start"},
  };
  for (const auto &c : cases) {
    std::vector<uint8_t> image = small_db();
    ASSERT_EQ(image.size(), 102u);
    image.resize(c.keep);
    for (const auto &[at, value] : c.patch) image[at] = value;
    RegDb db;
    db.version = 1;
    std::string error;
    EXPECT_FALSE(parse_regdb(image.data(), image.size(), &db, &error)) << c.name;
    EXPECT_NE(error.find(c.phrase), std::string::npos) << c.name << ": " << error;
    EXPECT_EQ(db.version, 1u) << c.name;  // untouched
  }
}

TEST(RegDb, FlagNames) {
  EXPECT_EQ(rule_flag_names(0) + "|" + rule_flag_names(0x14) + "|" + rule_flag_names(0x1f) + "|" +
                rule_flag_names(0x48) + "|" + rule_flag_names(0xe0),
            "|DFS AUTO-BW|NO-OFDM NO-OUTDOOR DFS NO-IR AUTO-BW|NO-IR 0x40|0xe0");
}

}  // namespace
}  // namespace aputil::info
