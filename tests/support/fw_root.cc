#include "support/fw_root.h"

#include <ftw.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>

namespace aputil::test {

FirmwareRoot::FirmwareRoot() {
  const char *tmp = getenv("TMPDIR");
  std::string templ = std::string(tmp && *tmp ? tmp : "/tmp") + "/aputil-root-XXXXXX";
  char *made = mkdtemp(templ.data());
  if (!made) ADD_FAILURE() << "mkdtemp failed";
  dir_ = templ;
  if (const char *old = getenv("APUTIL_SYSROOT")) {
    saved_ = old;
    had_saved_ = true;
  }
  setenv("APUTIL_SYSROOT", dir_.c_str(), 1);
}

FirmwareRoot::~FirmwareRoot() {
  if (had_saved_)
    setenv("APUTIL_SYSROOT", saved_.c_str(), 1);
  else
    unsetenv("APUTIL_SYSROOT");
  nftw(
      dir_.c_str(), [](const char *path, const struct stat *, int, struct FTW *) { return remove(path); }, 16,
      FTW_DEPTH | FTW_PHYS);
}

void FirmwareRoot::write(const std::string &device_path, const std::string &content) const {
  std::string path = host(device_path);
  for (size_t slash = dir_.size() + 1; (slash = path.find('/', slash)) != std::string::npos; ++slash)
    mkdir(path.substr(0, slash).c_str(), 0755);
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << content;
  if (!out) ADD_FAILURE() << "cannot write " << path;
}

std::string FirmwareRoot::read(const std::string &device_path) const { return read_file(host(device_path)); }

std::string read_file(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

}  // namespace aputil::test
