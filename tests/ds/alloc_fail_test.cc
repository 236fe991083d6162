// Failing the n-th heap allocation of the library's own allocations (hash
// table growth and shrinking, memory pool, netlink buffer, the crypto work
// buffers) for every n: no
// crash, no leak, the documented result. (The JSON layer's are covered
// through its hooks.) This program replaces malloc; under AddressSanitizer,
// which owns malloc, it has no tests.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include "crypto.h"
#include "hash.h"
#include "mem_pool.h"
#include "support/model_tree.h"
#include "util.h"

#ifndef __SANITIZE_ADDRESS__  // which owns malloc: nothing to test there
// Whether allocations are being counted; the one to refuse (0: the next); blocks from counted allocations not yet
// freed.
static long g_armed = 0, g_countdown = 0, g_live = 0;
static bool refuse() { return g_armed && g_countdown-- == 0; }
static void *counted(void *p) {
  g_live += g_armed && p;
  return p;
}

extern "C" {
void *__libc_malloc(size_t);
void *__libc_calloc(size_t, size_t);
void __libc_free(void *);
void *malloc(size_t n) { return refuse() ? nullptr : counted(__libc_malloc(n)); }
void *calloc(size_t n, size_t size) { return refuse() ? nullptr : counted(__libc_calloc(n, size)); }
void free(void *p) {
  g_live -= g_armed && p;
  __libc_free(p);
}
}  // extern "C"

namespace aputil::test {
namespace {

// f() run with its allocations counted and the chosen one refused.
template <typename F>
auto armed(F f) {
  g_armed = 1;
  const auto r = f();
  g_armed = 0;
  return r;
}

// Runs test(n) for n = 0, 1, ... with the n-th armed allocation refused,
// until a run made no refused allocation; each must leave nothing armed
// allocated.
template <typename Test>
void for_every_allocation(Test test) {
  for (long n = 0; g_countdown < 0 || n == 0; ++n) {
    g_live = 0;
    g_countdown = n;
    test(n);
    EXPECT_EQ(g_live, 0) << n;
  }
}

// Elements in runs of four sharing a home, runs at successive homes: one
// long cluster, so that a removal leaves a hole to fill.
uint32_t run_hash(const void *e) { return static_cast<uint32_t>(*static_cast<const int *>(e) / 4); }
int same(const void *e, const void *k) { return e == k; }

// Creation refused: no table. A growth or shrink refused: only that one
// addition is refused, a removal still succeeds and leaves every other
// element findable.
TEST(AllocFail, HashTable) {
  int v[300];
  for_every_allocation([&](long n) {
    std::vector<int *> in;
    hash_table_t *t = armed([] { return hash_new(run_hash, run_hash, same); });
    EXPECT_EQ(t == nullptr, n < 2) << n;  // the header or the slot array
    for (int i = 0; i < 300; ++i)
      if (armed([&] { return hash_add(t, &(v[i] = i)); }) == 0) in.push_back(&v[i]);
    EXPECT_EQ(in.size(), n < 2 ? 0u : g_countdown < 0 ? 299u : 300u) << n;
    for (size_t i = 0; i < in.size(); ++i) {
      const long before = g_countdown;
      EXPECT_EQ(armed([&] { return hash_remove(t, in[i]); }), 0) << n;
      for (size_t j = i + 1; before >= 0 && g_countdown < 0 && j < in.size(); ++j)
        EXPECT_EQ(hash_get(t, in[j]), in[j]) << n;
    }
    g_armed = 1;
    hash_delete(t);
    g_armed = 0;
  });
}

TEST(AllocFail, MemoryPoolAndNetlinkBuffer) {
  const int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
  ASSERT_GE(fd, 0);
  const char *pool_says[] = {"malloc memory pool failed\r\n", "malloc block memory failed\r\n", ""};
  for_every_allocation([&](long n) {
    EXPECT_EQ(stdout_of([&] { armed([] { return mem_pool_delete(mem_pool_create("p", 16, 4)); }); }),
              pool_says[std::min(n, 2L)]);
  });
  for_every_allocation([&](long n) {
    int rc = 0;
    const std::string out = stdout_of([&] { rc = armed([&] { return util_nl_sendData(fd, "abc", 3, 1); }); });
    EXPECT_TRUE(n > 0 || (rc == -1 && out == "alloc mem failed\r\n")) << rc << out;
  });
  close(fd);
}

// RSA verification and sealing give up when their work buffer is refused.
TEST(AllocFail, CryptoWorkBuffers) {
  const uint8_t bytes[16] = {};
  g_countdown = 0;  // the first allocation of each: its work buffer (sealing then writes nothing)
  EXPECT_EQ(armed([&] { return rsaVerifySign(bytes, 0, bytes, 2, bytes, sizeof bytes); }), 0);
  g_countdown = 0;
  EXPECT_EQ(armed([] { return file_md5_des("/dev/null", "/x", 1); }), -1);
}

}  // namespace
}  // namespace aputil::test
#endif
