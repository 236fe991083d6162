// aputil-info lint on the sample tree and on copies of it broken one way
// each: every case gives its own finding, and only that one.
#include <cstdio>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "cJSON.h"
#include "tools/tool_run.h"

namespace aputil::test {
namespace {

struct Case {
  const char *name;
  std::function<void(const Tree &)> breaks;
  const char *options;
  int exit;
  const char *finding;  // on stdout: the one finding the case must give
  const char *summary;  // its last line
};

void expect(const Case &c, const Outcome &r) {
  EXPECT_EQ(r.exit, c.exit) << c.name << "\n" << r.out << r.err;
  EXPECT_NE(r.out.find(c.finding), std::string::npos) << c.name << "\n" << r.out;
  EXPECT_NE(r.out.find(std::string("\n") + c.summary), std::string::npos) << c.name << "\n" << r.out;
}

TEST(Lint, TheSampleTreeIsClean) {
  Tree t;
  const Outcome r = t.info("lint" + kRegdb);
  EXPECT_EQ(r.exit, 0) << r.out << r.err;
  for (const char *line :
       {"product-info: \"AP100 X(EU):2.0\" region \"US\": /etc/AP100_X_2.0/\ndev_config.json: ok\nradio_config.json: ok\n"
        "REG_DOMAIN2/REG_DOMAIN5: 5 regions, all load\n",
        "region 36 (AU): 31 channels, 0 errors, 0 warnings\n", "region 840 (US): 36 channels, 0 errors, 0 warnings\n",
        "region 999: skipped: no ISO 3166-1 country has the numeric code 999\n", "lint: 0 errors, 0 warnings\n"})
    EXPECT_NE(r.out.find(line), std::string::npos) << line << "\n" << r.out;
  EXPECT_NE(r.err.find("<debug>_radio_region_init(): 285  @ region:840, parse channel num:25\n"), std::string::npos);
}


// show, too, says when a radio's file has no block for the region (the
// library then loads the radio with no channels and says nothing).
TEST(Lint, ShowWarnsOfAMissingBlock) {
  Tree t;
  t.edit("ath/REG_DOMAIN5", "JAPAN:392", "JAPAN:9392");
  const Outcome r = t.info("--region 392");
  EXPECT_EQ(r.exit, 1);
  EXPECT_TRUE(r.err.ends_with("\naputil-info: /etc/AP100_X_2.0/ath/REG_DOMAIN5 has no region 392: radio 1 has no channels\n"))
      << r.err;
}

// The two messages the loader prints without a line end between them
// come out on two lines.
TEST(Lint, LibraryLinesOneMessageALine) {
  Tree t;
  std::remove((t.dir() + "/nvram/product-info").c_str());
  const Outcome r = t.info("lint");
  EXPECT_EQ(r.err,
            "<error>initProductInfo(): 254  @ failed to read productinfo.\n"
            "<error>devcfg_init(): 340  @ failed to init ProductInfo\n");
  EXPECT_EQ(count(r.out, "dev_config.json"), 0) << r.out;  // not blamed for the missing identity
}

// One broken copy of the sample each: what the loaders let through, then
// the channels against the regulatory database.
TEST(Lint, EachBreakGivesItsFinding) {
  const char *const kDb = "--regdb " REGDB_FILE;
  const Case cases[] = {
      {"REG_DOMAIN5 cut in a line of region 276",
       [](const Tree &t) {
         const std::string text = t.read("ath/REG_DOMAIN5");
         t.write(kModel + "ath/REG_DOMAIN5", text.substr(0, text.find("5600,870100,1602") + 9));
       },
       "", 1,
       "/etc/AP100_X_2.0/ath/REG_DOMAIN5:41: error: region 276: \"5600,8701\" does not scan as four fields "
       "FREQ,COMMONFLAG,EXTFLAG,POWER; the loader refuses the region",
       "lint: 4 errors, 0 warnings"},
      {"a string where a number belongs", [](const Tree &t) { t.edit("dev_config.json", "256", "\"512\""); }, "", 1,
       "/etc/AP100_X_2.0/dev_config.json: error: \"ddrSize\": a string where a number belongs; the loader treats it as "
       "absent",
       "lint: 1 error, 0 warnings"},
      {"a number out of range", [](const Tree &t) { t.edit("radio_config.json", "128", "513"); }, "", 1,
       "error: \"maxStaPerRadio\": 513 is out of range (1 to 512)", "lint: 1 error, 0 warnings"},
      {"a name longer than the loader keeps",
       [](const Tree &t) { t.edit("radio_config.json", "\"wifi1\"", "\"wifi1-longer-name\""); }, "", 1,
       "error: \"radioTable[1].ifname\": 17 characters, over the limit of 15", "lint: 1 error, 0 warnings"},
      {"an unknown key is a warning", [](const Tree &t) { t.edit("dev_config.json", "\"bleSupp\"", "\"bleSup\""); }, "",
       0, "warning: \"bleSup\": unknown key; the loader ignores it", "lint: 0 errors, 1 warning"},
      {"a file over the loader's limit",
       [](const Tree &t) { t.edit("dev_config.json", "\"ddrSize\"", std::string(1900, ' ') + "\"ddrSize\""); }, "", 1,
       "dev_config.json: error: 2891 bytes, over the loader's limit of 2048 bytes: the device reads a cut text that is "
       "not JSON (byte offset 2048)",
       "lint: 1 error, 0 warnings"},
      {"no product identity", [](const Tree &t) { std::remove((t.dir() + "/nvram/product-info").c_str()); }, "", 1,
       "NVRAM product-info: error: the product identity cannot be read", "lint: 1 error, 0 warnings"},
      {"contradictory channel flags",
       [](const Tree &t) { t.edit("ath/REG_DOMAIN5", "5180,870100,0,23", "5180,870100,1000,23"); }, "", 1,
       "REG_DOMAIN5:2: error: region 840, 5180 MHz: extFlag 0x1000 has DFS-enabled, DFS-class or weather-radar bits "
       "without the DFS bit 0x2",
       "lint: 1 error, 0 warnings"},
      {"not a channel centre", [](const Tree &t) { t.edit("ath/REG_DOMAIN2", "2417,", "2418,"); }, "", 1,
       "REG_DOMAIN2:3: error: region 840, 2418 MHz: not a channel centre", "lint: 1 error, 0 warnings"},
      {"channels dropped since an earlier tree",
       [](const Tree &t) { t.edit("ath/REG_DOMAIN2", "2457,50080,0,30\n2462,50080,0,30\n", ""); },
       "--against " EXAMPLES_DIR "/firmware", 1,
       "REG_DOMAIN2:1: error: region 840 has 9 channels where " EXAMPLES_DIR
       "/firmware/etc/AP100_X_2.0/ath/REG_DOMAIN2 has 11; lost (MHz): 2457 2462",
       "lint: 1 error, 0 warnings"},
      {"a channel outside every rule", [](const Tree &t) { t.edit("ath/REG_DOMAIN2", "2462,50080,0,30\n", "2462,50080,0,30\n2484,10080,0,30\n"); },
       kDb, 1, "region 840 (US), radio 0, channel 14 (2484 MHz): error: the 20 MHz channel 2474-2494 MHz is outside every rule of US",
       "region 840 (US): 37 channels, 1 error, 0 warnings"},
      {"a DFS channel without the DFS bit", [](const Tree &t) { t.edit("ath/REG_DOMAIN5", "5260,870100,1102,23", "5260,870100,0,23"); },
       kDb, 1,
       "region 840 (US), radio 1, channel 52 (5260 MHz): error: inside a DFS rule but extFlag 0x0 lacks the DFS bit 0x2; "
       "rule 5250-5350 MHz, 80 MHz wide, 24 dBm, DFS AUTO-BW",
       "region 840 (US): 36 channels, 1 error, 0 warnings"},
      {"power over the limit", [](const Tree &t) { t.edit("ath/REG_DOMAIN5", "5180,870100,0,23", "5180,870100,0,24"); }, kDb, 1,
       "region 840 (US), radio 1, channel 36 (5180 MHz): error: maximum power 24 dBm EIRP exceeds the rule's 23 dBm; rule "
       "5150-5250 MHz, 80 MHz wide, 23 dBm, AUTO-BW",
       "region 840 (US): 36 channels, 1 error, 0 warnings"},
      {"conducted powers get the antenna and MIMO gains added",  // +6 on radio 0, +7 on radio 1: all over
       [](const Tree &t) { t.edit("radio_config.json", "\"EIRP\":true", "\"EIRP\":false"); }, kDb, 1,
       "region 840 (US), radio 1, channel 36 (5180 MHz): error: maximum power 23 dBm conducted + 4 dBi antenna + 3 dB "
       "MIMO = 30 dBm EIRP exceeds the rule's 23 dBm",
       "region 840 (US): 36 channels, 36 errors, 0 warnings\n"},
      {"a VHT80 block across a rule edge",
       [](const Tree &t) { t.edit("ath/REG_DOMAIN5", "5660,70100,1202,26", "5660,870100,1202,26"); }, kDb, 1,
       "region 276 (DE), radio 1, channel 132 (5660 MHz): error: its VHT80 block 5650-5730 MHz (commonFlag 0x870100) "
       "has its 20 MHz channel 5710-5730 MHz outside one rule; rule 5470-5725 MHz, 160 MHz wide, 26.98 dBm, DFS",
       "region 276 (DE): 32 channels, 1 error, 0 warnings\n"},
      {"an HT40+ block above the band",
       [](const Tree &t) { t.edit("ath/REG_DOMAIN2", "2472,50080,0,20\nJAPAN", "2472,70080,0,20\nJAPAN"); }, kDb, 1,
       "region 276 (DE), radio 0, channel 13 (2472 MHz): error: its HT40+ block 2462-2502 MHz (commonFlag 0x70080) has "
       "its 20 MHz channel 2482-2502 MHz outside one rule",
       "region 276 (DE): 32 channels, 1 error, 0 warnings\n"},
      {"an HT40- block below the band", [](const Tree &t) { t.edit("ath/REG_DOMAIN2", "2412,30080,0,30", "2412,50080,0,30"); },
       kDb, 1,
       "region 840 (US), radio 0, channel 1 (2412 MHz): error: its HT40- block 2382-2422 MHz (commonFlag 0x50080) has "
       "its 20 MHz channel 2382-2402 MHz outside one rule",
       "region 840 (US): 36 channels, 1 error, 0 warnings\n"},
      {"a channel where no network may be started",
       [](const Tree &t) { t.edit("ath/REG_DOMAIN5", "5825,10100,0,30\nGERMANY", "5825,10100,0,30\n5865,10100,0,27\nGERMANY"); },
       kDb, 1,
       "region 840 (US), radio 1, channel 173 (5865 MHz): error: inside a NO-IR rule, where an access point may not "
       "start a network; rule 5850-5895 MHz, 40 MHz wide, 27 dBm, NO-OUTDOOR NO-IR AUTO-BW",
       "region 840 (US): 37 channels, 1 error, 0 warnings\n"},
      {"HT where OFDM is forbidden", [](const Tree &t) { t.edit("ath/REG_DOMAIN2", "2484,80,0,20", "2484,10080,0,20"); },
       kDb, 1,
       "region 392 (JP), radio 0, channel 14 (2484 MHz): error: commonFlag 0x10080 claims HT/VHT (OFDM) inside a NO-OFDM "
       "rule; rule 2474-2494 MHz, 20 MHz wide, 20 dBm, NO-OFDM",
       "region 392 (JP): 33 channels, 1 error, 0 warnings\n"},
      {"a country the database lacks is skipped",
       [](const Tree &t) {
         for (const char *file : {"ath/REG_DOMAIN2", "ath/REG_DOMAIN5"}) t.edit(file, "NO_RADIO:999", "ANTARCTICA:10\nempty\nNO_RADIO:999");
       },
       kDb, 0, "region 10 (AQ): skipped: AQ is not in the regulatory database\n", "lint: 0 errors, 0 warnings\n"},
      {"a DFS bit where no rule asks for one is a warning",
       [](const Tree &t) { t.edit("ath/REG_DOMAIN5", "5745,870100,0,30", "5745,870100,1002,30"); }, kDb, 0,
       "region 840 (US), radio 1, channel 149 (5745 MHz): warning: DFS bit 0x2 where no rule asks for radar detection",
       "region 840 (US): 36 channels, 0 errors, 1 warning"},
  };
  for (const Case &c : cases) {
    Tree t;
    c.breaks(t);
    expect(c, t.info("lint " + std::string(c.options)));
  }
}

TEST(Lint, RegulatoryFindingsAsJson) {
  Tree t;
  t.edit("ath/REG_DOMAIN5", "5180,870100,0,23", "5180,870100,0,24");
  const Outcome r = t.info("lint --json --regdb=" REGDB_FILE);
  EXPECT_EQ(r.exit, 1);
  cJSON *doc = cJSON_Parse(r.out.c_str());
  ASSERT_NE(doc, nullptr) << r.out;
  EXPECT_EQ(cJSON_GetObjectItem(doc, "errors")->valueint, 1);
  cJSON *f = cJSON_GetArrayItem(cJSON_GetObjectItem(doc, "findings"), 0);
  ASSERT_NE(f, nullptr);
  EXPECT_STREQ(cJSON_GetObjectItem(f, "country")->valuestring, "US");
  EXPECT_EQ(cJSON_GetObjectItem(f, "region")->valueint, 840);
  EXPECT_EQ(cJSON_GetObjectItem(f, "radio")->valueint, 1);
  EXPECT_EQ(cJSON_GetObjectItem(f, "channel")->valueint, 36);
  EXPECT_EQ(cJSON_GetObjectItem(f, "freq")->valueint, 5180);
  EXPECT_STREQ(cJSON_GetObjectItem(f, "rule")->valuestring, "5150-5250 MHz, 80 MHz wide, 23 dBm, AUTO-BW");
  cJSON *regions = cJSON_GetObjectItem(cJSON_GetObjectItem(doc, "regdb"), "regions");
  EXPECT_EQ(cJSON_GetArraySize(regions), 5);
  cJSON_Delete(doc);
}

// A damaged database stops lint before anything runs: exit 2, one line.
TEST(Lint, DamagedDatabase) {
  Tree t;
  t.write("/bad.db", read_file(REGDB_FILE).substr(0, 40));
  const Outcome r = t.info("lint --regdb " + t.dir() + "/bad.db");
  EXPECT_EQ(r.exit, 2);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err, "aputil-info: " + t.dir() + "/bad.db: country list from 0x8 has no terminator before the end of the 40-byte file\n");
  EXPECT_EQ(t.info("lint --regdb /nonexistent.db").exit, 2);
}

}  // namespace
}  // namespace aputil::test
