// aputil-info plot: the SVG is XML, renders to a PNG that is not blank,
// and its structure says what the tables say: one bar per channel, the
// DFS bars exactly the DFS channels, lint's findings on their channels.
#include <zlib.h>

#include <cstdio>
#include <cstdlib>
#include <regex>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "tools/tool_run.h"

namespace aputil::test {
namespace {

bool have(const char *tool) { return sh(std::string("command -v ") + tool + " >/dev/null 2>&1") == 0; }

class Plot : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!have("xmllint") || !have("rsvg-convert")) GTEST_SKIP() << "needs xmllint (libxml2-utils) and rsvg-convert (librsvg2-bin)";
  }
  // Plots into svg_; returns the exit status.
  int plot(const std::string &args) { return sh(kInfo + " --root " + t_.dir() + " plot " + args + " -o " + svg_ + " 2>/dev/null"); }
  // An XPath over the SVG's elements, by local name; "" when nothing matches.
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

const char kBars[] = "//*[local-name()=\"rect\"][contains(concat(\" \",@class,\" \"),\" bar \")][@data-freq]";
std::string with_class(const char *cls) {
  return std::string(kBars) + "[contains(concat(\" \",@class,\" \"),\" " + cls + " \")]";
}

// Width, height and whether the pixels differ, from the PNG's IHDR and its
// inflated IDAT data.
struct Png {
  unsigned width = 0, height = 0;
  int distinct_bytes = 0;
};

Png read_png(const std::string &path) {
  const std::string png = read_file(path);
  Png p;
  if (png.size() < 33 || png.compare(1, 3, "PNG") != 0) return p;
  auto be32 = [&](size_t at) {
    return (unsigned(uint8_t(png[at])) << 24) | (unsigned(uint8_t(png[at + 1])) << 16) |
           (unsigned(uint8_t(png[at + 2])) << 8) | unsigned(uint8_t(png[at + 3]));
  };
  p.width = be32(16), p.height = be32(20);
  std::string idat;
  for (size_t at = 8; at + 8 <= png.size();) {
    const size_t len = be32(at);
    if (png.compare(at + 4, 4, "IDAT") == 0) idat += png.substr(at + 8, len);
    at += 12 + len;
  }
  std::string pixels(static_cast<size_t>(p.width) * p.height * 4 + p.height, '\0');
  uLongf size = pixels.size();
  uncompress(reinterpret_cast<Bytef *>(pixels.data()), &size, reinterpret_cast<const Bytef *>(idat.data()), idat.size());
  std::set<char> seen(pixels.begin(), pixels.begin() + static_cast<long>(size));
  p.distinct_bytes = static_cast<int>(seen.size());
  return p;
}

// Every region of the sample tree: bars per radio, the DFS and
// weather-radar bars, and the distinct HT40/VHT80 brackets.
TEST_F(Plot, EveryRegionOfTheSample) {
  const std::set<int> dfs_eu = {5260, 5280, 5300, 5320, 5500, 5520, 5540, 5560, 5580, 5600, 5620, 5640, 5660, 5680, 5700};
  std::set<int> dfs_us = dfs_eu, dfs_au(dfs_eu.begin(), dfs_eu.find(5600));
  dfs_us.insert(5720);
  const struct {
    int region;
    int bars0, bars1, ht40, vht80;
    std::set<int> dfs, wradar;
  } cases[] = {
      {36, 13, 18, 9 + 8, 3, dfs_au, {}},
      {276, 13, 19, 9 + 9, 4, dfs_eu, {5600, 5620, 5640}},
      {392, 14, 19, 9 + 10, 5, dfs_eu, {}},
      {840, 11, 25, 7 + 12, 6, dfs_us, {5600, 5620, 5640}},
      {999, 0, 0, 0, 0, {}, {}},
  };
  const std::string panel_path = "//*[local-name()=\"g\"][@class=\"panel\"]//*[local-name()=\"path\"]";
  for (const auto &c : cases) {
    ASSERT_EQ(plot("--region " + std::to_string(c.region) + kRegdb), 0) << c.region;
    EXPECT_EQ(sh("xmllint --noout " + svg_), 0);
    EXPECT_EQ(count(std::string(kBars) + "[@data-radio=\"0\"]"), c.bars0) << c.region;
    EXPECT_EQ(count(std::string(kBars) + "[@data-radio=\"1\"]"), c.bars1) << c.region;
    EXPECT_EQ(count(panel_path + "[@class=\"bracket ht40\"]"), c.ht40) << c.region;
    EXPECT_EQ(count(panel_path + "[@class=\"bracket vht80\"]"), c.vht80) << c.region;
    EXPECT_EQ(freqs(with_class("dfs")), c.dfs) << c.region;
    EXPECT_EQ(freqs(with_class("wradar")), c.wradar) << c.region;
    EXPECT_EQ(count(with_class("finding")), 0) << c.region;
  }
  EXPECT_NE(xpath("//*[local-name()=\"text\"][@class=\"title\"]").find("region 999"), std::string::npos);
}

