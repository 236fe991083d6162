// Name accessors, path getters and the dump.
#include <cstring>
#include <string>

#include "devcfg_fixture.h"

namespace aputil::test {
namespace {

TEST_F(DevcfgTest, NameCopiesCutAndTerminate) {
  set_config(kFullConfig);
  char buf[32];
  std::memset(buf, 'Z', sizeof buf);
  EXPECT_EQ(devcfg_upLinkPort_getIfName(buf, 4), 0);
  EXPECT_STREQ(buf, "eth");  // last byte always NUL
  EXPECT_EQ(buf[4], 'Z');    // nothing past len
  std::memset(buf, 'Z', sizeof buf);
  devcfg_upLinkPort_getAliasName(buf, sizeof buf);
  EXPECT_STREQ(buf, "ETH/PoE");
  EXPECT_EQ(buf[31], '\0');  // NUL-filled to len
  devcfg_upLinkPort_getLogicalIfName(buf, sizeof buf);
  EXPECT_STREQ(buf, "br-lan");
  devcfg_downLinkPort_getIfName(buf, sizeof buf);
  EXPECT_STREQ(buf, "eth1");
  devcfg_dlLinkPort_getIfName(buf, 3);
  EXPECT_STREQ(buf, "et");
  devcfg_downLinkPort_getAliasName(2, buf, sizeof buf);
  EXPECT_STREQ(buf, "LAN2");
  devcfg_downLinkPort_getLogicalIfName(1, buf, sizeof buf);
  EXPECT_STREQ(buf, "eth1");
  devcfg_downLinkPort_getAliasName(3, buf, sizeof buf);  // port 3 exists in the record, empty
  EXPECT_STREQ(buf, "");
  devcfg_cloud_getMicType(buf, sizeof buf);
  EXPECT_STREQ(buf, "v2");
}

TEST_F(DevcfgTest, RefusedNameCallsLeaveTheBufferAlone) {
  set_config(kFullConfig);
  char buf[8] = "keep";
  for (int32_t len : {0, -1}) {
    devcfg_upLinkPort_getIfName(buf, len);
    devcfg_downLinkPort_getIfName(buf, len);
    devcfg_downLinkPort_getAliasName(1, buf, len);
    devcfg_dlLinkPort_getIfName(buf, len);  // unchecked len: callers must pass len > 0
    devcfg_cloud_getMicType(buf, len);
  }
  for (uint32_t port : {0u, 5u, 0xFFFFFFFFu}) {
    devcfg_downLinkPort_getAliasName(port, buf, sizeof buf);
    devcfg_downLinkPort_getLogicalIfName(port, buf, sizeof buf);
    EXPECT_EQ(devcfg_downLinkPort_getPhyId(port), 0u);
  }
  EXPECT_STREQ(buf, "keep");
  EXPECT_EQ(devcfg_upLinkPort_getIfName(nullptr, 8), 0);
}

TEST_F(DevcfgTest, NameWidths) {
  const std::string a40(40, 'a'), b40(40, 'b');
  set_config(R"({"lanport": {"dlPortNum": 2, "dlPort1AliasName": ")" + a40 + R"(", "dlPort2AliasName": "x",
                 "ulPortAliasName": ")" + b40 + R"(", "ulPortIfName": "eth0"},
                 "cloudCtrl": {"supp": true, "micType": ")" + std::string(80, 'm') + R"("}})");
  char buf[128];
  // A per-port name keeps 32 characters and no terminator of its own: it
  // runs into the next port's name.
  devcfg_downLinkPort_getAliasName(1, buf, sizeof buf);
  EXPECT_EQ(std::string(buf), std::string(32, 'a') + "x");
  devcfg_downLinkPort_getAliasName(1, buf, 33);
  EXPECT_EQ(std::string(buf), std::string(32, 'a'));
  // Names with a terminator keep 31 (63 for the MIC type).
  devcfg_upLinkPort_getAliasName(buf, sizeof buf);
  EXPECT_EQ(std::string(buf), std::string(31, 'b'));
  devcfg_cloud_getMicType(buf, sizeof buf);
  EXPECT_EQ(std::string(buf), std::string(63, 'm'));
}

TEST_F(DevcfgTest, AccessorsAnswerZeroAndTouchNothingWhenTheLoadFails) {
  char path[64] = "untouched";
  std::string err = stderr_of([&] {
    EXPECT_EQ(devcfg_ble_isSupp(), 0u);
    EXPECT_EQ(devcfg_downLinkPort_getPhyId(1), 0u);
    devcfg_getRadioCfgPath(path, sizeof path);
    devcfg_getRegDoamin5GPath(path, sizeof path);
    EXPECT_EQ(devcfg_getAppCfgPath(path, sizeof path), -1);
    EXPECT_EQ(devcfg_upLinkPort_getIfName(path, sizeof path), 0);
    EXPECT_EQ(devcfg_testFunc(), -1);
  });
  EXPECT_STREQ(path, "untouched");
  EXPECT_NE(err.find("(NULL != pFile)"), std::string::npos);
  EXPECT_EQ(g_nvram_init_calls, 1);
}

