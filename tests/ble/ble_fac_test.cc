// Factory operations against the simulated co-processor; GPIO sequences and
// the coexistence check against files in a temporary firmware tree.
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "ble_fixture.h"

namespace aputil::test {
namespace {

using Sim = BleCoprocessor;

TEST(BleFactory, CodeTablesAndSwap) {
  const ble_code_entry_t table[] = {{-20, 0}, {7, 9}, {0, 255}, {8, 3}};
  EXPECT_EQ(ble_get_powercode(table, 7), 9);
  EXPECT_EQ(ble_get_powercode(table, 8), 0);  // after the end marker
  EXPECT_EQ(stdout_of([] { EXPECT_EQ(ble_get_powercode(nullptr, 1), 0); }),
            "[BLE_ERR][ble_get_powercode:50] invalid input\r\n");
  uint8_t odd[5] = {1, 2, 3, 4, 5};
  ble_tool_arr_swap(odd, 5);
  EXPECT_EQ(Bytes(odd, odd + 5), (Bytes{5, 4, 3, 2, 1}));
  ble_tool_arr_swap(odd, 0);
  EXPECT_EQ(stdout_of([] { ble_tool_arr_swap(nullptr, 2); }),
            "[BLE_ERR][ble_tool_arr_swap:71] invalid input parameters\r\n");
}

TEST_F(BleTest, TxAndRxTestsChooseCommandsByPhy) {
  sim_.reply_always(BLE_OP_EXT_SET_MAX_DTM_TXPOWER,
                    {Sim::vendor_event(0x0411, 0, BLE_OP_EXT_SET_MAX_DTM_TXPOWER)});
  for (uint16_t op : {BLE_OP_TX_TEST, BLE_OP_ENHANCED_TX_TEST, BLE_OP_RX_TEST, BLE_OP_ENHANCED_RX_TEST})
    sim_.reply_always(op, {Sim::command_complete(op, 0)});
  EXPECT_EQ(ble_fac_tx_test(fd_, 19, 0, 37, 2, 23), 0);   // 0 dBm is code 9; selector 23: plain test
  EXPECT_EQ(ble_fac_tx_test(fd_, 19, 7, 37, 9, 26), 0);   // 7 dBm and payload 9 are unknown: code 0
  EXPECT_EQ(ble_fac_rx_test(fd_, 5, 23), 0);
  EXPECT_EQ(ble_fac_rx_test(fd_, 5, 26), 0);
  ASSERT_TRUE(sim_.wait_commands(6));
  const auto cmds = sim_.commands();
  EXPECT_EQ(cmds[0].params, (Bytes{9}));
  EXPECT_EQ(cmds[1].opcode, BLE_OP_TX_TEST);
  EXPECT_EQ(cmds[1].params, (Bytes{19, 37, 2}));
  EXPECT_EQ(cmds[2].params, (Bytes{0}));
  EXPECT_EQ(cmds[3].opcode, BLE_OP_ENHANCED_TX_TEST);
  EXPECT_EQ(cmds[3].params, (Bytes{19, 37, 0, 4}));
  EXPECT_EQ(cmds[4].opcode, BLE_OP_RX_TEST);
  EXPECT_EQ(cmds[5].params, (Bytes{5, 3, 0}));  // selector 26 receives with code 3

  sim_.reply(BLE_OP_EXT_SET_MAX_DTM_TXPOWER, {Sim::vendor_event(0x0411, 7, BLE_OP_EXT_SET_MAX_DTM_TXPOWER)});
  std::string out = stdout_of([&] { EXPECT_EQ(ble_fac_tx_test(fd_, 19, 0, 37, 2, 23), 2); });
  EXPECT_NE(out.find("[BLE_ERR][ble_fac_tx_test:294] set hci tx power error, return 0x2\r\n"), std::string::npos);
  EXPECT_EQ(sim_.commands().size(), 7u);  // no test command after a failed power setting
}

TEST_F(BleTest, VendorTestsKeepTheirDeliberateResults) {
  sim_.reply_always(BLE_OP_EXT_SET_TXPOWER, {Sim::vendor_event(0x0401, 0, BLE_OP_EXT_SET_TXPOWER)});
  sim_.reply_always(BLE_OP_EXT_ENHANCED_TX_TEST, {Sim::vendor_event(0x0427, 0x0C, BLE_OP_EXT_ENHANCED_TX_TEST)});
  sim_.reply_always(BLE_OP_EXT_ENHANCED_RX_TEST, {Sim::vendor_event(0x0429, 0x0C, BLE_OP_EXT_ENHANCED_RX_TEST)});
  stdout_of([&] {
    EXPECT_EQ(ble_fac_ext_tx_test(fd_, 19, -20, 26, 1), 0);  // the failed test command is not looked at
    EXPECT_EQ(ble_fac_ext_rx_test(fd_, 19, 25), 0);          // never fails
    EXPECT_EQ(ble_fac_ext_rx_test(fd_, 19, 23), 0);          // silence: still 0
  });
  const auto cmds = sim_.commands();
  ASSERT_GE(cmds.size(), 4u);
  EXPECT_EQ(cmds[0].params, (Bytes{0}));
  EXPECT_EQ(cmds[1].params, (Bytes{1, 6, 19}));  // mode, vendor PHY code of 26, channel
  EXPECT_EQ(cmds[2].params, (Bytes{2, 19}));
  EXPECT_EQ(cmds[3].opcode, BLE_OP_EXT_RX_TEST);

  sim_.reply(BLE_OP_EXT_SET_TXPOWER, {Sim::vendor_event(0x0401, 0x0C, BLE_OP_EXT_SET_TXPOWER)});
  EXPECT_NE(stdout_of([&] { EXPECT_EQ(ble_fac_ext_tx_test(fd_, 19, 0, 23, 1), 2); })
                .find("[BLE_ERR][ble_fac_ext_tx_test:361] set extend tx power error, return:2\r\n"),
            std::string::npos);
  sim_.reply(BLE_OP_EXT_END_TEST, {Sim::vendor_event(0x040B, 0x0C, BLE_OP_EXT_END_TEST)});
  EXPECT_NE(stdout_of([&] { EXPECT_EQ(ble_fac_ext_end_test(fd_), 2); })
                .find("[BLE_ERR][ble_fac_ext_end_test:408] end test error, return 0x2\r\n"),
            std::string::npos);
  uint16_t count = 0;
  sim_.reply(BLE_OP_END_TEST, {Sim::command_complete(BLE_OP_END_TEST, 0, {7, 0})});
  EXPECT_EQ(ble_fac_end_test(fd_, &count), 0);
  EXPECT_EQ(count, 7);
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(ble_fac_end_test(fd_, nullptr), -1); }),
            "[BLE_ERR][ble_fac_end_test:341] invalid input\r\n");
}

