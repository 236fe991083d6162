// HCI command packets, event reads and reply checks.
#include <cstdarg>
#include <cstring>

#include "ble.h"
#include "ble/ble_log.h"

namespace {

// Packet indicator, opcode (little-endian), parameter length.
void build_header(uint8_t *pkt, uint16_t opcode, uint8_t len) {
  pkt[0] = BLE_HCI_COMMAND_PKT;
  pkt[1] = static_cast<uint8_t>(opcode & 0xFF);
  pkt[2] = static_cast<uint8_t>(opcode >> 8);
  pkt[3] = static_cast<uint8_t>(len - 4);
}

uint16_t le16(const uint8_t *p) { return static_cast<uint16_t>(p[0] | (p[1] << 8)); }

}  // namespace

extern "C" {

APUTIL_API void ble_build_cmd(uint8_t *pkt, uint16_t opcode, uint8_t len, const uint8_t *params) {
  if (!pkt) {
    BLE_ERR("ble_build_cmd", 50, "invalid input\r\n");
    return;
  }
  build_header(pkt, opcode, len);
  if (params && len > 4) std::memcpy(pkt + 4, params, len - 4u);
}

APUTIL_API void ble_build_cmd_hci(uint8_t *pkt, uint16_t opcode, uint8_t len, ...) {
  if (!pkt) {
    BLE_ERR("ble_build_cmd_hci", 69, "invalid input\r\n");
    return;
  }
  build_header(pkt, opcode, len);
  va_list ap;
  // The interface fixes len as an 8-bit parameter; va_start after it relies
  // on the register-based calling conventions of the targets (x86-64,
  // arm64), where it is well defined in practice.
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wvarargs"
#endif
  va_start(ap, len);
#if defined(__clang__)
#pragma clang diagnostic pop
#endif
  for (unsigned i = 4; i < len; ++i) pkt[i] = static_cast<uint8_t>(va_arg(ap, int));
  va_end(ap);
}

APUTIL_API int ble_snd_cmd(int fd, const uint8_t *pkt, uint8_t len) {
  if (!pkt) {
    BLE_ERR("ble_snd_cmd", 94, "invalid input\r\n");
    return -1;
  }
  int rc = 0;
  for (unsigned i = 0; i < len; ++i) rc = ble_uart_write_byte(fd, pkt[i]);
  return rc;
}

APUTIL_API uint32_t ble_rcv_cmd_hci_resp(int fd, uint8_t *buf) {
  if (!buf) {
    BLE_ERR("ble_rcv_cmd_hci_resp", 172, "invalid input\r\n");
    return BLE_RET_INVALID;
  }
  uint8_t header[3];
  for (uint8_t &b : header) b = ble_uart_read_byte(fd);
  if (header[0] != BLE_HCI_EVENT_PKT) {
    BLE_ERR("ble_rcv_cmd_hci_resp", 189, "return msg type error!\r\n");
    return BLE_RET_EVENT;
  }
  ble_uart_read_bytes_multi(fd, buf, header[2]);
  return BLE_RET_OK;
}

APUTIL_API uint32_t ble_rcv_cmd_resp(int fd, uint8_t *buf, uint16_t code) {
  const char kFunc[] = "ble_rcv_cmd_resp";
  if (!buf) {
    BLE_ERR(kFunc, 128, "invalid input\r\n");
    return BLE_RET_INVALID;
  }
  uint8_t header[6];
  ble_uart_read_bytes_multi(fd, header, sizeof header);
  if (header[5] != 0) {
    BLE_ERR(kFunc, 137, "response return status error, expect 0x00, return value:0x%x \n\r\n", header[5]);
    return BLE_RET_STATUS;
  }
  if (header[0] != BLE_HCI_EVENT_PKT) {
    BLE_ERR(kFunc, 143, "return msg type error!\r\n");
    return BLE_RET_EVENT;
  }
  const uint16_t got = le16(header + 3);
  if (got != code) {
    BLE_ERR(kFunc, 150, "opCmdCode error, expect 0x%x, return value:0x%x \n\r\n", code, got);
    return BLE_RET_OPCODE;
  }
  // The length counts the three header bytes already read; they are not
  // subtracted, so the last three reads time out (as on the device).
  if (header[2] != 0) ble_uart_read_bytes_multi(fd, buf, header[2]);
  return BLE_RET_OK;
}

APUTIL_API uint8_t ble_rcv_eventdata(int fd, uint8_t *buf) {
  if (!buf) {
    BLE_ERR("ble_rcv_eventdata", 110, "invalid input\r\n");
    return 0;
  }
  uint8_t header[3];
  ble_uart_read_bytes_multi(fd, header, sizeof header);
  return ble_uart_read_bytes_multi(fd, buf, header[2]);
}

APUTIL_API uint32_t ble_chk_resp(uint16_t opcode, const uint8_t *buf) {
  const char kFunc[] = "ble_chk_resp";
  if (!buf) {
    BLE_ERR(kFunc, 212, "invalid input\r\n");
    return BLE_RET_INVALID;
  }
  const uint16_t got = le16(buf + 1);
  if (got != opcode) {
    BLE_ERR(kFunc, 220, "opCmdCode error, expect 0x%x, return value:0x%x \n\r\n", opcode, got);
    return BLE_RET_OPCODE;
  }
  if (buf[3] != 0) {
    BLE_ERR(kFunc, 226, "response return status error, expect 0x00, return value:0x%x \n\r\n", buf[3]);
    return BLE_RET_STATUS;
  }
  return BLE_RET_OK;
}

APUTIL_API uint32_t ble_chk_resp_ext(uint16_t opcode, uint16_t event, const uint8_t *buf) {
  const char kFunc[] = "ble_chk_resp_ext";
  if (!buf) {
    BLE_ERR(kFunc, 239, "invalid input\r\n");
    return BLE_RET_INVALID;
  }
  const uint16_t got_op = le16(buf + 3);
  if (got_op != opcode) {
    BLE_ERR(kFunc, 250, "opCmdCode error, expect 0x%x, return value:0x%x \n\r\n", opcode, got_op);
    return BLE_RET_OPCODE;
  }
  const uint16_t got_event = le16(buf);
  if (got_event != event) {
    BLE_ERR(kFunc, 256, "eventCode error, expect 0x%x, return value:0x%x \n\r\n", event, got_event);
    return BLE_RET_EVENT;
  }
  if (buf[2] != 0) {
    BLE_ERR(kFunc, 263, "response status error, expect 0x00, return value:0x%x \n\r\n", buf[2]);
    return BLE_RET_STATUS;
  }
  return BLE_RET_OK;
}

}  // extern "C"
