#include "devcfg_fixture.h"

#include <cstdio>

#include "devcfg/devcfg_record.h"

int aputil::test::g_nvram_init_calls = 0;

// The program's own NVRAM start; reads still come from the emulation.
extern "C" int nm_api_init(void) {
  ++aputil::test::g_nvram_init_calls;
  return 0;
}

namespace aputil::test {

const char kFullConfig[] = R"({
  "vlanbind": {"supp": true, "ucCfgVer": 2},
  "lanport": {
    "dlPortNum": 2, "dlPortStartIdxOffset": 1,
    "dlPort1PhyId": 1, "dlPort1AliasName": "LAN1", "dlPort1LogicalIfName": "eth1",
    "dlPort2PhyId": 2, "dlPort2AliasName": "LAN2", "dlPort2LogicalIfName": "eth2",
    "dlPort3PhyId": 3, "dlPort3AliasName": "LAN3",
    "dlPortIfName": "eth1", "poeOutSupp": true, "poeOutBitMap": 2,
    "ulPortPhyId": 4, "ulPortAliasName": "ETH/PoE", "ulPortIfName": "eth0",
    "ulPortLogicalIfName": "br-lan", "ulPortLinkStateMask": 16, "ulPortInSwitch": 257,
    "phyType": "AR8033"
  },
  "hwWatchDog": {"supp": true},
  "cloudCtrl": {"supp": true, "micType": "v2"},
  "cliSetCcSupp": true,
  "wifiLed": {"supp": true, "dftEnable": false},
  "rcOptimizeSupp": true, "disasterSupp": true,
  "misc": {"defTimeZone": 8, "ctrlCustomRegion": 3},
  "proFeatures": {"ppskProSupp": true},
  "orvelFeatures": true,
  "repeaterSupp": {"supp": true},
  "bleSupp": true, "ddrSize": 256, "smartAntSupp": true, "poePowerConsumption": 13
})";

const char kMinimalConfig[] = R"({"lanport": {"dlPortNum": 0, "ulPortAliasName": "ETH", "ulPortIfName": "eth0"}})";

void DevcfgTest::reload() { devcfg::reset_for_tests(); }

void DevcfgTest::SetUp() {
  reload();
  g_nvram_init_calls = 0;
  set_identity("AP100 X(EU):2.0\nsecond line:ignored\n");
}

void DevcfgTest::set_identity(const std::string &product_info, const std::string &region) {
  root_.write("/nvram/product-info", product_info);
  root_.write("/nvram/region", region);
}

void DevcfgTest::set_config(const std::string &json, const std::string &model_dir) {
  root_.write(model_dir + "/dev_config.json", json);
}

std::string condition(int line, const std::string &cond) {
  char head[64];
  std::snprintf(head, sizeof head, "<error>devcfg_init():%4d  @ condition(", line);
  return head + cond + ") failed, errno = ";
}

}  // namespace aputil::test
