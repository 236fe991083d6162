// A temporary firmware tree for the fuzz targets (made once per process).
#pragma once

#include <stdlib.h>
#include <sys/stat.h>

#include <cstdio>
#include <string>

#include "quiet.h"

namespace fuzz {

inline const std::string &root() {
  static const std::string dir = [] {
    char templ[] = "/tmp/aputil-fuzz-XXXXXX";
    std::string d = mkdtemp(templ) ? templ : "/tmp";
    setenv("APUTIL_SYSROOT", d.c_str(), 1);
    return d;
  }();
  return dir;
}

inline void write(const std::string &device_path, const void *data, size_t size) {
  std::string path = root() + device_path;
  for (size_t slash = root().size() + 1; (slash = path.find('/', slash)) != std::string::npos; ++slash)
    mkdir(path.substr(0, slash).c_str(), 0755);
  FILE *f = std::fopen(path.c_str(), "wb");
  if (!f) return;
  std::fwrite(data, 1, size, f);
  std::fclose(f);
}

inline void write(const std::string &device_path, const std::string &text) {
  write(device_path, text.data(), text.size());
}

// A model: identity in NVRAM and, unless given, loadable configuration.
inline void model() {
  write("/nvram/product-info", "AP100 X(EU):2.0\n");
  write("/nvram/region", "US");
  write("/etc/AP100_X_2.0/dev_config.json",
        R"({"lanport": {"dlPortNum": 1, "ulPortAliasName": "ETH", "ulPortIfName": "eth0"}})");
  write("/etc/AP100_X_2.0/radio_config.json",
        R"({"EIRP": true, "radioTable": [{"band": 2, "mimo": 2, "anttgain": 3, "mode": 31},
            {"band": 5, "mimo": 2, "anttgain": 3, "mode": 31}]})");
}


}  // namespace fuzz
