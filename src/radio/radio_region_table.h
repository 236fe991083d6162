// The region table and the helpers its queries share.
#pragma once

#include <cstdint>

#include "radio_region.h"

namespace aputil::radio {

struct RegionTbl {
  uint32_t initialised;
  radio_region_tbl_t radio[2];
};

extern RegionTbl g_region;

// A channel is usable unless it is a DFS channel not enabled in the region.
inline bool usable(const radio_chan_rec_t &r) { return (r.extFlag & 0x1002) != 0x2; }
// A DFS channel enabled in the region.
inline bool active_dfs(const radio_chan_rec_t &r) { return (r.extFlag & 0x1002) == 0x1002; }

// The radio's table, or nullptr after "invalid rid:%d" under func/line.
radio_region_tbl_t *region_of(const char *func, int line, uint32_t rid);

// True when the radio's band is 5 or 52.
bool is_5g_radio(uint32_t rid);

// IEEE channel number of a frequency in MHz.
uint32_t chan_from_freq(uint32_t f);

// Forget the tables (tests only).
void reset_region_for_tests();

}  // namespace aputil::radio
