/*
 * devcfg.h - the device's hardware capabilities and per-model file paths.
 *
 * The model is named by the NVRAM partition "product-info". Its first line
 * is "NAME(QUALIFIER):VERSION"; spaces in NAME become "_". In the regions
 * CA, JP, EG, HK, RU, AU and KR the version gets "_" and the region code.
 * The model directory is "/etc/NAME_VERSION/". Its dev_config.json is
 * loaded on the first call of any function below. A failed load is tried
 * again, whole, on every later call; a successful one is never repeated.
 *
 * Conventions:
 *   - Value accessors answer the configured value, or 0 when the
 *     configuration cannot be loaded: "not supported" and "configuration
 *     missing" look alike on purpose.
 *   - String accessors copy at most len characters into dst, fill the rest
 *     with NUL and always put NUL in the last byte. They answer 0 whether
 *     or not they copied; a refused call leaves dst untouched.
 *   - Path getters format into dst of n bytes, cut like snprintf; they
 *     write nothing when dst is NULL or the load failed.
 *   - A failed load prints its reason on stderr as
 *     "<error>devcfg_init():%4d  @ ..."; nothing else is reported.
 */
#ifndef APUTIL_DEVCFG_H
#define APUTIL_DEVCFG_H

#include <stddef.h>
#include <stdint.h>

#include "aputil_export.h"

