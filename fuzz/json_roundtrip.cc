// cJSON_Parse -> print -> parse -> print -> parse -> print, balanced
// allocations. Numbers printed with "%e" or "%f" keep six digits, so the
// text is stable from the second print on (not always from the first).
#include <cstdlib>
#include <cstring>
#include <string>

#include "cJSON.h"

static long g_live;
static void *count_malloc(size_t n) {
  void *p = std::malloc(n);
  if (p) ++g_live;
  return p;
}
static void count_free(void *p) {
  if (p) --g_live;
  std::free(p);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static cJSON_Hooks hooks = {count_malloc, count_free};
  cJSON_InitHooks(&hooks);
  const std::string text(reinterpret_cast<const char *>(data), size);
  g_live = 0;
  if (cJSON *tree = cJSON_Parse(text.c_str())) {
    char *once = cJSON_PrintUnformatted(tree);
    char *formatted = cJSON_Print(tree);
    if (!once || !formatted) std::abort();
    cJSON *again = cJSON_Parse(formatted);
    if (!again) std::abort();
    char *twice = cJSON_PrintUnformatted(again);
    cJSON *third = twice ? cJSON_Parse(twice) : nullptr;
    char *thrice = third ? cJSON_PrintUnformatted(third) : nullptr;
    if (!thrice || std::strcmp(twice, thrice) != 0) std::abort();
    cJSON *copy = cJSON_Duplicate(again, 1);
    count_free(once);
    count_free(formatted);
    count_free(twice);
    count_free(thrice);
    cJSON_Delete(copy);
    cJSON_Delete(third);
    cJSON_Delete(again);
    cJSON_Delete(tree);
  }
  std::string minified = text;
  cJSON_Minify(minified.data());
  if (g_live != 0) std::abort();  // every allocation given back
  return 0;
}
