// The radio configuration (radio_config.json) and the region tables (REG_DOMAIN
// files). Most rows are calls with their answers, "freq(0,2)=2417" for
// radio_region_chanIndex2Freq(0, 2) == 2417, and the line they print.
#include <cstring>
#include <functional>
#include <map>
#include <sstream>
#include <type_traits>
#include <vector>

#include "radio/radio_config_table.h"
#include "radio_config.h"
#include "radio_region.h"
#include "support/model_tree.h"

namespace aputil::test {
namespace {

// Answers as text: numbers (32-bit unsigned ones as signed), names of at most 16 bytes, "n:v,v,..." lists up
// to their last non-zero entry of 66 ("err" when rc is not 0).
template <typename T>
std::string text(T v) {
  if constexpr (std::is_pointer_v<T>)
    return v ? std::string(v, strnlen(v, 16)) : "(null)";
  else if constexpr (std::is_same_v<T, uint32_t>)
    return std::to_string(static_cast<int32_t>(v));  // -1 for 0xFFFFFFFF
  else
    return std::to_string(v);
}
std::string text(std::string s) { return s; }
template <typename T>
std::string text(uint32_t rc, uint32_t n, const T *v) {
  size_t end = RADIO_REGION_MAX_CHAN;
  while (end && !v[end - 1]) --end;
  std::string s = text(n) + ":";
  for (size_t i = 0; i < end; ++i) s += (i ? "," : "") + text(v[i]);
  return rc ? "err" : s;
}

// Messages as the library prints them: "<kind>func():%4d  @ text".
std::string msg(const std::string &func, int line, const std::string &text, const std::string &kind = "error") {
  return "<" + kind + ">" + func + "():" + (line < 1000 ? " " : "") + std::to_string(line) + "  @ " + text;
}
std::string cond(const char *f, int n, const std::string &c) { return msg(f, n, "condition(" + c + ") failed\n"); }
std::string loader(int line, const std::string &c) { return cond("l_radio_config_init", line, c); }
std::string dbg(int line, const std::string &text) { return msg("_radio_region_init", line, text + "\n", "debug"); }
std::string count(int code, int n) { return dbg(285, "region:" + text(code) + ", parse channel num:" + text(n)); }
std::string fails(const std::string &text, int line = 273) { return msg("_radio_region_init", line, text + "\n"); }
const std::string kEnd = dbg(251, "empty line"), kNext = dbg(256, "read next region flag, parse finish"),
                  kEmpty = dbg(262, "empty country flags");

// A radio entry, and a radio_config.json. Members given first win over the
// defaults after them (lookups take the first match).
std::string radio(int band, const std::string &extra = "") {
  return "{" + extra + (extra.empty() ? "" : ", ") + "\"band\": " + text(band) +
         R"(, "mimo": 2, "anttgain": 3, "mode": 31})";
}
std::string radio_config(const std::string &top = "", const std::string &r0 = radio(2),
                         const std::string &r1 = radio(5)) {
  return "{" + top + (top.empty() ? "" : ", ") + R"("EIRP": true, "radioTable": [)" + r0 + ", " + r1 + "]}";
}

// A call's integer arguments a[0], a[1]...
using Args = std::vector<int64_t>;
// Arguments a[first] on: the frequencies of a list.
template <typename T>
std::vector<T> from(const Args &a, size_t first, size_t size = 1) {
  std::vector<T> v(a.begin() + static_cast<long>(first), a.end());
  v.resize(std::max(v.size(), size));
  return v;
}
uint8_t g_lv[RADIO_REGION_MAX_CHAN];  // low, high, dcoff
uint32_t g_lo, g_hi, g_words[RADIO_REGION_MAX_CHAN];
radio_block_list_t g_block;
radio_chan_list_t g_list;
uint32_t *zeroed() { return static_cast<uint32_t *>(std::memset(g_words, 0, sizeof g_words)); }
std::string table(uint32_t rid) {  // "code:freq/chan/commonFlag/extFlag/power,..."
  radio_region_tbl_t t;
  if (radio_region_getRegionFlags(rid, &t)) return "err";
  std::string s = text(t.regionCode) + ":";
  char rec[64];
  for (const radio_chan_rec_t &r : std::vector<radio_chan_rec_t>(t.chanRec, t.chanRec + t.chanNum)) {
    std::snprintf(rec, sizeof rec, "%s%d/%u/%x/%x/%d", s.back() == ':' ? "" : ",", r.freq, r.chan, r.commonFlag,
                  r.extFlag, r.maxPower);
    s += rec;
  }
  return s;
}

// The calls by short name: the function's own name (as its messages show it)
// and the call. CFG, REG: radio_config_f or radio_region_f itself; FX: an
// expression of the arguments standing for f.
using Fn = std::function<std::string(const Args &)>;
using Entry = std::pair<const std::string, std::pair<std::string, Fn>>;
template <typename R, typename... P>
Entry call(const char *key, const char *name, R (*f)(P...)) {  // f(a[0], a[1]...)
  return {key, {name, [f](const Args &a) {
                  return a.size() != sizeof...(P) ? "(arguments?)" : [&]<size_t... I>(std::index_sequence<I...>) {
                    return text(f(static_cast<P>(a[I])...));
                  }
                  (std::index_sequence_for<P...>{});
                }}};
}
Entry fx(const char *key, const char *name, Fn f) { return {key, {name, std::move(f)}}; }
#define CFG(key, f) call(key, "radio_config_" #f, radio_config_##f)
#define REG(key, f) call(key, "radio_region_" #f, radio_region_##f)
#define FX(key, f, ...) fx(key, "radio_" #f, []([[maybe_unused]] const Args &a) { return text(__VA_ARGS__); })
const std::map<std::string, std::pair<std::string, Fn>> kFns = {
    CFG("band", getBand), CFG("mimo", getMimo), CFG("mgain", getMimoGain), CFG("again", getAnttGain),
    CFG("modeCap", getModeCap), CFG("ifindex", getIfindex), CFG("acs", getBlockAcsBand),
    CFG("spruce", getBlockSpruceBand4), CFG("ifname", getIfname), CFG("prefix", getVapPrefix),
    CFG("vaps", getMaxVapNum), CFG("maxCap", getMaxModeCap), CFG("smartAnt", smartAntennaSupp),
    CFG("maxMode", getMaxMode), CFG("maxWidth", getMaxChanWidth), CFG("rid", getRidWithBand), CFG("eirp", getEIRP),
    CFG("sta", getMaxStaPerRadio), CFG("type", getRadioType), CFG("supp2g", supp2G), CFG("supp5g", supp5G),
    CFG("chanLimit", chanLimitSupp), CFG("ofdma", ofdmaCfgSupp), CFG("frag", fragThreshSupp),
    CFG("dfsImprove", dfsImproveSupp), CFG("qam", n1024QAMSupp), CFG("thermal", thermalCtlSupp), CFG("cca", bbCCASupp),
    CFG("agc", bbAGCSupp), CFG("psd", bbPSDSupp), CFG("ovw", needOverWriteCtl), CFG("dfsCfg", dfsSupp),
    CFG("region", getSpecRegionCode), CFG("bkhap", getMeshBkhapIfname), CFG("meshSta", getMeshStaIfname),
    REG("dfsUS", isDfsUSSupp), REG("noAutoWradar", noAutoWradarSupp), REG("zeroWait", zeroWaitDfsSupp),
    CFG("autoWidth", getMaxAutoChanWidth), REG("freq", chanIndex2Freq), REG("num", chanIndex2Num),
    REG("numIndex", chanNum2Index), REG("freqIndex", Freq2Index), REG("check", checkChannel),
    REG("flag", getChanCommonFlag), REG("maxPower", getMaxPowerByRadio), REG("ht40", isHT40Supp),
    REG("vht80", isVHT80Supp), REG("vht160", isVHT160Supp), REG("is5g", is5GSupp), REG("dfs", isDfsSupp),
    REG("radar", isWradarSupp), REG("dfsCap", getDFSCap),
    // Level, register values, capacity, table, lists...; "...Null": with a NULL pointer.
    FX("lv", config_thermalLevelCfg, text(radio_config_thermalLevelCfg(a[0], g_lv, g_lv + 1, g_lv + 2), 3, g_lv)),
    FX("lvNoLow", config_thermalLevelCfg, radio_config_thermalLevelCfg(a[0], nullptr, g_lv + 1, g_lv + 2)),
    FX("ccaVal", config_bbCCARegVal, text(radio_config_bbCCARegVal(a[0], zeroed()), a[0], g_words)),
    FX("agcVal", config_bbAGCRegVal, text(radio_config_bbAGCRegVal(a[0], zeroed()), a[0], g_words)),
    FX("psdVal", config_bbPSDRegVal, text(radio_config_bbPSDRegVal(a[0], zeroed()), a[0], g_words)),
    FX("psdNull", config_bbPSDRegVal, radio_config_bbPSDRegVal(a[0], nullptr)),
    fx("bbregNull", "_bbreg_parse", [](const Args &) { return text(radio::_bbreg_parse(nullptr, "AGC", 2, nullptr)); }),
    // Both radios' radioId, minPower, maxPower, mimo, ofdmaCfgSupp, ofdmaEnable, maxVapNum.
    FX("caps", config_get_capacity,
       text(radio_config_get_capacity(reinterpret_cast<radio_capacity_t *>(zeroed())), 14, g_words)),
    FX("capsNull", config_get_capacity, radio_config_get_capacity(nullptr)),
    FX("table", region_getRegionFlags, table(a[0])),
    FX("chanPower", region_getMaxPowerByChan, radio_region_getMaxPowerByChan(a[0], a[1], nullptr)),
    FX("range", region_getPowerRange,
       radio_region_getPowerRange(a[0], &g_lo, &g_hi) ? "err" : text(g_lo) + "-" + text(g_hi)),
    // Width code a[0] for a channel with commonFlag a[1] and extFlag a[2].
    FX("valid", region_checkChannelValid,
       radio_region_checkChannelValid(a[0],
                                      std::vector<radio_chan_rec_t>{{0, 0, uint32_t(a[1]), uint32_t(a[2]), 0}}.data())),
    FX("validNull", region_checkChannelValid, radio_region_checkChannelValid(a[0], nullptr)),
    // Radio, count, width, then the frequencies.
    FX("nonDfs", region_checkIsSuppNonDfsChan,
       radio_region_checkIsSuppNonDfsChan(a[0], a[1], from<uint32_t>(a, 3, 67).data(), a[2])),
    FX("rangeNull", region_getPowerRange, radio_region_getPowerRange(a[0], nullptr, &g_hi)),
    FX("nonDfsNull", region_checkIsSuppNonDfsChan, radio_region_checkIsSuppNonDfsChan(a[0], 1, nullptr, 2)),
    FX("blockNull", region_getBlockFreqList,
       radio_region_getBlockFreqList(a[0], 1, nullptr, a[1] ? &g_block : nullptr)),
    FX("chans", region_getChanList, radio_region_getChanList(a[0], &g_list)),
    FX("chansNull", region_getChanList, radio_region_getChanList(a[0], nullptr)),
    // Radio, count, then the supported frequencies.
    FX("block", region_getBlockFreqList,
       radio_region_getBlockFreqList(a[0], a[1], from<uint32_t>(a, 2).data(), &g_block)
           ? "err"
           : text(0, g_block.count, g_block.freq))};

// The calls "key(a,b)=answer ..." (blank-separated) with the answers they give; name: the last one's function's.
std::string run(const std::string &calls, std::string *name = nullptr) {
  std::istringstream all(calls);
  std::string out, call;
  while (all >> call) {
    std::string head = call.substr(0, call.find('=')), words = head, key;
    for (char &c : words) c = (c == '(' || c == ')' || c == ',') ? ' ' : c;
    std::istringstream in(words);
    Args args;
    for (in >> key; in >> words;) args.push_back(std::stoll(words, nullptr, 0));
    const auto f = kFns.find(key);
    if (name && f != kFns.end()) *name = f->second.first;
    out += (out.empty() ? "" : " ") + head + "=" + (f == kFns.end() ? "(no such call)" : f->second.second(args));
  }
  return out;
}
// Each row "call" answers as given after prefix, "call@line" prints text at that line
// first and "call@line:message" its own message.
void check(const std::vector<std::string> &rows, const std::string &text = "", const std::string &prefix = "") {
  for (const std::string &row : rows) {
    const size_t at = row.find('@'), colon = row.find(':', at);
    const std::string call = row.substr(0, at), message = colon == std::string::npos ? text : row.substr(colon + 1);
    std::string got, name, err = stderr_of([&] { got = run(call, &name); });
    const int line = at == std::string::npos ? 0 : std::stoi(row.substr(at + 1));
    EXPECT_EQ(err + got, prefix + (line ? msg(name, line, message + "\n") : "") + call);
  }
}

class RadioTest : public ::testing::Test {
 protected:
  void SetUp() override { tree_.write_model("dev_config.json", kMinimalDevConfig); }
  // A new radio_config.json; load: read it now, its dump kept out of the output.
  void config(const std::string &json, bool load = false) const {
    ModelTree::forget_loaded();
    tree_.write_model("radio_config.json", json);
    if (load) stdout_of([] { radio_config_getBand(0); });
  }
  // Radios on these bands (radio 0: mimo 2, antenna gain 3; radio 1: mimo 4, gain 5), the REG_DOMAIN
  // files (REG_DOMAIN5 left as it is for nullptr), then radio_region_init(code): "result stderr".
  std::string init(std::string reg2, const char *reg5, int code, int band0 = 2, int band1 = 5, std::string top = "") {
    config(radio_config(top, radio(band0), radio(band1, R"("mimo": 4, "anttgain": 5)")), true);
    tree_.write_model("ath/REG_DOMAIN2", reg2);
    if (reg5) tree_.write_model("ath/REG_DOMAIN5", reg5);
    const std::string err = stderr_of([&] { code = radio_region_init(code); });
    return text(code) + " " + err;
  }
  // Region code with these channels on radio 0 (REG_DOMAIN2) and radio 1 (REG_DOMAIN5).
  void load(const std::string &chans2, const std::string &chans5, std::string top = "", int code = 1, int band0 = 2) {
    const std::string c = "R:" + text(code) + " ";
    EXPECT_EQ(init(c + chans2 + "\n", (c + chans5 + "\n").c_str(), code, band0, 7 - band0, top).substr(0, 2), "0 ");
  }
  ModelTree tree_;
};

TEST_F(RadioTest, ValuesRead) {
  const std::string lv = R"({"low": 1, "high": 2, "dcoff": 3})", lv3 = lv + "," + lv + "," + lv, mode = "\"mode\": ";
  auto thermal = [](auto l) { return radio_config(R"("thermalCtl": {"supp": true, "levels": [)" + l + "]}"); };
  auto agc = [](const std::string &t) { return radio_config(R"("BBRegCfg": {"BBRegAGC": )" + t + "}"); };
  const std::string no_mode = msg("radio_config_getMaxModeCap", 1533, "invalid mode:0x20\n");
  const char *value = "(NULL != pVal && pVal->type == cJSON_Number)", *th = "_radio_thermal_cfg_parse";
  const struct {
    std::string json, want, err = "";
  } rows[] = {
      {radio_config(R"("chanLimitSupp": true, "dfsCfgSupp": false, "n1024QAMSupp": true, "ofdmaCfgSupp": true,
          "fragThreshSupp": false, "ovWriteCtl": true, "dfsImproveSupp": true, "dfsUSSupp": true, "ofdmaEnable": true,
          "noAutoWradarSupp": true, "zeroWaitDfsSupp": true, "specCARegionCode": "1", "specRegionCode": 36)",
                    radio(2, R"("ifname": "wifi0", "vapPrefix": "ath0", "ifindex": 7, "smartAnt": 1)"),
                    radio(5, R"("blockAcsBand": 2, "blockSpruceBand4": 1, "maxVapNum": 16, "modeCap": 9)")),
       "ifindex(0)=7 ifname(0)=wifi0 prefix(0)=ath0 vaps(1)=16 acs(1)=2 spruce(1)=1 modeCap(1)=9 smartAnt(0)=1 "
       "chanLimit=1 dfsImprove=1 dfsCfg=0 qam=1 ofdma=1 frag=0 ovw=1 dfsUS=1 noAutoWradar=1 zeroWait=1 region=36"},
      {radio_config(R"("maxStaPerRadio": "abc", "meshStaIfname": 4)"),  // defaults (another type counts as missing)
       "sta=-1 modeCap(0)=52 modeCap(1)=116 ifindex(0)=0 ifindex(1)=1 vaps(0)=8 smartAnt(1)=0 chanLimit=0 dfsCfg=1 "
       "ofdma=0 frag=1 ovw=0 dfsUS=0 region=841 bkhap=bkhap1 meshSta=sta1 thermal=0 cca=0 agc=0 psd=0"},
      // Radio type, the radio with a band (radio 0 first), mimo gain, mode bit, PHY mode, width code.
      {radio_config(R"("maxStaPerRadio": 1)", radio(2, mode + "1"), radio(52, mode + "2, \"mimo\": 3")),
       "sta=1 type=17 supp2g=1 supp5g=1 rid(2)=0 rid(52)=1 mgain(0)=3 mgain(1)=5 maxCap(0)=1 maxMode(0)=0 "
       "maxWidth(0)=2 maxCap(1)=2 maxMode(1)=3 maxWidth(1)=2 rid(5)=-1"},
      {radio_config("", radio(5, mode + "6, \"mimo\": 4"), radio(5, mode + "15, \"mimo\": 5")),
       "type=32 supp2g=0 supp5g=2 rid(5)=0 mgain(0)=6 mgain(1)=0 maxCap(0)=4 maxMode(0)=4 maxWidth(0)=4 maxCap(1)=8 "
       "maxMode(1)=10 maxWidth(1)=6 rid(3)=-1"},
      {radio_config("", radio(2, mode + "52"), radio(52)),
       "type=17 maxCap(0)=16 maxMode(0)=13 maxWidth(0)=4 maxCap(1)=16 maxMode(1)=16 maxWidth(1)=8"},
      {radio_config("", radio(7, mode + "32"), radio(52)), "type=16 rid(2)=-1 maxCap(0)=0 maxMode(0)=-1 maxWidth(0)=-1",
       no_mode + no_mode + msg("radio_config_getMaxMode", 1691, "invalid mode:0\n") + no_mode +
           msg("radio_config_getMaxChanWidth", 1731, "invalid mode:0\n")},
      // Names keep 15 characters, ifname 16 with no NUL; specCARegionCode wins.
      {radio_config(R"("meshBkhapIfname": "bbbbbbbbbbbbbbbbbbbb", "meshStaIfname": "ssssssssssssssssssss",
          "specCARegionCode": 124, "specRegionCode": 36, "EIRP": false, "maxStaPerRadio": 512, "thermalCtl": {})",
                    radio(2, R"("ifname": "abcdefghijklmnopqrs", "vapPrefix": "vvvvvvvvvvvvvvvvvvv")")),
       "bkhap=bbbbbbbbbbbbbbb meshSta=sssssssssssssss region=124 ifname(0)=abcdefghijklmnop prefix(0)=vvvvvvvvvvvvvvv "
       "eirp=0 sta=512 thermal=0"},
      // Thermal levels (values keep their low 8 bits); a fault leaves thermalSupp 0.
      {thermal(lv3 + R"(, {"low": 4, "high": 5, "dcoff": 300})"), "thermal=1 lv(0)=3:1,2,3 lv(3)=3:4,5,44"},
      {thermal(lv3), "thermal=0", cond(th, 322, "(levelNum == THERMAL_CTL_LEVEL_NUM)")},
      {thermal(R"({"low": "1"},)" + lv3), "thermal=0", cond(th, 330, value)},
      {thermal(lv + R"(, {"low": 7, "dcoff": 3},)" + lv + "," + lv), "thermal=0 lv(1)=3:7", cond(th, 334, value)},
      {thermal(lv3 + R"(, {"low": 1, "high": 2})"), "thermal=0", cond(th, 338, value)},
      // Baseband registers: hexadecimal strings, the count fixed per set, "supp" a boolean.
      {radio_config(R"("BBRegCfg": {"BBRegCCAB0": {"supp": true, "regVal": ["0x1c8f"]}, "BBRegAGC": {"supp": true,
          "regVal": ["3FE", "0X108"]}, "BBRegPSD": {"supp": false, "regVal": ["1", "2", "3"]}})"),
       "cca=1 ccaVal(1)=1:7311 agc=1 agcVal(2)=2:1022,264 psd=0 psdVal(3)=3:"},
      {agc(R"({"supp": true, "regVal": ["1", "2", "3"]})"), "agc=0", cond("_bbreg_parse", 375, "(regnum == count)")},
      {agc(R"({"supp": true}, "BBRegPSD": {"supp": true, "regVal": "12"})"), "agc=1 agcVal(2)=2: psd=1"},
      {agc(R"({"supp": true, "regVal": ["1", 2]})"), "agc=0",
       cond("_bbreg_parse", 380, "(NULL != pItem && cJSON_String == pItem->type)")},
      {agc(R"({"supp": 1, "regVal": ["1", "2"]})"), "agc=0 cca=0 psd=0"}  // the other sets missing
  };
  for (const auto &r : rows) {
    config(r.json);
    std::string got, err;
    stdout_of([&] { err = stderr_of([&] { got = run(r.want); }); });
    EXPECT_EQ(err + got, r.err + r.want) << r.json;
  }
}

