// Queries over the loaded region: conversions, power, flags, lists.
#include <cstring>
#include <functional>
#include <tuple>
#include <string>
#include <vector>

#include "region_fixture.h"

namespace aputil::test {
namespace {

std::string err(const char *func, int line, const std::string &text) { return region_msg("error", func, line, text); }

class RegionQueryTest : public RegionTest {
 protected:
  // Loads region 1 with these channel lines for radio 0 (2.4 GHz) and
  // radio 1 (5 GHz).
  void load(const std::string &chans2, const std::string &chans5, const std::string &radio_top = "") {
    set_radios(2, 5, radio_top);
    set_reg2("R:1 " + chans2 + "\n");
    set_reg5("R:1 " + chans5 + "\n");
    ASSERT_EQ(init(1), 0);
  }
};

TEST_F(RegionQueryTest, NothingBeforeTheFirstLoad) {
  uint32_t lo = 9, hi = 9;
  EXPECT_EQ(radio_region_Freq2Index(0, 2412), 0u);
  EXPECT_EQ(radio_region_getMaxPowerByRadio(1), 0u);
  EXPECT_EQ(radio_region_getPowerRange(0, &lo, &hi), 0u);
  EXPECT_EQ(hi, 0u);
  EXPECT_EQ(radio_region_isHT40Supp(0), 0u);
  EXPECT_EQ(radio_region_is5GSupp(), 0u);
}

TEST_F(RegionQueryTest, IndexNumberFrequency) {
  load("2412,1,0,20 2417,1,0,27 2412,1,0,5", "5180,100,0,1");
  EXPECT_EQ(radio_region_chanIndex2Freq(0, 2), 2417u);
  EXPECT_EQ(radio_region_chanIndex2Num(0, 2), 2u);
  EXPECT_EQ(radio_region_chanNum2Index(0, 1), 1u);  // duplicate: the first
  EXPECT_EQ(radio_region_Freq2Index(0, 2412), 1u);
  EXPECT_EQ(radio_region_Freq2Index(1, 5180), 1u);
  EXPECT_EQ(radio_region_chanNum2Index(1, 40), 0u);
  EXPECT_EQ(stderr_of([] { EXPECT_EQ(radio_region_chanIndex2Freq(0, 0), 0u); }), "");
  EXPECT_EQ(stderr_of([] { EXPECT_EQ(radio_region_chanIndex2Freq(0, 4), 0u); }),
            err("radio_region_chanIndex2Freq", 837, "invalid chanIndex:4\n"));
  EXPECT_EQ(stderr_of([] { EXPECT_EQ(radio_region_chanIndex2Num(0, 4), 0u); }),
            err("radio_region_chanIndex2Num", 907, "invalid chanIndex:4\n"));
  const struct {
    std::function<uint32_t()> call;
    std::string msg;
  } bad_rid[] = {
      {[] { return radio_region_chanIndex2Freq(2, 1); }, err("radio_region_chanIndex2Freq", 831, "invalid rid:2\n")},
      {[] { return radio_region_chanIndex2Num(2, 1); }, err("radio_region_chanIndex2Num", 896, "invalid rid:2\n")},
      {[] { return radio_region_chanNum2Index(2, 1); }, err("radio_region_chanNum2Index", 856, "invalid rid:2\n")},
      {[] { return radio_region_Freq2Index(2, 1); }, err("radio_region_Freq2Index", 878, "invalid rid:2\n")},
      {[] { return radio_region_getMaxPowerByRadio(2); },
       err("radio_region_getMaxPowerByRadio", 922, "invalid rid:2\n")},
      {[] { return radio_region_getMaxPowerByChan(2, 0, nullptr); },
       err("radio_region_getMaxPowerByChan", 960, "invalid rid:2\n")},
      {[] { return radio_region_checkChannel(2, 0); }, err("radio_region_checkChannel", 1052, "invalid rid:2\n")},
      {[] { return radio_region_getChanCommonFlag(2, 1); },
       err("radio_region_getChanCommonFlag", 1227, "invalid rid:2\n")},
      {[] { return radio_region_isHT40Supp(2); }, err("radio_region_isHT40Supp", 1267, "invalid rid:2\n")},
      {[] { return radio_region_isVHT80Supp(2); }, err("radio_region_isVHT80Supp", 1291, "invalid rid:2\n")},
  };
  for (const auto &b : bad_rid) {
    uint32_t got = 1;
    EXPECT_EQ(stderr_of([&] { got = b.call(); }), b.msg);
    EXPECT_EQ(got, 0u) << b.msg;
  }
}

TEST_F(RegionQueryTest, PowerFollowsTheUsableRuleAndExclusions) {
  load("2412,1,0,20 2417,1,0,27 2422,1,2,40", "5180,100,1002,30 5200,100,0,10");
  EXPECT_EQ(radio_region_getMaxPowerByRadio(0), 27u);  // 40 is a DFS channel not enabled
  EXPECT_EQ(radio_region_getMaxPowerByRadio(1), 30u);  // 0x1002: usable
  const uint16_t exclude[] = {1, 2417};
  EXPECT_EQ(radio_region_getMaxPowerByChan(0, 0, exclude), 20u);
  const uint16_t nothing_known[] = {2, 2400, 5000};
  EXPECT_EQ(radio_region_getMaxPowerByChan(0, 0, nothing_known), 27u);
  EXPECT_EQ(radio_region_getMaxPowerByChan(0, 0, nullptr), 27u);
  // Every count a u16 holds, up to 65535 with the only known frequency last.
  std::vector<uint16_t> longest(65536, 2400);
  longest[0] = 65535;
  longest[65535] = 2417;
  EXPECT_EQ(radio_region_getMaxPowerByChan(0, 0, longest.data()), 20u);
  EXPECT_EQ(radio_region_getMaxPowerByChan(0, 3, exclude), 40u);  // by index: no rule, no list
  EXPECT_EQ(stderr_of([&] { EXPECT_EQ(radio_region_getMaxPowerByChan(0, 4, exclude), 0u); }),
            err("radio_region_getMaxPowerByChan", 967, "invalid chanIndex:4\n"));
}

TEST_F(RegionQueryTest, PowerRangeAddsAntennaGainInFourRegions) {
  // Radio 1: anttgain 5, mimo 4 (gain 6); radio 0: anttgain 3, mimo 2 (gain 3).
  for (const auto &[code, eirp, min1] : {std::tuple{36, true, 12u}, {818, true, 12u}, {276, true, 12u},
                                         {392, true, 12u}, {840, true, 7u}, {36, false, 7u}}) {
    set_radios(2, 5, eirp ? "" : R"("EIRP": false,)");
    set_reg2("R:" + std::to_string(code) + " 2412,1,0,20\n");
    set_reg5("R:" + std::to_string(code) + " 5180,100,0,23\n");
    ASSERT_EQ(init(code), 0);
    uint32_t lo = 0, hi = 0;
    EXPECT_EQ(radio_region_getPowerRange(1, &lo, &hi), 0u);
    EXPECT_EQ(lo, min1) << code << " " << eirp;
    EXPECT_EQ(hi, 23u);
  }
  uint32_t lo = 0;
  EXPECT_EQ(stderr_of([&] {
              EXPECT_EQ(radio_region_getPowerRange(2, &lo, &lo), RADIO_REGION_ERR);
              EXPECT_EQ(radio_region_getPowerRange(0, nullptr, &lo), RADIO_REGION_ERR);
            }),
            "");
}

TEST_F(RegionQueryTest, Ht40AndVht80) {
  load("2412,10000,0,1 2417,40000,0,1", "5180,800000,0,1 5200,10100,0,1");
  EXPECT_EQ(radio_region_isHT40Supp(0), 1u);
  EXPECT_EQ(radio_region_isHT40Supp(1), 0u);
  EXPECT_EQ(radio_region_isVHT80Supp(1), 0u);  // 0x800000 without 0x100
  load("2412,10000,0,1", "5180,800100,0,1");
  EXPECT_EQ(radio_region_isHT40Supp(0), 0u);
  EXPECT_EQ(radio_region_isVHT80Supp(1), 1u);
  EXPECT_EQ(radio_region_isVHT160Supp(1), 0u);
  EXPECT_EQ(radio_region_is5GSupp(), 1u);
}

TEST_F(RegionQueryTest, DfsAndWeatherRadar) {
  load("2412,1,1602,1", "5180,100,2,1 5260,100,402,1");  // 0x2 without 0x1000: not active
  EXPECT_EQ(radio_region_isDfsSupp(), 0u);
  EXPECT_EQ(radio_region_isWradarSupp(), 0u);
  EXPECT_EQ(radio_region_getDFSCap(), 0);

  load("2412,1,1602,1", "5260,100,1102,1 5600,100,1602,1");
  EXPECT_EQ(radio_region_isDfsSupp(), 1u);
  EXPECT_EQ(radio_region_isWradarSupp(), 1u);
  EXPECT_EQ(radio_region_getDFSCap(), 7);

  load("2412,1,0,1", "5260,100,1102,1 5600,100,1602,1", R"("dfsCfgSupp": false,)");
  EXPECT_EQ(radio_region_isDfsSupp(), 0u);
  EXPECT_EQ(radio_region_getDFSCap(), 0);
  EXPECT_EQ(radio_region_isWradarSupp(), 1u);  // does not look at dfsCfgSupp
}

TEST_F(RegionQueryTest, ChannelValidityPerWidthCode) {
  load("2412,1,0,1", "5260,100,1102,1");
  const radio_chan_rec_t ht40_only = {2412, 1, 0x20000, 0, 1};
  const radio_chan_rec_t vht80 = {5180, 36, 0x800100, 0, 1};
  const radio_chan_rec_t ht20 = {2412, 1, 0x10000, 0, 1};
  EXPECT_EQ(radio_region_checkChannelValid(2, &ht40_only), 0u);
  EXPECT_EQ(radio_region_checkChannelValid(3, &ht40_only), 1u);
  EXPECT_EQ(radio_region_checkChannelValid(4, &ht40_only), 1u);
  EXPECT_EQ(radio_region_checkChannelValid(5, &ht40_only), 0u);
  EXPECT_EQ(radio_region_checkChannelValid(6, &vht80), 1u);
  EXPECT_EQ(radio_region_checkChannelValid(2, &ht20), 1u);
  EXPECT_EQ(radio_region_checkChannelValid(8, &ht20), 1u);
  EXPECT_EQ(radio_region_checkChannelValid(7, &ht20), 1u);
  EXPECT_EQ(radio_region_checkChannelValid(2, nullptr), 0u);
  // DFS and radar bits need the region's support (0x1000 is not looked at).
  const radio_chan_rec_t dfs = {5260, 52, 0x10000, 0x2, 1};
  const radio_chan_rec_t radar = {5600, 120, 0x10000, 0x1402, 1};
  EXPECT_EQ(radio_region_checkChannelValid(2, &dfs), 1u);
  EXPECT_EQ(radio_region_checkChannelValid(2, &radar), 0u);  // no weather-radar channel loaded
  load("2412,1,0,1", "5180,100,0,1");
  EXPECT_EQ(radio_region_checkChannelValid(2, &dfs), 0u);
}

TEST_F(RegionQueryTest, NonDfsChannelAvailable) {
  load("2412,10000,0,1", "5180,10000,0,1 5260,10000,1102,1 5300,0,0,1");
  const uint32_t freqs[] = {5260, 5300, 5180};
  EXPECT_EQ(radio_region_checkIsSuppNonDfsChan(1, 3, freqs, 2), 1u);
  EXPECT_EQ(radio_region_checkIsSuppNonDfsChan(1, 2, freqs, 2), 0u);  // DFS skipped, 5300 lacks HT20
  const uint32_t unknown[] = {4000};
  EXPECT_EQ(radio_region_checkIsSuppNonDfsChan(1, 1, unknown, 2), 0u);
  EXPECT_EQ(stderr_of([&] { EXPECT_EQ(radio_region_checkIsSuppNonDfsChan(1, 67, freqs, 2), 1u); }),
            err("radio_region_checkIsSuppNonDfsChan", 2159, "invalid suppFrepCnt: 67\n"));
  EXPECT_EQ(stderr_of([&] { EXPECT_EQ(radio_region_checkIsSuppNonDfsChan(1, 0, freqs, 2), 1u); }),
            err("radio_region_checkIsSuppNonDfsChan", 2159, "invalid suppFrepCnt: 0\n"));
  const std::string invalid = err("radio_region_checkIsSuppNonDfsChan", 2152, "invalid parameters\n");
  EXPECT_EQ(stderr_of([&] { EXPECT_EQ(radio_region_checkIsSuppNonDfsChan(0, 3, freqs, 2), 0u); }), invalid);
  EXPECT_EQ(stderr_of([&] { EXPECT_EQ(radio_region_checkIsSuppNonDfsChan(1, 3, nullptr, 2), 0u); }), invalid);
  load("2412,10000,0,1", "5180,10000,0,1");  // no DFS: the question is not answered
  EXPECT_EQ(stderr_of([&] { EXPECT_EQ(radio_region_checkIsSuppNonDfsChan(1, 3, freqs, 2), 0u); }), invalid);
}

TEST_F(RegionQueryTest, ChannelListLeavesHoles) {
  load("2412,1,0,1 2417,1,2,1 2422,1,1002,1", "5180,100,0,1");
  radio_chan_list_t list;
  std::memset(&list, 0xAB, sizeof list);
  list.kind = 1;
  EXPECT_EQ(radio_region_getChanList(0, &list), 0u);
  EXPECT_EQ(list.count, 3);
  EXPECT_EQ(list.entries[0], 2412);
  EXPECT_EQ(list.entries[1], 0);
  EXPECT_EQ(list.entries[2], 2422);
  EXPECT_EQ(list.entries[65], 0);
  list.kind = 0;
  EXPECT_EQ(radio_region_getChanList(0, &list), 0u);
  EXPECT_EQ(list.entries[2], 3);
  EXPECT_EQ(stderr_of([] { EXPECT_EQ(radio_region_getChanList(0, nullptr), RADIO_REGION_ERR); }),
            err("radio_region_getChanList", 1373, "pChanlist is NULL\n"));
  EXPECT_EQ(stderr_of([&] { EXPECT_EQ(radio_region_getChanList(2, &list), RADIO_REGION_ERR); }),
            err("radio_region_getChanList", 1379, "invalid rid:2\n"));
}

TEST_F(RegionQueryTest, BlockList) {
  load("2412,1,0,1 2417,1,2,1 2422,1,0,1", "5180,100,0,1");
  radio_block_list_t out;
  const uint32_t all[] = {2422, 2412, 2417};
  EXPECT_EQ(radio_region_getBlockFreqList(0, 3, all, &out), 0u);
  EXPECT_EQ(out.count, 0);
  const uint32_t some[] = {2417, 9999};
  EXPECT_EQ(radio_region_getBlockFreqList(0, 2, some, &out), 0u);
  EXPECT_EQ(out.count, 2);
  EXPECT_EQ(out.freq[0], 2412);
  EXPECT_EQ(out.freq[1], 2422);
  EXPECT_EQ(out.freq[2], 0);
  EXPECT_EQ(stderr_of([&] { EXPECT_EQ(radio_region_getBlockFreqList(0, 4, all, &out), RADIO_REGION_ERR); }),
            err("radio_region_getBlockFreqList", 2198, "invalid suppFrepCnt: 4 maxChanCnt: 3\n"));
  EXPECT_EQ(stderr_of([&] { EXPECT_EQ(radio_region_getBlockFreqList(0, 0, all, &out), RADIO_REGION_ERR); }),
            err("radio_region_getBlockFreqList", 2198, "invalid suppFrepCnt: 0 maxChanCnt: 3\n"));
  for (auto bad : {std::tuple<uint32_t, const uint32_t *, radio_block_list_t *>{2, all, &out}, {0, nullptr, &out},
                   {0, all, nullptr}}) {
    EXPECT_EQ(stderr_of([&] {
                EXPECT_EQ(radio_region_getBlockFreqList(std::get<0>(bad), 1, std::get<1>(bad), std::get<2>(bad)),
                          RADIO_REGION_ERR);
              }),
              err("radio_region_getBlockFreqList", 2191, "invalid parameters\n"));
  }
}

TEST_F(RegionQueryTest, SingleChannelQueriesAndTheWholeTable) {
  load("2412,10080,0,20 2417,30080,0,20", "5180,100,0,1");
  EXPECT_EQ(radio_region_checkChannel(0, 2), 2u);
  EXPECT_EQ(radio_region_checkChannel(0, 0), 0u);
  EXPECT_EQ(stderr_of([] { EXPECT_EQ(radio_region_checkChannel(0, 3), 0u); }),
            err("radio_region_checkChannel", 1058, "invalid chanIndex:3\n"));
  EXPECT_EQ(radio_region_getChanCommonFlag(0, 2), 0x30080u);
  EXPECT_EQ(stderr_of([] { EXPECT_EQ(radio_region_getChanCommonFlag(0, 0), 0u); }),
            err("radio_region_getChanCommonFlag", 1235, "invalid chanIndex:0, current channelNum = 2\n"));
  radio_region_tbl_t copy;
  EXPECT_EQ(radio_region_getRegionFlags(0, &copy), 0u);
  EXPECT_EQ(copy.regionCode, 1);
  EXPECT_EQ(copy.chanNum, 2);
  EXPECT_EQ(copy.chanRec[1].commonFlag, 0x30080u);
  EXPECT_EQ(stderr_of([] { EXPECT_EQ(radio_region_getRegionFlags(0, nullptr), RADIO_REGION_ERR); }), "");
  EXPECT_EQ(stderr_of([&] { EXPECT_EQ(radio_region_getRegionFlags(2, &copy), RADIO_REGION_ERR); }),
            err("radio_region_getRegionFlags", 1251, "invalid rid:2\n"));

  EXPECT_EQ(stdout_of([] { debug_regionShowFlag(); }),
            "============================\n"
            "region:1, channelNum:2\n"
            "chanIndex:1 flag:10080 freq:2412M, chan:1\n"
            "chanIndex:2 flag:30080 freq:2417M, chan:2\n"
            "region:1, channelNum:1\n"
            "chanIndex:1 flag:100 freq:5180M, chan:36\n");
}

TEST_F(RegionQueryTest, SwitchesFromTheRadioConfiguration) {
  ModelTree::forget_loaded();
  tree_.write_model("radio_config.json",
                    R"({"EIRP": true, "dfsUSSupp": true, "noAutoWradarSupp": true, "zeroWaitDfsSupp": true,
                        "radioTable": [{"band": 2, "mimo": 2, "anttgain": 3, "mode": 31},
                                       {"band": 5, "mimo": 2, "anttgain": 3, "mode": 31}]})");
  EXPECT_EQ(radio_region_isDfsUSSupp(), 0u);  // reads the table as it stands: not loaded yet
  stdout_of([] { EXPECT_EQ(radio_region_noAutoWradarSupp(), 1u); });  // loads it
  EXPECT_EQ(radio_region_zeroWaitDfsSupp(), 1u);
  EXPECT_EQ(radio_region_isDfsUSSupp(), 1u);

