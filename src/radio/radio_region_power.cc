// Channel index, number and frequency conversions; power limits.
#include "common/messages.h"
#include "radio/radio_region_table.h"
#include "radio_config.h"

namespace aputil::radio {

radio_region_tbl_t *region_of(const char *func, int line, uint32_t rid) {
  if (rid >= MAX_RADIO_NUM) {
    print_error(func, line, "invalid rid:%d\n", rid);
    return nullptr;
  }
  return &g_region.radio[rid];
}

bool is_5g_radio(uint32_t rid) {
  const uint32_t band = radio_config_getBand(rid);
  return band == RADIO_BAND_5G || band == RADIO_BAND_5G_2;
}

}  // namespace aputil::radio

using aputil::print_error;
using aputil::radio::region_of;
using aputil::radio::usable;

namespace {

using uint128_t = unsigned __int128;  // one bit per channel index (at most 66)
static_assert(RADIO_REGION_MAX_CHAN < 128);

// The record of chanIndex 1..chanNum; nullptr (with the chanIndex message
// for an index past chanNum) otherwise.
const radio_chan_rec_t *record(const char *func, int line, const radio_region_tbl_t &t, uint32_t chanIndex) {
  if (chanIndex == 0) return nullptr;
  if (chanIndex > t.chanNum) {
    print_error(func, line, "invalid chanIndex:%d\n", chanIndex);
    return nullptr;
  }
  return &t.chanRec[chanIndex - 1];
}

// 1-based index of the first record whose field equals value, or 0.
uint32_t index_of(const radio_region_tbl_t &t, uint32_t value, bool by_freq) {
  for (uint32_t k = 0; k < t.chanNum; ++k) {
    const radio_chan_rec_t &r = t.chanRec[k];
    if ((by_freq ? static_cast<uint32_t>(r.freq) : r.chan) == value) return k + 1;
  }
  return 0;
}

// The 1-based indexes that the exclusion list names, as a bit set: each
// listed frequency is looked up once, whatever the count (0 to 65535).
uint128_t excluded_indexes(uint32_t rid, const uint16_t *exclude) {
  uint128_t set = 0;
  if (!exclude) return set;
  for (uint32_t i = 1; i <= exclude[0]; ++i) {
    const uint32_t index = radio_region_Freq2Index(rid, exclude[i]);
    if (index) set |= uint128_t{1} << index;
  }
  return set;
}

}  // namespace

extern "C" {

APUTIL_API uint32_t radio_region_chanIndex2Freq(uint32_t rid, uint32_t chanIndex) {
  const radio_region_tbl_t *t = region_of("radio_region_chanIndex2Freq", 831, rid);
  const radio_chan_rec_t *r = t ? record("radio_region_chanIndex2Freq", 837, *t, chanIndex) : nullptr;
  return r ? static_cast<uint32_t>(r->freq) : 0;
}

APUTIL_API uint32_t radio_region_chanIndex2Num(uint32_t rid, uint32_t chanIndex) {
  const radio_region_tbl_t *t = region_of("radio_region_chanIndex2Num", 896, rid);
  const radio_chan_rec_t *r = t ? record("radio_region_chanIndex2Num", 907, *t, chanIndex) : nullptr;
  return r ? r->chan : 0;
}

APUTIL_API uint32_t radio_region_chanNum2Index(uint32_t rid, uint32_t chanNum) {
  const radio_region_tbl_t *t = region_of("radio_region_chanNum2Index", 856, rid);
  return t ? index_of(*t, chanNum, false) : 0;
}

APUTIL_API uint32_t radio_region_Freq2Index(uint32_t rid, uint32_t freq) {
  const radio_region_tbl_t *t = region_of("radio_region_Freq2Index", 878, rid);
  return t ? index_of(*t, freq, true) : 0;
}

APUTIL_API uint32_t radio_region_getMaxPowerByRadio(uint32_t rid) {
  const radio_region_tbl_t *t = region_of("radio_region_getMaxPowerByRadio", 922, rid);
  uint32_t best = 0;
  for (uint32_t k = 0; t && k < t->chanNum; ++k) {
    const radio_chan_rec_t &r = t->chanRec[k];
    if (usable(r) && static_cast<uint32_t>(r.maxPower) > best) best = static_cast<uint32_t>(r.maxPower);
  }
  return best;
}

APUTIL_API uint32_t radio_region_getMaxPowerByChan(uint32_t rid, uint32_t chanIndex, const uint16_t *exclude) {
  const radio_region_tbl_t *t = region_of("radio_region_getMaxPowerByChan", 960, rid);
  if (!t) return 0;
  if (chanIndex != 0) {
    const radio_chan_rec_t *r = record("radio_region_getMaxPowerByChan", 967, *t, chanIndex);
    return r ? static_cast<uint32_t>(r->maxPower) : 0;
  }
  uint128_t skip = 0;
  bool listed = false;  // the list is read only once a usable channel needs it
  uint32_t best = 0;
  for (uint32_t k = 0; k < t->chanNum; ++k) {
    const radio_chan_rec_t &r = t->chanRec[k];
    if (!usable(r)) continue;
    if (!listed) {
      skip = excluded_indexes(rid, exclude);
      listed = true;
    }
    if (!(skip >> (k + 1) & 1) && static_cast<uint32_t>(r.maxPower) > best)
      best = static_cast<uint32_t>(r.maxPower);
  }
  return best;
}

APUTIL_API uint32_t radio_region_getPowerRange(uint32_t rid, uint32_t *minPower, uint32_t *maxPower) {
  if (!minPower || !maxPower || rid >= MAX_RADIO_NUM) return RADIO_REGION_ERR;
  const uint32_t maximum = radio_region_getMaxPowerByRadio(rid);
  uint32_t minimum;
  switch (aputil::radio::g_region.radio[rid].regionCode) {
    case 36:
    case 818:
    case 276:
    case 392:
      if (radio_config_getEIRP() != 0) {
        minimum = radio_config_getAnttGain(rid) + radio_config_getMimoGain(rid) + 1;
        break;
      }
      [[fallthrough]];
    default:
      minimum = radio_config_getMimoGain(rid) + 1;
  }
  *minPower = minimum;
  *maxPower = maximum;
  return 0;
}

}  // extern "C"
