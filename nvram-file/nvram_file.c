/*
 * nvram-file: the NVRAM library for host builds.
 *
 * Partition NAME is the file $APUTIL_SYSROOT/nvram/NAME; the region code
 * is the first two characters of $APUTIL_SYSROOT/nvram/region. A missing
 * file reads as a failed read (0 bytes) and an empty region. Names that
 * could leave the nvram folder ("/" or a leading ".") are refused the same
 * way.
 */
#define _GNU_SOURCE
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "nm_api.h"

static FILE *open_partition(const char *name)
{
    const char *root = secure_getenv("APUTIL_SYSROOT");
    char path[4096];
    int n;

    if (!name || !name[0] || name[0] == '.' || strchr(name, '/'))
        return NULL;
    n = snprintf(path, sizeof path, "%s/nvram/%s", root ? root : "", name);
    if (n < 0 || (size_t)n >= sizeof path)
        return NULL;
    return fopen(path, "rb");
}

int nm_api_init(void)
{
    return 0;
}

int nm_api_readPtnFromNvram(const char *name, char *buf, int size)
{
    FILE *f;
    size_t got;

    if (!buf || size < 1)
        return 0;
    f = open_partition(name);
    if (!f)
        return 0;
    got = fread(buf, 1, (size_t)size, f);
    fclose(f);
    return (int)got;
}

int nm_api_getRegionName(char *buf, int size)
{
    char code[2];
    FILE *f;
    size_t got = 0;
    int i;

    if (!buf || size < 1)
        return -1;
    buf[0] = '\0';
    f = open_partition("region");
    if (f) {
        got = fread(code, 1, sizeof code, f);
        fclose(f);
    }
    if (got < 2 || code[0] == '\n' || code[1] == '\n')
        return -1;
    for (i = 0; i < 2 && i < size - 1; i++)
        buf[i] = code[i];
    buf[i] = '\0';
    return 0;
}
