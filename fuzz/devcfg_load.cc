// dev_config.json and the NVRAM identity: load, then every accessor.
#include "devcfg.h"
#include "devcfg/devcfg_record.h"
#include "fuzz_root.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz::Quiet quiet;
  fuzz::model();
  // The first 64 bytes (at most) are the product-info partition.
  const size_t info = size > 0 ? (data[0] % 64) : 0;
  if (info <= size) {
    fuzz::write("/nvram/product-info", data, info);
    data += info;
    size -= info;
  }
  fuzz::write("/etc/AP100_X_2.0/dev_config.json", data, size);
  aputil::devcfg::reset_for_tests();
  char buf[64];
  devcfg_testFunc();
  for (uint32_t port = 0; port <= 5; ++port) {
    devcfg_downLinkPort_getAliasName(port, buf, sizeof buf);
    devcfg_downLinkPort_getLogicalIfName(port, buf, sizeof buf);
    devcfg_downLinkPort_getPhyId(port);
  }
  devcfg_upLinkPort_getLogicalIfName(buf, sizeof buf);
  devcfg_getAppCfgPath(buf, sizeof buf);
  devcfg_getRadioCfgPath(buf, sizeof buf);
  return 0;
}
