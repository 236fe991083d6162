// The BLE co-processor driver against a simulated co-processor on a
// pseudo-terminal, and the GPIO lines against files in firmware trees: a
// table per behaviour. In this program usleep returns at once and close can
// be made to fail.
#include "ble.h"

#include <sys/syscall.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "support/ble_coprocessor.h"
#include "support/model_tree.h"

namespace aputil::test {

std::function<int(long us)> g_on_usleep = [](long) { return 0; };
int g_fail_close = -1;  // close fails with EIO for this descriptor

extern "C" int usleep(useconds_t us) { return g_on_usleep(us); }

extern "C" int close(int fd) {
  if (fd < 0 || fd != g_fail_close) return static_cast<int>(syscall(SYS_close, fd));
  errno = EIO;
  return -1;
}

namespace {

using Sim = BleCoprocessor;
using Sent = std::vector<std::pair<uint16_t, Bytes>>;  // commands as (opcode, parameters)
const std::string kErr = "[BLE_ERR][ble_", kCmd = kErr + "snd_cmd_hci_",
                  kBadStatus = " status error, expect 0x00, return value:0xc \n\r\n";
const std::string kBadExtStatus = kErr + "chk_resp_ext:263] response" + kBadStatus, kInvalid = "] invalid input\r\n",
                  kRet2 = "return 0x2 \n\r\n";

// The reply to a command: its vendor event for 0xFCxx, the short vendor
// reply for 0xFFxx (address 1..6 after status 0), nothing for the
// coexistence pins, else Command Complete returning 0x1234.
Bytes answer(uint16_t op, uint8_t status) {
  if (op == BLE_OP_KXCOEX_PIN_HIGH || op == BLE_OP_KXCOEX_PIN_LOW) return {};
  if (op >> 8 == 0xFC) return Sim::vendor_event(BLE_EVT_EXT(op), status, op);
  if (op >> 8 == 0xFF) return Sim::short_reply(op, status, status ? Bytes{} : Bytes{1, 2, 3, 4, 5, 6});
  return Sim::command_complete(op, status, {0x34, 0x12});
}

// Table rows: a call, its result and all it prints.
#define CALL(...) [&] { return __VA_ARGS__; }
#define VOID(...) \
  [&] {           \
    __VA_ARGS__;  \
    return 0L;    \
  }
// A call refused for a NULL argument: its result and the line of its message.
#define REFUSED(rc, fn, line, ...) \
  { CALL(fn(__VA_ARGS__)), rc, "[BLE_ERR][" #fn ":" #line "] invalid input\r\n" }
// A ble_snd_cmd_hci_ call on the line and its name.
#define CMD(name, ...) [&] { return ble_snd_cmd_hci_##name(fd_ __VA_OPT__(, ) __VA_ARGS__); }, #name ":"
using Row = std::tuple<std::function<long()>, long, std::string>;
void expect_rows(std::initializer_list<Row> rows) {
  for (const auto &[call, rc, out] : rows) EXPECT_EQ(stdout_of([&] { EXPECT_EQ(call(), rc) << out; }), out);
}

// The library's line to a simulated co-processor that answers every command
// with success unless a test queues another reply.
class BleTest : public ::testing::Test {
 protected:
  void SetUp() override {
    sim_.set_responder([](const HciCommand &c) { return Reply{answer(c.opcode, 0)}; });
    ASSERT_GE(fd_ = ble_uart_open(sim_.device().c_str(), BLE_UART_MODE_1152000), 0);
  }
  void TearDown() override { close(fd_); }
  // The commands sent since the last call (each answered, or followed by one that is).
  Sent sent() {
    Sent all;
    for (const auto &c : sim_.commands()) all.emplace_back(c.opcode, c.params);
    return Sent(all.begin() + std::exchange(seen_, all.size()), all.end());
  }
  // The line, the next reply to op being r (for failing: one with status 0x0C).
  int replying(uint16_t op, const Reply &r) {
    sim_.reply(op, r);
    return fd_;
  }
  int failing(uint16_t op) { return replying(op, {answer(op, 0x0C)}); }
  Sim sim_;
  int fd_ = -1;
  size_t seen_ = 0;
};

// --- the serial line ---

// A packet: 0x01, opcode, len - 4, then the parameters (none from NULL or
// below 4 bytes; ble_build_cmd_hci keeps each argument's low byte). A byte
// that does not arrive reads as 0. Replies are checked: Command Complete for
// opcode, then status; a vendor event for opcode, event code, status; a short
// vendor reply for status, packet type, code, and then as many bytes are read
// as its length says, and no more. Every NULL argument is refused with a
// message, before anything is sent; so are failures to open and close the
// line.
TEST_F(BleTest, TheLineFramingAndRefusals) {
  // Raw 8N1 at the mode's speed, reads waiting 0.2 s for a byte; the former
  // settings come back on close.
  static termios before, now, after;                  // zeroed, the padding too
  ASSERT_EQ(tcgetattr(Sim().line_fd(), &before), 0);  // a line as it comes
  ASSERT_EQ(tcgetattr(fd_, &now), 0);
  const tcflag_t mask = CSIZE | CSTOPB | CREAD | PARENB | CLOCAL | CRTSCTS;
  EXPECT_EQ(std::tuple(now.c_iflag | now.c_oflag | now.c_lflag, now.c_cflag & mask, now.c_cc[VMIN], now.c_cc[VTIME]),
            std::tuple(0u, tcflag_t{CS8 | CREAD}, cc_t{0}, cc_t{2}));
#ifndef APUTIL_TEST_EMULATED  // qemu-user does not carry the termios baud rates through
  EXPECT_EQ(std::pair(cfgetospeed(&now), cfgetispeed(&now)), std::pair(speed_t{B1152000}, speed_t{B1152000}));
#endif
  EXPECT_EQ(ble_uart_close(fd_), 1);
  ASSERT_EQ(tcgetattr(sim_.line_fd(), &after), 0);
  EXPECT_EQ(std::memcmp(&before, &after, sizeof before), 0);
  ASSERT_GE(fd_ = ble_uart_open(sim_.device().c_str(), 0), 0);
  const std::string c = kErr + "chk_resp",
                    r = kErr + "rcv_cmd_resp:", op = "opCmdCode error, expect 0x201e, return value:0x201f \n\r\n";
  uint8_t buf[256] = {}, pin[] = {0x01, 0xA0, 0x20, 0x00}, p[8] = {0, 0, 0, 0, 0xEE, 0xEE, 0xEE, 0xEE};
  ble_build_cmd(p, 0x20A0, 6, nullptr);
  EXPECT_EQ(Bytes(p, p + 5), (Bytes{1, 0xA0, 0x20, 2, 0xEE}));
  ble_build_cmd(p, 0x20A0, 2, pin + 1);
  EXPECT_EQ(Bytes(p, p + 5), (Bytes{1, 0xA0, 0x20, 0xFE, 0xEE}));
  ble_build_cmd_hci(p, 0xFC27, 7, 0x102, 0xFF, -1);
  EXPECT_EQ(Bytes(p, p + 8), (Bytes{1, 0x27, 0xFC, 3, 2, 0xFF, 0xFF, 0xEE}));
  expect_rows(
      {REFUSED(-1, ble_snd_cmd, 94, 0, nullptr, 4), REFUSED(0, ble_uart_read_bytes_multi, 108, fd_, nullptr, 1),
       REFUSED(3, ble_rcv_cmd_hci_resp, 172, fd_, nullptr), REFUSED(3, ble_rcv_cmd_resp, 128, fd_, nullptr, 1),
       REFUSED(0, ble_rcv_eventdata, 110, fd_, nullptr), REFUSED(3, ble_chk_resp, 212, 1, nullptr),
       REFUSED(3, ble_chk_resp_ext, 239, 1, 1, nullptr), REFUSED(3, ble_snd_cmd_hci_read_rssi, 165, fd_, 1, nullptr),
       REFUSED(3, ble_snd_cmd_hci_get_macaddr, 218, fd_, nullptr), REFUSED(0, ble_get_powercode, 50, nullptr, 1),
       REFUSED(-1, ble_fac_end_test, 341, fd_, nullptr), REFUSED(-1, ble_fac_peerdevice_connect, 418, fd_, nullptr),
       REFUSED(-1, ble_fac_mac_get, 457, fd_, nullptr)});
  expect_rows({
      {VOID(ble_build_cmd(nullptr, 1, 4, nullptr)), 0, kErr + "build_cmd:50" + kInvalid},
      {VOID(ble_build_cmd_hci(nullptr, 1, 4)), 0, kErr + "build_cmd_hci:69" + kInvalid},
      {VOID(ble_tool_arr_swap(nullptr, 2)), 0, kErr + "tool_arr_swap:71] invalid input parameters\r\n"},
      {CALL(ble_snd_cmd_hci_end_test(fd_, nullptr)), 3, kCmd + "end_test:328] input invalid\r\n"},
      {CALL(ble_fac_peerdevice_read_rssi(fd_, nullptr)), -1, kErr + "fac_peerdevice_read_rssi:438] input invalid\r\n"},
      {CALL(ble_uart_open("/none/tty", 0)), -1, kErr + "uart_open:156] sblUartOpen: /none/tty open failed\n\r\n"},
      {CALL(ble_uart_open(sim_.device().c_str(), 2)), -1, kErr + "uart_open:183] uartMode error: 2\n\r\n"},
      {CALL(ble_uart_open("/dev/null", 0)), -1,
       kErr + "uart_open:163] sblUartOpen: tcgetattr error: -1\n\r\n"},  // no terminal (left open)
      {CALL(ble_uart_close(-1)), 0,
       kErr + "uart_close:129] SblUart_close: tcsetattr error: -1 Bad file descriptor\n\r\n"},
      // nothing written
      {CALL(ble_snd_cmd(fd_, pin, 0)), 0, ""},
      // the last byte write's result
      {CALL(ble_snd_cmd(fd_, pin, 4)), 1, ""},
      // answered: all before it arrived
      {CALL(ble_snd_cmd_hci_ext_end_test(fd_)), 0, ""},
      {CALL(ble_chk_resp(0x201E, Bytes{1, 0x1F, 0x20, 0x0C}.data())), 1, c + ":220] " + op},
      {CALL(ble_chk_resp_ext(0x201E, 0x0411, Bytes{0x12, 0x04, 0x01, 0x1F, 0x20}.data())), 1, c + "_ext:250] " + op},
      {CALL(ble_chk_resp_ext(0x201E, 0x0411, Bytes{0x12, 0x04, 0x01, 0x1E, 0x20}.data())), 5,
       c + "_ext:256] eventCode error, expect 0x411, return value:0x412 \n\r\n"},
  });
  EXPECT_EQ(sim_.received(), (Bytes{1, 0xA0, 0x20, 0, 1, 0x0B, 0xFC, 0}));
  // Replies already on the line: read in turn, each read taking its own bytes and no more.
  sim_.push({0x42, 0x43, 0x44, 0x02, 0x0E, 0x04, 0xAA, 0x04, 0xFF, 0x00, 0x02, 0xFF, 0x00, 0xAB, 0x02, 0xFF,
             0x00, 0x99, 0x99, 0x0C, 0x02, 0xFF, 0x00, 0x99, 0x99, 0x00, 0x04, 0xFF, 0x00, 0x99, 0x99, 0x00});
  expect_rows({
      // count 0 still reads one byte
      {CALL(ble_uart_read_bytes_multi(fd_, buf, 0)), 0x42, ""},
      // the last byte
      {CALL(ble_uart_read_bytes_multi(fd_, buf + 1, 2)), 0x44, ""},
      {CALL(ble_rcv_cmd_hci_resp(fd_, buf)), 5, kErr + "rcv_cmd_hci_resp:189] return msg type error!\r\n"},
      // left on the line
      {CALL(ble_uart_read_byte(fd_)), 0xAA, ""},
      // length 0: nothing more
      {CALL(ble_rcv_cmd_resp(fd_, buf, 0xFF02)), 0, ""},
      {CALL(ble_uart_read_byte(fd_)), 0xAB, ""},
      {CALL(ble_rcv_cmd_resp(fd_, buf, 0xFF02)), 2, r + "137] response return" + kBadStatus},
      {CALL(ble_rcv_cmd_resp(fd_, buf, 0xFF02)), 5, r + "143] return msg type error!\r\n"},
      {CALL(ble_rcv_cmd_resp(fd_, buf, 0xFF02)), 1,
       r + "150] opCmdCode error, expect 0xff02, return value:0x9999 \n\r\n"},
  });
  g_fail_close = fd_;
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(ble_uart_close(fd_), 0); }),
            kErr + "uart_close:138] SblUart_close: Port close failure: -1 Input/output error\n\r\n");
  g_fail_close = -1;
}

