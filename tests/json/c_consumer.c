// A plain C99 program built against every public header at once (-std=c99
// -pedantic, warnings as errors): the headers compile together as C, the C
// view of the records agrees with the library's (LP64), and the JSON
// interface works end to end through the shared library.
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "base64.h"
#include "ble.h"
#include "cJSON.h"
#include "crypto.h"
#include "devcfg.h"
#include "evloop.h"
#include "hash.h"
#include "mem_pool.h"
#include "radio_config.h"
#include "radio_region.h"
#include "util.h"
#include "util_dbg.h"

static int failed;
#define CHECK(cond) ((cond) ? (void)0 : (void)(failed++, fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #cond)))

int main(void) {
  cJSON *root = cJSON_Parse("{\"LanPort\": {\"dlPortNum\": 2, \"poe\": true}}");
  cJSON *lan = cJSON_GetObjectItem(root, "lanport");
  char *text = cJSON_PrintUnformatted(root);

  CHECK(offsetof(cJSON, type) == 24 && offsetof(cJSON, valuedouble) == 48 && offsetof(cJSON, string) == 56);
  CHECK(sizeof(cJSON) == 64 && cJSON_False == 0 && cJSON_True == 1 && cJSON_Object == 6 && cJSON_IsReference == 256);
  CHECK(sizeof(mem_pool_t) == 72 && offsetof(mem_pool_t, blocks) == 64);
  CHECK(sizeof(hash_table_t) == 48 && offsetof(hash_table_t, slots) == 40);
  CHECK(sizeof(evloop_timer_t) == 48 && offsetof(evloop_timer_t, sec) == 32);
  CHECK(sizeof(radio_region_tbl_t) == 1324 && sizeof(kx_MD5_CTX) == 104);
  CHECK(lan && cJSON_GetObjectItem(lan, "DLPORTNUM")->valueint == 2 && cJSON_GetObjectItem(lan, "poe")->type < 2);
  CHECK(text && strcmp(text, "{\"LanPort\":{\"dlPortNum\":2,\"poe\":true}}") == 0);
  free(text);
  cJSON_Delete(root);
  printf("c consumer: %s\n", failed ? "FAILED" : "ok");
  return failed ? 1 : 0;
}
