// Framing, event reads and reply checks.
#include <string>

#include "ble_fixture.h"

namespace aputil::test {
namespace {

TEST(BleHci, BuildsCommandPackets) {
  uint8_t pkt[8] = {};
  const uint8_t params[3] = {0x27, 0x25, 0x00};
  ble_build_cmd(pkt, 0x201E, 7, params);
  EXPECT_EQ(Bytes(pkt, pkt + 7), (Bytes{0x01, 0x1E, 0x20, 0x03, 0x27, 0x25, 0x00}));
  ble_build_cmd_hci(pkt, 0xFC27, 7, 0x102, 0xFF, -1);  // each argument keeps its low byte
  EXPECT_EQ(Bytes(pkt, pkt + 7), (Bytes{0x01, 0x27, 0xFC, 0x03, 0x02, 0xFF, 0xFF}));
  uint8_t bare[4];
  ble_build_cmd(bare, 0x20A0, 4, nullptr);
  EXPECT_EQ(Bytes(bare, bare + 4), (Bytes{0x01, 0xA0, 0x20, 0x00}));
  ble_build_cmd(bare, 0x20A0, 2, params);  // below 4: header only, nothing copied
  EXPECT_EQ(bare[3], 0xFE);
  EXPECT_EQ(stdout_of([] {
              ble_build_cmd(nullptr, 1, 4, nullptr);
              ble_build_cmd_hci(nullptr, 1, 4);
              ble_snd_cmd(0, nullptr, 4);
            }),
            "[BLE_ERR][ble_build_cmd:50] invalid input\r\n[BLE_ERR][ble_build_cmd_hci:69] invalid input\r\n"
            "[BLE_ERR][ble_snd_cmd:94] invalid input\r\n");
}

TEST(BleHci, CommandCompleteCheckOrder) {
  const uint8_t ok[] = {1, 0x1E, 0x20, 0x00};
  const uint8_t bad_status[] = {1, 0x1E, 0x20, 0x0C};
  const uint8_t bad_both[] = {1, 0x1F, 0x20, 0x0C};
  EXPECT_EQ(ble_chk_resp(0x201E, ok), 0u);
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(ble_chk_resp(0x201E, bad_status), 2u); }),
            "[BLE_ERR][ble_chk_resp:226] response return status error, expect 0x00, return value:0xc \n\r\n");
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(ble_chk_resp(0x201E, bad_both), 1u); }),
            "[BLE_ERR][ble_chk_resp:220] opCmdCode error, expect 0x201e, return value:0x201f \n\r\n");
  EXPECT_EQ(stdout_of([] { EXPECT_EQ(ble_chk_resp(1, nullptr), 3u); }),
            "[BLE_ERR][ble_chk_resp:212] invalid input\r\n");
}

TEST(BleHci, VendorEventCheckOrder) {
  // event 0x0411, status, opcode 0xFC11
  const uint8_t ok[] = {0x11, 0x04, 0x00, 0x11, 0xFC};
  const uint8_t all_wrong[] = {0x12, 0x04, 0x01, 0x12, 0xFC};
  const uint8_t event_and_status[] = {0x12, 0x04, 0x01, 0x11, 0xFC};
  const uint8_t status[] = {0x11, 0x04, 0x01, 0x11, 0xFC};
  EXPECT_EQ(ble_chk_resp_ext(0xFC11, 0x0411, ok), 0u);
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(ble_chk_resp_ext(0xFC11, 0x0411, all_wrong), 1u); }),
            "[BLE_ERR][ble_chk_resp_ext:250] opCmdCode error, expect 0xfc11, return value:0xfc12 \n\r\n");
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(ble_chk_resp_ext(0xFC11, 0x0411, event_and_status), 5u); }),
            "[BLE_ERR][ble_chk_resp_ext:256] eventCode error, expect 0x411, return value:0x412 \n\r\n");
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(ble_chk_resp_ext(0xFC11, 0x0411, status), 2u); }),
            "[BLE_ERR][ble_chk_resp_ext:263] response status error, expect 0x00, return value:0x1 \n\r\n");
  EXPECT_EQ(stdout_of([] { EXPECT_EQ(ble_chk_resp_ext(1, 1, nullptr), 3u); }),
            "[BLE_ERR][ble_chk_resp_ext:239] invalid input\r\n");
}

TEST_F(BleTest, EventReads) {
  uint8_t buf[256] = {};
  sim_.push(BleCoprocessor::command_complete(0x201D, 0));
  EXPECT_EQ(ble_rcv_cmd_hci_resp(fd_, buf), 0u);
  EXPECT_EQ(Bytes(buf, buf + 4), (Bytes{0x01, 0x1D, 0x20, 0x00}));

  sim_.push({0x02, 0x0E, 0x04, 0xAA});  // not an event: nothing more is read
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(ble_rcv_cmd_hci_resp(fd_, buf), 5u); }),
            "[BLE_ERR][ble_rcv_cmd_hci_resp:189] return msg type error!\r\n");
  EXPECT_EQ(ble_uart_read_byte(fd_), 0xAA);  // left on the line

  sim_.push({0x04, 0xFF, 0x03, 0x00, 0x06, 0x00});  // follow-up event, unchecked
  EXPECT_EQ(ble_rcv_eventdata(fd_, buf), 0x00);
  EXPECT_EQ(buf[1], 0x06);
  EXPECT_EQ(stdout_of([&] {
              EXPECT_EQ(ble_rcv_cmd_hci_resp(fd_, nullptr), 3u);
              ble_rcv_eventdata(fd_, nullptr);
            }),
            "[BLE_ERR][ble_rcv_cmd_hci_resp:172] invalid input\r\n[BLE_ERR][ble_rcv_eventdata:110] invalid input\r\n");
}

TEST_F(BleTest, ShortVendorReplyChecksStatusFirst) {
  uint8_t buf[256] = {};
  sim_.push(BleCoprocessor::short_reply(0xFF02, 0, {1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(ble_rcv_cmd_resp(fd_, buf, 0xFF02), 0u);
  EXPECT_EQ(Bytes(buf, buf + 9), (Bytes{1, 2, 3, 4, 5, 6, 0, 0, 0}));  // three more than remain

  sim_.push({0x02, 0xFF, 0x00, 0x99, 0x99, 0x07});  // wrong type, code and status
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(ble_rcv_cmd_resp(fd_, buf, 0xFF02), 2u); }),
            "[BLE_ERR][ble_rcv_cmd_resp:137] response return status error, expect 0x00, return value:0x7 \n\r\n");
  sim_.push({0x02, 0xFF, 0x00, 0x99, 0x99, 0x00});
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(ble_rcv_cmd_resp(fd_, buf, 0xFF02), 5u); }),
            "[BLE_ERR][ble_rcv_cmd_resp:143] return msg type error!\r\n");
  sim_.push({0x04, 0xFF, 0x00, 0x99, 0x99, 0x00});
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(ble_rcv_cmd_resp(fd_, buf, 0xFF02), 1u); }),
            "[BLE_ERR][ble_rcv_cmd_resp:150] opCmdCode error, expect 0xff02, return value:0x9999 \n\r\n");
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(ble_rcv_cmd_resp(fd_, nullptr, 1), 3u); }),
            "[BLE_ERR][ble_rcv_cmd_resp:128] invalid input\r\n");
}

}  // namespace
}  // namespace aputil::test
