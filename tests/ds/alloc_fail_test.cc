// Failing the n-th heap allocation of the library's own allocations (hash
// table growth, memory pool, netlink buffer) for every n: no crash, no
// leak, the documented result. (The JSON layer's are covered through its
// hooks.) This program replaces malloc; under AddressSanitizer, which owns
// malloc, it skips.
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "hash.h"
#include "mem_pool.h"
#include "support/model_tree.h"
#include "util.h"

#if defined(__SANITIZE_ADDRESS__)
#define APUTIL_OWN_MALLOC 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define APUTIL_OWN_MALLOC 0
#endif
#endif
#ifndef APUTIL_OWN_MALLOC
#define APUTIL_OWN_MALLOC 1
#endif

namespace {
bool g_armed = false;
long g_countdown = 0;  // the allocation that fails: 0 = the next one
long g_live = 0;       // blocks from armed allocations not yet freed
}  // namespace

#if APUTIL_OWN_MALLOC
extern "C" {
void *__libc_malloc(size_t);
void *__libc_calloc(size_t, size_t);
void __libc_free(void *);

void *malloc(size_t n) {
  if (g_armed && g_countdown-- == 0) return nullptr;
  void *p = __libc_malloc(n);
  if (g_armed && p) ++g_live;
  return p;
}
void *calloc(size_t n, size_t size) {
  if (g_armed && g_countdown-- == 0) return nullptr;
  void *p = __libc_calloc(n, size);
  if (g_armed && p) ++g_live;
  return p;
}
void free(void *p) {
  if (g_armed && p) --g_live;
  __libc_free(p);
}
}  // extern "C"
#endif

namespace aputil::test {
namespace {

// Runs test(armed) for n = 0, 1, ... where armed(f) calls f with the n-th
// allocation it makes refused; stops once f makes no refused allocation.
// Only what armed wraps is counted, so the test's own allocations are not.
template <typename Test>
void for_every_allocation(Test test) {
#if !APUTIL_OWN_MALLOC
  GTEST_SKIP() << "AddressSanitizer owns malloc in this build";
#endif
  for (long n = 0;; ++n) {
    g_live = 0;
    g_countdown = n;
    auto armed = [](auto f) {
      g_armed = true;
      f();
      g_armed = false;
    };
    test(armed, n);
    if (g_countdown >= 0) break;  // the refused allocation never came
  }
}

uint32_t int_hash(const void *e) { return static_cast<uint32_t>(*static_cast<const int *>(e)); }
int int_match(const void *e, const void *k) { return *static_cast<const int *>(e) == *static_cast<const int *>(k); }

TEST(AllocFail, HashTableGrowthAndCreation) {
  std::vector<int> values(300);
  for (int i = 0; i < 300; ++i) values[i] = i * 31;
  for_every_allocation([&](auto armed, long n) {
    hash_table_t *t = nullptr;
    std::vector<int *> accepted;  // a refused growth refuses only that one addition
    armed([&] { t = hash_new(int_hash, int_hash, int_match); });
    if (n < 2) {
      EXPECT_EQ(t, nullptr) << n;  // header or slot array refused
    }
    for (int &v : values) {
      int rc = -1;
      if (t) armed([&] { rc = hash_add(t, &v); });
      if (rc == 0) accepted.push_back(&v);
    }
    for (int *v : accepted) EXPECT_EQ(hash_get(t, v), v) << n;
    if (t) {
      EXPECT_EQ(t->count, accepted.size()) << n;
      armed([&] { hash_delete(t); });
    }
    EXPECT_EQ(g_live, 0) << n;  // nothing leaked
  });
}

TEST(AllocFail, MemoryPoolCreation) {
  for_every_allocation([](auto armed, long n) {
    const std::string out = stdout_of([&] {
      armed([] {
        mem_pool_t *pool = mem_pool_create("p", 16, 4);
        if (pool) mem_pool_delete(pool);
      });
    });
    EXPECT_EQ(g_live, 0) << n;
    const char *want[] = {"malloc memory pool failed\r\n", "malloc block memory failed\r\n"};
    if (n < 2) {
      EXPECT_EQ(out, want[n]);
    }
  });
}

TEST(AllocFail, NetlinkBuffer) {
  const int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
  ASSERT_GE(fd, 0);
  for_every_allocation([fd](auto armed, long n) {
    int rc = 0;
    const std::string out = stdout_of([&] { armed([&] { rc = util_nl_sendData(fd, "abc", 3, 1); }); });
    EXPECT_EQ(g_live, 0) << n;
    if (n == 0) {
      EXPECT_EQ(rc, -1);
      EXPECT_EQ(out, "alloc mem failed\r\n");
    }
  });
  close(fd);
}

}  // namespace
}  // namespace aputil::test
