#include "common/host_root.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace aputil {

#if APUTIL_HOST_SYSROOT
HostPath::HostPath(const char *device_path) : path_(device_path) {
  const char *root = secure_getenv("APUTIL_SYSROOT");
  if (!device_path || device_path[0] != '/' || !root || !root[0]) return;
  const int n = std::snprintf(buf_, sizeof buf_, "%s%s", root, device_path);
  if (n < 0 || static_cast<size_t>(n) >= sizeof buf_) buf_[0] = '\0';
  path_ = buf_;
}

ShellPath::ShellPath(const char *device_path) : word_(device_path), host_(device_path) {
  if (host_.c_str() == device_path) return;  // no prefix: the device's own word
  char *out = quoted_;
  char *const end = quoted_ + sizeof quoted_ - 2;  // room for the closing quote and NUL
  *out++ = '\'';
  for (const char *p = host_.c_str(); *p && out; ++p) {
    if (*p == '\'') {
      if (end - out < 4) out = nullptr;
      else out = static_cast<char *>(std::memcpy(out, "'\\''", 4)) + 4;  // close, escaped quote, reopen
    } else if (out < end) {
      *out++ = *p;
    } else {
      out = nullptr;
    }
  }
  if (!out || !host_.c_str()[0]) {
    std::memcpy(quoted_, "''", 3);
  } else {
    *out++ = '\'';
    *out = '\0';
  }
  word_ = quoted_;
}
#else
HostPath::HostPath(const char *device_path) : path_(device_path) {}
ShellPath::ShellPath(const char *device_path) : word_(device_path) {}
#endif

}  // namespace aputil

namespace aputil {

long read_device_file(const char *device_path, char *buf, size_t cap) {
  FILE *f = std::fopen(HostPath(device_path).c_str(), "r");
  if (!f) return -1;
  const size_t got = std::fread(buf, 1, cap, f);
  std::fclose(f);
  return static_cast<long>(got);
}

}  // namespace aputil
