#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <cstring>

#include "ble_fixture.h"
#include "support/emulation.h"

namespace aputil::test {
namespace {

bool same_settings(const termios &a, const termios &b) {
  return a.c_iflag == b.c_iflag && a.c_oflag == b.c_oflag && a.c_cflag == b.c_cflag && a.c_lflag == b.c_lflag &&
         std::memcmp(a.c_cc, b.c_cc, sizeof a.c_cc) == 0 && cfgetospeed(&a) == cfgetospeed(&b) &&
         cfgetispeed(&a) == cfgetispeed(&b);
}

TEST(BleUart, SettingsAreAppliedAndRestored) {
  BleCoprocessor sim;
  termios before;
  ASSERT_EQ(tcgetattr(sim.line_fd(), &before), 0);
  for (uint8_t mode : {BLE_UART_MODE_1152000, BLE_UART_MODE_115200}) {
    const int fd = ble_uart_open(sim.device().c_str(), mode);
    ASSERT_GE(fd, 0);
    termios now;
    ASSERT_EQ(tcgetattr(fd, &now), 0);
    EXPECT_EQ(now.c_lflag & (ICANON | ECHO | ISIG), 0u);  // raw
    EXPECT_EQ(now.c_iflag & (IXON | ICRNL), 0u);
    EXPECT_EQ(now.c_oflag & OPOST, 0u);
    EXPECT_EQ(now.c_cflag & (CRTSCTS | CSTOPB | CLOCAL), 0u);
    EXPECT_EQ(now.c_cflag & (CREAD | CS8), static_cast<tcflag_t>(CREAD | CS8));
    EXPECT_EQ(now.c_cc[VMIN], 0);
    EXPECT_EQ(now.c_cc[VTIME], 2);
    EXPECT_EQ(ble_uart_close(fd), 1);
    termios after;
    ASSERT_EQ(tcgetattr(sim.line_fd(), &after), 0);
    EXPECT_TRUE(same_settings(before, after));
  }
}

TEST(BleUart, LineSpeedOfEachMode) {
  SKIP_UNDER_EMULATION("qemu-user does not carry the termios baud rates through");
  BleCoprocessor sim;
  for (uint8_t mode : {BLE_UART_MODE_1152000, BLE_UART_MODE_115200}) {
    const int fd = ble_uart_open(sim.device().c_str(), mode);
    ASSERT_GE(fd, 0);
    termios now;
    ASSERT_EQ(tcgetattr(fd, &now), 0);
    EXPECT_EQ(cfgetospeed(&now), mode == 0 ? B1152000 : B115200);
    EXPECT_EQ(cfgetispeed(&now), cfgetospeed(&now));
    ble_uart_close(fd);
  }
}

TEST(BleUart, OpenFailures) {
  std::string out = stdout_of([] { EXPECT_EQ(ble_uart_open("/nonexistent/tty", 0), -1); });
  EXPECT_EQ(out, "[BLE_ERR][ble_uart_open:156] sblUartOpen: /nonexistent/tty open failed\n\r\n");
  BleCoprocessor sim;
  out = stdout_of([&] { EXPECT_EQ(ble_uart_open(sim.device().c_str(), 2), -1); });
  EXPECT_EQ(out, "[BLE_ERR][ble_uart_open:183] uartMode error: 2\n\r\n");
  // A file is no terminal: tcgetattr fails (the descriptor stays open).
  FirmwareRoot root;
  root.write("/plain", "x");
  out = stdout_of([&] { EXPECT_EQ(ble_uart_open(root.host("/plain").c_str(), 0), -1); });
  EXPECT_EQ(out, "[BLE_ERR][ble_uart_open:163] sblUartOpen: tcgetattr error: -1\n\r\n");
  out = stdout_of([] { EXPECT_EQ(ble_uart_close(-1), 0); });
  EXPECT_EQ(out.rfind("[BLE_ERR][ble_uart_close:129] SblUart_close: tcsetattr error: -1 ", 0), 0u);
}

TEST_F(BleTest, ByteReadsTimeOutAsZero) {
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(ble_uart_read_byte(fd_), 0);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(150));  // waited for VTIME

  sim_.push({0x42, 0x43});
  uint8_t buf[2] = {0, 0};
  EXPECT_EQ(ble_uart_read_bytes_multi(fd_, buf, 0), 0x42);  // count 0 still reads one byte
  EXPECT_EQ(buf[1], 0);
  EXPECT_EQ(ble_uart_read_byte(fd_), 0x43);
  EXPECT_EQ(ble_uart_write_byte(fd_, 0x01), 1);
  EXPECT_EQ(stdout_of([&] { ble_uart_read_bytes_multi(fd_, nullptr, 1); }),
            "[BLE_ERR][ble_uart_read_bytes_multi:108] invalid input\r\n");
}

}  // namespace
}  // namespace aputil::test
