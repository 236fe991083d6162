// Decoding fuzz input into call sequences and arguments, and the check
// that turns a disagreement with an oracle into a finding.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "quiet.h"

namespace fuzz {

// A disagreement with the oracle or the model: report and abort, so that
// libFuzzer keeps the input as a crash.
#define FUZZ_CHECK(cond)                                                         \
  do {                                                                           \
    if (!(cond)) {                                                               \
      if (fuzz::g_saved_stderr >= 0) dup2(fuzz::g_saved_stderr, 2);              \
      std::fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #cond); \
      std::abort();                                                              \
    }                                                                            \
  } while (0)

// An int over its whole range, but with the edges and small values often.
inline int any_int(FuzzedDataProvider &in) {
  switch (in.ConsumeIntegralInRange(0, 3)) {
    case 0: return in.ConsumeIntegralInRange(-2, 70);
    case 1: return in.PickValueInArray({0, -1, 1, 7, 8, 9, 15, 16, 17, 23, 24, 255, 256, 65535, 65536,
                                        0x7FFFFFF7, 0x7FFFFFFF, static_cast<int>(0x80000000u)});
    default: return in.ConsumeIntegral<int>();
  }
}

}  // namespace fuzz