#ifdef __cplusplus
extern "C" {
#endif

#define MAX_DOWNLINK_PORT_NUM 4
#define VLANBIND_UC_CFG_VERSION1_N300 1
#define VLANBIND_UC_CFG_VERSION2 2

/* Uplink PHY types (devcfg_upLinkPort_getPhyType). */
#define DEVCFG_PHY_TYPE_NONE 0
#define DEVCFG_PHY_TYPE_AR8033 1
#define DEVCFG_PHY_TYPE_RTL8211 2

/* --- capabilities (0 when unsupported or not loadable) --- */
APUTIL_API uint32_t devcfg_ble_isSupp(void);
APUTIL_API uint32_t devcfg_ddr_getSize(void);
APUTIL_API uint32_t devcfg_vlanbind_isSupp(void);
/* 1 or 2; 0 when vlanbind is not supported. */
APUTIL_API uint32_t devcfg_vlanbind_getUcCfgVer(void);
/* 0 to MAX_DOWNLINK_PORT_NUM. */
APUTIL_API uint32_t devcfg_downLinkPort_getNum(void);
/* PHY id of downlink port 1..4 (the bound is 4, not the port count); 0 for
 * any other port. */
APUTIL_API uint32_t devcfg_downLinkPort_getPhyId(uint32_t port);
APUTIL_API uint32_t devcfg_downLinkPort_isPoeOutSupp(void);
APUTIL_API uint32_t devcfg_downLinkPort_getPoeOutBitMap(void);
APUTIL_API uint32_t devcfg_downLinkPort_getStartIdxOffset(void);
/* DEVCFG_PHY_TYPE_AR8033, DEVCFG_PHY_TYPE_RTL8211 or DEVCFG_PHY_TYPE_NONE. */
APUTIL_API uint32_t devcfg_upLinkPort_getPhyType(void);
APUTIL_API uint32_t devcfg_upLinkPort_getPhyId(void);
APUTIL_API uint32_t devcfg_upLinkPort_getLinkStateMask(void);
APUTIL_API uint32_t devcfg_upLinkPort_inSwitch(void);
APUTIL_API uint32_t devcfg_hwWatchdog_isSupp(void);
APUTIL_API uint32_t devcfg_cloud_isSupp(void);
APUTIL_API uint32_t devcfg_cloud_isCfgSupp(void);
APUTIL_API uint32_t devcfg_rcOptimize_isSupp(void);
APUTIL_API uint32_t devcfg_cli_setCountryIsSupp(void);
APUTIL_API uint32_t devcfg_wifiled_isSupp(void);
APUTIL_API uint32_t devcfg_wifiled_dftEnable(void);
APUTIL_API uint32_t devcfg_misc_defaultTimeZone(void);
APUTIL_API uint32_t devcfg_misc_ctrlCustomRegion(void);
APUTIL_API uint32_t devcfg_jp_disaster_isSupp(void);
APUTIL_API uint32_t devcfg_ppskPro_isSupp(void);
APUTIL_API uint32_t devcfg_isOrvel(void);
APUTIL_API uint32_t devcfg_repeater_isSupp(void);
APUTIL_API uint32_t devcfg_smartant_isSupp(void);
APUTIL_API uint32_t devcfg_getpoePowerConsumption(void);

/* --- names (always return 0) --- */
/* Refused when the load failed, dst is NULL or len <= 0. */
APUTIL_API int32_t devcfg_downLinkPort_getIfName(char *dst, int32_t len);
/* Same field; refused only when the load failed or dst is NULL. Callers
 * must pass len > 0 (with len <= 0 nothing is written). */
APUTIL_API int32_t devcfg_dlLinkPort_getIfName(char *dst, int32_t len);
/* Port 1..4; refused also for any other port. */
APUTIL_API int32_t devcfg_downLinkPort_getAliasName(uint32_t port, char *dst, int32_t len);
APUTIL_API int32_t devcfg_downLinkPort_getLogicalIfName(uint32_t port, char *dst, int32_t len);
APUTIL_API int32_t devcfg_upLinkPort_getAliasName(char *dst, int32_t len);
APUTIL_API int32_t devcfg_upLinkPort_getIfName(char *dst, int32_t len);
APUTIL_API int32_t devcfg_upLinkPort_getLogicalIfName(char *dst, int32_t len);
/* Refused only when the load failed or dst is NULL; callers must pass
 * len > 0 (with len <= 0 nothing is written). */
APUTIL_API int32_t devcfg_cloud_getMicType(char *dst, int32_t len);

/* --- per-model paths: "/etc/NAME_VERSION/<file>" --- */
APUTIL_API void devcfg_getDftCfgPath(char *dst, size_t n);        /* default_config */
APUTIL_API void devcfg_getFactoryCfgPath(char *dst, size_t n);    /* factory_config.bin */
APUTIL_API void devcfg_getGpioCfgPath(char *dst, size_t n);       /* gpio.conf */
APUTIL_API void devcfg_getGpoRuleCfgPath(char *dst, size_t n);    /* gpo_rule.conf */
APUTIL_API void devcfg_getOemInfoPath(char *dst, size_t n);       /* oem.json */
APUTIL_API void devcfg_getRegDoamin2GPath(char *dst, size_t n);   /* ath/REG_DOMAIN2 */
APUTIL_API void devcfg_getRegDoamin5GPath(char *dst, size_t n);   /* ath/REG_DOMAIN5 */
APUTIL_API void devcfg_getRadioCfgPath(char *dst, size_t n);      /* radio_config.json */
APUTIL_API void devcfg_getWirelessCfgPath(char *dst, size_t n);   /* wireless */
APUTIL_API void devcfg_getThermaltoolCfgPath(char *dst, size_t n);/* thermaltool.sh */

/* The model's app_features.json (app_cluster_features.json) when that file
 * exists, else "/etc/app_features.json" ("/etc/app_cluster_features.json").
 * The existence test uses a 128-byte work buffer cut to n: pass n <= 128.
 * Returns: the length of the path written (as snprintf reports it), or -1
 * when dst is NULL or the load failed (dst untouched). */
APUTIL_API int32_t devcfg_getAppCfgPath(char *dst, size_t n);
APUTIL_API int32_t devcfg_getAppClusterCfgPath(char *dst, size_t n);

/* Print the main values on stdout, one "NAME = value" line each.
 * Returns: what the last printf returned, or -1 when the load failed. */
APUTIL_API int devcfg_testFunc(void);

#ifdef __cplusplus
}
#endif

#endif /* APUTIL_DEVCFG_H */
