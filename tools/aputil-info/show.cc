// aputil-info show: the model as the device sees it, through the library.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "aputil-info/info.h"
#include "aputil-info/tree.h"
#include "cJSON.h"
#include "devcfg.h"
#include "radio_config.h"
#include "radio_region.h"

namespace aputil::info {

namespace {

void add_num(cJSON *o, const char *name, double v) { cJSON_AddItemToObject(o, name, cJSON_CreateNumber(v)); }
void add_str(cJSON *o, const char *name, const char *v) { cJSON_AddItemToObject(o, name, cJSON_CreateString(v)); }
void add_bool(cJSON *o, const char *name, uint32_t v) { cJSON_AddItemToObject(o, name, cJSON_CreateBool(v != 0)); }
cJSON *add_obj(cJSON *o, const char *name) {
  cJSON *c = cJSON_CreateObject();
  cJSON_AddItemToObject(o, name, c);
  return c;
}

std::string model_dir() {
  char path[128] = "";
  devcfg_getDftCfgPath(path, sizeof path);
  std::string p = path;
  return p.substr(0, p.rfind('/') + 1);
}

cJSON *device_section() {
  cJSON *dev = cJSON_CreateObject();
  add_bool(dev, "vlanbind", devcfg_vlanbind_isSupp());
  add_num(dev, "vlanbindUcCfgVer", devcfg_vlanbind_getUcCfgVer());
  add_bool(dev, "hwWatchdog", devcfg_hwWatchdog_isSupp());
  add_bool(dev, "cloudCtrl", devcfg_cloud_isSupp());
  add_bool(dev, "cloudCfg", devcfg_cloud_isCfgSupp());
  char text[64] = "";
  devcfg_cloud_getMicType(text, sizeof text);
  add_str(dev, "cloudMicType", text);
  add_bool(dev, "cliSetCountry", devcfg_cli_setCountryIsSupp());
  add_bool(dev, "wifiLed", devcfg_wifiled_isSupp());
  add_bool(dev, "wifiLedDefaultOn", devcfg_wifiled_dftEnable());
  add_bool(dev, "rcOptimize", devcfg_rcOptimize_isSupp());
  add_bool(dev, "disasterAlert", devcfg_jp_disaster_isSupp());
  add_bool(dev, "ppskPro", devcfg_ppskPro_isSupp());
  add_bool(dev, "orvel", devcfg_isOrvel());
  add_bool(dev, "repeater", devcfg_repeater_isSupp());
  add_bool(dev, "ble", devcfg_ble_isSupp());
  add_bool(dev, "smartAntenna", devcfg_smartant_isSupp());
  add_num(dev, "ddrSize", devcfg_ddr_getSize());
  add_num(dev, "poePowerConsumption", devcfg_getpoePowerConsumption());
  add_num(dev, "defaultTimeZone", devcfg_misc_defaultTimeZone());
  add_num(dev, "ctrlCustomRegion", devcfg_misc_ctrlCustomRegion());
  return dev;
}

cJSON *ports_section() {
  cJSON *ports = cJSON_CreateObject();
  char name[33];
  cJSON *up = add_obj(ports, "uplink");
  devcfg_upLinkPort_getIfName(name, sizeof name);
  add_str(up, "ifname", name);
  devcfg_upLinkPort_getAliasName(name, sizeof name);
  add_str(up, "alias", name);
  devcfg_upLinkPort_getLogicalIfName(name, sizeof name);
  add_str(up, "logical", name);
  add_num(up, "phyId", devcfg_upLinkPort_getPhyId());
  const char *phy[] = {"none", "AR8033", "RTL8211"};
  const uint32_t phy_type = devcfg_upLinkPort_getPhyType();
  add_str(up, "phyType", phy_type < 3 ? phy[phy_type] : "?");
  add_num(up, "linkStateMask", devcfg_upLinkPort_getLinkStateMask());
  add_num(up, "inSwitch", devcfg_upLinkPort_inSwitch());
  cJSON *down = add_obj(ports, "downlink");
  add_num(down, "count", devcfg_downLinkPort_getNum());
  devcfg_downLinkPort_getIfName(name, sizeof name);
  add_str(down, "ifname", name);
  add_num(down, "startIdxOffset", devcfg_downLinkPort_getStartIdxOffset());
  add_bool(down, "poeOut", devcfg_downLinkPort_isPoeOutSupp());
  add_num(down, "poeOutBitMap", devcfg_downLinkPort_getPoeOutBitMap());
  cJSON *list = cJSON_CreateArray();
  cJSON_AddItemToObject(down, "ports", list);
  for (uint32_t port = 1; port <= devcfg_downLinkPort_getNum(); ++port) {
    cJSON *p = cJSON_CreateObject();
    add_num(p, "port", port);
    add_num(p, "phyId", devcfg_downLinkPort_getPhyId(port));
    devcfg_downLinkPort_getAliasName(port, name, sizeof name);
    add_str(p, "alias", name);
    devcfg_downLinkPort_getLogicalIfName(port, name, sizeof name);
    add_str(p, "logical", name);
    cJSON_AddItemToArray(list, p);
  }
  return ports;
}

cJSON *paths_section() {
  cJSON *paths = cJSON_CreateObject();
  const struct {
    const char *name;
    void (*get)(char *, size_t);
  } getters[] = {{"defaultConfig", devcfg_getDftCfgPath},   {"factoryConfig", devcfg_getFactoryCfgPath},
                 {"gpio", devcfg_getGpioCfgPath},           {"gpoRule", devcfg_getGpoRuleCfgPath},
                 {"oem", devcfg_getOemInfoPath},            {"regDomain2", devcfg_getRegDoamin2GPath},
                 {"regDomain5", devcfg_getRegDoamin5GPath}, {"radioConfig", devcfg_getRadioCfgPath},
                 {"wireless", devcfg_getWirelessCfgPath},   {"thermaltool", devcfg_getThermaltoolCfgPath}};
  char path[128];
  for (const auto &g : getters) {
    g.get(path, sizeof path);
    add_str(paths, g.name, path);
  }
  devcfg_getAppCfgPath(path, sizeof path);
  add_str(paths, "appFeatures", path);
  devcfg_getAppClusterCfgPath(path, sizeof path);
  add_str(paths, "appClusterFeatures", path);
  return paths;
}

cJSON *radio_section() {
  cJSON *r = cJSON_CreateObject();
  add_bool(r, "eirp", radio_config_getEIRP());
  add_num(r, "maxStaPerRadio", radio_config_getMaxStaPerRadio());
  add_num(r, "radios2G", radio_config_supp2G());
  add_num(r, "radios5G", radio_config_supp5G());
  add_bool(r, "chanLimit", radio_config_chanLimitSupp());
  add_bool(r, "dfsImprove", radio_config_dfsImproveSupp());
  add_bool(r, "dfsCfg", radio_config_dfsSupp());
  add_bool(r, "n1024QAM", radio_config_n1024QAMSupp());
  add_bool(r, "ofdmaCfg", radio_config_ofdmaCfgSupp());
  add_bool(r, "fragThresh", radio_config_fragThreshSupp());
  add_bool(r, "overWriteCtl", radio_config_needOverWriteCtl());
  add_num(r, "specRegionCode", radio_config_getSpecRegionCode());
  const char *mesh = radio_config_getMeshBkhapIfname();
  add_str(r, "meshBkhapIfname", mesh ? mesh : "");
  mesh = radio_config_getMeshStaIfname();
  add_str(r, "meshStaIfname", mesh ? mesh : "");
  cJSON *thermal = add_obj(r, "thermal");
  add_bool(thermal, "supported", radio_config_thermalCtlSupp());
  cJSON *levels = cJSON_CreateArray();
  cJSON_AddItemToObject(thermal, "levels", levels);
  for (uint8_t k = 0; k < THERMAL_CTL_LEVEL_NUM; ++k) {
    uint8_t low = 0, high = 0, dcoff = 0;
    radio_config_thermalLevelCfg(k, &low, &high, &dcoff);
    cJSON *l = cJSON_CreateObject();
    add_num(l, "low", low);
    add_num(l, "high", high);
    add_num(l, "dcoff", dcoff);
    cJSON_AddItemToArray(levels, l);
  }
  cJSON *bb = add_obj(r, "baseband");
  uint32_t v[3] = {};
  radio_config_bbCCARegVal(1, v);
  cJSON *cca = add_obj(bb, "cca");
  add_bool(cca, "supported", radio_config_bbCCASupp());
  add_num(cca, "value", v[0]);
  radio_config_bbAGCRegVal(2, v);
  cJSON *agc = add_obj(bb, "agc");
  add_bool(agc, "supported", radio_config_bbAGCSupp());
  cJSON_AddItemToObject(agc, "values", cJSON_CreateDoubleArray(std::data({double(v[0]), double(v[1])}), 2));
  radio_config_bbPSDRegVal(3, v);
  cJSON *psd = add_obj(bb, "psd");
  add_bool(psd, "supported", radio_config_bbPSDSupp());
  const double psd_values[3] = {double(v[0]), double(v[1]), double(v[2])};
  cJSON_AddItemToObject(psd, "values", cJSON_CreateDoubleArray(psd_values, 3));

  radio_capacity_t caps[MAX_RADIO_NUM] = {};
  radio_config_get_capacity(caps);
  cJSON *radios = cJSON_CreateArray();
  cJSON_AddItemToObject(r, "radios", radios);
  for (uint32_t rid = 0; rid < MAX_RADIO_NUM; ++rid) {
    cJSON *x = cJSON_CreateObject();
    add_num(x, "radio", rid);
    add_num(x, "band", radio_config_getBand(rid));
    const char *ifname = radio_config_getIfname(rid), *prefix = radio_config_getVapPrefix(rid);
    add_str(x, "ifname", ifname ? std::string(ifname, strnlen(ifname, 16)).c_str() : "");
    add_str(x, "vapPrefix", prefix ? prefix : "");
    add_num(x, "ifindex", radio_config_getIfindex(rid));
    add_num(x, "mimo", radio_config_getMimo(rid));
    add_num(x, "mimoGain", radio_config_getMimoGain(rid));
    add_num(x, "antennaGain", radio_config_getAnttGain(rid));
    add_num(x, "modeCap", radio_config_getModeCap(rid));
    add_num(x, "maxModeCap", radio_config_getMaxModeCap(rid));
    add_num(x, "maxMode", static_cast<int32_t>(radio_config_getMaxMode(rid)));
    const uint32_t width = radio_config_getMaxChanWidth(rid);
    add_num(x, "maxChanWidth", static_cast<int32_t>(width));
    add_num(x, "autoChanWidth", static_cast<int32_t>(radio_config_getMaxAutoChanWidth(rid, width)));
    add_num(x, "maxVapNum", radio_config_getMaxVapNum(rid));
    add_num(x, "smartAnt", radio_config_smartAntennaSupp(rid));
    add_num(x, "blockAcsBand", radio_config_getBlockAcsBand(rid));
    add_num(x, "blockSpruceBand4", radio_config_getBlockSpruceBand4(rid));
    add_num(x, "minPower", caps[rid].minPower);
    add_num(x, "maxPower", caps[rid].maxPower);
    cJSON_AddItemToArray(radios, x);
  }
  return r;
}

std::string flag_names(const radio_chan_rec_t &c) {
  std::string f;
  auto add = [&](bool on, const char *name) {
    if (on) f += (f.empty() ? "" : " ") + std::string(name);
  };
  add(c.commonFlag & REGION_FLAG_HT20, "HT20");
  add(c.commonFlag & (REGION_FLAG_HT40_A | REGION_FLAG_HT40_B), "HT40");
  add((c.commonFlag & (REGION_FLAG_VHT80 | REGION_FLAG_5G)) == (REGION_FLAG_VHT80 | REGION_FLAG_5G), "VHT80");
  add(c.commonFlag & REGION_FLAG_5G, "5G");
  if (c.extFlag & REGION_EXT_DFS) f += (f.empty() ? "" : " ") + std::string(c.extFlag & REGION_EXT_DFS_ENABLED ? "DFS" : "DFS-inactive");
  add(c.extFlag & REGION_EXT_WRADAR, "WRADAR");
  add(c.extFlag & REGION_EXT_DFS_CLASS1, "DFS-class1");
  add(c.extFlag & REGION_EXT_DFS_CLASS2, "DFS-class2");
  return f;
}

cJSON *region_section(int code) {
  cJSON *reg = cJSON_CreateObject();
  add_num(reg, "code", code);
  add_bool(reg, "5G", radio_region_is5GSupp());
  add_bool(reg, "dfs", radio_region_isDfsSupp());
  add_bool(reg, "weatherRadar", radio_region_isWradarSupp());
  add_num(reg, "dfsCapability", radio_region_getDFSCap());
  cJSON *radios = cJSON_CreateArray();
  cJSON_AddItemToObject(reg, "radios", radios);
  for (uint32_t rid = 0; rid < MAX_RADIO_NUM; ++rid) {
    radio_region_tbl_t t;
    if (radio_region_getRegionFlags(rid, &t) != 0) continue;
    cJSON *x = cJSON_CreateObject();
    add_num(x, "radio", rid);
    add_bool(x, "ht40", radio_region_isHT40Supp(rid));
    add_bool(x, "vht80", radio_region_isVHT80Supp(rid));
    cJSON *chans = cJSON_CreateArray();
    cJSON_AddItemToObject(x, "channels", chans);
    for (uint32_t k = 0; k < t.chanNum; ++k) {
      cJSON *c = cJSON_CreateObject();
      add_num(c, "index", k + 1);
      add_num(c, "channel", t.chanRec[k].chan);
      add_num(c, "freq", t.chanRec[k].freq);
      add_num(c, "maxPower", t.chanRec[k].maxPower);
      add_str(c, "flags", flag_names(t.chanRec[k]).c_str());
      cJSON_AddItemToArray(chans, c);
    }
    cJSON_AddItemToArray(radios, x);
  }
  return reg;
}

// Text rendering of the tree: objects of a few scalars on one line (a
// channel, a port), others as indented blocks.
bool flat(const cJSON *o) {
  int n = 0;
  for (const cJSON *c = o->child; c; c = c->next, ++n)
    if (c->type == cJSON_Object || c->type == cJSON_Array) return false;
  return n <= 6 || (o->string == nullptr);
}

std::string scalar(const cJSON *c) {
  char *s = cJSON_PrintUnformatted(const_cast<cJSON *>(c));
  std::string out = s ? s : "";
  std::free(s);
  if (c->type == cJSON_String) out = c->valuestring;
  return out;
}

void render(const cJSON *o, int depth) {
  const std::string pad(static_cast<size_t>(2 * depth), ' ');
  for (const cJSON *c = o->child; c; c = c->next) {
    const std::string label = c->string ? std::string(c->string) + ":" : "-";
    if (c->type == cJSON_Object && flat(c)) {
      std::printf("%s%s", pad.c_str(), label.c_str());
      for (const cJSON *f = c->child; f; f = f->next) std::printf(" %s=%s", f->string, scalar(f).c_str());
      std::printf("\n");
    } else if (c->type == cJSON_Object || (c->type == cJSON_Array && c->child && c->child->type >= cJSON_Array)) {
      std::printf("%s%s\n", pad.c_str(), label.c_str());
      render(c, depth + 1);
    } else {
      std::printf("%s%s %s\n", pad.c_str(), label.c_str(), scalar(c).c_str());
    }
  }
}

// The REG_DOMAIN file of a radio that has no block for the region: the
// library loads the radio with no channels and says nothing.
std::string missing_block(const std::string &root, int code) {
  std::string missing;
  const std::string dir = model_dir();
  for (uint32_t rid = 0; rid < MAX_RADIO_NUM; ++rid) {
    const uint32_t band = radio_config_getBand(rid);
    const bool five = band == RADIO_BAND_5G || band == RADIO_BAND_5G_2;
    const RegDomainFile file = scan_reg_domain(root, dir, five, nullptr);
    if (file.readable && !file.find(code))
      missing += "aputil-info: " + file.device_path + " has no region " + std::to_string(code) + ": radio " +
                 std::to_string(rid) + " has no channels\n";
  }
  return missing;
}

}  // namespace

int show(const Options &o) {
  if (quietly([] { return devcfg_testFunc(); }) < 0) {
    std::fprintf(stderr, "aputil-info: the device configuration does not load\n");
    return kExitFailed;
  }
  if (!quietly([] { return radio_config_getMeshBkhapIfname(); })) {
    std::fprintf(stderr, "aputil-info: the radio configuration does not load\n");
    return kExitFailed;
  }
  cJSON *root = cJSON_CreateObject();
  add_str(root, "modelDirectory", model_dir().c_str());
  cJSON_AddItemToObject(root, "device", device_section());
  cJSON_AddItemToObject(root, "ports", ports_section());
  cJSON_AddItemToObject(root, "paths", paths_section());
  const int code = o.region_given ? o.region : static_cast<int>(radio_config_getSpecRegionCode());
  const bool region_ok = radio_region_init(code) == 0;
  cJSON_AddItemToObject(root, "radio", radio_section());  // after the region: capacity needs it
  if (region_ok) cJSON_AddItemToObject(root, "region", region_section(code));
  if (o.json) {
    char *text = cJSON_Print(root);
    std::printf("%s\n", text ? text : "null");
    std::free(text);
  } else {
    render(root, 0);
  }
  cJSON_Delete(root);
  if (!region_ok) {
    std::fprintf(stderr, "aputil-info: no regulatory tables for region %d\n", code);
    return kExitFailed;
  }
  const std::string missing = missing_block(o.root, code);
  std::fputs(missing.c_str(), stderr);
  return missing.empty() ? 0 : kExitFailed;
}

void print_library_lines(const std::string &captured) {
  std::string text = captured;
  // "<error>...", "<debug>..." begin a message wherever they stand.
  for (size_t at = 1; (at = text.find('<', at)) != std::string::npos; ++at)
    if (text[at - 1] != '\n' && (text.compare(at, 7, "<error>") == 0 || text.compare(at, 7, "<debug>") == 0))
      text.insert(at++, 1, '\n');
  if (!text.empty() && text.back() != '\n') text += '\n';
  std::fputs(text.c_str(), stderr);
}

}  // namespace aputil::info
