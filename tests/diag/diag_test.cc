// The debug log (level and module filters, its console lines, the error ring
// file) and the input record ring. Console rows: a call, its result and all
// it prints. Files are compared with each timestamp written as TS.
#include <cstdio>
#include <cstring>
#include <functional>
#include <regex>
#include <string>

#include "diag/diag_state.h"
#include "support/model_tree.h"
#include "util_dbg.h"

namespace aputil::test {
namespace {

#define CALL(...) [&] { return __VA_ARGS__; }
#define LOG(...) CALL((util_dbg_printf(__VA_ARGS__), 0))
struct Row { std::function<int()> call; int rc; std::string out; };
std::string red(const std::string &s) { return "\033[0;31m[Error][f] " + s + "\n\033[0m"; }
std::string yellow(const std::string &s) { return "\033[0;33m[Notice][f] " + s + "\n\033[0m"; }
std::string mod(const std::string &m, int on, const char *result = "") {  // what util_dbg_setMod prints
  return "Into util_dbg_setMod, pModName(" + m + "), enable(" + std::to_string(on) + ")\n" + (*result ? (on ? "" : "un") + ("register module(" + m + ") ") + result + "\n" : "");
}
const std::string kStamp = "YYYY-MM-DD hh:mm:ss";  // as long as a timestamp
std::string ts(std::string s) { return s.replace(s.find("TS"), 2, kStamp); }
std::string slot(std::string text, size_t len) { return text.resize(len - 1, '\0'), text + "\n"; }  // NUL-filled, newline last

class DiagTest : public ::testing::Test {
 protected:
  void SetUp() override { root_.write("/tmp/log/error/.keep", ""), root_.write("/tmp/log/rec/.keep", ""), diag::reset_dbg_for_tests(), diag::reset_input_record_for_tests(); }
  void check(std::initializer_list<Row> rows) {
    int i = 0;
    for (const Row &r : rows) EXPECT_EQ(stdout_of([&] { EXPECT_EQ(r.call(), r.rc) << "row " << i; }), r.out) << "row " << i++;
  }
  std::string file(const std::string &path) const { return std::regex_replace(root_.read(path), std::regex(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d)"), kStamp); }
  // Error records from..to-1 ("rec<i>|" at line i), and the text they are kept as.
  static std::string errors(int from, int to) {
    std::string all;
    for (char r[64]; from < to; ++from) stdout_of([&] { util_dbg_printf("x", 1, "fn", from, "rec%02d|", from); }),
      all += ts(std::string(r, std::snprintf(r, sizeof r, "[Error][TS][fn] %04d:rec%02d|", from, from)));
    return all;
  }
  FirmwareRoot root_;
};

TEST_F(DiagTest, LevelsModulesAndConsoleLines) {
  check({{LOG("x", 2, "f", 7, "notice"), 0, ""}, {LOG("x", 3, "f", 7, "debug"), 0, ""},  // default: errors only
         {LOG("x", 1, "f", 7, "value %d", 42), 0, red("007: value 42")}, {CALL(util_dbg_setLevel(0)), -1, ""},
         {CALL(util_dbg_setLevel(4)), -1, ""}, {CALL(util_dbg_setLevel(3)), 0, ""}, {LOG("x", 3, "f", 1, "unregistered"), 0, ""},
         {LOG("x", -1, "f", 1, "compared unsigned"), 0, ""}, {LOG(nullptr, 1, "f", 1, "m"), 0, ""}, {LOG("x", 1, nullptr, 1, "m"), 0, ""},
         {CALL(util_dbg_setMod("wlan", 1)), 0, mod("wlan", 1, "success")}, {LOG("wlan0", 2, "f", 12, "n"), 0, yellow("012: n")},
         {LOG("wlanmgr", 3, "f", 1234, "d"), 0, "[Debug][f] 1234: d\n"}, {LOG("wl", 3, "f", 1, "dropped"), 0, ""},
         {CALL(util_dbg_setMod("b", 1)), 0, mod("b", 1, "success")},  // one entry: "wlan" is gone
         {LOG("wlan", 2, "f", 1, "dropped"), 0, ""}, {LOG("b", 2, "f", 1, "kept"), 0, yellow("001: kept")},
         {CALL(util_dbg_setMod("bx", 1)), 0, mod("bx", 1, "success")},  // "b" matches "bx": renamed
         {LOG("b", 2, "f", 1, "dropped"), 0, ""}, {CALL(util_dbg_setMod("zz", 0)), -1, mod("zz", 0, "failed")},
         {CALL(util_dbg_setMod("bx", 0)), 0, mod("bx", 0, "success")}, {LOG("bx", 2, "f", 1, "dropped"), 0, ""},
         {CALL(util_dbg_setMod("bx", 0)), -1, mod("bx", 0, "failed")}, {CALL(util_dbg_setMod(nullptr, 1)), -1, "Module name is null\n"},
         {CALL(util_dbg_setLevel(2)), 0, ""}, {CALL(util_dbg_setMod("All", 1)), 0, mod("All", 1, "success")},  // a module
         {LOG("other", 2, "f", 1, "x"), 0, ""}, {CALL(util_dbg_setMod("ALL", 1)), 0, mod("ALL", 1)},
         {LOG("other", 2, "f", 1, "x"), 0, yellow("001: x")}, {LOG("other", 3, "f", 1, "above the level"), 0, ""},
         {CALL(util_dbg_setMod("all", 0)), 0, mod("all", 0)}, {LOG("other", 2, "f", 1, "x"), 0, ""},
         {LOG("x", 1, "f", 1, "%s", std::string(600, 'm').c_str()), 0, red("001: " + std::string(510, 'm'))}});
}

// Records go round in size / 256 slots (none below 256: each starts at 0
// again), cut at 255 bytes; the write position carries over to a new file.
TEST_F(DiagTest, ErrorRing) {
  util_dbg_init("ring", 4096);
  EXPECT_EQ(root_.read("/tmp/log/error/ring"), "");
  const std::string round2 = (errors(0, 17), errors(17, 32));
  EXPECT_EQ(file("/tmp/log/error/ring"), errors(32, 33) + round2);
  util_dbg_init("small", 100);
  stdout_of([] { util_dbg_printf("x", 1, "fn", 1, "%s", std::string(400, 'z').c_str()), util_dbg_printf("x", 1, "fn", 2, "short"); });
  // The first record lands at 44, where the former file's last one ended; it is 255 bytes long.
  EXPECT_EQ(file("/tmp/log/error/small"), ts("[Error][TS][fn] 0002:short") + '\0' + ts("[Error][TS][fn] 0001:") + std::string(255 - 38, 'z'));
  util_dbg_init(std::string(300, 'n').c_str(), 4096);  // the path is cut to 254 characters
  const std::string first = errors(1, 2), next = (util_dbg_init("next", 4096), errors(2, 3));
  EXPECT_EQ(file("/tmp/log/error/" + std::string(239, 'n')) + file("/tmp/log/error/next"), first + std::string(first.size(), '\0') + next);
  // A lost file, an emptied registry; an init without a size keeps the former limit (and no path).
  const std::string lost = "[util_dbg_saveToFile:109]: open fileName = ";
  check({{CALL(util_dbg_setLevel(2)), 0, ""}, {CALL(util_dbg_setMod("m", 1)), 0, mod("m", 1, "success")},
         {CALL((util_dbg_init("gone", 4096), std::remove(root_.host("/tmp/log/error/gone").c_str()))), 0, ""},
         {LOG("m", 2, "f", 1, "registry emptied"), 0, ""},
         {LOG("x", 1, "f", 3, "m"), 0, red("003: m") + lost + "/tmp/log/error/gone failed\r\n"},
         {CALL((util_dbg_init("off", 0), 0)), 0, ""}, {LOG("x", 1, "f", 3, "m"), 0, red("003: m") + lost + " failed\r\n"},
         {CALL(static_cast<int>(root_.read("/tmp/log/error/gone").size() + root_.read("/tmp/log/error/off").size())), 0, ""}});
}

// Slots of recLen bytes (320 for more or negative); the slot index and the
// sequence number carry over to a new file; a ring without a whole slot
// starts at slot 0 again after every record. Paths are cut to 254 characters.
TEST_F(DiagTest, InputRecordRing) {
  unsigned char bytes[200];
  std::memset(bytes, 0x11, sizeof bytes), bytes[0] = 0xAB, bytes[1] = 0x7F;
  std::string cmds = slot(ts("[10][5][TS]cmd10"), 320), nul(640, '\0'), cut = "/tmp/log/rec/" + std::string(241, 'r');
  for (int i = 1; i < 10; ++i) cmds += slot(ts("[" + std::to_string(i) + "][4][TS]cmd" + std::to_string(i)), 320);
  struct { std::string name; uint32_t size; int32_t len; std::function<void()> save; std::string file; } rows[] = {
      {"cmd", 3200, 320, [] { for (int i = 0; i < 11; ++i) util_inputRecord_save(("cmd" + std::to_string(i)).c_str(), i < 10 ? 4 : 5, 1); }, cmds},
      {"hex", 3180, 318, [&] { util_inputRecord_save(bytes, sizeof bytes, 0); },  // 143 bytes fit, then a NUL
       nul.substr(0, 318) + slot(ts("[11][200][TS]AB7F") + std::string(282, '1'), 318)},
      {"long", 640, 400, [] { util_inputRecord_save(std::string(400, 't').c_str(), 400, 1); }, nul + slot(ts("[12][400][TS]") + std::string(288, 't'), 320)},
      {"neg", 1000, -1, [] { util_inputRecord_save("a", 1, 1); }, slot(ts("[13][1][TS]a"), 320)}, {"zero", 1000, 0, [] {}, ""},
      {"tiny", 10, 64, [] { util_inputRecord_save("x", 1, 1), util_inputRecord_save("y", 1, 1); }, slot(ts("[15][1][TS]y"), 64) + slot(ts("[14][1][TS]x"), 64)},
      {"null", 640, 64, [] { util_inputRecord_save(nullptr, 4, 0), util_inputRecord_save(nullptr, 2, 1); }, slot(ts("[16][4][TS]"), 64) + slot(ts("[17][2][TS]"), 64)},
      {std::string(300, 'r'), 640, 64, [] { util_inputRecord_save("z", 1, 1); }, nul.substr(0, 128) + slot(ts("[18][1][TS]z"), 64)},
  };
  for (const auto &r : rows) {
    util_inputRecord_init(r.name.c_str(), r.size, r.len), r.save();
    EXPECT_EQ(file("/tmp/log/rec/" + r.name.substr(0, 241)), r.file) << r.name.substr(0, 8);
  }
  std::remove(root_.host(cut).c_str());
  EXPECT_EQ(stdout_of([] { util_inputRecord_save("z", 1, 1); }), "[util_inputRecord_save:398]: open fileName = " + cut + " failed\r\n");
}

}  // namespace
}  // namespace aputil::test
