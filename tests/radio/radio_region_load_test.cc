// Building the region tables: file grammar, radios, reloads, bounds.
#include <string>

#include "radio/radio_region_table.h"
#include "region_fixture.h"

namespace aputil::test {
namespace {

std::string dbg(int line, const std::string &text) { return region_msg("debug", "_radio_region_init", line, text); }
std::string err(int line, const std::string &text) { return region_msg("error", "_radio_region_init", line, text); }

const radio_region_tbl_t &table(uint32_t rid) { return radio::g_region.radio[rid]; }

TEST_F(RegionTest, ReadsTheRequestedBlock) {
  set_reg2("OTHER:7 2422,10000,0,10\nUSA:840 2412,10080,0,20 2484,10080,1002,18\nX:9 2437,1,2,3\n");
  set_reg5("USA:840\n5180,870100,0,23\n5825,100,0,30");
  std::string e;
  EXPECT_EQ(init(840, &e), 0);
  EXPECT_EQ(e, dbg(256, "read next region flag, parse finish\n") + dbg(285, "region:840, parse channel num:2\n") +
                   dbg(285, "region:840, parse channel num:2\n"));  // no line end after the last token: silent
  const radio_chan_rec_t &r = table(0).chanRec[0];
  EXPECT_EQ(r.freq, 2412);
  EXPECT_EQ(r.chan, 1u);
  EXPECT_EQ(r.commonFlag, 0x10080u);
  EXPECT_EQ(r.extFlag, 0u);
  EXPECT_EQ(r.maxPower, 20);
  EXPECT_EQ(table(0).chanRec[1].chan, 14u);
  EXPECT_EQ(table(0).chanRec[1].extFlag, 0x1002u);
  EXPECT_EQ(table(0).regionCode, 840);
  EXPECT_EQ(table(1).chanNum, 2);
  EXPECT_EQ(table(1).chanRec[0].chan, 36u);
  EXPECT_EQ(table(1).chanRec[1].chan, 165u);
}

TEST_F(RegionTest, ChannelNumbersAcrossBands) {
  set_reg2("R:1 2412,0,0,1 2467,0,0,1 2484,0,0,1 3000,0,0,1 4920,0,0,1 4000,0,0,1 5180,0,0,1 5825,0,0,1 5000,0,0,1\n");
  set_reg5("R:1\n");
  ASSERT_EQ(init(1), 0);
  const uint32_t want[] = {1, 12, 14, 39, 184, 0, 36, 165, 0};
  ASSERT_EQ(table(0).chanNum, 9);
  for (int k = 0; k < 9; ++k) EXPECT_EQ(table(0).chanRec[k].chan, want[k]) << table(0).chanRec[k].freq;
}

TEST_F(RegionTest, HeadersBlocksAndMarkers) {
  set_reg5("EU:1\n");
  struct {
    const char *reg2;
    int code;
    int rc;
    int chans;
    std::string tail;  // debug or error line expected for radio 0
  } cases[] = {
      {"USA:840 2412,1,0,1\n", 840, 0, 1, dbg(251, "empty line\n")},        // whitespace after the last token
      {"USA:840 2412,1,0,1 empty 2417,1,0,1\n", 840, 0, 1, dbg(262, "empty country flags\n")},
      {"USA:840 empty\nJP:392 2412,1,0,1\n", 840, 0, 0, dbg(262, "empty country flags\n")},
      {"name-with-text:0840x 2412,1,0,1 B:2", 840, 0, 1, dbg(256, "read next region flag, parse finish\n")},
      {"840 2412,1,0,1 USA:840", 840, 0, 0, ""},                           // header as the very last token
      {"USA:840 2412,1,0,1 840 2417,1,0,1\n", 840, -1, 1, err(273, "invalid file format\n")},
      {"USA:840 2412,1,0\n", 840, -1, 0, err(273, "invalid file format\n")},
      {"USA:840 2412,1,0,1\n", 841, -1, 0, err(237, "failed to find match region:841\n")},
      {"NAME: 2412,1,0,1\n", 0, 0, 1, dbg(251, "empty line\n")},           // atoi of nothing is 0
  };
  for (const auto &c : cases) {
    ModelTree::forget_loaded();
    set_radios(2, 5);
    set_reg2(c.reg2);
    std::string e;
    EXPECT_EQ(init(c.code, &e), c.rc) << c.reg2;
    if (c.rc == 0) {
      EXPECT_EQ(table(0).chanNum, c.chans) << c.reg2;
      char count[64];
      std::snprintf(count, sizeof count, "region:%d, parse channel num:%d\n", c.code, c.chans);
      EXPECT_EQ(e.rfind(c.tail + dbg(285, count), 0), 0u) << c.reg2 << "\n" << e;
    } else {
      EXPECT_EQ(e, c.tail) << c.reg2;
    }
  }
}

TEST_F(RegionTest, SecondRadioIsLenient) {
  set_reg2("USA:840 2412,1,0,1\n");
  set_reg5("EU:276 5180,100,0,1\n");
  std::string e;
  EXPECT_EQ(init(840, &e), 0);
  EXPECT_EQ(table(1).chanNum, 0);
  EXPECT_EQ(table(1).regionCode, 840);
  EXPECT_NE(e.find(dbg(285, "region:840, parse channel num:0\n")), std::string::npos);

  set_radios(5, 2);  // now radio 0 reads the 5 GHz file
  EXPECT_EQ(init(840, &e), -1);
  EXPECT_EQ(e, err(237, "failed to find match region:840\n"));
}

TEST_F(RegionTest, MissingFilePrintsTheDevicePath) {
  set_reg2("USA:840 2412,1,0,1\n");
  std::string e;
  EXPECT_EQ(init(840, &e), -1);
  EXPECT_EQ(e.substr(e.find("<error>")), err(202, "failed to open file /etc/AP100_X_2.0/ath/REG_DOMAIN5\n"));
  EXPECT_EQ(table(0).chanNum, 1);  // radio 0 stays as loaded
}

TEST_F(RegionTest, BandsChooseTheFile) {
  set_reg2("R:1 2412,1,0,1\n");
  set_reg5("R:1 5180,100,0,1 5200,100,0,1\n");
  set_radios(5, 52);  // both read REG_DOMAIN5, each from the start
  ASSERT_EQ(init(1), 0);
  EXPECT_EQ(table(0).chanNum, 2);
  EXPECT_EQ(table(1).chanNum, 2);

  ModelTree::forget_loaded();
  tree_.write_model("radio_config.json", "not json");  // bands read as 0: both use REG_DOMAIN2
  std::string e;
  ASSERT_EQ(init(1, &e), 0);
  EXPECT_EQ(table(0).chanNum, 1);
  EXPECT_EQ(table(1).chanNum, 1);
}

TEST_F(RegionTest, EveryCallReloadsAndOldRecordsStayPastTheCount) {
  set_reg2("A:1 2412,1,0,10 2417,1,0,11 2422,1,0,12\nB:2 2462,1,0,20\n");
  set_reg5("A:1 5180,100,0,1\nB:2\n");
  ASSERT_EQ(init(1), 0);
  ASSERT_EQ(init(2), 0);
  EXPECT_EQ(table(0).regionCode, 2);
  EXPECT_EQ(table(0).chanNum, 1);
  EXPECT_EQ(table(0).chanRec[0].freq, 2462);
  EXPECT_EQ(table(0).chanRec[1].freq, 2417);  // never read: queries stop at chanNum
  EXPECT_EQ(table(1).chanNum, 0);
  EXPECT_EQ(stderr_of([] { EXPECT_EQ(radio_region_reinit(1), 0); }).empty(), false);
  EXPECT_EQ(table(0).chanNum, 3);
}

TEST_F(RegionTest, TooManyChannelsOrTooLongATokenIsRefused) {
  std::string block = "R:1";
  for (int i = 0; i < RADIO_REGION_MAX_CHAN; ++i) block += " " + std::to_string(2412 + i) + ",1,0,1";
  set_reg2(block + "\n");
  set_reg5("R:1\n");
  ASSERT_EQ(init(1), 0);
  EXPECT_EQ(table(0).chanNum, RADIO_REGION_MAX_CHAN);

  ModelTree::forget_loaded();
  set_radios(2, 5);
  set_reg2(block + " 5000,1,0,1\n");
  std::string e;
  EXPECT_EQ(init(1, &e), -1);
  EXPECT_EQ(e, err(273, "invalid file format\n"));
  EXPECT_EQ(table(1).regionCode, 0);  // nothing written past radio 0's table

  const std::string name49 = std::string(46, 'N') + ":12";  // 49 characters: a header
  set_reg2(name49 + " 2412,1,0,1\n");
  set_reg5("R:12\n");
  EXPECT_EQ(init(12), 0);
  set_reg2("N" + name49 + " 2412,1,0,1\n");  // 50 characters
  EXPECT_EQ(init(12, &e), -1);
  EXPECT_EQ(e, err(273, "invalid file format\n"));
  set_reg2("R:12 2412,1,0,1" + std::string(40, '0') + "\n");
  EXPECT_EQ(init(12, &e), -1);
  EXPECT_EQ(e, err(273, "invalid file format\n"));
}

}  // namespace
}  // namespace aputil::test
