#include "common/host_root.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>

#include "support/fw_root.h"

namespace {

using aputil::HostPath;

#if APUTIL_HOST_SYSROOT
// Absolute paths get the root, read from the variable on every call; a path
// too long to resolve becomes "", which opens nothing; read_device_file reads
// at most cap bytes of a file in the tree, -1 when it cannot be opened.
TEST(HostRoot, ResolvesAndReadsInsideTheTree) {
  aputil::test::FirmwareRoot root;
  root.write("/etc/model/file", "content");
  char buf[16];
  EXPECT_EQ(aputil::read_device_file("/etc/model/file", buf, 5), 5);  // of 7
  EXPECT_EQ(aputil::read_device_file("/etc/model/missing", buf, 16), -1);
  EXPECT_EQ(std::string(HostPath("/etc/x/dev_config.json").c_str()), root.dir() + "/etc/x/dev_config.json");
  EXPECT_STREQ(HostPath("relative/file").c_str(), "relative/file");
  EXPECT_STREQ(HostPath("").c_str(), "");
  HostPath too_long(("/" + std::string(PATH_MAX, 'a')).c_str());
  EXPECT_STREQ(too_long.c_str(), "");
  EXPECT_EQ(fopen(too_long.c_str(), "r"), nullptr);
  setenv("APUTIL_SYSROOT", "/one", 1);
  EXPECT_STREQ(HostPath("/tmp/log/error").c_str(), "/one/tmp/log/error");
  setenv("APUTIL_SYSROOT", "", 1);
  EXPECT_STREQ(HostPath("/tmp/log/error").c_str(), "/tmp/log/error");
  unsetenv("APUTIL_SYSROOT");
  EXPECT_STREQ(HostPath("/tmp/log/error").c_str(), "/tmp/log/error");
}

// Under a root a shell word is the prefixed path in single quotes (a quote becomes '\''); a path that
// is not prefixed stays as it is. The longest path that resolves, all quotes after "//", still fits.
TEST(HostRoot, QuotesShellWords) {
  aputil::test::FirmwareRoot root;
  setenv("APUTIL_SYSROOT", "/it's $(x)", 1);
  EXPECT_STREQ(aputil::ShellPath("/a b").c_str(), "'/it'\\''s $(x)/a b'");
  EXPECT_STREQ(aputil::ShellPath("rel").c_str(), "rel");
  setenv("APUTIL_SYSROOT", "/", 1);
  EXPECT_EQ(strlen(aputil::ShellPath(("/" + std::string(PATH_MAX - 3, '\'')).c_str()).c_str()), 4u * PATH_MAX - 8);
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
