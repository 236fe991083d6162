// The co-processor's commands: standard LE test commands and vendor ones.
#include <unistd.h>

#include <cstring>
#include <initializer_list>

#include "ble.h"
#include "ble/ble_log.h"

namespace {

uint16_t le16(const uint8_t *p) { return static_cast<uint16_t>(p[0] | (p[1] << 8)); }

void send(int fd, uint16_t opcode, std::initializer_list<uint8_t> params) {
  uint8_t pkt[4 + 16];
  ble_build_cmd(pkt, opcode, static_cast<uint8_t>(4 + params.size()), params.begin());
  ble_snd_cmd(fd, pkt, static_cast<uint8_t>(4 + params.size()));
}

// Command Complete reply; reply may be NULL when only the status matters.
uint32_t command_complete(int fd, uint16_t opcode, std::initializer_list<uint8_t> params,
                          uint8_t *reply = nullptr) {
  uint8_t own[256];
  if (!reply) reply = own;
  send(fd, opcode, params);
  const uint32_t rc = ble_rcv_cmd_hci_resp(fd, reply);
  return rc ? rc : ble_chk_resp(opcode, reply);
}

// Vendor event reply with the given event code.
uint32_t vendor_event(int fd, uint16_t opcode, uint16_t event, std::initializer_list<uint8_t> params,
                      uint8_t *reply) {
  send(fd, opcode, params);
  const uint32_t rc = ble_rcv_cmd_hci_resp(fd, reply);
  return rc ? rc : ble_chk_resp_ext(opcode, event, reply);
}

// Extended vendor command answered by its own event, status only.
uint32_t ext_command(int fd, uint16_t opcode, std::initializer_list<uint8_t> params) {
  uint8_t reply[256];
  return vendor_event(fd, opcode, BLE_EVT_EXT(opcode), params, reply);
}

// Short vendor reply (6-byte header).
uint32_t short_reply(int fd, uint16_t opcode, uint8_t *reply) {
  send(fd, opcode, {});
  return ble_rcv_cmd_resp(fd, reply, opcode);
}

}  // namespace

