/*
 * show-config ROOT [CODE]: the device and radio configuration of the firmware tree
 * at ROOT as the library loads it: devcfg_testFunc's dump, the model's file
 * paths, the radio table's dump and each radio's derived values, then the
 * regulatory tables of the configuration's region code (or of CODE) with
 * what they allow.
 * Exit status: 0 success, 1 a configuration does not load, 64 bad
 * arguments.
 */
#include <stdio.h>
#include <stdlib.h>

#include "devcfg.h"
#include "radio_config.h"
#include "radio_region.h"

int main(int argc, char **argv)
{
    char path[128];
    uint32_t rid, code, lo, hi;
    radio_capacity_t caps[MAX_RADIO_NUM];

    if (argc < 2 || argc > 3 || argv[1][0] == '-') {
        fprintf(stderr, "usage: show-config ROOT [REGION-CODE]\n");
        return 64;
    }
    setenv("APUTIL_SYSROOT", argv[1], 1);
    if (devcfg_testFunc() < 0) {
        fprintf(stderr, "show-config: the device configuration under %s does not load\n", argv[1]);
        return 1;
    }
    devcfg_getRadioCfgPath(path, sizeof path);
    printf("RADIO_CFG_PATH = %s\n", path);
    devcfg_getRegDoamin2GPath(path, sizeof path);
    printf("REG_DOMAIN2_PATH = %s\n", path);
    devcfg_getRegDoamin5GPath(path, sizeof path);
    printf("REG_DOMAIN5_PATH = %s\n", path);
    devcfg_getAppCfgPath(path, sizeof path);
    printf("APP_CFG_PATH = %s\n", path);

    /* The first radio accessor loads the table, which prints its dump. */
    if (radio_config_getRadioType() == 0) {
        fprintf(stderr, "show-config: the radio configuration under %s does not load\n", argv[1]);
        return 1;
    }
    for (rid = 0; rid < MAX_RADIO_NUM; rid++)
        printf("radio %u: band %u, %s, max mode %u, max width code %u, mimo gain %u, max VAPs %u\n", rid,
               radio_config_getBand(rid), radio_config_getIfname(rid), radio_config_getMaxMode(rid),
               radio_config_getMaxChanWidth(rid), radio_config_getMimoGain(rid), radio_config_getMaxVapNum(rid));

    code = argc == 3 ? (uint32_t)strtoul(argv[2], NULL, 10) : radio_config_getSpecRegionCode();
    if (radio_region_init((int)code) != 0) {
        fprintf(stderr, "show-config: no regulatory tables for region %u\n", code);
        return 1;
    }
    debug_regionShowFlag();
    for (rid = 0; rid < MAX_RADIO_NUM; rid++) {
        radio_region_getPowerRange(rid, &lo, &hi);
        printf("radio %u in region %u: power %u..%u, HT40 %u, VHT80 %u, auto width code %u\n", rid, code, lo, hi,
               radio_region_isHT40Supp(rid), radio_region_isVHT80Supp(rid),
               radio_config_getMaxAutoChanWidth(rid, radio_config_getMaxChanWidth(rid)));
    }
    printf("5 GHz %u, DFS %u, weather radar %u, DFS capability %#x\n", radio_region_is5GSupp(),
           radio_region_isDfsSupp(), radio_region_isWradarSupp(), radio_region_getDFSCap());
    if (radio_config_get_capacity(caps) == 0)
        for (rid = 0; rid < MAX_RADIO_NUM; rid++)
            printf("capacity %u: power %u..%u, mimo %u, ofdma %u/%u, max VAPs %u\n", caps[rid].radioId,
                   caps[rid].minPower, caps[rid].maxPower, caps[rid].mimo, caps[rid].ofdmaCfgSupp,
                   caps[rid].ofdmaEnable, caps[rid].maxVapNum);
    return 0;
}