TEST_F(BleTest, ConnectReversesTheAddressAndKeepsTheHandle) {
  Bytes init = Sim::vendor_event(BLE_EVT_CMD_STATUS, 0, BLE_OP_GAP_DEVICE_INIT);
  const Bytes done = Sim::event(0xFF, {0x00, 0x06, 0x00});
  init.insert(init.end(), done.begin(), done.end());
  sim_.reply_always(BLE_OP_GAP_DEVICE_INIT, {init});
  Bytes conn = Sim::vendor_event(BLE_EVT_CMD_STATUS, 0, BLE_OP_PEER_CONNECT);
  const Bytes link = Sim::event(0xFF, {0x05, 0x06, 0x00, 0x00, 0x66, 0x55, 0x44, 0x33, 0x22, 0x11, 0x21, 0x00});
  conn.insert(conn.end(), link.begin(), link.end());
  sim_.reply(BLE_OP_PEER_CONNECT, {conn});

  uint8_t peer[6] = {0x11, 0x22, 0x33, 0x44, 0x55, 0x66};
  EXPECT_EQ(ble_fac_peerdevice_connect(fd_, peer), 0);
  EXPECT_EQ(Bytes(peer, peer + 6), (Bytes{0x66, 0x55, 0x44, 0x33, 0x22, 0x11}));

  sim_.reply(BLE_OP_READ_RSSI, {Sim::command_complete(BLE_OP_READ_RSSI, 0, {0x21, 0x00, static_cast<uint8_t>(-55)})});
  sim_.reply_always(BLE_OP_READ_RSSI, {Sim::command_complete(BLE_OP_READ_RSSI, 0, {0x21, 0x00, 127})});
  int32_t rssi = 0;
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(ble_fac_peerdevice_read_rssi(fd_, &rssi), 0); }).find("BLE_ERR"),
            std::string::npos);  // nine readings of 127 are only noted
  EXPECT_EQ(rssi, -55);
  EXPECT_EQ(sim_.commands().back().params, (Bytes{0x21, 0x00}));  // the stored handle

  // A failed connection (the link names another peer) still reverses the
  // caller's address.
  sim_.reply(BLE_OP_PEER_CONNECT, {conn});
  uint8_t again[6] = {1, 2, 3, 4, 5, 6};
  const std::string out = stdout_of([&] { EXPECT_EQ(ble_fac_peerdevice_connect(fd_, again), -1); });
  EXPECT_EQ(Bytes(again, again + 6), (Bytes{6, 5, 4, 3, 2, 1}));
  EXPECT_NE(out.find("[BLE_ERR][_ble_connect_peerdevice:189] peer device connecting opearation failed, return 5\r\n"
                     "[BLE_ERR][ble_fac_peerdevice_connect:428] peer device connect error\r\n"),
            std::string::npos);
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(ble_fac_peerdevice_read_rssi(fd_, nullptr), -1); }),
            "[BLE_ERR][ble_fac_peerdevice_read_rssi:438] input invalid\r\n");
}

