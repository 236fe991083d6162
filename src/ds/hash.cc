// Open-addressing hash set with linear probing and backward-shift removal.
#include "hash.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace {

constexpr uint32_t kMinSize = 29;

// Every size the table takes is 2^m - 3 (29, 61, 125, ...: grown as
// 2 * size + 3). h % size is computed with a multiply by the precomputed
// reciprocal of the size with the same leading-zero count, which is exact
// for every 32-bit h; for any other size the result is still below size.
struct Reciprocals {
  uint64_t m[32] = {};
  constexpr Reciprocals() {
    for (int lz = 0; lz < 30; ++lz) m[lz] = UINT64_MAX / ((uint64_t{1} << (32 - lz)) - 3) + 1;
  }
};
constexpr Reciprocals kRecip;

inline uint32_t slot_of(uint32_t h, uint32_t size) {
  const uint64_t low = kRecip.m[__builtin_clz(size | 1)] * h;
  return static_cast<uint32_t>((static_cast<unsigned __int128>(low) * size) >> 64);
}

void **new_slots(uint32_t size) { return static_cast<void **>(std::calloc(size, sizeof(void *))); }

// Rebuild at the next size up or down. Returns 0, or -1 (table untouched).
int resize(hash_table_t *t, bool grow) {
  const uint32_t old_size = t->size;
  void **const old_slots = t->slots;
  const uint32_t size = grow ? 2 * old_size + 3 : old_size / 2 - 1;
  void **slots = new_slots(size);
  if (!slots) return -1;
  t->slots = slots;
  t->size = size;
  t->count = 0;
  // Re-insert in ascending old slot order. The elements are distinct and
  // the new table stays far below its growth point, so this is hash_add
  // without its load and duplicate checks.
  for (uint32_t i = 0; i < old_size; ++i) {
    void *const elem = old_slots[i];
    if (!elem) continue;
    uint32_t j = slot_of(t->elemHash(elem), size);
    while (slots[j]) j = j + 1 == size ? 0 : j + 1;
    slots[j] = elem;
    ++t->count;
  }
  std::free(old_slots);
  return 0;
}

// The next slot, wrapping at the end (no division on the probe path).
inline uint32_t next(const hash_table_t *t, uint32_t i) { return i + 1 == t->size ? 0 : i + 1; }

uint32_t wang_mix(uint32_t h) {
  h += ~(h << 15);
  h ^= h >> 10;
  h += h << 3;
  h ^= h >> 6;
  h += ~(h << 11);
  h ^= h >> 16;
  return h;
}

}  // namespace

extern "C" {

APUTIL_API hash_table_t *hash_new(uint32_t (*elemHash)(const void *), uint32_t (*keyHash)(const void *),
                                  int (*keyMatch)(const void *, const void *)) {
  auto *t = static_cast<hash_table_t *>(std::malloc(sizeof(hash_table_t)));
  if (!t) return nullptr;
  t->slots = new_slots(kMinSize);
  if (!t->slots) {
    std::free(t);
    return nullptr;
  }
  t->elemHash = elemHash;
  t->keyHash = keyHash;
  t->keyMatch = keyMatch;
  t->count = 0;
  t->size = kMinSize;
  t->autoShrink = 1;
  return t;
}

APUTIL_API void hash_delete(hash_table_t *t) {
  if (!t) return;
  std::free(t->slots);
  std::free(t);
}

APUTIL_API int hash_add(hash_table_t *t, void *elem) {
  if (!t || !elem) return -1;  // a NULL element would read as an empty slot
  // (count * 100 + 100) / size > 25, in 32-bit arithmetic, without dividing.
  if (uint32_t{t->count * 100 + 100} >= uint64_t{t->size} * 26 && resize(t, true) != 0) return -1;
  if (t->count >= t->size / 2) return -1;
  for (uint32_t i = slot_of(t->elemHash(elem), t->size);; i = next(t, i)) {
    if (!t->slots[i]) {
      t->slots[i] = elem;
      ++t->count;
      return 0;
    }
    if (t->slots[i] == elem) return -1;
  }
}

APUTIL_API int hash_remove(hash_table_t *t, void *elem) {
  if (!t || !elem) return -1;
  uint32_t i = slot_of(t->elemHash(elem), t->size);
  while (t->slots[i] != elem) {
    if (!t->slots[i]) return -1;
    i = next(t, i);
  }
  t->slots[i] = nullptr;
  --t->count;
  // Shrink when (count * 100) / size is 0 or 1 (computed without dividing).
  if (t->autoShrink && t->size > kMinSize && uint32_t{t->count * 100} < uint64_t{t->size} * 2 &&
      resize(t, false) == 0)
    return 0;

  // Backward shift: pull later members of the cluster into the hole unless
  // their home lies after it (compared across the wrap by rotating both by
  // half the table).
  const uint32_t half = t->size / 2;
  for (uint32_t j = i;;) {
    j = next(t, j);
    if (!t->slots[j]) return 0;
    uint32_t home = slot_of(t->elemHash(t->slots[j]), t->size);
    uint32_t hole = i;
    const int32_t d = static_cast<int32_t>(home - hole);
    if (static_cast<uint32_t>(d < 0 ? -d : d) > half) {
      home = home + half >= t->size ? home + half - t->size : home + half;  // both below size
      hole = hole + half >= t->size ? hole + half - t->size : hole + half;
    }
    if (home > hole) continue;
    t->slots[i] = t->slots[j];
    t->slots[j] = nullptr;
    i = j;
  }
}

APUTIL_API void *hash_get(hash_table_t *t, const void *key) {
  if (!t) return nullptr;
  for (uint32_t i = slot_of(t->keyHash(key), t->size); t->slots[i]; i = next(t, i))
    if (t->keyMatch(t->slots[i], key)) return t->slots[i];
  return nullptr;
}

APUTIL_API uint32_t hash_update(const void *data, uint32_t len, uint32_t seed) {
  const auto *p = static_cast<const uint8_t *>(data);
  uint32_t h = len + seed;
  for (uint32_t n = len / 4; n > 0; --n, p += 4) {
    uint32_t w;
    std::memcpy(&w, p, 4);
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    w = __builtin_bswap32(w);
#endif
    h = wang_mix(h + w);
  }
  switch (len % 4) {
    case 3:
      h += static_cast<uint32_t>(p[2]) << 16;
      h ^= static_cast<uint32_t>(p[1]) << 8;
      h += p[0];
      break;
    case 2:
      h ^= static_cast<uint32_t>(p[1]) << 8;
      h += p[0];
      break;
    case 1:
      h += p[0];
      break;
    default:
      break;
  }
  return h;
}

}  // extern "C"
