#include "aputil-info/tree.h"

#include <dlfcn.h>

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>

#include "radio_config.h"
#include "radio_region.h"

namespace aputil::info {

namespace {

// The NVRAM library's functions. It is the aputil library's own
// dependency (kept in the library's private folder on a host install), so
// the tool looks them up among the process's symbols instead of linking it
// a second time. Returns: nullptr when the process has no such function.
template <typename Fn>
Fn nvram_function(const char *name) {
  return reinterpret_cast<Fn>(dlsym(RTLD_DEFAULT, name));
}

// Runs f with the NVRAM emulation pointed at root, then puts it back.
template <typename F>
void with_nvram_root(const std::string &root, F f) {
  const char *old = std::getenv("APUTIL_SYSROOT");
  const std::string saved = old ? old : "";
  if (root.empty())
    unsetenv("APUTIL_SYSROOT");
  else
    setenv("APUTIL_SYSROOT", root.c_str(), 1);
  f();
  if (old)
    setenv("APUTIL_SYSROOT", saved.c_str(), 1);
  else
    unsetenv("APUTIL_SYSROOT");
}

// The channel number the loader computes, and that channel's centre.
uint32_t channel_of(uint32_t f) {
  if (f == 2484) return 14;
  if (f < 2484) return (f - 2407) / 5;
  if (f < 4000) return (f - 2512) / 20 + 15;
  if (f < 5000) return (f - 4000) / 5;
  return (f - 5000) / 5;
}

uint32_t centre_of(uint32_t f, uint32_t chan) {
  if (f <= 2484) return chan == 14 ? 2484 : 2407 + 5 * chan;
  if (f < 4000) return 2512 + 20 * (chan - 15);
  return (f < 5000 ? 4000 : 5000) + 5 * chan;
}

std::string hex(uint32_t v) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%x", v);
  return text;
}

// The flags a channel line claims that contradict each other or its band.
void check_channel(const RegDomainFile &file, const RegionBlock &block, const ChanLine &c, Findings *out) {
  auto bad = [&](const std::string &what) {
    out->error(file.device_path, "region " + std::to_string(block.code) + ", " + std::to_string(c.freq) + " MHz: " + what,
               c.line);
    out->tag_last(block.code, c.freq);
  };
  const uint32_t f = static_cast<uint32_t>(c.freq);
  const uint32_t cf = c.commonFlag, ef = c.extFlag;
  const uint32_t chan = channel_of(f);
  if (c.freq <= 0 || centre_of(f, chan) != f)
    bad("not a channel centre (the loader files it as channel " + std::to_string(static_cast<int32_t>(chan)) + ")");
  const bool in_band = file.five_ghz ? (c.freq >= 4900 && c.freq <= 5925) : (c.freq >= 2412 && c.freq <= 2484);
  if (!in_band)
    bad(std::string("outside the ") + (file.five_ghz ? "4.9-5.9 GHz" : "2.4 GHz") + " band that " + file.name +
        " holds");
  if (file.five_ghz && !(cf & REGION_FLAG_5G)) bad("commonFlag " + hex(cf) + " lacks the 5 GHz bit 0x100");
  if (!file.five_ghz && (cf & REGION_FLAG_5G)) bad("commonFlag " + hex(cf) + " has the 5 GHz bit 0x100 on a 2.4 GHz channel");
  if (!file.five_ghz && (cf & REGION_FLAG_VHT80)) bad("commonFlag " + hex(cf) + " claims VHT80 (0x800000) on a 2.4 GHz channel");
  const bool ht40 = cf & (REGION_FLAG_HT40_A | REGION_FLAG_HT40_B);
  if ((ht40 || (cf & REGION_FLAG_VHT80)) && !(cf & REGION_FLAG_HT20))
    bad("commonFlag " + hex(cf) + " claims a wider channel without HT20 (0x10000)");
  if ((cf & REGION_FLAG_VHT80) && !ht40) bad("commonFlag " + hex(cf) + " claims VHT80 without an HT40 bit");
  const uint32_t needs_dfs = REGION_EXT_DFS_ENABLED | REGION_EXT_DFS_CLASS1 | REGION_EXT_DFS_CLASS2 | REGION_EXT_WRADAR;
  if ((ef & needs_dfs) && !(ef & REGION_EXT_DFS))
    bad("extFlag " + hex(ef) + " has DFS-enabled, DFS-class or weather-radar bits without the DFS bit 0x2");
  if (!file.five_ghz && (ef & REGION_EXT_DFS)) bad("extFlag " + hex(ef) + " asks for radar detection on a 2.4 GHz channel");
}

// FREQ,COMMONFLAG,EXTFLAG,POWER with nothing else. Returns: 4 when the
// whole token is the four fields, otherwise the count the loader's scan
// gets (4 with trailing text means it scans only loosely).
int scan_channel(const std::string &token, ChanLine *c, bool *exact) {
  int used = 0;
  const int got = std::sscanf(token.c_str(), "%d,%x,%x,%d%n", &c->freq, &c->commonFlag, &c->extFlag, &c->maxPower, &used);
  *exact = false;
  if (got == 4 && static_cast<size_t>(used) == token.size()) {
    *exact = true;
    for (char ch : token)
      if (!(std::isxdigit(static_cast<unsigned char>(ch)) || ch == ',' || ch == '-')) *exact = false;
  }
  return got;
}

}  // namespace