extern "C" {

APUTIL_API void ble_snd_cmd_hci_kxcoex_pin_high(int fd) { send(fd, BLE_OP_KXCOEX_PIN_HIGH, {}); }

APUTIL_API void ble_snd_cmd_hci_kxcoex_pin_low(int fd) { send(fd, BLE_OP_KXCOEX_PIN_LOW, {}); }

APUTIL_API uint32_t ble_snd_cmd_hci_gap_adv_disable(int fd) {
  uint8_t reply[256];
  const uint32_t rc = short_reply(fd, BLE_OP_GAP_ADV_DISABLE, reply);
  if (rc) BLE_ERR(__func__, 128, "response of Gap adv disable error, ret:%d\r\n", rc);
  return rc;
}

APUTIL_API uint32_t ble_snd_cmd_hci_gap_adv_enable(int fd) {
  uint8_t reply[256];
  const uint32_t rc = short_reply(fd, BLE_OP_GAP_ADV_ENABLE, reply);
  if (rc) BLE_ERR(__func__, 145, "response of Gap adv enable error, ret:%d\r\n", rc);
  return rc;
}

APUTIL_API uint32_t ble_snd_cmd_hci_read_rssi(int fd, uint16_t handle, int32_t *result) {
  if (!result) {
    BLE_ERR(__func__, 165, "invalid input\r\n");
    return BLE_RET_INVALID;
  }
  uint8_t pkt[6];
  const uint8_t params[2] = {static_cast<uint8_t>(handle & 0xFF), static_cast<uint8_t>(handle >> 8)};
  ble_build_cmd(pkt, BLE_OP_READ_RSSI, sizeof pkt, params);
  usleep(200000);
  int32_t sum = 0, samples = 0;
  for (int attempt = 0; attempt < 10; ++attempt) {
    uint8_t reply[256];
    ble_snd_cmd(fd, pkt, sizeof pkt);
    uint32_t rc = ble_rcv_cmd_hci_resp(fd, reply);
    if (rc == 0) rc = ble_chk_resp(BLE_OP_READ_RSSI, reply);
    if (rc) {
      BLE_DBG(__func__, 180, "received irrelevant information, ignore\r\n");
      continue;
    }
    const int8_t rssi = static_cast<int8_t>(reply[6]);
    if (rssi == 127) {
      BLE_DBG(__func__, 186, "invalid rssi\r\n");
      continue;
    }
    sum += rssi;
    ++samples;
    usleep(200000);
  }
  *result = sum != 0 ? sum / samples : -100;
  return BLE_RET_OK;
}

APUTIL_API uint32_t ble_snd_cmd_hci_get_macaddr(int fd, uint8_t *addr) {
  if (!addr) {
    BLE_ERR(__func__, 218, "invalid input\r\n");
    return BLE_RET_INVALID;
  }
  uint8_t reply[256];
  const uint32_t rc = short_reply(fd, BLE_OP_GET_MACADDR, reply);
  if (rc) {
    BLE_ERR(__func__, 227, "response of get ble mac address error, ret:%d\r\n", rc);
    return rc;
  }
  std::memcpy(addr, reply, 6);
  return BLE_RET_OK;
}

APUTIL_API uint32_t ble_snd_cmd_hci_ext_set_max_dtm_txpower(int fd, uint8_t power) {
  const uint32_t rc = ext_command(fd, BLE_OP_EXT_SET_MAX_DTM_TXPOWER, {power});
  if (rc) BLE_ERR(__func__, 246, "send tx power command error, return %d \n\r\n", rc);
  return rc;
}

APUTIL_API uint32_t ble_snd_cmd_hci_tx_test(int fd, uint8_t channel, uint8_t length, uint8_t payload) {
  const uint32_t rc = command_complete(fd, BLE_OP_TX_TEST, {channel, length, payload});
  if (rc) BLE_ERR(__func__, 264, "send tx test command error, return %d \n\r\n", rc);
  return rc;
}

APUTIL_API uint32_t ble_snd_cmd_hci_rx_test(int fd, uint8_t channel) {
  const uint32_t rc = command_complete(fd, BLE_OP_RX_TEST, {channel});
  if (rc) BLE_ERR(__func__, 281, "send rx test command error, return %d \n\r\n", rc);
  return rc;
}

APUTIL_API uint32_t ble_snd_cmd_hci_enhanced_tx_test(int fd, uint8_t channel, uint8_t length, uint8_t payload,
                                                     uint8_t phy) {
  const uint32_t rc = command_complete(fd, BLE_OP_ENHANCED_TX_TEST, {channel, length, payload, phy});
  if (rc) BLE_ERR(__func__, 298, "send tx test command error, return 0x%x \n\r\n", rc);
  return rc;
}

APUTIL_API uint32_t ble_snd_cmd_hci_enhanced_rx_test(int fd, uint8_t channel, uint8_t phy) {
  const uint32_t rc = command_complete(fd, BLE_OP_ENHANCED_RX_TEST, {channel, phy, 0});
  if (rc) BLE_ERR(__func__, 315, "send rx test command error %d \n\r\n", rc);
  return rc;
}

APUTIL_API uint32_t ble_snd_cmd_hci_end_test(int fd, uint16_t *count) {
  if (!count) {
    BLE_ERR(__func__, 328, "input invalid\r\n");
    return BLE_RET_INVALID;
  }
  uint8_t reply[256];
  const uint32_t rc = command_complete(fd, BLE_OP_END_TEST, {}, reply);
  if (rc) {
    BLE_ERR(__func__, 338, "set tx power error, return 0x%x \n\r\n", rc);
    return rc;
  }
  *count = le16(reply + 4);
  return BLE_RET_OK;
}

APUTIL_API uint32_t ble_snd_cmd_hci_ext_set_txpower(int fd, uint8_t power) {
  const uint32_t rc = ext_command(fd, BLE_OP_EXT_SET_TXPOWER, {power});
  if (rc) BLE_ERR(__func__, 356, "set tx power error, return 0x%x \n\r\n", rc);
  return rc;
}

APUTIL_API uint32_t ble_snd_cmd_hci_ext_tx_test(int fd, uint8_t channel, uint8_t mode) {
  const uint32_t rc = ext_command(fd, BLE_OP_EXT_TX_TEST, {mode, channel});
  if (rc) BLE_ERR(__func__, 374, "extended tx test command send error, return 0x%x \n\r\n", rc);
  return rc;
}

APUTIL_API uint32_t ble_snd_cmd_hci_ext_rx_test(int fd, uint8_t channel) {
  const uint32_t rc = ext_command(fd, BLE_OP_EXT_RX_TEST, {channel});
  if (rc) BLE_ERR(__func__, 391, "extended rx test  command send error, return 0x%x \n\r\n", rc);
  return rc;
}

APUTIL_API uint32_t ble_snd_cmd_hci_ext_enhanced_tx_test(int fd, uint8_t channel, uint8_t phy, uint8_t mode) {
  const uint32_t rc = ext_command(fd, BLE_OP_EXT_ENHANCED_TX_TEST, {mode, phy, channel});
  if (rc) BLE_ERR(__func__, 408, "extended tx test  command send error, return 0x%x \n\r\n", rc);
  return rc;
}

APUTIL_API uint32_t ble_snd_cmd_hci_ext_enhanced_rx_test(int fd, uint8_t channel, uint8_t phy) {
  const uint32_t rc = ext_command(fd, BLE_OP_EXT_ENHANCED_RX_TEST, {phy, channel});
  if (rc) BLE_ERR(__func__, 425, "extended rx test  command send error, return 0x%x \n\r\n", rc);
  return rc;
}

APUTIL_API uint32_t ble_snd_cmd_hci_ext_end_test(int fd) {
  const uint32_t rc = ext_command(fd, BLE_OP_EXT_END_TEST, {});
  if (rc) BLE_ERR(__func__, 442, "extended test end command send error, return 0x%x \n\r\n", rc);
  return rc;
}

APUTIL_API uint32_t ble_snd_cmd_hci_gap_device_init(int fd) {
  uint8_t reply[256];
  const uint32_t rc = vendor_event(fd, BLE_OP_GAP_DEVICE_INIT, BLE_EVT_CMD_STATUS, {8, 0, 0, 0, 0, 0, 0, 0}, reply);
  if (rc) {
    BLE_ERR(__func__, 471, "Gap Device Init error, return 0x%x \n\r\n", rc);
    return rc;
  }
  ble_rcv_eventdata(fd, reply);
  // Both event errors print 0 for the value, as on the device.
  if (le16(reply) != BLE_EVT_DEVICE_INIT_DONE) {
    BLE_ERR(__func__, 478, "Gap Device Init evevt error, return 0x%x \n\r\n", 0);
    return BLE_RET_EVENT;
  }
  if (reply[2] != 0) {
    BLE_ERR(__func__, 483, "Gap Device Init status error, return 0x%x \n\r\n", 0);
    return BLE_RET_EVENT;
  }
  return BLE_RET_OK;
}

APUTIL_API uint32_t ble_snd_cmd_hci_peerdevice_connect(int fd, const uint8_t *peer, uint16_t *handle) {
  if (!peer || !handle) {
    BLE_ERR(__func__, 501, "invalid input\r\n");
    return BLE_RET_INVALID;
  }
  uint8_t reply[256];
  const uint32_t rc = vendor_event(fd, BLE_OP_PEER_CONNECT, BLE_EVT_CMD_STATUS,
                                   {0, peer[0], peer[1], peer[2], peer[3], peer[4], peer[5], 1, 0, 0}, reply);
  if (rc) {
    BLE_ERR(__func__, 519, "send Conect Peer Device command error, return 0x%x \n\r\n", rc);
    return rc;
  }
  ble_rcv_eventdata(fd, reply);
  if (le16(reply) != BLE_EVT_LINK_ESTABLISHED) {
    BLE_ERR(__func__, 526, "obtain establish perperity evevt error, return 0x%x \r\n", 0);
    return BLE_RET_EVENT;
  }
  if (reply[2] != 0) {
    BLE_ERR(__func__, 531, "obtain establish perperity  status error, return 0x%x \r\n", 0);
    return BLE_RET_EVENT;
  }
  if (std::memcmp(reply + 4, peer, 6) != 0) {
    BLE_ERR(__func__, 537, "connected the wrong device\r\n");
    return BLE_RET_EVENT;
  }
  *handle = le16(reply + 10);
  return BLE_RET_OK;
}

}  // extern "C"
