// The hash table and the memory pool under random operation sequences,
// checked after every step against simple models: a vector scanned in full
// for the table, a FIFO queue of free blocks for the pool.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <deque>
#include <string>
#include <vector>

#include "fuzz_args.h"
#include "hash.h"
#include "mem_pool.h"

namespace {

// Elements are small records; the key is an 8-bit tag, so many elements
// share a key (the table keeps them all, found in probe order).
struct Elem {
  uint8_t tag;
};
Elem g_elems[600];

uint32_t weak_hash(uint8_t tag, uint8_t salt) { return salt ? hash_update(&tag, 1, salt) : tag % 3u; }
uint8_t g_salt;
uint32_t elem_hash(const void *e) { return weak_hash(static_cast<const Elem *>(e)->tag, g_salt); }
uint32_t key_hash(const void *k) { return weak_hash(*static_cast<const uint8_t *>(k), g_salt); }
int key_match(const void *e, const void *k) { return static_cast<const Elem *>(e)->tag == *static_cast<const uint8_t *>(k); }

void check_table(const hash_table_t *t, const std::vector<Elem *> &model) {
  FUZZ_CHECK(t->count == model.size());
  FUZZ_CHECK(2 * t->count <= t->size);  // at least half the slots empty
  FUZZ_CHECK(t->size >= 29 && ((t->size + 3) & (t->size + 2)) == 0);  // 29, 61, 125, ...: 2^m - 3
  FUZZ_CHECK(uint64_t{t->count} * 100 <= uint64_t{t->size} * 26);  // grown before passing a quarter
  uint32_t stored = 0;
  for (uint32_t i = 0; i < t->size; ++i) {
    if (!t->slots[i]) continue;
    ++stored;
    FUZZ_CHECK(std::count(model.begin(), model.end(), t->slots[i]) == 1);
    // Every element sits in the probe run from its home slot.
    for (uint32_t j = elem_hash(t->slots[i]) % t->size; j != i; j = j + 1 == t->size ? 0 : j + 1)
      FUZZ_CHECK(t->slots[j] != nullptr);
  }
  FUZZ_CHECK(stored == model.size());
}

void table(FuzzedDataProvider &in) {
  g_salt = in.ConsumeIntegral<uint8_t>();
  hash_table_t *t = hash_new(elem_hash, key_hash, key_match);
  FUZZ_CHECK(t && t->size == 29 && t->count == 0 && t->autoShrink == 1);
  t->autoShrink = in.ConsumeBool() ? 1 : 0;
  for (Elem &e : g_elems) e.tag = static_cast<uint8_t>(&e - g_elems);
  std::vector<Elem *> model;
  while (in.remaining_bytes()) {
    const uint8_t op = in.ConsumeIntegralInRange(0, 4);
    Elem *e = &g_elems[in.ConsumeIntegralInRange<size_t>(0, std::size(g_elems) - 1)];
    const bool present = std::count(model.begin(), model.end(), e) > 0;
    const uint8_t tag = static_cast<uint8_t>(in.ConsumeIntegralInRange(0, 40));
    if (!present) e->tag = tag;  // a stored element's key never changes
    switch (op) {
      case 0:
      case 1: {  // add (twice as often, so the table grows)
        const int rc = hash_add(t, e);
        FUZZ_CHECK(rc == (present ? -1 : 0));
        if (!present) model.push_back(e);
        break;
      }
      case 2: {
        const int rc = hash_remove(t, e);
        FUZZ_CHECK(rc == (present ? 0 : -1));
        if (present) model.erase(std::find(model.begin(), model.end(), e));
        break;
      }
      case 3: {  // look-up: some element with the tag exactly when the model has one
        const uint8_t key = tag;
        auto *got = static_cast<Elem *>(hash_get(t, &key));
        const bool any = std::any_of(model.begin(), model.end(), [&](Elem *m) { return m->tag == key; });
        FUZZ_CHECK((got != nullptr) == any);
        // The first match along the key's probe sequence, found by walking
        // the slots from the key's home slot.
        Elem *first = nullptr;
        for (uint32_t j = key_hash(&key) % t->size; t->slots[j] && !first; j = j + 1 == t->size ? 0 : j + 1)
          if (static_cast<Elem *>(t->slots[j])->tag == key) first = static_cast<Elem *>(t->slots[j]);
        FUZZ_CHECK(got == first);
        break;
      }
      default:  // NULL arguments change nothing
        FUZZ_CHECK(hash_add(t, nullptr) == -1 && hash_remove(t, nullptr) == -1);
        FUZZ_CHECK(hash_add(nullptr, e) == -1 && hash_get(nullptr, &e->tag) == nullptr);
        break;
    }
    check_table(t, model);
  }
  hash_delete(t);
}

void pool(FuzzedDataProvider &in) {
  fuzz::Quiet quiet;
  const std::string name = in.ConsumeRandomLengthString(40);
  const uint32_t size = in.ConsumeBool() ? in.ConsumeIntegralInRange<uint32_t>(0, 80) : in.ConsumeIntegral<uint32_t>();
  const int count = in.ConsumeBool() ? in.ConsumeIntegralInRange(-2, 64) : fuzz::any_int(in);
  const uint64_t total = uint64_t{size} * static_cast<uint32_t>(count);
  // A real allocation of 1 MiB to 4 GiB is not made here; above 4 GiB the
  // pool refuses before allocating.
  if (size >= 16 && count >= 1 && total > 1u << 20 && total <= UINT32_MAX) return;
  const bool named = in.ConsumeIntegralInRange(0, 15) != 0;
  const bool valid = named && std::strlen(name.c_str()) <= 32 && size >= 16 && count >= 1 && total <= UINT32_MAX;
  mem_pool_t *p = mem_pool_create(named ? name.c_str() : nullptr, size, count);
  if (!p) {
    FUZZ_CHECK(!valid);
    return;
  }
  FUZZ_CHECK(valid && p->blockCount == uint32_t(count) && p->blockSize == size && p->usedCount == 0);
  FUZZ_CHECK(std::strncmp(p->name, name.c_str(), 32) == 0);
  auto *base = static_cast<char *>(p->blocks);
  std::deque<char *> free_blocks;
  for (int i = 0; i < count; ++i) free_blocks.push_back(base + size_t{size} * uint32_t(i));
  std::vector<char *> out;
  while (in.remaining_bytes()) {
    if (in.ConsumeBool()) {
      void *b = mem_pool_alloc(p);
      if (free_blocks.empty()) {
        FUZZ_CHECK(b == nullptr);
      } else {
        FUZZ_CHECK(b == free_blocks.front());  // first in, first out
        free_blocks.pop_front();
        std::memset(b, 0xC3, size);  // the caller owns all of it
        out.push_back(static_cast<char *>(b));
      }
    } else if (!out.empty()) {
      const size_t k = in.ConsumeIntegralInRange<size_t>(0, out.size() - 1);
      mem_pool_free(p, out[k]);
      free_blocks.push_back(out[k]);
      out.erase(out.begin() + static_cast<long>(k));
    } else {
      mem_pool_free(p, base);  // none out: nothing changes
      mem_pool_free(p, nullptr);
      mem_pool_free(nullptr, base);
    }
    FUZZ_CHECK(p->usedCount == out.size());
  }
  FUZZ_CHECK(mem_pool_delete(p) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  FuzzedDataProvider in(data, size);
  if (in.ConsumeBool())
    table(in);
  else
    pool(in);
  return 0;
}
