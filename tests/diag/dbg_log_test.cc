#include <string>

#include "diag_fixture.h"

namespace aputil::test {
namespace {

TEST_F(DiagTest, DefaultsPrintOnlyErrors) {
  EXPECT_EQ(stdout_of([] {
              util_dbg_printf("x", 2, "f", 7, "notice");
              util_dbg_printf("x", 3, "f", 7, "debug");
              util_dbg_printf("x", 1, "f", 7, "value %d", 42);
            }),
            "\033[0;31m[Error][f] 007: value 42\n\033[0m");
  EXPECT_EQ(util_dbg_setLevel(0), -1);
  EXPECT_EQ(util_dbg_setLevel(4), -1);
  EXPECT_EQ(util_dbg_setLevel(3), 0);
  EXPECT_EQ(stdout_of([] {
              util_dbg_printf("x", 3, "f", 1, "not registered");
              util_dbg_printf("x", -1, "f", 1, "level compared unsigned");
              util_dbg_printf(nullptr, 1, "f", 1, "no module");
              util_dbg_printf("x", 1, nullptr, 1, "no function");
            }),
            "");
}

TEST_F(DiagTest, RegistryHoldsOneModuleMatchedByPrefix) {
  util_dbg_setLevel(3);
  EXPECT_EQ(stdout_of([] { EXPECT_EQ(util_dbg_setMod("wlan", 1), 0); }),
            "Into util_dbg_setMod, pModName(wlan), enable(1)\nregister module(wlan) success\n");
  EXPECT_EQ(stdout_of([] {
              util_dbg_printf("wlan0", 2, "f", 12, "n");
              util_dbg_printf("wlanmgr", 3, "f", 1234, "d");
              util_dbg_printf("wl", 3, "f", 1, "dropped");
            }),
            "\033[0;33m[Notice][f] 012: n\n\033[0m[Debug][f] 1234: d\n");

  stdout_of([] { util_dbg_setMod("b", 1); });  // replaces entry 0: "wlan" is gone
  EXPECT_EQ(stdout_of([] {
              util_dbg_printf("wlan", 2, "f", 1, "dropped");
              util_dbg_printf("b", 2, "f", 1, "kept");
            }),
            "\033[0;33m[Notice][f] 001: kept\n\033[0m");
  // "b" matches "bx" too, so registering "bx" renames the entry.
  EXPECT_EQ(stdout_of([] { util_dbg_setMod("bx", 1); }),
            "Into util_dbg_setMod, pModName(bx), enable(1)\nregister module(bx) success\n");
  EXPECT_EQ(stdout_of([] { EXPECT_EQ(util_dbg_setMod("zz", 0), -1); }),
            "Into util_dbg_setMod, pModName(zz), enable(0)\nunregister module(zz) failed\n");
  EXPECT_EQ(stdout_of([] { util_dbg_setMod("bx", 0); }),
            "Into util_dbg_setMod, pModName(bx), enable(0)\nunregister module(bx) success\n");
  EXPECT_EQ(stdout_of([] { util_dbg_printf("bx", 2, "f", 1, "dropped"); }), "");
  EXPECT_EQ(stdout_of([] { EXPECT_EQ(util_dbg_setMod(nullptr, 1), -1); }), "Module name is null\n");
}

TEST_F(DiagTest, AllSwitchesEveryModuleButOnlyInTwoSpellings) {
  util_dbg_setLevel(2);
  stdout_of([] { util_dbg_setMod("All", 1); });  // an ordinary module named "All"
  EXPECT_EQ(stdout_of([] { util_dbg_printf("other", 2, "f", 1, "x"); }), "");
  stdout_of([] { util_dbg_setMod("ALL", 1); });
  EXPECT_EQ(stdout_of([] {
              util_dbg_printf("other", 2, "f", 1, "x");
              util_dbg_printf("other", 3, "f", 1, "above the level");
            }),
            "\033[0;33m[Notice][f] 001: x\n\033[0m");
  stdout_of([] { util_dbg_setMod("all", 0); });
  EXPECT_EQ(stdout_of([] { util_dbg_printf("other", 2, "f", 1, "x"); }), "");
}

TEST_F(DiagTest, MessageIsCutAt510) {
  const std::string long_msg(600, 'm');
  EXPECT_EQ(stdout_of([&] { util_dbg_printf("x", 1, "f", 1, "%s", long_msg.c_str()); }),
            "\033[0;31m[Error][f] 001: " + std::string(510, 'm') + "\n\033[0m");
}

TEST_F(DiagTest, ErrorRingWrapsByRecordCount) {
  util_dbg_init("ring", 4096);  // 16 records per round
  EXPECT_EQ(root_.read("/tmp/log/error/ring"), "");
  stdout_of([] {
    for (int i = 0; i < 17; ++i) util_dbg_printf("x", 1, "fn", i, "rec%02d|", i);
  });
  // Records 0..15 fill the first round; record 16 starts again at offset 0.
  const std::string want = ts("[Error][TS][fn] 0016:rec16|");
  std::string round;
  for (int i = 0; i < 16; ++i) {
    char rec[64];
    std::snprintf(rec, sizeof rec, "[Error][TS][fn] %04d:rec%02d|", i, i);
    round += ts(rec);
  }
  EXPECT_EQ(masked("/tmp/log/error/ring"), want + round.substr(want.size()));
}

TEST_F(DiagTest, ErrorRingBelow256WrapsEveryRecordAndCutsAt255) {
  util_dbg_init("small", 100);
  const std::string long_msg(400, 'z');
  stdout_of([&] {
    util_dbg_printf("x", 1, "fn", 1, "%s", long_msg.c_str());
    util_dbg_printf("x", 1, "fn", 2, "short");
  });
  const std::string first = ts("[Error][TS][fn] 0001:") + std::string(255 - 38, 'z');
  const std::string second = ts("[Error][TS][fn] 0002:short");
  // The first record is 255 bytes (the limit of 100 is only a wrap point).
  EXPECT_EQ(masked("/tmp/log/error/small"), second + first.substr(second.size()));
}

TEST_F(DiagTest, LostErrorFileStillPrints) {
  util_dbg_init("unused", 0);  // no file: nothing is touched
  EXPECT_EQ(stdout_of([] { util_dbg_printf("x", 1, "fn", 3, "m"); }), "\033[0;31m[Error][fn] 003: m\n\033[0m");
  EXPECT_EQ(root_.read("/tmp/log/error/unused"), "");

  util_dbg_init("gone", 4096);
  std::remove(root_.host("/tmp/log/error/gone").c_str());
  EXPECT_EQ(stdout_of([] { util_dbg_printf("x", 1, "fn", 3, "m"); }),
            "\033[0;31m[Error][fn] 003: m\n\033[0m[util_dbg_saveToFile:109]: open fileName = "
            "/tmp/log/error/gone failed\r\n");
  FILE *f = std::fopen(root_.host("/tmp/log/error/gone").c_str(), "r");
  EXPECT_EQ(f, nullptr);  // never created by a record
  if (f) std::fclose(f);
}

TEST_F(DiagTest, InitEmptiesTheRegistryButKeepsTheWritePosition) {
  util_dbg_init("a", 4096);
  util_dbg_setLevel(2);
  stdout_of([] {
    util_dbg_setMod("m", 1);
    util_dbg_printf("x", 1, "fn", 1, "first");
  });
  util_dbg_init("b", 4096);
  EXPECT_EQ(stdout_of([] {
              util_dbg_printf("m", 2, "fn", 1, "dropped: registry emptied");
              util_dbg_printf("x", 1, "fn", 2, "second");
            }),
            "\033[0;31m[Error][fn] 002: second\n\033[0m");
  const std::string b = root_.read("/tmp/log/error/b");
  EXPECT_EQ(b.find('\0'), 0u);  // the new file is written from the old position
  EXPECT_NE(b.find("0002:second"), std::string::npos);
}

}  // namespace
}  // namespace aputil::test
