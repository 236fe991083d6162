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

// A record slot of len bytes: the text t (TS standing for its 19-character
// timestamp), NULs, a newline last.
std::string slot(const std::string &t, size_t len) { return t + std::string(len - 18 - t.size(), '\0') + "\n"; }
const std::string kRed = "\033[0;31m", kEnd = "\n\033[0m";  // an Error line's colour, and its end
// What an Error message msg logged from function f at line prints.
std::string error(const char *f, int line, const std::string &msg) {
  return stdout_of([&] { util_dbg_printf("x", 1, f, line, "%s", msg.c_str()); });
}

// Console steps "call n rc [out]", split by semicolons, each checked for
// what it prints and returns. "level": util_dbg_setLevel(n); "+name":
// util_dbg_setMod(name, n), out being what it says of the module ("success"
// or "failed"); any other call (NULL for none) logs "m" for that module at
// level n from f, line 1, out being the kind of line printed (Error lines
// red, Notice lines yellow).
int step(const char *call, int n) {
  if (call[0] == '+') return util_dbg_setMod(call + 1, n);
  if (std::strcmp(call, "level") == 0) return util_dbg_setLevel(n);
  util_dbg_printf(std::strcmp(call, "NULL") ? call : nullptr, n, "f", 1, "m");
  return 0;
}
void run(const std::string &steps) {
  std::istringstream in(steps);
  for (std::string s; std::getline(in, s, ';');) {
    char call[16], out[16] = "";
    int n, rc;
    ASSERT_GE(std::sscanf(s.c_str(), "%15s %d %d %15s", call, &n, &rc, out), 3) << s;
    const std::string name = call + 1, said = "Into util_dbg_setMod, pModName(" + name + "), enable(", kind = out;
    const std::string colour = kind == "Error" ? kRed : kind == "Notice" ? "\033[0;33m" : "";
    std::string want = kind.empty() ? "" : colour + "[" + kind + "][f] 001: m" + (colour.empty() ? "\n" : kEnd);
    if (call[0] == '+')
      want = said + std::to_string(n) + ")\n" +
             (*out ? (n ? "" : "un") + ("register module(" + name + ") ") + out + "\n" : "");
    EXPECT_EQ(stdout_of([&] { std::printf("-> %d", step(call, n)); }), want + "-> " + std::to_string(rc)) << s;
  }
}

class DiagTest : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char *dir : {"/tmp/log/error/.keep", "/tmp/log/rec/.keep"}) root_.write(dir, "");
    diag::reset_dbg_for_tests();
    diag::reset_input_record_for_tests();
  }
  // The file /tmp/log/<path>.
  std::string file(const std::string &path) const {
    return std::regex_replace(root_.read("/tmp/log/" + path), std::regex(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d)"), "TS");
  }
  // Logs error records from..to-1 ("rec<i>|" at line i); gives the text they are kept as.
  static std::string errors(int from, int to) {
    std::string all;
    for (char r[64]; from < to; ++from) {
      error("fn", from, std::string(r, std::snprintf(r, sizeof r, "rec%02d|", from)));
      all += std::string(r, std::snprintf(r, sizeof r, "[Error][TS][fn] %04d:rec%02d|", from, from));
    }
    return all;
  }
  FirmwareRoot root_;
};

