// The library against its peers, same data, same run. Each case is
// registered as "<name>/ours/<arg>" and "<name>/peer/<arg>"; scripts/bench
// pairs them into ratios.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <benchmark/benchmark.h>
#include <openssl/des.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/md5.h>
#include <openssl/objects.h>
#include <openssl/rsa.h>
#include <openssl/sha.h>
#include <zlib.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <unordered_set>
#include <vector>

#include "base64.h"
#include "crypto.h"
#include "hash.h"
#include "mem_pool.h"

namespace {

const std::vector<uint8_t> &data() {
  static const std::vector<uint8_t> d = [] {
    std::vector<uint8_t> v((1 << 20) + 64);
    std::mt19937 rng(1);
    for (auto &b : v) b = static_cast<uint8_t>(rng());
    return v;
  }();
  return d;
}

template <typename F>
void bytes_loop(benchmark::State &state, F f) {
  const size_t n = static_cast<size_t>(state.range(0));
  for (auto _ : state) f(data().data(), n);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * n));
}

// --- CRC-32
void crc_ours(benchmark::State &s) {
  bytes_loop(s, [](const uint8_t *p, size_t n) { benchmark::DoNotOptimize(tmp_crc32(p, static_cast<int>(n))); });
}
void crc_peer(benchmark::State &s) {
  bytes_loop(s, [](const uint8_t *p, size_t n) { benchmark::DoNotOptimize(crc32(0, p, static_cast<uInt>(n))); });
}
BENCHMARK(crc_ours)->Name("crc32/ours")->Arg(1024)->Arg(65536)->Arg(1 << 20);
BENCHMARK(crc_peer)->Name("crc32/peer")->Arg(1024)->Arg(65536)->Arg(1 << 20);

// --- MD5, HMAC-MD5, SHA-1
void md5_ours(benchmark::State &s) {
  uint8_t d[16];
  bytes_loop(s, [&](const uint8_t *p, size_t n) { md5_make_digest(d, p, static_cast<uint32_t>(n)); });
}
void md5_peer(benchmark::State &s) {
  uint8_t d[16];
  bytes_loop(s, [&](const uint8_t *p, size_t n) { MD5(p, n, d); });
}
BENCHMARK(md5_ours)->Name("md5/ours")->Arg(1024)->Arg(1 << 20);
BENCHMARK(md5_peer)->Name("md5/peer")->Arg(1024)->Arg(1 << 20);

const char kKey[] = "0123456789abcdef";
void hmac_ours(benchmark::State &s) {
  uint8_t d[16];
  bytes_loop(s, [&](const uint8_t *p, size_t n) { hmac_md5(p, static_cast<uint32_t>(n), kKey, 16, d); });
}
void hmac_peer(benchmark::State &s) {
  uint8_t d[16];
  unsigned int len;
  bytes_loop(s, [&](const uint8_t *p, size_t n) { HMAC(EVP_md5(), kKey, 16, p, n, d, &len); });
}
BENCHMARK(hmac_ours)->Name("hmac_md5/ours")->Arg(64)->Arg(1 << 20);
BENCHMARK(hmac_peer)->Name("hmac_md5/peer")->Arg(64)->Arg(1 << 20);

void sha1_ours(benchmark::State &s) {
  uint8_t d[20];
  bytes_loop(s, [&](const uint8_t *p, size_t n) { RSA_SHA_Simple(p, static_cast<int>(n), d); });
}
void sha1_peer(benchmark::State &s) {
  uint8_t d[20];
  bytes_loop(s, [&](const uint8_t *p, size_t n) { SHA1(p, n, d); });
}
BENCHMARK(sha1_ours)->Name("sha1/ours")->Arg(64)->Arg(1 << 20);
BENCHMARK(sha1_peer)->Name("sha1/peer")->Arg(64)->Arg(1 << 20);

