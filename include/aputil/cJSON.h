/*
 * cJSON.h - the JSON tree interface exported by libaputil.
 *
 * This is the early cJSON interface: numeric type codes 0..6, the
 * reference flag 256, case-insensitive member lookup, allocation hooks
 * without realloc, plus five additions (cJSON_Update*Val,
 * cJSON_CreateInt8Array, cJSON_CreateInt64Array). libaputil is the
 * process's provider of these names; do not link another cJSON beside it.
 *
 * Conventions:
 *   - Items returned by cJSON_Parse, cJSON_Create* and cJSON_Duplicate
 *     belong to the caller until they are added to another item; release
 *     a tree with cJSON_Delete on its root. Strings returned by cJSON_Print
 *     and cJSON_PrintUnformatted belong to the caller and are released with
 *     the free hook (free() unless cJSON_InitHooks set another).
 *   - Every item, string and printed text is allocated and released
 *     through the hooks (parsing's scratch space is on the stack, or in
 *     pages of its own for long texts). A failed
 *     allocation gives NULL and leaks nothing (see the array constructors
 *     for their one documented difference).
 *   - NULL arguments are accepted everywhere: functions then do nothing and
 *     answer NULL, 0 or nothing.
 *   - Where the library sets a number, valueint is valuedouble truncated
 *     toward zero and saturated to the int range (NaN gives 0), as the
 *     device's processor converts.
 *   - Array indexes count from 0; a negative index counts as 0 (the first
 *     item) in cJSON_GetArrayItem, cJSON_DetachItemFromArray,
 *     cJSON_DeleteItemFromArray and cJSON_ReplaceItemInArray.
 */
#ifndef APUTIL_CJSON_H
#define APUTIL_CJSON_H

#include <stddef.h>
#include <stdint.h>

#include "aputil_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Type codes. Booleans are 0 and 1, so "type < 2" tests for a boolean. */
#define cJSON_False 0
#define cJSON_True 1
#define cJSON_NULL 2
#define cJSON_Number 3
#define cJSON_String 4
#define cJSON_Array 5
#define cJSON_Object 6

/* Added to type on items that borrow another item's child and valuestring. */
#define cJSON_IsReference 256

/* Parsing refuses nesting of arrays and objects deeper than this. */
#define CJSON_NESTING_LIMIT 1000

typedef struct cJSON {
    struct cJSON *next, *prev; /* siblings in an array or object */
    struct cJSON *child;       /* first item of an array or object */

    int type;                  /* type code, possibly + cJSON_IsReference */

    char *valuestring;         /* text of a string item */
    int valueint;              /* number as int; 1 for a parsed true */
    double valuedouble;        /* number as double */

    char *string;              /* member name inside an object */
} cJSON;

typedef struct cJSON_Hooks {
    void *(*malloc_fn)(size_t sz);
    void (*free_fn)(void *ptr);
} cJSON_Hooks;

/* Set the allocation hooks; NULL (or a NULL member) restores malloc/free.
 * Change hooks only while no item or printed text allocated with the old
 * ones is still alive. */
APUTIL_API void cJSON_InitHooks(cJSON_Hooks *hooks);

/* Parse the first JSON value of value. Text after a complete value is
 * ignored, as the early interface did (the configuration loaders rely on
 * it: they reuse a fixed buffer whose tail may hold older text). Leading
 * blanks are skipped; an embedded NUL ends the text.
 * Returns: the new tree, or NULL when the text does not start with a
 * complete value (or nests deeper than CJSON_NESTING_LIMIT, or memory ran
 * out). On NULL, cJSON_GetErrorPtr() points into value where parsing
 * stopped. */
APUTIL_API cJSON *cJSON_Parse(const char *value);

