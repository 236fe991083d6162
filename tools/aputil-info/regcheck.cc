#include "aputil-info/regcheck.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "aputil-info/info.h"
#include "cJSON.h"
#include "radio_config.h"
#include "radio_region.h"

namespace aputil::info {

namespace {

constexpr long kIsoFileLimit = 4 << 20;

// The width a rule allows: its own maximum bandwidth, or for an AUTO-BW
// rule the extent of the run of adjacent rules around it.
uint32_t allowed_width(const RegCountry &c, const RegRule &r) {
  if (!(r.flags & kRuleAutoBw)) return r.max_bw_khz;
  uint32_t lo = r.start_khz, hi = r.end_khz;
  for (bool grew = true; grew;) {
    grew = false;
    for (const RegRule &o : c.rules) {
      if (o.start_khz < lo && o.end_khz >= lo) lo = o.start_khz, grew = true;
      if (o.end_khz > hi && o.start_khz <= hi) hi = o.end_khz, grew = true;
    }
  }
  return hi - lo;
}

std::string mhz(uint32_t khz) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", khz / 1000.0);
  return text;
}

std::string hex(uint32_t v) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%x", v);
  return text;
}

}  // namespace

std::string rule_text(const RegRule &r) {
  std::string text = mhz(r.start_khz) + "-" + mhz(r.end_khz) + " MHz, " + mhz(r.max_bw_khz) + " MHz wide, ";
  char eirp[24];
  std::snprintf(eirp, sizeof eirp, "%g dBm", r.max_eirp_mbm / 100.0);
  text += eirp;
  const std::string flags = rule_flag_names(r.flags);
  if (!flags.empty()) text += ", " + flags;
  return text;
}

RuleMatch match_rules(const RegCountry &c, int lo_mhz, int hi_mhz) {
  RuleMatch m;
  const int64_t lo = int64_t{lo_mhz} * 1000, hi = int64_t{hi_mhz} * 1000;
  // A rule whose flags and limit apply to the span.
  auto applies = [&](const RegRule &r) {
    if (!m.limit || r.max_eirp_mbm < m.limit->max_eirp_mbm) m.limit = &r;
    if ((r.flags & kRuleDfs) && !m.dfs_rule) m.dfs_rule = &r;
    if ((r.flags & kRuleNoIr) && !m.no_ir) m.no_ir = &r;
    if ((r.flags & kRuleNoOfdm) && !m.no_ofdm) m.no_ofdm = &r;
  };
  // Each 20 MHz channel of the span takes the first rule that holds it
  // whole (as Linux does); that rule must allow the span's width. A channel
  // that no rule holds is an error, and then every rule it touches applies.
  m.ok = hi > lo;
  for (int64_t part = lo; part < hi; part += 20000) {
    const RegRule *home = nullptr;
    for (const RegRule &r : c.rules)
      if (!home && r.start_khz <= part && part + 20000 <= r.end_khz) home = &r;
    if (home) {
      applies(*home);
      if (m.ok && allowed_width(c, *home) < hi - lo) {
        m.ok = false;
        m.nearest = home;
        m.reason = "is wider than the " + mhz(allowed_width(c, *home)) + " MHz the rule allows";
      }
      continue;
    }
    const RegRule *touched = nullptr;
    for (const RegRule &r : c.rules)
      if (r.start_khz < part + 20000 && part < r.end_khz) applies(r), touched = touched ? touched : &r;
    if (!m.ok) continue;
    m.ok = false;
    m.nearest = touched;
    m.reason = !touched ? "is outside every rule of " + std::string(c.alpha2)
               : hi - lo == 20000 ? "is not inside one rule"
                                  : "has its 20 MHz channel " + std::to_string(part / 1000) + "-" +
                                        std::to_string(part / 1000 + 20) + " MHz outside one rule";
  }
  return m;
}

