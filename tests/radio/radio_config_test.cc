// radio_config.json: loading, validation messages, derived values, dump.
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "radio/radio_config_table.h"
#include "radio_config.h"
#include "support/model_tree.h"

namespace aputil::test {
namespace {

// A radio entry with the required keys, plus extra members.
std::string radio_entry(int band, int mode = 0x1f, int mimo = 2, const std::string &extra = "") {
  char buf[160];
  std::snprintf(buf, sizeof buf, R"({"band": %d, "mimo": %d, "anttgain": 3, "mode": %d)", band, mimo, mode);
  return buf + (extra.empty() ? "" : ", " + extra) + "}";
}

// A radio_config.json with the given radios and extra top-level members.
std::string config(const std::string &top = "", const std::string &r0 = radio_entry(2),
                   const std::string &r1 = radio_entry(5)) {
  return R"({"EIRP": true, )" + (top.empty() ? "" : top + ", ") + R"("radioTable": [)" + r0 + ", " + r1 + "]}";
}

std::string cond(const char *func, int line, const std::string &text) {
  char head[96];
  std::snprintf(head, sizeof head, "<error>%s():%4d  @ condition(", func, line);
  return head + text + ") failed\n";
}

std::string msg(const char *func, int line, const std::string &text) {
  char head[96];
  std::snprintf(head, sizeof head, "<error>%s():%4d  @ ", func, line);
  return head + text;
}

class RadioConfigTest : public ::testing::Test {
 protected:
  void SetUp() override { tree_.write_model("dev_config.json", kMinimalDevConfig); }

  // Write radio_config.json and forget what was loaded.
  void set(const std::string &json) {
    ModelTree::forget_loaded();
    tree_.write_model("radio_config.json", json);
  }

  // Load (quietly: the dump goes to a captured stdout); returns stderr.
  std::string load() {
    std::string err;
    stdout_of([&] { err = stderr_of([] { radio_config_getRadioType(); }); });
    return err;
  }

