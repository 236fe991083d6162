// The command set against the simulated co-processor: wire bytes, replies,
// failure messages, and the multi-step commands.
#include <unistd.h>

#include <functional>
#include <string>

#include "ble_fixture.h"

namespace aputil::test {
namespace {

using Sim = BleCoprocessor;

enum class Kind { kCommandComplete, kVendorEvent, kShortReply };

struct CommandCase {
  std::function<uint32_t(int)> call;
  uint16_t opcode;
  Bytes params;  // wire order
  Kind kind;
  std::string failure;  // the command's message for result 2
};

Bytes success(const CommandCase &c) {
  switch (c.kind) {
    case Kind::kCommandComplete: return Sim::command_complete(c.opcode, 0);
    case Kind::kVendorEvent: return Sim::vendor_event(BLE_EVT_EXT(c.opcode), 0, c.opcode);
    case Kind::kShortReply: return Sim::short_reply(c.opcode, 0, {1, 2, 3, 4, 5, 6});
  }
  return {};
}

Bytes status_error(const CommandCase &c) {
  switch (c.kind) {
    case Kind::kCommandComplete: return Sim::command_complete(c.opcode, 0x0C);
    case Kind::kVendorEvent: return Sim::vendor_event(BLE_EVT_EXT(c.opcode), 0x0C, c.opcode);
    case Kind::kShortReply:  // header only: nothing follows a failed status
      return Sim::event(0xFF, {static_cast<uint8_t>(c.opcode & 0xFF), static_cast<uint8_t>(c.opcode >> 8), 0x0C});
  }
  return {};
}

TEST_F(BleTest, EveryCommandOnTheWire) {
  uint16_t count = 0;
  uint8_t mac[6];
  const std::string e = "[BLE_ERR][ble_snd_cmd_hci_";
  const CommandCase cases[] = {
      {[](int fd) { return ble_snd_cmd_hci_gap_adv_disable(fd); }, 0xFF08, {}, Kind::kShortReply,
       e + "gap_adv_disable:128] response of Gap adv disable error, ret:2\r\n"},
      {[](int fd) { return ble_snd_cmd_hci_gap_adv_enable(fd); }, 0xFF07, {}, Kind::kShortReply,
       e + "gap_adv_enable:145] response of Gap adv enable error, ret:2\r\n"},
      {[&](int fd) { return ble_snd_cmd_hci_get_macaddr(fd, mac); }, 0xFF02, {}, Kind::kShortReply,
       e + "get_macaddr:227] response of get ble mac address error, ret:2\r\n"},
      {[](int fd) { return ble_snd_cmd_hci_ext_set_max_dtm_txpower(fd, 7); }, 0xFC11, {7}, Kind::kVendorEvent,
       e + "ext_set_max_dtm_txpower:246] send tx power command error, return 2 \n\r\n"},
      {[](int fd) { return ble_snd_cmd_hci_tx_test(fd, 19, 37, 2); }, 0x201E, {19, 37, 2}, Kind::kCommandComplete,
       e + "tx_test:264] send tx test command error, return 2 \n\r\n"},
      {[](int fd) { return ble_snd_cmd_hci_rx_test(fd, 19); }, 0x201D, {19}, Kind::kCommandComplete,
       e + "rx_test:281] send rx test command error, return 2 \n\r\n"},
      {[](int fd) { return ble_snd_cmd_hci_enhanced_tx_test(fd, 19, 37, 2, 1); }, 0x2034, {19, 37, 2, 1},
       Kind::kCommandComplete, e + "enhanced_tx_test:298] send tx test command error, return 0x2 \n\r\n"},
      {[](int fd) { return ble_snd_cmd_hci_enhanced_rx_test(fd, 19, 1); }, 0x2033, {19, 1, 0},
       Kind::kCommandComplete, e + "enhanced_rx_test:315] send rx test command error 2 \n\r\n"},
      {[&](int fd) { return ble_snd_cmd_hci_end_test(fd, &count); }, 0x201F, {}, Kind::kCommandComplete,
       e + "end_test:338] set tx power error, return 0x2 \n\r\n"},
      {[](int fd) { return ble_snd_cmd_hci_ext_set_txpower(fd, 5); }, 0xFC01, {5}, Kind::kVendorEvent,
       e + "ext_set_txpower:356] set tx power error, return 0x2 \n\r\n"},
      {[](int fd) { return ble_snd_cmd_hci_ext_tx_test(fd, 19, 3); }, 0xFC08, {3, 19}, Kind::kVendorEvent,
       e + "ext_tx_test:374] extended tx test command send error, return 0x2 \n\r\n"},
      {[](int fd) { return ble_snd_cmd_hci_ext_rx_test(fd, 19); }, 0xFC0A, {19}, Kind::kVendorEvent,
       e + "ext_rx_test:391] extended rx test  command send error, return 0x2 \n\r\n"},
      {[](int fd) { return ble_snd_cmd_hci_ext_enhanced_tx_test(fd, 19, 2, 3); }, 0xFC27, {3, 2, 19},
       Kind::kVendorEvent, e + "ext_enhanced_tx_test:408] extended tx test  command send error, return 0x2 \n\r\n"},
      {[](int fd) { return ble_snd_cmd_hci_ext_enhanced_rx_test(fd, 19, 2); }, 0xFC29, {2, 19}, Kind::kVendorEvent,
       e + "ext_enhanced_rx_test:425] extended rx test  command send error, return 0x2 \n\r\n"},
      {[](int fd) { return ble_snd_cmd_hci_ext_end_test(fd); }, 0xFC0B, {}, Kind::kVendorEvent,
       e + "ext_end_test:442] extended test end command send error, return 0x2 \n\r\n"},
  };
  size_t sent = 0;
  for (const auto &c : cases) {
    sim_.reply(c.opcode, {success(c)});
    EXPECT_EQ(stdout_of([&] { EXPECT_EQ(c.call(fd_), 0u) << std::hex << c.opcode; }), "") << std::hex << c.opcode;
    ASSERT_TRUE(sim_.wait_commands(++sent));
    EXPECT_EQ(sim_.commands().back().opcode, c.opcode);
    EXPECT_EQ(sim_.commands().back().params, c.params) << std::hex << c.opcode;

    sim_.reply(c.opcode, {status_error(c)});
    const std::string out = stdout_of([&] { EXPECT_EQ(c.call(fd_), 2u) << std::hex << c.opcode; });
    ++sent;
    EXPECT_NE(out.find(c.failure), std::string::npos) << out;
  }
  EXPECT_EQ(Bytes(mac, mac + 6), (Bytes{1, 2, 3, 4, 5, 6}));  // in the order received
}

TEST_F(BleTest, RepliesThatGoWrong) {
  uint16_t count = 0;
  sim_.reply(0x201F, {Sim::command_complete(0x201F, 0, {0x34, 0x12})});
  EXPECT_EQ(ble_snd_cmd_hci_end_test(fd_, &count), 0u);
  EXPECT_EQ(count, 0x1234);
  sim_.reply(0x201F, {Sim::command_complete(0x201D, 0)});  // another command's reply
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(ble_snd_cmd_hci_end_test(fd_, &count), 1u); }),
            "[BLE_ERR][ble_chk_resp:220] opCmdCode error, expect 0x201f, return value:0x201d \n\r\n"
            "[BLE_ERR][ble_snd_cmd_hci_end_test:338] set tx power error, return 0x1 \n\r\n");
  sim_.reply(0xFC01, {Sim::vendor_event(0x0402, 0, 0xFC01)});  // wrong vendor event
  EXPECT_EQ(ble_snd_cmd_hci_ext_set_txpower(fd_, 1), 5u);
  sim_.reply(0x201D, {Sim::command_complete(0x201D, 0), 300});  // later than the line timeout
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(ble_snd_cmd_hci_rx_test(fd_, 1), 5u); }),
            "[BLE_ERR][ble_rcv_cmd_hci_resp:189] return msg type error!\r\n"
            "[BLE_ERR][ble_snd_cmd_hci_rx_test:281] send rx test command error, return 5 \n\r\n");
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(ble_snd_cmd_hci_end_test(fd_, nullptr), 3u); }),
            "[BLE_ERR][ble_snd_cmd_hci_end_test:328] input invalid\r\n");
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(ble_snd_cmd_hci_get_macaddr(fd_, nullptr), 3u); }),
            "[BLE_ERR][ble_snd_cmd_hci_get_macaddr:218] invalid input\r\n");
}

