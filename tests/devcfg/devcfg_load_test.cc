// Loading dev_config.json: identity, key checks, messages and retries.
#include <string>

#include "devcfg_fixture.h"

namespace aputil::test {
namespace {

std::string with_lanport(const std::string &lanport_members, const std::string &top = "") {
  return R"({)" + top + R"("lanport": {"ulPortAliasName": "ETH", "ulPortIfName": "eth0")" +
         (lanport_members.empty() ? "" : ", " + lanport_members) + "}}";
}

TEST_F(DevcfgTest, LoadsEveryKeyOfAFullConfiguration) {
  set_config(kFullConfig);
  EXPECT_EQ(devcfg_vlanbind_isSupp(), 1u);
  EXPECT_EQ(devcfg_vlanbind_getUcCfgVer(), 2u);
  EXPECT_EQ(devcfg_downLinkPort_getNum(), 2u);
  EXPECT_EQ(devcfg_downLinkPort_getStartIdxOffset(), 1u);
  EXPECT_EQ(devcfg_downLinkPort_getPhyId(1), 1u);
  EXPECT_EQ(devcfg_downLinkPort_getPhyId(2), 2u);
  EXPECT_EQ(devcfg_downLinkPort_getPhyId(3), 0u);  // beyond dlPortNum: never read
  EXPECT_EQ(devcfg_downLinkPort_isPoeOutSupp(), 1u);
  EXPECT_EQ(devcfg_downLinkPort_getPoeOutBitMap(), 2u);
  EXPECT_EQ(devcfg_upLinkPort_getPhyId(), 4u);
  EXPECT_EQ(devcfg_upLinkPort_getPhyType(), static_cast<uint32_t>(DEVCFG_PHY_TYPE_AR8033));
  EXPECT_EQ(devcfg_upLinkPort_getLinkStateMask(), 16u);
  EXPECT_EQ(devcfg_upLinkPort_inSwitch(), 1u);  // 257 kept in 8 bits
  EXPECT_EQ(devcfg_hwWatchdog_isSupp(), 1u);
  EXPECT_EQ(devcfg_cloud_isSupp(), 1u);
  EXPECT_EQ(devcfg_cloud_isCfgSupp(), 1u);  // absent: 1 when cloud control is on
  EXPECT_EQ(devcfg_cli_setCountryIsSupp(), 1u);
  EXPECT_EQ(devcfg_wifiled_isSupp(), 1u);
  EXPECT_EQ(devcfg_wifiled_dftEnable(), 0u);
  EXPECT_EQ(devcfg_rcOptimize_isSupp(), 1u);
  EXPECT_EQ(devcfg_jp_disaster_isSupp(), 1u);
  EXPECT_EQ(devcfg_misc_defaultTimeZone(), 8u);
  EXPECT_EQ(devcfg_misc_ctrlCustomRegion(), 3u);
  EXPECT_EQ(devcfg_ppskPro_isSupp(), 1u);
  EXPECT_EQ(devcfg_isOrvel(), 1u);
  EXPECT_EQ(devcfg_repeater_isSupp(), 1u);
  EXPECT_EQ(devcfg_ble_isSupp(), 1u);
  EXPECT_EQ(devcfg_ddr_getSize(), 256u);
  EXPECT_EQ(devcfg_smartant_isSupp(), 1u);
  EXPECT_EQ(devcfg_getpoePowerConsumption(), 13u);
  EXPECT_EQ(g_nvram_init_calls, 1);
}

TEST_F(DevcfgTest, MinimalConfigurationLeavesDefaults) {
  set_config(kMinimalConfig);
  EXPECT_EQ(stderr_of([] { EXPECT_EQ(devcfg_downLinkPort_getNum(), 0u); }), "");
  for (auto f : {devcfg_ble_isSupp, devcfg_vlanbind_isSupp, devcfg_vlanbind_getUcCfgVer, devcfg_cloud_isSupp,
                 devcfg_cloud_isCfgSupp, devcfg_upLinkPort_getPhyType, devcfg_ddr_getSize, devcfg_isOrvel})
    EXPECT_EQ(f(), 0u);
}

TEST_F(DevcfgTest, MissingLanportFailsEveryCallUntilFixed) {
  set_config(R"({"bleSupp": true})");
  const std::string msg = condition(404, "(NULL != pLanPortCfg)");
  for (int call = 0; call < 3; ++call) {
    std::string err = stderr_of([] { EXPECT_EQ(devcfg_ble_isSupp(), 0u); });
    EXPECT_EQ(err.rfind(msg, 0), 0u) << err;
  }
  set_config(R"({"bleSupp": true, "lanport": 1})");  // not an object: absent
  EXPECT_EQ(stderr_of([] { devcfg_ble_isSupp(); }).rfind(msg, 0), 0u);
  set_config(R"({"bleSupp": true, "lanport": {"dlPortNum": 0, "ulPortAliasName": "a", "ulPortIfName": "b"}})");
  EXPECT_EQ(devcfg_ble_isSupp(), 1u);
  EXPECT_EQ(g_nvram_init_calls, 1);  // started once, however many attempts
}

TEST_F(DevcfgTest, DownlinkPortCountRule) {
  const std::string msg = condition(
      408,
      "((NULL != pData) && (pData->type == cJSON_Number) && (pData->valueint >= 0 && pData->valueint <= "
      "MAX_DOWNLINK_PORT_NUM))");
  for (const char *bad : {R"("dlPortNum": 5)", R"("dlPortNum": -1)", R"("dlPortNum": "2")", R"("other": 1)"}) {
    reload();
    set_config(with_lanport(bad));
    std::string err = stderr_of([] { EXPECT_EQ(devcfg_upLinkPort_getPhyId(), 0u); });
    EXPECT_EQ(err.rfind(msg, 0), 0u) << bad << ": " << err;
  }
  reload();
  set_config(with_lanport(R"("dlPortNum": 0, "dlPort1PhyId": 7, "ulPortPhyId": 3)"));
  EXPECT_EQ(devcfg_upLinkPort_getPhyId(), 3u);
  EXPECT_EQ(devcfg_downLinkPort_getPhyId(1), 0u);  // no per-port key is read
}

TEST_F(DevcfgTest, StartIndexOffsetIsTheOnlyStrictOptionalKey) {
  set_config(with_lanport(R"("dlPortNum": 1, "dlPortStartIdxOffset": "1")"));
  std::string err = stderr_of([] { devcfg_downLinkPort_getNum(); });
  EXPECT_EQ(err.rfind(condition(415, "(pData->type == cJSON_Number)"), 0), 0u) << err;

  // Every other optional key of the wrong type is simply absent.
  reload();
  set_config(with_lanport(R"("dlPortNum": 1, "dlPort1PhyId": "x", "dlPort1AliasName": 3, "poeOutSupp": 1,
                              "poeOutBitMap": 4, "ulPortPhyId": true, "phyType": 2, "dlPortIfName": [])",
                          R"("bleSupp": 1, "ddrSize": "64", "wifiLed": {"supp": "yes"}, "misc": [1],
                              "hwWatchDog": true, "repeaterSupp": {"supp": null},)"));
  EXPECT_EQ(stderr_of([] { EXPECT_EQ(devcfg_downLinkPort_getNum(), 1u); }), "");
  for (auto f : {devcfg_downLinkPort_isPoeOutSupp, devcfg_downLinkPort_getPoeOutBitMap, devcfg_upLinkPort_getPhyId,
                 devcfg_upLinkPort_getPhyType, devcfg_ble_isSupp, devcfg_ddr_getSize, devcfg_wifiled_isSupp,
                 devcfg_hwWatchdog_isSupp, devcfg_repeater_isSupp})
    EXPECT_EQ(f(), 0u);
  EXPECT_EQ(devcfg_downLinkPort_getPhyId(1), 0u);
}

TEST_F(DevcfgTest, PoeBitMapIsReadOnlyWithABooleanPoeSupport) {
  set_config(with_lanport(R"("dlPortNum": 0, "poeOutSupp": false, "poeOutBitMap": 6)"));
  EXPECT_EQ(devcfg_downLinkPort_isPoeOutSupp(), 0u);
  EXPECT_EQ(devcfg_downLinkPort_getPoeOutBitMap(), 6u);
}

TEST_F(DevcfgTest, VlanbindRules) {
  const std::string msg = condition(
      383,
      "((NULL != pData) && (pData->type == cJSON_Number) && (pData->valueint == VLANBIND_UC_CFG_VERSION1_N300 || "
      "pData->valueint == VLANBIND_UC_CFG_VERSION2))");
  struct {
    const char *vlanbind;
    bool loads;
    uint32_t supp, ver;
  } cases[] = {
      {R"({"supp": false, "ucCfgVer": 3})", true, 0, 0},
      {R"({"supp": "yes", "ucCfgVer": 1})", true, 0, 0},
      {R"({"supp": true, "ucCfgVer": 1})", true, 1, 1},
      {R"({"supp": true, "ucCfgVer": 3})", false, 0, 0},
      {R"({"supp": true, "ucCfgVer": "1"})", false, 0, 0},
      {R"({"supp": true})", false, 0, 0},
  };
  for (const auto &c : cases) {
    reload();
    set_config(with_lanport(R"("dlPortNum": 0)", std::string(R"("vlanbind": )") + c.vlanbind + ","));
    std::string err = stderr_of([&] {
      EXPECT_EQ(devcfg_vlanbind_isSupp(), c.supp) << c.vlanbind;
      EXPECT_EQ(devcfg_vlanbind_getUcCfgVer(), c.ver) << c.vlanbind;
    });
    if (c.loads)
      EXPECT_EQ(err, "") << c.vlanbind;
    else
      EXPECT_EQ(err.rfind(msg, 0), 0u) << c.vlanbind << ": " << err;
  }
}

TEST_F(DevcfgTest, CloudControlRules) {
  const std::string msg = condition(575, "((NULL != pData) && (pData->type == cJSON_String))");
  struct {
    const char *cloud;
    bool loads;
    uint32_t supp, cfg;
    const char *mic;
  } cases[] = {
      {R"({"supp": true})", false, 0, 0, ""},
      {R"({"supp": true, "micType": 2})", false, 0, 0, ""},
      {R"({"supp": false})", true, 0, 0, ""},
      {R"({"supp": false, "cfgSupp": true, "micType": "v1"})", true, 0, 0, ""},
      {R"({"supp": true, "micType": "v1"})", true, 1, 1, "v1"},
      {R"({"supp": true, "cfgSupp": false, "micType": "v1"})", true, 1, 0, "v1"},
      {R"({"supp": true, "cfgSupp": "no", "micType": "v1"})", true, 1, 1, "v1"},
  };
  for (const auto &c : cases) {
    reload();
    set_config(with_lanport(R"("dlPortNum": 0)", std::string(R"("cloudCtrl": )") + c.cloud + ","));
    char mic[64] = "";
    std::string err = stderr_of([&] {
      EXPECT_EQ(devcfg_cloud_isSupp(), c.supp) << c.cloud;
      EXPECT_EQ(devcfg_cloud_isCfgSupp(), c.cfg) << c.cloud;
      devcfg_cloud_getMicType(mic, sizeof mic);
    });
    EXPECT_STREQ(mic, c.mic);
    if (c.loads)
      EXPECT_EQ(err, "") << c.cloud;
    else
      EXPECT_EQ(err.rfind(msg, 0), 0u) << c.cloud << ": " << err;
  }
}

TEST_F(DevcfgTest, RequiredUplinkNames) {
  const std::string cond = "((NULL != pData) && (pData->type == cJSON_String))";
  set_config(R"({"lanport": {"dlPortNum": 0, "ulPortIfName": "eth0"}})");
  EXPECT_EQ(stderr_of([] { devcfg_ble_isSupp(); }).rfind(condition(482, cond), 0), 0u);
  set_config(R"({"lanport": {"dlPortNum": 0, "ulPortAliasName": "ETH", "ulPortIfName": 0}})");
  EXPECT_EQ(stderr_of([] { devcfg_ble_isSupp(); }).rfind(condition(487, cond), 0), 0u);
}

TEST_F(DevcfgTest, PhyTypeByPrefix) {
  struct {
    const char *type;
    uint32_t want;
    const char *err;
  } cases[] = {
      {"RTL8211E", DEVCFG_PHY_TYPE_RTL8211, ""},
      {"AR8033", DEVCFG_PHY_TYPE_AR8033, ""},
      {"rtl8211", 0, "<error>devcfg_init(): 530  @ unsuppoerted phy type:rtl8211\n"},
      {"BCM54", 0, "<error>devcfg_init(): 530  @ unsuppoerted phy type:BCM54\n"},
  };
  for (const auto &c : cases) {
    reload();
    set_config(with_lanport(std::string(R"("dlPortNum": 0, "phyType": ")") + c.type + "\""));
    EXPECT_EQ(stderr_of([&] { EXPECT_EQ(devcfg_upLinkPort_getPhyType(), c.want); }), c.err);
    EXPECT_EQ(devcfg_downLinkPort_getNum(), 0u);  // not fatal: loaded
  }
}

TEST_F(DevcfgTest, DdrSizeOnlyWhenPositive) {
  for (auto [ddr, want] : {std::pair{"0", 0u}, {"-512", 0u}, {"512", 512u}}) {
    reload();
    set_config(with_lanport(R"("dlPortNum": 0)", std::string(R"("ddrSize": )") + ddr + ","));
    EXPECT_EQ(devcfg_ddr_getSize(), want) << ddr;
  }
}

TEST_F(DevcfgTest, ModelDirectoryFromIdentityAndRegion) {
  struct {
    const char *info, *region, *dir;
  } cases[] = {
      {"AP100 X(EU):2.0", "US", "/etc/AP100_X_2.0"},
      {"AP100 X(EU):2.0", "KR", "/etc/AP100_X_2.0_KR"},
      {"AP100 X(EU):2.0", "JP", "/etc/AP100_X_2.0_JP"},
      {"AP100 X(EU):2.0", "kr", "/etc/AP100_X_2.0"},
      {"AP100 X(EU):2.0", "", "/etc/AP100_X_2.0"},
      {"AP 100(US):1.1\r\nmore", "CA", "/etc/AP_100_1.1_CA"},
      {"AP1(X):123456789012345678", "AU", "/etc/AP1_123456789012345"},  // full field: no room for "_AU"
      // The whole suffix fits (with the terminator) or none is added.
      {"AP1(X):123456789012", "JP", "/etc/AP1_123456789012_JP"},
      {"AP1(X):1234567890123", "JP", "/etc/AP1_1234567890123"},
      {"AP1(X):12345678901234", "JP", "/etc/AP1_12345678901234"},
      {"AP1(X):123456789012345", "JP", "/etc/AP1_123456789012345"},
  };
  for (const auto &c : cases) {
    reload();
    set_identity(c.info, c.region);
    set_config(kMinimalConfig, c.dir);
    char path[128] = "";
    EXPECT_EQ(stderr_of([&] { devcfg_getRadioCfgPath(path, sizeof path); }), "") << c.info << " " << c.region;
    EXPECT_EQ(std::string(path), std::string(c.dir) + "/radio_config.json");
  }
}

TEST_F(DevcfgTest, OversizeProductLineIsBounded) {
  set_identity(std::string(600, 'A') + "(" + std::string(100, 'Q') + "):" + std::string(100, '9'));
  const std::string dir = "/etc/" + std::string(31, 'A') + "_";  // name cut to 31, the scan stops there
  set_config(kMinimalConfig, dir);
  char path[128] = "";
  EXPECT_EQ(stderr_of([&] { devcfg_getOemInfoPath(path, sizeof path); }), "");
  EXPECT_EQ(std::string(path), dir + "/oem.json");
}

TEST_F(DevcfgTest, NvramReadFailure) {
  root_.write("/nvram/product-info", "");
  std::string err = stderr_of([] { EXPECT_EQ(devcfg_ble_isSupp(), 0u); });
  EXPECT_EQ(err,
            "<error>initProductInfo(): 254  @ failed to read productinfo."
            "<error>devcfg_init(): 340  @ failed to init ProductInfo\n");
  devcfg_ble_isSupp();
  EXPECT_EQ(g_nvram_init_calls, 1);
}

TEST_F(DevcfgTest, FileFailures) {
  // Missing file.
  EXPECT_EQ(stderr_of([] { devcfg_ble_isSupp(); }), condition(350, "(NULL != pFile)") + "2\n");
  // Empty file.
  set_config("");
  EXPECT_EQ(stderr_of([] { devcfg_ble_isSupp(); }), "<error>devcfg_init(): 354  @ failed to read file\n");
  // Not JSON.
  set_config("{\"lanport\": ");
  EXPECT_EQ(stderr_of([] { devcfg_ble_isSupp(); }).rfind(condition(365, "(NULL != pDevCfg)"), 0), 0u);
}

TEST_F(DevcfgTest, TextIsCutAt2048Bytes) {
  std::string pad(2048, ' ');
  std::string fits = kMinimalConfig;
  fits += pad.substr(0, 2048 - fits.size());
  set_config(fits);
  EXPECT_EQ(devcfg_downLinkPort_getNum(), 0u);
  EXPECT_EQ(devcfg_upLinkPort_getPhyId(), 0u);
  char name[8] = "";
  devcfg_upLinkPort_getIfName(name, sizeof name);
  EXPECT_STREQ(name, "eth0");

  reload();
  set_config(std::string(R"({"bleSupp": true,)") + pad + R"("lanport": {}})");
  EXPECT_EQ(stderr_of([] { devcfg_ble_isSupp(); }).rfind(condition(365, "(NULL != pDevCfg)"), 0), 0u);
}

TEST_F(DevcfgTest, RetryAfterALongerFileLeftItsTail) {
  set_config(std::string(R"({"bleSupp": true, "padding": ")") + std::string(900, 'x') + "\"}");
  EXPECT_EQ(stderr_of([] { devcfg_ble_isSupp(); }).rfind(condition(404, "(NULL != pLanPortCfg)"), 0), 0u);
  set_config(kMinimalConfig);  // shorter: the buffer still holds the older text after it
  EXPECT_EQ(stderr_of([] { devcfg_ble_isSupp(); }), "");
  EXPECT_EQ(devcfg_upLinkPort_getIfName(nullptr, 1), 0);
}

}  // namespace
}  // namespace aputil::test
