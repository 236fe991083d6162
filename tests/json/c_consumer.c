/* A plain C99 program using the JSON interface through the shared library:
 * the header compiles as C, the item layout agrees with the library's, and
 * the interface works end to end. */
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "cJSON.h"

static int failed;

#define CHECK(cond)                                                   \
    do {                                                              \
        if (!(cond)) {                                                \
            fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #cond); \
            failed++;                                                 \
        }                                                             \
    } while (0)

int main(void)
{
    cJSON *root, *ports;
    char *text;

    CHECK(offsetof(cJSON, type) == 3 * sizeof(void *));
    CHECK(offsetof(cJSON, string) + sizeof(char *) == sizeof(cJSON));
    CHECK(cJSON_False == 0 && cJSON_True == 1 && cJSON_Object == 6 && cJSON_IsReference == 256);

    root = cJSON_Parse("{\"LanPort\": {\"dlPortNum\": 2, \"ulPortIfName\": \"eth0\", \"poe\": true}}");
    CHECK(root != NULL);
    ports = cJSON_GetObjectItem(root, "lanport");
    CHECK(ports != NULL);
    CHECK(cJSON_GetObjectItem(ports, "DLPORTNUM")->valueint == 2);
    CHECK(cJSON_GetObjectItem(ports, "poe")->type < 2); /* boolean test of the loaders */
    CHECK(strcmp(cJSON_GetObjectItem(ports, "ulPortIfName")->valuestring, "eth0") == 0);

    cJSON_AddNumberToObject(ports, "extra", 3.5);
    text = cJSON_PrintUnformatted(root);
    CHECK(text && strcmp(text, "{\"LanPort\":{\"dlPortNum\":2,\"ulPortIfName\":\"eth0\",\"poe\":true,"
                               "\"extra\":3.500000}}") == 0);
    free(text);
    cJSON_Delete(root);

    printf("c consumer: %s\n", failed ? "FAILED" : "ok");
    return failed ? 1 : 0;
}
