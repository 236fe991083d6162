#include "aputil-info/lint_keys.h"

#include <strings.h>

#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "cJSON.h"

namespace aputil::info {

namespace {

enum class Type { kBool, kNumber, kString, kObject, kArray };

// One key: its type, and for a number its range, for a string the
// characters the loader keeps, for an object its keys, for an array the
// exact element count and the keys of each element (object elements) or
// nothing (string elements).
struct Key {
  std::string name;
  Type type;
  long lo = INT_MIN, hi = INT_MAX;
  size_t max_len = 0;
  bool required = false;
  std::vector<Key> children{};
  int count = 0;
  Type element = Type::kObject;
};

Key boolean(const char *name, bool required = false) { return {name, Type::kBool, 0, 0, 0, required}; }
Key number(const char *name, long lo = INT_MIN, long hi = INT_MAX, bool required = false) {
  return {name, Type::kNumber, lo, hi, 0, required};
}
Key string(const char *name, size_t max_len, bool required = false) {
  return {name, Type::kString, 0, 0, max_len, required};
}
Key object(const char *name, std::vector<Key> children, bool required = false) {
  return {name, Type::kObject, 0, 0, 0, required, std::move(children)};
}
Key array(const char *name, int count, Type element, std::vector<Key> children = {}, bool required = false) {
  Key k{name, Type::kArray, 0, 0, 0, required, std::move(children)};
  k.count = count, k.element = element;
  return k;
}

const char *type_name(int t) {
  switch (t) {
    case cJSON_False:
    case cJSON_True: return "a boolean";
    case cJSON_NULL: return "null";
    case cJSON_Number: return "a number";
    case cJSON_String: return "a string";
    case cJSON_Array: return "an array";
    default: return "an object";
  }
}

bool has_type(const cJSON *item, Type t) {
  switch (t) {
    case Type::kBool: return item->type == cJSON_True || item->type == cJSON_False;
    case Type::kNumber: return item->type == cJSON_Number;
    case Type::kString: return item->type == cJSON_String;
    case Type::kArray: return item->type == cJSON_Array;
    default: return item->type == cJSON_Object;
  }
}

const char *wanted_name(Type t) {
  switch (t) {
    case Type::kBool: return "a boolean";
    case Type::kNumber: return "a number";
    case Type::kString: return "a string";
    case Type::kArray: return "an array";
    default: return "an object";
  }
}

class Checker {
 public:
  Checker(const std::string &file, Findings *out) : file_(file), out_(out) {}

  void object(const cJSON *obj, const std::vector<Key> &keys, const std::string &path) {
    // Every member: known, spelled as the loader expects, given once.
    for (const cJSON *m = obj->child; m; m = m->next) {
      const std::string name = m->string ? m->string : "";
      const Key *k = find(keys, name);
      for (const cJSON *e = obj->child; e != m; e = e->next)
        if (e->string && strcasecmp(e->string, name.c_str()) == 0) {
          out_->warning(file_, "given again; the loader reads only the first", 0, join(path, name));
          break;
        }
      if (!k)
        out_->warning(file_, "unknown key; the loader ignores it", 0, join(path, name));
      else if (k->name != name)
        out_->warning(file_, "spelled differently from \"" + k->name + "\" (the loader's lookup ignores case)", 0,
                      join(path, name));
    }
    for (const Key &k : keys) {
      const cJSON *item = lookup(obj, k.name);
      if (!item) {
        if (k.required) out_->error(file_, "missing; the loader refuses the file without it", 0, join(path, k.name));
        continue;
      }
      value(item, k, join(path, k.name));
    }
  }

