/*
 * ble.h - driver for the BLE co-processor on a serial line.
 *
 * The co-processor speaks HCI over a UART (H:4 framing). ble_uart_open
 * configures the line raw, with a 0.2 s read timeout per byte, and returns
 * the descriptor that every other call takes first. Commands are
 * synchronous: each writes one packet and reads its reply on the same
 * descriptor. A byte that does not arrive reads as 0 and shows up as a
 * type, opcode or status mismatch; nothing is retried or resynchronised.
 *
 * Conventions:
 *   - Command results are the BLE_RET_* codes below.
 *   - Messages go to stdout as "[BLE_ERR][function:line] ..." (and
 *     "[BLE_DBG][function:line] ..." for notes).
 *   - Only one line is open at a time: ble_uart_close restores the settings
 *     saved by the last ble_uart_open.
 */
#ifndef APUTIL_BLE_H
#define APUTIL_BLE_H

#include <stdint.h>

#include "aputil_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Result codes. */
#define BLE_RET_OK 0
#define BLE_RET_OPCODE 1      /* opcode mismatch */
#define BLE_RET_STATUS 2      /* non-zero status */
#define BLE_RET_INVALID 3     /* invalid input (NULL pointer) */
#define BLE_RET_EVENT 5       /* wrong packet type, event code or event content */

/* Packet indicators and event codes. */
#define BLE_HCI_COMMAND_PKT 0x01
#define BLE_HCI_EVENT_PKT 0x04
#define BLE_HCI_EVT_CMD_COMPLETE 0x0E
#define BLE_HCI_EVT_VENDOR 0xFF

/* Opcodes. */
#define BLE_OP_KXCOEX_PIN_HIGH 0x20A0
#define BLE_OP_KXCOEX_PIN_LOW 0x20A1
#define BLE_OP_GAP_ADV_DISABLE 0xFF08
#define BLE_OP_GAP_ADV_ENABLE 0xFF07
#define BLE_OP_READ_RSSI 0x1405
#define BLE_OP_GET_MACADDR 0xFF02
#define BLE_OP_EXT_SET_MAX_DTM_TXPOWER 0xFC11
#define BLE_OP_TX_TEST 0x201E
#define BLE_OP_RX_TEST 0x201D
#define BLE_OP_ENHANCED_TX_TEST 0x2034
#define BLE_OP_ENHANCED_RX_TEST 0x2033
#define BLE_OP_END_TEST 0x201F
#define BLE_OP_EXT_SET_TXPOWER 0xFC01
#define BLE_OP_EXT_TX_TEST 0xFC08
#define BLE_OP_EXT_RX_TEST 0xFC0A
#define BLE_OP_EXT_ENHANCED_TX_TEST 0xFC27
#define BLE_OP_EXT_ENHANCED_RX_TEST 0xFC29
#define BLE_OP_EXT_END_TEST 0xFC0B
#define BLE_OP_GAP_DEVICE_INIT 0xFE00
#define BLE_OP_PEER_CONNECT 0xFE62

/* Vendor event codes: 0x0400 plus the low byte of a 0xFCxx command; the
 * command status of the GAP commands; their follow-up events. */
#define BLE_EVT_EXT(opcode) (0x0400 | ((opcode) & 0xFF))
#define BLE_EVT_CMD_STATUS 0x067F
#define BLE_EVT_DEVICE_INIT_DONE 0x0600
#define BLE_EVT_LINK_ESTABLISHED 0x0605

/* UART modes of ble_uart_open. */
#define BLE_UART_MODE_1152000 0
#define BLE_UART_MODE_115200 1

/* --- serial line --- */
/* Open path raw at 1,152,000 baud (mode 0) or 115,200 baud (mode 1), with
 * VMIN 0 and VTIME 2. Returns: the descriptor, or -1 (on a failure after
 * the open the descriptor is left open, as on the device). */
APUTIL_API int ble_uart_open(const char *path, uint8_t uartMode);
/* Restore the saved settings and close. Returns: 1, or 0 on failure. */
APUTIL_API int ble_uart_close(int fd);
/* Returns: the result of write (1 on success). */
APUTIL_API int ble_uart_write_byte(int fd, uint8_t byte);
/* Returns: the byte read, or 0 when nothing arrived within 0.2 s. */
APUTIL_API uint8_t ble_uart_read_byte(int fd);
/* Read count bytes (at least one, also for count 0) into buf.
 * Returns: the last byte read. */
