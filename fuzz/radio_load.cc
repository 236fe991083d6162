// radio_config.json: load, then every accessor.
#include "fuzz_root.h"
#include "radio/radio_config_table.h"
#include "radio_config.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz::Quiet quiet;
  static bool once = (fuzz::model(), true);
  (void)once;
  fuzz::write("/etc/AP100_X_2.0/radio_config.json", data, size);
  aputil::radio::reset_for_tests();
  uint8_t b;
  uint32_t v[3];
  for (uint32_t rid = 0; rid < 3; ++rid) {
    radio_config_getMaxMode(rid);
    radio_config_getMaxChanWidth(rid);
    radio_config_getMaxAutoChanWidth(rid, 6);
    radio_config_getIfname(rid);
    radio_config_smartAntennaSupp(rid);
  }
  radio_config_getRidWithBand(52);
  radio_config_thermalLevelCfg(static_cast<uint8_t>(size), &b, &b, &b);
  radio_config_bbPSDRegVal(3, v);
  radio_config_getMeshStaIfname();
  radio_capacity_t caps[2];
  radio_config_get_capacity(caps);
  return 0;
}
