// Running the tools as processes on the sample trees, with stdout and
// stderr kept apart; cross builds run them through the emulator.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <string>

#include "support/fw_root.h"

namespace aputil::test {

const std::string kRunner = std::string(TOOL_RUNNER) + (*TOOL_RUNNER ? " " : "");
const std::string kInfo = kRunner + APUTIL_INFO, kBle = kRunner + BLE_FACTORY;
const std::string kSample = std::string(EXAMPLES_DIR) + "/firmware", kModel = "/etc/AP100_X_2.0/";
const std::string kRegdb = " --regdb " + std::string(REGDB_FILE);

struct Outcome {
  int exit;
  std::string out, err;
};

inline int sh(const std::string &cmd) {
  const int status = std::system(cmd.c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

inline Outcome run(const std::string &cmd) {
  FirmwareRoot scratch;
  const std::string out = scratch.dir() + "/out", err = scratch.dir() + "/err";
  const int exit = sh(cmd + " >" + out + " 2>" + err);
  return {exit, read_file(out), read_file(err)};
}

// A copy of the sample tree, to break.
class Tree : public FirmwareRoot {
 public:
  Tree() { reset(); }
  void reset() const { sh("cp -r " + kSample + "/. " + dir()); }
  // Replaces the first `from` in a model file by `to`.
  void edit(const std::string &file, const std::string &from, const std::string &to) const {
    std::string text = read(kModel + file);
    const size_t at = text.find(from);
    if (at == std::string::npos)
      ADD_FAILURE() << file << ": " << from;
    else
      write(kModel + file, text.replace(at, from.size(), to));
  }
  Outcome info(const std::string &args) const { return run(kInfo + " --root " + dir() + " " + args); }
};

}  // namespace aputil::test
