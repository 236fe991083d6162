#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "nm_api.h"
#include "support/fw_root.h"

namespace {

TEST(NvramFile, ServesPartitionsFromFiles) {
  aputil::test::FirmwareRoot root;
  root.write("/nvram/product-info", "AP100 X(EU):2.0\nhw:1\n");
  EXPECT_EQ(nm_api_init(), 0);
  char buf[512] = {0};
  EXPECT_EQ(nm_api_readPtnFromNvram("product-info", buf, sizeof buf), 21);
  EXPECT_STREQ(buf, "AP100 X(EU):2.0\nhw:1\n");
  char small[4] = {0};
  EXPECT_EQ(nm_api_readPtnFromNvram("product-info", small, 3), 3);  // never past size
  EXPECT_STREQ(small, "AP1");
}

TEST(NvramFile, MissingOrEscapingPartitionReadsNothing) {
  aputil::test::FirmwareRoot root;
  root.write("/secret", "x");
  char buf[16] = {0};
  for (const char *name : {"product-info", "../secret", "a/b", ".", "", static_cast<const char *>(nullptr)})
    EXPECT_EQ(nm_api_readPtnFromNvram(name, buf, sizeof buf), 0) << (name ? name : "(null)");
  EXPECT_EQ(nm_api_readPtnFromNvram("product-info", nullptr, 16), 0);
  EXPECT_EQ(nm_api_readPtnFromNvram("product-info", buf, 0), 0);
}

TEST(NvramFile, RegionIsTheFirstTwoCharacters) {
  aputil::test::FirmwareRoot root;
  char region[3] = {'x', 'x', 'x'};
  EXPECT_EQ(nm_api_getRegionName(region, sizeof region), -1);  // no file: empty region
  EXPECT_STREQ(region, "");
  root.write("/nvram/region", "JP\n");
  EXPECT_EQ(nm_api_getRegionName(region, sizeof region), 0);
  EXPECT_STREQ(region, "JP");
  root.write("/nvram/region", "USA");
  EXPECT_EQ(nm_api_getRegionName(region, sizeof region), 0);
  EXPECT_STREQ(region, "US");
  root.write("/nvram/region", "K");
  EXPECT_EQ(nm_api_getRegionName(region, sizeof region), -1);
  EXPECT_STREQ(region, "");
  char tiny[2];
  root.write("/nvram/region", "KR");
  EXPECT_EQ(nm_api_getRegionName(tiny, sizeof tiny), 0);  // cut to the buffer
  EXPECT_STREQ(tiny, "K");
}

}  // namespace
