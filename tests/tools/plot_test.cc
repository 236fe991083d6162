// aputil-info plot: the SVG is XML, renders to a PNG, and its structure
// says what the tables say: one bar per channel, the DFS bars exactly the
// DFS channels, lint's findings on their channels.
#include <gtest/gtest.h>

#include <cstdlib>
#include <regex>
#include <set>
#include <string>

#include "tools/tool_run.h"

namespace aputil::test {
namespace {

// XPath steps by local name, as the SVG has a default namespace.
std::string el(const char *name) { return std::string("//*[local-name()=\"") + name + "\"]"; }
const std::string kBars = el("rect") + "[contains(concat(\" \",@class,\" \"),\" bar \")][@data-freq]";
std::string with_class(const char *cls) { return kBars + "[contains(concat(\" \",@class,\" \"),\" " + cls + " \")]"; }

class Plot : public ::testing::Test {
 protected:
  void SetUp() override {
    if (sh("command -v xmllint >/dev/null 2>&1 && command -v rsvg-convert >/dev/null 2>&1") != 0)
      GTEST_SKIP() << "needs xmllint (libxml2-utils) and rsvg-convert (librsvg2-bin)";
  }
  // Plots into svg_ (checked to be well-formed XML); returns the exit status.
  int plot(const std::string &args) {
    const int exit = sh(kInfo + " --root " + t_.dir() + " plot " + args + " -o " + svg_ + " 2>/dev/null");
    EXPECT_TRUE(exit != 0 || sh("xmllint --noout " + svg_) == 0) << args;
    return exit;
  }
  std::string xpath(const std::string &path) { return run("xmllint --xpath '" + path + "' " + svg_).out; }
  int count(const std::string &path) { return std::atoi(xpath("count(" + path + ")").c_str()); }
  // The data-freq values of the elements a path selects.
  std::set<int> freqs(const std::string &path) {
    std::set<int> out;
    const std::string text = xpath(path + "/@data-freq");
    const std::regex value("data-freq=\"(\\d+)\"");
    for (auto it = std::sregex_iterator(text.begin(), text.end(), value); it != std::sregex_iterator(); ++it)
      out.insert(std::stoi((*it)[1]));
    return out;
  }