Identity read_identity(const std::string &root) {
  Identity id;
  const auto init = nvram_function<int (*)()>("nm_api_init");
  const auto read = nvram_function<int (*)(const char *, char *, int)>("nm_api_readPtnFromNvram");
  const auto region_name = nvram_function<int (*)(char *, int)>("nm_api_getRegionName");
  if (!init || !read || !region_name) return id;
  with_nvram_root(root, [&] {
    init();
    char info[512] = {0};
    id.read = read("product-info", info, sizeof info) >= 1;
    if (!id.read) return;
    for (char &c : info)
      if (c == '\r' || c == '\n') c = '\0';
    id.line = std::string(info, strnlen(info, sizeof info));
    char name[32] = "", qualifier[32] = "", version[16] = "", region[3] = {0};
    id.fields = std::sscanf(info, "%31[^(](%31[^)]):%15s", name, qualifier, version);
    if (id.fields < 0) id.fields = 0;
    for (char *p = name; *p; ++p)
      if (*p == ' ') *p = '_';
    region_name(region, sizeof region);
    id.region = std::string(region, strnlen(region, 2));
    id.name = name, id.qualifier = qualifier, id.version = version;
    for (const char *code : {"CA", "JP", "EG", "HK", "RU", "AU", "KR"})
      if (region[0] == code[0] && region[1] == code[1] && id.version.size() + 4 <= sizeof version)
        id.version += std::string("_") + code;
    id.model_dir = "/etc/" + id.name + "_" + id.version + "/";
  });
  return id;
}

bool read_tree_file(const std::string &root, const std::string &device_path, std::string *content,
                    std::string *error) {
  FILE *f = std::fopen((root + device_path).c_str(), "rb");
  if (!f) {
    *error = std::strerror(errno);
    return false;
  }
  content->clear();
  char buf[4096];
  for (size_t got; (got = std::fread(buf, 1, sizeof buf, f)) > 0;) content->append(buf, got);
  const bool ok = !std::ferror(f);
  if (!ok) *error = std::strerror(errno ? errno : EIO);
  std::fclose(f);
  return ok;
}

const RegionBlock *RegDomainFile::find(int code) const {
  for (const RegionBlock &b : blocks)
    if (b.code == code) return &b;
  return nullptr;
}