TEST_F(BleTest, CoexistencePinsSendBarePackets) {
  ble_snd_cmd_hci_kxcoex_pin_high(fd_);
  ble_snd_cmd_hci_kxcoex_pin_low(fd_);
  ASSERT_TRUE(sim_.wait_commands(2));
  EXPECT_EQ(sim_.received(), (Bytes{0x01, 0xA0, 0x20, 0x00, 0x01, 0xA1, 0x20, 0x00}));
}

class RssiTest : public BleTest {
 protected:
  // Queue ten Read RSSI replies with these readings (nullopt: a reply of
  // another command), run the command and return its result.
  int32_t read(std::initializer_list<int> readings, std::string *out = nullptr) {
    for (int r : readings) {
      if (r == 1000)
        sim_.reply(BLE_OP_READ_RSSI, {Sim::command_complete(0x201D, 0)});
      else
        sim_.reply(BLE_OP_READ_RSSI,
                   {Sim::command_complete(BLE_OP_READ_RSSI, 0, {0x01, 0x00, static_cast<uint8_t>(r)})});
    }
    g_usleep_calls = 0;
    g_usleep_total_us = 0;
    int32_t result = 1;
    std::string o = stdout_of([&] { EXPECT_EQ(ble_snd_cmd_hci_read_rssi(fd_, 1, &result), 0u); });
    if (out) *out = o;
    return result;
  }
};