// --- commands ---

// Each command's packet, its result and messages for a reply with status
// 0x0C, and nothing printed on success.
TEST_F(BleTest, Commands) {
  uint16_t count = 0, handle = 0xBEEF;
  uint8_t mac[6] = {}, peer[6] = {0x11, 0x22, 0x33, 0x44, 0x55, 0x66};
  int32_t rssi = 0;
  // The call and its name, its command, the end of its last line after a reply with status 0x0C.
  const std::tuple<std::function<uint32_t()>, std::string, uint16_t, Bytes, std::string> rows[] = {
      {CMD(gap_adv_disable), 0xFF08, {}, "128] response of Gap adv disable error, ret:2\r\n"},
      {CMD(gap_adv_enable), 0xFF07, {}, "145] response of Gap adv enable error, ret:2\r\n"},
      {CMD(get_macaddr, mac), 0xFF02, {}, "227] response of get ble mac address error, ret:2\r\n"},
      {CMD(ext_set_max_dtm_txpower, 7), 0xFC11, {7}, "246] send tx power command error, return 2 \n\r\n"},
      {CMD(tx_test, 19, 37, 2), 0x201E, {19, 37, 2}, "264] send tx test command error, return 2 \n\r\n"},
      {CMD(rx_test, 19), 0x201D, {19}, "281] send rx test command error, return 2 \n\r\n"},
      {CMD(enhanced_tx_test, 19, 37, 2, 1), 0x2034, {19, 37, 2, 1}, "298] send tx test command error, " + kRet2},
      {CMD(enhanced_rx_test, 19, 1), 0x2033, {19, 1, 0}, "315] send rx test command error 2 \n\r\n"},
      {CMD(end_test, &count), 0x201F, {}, "338] set tx power error, " + kRet2},
      {CMD(ext_set_txpower, 5), 0xFC01, {5}, "356] set tx power error, " + kRet2},
      // The vendor commands put their arguments on the wire in reverse order.
      {CMD(ext_tx_test, 19, 3), 0xFC08, {3, 19}, "374] extended tx test command send error, " + kRet2},
      {CMD(ext_rx_test, 19), 0xFC0A, {19}, "391] extended rx test  command send error, " + kRet2},
      {CMD(ext_enhanced_tx_test, 19, 2, 3), 0xFC27, {3, 2, 19}, "408] extended tx test  command send error, " + kRet2},
      {CMD(ext_enhanced_rx_test, 19, 2), 0xFC29, {2, 19}, "425] extended rx test  command send error, " + kRet2},
      {CMD(ext_end_test), 0xFC0B, {}, "442] extended test end command send error, " + kRet2},
  };
  for (const auto &[call, name, opcode, params, failure] : rows) {
    failing(opcode);
    const std::string plain = kErr + (opcode >> 8 == 0xFF ? "rcv_cmd_resp:137" : "chk_resp:226") + "] response return";
    const std::string check = opcode >> 8 == 0xFC ? kBadExtStatus : plain + kBadStatus;
    EXPECT_EQ(stdout_of([&] { EXPECT_EQ(call(), 2u); }), check + kCmd + name + failure);
    EXPECT_EQ(stdout_of([&] { EXPECT_EQ(call(), 0u); }), "");
    EXPECT_EQ(sent(), Sent(2, {opcode, params})) << name;
  }
  // in the order received
  EXPECT_EQ(std::pair(Bytes(mac, mac + 6), count), std::pair(Bytes{1, 2, 3, 4, 5, 6}, uint16_t{0x1234}));
  // Ten readings (padded with 127 below); a reading of 127 or a reply of another command (0 below)
  // does not count. The average is cut toward zero; -100 when no reading
  // counts or they sum to 0.
  const std::string dbg = "[BLE_DBG][ble_snd_cmd_hci_read_rssi:", invalid = dbg + "186] invalid rssi\r\n",
                    other = kErr + "chk_resp:220] opCmdCode error, expect 0x1405, return value:0x201d \n\r\n" + dbg +
                            "180] received irrelevant information, ignore\r\n";
  const std::pair<std::vector<int>, int32_t> averages[] = {{{}, -100}, {{0, -40, 127, -41}, -40}, {{5, -5}, -100}};
  for (auto [readings, want] : averages) {
    std::string notes;
    readings.resize(10, 127);
    for (int v : readings) {
      sim_.reply(0x1405, {v ? Sim::command_complete(0x1405, 0, {1, 2, uint8_t(v)}) : Sim::command_complete(0x201D, 0)});
      notes += v == 127 ? invalid : v ? "" : other;
    }
    EXPECT_EQ(stdout_of([&] { EXPECT_EQ(ble_snd_cmd_hci_read_rssi(fd_, 0x0201, &rssi), 0u); }), notes);
    EXPECT_EQ(std::pair(rssi, sent()), std::pair(want, Sent(10, {0x1405, {0x01, 0x02}})));
  }
  // GAP device init waits for the init-done event, a connection for the link
  // event naming the peer, whose handle it returns (only then). The factory
  // call takes the peer in display order and reverses it in place, also when
  // the connection fails; it keeps the handle for the RSSI reading.
  // A link event: code, status, the peer, handle 0x1234.
  auto link = [](uint8_t c, uint8_t s) { return Bytes{c, 6, s, 0, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x34, 0x12}; };
  // The line, op to be answered by the command status, then the event (none: status 0x0C).
  auto queue = [&](uint16_t op, const Bytes &event) {
    Bytes b = Sim::vendor_event(BLE_EVT_CMD_STATUS, event.empty() ? 0x0C : 0, op), e = Sim::event(0xFF, event);
    if (!event.empty()) b.insert(b.end(), e.begin(), e.end());
    return replying(op, {b});
  };
  auto init = [&](const Bytes &e) { return ble_snd_cmd_hci_gap_device_init(queue(0xFE00, e)); };
  auto connect = [&](const Bytes &e) { return ble_snd_cmd_hci_peerdevice_connect(queue(0xFE62, e), peer, &handle); };
  auto fac = [&](uint8_t init, const Bytes &event) {  // GAP init, then the connection
    queue(0xFE00, {init, 6, 0});
    return ble_fac_peerdevice_connect(queue(0xFE62, event), peer);
  };
  const std::string in = kCmd + "gap_device_init:", pc = kCmd + "peerdevice_connect:";
  expect_rows({
      {CALL(init({0, 6, 0x11})), 5, in + "483] Gap Device Init status error, return 0x0 \n\r\n"},
      {CALL(init({})), 2, kBadExtStatus + in + "471] Gap Device Init error, " + kRet2},
      {CALL(connect(link(4, 0))), 5, pc + "526] obtain establish perperity evevt error, return 0x0 \r\n"},
      {CALL(connect(link(5, 0x3E))), 5, pc + "531] obtain establish perperity  status error, return 0x0 \r\n"},
      {CALL(connect({})), 2, kBadExtStatus + pc + "519] send Conect Peer Device command error, " + kRet2},
      REFUSED(3, ble_snd_cmd_hci_peerdevice_connect, 501, fd_, nullptr, &handle),
      // not written
      {CALL(handle), 0xBEEF, ""},
      {CALL(init({0, 6, 0})), 0, ""},
      {CALL(connect(link(5, 0)) == 0 ? handle : -1), 0x1234, ""},
      {CALL(fac(0, link(5, 0))), -1,
       pc + "537] connected the wrong device\r\n[BLE_ERR][_ble_connect_peerdevice:189] peer device connecting" +
           " opearation failed, return 5\r\n" + kErr + "fac_peerdevice_connect:428] peer device connect error\r\n"},
      // the peer reversed back, as the link names it
      {CALL(fac(0, link(5, 0))), 0, ""},
      {CALL(fac(1, link(5, 0))), -1,
       in + "478] Gap Device Init evevt error, return 0x0 \n\r\n[BLE_ERR][_ble_gap_device_init:171] Gap device initt" +
           " opearation failed, return 5\r\n" + kErr + "fac_peerdevice_connect:423] Gap init error error\r\n"},
  });
  const std::pair<uint16_t, Bytes> i{0xFE00, {8, 0, 0, 0, 0, 0, 0, 0}},
      c{0xFE62, {0, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 1, 0, 0}},
      r{0xFE62, {0, 0x66, 0x55, 0x44, 0x33, 0x22, 0x11, 1, 0, 0}};
  EXPECT_EQ(sent(), (Sent{i, i, c, c, c, i, c, i, r, i, c, i}));
  sim_.reply_always(0x1405, {Sim::command_complete(0x1405, 0, {0x34, 0x12, uint8_t(-55)})});
  EXPECT_EQ(ble_fac_peerdevice_read_rssi(fd_, &rssi), 0);
  EXPECT_EQ(std::pair(rssi, sent().back().second), std::pair(-55, Bytes{0x34, 0x12}));
}