TEST_F(DevcfgTest, PerModelPaths) {
  set_identity("AP100 X(EU):2.0", "JP");
  set_config(kMinimalConfig, "/etc/AP100_X_2.0_JP");
  struct {
    void (*get)(char *, size_t);
    const char *file;
  } getters[] = {{devcfg_getDftCfgPath, "default_config"},
                 {devcfg_getFactoryCfgPath, "factory_config.bin"},
                 {devcfg_getGpioCfgPath, "gpio.conf"},
                 {devcfg_getGpoRuleCfgPath, "gpo_rule.conf"},
                 {devcfg_getOemInfoPath, "oem.json"},
                 {devcfg_getRegDoamin2GPath, "ath/REG_DOMAIN2"},
                 {devcfg_getRegDoamin5GPath, "ath/REG_DOMAIN5"},
                 {devcfg_getRadioCfgPath, "radio_config.json"},
                 {devcfg_getWirelessCfgPath, "wireless"},
                 {devcfg_getThermaltoolCfgPath, "thermaltool.sh"}};
  for (const auto &g : getters) {
    char path[128] = "";
    g.get(path, sizeof path);
    EXPECT_EQ(std::string(path), std::string("/etc/AP100_X_2.0_JP/") + g.file);
  }
  char cut[10];
  devcfg_getDftCfgPath(cut, sizeof cut);
  EXPECT_STREQ(cut, "/etc/AP10");
  devcfg_getDftCfgPath(nullptr, 10);
}

TEST_F(DevcfgTest, AppPathsFallBackToTheSharedFile) {
  set_config(kMinimalConfig);
  char path[128] = "";
  EXPECT_EQ(devcfg_getAppCfgPath(path, sizeof path), 22);
  EXPECT_STREQ(path, "/etc/app_features.json");
  EXPECT_EQ(devcfg_getAppClusterCfgPath(path, sizeof path), 30);
  EXPECT_STREQ(path, "/etc/app_cluster_features.json");

  root_.write("/etc/AP100_X_2.0/app_features.json", "{}");
  EXPECT_EQ(devcfg_getAppCfgPath(path, sizeof path), 34);
  EXPECT_STREQ(path, "/etc/AP100_X_2.0/app_features.json");
  char small[12];
  EXPECT_EQ(devcfg_getAppCfgPath(small, sizeof small), 22);  // cut work path does not exist
  EXPECT_STREQ(small, "/etc/app_fe");
  char big[300];
  EXPECT_EQ(devcfg_getAppCfgPath(big, sizeof big), 34);  // work buffer stays 128 bytes
  EXPECT_EQ(devcfg_getAppCfgPath(nullptr, 128), -1);
}

TEST_F(DevcfgTest, DumpLines) {
  set_config(kFullConfig);
  ::testing::internal::CaptureStdout();
  int last = devcfg_testFunc();
  std::string out = ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(last, static_cast<int>(std::strlen("DEVCFG_WIFILED_DFTENABLE = 0\n")));
  EXPECT_EQ(out,
            "VLANBIND_IS_SUPP = 1\n"
            "VLANBIND_UC_CFG_VERSION = 2\n"
            "DOWNLINK_PORT1_PHYID = 1\n"
            "DOWNLINK_PORT1_ALIAS_NAME = LAN1\n"
            "DOWNLINK_PORT2_PHYID = 2\n"
            "DOWNLINK_PORT2_ALIAS_NAME = LAN2\n"
            "DOWNLINK_PORT3_PHYID = 0\n"
            "DOWNLINK_PORT3_ALIAS_NAME = \n"
            "DOWNLINK_PORT4_PHYID = 0\n"
            "DOWNLINK_PORT4_ALIAS_NAME = \n"
            "DOWNLINK_PORT_NUM = 2\n"
            "DOWNLINK_PORT_IFNAME = eth1\n"
            "DOWNLINK_PORT_POEOUT_IS_SUPP = 1\n"
            "DOWNLINK_PORT_POEOUT_BITMAP = 2\n"
            "UPLINK_PORT_ALIAS_NAME = ETH/PoE\n"
            "UPLINK_PORT_IFNAME = eth0\n"
            "DLLINK_PORT_IFNAME = eth1\n"
            "UPLINK_PORT_PHYID = 4\n"
            "UPLINK_PORT_LINKSTATE_MASK = 16\n"
            "UPLINK_PORT_IN_SWITCH = 1\n"
            "HW_WATCHDOG_IS_SUPP = 1\n"
            "CLOUD_CTRL_IS_SUPP = 1\n"
            "CLOUD_CTRL_IS_CFGSUPP = 1\n"
            "DEVCFG_CLOUD_CTRL_MIC_TYPE = v2\n"
            "DEVCFG_CLI_SETCC_IS_SUPP = 1\n"
            "DEVCFG_IS_ORVEL = 1\n"
            "DEVCFG_WIFILED_IS_SUPP = 1\n"
            "DEVCFG_WIFILED_DFTENABLE = 0\n");
}

}  // namespace
}  // namespace aputil::test
