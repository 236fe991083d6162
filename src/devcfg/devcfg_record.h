// The device configuration record and its lazy loader.
#pragma once

#include <cstdint>

#include "devcfg.h"

namespace aputil::devcfg {

constexpr int kNameLen = 32;

struct Record {
  uint32_t loaded;
  char product_name[32];
  char product_version[16];
  char product_qualifier[32];
  uint8_t vlanbind_supp;
  uint8_t vlanbind_uc_cfg_ver;
  uint32_t dl_port_num;
  uint32_t dl_phy_id[MAX_DOWNLINK_PORT_NUM];
  char dl_alias_name[MAX_DOWNLINK_PORT_NUM][kNameLen];
  char dl_if_name[kNameLen];
  char dl_logical_if_name[MAX_DOWNLINK_PORT_NUM][kNameLen];
  uint8_t poe_out_supp;
  uint32_t poe_out_bitmap;
  uint32_t dl_start_idx_offset;
  uint32_t ul_phy_id;
  uint8_t ul_phy_type;
  char ul_alias_name[kNameLen];
  char ul_if_name[kNameLen];
  char ul_logical_if_name[kNameLen];
  uint32_t ul_link_state_mask;
  uint8_t ul_in_switch;
  uint8_t hw_watchdog_supp;
  uint8_t cloud_supp;
  uint8_t cloud_cfg_supp;
  char cloud_mic_type[64];
  uint8_t cli_set_cc_supp;
  uint32_t wifiled_supp;
  uint32_t wifiled_dft_enable;
  uint8_t rc_optimize_supp;
  uint8_t disaster_supp;
  uint32_t def_time_zone;
  uint32_t ctrl_custom_region;
  uint8_t ppsk_pro_supp;
  uint8_t orvel;
  uint8_t repeater_supp;
  uint8_t ble_supp;
  uint8_t smart_ant_supp;
  uint32_t ddr_size;
  uint32_t poe_power_consumption;
};

// The record, followed by a NUL that no load writes: a name stored with
// all 32 characters (and so no terminator) runs into the next field, and
// the guard stops any copy at the end of the record.
struct Storage {
  Record rec;
  char guard;
};
extern Storage g_storage;

// Loads the record on first use and after every failed attempt.
// Returns: 0 when loaded, -1 on failure (after printing the reason).
int devcfg_init();

// Forget the loaded record and the NVRAM start (tests only).
void reset_for_tests();

}  // namespace aputil::devcfg
