// Building the region tables from REG_DOMAIN2 / REG_DOMAIN5.
//
// Bounds the file format leaves open: a token longer than 49 characters and
// a block of more than 66 channel lines are both refused with the "invalid
// file format" error, before anything is written past the table.
#include <cctype>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "common/host_root.h"
#include "common/messages.h"
#include "devcfg.h"
#include "radio/radio_region_table.h"
#include "radio_config.h"

namespace aputil::radio {

RegionTbl g_region;

namespace {

const char kLoader[] = "_radio_region_init";

// Reads the next blank-separated token of at most 49 characters.
// Returns: 1 with a token, 0 at the end of the file, -1 for a longer token.
int read_token(FILE *f, char (&tok)[50]) {
  if (std::fscanf(f, "%49s", tok) != 1) return 0;
  const int next = std::getc(f);
  if (next == EOF) return 1;
  if (!std::isspace(next)) return -1;
  std::ungetc(next, f);
  return 1;
}

int invalid_format(FILE *f) {
  print_error(kLoader, 273, "invalid file format\n");
  std::fclose(f);
  return -1;
}

// Fills one radio's table from its file.
int load_radio(uint32_t rid, int regionCode) {
  char path[128] = "";
  const uint32_t band = radio_config_getBand(rid);
  if (band == RADIO_BAND_5G || band == RADIO_BAND_5G_2)
    devcfg_getRegDoamin5GPath(path, sizeof path);
  else
    devcfg_getRegDoamin2GPath(path, sizeof path);
  FILE *f = std::fopen(HostPath(path).c_str(), "r");
  if (!f) {
    print_error(kLoader, 202, "failed to open file %s\n", path);
    return -1;
  }

  char tok[50];
  bool found = false;
  while (!found && !std::feof(f)) {
    const int got = read_token(f, tok);
    if (got < 0) return invalid_format(f);
    if (got == 0) break;
    const char *colon = std::strchr(tok, ':');
    found = colon && std::atoi(colon + 1) == regionCode;
  }
  if (!found && rid == 0) {
    print_error(kLoader, 237, "failed to find match region:%d\n", regionCode);
    std::fclose(f);
    return -1;
  }
  // Radio 1 goes on with an empty block when its file lacks the region.

  radio_region_tbl_t &t = g_region.radio[rid];
  t.regionCode = static_cast<uint16_t>(regionCode);
  unsigned cursor = 0;
  while (found && !std::feof(f)) {
    std::memset(tok, 0, sizeof tok);
    const int got = read_token(f, tok);
    if (got == 0) {
      print_debug(kLoader, 251, "empty line\n");
      break;
    }
    if (got < 0) return invalid_format(f);
    if (std::strchr(tok, ':')) {
      print_debug(kLoader, 256, "read next region flag, parse finish\n");
      break;
    }
    if (std::strncmp(tok, "empty", 5) == 0) {
      print_debug(kLoader, 262, "empty country flags\n");
      break;
    }
    if (cursor >= RADIO_REGION_MAX_CHAN) return invalid_format(f);
    radio_chan_rec_t &rec = t.chanRec[cursor];
    if (std::sscanf(tok, "%d,%x,%x,%d", &rec.freq, &rec.commonFlag, &rec.extFlag, &rec.maxPower) < 4)
      return invalid_format(f);
    rec.chan = chan_from_freq(static_cast<uint32_t>(rec.freq));
    ++cursor;
  }
  t.chanNum = static_cast<uint16_t>(cursor);
  print_debug(kLoader, 285, "region:%d, parse channel num:%d\n", regionCode, t.chanNum);
  std::fclose(f);
  return 0;
}

int _radio_region_init(int regionCode) {
  if (g_region.initialised == 1) return 0;  // never set: every call reloads
  for (uint32_t rid = 0; rid < MAX_RADIO_NUM; ++rid)
    if (load_radio(rid, regionCode) != 0) return -1;
  return 0;
}

}  // namespace

uint32_t chan_from_freq(uint32_t f) {
  if (f == 2484) return 14;
  if (f < 2484) return (f - 2407) / 5;
  if (f < 4000) return (f - 2512) / 20 + 15;
  if (f < 5000) return (f - 4000) / 5;
  return (f - 5000) / 5;
}

void reset_region_for_tests() { std::memset(&g_region, 0, sizeof g_region); }

}  // namespace aputil::radio

extern "C" {

APUTIL_API int radio_region_init(int regionCode) { return aputil::radio::_radio_region_init(regionCode); }

APUTIL_API int radio_region_reinit(uint32_t regionCode) {
  aputil::radio::g_region.initialised = 0;
  return aputil::radio::_radio_region_init(static_cast<int>(regionCode));
}

}  // extern "C"