// Only errors by default; a module matches a registered name it starts with
// (wlan0 and wlanmgr for wlan, not wl); the one registry entry is renamed by a
// longer name (b by bx), and "all" or "ALL" (not "All") stands for every
// module.
TEST_F(DiagTest, DebugLog) {
  EXPECT_EQ(error("f", 1234, std::string(600, 'm')), kRed + "[Error][f] 1234: " + std::string(510, 'm') + kEnd);
  EXPECT_EQ(error(nullptr, 1, "m") + stdout_of([] { EXPECT_EQ(util_dbg_setMod(nullptr, 1), -1); }),
            "Module name is null\n");
  run("x 2 0; x 3 0; x 1 0 Error; level 0 -1; level 4 -1; level 3 0; x 3 0; x -1 0; NULL 1 0; +wlan 1 0 success; "
      "wlan0 2 0 Notice; wlanmgr 3 0 Debug; wl 3 0; +b 1 0 success; wlan 2 0; b 2 0 Notice; +bx 1 0 success; b 2 0; "
      "+zz 0 -1 failed; +bx 0 0 success; bx 2 0; +bx 0 -1 failed; level 2 0; +All 1 0 success; other 2 0; +ALL 1 0; "
      "other 2 0 Notice; other 3 0; +all 0 0; other 2 0");
  // Records go round in size / 256 slots (none below 256: each starts at 0
  // again), cut at 255 bytes; the write position carries over to a new file,
  // whose path is cut to 254 characters. An init empties the registry, and one
  // without a size keeps the former limit (and no path).
  util_dbg_init("ring", 4096);
  errors(0, 17);
  const std::string round2 = errors(17, 32), round3 = errors(32, 33);  // logged before the file is read
  EXPECT_EQ(file("error/ring"), round3 + round2);
  util_dbg_init("small", 100);
  error("fn", 1, std::string(400, 'z'));
  error("fn", 2, "short");
  // The first record lands at 44, where the former file's last one ended; it is 255 bytes long (217 of them z).
  EXPECT_EQ(file("error/small"),
            std::string("[Error][TS][fn] 0002:short") + '\0' + "[Error][TS][fn] 0001:" + std::string(217, 'z'));
  util_dbg_init(std::string(300, 'n').c_str(), 4096);
  const std::string first = errors(1, 2);
  EXPECT_EQ(file("error/" + std::string(239, 'n')), first);
  run("level 2 0; +m 1 0 success");
  util_dbg_init("off", 0);
  run("m 2 0");
  EXPECT_EQ(error("f", 1, "m"),
            kRed + "[Error][f] 001: m" + kEnd + "[util_dbg_saveToFile:109]: open fileName =  failed\r\n");
}

// Slots of recLen bytes (320 for more or negative); the slot index and the
// sequence number carry over to a new file; a ring without a whole slot
// starts at slot 0 again after every record. Paths are cut to 254
// characters. A record whose file cannot be opened is lost, with a line.
TEST_F(DiagTest, InputRecordRing) {
  // Of bin, 143 bytes fit as hex, then a NUL.
  const std::string bin = "\xAB\x7F" + std::string(198, 0x11), t400(400, 't'), nul(320, '\0');
  using Save = std::tuple<const void *, uint32_t, int32_t>;  // data, len, isText
  const std::tuple<std::string, uint32_t, int32_t, std::vector<Save>, std::string> rows[] = {
      {"one", 320, 320, {{"a", 1, 1}, {"b", 1, 1}}, slot("[1][1][TS]b", 320)},
      {"hex", 3170, 317, {{bin.data(), 200, 0}}, slot("[2][200][TS]AB7F" + std::string(282, '1'), 317)},
      {"long", 640, 400, {{t400.c_str(), 400, 1}}, nul + slot("[3][400][TS]" + std::string(289, 't'), 320)},
      {"neg", 1000, -1, {{"a", 1, 1}}, slot("[4][1][TS]a", 320)},
      {"tiny", 10, 64, {{"x", 1, 1}, {"y", 1, 1}}, slot("[6][1][TS]y", 64) + slot("[5][1][TS]x", 64)},
      {"null", 640, 64, {{nullptr, 4, 0}, {nullptr, 2, 1}}, slot("[7][4][TS]", 64) + slot("[8][2][TS]", 64)},
      {std::string(300, 'r'), 640, 64, {{"z", 1, 1}}, nul.substr(0, 128) + slot("[9][1][TS]z", 64)}};
  for (const auto &[name, size, rec_len, saves, want] : rows) {
    util_inputRecord_init(name.c_str(), size, rec_len);
    for (const auto &[data, len, text] : saves) util_inputRecord_save(data, len, text);
    EXPECT_EQ(file("rec/" + name.substr(0, 241)), want) << name.substr(0, 8);
  }
  util_inputRecord_init("zero", 1000, 0);  // nothing set up, the former ring without its path
  EXPECT_EQ(stdout_of([] { util_inputRecord_save("z", 1, 1); }),
            "[util_inputRecord_save:398]: open fileName =  failed\r\n");
}

}  // namespace
}  // namespace aputil::test