  ModelTree::forget_loaded();
  tree_.write_model("radio_config.json", "[]");
  std::string e = stderr_of([] {
    EXPECT_EQ(radio_region_noAutoWradarSupp(), 0u);
    EXPECT_EQ(radio_region_zeroWaitDfsSupp(), 0u);
  });
  EXPECT_NE(e.find(err("radio_region_noAutoWradarSupp", 1806, "init error\n")), std::string::npos);
  EXPECT_NE(e.find(err("radio_region_zeroWaitDfsSupp", 1817, "init error\n")), std::string::npos);
}

TEST_F(RegionQueryTest, AutomaticWidth) {
  set_radios(2, 52);
  EXPECT_EQ(radio_config_getMaxAutoChanWidth(1, 6), 5u);
  EXPECT_EQ(radio_config_getMaxAutoChanWidth(0, 6), 3u);
  EXPECT_EQ(radio_config_getMaxAutoChanWidth(0, 8), 3u);
  const std::string parm = err("radio_config_getMaxAutoChanWidth", 2024, "parm error\n");
  EXPECT_EQ(stderr_of([] { EXPECT_EQ(radio_config_getMaxAutoChanWidth(1, 5), RADIO_CONFIG_ERR); }), parm);
  EXPECT_EQ(stderr_of([] { EXPECT_EQ(radio_config_getMaxAutoChanWidth(2, 4), RADIO_CONFIG_ERR); }), parm);
  set_radios(7, 5);
  EXPECT_EQ(stderr_of([] { EXPECT_EQ(radio_config_getMaxAutoChanWidth(0, 4), 0u); }),
            err("radio_config_getMaxAutoChanWidth", 2053, "Don't get correct chanwidth!\n"));
}

TEST_F(RegionQueryTest, Capacity) {
  load("2412,1,0,20", "5180,100,0,23", R"("ofdmaCfgSupp": true, "ofdmaEnable": false,)");
  radio_capacity_t caps[2];
  EXPECT_EQ(radio_config_get_capacity(caps), 0u);
  EXPECT_EQ(caps[0].radioId, 0u);
  EXPECT_EQ(caps[0].minPower, 4u);
  EXPECT_EQ(caps[0].maxPower, 20u);
  EXPECT_EQ(caps[1].radioId, 1u);
  EXPECT_EQ(caps[1].minPower, 7u);
  EXPECT_EQ(caps[1].maxPower, 23u);
  EXPECT_EQ(caps[1].mimo, 4u);
  EXPECT_EQ(caps[1].ofdmaCfgSupp, 1u);
  EXPECT_EQ(caps[1].ofdmaEnable, 0u);
  EXPECT_EQ(caps[1].maxVapNum, 8u);

  ModelTree::forget_loaded();
  tree_.write_model("radio_config.json", "");
  radio_capacity_t untouched[2];
  std::memset(untouched, 0x5A, sizeof untouched);
  std::string e = stderr_of([&] { EXPECT_EQ(radio_config_get_capacity(untouched), RADIO_CONFIG_ERR); });
  EXPECT_NE(e.find(err("radio_config_get_capacity", 1421, "init error\n")), std::string::npos);
  EXPECT_EQ(untouched[0].radioId, 0x5A5A5A5Au);
}

}  // namespace
}  // namespace aputil::test
