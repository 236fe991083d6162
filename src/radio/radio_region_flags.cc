// Channel flags: HT40/VHT80, DFS and weather radar, width validity,
// channel and block lists, the dump.
#include <cstdio>
#include <cstring>

#include "common/messages.h"
#include "radio/radio_config_table.h"
#include "radio/radio_region_table.h"

using aputil::print_error;
using aputil::radio::active_dfs;
using aputil::radio::g_region;
using aputil::radio::is_5g_radio;
using aputil::radio::l_radioCfgTbl;
using aputil::radio::region_of;
using aputil::radio::usable;

namespace {

// True when some channel of the radio satisfies pred.
template <typename Pred>
bool any_channel(const radio_region_tbl_t &t, Pred pred) {
  for (uint32_t k = 0; k < t.chanNum; ++k)
    if (pred(t.chanRec[k])) return true;
  return false;
}

// True when some channel of a 5 GHz radio satisfies pred.
template <typename Pred>
bool any_5g_channel(Pred pred) {
  for (uint32_t rid = 0; rid < MAX_RADIO_NUM; ++rid)
    if (is_5g_radio(rid) && any_channel(g_region.radio[rid], pred)) return true;
  return false;
}

bool ht40(const radio_chan_rec_t &r) { return (r.commonFlag & (REGION_FLAG_HT40_A | REGION_FLAG_HT40_B)) != 0; }
bool vht80(const radio_chan_rec_t &r) {
  return (r.commonFlag & (REGION_FLAG_VHT80 | REGION_FLAG_5G)) == (REGION_FLAG_VHT80 | REGION_FLAG_5G);
}

}  // namespace

extern "C" {

APUTIL_API uint32_t radio_region_checkChannel(uint32_t rid, uint32_t chanIndex) {
  const radio_region_tbl_t *t = region_of("radio_region_checkChannel", 1052, rid);
  if (!t) return 0;
  if (chanIndex > t->chanNum) {
    print_error("radio_region_checkChannel", 1058, "invalid chanIndex:%d\n", chanIndex);
    return 0;
  }
  return chanIndex;
}

APUTIL_API uint32_t radio_region_getChanCommonFlag(uint32_t rid, uint32_t chanIndex) {
  const radio_region_tbl_t *t = region_of("radio_region_getChanCommonFlag", 1227, rid);
  if (!t) return 0;
  if (chanIndex == 0 || chanIndex > t->chanNum) {
    print_error("radio_region_getChanCommonFlag", 1235, "invalid chanIndex:%d, current channelNum = %d\n", chanIndex,
                t->chanNum);
    return 0;
  }
  return t->chanRec[chanIndex - 1].commonFlag;
}

APUTIL_API uint32_t radio_region_getRegionFlags(uint32_t rid, radio_region_tbl_t *out) {
  if (!out) return RADIO_REGION_ERR;
  const radio_region_tbl_t *t = region_of("radio_region_getRegionFlags", 1251, rid);
  if (!t) return RADIO_REGION_ERR;
  std::memcpy(out, t, sizeof *out);
  return 0;
}

APUTIL_API uint32_t radio_region_isHT40Supp(uint32_t rid) {
  const radio_region_tbl_t *t = region_of("radio_region_isHT40Supp", 1267, rid);
  return t && any_channel(*t, ht40);
}

APUTIL_API uint32_t radio_region_isVHT80Supp(uint32_t rid) {
  const radio_region_tbl_t *t = region_of("radio_region_isVHT80Supp", 1291, rid);
  return t && any_channel(*t, vht80);
}

APUTIL_API uint32_t radio_region_isVHT160Supp(uint32_t) { return 0; }

APUTIL_API uint32_t radio_region_is5GSupp(void) {
  return any_5g_channel([](const radio_chan_rec_t &r) { return (r.commonFlag & REGION_FLAG_5G) != 0; });
}

APUTIL_API uint32_t radio_region_isDfsSupp(void) {
  if (l_radioCfgTbl.dfsCfgSupp == 0) return 0;  // read as it stands, never loaded here
  return any_5g_channel(active_dfs);
}

APUTIL_API uint32_t radio_region_isWradarSupp(void) {
  return any_5g_channel([](const radio_chan_rec_t &r) { return active_dfs(r) && (r.extFlag & REGION_EXT_WRADAR); });
}

APUTIL_API uint8_t radio_region_getDFSCap(void) {
  if (l_radioCfgTbl.dfsCfgSupp == 0) return 0;
  uint32_t cap = 0;
  any_5g_channel([&cap](const radio_chan_rec_t &r) {
    if (active_dfs(r)) {
      if (r.extFlag & REGION_EXT_DFS_CLASS1) cap |= 1;
      if (r.extFlag & REGION_EXT_DFS_CLASS2) cap |= 2;
      if (r.extFlag & REGION_EXT_WRADAR) cap |= 4;
    }
    return false;  // visit every channel
  });
  return static_cast<uint8_t>(cap);
}

APUTIL_API uint32_t radio_region_checkChannelValid(int width, const radio_chan_rec_t *rec) {
  if (!rec) return 0;
  const uint32_t dfs = radio_region_isDfsSupp();
  const uint32_t radar = radio_region_isWradarSupp();
  switch (width) {
    case RADIO_CHAN_WIDTH_20:
      if (!(rec->commonFlag & REGION_FLAG_HT20)) return 0;
      break;
    case RADIO_CHAN_WIDTH_AUTO_2G:
    case RADIO_CHAN_WIDTH_40:
      if (!ht40(*rec)) return 0;
      break;
    case RADIO_CHAN_WIDTH_AUTO_5G:
    case RADIO_CHAN_WIDTH_80:
      if (!vht80(*rec)) return 0;
      break;
    default:
      break;
  }
  if ((rec->extFlag & REGION_EXT_DFS) && !dfs) return 0;
  if ((rec->extFlag & REGION_EXT_WRADAR) && !radar) return 0;
  return 1;
}

APUTIL_API uint32_t radio_region_checkIsSuppNonDfsChan(uint32_t rid, uint32_t count, const uint32_t *freqs,
                                                       int width) {
  const char kFunc[] = "radio_region_checkIsSuppNonDfsChan";
  if (!freqs || !is_5g_radio(rid) || !radio_region_isDfsSupp()) {
    print_error(kFunc, 2152, "invalid parameters\n");
    return 0;
  }
  if (count < 1 || count > RADIO_REGION_MAX_CHAN) {
    print_error(kFunc, 2159, "invalid suppFrepCnt: %d\n", count);
    return 1;  // a bad count answers yes, as the device does
  }
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t index = radio_region_Freq2Index(rid, freqs[i]);
    if (index == 0) continue;
    const radio_chan_rec_t &r = g_region.radio[rid].chanRec[index - 1];
    if (r.extFlag & REGION_EXT_DFS) continue;
    if (radio_region_checkChannelValid(width, &r) == 1) return 1;
  }
  return 0;
}