  void value(const cJSON *item, const Key &k, const std::string &path) {
    if (!has_type(item, k.type)) {
      out_->error(file_, std::string(type_name(item->type)) + " where " + wanted_name(k.type) + " belongs; the loader " +
                             (k.required ? "refuses the file" : "treats it as absent"),
                  0, path);
      return;
    }
    switch (k.type) {
      case Type::kNumber: {
        const double v = item->valuedouble;
        if (v != std::floor(v))
          out_->error(file_, "not a whole number; the loader uses " + std::to_string(item->valueint), 0, path);
        else if (v < static_cast<double>(k.lo) || v > static_cast<double>(k.hi))
          out_->error(file_, number_text(v) + " is out of range (" + std::to_string(k.lo) + " to " +
                                 std::to_string(k.hi) + ")", 0, path);
        break;
      }
      case Type::kString:
        if (std::strlen(item->valuestring) > k.max_len)
          out_->error(file_, std::to_string(std::strlen(item->valuestring)) + " characters, over the limit of " +
                                 std::to_string(k.max_len) + " (the loader cuts it)",
                      0, path);
        break;
      case Type::kObject: object(item, k.children, path); break;
      case Type::kArray: {
        const int n = cJSON_GetArraySize(const_cast<cJSON *>(item));
        if (k.count && n != k.count) {
          out_->error(file_, std::to_string(n) + " elements where the loader needs exactly " + std::to_string(k.count),
                      0, path);
          break;
        }
        int index = 0;
        for (const cJSON *e = item->child; e; e = e->next, ++index) {
          const std::string at = path + "[" + std::to_string(index) + "]";
          if (k.element == Type::kObject && e->type == cJSON_Object)
            object(e, k.children, at);
          else if (k.element == Type::kString && e->type == cJSON_String)
            hex_value(e, at);
          else
            out_->error(file_, std::string(type_name(e->type)) + " where " + wanted_name(k.element) + " belongs", 0, at);
        }
        break;
      }
      case Type::kBool: break;
    }
  }

  // A register value: hexadecimal, with or without 0x, within 32 bits.
  void hex_value(const cJSON *e, const std::string &path) {
    const char *text = e->valuestring;
    const char *digits = (text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) ? text + 2 : text;
    char *end = nullptr;
    const unsigned long long v = std::strtoull(digits, &end, 16);
    if (!*digits || *end || digits[0] == '-' || digits[0] == '+' || v > 0xffffffffULL)
      out_->error(file_, "\"" + std::string(text) + "\" is not a 32-bit hexadecimal value", 0, path);
  }

  const std::string &file() const { return file_; }
  Findings *out() const { return out_; }

  static const cJSON *lookup(const cJSON *obj, const std::string &name) {
    for (const cJSON *m = obj->child; m; m = m->next)
      if (m->string && strcasecmp(m->string, name.c_str()) == 0) return m;
    return nullptr;
  }

 private:
  static const Key *find(const std::vector<Key> &keys, const std::string &name) {
    for (const Key &k : keys)
      if (strcasecmp(k.name.c_str(), name.c_str()) == 0) return &k;
    return nullptr;
  }
  static std::string join(const std::string &path, const std::string &name) {
    return path.empty() ? name : path + "." + name;
  }
  static std::string number_text(double v) {
    return std::fabs(v) < 1e15 ? std::to_string(static_cast<long long>(v)) : std::to_string(v);
  }