TEST_F(RadioTest, FailedLoadsDumpAndBadArguments) {
  // No file: each call tries again.
  const std::string id = "init error or invalid radioID:1", init = "init error", names = "init error or invalid",
                    none = loader(447, "(NULL != pFile)");
  check({"band(1)=0@1455", "mimo(1)=0@1466", "mgain(1)=0@1477", "again(1)=0@1488", "modeCap(1)=0@1740",
         "ifindex(1)=0@1542", "acs(1)=0@1553", "spruce(1)=0@1564", "ifname(1)=(null)@1575", "prefix(1)=(null)@1586",
         "vaps(1)=0@1597", "maxCap(1)=0@1501", "smartAnt(1)=0@2007:init error"},
        id, none);
  check({"eirp=0", "sta=0", "type=0", "supp2g=0", "supp5g=0", "chanLimit=0@1771", "ofdma=0@1783", "frag=0@1795",
         "dfsImprove=0@1828", "qam=0@1839", "thermal=0@1850", "cca=0@1882", "agc=0@1917"},
        init, none);
  check({"psd=0@1952", "region=841@2061", "ovw=0@2073", "dfsCfg=0@2084", "bkhap=(null)@1347:" + names,
         "meshSta=(null)@1358:" + names, "lv(0)=err@1861", "ccaVal(1)=err@1895", "agcVal(1)=err@1930",
         "psdVal(1)=err@1965", "noAutoWradar=0@1806", "zeroWait=0@1817", "caps=err@1421"},
        init, none);
  const std::string eirp = "(NULL != pData && (pData->type == cJSON_True || pData->type == cJSON_False))",
                    sta = "((l_radioCfgTbl.maxStaPerRadio > 0) && (l_radioCfgTbl.maxStaPerRadio <= MAX_STA_PER_RADIO))",
                    full = radio_config(),
                    long1025 = full.substr(0, full.size() - 1) + std::string(1025 - full.size(), ' ') + "}";
  const char *count = "(count == MAX_RADIO_NUM)", *number = "(NULL != pTmp && pTmp->type == cJSON_Number)";
  const std::string band0 = "band(0)=0@1455:init error or invalid radioID:0";
  using P = std::pair<std::string, std::string>;
  for (const auto &[json, err] :
       {P("", msg("l_radio_config_init", 451, "failed to read file\n")),
        P("{\"EIRP\": tru", loader(461, "(NULL != pRadioCfg)")), P(long1025, loader(461, "(NULL != pRadioCfg)")),
        P(radio_config(R"("EIRP": 1)"), loader(464, eirp)),
        P(radio_config(R"("maxStaPerRadio": 513)"), loader(473, sta)),
        P(radio_config(R"("maxStaPerRadio": 0)"), loader(473, sta)), P("{\"EIRP\": false}", loader(482, count)),
        P(radio_config("", radio(2), radio(5) + ", " + radio(5)), loader(482, count)),
        P(radio_config("", radio(2), R"({"mimo": 2, "anttgain": 3, "mode": 31})"), loader(492, number)),
        P(radio_config("", radio(2), radio(5, R"("mimo": "2")")), loader(516, number)),
        P(radio_config("", radio(2), radio(5, R"("anttgain": null)")), loader(538, number)),
        P(radio_config("", radio(2), radio(5, R"("mode": true)")), loader(542, number))}) {
    config(json);
    check({band0, band0}, "", err);
  }
  // Found at last (the file written as it is, kept between calls): read and dumped once, at the load; the dump
  // alone never loads.
  tree_.write_model("radio_config.json",
                    radio_config(R"("chanLimitSupp": true, "ofdmaCfgSupp": true, "thermalCtl": {"supp": true})",
                                 radio(2, R"("blockAcsBand": 1)"), radio(5, R"("mimo": 3, "mode": 52)")));
  EXPECT_NE(stdout_of([] { debug_show_radio_cfg(); }).find("radioType: 0\n"), std::string::npos);
  const std::string out = stdout_of([] { check({"band(1)=5"}); });
  EXPECT_EQ(out,
            "\n==============radio config============\nradioType: 0x11\nEIRP: 1\n0.\tradioID:0\n\tband:2\n\tmimo:2\n"
            "\tmimogain:3\n\tanttgain:3\n\tmode:31\n\tblockAcsBand:1\n\tblockSpruceBand4:0\n1.\tradioID:1\n\tband:5\n"
            "\tmimo:3\n\tmimogain:5\n\tanttgain:3\n\tmode:52\n\tblockAcsBand:0\n\tblockSpruceBand4:0\nchanlimit:1\n"
            "dfsImproveSupp:0\nn1024QAMSupp:0\nthermalSupp:1\n\tlevel[0] 0 0 0\n\tlevel[1] 0 0 0\n\tlevel[2] 0 0 0\n"
            "\tlevel[3] 0 0 0\nQCA HAL BB reg: \n\tCCA: 0\n\t 00000000 \n\tAGC: 0\n\t 00000000 \n\t 00000000 \n"
            "\tPSD 0\n\t 00000000 \n\t 00000000 \n\t 00000000 \nofdmaCfgSupp:1\nnoAutoWradarSupp:0\nzeroWaitDfsSupp:0\n"
            "\n==============radio config============\n");
  EXPECT_EQ(stdout_of([] { radio_config_getBand(0); }) + stdout_of([] { debug_show_radio_cfg(); }), out);
  // Arguments out of range on the loaded table.
  char level4[96], no_low[96];  // the outputs' addresses
  std::snprintf(level4, 96, "invalid param, level:4, %p, %p, %p", (void *)g_lv, (void *)(g_lv + 1), (void *)(g_lv + 2));
  std::snprintf(no_low, 96, "invalid param, level:0, %p, %p, %p", nullptr, (void *)(g_lv + 1), (void *)(g_lv + 2));
  const std::string id2 = "init error or invalid radioID:2";
  check({"band(2)=0@1455:" + id2, "smartAnt(2)=0@2007:" + id2, "maxMode(2)=-1@1661", "maxWidth(2)=-1@1702",
         "lv(3)=3:", "lv(4)=err@1867:" + std::string(level4), "lvNoLow(0)=-1@1867:" + std::string(no_low),
         "ccaVal(2)=err@1901:regnum(2) too many", "agcVal(3)=err@1936:regnum(3) too many",
         "psdVal(4)=err@1971:regnum(4) too many", "psdNull(0)=0", "psdNull(1)=-1", "capsNull=-1",
         "bbregNull=0@360:condition((pRoot && pRegName && pRegSet)) failed"},
        "invalid radioID:2");
}