  ModelTree tree_;
};

TEST_F(RadioConfigTest, LoadsTheSampleShape) {
  set(config(R"("maxStaPerRadio": 128, "chanLimitSupp": true, "dfsCfgSupp": false, "n1024QAMSupp": true,
               "ofdmaCfgSupp": true, "fragThreshSupp": false, "ovWriteCtl": true, "dfsImproveSupp": true)",
             radio_entry(2, 0x1f, 2, R"("ifname": "wifi0", "vapPrefix": "ath0", "ifindex": 7, "smartAnt": 1)"),
             radio_entry(5, 0x1f, 4, R"("blockAcsBand": 2, "blockSpruceBand4": 1, "maxVapNum": 16)")));
  EXPECT_EQ(load(), "");
  EXPECT_EQ(radio_config_getEIRP(), 1u);
  EXPECT_EQ(radio_config_getMaxStaPerRadio(), 128);
  EXPECT_EQ(radio_config_getRadioType(), 0x11u);
  EXPECT_EQ(radio_config_supp2G(), 1u);
  EXPECT_EQ(radio_config_supp5G(), 1u);
  EXPECT_EQ(radio_config_getBand(0), 2u);
  EXPECT_EQ(radio_config_getBand(1), 5u);
  EXPECT_EQ(radio_config_getMimo(1), 4u);
  EXPECT_EQ(radio_config_getMimoGain(1), 6u);
  EXPECT_EQ(radio_config_getAnttGain(0), 3u);
  EXPECT_EQ(radio_config_getIfindex(0), 7u);
  EXPECT_EQ(radio_config_getIfindex(1), 1u);  // default: the radio's index
  EXPECT_STREQ(radio_config_getIfname(0), "wifi0");
  EXPECT_STREQ(radio_config_getVapPrefix(0), "ath0");
  EXPECT_STREQ(radio_config_getIfname(1), "");
  EXPECT_EQ(radio_config_getMaxVapNum(0), 8u);
  EXPECT_EQ(radio_config_getMaxVapNum(1), 16u);
  EXPECT_EQ(radio_config_getBlockAcsBand(1), 2u);
  EXPECT_EQ(radio_config_getBlockSpruceBand4(1), 1u);
  EXPECT_EQ(radio_config_smartAntennaSupp(0), 1u);
  EXPECT_EQ(radio_config_smartAntennaSupp(1), 0u);
  EXPECT_EQ(radio_config_chanLimitSupp(), 1u);
  EXPECT_EQ(radio_config_dfsImproveSupp(), 1u);
  EXPECT_EQ(radio_config_dfsSupp(), 0u);
  EXPECT_EQ(radio_config_n1024QAMSupp(), 1u);
  EXPECT_EQ(radio_config_ofdmaCfgSupp(), 1u);
  EXPECT_EQ(radio_config_fragThreshSupp(), 0u);
  EXPECT_EQ(radio_config_needOverWriteCtl(), 1u);
  EXPECT_EQ(radio_config_getSpecRegionCode(), 841u);
  EXPECT_STREQ(radio_config_getMeshBkhapIfname(), "bkhap1");
  EXPECT_STREQ(radio_config_getMeshStaIfname(), "sta1");
  EXPECT_EQ(radio_config_thermalCtlSupp(), 0u);
  EXPECT_EQ(radio_config_bbCCASupp(), 0u);
}

TEST_F(RadioConfigTest, DefaultsOfTheOptionalKeys) {
  set(config());
  load();
  EXPECT_EQ(radio_config_getMaxStaPerRadio(), -1);
  EXPECT_EQ(radio_config_getModeCap(0), 52u);   // band 2
  EXPECT_EQ(radio_config_getModeCap(1), 116u);  // other bands
  EXPECT_EQ(radio_config_dfsSupp(), 1u);
  EXPECT_EQ(radio_config_fragThreshSupp(), 1u);
  EXPECT_EQ(radio_config_chanLimitSupp(), 0u);
}

TEST_F(RadioConfigTest, FailedLoadIsRetriedOnEveryCall) {
  for (int call = 0; call < 2; ++call) {
    std::string err = stderr_of([] { EXPECT_EQ(radio_config_getBand(0), 0u); });
    EXPECT_EQ(err, cond("l_radio_config_init", 447, "(NULL != pFile)") +
                       msg("radio_config_getBand", 1455, "init error or invalid radioID:0\n"));
  }
  tree_.write_model("radio_config.json", "");
  EXPECT_EQ(stderr_of([] { radio_config_getBand(0); }).rfind(msg("l_radio_config_init", 451, "failed to read file\n"), 0),
            0u);
  tree_.write_model("radio_config.json", "{\"EIRP\": tru");
  EXPECT_EQ(stderr_of([] { radio_config_getBand(0); }).rfind(cond("l_radio_config_init", 461, "(NULL != pRadioCfg)"), 0),
            0u);
  tree_.write_model("radio_config.json", config());  // fixed between calls
  std::string out = stdout_of([] { EXPECT_EQ(stderr_of([] { EXPECT_EQ(radio_config_getBand(1), 5u); }), ""); });
  EXPECT_NE(out.find("radioType: 0x11"), std::string::npos);
  EXPECT_EQ(stdout_of([] { radio_config_getBand(1); }), "");  // dumped once, at the load
}

TEST_F(RadioConfigTest, OnlyTheFirst1024BytesCount) {
  std::string exact = config();
  exact.insert(exact.size() - 1, std::string(1024 - exact.size(), ' '));
  ASSERT_EQ(exact.size(), 1024u);
  set(exact + "trailing bytes past the limit");
  EXPECT_EQ(load(), "");
  set(config(R"("pad": ")" + std::string(1000, 'x') + "\""));
  EXPECT_EQ(load().rfind(cond("l_radio_config_init", 461, "(NULL != pRadioCfg)"), 0), 0u);
}

