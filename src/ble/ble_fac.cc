// Factory-test operations: user values to co-processor codes, then the
// commands; the coexistence-line check.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "ble.h"
#include "ble/ble_log.h"
#include "common/host_root.h"

namespace {

constexpr uint8_t kEnd = 255;

const ble_code_entry_t kTxPower[] = {{-20, 0}, {-18, 1}, {-15, 2}, {-12, 3}, {-10, 4}, {-9, 5},  {-6, 6}, {-5, 7},
                                     {-3, 8},  {0, 9},   {1, 10},  {2, 11},  {3, 12},  {4, 13},  {5, 14}, {14, 15},
                                     {15, 16}, {16, 17}, {17, 18}, {18, 19}, {19, 20}, {20, 21}, {0, kEnd}};
const ble_code_entry_t kPayload[] = {{0, 0}, {1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}, {6, 6}, {7, 7}, {0, kEnd}};
const ble_code_entry_t kPhyTx[] = {{23, 1}, {24, 2}, {25, 3}, {26, 4}, {0, kEnd}};
const ble_code_entry_t kPhyRx[] = {{23, 1}, {24, 2}, {25, 3}, {26, 3}, {0, kEnd}};
const ble_code_entry_t kPhyVendor[] = {{23, 0}, {24, 1}, {25, 2}, {26, 6}, {0, kEnd}};

uint16_t g_conn_handle;  // written by connect, read by the RSSI reading

// One character of a GPIO file into a zeroed 16-byte text; false on error.
bool read_line_level(FILE *f, char (&text)[16]) {
  std::memset(text, 0, sizeof text);
  return std::fread(text, 1, 1, f) == 1;
}

}  // namespace

