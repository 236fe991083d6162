// What the two tools share on the command line: safe standard descriptors,
// the names that getopt_long's errors and repeats are reported under, and
// strict number parsing.
#pragma once

#include <fcntl.h>
#include <getopt.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace aputil::cli {

// Whether standard output was closed when the tool started: its output
// then had nowhere to go, which the tool reports as a write error.
inline bool g_stdout_was_closed = false;

// Descriptors 0, 1 and 2 open (on /dev/null when they were closed), so that
// nothing the tool opens later (a serial line, say) becomes its standard
// output.
inline void keep_standard_descriptors() {
  for (int fd = 0; fd < 3; ++fd)
    if (fcntl(fd, F_GETFD) == -1 && errno == EBADF) {
      if (fd == 1) g_stdout_was_closed = true;
      const int null_fd = open("/dev/null", fd == 0 ? O_RDONLY : O_WRONLY);
      if (null_fd >= 0 && null_fd != fd) {
        dup2(null_fd, fd);
        close(null_fd);
      }
    }
}

// True when everything written to standard output reached it.
inline bool stdout_ok() {
  if (std::fflush(stdout) != 0 || std::ferror(stdout)) return false;
  if (g_stdout_was_closed) {
    errno = EBADF;
    return false;
  }
  return true;
}

// The option getopt_long just returned, as the user would name it:
// "--name" for a long option (whatever form it was given in), "-x" for a
// short one.
inline std::string option_name(int c, const option *options) {
  for (const option *o = options; o->name; ++o)
    if (o->val == c) return std::string("--") + o->name;
  return std::string("-") + static_cast<char>(c);
}

// The option getopt_long could not use ('?' or ':'): "-x" for a short
// option, the word as given (up to any "=") for a long one.
inline std::string bad_option(int optopt_value, char **argv, int optind_value) {
  const std::string word = optind_value > 0 ? argv[optind_value - 1] : "";
  if (word.rfind("--", 0) == 0) return word.substr(0, word.find('='));
  if (optopt_value > 0 && optopt_value < 256) return std::string("-") + static_cast<char>(optopt_value);
  return word;
}

// A whole number from lo to hi in base (0: C prefixes too): no blanks, no
// sign but '-', no trailing text.
inline bool parse_number(const char *text, long lo, long hi, long *out, int base = 10) {
  if (!text || !((*text >= '0' && *text <= '9') || (*text == '-' && text[1] >= '0' && text[1] <= '9'))) return false;
  char *end = nullptr;
  errno = 0;
  const long v = std::strtol(text, &end, base);
  if (errno || *end || v < lo || v > hi) return false;
  *out = v;
  return true;
}

// Exit status 2 (bad arguments), after one line naming the problem.
inline int usage_error(const char *tool, const std::string &message) {
  std::fprintf(stderr, "%s: %s\n(%s --help for the usage)\n", tool, message.c_str(), tool);
  return 2;
}

// The tool's exit status once its output is flushed: a write that failed
// turns success into 1 (bad arguments keep their 2).
inline int finish(const char *tool, int status) {
  if (!stdout_ok()) {
    std::fprintf(stderr, "%s: write error: %s\n", tool, std::strerror(errno ? errno : EIO));
    return status == 2 ? 2 : 1;
  }
  return status;
}

}  // namespace aputil::cli
