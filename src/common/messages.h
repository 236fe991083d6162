// Console messages shared by the loaders and the radio and region queries.
// The line numbers passed in are part of each message's text (fixed
// constants of the message), not source positions.
#pragma once

namespace aputil {

// "<error>func():%4d  @ " followed by the printf-formatted text, on stderr.
void print_error(const char *func, int line, const char *fmt, ...) __attribute__((format(printf, 3, 4)));

// "<debug>func():%4d  @ " followed by the text, on stderr.
void print_debug(const char *func, int line, const char *fmt, ...) __attribute__((format(printf, 3, 4)));

// "<error>func():%4d  @ condition(cond) failed\n"
void print_condition(const char *func, int line, const char *cond);

// "<error>func():%4d  @ condition(cond) failed, errno = %d\n" with errno.
void print_condition_errno(const char *func, int line, const char *cond);

}  // namespace aputil