// --- RSA verification (2048 bits, e = 65537)
struct RsaCase {
  RSA *rsa;
  std::vector<uint8_t> blob, sig_le, sig_be;
  uint8_t digest[20];
  RsaCase() {
    rsa = RSA_new();
    BIGNUM *e = BN_new();
    BN_set_word(e, 65537);
    RSA_generate_key_ex(rsa, 2048, e, nullptr);
    BN_free(e);
    const BIGNUM *n;
    RSA_get0_key(rsa, &n, nullptr, nullptr);
    std::vector<uint8_t> mod(static_cast<size_t>(BN_num_bytes(n)));
    BN_bn2bin(n, mod.data());
    blob = {6, 2, 0, 0, 0, 0xA4, 0, 0, 'R', 'S', 'A', '1', 0, 8, 0, 0, 1, 0, 1, 0};
    blob.insert(blob.end(), mod.rbegin(), mod.rend());
    SHA1(data().data(), 1024, digest);
    sig_be.resize(static_cast<size_t>(RSA_size(rsa)));
    unsigned int len;
    RSA_sign(NID_sha1, digest, 20, sig_be.data(), &len, rsa);
    sig_le.assign(sig_be.rbegin(), sig_be.rend());
  }
};
const RsaCase &rsa_case() {
  static const RsaCase c;
  return c;
}
void rsa_ours(benchmark::State &s) {
  const RsaCase &c = rsa_case();
  for (auto _ : s)
    benchmark::DoNotOptimize(rsaVerifySign(c.blob.data(), 0, data().data(), 1024, c.sig_le.data(),
                                           static_cast<uint32_t>(c.sig_le.size())));
}
void rsa_peer(benchmark::State &s) {
  const RsaCase &c = rsa_case();
  for (auto _ : s) {
    uint8_t digest[20];
    SHA1(data().data(), 1024, digest);  // the same work: hash, then verify
    benchmark::DoNotOptimize(RSA_verify(NID_sha1, digest, 20, c.sig_be.data(),
                                        static_cast<unsigned int>(c.sig_be.size()), c.rsa));
  }
}
BENCHMARK(rsa_ours)->Name("rsa_verify_2048/ours")->Arg(1024);
BENCHMARK(rsa_peer)->Name("rsa_verify_2048/peer")->Arg(1024);

// --- base64
void b64enc_ours(benchmark::State &s) {
  static std::vector<char> out((1 << 20) * 2);
  bytes_loop(s, [&](const uint8_t *p, size_t n) {
    benchmark::DoNotOptimize(b64_encode(out.data(), static_cast<int>(out.size()), p, static_cast<int>(n)));
  });
}
void b64enc_peer(benchmark::State &s) {
  static std::vector<unsigned char> out((1 << 20) * 2);
  bytes_loop(s, [&](const uint8_t *p, size_t n) {
    benchmark::DoNotOptimize(EVP_EncodeBlock(out.data(), p, static_cast<int>(n)));
  });
}
const std::vector<char> &coded(size_t n) {
  static std::vector<char> text;
  text.assign(4 * ((n + 2) / 3) + 1, 0);
  b64_encode(text.data(), static_cast<int>(text.size()), data().data(), static_cast<int>(n));
  return text;
}
void b64dec_ours(benchmark::State &s) {
  const std::vector<char> &t = coded(static_cast<size_t>(s.range(0)));
  std::vector<uint8_t> out(t.size());
  for (auto _ : s)
    benchmark::DoNotOptimize(b64_decode(out.data(), static_cast<int>(out.size()), t.data(), static_cast<int>(t.size() - 1)));
  s.SetBytesProcessed(static_cast<int64_t>(s.iterations() * s.range(0)));
}
void b64dec_peer(benchmark::State &s) {
  const std::vector<char> &t = coded(static_cast<size_t>(s.range(0)));
  std::vector<uint8_t> out(t.size());
  for (auto _ : s)
    benchmark::DoNotOptimize(EVP_DecodeBlock(out.data(), reinterpret_cast<const unsigned char *>(t.data()),
                                             static_cast<int>(t.size() - 1)));
  s.SetBytesProcessed(static_cast<int64_t>(s.iterations() * s.range(0)));
}
BENCHMARK(b64enc_ours)->Name("b64_encode/ours")->Arg(1024)->Arg(65536);
BENCHMARK(b64enc_peer)->Name("b64_encode/peer")->Arg(1024)->Arg(65536);
BENCHMARK(b64dec_ours)->Name("b64_decode/ours")->Arg(1024)->Arg(65536);
BENCHMARK(b64dec_peer)->Name("b64_decode/peer")->Arg(1024)->Arg(65536);

