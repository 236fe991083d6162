// Accessors of the radio configuration table, and its dump.
#include <cstdio>
#include <cstring>
#include <initializer_list>

#include "common/messages.h"
#include "radio/radio_config_table.h"

using aputil::print_error;
using aputil::radio::l_radio_config_init;
using aputil::radio::l_radioCfgTbl;
using aputil::radio::RadioCfg;

namespace {

// The radio's record, or nullptr after the per-radio message.
const RadioCfg *radio(const char *func, int line, uint32_t rid) {
  if (l_radio_config_init() == -1 || rid >= MAX_RADIO_NUM) {
    print_error(func, line, "init error or invalid radioID:%d\n", rid);
    return nullptr;
  }
  return &l_radioCfgTbl.radio[rid];
}

// True when loaded; else prints the table-wide message.
bool loaded(const char *func, int line) {
  if (l_radio_config_init() != -1) return true;
  print_error(func, line, "init error\n");
  return false;
}

bool is_5g(uint32_t band) { return band == RADIO_BAND_5G || band == RADIO_BAND_5G_2; }

// Maps a maximum mode capability through the table {1, 2, 4, 8, 16 on 5 GHz,
// 16 elsewhere}; RADIO_CONFIG_ERR with the "invalid mode" message otherwise.
uint32_t map_capability(const char *func, int id_line, int mode_line, uint32_t rid, const uint32_t (&to)[6]) {
  if (rid >= MAX_RADIO_NUM) {
    print_error(func, id_line, "invalid radioID:%d\n", rid);
    return RADIO_CONFIG_ERR;
  }
  const uint32_t cap = radio_config_getMaxModeCap(rid);
  switch (cap) {
    case 1: return to[0];
    case 2: return to[1];
    case 4: return to[2];
    case 8: return to[3];
    case 16: return is_5g(radio_config_getBand(rid)) ? to[4] : to[5];
    default: print_error(func, mode_line, "invalid mode:%#x\n", cap); return RADIO_CONFIG_ERR;
  }
}

uint32_t reg_values(const char *func, int load_line, int count_line, uint8_t n, uint8_t most, const uint32_t *from,
                    uint32_t *out) {
  if (!loaded(func, load_line)) return RADIO_CONFIG_ERR;
  if (n > most) {
    print_error(func, count_line, "regnum(%d) too many\n", n);
    return RADIO_CONFIG_ERR;
  }
  if (n > 0 && !out) return RADIO_CONFIG_ERR;
  for (uint8_t i = 0; i < n; ++i) out[i] = from[i];
  return 0;
}

}  // namespace