/* Render a tree. Formatted text puts each object member on its own line,
 * indented with tabs, as "name":<TAB>value; an object's members sit one
 * tab deeper than the object's own depth and its "}" at that depth; arrays
 * stay on one line with ", " between items, each item printed one level
 * deeper than the array (so [{"a":1}] prints its member after two tabs
 * and its "}" after one); an empty object prints as "{", a line end, one tab less than
 * the depth it is printed at, and "}"; an empty array as "[]". Unformatted
 * text has no blanks at all. Numbers: "%d" when the value is an int (equal
 * to valueint within DBL_EPSILON and inside the int range), else "%.0f"
 * when it is within DBL_EPSILON above a whole number (which "%.0f" rounds
 * to: -1.9999999999999998 prints -2), else "%e" when its magnitude is below 1e-6 or above 1e9, else
 * "%f". Strings escape \" \\ \b \f \n \r \t and other control characters
 * as \u00XX; a string item whose valuestring is NULL prints as "".
 * Returns: a NUL-terminated text from the malloc hook, or NULL when item
 * is NULL, memory ran out or an item has an unknown type code. */
APUTIL_API char *cJSON_Print(cJSON *item);
APUTIL_API char *cJSON_PrintUnformatted(cJSON *item);

/* Delete item, its siblings after it and everything they own (not the
 * child and valuestring of reference items). */
APUTIL_API void cJSON_Delete(cJSON *c);

/* Number of items in an array or object (0 for NULL). */
APUTIL_API int cJSON_GetArraySize(cJSON *array);
/* Item number item (from 0), or NULL. */
APUTIL_API cJSON *cJSON_GetArrayItem(cJSON *array, int item);
/* First member whose name equals string ignoring ASCII letter case, or
 * NULL. */
APUTIL_API cJSON *cJSON_GetObjectItem(cJSON *object, const char *string);

/* Where the last failed cJSON_Parse stopped (NULL after a successful one). */
APUTIL_API const char *cJSON_GetErrorPtr(void);

/* Constructors. Each returns a new item or NULL when memory ran out.
 * cJSON_CreateTrue/False/Bool leave valueint 0. cJSON_CreateString(NULL)
 * gives NULL. */
APUTIL_API cJSON *cJSON_CreateNull(void);
APUTIL_API cJSON *cJSON_CreateTrue(void);
APUTIL_API cJSON *cJSON_CreateFalse(void);
APUTIL_API cJSON *cJSON_CreateBool(int b);
APUTIL_API cJSON *cJSON_CreateNumber(double num);
APUTIL_API cJSON *cJSON_CreateString(const char *string);
APUTIL_API cJSON *cJSON_CreateArray(void);
APUTIL_API cJSON *cJSON_CreateObject(void);

/* Array constructors: an array of count items made from the elements in
 * order; count 0 or below gives an empty array. As in the early interface
 * a failed item creation is not reported: that element is left out and
 * the array holds the others. Returns NULL only when the array itself
 * cannot be made, or when the element pointer is NULL and count > 0. */
APUTIL_API cJSON *cJSON_CreateIntArray(const int *numbers, int count);
APUTIL_API cJSON *cJSON_CreateFloatArray(const float *numbers, int count);
APUTIL_API cJSON *cJSON_CreateDoubleArray(const double *numbers, int count);
APUTIL_API cJSON *cJSON_CreateStringArray(const char **strings, int count);

/* Append item to array, or to object under a copy of the name string
 * (replacing a name item already had). A NULL item, or a name copy that
 * cannot be made, changes nothing. */
APUTIL_API void cJSON_AddItemToArray(cJSON *array, cJSON *item);
APUTIL_API void cJSON_AddItemToObject(cJSON *object, const char *string, cJSON *item);
/* Append a reference to item: a new item that shares item's child and
 * valuestring and keeps item itself with its owner. */
APUTIL_API void cJSON_AddItemReferenceToArray(cJSON *array, cJSON *item);
APUTIL_API void cJSON_AddItemReferenceToObject(cJSON *object, const char *string, cJSON *item);

