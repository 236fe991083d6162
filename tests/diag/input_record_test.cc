#include <string>

#include "diag_fixture.h"

namespace aputil::test {
namespace {

// A record slot: the text, NUL bytes, and a newline as the last byte.
std::string slot(const std::string &text, size_t len) {
  std::string s = text.substr(0, len - 1);
  s.resize(len - 1, '\0');
  return s + "\n";
}

TEST_F(DiagTest, TextRecordsRingThroughTheSlots) {
  util_inputRecord_init("cmd", 3200, 320);
  for (int i = 0; i < 11; ++i) {
    std::string cmd = "cmd" + std::to_string(i);
    util_inputRecord_save(cmd.c_str(), static_cast<uint32_t>(cmd.size()), 1);
  }
  const std::string file = masked("/tmp/log/rec/cmd");
  ASSERT_EQ(file.size(), 3200u);
  EXPECT_EQ(file.substr(0, 320), slot(ts("[10][5][TS]cmd10"), 320));  // the 11th overwrote slot 0
  EXPECT_EQ(file.substr(320, 320), slot(ts("[1][4][TS]cmd1"), 320));
  EXPECT_EQ(file.substr(2880), slot(ts("[9][4][TS]cmd9"), 320));
}

TEST_F(DiagTest, HexRecordsLeaveRoomForTheNewline) {
  util_inputRecord_init("hex", 640, 64);
  const unsigned char bytes[40] = {0x00, 0xAB, 0x7f};
  util_inputRecord_save(bytes, sizeof bytes, 0);
  const std::string header = ts("[0][40][TS]");  // 28 characters
  std::string digits = "00AB7F" + std::string(28, '0');  // (63 - 28) / 2 = 17 bytes
  EXPECT_EQ(masked("/tmp/log/rec/hex").substr(0, 64), slot(header + digits, 64));

  const std::string long_text(400, 't');
  util_inputRecord_init("long", 640, 400);  // recLen above 320 gives 320
  util_inputRecord_save(long_text.c_str(), 400, 1);
  std::string rec = masked("/tmp/log/rec/long");
  // Slot index 1 carried over from the former file: the record lands at 320.
  EXPECT_EQ(rec.substr(320, 320), slot(ts("[1][400][TS]") + std::string(318 - 29, 't'), 320));
}

TEST_F(DiagTest, RecordLengthAndSlotEdgeCases) {
  util_inputRecord_init("neg", 1000, -1);
  util_inputRecord_save("a", 1, 1);
  EXPECT_EQ(root_.read("/tmp/log/rec/neg").size(), 320u);

  util_inputRecord_init("zero", 1000, 0);  // not set up: the former ring stays in use
  EXPECT_EQ(root_.read("/tmp/log/rec/zero"), "");

  util_inputRecord_init("tiny", 10, 64);  // no whole slot: back to slot 0 after every record
  util_inputRecord_save("x", 1, 1);       // lands in slot 1, the index carried over
  util_inputRecord_save("y", 1, 1);
  EXPECT_EQ(masked("/tmp/log/rec/tiny"), slot(ts("[2][1][TS]y"), 64) + slot(ts("[1][1][TS]x"), 64));

  std::remove(root_.host("/tmp/log/rec/tiny").c_str());
  EXPECT_EQ(stdout_of([] { util_inputRecord_save("z", 1, 1); }),
            "[util_inputRecord_save:398]: open fileName = /tmp/log/rec/tiny failed\r\n");
  util_inputRecord_save(nullptr, 4, 0);  // no data: header only, no crash
}

}  // namespace
}  // namespace aputil::test
