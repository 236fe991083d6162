// The event loop: the registry and the highest descriptor it watches, the timer list, and
// evloop_run in a death-test child whose callbacks note what they see on stderr.
#include <unistd.h>

#include <map>

#include "evloop/evloop_state.h"
#include "support/model_tree.h"

namespace aputil::test {
namespace {

using namespace aputil::evloop;
const int R = EVLOOP_READ, W = EVLOOP_WRITE, N = FD_SETSIZE;

// Rows of (add or delete, fd, interests) with the result, the highest descriptor watched after,
// whether the event is registered and the line printed. Dropping W of 9 keeps R but watches nothing;
// fd -1: a NULL event; 3 claims to be registered without a slot; 100 + i, i = 0...20: twenty events
// and one too many.
TEST(EvloopEvents, AddAndDelete) {
  EXPECT_EQ(highest_fd_for_tests(), -1);  // a process starts watching nothing, before evloop_init too
  const std::string kLines[] = {"", "[Error]evloop_fd_add():  325 @ pEvent is NULL or fd < 0\n",
                                "[Error]evloop_fd_del():  366 @ pEvent is NULL or fd(-1) < 0\n",
                                "[Error]unRegisterEvent():  125 @ Cannot unregister event 3, not found.\n",
                                "[Error]registerEvent():   98 @ Cannot register event 120, reach the max events.\n"};
  std::vector<std::array<int, 7>> ops = {
      {'+', 5, R, 0, 5, 1, 0},   {'+', 9, R | W, 0, 9, 1, 0}, {'-', 9, W, 0, -1, 0, 0}, {'-', 9, R, 0, -1, 0, 0},
      {'+', 9, R, 0, 9, 1, 0},   {'-', 9, R | W, 0, 5, 0, 0}, {'-', 5, R, 0, -1, 0, 0}, {'+', -1, R, -1, -1, 0, 1},
      {'+', N, R, -1, -1, 0, 1}, {'-', -1, R, -1, -1, 0, 2},  {'-', 3, R, 0, -1, 0, 3}};
  for (int i = 0; i < 21; ++i) ops.push_back({'+', 100 + i, R, -(i > 19), 100 + std::min(i, 19), i < 20, 4 * (i > 19)});
  std::map<int, evloop_event_t> evs = {{3, {3, 1, nullptr, nullptr}}};
  for (evloop_init(); const auto &[op, fd, flags, rc, highest, registered, line] : ops) {
    evloop_event_t *ev = fd < 0 ? nullptr : &evs.try_emplace(fd, evloop_event_t{fd, 0, nullptr, nullptr}).first->second;
    const auto call = [&] { EXPECT_EQ(op == '+' ? evloop_fd_add(ev, flags) : evloop_fd_del(ev, flags), rc); };
    EXPECT_EQ(stdout_of(call), kLines[line]) << op << fd;
    EXPECT_EQ(std::pair(highest_fd_for_tests(), ev ? ev->registered : 0), std::pair(highest, registered)) << op << fd;
  }
  EXPECT_EQ(evloop_init(), 0);
  EXPECT_EQ(evloop_fd_add(&evs[120], R) + highest_fd_for_tests(), 120);  // empty again
}

// Rows of (set, cancel or done; timer; ms) with the result and the pending timers in expiry order
// after (a cancelled timer is unlinked); equal expiries keep the order they were set in. A deadline
// is ms after the call; msToTimeval splits ms.
TEST(EvloopTimers, OrderAndCancel) {
  evloop_timer_t t[4] = {};  // T, a, b, c
  const std::tuple<char, int, int, int, std::string> kRows[] = {
      {'d', -1, 0, 0, ""},      {'s', 0, 1500, 0, "T"},  {'s', 1, 500, 0, "aT"}, {'s', 2, 100, 0, "baT"},
      {'s', 3, 100, 0, "bcaT"}, {'c', 3, 0, 0, "baT"},   {'c', 3, 0, -1, "baT"}, {'s', 2, 1000, 0, "abT"},
      {'s', -1, 5, -1, "abT"},  {'c', -1, 0, -1, "abT"}, {'d', -1, 0, 0, ""}};
  timespec before, after;
  clock_gettime(CLOCK_MONOTONIC, &before);
  evloop_timeout_set(t, 2750);
  clock_gettime(CLOCK_MONOTONIC, &after);
  const double deadline = t->sec * 1e6 + t->usec - 2750000;  // in microseconds, less the 2.75 s
  EXPECT_GE(deadline, before.tv_sec * 1e6 + before.tv_nsec / 1000 - 1);
  EXPECT_LE(deadline, after.tv_sec * 1e6 + after.tv_nsec / 1000 + 1);
  for (const auto &[op, timer, ms, rc, want] : kRows) {
    evloop_timer_t *x = timer < 0 ? nullptr : &t[timer];
    if (op == 'd') evloop_done();
    EXPECT_EQ(op == 's' ? evloop_timeout_set(x, ms) : op == 'c' ? evloop_timeout_cancel(x) : 0, rc);
    std::string pending;
    for (evloop_timer_t *p = first_timer_for_tests(); p && !is_list_end_for_tests(p); p = p->next)
      pending += "Tabc"[p - t];
    EXPECT_TRUE(pending == want && (!x || x->pending || !x->next)) << pending << " after " << op << timer;
  }
  timeval tv;
  msToTimeval(2750, &tv);
  EXPECT_EQ(tv.tv_sec * 1000000 + tv.tv_usec, 2750000);
}

// Scenarios for a death-test child (at most 5 s): callbacks note a letter on stderr ('!' must never
// happen) or end the child: the latest timer, and the second pipe (exit code 0 only when readable).
// Timers fire in expiry order and may set themselves again ('r' when one does, 'R' when it stops);
// a cancelled one never fires; a select failing on every pass (an event on a descriptor that is not
// open) is reported and dispatches nothing, but stops nothing. Descriptors go by number, with the
// interest that is ready ('l' read, 'w' write), only to the first event of a descriptor.
int g_rearms;
evloop_timer_t g_t[5];  // one that ends the child, '1', '2', 'X' (cancelled), one that sets itself again
void note(char c) { fputc(c, stderr); }
void end(evloop_timer_t *) { _exit(0); }
void fire(evloop_timer_t *t) { note("?12X"[t - g_t]); }
void again(evloop_timer_t *t) { note(++g_rearms < 3 && !evloop_timeout_set(t, 5) ? 'r' : 'R'); }
void never(evloop_event_t *, uint32_t, uint32_t) { note('!'); }
void on_p1(evloop_event_t *, uint32_t f, uint32_t) { note(f == R ? 'l' : f == W ? 'w' : '?'); }
void on_p2(evloop_event_t *, uint32_t f, uint32_t) { _exit(f == R ? 0 : 1); }
void run(void (*scenario)()) {
  alarm(5);
  evloop_init();
  scenario();
  evloop_run();
}
void timers() {
  static evloop_event_t closed = {dup(2), 0, nullptr, never};
  close(closed.fd);  // no longer open
  for (int i = 0; i < 5; ++i) g_t[i].callback = i == 0 ? end : i < 4 ? fire : again;
  for (int i = 0; i < 5; ++i) evloop_timeout_set(&g_t[i], std::array{150, 10, 10, 20, 30}[i]);
  evloop_timeout_cancel(&g_t[3]);
  evloop_fd_add(&closed, R);
}
void descriptors() {
  static int p[6];  // p1 = p[0], p[1]; idle = p[2], p[3]; p2 = p[4], p[5]
  if (pipe(p) || pipe(p + 2) || pipe(p + 4) || write(p[5], "x", 1) != 1 || write(p[1], "y", 1) != 1) _exit(3);
  static evloop_event_t evs[] = {{p[4], 0, nullptr, on_p2}, {p[0], 0, nullptr, on_p1}, {p[0], 0, nullptr, never},
                                 {p[1], 0, nullptr, on_p1}, {p[2], 0, nullptr, never}, {p[3], 0, nullptr, nullptr}};
  for (int i = 0; i < 6; ++i) evloop_fd_add(&evs[i], i == 3 || i == 5 ? W : R);
}
TEST(EvloopRun, TimersAndDescriptors) {
  const std::string s = "(select: Bad file descriptor\n)*";  // reported before the first timer fires
  EXPECT_EXIT(run(timers), testing::ExitedWithCode(0),
              "^select: Bad file descriptor\n" + s + "1" + s + "2" + s + "r" + s + "r" + s + "R" + s + "$");
  EXPECT_EXIT(run(descriptors), testing::ExitedWithCode(0), "^lw$");
}

}  // namespace
}  // namespace aputil::test
