#include <cstdint>
#include <random>
#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "hash.h"

namespace {

// Elements are ints; an element's hash is its value, so tests choose homes.
uint32_t elem_hash(const void *e) { return static_cast<uint32_t>(*static_cast<const int *>(e)); }
uint32_t key_hash(const void *k) { return static_cast<uint32_t>(*static_cast<const int *>(k)); }
int key_match(const void *e, const void *k) { return *static_cast<const int *>(e) == *static_cast<const int *>(k); }

struct Table {
  Table() : t(hash_new(elem_hash, key_hash, key_match)) {}
  ~Table() { hash_delete(t); }
  hash_table_t *t;
};

TEST(Hash, GrowsAndShrinksAlongTheSizeSequence) {
  Table tb;
  std::vector<int> v(40);
  for (int i = 0; i < 40; ++i) v[i] = i * 7;
  for (int i = 0; i < 7; ++i) ASSERT_EQ(hash_add(tb.t, &v[i]), 0);
  EXPECT_EQ(tb.t->size, 29u);
  ASSERT_EQ(hash_add(tb.t, &v[7]), 0);  // the eighth grows it
  EXPECT_EQ(tb.t->size, 61u);
  for (int i = 8; i < 40; ++i) ASSERT_EQ(hash_add(tb.t, &v[i]), 0);
  EXPECT_EQ(tb.t->size, 253u);
  for (int i = 0; i < 40; ++i) EXPECT_EQ(*static_cast<int *>(hash_get(tb.t, &v[i])), v[i]);
  for (int i = 39; i >= 1; --i) ASSERT_EQ(hash_remove(tb.t, &v[i]), 0) << i;
  EXPECT_EQ(tb.t->count, 1u);
  EXPECT_EQ(tb.t->size, 29u);  // walked back down, never below 29
  EXPECT_EQ(hash_get(tb.t, &v[0]), &v[0]);
}

TEST(Hash, PointerIdentityAndEqualKeys) {
  Table tb;
  int a = 5, b = 5;
  EXPECT_EQ(hash_add(tb.t, &a), 0);
  EXPECT_EQ(hash_add(tb.t, &a), -1);
  EXPECT_EQ(tb.t->count, 1u);
  EXPECT_EQ(hash_add(tb.t, &b), 0);  // equal key, another pointer
  EXPECT_EQ(hash_get(tb.t, &b), &a);  // the first along the probe
  EXPECT_EQ(hash_remove(tb.t, &a), 0);
  EXPECT_EQ(hash_get(tb.t, &b), &b);
  EXPECT_EQ(hash_remove(tb.t, &a), -1);
  // NULL arguments are refused and change nothing (a NULL element would
  // otherwise read as an empty slot).
  EXPECT_EQ(hash_add(tb.t, nullptr), -1);
  EXPECT_EQ(hash_remove(tb.t, nullptr), -1);
  EXPECT_EQ(tb.t->count, 1u);
  EXPECT_EQ(hash_add(nullptr, &a), -1);
  EXPECT_EQ(hash_remove(nullptr, &a), -1);
  EXPECT_EQ(hash_get(nullptr, &a), nullptr);
  hash_delete(nullptr);
}

TEST(Hash, WrappingClusterSurvivesRemovals) {
  Table tb;
  tb.t->autoShrink = 0;
  int e[5] = {27, 28, 56, 57, 0};  // homes 27, 28, 27, 28, 0 in 29 slots: the cluster wraps to 0..2
  for (int &x : e) ASSERT_EQ(hash_add(tb.t, &x), 0);
  EXPECT_EQ(tb.t->slots[0], &e[2]);
  ASSERT_EQ(hash_remove(tb.t, &e[0]), 0);  // the cluster's first member
  for (int i = 1; i < 5; ++i) EXPECT_EQ(hash_get(tb.t, &e[i]), &e[i]) << i;
  ASSERT_EQ(hash_remove(tb.t, &e[1]), 0);
  for (int i = 2; i < 5; ++i) EXPECT_EQ(hash_get(tb.t, &e[i]), &e[i]) << i;
}

TEST(Hash, RandomOperationsAgreeWithAReferenceSet) {
  Table tb;
  std::vector<int> pool(2000);
  std::mt19937 rng(7);
  for (int &x : pool) x = static_cast<int>(rng() % 5000);  // repeated keys too
  std::set<int *> ref;
  for (int op = 0; op < 20000; ++op) {
    int *e = &pool[rng() % pool.size()];
    if (rng() % 3) {
      EXPECT_EQ(hash_add(tb.t, e), ref.count(e) ? -1 : 0);
      ref.insert(e);
    } else {
      EXPECT_EQ(hash_remove(tb.t, e), ref.count(e) ? 0 : -1);
      ref.erase(e);
    }
    ASSERT_EQ(tb.t->count, ref.size());
    if (op % 500 == 0)
      for (int *r : ref) {
        int *got = static_cast<int *>(hash_get(tb.t, r));
        ASSERT_NE(got, nullptr);
        EXPECT_EQ(*got, *r);
      }
  }
}

// Every element sits at its home slot, elemHash % size, or later in an
// unbroken run from it; checked with full 32-bit hashes at every size
// the table passes through on the way to 16381 slots and back.
TEST(Hash, ElementsSitInTheirProbeRuns) {
  std::vector<uint32_t> v(4096);
  std::mt19937 rng(11);
  for (uint32_t &x : v) x = static_cast<uint32_t>(rng());
  v[0] = 0xFFFFFFFFu, v[1] = 0xFFFFFFFEu, v[2] = 0x80000000u, v[3] = 0;
  auto h = [](const void *e) { return *static_cast<const uint32_t *>(e); };
  auto match = [](const void *e, const void *k) { return static_cast<int>(e == k); };
  hash_table_t *t = hash_new(h, h, match);
  auto check = [&] {
    for (uint32_t i = 0; i < t->size; ++i) {
      if (!t->slots[i]) continue;
      for (uint32_t j = h(t->slots[i]) % t->size; j != i; j = (j + 1) % t->size)
        ASSERT_NE(t->slots[j], nullptr) << "size " << t->size << " slot " << i;
    }
  };
  for (size_t i = 0; i < v.size(); ++i) {
    ASSERT_EQ(hash_add(t, &v[i]), 0);
    if ((i & (i + 1)) == 0) check();  // 1, 3, 7, ... elements: each size once
  }
  EXPECT_EQ(t->size, 16381u);
  check();
  for (size_t i = 0; i < v.size(); ++i) {
    ASSERT_EQ(hash_remove(t, &v[i]), 0);
    if ((i & 255) == 0) check();
  }
  EXPECT_EQ(t->size, 29u);
  hash_delete(t);
}

TEST(Hash, ByteStringHashValues) {
  EXPECT_EQ(hash_update("", 0, 77), 77u);
  EXPECT_EQ(hash_update("a", 1, 0), 0x62u);
  // Tail rules: 3 bytes add, xor, add; 2 bytes xor, add.
  EXPECT_EQ(hash_update("abc", 3, 0), ((3u + ('c' << 16)) ^ ('b' << 8)) + 'a');
  EXPECT_EQ(hash_update("ab", 2, 1), ((3u) ^ ('b' << 8)) + 'a');
  // Whole words are added little-endian and mixed; the tail is added
  // unmixed.
  EXPECT_EQ(hash_update("abcd", 4, 0), 3088330659u);
  EXPECT_EQ(hash_update("abcde", 5, 0), 3151655318u);
  EXPECT_EQ(hash_update("abcdefgh", 8, 3), 3433172777u);
}

}  // namespace
