/* Prints the same pseudo-random JSON trees, formatted and unformatted,
 * through whichever cJSON it is linked with. Built twice (against
 * libaputil and against the system's cJSON), the two outputs must be equal
 * byte for byte. The trees hold only what both printers render alike:
 * non-empty arrays and objects, whole numbers, strings with every escape,
 * and the three literals. */
#include <stdio.h>
#include <stdlib.h>

#ifdef PRINT_ORACLE_SYSTEM
#include <cjson/cJSON.h>
#else
#include "cJSON.h"
#endif

static unsigned long long state = 0x9E3779B97F4A7C15ull;

static unsigned next(unsigned bound)
{
    state = state * 6364136223846793005ull + 1442695040888963407ull;
    return (unsigned)(state >> 33) % bound;
}

static cJSON *leaf(void)
{
    static const char *const texts[] = {"", "eth0", "quote \" and \\ back", "tab\there\nline",
                                        "\b\f\r", "ctl \001\037", "caf\xc3\xa9", "/slash/"};
    switch (next(6)) {
    case 0: return cJSON_CreateNumber((double)((int)next(2000001) - 1000000));
    case 1: return cJSON_CreateString(texts[next(8)]);
    case 2: return cJSON_CreateTrue();
    case 3: return cJSON_CreateFalse();
    case 4: return cJSON_CreateNull();
    default: return cJSON_CreateNumber((double)next(100));
    }
}

static cJSON *tree(int depth)
{
    cJSON *c;
    unsigned i, n;
    char name[16];
    int kind = depth >= 5 ? 2 : (int)next(3);
    if (kind == 2) return leaf();
    c = kind == 0 ? cJSON_CreateArray() : cJSON_CreateObject();
    n = 1 + next(4);
    for (i = 0; i < n; i++) {
        if (kind == 0) {
            cJSON_AddItemToArray(c, tree(depth + 1));
        } else {
            snprintf(name, sizeof name, "k%u\t%u", i, next(50));
            cJSON_AddItemToObject(c, name, tree(depth + 1));
        }
    }
    return c;
}

int main(void)
{
    int i;
    for (i = 0; i < 400; i++) {
        cJSON *root = tree(0);
        char *pretty = cJSON_Print(root), *flat = cJSON_PrintUnformatted(root);
        if (!pretty || !flat) return 1;
        printf("%s\n--\n%s\n==\n", pretty, flat);
        free(pretty);
        free(flat);
        cJSON_Delete(root);
    }
    return 0;
}