  std::string file_;
  Findings *out_;
};

// Parses the whole text (the part past the loader's limit too, so that
// the keys are checked whatever the size). Returns: the tree, or nullptr
// after a finding with the line and byte offset of the syntax error.
cJSON *parse(const std::string &file, const std::string &text, size_t limit, Findings *out) {
  if (text.size() > limit) {
    cJSON *cut = cJSON_Parse(text.substr(0, limit).c_str());
    out->error(file, std::to_string(text.size()) + " bytes, over the loader's limit of " + std::to_string(limit) +
                         " bytes: " + (cut ? "what follows is never read" : "the device reads a cut text that is not JSON"),
               0, "", static_cast<long>(limit));
    cJSON_Delete(cut);
  }
  cJSON *root = cJSON_Parse(text.c_str());
  if (!root) {
    const char *at = cJSON_GetErrorPtr();
    long offset = at && at >= text.c_str() && at <= text.c_str() + text.size() ? at - text.c_str() : -1;
    int line = 1;
    for (long i = 0; i < offset; ++i) line += text[static_cast<size_t>(i)] == '\n';
    out->error(file, "not valid JSON", offset >= 0 ? line : 0, "", offset);
    return nullptr;
  }
  if (root->type != cJSON_Object) {
    out->error(file, std::string("the top level is ") + type_name(root->type) + ", not an object");
    cJSON_Delete(root);
    return nullptr;
  }
  return root;
}

std::vector<Key> dev_config_keys() {
  std::vector<Key> lan = {
      number("dlPortNum", 0, 4, true),
      number("dlPortStartIdxOffset", 0),
      string("dlPortIfName", 31),
      boolean("poeOutSupp"),
      number("poeOutBitMap", 0, 15),
      number("ulPortPhyId", 0),
      string("ulPortAliasName", 31, true),
      string("ulPortIfName", 31, true),
      number("ulPortLinkStateMask", 0),
      number("ulPortInSwitch", 0, 255),
      string("ulPortLogicalIfName", 31),
      string("phyType", 63),
  };
  for (int n = 1; n <= 4; ++n) {
    const std::string port = "dlPort" + std::to_string(n);
    lan.push_back(number((port + "PhyId").c_str(), 0));
    lan.push_back(string((port + "AliasName").c_str(), 32));
    lan.push_back(string((port + "LogicalIfName").c_str(), 32));
  }
  return {
      object("vlanbind", {boolean("supp"), number("ucCfgVer", 1, 2)}),
      object("lanport", lan, true),
      object("hwWatchDog", {boolean("supp")}),
      object("cloudCtrl", {boolean("supp"), boolean("cfgSupp"), string("micType", 63)}),
      boolean("cliSetCcSupp"),
      object("wifiLed", {boolean("supp"), boolean("dftEnable")}),
      boolean("rcOptimizeSupp"),
      boolean("disasterSupp"),
      object("misc", {number("defTimeZone"), number("ctrlCustomRegion", 0, 65535)}),
      object("proFeatures", {boolean("ppskProSupp")}),
      boolean("orvelFeatures"),
      object("repeaterSupp", {boolean("supp")}),
      boolean("bleSupp"),
      number("ddrSize", 0),
      boolean("smartAntSupp"),
      number("poePowerConsumption", 0),
  };
}

std::vector<Key> radio_config_keys() {
  const std::vector<Key> radio = {
      number("band", 2, 52, true), number("mimo", 1, 8, true), number("anttgain", -10, 30, true),
      number("mode", 1, 31, true), number("modeCap", 0), number("ifindex", 0),
      number("blockAcsBand", 0), number("blockSpruceBand4", 0), string("ifname", 15),
      string("vapPrefix", 15), number("maxVapNum", 1, 255), number("smartAnt", 0, 1),
  };
  const std::vector<Key> level = {number("low", 0, 255, true), number("high", 0, 255, true),
                                  number("dcoff", 0, 255, true)};
  auto bbreg = [](const char *name, int count) {
    return object(name, {boolean("supp"), array("regVal", count, Type::kString)});
  };
  return {
      boolean("EIRP", true),
      number("maxStaPerRadio", 1, 512),
      array("radioTable", 2, Type::kObject, radio, true),
      boolean("chanLimitSupp"),
      boolean("dfsImproveSupp"),
      boolean("dfsCfgSupp"),
      boolean("dfsUSSupp"),
      boolean("n1024QAMSupp"),
      object("thermalCtl", {boolean("supp"), array("levels", 4, Type::kObject, level)}),
      object("BBRegCfg", {bbreg("BBRegCCAB0", 1), bbreg("BBRegAGC", 2), bbreg("BBRegPSD", 3)}),
      boolean("ofdmaCfgSupp"),
      boolean("ofdmaEnable"),
      boolean("noAutoWradarSupp"),
      boolean("zeroWaitDfsSupp"),
      boolean("fragThreshSupp"),
      string("meshBkhapIfname", 15),
      string("meshStaIfname", 15),
      number("specCARegionCode", 0, 65535),
      number("specRegionCode", 0, 65535),
      boolean("ovWriteCtl"),
  };
}

bool is_true(const cJSON *obj, const char *name) {
  const cJSON *item = obj ? Checker::lookup(obj, name) : nullptr;
  return item && item->type == cJSON_True;
}

}  // namespace

bool lint_dev_config(const std::string &device_path, const std::string &text, Findings *out) {
  cJSON *root = parse(device_path, text, kDevConfigLimit, out);
  if (!root) return false;
  Checker check(device_path, out);
  check.object(root, dev_config_keys(), "");
  // What the loader reads only under conditions.
  const cJSON *vlan = Checker::lookup(root, "vlanbind");
  if (is_true(vlan, "supp") && !Checker::lookup(vlan, "ucCfgVer"))
    out->error(device_path, "missing while vlanbind.supp is true; the loader refuses the file", 0, "vlanbind.ucCfgVer");
  const cJSON *cloud = Checker::lookup(root, "cloudCtrl");
  if (is_true(cloud, "supp") && !Checker::lookup(cloud, "micType"))
    out->error(device_path, "missing while cloudCtrl.supp is true; the loader refuses the file", 0, "cloudCtrl.micType");
  if (const cJSON *lan = Checker::lookup(root, "lanport"); lan && lan->type == cJSON_Object) {
    const cJSON *num = Checker::lookup(lan, "dlPortNum");
    const int ports = num && num->type == cJSON_Number ? num->valueint : 0;
    for (const cJSON *m = lan->child; m; m = m->next) {
      int port = 0;
      if (m->string && std::sscanf(m->string, "dlPort%d", &port) == 1 && port > ports && port <= 4)
        out->warning(device_path, "not read: dlPortNum is " + std::to_string(ports), 0, std::string("lanport.") + m->string);
    }
    const cJSON *poe = Checker::lookup(lan, "poeOutSupp");
    if (Checker::lookup(lan, "poeOutBitMap") && !(poe && (poe->type == cJSON_True || poe->type == cJSON_False)))
      out->warning(device_path, "not read: poeOutSupp is not a boolean", 0, "lanport.poeOutBitMap");
    const cJSON *phy = Checker::lookup(lan, "phyType");
    if (phy && phy->type == cJSON_String && std::strncmp(phy->valuestring, "AR8033", 6) != 0 &&
        std::strncmp(phy->valuestring, "RTL8211", 7) != 0)
      out->error(device_path, "\"" + std::string(phy->valuestring) +
                                  "\" is no supported PHY (AR8033..., RTL8211...); the loader prints an error and "
                                  "records none", 0, "lanport.phyType");
  }
  if (const cJSON *ddr = Checker::lookup(root, "ddrSize"); ddr && ddr->type == cJSON_Number && ddr->valueint == 0)
    out->warning(device_path, "0 reads as not given", 0, "ddrSize");
  cJSON_Delete(root);
  return true;
}

bool lint_radio_config(const std::string &device_path, const std::string &text, Findings *out) {
  cJSON *root = parse(device_path, text, kRadioConfigLimit, out);
  if (!root) return false;
  Checker check(device_path, out);
  check.object(root, radio_config_keys(), "");
  if (const cJSON *table = Checker::lookup(root, "radioTable"); table && table->type == cJSON_Array) {
    int index = 0;
    for (const cJSON *r = table->child; r; r = r->next, ++index) {
      const cJSON *band = r->type == cJSON_Object ? Checker::lookup(r, "band") : nullptr;
      if (band && band->type == cJSON_Number && band->valueint != 2 && band->valueint != 5 && band->valueint != 52)
        out->error(device_path, std::to_string(band->valueint) + " is no band (2, 5 or 52); the radio counts as neither",
                   0, "radioTable[" + std::to_string(index) + "].band");
    }
  }
  if (Checker::lookup(root, "specCARegionCode") && Checker::lookup(root, "specRegionCode"))
    out->warning(device_path, "not read: specCARegionCode is given and wins", 0, "specRegionCode");
  cJSON_Delete(root);
  return true;
}

}  // namespace aputil::info
