// aputil-info lint on the sample tree and on copies of it broken one way
// each: every case gives its own finding, and only that one.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "cJSON.h"
#include "tools/tool_run.h"

namespace aputil::test {
namespace {

TEST(Lint, TheSampleTreeIsClean) {
  const Outcome r = Tree().info("lint" + kRegdb);
  EXPECT_EQ(r.exit, 0) << r.out << r.err;
  for (const char *line :
       {"product-info: \"AP100 X(EU):2.0\" region \"US\": /etc/AP100_X_2.0/\ndev_config.json: ok\n"
        "radio_config.json: ok\nREG_DOMAIN2/REG_DOMAIN5: 5 regions, all load\n",
        "region 36 (AU): 31 channels, 0 errors, 0 warnings\n",
        "region 999: skipped: no ISO 3166-1 country has the numeric code 999\n", "lint: 0 errors, 0 warnings\n"})
    EXPECT_NE(r.out.find(line), std::string::npos) << line << "\n" << r.out;
}

// The library's lines on stderr, one message a line (the loader prints
// two without a line end between them); show says when a radio's file has
// no block for the region, which the library passes over in silence.
TEST(Lint, LibraryLinesAndAMissingBlock) {
  Tree t;
  std::remove((t.dir() + "/nvram/product-info").c_str());
  Outcome r = t.info("lint");
  EXPECT_EQ(r.err,
            "<error>initProductInfo(): 254  @ failed to read productinfo.\n"
            "<error>devcfg_init(): 340  @ failed to init ProductInfo\n");
  EXPECT_EQ(r.out.find("dev_config.json"), std::string::npos) << r.out;  // not blamed for the missing identity
  t.reset();
  t.edit("ath/REG_DOMAIN5", "JAPAN:392", "JAPAN:9392");
  r = t.info("--region 392");
  EXPECT_EQ(r.exit, 1);
  EXPECT_TRUE(
      r.err.ends_with("\naputil-info: " + kModel + "ath/REG_DOMAIN5 has no region 392: radio 1 has no channels\n"))
      << r.err;
}

// One broken copy of the sample each: what the loaders let through, then
// the channels against the regulatory database. A row edits the first
// `from` of a model file into `to` ("" file: the row's own break).
TEST(Lint, EachBreakGivesItsFinding) {
  const std::string padded = std::string(1900, ' ') + "\"ddrSize\"";
  const struct {
    const char *file, *from, *to;
    bool regdb;
    int errors, warnings;  // in all (exit 1 with any error)
    const char *finding;
  } cases[] = {
      {"ath/REG_DOMAIN5", "5600,870100,1602,26", "5600,8701", false, 1, 5,
       "REG_DOMAIN5:41: error: region 276: \"5600,8701\" does not scan as four fields FREQ,COMMONFLAG,EXTFLAG,POWER; "
       "the loader refuses the region"},
      {"dev_config.json", "256", "\"512\"", false, 1, 0,
       "dev_config.json: error: \"ddrSize\": a string where a number belongs; the loader treats it as absent"},
      {"radio_config.json", "128", "513", false, 1, 0, "error: \"maxStaPerRadio\": 513 is out of range (1 to 512)"},
      {"radio_config.json", "\"wifi1\"", "\"wifi1-longer-name\"", false, 1, 0,
       "error: \"radioTable[1].ifname\": 17 characters, over the limit of 15"},
      {"dev_config.json", "\"bleSupp\"", "\"bleSup\"", false, 0, 1,
       "warning: \"bleSup\": unknown key; the loader ignores it"},
      {"dev_config.json", "\"ddrSize\"", padded.c_str(), false, 1, 0,
       "dev_config.json: error: 2891 bytes, over the loader's limit of 2048 bytes: the device reads a cut text that is "
       "not JSON (byte offset 2048)"},
      {"", "", "", false, 1, 0, "NVRAM product-info: error: the product identity cannot be read"},
      {"ath/REG_DOMAIN5", "5180,870100,0,23", "5180,870100,1000,23", false, 1, 0,
       "REG_DOMAIN5:2: error: region 840, 5180 MHz: extFlag 0x1000 has DFS-enabled, DFS-class or weather-radar bits"},
      {"ath/REG_DOMAIN2", "2417,", "2418,", false, 1, 0,
       "REG_DOMAIN2:3: error: region 840, 2418 MHz: not a channel centre"},
      {"ath/REG_DOMAIN2", "2462,50080,0,30\n", "2462,50080,0,30\n2484,10080,0,30\n", true, 1, 0,
       "region 840 (US), radio 0, channel 14 (2484 MHz): error: the 20 MHz channel 2474-2494 MHz is outside every "
       "rule of US"},
      {"ath/REG_DOMAIN5", "5260,870100,1102,23", "5260,870100,0,23", true, 1, 0,
       "channel 52 (5260 MHz): error: inside a DFS rule but extFlag 0x0 lacks the DFS bit 0x2; rule 5250-5350 MHz, 80 "
       "MHz wide, 24 dBm, DFS AUTO-BW"},
      {"ath/REG_DOMAIN5", "5180,870100,0,23", "5180,870100,0,24", true, 1, 0,
       "channel 36 (5180 MHz): error: maximum power 24 dBm EIRP exceeds the rule's 23 dBm; rule 5150-5250 MHz"},
      // Conducted powers get the antenna and MIMO gains added: +6 on radio 0, +7 on radio 1, all over (119 channels).
      {"radio_config.json", "\"EIRP\":true", "\"EIRP\":false", true, 119, 0,
       "channel 36 (5180 MHz): error: maximum power 23 dBm conducted + 4 dBi antenna + 3 dB MIMO = 30 dBm EIRP"},
      {"ath/REG_DOMAIN5", "5825,10100,0,30\n", "5825,10100,0,30\n5865,10100,0,27\n", true, 1, 0,
       "channel 173 (5865 MHz): error: inside a NO-IR rule, where an access point may not start a network; rule "
       "5850-5895 MHz, 40 MHz wide, 27 dBm, NO-OUTDOOR NO-IR AUTO-BW"},
      {"ath/REG_DOMAIN2", "2484,80,0,20", "2484,10080,0,20", true, 1, 0,
       "region 392 (JP), radio 0, channel 14 (2484 MHz): error: commonFlag 0x10080 claims HT/VHT (OFDM) inside a "
       "NO-OFDM rule; rule 2474-2494 MHz, 20 MHz wide, 20 dBm, NO-OFDM"},
      {"ath/REG_DOMAIN5", "5745,870100,0,30", "5745,870100,1002,30", true, 0, 1,
       "channel 149 (5745 MHz): warning: DFS bit 0x2 where no rule asks for radar detection"},
      {"both", "NO_RADIO:999", "ANTARCTICA:10\nempty\nNO_RADIO:999", true, 0, 0,
       "region 10 (AQ): skipped: AQ is not in the regulatory database\n"}};
  for (const auto &c : cases) {
    Tree t;
    const std::string file = c.file;
    if (file.empty()) std::remove((t.dir() + "/nvram/product-info").c_str());
    for (const std::string f : {file == "both" ? "ath/REG_DOMAIN2" : c.file, file == "both" ? "ath/REG_DOMAIN5" : ""})
      if (!f.empty()) t.edit(f, c.from, c.to);
    const Outcome r = t.info(c.regdb ? "lint" + kRegdb : std::string("lint"));
    const std::string summary = "\nlint: " + std::to_string(c.errors) + (c.errors == 1 ? " error, " : " errors, ") +
                                std::to_string(c.warnings) + (c.warnings == 1 ? " warning\n" : " warnings\n");
    EXPECT_EQ(r.exit, c.errors > 0) << c.finding << "\n" << r.out << r.err;
    EXPECT_NE(r.out.find(c.finding), std::string::npos) << r.out;
    EXPECT_TRUE(r.out.ends_with(summary)) << c.finding << "\n" << r.out;
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
  EXPECT_EQ(cJSON_GetArraySize(cJSON_GetObjectItem(cJSON_GetObjectItem(doc, "regdb"), "regions")), 5);
  char *finding = cJSON_PrintUnformatted(cJSON_GetArrayItem(cJSON_GetObjectItem(doc, "findings"), 0));
  EXPECT_STREQ(finding, R"({"severity":"error","region":840,"country":"US","radio":1,"channel":36,"freq":5180,)"
                        R"("message":"maximum power 24 dBm EIRP exceeds the rule's 23 dBm",)"
                        R"("rule":"5150-5250 MHz, 80 MHz wide, 23 dBm, AUTO-BW"})");
  std::free(finding);
  cJSON_Delete(doc);
}

// Channels lost since an earlier tree are errors; a damaged database stops
// lint before anything runs: exit 2, one line.
TEST(Lint, AgainstAnEarlierTreeAndADamagedDatabase) {
  Tree t;
  t.edit("ath/REG_DOMAIN2", "2457,50080,0,30\n2462,50080,0,30\n", "");
  Outcome r = t.info("lint --against " + kSample);
  EXPECT_EQ(r.exit, 1);
  EXPECT_NE(r.out.find("REG_DOMAIN2:1: error: region 840 has 9 channels where " + kSample + kModel +
                       "ath/REG_DOMAIN2 has 11; lost (MHz): 2457 2462"),
            std::string::npos)
      << r.out;
  t.write("/bad.db", read_file(REGDB_FILE).substr(0, 40));
  r = t.info("lint --regdb " + t.dir() + "/bad.db");
  EXPECT_EQ(r.exit, 2);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err, "aputil-info: " + t.dir() +
                       "/bad.db: country list from 0x8 has no terminator before the end of "
                       "the 40-byte file\n");
  EXPECT_EQ(t.info("lint --regdb /nonexistent.db").exit, 2);
}

}  // namespace
}  // namespace aputil::test