TEST_F(RadioConfigTest, TopLevelValidation) {
  const char *kEirp = "(NULL != pData && (pData->type == cJSON_True || pData->type == cJSON_False))";
  const char *kSta = "((l_radioCfgTbl.maxStaPerRadio > 0) && (l_radioCfgTbl.maxStaPerRadio <= MAX_STA_PER_RADIO))";
  const char *kCount = "(count == MAX_RADIO_NUM)";
  const std::string two = radio_entry(2) + ", " + radio_entry(5);
  struct {
    std::string json;
    int line;  // 0: loads
    const char *text;
  } cases[] = {
      {R"({"EIRP": 1, "radioTable": [)" + two + "]}", 464, kEirp},
      {R"({"radioTable": [)" + two + "]}", 464, kEirp},
      {config(R"("maxStaPerRadio": 512)"), 0, nullptr},
      {config(R"("maxStaPerRadio": 1)"), 0, nullptr},
      {config(R"("maxStaPerRadio": 513)"), 473, kSta},
      {config(R"("maxStaPerRadio": 0)"), 473, kSta},
      {config(R"("maxStaPerRadio": -5)"), 473, kSta},
      {config(R"("maxStaPerRadio": "abc")"), 0, nullptr},
      {R"({"EIRP": false, "radioTable": [)" + radio_entry(2) + "]}", 482, kCount},
      {R"({"EIRP": false, "radioTable": [)" + two + ", " + radio_entry(5) + "]}", 482, kCount},
      {R"({"EIRP": false})", 482, kCount},
      {R"({"EIRP": false, "radioTable": 7})", 482, kCount},
  };
  for (const auto &c : cases) {
    set(c.json);
    std::string err = load();
    if (c.line)
      EXPECT_EQ(err.rfind(cond("l_radio_config_init", c.line, c.text), 0), 0u) << c.json << "\n" << err;
    else
      EXPECT_EQ(err, "") << c.json;
  }
  set(config(R"("maxStaPerRadio": "abc")"));
  EXPECT_EQ(radio_config_getMaxStaPerRadio(), -1);
}

TEST_F(RadioConfigTest, RequiredRadioKeys) {
  const struct {
    const char *drop;
    int line;
  } keys[] = {{"band", 492}, {"mimo", 516}, {"anttgain", 538}, {"mode", 542}};
  for (const auto &k : keys) {
    for (const char *replacement : {"\"x\": 1", "\"KEY\": \"1\""}) {
      std::string entry = radio_entry(5);
      const std::string key = std::string("\"") + k.drop + "\": ";
      const size_t at = entry.find(key);
      const size_t end = entry.find_first_of(",}", at);
      std::string rep = replacement;
      if (rep.find("KEY") != std::string::npos) rep.replace(1, 3, k.drop);
      entry.replace(at, end - at, rep);
      set(config("", radio_entry(2), entry));
      std::string err = load();
      EXPECT_EQ(err.rfind(cond("l_radio_config_init", k.line, "(NULL != pTmp && pTmp->type == cJSON_Number)"), 0), 0u)
          << entry << "\n" << err;
      // The failed attempt left radio 0 filled, but nothing counts as loaded.
      EXPECT_EQ(aputil::radio::l_radioCfgTbl.radio[0].band, 2u);
      EXPECT_EQ(aputil::radio::l_radioCfgTbl.initialised, 0u);
    }
  }
  set(config("", radio_entry(2), "5"));  // element not an object
  EXPECT_NE(load().find(cond("l_radio_config_init", 492, "(NULL != pTmp && pTmp->type == cJSON_Number)")),
            std::string::npos);
}

TEST_F(RadioConfigTest, BandsAndRadioType) {
  const struct {
    int b0, b1;
    uint32_t type;
  } cases[] = {{2, 52, 0x11}, {5, 5, 0x20}, {2, 2, 0x02}, {52, 5, 0x20}, {7, 5, 0x10}};
  for (const auto &c : cases) {
    set(config("", radio_entry(c.b0), radio_entry(c.b1)));
    load();
    EXPECT_EQ(radio_config_getRadioType(), c.type) << c.b0 << "," << c.b1;
    EXPECT_EQ(radio_config_supp2G(), c.type & 15);
    EXPECT_EQ(radio_config_supp5G(), c.type >> 4);
  }
}

TEST_F(RadioConfigTest, MimoGainTable) {
  const uint32_t want[] = {0, 0, 3, 5, 6, 0, 0, 0};
  for (int mimo = 0; mimo <= 7; ++mimo) {
    set(config("", radio_entry(2, 0x1f, mimo), radio_entry(5)));
    load();
    EXPECT_EQ(radio_config_getMimoGain(0), want[mimo]) << mimo;
  }
}

