// The event loop: the registry and the highest descriptor it watches, the timer list, and
// evloop_run in a child process that reports through a pipe.
#include <sys/wait.h>
#include <unistd.h>

#include <map>

#include "evloop/evloop_state.h"
#include "support/model_tree.h"

namespace aputil::test {
namespace {

using namespace aputil::evloop;
const int R = EVLOOP_READ, W = EVLOOP_WRITE;

// Rows of (add or delete, fd, interests) with the result, the highest descriptor watched after,
// whether the event is registered and the line printed. fd -1: a NULL event; 3 claims to be
// registered without a slot; 100 + i, i = 0...20: twenty events and one too many.
TEST(EvloopEvents, AddAndDelete) {
  EXPECT_EQ(highest_fd_for_tests(), -1);  // a process starts watching nothing, before evloop_init too
  const std::string kAdd = "[Error]evloop_fd_add():  325 @ pEvent is NULL or fd < 0\n",
                    kFull = "[Error]registerEvent():   98 @ Cannot register event 120, reach the max events.\n";
  std::vector<std::tuple<char, int, int, int, int, int, std::string>> rows = {
      {'+', 5, R, 0, 5, 1, ""}, {'+', 9, R | W, 0, 9, 1, ""}, {'-', 9, W, 0, -1, 0, ""} /* keeps R: watches nothing */,
      {'-', 9, R, 0, -1, 0, ""} /* no longer registered */, {'+', 9, R, 0, 9, 1, ""}, {'-', 9, R | W, 0, 5, 0, ""},
      {'-', 5, R, 0, -1, 0, ""}, {'+', -1, R, -1, -1, 0, kAdd}, {'+', FD_SETSIZE, R, -1, -1, 0, kAdd},
      {'-', -1, R, -1, -1, 0, "[Error]evloop_fd_del():  366 @ pEvent is NULL or fd(-1) < 0\n"},
      {'-', 3, R, 0, -1, 0, "[Error]unRegisterEvent():  125 @ Cannot unregister event 3, not found.\n"}};
  for (int i = 0; i < 21; ++i)
    rows.emplace_back('+', 100 + i, R, -(i > 19), 100 + std::min(i, 19), i < 20, i < 20 ? "" : kFull);
  std::map<int, evloop_event_t> evs = {{3, {3, 1, nullptr, nullptr}}};
  for (evloop_init(); const auto &[op, fd, flags, rc, highest, registered, out] : rows) {
    evloop_event_t *ev = fd < 0 ? nullptr : &(evs[fd].fd = fd, evs[fd]);
    EXPECT_EQ(stdout_of([&] { EXPECT_EQ(op == '+' ? evloop_fd_add(ev, flags) : evloop_fd_del(ev, flags), rc); }), out);
    EXPECT_EQ(std::pair(highest_fd_for_tests(), ev ? ev->registered : 0), std::pair(highest, registered)) << op << fd;
  }
  EXPECT_EQ(evloop_init(), 0);
  EXPECT_EQ(evloop_fd_add(&evs[120], R) + highest_fd_for_tests(), 120);  // empty again
}

// Rows of (set, cancel or done; timer; ms) with the result and the pending timers in expiry order
// after; equal expiries keep the order they were set in. A deadline is ms after the call.
TEST(EvloopTimers, OrderAndCancel) {
  evloop_timer_t t[4] = {};  // T, a, b, c
  const struct { char op; int timer, ms, rc; std::string pending; } kRows[] = {
      {'d', -1, 0, 0, ""}, {'s', 0, 1500, 0, "T"}, {'s', 1, 500, 0, "aT"}, {'s', 2, 100, 0, "baT"},
      {'s', 3, 100, 0, "bcaT"}, {'c', 3, 0, 0, "baT"}, {'c', 3, 0, -1, "baT"}, {'s', 2, 1000, 0, "abT"} /* moved */,
      {'s', -1, 5, -1, "abT"}, {'c', -1, 0, -1, "abT"}, {'d', -1, 0, 0, ""}};
  for (const auto &r : kRows) {
    evloop_timer_t *x = r.timer < 0 ? nullptr : &t[r.timer];
    EXPECT_EQ(r.op == 's' ? evloop_timeout_set(x, r.ms) : r.op == 'c' ? evloop_timeout_cancel(x) : (evloop_done(), 0), r.rc);
    std::string pending;
    for (evloop_timer_t *p = first_timer_for_tests(); p && !is_list_end_for_tests(p); p = p->next) pending += "Tabc"[p - t];
    EXPECT_TRUE(pending == r.pending && (!x || x->pending || !x->next)) << pending << &r - kRows;  // cancelled: unlinked
  }
  timespec ts[2] = {};
  clock_gettime(CLOCK_MONOTONIC, &ts[0]), evloop_timeout_set(t, 2750), clock_gettime(CLOCK_MONOTONIC, &ts[1]);
  const int64_t at = t->sec * 1000000 + t->usec - 2750000, from = ts[0].tv_sec * 1000000 + ts[0].tv_nsec / 1000;
  EXPECT_TRUE(at >= from && at <= ts[1].tv_sec * 1000000 + ts[1].tv_nsec / 1000 && t->usec <= 1000000) << at - from;
  timeval tv;
  msToTimeval(2750, &tv), msToTimeval(1, nullptr), dumpSelectParams(), evloop_done();
  EXPECT_EQ(tv.tv_sec * 1000000 + tv.tv_usec, 2750000);
}

// Runs the loop in a child, its stderr into the report pipe too; a callback ends the child.
int g_report, g_rearms;
void note(char c) { write(g_report, &c, 1) == 1 || (_exit(2), 0); }
std::string run_child(void (*scenario)()) {
  int p[2], status = 0;
  if (pipe(p) == 0 && fork() == 0)
    close(p[0]), dup2(p[1], 2), g_report = p[1], alarm(5), evloop_done(), evloop_init(), scenario(), evloop_run();
  std::string out;
  char buf[4096];
  close(p[1]);
  for (ssize_t n; (n = read(p[0], buf, sizeof buf)) > 0;) out.append(buf, static_cast<size_t>(n));
  return close(p[0]), wait(&status), WIFEXITED(status) ? out : out + "<killed>";
}

// Timers fire in expiry order and may set themselves again; a cancelled one never fires; a select
// failing on every pass (an event on a descriptor that is not open) is reported and dispatches
// nothing, but stops nothing. Descriptors go by number, only to the first event of a descriptor
// and only when ready.
TEST(EvloopRun, TimersAndDescriptors) {
  std::string out = run_child([] {
    static evloop_timer_t late{}, first{}, second{}, cancelled{}, again{};
    static evloop_event_t closed = {dup(2), 0, nullptr, [](evloop_event_t *, uint32_t, uint32_t) { note('B'); }};
    first.callback = [](evloop_timer_t *) { note('1'); }, second.callback = [](evloop_timer_t *) { note('2'); };
    cancelled.callback = [](evloop_timer_t *) { note('X'); }, late.callback = [](evloop_timer_t *) { note('L'), _exit(0); };
    again.callback = [](evloop_timer_t *t) { if (note('r'), ++g_rearms < 3) evloop_timeout_set(t, 5); };
    evloop_timeout_set(&late, 150), evloop_timeout_set(&first, 10), evloop_timeout_set(&second, 10);
    evloop_timeout_set(&cancelled, 20), evloop_timeout_set(&again, 30), evloop_timeout_cancel(&cancelled);
    close(closed.fd), evloop_fd_add(&closed, R);
  }), kept, kLine = "select: Bad file descriptor\n";
  for (size_t i = 0; i < out.size(); ++i) out.compare(i, kLine.size(), kLine) ? void(kept += out[i]) : void(i += kLine.size() - 1);
  EXPECT_EQ(out.substr(0, kLine.size()) + kept, kLine + "12rrrL");
  EXPECT_EQ(run_child([] {
    static int p[6];  // p1 = p[0], p[1]; idle = p[2], p[3]; p2 = p[4], p[5]
    if (pipe(p) || pipe(p + 2) || pipe(p + 4) || write(p[5], "x", 1) != 1 || write(p[1], "y", 1) != 1) _exit(3);
    static evloop_event_t evs[] = {
        {p[4], 0, nullptr, [](evloop_event_t *, uint32_t flags, uint32_t) { note(flags == R ? 'H' : '?'), _exit(0); }},
        {p[0], 0, nullptr, [](evloop_event_t *ev, uint32_t, uint32_t) { char c; note(read(ev->fd, &c, 1) == 1 ? 'l' : '?'); }},
        {p[0], 0, nullptr, [](evloop_event_t *, uint32_t, uint32_t) { note('T'); }},
        {p[1], 0, nullptr, [](evloop_event_t *ev, uint32_t f, uint32_t) { note(f == W ? 'w' : '?'), evloop_fd_del(ev, W); }},
        {p[2], 0, nullptr, [](evloop_event_t *, uint32_t, uint32_t) { note('I'); }}, {p[3], 0, nullptr, nullptr}};
    for (int i = 0; i < 6; ++i) evloop_fd_add(&evs[i], i == 3 || i == 5 ? W : R);
  }), "lwH");
}

}  // namespace
}  // namespace aputil::test