TEST_F(BleTest, MacAddressInTheCoprocessorsOrder) {
  sim_.reply(BLE_OP_GET_MACADDR, {Sim::short_reply(BLE_OP_GET_MACADDR, 0, {0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6})});
  uint8_t mac[6];
  EXPECT_EQ(ble_fac_mac_get(fd_, mac), 0);
  EXPECT_EQ(Bytes(mac, mac + 6), (Bytes{0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6}));
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(ble_fac_mac_get(fd_, nullptr), -1); }),
            "[BLE_ERR][ble_fac_mac_get:457] invalid input\r\n");
}

TEST_F(BleTest, CoexistenceCheckReadsBothLines) {
  FirmwareRoot root;
  const std::string e = "[BLE_ERR][ble_fac_coex_gpio_ctl:";
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(ble_fac_coex_gpio_ctl(fd_, 1), -1); }),
            e + "250] open ble coex req gpio file failed\r\n");
  root.write("/proc/morvik_gpio/ble_coex_req", "1\n");
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(ble_fac_coex_gpio_ctl(fd_, 1), -1); }),
            e + "263] open ble coex pri gpio file failed\r\n");
  root.write("/proc/morvik_gpio/ble_coex_pri", "");
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(ble_fac_coex_gpio_ctl(fd_, 1), -1); }), e + "270] read ble pri gpio file error\r\n");
  root.write("/proc/morvik_gpio/ble_coex_pri", "1\n");
  g_usleep_calls = 0;
  EXPECT_EQ(ble_fac_coex_gpio_ctl(fd_, 1), 0);
  EXPECT_EQ(g_usleep_calls, 1);
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(ble_fac_coex_gpio_ctl(fd_, 0), -1); }),
            e + "281] check result not meet the expectation, check result: req:1, pri:1; expectation:  req:0, pri:0\r\n");
  root.write("/proc/morvik_gpio/ble_coex_req", "2");
  root.write("/proc/morvik_gpio/ble_coex_pri", "2");
  EXPECT_EQ(ble_fac_coex_gpio_ctl(fd_, 2), 0);  // sends nothing, still checks
  ASSERT_TRUE(sim_.wait_commands(5));
  EXPECT_EQ(sim_.commands().size(), 5u);  // pin high x4, pin low x1
  EXPECT_EQ(sim_.commands()[4].opcode, BLE_OP_KXCOEX_PIN_LOW);
}

