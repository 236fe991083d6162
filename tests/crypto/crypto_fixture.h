#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace aputil::test {

using Bytes = std::vector<uint8_t>;

inline std::string hex(const uint8_t *p, size_t n) {
  static const char d[] = "0123456789abcdef";
  std::string s;
  for (size_t i = 0; i < n; ++i) s += {d[p[i] >> 4], d[p[i] & 15]};
  return s;
}

inline Bytes bytes(const std::string &s) { return Bytes(s.begin(), s.end()); }

}  // namespace aputil::test