std::vector<Block> claimed_blocks(int f, uint32_t cf) {
  std::vector<Block> blocks;
  if (f < 1000 || f > 100000) return blocks;  // no Wi-Fi channel
  if (f < 4000) {  // 2.4 GHz: the bit says where the secondary channel is
    if (cf & REGION_FLAG_HT40_A) blocks.push_back({"HT40+", f - 10, f + 30});
    if (cf & REGION_FLAG_HT40_B) blocks.push_back({"HT40-", f - 30, f + 10});
    return blocks;
  }
  const int base = f < 5000 ? 4910 : f < 5735 ? 5170 : 5735;
  auto aligned = [&](int width) {
    const int offset = f - 10 - base;
    const int lo = base + (offset >= 0 ? offset / width : (offset - width + 1) / width) * width;
    return std::pair<int, int>(lo, lo + width);
  };
  if (cf & (REGION_FLAG_HT40_A | REGION_FLAG_HT40_B)) {
    const auto [lo, hi] = aligned(40);
    blocks.push_back({"HT40", lo, hi});
  }
  if ((cf & REGION_FLAG_VHT80) && (cf & REGION_FLAG_5G)) {
    const auto [lo, hi] = aligned(80);
    blocks.push_back({"VHT80", lo, hi});
  }
  return blocks;
}

bool load_iso3166(const std::string &path, std::map<int, std::string> *codes, std::string *error) {
  FILE *f = std::fopen(path.c_str(), "rb");
  if (!f) {
    *error = "cannot read the ISO 3166-1 list " + path + ": " + std::strerror(errno);
    return false;
  }
  std::string text;
  char buf[8192];
  for (size_t got; (got = std::fread(buf, 1, sizeof buf, f)) > 0 && text.size() < kIsoFileLimit;) text.append(buf, got);
  std::fclose(f);
  cJSON *root = cJSON_Parse(text.c_str());
  const cJSON *list = root ? cJSON_GetObjectItem(root, "3166-1") : nullptr;
  codes->clear();
  for (const cJSON *e = list ? list->child : nullptr; e; e = e->next) {
    const cJSON *numeric = cJSON_GetObjectItem(const_cast<cJSON *>(e), "numeric");
    const cJSON *alpha2 = cJSON_GetObjectItem(const_cast<cJSON *>(e), "alpha_2");
    if (numeric && alpha2 && numeric->type == cJSON_String && alpha2->type == cJSON_String)
      (*codes)[std::atoi(numeric->valuestring)] = alpha2->valuestring;
  }
  cJSON_Delete(root);
  if (codes->empty()) *error = "the ISO 3166-1 list " + path + " holds no country";
  return !codes->empty();
}

