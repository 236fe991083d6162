// The data structures, a table of cases per behaviour: base64's vectors and
// decoding rules, the CRC-32 check value, the hash set's sizes, identity and
// clusters, the memory pool's blocks and messages. The fuzz replays compare
// the same functions with OpenSSL, zlib and models on their corpora
// (fuzz_replay_b64_crc, fuzz_replay_base64_decode, fuzz_replay_containers).
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "base64.h"
#include "ds/crc32_impl.h"
#include "hash.h"
#include "mem_pool.h"
#include "support/model_tree.h"

namespace aputil::test {
namespace {

// ---- base64 ----

const uint8_t *bytes_of(const std::string &s) { return reinterpret_cast<const uint8_t *>(s.data()); }
std::string enc(const std::string &s, int cap = 600) {
  char out[600];
  const int n = b64_encode(out, cap, bytes_of(s), static_cast<int>(s.size()));
  return n < 0 ? "-1" : std::string(out, static_cast<size_t>(n));
}

// "count:bytes" of decoding n characters of text (all: -1) into cap bytes.
std::string dec(const char *text, int n = -1, int cap = 600) {
  uint8_t buf[600];
  const int got = b64_decode(buf, cap, text, n);
  return std::to_string(got) + ":" + std::string(reinterpret_cast<char *>(buf), static_cast<size_t>(std::max(got, 0)));
}

TEST(Base64, VectorsBothWays) {
  const char *rows[] = {
      "",         "",      "f",        "Zg==",   "fo",       "Zm8=", "foo",  "Zm9v",         "foob",
      "Zm9vYg==", "fooba", "Zm9vYmE=", "foobar", "Zm9vYmFy", "Man",  "TWFu", "\xfb\xff\xbf", "+/+/"};  // plain, coded
  for (size_t i = 0; i < std::size(rows); i += 2) {
    EXPECT_EQ(enc(rows[i]), rows[i + 1]);
    EXPECT_EQ(dec(rows[i + 1]), std::to_string(strlen(rows[i])) + ":" + rows[i]);
  }
}

// Blanks at either end are dropped, inside they count; the text must come
// in groups of four and fit with a byte to spare; decoding ends after the
// first group padded with '='. A character outside the alphabet is not
// refused: it reads as 255 and spoils the bits it reaches ('=' too, but
// last); one above 127 is, also in a text long enough to be decoded a block
// at a time. An explicit length is kept to.
TEST(Base64, DecodingRules) {
  const std::tuple<const char *, int, int, std::string> rows[] = {
      {" TWFu\n", -1, 9, "3:Man"},    {"TW Fu", -1, 9, "-1:"},        {"TWF", -1, 9, "-1:"},
      {"TW\x80u", -1, 9, "-1:"},      {"TQ==QUJD", -1, 9, "1:M"},     {"TWE=QUJD", -1, 9, "2:Ma"},
      {"T!Fu", -1, 9, "3:O\xF1n"},    {"TW=u", -1, 9, "3:M\x7F\xEE"}, {"TWFuTQ==", 4, 9, "3:Man"},
      {"!WFu", -1, 9, "3:\xFD\x61n"}, {"TWF!", -1, 9, "3:Ma\xFF"},    {"TWFu", -1, 3, "-1:"},
      {"TWFu", -1, 4, "3:Man"},       {" \t\n", -1, 9, "0:"},         {"    ", 2, 9, "0:"},
      {nullptr, -1, 9, "0:"}};
  for (const auto &[text, n, cap, want] : rows) EXPECT_EQ(dec(text, n, cap), want) << (text ? text : "NULL");
  EXPECT_EQ(dec("TWFuT!FuTWFuTWFuTWFuTWFuTWFuTWFu"), "24:ManO\xF1nManManManManManMan");
}

// Encoding needs room for the terminator; no source encodes nothing.
TEST(Base64, CapacityAndAssertions) {
  char out[8];
  EXPECT_EQ(enc("abc", 5) + " " + enc("abc", 4) + " " + std::to_string(b64_encode(out, 4, nullptr, 3)), "YWJj -1 0");
  EXPECT_DEATH(b64_encode(nullptr, 4, bytes_of("a"), 1),
               "base64.c:126: b64_encode: Assertion `dst != NULL && dstlen > 0 && srclen >= 0' failed");
  EXPECT_DEATH(b64_decode(reinterpret_cast<uint8_t *>(out), 0, "TWFu", 4),
               "base64.c:65: b64_decode: Assertion `dst != NULL && dstlen > 0' failed");
}

// ---- CRC-32 ----

// The check value; nothing for no data. Every implementation against zlib at
// every length and alignment: fuzz_replay_b64_crc.
TEST(Crc32, CheckValueAndOfferedFoldings) {
  for (auto [data, n, want] : {std::tuple{"123456789", 9, 0xCBF43926u}, {nullptr, 9, 0u}, {"x", 0, 0u}, {"x", -1, 0u}})
    EXPECT_EQ(tmp_crc32(data, n), want) << n;
#if defined(__x86_64__)  // each folding is offered exactly where the CPU has what it needs
  EXPECT_EQ(ds::crc32_clmul() != nullptr, __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("sse4.1"));
  EXPECT_EQ(ds::crc32_vclmul() != nullptr, __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("avx512vl") &&
                                               __builtin_cpu_supports("vpclmulqdq"));
#endif
}

// ---- hash set ----

// Elements are ints, hashed to their value (tests choose their homes) and
// matched by value.
uint32_t int_hash(const void *e) { return static_cast<uint32_t>(*static_cast<const int *>(e)); }
int int_match(const void *e, const void *k) { return *static_cast<const int *>(e) == *static_cast<const int *>(k); }

// 29 slots, 2 * size + 3 past a quarter full, back down one size a removal
// below 2 % full, never below 29; one pointer once, equal keys from other
// pointers; NULL refused; a cluster that wraps past the last slot.
TEST(Hash, SizesIdentityAndClusters) {
  hash_table_t *t = hash_new(int_hash, int_hash, int_match);
  // e: homes 27, 28, 27, 28, 0 in 29 slots: the cluster wraps to 0..2.
  int v[40], a = 5, b = 5, e[5] = {27, 28, 56, 57, 0};
  std::iota(v, v + 40, 0);
  // Over elements [from, to) of els: how many hash_add ('+') or hash_remove ('-') takes, then the size; or how many
  // hash_get finds ('?').
  auto run = [&](int *els, char op, int from, int to) {
    long n = 0;
    for (int *x = els + from; x < els + to; ++x)
      n += op == '?' ? hash_get(t, x) == x : (op == '+' ? hash_add(t, x) : hash_remove(t, x)) == 0;
    return op == '?' ? n : n * 1000 + t->size;
  };
  const std::tuple<char, int, int, long> grow[] = {{'+', 0, 7, 7029}, {'+', 7, 8, 1061},   {'+', 8, 40, 32253},
                                                   {'?', 0, 40, 40},  {'-', 1, 40, 39029}, {'?', 0, 1, 1},
                                                   {'-', 0, 1, 1029}};
  for (auto [op, from, to, want] : grow) EXPECT_EQ(run(v, op, from, to), want) << op << from;
  EXPECT_EQ(hash_add(t, &a), 0);
  EXPECT_EQ(hash_add(t, &a), -1);  // one pointer once
  EXPECT_EQ(hash_add(t, &b), 0);   // an equal key from another pointer
  EXPECT_EQ(hash_get(t, &b), &a);  // the first along the probe
  EXPECT_EQ(hash_remove(t, &a), 0);
  EXPECT_EQ(hash_get(t, &b), &b);
  // Refused: an element not in the table, no table (other NULLs: the containers replay).
  for (int rc : {hash_remove(t, &a), hash_remove(nullptr, &a)}) EXPECT_EQ(rc, -1);
  EXPECT_EQ(t->count, 1u);
  hash_delete(nullptr);
  EXPECT_EQ(hash_remove(t, &b), 0);
  t->autoShrink = 0;
  for (auto [op, from, to, want] :
       {std::tuple{'+', 0, 5, 5029}, {'-', 0, 1, 1029}, {'?', 1, 5, 4}, {'-', 1, 2, 1029}, {'?', 2, 5, 3}}) {
    EXPECT_EQ(run(e, op, from, to), want) << op << from;
    EXPECT_TRUE(op != '+' || t->slots[0] == &e[2]);  // the cluster wrapped
  }
  hash_delete(t);
}

// Elements with full 32-bit hashes sit in an unbroken run from their home
// slot at every size up to 32765 and back (homes come from multiplying by
// the size's reciprocal); the containers replay compares random operations
// with a model at the sizes its corpus reaches.
TEST(Hash, ProbeRunsAtEverySize) {
  std::vector<uint32_t> v(6000);
  for (uint32_t i = 0; i < v.size(); ++i) v[i] = i * 2654435761u;
  hash_table_t *t = hash_new(int_hash, int_hash, int_match);
  uint32_t largest = 0;
  for (bool remove : {false, true})
    for (uint32_t &e : v) {
      const uint32_t size = t->size;
      ASSERT_EQ(remove ? hash_remove(t, &e) : hash_add(t, &e), 0);
      largest = std::max(largest, t->size);
      for (uint32_t i = 0; t->size != size && i < t->size; ++i)  // after each resize
        for (uint32_t j = t->slots[i] ? int_hash(t->slots[i]) % t->size : i; j != i; j = (j + 1) % t->size)
          ASSERT_NE(t->slots[j], nullptr) << t->size << " " << i;
    }
  EXPECT_EQ(std::pair(largest, t->size), std::pair(32765u, 29u));
  hash_delete(t);
}

// Whole words are added little-endian and mixed; the tail is added unmixed.
TEST(Hash, ByteStringHashValues) {
  const char *data[] = {"", "a", "ab", "abc", "abcd", "abcde", "abcdefgh"};
  const uint32_t seed[] = {77, 0, 1, 0, 0, 0, 3},
                 want[] = {77, 0x62, 0x6264, 0x636264, 3088330659u, 3151655318u, 3433172777u};
  for (int i = 0; i < 7; ++i) EXPECT_EQ(hash_update(data[i], uint32_t(strlen(data[i])), seed[i]), want[i]) << data[i];
}

// ---- memory pool ----

// The index of block b from base, -1 for none.
long index_of(void *b, char *base, long size) { return b ? (static_cast<char *>(b) - base) / size : -1; }

// Blocks come in address order, then the freed ones first in, first out;
// the links of a free block may sit unaligned (strides 17, 20, 23).
TEST(MemPool, BlocksNamesAndRefusals) {
  for (long size : {32, 17, 20, 23}) {
    mem_pool_t *pool = mem_pool_create("records", static_cast<uint32_t>(size), 3);
    char *base = static_cast<char *>(pool->blocks);
    auto at = [&] { return index_of(mem_pool_alloc(pool), base, size); };
    auto put = [&](std::initializer_list<long> blocks) {
      for (long b : blocks) mem_pool_free(pool, base + b * size);
      return long{pool->usedCount};
    };
    // Three blocks out, none left; two back, out again; all back (none out
    // at the end: the extra free changed nothing).
    std::vector<long> got, want = {0, 1, 2, -1, 1, 1, 0, 0, 0};
    const std::string out = stdout_of([&] {
      got = {at(), at(), at(), at(), put({1, 0}), at(), at(), put({0, 1, 2, 2}), at()};
    });
    EXPECT_EQ(std::pair(got, out), std::pair(want, std::string("no free block.\r\n")));
    EXPECT_EQ(mem_pool_alloc(nullptr), nullptr);
    EXPECT_EQ(mem_pool_delete(pool), 0);
  }
  EXPECT_EQ(mem_pool_delete(nullptr), -1);
  // A name of up to 32 characters fills the field with no terminator, the
  // block memory pointer right after it.
  const std::string n32(32, 'n'), n33(33, 'n'), bad = "invalid block size or count\r\n", null = "input is null\r\n",
                                                tall = "memory pool name is too long(33), max 32 is allowed.\r\n";
  mem_pool_t *pool = mem_pool_create(n32.c_str(), 16, 1);
  EXPECT_EQ(std::string(pool->name, MEM_POOL_NAME_LEN), n32);
  EXPECT_EQ(reinterpret_cast<char *>(&pool->blocks) - pool->name, MEM_POOL_NAME_LEN);
  EXPECT_NE(mem_pool_alloc(pool), nullptr);
  EXPECT_EQ(mem_pool_delete(pool), 0);
  const std::tuple<const char *, uint32_t, int, std::string> refused[] = {
      {n33.c_str(), 16, 1, tall}, {nullptr, 16, 1, null}, {"x", 15, 4, bad},
      {"x", 16, 0, bad},          {"x", 16, -1, bad},     {"x", 0x10000, 0x10000, bad}};
  for (const auto &[name, size, count, out] : refused)
    EXPECT_EQ(stdout_of([&] { EXPECT_EQ(mem_pool_create(name, size, count), nullptr); }), out) << size << " " << count;
}

}  // namespace
}  // namespace aputil::test
