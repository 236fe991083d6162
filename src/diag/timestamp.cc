#include "diag/timestamp.h"

#include <cstring>
#include <ctime>

namespace aputil::diag {

const char *timestamp() {
  static char buf[24];
  std::memset(buf, 0, sizeof buf);
  const std::time_t now = std::time(nullptr);
  std::tm local;
  if (localtime_r(&now, &local)) std::strftime(buf, sizeof buf, "%Y-%m-%d %H:%M:%S", &local);
  return buf;
}

}  // namespace aputil::diag
