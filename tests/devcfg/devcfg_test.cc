// The device configuration: the model named by the NVRAM identity, its
// dev_config.json loaded on first use (and again after every failed load),
// the values, names and paths it answers, and the dump. Most rows are calls
// with their answers, "alias(2,8)=0:LAN2|8" for devcfg_downLinkPort_getAliasName(2, buf, 8)
// returning 0 with "LAN2" in buf and 8 bytes written ("-": none), and what
// the load prints on stderr.
#include "devcfg.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <map>
#include <regex>
#include <sstream>

#include "support/model_tree.h"

namespace aputil::test {
int g_starts = 0;  // NVRAM starts by the library: this program's nm_api_init counts them
}
extern "C" int nm_api_init(void) {
  ++aputil::test::g_starts;
  return 0;
}

namespace aputil::test {
namespace {

const ModelTree *g_tree;
const std::string kFull =
    R"({"vlanbind": {"supp": true, "ucCfgVer": 2}, "lanport": {"dlPortNum": 2, "dlPortStartIdxOffset": 1,
  "dlPort1PhyId": 1, "dlPort1AliasName": "LAN1", "dlPort1LogicalIfName": "eth1", "dlPort2PhyId": 2, "dlPort2AliasName": "LAN2",
  "dlPort2LogicalIfName": "eth2", "dlPort3PhyId": 3, "dlPort3AliasName": "LAN3", "dlPortIfName": "eth1", "poeOutSupp": true,
  "poeOutBitMap": 2, "ulPortPhyId": 4, "ulPortAliasName": "ETH/PoE", "ulPortIfName": "eth0", "ulPortLogicalIfName": "br-lan",
  "ulPortLinkStateMask": 16, "ulPortInSwitch": 257, "phyType": "AR8033"}, "hwWatchDog": {"supp": true},
  "cloudCtrl": {"supp": true, "micType": "v2"}, "cliSetCcSupp": true, "wifiLed": {"supp": true, "dftEnable": false},
  "rcOptimizeSupp": true, "disasterSupp": true, "misc": {"defTimeZone": 8, "ctrlCustomRegion": 3},
  "proFeatures": {"ppskProSupp": true}, "orvelFeatures": true, "repeaterSupp": {"supp": true}, "bleSupp": true,
  "ddrSize": 256, "smartAntSupp": true, "poePowerConsumption": 13})";
// A configuration: these top-level members, then lanport with these members
// and the required uplink names (lookups take the first member of a name).
std::string lan(const std::string &members, const std::string &top = "") {
  return "{" + top + (top.empty() ? "" : ", ") + R"("lanport": {)" + members + (members.empty() ? "" : ", ") +
         R"("ulPortAliasName": "ETH", "ulPortIfName": "eth0"}})";
}
// A load failure's message: "<error>devcfg_init():%4d  @ condition(...) failed, errno = N".
std::string cond(int line, const std::string &c, int times = 1, const std::string &e = "N") {
  std::string all;
  while (times--)
    all += "<error>devcfg_init(): " + std::to_string(line) + "  @ condition(" + c + ") failed, errno = " + e + "\n";
  return all;
}
const std::string kStr = "((NULL != pData) && (pData->type == cJSON_String))",
                  kNoLan = cond(404, "(NULL != pLanPortCfg)");
const std::string kVlan =
    "((NULL != pData) && (pData->type == cJSON_Number) && (pData->valueint == VLANBIND_UC_CFG_VERSION1_N300 || "
    "pData->valueint == VLANBIND_UC_CFG_VERSION2))";
const std::string kCount = cond(408,
                                "((NULL != pData) && (pData->type == cJSON_Number) && (pData->valueint >= 0 && "
                                "pData->valueint <= MAX_DOWNLINK_PORT_NUM))");
const std::string kPhy = "<error>devcfg_init(): 530  @ unsuppoerted phy type:";

