/*
 * show-config ROOT: the device and radio configuration of the firmware tree
 * at ROOT as the library loads it: devcfg_testFunc's dump, the model's file
 * paths, the radio table's dump and each radio's derived values.
 * Exit status: 0 success, 1 a configuration does not load, 64 bad
 * arguments.
 */
#include <stdio.h>
#include <stdlib.h>

#include "devcfg.h"
#include "radio_config.h"

int main(int argc, char **argv)
{
    char path[128];
    uint32_t rid;

    if (argc != 2 || argv[1][0] == '-') {
        fprintf(stderr, "usage: show-config ROOT\n");
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
    return 0;
}
