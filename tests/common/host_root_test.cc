#include "common/host_root.h"

#include <climits>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "support/fw_root.h"

namespace {

using aputil::HostPath;

#if APUTIL_HOST_SYSROOT
TEST(HostRoot, PrefixesAbsolutePathsWithTheRoot) {
  aputil::test::FirmwareRoot root;
  EXPECT_EQ(std::string(HostPath("/etc/x/dev_config.json").c_str()), root.dir() + "/etc/x/dev_config.json");
  EXPECT_STREQ(HostPath("relative/file").c_str(), "relative/file");
  EXPECT_STREQ(HostPath("").c_str(), "");
}

TEST(HostRoot, ReadsTheVariableOnEveryResolution) {
  aputil::test::FirmwareRoot root;
  setenv("APUTIL_SYSROOT", "/one", 1);
  EXPECT_STREQ(HostPath("/tmp/log/error").c_str(), "/one/tmp/log/error");
  setenv("APUTIL_SYSROOT", "", 1);
  EXPECT_STREQ(HostPath("/tmp/log/error").c_str(), "/tmp/log/error");
  unsetenv("APUTIL_SYSROOT");
  EXPECT_STREQ(HostPath("/tmp/log/error").c_str(), "/tmp/log/error");
}

TEST(HostRoot, TooLongPathResolvesToNothingOpenable) {
  aputil::test::FirmwareRoot root;
  std::string long_path = "/" + std::string(PATH_MAX, 'a');
  HostPath p(long_path.c_str());
  EXPECT_STREQ(p.c_str(), "");
  EXPECT_EQ(fopen(p.c_str(), "r"), nullptr);
}

TEST(HostRoot, OpensFilesInsideTheTree) {
  aputil::test::FirmwareRoot root;
  root.write("/etc/model/file", "content");
  FILE *f = fopen(HostPath("/etc/model/file").c_str(), "r");
  ASSERT_NE(f, nullptr);
  char buf[16] = {0};
  EXPECT_EQ(fread(buf, 1, sizeof buf, f), 7u);
  fclose(f);
}
#else
TEST(HostRoot, IsTheIdentityOnTheDevice) {
  setenv("APUTIL_SYSROOT", "/somewhere", 1);
  const char *device_path = "/etc/x";
  EXPECT_EQ(HostPath(device_path).c_str(), device_path);
  unsetenv("APUTIL_SYSROOT");
}
#endif

}  // namespace
