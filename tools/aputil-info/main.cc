// aputil-info: inspect and lint a firmware tree through the library's C API.
//
//   aputil-info [--root DIR] [--region CODE] [--json] [show]
//   aputil-info [--root DIR] [--json] [--against TREE] [--regdb [FILE]] lint
//   aputil-info [--root DIR] [--region CODE | --all-regions] [--band 2|5] [--regdb [FILE]] [-o FILE] plot
//
// Exit status: 0 success (lint: no errors, warnings allowed); 1 a
// configuration did not load (show), lint found an error, or the output
// could not be written; 2 bad arguments, an unreadable tree or database.
#include <getopt.h>
#include <sys/stat.h>
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
    "       aputil-info [--root DIR] [--region CODE | --all-regions] [--band 2|5]\n"
    "                   [--regdb [FILE]] [-o FILE] plot\n"
    "       aputil-info --help | --version\n"
    "\n"
    "  show   print the model's identity, device capabilities, ports, per-model paths,\n"
    "         radio configuration with derived values, and the regulatory table of the\n"
    "         region (default: the radio configuration's special region code)\n"
    "  lint   load the model's files as the device does, then check what the loaders\n"
    "         let through: key types and ranges, file sizes, every REG_DOMAIN line,\n"
    "         regions one file lacks, contradictory channel flags\n"
    "  plot   draw the region's channel plan as SVG, one panel per radio (with --regdb:\n"
    "         the country's rules and lint's findings over it); --all-regions: every\n"
    "         region on one page, regions down, channels across\n"
    "\n"
    "  -r, --root DIR    firmware tree standing for the device's / (default: /)\n"
    "  --region CODE     region code for the regulatory table (show, plot)\n"
    "  --json            print the same data as JSON\n"
    "  --against TREE    lint: report regions that lost channels since this earlier tree\n"
    "  --regdb [FILE]    lint, plot: check every region against the wireless regulatory\n"
    "                    database (default " "/lib/firmware/regulatory.db)\n"
    "  --all-regions     plot: every region on one page\n"
    "  --band 2|5        plot: only the 2.4 GHz or the 5 GHz radio\n"
    "  -o, --output FILE plot: write the SVG to FILE instead of standard output\n"
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
  struct stat st;
  if (dir.empty() || (stat(dir.c_str(), &st) == 0 && S_ISDIR(st.st_mode) && access(dir.c_str(), R_OK | X_OK) == 0))
    return true;
  std::fprintf(stderr, "aputil-info: cannot read the firmware tree %s: %s\n", dir.c_str(),
               errno == 0 || (stat(dir.c_str(), &st) == 0 && !S_ISDIR(st.st_mode)) ? "not a folder" : std::strerror(errno));
  return false;
}

}  // namespace

int main(int argc, char **argv) {
  aputil::info::Options o;
  std::string command;
  enum { kRegion = 256, kJson, kAgainst, kRegdb, kAllRegions, kBand };
  static const option kOptions[] = {
      {"help", no_argument, nullptr, 'h'},       {"version", no_argument, nullptr, 'V'},
      {"root", required_argument, nullptr, 'r'}, {"region", required_argument, nullptr, kRegion},
      {"json", no_argument, nullptr, kJson},     {"against", required_argument, nullptr, kAgainst},
      {"regdb", optional_argument, nullptr, kRegdb}, {"all-regions", no_argument, nullptr, kAllRegions},
      {"band", required_argument, nullptr, kBand}, {"output", required_argument, nullptr, 'o'},
      {nullptr, 0, nullptr, 0},
  };
  auto is_command = [](const std::string &a) { return a == "show" || a == "lint" || a == "plot"; };
  aputil::cli::keep_standard_descriptors();
  opterr = 0;  // the messages below, in the tool's own words
  std::string seen;
  for (int c; (c = getopt_long(argc, argv, ":hVr:o:", kOptions, nullptr)) != -1;) {
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
      case kAllRegions: o.all_regions = true; break;
      case kBand:
        if (std::strcmp(optarg, "2") != 0 && std::strcmp(optarg, "5") != 0)
          return usage_error(std::string("--band takes 2 or 5, not '") + optarg + "'");
        o.band = *optarg - '0';
        break;
      case 'o':
        if (!*optarg) return usage_error("--output needs a file");
        o.output = optarg;
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
  // Each option applies to some commands only.
  const struct {
    bool given;
    const char *name, *commands;
  } scope[] = {{o.region_given, "--region", "show and plot"}, {o.json, "--json", "show and lint"},
               {!o.against.empty(), "--against", "lint"},      {o.regdb, "--regdb", "lint and plot"},
               {o.all_regions, "--all-regions", "plot"},    {o.band != 0, "--band", "plot"},
               {!o.output.empty(), "--output", "plot"}};
  for (const auto &s : scope)
    if (s.given && std::string(s.commands).find(command) == std::string::npos)
      return usage_error(std::string(s.name) + " applies to " + s.commands + ", not " + command);
  if (o.all_regions && o.region_given) return usage_error("--region and --all-regions exclude each other");
  if (!o.against.empty()) {
    const std::string earlier = tree_argument(o.against);
    o.against = earlier.empty() ? "/" : earlier;  // "/": the device's own files
  }
  if (!readable_tree(o.root) || !readable_tree(o.against)) return kExitUsage;
  if (!o.root.empty()) setenv("APUTIL_SYSROOT", o.root.c_str(), 1);
  if (command == "lint") return finish(aputil::info::lint(o));
  return finish(command == "plot" ? aputil::info::plot(o) : aputil::info::show(o));
}
