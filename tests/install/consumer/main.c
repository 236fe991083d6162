/* Built against an installed aputil: the header is found as "cJSON.h". */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "cJSON.h"

int main(void) {
  cJSON *tree = cJSON_Parse("{\"Installed\": [1, 2]}");
  char *text = tree ? cJSON_PrintUnformatted(cJSON_GetObjectItem(tree, "installed")) : NULL;
  int ok = text && strcmp(text, "[1,2]") == 0;

  printf("installed consumer: %s\n", ok ? "ok" : "FAILED");
  free(text);
  cJSON_Delete(tree);
  return ok ? 0 : 1;
}
