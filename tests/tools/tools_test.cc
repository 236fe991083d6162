// aputil-info and ble-factory run as processes on the sample trees.
#include <gtest/gtest.h>

#include "aputil_version.h"
#include "cJSON.h"
#include "tools/tool_run.h"

namespace aputil::test {
namespace {

const std::string kGood = kSample, kBroken = std::string(EXAMPLES_DIR) + "/firmware-broken";

TEST(AputilInfo, ShowsTheSampleModel) {
  const Outcome r = run(kInfo + " --root " + kGood);
  EXPECT_EQ(r.exit, 0) << r.err;
  for (const char *line :
       {"modelDirectory: /etc/AP100_X_2.0/", "specRegionCode: 840",
        "- index=1 channel=1 freq=2412 maxPower=30 flags=HT20 HT40", "flags=HT20 HT40 VHT80 5G DFS WRADAR DFS-class1",
        "regDomain5: /etc/AP100_X_2.0/ath/REG_DOMAIN5"})
    EXPECT_NE(r.out.find(line), std::string::npos) << line;
  EXPECT_EQ(r.out.find("==============radio config"), std::string::npos);  // the library's dump stays out
}

TEST(AputilInfo, JsonParsesBack) {
  const Outcome r = run(kInfo + " --root " + kGood + " --region 276 --json");
  ASSERT_EQ(r.exit, 0) << r.err;
  cJSON *root = cJSON_Parse(r.out.c_str());
  ASSERT_NE(root, nullptr) << r.out.substr(0, 200);
  cJSON *region = cJSON_GetObjectItem(root, "region");
  EXPECT_EQ(cJSON_GetObjectItem(region, "code")->valueint, 276);
  cJSON *radio1 = cJSON_GetArrayItem(cJSON_GetObjectItem(region, "radios"), 1);
  EXPECT_EQ(cJSON_GetArraySize(cJSON_GetObjectItem(radio1, "channels")), 19);
  cJSON *radios = cJSON_GetObjectItem(cJSON_GetObjectItem(root, "radio"), "radios");
  EXPECT_EQ(cJSON_GetObjectItem(cJSON_GetArrayItem(radios, 1), "band")->valueint, 5);
  EXPECT_EQ(cJSON_GetObjectItem(cJSON_GetArrayItem(radios, 0), "minPower")->valueint, 7);  // EIRP region
  EXPECT_EQ(cJSON_GetObjectItem(cJSON_GetObjectItem(root, "ports"), "downlink")->child->valueint, 2);
  cJSON_Delete(root);
}

TEST(AputilInfo, LintRejectsTheBrokenModel) {
  const Outcome r = run(kInfo + " lint --root " + kBroken);
  EXPECT_EQ(r.exit, 1);
  for (const char *line : {"dev_config.json: ok\n", "radio_config.json: FAILED\n",
                           "REG_DOMAIN2/REG_DOMAIN5: 2 regions, not loaded (the model's configuration does not load)\n",
                           "/etc/AP200_1.0/radio_config.json: error: \"EIRP\": a number where a boolean belongs",
                           "lint: 4 errors, 0 warnings\n"})
    EXPECT_NE(r.out.find(line), std::string::npos) << line << "\n" << r.out;
  EXPECT_NE(r.err.find("<error>l_radio_config_init(): 464  @ condition("), std::string::npos);
  EXPECT_NE(r.out.find("REG_DOMAIN2:4: error: region 276: \"2422,30080,0\" does not scan as four fields"),
            std::string::npos);
  EXPECT_EQ(run(kInfo + " --root " + kBroken).exit, 1);
}

// Both tools follow the same conventions: getopt_long options (--opt VALUE
// and --opt=VALUE), one clear message and exit 2 for bad arguments,
// --help/--version on stdout, and a failed write to stdout as a failure.
TEST(Tools, CommandLineConventions) {
  const struct {
    std::string args;
    int exit;
    const char *message;  // on stderr ("" for none)
  } cases[] = {
      {kInfo + " --region abc", 2, "--region takes a region code from 0 to 65535, not 'abc'"},
      {kInfo + " --region", 2, "--region needs a value"},
      {kInfo + " --root", 2, "--root needs a value"},
      {kInfo + " --frobnicate", 2, "unknown option '--frobnicate'"},
      {kInfo + " --root /nonexistent/tree", 2, "cannot read the firmware tree"},
      {kInfo + " lint show", 2, "one command at a time ('lint' and 'show')"},
      {kInfo + " --region 276 lint", 2, "--region applies to show and plot, not lint"},
      {kInfo + " --regdb show", 2, "--regdb applies to lint and plot, not show"},
      {kInfo + " --root " + kGood + " lint --regdb=", 2, "--regdb needs a file when given one"},
      {kInfo + " --against /nonexistent/tree lint", 2, "cannot read the firmware tree /nonexistent/tree"},
      {kInfo + " --root=" + kGood + " --region=276 show", 0, ""},
      {"(" + kInfo + " --root " + kGood + " > /dev/full)", 1, "aputil-info: write error"},
      {kBle + " --simulate mac launch", 2, "unknown command 'launch'"},
      {kBle + " --simulate --port /dev/null mac", 2, "--port and --simulate exclude each other"},
      {kBle + " --simulate --channel 1 --channel=2 tx-test", 2, "--channel given twice"},
      {kBle + " --simulate --power=-20 tx-test", 0, ""},
      {kInfo + " --root " + kGood + " --root=" + kGood + " lint", 2, "--root given twice"},
      {kInfo + " --region ' 276'", 2, "not ' 276'"},
      {kBle + " -xs mac", 2, "unknown option '-x'"},
      {"(" + kBle + " --simulate mac >&-)", 1, "ble-factory: write error"},  // closed: the line must not become stdout
      {"(" + kBle + " --simulate mac > /dev/full)", 1, "ble-factory: write error"},
  };
  for (const auto &c : cases) {
    const Outcome r = run(c.args);
    EXPECT_EQ(r.exit, c.exit) << c.args << ": " << r.err;
    if (*c.message) {
      EXPECT_NE(r.err.find(c.message), std::string::npos) << c.args << ": " << r.err;
    }
  }
  for (const std::string &tool : {kInfo, kBle}) {
    const Outcome v = run(tool + " --version");
    EXPECT_EQ(v.exit, 0);
    EXPECT_NE(v.out.find(" " APUTIL_VERSION "\n"), std::string::npos) << v.out;
    EXPECT_EQ(run(tool + " --help").exit, 0);
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
  EXPECT_EQ(root.read("/proc/morvik_gpio/ble_ptm"), "on\n");
  EXPECT_EQ(root.read("/proc/morvik_gpio/ble_reset"), "off\n");
  r = run(kBle + " --root " + root.dir() + "/missing gpio reset");
  EXPECT_EQ(r.exit, 1);
  EXPECT_NE(r.out.find("gpio reset: FAILED ("), std::string::npos) << r.out;
}

TEST(BleFactory, EveryCommandAgainstTheSimulatedCoprocessor) {
  FirmwareRoot root;
  root.write("/proc/morvik_gpio/.keep", "");
  const Outcome r = run(kBle + " --simulate --root " + root.dir() +
                        " --channel 19 --power -20 --phy 24 mac tx-test rx-test end-test ext-tx-test ext-rx-test "
                        "ext-end-test connect 11:22:33:44:55:66 rssi adv on adv off coex high coex low");
  EXPECT_EQ(r.exit, 0) << r.out;
  for (const char *line : {"mac: 11:22:33:44:55:66\n", "tx-test: ok\n", "end-test: 1024 packets received\n",
                           "connect 11:22:33:44:55:66: ok\n", "rssi: -42 dBm\n", "coex high: ok\n", "coex low: ok\n",
                           "ext-end-test: ok\n"})
    EXPECT_NE(r.out.find(line), std::string::npos) << line;
}

TEST(BleFactory, TraceAndFailingReplies) {
  Outcome r = run(kBle + " --simulate --trace --channel 5 tx-test");
  EXPECT_EQ(r.exit, 0);
  EXPECT_NE(r.out.find("> 01 1e 20 03 05 25 00  LE Transmitter Test (0x201e)"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("< 04 0e 04 01 1e 20 00  Command Complete for LE Transmitter Test (0x201e), status 0x00"),
            std::string::npos);
  r = run(kBle + " --simulate --simulate-status 12 mac rx-test");
  EXPECT_EQ(r.exit, 1);
  EXPECT_NE(r.out.find("mac: FAILED (2)"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("[BLE_ERR][ble_fac_rx_test:329] ble_fac_rx_test test error, return 0x2"), std::string::npos)
      << r.out;
}

TEST(BleFactory, BadArgumentsAreRefusedBeforeSending) {
  const struct {
    const char *args, *message;
  } cases[] = {
      {"--channel 40 tx-test", "--channel must be a channel from 0 to 39, not '40'"},
      {"--power 7 tx-test", "--power must be one of -20 -18"},
      {"--phy 22 rx-test", "--phy must be a PHY selector from 23 to 26"},
      {"connect 11:22:33:44:55", "connect takes an address like AA:BB:CC:DD:EE:FF"},
      {"coex middle", "coex takes high or low"},
      {"mac launch", "unknown command 'launch'"},
      {"", "no command given"},
  };
  for (const auto &c : cases) {
    const Outcome r = run(kBle + " --simulate --trace " + c.args);
    EXPECT_EQ(r.exit, 2) << c.args;
    EXPECT_EQ(r.out, "") << c.args;  // nothing was sent, so nothing was traced
    EXPECT_NE(r.err.find(c.message), std::string::npos) << c.args << ": " << r.err;
  }
  EXPECT_EQ(run(kBle + " mac").exit, 2);  // neither --port nor --simulate
  EXPECT_EQ(run(kBle + " --port /nonexistent/tty mac").exit, 3);
}

}  // namespace
}  // namespace aputil::test