TEST(BleGpio, SequencesWriteTheLinesInOrder) {
  FirmwareRoot root;
  root.write("/proc/morvik_gpio/.keep", "");
  // At every sleep, note the lines' states: "backdoor/reset/ptm" and the sleep.
  std::vector<std::string> states;
  g_on_usleep = [&](long us) {
    auto line = [&](const char *name) {
      const std::string v = root.read(std::string("/proc/morvik_gpio/") + name);
      return v.empty() ? std::string("-") : v.substr(0, v.size() - 1);
    };
    states.push_back(line("ble_backdoor") + "/" + line("ble_reset") + "/" + line("ble_ptm") + " " +
                     std::to_string(us / 1000));
  };
  ble_gpio_bootloader_prep();
  EXPECT_EQ(states, (std::vector<std::string>{"-/-/- 200", "on/-/- 200", "on/on/- 200", "on/off/- 200",
                                               "off/off/- 200"}));
  states.clear();
  ble_gpio_fac_init();
  EXPECT_EQ(states, (std::vector<std::string>{"off/off/- 200", "off/off/on 200", "off/on/on 200", "off/off/on 400"}));
  states.clear();
  ble_gpio_fac_deinit();
  EXPECT_EQ(states,
            (std::vector<std::string>{"off/off/on 200", "off/off/off 200", "off/on/off 200", "off/off/off 400"}));
  g_on_usleep = nullptr;
}

// The firmware root goes into the line commands quoted for the shell: a
// root with blanks, quotes or "$(...)" is written into, never run.
TEST(BleGpio, RootIsOneShellWord) {
  char base[] = "/tmp/aputil-gpio-XXXXXX";
  ASSERT_NE(mkdtemp(base), nullptr);
  const std::string root = std::string(base) + "/fw it's $(touch INJECTED) `touch INJECTED2`";
  std::filesystem::create_directories(root + "/proc/morvik_gpio");
  const char *saved = getenv("APUTIL_SYSROOT");
  const std::string keep = saved ? saved : "";
  setenv("APUTIL_SYSROOT", root.c_str(), 1);
  char cwd[4096];
  ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
  ASSERT_EQ(chdir(base), 0);
  ble_gpio_fac_init();
  EXPECT_EQ(chdir(cwd), 0);
  if (saved) setenv("APUTIL_SYSROOT", keep.c_str(), 1); else unsetenv("APUTIL_SYSROOT");
  EXPECT_EQ(read_file(root + "/proc/morvik_gpio/ble_ptm"), "on\n");
  EXPECT_EQ(read_file(root + "/proc/morvik_gpio/ble_reset"), "off\n");
  EXPECT_EQ(read_file(std::string(base) + "/INJECTED"), "");
  EXPECT_EQ(access((std::string(base) + "/INJECTED").c_str(), F_OK), -1);
  EXPECT_EQ(access((std::string(base) + "/INJECTED2").c_str(), F_OK), -1);
  // A root too long for the 255-character command is not run at all: cut,
  // the command would write beside the tree.
  const std::string deep = std::string(base) + "/s/" + std::string(219, 'p') + "'x";
  std::filesystem::create_directories(deep + "/proc/morvik_gpio");
  setenv("APUTIL_SYSROOT", deep.c_str(), 1);
  ble_gpio_reset();
  if (saved) setenv("APUTIL_SYSROOT", keep.c_str(), 1); else unsetenv("APUTIL_SYSROOT");
  EXPECT_EQ(read_file(deep + "/proc/morvik_gpio/ble_reset"), "");
  size_t entries = 0;
  for (const auto &e : std::filesystem::directory_iterator(std::string(base) + "/s")) entries += e.exists();
  EXPECT_EQ(entries, 1u);  // only the tree itself
  std::filesystem::remove_all(base);
}

}  // namespace
}  // namespace aputil::test
