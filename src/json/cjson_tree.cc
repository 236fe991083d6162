// Tree building, lookup and editing of the JSON interface.
#include <cstddef>
#include <cstring>

#include "json/cjson_internal.h"

namespace aputil::json {
namespace {
const char *g_error_ptr = nullptr;

char fold(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

// Item `which` of an array; a negative index counts as 0, as it always has
// for callers of this interface.
cJSON *item_at(cJSON *array, int which) {
  if (!array) return nullptr;
  cJSON *c = array->child;
  while (c && which > 0) {
    c = c->next;
    --which;
  }
  return c;
}

// The first member named string (ASCII case folding), or nullptr.
cJSON *member(cJSON *object, const char *string) {
  if (!object || !string) return nullptr;
  for (cJSON *c = object->child; c; c = c->next)
    if (equal_nocase(c->string, string)) return c;
  return nullptr;
}

// Unlink c from its container; returns c.
cJSON *detach(cJSON *container, cJSON *c) {
  if (!c) return nullptr;
  if (c->prev) c->prev->next = c->next;
  if (c->next) c->next->prev = c->prev;
  if (c == container->child) container->child = c->next;
  c->prev = c->next = nullptr;
  return c;
}

// Put newitem in c's place and delete c.
void replace(cJSON *container, cJSON *c, cJSON *newitem) {
  newitem->next = c->next;
  newitem->prev = c->prev;
  if (newitem->next) newitem->next->prev = newitem;
  if (c == container->child)
    container->child = newitem;
  else
    newitem->prev->next = newitem;
  c->next = c->prev = nullptr;
  cJSON_Delete(c);
}

cJSON *new_typed(int type) {
  cJSON *item = new_item();
  if (item) item->type = type;
  return item;
}

void append(cJSON *array, cJSON *item) {
  cJSON *last = array->child;
  while (last && last->next) last = last->next;
  link_after(array, last, item);
}

// Shared body of the array constructors: make(i) creates element i.
template <typename Make>
cJSON *build_array(const void *elements, int count, Make make) {
  if (!elements && count > 0) return nullptr;
  cJSON *array = new_typed(cJSON_Array);
  cJSON *prev = nullptr;
  for (int i = 0; array && i < count; ++i) {
    cJSON *n = make(i);
    if (!n) continue;  // not reported, as in the early interface
    link_after(array, prev, n);
    prev = n;
  }
  return array;
}
}  // namespace

bool equal_nocase(const char *a, const char *b) {
  if (!a || !b) return a == b;
  for (; *a && fold(*a) == fold(*b); ++a, ++b) {
  }
  return fold(*a) == fold(*b);
}

void set_error_ptr(const char *p) { g_error_ptr = p; }

}  // namespace aputil::json

using namespace aputil::json;

extern "C" {

APUTIL_API void cJSON_Delete(cJSON *c) {
  while (c) {
    cJSON *next = c->next;
    __builtin_prefetch(next);  // its line arrives while this item's blocks are freed
    if (!(c->type & cJSON_IsReference)) {
      if (c->child) cJSON_Delete(c->child);
      if (c->valuestring) hook_free(c->valuestring);
    }
    if (c->string) hook_free(c->string);
    hook_free(c);
    c = next;
  }
}

APUTIL_API int cJSON_GetArraySize(cJSON *array) {
  int n = 0;
  for (cJSON *c = array ? array->child : nullptr; c; c = c->next) ++n;
  return n;
}

APUTIL_API cJSON *cJSON_GetArrayItem(cJSON *array, int item) { return item_at(array, item); }

APUTIL_API cJSON *cJSON_GetObjectItem(cJSON *object, const char *string) { return member(object, string); }

APUTIL_API const char *cJSON_GetErrorPtr(void) { return g_error_ptr; }

APUTIL_API cJSON *cJSON_CreateNull(void) { return new_typed(cJSON_NULL); }
APUTIL_API cJSON *cJSON_CreateTrue(void) { return new_typed(cJSON_True); }
APUTIL_API cJSON *cJSON_CreateFalse(void) { return new_typed(cJSON_False); }
APUTIL_API cJSON *cJSON_CreateBool(int b) { return new_typed(b ? cJSON_True : cJSON_False); }
APUTIL_API cJSON *cJSON_CreateArray(void) { return new_typed(cJSON_Array); }
APUTIL_API cJSON *cJSON_CreateObject(void) { return new_typed(cJSON_Object); }

APUTIL_API cJSON *cJSON_CreateNumber(double num) {
  cJSON *item = new_typed(cJSON_Number);
  if (item) {
    item->valuedouble = num;
    item->valueint = to_int(num);
  }
  return item;
}

APUTIL_API cJSON *cJSON_CreateString(const char *string) {
  if (!string) return nullptr;
  cJSON *item = new_typed(cJSON_String);
  if (!item) return nullptr;
  item->valuestring = dup_string(string);
  if (!item->valuestring) {
    hook_free(item);
    return nullptr;
  }
  return item;
}

APUTIL_API cJSON *cJSON_CreateIntArray(const int *numbers, int count) {
  return build_array(numbers, count, [&](int i) { return cJSON_CreateNumber(numbers[i]); });
}

APUTIL_API cJSON *cJSON_CreateFloatArray(const float *numbers, int count) {
  return build_array(numbers, count, [&](int i) { return cJSON_CreateNumber(numbers[i]); });
}

APUTIL_API cJSON *cJSON_CreateDoubleArray(const double *numbers, int count) {
  return build_array(numbers, count, [&](int i) { return cJSON_CreateNumber(numbers[i]); });
}

APUTIL_API cJSON *cJSON_CreateStringArray(const char **strings, int count) {
  return build_array(strings, count, [&](int i) { return cJSON_CreateString(strings[i]); });
}

APUTIL_API cJSON *cJSON_CreateInt8Array(const int8_t *numbers, int count) {
  return build_array(numbers, count, [&](int i) { return cJSON_CreateNumber(numbers[i]); });
}

APUTIL_API cJSON *cJSON_CreateInt64Array(const int64_t *numbers, int count) {
  return build_array(numbers, count, [&](int i) {
    return cJSON_CreateNumber(static_cast<double>(static_cast<uint64_t>(numbers[i])));
  });
}

APUTIL_API void cJSON_AddItemToArray(cJSON *array, cJSON *item) {
  if (array && item) append(array, item);
}

APUTIL_API void cJSON_AddItemToObject(cJSON *object, const char *string, cJSON *item) {
  if (!object || !item) return;
  char *name = dup_string(string);
  if (!name) return;
  if (item->string) hook_free(item->string);
  item->string = name;
  append(object, item);
}

static cJSON *create_reference(cJSON *item) {
  if (!item) return nullptr;
  cJSON *ref = new_item();
  if (!ref) return nullptr;
  std::memcpy(ref, item, sizeof(cJSON));
  ref->string = nullptr;
  ref->type |= cJSON_IsReference;
  ref->next = ref->prev = nullptr;
  return ref;
}

APUTIL_API void cJSON_AddItemReferenceToArray(cJSON *array, cJSON *item) {
  if (array) cJSON_AddItemToArray(array, create_reference(item));
}

APUTIL_API void cJSON_AddItemReferenceToObject(cJSON *object, const char *string, cJSON *item) {
  if (!object || !string) return;
  cJSON *ref = create_reference(item);
  cJSON_AddItemToObject(object, string, ref);
  if (ref && !ref->string) hook_free(ref);  // the name copy failed
}

APUTIL_API cJSON *cJSON_DetachItemFromArray(cJSON *array, int which) { return detach(array, item_at(array, which)); }

APUTIL_API void cJSON_DeleteItemFromArray(cJSON *array, int which) {
  cJSON_Delete(cJSON_DetachItemFromArray(array, which));
}

APUTIL_API cJSON *cJSON_DetachItemFromObject(cJSON *object, const char *string) {
  return detach(object, member(object, string));
}

APUTIL_API void cJSON_DeleteItemFromObject(cJSON *object, const char *string) {
  cJSON_Delete(cJSON_DetachItemFromObject(object, string));
}

APUTIL_API void cJSON_ReplaceItemInArray(cJSON *array, int which, cJSON *newitem) {
  cJSON *c = item_at(array, which);
  if (c && newitem) replace(array, c, newitem);
}

APUTIL_API void cJSON_ReplaceItemInObject(cJSON *object, const char *string, cJSON *newitem) {
  cJSON *c = member(object, string);
  if (!c || !newitem) return;
  char *name = dup_string(string);
  if (!name) return;
  if (newitem->string) hook_free(newitem->string);
  newitem->string = name;
  replace(object, c, newitem);
}

APUTIL_API cJSON *cJSON_Duplicate(cJSON *item, int recurse) {
  if (!item) return nullptr;
  cJSON *copy = new_item();
  if (!copy) return nullptr;
  copy->type = item->type & ~cJSON_IsReference;
  copy->valueint = item->valueint;
  copy->valuedouble = item->valuedouble;
  if ((item->valuestring && !(copy->valuestring = dup_string(item->valuestring))) ||
      (item->string && !(copy->string = dup_string(item->string)))) {
    cJSON_Delete(copy);
    return nullptr;
  }
  if (!recurse) return copy;
  cJSON *prev = nullptr;
  for (cJSON *c = item->child; c; c = c->next) {
    cJSON *n = cJSON_Duplicate(c, 1);
    if (!n) {
      cJSON_Delete(copy);
      return nullptr;
    }
    link_after(copy, prev, n);
    prev = n;
  }
  return copy;
}

}  // extern "C"