  Tree t_;
  const std::string svg_ = t_.dir() + "/plot.svg";
};

// Every region of the sample tree: bars per radio, the DFS and
// weather-radar bars, and the distinct HT40/VHT80 brackets.
TEST_F(Plot, EveryRegionOfTheSample) {
  const std::set<int> eu = {5260, 5280, 5300, 5320, 5500, 5520, 5540, 5560, 5580, 5600, 5620, 5640, 5660, 5680, 5700};
  std::set<int> us = eu, au(eu.begin(), eu.find(5600)), wradar = {5600, 5620, 5640};
  us.insert(5720);
  const struct {
    int region;
    const char *counts;  // bars on radio 0 and 1, HT40 and VHT80 brackets, bars marked as findings
    std::set<int> dfs, wradar;
  } cases[] = {{36, "13 18 17 3 0", au, {}},
               {276, "13 19 18 4 0", eu, wradar},
               {392, "14 19 19 5 0", eu, {}},
               {840, "11 25 19 6 0", us, wradar},
               {999, "0 0 0 0 0", {}, {}}};
  const std::string brackets = el("g") + "[@class=\"panel\"]" + el("path") + "[@class=\"bracket ";
  for (const auto &c : cases) {
    ASSERT_EQ(plot("--region " + std::to_string(c.region) + kRegdb), 0) << c.region;
    std::string counts;
    for (const std::string &path : {kBars + "[@data-radio=\"0\"]", kBars + "[@data-radio=\"1\"]", brackets + "ht40\"]",
                                    brackets + "vht80\"]", with_class("finding")})
      counts += (counts.empty() ? "" : " ") + std::to_string(count(path));
    EXPECT_EQ(counts, c.counts) << c.region;
    EXPECT_EQ(freqs(with_class("dfs")), c.dfs) << c.region;
    EXPECT_EQ(freqs(with_class("wradar")), c.wradar) << c.region;
  }
  EXPECT_NE(xpath(el("text") + "[@class=\"title\"]").find("region 999"), std::string::npos);
}

// lint's findings mark their channels, in lint's words: the regulatory
// check's and the REG_DOMAIN file's; a region a file lacks is a note.
TEST_F(Plot, FindingsMarkTheirChannels) {
  const struct {
    const char *file, *from, *to, *args;
    int freq;  // the marked bar, 0 for a note
    const char *words, *counts;
  } cases[] = {
      {"ath/REG_DOMAIN5", "5580,10100,1102,26", "5580,70100,1102,26", "--region 36 --band 5", 5580,
       "region 36 (AU), radio 1, channel 116 (5580 MHz): error: its HT40 block 5570-5610 MHz (commonFlag 0x70100)",
       "lint: 1 error, 0 warnings"},
      // and the database's warning: radar detection where no rule asks for it
      {"ath/REG_DOMAIN2", "2412,30080,0,30", "2412,30080,2,30", "--region 840", 2412,
       "REG_DOMAIN2:2: error: region 840, 2412 MHz: extFlag 0x2 asks for radar detection on a 2.4 GHz channel",
       "lint: 1 error, 1 warning"},
      {"ath/REG_DOMAIN5", "JAPAN:392", "NIPPON:9392", "--region 392", 0,
       "REG_DOMAIN5: error: region 392 (\"JAPAN:392\", line 27 of REG_DOMAIN2) is missing",
       "lint: 1 error, 0 warnings"}};
  for (const auto &c : cases) {
    t_.reset();
    t_.edit(c.file, c.from, c.to);
    ASSERT_EQ(plot(c.args + kRegdb), 0) << c.args;
    EXPECT_EQ(freqs(with_class("finding")), c.freq ? std::set<int>{c.freq} : std::set<int>{}) << c.args;
    const std::string words =
        c.freq ? "string(" + with_class("finding") + "/*[local-name()=\"title\"])" : el("text") + "[@class=\"note\"]";
    EXPECT_NE(xpath(words).find(c.words), std::string::npos) << c.args;
    EXPECT_NE(xpath("string(" + el("text") + "[@class=\"subtitle\"])").find(c.counts), std::string::npos);
  }
}

// A channel the loader dropped leaves a gap, even among 2.4 GHz's
// overlapping bars (each has a core of its own); values no radio has
// still draw (the absurd channel is left out, with no overflow under the
// sanitizers).
TEST_F(Plot, GapsAndExtremeValues) {
  t_.edit("ath/REG_DOMAIN2", "2437,70080,0,30\n", "");
  t_.edit("ath/REG_DOMAIN5", "JAPAN:392", "NIPPON:9392");
  ASSERT_EQ(plot("--region 840"), 0);
  EXPECT_EQ(freqs(kBars + "[@data-radio=\"0\"]").count(2437), 0u);
  EXPECT_EQ(count(el("rect") + "[starts-with(@class,\"core\")]"), 10);
  EXPECT_EQ(count(el("path") + "[@class=\"rule\"]"), 0);  // no --regdb, no rules
  ASSERT_EQ(plot("--region 392"), 0);
  EXPECT_EQ(count(kBars + "[@data-radio=\"1\"]"), 0);
  t_.edit("ath/REG_DOMAIN5", "5180,870100,0,23", "5180,870100,0,2147483647");
  t_.edit("ath/REG_DOMAIN5", "5200,870100,0,23", "-2147483648,870100,0,23");
  t_.edit("radio_config.json", "\"EIRP\":true", "\"EIRP\":false");
  ASSERT_EQ(plot("--all-regions" + kRegdb), 0);
  ASSERT_EQ(plot("--region 840" + kRegdb), 0);
  EXPECT_EQ(count(kBars + "[@data-radio=\"1\"]"), 24);  // 25 channels, one undrawable
}

// Every region on one page, rendered at the size it declares, and not one
// flat colour (a blank page of that size compresses to a few hundred bytes).
TEST_F(Plot, AllRegionsOnOnePage) {
  ASSERT_EQ(plot("--all-regions" + kRegdb), 0);
  ASSERT_EQ(sh("rsvg-convert -o " + t_.dir() + "/plot.png " + svg_), 0);
  const std::string png = read_file(t_.dir() + "/plot.png");
  ASSERT_GT(png.size(), 10000u);
  auto be32 = [&](size_t at) {
    return static_cast<int>(uint32_t{uint8_t(png[at])} << 24 | uint32_t{uint8_t(png[at + 1])} << 16 |
                            uint32_t{uint8_t(png[at + 2])} << 8 | uint8_t(png[at + 3]));
  };
  EXPECT_EQ(be32(16), std::atoi(xpath("string(/*/@width)").c_str()));
  EXPECT_EQ(be32(20), std::atoi(xpath("string(/*/@height)").c_str()));
  EXPECT_EQ(count(el("g") + "[@class=\"region\"]"), 5);
  const std::string cells = el("g") + "[@data-region=\"276\"]/*[local-name()=\"rect\"][@data-freq]";
  EXPECT_EQ(count(cells), 32);
  EXPECT_EQ(count(cells + "[contains(@class,\"dfs\")]"), 15);
  EXPECT_EQ(count(el("g") + "[@data-region=\"999\"]/*[local-name()=\"rect\"][@data-freq]"), 0);
  for (const char *refused : {"--all-regions --region 276", "--band 6"}) EXPECT_EQ(plot(refused), 2);
  EXPECT_EQ(plot("--region 12345"), 1);  // no such region in the tables
  EXPECT_EQ(sh(kInfo + " --root " + t_.dir() + " plot -o /nonexistent/dir/x.svg 2>/dev/null"), 1);
  EXPECT_EQ(sh(kInfo + " --root " + t_.dir() + " plot --regdb /nonexistent.db >/dev/null 2>&1"), 2);
}

}  // namespace
}  // namespace aputil::test