TEST_F(RadioConfigTest, NamesAndRegionCode) {
  const std::string n20(20, 'n');
  set(config(R"("meshBkhapIfname": ")" + n20 + R"(", "meshStaIfname": 4, "specCARegionCode": 124, "specRegionCode": 36)",
             radio_entry(2, 0x1f, 2, R"("ifname": "abcdefghijklmnopqrs", "vapPrefix": ")" + n20 + "\""),
             radio_entry(5, 0x1f, 2, R"("ifname": "wifi1")")));
  load();
  EXPECT_EQ(std::string(radio_config_getMeshBkhapIfname()), std::string(15, 'n'));
  EXPECT_STREQ(radio_config_getMeshStaIfname(), "sta1");  // not a string: default
  EXPECT_EQ(radio_config_getSpecRegionCode(), 124u);
  // ifname keeps 16 bytes and no terminator of its own.
  EXPECT_EQ(std::string(radio_config_getIfname(0), 16), "abcdefghijklmnop");
  EXPECT_EQ(std::string(radio_config_getVapPrefix(0)), std::string(15, 'n'));

  set(config(R"("specCARegionCode": "124", "specRegionCode": 36)"));
  load();
  EXPECT_EQ(radio_config_getSpecRegionCode(), 36u);
}

TEST_F(RadioConfigTest, ThermalSection) {
  const std::string lv = R"({"low": 1, "high": 2, "dcoff": 3})";
  const char *kFunc = "_radio_thermal_cfg_parse";
  struct {
    std::string thermal;
    uint32_t supp;
    std::string err;
  } cases[] = {
      {R"({"supp": true, "levels": [)" + lv + "," + lv + "," + lv + "," + lv + "]}", 1, ""},
      {R"({"supp": true, "levels": [)" + lv + "," + lv + "," + lv + "]}", 0,
       cond(kFunc, 322, "(levelNum == THERMAL_CTL_LEVEL_NUM)")},
      {R"({"supp": true})", 1, ""},
      {R"({"supp": false, "levels": 5})", 0, ""},
      {R"({"supp": 1, "levels": []})", 0, ""},
      {R"({"supp": true, "levels": [)" + lv + "," + lv + R"(, {"low": 1, "dcoff": 3},)" + lv + "]}", 0,
       cond(kFunc, 334, "(NULL != pVal && pVal->type == cJSON_Number)")},
      {R"({"supp": true, "levels": [{"low": "1"},)" + lv + "," + lv + "," + lv + "]}", 0,
       cond(kFunc, 330, "(NULL != pVal && pVal->type == cJSON_Number)")},
      {R"({"supp": true, "levels": [)" + lv + "," + lv + "," + lv + R"(, {"low": 1, "high": 2}]})", 0,
       cond(kFunc, 338, "(NULL != pVal && pVal->type == cJSON_Number)")},
  };
  for (const auto &c : cases) {
    set(config(R"("thermalCtl": )" + c.thermal));
    EXPECT_EQ(load(), c.err) << c.thermal;
    EXPECT_EQ(radio_config_thermalCtlSupp(), c.supp) << c.thermal;
  }
  // Values already read before a fault stay; values keep their low 8 bits.
  set(config(R"("thermalCtl": {"supp": true, "levels": [{"low": 300, "high": 2, "dcoff": 3}, {"low": 4}, 1, 2]})"));
  load();
  uint8_t low = 0, high = 0, dcoff = 0;
  EXPECT_EQ(radio_config_thermalLevelCfg(0, &low, &high, &dcoff), 0u);
  EXPECT_EQ(low, 44);
  EXPECT_EQ(high, 2);
  EXPECT_EQ(dcoff, 3);
  EXPECT_EQ(radio_config_thermalLevelCfg(1, &low, &high, &dcoff), 0u);  // thermalSupp is not consulted
  EXPECT_EQ(low, 4);
  EXPECT_EQ(high, 0);
}

