// The two radio-configuration answers that also consult the region.
#include "common/messages.h"
#include "radio/radio_config_table.h"
#include "radio_region.h"

using aputil::print_error;
using aputil::radio::l_radioCfgTbl;

extern "C" {

APUTIL_API uint32_t radio_config_getMaxAutoChanWidth(uint32_t radioId, uint32_t width) {
  const char kFunc[] = "radio_config_getMaxAutoChanWidth";
  if (radioId >= MAX_RADIO_NUM ||
      (width != RADIO_CHAN_WIDTH_40 && width != RADIO_CHAN_WIDTH_80 && width != RADIO_CHAN_WIDTH_160)) {
    print_error(kFunc, 2024, "parm error\n");
    return RADIO_CONFIG_ERR;
  }
  radio_region_isVHT80Supp(radioId);  // asked, not used
  const bool vht160 = radio_region_isVHT160Supp(radioId) != 0;
  switch (radio_config_getBand(radioId)) {
    case RADIO_BAND_2G: return RADIO_CHAN_WIDTH_AUTO_2G;
    case RADIO_BAND_5G:
    case RADIO_BAND_5G_2: return vht160 ? RADIO_CHAN_WIDTH_AUTO_5G_160 : RADIO_CHAN_WIDTH_AUTO_5G;
    default: print_error(kFunc, 2053, "Don't get correct chanwidth!\n"); return 0;
  }
}

APUTIL_API uint32_t radio_config_get_capacity(radio_capacity_t *caps) {
  if (aputil::radio::l_radio_config_init() == -1) {
    print_error("radio_config_get_capacity", 1421, "init error\n");
    return RADIO_CONFIG_ERR;
  }
  if (!caps) return RADIO_CONFIG_ERR;
  for (uint32_t r = 0; r < MAX_RADIO_NUM; ++r) {
    radio_capacity_t &c = caps[r];
    c.radioId = r;
    radio_region_getPowerRange(r, &c.minPower, &c.maxPower);
    c.mimo = l_radioCfgTbl.radio[r].mimo;
    c.ofdmaCfgSupp = l_radioCfgTbl.ofdmaCfgSupp;
    c.ofdmaEnable = l_radioCfgTbl.ofdmaEnable;
    c.maxVapNum = radio_config_getMaxVapNum(r);
  }
  return 0;
}

}  // extern "C"