TEST_F(RadioTest, ReadingTheFiles) {
  std::string chans66 = "R:1";
  for (int i = 0; i < RADIO_REGION_MAX_CHAN; ++i) chans66 += " " + text(2412 + i) + ",1,0,1";
  const std::string name49 = std::string(46, 'N') + ":12", bad = fails("invalid file format");
  struct Row {
    std::string reg2;
    int code, rc;
    std::string err, tables = "";
    const char *reg5 = "EU:276\n";
    int band0 = 2, band1 = 5;
  };
  const Row rows[] = {
      // REG_DOMAIN5 lacks the region unless given
      Row("USA:840 2412,1,0,1\n", 840, -1,  // no REG_DOMAIN5 yet
          kEnd + count(840, 1) + fails("failed to open file /etc/AP100_X_2.0/ath/REG_DOMAIN5", 202), "", nullptr),
      Row("OTHER:7 2422,10000,0,10\nUSA:840 2412,10080,0,20\nX:9 2437,1,2,3\n", 840, 0,
          kNext + count(840, 1) + count(840, 1),  // nothing after the last token: silent
          "table(0)=840:2412/1/10080/0/20 table(1)=840:5180/36/870100/1002/23", "USA:840\n5180,870100,1002,23"),
      Row("R:1 2412,0,0,1 2484,0,0,1 3000,0,0,1 4920,0,0,1 4000,0,0,1 5180,0,0,1 5000,0,0,1\n", 1, 0,
          kEnd + count(1, 7) + count(1, 0),
          "table(0)=1:2412/1/0/0/1,2484/14/0/0/1,3000/39/0/0/1,4920/184/0/0/1,4000/0/0/0/1,5180/36/0/0/1,5000/0/0/0/1"),
      Row("USA:840 2412,1,0,1 empty 2417,1,0,1\n", 840, 0, kEmpty + count(840, 1) + count(840, 0)),
      Row("name-with-text:0840x 2412,1,0,1 B:2", 840, 0, kNext + count(840, 1) + count(840, 0)),
      Row("840 2412,1,0,1 USA:840", 840, 0, count(840, 0) + count(840, 0)), Row("USA:840 2412,1,0\n", 840, -1, bad),
      // Bands 5 and 52 read REG_DOMAIN5, the others REG_DOMAIN2.
      Row("USA:840 2412,1,0,1\n", 840, -1, fails("failed to find match region:840", 237), "", "EU:276\n", 5, 2),
      Row("R:1 2412,1,0,1\n", 1, 0, kEnd + count(1, 1) + kEnd + count(1, 1), "table(0)=1:5180/36/100/0/1",
          "R:1 5180,100,0,1\n", 52, 7),
      // At most 66 channels and 49-character tokens; nothing past radio 0's table.
      Row(chans66, 1, 0, count(1, 66) + count(1, 0)), Row(chans66 + " 5000,1,0,1\n", 1, -1, bad, "table(1)=0:"),
      Row(name49 + " 2412,1,0,1\n", 12, 0, kEnd + count(12, 1) + count(12, 0)),
      Row("N" + name49 + " 2412,1,0,1", 12, -1, bad)};
  for (const auto &r : rows) {
    const std::string got = init(r.reg2, r.reg5, r.code, r.band0, r.band1);
    EXPECT_EQ(got + run(r.tables), text(r.rc) + " " + r.err + r.tables);
  }
}