using Args = std::vector<long long>;
std::string text(long long v) { return std::to_string(v); }
char g_buf[128];
bool g_null;  // NULL for the output: the keys ending in "Null"
char *buf() { return g_null ? nullptr : static_cast<char *>(std::memset(g_buf, '#', sizeof g_buf - 1)); }
int32_t len(const Args &a, size_t i) { return a.size() > i ? static_cast<int32_t>(a[i]) : 32; }
std::string name(int32_t rc) {  // "rc:name|bytes written"
  const auto n = std::count_if(g_buf, g_buf + sizeof g_buf - 1, [](char c) { return c != '#'; });
  return text(rc) + (g_null ? "" : ":" + (n ? g_buf + ("|" + text(n)) : "-"));
}
// The answer by the function's signature: a value, a name, a port's name, a
// path, an app file's path (its length:path; n up to 300, the existence test
// still works in 128 bytes); n or len is a[0] (a[1] for ports).
std::string answer(uint32_t (*f)(), const Args &) { return text(f()); }
std::string answer(int (*f)(), const Args &) { return text(f()); }
std::string answer(uint32_t (*f)(uint32_t), const Args &a) { return text(f(static_cast<uint32_t>(a[0]))); }
std::string answer(int32_t (*f)(char *, int32_t), const Args &a) { return name(f(buf(), len(a, 0))); }
std::string answer(int32_t (*f)(uint32_t, char *, int32_t), const Args &a) {
  return name(f(static_cast<uint32_t>(a[0]), buf(), len(a, 1)));
}
std::string answer(void (*f)(char *, size_t), const Args &a) {
  char p[128] = "-";
  f(g_null ? nullptr : p, a.empty() ? sizeof p : static_cast<size_t>(a[0]));
  return p;
}
std::string answer(int32_t (*f)(char *, size_t), const Args &a) {
  char p[300] = "-";
  return text(f(g_null ? nullptr : p, a.empty() ? 128 : static_cast<size_t>(a[0]))) + ":" + p;
}
using Fn = std::function<std::string(const Args &)>;
using Entry = std::pair<const std::string, Fn>;
#define FN(k, f) Entry(k, [](const Args &a) { return answer(f, a); })
Entry write(const char *k, const char *file, const std::string &json) {  // the model's file, written between calls
  return {k, [file, json](const Args &) {
            g_tree->write_model(file, json);
            return std::string("0");
          }};
}
int starts() { return g_starts; }  // NVRAM starts
// The calls by key, in groups: values, names, paths, files written between calls.
std::map<std::string, Fn> by_key(std::initializer_list<std::initializer_list<Entry>> groups) {
  std::map<std::string, Fn> m;
  for (const auto &g : groups) m.insert(g.begin(), g.end());
  return m;
}
const std::map<std::string, Fn> kCalls = by_key(
    {{FN("ble", devcfg_ble_isSupp), FN("ddr", devcfg_ddr_getSize), FN("vlan", devcfg_vlanbind_isSupp),
      FN("ver", devcfg_vlanbind_getUcCfgVer), FN("dlNum", devcfg_downLinkPort_getNum),
      FN("poe", devcfg_downLinkPort_isPoeOutSupp), FN("poeMap", devcfg_downLinkPort_getPoeOutBitMap),
      FN("offset", devcfg_downLinkPort_getStartIdxOffset), FN("phyType", devcfg_upLinkPort_getPhyType),
      FN("ulPhy", devcfg_upLinkPort_getPhyId), FN("mask", devcfg_upLinkPort_getLinkStateMask),
      FN("inSwitch", devcfg_upLinkPort_inSwitch), FN("wd", devcfg_hwWatchdog_isSupp), FN("cloud", devcfg_cloud_isSupp),
      FN("cloudCfg", devcfg_cloud_isCfgSupp), FN("rc", devcfg_rcOptimize_isSupp),
      FN("cc", devcfg_cli_setCountryIsSupp)},
     {FN("led", devcfg_wifiled_isSupp), FN("ledDft", devcfg_wifiled_dftEnable), FN("tz", devcfg_misc_defaultTimeZone),
      FN("region", devcfg_misc_ctrlCustomRegion), FN("disaster", devcfg_jp_disaster_isSupp),
      FN("ppsk", devcfg_ppskPro_isSupp), FN("orvel", devcfg_isOrvel), FN("repeater", devcfg_repeater_isSupp),
      FN("smartAnt", devcfg_smartant_isSupp), FN("poePower", devcfg_getpoePowerConsumption),
      FN("dump", devcfg_testFunc), FN("starts", starts), FN("phy", devcfg_downLinkPort_getPhyId)},
     {FN("ulIf", devcfg_upLinkPort_getIfName), FN("ulAlias", devcfg_upLinkPort_getAliasName),
      FN("ulLogical", devcfg_upLinkPort_getLogicalIfName), FN("dlIf", devcfg_downLinkPort_getIfName),
      FN("dlIf2", devcfg_dlLinkPort_getIfName), FN("mic", devcfg_cloud_getMicType),
      FN("alias", devcfg_downLinkPort_getAliasName), FN("logical", devcfg_downLinkPort_getLogicalIfName)},
     {FN("dft", devcfg_getDftCfgPath), FN("factory", devcfg_getFactoryCfgPath), FN("gpio", devcfg_getGpioCfgPath),
      FN("gpo", devcfg_getGpoRuleCfgPath), FN("oem", devcfg_getOemInfoPath), FN("reg2", devcfg_getRegDoamin2GPath),
      FN("reg5", devcfg_getRegDoamin5GPath), FN("radio", devcfg_getRadioCfgPath),
      FN("wireless", devcfg_getWirelessCfgPath), FN("thermal", devcfg_getThermaltoolCfgPath),
      FN("app", devcfg_getAppCfgPath), FN("cluster", devcfg_getAppClusterCfgPath)},
     {write("writeApp", "app_features.json", "{}"), write("writeFull", "dev_config.json", kFull),
      write("writeMin", "dev_config.json", kMinimalDevConfig)}});