TEST_F(RadioConfigTest, RegisterSection) {
  set(config(R"("BBRegCfg": {"BBRegCCAB0": {"supp": true, "regVal": ["0x1c8f"]},
                             "BBRegAGC": {"supp": true, "regVal": ["3FE", "0X108"]},
                             "BBRegPSD": {"supp": false, "regVal": ["1", "2", "3"]}})"));
  EXPECT_EQ(load(), "");
  uint32_t v[3] = {9, 9, 9};
  EXPECT_EQ(radio_config_bbCCASupp(), 1u);
  EXPECT_EQ(radio_config_bbCCARegVal(1, v), 0u);
  EXPECT_EQ(v[0], 0x1c8fu);
  EXPECT_EQ(radio_config_bbAGCSupp(), 1u);
  EXPECT_EQ(radio_config_bbAGCRegVal(2, v), 0u);
  EXPECT_EQ(v[0], 0x3feu);
  EXPECT_EQ(v[1], 0x108u);
  EXPECT_EQ(radio_config_bbPSDSupp(), 0u);
  EXPECT_EQ(radio_config_bbPSDRegVal(3, v), 0u);  // not parsed when unsupported
  EXPECT_EQ(v[2], 0u);

  const char *kFunc = "_bbreg_parse";
  struct {
    std::string agc;
    uint32_t supp;
    std::string err;
  } cases[] = {
      {R"({"supp": true, "regVal": ["1", "2", "3"]})", 0, cond(kFunc, 375, "(regnum == count)")},
      {R"({"supp": true})", 1, ""},
      {R"({"supp": true, "regVal": "12"})", 1, ""},
      {R"({"supp": true, "regVal": ["1", 2]})", 0, cond(kFunc, 380, "(NULL != pItem && cJSON_String == pItem->type)")},
      {R"({"supp": "yes", "regVal": ["1", "2"]})", 0, ""},
  };
  for (const auto &c : cases) {
    set(config(R"("BBRegCfg": {"BBRegAGC": )" + c.agc + "}"));
    EXPECT_EQ(load(), c.err) << c.agc;
    EXPECT_EQ(radio_config_bbAGCSupp(), c.supp) << c.agc;
  }
  set(config(R"("BBRegCfg": {"BBRegAGC": {"supp": true}}, "thermalCtl": {"supp": true})"));
  load();
  EXPECT_EQ(radio_config_bbAGCRegVal(2, v), 0u);
  EXPECT_EQ(v[0], 0u);  // supported with zero values
  EXPECT_EQ(stderr_of([] { EXPECT_EQ(radio::_bbreg_parse(nullptr, "BBRegAGC", 2, nullptr), 0); }),
            cond(kFunc, 360, "(pRoot && pRegName && pRegSet)"));
}

TEST_F(RadioConfigTest, DerivedModeAndWidth) {
  const struct {
    int mode;
    uint32_t cap, mode2g, width2g, mode5g, width5g;
  } cases[] = {
      {0x01, 1, 0, 2, 0, 2},     {0x02, 2, 3, 2, 3, 2},      {0x06, 4, 4, 4, 4, 4},
      {0x0f, 8, 10, 6, 10, 6},   {0x34, 16, 13, 4, 16, 8},   {0x1f, 16, 13, 4, 16, 8},
  };
  for (const auto &c : cases) {
    set(config("", radio_entry(2, c.mode), radio_entry(52, c.mode)));
    load();
    EXPECT_EQ(radio_config_getMaxModeCap(0), c.cap) << c.mode;
    EXPECT_EQ(radio_config_getMaxMode(0), c.mode2g) << c.mode;
    EXPECT_EQ(radio_config_getMaxChanWidth(0), c.width2g) << c.mode;
    EXPECT_EQ(radio_config_getMaxMode(1), c.mode5g) << c.mode;
    EXPECT_EQ(radio_config_getMaxChanWidth(1), c.width5g) << c.mode;
  }
  set(config("", radio_entry(2, 0x20), radio_entry(5)));
  load();
  EXPECT_EQ(stderr_of([] { EXPECT_EQ(radio_config_getMaxModeCap(0), 0u); }),
            msg("radio_config_getMaxModeCap", 1533, "invalid mode:0x20\n"));
  EXPECT_EQ(stderr_of([] { EXPECT_EQ(radio_config_getMaxMode(0), RADIO_CONFIG_ERR); }),
            msg("radio_config_getMaxModeCap", 1533, "invalid mode:0x20\n") +
                msg("radio_config_getMaxMode", 1691, "invalid mode:0\n"));
  EXPECT_EQ(stderr_of([] { EXPECT_EQ(radio_config_getMaxChanWidth(0), RADIO_CONFIG_ERR); }),
            msg("radio_config_getMaxModeCap", 1533, "invalid mode:0x20\n") +
                msg("radio_config_getMaxChanWidth", 1731, "invalid mode:0\n"));
  EXPECT_EQ(stderr_of([] { EXPECT_EQ(radio_config_getMaxMode(2), RADIO_CONFIG_ERR); }),
            msg("radio_config_getMaxMode", 1661, "invalid radioID:2\n"));
  EXPECT_EQ(stderr_of([] { EXPECT_EQ(radio_config_getMaxChanWidth(2), RADIO_CONFIG_ERR); }),
            msg("radio_config_getMaxChanWidth", 1702, "invalid radioID:2\n"));
}