/* Unlink an item and hand it to the caller (NULL when there is none). */
APUTIL_API cJSON *cJSON_DetachItemFromArray(cJSON *array, int which);
APUTIL_API cJSON *cJSON_DetachItemFromObject(cJSON *object, const char *string);
/* Unlink and delete an item; nothing happens when there is none. */
APUTIL_API void cJSON_DeleteItemFromArray(cJSON *array, int which);
APUTIL_API void cJSON_DeleteItemFromObject(cJSON *object, const char *string);

/* Put newitem in the place of an existing item, which is deleted. The
 * object variant names newitem with a copy of string. When there is no
 * such item (or the name copy fails) nothing changes and newitem stays
 * the caller's. */
APUTIL_API void cJSON_ReplaceItemInArray(cJSON *array, int which, cJSON *newitem);
APUTIL_API void cJSON_ReplaceItemInObject(cJSON *object, const char *string, cJSON *newitem);

/* Deep copy of item (without its siblings); children only when recurse is
 * non-zero. The copy is never a reference. Returns NULL on failure. */
APUTIL_API cJSON *cJSON_Duplicate(cJSON *item, int recurse);

/* Remove blanks and // and C-style comments outside strings, in place. A
 * comment's closing star may be its opening one (slash, star, slash is a
 * whole comment); an unclosed comment runs to the end of the text. */
APUTIL_API void cJSON_Minify(char *json);

/* --- additions --- */

/* Kept as an empty entry point: does nothing and returns NULL. */
APUTIL_API cJSON *cJSON_UpdateBoolVal(cJSON *item, int value);

/* Set a number item's valuedouble to value and valueint to value truncated
 * (saturated to the int range). Nothing is written when both already hold
 * those values. Returns: item, or NULL when item's type is not exactly
 * cJSON_Number. */
APUTIL_API cJSON *cJSON_UpdateNumberVal(cJSON *item, double value);

/* Replace a string item's text by a copy of value. Equal text changes
 * nothing (the same storage stays). Otherwise the old text is released
 * and a failed copy leaves valuestring NULL. Returns: item, or NULL when
 * item's type is not exactly cJSON_String or value is NULL. */
APUTIL_API cJSON *cJSON_UpdateStringVal(cJSON *item, const char *value);

/* Like cJSON_CreateIntArray, each element read as a signed 8-bit value
 * (0xFF gives -1). */
APUTIL_API cJSON *cJSON_CreateInt8Array(const int8_t *numbers, int count);

/* Like cJSON_CreateIntArray, each element read as an UNSIGNED 64-bit value
 * and converted to double (all bits set gives 18446744073709551615 rounded
 * to the nearest double). The name says Int64; the unsigned reading is the
 * defined behaviour. */
APUTIL_API cJSON *cJSON_CreateInt64Array(const int64_t *numbers, int count);

/* Shorthands. */
#define cJSON_AddNullToObject(object, name) cJSON_AddItemToObject(object, name, cJSON_CreateNull())
#define cJSON_AddTrueToObject(object, name) cJSON_AddItemToObject(object, name, cJSON_CreateTrue())
#define cJSON_AddFalseToObject(object, name) cJSON_AddItemToObject(object, name, cJSON_CreateFalse())
#define cJSON_AddBoolToObject(object, name, b) cJSON_AddItemToObject(object, name, cJSON_CreateBool(b))
#define cJSON_AddNumberToObject(object, name, n) cJSON_AddItemToObject(object, name, cJSON_CreateNumber(n))
#define cJSON_AddStringToObject(object, name, s) cJSON_AddItemToObject(object, name, cJSON_CreateString(s))

/* Set both number fields of an item to an int value. */
#define cJSON_SetIntValue(object, val) ((object) ? (object)->valueint = (object)->valuedouble = (val) : (val))

#ifdef __cplusplus
}
#endif

#endif /* APUTIL_CJSON_H */
