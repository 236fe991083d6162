// Loading radio_config.json into l_radioCfgTbl.
//
// Choices where the file format leaves room: a missing "radioTable" fails
// like a wrong element count (line 482); the "supp" flags, the level count
// and the thermal values keep their low 8 bits, as the device stores them.
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "cJSON.h"
#include "common/host_root.h"
#include "common/messages.h"
#include "devcfg.h"
#include "radio/radio_config_table.h"

namespace aputil::radio {

RadioCfgTbl l_radioCfgTbl;

// The per-radio records are visible to callers through field pointers.
static_assert(sizeof(RadioCfg) == 80);
static_assert(offsetof(RadioCfg, ifname) == 44 && offsetof(RadioCfg, maxVapNum) == 76);
static_assert(offsetof(RadioCfgTbl, radio) == 16);
static_assert(offsetof(RadioCfgTbl, chanLimitSupp) == 176);
static_assert(offsetof(RadioCfgTbl, bbCCARegVal) == 184);
static_assert(offsetof(RadioCfgTbl, bbPSDRegVal) == 192);
static_assert(offsetof(RadioCfgTbl, bbAGCRegVal) == 208);
static_assert(offsetof(RadioCfgTbl, thermalLevel) == 217);
static_assert(offsetof(RadioCfgTbl, meshBkhapIfname) == 234);
static_assert(offsetof(RadioCfgTbl, specRegionCode) == 268);
static_assert(sizeof(RadioCfgTbl) == 276);

namespace {

char g_text[1025];
const char kLoader[] = "l_radio_config_init";
const char kNumberCond[] = "(NULL != pTmp && pTmp->type == cJSON_Number)";

cJSON *typed(cJSON *obj, const char *name, int type) {
  cJSON *item = cJSON_GetObjectItem(obj, name);
  return (item && item->type == type) ? item : nullptr;
}

cJSON *boolean(cJSON *obj, const char *name) {
  cJSON *item = cJSON_GetObjectItem(obj, name);
  return (item && (item->type == cJSON_True || item->type == cJSON_False)) ? item : nullptr;
}

// An optional boolean or number: its integer value, or the default.
template <typename Field>
void optional_bool(cJSON *obj, const char *name, Field &field, Field dflt) {
  const cJSON *b = boolean(obj, name);
  field = b ? static_cast<Field>(b->valueint) : dflt;
}

template <typename Field>
void optional_number(cJSON *obj, const char *name, Field &field, Field dflt) {
  const cJSON *n = typed(obj, name, cJSON_Number);
  field = n ? static_cast<Field>(n->valueint) : dflt;
}

void optional_string(cJSON *obj, const char *name, char *field, size_t keep, const char *dflt) {
  const cJSON *s = typed(obj, name, cJSON_String);
  std::strncpy(field, s ? s->valuestring : dflt, keep);
}

uint32_t mimo_gain(uint32_t mimo) {
  switch (mimo) {
    case 2: return 3;
    case 3: return 5;
    case 4: return 6;
    default: return 0;
  }
}

// One radio of "radioTable"; counts its band into n2g / n5g.
bool read_radio(cJSON *table, uint32_t i, unsigned &n2g, unsigned &n5g) {
  cJSON *pItem = cJSON_GetArrayItem(table, static_cast<int>(i));
  if (NULL == pItem) {
    print_condition(kLoader, 487, "(NULL != pItem)");
    return false;
  }
  RadioCfg &r = l_radioCfgTbl.radio[i];
  r.radioID = i;
  const struct {
    const char *key;
    uint32_t *field;
    int line;
  } required[] = {{"band", &r.band, 492}, {"mimo", &r.mimo, 516}, {"anttgain", &r.anttgain, 538}, {"mode", &r.mode, 542}};
  for (const auto &q : required) {
    const cJSON *pTmp = typed(pItem, q.key, cJSON_Number);
    if (!pTmp) {
      print_condition(kLoader, q.line, kNumberCond);
      return false;
    }
    *q.field = static_cast<uint32_t>(pTmp->valueint);
    if (q.field == &r.mimo) r.mimogain = mimo_gain(r.mimo);
  }
  if (r.band == RADIO_BAND_2G) ++n2g;
  if (r.band == RADIO_BAND_5G || r.band == RADIO_BAND_5G_2) ++n5g;

  optional_number(pItem, "modeCap", r.modeCap, r.band == RADIO_BAND_2G ? 52u : 116u);
  optional_number(pItem, "ifindex", r.ifindex, i);
  optional_number(pItem, "blockAcsBand", r.blockAcsBand, 0u);
  optional_number(pItem, "blockSpruceBand4", r.blockSpruceBand4, 0u);
  optional_string(pItem, "ifname", r.ifname, sizeof r.ifname, "");  // 16 characters: no NUL, as on the device
  optional_string(pItem, "vapPrefix", r.vapPrefix, sizeof r.vapPrefix - 1, "");
  optional_number(pItem, "maxVapNum", r.maxVapNum, 8u);
  optional_number(pItem, "smartAnt", r.smartAnt, 0u);
  return true;
}

// Thermal section: never fails the load, only leaves thermalSupp at 0.
void read_thermal(cJSON *root) {
  const char kFunc[] = "_radio_thermal_cfg_parse";
  RadioCfgTbl &t = l_radioCfgTbl;
  t.thermalSupp = 0;
  cJSON *ctl = cJSON_GetObjectItem(root, "thermalCtl");
  if (!ctl) return;
  uint8_t supp = 0;
  optional_bool(ctl, "supp", supp, uint8_t{0});
  cJSON *levels = cJSON_GetObjectItem(ctl, "levels");
  if (!supp || !levels) {
    t.thermalSupp = supp;
    return;
  }
  const uint8_t levelNum = static_cast<uint8_t>(cJSON_GetArraySize(levels));
  if (levelNum != THERMAL_CTL_LEVEL_NUM) {
    print_condition(kFunc, 322, "(levelNum == THERMAL_CTL_LEVEL_NUM)");
    return;
  }
  for (int k = 0; k < THERMAL_CTL_LEVEL_NUM; ++k) {
    cJSON *pItem = cJSON_GetArrayItem(levels, k);
    if (NULL == pItem) {
      print_condition(kFunc, 327, "(NULL != pItem)");
      return;
    }
    ThermalLevel &lv = t.thermalLevel[k];
    const struct {
      const char *key;
      uint8_t *field;
      int line;
    } values[] = {{"low", &lv.low, 330}, {"high", &lv.high, 334}, {"dcoff", &lv.dcoff, 338}};
    for (const auto &v : values) {
      const cJSON *pVal = typed(pItem, v.key, cJSON_Number);
      if (!pVal) {
        print_condition(kFunc, v.line, "(NULL != pVal && pVal->type == cJSON_Number)");
        return;
      }
      *v.field = static_cast<uint8_t>(pVal->valueint);
    }
  }
  t.thermalSupp = supp;
}

}  // namespace

// One baseband register set of "BBRegCfg": its support flag, with the
// values in pRegSet.
uint8_t _bbreg_parse(cJSON *pRoot, const char *pRegName, uint8_t count, uint32_t *pRegSet) {
  const char kFunc[] = "_bbreg_parse";
  if (!(pRoot && pRegName && pRegSet)) {
    print_condition(kFunc, 360, "(pRoot && pRegName && pRegSet)");
    return 0;
  }
  cJSON *set = cJSON_GetObjectItem(pRoot, pRegName);
  if (!set) return 0;
  uint8_t supp = 0;
  optional_bool(set, "supp", supp, uint8_t{0});
  cJSON *values = typed(set, "regVal", cJSON_Array);
  if (!values) return supp;  // supported with no values: kept as the device does
  if (!supp) return 0;
  const uint8_t regnum = static_cast<uint8_t>(cJSON_GetArraySize(values));
  if (regnum != count) {
    print_condition(kFunc, 375, "(regnum == count)");
    return 0;
  }
  for (int i = 0; i < count; ++i) {
    cJSON *pItem = cJSON_GetArrayItem(values, i);
    if (!(NULL != pItem && cJSON_String == pItem->type)) {
      print_condition(kFunc, 380, "(NULL != pItem && cJSON_String == pItem->type)");
      return 0;
    }
    pRegSet[i] = static_cast<uint32_t>(std::strtoul(pItem->valuestring, nullptr, 16));
  }
  return supp;
}

namespace {

// Everything after the parse; false after a failed check.
bool read_table(cJSON *root) {
  RadioCfgTbl &t = l_radioCfgTbl;
  cJSON *pData = cJSON_GetObjectItem(root, "EIRP");
  if (!(NULL != pData && (pData->type == cJSON_True || pData->type == cJSON_False))) {
    print_condition(kLoader, 464, "(NULL != pData && (pData->type == cJSON_True || pData->type == cJSON_False))");
    return false;
  }
  t.EIRP = static_cast<uint32_t>(pData->valueint);

  t.maxStaPerRadio = -1;
  if (const cJSON *sta = typed(root, "maxStaPerRadio", cJSON_Number)) {
    t.maxStaPerRadio = sta->valueint;
    if (static_cast<uint32_t>(t.maxStaPerRadio) - 1 >= MAX_STA_PER_RADIO) {
      print_condition(kLoader, 473,
                      "((l_radioCfgTbl.maxStaPerRadio > 0) && (l_radioCfgTbl.maxStaPerRadio <= MAX_STA_PER_RADIO))");
      return false;
    }
  }

  cJSON *table = cJSON_GetObjectItem(root, "radioTable");
  const int count = table ? cJSON_GetArraySize(table) : -1;
  if (count != MAX_RADIO_NUM) {
    print_condition(kLoader, 482, "(count == MAX_RADIO_NUM)");
    return false;
  }
  unsigned n2g = 0, n5g = 0;
  for (uint32_t i = 0; i < MAX_RADIO_NUM; ++i)
    if (!read_radio(table, i, n2g, n5g)) return false;
  t.radioType = n2g | (n5g << 4);

  optional_bool(root, "chanLimitSupp", t.chanLimitSupp, uint8_t{0});
  optional_bool(root, "dfsImproveSupp", t.dfsImproveSupp, uint8_t{0});
  optional_bool(root, "dfsCfgSupp", t.dfsCfgSupp, uint8_t{1});
  optional_bool(root, "dfsUSSupp", t.dfsUSSupp, uint8_t{0});
  optional_bool(root, "n1024QAMSupp", t.n1024QAMSupp, uint8_t{0});

  read_thermal(root);
  if (cJSON *bb = cJSON_GetObjectItem(root, "BBRegCfg")) {
    t.bbCCASupp = _bbreg_parse(bb, "BBRegCCAB0", 1, t.bbCCARegVal);
    t.bbAGCSupp = _bbreg_parse(bb, "BBRegAGC", 2, t.bbAGCRegVal);
    t.bbPSDSupp = _bbreg_parse(bb, "BBRegPSD", 3, t.bbPSDRegVal);
  }

  optional_bool(root, "ofdmaCfgSupp", t.ofdmaCfgSupp, uint8_t{0});
  optional_bool(root, "ofdmaEnable", t.ofdmaEnable, uint8_t{0});
  optional_bool(root, "noAutoWradarSupp", t.noAutoWradarSupp, uint8_t{0});
  optional_bool(root, "zeroWaitDfsSupp", t.zeroWaitDfsSupp, uint8_t{0});
  optional_bool(root, "fragThreshSupp", t.fragThreshSupp, uint8_t{1});
  optional_string(root, "meshBkhapIfname", t.meshBkhapIfname, sizeof t.meshBkhapIfname - 1, "bkhap1");
  optional_string(root, "meshStaIfname", t.meshStaIfname, sizeof t.meshStaIfname - 1, "sta1");
  if (const cJSON *ca = typed(root, "specCARegionCode", cJSON_Number))
    t.specRegionCode = static_cast<uint32_t>(ca->valueint);
  else
    optional_number(root, "specRegionCode", t.specRegionCode, uint32_t{RADIO_CONFIG_DEFAULT_REGION_CODE});
  optional_bool(root, "ovWriteCtl", t.ovWriteCtl, uint8_t{0});
  return true;
}

}  // namespace

int l_radio_config_init() {
  if (l_radioCfgTbl.initialised == 1) return 0;
  std::memset(&l_radioCfgTbl, 0, sizeof l_radioCfgTbl);

  char path[128] = "";
  devcfg_getRadioCfgPath(path, sizeof path);
  const long got = read_device_file(path, g_text, sizeof g_text - 1);
  if (got < 0) {
    print_condition(kLoader, 447, "(NULL != pFile)");
    return -1;
  }
  if (got == 0) {
    print_error(kLoader, 451, "failed to read file\n");
    return -1;
  }
  g_text[got] = '\0';

  cJSON *pRadioCfg = cJSON_Parse(g_text);
  if (NULL == pRadioCfg) {
    print_condition(kLoader, 461, "(NULL != pRadioCfg)");
    return -1;
  }
  const bool ok = read_table(pRadioCfg);
  if (ok) {
    l_radioCfgTbl.initialised = 1;
    debug_show_radio_cfg();
  }
  cJSON_Delete(pRadioCfg);
  return ok ? 0 : -1;
}

void reset_for_tests() { std::memset(&l_radioCfgTbl, 0, sizeof l_radioCfgTbl); }

}  // namespace aputil::radio
