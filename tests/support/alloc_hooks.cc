#include "support/alloc_hooks.h"

#include <cstdlib>

#include "cJSON.h"

namespace aputil::test {
namespace {
AllocStats g_stats;

void *counting_malloc(size_t size) {
  long index = g_stats.allocations++;
  if (index == g_stats.fail_at) return nullptr;
  void *p = std::malloc(size);
  if (p) ++g_stats.live;
  return p;
}

void counting_free(void *p) {
  if (p) --g_stats.live;
  std::free(p);
}
}  // namespace

ScopedHooks::ScopedHooks() {
  reset();
  cJSON_Hooks hooks = {counting_malloc, counting_free};
  cJSON_InitHooks(&hooks);
}

ScopedHooks::~ScopedHooks() { cJSON_InitHooks(nullptr); }

AllocStats &ScopedHooks::stats() { return g_stats; }

void ScopedHooks::release(void *p) { counting_free(p); }

void ScopedHooks::reset() { g_stats = AllocStats{}; }

}  // namespace aputil::test