// --- factory operations ---

// dBm, payload and PHY selector become the co-processor's codes (0 when
// unknown); selector 23 takes the plain commands. After a failed power
// setting no test is sent; the vendor test commands' own results (here a
// failure and silence) are not looked at. The coexistence check drives the
// request line (level 1 high, 0 low, else nothing), then both lines must
// read the level.
TEST_F(BleTest, FactoryOperations) {
  const int32_t dbm[] = {-20, -18, -15, -12, -10, -9, -6, -5, -3, 0, 1, 2, 3, 4, 5, 14, 15, 16, 17, 18, 19, 20, 6, 21};
  const uint8_t tx[] = {0, 2, 3, 4, 0}, rx[] = {0, 2, 3, 3, 0}, vendor[] = {0, 1, 2, 6, 0};  // for selectors 23..27
  // Codes 0-21 in order, then two unknown values; payloads 0-7 kept; the selectors in turn.
  for (uint8_t i = 0; i < 24; ++i) {
    const uint8_t code = i < 22 ? i : 0, payload = i < 8 ? i : 0, phy = 23 + i % 5, k = i % 5;
    ble_fac_tx_test(fd_, 19, dbm[i], 37, i, phy);
    ble_fac_rx_test(fd_, 5, phy);
    ble_fac_ext_tx_test(fd_, 19, dbm[i], phy, 1);
    ble_fac_ext_rx_test(fd_, 19, phy);
    const Sent plain = {{0xFC11, {code}}, {0x201E, {19, 37, payload}}, {0x201D, {5}},
                        {0xFC01, {code}}, {0xFC08, {1, 19}},           {0xFC0A, {19}}};
    const Sent enhanced = {{0xFC11, {code}}, {0x2034, {19, 37, payload, tx[k]}}, {0x2033, {5, rx[k], 0}},
                           {0xFC01, {code}}, {0xFC27, {1, vendor[k], 19}},       {0xFC29, {vendor[k], 19}}};
    EXPECT_EQ(sent(), phy == 23 ? plain : enhanced) << int(i);
  }
  FirmwareRoot root;
  auto lines = [&](const char *req, const char *pri, int32_t level) {  // nullptr: no such file (yet)
    if (req) root.write("/proc/morvik_gpio/ble_coex_req", req);
    if (pri) root.write("/proc/morvik_gpio/ble_coex_pri", pri);
    return ble_fac_coex_gpio_ctl(fd_, level);
  };
  const std::string e = kErr + "fac_coex_gpio_ctl:", x = "281] check result not meet the expectation, check result: ";
  expect_rows({
      {CALL(ble_fac_tx_test(failing(0xFC11), 1, 0, 37, 2, 23)), 2,
       kBadExtStatus + kCmd + "ext_set_max_dtm_txpower:246] send tx power command error, return 2 \n\r\n" + kErr +
           "fac_tx_test:294] set hci tx power error, return 0x2\r\n"},
      {CALL(ble_fac_ext_tx_test(failing(0xFC01), 1, 0, 26, 1)), 2,
       kBadExtStatus + kCmd + "ext_set_txpower:356] set tx power error, return 0x2 \n\r\n" + kErr +
           "fac_ext_tx_test:361] set extend tx power error, return:2\r\n"},
      {CALL(ble_fac_ext_tx_test(failing(0xFC27), 1, 0, 26, 1)), 0,
       kBadExtStatus + kCmd + "ext_enhanced_tx_test:408] extended tx test  command send error, return 0x2 \n\r\n"},
      {CALL(ble_fac_ext_rx_test(replying(0xFC0A, {}), 1, 23)), 0,
       kErr + "rcv_cmd_hci_resp:189] return msg type error!\r\n" + kCmd +
           "ext_rx_test:391] extended rx test  command send error, return 0x5 \n\r\n"},  // silence reads as zeros
      {CALL(ble_fac_ext_end_test(failing(0xFC0B))), 2,
       kBadExtStatus + kCmd + "ext_end_test:442] extended test end command send error, return 0x2 \n\r\n" + kErr +
           "fac_ext_end_test:408] end test error, return 0x2\r\n"},
      {CALL(lines(nullptr, nullptr, 1)), -1, e + "250] open ble coex req gpio file failed\r\n"},
      {CALL(lines("", nullptr, 1)), -1, e + "256] read ble req gpio file error\r\n"},
      {CALL(lines("1\n", nullptr, 1)), -1, e + "263] open ble coex pri gpio file failed\r\n"},
      {CALL(lines("1\n", "", 1)), -1, e + "270] read ble pri gpio file error\r\n"},
      {CALL(lines("1\n", "1\n", 1)), 0, ""},
      {CALL(lines("1\n", "1\n", 0)), -1, e + x + "req:1, pri:1; expectation:  req:0, pri:0\r\n"},
      {CALL(lines("1", "0", 1)), -1, e + x + "req:1, pri:0; expectation:  req:1, pri:1\r\n"},
      {CALL(lines("2", "2", 2)), 0, ""},
      // answered: all before it has arrived
      {CALL(ble_snd_cmd_hci_ext_end_test(fd_)), 0, ""},
  });
  // the coexistence pins high and low
  const std::pair<uint16_t, Bytes> max{0xFC11, {9}}, power{0xFC01, {9}}, ext_tx{0xFC27, {1, 6, 1}}, ext_rx{0xFC0A, {1}},
      end{0xFC0B, {}}, high{0x20A0, {}}, low{0x20A1, {}};
  EXPECT_EQ(sent(), (Sent{max, power, power, ext_tx, ext_rx, end, high, high, high, high, high, low, high, end}));
}