// The blank-separated calls "key(a,b)=answer" with the answers they give.
std::string run_all(const std::string &calls) {
  std::istringstream in(calls);
  std::string out, call;
  while (in >> call) {
    std::string head = call.substr(0, call.find('=')), words = head, key;
    for (char &c : words) c = (c == '(' || c == ')' || c == ',') ? ' ' : c;
    std::istringstream w(words);
    Args args;
    for (w >> key; w >> words;) args.push_back(std::stoll(words, nullptr, 0));
    g_null = key.ends_with("Null");
    const auto f = kCalls.find(g_null ? key.substr(0, key.size() - 4) : key);
    out += (out.empty() ? "" : " ") + head + "=" + (f == kCalls.end() ? "(no such call)" : f->second(args));
  }
  return out;
}

// A fresh firmware tree per row: identity, region, a dev_config.json in dir
// (none for "-"), then the calls and all they print on stderr (errno shown
// as N unless it is ENOENT).
struct Row {
  std::string json, calls, err = "", info = "AP100 X(EU):2.0", region = "US", dir = ModelTree::kModelDir;
};
void check(const std::vector<Row> &rows) {
  for (size_t i = 0; i < rows.size(); ++i) {
    SCOPED_TRACE("row " + text(static_cast<long long>(i)));
    const Row &r = rows[i];
    ModelTree tree;
    g_tree = &tree;
    g_starts = 0;
    tree.set_identity(r.info, r.region);
    if (r.json != "-") tree.write_model("dev_config.json", r.json, r.dir);
    std::string got, err = stderr_of([&] { got = run_all(r.calls); });
    EXPECT_EQ(std::regex_replace(err, std::regex("errno = (?!2\n)\\d+"), "errno = N") + got, r.err + r.calls);
  }
}

