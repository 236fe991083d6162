// aputil-info: inspect and lint a firmware tree through the library's C API.
//
//   aputil-info [--root DIR] [--region CODE] [--json] [show]
//   aputil-info [--root DIR] [--json] [--against TREE] [--regdb [FILE]] lint
//
// Exit status: 0 success (lint: no errors, warnings allowed); 1 a
// configuration did not load (show), lint found an error, or the output
// could not be written; 2 bad arguments, an unreadable tree or database.
#include <getopt.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "aputil-info/info.h"
#include "aputil_version.h"
#include "common/cli.h"

namespace {

using aputil::info::kExitUsage;

const char kUsage[] =
    "usage: aputil-info [--root DIR] [--region CODE] [--json] [show]\n"
    "       aputil-info [--root DIR] [--json] [--against TREE] [--regdb [FILE]] lint\n"
    "       aputil-info --help | --version\n"
    "\n"
    "  show   print the model's identity, device capabilities, ports, per-model paths,\n"
    "         radio configuration with derived values, and the regulatory table of the\n"
    "         region (default: the radio configuration's special region code)\n"
    "  lint   load the model's files as the device does, then check what the loaders\n"
    "         let through: key types and ranges, file sizes, every REG_DOMAIN line,\n"
    "         regions one file lacks, contradictory channel flags\n"
    "\n"
    "  -r, --root DIR    firmware tree standing for the device's / (default: /)\n"
    "  --region CODE     region code for the regulatory table (show)\n"
    "  --json            print the same data as JSON\n"
    "  --against TREE    lint: report regions that lost channels since this earlier tree\n"
    "  --regdb [FILE]    lint: check every region against the wireless regulatory\n"
    "                    database (default " "/lib/firmware/regulatory.db)\n"
    "  -h, --help        this text;  -V, --version  the version\n"
    "\n"
    "exit status: 0 success (lint: no errors); 1 a configuration did not load, lint\n"
    "found an error, or the output could not be written; 2 bad arguments, or an\n"
    "unreadable tree or database\n";

int usage_error(const std::string &message) { return aputil::cli::usage_error("aputil-info", message); }
int finish(int status) { return aputil::cli::finish("aputil-info", status); }

// A tree given on the command line without its trailing slashes; "" for /.
std::string tree_argument(std::string dir) {
  while (dir.size() > 1 && dir.back() == '/') dir.pop_back();
  return dir == "/" ? "" : dir;
}

bool readable_tree(const std::string &dir) {
  if (dir.empty() || access(dir.c_str(), R_OK | X_OK) == 0) return true;
  std::fprintf(stderr, "aputil-info: cannot read the firmware tree %s: %s\n", dir.c_str(), std::strerror(errno));
  return false;
}

}  // namespace

int main(int argc, char **argv) {
  aputil::info::Options o;
  std::string command;
  enum { kRegion = 256, kJson, kAgainst, kRegdb };
  static const option kOptions[] = {
      {"help", no_argument, nullptr, 'h'},       {"version", no_argument, nullptr, 'V'},
      {"root", required_argument, nullptr, 'r'}, {"region", required_argument, nullptr, kRegion},
      {"json", no_argument, nullptr, kJson},     {"against", required_argument, nullptr, kAgainst},
      {"regdb", optional_argument, nullptr, kRegdb}, {nullptr, 0, nullptr, 0},
  };
  auto is_command = [](const std::string &a) { return a == "show" || a == "lint"; };
  aputil::cli::keep_standard_descriptors();
  opterr = 0;  // the messages below, in the tool's own words
  std::string seen;
  for (int c; (c = getopt_long(argc, argv, ":hVr:", kOptions, nullptr)) != -1;) {
    if (c != ':' && c != '?' && seen.find(static_cast<char>(c)) != std::string::npos)
      return usage_error(aputil::cli::option_name(c, kOptions) + " given twice");
    seen += static_cast<char>(c);
    switch (c) {
      case 'h': std::fputs(kUsage, stdout); return finish(0);
      case 'V': std::printf("aputil-info %s\n", APUTIL_VERSION); return finish(0);
      case 'r':
        if (!*optarg) return usage_error("--root needs a folder");
        o.root = tree_argument(optarg);
        break;
      case kRegion: {
        long v;
        if (!aputil::cli::parse_number(optarg, 0, 65535, &v))
          return usage_error(std::string("--region takes a region code from 0 to 65535, not '") + optarg + "'");
        o.region = static_cast<int>(v);
        o.region_given = true;
        break;
      }
      case kJson: o.json = true; break;
      case kAgainst:
        if (!*optarg) return usage_error("--against needs a folder");
        o.against = optarg;
        break;
      case kRegdb:
        o.regdb = true;
        // "--regdb FILE" as well as "--regdb=FILE": the next word, unless
        // it is an option or a command.
        if (!optarg && optind < argc && argv[optind][0] != '-' && !is_command(argv[optind])) optarg = argv[optind++];
        if (optarg && !*optarg) return usage_error("--regdb needs a file when given one");
        if (optarg) o.regdb_file = optarg;
        break;
      case ':': return usage_error(aputil::cli::bad_option(optopt, argv, optind) + " needs a value");
      default: return usage_error("unknown option '" + aputil::cli::bad_option(optopt, argv, optind) + "'");
    }
  }
  for (int i = optind; i < argc; ++i) {
    const std::string a = argv[i];
    if (!is_command(a)) return usage_error("unknown command '" + a + "'");
    if (!command.empty()) return usage_error("one command at a time ('" + command + "' and '" + a + "')");
    command = a;
  }
  if (command.empty()) command = "show";
  if (command == "lint" && o.region_given) return usage_error("--region applies to show, not lint");
  if (command == "show" && (o.regdb || !o.against.empty()))
    return usage_error(std::string(o.regdb ? "--regdb" : "--against") + " applies to lint, not show");
  if (!o.against.empty()) {
    const std::string earlier = tree_argument(o.against);
    o.against = earlier.empty() ? "/" : earlier;  // "/": the device's own files
  }
  if (!readable_tree(o.root) || !readable_tree(o.against)) return kExitUsage;
  if (!o.root.empty()) setenv("APUTIL_SYSROOT", o.root.c_str(), 1);
  return finish(command == "lint" ? aputil::info::lint(o) : aputil::info::show(o));
}
