// Per-model file paths and the configuration dump.
#include <unistd.h>

#include <cstdio>

#include "common/host_root.h"
#include "devcfg/devcfg_record.h"

using aputil::HostPath;
using aputil::devcfg::devcfg_init;
using aputil::devcfg::g_storage;

namespace {

// "/etc/NAME_VERSION/<file>" into dst, cut to n like snprintf.
void model_path(char *dst, size_t n, const char *file) {
  if (!dst || devcfg_init() != 0) return;
  std::snprintf(dst, n, "/etc/%s_%s/%s", g_storage.rec.product_name, g_storage.rec.product_version, file);
}

// The model's file when it exists, else the shared one in /etc.
int32_t model_or_shared_path(char *dst, size_t n, const char *file) {
  if (!dst || devcfg_init() != 0) return -1;
  char work[128] = "";
  std::snprintf(work, n < sizeof work ? n : sizeof work, "/etc/%s_%s/%s", g_storage.rec.product_name,
                g_storage.rec.product_version, file);
  if (n > 0 && access(HostPath(work).c_str(), F_OK) == 0)
    return std::snprintf(dst, n, "/etc/%s_%s/%s", g_storage.rec.product_name, g_storage.rec.product_version, file);
  return std::snprintf(dst, n, "/etc/%s", file);
}

}  // namespace

extern "C" {

APUTIL_API void devcfg_getDftCfgPath(char *dst, size_t n) { model_path(dst, n, "default_config"); }
APUTIL_API void devcfg_getFactoryCfgPath(char *dst, size_t n) { model_path(dst, n, "factory_config.bin"); }
APUTIL_API void devcfg_getGpioCfgPath(char *dst, size_t n) { model_path(dst, n, "gpio.conf"); }
APUTIL_API void devcfg_getGpoRuleCfgPath(char *dst, size_t n) { model_path(dst, n, "gpo_rule.conf"); }
APUTIL_API void devcfg_getOemInfoPath(char *dst, size_t n) { model_path(dst, n, "oem.json"); }
APUTIL_API void devcfg_getRegDoamin2GPath(char *dst, size_t n) { model_path(dst, n, "ath/REG_DOMAIN2"); }
APUTIL_API void devcfg_getRegDoamin5GPath(char *dst, size_t n) { model_path(dst, n, "ath/REG_DOMAIN5"); }
APUTIL_API void devcfg_getRadioCfgPath(char *dst, size_t n) { model_path(dst, n, "radio_config.json"); }
APUTIL_API void devcfg_getWirelessCfgPath(char *dst, size_t n) { model_path(dst, n, "wireless"); }
APUTIL_API void devcfg_getThermaltoolCfgPath(char *dst, size_t n) { model_path(dst, n, "thermaltool.sh"); }

APUTIL_API int32_t devcfg_getAppCfgPath(char *dst, size_t n) {
  return model_or_shared_path(dst, n, "app_features.json");
}

APUTIL_API int32_t devcfg_getAppClusterCfgPath(char *dst, size_t n) {
  return model_or_shared_path(dst, n, "app_cluster_features.json");
}

APUTIL_API int devcfg_testFunc(void) {
  if (devcfg_init() != 0) return -1;
  char name[32] = "";
  std::printf("VLANBIND_IS_SUPP = %d\n", devcfg_vlanbind_isSupp());
  std::printf("VLANBIND_UC_CFG_VERSION = %d\n", devcfg_vlanbind_getUcCfgVer());
  for (uint32_t port = 1; port <= MAX_DOWNLINK_PORT_NUM; ++port) {
    std::printf("DOWNLINK_PORT%d_PHYID = %d\n", port, devcfg_downLinkPort_getPhyId(port));
    devcfg_downLinkPort_getAliasName(port, name, sizeof name);
    std::printf("DOWNLINK_PORT%d_ALIAS_NAME = %s\n", port, name);
  }
  std::printf("DOWNLINK_PORT_NUM = %d\n", devcfg_downLinkPort_getNum());
  devcfg_dlLinkPort_getIfName(name, sizeof name);
  std::printf("DOWNLINK_PORT_IFNAME = %s\n", name);
  std::printf("DOWNLINK_PORT_POEOUT_IS_SUPP = %d\n", devcfg_downLinkPort_isPoeOutSupp());
  std::printf("DOWNLINK_PORT_POEOUT_BITMAP = %d\n", devcfg_downLinkPort_getPoeOutBitMap());
  devcfg_upLinkPort_getAliasName(name, sizeof name);
  std::printf("UPLINK_PORT_ALIAS_NAME = %s\n", name);
  devcfg_upLinkPort_getIfName(name, sizeof name);
  std::printf("UPLINK_PORT_IFNAME = %s\n", name);
  devcfg_dlLinkPort_getIfName(name, sizeof name);
  std::printf("DLLINK_PORT_IFNAME = %s\n", name);
  std::printf("UPLINK_PORT_PHYID = %d\n", devcfg_upLinkPort_getPhyId());
  std::printf("UPLINK_PORT_LINKSTATE_MASK = %d\n", devcfg_upLinkPort_getLinkStateMask());
  std::printf("UPLINK_PORT_IN_SWITCH = %d\n", devcfg_upLinkPort_inSwitch());
  std::printf("HW_WATCHDOG_IS_SUPP = %d\n", devcfg_hwWatchdog_isSupp());
  std::printf("CLOUD_CTRL_IS_SUPP = %d\n", devcfg_cloud_isSupp());
  std::printf("CLOUD_CTRL_IS_CFGSUPP = %d\n", devcfg_cloud_isCfgSupp());
  char mic[64] = "";
  devcfg_cloud_getMicType(mic, sizeof mic);
  std::printf("DEVCFG_CLOUD_CTRL_MIC_TYPE = %s\n", mic);
  std::printf("DEVCFG_CLI_SETCC_IS_SUPP = %d\n", devcfg_cli_setCountryIsSupp());
  std::printf("DEVCFG_IS_ORVEL = %d\n", devcfg_isOrvel());
  std::printf("DEVCFG_WIFILED_IS_SUPP = %d\n", devcfg_wifiled_isSupp());
  return std::printf("DEVCFG_WIFILED_DFTENABLE = %d\n", devcfg_wifiled_dftEnable());
}

}  // extern "C"
