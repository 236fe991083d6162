// Allocation hooks and the item and string allocators built on them.
#include <cstdlib>
#include <cstring>

#include "json/cjson_internal.h"

namespace aputil::json {
namespace {
void *(*g_malloc)(size_t) = std::malloc;
void (*g_free)(void *) = std::free;
}  // namespace

void *hook_malloc(size_t size) { return g_malloc(size); }
void hook_free(void *ptr) { g_free(ptr); }

cJSON *new_item() {
  auto *item = static_cast<cJSON *>(g_malloc(sizeof(cJSON)));
  if (item) std::memset(item, 0, sizeof(cJSON));
  return item;
}

char *dup_bytes(const char *s, size_t len) {
  if (len == SIZE_MAX) return nullptr;
  auto *copy = static_cast<char *>(g_malloc(len + 1));
  if (!copy) return nullptr;
  std::memcpy(copy, s, len);
  copy[len] = '\0';
  return copy;
}

char *dup_string(const char *s) { return s ? dup_bytes(s, std::strlen(s)) : nullptr; }

}  // namespace aputil::json

using namespace aputil::json;

extern "C" APUTIL_API void cJSON_InitHooks(cJSON_Hooks *hooks) {
  g_malloc = (hooks && hooks->malloc_fn) ? hooks->malloc_fn : std::malloc;
  g_free = (hooks && hooks->free_fn) ? hooks->free_fn : std::free;
}
