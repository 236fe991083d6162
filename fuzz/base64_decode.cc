// b64_decode on any text (explicit length and NUL-terminated), and a round trip.
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "base64.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size > 4096) return 0;
  std::vector<uint8_t> out(size + 1);
  const std::string text(reinterpret_cast<const char *>(data), size);
  b64_decode(out.data(), static_cast<int>(out.size()), text.data(), static_cast<int>(size));
  b64_decode(out.data(), static_cast<int>(out.size()), text.c_str(), -1);
  std::vector<char> coded(4 * (size / 3 + 1) + 1);
  const int n = b64_encode(coded.data(), static_cast<int>(coded.size()), data, static_cast<int>(size));
  std::vector<uint8_t> back(coded.size() / 4 * 3 + 1);  // decoding needs more than length / 4 * 3
  if (n < 0 || b64_decode(back.data(), static_cast<int>(back.size()), coded.data(), n) != static_cast<int>(size) ||
      std::memcmp(back.data(), data, size) != 0)
    std::abort();
  return 0;
}