TEST_F(RadioTest, IndexesNumbersFrequenciesAndPower) {
  // 2422: DFS not enabled, so not usable; 5180: DFS enabled.
  load("2412,10080,0,20 2417,30080,0,27 2422,1,2,40 2412,1,0,5", "5180,100,1002,30 5200,100,0,10");
  // The answers themselves: region_args checks them against the table copied out.
  const std::string index5 = "invalid chanIndex:5", flags = "current channelNum = 4";
  check({"freq(0,5)=0@837", "num(0,5)=0@907", "check(0,5)=0@1058", "chanPower(0,5)=0@967"}, index5);
  check({"check(0,4)=4", "check(0,0)=0", "flag(0,0)=0@1235:invalid chanIndex:0, " + flags,
         "flag(0,5)=0@1235:" + index5 + ", " + flags, "maxPower(0)=27", "maxPower(1)=30"});
  check({"freq(2,1)=0@831", "num(2,1)=0@896", "numIndex(2,1)=0@856", "freqIndex(2,1)=0@878", "maxPower(2)=0@922",
         "chanPower(2,0)=0@960", "check(2,0)=0@1052", "flag(2,1)=0@1227", "table(2)=err@1251", "ht40(2)=0@1267",
         "vht80(2)=0@1291"},
        "invalid rid:2");
}