// Each sequence as the lines' states (backdoor, reset, ptm: "on", "of"(f), or
// "-" before any write) at each sleep, and the sleep in ms. The firmware
// root goes into the commands as one quoted shell word; a command longer
// than the 255 characters util_execFormatCmd keeps is not run at all (cut,
// it could write elsewhere).
TEST(BleGpio, LineSequences) {
  FirmwareRoot base;
  const std::string b = base.dir();
  std::string root, states;
  g_on_usleep = [&](long us) {
    for (const char *line : {"backdoor", "reset", "ptm"})
      states += (read_file(root + "/proc/morvik_gpio/ble_" + line) + "-").substr(0, 2) + " ";
    states += std::to_string(us / 1000) + ", ";
    return 0;
  };
  const std::tuple<std::string, void (*)(), std::string> rows[] = {
      {b + "/a", ble_gpio_bootloader_prep, "- - - 200, on - - 200, on on - 200, on of - 200, of of - 200, "},
      {b + "/c", ble_gpio_fac_deinit, "- - - 200, - - of 200, - on of 200, - of of 400, "},
      {b + "/it's $(touch " + b + "/INJECTED) `touch " + b + "/INJECTED2`", ble_gpio_fac_init,
       "- - - 200, - - on 200, - on on 200, - of on 400, "},
      // "echo on > '<root>/proc/morvik_gpio/ble_reset'" has 255 characters, the "off" one 256.
      {b + "/" + std::string(215 - b.size(), 'p'), ble_gpio_reset, "- - - 200, - on - 200, - on - 400, "},
      // Cut to 255 characters, "echo off > '<A>'\''x/..." would write to A, beside the tree.
      {b + "/" + std::string(241 - b.size(), 'q') + "'x", ble_gpio_reset, "- - - 200, - - - 200, - - - 400, "},
  };
  long trees = 0;
  for (const auto &[tree, run, want] : rows) {
    std::filesystem::create_directories((root = tree) + "/proc/morvik_gpio");
    setenv("APUTIL_SYSROOT", root.c_str(), 1);
    run();
    EXPECT_EQ(std::exchange(states, ""), want);
    // nothing but the trees
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(b), {}), ++trees);
  }
  g_on_usleep = [](long) { return 0; };
}

}  // namespace
}  // namespace aputil::test
