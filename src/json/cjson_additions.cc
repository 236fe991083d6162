// The library's additions to the early JSON interface.
#include <cstring>

#include "json/cjson_internal.h"

using namespace aputil::json;

extern "C" {

// An empty entry point, kept on purpose.
APUTIL_API cJSON *cJSON_UpdateBoolVal(cJSON *, int) { return nullptr; }

APUTIL_API cJSON *cJSON_UpdateNumberVal(cJSON *item, double value) {
  if (!item || item->type != cJSON_Number) return nullptr;
  const int as_int = to_int(value);
  if (item->valuedouble != value || item->valueint != as_int) {
    item->valuedouble = value;
    item->valueint = as_int;
  }
  return item;
}

APUTIL_API cJSON *cJSON_UpdateStringVal(cJSON *item, const char *value) {
  if (!item || item->type != cJSON_String || !value) return nullptr;
  if (item->valuestring && std::strcmp(item->valuestring, value) == 0) return item;
  if (item->valuestring) hook_free(item->valuestring);
  item->valuestring = dup_string(value);
  return item;
}

}  // extern "C"
