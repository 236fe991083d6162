// aputil-info lint: the library's own loads, and what they let through.
//
// The loaders are lenient on purpose (the daemons depend on it). lint runs
// them as the device would, prints their console lines, and adds its own
// findings: every key against its type and range, file sizes against what
// the loaders read, every REG_DOMAIN token with its line, regions one file
// has and the other lacks, channels lost since an earlier tree, and with
// --regdb every channel against the public regulatory database.
#include <algorithm>
#include <map>
#include <set>
#include <string>

#include "aputil-info/findings.h"
#include "aputil-info/info.h"
#include "aputil-info/lint_keys.h"
#include "aputil-info/regcheck.h"
#include "aputil-info/regdb.h"
#include "aputil-info/tree.h"
#include "cJSON.h"
#include "devcfg.h"
#include "radio_config.h"
#include "radio_region.h"

namespace aputil::info {

namespace {

constexpr char kProductInfo[] = "NVRAM product-info";

std::string plural(int n, const char *noun) { return std::to_string(n) + " " + noun + (n == 1 ? "" : "s"); }

class Lint {
 public:
  Lint(const Options &o, const RegDb &db, const std::map<int, std::string> &iso)
      : o_(o), db_(db), iso_(iso), json_(o.json ? cJSON_CreateObject() : nullptr) {}
  ~Lint() { cJSON_Delete(json_); }

  int run();

 private:
  // A summary line on stdout (text mode), then the findings since the last one.
  void step(const std::string &line) {
    if (!json_) std::printf("%s\n", line.c_str());
    std::fflush(stdout);  // before the library's lines on stderr
  }
  void flush() {
    if (!json_) findings_.print(shown_);
    std::fflush(stdout);
    shown_ = findings_.list().size();
  }
  // The library's load, its console lines on stderr, and an error finding
  // when it fails and lint found nothing in that file to say why.
  bool library_load(const char *what, const std::string &file, int (*load)(), size_t errors_before) {
    std::string lines;
    const bool ok = quietly(load, &lines) >= 0;
    step(std::string(what) + ": " + (ok ? "ok" : "FAILED"));
    print_library_lines(lines);
    if (!ok && findings_.errors() == static_cast<int>(errors_before))
      findings_.error(file, "the loader refuses the file (its message is on standard error)");
    return ok;
  }
  void check_file(const std::string &file, size_t limit_kind);
  void check_against(const RegDomainFile &now, const std::string &earlier_root, const Identity &earlier);
  void check_regdb(const std::vector<int> &codes);
  void add_json_bool(const char *name, bool v) {
    if (json_) cJSON_AddItemToObject(json_, name, cJSON_CreateBool(v));
  }

