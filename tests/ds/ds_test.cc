// The data structures, a table of cases per behaviour: base64 against the
// alphabet and OpenSSL, CRC-32 against zlib, the hash set against a
// reference set, the memory pool's blocks and messages.
#include <openssl/evp.h>
#include <zlib.h>

#include <algorithm>
#include <numeric>
#include <random>

#include <gtest/gtest.h>

#include "base64.h"
#include "ds/crc32_impl.h"
#include "hash.h"
#include "mem_pool.h"
#include "support/model_tree.h"

namespace aputil::test {
namespace {

// Table rows: a call, its result and all it prints.
#define CALL(...) [&]() -> long { return __VA_ARGS__; }
struct Row { std::function<long()> call; long rc; std::string out = ""; };
void expect_rows(std::initializer_list<Row> rows) {
  for (size_t i = 0; i < rows.size(); ++i)
    EXPECT_EQ(stdout_of([&] { EXPECT_EQ(rows.begin()[i].call(), rows.begin()[i].rc) << "row " << i; }), rows.begin()[i].out) << "row " << i;
}

// n bytes that look random.
std::string noise(size_t n) { std::string s(n, '\0'); for (size_t i = 0; i < n; ++i) s[i] = static_cast<char>(i * 2654435761u >> 13); return s; }

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

std::string tail(const std::string &decoded) { return decoded.substr(decoded.find(':') + 1); }  // the bytes

TEST(Base64, VectorsBothWays) {
  const std::pair<std::string, std::string> rows[] = {{"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"}, {"foob", "Zm9vYg=="},
      {"fooba", "Zm9vYmE="}, {"foobar", "Zm9vYmFy"}, {"Man", "TWFu"}, {"\xfb\xff\xbf", "+/+/"}};
  for (const auto &[plain, coded] : rows) EXPECT_EQ(enc(plain) + " " + dec(coded.c_str()), coded + " " + std::to_string(plain.size()) + ":" + plain);
}

// Blanks at either end are dropped, inside they count; the text must come
// in groups of four and fit with a byte to spare; decoding ends after the
// first group padded with '='. A character outside the alphabet is not
// refused: it reads as 255 and spoils the bits it reaches ('=' too, but
// last); one above 127 is. An explicit length is kept to.
TEST(Base64, DecodingRules) {
  const struct { const char *text; int n, cap; std::string want; } rows[] = {
      {" TWFu\n", -1, 9, "3:Man"}, {"TW Fu", -1, 9, "-1:"}, {"TWF", -1, 9, "-1:"}, {"TW\x80u", -1, 9, "-1:"}, {"TQ==QUJD", -1, 9, "1:M"},
      {"TWE=QUJD", -1, 9, "2:Ma"}, {"T!Fu", -1, 9, "3:O\xF1n"}, {"TW=u", -1, 9, "3:M\x7F\xEE"}, {"TWFuTQ==", 4, 9, "3:Man"},
      {"!WFu", -1, 9, "3:\xFD" "an"}, {"TWF!", -1, 9, "3:Ma\xFF"}, {"TWFu", -1, 3, "-1:"}, {"TWFu", -1, 4, "3:Man"}, {" \t\n", -1, 9, "0:"}, {"    ", 2, 9, "0:"}, {nullptr, -1, 9, "0:"}};
  for (const auto &r : rows) EXPECT_EQ(dec(r.text, r.n, r.cap), r.want) << (r.text ? r.text : "NULL");
}

// Encoding needs room for the terminator; no source encodes nothing.
TEST(Base64, CapacityAndAssertions) {
  char out[8];
  EXPECT_EQ(enc("abc", 5) + " " + enc("abc", 4) + " " + std::to_string(b64_encode(out, 4, nullptr, 3)), "YWJj -1 0");
  EXPECT_DEATH(b64_encode(nullptr, 4, bytes_of("a"), 1), "base64.c:126: b64_encode: Assertion `dst != NULL && dstlen > 0 && srclen >= 0' failed");
  EXPECT_DEATH(b64_encode(out, 0, bytes_of("a"), 1), "base64.c:126: b64_encode: Assertion");
  EXPECT_DEATH(b64_encode(out, 8, nullptr, -1), "base64.c:126: b64_encode: Assertion");
  EXPECT_DEATH(b64_decode(nullptr, 4, "TWFu", 4), "base64.c:65: b64_decode: Assertion `dst != NULL && dstlen > 0' failed");
  EXPECT_DEATH(b64_decode(reinterpret_cast<uint8_t *>(out), 0, "TWFu", 4), "base64.c:65: b64_decode: Assertion");
}

// Long inputs go through whole blocks at a time: every length encodes as
// OpenSSL does and decodes back; a long text with one stray character in it
// decodes as its groups one by one.
TEST(Base64, LongInputs) {
  std::mt19937 rng(7);
  std::string bytes = noise(400), coded(600, '\0');
  auto openssl = [&](size_t n) { return coded.substr(0, EVP_EncodeBlock(reinterpret_cast<uint8_t *>(coded.data()), bytes_of(bytes), static_cast<int>(n))); };
  for (size_t n = 0; n <= 400; n += n < 100 ? 1 : 37)
    EXPECT_EQ(enc(bytes.substr(0, n)) + " " + dec(openssl(n).c_str()), openssl(n) + " " + std::to_string(n) + ":" + bytes.substr(0, n)) << n;
  for (int round = 0; round < 2000; ++round) {  // with a stray character: its group decodes as it would alone
    std::string text = openssl(3 + rng() % 390);
    const size_t g = rng() % text.size() / 4 * 4;
    text[g + rng() % 4] = static_cast<char>(33 + rng() % 94);
    const std::string pieces = tail(dec(text.substr(0, g).c_str())) + tail(dec(text.substr(g, 4).c_str())) + (text[g + 3] == '=' ? "" : tail(dec(text.c_str() + g + 4)));
    ASSERT_EQ(dec(text.c_str()), std::to_string(pieces.size()) + ":" + pieces) << text;
  }
}

// ---- CRC-32 ----

TEST(Crc32, EveryImplementationAgreesWithZlib) {
  expect_rows({{CALL(tmp_crc32("123456789", 9)), 0xCBF43926}, {CALL(tmp_crc32(nullptr, 9)), 0}, {CALL(tmp_crc32("x", 0)), 0}, {CALL(tmp_crc32("x", -1)), 0}});
#if defined(__x86_64__)  // each folding is offered exactly where the CPU has what it needs
  EXPECT_EQ(ds::crc32_clmul() != nullptr, __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("sse4.1"));
  EXPECT_EQ(ds::crc32_vclmul() != nullptr, __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("vpclmulqdq"));
#endif
  const std::string data = noise(3003);
  auto api = +[](uint32_t, const uint8_t *p, size_t n) { return ~tmp_crc32(p, static_cast<int>(n)); };  // through the chosen one
  for (ds::Crc32Fn fn : {api, ds::crc32_slice8, ds::crc32_armv8(), ds::crc32_clmul(), ds::crc32_vclmul()})
    for (size_t len : {1, 3, 4, 7, 8, 9, 15, 16, 17, 63, 64, 65, 79, 80, 127, 128, 143, 255, 256, 271, 319, 511, 512, 1000, 2999})
      for (size_t off : {0, 1, 3})
        if (fn) { EXPECT_EQ(~fn(~0u, bytes_of(data) + off, len), crc32(0, bytes_of(data) + off, static_cast<uInt>(len))) << off << "+" << len; }
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
  int v[40], a = 5, b = 5, e[5] = {27, 28, 56, 57, 0};  // e: homes 27, 28, 27, 28, 0 in 29 slots: the cluster wraps to 0..2
  std::iota(v, v + 40, 0);
  // How many of the elements in [from, to) op takes, then the size.
  auto all = [&](auto op, int *from, int *to) { return std::count_if(from, to, [&](int &x) { return op(t, &x) == 0; }) * 1000 + t->size; };
  auto found = [&](int *from, int *to) { return std::count_if(from, to, [&](int &x) { return hash_get(t, &x) == &x; }); };
  expect_rows({
      {CALL(all(hash_add, v, v + 7)), 7029}, {CALL(all(hash_add, v + 7, v + 8)), 1061}, {CALL(all(hash_add, v + 8, v + 40)), 32253}, {CALL(found(v, v + 40)), 40},
      {CALL(all(hash_remove, v + 1, v + 40)), 39029}, {CALL(t->count), 1}, {CALL(found(v, v + 1)), 1}, {CALL(all(hash_remove, v, v + 1)), 1029},
      {CALL(hash_add(t, &a)), 0}, {CALL(hash_add(t, &a)), -1}, {CALL(hash_add(t, &b)), 0}, {CALL(hash_get(t, &b) == &a), 1},  // the first along the probe
      {CALL(hash_remove(t, &a)), 0}, {CALL(hash_get(t, &b) == &b), 1}, {CALL(hash_remove(t, &a)), -1}, {CALL(hash_add(t, nullptr)), -1},
      {CALL(hash_remove(t, nullptr)), -1}, {CALL(t->count), 1}, {CALL(hash_add(nullptr, &a)), -1}, {CALL(hash_remove(nullptr, &a)), -1},
      {CALL(hash_get(nullptr, &a) == nullptr), 1}, {CALL(hash_delete(nullptr), 0), 0}, {CALL(hash_remove(t, &b)), 0},
      {CALL(t->autoShrink = 0, all(hash_add, e, e + 5)), 5029}, {CALL(t->slots[0] == &e[2]), 1}, {CALL(all(hash_remove, e, e + 1)), 1029},
      {CALL(found(e + 1, e + 5)), 4}, {CALL(all(hash_remove, e + 1, e + 2)), 1029}, {CALL(found(e + 2, e + 5)), 3}, {CALL(hash_delete(t), 0), 0}});
}

// Random additions and removals of elements with full 32-bit hashes (equal
// keys among them) agree with a reference set, and every element sits in an
// unbroken run from its home slot, at every size up to 32765 and back.
TEST(Hash, RandomOperationsAtEverySize) {
  std::mt19937 rng(11);
  std::vector<uint32_t> pool{0xFFFFFFFFu, 0xFFFFFFFEu, 0x80000000u, 0};
  while (pool.size() < 6000) pool.push_back(rng() % 8 ? rng() : rng() % 64);
  hash_table_t *t = hash_new(int_hash, int_hash, int_match);
  std::set<int *> ref;  // elements in
  std::set<uint32_t> sizes;  // sizes seen
  auto check = [&] {
    ASSERT_EQ(t->count, ref.size());
    for (uint32_t i = 0; i < t->size; ++i)
      for (uint32_t j = t->slots[i] ? int_hash(t->slots[i]) % t->size : i; j != i; j = (j + 1) % t->size) ASSERT_NE(t->slots[j], nullptr) << t->size << " " << i;
    for (int *r : ref) ASSERT_TRUE(hash_get(t, r) && *static_cast<int *>(hash_get(t, r)) == *r);
  };
  for (int op = 0; op < 40000; ++op) {
    int *e = reinterpret_cast<int *>(&pool[rng() % pool.size()]);
    const bool add = op < 24000 ? rng() % 4 : rng() % 4 == 0, was_in = ref.count(e), new_size = sizes.insert(t->size).second;
    if (new_size || op % 4000 == 0) check();
    ASSERT_EQ(add ? (ref.insert(e), hash_add(t, e)) : (ref.erase(e), hash_remove(t, e)), add != was_in ? 0 : -1);
  }
  while (!ref.empty()) EXPECT_EQ(hash_remove(t, ref.extract(ref.begin()).value()), 0);
  EXPECT_EQ(std::pair(sizes.size(), t->size), std::pair(size_t{11}, 29u));  // 29 ... 32765 and back
  hash_delete(t);
}

// Whole words are added little-endian and mixed; the tail is added unmixed.
TEST(Hash, ByteStringHashValues) {
  const struct { const char *data; uint32_t seed, want; } rows[] = {{"", 77, 77}, {"a", 0, 0x62}, {"ab", 1, 0x6264},
      {"abc", 0, 0x636264}, {"abcd", 0, 3088330659u}, {"abcde", 0, 3151655318u}, {"abcdefgh", 3, 3433172777u}};
  for (const auto &r : rows) EXPECT_EQ(hash_update(r.data, static_cast<uint32_t>(strlen(r.data)), r.seed), r.want) << r.data;
}

// ---- memory pool ----

// Blocks come in address order, then the freed ones first in, first out;
// the links of a free block may sit unaligned (strides 17, 20, 23).
TEST(MemPool, BlocksNamesAndRefusals) {
  mem_pool_t *pool = nullptr;
  for (long size : {32, 17, 20, 23}) {
    char *base = static_cast<char *>((pool = mem_pool_create("records", static_cast<uint32_t>(size), 3))->blocks);
    auto at = [&] { char *b = static_cast<char *>(mem_pool_alloc(pool)); return b ? (b - base) / size : -1; };  // the block's index
    auto put = [&](std::initializer_list<long> blocks) { for (long b : blocks) mem_pool_free(pool, base + b * size); return pool->usedCount; };
    SCOPED_TRACE(size);
    expect_rows({{CALL(at()), 0}, {CALL(at()), 1}, {CALL(at()), 2}, {CALL(at()), -1, "no free block.\r\n"}, {CALL(put({1, 0})), 1},
                 {CALL(at()), 1}, {CALL(at()), 0}, {CALL(put({0, 1, 2, 2})), 0}, {CALL(at()), 0},  // none out: the extra free changes nothing
                 {CALL(mem_pool_free(pool, nullptr), mem_pool_free(nullptr, base), mem_pool_alloc(nullptr) == nullptr), 1},
                 {CALL(mem_pool_delete(pool)), 0}, {CALL(mem_pool_delete(nullptr)), -1}});
  }
  // A name of up to 32 characters fills the field with no terminator, the
  // block memory pointer right after it.
  const std::string n32(32, 'n'), n33(33, 'n'), bad = "invalid block size or count\r\n";
  expect_rows({{CALL((pool = mem_pool_create(n32.c_str(), 16, 1)) && std::string(pool->name, MEM_POOL_NAME_LEN) == n32), 1},
      {CALL(reinterpret_cast<char *>(&pool->blocks) - pool->name), MEM_POOL_NAME_LEN}, {CALL(mem_pool_alloc(pool) != nullptr && mem_pool_delete(pool) == 0), 1},
      {CALL(mem_pool_create(n33.c_str(), 16, 1) == nullptr), 1, "memory pool name is too long(33), max 32 is allowed.\r\n"},
      {CALL(mem_pool_create(nullptr, 16, 1) == nullptr), 1, "input is null\r\n"}, {CALL(mem_pool_create("x", 15, 4) == nullptr), 1, bad},
      {CALL(mem_pool_create("x", 16, 0) == nullptr), 1, bad}, {CALL(mem_pool_create("x", 16, -1) == nullptr), 1, bad}, {CALL(mem_pool_create("x", 0x10000, 0x10000) == nullptr), 1, bad}});
}

}  // namespace
}  // namespace aputil::test
