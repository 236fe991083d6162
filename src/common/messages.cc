#include "common/messages.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>

namespace aputil {
namespace {
void vprint(const char *tag, const char *func, int line, const char *fmt, va_list ap) {
  std::fprintf(stderr, "<%s>%s():%4d  @ ", tag, func, line);
  std::vfprintf(stderr, fmt, ap);
}
}  // namespace

void print_error(const char *func, int line, const char *fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  vprint("error", func, line, fmt, ap);
  va_end(ap);
}

void print_debug(const char *func, int line, const char *fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  vprint("debug", func, line, fmt, ap);
  va_end(ap);
}

void print_condition(const char *func, int line, const char *cond) {
  print_error(func, line, "condition(%s) failed\n", cond);
}

void print_condition_errno(const char *func, int line, const char *cond) {
  const int err = errno;
  print_error(func, line, "condition(%s) failed, errno = %d\n", cond, err);
}

}  // namespace aputil