TEST_F(RadioTest, PowerRangeAndFlags) {
  // The minimum power counts the antenna gain in four regions with EIRP on.
  struct Row {
    int code;
    std::string want, top = "", chans2 = "2412,1,0,20", chans5 = "5180,100,0,23";
    int band0 = 2;
  };
  const Row rows[] = {
      Row(36, "range(0)=7-20 range(1)=12-23"), Row(818, "range(0)=7-20 range(1)=12-23"), Row(276, "range(1)=12-23"),
      Row(392, "range(1)=12-23"), Row(36, "range(0)=4-20 range(1)=7-23", R"("EIRP": false)"),
      Row(840, "range(0)=4-20 range(1)=7-23 range(2)=err caps=14:0,4,20,2,1,1,8,1,7,23,4,1,1,8",
          R"("ofdmaCfgSupp": true, "ofdmaEnable": true)"),
      // HT40 (either bit), VHT80 (with 0x100), 5 GHz channels on a 5 GHz radio.
      Row(1, "ht40(0)=1 ht40(1)=0 vht80(1)=0 is5g=0", "", "2412,10100,0,1 2417,40000,0,1", "5180,800000,0,1"),
      Row(1, "ht40(0)=0 vht80(1)=1 vht160(1)=0 is5g=1", "", "2412,10000,0,1", "5180,800100,0,1"),
      // DFS: 0x2 counts with 0x1000 only, on a 5 GHz radio only; bits 0x100, 0x200, 0x400.
      Row(1, "dfs=0 radar=0 dfsCap=0", "", "2412,1,1602,1", "5180,100,2,1 5260,100,402,1"),
      Row(1, "dfs=1 radar=1 dfsCap=7", "", "2412,1,1602,1", "5260,100,1102,1 5600,100,1602,1"),
      Row(1, "dfs=0 radar=1 dfsCap=0", R"("dfsCfgSupp": false)", "2412,1,0,1", "5260,100,1102,1 5600,100,1602,1"),
      Row(1, "dfs=1 radar=0 dfsCap=2 is5g=1", "", "2412,1,0,1", "5260,100,1202,1", 5)  // radio 0 on 5 GHz
  };
  for (const auto &r : rows) {
    load(r.chans2, r.chans5, r.top, r.code, r.band0);
    EXPECT_EQ(run(r.want), r.want);
  }
}

