/*
 * mem_pool.h - named pool of equal-sized blocks from one allocation.
 *
 * Blocks are handed out from the head of a free list and returned to its
 * tail, so freed blocks are reused first-in, first-out; both are constant
 * time with no heap traffic after creation. While a block is free its first
 * 16 bytes hold the list links, so blocks are at least 16 bytes. The pool
 * does not detect a foreign or doubly freed block. Messages go to stdout.
 */
#ifndef APUTIL_MEM_POOL_H
#define APUTIL_MEM_POOL_H

#include <stdint.h>

#include "aputil_export.h"

#ifdef __cplusplus
extern "C" {
#endif

#define MEM_POOL_NAME_LEN 32
#define MEM_POOL_MIN_BLOCK 16

typedef struct mem_pool_link {
    struct mem_pool_link *next, *prev;
} mem_pool_link_t;

typedef struct mem_pool {
    uint32_t blockCount;
    uint32_t usedCount;
    uint32_t blockSize;           /* also the stride between blocks */
    mem_pool_link_t freeList;     /* circular; empty when it points at itself */
    char name[MEM_POOL_NAME_LEN]; /* no NUL when 32 characters long: "%.32s" */
    void *blocks;                 /* blockCount * blockSize bytes */
} mem_pool_t;

/* A pool of count blocks of size bytes. Refused (NULL, with a message): a
 * NULL name or one longer than 32 characters, size below 16, count below 1,
 * a size x count above 4 GiB, or no memory. */
APUTIL_API mem_pool_t *mem_pool_create(const char *name, uint32_t size, int count);
/* Free the pool and its blocks. Returns: 0, or -1 for NULL. */
APUTIL_API int mem_pool_delete(mem_pool_t *pool);
/* A block, or NULL ("no free block." when all are out). */
APUTIL_API void *mem_pool_alloc(mem_pool_t *pool);
/* Give a block back (nothing happens for NULL or when none is out). */
APUTIL_API void mem_pool_free(mem_pool_t *pool, void *block);

#ifdef __cplusplus
}
#endif

#endif /* APUTIL_MEM_POOL_H */
