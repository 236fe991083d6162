/*
 * radio_config.h - the model's radio configuration (radio_config.json).
 *
 * The table describes the device's two radios (IDs 0 and 1) and a set of
 * feature switches. It is loaded from the path devcfg_getRadioCfgPath()
 * gives, on the first call of any function below (except
 * debug_show_radio_cfg, which prints the table as it stands). A failed load
 * prints its reason on stderr and is tried again, whole, on every later
 * call; after a successful load the table never changes and is printed
 * once with debug_show_radio_cfg.
 *
 * Conventions:
 *   - Failures print "<error>func():%4d  @ ..." on stderr, then answer the
 *     neutral value of each function (0, NULL, 841 for the region code).
 *   - Functions documented to answer -1 answer it as an unsigned value with
 *     all bits set (RADIO_CONFIG_ERR).
 *   - Pointer results point into the process-wide table: do not free them.
 *   - Band codes: 2 (2.4 GHz), 5 (5 GHz), 52 (a second 5 GHz band, treated
 *     as 5 GHz everywhere).
 */
#ifndef APUTIL_RADIO_CONFIG_H
#define APUTIL_RADIO_CONFIG_H

#include <stdint.h>

#include "aputil_export.h"

#ifdef __cplusplus
extern "C" {
#endif

#define MAX_RADIO_NUM 2
#define MAX_STA_PER_RADIO 512
#define THERMAL_CTL_LEVEL_NUM 4
#define RADIO_CONFIG_DEFAULT_REGION_CODE 841
#define RADIO_CONFIG_ERR 0xFFFFFFFFu

/* Band codes. */
#define RADIO_BAND_2G 2
#define RADIO_BAND_5G 5
#define RADIO_BAND_5G_2 52

/* Mode bits of a radio's "mode", in rising order of capability. */
#define RADIO_MODE_BIT_1 1
#define RADIO_MODE_BIT_2 2
#define RADIO_MODE_BIT_4 4
#define RADIO_MODE_BIT_8 8
#define RADIO_MODE_BIT_16 16

/* Channel width codes: fixed widths (radio_config_getMaxChanWidth) and
 * automatic widths (automatic on 2.4 GHz, on 5 GHz without and with
 * 160 MHz support). */
#define RADIO_CHAN_WIDTH_20 2
#define RADIO_CHAN_WIDTH_AUTO_2G 3
#define RADIO_CHAN_WIDTH_40 4
#define RADIO_CHAN_WIDTH_AUTO_5G 5
#define RADIO_CHAN_WIDTH_80 6
#define RADIO_CHAN_WIDTH_AUTO_5G_160 7
#define RADIO_CHAN_WIDTH_160 8

/* --- per radio (radio ID 0 or 1; another ID prints
 *     "init error or invalid radioID:%d" and answers 0 or NULL) --- */
APUTIL_API uint32_t radio_config_getBand(uint32_t radioId);
APUTIL_API uint32_t radio_config_getMimo(uint32_t radioId);
/* Array gain of the streams: mimo 2 -> 3, 3 -> 5, 4 -> 6, else 0. */
APUTIL_API uint32_t radio_config_getMimoGain(uint32_t radioId);
APUTIL_API uint32_t radio_config_getAnttGain(uint32_t radioId);
/* "modeCap" as configured (default 0x34 on band 2, 0x74 otherwise). */
APUTIL_API uint32_t radio_config_getModeCap(uint32_t radioId);
APUTIL_API uint32_t radio_config_getIfindex(uint32_t radioId);
APUTIL_API uint32_t radio_config_getBlockAcsBand(uint32_t radioId);
APUTIL_API uint32_t radio_config_getBlockSpruceBand4(uint32_t radioId);
/* The 16-byte interface name field (a 16-character name has no NUL). */
APUTIL_API char *radio_config_getIfname(uint32_t radioId);
APUTIL_API char *radio_config_getVapPrefix(uint32_t radioId);
APUTIL_API uint32_t radio_config_getMaxVapNum(uint32_t radioId);
/* Highest of the mode bits 16, 8, 4, 2, 1 set in "mode"; 0 (with an
 * "invalid mode" message) when none is. */
APUTIL_API uint32_t radio_config_getMaxModeCap(uint32_t radioId);
/* "smartAnt"; 0 on a failed load or a radio ID above 1. */
APUTIL_API uint32_t radio_config_smartAntennaSupp(uint32_t radioId);

/* Maximum PHY mode number: capability 1 -> 0, 2 -> 3, 4 -> 4, 8 -> 10,
 * 16 -> 16 on a 5 GHz band, 13 otherwise. Returns RADIO_CONFIG_ERR for a
 * radio ID above 1 or when no mode bit is set. */
APUTIL_API uint32_t radio_config_getMaxMode(uint32_t radioId);
/* Maximum fixed channel width code: capability 1 or 2 -> 2, 4 -> 4,
 * 8 -> 6, 16 -> 8 on a 5 GHz band, 4 otherwise. RADIO_CONFIG_ERR as
 * above. */
APUTIL_API uint32_t radio_config_getMaxChanWidth(uint32_t radioId);
/* The radio with exactly this band (radio 0 first); RADIO_CONFIG_ERR when
 * none has it or band is not 2, 5 or 52. */
APUTIL_API uint32_t radio_config_getRidWithBand(uint32_t band);

/* --- table-wide; on a failed load 0 without a message --- */
APUTIL_API uint32_t radio_config_getEIRP(void);
/* 1..512, or -1 when the file gives no limit. */
APUTIL_API int32_t radio_config_getMaxStaPerRadio(void);
/* Low 4 bits: number of 2.4 GHz radios; bits 4 and up: 5 GHz radios. */
APUTIL_API uint32_t radio_config_getRadioType(void);
APUTIL_API uint32_t radio_config_supp2G(void);
APUTIL_API uint32_t radio_config_supp5G(void);

/* --- table-wide; on a failed load "init error" and 0 --- */
APUTIL_API uint32_t radio_config_chanLimitSupp(void);
APUTIL_API uint32_t radio_config_ofdmaCfgSupp(void);
APUTIL_API uint32_t radio_config_fragThreshSupp(void);
APUTIL_API uint32_t radio_config_dfsImproveSupp(void);
APUTIL_API uint32_t radio_config_n1024QAMSupp(void);
APUTIL_API uint32_t radio_config_thermalCtlSupp(void);
APUTIL_API uint32_t radio_config_bbCCASupp(void);
APUTIL_API uint32_t radio_config_bbAGCSupp(void);
APUTIL_API uint32_t radio_config_bbPSDSupp(void);
APUTIL_API uint32_t radio_config_needOverWriteCtl(void);
APUTIL_API uint32_t radio_config_dfsSupp(void);
/* Region code; 841 (the default) also on a failed load. */
APUTIL_API uint32_t radio_config_getSpecRegionCode(void);
/* Mesh interface names (at most 15 characters); NULL on a failed load. */
APUTIL_API char *radio_config_getMeshBkhapIfname(void);
APUTIL_API char *radio_config_getMeshStaIfname(void);

/* Copy thermal level 0..3 (whatever thermalCtlSupp says).
 * Returns: 0, or RADIO_CONFIG_ERR on a failed load, a level above 3 or a
 * NULL output. */
APUTIL_API uint32_t radio_config_thermalLevelCfg(uint8_t level, uint8_t *low, uint8_t *high, uint8_t *dcoff);

/* Copy the first n baseband register values (at most 1, 2 and 3), whatever
 * the support flags say; n = 0 copies nothing.
 * Returns: 0, or RADIO_CONFIG_ERR on a failed load, n too large, or a NULL
 * out with n > 0. */
APUTIL_API uint32_t radio_config_bbCCARegVal(uint8_t n, uint32_t *out);
APUTIL_API uint32_t radio_config_bbAGCRegVal(uint8_t n, uint32_t *out);
APUTIL_API uint32_t radio_config_bbPSDRegVal(uint8_t n, uint32_t *out);

/* --- with the regulatory region --- */

/* One radio's capacity (radio_config_get_capacity fills two). */
typedef struct radio_capacity {
    uint32_t radioId;
    uint32_t minPower;
    uint32_t maxPower;
    uint32_t mimo;
    uint32_t ofdmaCfgSupp;
    uint32_t ofdmaEnable;
    uint32_t maxVapNum;
} radio_capacity_t;

/* Automatic width code for a radio: 3 on 2.4 GHz, 5 on 5 GHz (160 MHz is
 * never offered, so never 7); 0 for another band. width must be 4, 6 or 8
 * and only passes that check. Returns RADIO_CONFIG_ERR for a radio ID above
 * 1 or another width. */
APUTIL_API uint32_t radio_config_getMaxAutoChanWidth(uint32_t radioId, uint32_t width);

/* Fill caps[0] and caps[1] (power range from radio_region_getPowerRange).
 * Returns: 0, or RADIO_CONFIG_ERR on a failed load (caps untouched) or a
 * NULL caps. */
APUTIL_API uint32_t radio_config_get_capacity(radio_capacity_t *caps);

/* Print the table on stdout as it stands (never loads it). */
APUTIL_API void debug_show_radio_cfg(void);

#ifdef __cplusplus
}
#endif

#endif /* APUTIL_RADIO_CONFIG_H */
