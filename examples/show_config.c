/*
 * show-config ROOT: print the product identity and the model's
 * dev_config.json of the firmware tree at ROOT, parsed with cJSON_Parse and
 * printed with cJSON_Print. Exit status: 0 success, 1 unreadable identity or
 * file, 2 parse error, 64 bad arguments.
 */
#define _GNU_SOURCE
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "cJSON.h"
#include "nm_api.h"

static char *read_file(const char *path)
{
    FILE *f = fopen(path, "rb");
    char *text = NULL;
    long size;

    if (!f)
        return NULL;
    if (fseek(f, 0, SEEK_END) == 0 && (size = ftell(f)) >= 0 && fseek(f, 0, SEEK_SET) == 0 &&
        (text = malloc((size_t)size + 1)) != NULL) {
        size_t got = fread(text, 1, (size_t)size, f);
        text[got] = '\0';
    }
    fclose(f);
    return text;
}

int main(int argc, char **argv)
{
    char info[512] = {0}, name[32] = {0}, qualifier[32] = {0}, version[16] = {0}, region[3] = {0};
    char path[4096];
    char *text, *printed, *p;
    cJSON *tree;

    if (argc != 2 || argv[1][0] == '-') {
        fprintf(stderr, "usage: show-config ROOT\n");
        return 64;
    }
    setenv("APUTIL_SYSROOT", argv[1], 1);
    nm_api_init();
    if (nm_api_readPtnFromNvram("product-info", info, sizeof info - 1) < 1 ||
        sscanf(info, "%31[^(](%31[^)]):%15s", name, qualifier, version) != 3) {
        fprintf(stderr, "show-config: no product identity in %s/nvram/product-info\n", argv[1]);
        return 1;
    }
    for (p = name; *p; p++)
        if (*p == ' ')
            *p = '_';
    nm_api_getRegionName(region, sizeof region);
    printf("product: %s (%s) version %s, region %s\n", name, qualifier, version, region[0] ? region : "-");

    snprintf(path, sizeof path, "%s/etc/%s_%s/dev_config.json", argv[1], name, version);
    text = read_file(path);
    if (!text) {
        fprintf(stderr, "show-config: cannot read %s\n", path);
        return 1;
    }
    tree = cJSON_Parse(text);
    if (!tree) {
        fprintf(stderr, "show-config: %s: parse error at byte %ld\n", path, (long)(cJSON_GetErrorPtr() - text));
        free(text);
        return 2;
    }
    printed = cJSON_Print(tree);
    printf("/etc/%s_%s/dev_config.json:\n%s\n", name, version, printed ? printed : "(out of memory)");
    free(printed);
    cJSON_Delete(tree);
    free(text);
    return 0;
}