TEST_F(RadioConfigTest, RadioIdByBand) {
  set(config("", radio_entry(2), radio_entry(52)));
  load();
  EXPECT_EQ(radio_config_getRidWithBand(52), 1u);
  EXPECT_EQ(radio_config_getRidWithBand(2), 0u);
  EXPECT_EQ(radio_config_getRidWithBand(5), RADIO_CONFIG_ERR);
  EXPECT_EQ(radio_config_getRidWithBand(3), RADIO_CONFIG_ERR);
  set(config("", radio_entry(5), radio_entry(5)));
  load();
  EXPECT_EQ(radio_config_getRidWithBand(5), 0u);  // radio 0 wins
}

TEST_F(RadioConfigTest, EveryAccessorFamilyOnAFailedLoad) {
  const std::string load_msg = cond("l_radio_config_init", 447, "(NULL != pFile)");
  struct Case {
    const char *name;
    std::function<void()> call;
    std::string err;  // after the loader's own message
  };
  auto per_radio = [](const char *f, int line) { return msg(f, line, "init error or invalid radioID:1\n"); };
  auto table = [](const char *f, int line) { return msg(f, line, "init error\n"); };
  uint8_t b = 0;
  uint32_t v[3];
  const std::vector<Case> cases = {
      {"getBand", [] { EXPECT_EQ(radio_config_getBand(1), 0u); }, per_radio("radio_config_getBand", 1455)},
      {"getMimo", [] { EXPECT_EQ(radio_config_getMimo(1), 0u); }, per_radio("radio_config_getMimo", 1466)},
      {"getMimoGain", [] { radio_config_getMimoGain(1); }, per_radio("radio_config_getMimoGain", 1477)},
      {"getAnttGain", [] { radio_config_getAnttGain(1); }, per_radio("radio_config_getAnttGain", 1488)},
      {"getModeCap", [] { radio_config_getModeCap(1); }, per_radio("radio_config_getModeCap", 1740)},
      {"getIfindex", [] { radio_config_getIfindex(1); }, per_radio("radio_config_getIfindex", 1542)},
      {"getBlockAcsBand", [] { radio_config_getBlockAcsBand(1); }, per_radio("radio_config_getBlockAcsBand", 1553)},
      {"getBlockSpruceBand4", [] { radio_config_getBlockSpruceBand4(1); },
       per_radio("radio_config_getBlockSpruceBand4", 1564)},
      {"getIfname", [] { EXPECT_EQ(radio_config_getIfname(1), nullptr); }, per_radio("radio_config_getIfname", 1575)},
      {"getVapPrefix", [] { EXPECT_EQ(radio_config_getVapPrefix(1), nullptr); },
       per_radio("radio_config_getVapPrefix", 1586)},
      {"getMaxVapNum", [] { radio_config_getMaxVapNum(1); }, per_radio("radio_config_getMaxVapNum", 1597)},
      {"getMaxModeCap", [] { radio_config_getMaxModeCap(1); }, per_radio("radio_config_getMaxModeCap", 1501)},
      {"smartAntennaSupp", [] { radio_config_smartAntennaSupp(1); }, table("radio_config_smartAntennaSupp", 2007)},
      {"getEIRP", [] { EXPECT_EQ(radio_config_getEIRP(), 0u); }, ""},
      {"getMaxStaPerRadio", [] { EXPECT_EQ(radio_config_getMaxStaPerRadio(), 0); }, ""},
      {"supp5G", [] { EXPECT_EQ(radio_config_supp5G(), 0u); }, ""},
      {"chanLimitSupp", [] { radio_config_chanLimitSupp(); }, table("radio_config_chanLimitSupp", 1771)},
      {"ofdmaCfgSupp", [] { radio_config_ofdmaCfgSupp(); }, table("radio_config_ofdmaCfgSupp", 1783)},
      {"fragThreshSupp", [] { radio_config_fragThreshSupp(); }, table("radio_config_fragThreshSupp", 1795)},
      {"dfsImproveSupp", [] { radio_config_dfsImproveSupp(); }, table("radio_config_dfsImproveSupp", 1828)},
      {"n1024QAMSupp", [] { radio_config_n1024QAMSupp(); }, table("radio_config_n1024QAMSupp", 1839)},
      {"thermalCtlSupp", [] { radio_config_thermalCtlSupp(); }, table("radio_config_thermalCtlSupp", 1850)},
      {"bbCCASupp", [] { radio_config_bbCCASupp(); }, table("radio_config_bbCCASupp", 1882)},
      {"bbAGCSupp", [] { radio_config_bbAGCSupp(); }, table("radio_config_bbAGCSupp", 1917)},
      {"bbPSDSupp", [] { radio_config_bbPSDSupp(); }, table("radio_config_bbPSDSupp", 1952)},
      {"getSpecRegionCode", [] { EXPECT_EQ(radio_config_getSpecRegionCode(), 841u); },
       table("radio_config_getSpecRegionCode", 2061)},
      {"needOverWriteCtl", [] { radio_config_needOverWriteCtl(); }, table("radio_config_needOverWriteCtl", 2073)},
      {"dfsSupp", [] { radio_config_dfsSupp(); }, table("radio_config_dfsSupp", 2084)},
      {"getMeshBkhapIfname", [] { EXPECT_EQ(radio_config_getMeshBkhapIfname(), nullptr); },
       msg("radio_config_getMeshBkhapIfname", 1347, "init error or invalid\n")},
      {"getMeshStaIfname", [] { EXPECT_EQ(radio_config_getMeshStaIfname(), nullptr); },
       msg("radio_config_getMeshStaIfname", 1358, "init error or invalid\n")},
      {"thermalLevelCfg", [&] { EXPECT_EQ(radio_config_thermalLevelCfg(0, &b, &b, &b), RADIO_CONFIG_ERR); },
       table("radio_config_thermalLevelCfg", 1861)},
      {"bbCCARegVal", [&] { EXPECT_EQ(radio_config_bbCCARegVal(1, v), RADIO_CONFIG_ERR); },
       table("radio_config_bbCCARegVal", 1895)},
      {"bbAGCRegVal", [&] { EXPECT_EQ(radio_config_bbAGCRegVal(1, v), RADIO_CONFIG_ERR); },
       table("radio_config_bbAGCRegVal", 1930)},
      {"bbPSDRegVal", [&] { EXPECT_EQ(radio_config_bbPSDRegVal(1, v), RADIO_CONFIG_ERR); },
       table("radio_config_bbPSDRegVal", 1965)},
  };
  for (const auto &c : cases) EXPECT_EQ(stderr_of(c.call), load_msg + c.err) << c.name;
}