// --- DES-ECB
const uint8_t kDesKey[8] = {1, 2, 3, 4, 5, 6, 7, 8};
void des_ours(benchmark::State &s) {
  static std::vector<uint8_t> out(65536 + 8);
  bytes_loop(s, [&](const uint8_t *p, size_t n) {
    benchmark::DoNotOptimize(des_min_do(p, static_cast<int>(n), out.data(), static_cast<uint32_t>(out.size()), kDesKey, 1));
  });
}
void des_peer(benchmark::State &s) {
  static std::vector<uint8_t> out(65536 + 8);
  bytes_loop(s, [&](const uint8_t *p, size_t n) {
    DES_cblock k;
    std::memcpy(k, kDesKey, 8);
    DES_key_schedule ks;
    DES_set_key_unchecked(&k, &ks);  // the same work: a schedule per call
    for (size_t i = 0; i < n; i += 8)
      DES_ecb_encrypt(reinterpret_cast<const_DES_cblock *>(const_cast<uint8_t *>(p + i)),
                      reinterpret_cast<DES_cblock *>(out.data() + i), &ks, DES_ENCRYPT);
  });
}
BENCHMARK(des_ours)->Name("des_ecb/ours")->Arg(1024)->Arg(65536);
BENCHMARK(des_peer)->Name("des_ecb/peer")->Arg(1024)->Arg(65536);

// --- memory pool against malloc/free (64-byte blocks)
void pool_ours(benchmark::State &s) {
  mem_pool_t *pool = mem_pool_create("bench", 64, 1024);
  for (auto _ : s) {
    void *b = mem_pool_alloc(pool);
    benchmark::DoNotOptimize(b);
    mem_pool_free(pool, b);
  }
  mem_pool_delete(pool);
}
void pool_peer(benchmark::State &s) {
  for (auto _ : s) {
    void *b = std::malloc(64);
    benchmark::DoNotOptimize(b);
    std::free(b);
  }
}
BENCHMARK(pool_ours)->Name("pool_alloc_free/ours")->Arg(64);
BENCHMARK(pool_peer)->Name("pool_alloc_free/peer")->Arg(64);

// --- hash table against std::unordered_set with function-pointer hash and equality
uint32_t key_hash(const void *k) { return hash_update(k, sizeof(uint64_t), 0); }
int key_match(const void *e, const void *k) { return *static_cast<const uint64_t *>(e) == *static_cast<const uint64_t *>(k); }
struct PtrHash {
  size_t operator()(const uint64_t *p) const { return fn(p); }
  uint32_t (*fn)(const void *) = key_hash;
};
struct PtrEq {
  bool operator()(const uint64_t *a, const uint64_t *b) const { return fn(a, b) != 0; }
  int (*fn)(const void *, const void *) = key_match;
};
using PeerSet = std::unordered_set<const uint64_t *, PtrHash, PtrEq>;

std::vector<uint64_t> &keys(size_t n) {
  static std::vector<uint64_t> k;
  k.resize(2 * n);
  for (size_t i = 0; i < k.size(); ++i) k[i] = i * 0x9E3779B97F4A7C15ull;
  return k;
}