RegDomainFile scan_reg_domain(const std::string &root, const std::string &model_dir, bool five_ghz,
                              Findings *findings) {
  RegDomainFile file;
  file.five_ghz = five_ghz;
  file.name = five_ghz ? "REG_DOMAIN5" : "REG_DOMAIN2";
  file.device_path = model_dir + "ath/" + file.name;
  std::string text, error;
  file.readable = read_tree_file(root, file.device_path, &text, &error);
  if (!file.readable) {
    if (findings) findings->error(file.device_path, "cannot be read: " + error);
    return file;
  }
  Findings ignore;
  Findings &out = findings ? *findings : ignore;
  enum { kBeforeFirst, kInBlock, kAfterEnd } state = kBeforeFirst;
  RegionBlock *block = nullptr;
  RegionBlock dropped;  // a repeated region's block: checked, not kept
  std::set<int> codes;
  int line = 1;
  for (size_t i = 0; i < text.size();) {
    if (std::isspace(static_cast<unsigned char>(text[i]))) {
      line += text[i++] == '\n';
      continue;
    }
    size_t end = i;
    while (end < text.size() && !std::isspace(static_cast<unsigned char>(text[end]))) ++end;
    const std::string token = text.substr(i, end - i);
    i = end;
    if (token.size() > 49) {
      out.error(file.device_path, "a token of " + std::to_string(token.size()) +
                                      " characters; the loader refuses tokens over 49 characters", line);
      if (block) block->complete = false;
      state = kAfterEnd;
      continue;
    }
    if (const size_t colon = token.find(':'); colon != std::string::npos) {
      const char *digits = token.c_str() + colon + 1;
      if (!std::isdigit(static_cast<unsigned char>(*digits)))
        out.error(file.device_path, "region header \"" + token + "\" has no number after ':' (it reads as region 0)", line);
      RegionBlock b;
      b.code = std::atoi(digits), b.line = line, b.header = token;
      if (!codes.insert(b.code).second) {
        out.warning(file.device_path, "region " + std::to_string(b.code) +
                                          " appears again; the loader reads only its first block (line " +
                                          std::to_string(file.find(b.code)->line) + ")", line);
        dropped = b;
        block = &dropped;
      } else {
        file.blocks.push_back(b);
        block = &file.blocks.back();
      }
      state = kInBlock;
      continue;
    }
    if (state != kInBlock) {
      out.warning(file.device_path, "\"" + token + "\" is outside every region block; the loader skips it", line);
      continue;
    }
    if (token.compare(0, 5, "empty") == 0) {
      if (!block->chans.empty()) {
        out.warning(file.device_path, "region " + std::to_string(block->code) + ": \"" + token +
                                          "\" ends a block that has channels", line);
        out.tag_last(block->code);
      }
      block->empty_marker = true;
      state = kAfterEnd;
      continue;
    }
    ChanLine c;
    c.line = line, c.token = token;
    bool exact = false;
    const int got = scan_channel(token, &c, &exact);
    if (got < 4) {
      out.error(file.device_path, "region " + std::to_string(block->code) + ": \"" + token +
                                      "\" does not scan as four fields FREQ,COMMONFLAG,EXTFLAG,POWER; the loader "
                                      "refuses the region", line);
      out.tag_last(block->code);
      block->complete = false;
      state = kAfterEnd;
      continue;
    }
    if (!exact)
      out.warning(file.device_path, "region " + std::to_string(block->code) + ": \"" + token +
                                        "\" is not plain FREQ,COMMONFLAG,EXTFLAG,POWER; the loader reads " +
                                        std::to_string(c.freq) + "," + hex(c.commonFlag).substr(2) + "," +
                                        hex(c.extFlag).substr(2) + "," + std::to_string(c.maxPower), line);
    if (!exact) out.tag_last(block->code, c.freq);
    if (block->chans.size() >= RADIO_REGION_MAX_CHAN) {
      out.error(file.device_path, "region " + std::to_string(block->code) + ": more than " +
                                      std::to_string(RADIO_REGION_MAX_CHAN) + " channels; the loader refuses the region",
                line);
      out.tag_last(block->code);
      block->complete = false;
      state = kAfterEnd;
      continue;
    }
    for (const ChanLine &seen : block->chans)
      if (seen.freq == c.freq)
        out.error(file.device_path, "region " + std::to_string(block->code) + ": " + std::to_string(c.freq) +
                                        " MHz listed again (first on line " + std::to_string(seen.line) +
                                        "); lookups find only the first", line);
    for (const ChanLine &seen : block->chans)
      if (seen.freq == c.freq) out.tag_last(block->code, c.freq);
    check_channel(file, *block, c, &out);
    block->chans.push_back(c);
  }
  return file;
}

void check_regions_across(const RegDomainFile &two, const RegDomainFile &five, Findings *findings) {
  if (!two.readable || !five.readable) return;
  // Radio 0 reads REG_DOMAIN5 when its band is 5 GHz; both read REG_DOMAIN2
  // when the radio configuration does not load.
  const uint32_t band0 = radio_config_getBand(0);
  const bool radio0_five = band0 == RADIO_BAND_5G || band0 == RADIO_BAND_5G_2;
  for (const auto &[a, b] : {std::pair{&two, &five}, std::pair{&five, &two}})
    for (const RegionBlock &block : a->blocks) {
      if (b->find(block.code)) continue;
      findings->error(b->device_path, "region " + std::to_string(block.code) + " (\"" + block.header + "\", line " +
                                          std::to_string(block.line) + " of " + a->name + ") is missing; " +
                                          (b->five_ghz == radio0_five ? "the loader refuses the region"
                                                                      : "radio 1 silently loads it with no channels"));
      findings->tag_last(block.code);
    }
}

}  // namespace aputil::info