TEST_F(RadioTest, ChannelValidityAndLists) {
  load("2412,10000,0,1 2417,1,2,1 2422,1,1002,1", "5180,10000,0,1 5260,10000,1102,1 5300,0,0,1");  // DFS, no radar
  const std::string bad = "invalid parameters";
  // Width codes 2: HT20; 3, 4: HT40; 5, 6: VHT80; others: any. DFS and radar need the region's.
  check({"valid(2,0x10000,0)=1", "valid(2,0x20000,0)=0", "valid(3,0x20000,0)=1", "valid(4,0x20000,0)=1",
         "valid(4,0x10000,0)=0", "valid(5,0x20000,0)=0", "valid(5,0x800100,0)=1", "valid(6,0x800100,0)=1",
         "valid(6,0x10000,0)=0", "valid(7,0x10000,0)=1", "valid(2,0x10000,2)=1", "valid(2,0x10000,0x1402)=0",
         "validNull(2)=0"});
  // Frequencies: 5260 is DFS, 5300 lacks HT20, 4000 is unknown.
  check({"nonDfs(1,3,2,5260,5300,5180)=1", "nonDfs(1,2,2,5260,5300,5180)=0", "nonDfs(1,1,2,4000)=0",
         "nonDfs(1,66,2,5180)=1", "nonDfs(1,67,2)=1@2159:invalid suppFrepCnt: 67",
         "nonDfs(1,0,2)=1@2159:invalid suppFrepCnt: 0", "nonDfs(0,1,2,2412)=0@2152", "nonDfsNull(1)=0@2152"},
        bad);
  // The lists' contents: region_args.
  check({"chansNull(0)=-1@1373:pChanlist is NULL", "chans(2)=-1@1379:invalid rid:2", "block(0,3,2422,2412,2417)=0:",
         "block(0,1,2417,2412)=2:2412,2422", "block(0,4,2412)=err@2198:invalid suppFrepCnt: 4 maxChanCnt: 3",
         "block(0,0,2412)=err@2198:invalid suppFrepCnt: 0 maxChanCnt: 3", "block(2,1,2412)=err@2191",
         "blockNull(0,1)=-1@2191", "blockNull(0,0)=-1@2191", "rangeNull(0)=-1"},
        bad);
  load("2412,1,0,1", "5600,100,1402,1");  // weather radar
  check({"valid(2,0x10000,0x1402)=1"});
  load("2412,10000,0,1", "5180,10000,0,1");  // no DFS: not answered
  check({"valid(2,0x10000,2)=0", "nonDfs(1,3,2,5180)=0@2152:" + bad});
  stderr_of([] { EXPECT_EQ(radio_region_reinit(1), 0); });  // builds both tables again
  EXPECT_EQ(stdout_of([] { debug_regionShowFlag(); }),
            "============================\nregion:1, channelNum:1\nchanIndex:1 flag:10000 freq:2412M, chan:1\n"
            "region:1, channelNum:1\nchanIndex:1 flag:10000 freq:5180M, chan:36\n");
}

TEST_F(RadioTest, SwitchesAndAutomaticWidth) {
  config(radio_config(R"("dfsUSSupp": true, "noAutoWradarSupp": true, "zeroWaitDfsSupp": true)", radio(2), radio(52)));
  check({"dfsUS=0"});                                  // reads the table as it stands: not loaded yet
  stdout_of([] { radio_region_noAutoWradarSupp(); });  // loads it; no region loaded: empty tables
  check({"dfsUS=1", "range(0)=4-0", "autoWidth(1,4)=5", "autoWidth(1,6)=5", "autoWidth(0,8)=3",
         "autoWidth(1,5)=-1@2024", "autoWidth(1,7)=-1@2024", "autoWidth(2,4)=-1@2024"},
        "parm error");
  config(radio_config("", radio(7), radio(5)), true);
  check({"autoWidth(1,8)=5", "autoWidth(0,4)=0@2053:Don't get correct chanwidth!"});
}

}  // namespace
}  // namespace aputil::test