TEST_F(RadioConfigTest, BadArgumentsOnALoadedTable) {
  set(config());
  load();
  EXPECT_EQ(stderr_of([] { EXPECT_EQ(radio_config_getBand(2), 0u); }),
            msg("radio_config_getBand", 1455, "init error or invalid radioID:2\n"));
  EXPECT_EQ(stderr_of([] { EXPECT_EQ(radio_config_smartAntennaSupp(2), 0u); }),
            msg("radio_config_smartAntennaSupp", 2007, "init error or invalid radioID:2\n"));
  uint8_t b = 0;
  char expect[160];
  std::snprintf(expect, sizeof expect, "invalid param, level:4, %p, %p, %p\n", static_cast<void *>(&b),
                static_cast<void *>(&b), static_cast<void *>(&b));
  EXPECT_EQ(stderr_of([&] { EXPECT_EQ(radio_config_thermalLevelCfg(4, &b, &b, &b), RADIO_CONFIG_ERR); }),
            msg("radio_config_thermalLevelCfg", 1867, expect));
  EXPECT_EQ(stderr_of([&] { EXPECT_EQ(radio_config_thermalLevelCfg(0, nullptr, &b, &b), RADIO_CONFIG_ERR); })
                .rfind(msg("radio_config_thermalLevelCfg", 1867, "invalid param, level:0, "), 0),
            0u);
  uint32_t v[3] = {};
  EXPECT_EQ(stderr_of([&] { EXPECT_EQ(radio_config_bbCCARegVal(2, v), RADIO_CONFIG_ERR); }),
            msg("radio_config_bbCCARegVal", 1901, "regnum(2) too many\n"));
  EXPECT_EQ(stderr_of([&] { EXPECT_EQ(radio_config_bbAGCRegVal(3, v), RADIO_CONFIG_ERR); }),
            msg("radio_config_bbAGCRegVal", 1936, "regnum(3) too many\n"));
  EXPECT_EQ(stderr_of([&] { EXPECT_EQ(radio_config_bbPSDRegVal(4, v), RADIO_CONFIG_ERR); }),
            msg("radio_config_bbPSDRegVal", 1971, "regnum(4) too many\n"));
  EXPECT_EQ(radio_config_bbPSDRegVal(0, nullptr), 0u);
  EXPECT_EQ(radio_config_bbPSDRegVal(1, nullptr), RADIO_CONFIG_ERR);
}

