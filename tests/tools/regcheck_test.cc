// The regulatory check's two rules of reading: which 40/80 MHz blocks a
// channel's flags claim, and what a country's rules say about a span.
#include "aputil-info/regcheck.h"

#include <gtest/gtest.h>

#include "radio_region.h"

namespace aputil::info {
namespace {

TEST(RegCheck, ClaimedBlocks) {
  const uint32_t ht20 = REGION_FLAG_HT20, plus = REGION_FLAG_HT40_A, minus = REGION_FLAG_HT40_B;
  const uint32_t vht = REGION_FLAG_VHT80 | REGION_FLAG_5G | ht20 | plus | minus;
  const struct {
    int freq;
    uint32_t flags;
    std::string blocks;  // "name lo-hi" joined by ", "
  } cases[] = {{2412, ht20 | plus, "HT40+ 2402-2442"},
               {2472, ht20 | minus, "HT40- 2442-2482"},
               {2437, ht20 | plus | minus, "HT40+ 2427-2467, HT40- 2407-2447"},
               {5180, ht20 | plus | REGION_FLAG_5G, "HT40 5170-5210"},
               {5720, vht, "HT40 5690-5730, VHT80 5650-5730"},
               {5180, REGION_FLAG_VHT80 | ht20, ""},  // VHT80 counts only with the 5 GHz bit
               {4920, ht20 | plus | REGION_FLAG_5G, "HT40 4910-4950"}};
  for (const auto &c : cases) {
    std::string got;
    for (const Block &b : claimed_blocks(c.freq, c.flags))
      got += (got.empty() ? "" : ", ") + std::string(b.name) + " " + std::to_string(b.lo) + "-" + std::to_string(b.hi);
    EXPECT_EQ(got, c.blocks) << c.freq;
  }
}

TEST(RegCheck, MatchRules) {
  RegCountry c{"XX", 2, {}};
  auto rule = [&](uint32_t lo, uint32_t hi, uint32_t bw, int dbm, uint8_t flags) {
    c.rules.push_back({lo * 1000, hi * 1000, bw * 1000, dbm * 100, flags, 0});
  };
  rule(2402, 2482, 40, 20, 0);                        // 0
  rule(2474, 2494, 20, 20, kRuleNoOfdm);              // 1
  rule(5150, 5250, 40, 23, kRuleAutoBw);              // 2: widened by its neighbour to 200
  rule(5250, 5350, 80, 20, kRuleDfs | kRuleAutoBw);   // 3
  rule(5470, 5600, 80, 27, kRuleDfs);                 // 4
  rule(5650, 5730, 20, 27, 0);                        // 5
  rule(5850, 5895, 40, 27, kRuleNoIr | kRuleAutoBw);  // 6
  const struct {
    int lo, hi;
    bool ok;
    int limit, dfs, no_ir, no_ofdm, nearest;  // rule indexes, -1 for none
    const char *reason;
  } cases[] = {{5170, 5250, true, 2, -1, -1, -1, -1, ""},  // 80 MHz in a 40 MHz AUTO-BW rule
               {5650, 5690, false, 5, -1, -1, -1, 5, "is wider than the 20 MHz the rule allows"},
               {5570, 5610, false, 4, 4, -1, -1, 4, "has its 20 MHz channel 5590-5610 MHz outside one rule"},
               {5240, 5260, false, 3, 3, -1, -1, 2, "is not inside one rule"},
               {5000, 5020, false, -1, -1, -1, -1, -1, "is outside every rule of XX"},
               {2462, 2482, true, 0, -1, -1, -1, -1, ""},  // the first rule that holds it wins
               {2474, 2494, true, 1, -1, -1, 1, -1, ""},
               {5855, 5875, true, 6, -1, 6, -1, -1, ""}};
  auto index = [&](const RegRule *r) { return r ? static_cast<int>(r - c.rules.data()) : -1; };
  for (const auto &k : cases) {
    const RuleMatch m = match_rules(c, k.lo, k.hi);
    EXPECT_EQ(std::tuple(m.ok, index(m.limit), index(m.dfs_rule), index(m.no_ir), index(m.no_ofdm), index(m.nearest),
                         std::string(m.reason)),
              std::tuple(k.ok, k.limit, k.dfs, k.no_ir, k.no_ofdm, k.nearest, std::string(k.reason)))
        << k.lo;
  }
  EXPECT_EQ(rule_text(c.rules[3]), "5250-5350 MHz, 80 MHz wide, 20 dBm, DFS AUTO-BW");
}

}  // namespace
}  // namespace aputil::info
