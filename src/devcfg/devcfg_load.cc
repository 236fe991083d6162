// Loading the device configuration: product identity from NVRAM, then the
// model's dev_config.json, checked key by key into the record.
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "cJSON.h"
#include "common/host_root.h"
#include "common/messages.h"
#include "nm_api.h"
#include "devcfg/devcfg_record.h"

namespace aputil::devcfg {

Storage g_storage;

namespace {

bool g_nvram_started = false;
char g_text[2049];  // never cleared: a shorter file leaves the older tail behind

const char kLoader[] = "devcfg_init";
const char kStringCond[] = "((NULL != pData) && (pData->type == cJSON_String))";

Record &rec() { return g_storage.rec; }

// Typed member lookups: a member of another type counts as absent.
cJSON *member(cJSON *obj, const char *name, int type) {
  cJSON *item = cJSON_GetObjectItem(obj, name);
  return (item && item->type == type) ? item : nullptr;
}

// A boolean member's value (its type code), or nullptr when not boolean.
const cJSON *boolean(cJSON *obj, const char *name) {
  cJSON *item = cJSON_GetObjectItem(obj, name);
  return (item && item->type < 2) ? item : nullptr;
}

template <typename Field>
void read_bool(cJSON *obj, const char *name, Field &field) {
  if (const cJSON *b = boolean(obj, name)) field = static_cast<Field>(b->type);
}

template <typename Field>
void read_number(cJSON *obj, const char *name, Field &field) {
  if (const cJSON *n = member(obj, name, cJSON_Number)) field = static_cast<Field>(n->valueint);
}

// Copy a string member into a field, keeping at most keep characters.
void read_string(cJSON *obj, const char *name, char *field, size_t keep) {
  if (const cJSON *s = member(obj, name, cJSON_String)) std::strncpy(field, s->valuestring, keep);
}

int init_product_info() {
  char info[512] = {0};
  if (nm_api_readPtnFromNvram("product-info", info, sizeof info - 1) < 1) {
    print_error("initProductInfo", 254, "failed to read productinfo.");
    return -1;
  }
  for (char &c : info)
    if (c == '\r' || c == '\n') c = '\0';

  Record &r = rec();
  std::sscanf(info, "%31[^(](%31[^)]):%15s", r.product_name, r.product_qualifier, r.product_version);
  for (char *p = r.product_name; *p; ++p)
    if (*p == ' ') *p = '_';

  static const char *const kSuffixRegions[] = {"CA", "JP", "EG", "HK", "RU", "AU", "KR"};
  char region[3] = {0};
  nm_api_getRegionName(region, sizeof region);
  for (const char *code : kSuffixRegions) {
    if (region[0] == code[0] && region[1] == code[1]) {
      // The whole "_XX" and its terminator fit, or nothing is added.
      const size_t used = std::strlen(r.product_version);
      if (used + 4 <= sizeof r.product_version)
        std::snprintf(r.product_version + used, 4, "_%s", region);
      break;
    }
  }
  return 0;
}

// The keys of dev_config.json, in order; false after a failed check.
bool read_keys(cJSON *root) {
  Record &r = rec();

  if (cJSON *vlan = member(root, "vlanbind", cJSON_Object)) {
    read_bool(vlan, "supp", r.vlanbind_supp);
    if (r.vlanbind_supp) {
      cJSON *pData = cJSON_GetObjectItem(vlan, "ucCfgVer");
      if (!((NULL != pData) && (pData->type == cJSON_Number) &&
            (pData->valueint == VLANBIND_UC_CFG_VERSION1_N300 || pData->valueint == VLANBIND_UC_CFG_VERSION2))) {
        print_condition_errno(kLoader, 383,
                              "((NULL != pData) && (pData->type == cJSON_Number) && (pData->valueint == "
                              "VLANBIND_UC_CFG_VERSION1_N300 || pData->valueint == VLANBIND_UC_CFG_VERSION2))");
        return false;
      }
      r.vlanbind_uc_cfg_ver = static_cast<uint8_t>(pData->valueint);
    }
  }

  cJSON *lan = member(root, "lanport", cJSON_Object);
  if (!lan) {
    print_condition_errno(kLoader, 404, "(NULL != pLanPortCfg)");
    return false;
  }
  cJSON *pData = cJSON_GetObjectItem(lan, "dlPortNum");
  if (!((NULL != pData) && (pData->type == cJSON_Number) &&
        static_cast<uint32_t>(pData->valueint) <= MAX_DOWNLINK_PORT_NUM)) {
    print_condition_errno(kLoader, 408,
                          "((NULL != pData) && (pData->type == cJSON_Number) && (pData->valueint >= 0 && "
                          "pData->valueint <= MAX_DOWNLINK_PORT_NUM))");
    return false;
  }
  r.dl_port_num = static_cast<uint32_t>(pData->valueint);

  if ((pData = cJSON_GetObjectItem(lan, "dlPortStartIdxOffset"))) {
    if (pData->type != cJSON_Number) {
      print_condition_errno(kLoader, 415, "(pData->type == cJSON_Number)");
      return false;
    }
    r.dl_start_idx_offset = static_cast<uint32_t>(pData->valueint);
  }

  for (uint32_t n = 1; n <= r.dl_port_num; ++n) {
    char name[32];
    std::snprintf(name, sizeof name, "dlPort%uPhyId", n);
    read_number(lan, name, r.dl_phy_id[n - 1]);
    std::snprintf(name, sizeof name, "dlPort%uAliasName", n);
    read_string(lan, name, r.dl_alias_name[n - 1], kNameLen);
    std::snprintf(name, sizeof name, "dlPort%uLogicalIfName", n);
    read_string(lan, name, r.dl_logical_if_name[n - 1], kNameLen);
  }

  read_string(lan, "dlPortIfName", r.dl_if_name, kNameLen - 1);
  read_bool(lan, "poeOutSupp", r.poe_out_supp);
  if (boolean(lan, "poeOutSupp")) read_number(lan, "poeOutBitMap", r.poe_out_bitmap);
  read_number(lan, "ulPortPhyId", r.ul_phy_id);

  const struct {
    const char *key;
    char *field;
    int line;
  } required[] = {{"ulPortAliasName", r.ul_alias_name, 482}, {"ulPortIfName", r.ul_if_name, 487}};
  for (const auto &q : required) {
    if (!member(lan, q.key, cJSON_String)) {
      print_condition_errno(kLoader, q.line, kStringCond);
      return false;
    }
    read_string(lan, q.key, q.field, kNameLen - 1);
  }

  read_string(lan, "dlPortIfName", r.dl_if_name, kNameLen - 1);
  read_number(lan, "ulPortLinkStateMask", r.ul_link_state_mask);
  read_number(lan, "ulPortInSwitch", r.ul_in_switch);
  read_string(lan, "ulPortLogicalIfName", r.ul_logical_if_name, kNameLen - 1);

  if (const cJSON *phy = member(lan, "phyType", cJSON_String)) {
    if (std::strncmp(phy->valuestring, "AR8033", 6) == 0)
      r.ul_phy_type = DEVCFG_PHY_TYPE_AR8033;
    else if (std::strncmp(phy->valuestring, "RTL8211", 7) == 0)
      r.ul_phy_type = DEVCFG_PHY_TYPE_RTL8211;
    else
      print_error(kLoader, 530, "unsuppoerted phy type:%s\n", phy->valuestring);
  }

  if (cJSON *wd = member(root, "hwWatchDog", cJSON_Object)) read_bool(wd, "supp", r.hw_watchdog_supp);

  if (cJSON *cloud = member(root, "cloudCtrl", cJSON_Object)) {
    read_bool(cloud, "supp", r.cloud_supp);
    if (r.cloud_supp) {
      r.cloud_cfg_supp = 1;
      read_bool(cloud, "cfgSupp", r.cloud_cfg_supp);
      if (!member(cloud, "micType", cJSON_String)) {
        print_condition_errno(kLoader, 575, kStringCond);
        return false;
      }
      read_string(cloud, "micType", r.cloud_mic_type, sizeof r.cloud_mic_type - 1);
    }
  }

  read_bool(root, "cliSetCcSupp", r.cli_set_cc_supp);
  if (cJSON *led = member(root, "wifiLed", cJSON_Object)) {
    read_bool(led, "supp", r.wifiled_supp);
    read_bool(led, "dftEnable", r.wifiled_dft_enable);
  }
  read_bool(root, "rcOptimizeSupp", r.rc_optimize_supp);
  read_bool(root, "disasterSupp", r.disaster_supp);
  if (cJSON *misc = member(root, "misc", cJSON_Object)) {
    read_number(misc, "defTimeZone", r.def_time_zone);
    read_number(misc, "ctrlCustomRegion", r.ctrl_custom_region);
  }
  if (cJSON *pro = member(root, "proFeatures", cJSON_Object)) read_bool(pro, "ppskProSupp", r.ppsk_pro_supp);
  read_bool(root, "orvelFeatures", r.orvel);
  if (cJSON *rep = member(root, "repeaterSupp", cJSON_Object)) read_bool(rep, "supp", r.repeater_supp);
  read_bool(root, "bleSupp", r.ble_supp);
  if (const cJSON *ddr = member(root, "ddrSize", cJSON_Number); ddr && ddr->valueint > 0)
    r.ddr_size = static_cast<uint32_t>(ddr->valueint);
  read_bool(root, "smartAntSupp", r.smart_ant_supp);
  read_number(root, "poePowerConsumption", r.poe_power_consumption);
  return true;
}

}  // namespace

int devcfg_init() {
  Record &r = rec();
  if (r.loaded) return 0;
  if (!g_nvram_started) {
    nm_api_init();
    g_nvram_started = true;
  }
  std::memset(&r, 0, sizeof r);

  if (init_product_info() != 0) {
    print_error(kLoader, 340, "failed to init ProductInfo\n");
    return -1;
  }

  char path[256];
  std::snprintf(path, sizeof path, "/etc/%s_%s/dev_config.json", r.product_name, r.product_version);
  const long got = read_device_file(path, g_text, sizeof g_text - 1);
  if (got < 0) {
    print_condition_errno(kLoader, 350, "(NULL != pFile)");
    return -1;
  }
  if (got == 0) {
    print_error(kLoader, 354, "failed to read file\n");
    return -1;
  }
  g_text[sizeof g_text - 1] = '\0';

  cJSON *pDevCfg = cJSON_Parse(g_text);
  if (NULL == pDevCfg) {
    print_condition_errno(kLoader, 365, "(NULL != pDevCfg)");
    return -1;
  }
  const bool ok = read_keys(pDevCfg);
  if (ok) r.loaded = 1;
  cJSON_Delete(pDevCfg);
  return ok ? 0 : -1;
}

void reset_for_tests() {
  std::memset(&g_storage, 0, sizeof g_storage);
  std::memset(g_text, 0, sizeof g_text);
  g_nvram_started = false;
}

}  // namespace aputil::devcfg