std::vector<RegionSummary> check_regions(const std::vector<int> &codes, const RegDb &db,
                                         const std::map<int, std::string> &iso, Findings *out) {
  std::vector<RegionSummary> summaries;
  const bool eirp = radio_config_getEIRP() != 0;
  for (const int code : codes) {
    RegionSummary s;
    s.code = code;
    const auto alpha2 = iso.find(code);
    const RegCountry *country = nullptr;
    std::string ignored;
    if (alpha2 == iso.end()) {
      s.skipped = "no ISO 3166-1 country has the numeric code " + std::to_string(code);
    } else if (s.country = alpha2->second; !(country = db.find(s.country.c_str()))) {
      s.skipped = s.country + " is not in the regulatory database";
    } else if (quietly([code] { return radio_region_init(code); }, &ignored) != 0) {
      s.skipped = "the library does not load the region";
    }
    if (!s.skipped.empty()) {
      summaries.push_back(s);
      continue;
    }
    const size_t first = out->list().size();
    for (uint32_t rid = 0; rid < MAX_RADIO_NUM; ++rid) {
      radio_region_tbl_t t;
      if (radio_region_getRegionFlags(rid, &t) != 0) continue;
      const int64_t antenna = static_cast<int32_t>(radio_config_getAnttGain(rid));
      const int64_t mimo = static_cast<int32_t>(radio_config_getMimoGain(rid));
      const int64_t gain = eirp ? 0 : antenna + mimo;
      for (uint32_t k = 0; k < t.chanNum; ++k, ++s.channels) {
        const radio_chan_rec_t &c = t.chanRec[k];
        auto finding = [&](Severity sev, const std::string &message, const RegRule *rule) {
          Finding f;
          f.severity = sev, f.region = code, f.country = s.country, f.radio = static_cast<int>(rid);
          f.channel = static_cast<int>(c.chan), f.freq = c.freq, f.message = message;
          if (rule) f.rule = rule_text(*rule);
          out->add(f);
        };
        if (c.freq < 1000 || c.freq > 100000) {  // lint's file check reports it; no rule can hold it
          finding(Severity::kError, "is no Wi-Fi frequency", nullptr);
          continue;
        }
        const RuleMatch m = match_rules(*country, c.freq - 10, c.freq + 10);
        if (!m.ok)
          finding(Severity::kError, "the 20 MHz channel " + std::to_string(c.freq - 10) + "-" +
                                        std::to_string(c.freq + 10) + " MHz " + m.reason, m.nearest);
        const bool claims_dfs = c.extFlag & REGION_EXT_DFS;
        const RegRule *no_ir = m.no_ir, *no_ofdm = m.no_ofdm;
        for (const Block &b : claimed_blocks(c.freq, c.commonFlag)) {
          const RuleMatch w = match_rules(*country, b.lo, b.hi);
          const std::string block = std::string("its ") + b.name + " block " + std::to_string(b.lo) + "-" +
                                    std::to_string(b.hi) + " MHz (commonFlag " + hex(c.commonFlag) + ") ";
          if (!w.ok)
            finding(Severity::kError, block + w.reason, w.nearest);
          else if (w.dfs_rule && !m.dfs_rule && !claims_dfs)
            finding(Severity::kError, block + "reaches a DFS rule but extFlag " + hex(c.extFlag) + " lacks the DFS bit 0x2",
                    w.dfs_rule);
          if (w.no_ir && !no_ir)
            finding(Severity::kError, block + "reaches a NO-IR rule, where an access point may not start a network",
                    w.no_ir);
        }
        if (no_ir)
          finding(Severity::kError, "inside a NO-IR rule, where an access point may not start a network", no_ir);
        if (no_ofdm && (c.commonFlag & (REGION_FLAG_HT20 | REGION_FLAG_HT40_A | REGION_FLAG_HT40_B | REGION_FLAG_VHT80)))
          finding(Severity::kError, "commonFlag " + hex(c.commonFlag) + " claims HT/VHT (OFDM) inside a NO-OFDM rule",
                  no_ofdm);
        if (m.dfs_rule && !claims_dfs)
          finding(Severity::kError, "inside a DFS rule but extFlag " + hex(c.extFlag) + " lacks the DFS bit 0x2",
                  m.dfs_rule);
        if (!m.dfs_rule && m.limit && claims_dfs)
          finding(Severity::kWarning, "DFS bit 0x2 where no rule asks for radar detection: the channel waits for radar "
                                      "needlessly, or without 0x1000 is never used",
                  m.limit);
        const int64_t radiated = c.maxPower + gain;
        if (m.limit && radiated * 100 > m.limit->max_eirp_mbm) {
          std::string power = std::to_string(c.maxPower) + " dBm";
          if (!eirp)
            power += " conducted + " + std::to_string(antenna) + " dBi antenna + " + std::to_string(mimo) +
                     " dB MIMO = " + std::to_string(radiated) + " dBm EIRP";
          else
            power += " EIRP";
          char limit[24];
          std::snprintf(limit, sizeof limit, "%g dBm", m.limit->max_eirp_mbm / 100.0);
          finding(Severity::kError, "maximum power " + power + " exceeds the rule's " + limit, m.limit);
        }
      }
    }
    for (size_t i = first; i < out->list().size(); ++i)
      (out->list()[i].severity == Severity::kError ? s.errors : s.warnings)++;
    summaries.push_back(s);
  }
  return summaries;
}

}  // namespace aputil::info
