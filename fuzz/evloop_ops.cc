// Sequences of evloop_fd_add / evloop_fd_del / evloop_timeout_set /
// evloop_timeout_cancel on caller records, checked after every step against
// a model of the registry (20 slots, the interest sets, the highest
// descriptor) and of the timer list. The loop itself never returns, so it
// is not run.
#include <sys/select.h>

#include <algorithm>
#include <bitset>
#include <cstdio>
#include <set>
#include <vector>

#include "evloop.h"
#include "evloop/evloop_state.h"
#include "fuzz_args.h"

namespace {

constexpr int kRecords = 24;  // more than the registry holds
evloop_event_t g_events[kRecords];
evloop_timer_t g_timers[kRecords];

struct Model {
  const evloop_event_t *slots[EVLOOP_MAX_EVENTS] = {};
  std::bitset<FD_SETSIZE> rd, wr;
  int max_fd = -1;
  std::set<const evloop_timer_t *> pending;
  bool wide = false;  // a delay beyond 2^30 ms was set: expiries may be 2^31 ms apart
};

void check_timers(const Model &m) {
  using namespace aputil::evloop;
  std::vector<const evloop_timer_t *> list;
  std::set<const evloop_timer_t *> seen;
  for (const evloop_timer_t *t = first_timer_for_tests(); t && !is_list_end_for_tests(t); t = t->next) {
    FUZZ_CHECK(seen.insert(t).second);  // no cycle
    FUZZ_CHECK(t->pending == 1);
    FUZZ_CHECK(t->next->prev == t);
    list.push_back(t);
  }
  FUZZ_CHECK(seen == m.pending);
  for (const evloop_timer_t &r : g_timers) FUZZ_CHECK(r.pending == (m.pending.count(&r) ? 1 : 0));
  // Earliest first. The comparison is the device's 32-bit millisecond
  // difference, so the order is defined only while no two expiries were
  // ever 2^31 ms apart.
  if (m.wide) return;
  for (size_t i = 1; i < list.size(); ++i)
    FUZZ_CHECK((list[i]->usec - list[i - 1]->usec) / 1000 + (list[i]->sec - list[i - 1]->sec) * 1000 >= 0);
}

void check(const Model &m) {
  FUZZ_CHECK(aputil::evloop::highest_fd_for_tests() == m.max_fd);
  for (const evloop_event_t &ev : g_events) {
    const bool in = std::count(std::begin(m.slots), std::end(m.slots), &ev) > 0;
    FUZZ_CHECK(!ev.registered || in);  // a record added twice keeps a slot after one delete
  }
  check_timers(m);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz::Quiet quiet;
  FuzzedDataProvider in(data, size);
  evloop_done();
  evloop_init();
  Model m;
  for (evloop_event_t &ev : g_events) {
    ev = evloop_event_t{};
    ev.fd = in.ConsumeBool() ? in.ConsumeIntegralInRange(-2, FD_SETSIZE + 1) : in.ConsumeIntegralInRange(0, 40);
  }
  check(m);
  while (in.remaining_bytes()) {
    const int which = in.ConsumeIntegralInRange(0, kRecords - 1);
    evloop_event_t *ev = &g_events[which];
    evloop_timer_t *t = &g_timers[which];
    const bool null_record = in.ConsumeIntegralInRange(0, 31) == 0;
    switch (in.ConsumeIntegralInRange(0, 4)) {
      case 0: {  // add
        const uint8_t flags = in.ConsumeIntegral<uint8_t>();
        const int rc = evloop_fd_add(null_record ? nullptr : ev, flags);
        const bool valid = !null_record && ev->fd >= 0 && ev->fd < FD_SETSIZE;
        auto free_slot = std::find(std::begin(m.slots), std::end(m.slots), nullptr);
        if (!valid || free_slot == std::end(m.slots)) {
          FUZZ_CHECK(rc == -1);
          break;
        }
        FUZZ_CHECK(rc == 0 && ev->registered == 1);
        *free_slot = ev;
        if (flags & EVLOOP_READ) m.rd.set(static_cast<size_t>(ev->fd));
        if (flags & EVLOOP_WRITE) m.wr.set(static_cast<size_t>(ev->fd));
        m.max_fd = std::max(m.max_fd, ev->fd);
        break;
      }
      case 1: {  // delete
        const uint8_t flags = in.ConsumeIntegral<uint8_t>();
        const bool was = !null_record && ev->registered;
        const int rc = evloop_fd_del(null_record ? nullptr : ev, flags);
        const bool valid = !null_record && ev->fd >= 0 && ev->fd < FD_SETSIZE;
        FUZZ_CHECK(rc == (valid ? 0 : -1));
        if (!valid || !was) break;
        FUZZ_CHECK(ev->registered == 0);
        auto slot = std::find(std::begin(m.slots), std::end(m.slots), ev);
        if (slot != std::end(m.slots)) *slot = nullptr;
        const auto fd = static_cast<size_t>(ev->fd);
        if (flags & EVLOOP_READ) m.rd.reset(fd);
        if (flags & EVLOOP_WRITE) m.wr.reset(fd);
        if (ev->fd == m.max_fd) {
          int d = ev->fd;
          while (d >= 0 && !m.rd[static_cast<size_t>(d)] && !m.wr[static_cast<size_t>(d)]) --d;
          m.max_fd = d == ev->fd ? -1 : d;
        }
        break;
      }
      case 2: {  // set or re-arm
        const int32_t ms = fuzz::any_int(in);
        const int rc = evloop_timeout_set(null_record ? nullptr : t, ms);
        FUZZ_CHECK(rc == (null_record ? -1 : 0));
        if (!null_record) m.pending.insert(t);
        m.wide = m.wide || ms > (1 << 30) || ms < -(1 << 30);
        break;
      }
      case 3: {  // cancel
        const int rc = evloop_timeout_cancel(null_record ? nullptr : t);
        const bool was = !null_record && m.pending.count(t);
        FUZZ_CHECK(rc == (was ? 0 : -1));
        if (was) m.pending.erase(t);
        break;
      }
      default:  // cancel everything
        evloop_done();
        m.pending.clear();
        break;
    }
    check(m);
  }
  return 0;
}