// Every key, names cut to len with NUL in the last byte and NUL-filled,
// refusals that leave the buffer alone (len <= 0 only where checked).
TEST(DevcfgTest, ValuesAndNames) {
  check({Row(kFull,  // port 3 beyond dlPortNum: never read; 257 kept in 8 bits
             "vlan=1 ver=2 dlNum=2 offset=1 phy(1)=1 phy(2)=2 phy(3)=0 poe=1 poeMap=2 ulPhy=4 phyType=1 mask=16 "
             "inSwitch=1 wd=1 cloud=1 cloudCfg=1 cc=1 led=1 ledDft=0 rc=1 disaster=1 tz=8 region=3 ppsk=1 orvel=1 "
             "repeater=1 ble=1 ddr=256 smartAnt=1 poePower=13 starts=1 ulIf(4)=0:eth|4 ulAlias=0:ETH/PoE|32 "
             "ulLogical=0:br-lan|32 dlIf=0:eth1|32 dlIf2(3)=0:et|3 alias(2)=0:LAN2|32 logical(1)=0:eth1|32 "
             "alias(3)=0:|32 mic=0:v2|32 alias(1,1)=0:|1 logical(4,2)=0:|2 ulIf(0)=0:- ulIf(-1)=0:- dlIf(0)=0:- "
             "ulAlias(0)=0:- ulLogical(-1)=0:- alias(1,0)=0:- logical(1,-1)=0:- dlIf2(0)=0:- mic(-1)=0:- alias(0)=0:- "
             "alias(5)=0:- alias(0xFFFFFFFF)=0:- logical(0)=0:- logical(5)=0:- phy(0)=0 phy(5)=0 phy(0xFFFFFFFF)=0 "
             "ulIfNull(8)=0 dlIf2Null(8)=0 micNull(8)=0 aliasNull(1,8)=0"),
         // A per-port name keeps 32 characters and no terminator: it runs into
         // the next port's name. The others keep 31 (63).
         Row(lan(R"("dlPortNum": 2, "dlPort1AliasName": ")" + std::string(40, 'a') + R"(", "dlPort2AliasName": "x")",
                 R"("cloudCtrl": {"supp": true, "micType": ")" + std::string(80, 'm') + "\"}"),
             "alias(1,100)=0:" + std::string(32, 'a') + "x|100 alias(1,33)=0:" + std::string(32, 'a') +
                 "|33 ulAlias(100)=0:ETH|100 mic(100)=0:" + std::string(63, 'm') + "|100"),
         Row(lan(R"("ulPortAliasName": ")" + std::string(40, 'b') +
                 R"(", "dlPortNum": 4, "dlPort4AliasName": "D", "dlPort4PhyId": 9)"),
             "ulAlias(40)=0:" + std::string(31, 'b') + "|40 dlNum=4 alias(4)=0:D|32 phy(4)=9")});
}