TEST_F(RssiTest, Averaging) {
  std::string out;
  EXPECT_EQ(read({127, 127, 127, 127, 127, 127, 127, 127, 127, 127}, &out), -100);
  EXPECT_EQ(g_usleep_calls, 1);  // only the first wait
  size_t notes = 0;
  for (size_t at = 0; (at = out.find("[BLE_DBG][ble_snd_cmd_hci_read_rssi:186] invalid rssi\r\n", at)) != out.npos;
       ++at)
    ++notes;
  EXPECT_EQ(notes, 10u);

  EXPECT_EQ(read({-40, -41, 127, 127, 127, 127, 127, 127, 127, 127}), -40);  // truncated toward zero
  EXPECT_EQ(g_usleep_calls, 3);
  EXPECT_EQ(g_usleep_total_us, 600000);
  EXPECT_EQ(read({5, -5, 127, 127, 127, 127, 127, 127, 127, 127}), -100);  // a zero sum counts as none
  EXPECT_EQ(read({1000, -50, -60, -70, 1000, 127, -20, -30, -40, -50}, &out), -45);
  EXPECT_NE(out.find("[BLE_DBG][ble_snd_cmd_hci_read_rssi:180] received irrelevant information, ignore\r\n"),
            std::string::npos);
  ASSERT_TRUE(sim_.wait_commands(40));
  EXPECT_EQ(sim_.commands().back().params, (Bytes{0x01, 0x00}));
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(ble_snd_cmd_hci_read_rssi(fd_, 1, nullptr), 3u); }),
            "[BLE_ERR][ble_snd_cmd_hci_read_rssi:165] invalid input\r\n");
}

