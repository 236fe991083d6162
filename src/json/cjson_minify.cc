// cJSON_Minify: strip blanks and comments outside strings, in place.
#include "json/cjson_internal.h"

extern "C" APUTIL_API void cJSON_Minify(char *json) {
  if (!json) return;
  char *into = json;
  while (*json) {
    const char c = *json;
    if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
      ++json;
    } else if (c == '/' && json[1] == '/') {
      while (*json && *json != '\n') ++json;
    } else if (c == '/' && json[1] == '*') {
      ++json;  // the closing "*/" may use the opening '*': "/*/" is a whole comment
      while (*json && !(json[0] == '*' && json[1] == '/')) ++json;
      if (*json) json += 2;  // an unterminated comment runs to the end
    } else if (c == '"') {
      *into++ = *json++;
      while (*json && *json != '"') {
        if (*json == '\\' && json[1]) *into++ = *json++;
        *into++ = *json++;
      }
      if (*json) *into++ = *json++;
    } else {
      *into++ = *json++;
    }
  }
  *into = '\0';
}
