// What lint finds, collected in order and printed as text lines or JSON.
#pragma once

#include <string>
#include <vector>

struct cJSON;

namespace aputil::info {

enum class Severity { kError, kWarning, kNote };

// One finding. Text form:
//   FILE[:LINE]: error: [KEY: ]MESSAGE [(limit ...)]
// or, for the regulatory check,
//   region CODE (CC), radio R, channel N (F MHz): error: MESSAGE; RULE
struct Finding {
  Severity severity = Severity::kError;
  std::string file;     // device path, or "" (the regulatory check)
  int line = 0;         // 1-based line of the file, 0 when none applies
  long offset = -1;     // byte offset in the file, -1 when none applies
  std::string key;      // JSON key path ("lanport.dlPortNum"), or ""
  std::string message;  // what is wrong, with the limit it breaks
  // The region and channel concerned (region < 0: none). Findings without
  // a file are the regulatory check's and print in their own form.
  int region = -1;
  std::string country;  // alpha-2, "" when the code maps to none
  int radio = -1, channel = -1, freq = -1;
  std::string rule;     // the database rule broken: range, width, EIRP, flags
};

class Findings {
 public:
  void add(Finding f) { list_.push_back(std::move(f)); }
  // Shorthands for file findings.
  void error(const std::string &file, const std::string &message, int line = 0, const std::string &key = "",
             long offset = -1);
  void warning(const std::string &file, const std::string &message, int line = 0, const std::string &key = "",
               long offset = -1);
  // Ties the last finding to a region (and a channel's frequency), so that
  // a picture can mark it; its text keeps the file form.
  void tag_last(int region, int freq = -1) {
    if (!list_.empty()) list_.back().region = region, list_.back().freq = freq;
  }
  int errors() const;
  int warnings() const;
  const std::vector<Finding> &list() const { return list_; }
  // Findings from index `from` on, one text line each, on stdout.
  void print(size_t from = 0) const;
  // The findings as a JSON array (caller deletes).
  cJSON *to_json() const;

 private:
  std::vector<Finding> list_;
};

// One finding as its text line (no line end).
std::string format(const Finding &f);
const char *severity_name(Severity s);

}  // namespace aputil::info
