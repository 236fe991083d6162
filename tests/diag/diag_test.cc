// The debug log (level and module filters, its console lines, the error ring
// file) and the input record ring. Files are compared with each timestamp
// written as TS.
#include <cstdio>
#include <cstring>
#include <regex>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "diag/diag_state.h"
#include "support/model_tree.h"
#include "util_dbg.h"

namespace aputil::test {
namespace {

const std::string kStamp = "YYYY-MM-DD hh:mm:ss";  // as long as a timestamp
std::string ts(std::string s) { return s.replace(s.find("TS"), 2, kStamp); }
// A record slot of len bytes: the text (TS for its timestamp), NULs, a newline last.
std::string slot(const std::string &text, size_t len) {
  const std::string t = ts(text);
  return t + std::string(len - 1 - t.size(), '\0') + "\n";
}
// A console line as printed: Error lines red, Notice lines yellow.
std::string colour(const std::string &line) {
  if (line.rfind("[Error]", 0) == 0) return "\033[0;31m" + line + "\n\033[0m";
  return line.rfind("[Notice]", 0) == 0 ? "\033[0;33m" + line + "\n\033[0m" : line + "\n";
}
template <typename... A>
std::string logged(A... args) {
  return stdout_of([&] { util_dbg_printf(args...); });
}

// Console steps "call n rc [out]", split by semicolons. "level":
// util_dbg_setLevel(n); "+name":
// util_dbg_setMod(name, n), out being what it says of the module ("success"
// or "failed"); any other call (NULL for none) logs "m" for that module at
// level n from f, line 1, out being the kind of line printed.
int step(const char *call, int n) {
  if (call && call[0] == '+') return util_dbg_setMod(call + 1, n);
  if (call && std::strcmp(call, "level") == 0) return util_dbg_setLevel(n);
  util_dbg_printf(call, n, "f", 1, "m");
  return 0;
}
std::string printed(const char *call, int n, const std::string &out) {
  if (!call || call[0] != '+') return out.empty() ? "" : colour("[" + out + "][f] 001: m");
  const std::string name = call + 1, said = "Into util_dbg_setMod, pModName(" + name + "), enable(" + std::to_string(n);
  return said + ")\n" + (out.empty() ? "" : (n ? "" : "un") + ("register module(" + name + ") ") + out + "\n");
}
void run(const std::string &steps) {
  std::istringstream in(steps);
  for (std::string step_text; std::getline(in, step_text, ';');) {
    const char *s = step_text.c_str();
    char call[16], out[16] = "";
    int n, rc, got = 0;
    ASSERT_GE(std::sscanf(s, "%15s %d %d %15s", call, &n, &rc, out), 3) << s;
    const char *c = std::strcmp(call, "NULL") ? call : nullptr;
    EXPECT_EQ(stdout_of([&] { got = step(c, n); }), printed(c, n, out)) << s;
    EXPECT_EQ(got, rc) << s;
  }
}

class DiagTest : public ::testing::Test {
 protected:
  void SetUp() override {
    root_.write("/tmp/log/error/.keep", "");
    root_.write("/tmp/log/rec/.keep", "");
    diag::reset_dbg_for_tests();
    diag::reset_input_record_for_tests();
  }
  std::string file(const std::string &path) const {
    return std::regex_replace(root_.read(path), std::regex(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d)"), kStamp);
  }
  // Logs error records from..to-1 ("rec<i>|" at line i); gives the text they are kept as.
  static std::string errors(int from, int to) {
    std::string all;
    for (char r[64]; from < to; ++from) {
      logged("x", 1, "fn", from, "rec%02d|", from);
      all += ts(std::string(r, std::snprintf(r, sizeof r, "[Error][TS][fn] %04d:rec%02d|", from, from)));
    }
    return all;
  }
  FirmwareRoot root_;
};

// Only errors by default; a module matches a registered name it starts
// with; the one registry entry is renamed by a longer name, and "all" or
// "ALL" (not "All") stands for every module.
TEST_F(DiagTest, LevelsModulesAndConsoleLines) {
  EXPECT_EQ(logged("x", 1, "f", 7, "value %d", 42), colour("[Error][f] 007: value 42"));
  EXPECT_EQ(logged("x", 1, "f", 1234, "%s", std::string(600, 'm').c_str()),
            colour("[Error][f] 1234: " + std::string(510, 'm')));
  EXPECT_EQ(logged("x", 1, nullptr, 1, "m") + stdout_of([] { EXPECT_EQ(util_dbg_setMod(nullptr, 1), -1); }),
            "Module name is null\n");
  run("x 2 0; x 3 0; x 1 0 Error; level 0 -1; level 4 -1; level 3 0; x 3 0; x -1 0; NULL 1 0; "
      "+wlan 1 0 success; wlan0 2 0 Notice; wlanmgr 3 0 Debug; wl 3 0; "  // a prefix of the module's name
      "+b 1 0 success; wlan 2 0; b 2 0 Notice; +bx 1 0 success; b 2 0; "  // one entry, renamed by a longer name
      "+zz 0 -1 failed; +bx 0 0 success; bx 2 0; +bx 0 -1 failed; "
      "level 2 0; +All 1 0 success; other 2 0; +ALL 1 0; other 2 0 Notice; other 3 0; +all 0 0; other 2 0");
}

// Records go round in size / 256 slots (none below 256: each starts at 0
// again), cut at 255 bytes; the write position carries over to a new file.
TEST_F(DiagTest, ErrorRing) {
  util_dbg_init("ring", 4096);
  EXPECT_EQ(root_.read("/tmp/log/error/ring"), "");
  errors(0, 17);
  const std::string round2 = errors(17, 32);
  EXPECT_EQ(file("/tmp/log/error/ring"), errors(32, 33) + round2);
  util_dbg_init("small", 100);
  logged("x", 1, "fn", 1, "%s", std::string(400, 'z').c_str());
  logged("x", 1, "fn", 2, "short");
  // The first record lands at 44, where the former file's last one ended; it is 255 bytes long.
  EXPECT_EQ(file("/tmp/log/error/small"),
            ts("[Error][TS][fn] 0002:short") + '\0' + ts("[Error][TS][fn] 0001:") + std::string(255 - 38, 'z'));
  util_dbg_init(std::string(300, 'n').c_str(), 4096);  // the path is cut to 254 characters
  const std::string first = errors(1, 2);
  util_dbg_init("next", 4096);
  const std::string next = errors(2, 3);
  EXPECT_EQ(file("/tmp/log/error/" + std::string(239, 'n')) + file("/tmp/log/error/next"),
            first + std::string(first.size(), '\0') + next);
  // A lost file; an init empties the registry, and one without a size keeps the former limit (and no path).
  const std::string lost = colour("[Error][f] 001: m") + "[util_dbg_saveToFile:109]: open fileName = ";
  run("level 2 0; +m 1 0 success");
  util_dbg_init("gone", 4096);
  std::remove(root_.host("/tmp/log/error/gone").c_str());
  run("m 2 0");
  EXPECT_EQ(logged("x", 1, "f", 1, "m"), lost + "/tmp/log/error/gone failed\r\n");
  util_dbg_init("off", 0);
  EXPECT_EQ(logged("x", 1, "f", 1, "m"), lost + " failed\r\n");
  EXPECT_EQ(root_.read("/tmp/log/error/gone") + root_.read("/tmp/log/error/off"), "");
}

// Slots of recLen bytes (320 for more or negative); the slot index and the
// sequence number carry over to a new file; a ring without a whole slot
// starts at slot 0 again after every record. Paths are cut to 254 characters.
TEST_F(DiagTest, InputRecordRing) {
  std::string cmds = slot("[10][5][TS]cmd10", 320), nul(640, '\0'), cut = "/tmp/log/rec/" + std::string(241, 'r');
  util_inputRecord_init("cmd", 3200, 320);
  for (int i = 0; i < 11; ++i) util_inputRecord_save(("cmd" + std::to_string(i)).c_str(), i < 10 ? 4 : 5, 1);
  for (int i = 1; i < 10; ++i) cmds += slot("[" + std::to_string(i) + "][4][TS]cmd" + std::to_string(i), 320);
  EXPECT_EQ(file("/tmp/log/rec/cmd"), cmds);
  const std::string bin = "\xAB\x7F" + std::string(198, 0x11), t400(400, 't');  // of bin, 143 bytes fit, then a NUL
  const char *b = bin.data();
  using Save = std::tuple<const void *, uint32_t, int32_t>;  // data, len, isText
  const std::tuple<std::string, uint32_t, int32_t, std::vector<Save>, std::string> rows[] = {
      {"hex", 3180, 318, {{b, 200, 0}}, nul.substr(0, 318) + slot("[11][200][TS]AB7F" + std::string(282, '1'), 318)},
      {"long", 640, 400, {{t400.c_str(), 400, 1}}, nul + slot("[12][400][TS]" + std::string(288, 't'), 320)},
      {"neg", 1000, -1, {{"a", 1, 1}}, slot("[13][1][TS]a", 320)},
      {"zero", 1000, 0, {}, ""},
      {"tiny", 10, 64, {{"x", 1, 1}, {"y", 1, 1}}, slot("[15][1][TS]y", 64) + slot("[14][1][TS]x", 64)},
      {"null", 640, 64, {{nullptr, 4, 0}, {nullptr, 2, 1}}, slot("[16][4][TS]", 64) + slot("[17][2][TS]", 64)},
      {std::string(300, 'r'), 640, 64, {{"z", 1, 1}}, nul.substr(0, 128) + slot("[18][1][TS]z", 64)},
  };
  for (const auto &[name, size, rec_len, saves, want] : rows) {
    util_inputRecord_init(name.c_str(), size, rec_len);
    for (const auto &[data, len, text] : saves) util_inputRecord_save(data, len, text);
    EXPECT_EQ(file("/tmp/log/rec/" + name.substr(0, 241)), want) << name.substr(0, 8);
  }
  std::remove(root_.host(cut).c_str());
  EXPECT_EQ(stdout_of([] { util_inputRecord_save("z", 1, 1); }),
            "[util_inputRecord_save:398]: open fileName = " + cut + " failed\r\n");
}

}  // namespace
}  // namespace aputil::test
