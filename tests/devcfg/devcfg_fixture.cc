#include "devcfg_fixture.h"

#include <cstdio>


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

void DevcfgTest::SetUp() { g_nvram_init_calls = 0; }

std::string condition(int line, const std::string &cond) {
  char head[64];
  std::snprintf(head, sizeof head, "<error>devcfg_init():%4d  @ condition(", line);
  return head + cond + ") failed, errno = ";
}

}  // namespace aputil::test