APUTIL_API uint32_t radio_region_getChanList(uint32_t rid, radio_chan_list_t *list) {
  if (!list) {
    print_error("radio_region_getChanList", 1373, "pChanlist is NULL\n");
    return RADIO_REGION_ERR;
  }
  const radio_region_tbl_t *t = region_of("radio_region_getChanList", 1379, rid);
  if (!t) return RADIO_REGION_ERR;
  const uint8_t kind = list->kind;
  list->count = 0;
  std::memset(list->entries, 0, sizeof list->entries);
  for (uint32_t i = 0; i < t->chanNum; ++i) {
    const radio_chan_rec_t &r = t->chanRec[i];
    if (usable(r)) list->entries[i] = static_cast<uint16_t>(kind == 1 ? static_cast<uint32_t>(r.freq) : r.chan);
  }
  list->count = t->chanNum;
  return 0;
}

APUTIL_API uint32_t radio_region_getBlockFreqList(uint32_t rid, uint32_t n, const uint32_t *supp,
                                                 radio_block_list_t *out) {
  const char kFunc[] = "radio_region_getBlockFreqList";
  if (rid >= MAX_RADIO_NUM || !supp || !out) {
    print_error(kFunc, 2191, "invalid parameters\n");
    return RADIO_REGION_ERR;
  }
  const radio_region_tbl_t &t = g_region.radio[rid];
  if (n == 0 || n > t.chanNum) {
    print_error(kFunc, 2198, "invalid suppFrepCnt: %d maxChanCnt: %d\n", n, t.chanNum);
    return RADIO_REGION_ERR;
  }
  radio_block_list_t block;
  std::memset(&block, 0, sizeof block);
  for (uint32_t k = 0; k < t.chanNum; ++k) {
    const uint32_t freq = static_cast<uint32_t>(t.chanRec[k].freq);
    bool supported = false;
    for (uint32_t i = 0; i < n && !supported; ++i) supported = supp[i] == freq;
    if (!supported) block.freq[block.count++] = static_cast<uint16_t>(freq);
  }
  std::memcpy(out, &block, sizeof block);
  return 0;
}

APUTIL_API uint32_t radio_region_isDfsUSSupp(void) { return l_radioCfgTbl.dfsUSSupp; }

APUTIL_API uint32_t radio_region_noAutoWradarSupp(void) {
  if (aputil::radio::l_radio_config_init() != -1) return l_radioCfgTbl.noAutoWradarSupp;
  print_error("radio_region_noAutoWradarSupp", 1806, "init error\n");
  return 0;
}

APUTIL_API uint32_t radio_region_zeroWaitDfsSupp(void) {
  if (aputil::radio::l_radio_config_init() != -1) return l_radioCfgTbl.zeroWaitDfsSupp;
  print_error("radio_region_zeroWaitDfsSupp", 1817, "init error\n");
  return 0;
}

APUTIL_API void debug_regionShowFlag(void) {
  std::printf("%s\n", "============================");
  for (const radio_region_tbl_t &t : g_region.radio) {
    std::printf("region:%d, channelNum:%d\n", t.regionCode, t.chanNum);
    for (uint32_t k = 0; k < t.chanNum; ++k)
      std::printf("chanIndex:%d flag:%x freq:%dM, chan:%d\n", k + 1, t.chanRec[k].commonFlag, t.chanRec[k].freq,
                  t.chanRec[k].chan);
  }
}

}  // extern "C"
