// Fixed-block memory pool with an intrusive FIFO free list.
#include "mem_pool.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// The links of a free block sit at its start, which the stride may leave
// unaligned (a block size of 20, say): they are read and written as bytes.
// The list head inside the pool header is accessed the same way.
using Link = mem_pool_link_t;

Link *next_of(const Link *node) {
  Link *v;
  std::memcpy(&v, reinterpret_cast<const char *>(node) + offsetof(Link, next), sizeof v);
  return v;
}
Link *prev_of(const Link *node) {
  Link *v;
  std::memcpy(&v, reinterpret_cast<const char *>(node) + offsetof(Link, prev), sizeof v);
  return v;
}
void set_next(Link *node, Link *v) { std::memcpy(reinterpret_cast<char *>(node) + offsetof(Link, next), &v, sizeof v); }
void set_prev(Link *node, Link *v) { std::memcpy(reinterpret_cast<char *>(node) + offsetof(Link, prev), &v, sizeof v); }

void append(mem_pool_t *pool, Link *node) {
  Link *head = &pool->freeList;
  Link *last = prev_of(head);
  set_next(node, head);
  set_prev(node, last);
  set_next(last, node);
  set_prev(head, node);
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
    append(pool, reinterpret_cast<Link *>(base + static_cast<size_t>(i) * size));
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
  Link *head = &pool->freeList;
  Link *node = next_of(head);  // its prev is the head
  Link *next = next_of(node);
  set_next(head, next);
  set_prev(next, head);
  set_next(node, nullptr);
  set_prev(node, nullptr);
  ++pool->usedCount;
  return node;
}

APUTIL_API void mem_pool_free(mem_pool_t *pool, void *block) {
  if (!pool || !block || pool->usedCount == 0) return;
  append(pool, static_cast<Link *>(block));
  --pool->usedCount;
}

}  // extern "C"
