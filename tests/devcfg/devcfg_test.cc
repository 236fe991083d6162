// The device configuration: the model named by the NVRAM identity, its
// dev_config.json loaded on first use (and again after every failed load),
// the values, names and paths it answers, and the dump. Most rows are calls
// with their answers, "alias(2,8)=0:LAN2|8" for devcfg_downLinkPort_getAliasName(2, buf, 8)
// returning 0 with "LAN2" in buf and 8 bytes written ("-": none), and what
// the calls print on stderr, then on stdout.
#include "devcfg.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <map>
#include <regex>
#include <sstream>

#include "support/model_tree.h"

// NVRAM starts by the library: this program's nm_api_init counts them.
static int g_starts = 0;
static int starts() { return g_starts; }
extern "C" int nm_api_init(void) {
  ++g_starts;
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
// (by default no downlink ports) and the required uplink names (lookups take
// the first member of a name).
std::string lan(const std::string &top, const std::string &members = R"("dlPortNum": 0)") {
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
const std::string kStr = "((NULL != pData) && (pData->type == cJSON_String))";
const std::string kVlan =
    "((NULL != pData) && (pData->type == cJSON_Number) && (pData->valueint == VLANBIND_UC_CFG_VERSION1_N300 || "
    "pData->valueint == VLANBIND_UC_CFG_VERSION2))";
const std::string kCount = cond(408,
                                "((NULL != pData) && (pData->type == cJSON_Number) && (pData->valueint >= 0 && "
                                "pData->valueint <= MAX_DOWNLINK_PORT_NUM))");

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
// The calls by key, in groups: values, names, paths and the files written between calls.
std::map<std::string, Fn> by_key(std::initializer_list<std::initializer_list<Entry>> groups) {
  std::map<std::string, Fn> m;
  for (const auto &g : groups) m.insert(g.begin(), g.end());
  return m;
}
const std::map<std::string, Fn> kCalls = by_key(
    {{FN("smartAnt", devcfg_smartant_isSupp), FN("phy", devcfg_downLinkPort_getPhyId), FN("dump", devcfg_testFunc),
      FN("disaster", devcfg_jp_disaster_isSupp), FN("inSwitch", devcfg_upLinkPort_inSwitch),
      FN("ppsk", devcfg_ppskPro_isSupp), FN("mask", devcfg_upLinkPort_getLinkStateMask),
      FN("led", devcfg_wifiled_isSupp), FN("vlan", devcfg_vlanbind_isSupp), FN("phyType", devcfg_upLinkPort_getPhyType),
      FN("ver", devcfg_vlanbind_getUcCfgVer), FN("poePower", devcfg_getpoePowerConsumption),
      FN("tz", devcfg_misc_defaultTimeZone), FN("region", devcfg_misc_ctrlCustomRegion), FN("orvel", devcfg_isOrvel)},
     {FN("repeater", devcfg_repeater_isSupp), FN("ble", devcfg_ble_isSupp), FN("ulPhy", devcfg_upLinkPort_getPhyId),
      FN("offset", devcfg_downLinkPort_getStartIdxOffset), FN("rc", devcfg_rcOptimize_isSupp),
      FN("ledDft", devcfg_wifiled_dftEnable), FN("starts", starts), FN("cloud", devcfg_cloud_isSupp),
      FN("wd", devcfg_hwWatchdog_isSupp), FN("cloudCfg", devcfg_cloud_isCfgSupp), FN("cc", devcfg_cli_setCountryIsSupp),
      FN("poe", devcfg_downLinkPort_isPoeOutSupp), FN("ddr", devcfg_ddr_getSize),
      FN("dlNum", devcfg_downLinkPort_getNum), FN("poeMap", devcfg_downLinkPort_getPoeOutBitMap)},
     {FN("alias", devcfg_downLinkPort_getAliasName), FN("mic", devcfg_cloud_getMicType),
      FN("logical", devcfg_downLinkPort_getLogicalIfName), FN("dlIf2", devcfg_dlLinkPort_getIfName),
      FN("ulLogical", devcfg_upLinkPort_getLogicalIfName), FN("ulIf", devcfg_upLinkPort_getIfName),
      FN("dlIf", devcfg_downLinkPort_getIfName), FN("ulAlias", devcfg_upLinkPort_getAliasName)},
     {FN("wireless", devcfg_getWirelessCfgPath), FN("factory", devcfg_getFactoryCfgPath),
      FN("dft", devcfg_getDftCfgPath), FN("radio", devcfg_getRadioCfgPath), FN("thermal", devcfg_getThermaltoolCfgPath),
      FN("reg5", devcfg_getRegDoamin5GPath), FN("reg2", devcfg_getRegDoamin2GPath), FN("gpo", devcfg_getGpoRuleCfgPath),
      FN("gpio", devcfg_getGpioCfgPath), FN("oem", devcfg_getOemInfoPath), FN("cluster", devcfg_getAppClusterCfgPath),
      FN("app", devcfg_getAppCfgPath), write("writeFull", "dev_config.json", kFull),
      write("writeApp", "app_features.json", "{}"), write("writeMin", "dev_config.json", kMinimalDevConfig)}});

// The blank-separated calls "key(a,b)=answer" with the answers they give.
std::string run_all(const std::string &calls) {
  std::istringstream in(calls);
  std::string out, call;
  std::smatch m;
  while (in >> call && std::regex_match(call, m, std::regex(R"(((\w+?)(Null)?(\((-?\w+)(,(-?\w+))?\))?)=.*)"))) {
    Args args;
    for (int i : {5, 7})
      if (m[i].matched) args.push_back(std::stoll(m[i], nullptr, 0));
    g_null = m[3].matched;
    const auto f = kCalls.find(m[2]);
    out += (out.empty() ? "" : " ") + m[1].str() + "=" + (f == kCalls.end() ? "?" : f->second(args));
  }
  return out;
}

// A fresh firmware tree per row: identity, region, a dev_config.json in dir
// (none for "-"), then the calls and all they print on stderr (errno shown
// as N unless it is ENOENT), then on stdout.
struct Row {
  std::string json, calls, err = "", info = "AP100 X(EU):2.0", region = "US", dir = ModelTree::kModelDir;
};
void check(const std::vector<Row> &rows) {
  for (const Row &r : rows) {
    SCOPED_TRACE(r.calls);
    ModelTree tree;
    g_tree = &tree;
    g_starts = 0;
    tree.set_identity(r.info, r.region);
    if (r.json != "-") tree.write_model("dev_config.json", r.json, r.dir);
    std::string got, out, err = stderr_of([&] { out = stdout_of([&] { got = run_all(r.calls); }); });
    EXPECT_EQ(std::regex_replace(err, std::regex("errno = (?!2\n)\\d+"), "errno = N") + out + got, r.err + r.calls);
  }
}

// Every key (the dump's lines with the values it shows: its length is that
// of the last line), names cut to len with NUL in the last byte and
// NUL-filled, refusals that leave the buffer alone (len <= 0 only where
// checked).
TEST(DevcfgTest, ValuesAndNames) {
  check({Row(kFull,  // port 3 beyond dlPortNum: never read; 257 kept in 8 bits
             "dump=29 offset=1 phyType=1 rc=1 disaster=1 tz=8 region=3 ppsk=1 repeater=1 ble=1 ddr=256 smartAnt=1 "
             "poePower=13 starts=1 ulIf(4)=0:eth|4 ulLogical=0:br-lan|32 dlIf=0:eth1|32 dlIf2(3)=0:et|3 "
             "logical(1)=0:eth1|32 alias(1,1)=0:|1 logical(4,2)=0:|2 dlIf(-1)=0:- logical(1,-1)=0:- dlIf2(0)=0:- "
             "mic(-1)=0:- alias(0)=0:- alias(5)=0:- phy(0)=0 phy(5)=0 dlIf2Null(8)=0 micNull(8)=0 aliasNull(1,8)=0",
             // What devcfg_testFunc prints: the values through the calls.
             "VLANBIND_IS_SUPP = 1\nVLANBIND_UC_CFG_VERSION = 2\nDOWNLINK_PORT1_PHYID = 1\n"
             "DOWNLINK_PORT1_ALIAS_NAME = LAN1\nDOWNLINK_PORT2_PHYID = 2\nDOWNLINK_PORT2_ALIAS_NAME = LAN2\n"
             "DOWNLINK_PORT3_PHYID = 0\nDOWNLINK_PORT3_ALIAS_NAME = \nDOWNLINK_PORT4_PHYID = 0\n"
             "DOWNLINK_PORT4_ALIAS_NAME = \nDOWNLINK_PORT_NUM = 2\nDOWNLINK_PORT_IFNAME = eth1\n"
             "DOWNLINK_PORT_POEOUT_IS_SUPP = 1\nDOWNLINK_PORT_POEOUT_BITMAP = 2\nUPLINK_PORT_ALIAS_NAME = ETH/PoE\n"
             "UPLINK_PORT_IFNAME = eth0\nDLLINK_PORT_IFNAME = eth1\nUPLINK_PORT_PHYID = 4\nUPLINK_PORT_LINKSTATE_MASK "
             "= 16\n"
             "UPLINK_PORT_IN_SWITCH = 1\nHW_WATCHDOG_IS_SUPP = 1\nCLOUD_CTRL_IS_SUPP = 1\nCLOUD_CTRL_IS_CFGSUPP = 1\n"
             "DEVCFG_CLOUD_CTRL_MIC_TYPE = v2\nDEVCFG_CLI_SETCC_IS_SUPP = 1\nDEVCFG_IS_ORVEL = 1\n"
             "DEVCFG_WIFILED_IS_SUPP = 1\nDEVCFG_WIFILED_DFTENABLE = 0\n"),
         // A per-port name keeps 32 characters and no terminator: it runs into
         // the next port's name. The others keep 31 (63).
         Row(lan(R"("cloudCtrl": {"supp": true, "micType": ")" + std::string(80, 'm') + "\"}",
                 R"("dlPortNum": 2, "dlPort1AliasName": ")" + std::string(40, 'a') + R"(", "dlPort2AliasName": "x")"),
             "alias(1,100)=0:" + std::string(32, 'a') + "x|100 mic(100)=0:" + std::string(63, 'm') + "|100"),
         Row(lan("", R"("ulPortAliasName": ")" + std::string(40, 'b') +
                         R"(", "dlPortNum": 4, "dlPort4AliasName": "D", "dlPort4PhyId": 9)"),
             "ulAlias(40)=0:" + std::string(31, 'b') + "|40 dlNum=4 alias(4)=0:D|32 phy(4)=9")});
}

