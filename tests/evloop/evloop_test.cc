#include <sys/wait.h>
#include <unistd.h>

#include <ctime>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "evloop.h"
#include "evloop/evloop_state.h"
#include "support/model_tree.h"

namespace aputil::test {
namespace {

using aputil::evloop::highest_fd_for_tests;

evloop_event_t event(int fd) { return evloop_event_t{fd, 0, nullptr, nullptr}; }

class EvloopTest : public ::testing::Test {
 protected:
  void SetUp() override {
    evloop_done();
    evloop_init();
  }
};

TEST_F(EvloopTest, RegistryHoldsTwentyEvents) {
  std::vector<evloop_event_t> evs;
  for (int i = 0; i < 21; ++i) evs.push_back(event(100 + i));
  for (int i = 0; i < 20; ++i) ASSERT_EQ(evloop_fd_add(&evs[i], EVLOOP_READ), 0);
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(evloop_fd_add(&evs[20], EVLOOP_READ), -1); }),
            "[Error]registerEvent():   98 @ Cannot register event 120, reach the max events.\n");
  EXPECT_EQ(evs[20].registered, 0);
  EXPECT_EQ(highest_fd_for_tests(), 119);
  EXPECT_EQ(stdout_of([] { EXPECT_EQ(evloop_fd_add(nullptr, 1), -1); }),
            "[Error]evloop_fd_add():  325 @ pEvent is NULL or fd < 0\n");
  evloop_event_t bad = event(FD_SETSIZE);
  EXPECT_EQ(evloop_fd_add(&bad, EVLOOP_READ), -1);
}

TEST_F(EvloopTest, DeletePathsAndTheHighestDescriptor) {
  evloop_event_t a = event(5), b = event(9);
  evloop_fd_add(&a, EVLOOP_READ);
  evloop_fd_add(&b, EVLOOP_READ | EVLOOP_WRITE);
  EXPECT_EQ(highest_fd_for_tests(), 9);
  // Dropping one interest of the highest descriptor: no descriptor watched.
  EXPECT_EQ(evloop_fd_del(&b, EVLOOP_WRITE), 0);
  EXPECT_EQ(highest_fd_for_tests(), -1);
  EXPECT_EQ(evloop_fd_del(&b, EVLOOP_READ), 0);  // no longer registered: nothing changes
  evloop_fd_add(&b, EVLOOP_READ);
  EXPECT_EQ(evloop_fd_del(&b, EVLOOP_READ | EVLOOP_WRITE), 0);
  EXPECT_EQ(highest_fd_for_tests(), 5);  // the next descriptor down with an interest
  EXPECT_EQ(evloop_fd_del(&a, EVLOOP_READ), 0);
  EXPECT_EQ(highest_fd_for_tests(), -1);

  EXPECT_EQ(stdout_of([] { EXPECT_EQ(evloop_fd_del(nullptr, 1), -1); }),
            "[Error]evloop_fd_del():  366 @ pEvent is NULL or fd(-1) < 0\n");
  evloop_event_t stray = event(3);
  stray.registered = 1;  // flagged but in no slot
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(evloop_fd_del(&stray, EVLOOP_READ), 0); }),
            "[Error]unRegisterEvent():  125 @ Cannot unregister event 3, not found.\n");
  EXPECT_EQ(stray.registered, 0);
}

TEST_F(EvloopTest, TimerExpiryOrderAndCancel) {
  timespec before{};
  clock_gettime(CLOCK_MONOTONIC, &before);
  evloop_timer_t t1500{}, a{}, b{}, c{};
  ASSERT_EQ(evloop_timeout_set(&t1500, 1500), 0);
  const int64_t want_usec = before.tv_nsec / 1000 + 500000;
  EXPECT_EQ(t1500.sec, before.tv_sec + 1 + (want_usec > 1000000 ? 1 : 0));
  EXPECT_NEAR(static_cast<double>(t1500.usec), static_cast<double>(want_usec > 1000000 ? want_usec - 1000000 : want_usec),
              50000.0);
  evloop_timeout_set(&a, 500);
  evloop_timeout_set(&b, 100);
  evloop_timeout_set(&c, 100);  // equal expiry: after b
  std::vector<evloop_timer_t *> order;
  for (evloop_timer_t *t = aputil::evloop::first_timer_for_tests(); !aputil::evloop::is_list_end_for_tests(t);
       t = t->next)
    order.push_back(t);
  EXPECT_EQ(order, (std::vector<evloop_timer_t *>{&b, &c, &a, &t1500}));
  EXPECT_EQ(evloop_timeout_cancel(&c), 0);
  EXPECT_EQ(c.pending, 0);
  EXPECT_EQ(c.next, nullptr);
  EXPECT_EQ(evloop_timeout_cancel(&c), -1);
  evloop_timeout_set(&b, 1000);  // re-arming moves it
  EXPECT_EQ(aputil::evloop::first_timer_for_tests(), &a);
  evloop_done();
  EXPECT_EQ(aputil::evloop::first_timer_for_tests(), nullptr);
  EXPECT_EQ(a.pending + b.pending + t1500.pending, 0);

  timeval tv;
  msToTimeval(2750, &tv);
  EXPECT_EQ(tv.tv_sec, 2);
  EXPECT_EQ(tv.tv_usec, 750000);
  dumpSelectParams();
}

