// Value and name accessors of the device configuration.
#include <cstring>

#include "devcfg/devcfg_record.h"

using aputil::devcfg::devcfg_init;
using aputil::devcfg::g_storage;
using aputil::devcfg::Record;

namespace {

// Field of the loaded record, or 0 when the configuration cannot be loaded.
template <typename Field>
uint32_t value(Field Record::*field) {
  return devcfg_init() == 0 ? static_cast<uint32_t>(g_storage.rec.*field) : 0;
}

// Copy a name: at most len characters, NUL-filled, NUL in the last byte.
int32_t copy_name(char *dst, int32_t len, const char *field) {
  if (len > 0) {
    std::strncpy(dst, field, static_cast<size_t>(len));
    dst[len - 1] = '\0';
  }
  return 0;
}

// Siblings that refuse len <= 0 outright.
int32_t checked_name(char *dst, int32_t len, const char *field) {
  if (!dst || len <= 0 || devcfg_init() != 0) return 0;
  return copy_name(dst, len, field);
}

// Port names: port 1..MAX_DOWNLINK_PORT_NUM.
int32_t port_name(uint32_t port, char *dst, int32_t len, char (Record::*names)[MAX_DOWNLINK_PORT_NUM][32]) {
  if (!dst || len <= 0 || port < 1 || port > MAX_DOWNLINK_PORT_NUM || devcfg_init() != 0) return 0;
  return copy_name(dst, len, (g_storage.rec.*names)[port - 1]);
}

}  // namespace

extern "C" {

APUTIL_API uint32_t devcfg_ble_isSupp(void) { return value(&Record::ble_supp); }
APUTIL_API uint32_t devcfg_ddr_getSize(void) { return value(&Record::ddr_size); }
APUTIL_API uint32_t devcfg_vlanbind_isSupp(void) { return value(&Record::vlanbind_supp); }
APUTIL_API uint32_t devcfg_vlanbind_getUcCfgVer(void) { return value(&Record::vlanbind_uc_cfg_ver); }
APUTIL_API uint32_t devcfg_downLinkPort_getNum(void) { return value(&Record::dl_port_num); }
APUTIL_API uint32_t devcfg_downLinkPort_isPoeOutSupp(void) { return value(&Record::poe_out_supp); }
APUTIL_API uint32_t devcfg_downLinkPort_getPoeOutBitMap(void) { return value(&Record::poe_out_bitmap); }
APUTIL_API uint32_t devcfg_downLinkPort_getStartIdxOffset(void) { return value(&Record::dl_start_idx_offset); }
APUTIL_API uint32_t devcfg_upLinkPort_getPhyType(void) { return value(&Record::ul_phy_type); }
APUTIL_API uint32_t devcfg_upLinkPort_getPhyId(void) { return value(&Record::ul_phy_id); }
APUTIL_API uint32_t devcfg_upLinkPort_getLinkStateMask(void) { return value(&Record::ul_link_state_mask); }
APUTIL_API uint32_t devcfg_upLinkPort_inSwitch(void) { return value(&Record::ul_in_switch); }
APUTIL_API uint32_t devcfg_hwWatchdog_isSupp(void) { return value(&Record::hw_watchdog_supp); }
APUTIL_API uint32_t devcfg_cloud_isSupp(void) { return value(&Record::cloud_supp); }
APUTIL_API uint32_t devcfg_cloud_isCfgSupp(void) { return value(&Record::cloud_cfg_supp); }
APUTIL_API uint32_t devcfg_rcOptimize_isSupp(void) { return value(&Record::rc_optimize_supp); }
APUTIL_API uint32_t devcfg_cli_setCountryIsSupp(void) { return value(&Record::cli_set_cc_supp); }
APUTIL_API uint32_t devcfg_wifiled_isSupp(void) { return value(&Record::wifiled_supp); }
APUTIL_API uint32_t devcfg_wifiled_dftEnable(void) { return value(&Record::wifiled_dft_enable); }
APUTIL_API uint32_t devcfg_misc_defaultTimeZone(void) { return value(&Record::def_time_zone); }
APUTIL_API uint32_t devcfg_misc_ctrlCustomRegion(void) { return value(&Record::ctrl_custom_region); }
APUTIL_API uint32_t devcfg_jp_disaster_isSupp(void) { return value(&Record::disaster_supp); }
APUTIL_API uint32_t devcfg_ppskPro_isSupp(void) { return value(&Record::ppsk_pro_supp); }
APUTIL_API uint32_t devcfg_isOrvel(void) { return value(&Record::orvel); }
APUTIL_API uint32_t devcfg_repeater_isSupp(void) { return value(&Record::repeater_supp); }
APUTIL_API uint32_t devcfg_smartant_isSupp(void) { return value(&Record::smart_ant_supp); }
APUTIL_API uint32_t devcfg_getpoePowerConsumption(void) { return value(&Record::poe_power_consumption); }

APUTIL_API uint32_t devcfg_downLinkPort_getPhyId(uint32_t port) {
  if (port < 1 || port > MAX_DOWNLINK_PORT_NUM || devcfg_init() != 0) return 0;
  return g_storage.rec.dl_phy_id[port - 1];
}

APUTIL_API int32_t devcfg_downLinkPort_getIfName(char *dst, int32_t len) {
  return checked_name(dst, len, g_storage.rec.dl_if_name);
}

APUTIL_API int32_t devcfg_dlLinkPort_getIfName(char *dst, int32_t len) {
  if (!dst || devcfg_init() != 0) return 0;
  return copy_name(dst, len, g_storage.rec.dl_if_name);
}

APUTIL_API int32_t devcfg_downLinkPort_getAliasName(uint32_t port, char *dst, int32_t len) {
  return port_name(port, dst, len, &Record::dl_alias_name);
}

APUTIL_API int32_t devcfg_downLinkPort_getLogicalIfName(uint32_t port, char *dst, int32_t len) {
  return port_name(port, dst, len, &Record::dl_logical_if_name);
}

APUTIL_API int32_t devcfg_upLinkPort_getAliasName(char *dst, int32_t len) {
  return checked_name(dst, len, g_storage.rec.ul_alias_name);
}

APUTIL_API int32_t devcfg_upLinkPort_getIfName(char *dst, int32_t len) {
  return checked_name(dst, len, g_storage.rec.ul_if_name);
}

APUTIL_API int32_t devcfg_upLinkPort_getLogicalIfName(char *dst, int32_t len) {
  return checked_name(dst, len, g_storage.rec.ul_logical_if_name);
}

APUTIL_API int32_t devcfg_cloud_getMicType(char *dst, int32_t len) {
  if (!dst || devcfg_init() != 0) return 0;
  return copy_name(dst, len, g_storage.rec.cloud_mic_type);
}

}  // extern "C"
