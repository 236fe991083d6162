// Allocation hooks for the JSON interface that count live blocks and can
// fail one chosen allocation. Install with ScopedHooks; the destructor
// restores malloc/free.
#pragma once

#include <cstddef>

namespace aputil::test {

struct AllocStats {
  long live = 0;         // blocks allocated and not yet freed
  long allocations = 0;  // malloc calls since reset
  long fail_at = -1;     // index of the allocation to refuse, or -1
};

class ScopedHooks {
 public:
  ScopedHooks();
  ~ScopedHooks();
  ScopedHooks(const ScopedHooks &) = delete;
  ScopedHooks &operator=(const ScopedHooks &) = delete;

  AllocStats &stats();
  void reset();  // counters to zero, no failure
  // Free a block (such as printed text) through the counting free hook.
  static void release(void *p);
};

}  // namespace aputil::test