#define PER_RADIO(name, field, line)                            \
  APUTIL_API uint32_t name(uint32_t radioId) {                  \
    const RadioCfg *r = radio(#name, line, radioId);            \
    return r ? r->field : 0;                                    \
  }

#define TABLE_WIDE(name, field, line) \
  APUTIL_API uint32_t name(void) { return loaded(#name, line) ? l_radioCfgTbl.field : 0; }

#define TABLE_QUIET(name, expr) \
  APUTIL_API uint32_t name(void) { return l_radio_config_init() == -1 ? 0 : (expr); }

extern "C" {

PER_RADIO(radio_config_getBand, band, 1455)
PER_RADIO(radio_config_getMimo, mimo, 1466)
PER_RADIO(radio_config_getMimoGain, mimogain, 1477)
PER_RADIO(radio_config_getAnttGain, anttgain, 1488)
PER_RADIO(radio_config_getModeCap, modeCap, 1740)
PER_RADIO(radio_config_getIfindex, ifindex, 1542)
PER_RADIO(radio_config_getBlockAcsBand, blockAcsBand, 1553)
PER_RADIO(radio_config_getBlockSpruceBand4, blockSpruceBand4, 1564)
PER_RADIO(radio_config_getMaxVapNum, maxVapNum, 1597)

APUTIL_API char *radio_config_getIfname(uint32_t radioId) {
  const RadioCfg *r = radio("radio_config_getIfname", 1575, radioId);
  return r ? l_radioCfgTbl.radio[radioId].ifname : nullptr;
}

APUTIL_API char *radio_config_getVapPrefix(uint32_t radioId) {
  const RadioCfg *r = radio("radio_config_getVapPrefix", 1586, radioId);
  return r ? l_radioCfgTbl.radio[radioId].vapPrefix : nullptr;
}

APUTIL_API uint32_t radio_config_getMaxModeCap(uint32_t radioId) {
  const RadioCfg *r = radio("radio_config_getMaxModeCap", 1501, radioId);
  if (!r) return 0;
  for (uint32_t bit : {16u, 8u, 4u, 2u, 1u})
    if (r->mode & bit) return bit;
  print_error("radio_config_getMaxModeCap", 1533, "invalid mode:%#x\n", r->mode);
  return 0;
}

APUTIL_API uint32_t radio_config_smartAntennaSupp(uint32_t radioId) {
  if (!loaded("radio_config_smartAntennaSupp", 2007)) return 0;
  const RadioCfg *r = radio("radio_config_smartAntennaSupp", 2007, radioId);
  return r ? r->smartAnt : 0;
}

APUTIL_API uint32_t radio_config_getMaxMode(uint32_t radioId) {
  static const uint32_t kModes[6] = {0, 3, 4, 10, 16, 13};
  return map_capability("radio_config_getMaxMode", 1661, 1691, radioId, kModes);
}

APUTIL_API uint32_t radio_config_getMaxChanWidth(uint32_t radioId) {
  static const uint32_t kWidths[6] = {2, 2, 4, 6, 8, 4};
  return map_capability("radio_config_getMaxChanWidth", 1702, 1731, radioId, kWidths);
}

APUTIL_API uint32_t radio_config_getRidWithBand(uint32_t band) {
  if (band != RADIO_BAND_2G && !is_5g(band)) return RADIO_CONFIG_ERR;
  for (uint32_t rid = 0; rid < MAX_RADIO_NUM; ++rid)
    if (radio_config_getBand(rid) == band) return rid;
  return RADIO_CONFIG_ERR;
}

TABLE_QUIET(radio_config_getEIRP, l_radioCfgTbl.EIRP)
TABLE_QUIET(radio_config_getRadioType, l_radioCfgTbl.radioType)
TABLE_QUIET(radio_config_supp2G, l_radioCfgTbl.radioType & 15)
TABLE_QUIET(radio_config_supp5G, l_radioCfgTbl.radioType >> 4)

APUTIL_API int32_t radio_config_getMaxStaPerRadio(void) {
  return l_radio_config_init() == -1 ? 0 : l_radioCfgTbl.maxStaPerRadio;
}

TABLE_WIDE(radio_config_chanLimitSupp, chanLimitSupp, 1771)
TABLE_WIDE(radio_config_ofdmaCfgSupp, ofdmaCfgSupp, 1783)
TABLE_WIDE(radio_config_fragThreshSupp, fragThreshSupp, 1795)
TABLE_WIDE(radio_config_dfsImproveSupp, dfsImproveSupp, 1828)
TABLE_WIDE(radio_config_n1024QAMSupp, n1024QAMSupp, 1839)
TABLE_WIDE(radio_config_thermalCtlSupp, thermalSupp, 1850)
TABLE_WIDE(radio_config_bbCCASupp, bbCCASupp, 1882)
TABLE_WIDE(radio_config_bbAGCSupp, bbAGCSupp, 1917)
TABLE_WIDE(radio_config_bbPSDSupp, bbPSDSupp, 1952)
TABLE_WIDE(radio_config_needOverWriteCtl, ovWriteCtl, 2073)
TABLE_WIDE(radio_config_dfsSupp, dfsCfgSupp, 2084)

APUTIL_API uint32_t radio_config_getSpecRegionCode(void) {
  return loaded("radio_config_getSpecRegionCode", 2061) ? l_radioCfgTbl.specRegionCode
                                                         : RADIO_CONFIG_DEFAULT_REGION_CODE;
}

APUTIL_API char *radio_config_getMeshBkhapIfname(void) {
  if (l_radio_config_init() != -1) return l_radioCfgTbl.meshBkhapIfname;
  print_error("radio_config_getMeshBkhapIfname", 1347, "init error or invalid\n");
  return nullptr;
}

APUTIL_API char *radio_config_getMeshStaIfname(void) {
  if (l_radio_config_init() != -1) return l_radioCfgTbl.meshStaIfname;
  print_error("radio_config_getMeshStaIfname", 1358, "init error or invalid\n");
  return nullptr;
}

APUTIL_API uint32_t radio_config_thermalLevelCfg(uint8_t level, uint8_t *low, uint8_t *high, uint8_t *dcoff) {
  if (!loaded("radio_config_thermalLevelCfg", 1861)) return RADIO_CONFIG_ERR;
  if (level >= THERMAL_CTL_LEVEL_NUM || !low || !high || !dcoff) {
    print_error("radio_config_thermalLevelCfg", 1867, "invalid param, level:%d, %p, %p, %p\n", level,
                static_cast<void *>(low), static_cast<void *>(high), static_cast<void *>(dcoff));
    return RADIO_CONFIG_ERR;
  }
  *low = l_radioCfgTbl.thermalLevel[level].low;
  *high = l_radioCfgTbl.thermalLevel[level].high;
  *dcoff = l_radioCfgTbl.thermalLevel[level].dcoff;
  return 0;
}

APUTIL_API uint32_t radio_config_bbCCARegVal(uint8_t n, uint32_t *out) {
  return reg_values("radio_config_bbCCARegVal", 1895, 1901, n, 1, l_radioCfgTbl.bbCCARegVal, out);
}

APUTIL_API uint32_t radio_config_bbAGCRegVal(uint8_t n, uint32_t *out) {
  return reg_values("radio_config_bbAGCRegVal", 1930, 1936, n, 2, l_radioCfgTbl.bbAGCRegVal, out);
}

APUTIL_API uint32_t radio_config_bbPSDRegVal(uint8_t n, uint32_t *out) {
  return reg_values("radio_config_bbPSDRegVal", 1965, 1971, n, 3, l_radioCfgTbl.bbPSDRegVal, out);
}

APUTIL_API void debug_show_radio_cfg(void) {
  const auto &t = l_radioCfgTbl;
  std::printf("%s\n", "\n==============radio config============");
  std::printf("radioType: %#x\n", t.radioType);
  std::printf("EIRP: %d\n", t.EIRP);
  for (int i = 0; i < MAX_RADIO_NUM; ++i) {
    const RadioCfg &r = t.radio[i];
    std::printf("%d.\tradioID:%d\n", i, r.radioID);
    std::printf("\tband:%d\n", r.band);
    std::printf("\tmimo:%d\n", r.mimo);
    std::printf("\tmimogain:%d\n", r.mimogain);
    std::printf("\tanttgain:%d\n", r.anttgain);
    std::printf("\tmode:%d\n", r.mode);
    std::printf("\tblockAcsBand:%d\n", r.blockAcsBand);
    std::printf("\tblockSpruceBand4:%d\n", r.blockSpruceBand4);
  }
  std::printf("chanlimit:%d\n", t.chanLimitSupp);
  std::printf("dfsImproveSupp:%d\n", t.dfsImproveSupp);
  std::printf("n1024QAMSupp:%d\n", t.n1024QAMSupp);
  std::printf("thermalSupp:%d\n", t.thermalSupp);
  for (int k = 0; k < THERMAL_CTL_LEVEL_NUM; ++k)
    std::printf("\tlevel[%d] %d %d %d\n", k, t.thermalLevel[k].low, t.thermalLevel[k].high, t.thermalLevel[k].dcoff);
  std::printf("%s\n", "QCA HAL BB reg: ");
  std::printf("\tCCA: %d\n", t.bbCCASupp);
  std::printf("\t %#08x \n", t.bbCCARegVal[0]);
  std::printf("\tAGC: %d\n", t.bbAGCSupp);
  for (uint32_t v : t.bbAGCRegVal) std::printf("\t %#08x \n", v);
  std::printf("\tPSD %d\n", t.bbPSDSupp);
  for (uint32_t v : t.bbPSDRegVal) std::printf("\t %#08x \n", v);
  std::printf("ofdmaCfgSupp:%d\n", t.ofdmaCfgSupp);
  std::printf("noAutoWradarSupp:%d\n", t.noAutoWradarSupp);
  std::printf("zeroWaitDfsSupp:%d\n", t.zeroWaitDfsSupp);
  std::printf("%s\n", "\n==============radio config============");
}

}  // extern "C"