APUTIL_API uint8_t ble_uart_read_bytes_multi(int fd, uint8_t *buf, uint8_t count);

/* --- HCI framing and reply checks --- */
/* Build a command packet of len bytes in pkt: 0x01, opcode (little-endian),
 * len - 4, then len - 4 parameter bytes from params (none when params is
 * NULL or len < 4). */
APUTIL_API void ble_build_cmd(uint8_t *pkt, uint16_t opcode, uint8_t len, const uint8_t *params);
/* The same, the len - 4 parameter bytes given as int arguments. */
APUTIL_API void ble_build_cmd_hci(uint8_t *pkt, uint16_t opcode, uint8_t len, ...);
/* Write len bytes of pkt. Returns: the result of the last byte write. */
APUTIL_API int ble_snd_cmd(int fd, const uint8_t *pkt, uint8_t len);
/* Read an event: 3 header bytes, then its parameters into buf (at least one
 * byte; buf must hold 255). Returns: BLE_RET_OK, BLE_RET_INVALID, or
 * BLE_RET_EVENT when the packet is not an event. */
APUTIL_API uint32_t ble_rcv_cmd_hci_resp(int fd, uint8_t *buf);
/* Read a short vendor reply: a 6-byte header checked for status, packet
 * type and code (in that order), then as many bytes as its length byte says
 * into buf (three more than remain, as on the device): buf must hold 255. */
APUTIL_API uint32_t ble_rcv_cmd_resp(int fd, uint8_t *buf, uint16_t code);
/* Read a follow-up event's parameters into buf, unchecked (as many as the
 * line's length byte says, at least one): buf must hold 255.
 * Returns: the last byte read. */
APUTIL_API uint8_t ble_rcv_eventdata(int fd, uint8_t *buf);
/* Check Command Complete parameters: opcode, then status. */
APUTIL_API uint32_t ble_chk_resp(uint16_t opcode, const uint8_t *buf);
/* Check vendor event parameters: opcode, then event code, then status. */
APUTIL_API uint32_t ble_chk_resp_ext(uint16_t opcode, uint16_t event, const uint8_t *buf);

/* --- commands (BLE_RET_* unless noted) --- */
APUTIL_API void ble_snd_cmd_hci_kxcoex_pin_high(int fd); /* reads no reply */
APUTIL_API void ble_snd_cmd_hci_kxcoex_pin_low(int fd);  /* reads no reply */
APUTIL_API uint32_t ble_snd_cmd_hci_gap_adv_disable(int fd);
APUTIL_API uint32_t ble_snd_cmd_hci_gap_adv_enable(int fd);
/* Average of up to ten RSSI readings (127 means none; -100 when there is
 * no usable reading or they sum to 0), 200 ms apart. */
APUTIL_API uint32_t ble_snd_cmd_hci_read_rssi(int fd, uint16_t handle, int32_t *result);
/* The co-processor's address, 6 bytes in the order received. */
APUTIL_API uint32_t ble_snd_cmd_hci_get_macaddr(int fd, uint8_t *addr);
APUTIL_API uint32_t ble_snd_cmd_hci_ext_set_max_dtm_txpower(int fd, uint8_t power);
APUTIL_API uint32_t ble_snd_cmd_hci_tx_test(int fd, uint8_t channel, uint8_t length, uint8_t payload);
APUTIL_API uint32_t ble_snd_cmd_hci_rx_test(int fd, uint8_t channel);
APUTIL_API uint32_t ble_snd_cmd_hci_enhanced_tx_test(int fd, uint8_t channel, uint8_t length, uint8_t payload,
                                                     uint8_t phy);
