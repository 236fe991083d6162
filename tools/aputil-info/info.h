// aputil-info's commands and what they share.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <string>

namespace aputil::info {

constexpr int kExitFailed = 1, kExitUsage = 2;
constexpr char kDefaultRegdb[] = "/lib/firmware/regulatory.db";
constexpr char kDefaultIso3166[] = "/usr/share/iso-codes/json/iso_3166-1.json";

struct Options {
  std::string root;            // "" for the device's own /
  bool json = false;
  bool region_given = false;
  int region = 0;
  std::string against;         // lint: an earlier firmware tree, or ""
  bool regdb = false;          // lint: check against the regulatory database
  std::string regdb_file = kDefaultRegdb;
  std::string output;          // plot: the SVG file, "" for stdout
  bool all_regions = false;    // plot: every region on one page
  int band = 0;                // plot: 2 or 5 for one band's radio, 0 for both
};

int show(const Options &o);
int lint(const Options &o);
int plot(const Options &o);

// Runs f with standard output silenced (the loaders print their dumps
// there) and, with err, standard error captured into *err.
// Returns: what f returns.
template <typename F>
auto quietly(F f, std::string *err = nullptr) {
  std::fflush(stdout);
  std::fflush(stderr);
  const int saved_out = dup(1), null = open("/dev/null", O_WRONLY);
  if (null >= 0) dup2(null, 1);
  FILE *capture = err ? std::tmpfile() : nullptr;
  const int saved_err = capture ? dup(2) : -1;
  if (capture) dup2(fileno(capture), 2);
  auto result = f();
  std::fflush(stdout);
  std::fflush(stderr);
  if (saved_out >= 0) dup2(saved_out, 1), close(saved_out);
  if (null >= 0) close(null);
  if (capture) {
    if (saved_err >= 0) dup2(saved_err, 2), close(saved_err);
    std::rewind(capture);
    err->clear();
    char buf[4096];
    for (size_t got; (got = std::fread(buf, 1, sizeof buf, capture)) > 0;) err->append(buf, got);
    std::fclose(capture);
  }
  return result;
}

// The library's console lines, as captured, on standard error: one
// message a line (a message the library ends without a line end is
// followed by the next one on the same line otherwise).
void print_library_lines(const std::string &captured);

}  // namespace aputil::info