  const Options &o_;
  const RegDb &db_;
  const std::map<int, std::string> &iso_;
  cJSON *json_;
  Findings findings_;
  size_t shown_ = 0;
  Identity id_;
};

void Lint::check_file(const std::string &file, size_t which) {
  std::string text, error;
  if (!read_tree_file(o_.root, file, &text, &error))
    findings_.error(file, "cannot be read: " + error);
  else if (which == kDevConfigLimit)
    lint_dev_config(file, text, &findings_);
  else
    lint_radio_config(file, text, &findings_);
}

void Lint::check_against(const RegDomainFile &now, const std::string &earlier_root, const Identity &earlier) {
  const RegDomainFile old = scan_reg_domain(earlier_root, earlier.model_dir, now.five_ghz, nullptr);
  if (!old.readable) {
    findings_.error(now.device_path, "nothing to compare: " + earlier_root + old.device_path + " cannot be read");
    return;
  }
  if (!now.readable) return;
  for (const RegionBlock &was : old.blocks) {
    const RegionBlock *is = now.find(was.code);
    if (!is) {
      findings_.error(now.device_path, "region " + std::to_string(was.code) + " is gone (" +
                                           std::to_string(was.chans.size()) + " channels in " + earlier_root + old.device_path + ")");
      continue;
    }
    if (is->chans.size() >= was.chans.size()) continue;
    std::string lost;
    for (const ChanLine &c : was.chans)
      if (std::none_of(is->chans.begin(), is->chans.end(), [&](const ChanLine &n) { return n.freq == c.freq; }))
        lost += " " + std::to_string(c.freq);
    findings_.error(now.device_path, "region " + std::to_string(was.code) + " has " + std::to_string(is->chans.size()) +
                                         " channels where " + earlier_root + old.device_path + " has " +
                                         std::to_string(was.chans.size()) + (lost.empty() ? "" : "; lost (MHz):" + lost),
                    is->line);
  }
}

void Lint::check_regdb(const std::vector<int> &codes) {
  const std::vector<RegionSummary> summaries = check_regions(codes, db_, iso_, &findings_);
  step("regulatory database " + o_.regdb_file + " (format " + std::to_string(db_.version) + ", " +
       std::to_string(db_.countries.size()) + " countries):");
  flush();
  cJSON *regions = cJSON_CreateArray();
  for (const RegionSummary &s : summaries) {
    std::string line = "region " + std::to_string(s.code) + (s.country.empty() ? "" : " (" + s.country + ")") + ": ";
    if (!s.skipped.empty())
      line += "skipped: " + s.skipped;
    else
      line += plural(s.channels, "channel") + ", " + plural(s.errors, "error") + ", " + plural(s.warnings, "warning");
    step(line);
    cJSON *r = cJSON_CreateObject();
    cJSON_AddItemToObject(r, "code", cJSON_CreateNumber(s.code));
    cJSON_AddItemToObject(r, "country", s.country.empty() ? cJSON_CreateNull() : cJSON_CreateString(s.country.c_str()));
    if (!s.skipped.empty()) cJSON_AddItemToObject(r, "skipped", cJSON_CreateString(s.skipped.c_str()));
    cJSON_AddItemToObject(r, "channels", cJSON_CreateNumber(s.channels));
    cJSON_AddItemToObject(r, "errors", cJSON_CreateNumber(s.errors));
    cJSON_AddItemToObject(r, "warnings", cJSON_CreateNumber(s.warnings));
    cJSON_AddItemToArray(regions, r);
  }
  if (json_) {
    cJSON *d = cJSON_CreateObject();
    cJSON_AddItemToObject(d, "file", cJSON_CreateString(o_.regdb_file.c_str()));
    cJSON_AddItemToObject(d, "version", cJSON_CreateNumber(db_.version));
    cJSON_AddItemToObject(d, "regions", regions);
    cJSON_AddItemToObject(json_, "regdb", d);
  } else {
    cJSON_Delete(regions);
  }
}

int Lint::run() {
  // 1. The product identity: without it no model file can be found.
  id_ = read_identity(o_.root);
  if (!id_.read)
    findings_.error(kProductInfo, "the product identity cannot be read (the NVRAM partition \"product-info\" is "
                                  "missing or empty): the model, and so every model file, is unknown");
  else if (id_.fields < 3)
    findings_.error(kProductInfo, "\"" + id_.line + "\" does not read as NAME(QUALIFIER):VERSION; the model "
                                  "directory becomes " + id_.model_dir);
  step("product-info: " + (id_.read ? "\"" + id_.line + "\" region \"" + id_.region + "\": " + id_.model_dir : "FAILED"));
  if (json_) {
    cJSON_AddItemToObject(json_, "productInfo", id_.read ? cJSON_CreateString(id_.line.c_str()) : cJSON_CreateNull());
    cJSON_AddItemToObject(json_, "modelDirectory", id_.read ? cJSON_CreateString(id_.model_dir.c_str()) : cJSON_CreateNull());
  }
  bool dev_ok = false, radio_ok = false;
  std::vector<int> codes;
  if (!id_.read) {
    std::string lines;
    quietly([] { return devcfg_testFunc(); }, &lines);
    print_library_lines(lines);
    flush();
  } else {
    flush();
    // 2. dev_config.json, then radio_config.json: lint's checks, then the loader.
    const std::string dev = id_.model_dir + "dev_config.json", radio = id_.model_dir + "radio_config.json";
    size_t before = static_cast<size_t>(findings_.errors());
    check_file(dev, kDevConfigLimit);
    dev_ok = library_load("dev_config.json", dev, [] { return devcfg_testFunc(); }, before);
    flush();
    before = static_cast<size_t>(findings_.errors());
    check_file(radio, kRadioConfigLimit);
    if (dev_ok) {
      radio_ok = library_load("radio_config.json", radio,
                              [] { return radio_config_getMeshBkhapIfname() ? 0 : -1; }, before);
    } else {
      step("radio_config.json: not loaded (the device configuration does not load)");
    }
    flush();

    // 3. Both REG_DOMAIN files token by token, then every region through the loader.
    const RegDomainFile two = scan_reg_domain(o_.root, id_.model_dir, false, &findings_);
    const RegDomainFile five = scan_reg_domain(o_.root, id_.model_dir, true, &findings_);
    check_regions_across(two, five, &findings_);
    if (!o_.against.empty()) {
      const Identity earlier = read_identity(o_.against);
      if (!earlier.read)
        findings_.error(o_.against + " (NVRAM product-info)",
                        "the earlier tree's product identity cannot be read; nothing compared");
      for (const RegDomainFile *f : {&two, &five})
        if (earlier.read) check_against(*f, o_.against, earlier);
    }
    std::set<int> all;
    for (const RegDomainFile *f : {&two, &five})
      for (const RegionBlock &b : f->blocks) all.insert(b.code);
    codes.assign(all.begin(), all.end());
    std::string failed, lines;
    if (dev_ok && radio_ok) {
      for (int code : codes) {
        std::string more;
        if (quietly([code] { return radio_region_init(code); }, &more) != 0) failed += " " + std::to_string(code);
        lines += more;
      }
      step("REG_DOMAIN2/REG_DOMAIN5: " + std::to_string(codes.size()) + " regions, " +
           (failed.empty() ? "all load" : "failed:" + failed));
      print_library_lines(lines);
      if ((!failed.empty() || codes.empty()) && findings_.errors() == 0)
        findings_.error(two.device_path, failed.empty() ? "no region at all" : "the loader refuses region(s)" + failed);
    } else {
      step("REG_DOMAIN2/REG_DOMAIN5: " + std::to_string(codes.size()) +
           " regions, not loaded (the model's configuration does not load)");
    }
    flush();
    if (json_) {
      cJSON *regions = cJSON_CreateObject();
      cJSON_AddItemToObject(regions, "count", cJSON_CreateNumber(static_cast<double>(codes.size())));
      cJSON *list = cJSON_CreateArray();
      for (size_t at = 0; (at = failed.find(' ', at)) != std::string::npos; ++at)
        cJSON_AddItemToArray(list, cJSON_CreateNumber(std::atoi(failed.c_str() + at + 1)));
      cJSON_AddItemToObject(regions, "failed", list);
      cJSON_AddItemToObject(json_, "regions", regions);
    }
  }
  add_json_bool("devConfigLoads", dev_ok);
  add_json_bool("radioConfigLoads", radio_ok);

  // 4. Every region against the regulatory database.
  if (o_.regdb) {
    if (dev_ok && radio_ok)
      check_regdb(codes);
    else
      step("regulatory database: not checked (the model's configuration does not load)");
  }

  const int errors = findings_.errors(), warnings = findings_.warnings();
  if (json_) {
    cJSON_AddItemToObject(json_, "findings", findings_.to_json());
    cJSON_AddItemToObject(json_, "errors", cJSON_CreateNumber(errors));
    cJSON_AddItemToObject(json_, "warnings", cJSON_CreateNumber(warnings));
    char *text = cJSON_Print(json_);
    std::printf("%s\n", text ? text : "null");
    std::free(text);
  } else {
    std::printf("lint: %s, %s\n", plural(errors, "error").c_str(), plural(warnings, "warning").c_str());
  }
  return errors ? kExitFailed : 0;
}

}  // namespace

int lint(const Options &o) {
  RegDb db;
  std::map<int, std::string> iso;
  if (o.regdb) {  // an unreadable database or country list is a bad argument: nothing runs
    std::string error;
    if (!load_regdb(o.regdb_file, &db, &error) || !load_iso3166(kDefaultIso3166, &iso, &error)) {
      std::fprintf(stderr, "aputil-info: %s\n", error.c_str());
      return kExitUsage;
    }
  }
  return Lint(o, db, iso).run();
}

}  // namespace aputil::info