APUTIL_API uint32_t ble_snd_cmd_hci_enhanced_rx_test(int fd, uint8_t channel, uint8_t phy);
/* End a test; the received packet count goes to *count. */
APUTIL_API uint32_t ble_snd_cmd_hci_end_test(int fd, uint16_t *count);
APUTIL_API uint32_t ble_snd_cmd_hci_ext_set_txpower(int fd, uint8_t power);
/* The ext commands put their arguments on the wire in reverse order. */
APUTIL_API uint32_t ble_snd_cmd_hci_ext_tx_test(int fd, uint8_t channel, uint8_t mode);
APUTIL_API uint32_t ble_snd_cmd_hci_ext_rx_test(int fd, uint8_t channel);
APUTIL_API uint32_t ble_snd_cmd_hci_ext_enhanced_tx_test(int fd, uint8_t channel, uint8_t phy, uint8_t mode);
APUTIL_API uint32_t ble_snd_cmd_hci_ext_enhanced_rx_test(int fd, uint8_t channel, uint8_t phy);
APUTIL_API uint32_t ble_snd_cmd_hci_ext_end_test(int fd);
/* GAP device init; also waits for the init-done event. */
APUTIL_API uint32_t ble_snd_cmd_hci_gap_device_init(int fd);
/* Connect to peer (6 bytes as given); the handle goes to *handle once the
 * link event names that peer. */
APUTIL_API uint32_t ble_snd_cmd_hci_peerdevice_connect(int fd, const uint8_t *peer, uint16_t *handle);

/* --- factory operations --- */

/* PHY selectors of the factory tests; 23 (1 Mbit/s) uses the non-enhanced
 * commands. */
#define BLE_FAC_PHY_1M 23

/* A code table: {key, code} entries ended by a code of 255. */
typedef struct ble_code_entry {
    int32_t key;
    uint8_t code;
} ble_code_entry_t;

/* The code of key in table, or 0 when absent (0 is also a valid code). */
APUTIL_API uint8_t ble_get_powercode(const ble_code_entry_t *table, int32_t key);
/* Reverse the first n bytes of arr in place. */
APUTIL_API void ble_tool_arr_swap(uint8_t *arr, int32_t n);

APUTIL_API int ble_fac_gap_adv_disable(int fd);
APUTIL_API int ble_fac_gap_adv_enable(int fd);
/* Drive the coexistence request line (level 1 high, 0 low; another level
 * sends nothing), wait 200 ms, then check that /proc/morvik_gpio/ble_coex_req
 * and ble_coex_pri both read level. Returns: 0, or -1. */
APUTIL_API int ble_fac_coex_gpio_ctl(int fd, int32_t level);
/* Set the maximum DTM power (dBm; an unknown value gives code 0), then
 * start the transmitter test (enhanced unless phy is 23). */
APUTIL_API int ble_fac_tx_test(int fd, uint8_t channel, int32_t power, uint8_t length, uint8_t payload,
                               uint8_t phy);
APUTIL_API int ble_fac_rx_test(int fd, uint8_t channel, uint8_t phy);
/* Returns: 0, -1 for a NULL count, or the command's code. */
APUTIL_API int ble_fac_end_test(int fd, uint16_t *count);
/* Vendor transmitter test. Returns: the power-setting result only; the test
 * command's own result is not looked at. */
APUTIL_API int ble_fac_ext_tx_test(int fd, uint8_t channel, int32_t power, uint8_t phy, uint8_t mode);
/* Vendor receiver test. Returns: always 0. */
APUTIL_API int ble_fac_ext_rx_test(int fd, uint8_t channel, uint8_t phy);
/* Returns: the low byte of the command's code. */
APUTIL_API int ble_fac_ext_end_test(int fd);
/* Initialise the GAP role, then connect to peer (6 bytes in display order).
 * peer is reversed IN PLACE (also when the connection fails). The
 * connection handle is kept for ble_fac_peerdevice_read_rssi.
 * Returns: 0, or -1. */
APUTIL_API int ble_fac_peerdevice_connect(int fd, uint8_t *peer);
/* RSSI of the last connected peer (handle 0 before any connect). */
APUTIL_API int ble_fac_peerdevice_read_rssi(int fd, int32_t *rssi);
/* Returns: 0, -1 for a NULL addr, or the command's code. */
APUTIL_API int ble_fac_mac_get(int fd, uint8_t *addr);

/* --- GPIO lines (/proc/morvik_gpio/: ble_backdoor, ble_reset, ble_ptm) ---
 * Each step is an "echo on|off > FILE" shell command with sleeps between. */
/* Reset into the serial bootloader (boot-select held over the reset). */
APUTIL_API void ble_gpio_bootloader_prep(void);
APUTIL_API void ble_gpio_reset(void);
/* Test mode on (off), then a reset. */
APUTIL_API void ble_gpio_fac_init(void);
APUTIL_API void ble_gpio_fac_deinit(void);

#ifdef __cplusplus
}
#endif

#endif /* APUTIL_BLE_H */
