// The library's sleeps end at once in the BLE tests; they are counted and
// may run a hook.
#include <unistd.h>

#include "ble_fixture.h"

int aputil::test::g_usleep_calls = 0;
long aputil::test::g_usleep_total_us = 0;
std::function<void(long)> aputil::test::g_on_usleep;

extern "C" int usleep(useconds_t us) {
  ++aputil::test::g_usleep_calls;
  aputil::test::g_usleep_total_us += static_cast<long>(us);
  if (aputil::test::g_on_usleep) aputil::test::g_on_usleep(static_cast<long>(us));
  return 0;
}
