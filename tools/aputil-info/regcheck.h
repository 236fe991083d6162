// Every region of a model's REG_DOMAIN files held against the public
// regulatory database: frequencies and widths, radar detection, power.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "aputil-info/findings.h"
#include "aputil-info/regdb.h"

namespace aputil::info {

// ISO 3166-1 numeric code -> alpha-2 code, read from the iso-codes list
// (JSON) with the library's cJSON. Returns: false with *error set when the
// file cannot be read or holds no country.
bool load_iso3166(const std::string &path, std::map<int, std::string> *codes, std::string *error);

struct RegionSummary {
  int code = 0;
  std::string country;      // alpha-2, "" when the code maps to none
  std::string skipped;      // why the region was not checked, or ""
  int channels = 0, errors = 0, warnings = 0;
};

// What the database's rules say about a span of spectrum, as Linux
// applies them: every 20 MHz channel of the span must lie inside one rule,
// and that rule must allow the span's width. A rule marked AUTO-BW allows
// the width of the run of adjacent rules it belongs to.
struct RuleMatch {
  bool ok = false;                     // covered, and the width allowed
  const RegRule *limit = nullptr;      // the rule with the lowest EIRP the span touches
  const RegRule *dfs_rule = nullptr;   // the first touched rule that needs radar detection
  const RegRule *no_ir = nullptr;      // the first touched rule where no network may be started
  const RegRule *no_ofdm = nullptr;    // the first touched rule that forbids OFDM
  const RegRule *nearest = nullptr;    // the rule the span breaks, when not ok
  std::string reason;                  // what is wrong, when not ok
};

// Matches [lo_mhz, hi_mhz] against a country's rules.
RuleMatch match_rules(const RegCountry &country, int lo_mhz, int hi_mhz);

// A rule as text: "5250-5350 MHz, 80 MHz wide, 24 dBm, DFS AUTO-BW".
std::string rule_text(const RegRule &r);

// The 40 and 80 MHz blocks a channel's flags claim, as [lo, hi] in MHz
// (empty when it claims none). 2.4 GHz: 0x20000 claims the block above
// the channel (secondary channel above), 0x40000 the block below. 5 GHz:
// either HT40 bit claims the aligned 40 MHz pair, VHT80 the aligned 80 MHz
// block.
struct Block {
  const char *name;  // "HT40+", "HT40-", "HT40", "VHT80"
  int lo, hi;
};
std::vector<Block> claimed_blocks(int freq, uint32_t commonFlag);

// Loads each region through the library (radio_region_init, then the
// region queries) and checks every channel of both radios. Adds one
// finding per problem. Returns: one summary per region, in code order.
std::vector<RegionSummary> check_regions(const std::vector<int> &codes, const RegDb &db,
                                         const std::map<int, std::string> &iso, Findings *out);

}  // namespace aputil::info
