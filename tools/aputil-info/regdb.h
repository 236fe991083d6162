// The Linux wireless regulatory database (regulatory.db, format version 20),
// read so that the model's channel tables can be checked against it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace aputil::info {

// Rule flags as the database stores them.
enum : uint8_t { kRuleNoOfdm = 1, kRuleNoOutdoor = 2, kRuleDfs = 4, kRuleNoIr = 8, kRuleAutoBw = 16 };

struct RegRule {
  uint32_t start_khz, end_khz, max_bw_khz;
  int32_t max_eirp_mbm;  // dBm x 100
  uint8_t flags;
  uint16_t cac_ms;  // 0 when the rule does not carry it
};

struct RegCountry {
  char alpha2[3];  // NUL-terminated
  uint8_t dfs_region;  // 0 unset, 1 FCC, 2 ETSI, 3 JP
  std::vector<RegRule> rules;
};

struct RegDb {
  uint32_t version = 0;
  std::vector<RegCountry> countries;
  // The country of a code, compared exactly (no case folding).
  // Returns: the entry, or nullptr when absent (or alpha2 is null).
  const RegCountry *find(const char *alpha2) const;
};

// Parses a whole database image; every offset and length is checked
// against size before it is read. A country code must be two upper-case
// letters, or "00" (the world domain), and appear once, so a parse holds at
// most 677 countries of at most 255 rules each, whatever the input.
// Returns: true with *db replaced; or false with *db untouched and *error
// set to one line saying what is wrong and at which byte offset.
bool parse_regdb(const uint8_t *data, size_t size, RegDb *db, std::string *error);

// Reads a database file (at most 1 MiB) and parses it.
// Returns: as parse_regdb; every message starts with the path, and one
// for a file that cannot be read gives the system's reason.
bool load_regdb(const std::string &path, RegDb *db, std::string *error);

// A rule's flags as text, in bit order: NO-OFDM NO-OUTDOOR DFS NO-IR AUTO-BW.
// Returns: the names separated by spaces ("" for none), with any bits the
// format does not define appended in hex ("NO-IR 0x40").
std::string rule_flag_names(uint8_t flags);

}  // namespace aputil::info