extern "C" {

APUTIL_API uint8_t ble_get_powercode(const ble_code_entry_t *table, int32_t key) {
  if (!table) {
    BLE_ERR(__func__, 50, "invalid input\r\n");
    return 0;
  }
  for (; table->code != kEnd; ++table)
    if (table->key == key) return table->code;
  return 0;
}

APUTIL_API void ble_tool_arr_swap(uint8_t *arr, int32_t n) {
  if (!arr) {
    BLE_ERR(__func__, 71, "invalid input parameters\r\n");
    return;
  }
  for (int32_t i = 0; i < n / 2; ++i) {
    const uint8_t t = arr[i];
    arr[i] = arr[n - 1 - i];
    arr[n - 1 - i] = t;
  }
}

APUTIL_API int ble_fac_gap_adv_disable(int fd) { return static_cast<int>(ble_snd_cmd_hci_gap_adv_disable(fd)); }

APUTIL_API int ble_fac_gap_adv_enable(int fd) { return static_cast<int>(ble_snd_cmd_hci_gap_adv_enable(fd)); }

APUTIL_API int ble_fac_coex_gpio_ctl(int fd, int32_t level) {
  if (level == 1) ble_snd_cmd_hci_kxcoex_pin_high(fd);
  if (level == 0) ble_snd_cmd_hci_kxcoex_pin_low(fd);
  usleep(200000);
  FILE *req = std::fopen(aputil::HostPath("/proc/morvik_gpio/ble_coex_req").c_str(), "r");
  if (!req) {
    BLE_ERR(__func__, 250, "open ble coex req gpio file failed\r\n");
    return -1;
  }
  char req_text[16], pri_text[16];
  if (!read_line_level(req, req_text)) {
    BLE_ERR(__func__, 256, "read ble req gpio file error\r\n");
    std::fclose(req);
    return -1;
  }
  FILE *pri = std::fopen(aputil::HostPath("/proc/morvik_gpio/ble_coex_pri").c_str(), "r");
  if (!pri) {
    BLE_ERR(__func__, 263, "open ble coex pri gpio file failed\r\n");
    std::fclose(req);
    return -1;
  }
  const bool pri_ok = read_line_level(pri, pri_text);
  std::fclose(req);
  std::fclose(pri);
  if (!pri_ok) {
    BLE_ERR(__func__, 270, "read ble pri gpio file error\r\n");
    return -1;
  }
  const int req_level = std::atoi(req_text), pri_level = std::atoi(pri_text);
  if (req_level == level && pri_level == level) return 0;
  BLE_ERR(__func__, 281,
          "check result not meet the expectation, check result: req:%d, pri:%d; expectation:  req:%d, pri:%d\r\n",
          req_level, pri_level, level, level);
  return -1;
}

APUTIL_API int ble_fac_tx_test(int fd, uint8_t channel, int32_t power, uint8_t length, uint8_t payload,
                               uint8_t phy) {
  uint32_t rc = ble_snd_cmd_hci_ext_set_max_dtm_txpower(fd, ble_get_powercode(kTxPower, power));
  if (rc) {
    BLE_ERR(__func__, 294, "set hci tx power error, return 0x%x\r\n", rc);
    return static_cast<int>(rc);
  }
  const uint8_t payload_code = ble_get_powercode(kPayload, payload);
  rc = phy != BLE_FAC_PHY_1M
           ? ble_snd_cmd_hci_enhanced_tx_test(fd, channel, length, payload_code, ble_get_powercode(kPhyTx, phy))
           : ble_snd_cmd_hci_tx_test(fd, channel, length, payload_code);
  if (rc) BLE_ERR(__func__, 309, "tx test error, return %d\r\n", rc);
  return static_cast<int>(rc);
}

APUTIL_API int ble_fac_rx_test(int fd, uint8_t channel, uint8_t phy) {
  const uint32_t rc = phy != BLE_FAC_PHY_1M
                          ? ble_snd_cmd_hci_enhanced_rx_test(fd, channel, ble_get_powercode(kPhyRx, phy))
                          : ble_snd_cmd_hci_rx_test(fd, channel);
  if (rc) BLE_ERR(__func__, 329, "ble_fac_rx_test test error, return 0x%x\r\n", rc);
  return static_cast<int>(rc);
}

APUTIL_API int ble_fac_end_test(int fd, uint16_t *count) {
  if (!count) {
    BLE_ERR(__func__, 341, "invalid input\r\n");
    return -1;
  }
  const uint32_t rc = ble_snd_cmd_hci_end_test(fd, count);
  if (rc) BLE_ERR(__func__, 348, "hci test end failed, return %d\r\n", rc);
  return static_cast<int>(rc);
}

APUTIL_API int ble_fac_ext_tx_test(int fd, uint8_t channel, int32_t power, uint8_t phy, uint8_t mode) {
  const uint8_t rc = static_cast<uint8_t>(ble_snd_cmd_hci_ext_set_txpower(fd, ble_get_powercode(kTxPower, power)));
  if (rc) {
    BLE_ERR(__func__, 361, "set extend tx power error, return:%d\r\n", rc);
    return rc;
  }
  if (phy != BLE_FAC_PHY_1M)
    ble_snd_cmd_hci_ext_enhanced_tx_test(fd, channel, ble_get_powercode(kPhyVendor, phy), mode);
  else
    ble_snd_cmd_hci_ext_tx_test(fd, channel, mode);
  return rc;  // the test command's own result is not looked at
}

APUTIL_API int ble_fac_ext_rx_test(int fd, uint8_t channel, uint8_t phy) {
  if (phy != BLE_FAC_PHY_1M)
    ble_snd_cmd_hci_ext_enhanced_rx_test(fd, channel, ble_get_powercode(kPhyVendor, phy));
  else
    ble_snd_cmd_hci_ext_rx_test(fd, channel);
  return 0;
}

APUTIL_API int ble_fac_ext_end_test(int fd) {
  const uint8_t rc = static_cast<uint8_t>(ble_snd_cmd_hci_ext_end_test(fd));
  if (rc) BLE_ERR(__func__, 408, "end test error, return 0x%x\r\n", rc);
  return rc;
}

APUTIL_API int ble_fac_peerdevice_connect(int fd, uint8_t *peer) {
  if (!peer) {
    BLE_ERR(__func__, 418, "invalid input\r\n");
    return -1;
  }
  uint32_t rc = ble_snd_cmd_hci_gap_device_init(fd);
  if (rc) {
    BLE_ERR("_ble_gap_device_init", 171, "Gap device initt opearation failed, return %d\r\n", rc);
    BLE_ERR(__func__, 423, "Gap init error error\r\n");
    return -1;
  }
  ble_tool_arr_swap(peer, 6);  // the co-processor takes the address least significant byte first
  rc = ble_snd_cmd_hci_peerdevice_connect(fd, peer, &g_conn_handle);
  if (rc) {
    BLE_ERR("_ble_connect_peerdevice", 189, "peer device connecting opearation failed, return %d\r\n", rc);
    BLE_ERR(__func__, 428, "peer device connect error\r\n");
    return -1;
  }
  return 0;
}

APUTIL_API int ble_fac_peerdevice_read_rssi(int fd, int32_t *rssi) {
  if (!rssi) {
    BLE_ERR(__func__, 438, "input invalid\r\n");
    return -1;
  }
  const uint32_t rc = ble_snd_cmd_hci_read_rssi(fd, g_conn_handle, rssi);
  if (rc) {
    BLE_ERR("_ble_read_rssi", 208, "Read Rssi failed, return %d\r\n", rc);
    BLE_ERR(__func__, 444, "read peer device frame rssi error\r\n");
    return -1;
  }
  return 0;
}

APUTIL_API int ble_fac_mac_get(int fd, uint8_t *addr) {
  if (!addr) {
    BLE_ERR(__func__, 457, "invalid input\r\n");
    return -1;
  }
  const uint32_t rc = ble_snd_cmd_hci_get_macaddr(fd, addr);
  if (rc) BLE_ERR(__func__, 464, "Get Ble Mac Addr failed, return %d\r\n", rc);
  return static_cast<int>(rc);
}

}  // extern "C"
