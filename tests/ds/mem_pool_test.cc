#include <string>

#include <gtest/gtest.h>

#include "mem_pool.h"
#include "support/model_tree.h"

namespace aputil::test {
namespace {

TEST(MemPool, HandsOutInOrderAndReusesFifo) {
  mem_pool_t *pool = mem_pool_create("records", 32, 3);
  ASSERT_NE(pool, nullptr);
  auto *base = static_cast<char *>(pool->blocks);
  void *b0 = mem_pool_alloc(pool), *b1 = mem_pool_alloc(pool), *b2 = mem_pool_alloc(pool);
  EXPECT_EQ(b0, base);
  EXPECT_EQ(b1, base + 32);
  EXPECT_EQ(b2, base + 64);
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(mem_pool_alloc(pool), nullptr); }), "no free block.\r\n");
  mem_pool_free(pool, b1);
  mem_pool_free(pool, b0);
  EXPECT_EQ(mem_pool_alloc(pool), b1);
  EXPECT_EQ(mem_pool_alloc(pool), b0);
  EXPECT_EQ(pool->usedCount, 3u);
  mem_pool_free(pool, b0);
  mem_pool_free(pool, b1);
  mem_pool_free(pool, b2);
  mem_pool_free(pool, b2);  // none out: nothing changes
  EXPECT_EQ(pool->usedCount, 0u);
  EXPECT_EQ(mem_pool_delete(pool), 0);
  EXPECT_EQ(mem_pool_delete(nullptr), -1);
}

// The stride may leave a free block's links unaligned (blocks of 20 bytes):
// they are still kept correctly (and UBSan sees no misaligned access).
TEST(MemPool, OddStrides) {
  for (uint32_t size : {17u, 20u, 23u}) {
    mem_pool_t *pool = mem_pool_create("odd", size, 4);
    ASSERT_NE(pool, nullptr);
    auto *base = static_cast<char *>(pool->blocks);
    void *b[4];
    for (int i = 0; i < 4; ++i) EXPECT_EQ(b[i] = mem_pool_alloc(pool), base + i * size) << size;
    mem_pool_free(pool, b[2]);
    mem_pool_free(pool, b[1]);
    EXPECT_EQ(mem_pool_alloc(pool), b[2]);
    EXPECT_EQ(mem_pool_alloc(pool), b[1]);
    mem_pool_delete(pool);
  }
}

TEST(MemPool, NamesAndRefusals) {
  const std::string n32(32, 'n');
  mem_pool_t *pool = mem_pool_create(n32.c_str(), 16, 1);
  ASSERT_NE(pool, nullptr);
  // The field holds all 32 characters and no terminator; the block memory
  // pointer follows it directly, as in the device's header.
  EXPECT_EQ(std::string(pool->name, MEM_POOL_NAME_LEN), n32);
  EXPECT_EQ(reinterpret_cast<char *>(&pool->blocks), pool->name + MEM_POOL_NAME_LEN);
  EXPECT_NE(mem_pool_alloc(pool), nullptr);
  mem_pool_delete(pool);
  EXPECT_EQ(stdout_of([] { EXPECT_EQ(mem_pool_create(std::string(33, 'n').c_str(), 16, 1), nullptr); }),
            "memory pool name is too long(33), max 32 is allowed.\r\n");
  EXPECT_EQ(stdout_of([] { EXPECT_EQ(mem_pool_create(nullptr, 16, 1), nullptr); }), "input is null\r\n");
  for (auto [size, count] : {std::pair{15u, 4}, {16u, 0}, {16u, -1}, {0x10000u, 0x10000}})
    EXPECT_EQ(stdout_of([&] { EXPECT_EQ(mem_pool_create("x", size, count), nullptr); }),
              "invalid block size or count\r\n");
}

}  // namespace
}  // namespace aputil::test
