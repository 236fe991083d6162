/*
 * show-config ROOT: the device configuration of the firmware tree at ROOT
 * as the library loads it: devcfg_testFunc's dump, then the model's file
 * paths. Exit status: 0 success, 1 the configuration does not load, 64 bad
 * arguments.
 */
#include <stdio.h>
#include <stdlib.h>

#include "devcfg.h"

int main(int argc, char **argv)
{
    char path[128];

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
    return 0;
}
