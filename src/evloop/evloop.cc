// The event loop: a registry of 20 events over select, and a sorted timer
// list. Fixed arrays only; nothing is allocated.
#include "evloop.h"

#include "evloop/evloop_state.h"

#include <sys/select.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace aputil::evloop {
namespace {

struct Now {
  int64_t sec, usec;
};

evloop_event_t *g_registry[EVLOOP_MAX_EVENTS];
fd_set g_read, g_write, g_work_read, g_work_write;
int g_max_fd = -1;
evloop_timer_t g_head = {&g_head, &g_head, 0, nullptr, 0, 0};  // empty: points to itself

Now now() {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return {static_cast<int64_t>(ts.tv_sec), static_cast<int64_t>(ts.tv_nsec / 1000)};
}

// Milliseconds from b to a, truncated to 32 bits.
int32_t diff_ms(int64_t a_sec, int64_t a_usec, int64_t b_sec, int64_t b_usec) {
  return static_cast<int32_t>((a_usec - b_usec) / 1000 + (a_sec - b_sec) * 1000);
}

void print_error(const char *func, int line, const char *fmt, int value) {
  std::printf("[Error]%s():%5d @ ", func, line);
  std::printf(fmt, value);
}

bool valid(const evloop_event_t *ev) { return ev && ev->fd >= 0 && ev->fd < FD_SETSIZE; }

int registerEvent(evloop_event_t *ev) {
  for (auto &slot : g_registry) {
    if (!slot) {
      slot = ev;
      return 0;
    }
  }
  print_error("registerEvent", 98, "Cannot register event %d, reach the max events.\n", ev->fd);
  return -1;
}

void unRegisterEvent(evloop_event_t *ev) {
  for (auto &slot : g_registry) {
    if (slot == ev) {
      slot = nullptr;
      ev->registered = 0;
      return;
    }
  }
  print_error("unRegisterEvent", 125, "Cannot unregister event %d, not found.\n", ev->fd);
  ev->registered = 0;
}

evloop_event_t *event_of(int fd) {
  for (evloop_event_t *ev : g_registry)
    if (ev && ev->fd == fd) return ev;
  return nullptr;
}

}  // namespace

int highest_fd_for_tests() { return g_max_fd; }
evloop_timer_t *first_timer_for_tests() { return g_head.next == &g_head ? nullptr : g_head.next; }
bool is_list_end_for_tests(const evloop_timer_t *t) { return t == &g_head; }

}  // namespace aputil::evloop

using namespace aputil::evloop;

extern "C" {

APUTIL_API int evloop_init(void) {
  std::memset(g_registry, 0, sizeof g_registry);
  FD_ZERO(&g_read);
  FD_ZERO(&g_write);
  FD_ZERO(&g_work_read);
  FD_ZERO(&g_work_write);
  g_max_fd = -1;
  return 0;
}

APUTIL_API int evloop_fd_add(evloop_event_t *ev, uint8_t flags) {
  if (!valid(ev)) {
    std::printf("[Error]%s():%5d @ pEvent is NULL or fd < 0\n", "evloop_fd_add", 325);
    return -1;
  }
  if (registerEvent(ev) != 0) return -1;
  if (flags & EVLOOP_READ) FD_SET(ev->fd, &g_read);
  if (flags & EVLOOP_WRITE) FD_SET(ev->fd, &g_write);
  if (ev->fd > g_max_fd) g_max_fd = ev->fd;
  ev->registered = 1;
  return 0;
}

APUTIL_API int evloop_fd_del(evloop_event_t *ev, uint8_t flags) {
  if (!valid(ev)) {
    print_error("evloop_fd_del", 366, "pEvent is NULL or fd(%d) < 0\n", -1);
    return -1;
  }
  if (!ev->registered) return 0;
  unRegisterEvent(ev);
  const int fd = ev->fd;
  if (flags & EVLOOP_READ) FD_CLR(fd, &g_read);
  if (flags & EVLOOP_WRITE) FD_CLR(fd, &g_write);
  if (fd == g_max_fd) {
    for (int d = fd; d >= 0; --d) {
      if (FD_ISSET(d, &g_read) || FD_ISSET(d, &g_write)) {
        g_max_fd = d;
        break;
      }
    }
    if (g_max_fd == fd) g_max_fd = -1;  // also when fd keeps another interest, as on the device
  }
  return 0;
}

APUTIL_API int evloop_timeout_cancel(evloop_timer_t *t) {
  if (!t || !t->pending) return -1;
  t->prev->next = t->next;
  t->next->prev = t->prev;
  t->next = t->prev = nullptr;
  t->pending = 0;
  return 0;
}

APUTIL_API int evloop_timeout_set(evloop_timer_t *t, int32_t ms) {
  if (!t) return -1;
  if (t->pending) evloop_timeout_cancel(t);
  const Now n = now();
  t->sec = n.sec + ms / 1000;
  t->usec = n.usec + (ms % 1000) * 1000;
  if (t->usec > 1000000) {  // exactly 1,000,000 stays uncarried
    ++t->sec;
    t->usec -= 1000000;
  }
  evloop_timer_t *at = g_head.next;
  while (at != &g_head && diff_ms(at->sec, at->usec, t->sec, t->usec) <= 0) at = at->next;
  t->next = at;
  t->prev = at->prev;
  at->prev->next = t;
  at->prev = t;
  t->pending = 1;
  return 0;
}

APUTIL_API void evloop_done(void) {
  while (g_head.next != &g_head) evloop_timeout_cancel(g_head.next);
}

APUTIL_API void msToTimeval(int32_t ms, struct timeval *tv) {
  if (!tv) return;
  tv->tv_sec = ms / 1000;
  tv->tv_usec = (ms % 1000) * 1000;
}

APUTIL_API void dumpSelectParams(void) {}

APUTIL_API void evloop_run(void) {
  for (;;) {
    const Now fired_at = now();  // one reading for the whole firing pass
    while (g_head.next != &g_head &&
           diff_ms(g_head.next->sec, g_head.next->usec, fired_at.sec, fired_at.usec) <= 0) {
      evloop_timer_t *t = g_head.next;
      evloop_timeout_cancel(t);
      if (t->callback) t->callback(t);
    }

    timeval tv;
    timeval *timeout = nullptr;  // no timer: wait forever
    if (g_head.next != &g_head) {
      const Now n = now();
      int32_t wait = diff_ms(g_head.next->sec, g_head.next->usec, n.sec, n.usec);
      if (wait < 0) wait = 0;
      msToTimeval(wait, &tv);
      timeout = &tv;
    }
    const int nfds = g_max_fd + 1;
    g_work_read = g_read;
    g_work_write = g_write;
    if (select(nfds, &g_work_read, &g_work_write, nullptr, timeout) < 0 && errno != EINTR && errno != 0) {
      std::perror("select");
      continue;
    }
    // After EINTR the working sets are the unchanged copies: every interest
    // is reported once, as on the device.
    for (int fd = 0; fd < nfds; ++fd) {
      evloop_event_t *ev = event_of(fd);
      if (!ev) continue;
      const uint32_t flags =
          (FD_ISSET(fd, &g_work_read) ? EVLOOP_READ : 0u) | (FD_ISSET(fd, &g_work_write) ? EVLOOP_WRITE : 0u);
      if (flags && ev->callback) ev->callback(ev, flags, 0);
    }
  }
}

}  // extern "C"
