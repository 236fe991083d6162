// Keeping the library's console lines out of the fuzz logs (millions of
// them in a long run) while libFuzzer's own report still gets through.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace fuzz {

// The descriptor of the real standard error while Quiet has it pointed at
// /dev/null, else -1.
inline int g_saved_stderr = -1;

// Standard output to /dev/null for good (libFuzzer does not use it), and
// standard error for the scope of one input. A sanitizer report inside that
// scope is silenced too: replay the input with FUZZ_VERBOSE=1 to see it.
struct Quiet {
  Quiet() {
    static const int null_fd = [] {
      if (std::getenv("FUZZ_VERBOSE")) return -1;
      std::freopen("/dev/null", "w", stdout);
      return open("/dev/null", O_WRONLY);
    }();
    if (null_fd < 0) return;
    std::fflush(stderr);
    g_saved_stderr = dup(2);
    dup2(null_fd, 2);
  }
  ~Quiet() {
    if (g_saved_stderr < 0) return;
    std::fflush(stderr);
    dup2(g_saved_stderr, 2);
    close(g_saved_stderr);
    g_saved_stderr = -1;
  }
  Quiet(const Quiet &) = delete;
  Quiet &operator=(const Quiet &) = delete;
};

}  // namespace fuzz
