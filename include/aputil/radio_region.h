/*
 * radio_region.h - the regulatory channel tables of the current region.
 *
 * radio_region_init(code) builds, for each radio, the list of channels that
 * region code allows, from the model's ath/REG_DOMAIN2 (2.4 GHz) or
 * ath/REG_DOMAIN5 (5 GHz; bands 5 and 52) file. Every call rebuilds both
 * tables, so calling it again switches regions. The queries below never
 * load anything: before the first radio_region_init they see empty tables.
 *
 * REG_DOMAIN files are blank-separated tokens:
 *   NAME:CODE           a region header (CODE as atoi reads it);
 *   F,COMMON,EXT,POWER  a channel: MHz (decimal), commonFlag and extFlag
 *                       (hexadecimal), maximum power (decimal);
 *   empty...            ends the block (a block starting with it is empty).
 * A block runs from its header to the next header, "empty" or the end of
 * the file. A block of more than RADIO_REGION_MAX_CHAN channels, or a token
 * longer than 49 characters, is refused as an invalid file format.
 *
 * Conventions:
 *   - rid is the radio ID, 0 or 1; a channel index counts from 1 (index k is
 *     chanRec[k-1]) and 0 means no channel.
 *   - Errors print "<error>func():%4d  @ ..." on stderr; results documented
 *     as -1 are RADIO_REGION_ERR (all bits set).
 */
#ifndef APUTIL_RADIO_REGION_H
#define APUTIL_RADIO_REGION_H

#include <stdint.h>

#include "aputil_export.h"

