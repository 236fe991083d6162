/*
 * hash.h - open-addressing hash set of caller-owned element pointers, and a
 * 32-bit byte-string hash.
 *
 * The table stores pointers only; it never dereferences, copies or frees
 * elements. The caller's callbacks hash elements (elemHash) and lookup keys
 * (keyHash) and say whether an element matches a key (keyMatch); an element
 * and any key it matches must hash alike. The load stays at or below about
 * 25 %: the table grows along 29, 61, 125, 253, ... slots on insertion and
 * shrinks back on removal (when autoShrink is non-zero), with no
 * tombstones. Duplicates are judged by pointer identity only.
 */
#ifndef APUTIL_HASH_H
#define APUTIL_HASH_H

#include <stdint.h>

#include "aputil_export.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct hash_table {
    uint32_t (*elemHash)(const void *elem);
    uint32_t (*keyHash)(const void *key);
    int (*keyMatch)(const void *elem, const void *key);
    uint32_t count;        /* occupied slots */
    uint32_t size;         /* slots; 29 at creation */
    uint32_t autoShrink;   /* 1 at creation; set 0 to keep the size on removal */
    void **slots;          /* size pointers, NULL = empty */
} hash_table_t;

/* Returns: a new table, or NULL when memory ran out. */
APUTIL_API hash_table_t *hash_new(uint32_t (*elemHash)(const void *elem), uint32_t (*keyHash)(const void *key),
                                  int (*keyMatch)(const void *elem, const void *key));
/* Free the table (not the elements); NULL is allowed. */
APUTIL_API void hash_delete(hash_table_t *t);
/* Returns: 0, or -1 when the pointer is already stored, growth failed, or
 * t or elem is NULL (nothing changes). */
APUTIL_API int hash_add(hash_table_t *t, void *elem);
/* Returns: 0, or -1 when the pointer is not stored or t or elem is NULL. */
APUTIL_API int hash_remove(hash_table_t *t, void *elem);
/* The first element along the key's probe sequence that matches, or NULL
 * (also for a NULL t; key goes to the callbacks as it is). */
APUTIL_API void *hash_get(hash_table_t *t, const void *key);
/* Hash len bytes with a seed: each whole 4-byte little-endian word is added
 * and mixed (Thomas Wang's 32-bit mix); the 1..3 tail bytes are added
 * unmixed. Zero bytes give seed. */
APUTIL_API uint32_t hash_update(const void *data, uint32_t len, uint32_t seed);

#ifdef __cplusplus
}
#endif

#endif /* APUTIL_HASH_H */