// Runs the loop in a child that reports through a pipe; the scenario's last
// callback ends the child. Returns what the child reported.
std::string run_child(void (*scenario)(int report)) {
  int p[2];
  if (pipe(p) != 0) return "pipe failed";
  const pid_t child = fork();
  if (child == 0) {
    close(p[0]);
    alarm(5);  // never hang the suite
    evloop_done();
    evloop_init();
    scenario(p[1]);
    evloop_run();
  }
  close(p[1]);
  std::string out;
  char buf[64];
  for (ssize_t n; (n = read(p[0], buf, sizeof buf)) > 0;) out.append(buf, static_cast<size_t>(n));
  close(p[0]);
  int status = 0;
  waitpid(child, &status, 0);
  if (!WIFEXITED(status)) out += "<killed>";
  return out;
}

int g_report;
int g_rearms;

void note(char c) {
  if (write(g_report, &c, 1) != 1) _exit(2);
}

TEST(EvloopRun, TimersFireInOrderAndMayRearm) {
  const std::string out = run_child([](int report) {
    g_report = report;
    static evloop_timer_t late{}, first{}, second{}, cancelled{}, again{};
    first.callback = [](evloop_timer_t *) { note('1'); };
    second.callback = [](evloop_timer_t *) { note('2'); };
    cancelled.callback = [](evloop_timer_t *) { note('X'); };
    again.callback = [](evloop_timer_t *t) {
      note('r');
      if (++g_rearms < 3) evloop_timeout_set(t, 5);  // unlinked before the call: may set itself again
    };
    late.callback = [](evloop_timer_t *) {
      note('L');
      _exit(0);
    };
    evloop_timeout_set(&late, 150);
    evloop_timeout_set(&first, 10);
    evloop_timeout_set(&second, 10);
    evloop_timeout_set(&cancelled, 20);
    evloop_timeout_set(&again, 30);
    evloop_timeout_cancel(&cancelled);
  });
  EXPECT_EQ(out, "12rrrL");
}

TEST(EvloopRun, DescriptorsDispatchInAscendingOrderBeforeNothingElse) {
  const std::string out = run_child([](int report) {
    g_report = report;
    static int p1[2], p2[2];
    static evloop_event_t high{}, low{}, low_twin{}, writer{};
    if (pipe(p1) != 0 || pipe(p2) != 0) _exit(3);
    // Registered high first: dispatch still goes by descriptor number, and
    // only the first slot of a descriptor is called.
    high = evloop_event_t{p2[0], 0, nullptr, [](evloop_event_t *ev, uint32_t flags, uint32_t) {
                            note(flags == EVLOOP_READ ? 'H' : '?');
                            char c;
                            if (read(ev->fd, &c, 1) != 1) _exit(4);
                            _exit(0);
                          }};
    low = evloop_event_t{p1[0], 0, nullptr, [](evloop_event_t *ev, uint32_t, uint32_t) {
                           note('l');
                           char c;
                           if (read(ev->fd, &c, 1) != 1) _exit(4);
                         }};
    low_twin = evloop_event_t{p1[0], 0, nullptr, [](evloop_event_t *, uint32_t, uint32_t) { note('T'); }};
    writer = evloop_event_t{p1[1], 0, nullptr, [](evloop_event_t *ev, uint32_t flags, uint32_t) {
                              note(flags == EVLOOP_WRITE ? 'w' : '?');
                              evloop_fd_del(ev, EVLOOP_WRITE);
                            }};
    evloop_fd_add(&high, EVLOOP_READ);
    evloop_fd_add(&low, EVLOOP_READ);
    evloop_fd_add(&low_twin, EVLOOP_READ);
    evloop_fd_add(&writer, EVLOOP_WRITE);
    if (write(p2[1], "x", 1) != 1 || write(p1[1], "y", 1) != 1) _exit(5);
  });
  // p1[0] < p1[1] < p2[0]: the reader of p1, then its writer, then p2.
  EXPECT_EQ(out, "lwH");
}

}  // namespace
}  // namespace aputil::test
