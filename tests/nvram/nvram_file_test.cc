// The host NVRAM emulation: partitions are files under <root>/nvram, read
// up to the caller's size; a name that is missing or would leave the folder
// reads nothing; the region is the region file's first two characters.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>

#include "nm_api.h"
#include "support/fw_root.h"

namespace {

TEST(NvramFile, PartitionsAndRegion) {
  aputil::test::FirmwareRoot root;
  root.write("/nvram/product-info", "AP100 X(EU):2.0\nhw:1\n");
  root.write("/secret", "x");
  EXPECT_EQ(nm_api_init(), 0);
  char buf[512] = {0};
  EXPECT_EQ(nm_api_readPtnFromNvram("product-info", buf, sizeof buf), 21);
  EXPECT_STREQ(buf, "AP100 X(EU):2.0\nhw:1\n");
  char small[4] = {0};
  EXPECT_EQ(nm_api_readPtnFromNvram("product-info", small, 3), 3);  // never past size
  EXPECT_STREQ(small, "AP1");
  for (const char *name : {"region", "../secret", "a/b", ".", "", static_cast<const char *>(nullptr)})
    EXPECT_EQ(nm_api_readPtnFromNvram(name, buf, sizeof buf), 0) << (name ? name : "(null)");
  EXPECT_EQ(nm_api_readPtnFromNvram("product-info", nullptr, 16) + nm_api_readPtnFromNvram("product-info", buf, 0), 0);
  // The region file's text, the answer and the region read back ("-" for no file).
  const std::tuple<const char *, int, const char *> regions[] = {
      {"-", -1, ""}, {"JP\n", 0, "JP"}, {"USA", 0, "US"}, {"K", -1, ""}};
  for (const auto &[text, answer, region] : regions) {
    if (*text != '-') root.write("/nvram/region", text);
    char got[3] = {'x', 'x', 'x'};
    EXPECT_EQ(nm_api_getRegionName(got, sizeof got), answer) << text;
    EXPECT_STREQ(got, region) << text;
  }
  char tiny[2];
  root.write("/nvram/region", "KR");
  EXPECT_EQ(nm_api_getRegionName(tiny, sizeof tiny), 0);  // cut to the buffer
  EXPECT_STREQ(tiny, "K");
}

}  // namespace