TEST_F(RadioConfigTest, DumpFormat) {
  set(config(R"("chanLimitSupp": true, "ofdmaCfgSupp": true,
               "thermalCtl": {"supp": true, "levels": [{"low": 1, "high": 2, "dcoff": 3},
                 {"low": 4, "high": 5, "dcoff": 6}, {"low": 7, "high": 8, "dcoff": 9},
                 {"low": 10, "high": 11, "dcoff": 12}]},
               "BBRegCfg": {"BBRegCCAB0": {"supp": true, "regVal": ["1c8f"]}})",
             radio_entry(2, 0x1f, 2, R"("blockAcsBand": 1)"), radio_entry(5, 0x34, 3)));
  std::string out = stdout_of([] { radio_config_getBand(0); });
  EXPECT_EQ(out,
            "\n==============radio config============\n"
            "radioType: 0x11\n"
            "EIRP: 1\n"
            "0.\tradioID:0\n\tband:2\n\tmimo:2\n\tmimogain:3\n\tanttgain:3\n\tmode:31\n"
            "\tblockAcsBand:1\n\tblockSpruceBand4:0\n"
            "1.\tradioID:1\n\tband:5\n\tmimo:3\n\tmimogain:5\n\tanttgain:3\n\tmode:52\n"
            "\tblockAcsBand:0\n\tblockSpruceBand4:0\n"
            "chanlimit:1\ndfsImproveSupp:0\nn1024QAMSupp:0\nthermalSupp:1\n"
            "\tlevel[0] 1 2 3\n\tlevel[1] 4 5 6\n\tlevel[2] 7 8 9\n\tlevel[3] 10 11 12\n"
            "QCA HAL BB reg: \n"
            "\tCCA: 1\n\t 0x001c8f \n"
            "\tAGC: 0\n\t 00000000 \n\t 00000000 \n"
            "\tPSD 0\n\t 00000000 \n\t 00000000 \n\t 00000000 \n"
            "ofdmaCfgSupp:1\nnoAutoWradarSupp:0\nzeroWaitDfsSupp:0\n"
            "\n==============radio config============\n");
  EXPECT_EQ(stdout_of([] { debug_show_radio_cfg(); }), out);  // the dump alone never loads
}

}  // namespace
}  // namespace aputil::test