TEST_F(Plot, RendersToPng) {
  for (const char *args : {"--region 276", "--all-regions"}) {
    ASSERT_EQ(plot(std::string(args) + kRegdb), 0);
    const std::string png = t_.dir() + "/plot.png";
    ASSERT_EQ(sh("rsvg-convert -o " + png + " " + svg_), 0) << args;
    const Png p = read_png(png);
    EXPECT_EQ(static_cast<int>(p.width), std::atoi(xpath("string(/*/@width)").c_str())) << args;
    EXPECT_EQ(static_cast<int>(p.height), std::atoi(xpath("string(/*/@height)").c_str())) << args;
    EXPECT_GT(p.distinct_bytes, 16) << args;  // not one flat colour
  }
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
       "region 36 (AU), radio 1, channel 116 (5580 MHz): error: its HT40 block 5570-5610 MHz (commonFlag 0x70100) has "
       "its 20 MHz channel 5590-5610 MHz outside one rule",
       "lint: 1 error, 0 warnings"},
      {"ath/REG_DOMAIN2", "2412,30080,0,30", "2412,30080,2,30", "--region 840", 2412,
       "/etc/AP100_X_2.0/ath/REG_DOMAIN2:2: error: region 840, 2412 MHz: extFlag 0x2 asks for radar detection on a "
       "2.4 GHz channel",
       "lint: 1 error, 1 warning"},  // and the database's: radar detection where no rule asks for it
      {"ath/REG_DOMAIN5", "JAPAN:392", "NIPPON:9392", "--region 392", 0,
       "/etc/AP100_X_2.0/ath/REG_DOMAIN5: error: region 392 (\"JAPAN:392\", line 27 of REG_DOMAIN2) is missing; radio 1 "
       "silently loads it with no channels",
       "lint: 1 error, 0 warnings"},
  };
  for (const auto &c : cases) {
    t_.reset();
    t_.edit(c.file, c.from, c.to);
    ASSERT_EQ(plot(c.args + kRegdb), 0) << c.args;
    if (c.freq) {
      EXPECT_EQ(freqs(with_class("finding")), std::set<int>{c.freq}) << c.args;
      const std::string title = xpath("string(" + with_class("finding") + "/*[local-name()=\"title\"])");
      EXPECT_NE(title.find(c.words), std::string::npos) << title;
    } else {
      EXPECT_NE(xpath("//*[local-name()=\"text\"][@class=\"note\"]").find(c.words), std::string::npos) << c.args;
    }
    EXPECT_NE(xpath("string(//*[local-name()=\"text\"][@class=\"subtitle\"])").find(c.counts),
              std::string::npos);
  }
}

// A channel the loader dropped leaves a gap, even among 2.4 GHz's
// overlapping bars (each has a core of its own).
TEST_F(Plot, DroppedChannelsLeaveGaps) {
  t_.edit("ath/REG_DOMAIN2", "2437,70080,0,30\n", "");
  t_.edit("ath/REG_DOMAIN5", "JAPAN:392", "NIPPON:9392");
  ASSERT_EQ(plot("--region 840"), 0);
  EXPECT_EQ(freqs(std::string(kBars) + "[@data-radio=\"0\"]").count(2437), 0u);
  EXPECT_EQ(count("//*[local-name()=\"rect\"][starts-with(@class,\"core\")]"), 10);
  EXPECT_EQ(count("//*[local-name()=\"path\"][@class=\"rule\"]"), 0);  // no --regdb, no rules
  ASSERT_EQ(plot("--region 392"), 0);
  EXPECT_EQ(count(std::string(kBars) + "[@data-radio=\"1\"]"), 0);
}

TEST_F(Plot, AllRegionsOnOnePage) {
  ASSERT_EQ(plot("--all-regions" + kRegdb), 0);
  EXPECT_EQ(sh("xmllint --noout " + svg_), 0);
  EXPECT_EQ(count("//*[local-name()=\"g\"][@class=\"region\"]"), 5);
  const std::string cells = "//*[local-name()=\"g\"][@data-region=\"276\"]/*[local-name()=\"rect\"][@data-freq]";
  EXPECT_EQ(count(cells), 32);
  EXPECT_EQ(count(cells + "[contains(@class,\"dfs\")]"), 15);
  EXPECT_EQ(count("//*[local-name()=\"g\"][@data-region=\"999\"]/*[local-name()=\"rect\"][@data-freq]"), 0);
}

// Values no radio has still give a well-formed picture (and, under the
// sanitizers, no arithmetic overflow): the absurd channel is left out.
TEST_F(Plot, ExtremeValuesStillDraw) {
  t_.edit("ath/REG_DOMAIN5", "5180,870100,0,23", "5180,870100,0,2147483647");
  t_.edit("ath/REG_DOMAIN5", "5200,870100,0,23", "-2147483648,870100,0,23");
  t_.edit("radio_config.json", "\"EIRP\":true", "\"EIRP\":false");
  for (const char *args : {"--all-regions", "--region 840"}) {
    ASSERT_EQ(plot(std::string(args) + kRegdb), 0) << args;
    EXPECT_EQ(sh("xmllint --noout " + svg_), 0) << args;
  }
  EXPECT_EQ(count(std::string(kBars) + "[@data-radio=\"1\"]"), 24);  // 25 channels, one undrawable
}

TEST_F(Plot, Refusals) {
  EXPECT_EQ(plot("--all-regions --region 276"), 2);
  EXPECT_EQ(plot("--band 6"), 2);
  EXPECT_EQ(plot("--region 12345"), 1);  // no such region in the tables
  EXPECT_EQ(sh(kInfo + " --root " + t_.dir() + " plot -o /nonexistent/dir/x.svg 2>/dev/null"), 1);
  EXPECT_EQ(sh(kInfo + " --root " + t_.dir() + " plot --regdb /nonexistent.db >/dev/null 2>&1"), 2);
}

}  // namespace
}  // namespace aputil::test
