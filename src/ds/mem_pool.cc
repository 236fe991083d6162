// Fixed-block memory pool with an intrusive FIFO free list.
#include "mem_pool.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

void append(mem_pool_t *pool, mem_pool_link_t *node) {
  mem_pool_link_t *head = &pool->freeList;
  node->next = head;
  node->prev = head->prev;
  head->prev->next = node;
  head->prev = node;
}

}  // namespace

extern "C" {

APUTIL_API mem_pool_t *mem_pool_create(const char *name, uint32_t size, int count) {
  if (!name) {
    std::puts("input is null\r");
    return nullptr;
  }
  const size_t len = std::strlen(name);
  if (len > MEM_POOL_NAME_LEN) {
    std::printf("memory pool name is too long(%zd), max 32 is allowed.\r\n", static_cast<ssize_t>(len));
    return nullptr;
  }
  if (size < MEM_POOL_MIN_BLOCK || count < 1 || static_cast<uint64_t>(size) * static_cast<uint32_t>(count) > UINT32_MAX) {
    std::puts("invalid block size or count\r");
    return nullptr;
  }
  auto *pool = static_cast<mem_pool_t *>(std::calloc(1, sizeof(mem_pool_t)));
  if (!pool) {
    std::puts("malloc memory pool failed\r");
    return nullptr;
  }
  pool->blockCount = static_cast<uint32_t>(count);
  pool->blockSize = size;
  std::strncpy(pool->name, name, MEM_POOL_NAME_LEN);
  pool->blocks = std::malloc(static_cast<size_t>(size) * static_cast<uint32_t>(count));
  if (!pool->blocks) {
    std::puts("malloc block memory failed\r");
    std::free(pool);
    return nullptr;
  }
  pool->freeList.next = pool->freeList.prev = &pool->freeList;
  auto *base = static_cast<char *>(pool->blocks);
  for (uint32_t i = 0; i < pool->blockCount; ++i)
    append(pool, reinterpret_cast<mem_pool_link_t *>(base + static_cast<size_t>(i) * size));
  return pool;
}

APUTIL_API int mem_pool_delete(mem_pool_t *pool) {
  if (!pool) return -1;
  std::free(pool->blocks);
  std::free(pool);
  return 0;
}

APUTIL_API void *mem_pool_alloc(mem_pool_t *pool) {
  if (!pool) return nullptr;
  if (pool->usedCount >= pool->blockCount) {
    std::puts("no free block.\r");
    return nullptr;
  }
  mem_pool_link_t *head = &pool->freeList;
  mem_pool_link_t *node = head->next;  // its prev is the head
  mem_pool_link_t *next = node->next;
  head->next = next;
  next->prev = head;
  node->next = node->prev = nullptr;
  ++pool->usedCount;
  return node;
}

APUTIL_API void mem_pool_free(mem_pool_t *pool, void *block) {
  if (!pool || !block || pool->usedCount == 0) return;
  append(pool, static_cast<mem_pool_link_t *>(block));
  --pool->usedCount;
}

}  // extern "C"
