// The co-processor's serial line: raw termios, one system call per byte.
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "ble.h"
#include "ble/ble_log.h"

namespace {
termios g_saved;  // settings in force before the last open
}

extern "C" {

APUTIL_API int ble_uart_open(const char *path, uint8_t uartMode) {
  const char kFunc[] = "ble_uart_open";
  const int fd = open(path, O_RDWR | O_NOCTTY);
  if (fd < 0) {
    std::perror(path);
    BLE_ERR(kFunc, 156, "sblUartOpen: %s open failed\n\r\n", path);
    return -1;
  }
  // On the failures below the descriptor stays open, as on the device.
  int rc = tcgetattr(fd, &g_saved);
  if (rc != 0) {
    BLE_ERR(kFunc, 163, "sblUartOpen: tcgetattr error: %d\n\r\n", rc);
    return -1;
  }
  termios tio;
  std::memset(&tio, 0, sizeof tio);
  speed_t speed;
  switch (uartMode) {
    case BLE_UART_MODE_115200: speed = B115200; break;
    case BLE_UART_MODE_1152000: speed = B1152000; break;
    default: BLE_ERR(kFunc, 183, "uartMode error: %d\n\r\n", uartMode); return -1;
  }
  rc = cfsetspeed(&tio, speed);
  if (rc != 0) {
    BLE_ERR(kFunc, 191, "sblUartOpen: cfsetspeed error: %d\n\r\n", rc);
    return -1;
  }
  cfmakeraw(&tio);
  tio.c_iflag &= ~IXON;
  tio.c_cflag &= ~(CRTSCTS | CSTOPB);
  tio.c_cflag |= CREAD;
  tio.c_cc[VMIN] = 0;
  tio.c_cc[VTIME] = 2;
  tcflush(fd, TCIFLUSH);
  rc = tcsetattr(fd, TCSANOW, &tio);
  if (rc != 0) {
    BLE_ERR(kFunc, 241, "sblUartOpen: tcsetattr error: %d\n\r\n", rc);
    return rc;
  }
  return fd;
}

APUTIL_API int ble_uart_close(int fd) {
  const char kFunc[] = "ble_uart_close";
  tcflush(fd, TCOFLUSH);
  int rc = tcsetattr(fd, TCSANOW, &g_saved);
  if (rc != 0) {
    BLE_ERR(kFunc, 129, "SblUart_close: tcsetattr error: %d %s\n\r\n", rc, std::strerror(errno));
    return 0;
  }
  rc = close(fd);
  if (rc != 0) {
    BLE_ERR(kFunc, 138, "SblUart_close: Port close failure: %d %s\n\r\n", rc, std::strerror(errno));
    return 0;
  }
  return 1;
}

APUTIL_API int ble_uart_write_byte(int fd, uint8_t byte) { return static_cast<int>(write(fd, &byte, 1)); }

APUTIL_API uint8_t ble_uart_read_byte(int fd) {
  uint8_t cell = 0;
  if (read(fd, &cell, 1) != 1) cell = 0;  // a timeout reads as 0
  return cell;
}

APUTIL_API uint8_t ble_uart_read_bytes_multi(int fd, uint8_t *buf, uint8_t count) {
  if (!buf) {
    BLE_ERR("ble_uart_read_bytes_multi", 108, "invalid input\r\n");
    return 0;
  }
  unsigned stored = 0;
  uint8_t last;
  do {  // at least one byte, also for count 0
    last = buf[stored++] = ble_uart_read_byte(fd);
  } while (stored < count);
  return last;
}

}  // extern "C"
