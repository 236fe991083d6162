#include "aputil-info/findings.h"

#include <cstdio>

#include "cJSON.h"

namespace aputil::info {

const char *severity_name(Severity s) {
  switch (s) {
    case Severity::kError: return "error";
    case Severity::kWarning: return "warning";
    default: return "note";
  }
}

void Findings::error(const std::string &file, const std::string &message, int line, const std::string &key,
                     long offset) {
  Finding f;
  f.file = file, f.message = message, f.line = line, f.key = key, f.offset = offset;
  add(std::move(f));
}

void Findings::warning(const std::string &file, const std::string &message, int line, const std::string &key,
                       long offset) {
  Finding f;
  f.severity = Severity::kWarning;
  f.file = file, f.message = message, f.line = line, f.key = key, f.offset = offset;
  add(std::move(f));
}

int Findings::errors() const {
  int n = 0;
  for (const Finding &f : list_) n += f.severity == Severity::kError;
  return n;
}

int Findings::warnings() const {
  int n = 0;
  for (const Finding &f : list_) n += f.severity == Severity::kWarning;
  return n;
}

std::string format(const Finding &f) {
  std::string where;
  if (f.file.empty()) {
    where = "region " + std::to_string(f.region);
    if (!f.country.empty()) where += " (" + f.country + ")";
    if (f.radio >= 0) where += ", radio " + std::to_string(f.radio);
    if (f.channel >= 0) where += ", channel " + std::to_string(f.channel) + " (" + std::to_string(f.freq) + " MHz)";
  } else {
    where = f.file;
    if (f.line > 0) where += ":" + std::to_string(f.line);
  }
  std::string text = where + ": " + severity_name(f.severity) + ": ";
  if (!f.key.empty()) text += "\"" + f.key + "\": ";
  text += f.message;
  if (f.offset >= 0) text += " (byte offset " + std::to_string(f.offset) + ")";
  if (!f.rule.empty()) text += "; rule " + f.rule;
  return text;
}

void Findings::print(size_t from) const {
  for (size_t i = from; i < list_.size(); ++i) std::printf("%s\n", format(list_[i]).c_str());
}

cJSON *Findings::to_json() const {
  cJSON *array = cJSON_CreateArray();
  for (const Finding &f : list_) {
    cJSON *o = cJSON_CreateObject();
    cJSON_AddItemToObject(o, "severity", cJSON_CreateString(severity_name(f.severity)));
    if (!f.file.empty()) cJSON_AddItemToObject(o, "file", cJSON_CreateString(f.file.c_str()));
    if (f.line > 0) cJSON_AddItemToObject(o, "line", cJSON_CreateNumber(f.line));
    if (f.offset >= 0) cJSON_AddItemToObject(o, "offset", cJSON_CreateNumber(static_cast<double>(f.offset)));
    if (!f.key.empty()) cJSON_AddItemToObject(o, "key", cJSON_CreateString(f.key.c_str()));
    if (f.region >= 0) cJSON_AddItemToObject(o, "region", cJSON_CreateNumber(f.region));
    if (f.file.empty())
      cJSON_AddItemToObject(o, "country", f.country.empty() ? cJSON_CreateNull() : cJSON_CreateString(f.country.c_str()));
    if (f.radio >= 0) cJSON_AddItemToObject(o, "radio", cJSON_CreateNumber(f.radio));
    if (f.channel >= 0) cJSON_AddItemToObject(o, "channel", cJSON_CreateNumber(f.channel));
    if (f.freq >= 0) cJSON_AddItemToObject(o, "freq", cJSON_CreateNumber(f.freq));
    cJSON_AddItemToObject(o, "message", cJSON_CreateString(f.message.c_str()));
    if (!f.rule.empty()) cJSON_AddItemToObject(o, "rule", cJSON_CreateString(f.rule.c_str()));
    cJSON_AddItemToArray(array, o);
  }
  return array;
}

}  // namespace aputil::info
