// The shared timestamp of the debug and input record logs.
#pragma once

namespace aputil::diag {

// Local time as "%Y-%m-%d %H:%M:%S" in one static buffer that every call
// overwrites.
const char *timestamp();

}  // namespace aputil::diag
