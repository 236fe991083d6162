// A firmware tree as lint reads it: the product identity, the model's files
// by device path, and the REG_DOMAIN files scanned token by token with line
// numbers (the library's loader keeps no line numbers).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "aputil-info/findings.h"

namespace aputil::info {

// The product identity from NVRAM, worked out as the device-config loader
// does, so that lint can name the model directory even when the loader
// fails later.
struct Identity {
  bool read = false;  // the NVRAM partition "product-info" gave bytes
  std::string line;   // its first line
  int fields = 0;     // how many of NAME(QUALIFIER):VERSION the line gave
  std::string name, qualifier, version, region;  // version with the region suffix
  std::string model_dir;                         // "/etc/NAME_VERSION/"
};

// Reads the identity of the tree at root ("" for /).
Identity read_identity(const std::string &root);

// Reads a file of the tree at root by its device path. Returns: true with
// the whole content, or false with *error set to strerror's text.
bool read_tree_file(const std::string &root, const std::string &device_path, std::string *content,
                    std::string *error);

// One channel line of a REG_DOMAIN file.
struct ChanLine {
  int line = 0;
  std::string token;
  int freq = 0;
  uint32_t commonFlag = 0, extFlag = 0;
  int maxPower = 0;
};

// One region block: its header and the channel lines the loader reads.
struct RegionBlock {
  int code = 0;
  int line = 0;            // line of the header
  std::string header;      // the header token
  bool empty_marker = false;
  bool complete = true;    // false when a token the loader refuses ends it
  std::vector<ChanLine> chans;
};

struct RegDomainFile {
  std::string device_path;  // "/etc/MODEL/ath/REG_DOMAIN5"
  std::string name;         // "REG_DOMAIN5"
  bool five_ghz = false;
  bool readable = false;
  std::vector<RegionBlock> blocks;  // in file order; only the first of a repeated code is kept
  const RegionBlock *find(int code) const;
};

// Scans a REG_DOMAIN file. With findings, adds one per token the loader
// refuses or ignores, per repeated region and per contradictory channel.
RegDomainFile scan_reg_domain(const std::string &root, const std::string &model_dir, bool five_ghz,
                              Findings *findings);

// Adds an error per region that one REG_DOMAIN file carries and the other
// lacks: radio 0 refuses such a region, radio 1 silently loads it with no
// channels (which radio reads which file follows the radio configuration).
void check_regions_across(const RegDomainFile &two, const RegDomainFile &five, Findings *findings);

}  // namespace aputil::info