// Successful and failed look-ups: keys [0, n) are in the table, [n, 2n) not.
void hash_get_ours(benchmark::State &s, bool hit) {
  const size_t n = static_cast<size_t>(s.range(0));
  std::vector<uint64_t> &k = keys(n);
  hash_table_t *t = hash_new(key_hash, key_hash, key_match);
  for (size_t i = 0; i < n; ++i) hash_add(t, &k[i]);
  const size_t base = hit ? 0 : n;
  size_t i = 0;
  for (auto _ : s) {
    benchmark::DoNotOptimize(hash_get(t, &k[base + i]));
    if (++i == n) i = 0;
  }
  hash_delete(t);
}
void hash_get_peer(benchmark::State &s, bool hit) {
  const size_t n = static_cast<size_t>(s.range(0));
  std::vector<uint64_t> &k = keys(n);
  PeerSet set;
  for (size_t i = 0; i < n; ++i) set.insert(&k[i]);
  const size_t base = hit ? 0 : n;
  size_t i = 0;
  for (auto _ : s) {
    benchmark::DoNotOptimize(set.find(&k[base + i]));
    if (++i == n) i = 0;
  }
}
// What the caller's callbacks alone cost per successful look-up (one hash,
// one match, called through pointers as both tables call them): the part
// of a look-up no table can save.
// The callbacks as opaque pointers, so the compiler cannot inline them.
struct Opaque {
  Opaque() : h(hash_fn), m(match_fn) {}
  static inline uint32_t (*volatile hash_fn)(const void *) = key_hash;
  static inline int (*volatile match_fn)(const void *, const void *) = key_match;
  uint32_t (*const h)(const void *);
  int (*const m)(const void *, const void *);
};
void hash_callbacks_only(benchmark::State &s) {
  const size_t n = static_cast<size_t>(s.range(0));
  std::vector<uint64_t> &k = keys(n);
  const auto [h, m] = Opaque();
  size_t i = 0;
  for (auto _ : s) {
    benchmark::DoNotOptimize(h(&k[i]));
    benchmark::DoNotOptimize(m(&k[i], &k[i]));
    if (++i == n) i = 0;
  }
}
// The least any open-addressing look-up does: the caller's hash, the home
// slot (with a division), one slot read and the caller's match; no probing
// past the home slot, so it is wrong for keys that collide.
void hash_one_slot_only(benchmark::State &s) {
  const size_t n = static_cast<size_t>(s.range(0));
  std::vector<uint64_t> &k = keys(n);
  const auto [h, m] = Opaque();
  volatile uint32_t slot_count = 4093;  // the table's size for 1,000 elements
  const uint32_t size = slot_count;
  std::vector<void *> slots(size);
  for (size_t i = 0; i < n; ++i) slots[h(&k[i]) % size] = &k[i];
  size_t i = 0;
  for (auto _ : s) {
    void *e = slots[h(&k[i]) % size];
    benchmark::DoNotOptimize(e && m(e, &k[i]));
    if (++i == n) i = 0;
  }
}
// Insert all n keys into an empty table, or remove all n from a full one;
// only that half is timed.
void hash_fill_ours(benchmark::State &s, bool insert) {
  const size_t n = static_cast<size_t>(s.range(0));
  std::vector<uint64_t> &k = keys(n);
  for (auto _ : s) {
    s.PauseTiming();
    hash_table_t *t = hash_new(key_hash, key_hash, key_match);
    if (!insert)
      for (size_t i = 0; i < n; ++i) hash_add(t, &k[i]);
    s.ResumeTiming();
    if (insert)
      for (size_t i = 0; i < n; ++i) hash_add(t, &k[i]);
    else
      for (size_t i = 0; i < n; ++i) hash_remove(t, &k[i]);
    s.PauseTiming();
    hash_delete(t);
    s.ResumeTiming();
  }
  s.SetItemsProcessed(static_cast<int64_t>(s.iterations() * n));
}
void hash_fill_peer(benchmark::State &s, bool insert) {
  const size_t n = static_cast<size_t>(s.range(0));
  std::vector<uint64_t> &k = keys(n);
  for (auto _ : s) {
    s.PauseTiming();
    auto *set = new PeerSet;
    if (!insert)
      for (size_t i = 0; i < n; ++i) set->insert(&k[i]);
    s.ResumeTiming();
    if (insert)
      for (size_t i = 0; i < n; ++i) set->insert(&k[i]);
    else
      for (size_t i = 0; i < n; ++i) set->erase(&k[i]);
    s.PauseTiming();
    delete set;
    s.ResumeTiming();
  }
  s.SetItemsProcessed(static_cast<int64_t>(s.iterations() * n));
}
BENCHMARK_CAPTURE(hash_get_ours, hit, true)->Name("hash_get_hit/ours")->Arg(1000)->Arg(100000);
BENCHMARK_CAPTURE(hash_get_peer, hit, true)->Name("hash_get_hit/peer")->Arg(1000)->Arg(100000);
BENCHMARK_CAPTURE(hash_get_ours, miss, false)->Name("hash_get_miss/ours")->Arg(1000)->Arg(100000);
BENCHMARK_CAPTURE(hash_get_peer, miss, false)->Name("hash_get_miss/peer")->Arg(1000)->Arg(100000);
BENCHMARK(hash_callbacks_only)->Name("hash_callbacks_only")->Arg(1000);
BENCHMARK(hash_one_slot_only)->Name("hash_one_slot_only")->Arg(1000);
BENCHMARK_CAPTURE(hash_fill_ours, insert, true)->Name("hash_insert/ours")->Arg(1000)->Arg(100000);
BENCHMARK_CAPTURE(hash_fill_peer, insert, true)->Name("hash_insert/peer")->Arg(1000)->Arg(100000);
BENCHMARK_CAPTURE(hash_fill_ours, remove, false)->Name("hash_remove/ours")->Arg(1000)->Arg(100000);
BENCHMARK_CAPTURE(hash_fill_peer, remove, false)->Name("hash_remove/peer")->Arg(1000)->Arg(100000);

}  // namespace

BENCHMARK_MAIN();
