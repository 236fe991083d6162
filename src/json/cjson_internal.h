// Internal helpers shared by the JSON sources.
#pragma once

#include <climits>
#include <cstddef>

#include "cJSON.h"

namespace aputil::json {

// The allocation hooks in force (malloc/free by default).
void *hook_malloc(size_t size);
void hook_free(void *ptr);

// A zeroed item from the malloc hook, or nullptr.
cJSON *new_item();
// A copy of the first len bytes of s, NUL-terminated, or nullptr.
char *dup_bytes(const char *s, size_t len);
// A copy of s, or nullptr (also for s == nullptr).
char *dup_string(const char *s);

// Truncate toward zero, saturating at the int range; NaN gives 0.
inline int to_int(double d) {
  if (d != d) return 0;
  if (d >= static_cast<double>(INT_MAX)) return INT_MAX;
  if (d <= static_cast<double>(INT_MIN)) return INT_MIN;
  return static_cast<int>(d);
}

// ASCII case-insensitive equality; nullptr equals only nullptr.
bool equal_nocase(const char *a, const char *b);

// Where the last cJSON_Parse stopped.
void set_error_ptr(const char *p);

// Link item after prev, or as array's first child when prev is nullptr.
inline void link_after(cJSON *array, cJSON *prev, cJSON *item) {
  if (prev) {
    prev->next = item;
    item->prev = prev;
  } else {
    array->child = item;
  }
}

}  // namespace aputil::json