#ifdef __cplusplus
extern "C" {
#endif

#define RADIO_REGION_MAX_CHAN 66
#define RADIO_REGION_ERR 0xFFFFFFFFu

/* commonFlag bits. */
#define REGION_FLAG_5G 0x100u          /* 5 GHz channel */
#define REGION_FLAG_HT20 0x10000u      /* usable at 20 MHz HT (width code 2) */
#define REGION_FLAG_HT40_A 0x20000u    /* either HT40 bit: usable at 40 MHz */
#define REGION_FLAG_HT40_B 0x40000u
#define REGION_FLAG_VHT80 0x800000u    /* 80 MHz, together with REGION_FLAG_5G */

/* extFlag bits. */
#define REGION_EXT_DFS 0x2u            /* radar detection required */
#define REGION_EXT_DFS_ENABLED 0x1000u /* DFS channel enabled in this region */
#define REGION_EXT_DFS_CLASS1 0x100u   /* reported as DFS capability bit 0 */
#define REGION_EXT_DFS_CLASS2 0x200u   /* bit 1 */
#define REGION_EXT_WRADAR 0x400u       /* weather radar, bit 2 */

/* One channel of a region. */
typedef struct radio_chan_rec {
    int32_t freq;        /* centre frequency, MHz */
    uint32_t chan;       /* IEEE channel number */
    uint32_t commonFlag;
    uint32_t extFlag;
    int32_t maxPower;
} radio_chan_rec_t;

/* A radio's table, as radio_region_getRegionFlags copies it out. */
typedef struct radio_region_tbl {
    uint16_t regionCode;
    uint16_t chanNum;    /* records 1..chanNum are valid */
    radio_chan_rec_t chanRec[RADIO_REGION_MAX_CHAN];
} radio_region_tbl_t;

/* Channel list: kind 1 asks for frequencies, any other kind for channel
 * numbers. */
typedef struct radio_chan_list {
    uint8_t kind;
    uint16_t count;
    uint16_t entries[RADIO_REGION_MAX_CHAN];
} radio_chan_list_t;

/* Frequencies to block. */
typedef struct radio_block_list {
    uint16_t count;
    uint16_t freq[RADIO_REGION_MAX_CHAN];
} radio_block_list_t;

/* --- loading --- */
/* Build both radios' tables for regionCode. A region missing from radio 0's
 * file fails; missing from radio 1's file gives radio 1 no channels.
 * Returns: 0, or -1 after an error line. */
APUTIL_API int radio_region_init(int regionCode);
APUTIL_API int radio_region_reinit(uint32_t regionCode);

/* --- channels, frequencies, power (0 when nothing is found) --- */
APUTIL_API uint32_t radio_region_chanIndex2Freq(uint32_t rid, uint32_t chanIndex);
APUTIL_API uint32_t radio_region_chanIndex2Num(uint32_t rid, uint32_t chanIndex);
/* First index whose channel number (frequency) matches. */
APUTIL_API uint32_t radio_region_chanNum2Index(uint32_t rid, uint32_t chanNum);
APUTIL_API uint32_t radio_region_Freq2Index(uint32_t rid, uint32_t freq);
/* Highest maximum power over the usable channels (a DFS channel without
 * REGION_EXT_DFS_ENABLED is not usable). */
APUTIL_API uint32_t radio_region_getMaxPowerByRadio(uint32_t rid);
/* chanIndex 1..chanNum: that channel's maximum power. chanIndex 0: the
 * highest over the usable channels whose frequency is not in exclude
 * ({count, freq, freq, ...}; NULL excludes nothing). */
APUTIL_API uint32_t radio_region_getMaxPowerByChan(uint32_t rid, uint32_t chanIndex, const uint16_t *exclude);
/* Maximum: radio_region_getMaxPowerByRadio. Minimum: mimo gain + 1, plus
 * the antenna gain when EIRP is on and the region is 36, 818, 276 or 392.
 * Returns: 0, or RADIO_REGION_ERR (no message) for a NULL output or bad rid. */
APUTIL_API uint32_t radio_region_getPowerRange(uint32_t rid, uint32_t *minPower, uint32_t *maxPower);

/* --- flags and capabilities --- */
/* chanIndex when it is 0..chanNum, else 0. */
APUTIL_API uint32_t radio_region_checkChannel(uint32_t rid, uint32_t chanIndex);
APUTIL_API uint32_t radio_region_getChanCommonFlag(uint32_t rid, uint32_t chanIndex);
/* Copy the radio's whole table. Returns: 0 or RADIO_REGION_ERR. */
APUTIL_API uint32_t radio_region_getRegionFlags(uint32_t rid, radio_region_tbl_t *out);
APUTIL_API uint32_t radio_region_isHT40Supp(uint32_t rid);
APUTIL_API uint32_t radio_region_isVHT80Supp(uint32_t rid);
/* Always 0: 160 MHz is never offered. */
APUTIL_API uint32_t radio_region_isVHT160Supp(uint32_t rid);
APUTIL_API uint32_t radio_region_is5GSupp(void);
/* 1 when dfsCfgSupp is on and a 5 GHz radio has an active DFS channel
 * (extFlag has both 0x2 and 0x1000). */
APUTIL_API uint32_t radio_region_isDfsSupp(void);
/* 1 when a 5 GHz radio has an active DFS channel with weather radar
 * (whatever dfsCfgSupp says). */
APUTIL_API uint32_t radio_region_isWradarSupp(void);
/* Bits 0, 1, 2 for DFS class 1, class 2 and weather radar over the active
 * DFS channels of the 5 GHz radios; 0 when dfsCfgSupp is off. */
APUTIL_API uint8_t radio_region_getDFSCap(void);
/* 1 when the channel can be used at width code width. */
APUTIL_API uint32_t radio_region_checkChannelValid(int width, const radio_chan_rec_t *rec);
/* 1 when one of the frequencies is a non-DFS channel valid at width (or
 * when count is not 1..66); 0 when none is, or when the question does not
 * apply (not a 5 GHz radio, DFS not supported, NULL freqs). */
APUTIL_API uint32_t radio_region_checkIsSuppNonDfsChan(uint32_t rid, uint32_t count, const uint32_t *freqs, int width);
/* Entry i is channel i's frequency or number, 0 for an unusable channel;
 * count is chanNum. Returns: 0 or RADIO_REGION_ERR. */
APUTIL_API uint32_t radio_region_getChanList(uint32_t rid, radio_chan_list_t *list);
/* The radio's frequencies that are not among the first n of supp.
 * Returns: 0 or RADIO_REGION_ERR (bad arguments, n not 1..chanNum). */
APUTIL_API uint32_t radio_region_getBlockFreqList(uint32_t rid, uint32_t n, const uint32_t *supp,
                                                 radio_block_list_t *out);
/* Switches of the radio configuration: the first reads the table as it
 * stands, the other two load it ("init error" and 0 on failure). */
APUTIL_API uint32_t radio_region_isDfsUSSupp(void);
APUTIL_API uint32_t radio_region_noAutoWradarSupp(void);
APUTIL_API uint32_t radio_region_zeroWaitDfsSupp(void);

/* Print both tables on stdout. */
APUTIL_API void debug_regionShowFlag(void);

#ifdef __cplusplus
}
#endif

#endif /* APUTIL_RADIO_REGION_H */