// What loads and what fails with which message. Optional keys of another
// type count as absent; a failed load is tried again on every call (the
// NVRAM is started once), and a load is never repeated once it succeeded.
TEST(DevcfgTest, LoadRules) {
  const std::string min = kMinimalDevConfig, parse = cond(365, "(NULL != pDevCfg)"),
                    noLan = cond(404, "(NULL != pLanPortCfg)"), vlan = R"("vlanbind": {"supp": )",
                    cloud = R"("cloudCtrl": {"supp": )", phy = R"("dlPortNum": 0, "phyType": ")";
  check({Row(min, "dlNum=0 ble=0 vlan=0 ver=0 cloud=0 cloudCfg=0 phyType=0 ddr=0 orvel=0 poe=0 starts=1"),
         Row("-", "ble=0 phy(1)=0 radio=- app=-1:- ulIf=0:- dump=-1 phy(0)=0 ulIf(0)=0:- dlIf2Null(8)=0 starts=1",
             cond(350, "(NULL != pFile)", 6, "2")),
         Row("", "ble=0", "<error>devcfg_init(): 354  @ failed to read file\n"), Row("{\"lanport\": ", "ble=0", parse),
         Row(R"({"bleSupp": true})", "ble=0 ble=0 writeFull=0 ble=1 writeMin=0 ble=1 starts=1", noLan + noLan),
         // A shorter file leaves the tail of a longer one read before in the buffer: no harm.
         Row(R"({"bleSupp": true, "padding": ")" + std::string(900, 'x') + "\"}", "ble=0 writeMin=0 ble=0", noLan),
         Row(min + std::string(2048 - min.size(), ' '), "dlNum=0 ulIf=0:eth0|32"),  // the text is cut at 2048 bytes
         Row(R"({"bleSupp": true,)" + std::string(2048, ' ') + R"("lanport": {}})", "ble=0", parse),
         Row(R"({"lanport": {"dlPortNum": 0, "ulPortIfName": "eth0"}})", "ble=0", cond(482, kStr)),
         Row(R"({"lanport": {"dlPortNum": 0, "ulPortAliasName": "ETH", "ulPortIfName": 0}})", "ble=0", cond(487, kStr)),
         // The port count, then keys of another type.
         Row(lan("", R"("dlPortNum": 5)"), "ulPhy=0", kCount), Row(lan("", R"("dlPortNum": -1)"), "ulPhy=0", kCount),
         Row(lan("", R"("dlPortNum": "2")"), "ulPhy=0", kCount), Row(lan("", ""), "ulPhy=0", kCount),
         // No per-port key is read with no ports; poeOutBitMap is read with any boolean support.
         Row(lan("", R"("dlPortNum": 0, "dlPort1PhyId": 7, "ulPortPhyId": 3)"), "ulPhy=3 phy(1)=0"),
         Row(lan("", R"("dlPortNum": 1, "dlPortStartIdxOffset": "1")"), "dlNum=0",
             cond(415, "(pData->type == cJSON_Number)")),
         Row(lan(R"("bleSupp": 1, "ddrSize": "64", "wifiLed": {"supp": "yes"}, "misc": [1])",
                 R"("dlPortNum": 1, "dlPort1PhyId": "x", "dlPort1AliasName": 3, "poeOutSupp": 1, "poeOutBitMap": 4, )"
                 R"("ulPortPhyId": true, "phyType": 2, "dlPortIfName": [])"),
             "dlNum=1 poe=0 poeMap=0 ulPhy=0 phyType=0 ble=0 ddr=0 led=0 tz=0 phy(1)=0 alias(1)=0:|32 dlIf=0:|32"),
         Row(lan("", R"("dlPortNum": 0, "poeOutSupp": false, "poeOutBitMap": 6)"), "poe=0 poeMap=6"),
         // A top-level member with no downlink ports: the VLAN binding, the cloud, the PHY type (by prefix, another
         // type is not fatal), the DDR size (only when positive).
         Row(lan(vlan + R"(false, "ucCfgVer": 3})"), "vlan=0 ver=0"),
         Row(lan(vlan + R"(true, "ucCfgVer": 1})"), "vlan=1 ver=1"),
         Row(lan(vlan + R"(true, "ucCfgVer": 3})"), "vlan=0 ver=0", cond(383, kVlan, 2)),
         Row(lan(vlan + "true}"), "vlan=0", cond(383, kVlan)),
         Row(lan(cloud + "true}"), "cloud=0 mic=0:-", cond(575, kStr, 2)),
         Row(lan(cloud + R"(false, "cfgSupp": true, "micType": "v1"})"), "cloud=0 cloudCfg=0 mic=0:|32"),
         Row(lan(cloud + R"(true, "micType": "v1"})"), "cloud=1 cloudCfg=1 mic=0:v1|32"),  // cfgSupp absent: 1
         Row(lan(cloud + R"(true, "cfgSupp": false, "micType": "v1"})"), "cloud=1 cloudCfg=0 mic=0:v1|32"),
         Row(lan("", phy + R"(RTL8211E")"), "phyType=2 dlNum=0"),
         Row(lan("", phy + R"(rtl8211")"), "phyType=0 dlNum=0",
             "<error>devcfg_init(): 530  @ unsuppoerted phy type:rtl8211\n"),
         Row(lan(R"("ddrSize": 0)"), "ddr=0"), Row(lan(R"("ddrSize": 1)"), "ddr=1")});
}