TEST_F(BleTest, GapDeviceInit) {
  const Bytes status = Sim::vendor_event(BLE_EVT_CMD_STATUS, 0, BLE_OP_GAP_DEVICE_INIT);
  auto with_event = [&](Bytes event_params) {
    Bytes b = status;
    const Bytes ev = Sim::event(0xFF, event_params);
    b.insert(b.end(), ev.begin(), ev.end());
    return b;
  };
  sim_.reply(BLE_OP_GAP_DEVICE_INIT, {with_event({0x00, 0x06, 0x00})});
  EXPECT_EQ(ble_snd_cmd_hci_gap_device_init(fd_), 0u);
  ASSERT_TRUE(sim_.wait_commands(1));
  EXPECT_EQ(sim_.commands()[0].params, (Bytes{0x08, 0, 0, 0, 0, 0, 0, 0}));

  sim_.reply(BLE_OP_GAP_DEVICE_INIT, {with_event({0x01, 0x06, 0x00})});
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(ble_snd_cmd_hci_gap_device_init(fd_), 5u); }),
            "[BLE_ERR][ble_snd_cmd_hci_gap_device_init:478] Gap Device Init evevt error, return 0x0 \n\r\n");
  sim_.reply(BLE_OP_GAP_DEVICE_INIT, {with_event({0x00, 0x06, 0x11})});
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(ble_snd_cmd_hci_gap_device_init(fd_), 5u); }),
            "[BLE_ERR][ble_snd_cmd_hci_gap_device_init:483] Gap Device Init status error, return 0x0 \n\r\n");
  sim_.reply(BLE_OP_GAP_DEVICE_INIT, {Sim::vendor_event(BLE_EVT_CMD_STATUS, 0x0C, BLE_OP_GAP_DEVICE_INIT)});
  EXPECT_NE(stdout_of([&] { EXPECT_EQ(ble_snd_cmd_hci_gap_device_init(fd_), 2u); })
                .find("[BLE_ERR][ble_snd_cmd_hci_gap_device_init:471] Gap Device Init error, return 0x2 \n\r\n"),
            std::string::npos);
}

TEST_F(BleTest, PeerConnect) {
  const uint8_t peer[6] = {0x11, 0x22, 0x33, 0x44, 0x55, 0x66};
  auto reply = [&](uint8_t status, Bytes event_params) {
    Bytes b = Sim::vendor_event(BLE_EVT_CMD_STATUS, status, BLE_OP_PEER_CONNECT);
    const Bytes ev = Sim::event(0xFF, event_params);
    b.insert(b.end(), ev.begin(), ev.end());
    sim_.reply(BLE_OP_PEER_CONNECT, {b});
  };
  const Bytes link = {0x05, 0x06, 0x00, 0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x34, 0x12};
  uint16_t handle = 0;
  reply(0, link);
  EXPECT_EQ(ble_snd_cmd_hci_peerdevice_connect(fd_, peer, &handle), 0u);
  EXPECT_EQ(handle, 0x1234);
  ASSERT_TRUE(sim_.wait_commands(1));
  EXPECT_EQ(sim_.commands()[0].params, (Bytes{0, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 1, 0, 0}));

  const std::string f = "[BLE_ERR][ble_snd_cmd_hci_peerdevice_connect:";
  struct {
    Bytes event;
    std::string msg;
  } bad[] = {
      {{0x04, 0x06, 0x00, 0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x01, 0x00},
       f + "526] obtain establish perperity evevt error, return 0x0 \r\n"},
      {{0x05, 0x06, 0x3E, 0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x01, 0x00},
       f + "531] obtain establish perperity  status error, return 0x0 \r\n"},
      {{0x05, 0x06, 0x00, 0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x67, 0x01, 0x00},
       f + "537] connected the wrong device\r\n"},
  };
  for (const auto &b : bad) {
    reply(0, b.event);
    handle = 0xBEEF;
    EXPECT_EQ(stdout_of([&] { EXPECT_EQ(ble_snd_cmd_hci_peerdevice_connect(fd_, peer, &handle), 5u); }), b.msg);
    EXPECT_EQ(handle, 0xBEEF);  // not written
  }
  sim_.reply(BLE_OP_PEER_CONNECT, {Sim::vendor_event(BLE_EVT_CMD_STATUS, 0x0C, BLE_OP_PEER_CONNECT)});
  EXPECT_NE(stdout_of([&] { EXPECT_EQ(ble_snd_cmd_hci_peerdevice_connect(fd_, peer, &handle), 2u); })
                .find(f + "519] send Conect Peer Device command error, return 0x2 \n\r\n"),
            std::string::npos);
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(ble_snd_cmd_hci_peerdevice_connect(fd_, nullptr, &handle), 3u); }),
            f + "501] invalid input\r\n");
}

}  // namespace
}  // namespace aputil::test
