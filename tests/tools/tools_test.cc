// aputil-info and ble-factory run as processes on the sample trees.
#include <gtest/gtest.h>

#include "aputil_version.h"
#include "cJSON.h"
#include "tools/tool_run.h"

namespace aputil::test {
namespace {

const std::string kShow = kInfo + " --root " + kSample, kBroken = std::string(EXAMPLES_DIR) + "/firmware-broken";

TEST(AputilInfo, ShowAsTextAndAsJson) {
  Outcome r = run(kShow);
  EXPECT_EQ(r.exit, 0) << r.err;
  for (const char *line :
       {"modelDirectory: /etc/AP100_X_2.0/", "specRegionCode: 840",
        "- index=1 channel=1 freq=2412 maxPower=30 flags=HT20 HT40", "flags=HT20 HT40 VHT80 5G DFS WRADAR DFS-class1",
        "regDomain5: /etc/AP100_X_2.0/ath/REG_DOMAIN5"})
    EXPECT_NE(r.out.find(line), std::string::npos) << line;
  EXPECT_EQ(r.out.find("==============radio config"), std::string::npos);  // the library's dump stays out
  r = run(kShow + " --region 276 --json");
  cJSON *root = cJSON_Parse(r.out.c_str());
  ASSERT_NE(root, nullptr) << r.out.substr(0, 200);
  auto at = [](cJSON *item, const char *name, int index = -1) {
    item = cJSON_GetObjectItem(item, name);
    return index < 0 ? item : cJSON_GetArrayItem(item, index);
  };
  // The region, radio 1's channels and band, radio 0's lowest power (an EIRP region), the first downlink port.
  EXPECT_EQ(std::tuple(at(at(root, "region"), "code")->valueint,
                       cJSON_GetArraySize(at(at(at(root, "region"), "radios", 1), "channels")),
                       at(at(at(root, "radio"), "radios", 1), "band")->valueint,
                       at(at(at(root, "radio"), "radios", 0), "minPower")->valueint,
                       at(at(root, "ports"), "downlink", 0)->valueint),
            std::tuple(276, 19, 5, 7, 2));
  cJSON_Delete(root);
}

TEST(AputilInfo, LintRejectsTheBrokenModel) {
  const Outcome r = run(kInfo + " lint --root " + kBroken);
  EXPECT_EQ(r.exit, 1);
  for (const char *line : {"radio_config.json: FAILED\n",
                           "REG_DOMAIN2/REG_DOMAIN5: 2 regions, not loaded (the model's configuration does not load)\n",
                           "/etc/AP200_1.0/radio_config.json: error: \"EIRP\": a number where a boolean belongs",
                           "REG_DOMAIN2:4: error: region 276: \"2422,30080,0\" does not scan as four fields",
                           "lint: 4 errors, 0 warnings\n"})
    EXPECT_NE(r.out.find(line), std::string::npos) << line << "\n" << r.out;
  EXPECT_NE(r.err.find("<error>l_radio_config_init(): 464  @ condition("), std::string::npos);
  EXPECT_EQ(run(kInfo + " --root " + kBroken).exit, 1);
}

// Both tools follow the same conventions: getopt_long options (--opt VALUE
// and --opt=VALUE), one clear message on stderr, nothing on stdout (no
// command was sent to the co-processor, so nothing traced) and exit 2 for
// bad arguments; a failed write to stdout is a failure.
TEST(Tools, CommandLineConventions) {
  const std::string ble = kBle + " --simulate --trace ";
  const struct {
    std::string args;
    int exit;
    const char *message;  // on stderr, or stdout for --version and --help ("" for none)
  } cases[] = {{kInfo + " --region abc", 2, "--region takes a region code from 0 to 65535, not 'abc'"},
               {kInfo + " --frobnicate", 2, "unknown option '--frobnicate'"},
               {kInfo + " lint show", 2, "one command at a time ('lint' and 'show')"},
               {kInfo + " --region 276 lint", 2, "--region applies to show and plot, not lint"},
               {kShow + " lint --regdb=", 2, "--regdb needs a file when given one"},
               {kInfo + " --against /nonexistent/tree lint", 2, "cannot read the firmware tree /nonexistent/tree"},
               {kShow + " --root=" + kSample + " lint", 2, "--root given twice"},
               {kInfo + " --region ' 276'", 2, "not ' 276'"},
               {kInfo + " --root=" + kSample + " --region=276 show", 0, ""},
               {"(" + kShow + " > /dev/full)", 1, "aputil-info: write error"},
               {ble + "--port /dev/null mac", 2, "--port and --simulate exclude each other"},
               {ble + "--channel 1 --channel=2 tx-test", 2, "--channel given twice"},
               {ble + "--channel 40 tx-test", 2, "--channel must be a channel from 0 to 39, not '40'"},
               {ble + "--power 7 tx-test", 2, "--power must be one of -20 -18"},
               {ble + "--phy 22 rx-test", 2, "--phy must be a PHY selector from 23 to 26"},
               {ble + "connect 11:22:33:44:55", 2, "connect takes an address like AA:BB:CC:DD:EE:FF"},
               {ble + "coex middle", 2, "coex takes high or low"},
               {ble + "mac launch", 2, "unknown command 'launch'"},
               {ble, 2, "no command given"},
               {kBle + " mac", 2, "--port"},
               {kBle + " --port /nonexistent/tty mac", 3, ""},
               {kBle + " --simulate --power=-20 tx-test", 0, ""},
               {"(" + kBle + " --simulate mac >&-)", 1, "ble-factory: write error"},
               {kInfo + " --version", 0, " " APUTIL_VERSION "\n"},
               {kBle + " --version", 0, " " APUTIL_VERSION "\n"},
               {kInfo + " --help", 0, "usage: aputil-info"},
               {kBle + " --help", 0, "usage: ble-factory"}};  // closed: no line on stdout

  for (const auto &c : cases) {
    const Outcome r = run(c.args);
    EXPECT_EQ(r.exit, c.exit) << c.args << ": " << r.err;
    EXPECT_NE((r.err + r.out).find(c.message), std::string::npos) << c.args << ": " << r.err;
    EXPECT_TRUE(c.exit != 2 || r.out.empty()) << c.args << ": " << r.out;
  }
}

// gpio sequences need no co-processor, only the firmware tree, and a line
// that cannot be written fails the command.
TEST(BleFactory, GpioWithTheTreeAlone) {
  FirmwareRoot root;
  root.write("/proc/morvik_gpio/.keep", "");
  Outcome r = run(kBle + " --root " + root.dir() + " gpio fac-init");
  EXPECT_EQ(r.exit, 0) << r.err;
  EXPECT_EQ(r.out, "gpio fac-init: ok\n");
  EXPECT_EQ(root.read("/proc/morvik_gpio/ble_ptm") + root.read("/proc/morvik_gpio/ble_reset"), "on\noff\n");
  r = run(kBle + " --root " + root.dir() + "/missing gpio reset");
  EXPECT_EQ(r.exit, 1);
  EXPECT_NE(r.out.find("gpio reset: FAILED ("), std::string::npos) << r.out;
}

TEST(BleFactory, CommandsAgainstTheSimulatedCoprocessor) {
  FirmwareRoot root;  // coex drives a GPIO line
  root.write("/proc/morvik_gpio/.keep", "");
  Outcome r = run(kBle + " --root " + root.dir() +
                  " --simulate --channel 19 --power -20 --phy 24 mac tx-test rx-test end-test ext-tx-test "
                  "ext-rx-test ext-end-test connect 11:22:33:44:55:66 rssi adv on adv off coex high coex low");
  EXPECT_EQ(r.exit, 0) << r.out;
  for (const char *line : {"mac: 11:22:33:44:55:66\n", "tx-test: ok\n", "end-test: 1024 packets received\n",
                           "connect 11:22:33:44:55:66: ok\n", "rssi: -42 dBm\n", "coex high: ok\n", "coex low: ok\n",
                           "ext-end-test: ok\n"})
    EXPECT_NE(r.out.find(line), std::string::npos) << line;
  r = run(kBle + " --simulate --trace --channel 5 tx-test");
  EXPECT_NE(r.out.find("> 01 1e 20 03 05 25 00  LE Transmitter Test (0x201e)\n< 04 0e 04 01 1e 20 00  Command "
                       "Complete for LE Transmitter Test (0x201e), status 0x00"),
            std::string::npos)
      << r.out;
  r = run(kBle + " --simulate --simulate-status 12 mac rx-test");
  EXPECT_EQ(r.exit, 1);
  EXPECT_NE(r.out.find("mac: FAILED (2)"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("[BLE_ERR][ble_fac_rx_test:329] ble_fac_rx_test test error, return 0x2"), std::string::npos);
}

}  // namespace
}  // namespace aputil::test
