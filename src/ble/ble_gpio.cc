// The co-processor's reset, boot-select and test-mode lines.
#include <unistd.h>

#include <cstdio>

#include "ble.h"
#include "common/host_root.h"
#include "util.h"

namespace {

// "echo on|off > /proc/morvik_gpio/<line>" (under the host root on a host,
// the path quoted for the shell).
// A command that would not fit the 255 characters util_execFormatCmd keeps
// (a long host root) is not run at all: cut, it could write elsewhere.
void set_line(const char *line, bool on) {
  char path[64];
  std::snprintf(path, sizeof path, "/proc/morvik_gpio/%s", line);
  const aputil::ShellPath word(path);
  const char *value = on ? "on" : "off";
  if (std::snprintf(nullptr, 0, "echo %s > %s", value, word.c_str()) > 255) return;
  util_execFormatCmd("echo %s > %s", value, word.c_str());
}

}  // namespace

extern "C" {

APUTIL_API void ble_gpio_bootloader_prep(void) {
  usleep(200000);
  set_line("ble_backdoor", true);
  usleep(200000);
  set_line("ble_reset", true);
  usleep(200000);
  set_line("ble_reset", false);
  usleep(200000);
  set_line("ble_backdoor", false);
  usleep(200000);
}

APUTIL_API void ble_gpio_reset(void) {
  usleep(200000);
  set_line("ble_reset", true);
  usleep(200000);
  set_line("ble_reset", false);
  usleep(400000);
}

APUTIL_API void ble_gpio_fac_init(void) {
  usleep(200000);
  set_line("ble_ptm", true);
  ble_gpio_reset();
}

APUTIL_API void ble_gpio_fac_deinit(void) {
  usleep(200000);
  set_line("ble_ptm", false);
  ble_gpio_reset();
}

}  // extern "C"
