// REG_DOMAIN2/5: load a region, then every query of the tables.
#include "fuzz_root.h"
#include "radio_region.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz::Quiet quiet;
  static bool once = (fuzz::model(), true);
  (void)once;
  if (size < 2) return 0;
  const int code = data[0] | data[1] << 8;
  fuzz::write("/etc/AP100_X_2.0/ath/REG_DOMAIN2", data + 2, size - 2);
  fuzz::write("/etc/AP100_X_2.0/ath/REG_DOMAIN5", data + 2, size - 2);
  radio_region_init(code);
  for (uint32_t rid = 0; rid < 2; ++rid) {
    radio_region_tbl_t t;
    radio_region_getRegionFlags(rid, &t);
    radio_chan_list_t list;
    list.kind = static_cast<uint8_t>(rid);
    radio_region_getChanList(rid, &list);
    uint32_t freqs[66];
    for (uint32_t k = 0; k < t.chanNum; ++k) freqs[k] = static_cast<uint32_t>(t.chanRec[k].freq);
    radio_block_list_t block;
    radio_region_getBlockFreqList(rid, t.chanNum ? t.chanNum - 1 : 0, freqs, &block);
    radio_region_checkIsSuppNonDfsChan(rid, t.chanNum, freqs, 6);
    uint32_t lo, hi;
    radio_region_getPowerRange(rid, &lo, &hi);
    const uint16_t exclude[3] = {2, 5180, 2412};
    radio_region_getMaxPowerByChan(rid, 0, exclude);
    for (uint32_t k = 0; k <= uint32_t{t.chanNum} + 1; ++k) {
      radio_region_chanIndex2Freq(rid, k);
      radio_region_getChanCommonFlag(rid, k);
      if (k && k <= t.chanNum) radio_region_checkChannelValid(static_cast<int>(k % 9), &t.chanRec[k - 1]);
    }
    radio_region_isHT40Supp(rid);
    radio_region_isVHT80Supp(rid);
  }
  radio_region_getDFSCap();
  radio_region_isWradarSupp();
  return 0;
}