// The model directory: from the identity's first line and the region; the
// paths in it, cut like snprintf; the app files' fallback to /etc.
TEST(DevcfgTest, ModelDirectoryAndPaths) {
  const std::string min = kMinimalDevConfig, jp = "/etc/AP100_X_2.0_JP", id = "AP100 X(EU):2.0";
  const std::string nvram =
      "<error>initProductInfo(): 254  @ failed to read productinfo."
      "<error>devcfg_init(): 340  @ failed to init ProductInfo\n";
  auto dir = [&](const std::string &info, const std::string &region, const std::string &d) {
    return Row(min, "radio=" + d + "/radio_config.json", "", info, region, d);
  };
  check({dir(id, "KR", "/etc/AP100_X_2.0_KR"), dir(id, "", "/etc/AP100_X_2.0"),
         dir("AP 100(US):1.1\r\nmore", "CA", "/etc/AP_100_1.1_CA"),
         dir("AP1(X):123456789012", "JP", "/etc/AP1_123456789012_JP"),
         dir("AP1(X):1234567890123", "JP", "/etc/AP1_1234567890123"),
         dir("AP1(X):123456789012345678", "AU", "/etc/AP1_123456789012345"),
         dir(std::string(600, 'A') + "(" + std::string(100, 'Q') + "):" + std::string(100, '9'), "US",
             "/etc/" + std::string(31, 'A') + "_"),
         dir("AP1(X):" + std::string(504, ' ') + "9.9", "US", "/etc/AP1_"),
         Row("-", "ble=0 radio=- ble=0 starts=1", nvram + nvram + nvram, ""),
         Row(min,
             "dft=" + jp + "/default_config factory=" + jp + "/factory_config.bin gpio=" + jp + "/gpio.conf gpo=" + jp +
                 "/gpo_rule.conf oem=" + jp + "/oem.json reg2=" + jp + "/ath/REG_DOMAIN2 reg5=" + jp +
                 "/ath/REG_DOMAIN5 radio=" + jp + "/radio_config.json wireless=" + jp + "/wireless thermal=" + jp +
                 "/thermaltool.sh dft(10)=/etc/AP10 dftNull(10)=-",
             "", id, "JP", jp),
         Row(min,
             "app=22:/etc/app_features.json cluster=30:/etc/app_cluster_features.json writeApp=0 "
             "app(12)=22:/etc/app_fe app(300)=34:/etc/AP100_X_2.0/app_features.json app(0)=22:- appNull(128)=-1:-")});
}

}  // namespace
}  // namespace aputil::test