// What loads and what fails with which message. Optional keys of another
// type count as absent; a failed load is tried again on every call (the
// NVRAM is started once), and a load is never repeated once it succeeded.
TEST(DevcfgTest, LoadRules) {
  const std::string min = kMinimalDevConfig, parse = cond(365, "(NULL != pDevCfg)");
  check(
      {Row(min, "dlNum=0 ble=0 vlan=0 ver=0 cloud=0 cloudCfg=0 phyType=0 ddr=0 orvel=0 poe=0 starts=1"),
       Row("-",
           "ble=0 phy(1)=0 radio=- reg5=- app=-1:- ulIf=0:- dump=-1 phy(0)=0 ulIf(0)=0:- dlIf(-1)=0:- dlIf2Null(8)=0 "
           "starts=1",
           cond(350, "(NULL != pFile)", 7, "2")),
       Row("", "ble=0", "<error>devcfg_init(): 354  @ failed to read file\n"), Row("{\"lanport\": ", "ble=0", parse),
       Row(R"({"bleSupp": true})", "ble=0 ble=0 writeFull=0 ble=1 writeMin=0 ble=1 starts=1",
           cond(404, "(NULL != pLanPortCfg)", 2)),
       Row(R"({"bleSupp": true, "lanport": 1})", "ble=0", kNoLan),
       // A shorter file leaves the tail of a longer one read before in the buffer: no harm.
       Row(R"({"bleSupp": true, "padding": ")" + std::string(900, 'x') + "\"}", "ble=0 writeMin=0 ble=0 ulIf=0:eth0|32",
           kNoLan),
       Row(min + std::string(2048 - min.size(), ' '), "dlNum=0 ulIf=0:eth0|32"),  // the text is cut at 2048 bytes
       Row(R"({"bleSupp": true,)" + std::string(2048, ' ') + R"("lanport": {}})", "ble=0", parse),
       Row(R"({"lanport": {"dlPortNum": 0, "ulPortIfName": "eth0"}})", "ble=0", cond(482, kStr)),
       Row(R"({"lanport": {"dlPortNum": 0, "ulPortAliasName": "ETH", "ulPortIfName": 0}})", "ble=0", cond(487, kStr))});
  // The port count, then keys of another type.
  check({Row(lan(R"("dlPortNum": 5)"), "ulPhy=0", kCount), Row(lan(R"("dlPortNum": -1)"), "ulPhy=0", kCount),
         Row(lan(R"("dlPortNum": "2")"), "ulPhy=0", kCount), Row(lan(""), "ulPhy=0", kCount),
         Row(lan(R"("dlPortNum": 0, "dlPort1PhyId": 7, "ulPortPhyId": 3)"),
             "ulPhy=3 phy(1)=0"),  // no per-port key is read
         Row(lan(R"("dlPortNum": 1, "dlPortStartIdxOffset": "1")"), "dlNum=0",
             cond(415, "(pData->type == cJSON_Number)")),
         Row(lan(R"("dlPortNum": 1, "dlPort1PhyId": "x", "dlPort1AliasName": 3, "poeOutSupp": 1, "poeOutBitMap": 4,
              "ulPortPhyId": true, "phyType": 2, "dlPortIfName": [], "ulPortLogicalIfName": 1)",
                 R"("bleSupp": 1, "ddrSize": "64", "wifiLed": {"supp": "yes"}, "misc": [1], "hwWatchDog": true,
              "repeaterSupp": {"supp": null}, "proFeatures": {"ppskProSupp": 1}, "orvelFeatures": 0)"),
             "dlNum=1 poe=0 poeMap=0 ulPhy=0 phyType=0 ble=0 ddr=0 led=0 wd=0 repeater=0 ppsk=0 orvel=0 tz=0 phy(1)=0 "
             "alias(1)=0:|32 dlIf=0:|32 ulLogical=0:|32"),
         Row(lan(R"("dlPortNum": 0, "poeOutSupp": false, "poeOutBitMap": 6)"),
             "poe=0 poeMap=6")});  // any boolean support
  // A top-level member with no downlink ports: the VLAN binding, the cloud, the PHY type (by prefix, another type is
  // not fatal), the DDR size (only when positive).
  auto top = [](const std::string &member, const std::string &calls, const std::string &err = "") {
    return Row(lan(R"("dlPortNum": 0)", member), calls, err);
  };
  const std::string vlan = R"("vlanbind": {"supp": )", cloud = R"("cloudCtrl": {"supp": )",
                    phy = R"("dlPortNum": 0, "phyType": ")";
  check({top(vlan + R"(false, "ucCfgVer": 3})", "vlan=0 ver=0"), top(vlan + R"("yes", "ucCfgVer": 1})", "vlan=0 ver=0"),
         top(vlan + R"(true, "ucCfgVer": 1})", "vlan=1 ver=1"),
         top(vlan + R"(true, "ucCfgVer": 3})", "vlan=0 ver=0", cond(383, kVlan, 2)),
         top(vlan + R"(true, "ucCfgVer": "1"})", "vlan=0 ver=0", cond(383, kVlan, 2)),
         top(vlan + "true}", "vlan=0", cond(383, kVlan)), top(cloud + "true}", "cloud=0 mic=0:-", cond(575, kStr, 2)),
         top(cloud + R"(true, "micType": 2})", "cloudCfg=0", cond(575, kStr)),
         top(cloud + "false}", "cloud=0 cloudCfg=0 mic=0:|32"),
         top(cloud + R"(false, "cfgSupp": true, "micType": "v1"})", "cloud=0 cloudCfg=0 mic=0:|32"),
         top(cloud + R"(true, "micType": "v1"})", "cloud=1 cloudCfg=1 mic=0:v1|32"),  // cfgSupp absent: 1
         top(cloud + R"(true, "cfgSupp": false, "micType": "v1"})", "cloud=1 cloudCfg=0 mic=0:v1|32"),
         top(cloud + R"(true, "cfgSupp": "no", "micType": "v1"})", "cloud=1 cloudCfg=1 mic=0:v1|32")});
  check({Row(lan(phy + R"(RTL8211E")"), "phyType=2 dlNum=0"),
         Row(lan(phy + R"(rtl8211")"), "phyType=0 dlNum=0", kPhy + "rtl8211\n"),
         Row(lan(phy + R"(BCM54")"), "phyType=0 dlNum=0", kPhy + "BCM54\n"), top(R"("ddrSize": 0)", "ddr=0"),
         top(R"("ddrSize": -512)", "ddr=0"), top(R"("ddrSize": 1)", "ddr=1"), top(R"("ddrSize": 512)", "ddr=512")});
}

// The model directory: from the identity's first line and the region; the
// paths in it, cut like snprintf; the app files' fallback to /etc.
TEST(DevcfgTest, ModelDirectoryAndPaths) {
  const std::string min = kMinimalDevConfig, jp = "/etc/AP100_X_2.0_JP", id = "AP100 X(EU):2.0";
  auto dir = [&](const std::string &info, const std::string &region, const std::string &d) {
    return Row(min, "radio=" + d + "/radio_config.json", "", info, region, d);
  };
  const std::string nvram =
      "<error>initProductInfo(): 254  @ failed to read productinfo."
      "<error>devcfg_init(): 340  @ failed to init ProductInfo\n";
  check({dir(id, "US", "/etc/AP100_X_2.0"), dir(id, "KR", "/etc/AP100_X_2.0_KR"), dir(id, "kr", "/etc/AP100_X_2.0"),
         dir(id, "", "/etc/AP100_X_2.0"), dir("AP 100(US):1.1\r\nmore", "CA", "/etc/AP_100_1.1_CA"),
         dir("AP1(X):123456789012", "JP", "/etc/AP1_123456789012_JP"),
         dir("AP1(X):1234567890123", "JP", "/etc/AP1_1234567890123"),
         dir("AP1(X):12345678901234", "JP", "/etc/AP1_12345678901234"),
         dir("AP1(X):123456789012345678", "AU", "/etc/AP1_123456789012345"),
         dir(std::string(600, 'A') + "(" + std::string(100, 'Q') + "):" + std::string(100, '9'), "US",
             "/etc/" + std::string(31, 'A') + "_"),
         dir("AP1(X):" + std::string(504, ' ') + "9.9", "US", "/etc/AP1_")});
  check({Row("-", "ble=0 radio=- ble=0 starts=1", nvram + nvram + nvram, ""),
         Row(min,
             "dft=" + jp + "/default_config factory=" + jp + "/factory_config.bin gpio=" + jp + "/gpio.conf gpo=" + jp +
                 "/gpo_rule.conf oem=" + jp + "/oem.json reg2=" + jp + "/ath/REG_DOMAIN2 reg5=" + jp +
                 "/ath/REG_DOMAIN5 radio=" + jp + "/radio_config.json wireless=" + jp + "/wireless thermal=" + jp +
                 "/thermaltool.sh dft(10)=/etc/AP10 dftNull(10)=-",
             "", id, "JP", jp),
         Row(min,
             "app=22:/etc/app_features.json cluster=30:/etc/app_cluster_features.json writeApp=0 "
             "app=34:/etc/AP100_X_2.0/app_features.json cluster=30:/etc/app_cluster_features.json "
             "app(12)=22:/etc/app_fe app(300)=34:/etc/AP100_X_2.0/app_features.json app(0)=22:- appNull(128)=-1:-")});
}

TEST(DevcfgTest, DumpLines) {
  ModelTree tree;
  tree.write_model("dev_config.json", kFull);
  int last = 0;
  EXPECT_EQ(
      stdout_of([&] { last = devcfg_testFunc(); }),
      "VLANBIND_IS_SUPP = 1\nVLANBIND_UC_CFG_VERSION = 2\nDOWNLINK_PORT1_PHYID = 1\n"
      "DOWNLINK_PORT1_ALIAS_NAME = LAN1\nDOWNLINK_PORT2_PHYID = 2\nDOWNLINK_PORT2_ALIAS_NAME = LAN2\n"
      "DOWNLINK_PORT3_PHYID = 0\nDOWNLINK_PORT3_ALIAS_NAME = \nDOWNLINK_PORT4_PHYID = 0\n"
      "DOWNLINK_PORT4_ALIAS_NAME = \nDOWNLINK_PORT_NUM = 2\nDOWNLINK_PORT_IFNAME = eth1\n"
      "DOWNLINK_PORT_POEOUT_IS_SUPP = 1\nDOWNLINK_PORT_POEOUT_BITMAP = 2\nUPLINK_PORT_ALIAS_NAME = ETH/PoE\n"
      "UPLINK_PORT_IFNAME = eth0\nDLLINK_PORT_IFNAME = eth1\nUPLINK_PORT_PHYID = 4\nUPLINK_PORT_LINKSTATE_MASK = 16\n"
      "UPLINK_PORT_IN_SWITCH = 1\nHW_WATCHDOG_IS_SUPP = 1\nCLOUD_CTRL_IS_SUPP = 1\nCLOUD_CTRL_IS_CFGSUPP = 1\n"
      "DEVCFG_CLOUD_CTRL_MIC_TYPE = v2\nDEVCFG_CLI_SETCC_IS_SUPP = 1\nDEVCFG_IS_ORVEL = 1\n"
      "DEVCFG_WIFILED_IS_SUPP = 1\nDEVCFG_WIFILED_DFTENABLE = 0\n");
  EXPECT_EQ(last, 29);  // the last line's length
}

}  // namespace
}  // namespace aputil::test
