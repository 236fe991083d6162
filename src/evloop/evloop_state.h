// The loop's state as tests see it.
#pragma once

#include "evloop.h"

namespace aputil::evloop {
int highest_fd_for_tests();
// The earliest pending timer, or nullptr.
evloop_timer_t *first_timer_for_tests();
bool is_list_end_for_tests(const evloop_timer_t *t);
}  // namespace aputil::evloop
