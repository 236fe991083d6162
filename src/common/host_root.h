// The one place where the library turns a device path into the path it
// opens. Built with APUTIL_HOST_SYSROOT=1, a non-empty APUTIL_SYSROOT in the
// environment prefixes every absolute path; it is read (with secure_getenv)
// each time a path is resolved, so a process may change it between calls.
// Built with APUTIL_HOST_SYSROOT=0 the resolver is the identity and reads no
// environment. Messages always print the device path, never the result.
#pragma once

#include <climits>
#include <cstddef>

#include "aputil_build_config.h"

namespace aputil {

class HostPath {
 public:
  explicit HostPath(const char *device_path);
  HostPath(const HostPath &) = delete;
  HostPath &operator=(const HostPath &) = delete;

  // The path to open. When the prefixed path does not fit PATH_MAX this is
  // "", so opening it fails (ENOENT) instead of touching another file.
  const char *c_str() const { return path_; }

 private:
  const char *path_;
#if APUTIL_HOST_SYSROOT
  char buf_[PATH_MAX];
#endif
};

// A device path as one word of a shell command. Under a host root the
// prefixed path is single-quoted (the root is the user's and may hold blanks,
// "$(...)" or quotes); a path that was not prefixed, as on the device, is
// passed as it is, so the device runs exactly its own command. When the
// quoted path does not fit, this is "''" (an empty word), so the command
// fails instead of touching another file.
class ShellPath {
 public:
  explicit ShellPath(const char *device_path);
  ShellPath(const ShellPath &) = delete;
  ShellPath &operator=(const ShellPath &) = delete;

  const char *c_str() const { return word_; }

 private:
  const char *word_;
#if APUTIL_HOST_SYSROOT
  HostPath host_;
  char quoted_[4 * PATH_MAX + 3];  // every byte a quote ('\'') at worst
#endif
};

}  // namespace aputil

namespace aputil {

// Open a device path (through the host root) and read at most cap bytes of
// it into buf. Returns: the count read, or -1 when the file cannot be opened
// (errno as fopen left it).
long read_device_file(const char *device_path, char *buf, size_t cap);

}  // namespace aputil
