// aputil-info plot: a region's channel plan as an SVG picture, one panel
// per radio, with the regulatory database's rules and lint's findings
// drawn over it; or, with --all-regions, every region on one page.
//
// The SVG is written by hand (plain XML text). Every drawn channel is a
// <rect class="bar ..."> carrying data-radio, data-channel and data-freq,
// so that the structure can be checked with an XML tool.
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "aputil-info/findings.h"
#include "aputil-info/info.h"
#include "aputil-info/regcheck.h"
#include "aputil-info/regdb.h"
#include "aputil-info/tree.h"
#include "devcfg.h"
#include "radio_config.h"
#include "radio_region.h"

namespace aputil::info {

namespace {

constexpr int kWidth = 1000, kLeft = 64, kRight = 24, kPlotHeight = 200;

std::string esc(const std::string &text) {
  std::string out;
  for (char c : text) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      default: out += c;
    }
  }
  return out;
}

std::string num(double v) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f", v);
  std::string s = text;
  if (s.size() > 2 && s.compare(s.size() - 2, 2, ".0") == 0) s.resize(s.size() - 2);
  return s;
}

struct Svg {
  std::string body;
  void add(const std::string &element) { body += element + "\n"; }
  void text(double x, double y, const std::string &t, const char *cls, const char *anchor = "middle") {
    add("<text class=\"" + std::string(cls) + "\" x=\"" + num(x) + "\" y=\"" + num(y) + "\" text-anchor=\"" + anchor +
        "\">" + esc(t) + "</text>");
  }
  std::string finish(int width, int height) const {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + std::to_string(width) + "\" height=\"" +
           std::to_string(height) + "\" viewBox=\"0 0 " + std::to_string(width) + " " + std::to_string(height) +
           "\" font-family=\"DejaVu Sans, Arial, sans-serif\">\n"
           "<style>\n"
           ".title{font-size:16px;font-weight:bold} .subtitle{font-size:12px;fill:#444}\n"
           ".axis{font-size:10px;fill:#333} .chan{font-size:9px;fill:#333} .label{font-size:11px}\n"
           ".bar{fill:#4a78b0;fill-opacity:0.5;stroke:#24446b;stroke-width:0.8}\n"
           ".bar.dfs{fill:url(#dfs-hatch);fill-opacity:1} .bar.wradar{fill:url(#wradar-hatch);fill-opacity:1}\n"
           ".bar.finding{stroke:#d00000;stroke-width:2.2} .bar.wide{fill-opacity:0.12}\n"
           ".mark{font-size:13px;font-weight:bold;fill:#d00000}\n"
           ".rule{fill:none;stroke:#1a9850;stroke-width:2} .dfs-range{fill:#f4a582;fill-opacity:0.25}\n"
           ".bracket{fill:none;stroke-width:1.4} .ht40{stroke:#6a3d9a} .vht80{stroke:#333}\n"
           ".core{fill:#24446b} .core.dfs{fill:#24446b} .core.wradar{fill:#d94801} .clipped{font-size:10px;fill:#d00000}\n"
           ".row-bg{fill:#f0f0f0} .note{font-size:11px;fill:#d00000}\n"
           ".grid{stroke:#ddd;stroke-width:0.6} .frame{fill:none;stroke:#888;stroke-width:0.8}\n"
           ".cell{stroke:#fff;stroke-width:1} .cell.finding{stroke:#d00000;stroke-width:2}\n"
           ".dot{fill:#1b1b1b;stroke:#fff;stroke-width:0.8}\n"
           "</style>\n"
           "<defs>\n"
           "<pattern id=\"dfs-hatch\" patternUnits=\"userSpaceOnUse\" width=\"6\" height=\"6\" "
           "patternTransform=\"rotate(45)\"><rect width=\"6\" height=\"6\" fill=\"#9ecae1\"/>"
           "<line x1=\"0\" y1=\"0\" x2=\"0\" y2=\"6\" stroke=\"#24446b\" stroke-width=\"3\"/></pattern>\n"
           "<pattern id=\"wradar-hatch\" patternUnits=\"userSpaceOnUse\" width=\"6\" height=\"6\" "
           "patternTransform=\"rotate(45)\"><rect width=\"6\" height=\"6\" fill=\"#fdd0a2\"/>"
           "<line x1=\"0\" y1=\"0\" x2=\"0\" y2=\"6\" stroke=\"#d94801\" stroke-width=\"3\"/></pattern>\n"
           "</defs>\n"
           "<rect width=\"100%\" height=\"100%\" fill=\"#fff\"/>\n" +
           body + "</svg>\n";
  }
};

bool five_ghz_radio(uint32_t rid) {
  const uint32_t band = radio_config_getBand(rid);
  return band == RADIO_BAND_5G || band == RADIO_BAND_5G_2;
}

bool active_dfs(const radio_chan_rec_t &c) { return (c.extFlag & REGION_EXT_DFS) != 0; }
bool weather(const radio_chan_rec_t &c) { return active_dfs(c) && (c.extFlag & REGION_EXT_WRADAR); }

// The frequencies a radio's panel spans; channels outside are listed, not drawn.
bool in_band(bool five, int freq) { return five ? freq >= 4900 && freq <= 5925 : freq >= 2400 && freq <= 2500; }

// What the database says, for the title and the overlay.
struct Regulatory {
  const RegDb *db = nullptr;
  const std::map<int, std::string> *iso = nullptr;
  std::string file;
};

std::string country_of(const Regulatory &reg, int code) {
  if (!reg.iso) return "";
  const auto it = reg.iso->find(code);
  return it == reg.iso->end() ? "" : it->second;
}

std::string database_line(const Regulatory &reg) {
  return "regulatory database " + reg.file + " (format " + std::to_string(reg.db->version) + ", " +
         std::to_string(reg.db->countries.size()) + " countries)";
}

// The findings lint gives, tied to the radio they concern: the regulatory
// check's carry their radio; the REG_DOMAIN file's go to the radio that
// reads the file.
bool concerns(const Finding &f, uint32_t rid) {
  if (f.file.empty()) return f.radio == static_cast<int>(rid);
  const bool five_file = f.file.size() >= 11 && f.file.compare(f.file.size() - 11, 11, "REG_DOMAIN5") == 0;
  return five_file == five_ghz_radio(rid);
}

std::string plural(int n, const char *noun) { return std::to_string(n) + " " + noun + (n == 1 ? "" : "s"); }

// The x scale of one panel.
struct Scale {
  int lo, hi;  // MHz
  double x0, x1;
  double x(double mhz) const { return x0 + (mhz - lo) * (x1 - x0) / (hi - lo); }
};

// Brackets in rows, so that overlapping (or touching) ones stay apart.
struct BracketRows {
  std::vector<std::vector<std::pair<int, int>>> rows;
  int place(int lo, int hi) {
    for (size_t r = 0; r < rows.size(); ++r)
      if (std::none_of(rows[r].begin(), rows[r].end(), [&](auto &b) { return lo <= b.second && b.first <= hi; })) {
        rows[r].push_back({lo, hi});
        return static_cast<int>(r);
      }
    rows.push_back({{lo, hi}});
    return static_cast<int>(rows.size() - 1);
  }
};

struct Panel {
  uint32_t rid;
  const radio_region_tbl_t *t;
  double gain;  // added to the table's powers when they are conducted
  bool eirp;
  double ymax;
  const RegCountry *country;
  const std::vector<Finding> *findings;  // the region's, any radio
};

// One radio's panel at vertical offset top; returns its height.
int panel(Svg &svg, int top, const Panel &p) {
  const radio_region_tbl_t &t = *p.t;
  const bool five = five_ghz_radio(p.rid);
  int lo = five ? 5150 : 2400, hi = five ? 5895 : 2500;
  std::string off_band, notes;
  for (uint32_t k = 0; k < t.chanNum; ++k) {
    const int f = t.chanRec[k].freq;
    if (!in_band(five, f)) {
      off_band += (off_band.empty() ? "" : ", ") + std::to_string(f) + " MHz";
      continue;
    }
    lo = std::min(lo, f - 20), hi = std::max(hi, f + 20);
  }
  for (const Finding &f : *p.findings)
    if (f.freq < 0 && concerns(f, p.rid)) notes += (notes.empty() ? "" : "; ") + format(f);
  const Scale sx{lo, hi, kLeft, kWidth - kRight};

  // The 40 and 80 MHz blocks the flags claim, each span once.
  std::map<std::pair<bool, std::pair<int, int>>, std::string> blocks;  // (VHT80?, span) -> channels
  for (uint32_t k = 0; k < t.chanNum; ++k) {
    if (!in_band(five, t.chanRec[k].freq)) continue;
    for (const Block &b : claimed_blocks(t.chanRec[k].freq, t.chanRec[k].commonFlag)) {
      std::string &users = blocks[{std::strcmp(b.name, "VHT80") == 0, {b.lo, b.hi}}];
      users += (users.empty() ? "" : ", ") + std::to_string(t.chanRec[k].chan);
    }
  }
  BracketRows rows;
  std::vector<int> row_of;
  for (const auto &b : blocks) row_of.push_back(rows.place(b.first.second.first, b.first.second.second));
  const int strip = 8 * static_cast<int>(rows.rows.size()) + 10;
  const int text_lines = 1 + !off_band.empty() + !notes.empty();
  const int plot_top = top + 8 + 14 * text_lines + strip, plot_bottom = plot_top + kPlotHeight;
  auto y = [&](double dbm) { return plot_bottom - std::clamp(dbm, 0.0, p.ymax) * kPlotHeight / p.ymax; };

  svg.add("<g class=\"panel\" data-radio=\"" + std::to_string(p.rid) + "\" data-band=\"" + (five ? "5" : "2.4") + "\">");
  int line_y = top + 14;
  svg.text(kLeft, line_y,
           "radio " + std::to_string(p.rid) + ": " + (five ? "5 GHz" : "2.4 GHz") + ", " + plural(t.chanNum, "channel") +
               (p.eirp ? "" : ", powers shown as EIRP (conducted + " + num(p.gain) + " dB of gains)"),
           "label", "start");
  if (!off_band.empty()) svg.text(kLeft, line_y += 14, "outside the band, not drawn: " + off_band, "note", "start");
  if (!notes.empty()) svg.text(kLeft, line_y += 14, notes, "note", "start");
  for (int dbm = 0; dbm <= p.ymax; dbm += 6) {
    svg.add("<line class=\"grid\" x1=\"" + num(sx.x0) + "\" x2=\"" + num(sx.x1) + "\" y1=\"" + num(y(dbm)) +
            "\" y2=\"" + num(y(dbm)) + "\"/>");
    svg.text(sx.x0 - 6, y(dbm) + 3, std::to_string(dbm), "axis", "end");
  }
  svg.add("<text class=\"axis\" transform=\"translate(" + num(kLeft - 40) + "," + num((plot_top + plot_bottom) / 2.0) +
          ") rotate(-90)\" text-anchor=\"middle\">dBm (EIRP)</text>");
  // The rules: DFS ranges shaded under the bars.
  auto clip = [&](const RegRule &r, double *a, double *b) {
    *a = std::max<double>(lo, r.start_khz / 1000.0), *b = std::min<double>(hi, r.end_khz / 1000.0);
    return *a < *b;
  };
  const std::string cc = p.country ? p.country->alpha2 : "";
  for (const RegRule &r : p.country ? p.country->rules : std::vector<RegRule>{}) {
    double a, b;
    if ((r.flags & kRuleDfs) && clip(r, &a, &b))
      svg.add("<rect class=\"dfs-range\" x=\"" + num(sx.x(a)) + "\" y=\"" + num(plot_top) + "\" width=\"" +
              num(sx.x(b) - sx.x(a)) + "\" height=\"" + num(kPlotHeight) + "\"><title>" +
              esc(cc + " rule " + rule_text(r)) + "</title></rect>");
  }
  // The bars: 20 MHz wide; on 2.4 GHz, where they overlap, a solid core
  // marks each channel, so that a missing one leaves a gap.
  for (uint32_t k = 0; k < t.chanNum; ++k) {
    const radio_chan_rec_t &c = t.chanRec[k];
    if (!in_band(five, c.freq)) continue;
    std::string kind = active_dfs(c) ? (weather(c) ? " dfs wradar" : " dfs") : "";
    std::string said;
    for (const Finding &f : *p.findings)
      if (f.freq == c.freq && concerns(f, p.rid)) said += "\n" + format(f);
    const std::string cls = "bar" + kind + (five ? "" : " wide") + (said.empty() ? "" : " finding");
    const double power = static_cast<double>(c.maxPower) + p.gain;
    const double top_y = std::min(y(power), plot_bottom - 2.0);  // 0 dBm and below: a stub
    char flags[48];
    std::snprintf(flags, sizeof flags, ", commonFlag 0x%x, extFlag 0x%x", c.commonFlag, c.extFlag);
    const std::string title = "channel " + std::to_string(c.chan) + ", " + std::to_string(c.freq) + " MHz, " +
                              std::to_string(c.maxPower) + " dBm" + (p.eirp ? "" : " conducted") + flags + said;
    const std::string where = "data-radio=\"" + std::to_string(p.rid) + "\" data-channel=\"" + std::to_string(c.chan) +
                              "\" data-freq=\"" + std::to_string(c.freq) + "\"";
    svg.add("<rect class=\"" + cls + "\" " + where + " x=\"" + num(sx.x(c.freq - 10)) + "\" y=\"" + num(top_y) +
            "\" width=\"" + num(sx.x(c.freq + 10) - sx.x(c.freq - 10)) + "\" height=\"" + num(plot_bottom - top_y) +
            "\"><title>" + esc(title) + "</title></rect>");
    if (!five)
      svg.add("<rect class=\"core" + kind + "\" x=\"" + num(sx.x(c.freq - 1.5)) + "\" y=\"" + num(top_y) +
              "\" width=\"" + num(sx.x(c.freq + 1.5) - sx.x(c.freq - 1.5)) + "\" height=\"" + num(plot_bottom - top_y) +
              "\"><title>" + esc(title) + "</title></rect>");
    if (power > p.ymax)
      svg.text(sx.x(c.freq), plot_top + 10, "\u25b2", "clipped");  // cut at the top of the axis
    if (!said.empty())
      svg.add("<text class=\"mark\" data-freq=\"" + std::to_string(c.freq) + "\" x=\"" + num(sx.x(c.freq)) + "\" y=\"" +
              num(std::max(top_y - 4, plot_top + 12.0)) + "\" text-anchor=\"middle\">!<title>" + esc(said.substr(1)) +
              "</title></text>");
    svg.text(sx.x(c.freq), plot_bottom + 11, std::to_string(c.chan), "chan");
  }
  // The rules' maximum EIRP as a step line over the bars.
  for (const RegRule &r : p.country ? p.country->rules : std::vector<RegRule>{}) {
    double a, b;
    if (!clip(r, &a, &b)) continue;
    const double ry = y(r.max_eirp_mbm / 100.0);
    svg.add("<path class=\"rule\" d=\"M" + num(sx.x(a)) + "," + num(plot_bottom) + " V" + num(ry) + " H" + num(sx.x(b)) +
            " V" + num(plot_bottom) + "\"><title>" + esc(cc + " rule " + rule_text(r)) + "</title></path>");
  }
  // Brackets over the plot.
  size_t i = 0;
  for (const auto &[key, users] : blocks) {
    const int row = row_of[i++];
    const double by = plot_top - 6 - 8 * row, a = sx.x(key.second.first) + 1, z = sx.x(key.second.second) - 1;
    const std::string name = key.first ? "VHT80" : "HT40";
    svg.add("<path class=\"bracket " + std::string(key.first ? "vht80" : "ht40") + "\" d=\"M" + num(a) + "," +
            num(by + 4) + " V" + num(by) + " H" + num(z) + " V" + num(by + 4) + "\"><title>" +
            esc(name + " block " + std::to_string(key.second.first) + "-" + std::to_string(key.second.second) +
                " MHz (channel " + users + ")") +
            "</title></path>");
  }
  // Frame and x axis in MHz.
  svg.add("<rect class=\"frame\" x=\"" + num(sx.x0) + "\" y=\"" + num(plot_top) + "\" width=\"" + num(sx.x1 - sx.x0) +
          "\" height=\"" + num(kPlotHeight) + "\"/>");
  const int step = hi - lo > 300 ? 50 : 10;
  for (int f = (lo + step - 1) / step * step; f <= hi; f += step) {
    svg.add("<line class=\"grid\" x1=\"" + num(sx.x(f)) + "\" x2=\"" + num(sx.x(f)) + "\" y1=\"" + num(plot_bottom) +
            "\" y2=\"" + num(plot_bottom + 16) + "\"/>");
    svg.text(sx.x(f), plot_bottom + 26, std::to_string(f), "axis");
  }
  svg.text((sx.x0 + sx.x1) / 2, plot_bottom + 40, "MHz (channel numbers under the bars)", "axis");
  svg.add("</g>");
  return plot_bottom + 48 - top;
}

int legend(Svg &svg, int top, bool regdb, bool findings) {
  struct Item {
    const char *cls, *text;
  };
  std::vector<Item> items = {{"bar", "channel (height: maximum power)"},
                             {"bar dfs", "DFS channel"},
                             {"bar wradar", "weather-radar channel"},
                             {"bracket ht40", "HT40 block"},
                             {"bracket vht80", "VHT80 block"}};
  if (regdb) {
    items.push_back({"rule", "rule's maximum EIRP"});
    items.push_back({"dfs-range", "rule needs DFS"});
  }
  if (regdb || findings) items.push_back({"bar finding", "lint finding (!)"});
  svg.add("<g class=\"legend\">");
  double x = kLeft;
  for (const Item &i : items) {
    const std::string cls = i.cls;
    if (cls.rfind("bracket", 0) == 0 || cls == "rule")
      svg.add("<path class=\"" + cls + "\" d=\"M" + num(x) + "," + num(top + 10) + " V" + num(top + 3) + " H" +
              num(x + 14) + " V" + num(top + 10) + "\"/>");
    else
      svg.add("<rect class=\"" + cls + " legend-swatch\" x=\"" + num(x) + "\" y=\"" + num(top) +
              "\" width=\"14\" height=\"12\"/>");
    svg.text(x + 18, top + 10, i.text, "axis", "start");
    x += 26 + 5.6 * std::strlen(i.text);
  }
  svg.add("</g>");
  return 24;
}

// The model's REG_DOMAIN files as lint reads them: findings per channel
// and the regions one file lacks, tagged with their region.
Findings file_findings(const Options &o, const Identity &id) {
  Findings out;
  const RegDomainFile two = scan_reg_domain(o.root, id.model_dir, false, &out);
  const RegDomainFile five = scan_reg_domain(o.root, id.model_dir, true, &out);
  check_regions_across(two, five, &out);
  return out;
}

// Every region code of both REG_DOMAIN files, in order.
std::vector<int> region_codes(const std::string &root, const std::string &model_dir) {
  std::set<int> codes;
  for (bool five : {false, true})
    for (const RegionBlock &b : scan_reg_domain(root, model_dir, five, nullptr).blocks) codes.insert(b.code);
  return {codes.begin(), codes.end()};
}

// lint's findings for one region: the files' and, with the database, the
// regulatory check's.
std::vector<Finding> region_findings(int code, const Findings &files, const Regulatory &reg) {
  Findings out;
  for (const Finding &f : files.list())
    if (f.region == code) out.add(f);
  const std::string cc = country_of(reg, code);
  if (reg.db && !cc.empty() && reg.db->find(cc.c_str())) check_regions({code}, *reg.db, *reg.iso, &out);
  return out.list();
}

double radio_gain(uint32_t rid) {
  if (radio_config_getEIRP()) return 0;
  return static_cast<int32_t>(radio_config_getAnttGain(rid)) + static_cast<double>(static_cast<int32_t>(radio_config_getMimoGain(rid)));
}

bool drawn(const Options &o, uint32_t rid) { return !o.band || (o.band == 5) == five_ghz_radio(rid); }

// A single region: both radios (or one band), with the rules over them.
int plot_region(const Options &o, const Identity &id, const Regulatory &reg, const Findings &files,
                std::string *svg_text) {
  const int code = o.region_given ? o.region : static_cast<int>(radio_config_getSpecRegionCode());
  std::string lines;
  if (quietly([code] { return radio_region_init(code); }, &lines) != 0) {
    print_library_lines(lines);
    std::fprintf(stderr, "aputil-info: region %d does not load (aputil-info lint tells why)\n", code);
    return kExitFailed;
  }
  const std::string cc = country_of(reg, code);
  const RegCountry *country = reg.db && !cc.empty() ? reg.db->find(cc.c_str()) : nullptr;
  const std::vector<Finding> findings = region_findings(code, files, reg);
  const bool eirp = radio_config_getEIRP() != 0;
  radio_region_tbl_t tables[MAX_RADIO_NUM];
  double ymax = 30;
  int errors = 0, warnings = 0;
  for (uint32_t rid = 0; rid < MAX_RADIO_NUM; ++rid) {
    radio_region_getRegionFlags(rid, &tables[rid]);
    if (!drawn(o, rid)) continue;
    for (uint32_t k = 0; k < tables[rid].chanNum; ++k)
      ymax = std::max(ymax, static_cast<double>(tables[rid].chanRec[k].maxPower) + radio_gain(rid));
    for (const Finding &f : findings)
      if (concerns(f, rid)) (f.severity == Severity::kError ? errors : warnings)++;
  }
  if (country)
    for (const RegRule &r : country->rules)
      if (r.start_khz < 6000000 && r.end_khz > 2400000) ymax = std::max(ymax, r.max_eirp_mbm / 100.0);
  ymax = std::min(60.0, std::ceil((ymax + 2) / 6) * 6);  // higher bars are cut at 60 dBm

  Svg svg;
  svg.text(kLeft, 24,
           id.name + " " + id.version + ": region " + std::to_string(code) + (cc.empty() ? "" : " (" + cc + ")") +
               (o.band ? (o.band == 5 ? ", 5 GHz" : ", 2.4 GHz") : ""),
           "title", "start");
  std::string sub = reg.db ? database_line(reg) : "no regulatory database (--regdb draws its rules)";
  if (reg.db && !country)
    sub = cc.empty() ? "region " + std::to_string(code) + " is no ISO 3166-1 country: no rules drawn"
                     : cc + " is not in the " + database_line(reg) + ": no rules drawn";
  sub += "; lint: " + plural(errors, "error") + ", " + plural(warnings, "warning");
  svg.text(kLeft, 42, sub, "subtitle", "start");
  int y = 52;
  for (uint32_t rid = 0; rid < MAX_RADIO_NUM; ++rid)
    if (drawn(o, rid)) y += panel(svg, y, {rid, &tables[rid], radio_gain(rid), eirp, ymax, country, &findings});
  y += legend(svg, y + 4, country != nullptr, errors + warnings > 0) + 8;
  *svg_text = svg.finish(kWidth, y);
  return 0;
}

// Power as a colour, from light yellow-green (low) to dark blue (high).
std::string power_colour(double t) {
  static const int stops[][3] = {{217, 240, 163}, {161, 218, 180}, {65, 182, 196}, {44, 127, 184}, {37, 52, 148}};
  t = std::clamp(t, 0.0, 1.0) * 4;
  const int i = std::min(3, static_cast<int>(t));
  const double f = t - i;
  char text[16];
  std::snprintf(text, sizeof text, "#%02x%02x%02x", static_cast<int>(stops[i][0] + f * (stops[i + 1][0] - stops[i][0])),
                static_cast<int>(stops[i][1] + f * (stops[i + 1][1] - stops[i][1])),
                static_cast<int>(stops[i][2] + f * (stops[i + 1][2] - stops[i][2])));
  return text;
}

// Every region on one page: regions down, each radio's channels across.
int plot_all(const Options &o, const Identity &id, const Regulatory &reg, const Findings &files,
             std::string *svg_text) {
  struct Row {
    int code;
    std::string cc;
    bool loaded;
    radio_region_tbl_t t[MAX_RADIO_NUM];
    std::vector<Finding> findings;
  };
  std::vector<Row> rows;
  std::set<std::pair<uint32_t, int>> keys;  // (radio, frequency): a column
  std::map<std::pair<uint32_t, int>, uint32_t> channel_of;
  double pmin = 1e9, pmax = -1e9;
  int errors = 0, warnings = 0;
  for (const int code : region_codes(o.root, id.model_dir)) {
    Row r{code, country_of(reg, code), false, {}, region_findings(code, files, reg)};
    std::string lines;
    r.loaded = quietly([code] { return radio_region_init(code); }, &lines) == 0;
    for (uint32_t rid = 0; rid < MAX_RADIO_NUM; ++rid) {
      if (!drawn(o, rid)) continue;
      for (const Finding &f : r.findings)
        if (concerns(f, rid)) (f.severity == Severity::kError ? errors : warnings)++;
      if (!r.loaded || radio_region_getRegionFlags(rid, &r.t[rid]) != 0) continue;
      for (uint32_t k = 0; k < r.t[rid].chanNum; ++k) {
        const radio_chan_rec_t &c = r.t[rid].chanRec[k];
        if (!in_band(five_ghz_radio(rid), c.freq)) continue;
        keys.insert({rid, c.freq});
        channel_of[{rid, c.freq}] = c.chan;
        pmin = std::min(pmin, c.maxPower + radio_gain(rid));
        pmax = std::max(pmax, c.maxPower + radio_gain(rid));
      }
    }
    rows.push_back(r);
  }
  if (pmin > pmax) pmin = pmax = 0;
  const std::vector<std::pair<uint32_t, int>> columns(keys.begin(), keys.end());
  const int cell = 16, left = 110, top = 96;
  std::vector<int> column_x;
  for (size_t i = 0; i < columns.size(); ++i)  // a gap where the radio changes
    column_x.push_back(i == 0 ? left : column_x.back() + cell + (columns[i].first != columns[i - 1].first ? 12 : 0));
  const std::string title = id.name + " " + id.version + ": all regions" +
                            (o.band ? (o.band == 5 ? ", 5 GHz" : ", 2.4 GHz") : "") + ", channels across";
  const std::string sub = (reg.db ? database_line(reg) : "no regulatory database (--regdb adds its findings)") +
                          "; lint: " + plural(errors, "error") + ", " + plural(warnings, "warning");
  const int width = std::max({left + 11 * 14 + 480, static_cast<int>(16 + 6.2 * sub.size()),
                              (column_x.empty() ? left : column_x.back()) + cell + 24});
  Svg svg;
  svg.text(16, 24, title, "title", "start");
  svg.text(16, 42, sub, "subtitle", "start");
  for (size_t i = 0; i < columns.size(); ++i)
    svg.add("<text class=\"chan\" transform=\"translate(" + num(column_x[i] + cell / 2.0 + 3) + "," + num(top - 6) +
            ") rotate(-90)\">" + std::to_string(channel_of[columns[i]]) + "<title>radio " +
            std::to_string(columns[i].first) + ", " + std::to_string(columns[i].second) + " MHz</title></text>");
  int y = top;
  for (const Row &r : rows) {
    svg.add("<g class=\"region\" data-region=\"" + std::to_string(r.code) + "\">");
    svg.text(left - 8, y + 12, std::to_string(r.code) + (r.cc.empty() ? "" : " " + r.cc), "label", "end");
    if (!columns.empty())
      svg.add("<rect class=\"row-bg\" x=\"" + std::to_string(left) + "\" y=\"" + std::to_string(y) + "\" width=\"" +
              std::to_string(column_x.back() + cell - left) + "\" height=\"" + std::to_string(cell) + "\"/>");
    int shown = 0;
    for (uint32_t rid = 0; r.loaded && rid < MAX_RADIO_NUM; ++rid) {
      if (!drawn(o, rid)) continue;
      for (uint32_t k = 0; k < r.t[rid].chanNum; ++k) {
        const radio_chan_rec_t &c = r.t[rid].chanRec[k];
        if (!in_band(five_ghz_radio(rid), c.freq)) continue;
        const auto at = std::lower_bound(columns.begin(), columns.end(), std::pair{rid, c.freq});
        const int x = column_x[static_cast<size_t>(at - columns.begin())];
        std::string said;
        for (const Finding &f : r.findings)
          if (f.freq == c.freq && concerns(f, rid)) said += "\n" + format(f);
        std::string cls = "cell";
        if (active_dfs(c)) cls += weather(c) ? " dfs wradar" : " dfs";
        if (!said.empty()) cls += " finding";
        const double power = c.maxPower + radio_gain(rid);
        const double t = pmax > pmin ? (power - pmin) / (pmax - pmin) : 1.0;
        svg.add("<rect class=\"" + cls + "\" data-radio=\"" + std::to_string(rid) + "\" data-channel=\"" +
                std::to_string(c.chan) + "\" data-freq=\"" + std::to_string(c.freq) + "\" x=\"" + std::to_string(x) +
                "\" y=\"" + std::to_string(y) + "\" width=\"" + std::to_string(cell) + "\" height=\"" +
                std::to_string(cell) + "\" fill=\"" + power_colour(t) + "\"><title>" +
                esc("region " + std::to_string(r.code) + ", radio " + std::to_string(rid) + ", channel " +
                    std::to_string(c.chan) + ", " + std::to_string(c.freq) + " MHz, " + num(power) + " dBm" +
                    (radio_config_getEIRP() ? "" : " EIRP") + (active_dfs(c) ? ", DFS" : "") +
                    (weather(c) ? ", weather radar" : "") + said) +
                "</title></rect>");
        if (active_dfs(c))
          svg.add("<circle class=\"dot\" cx=\"" + num(x + cell / 2.0) + "\" cy=\"" + num(y + cell / 2.0) + "\" r=\"" +
                  (weather(c) ? "3.5" : "2.2") + "\"/>");
        ++shown;
      }
    }
    if (!r.loaded) svg.text(left + 4, y + 12, "does not load (aputil-info lint tells why)", "note", "start");
    else if (!shown) svg.text(left + 4, y + 12, "no channels", "axis", "start");
    svg.add("</g>");
    y += cell + 2;
  }
  // Legend: the colour scale and the marks.
  y += 14;
  for (int s = 0; s <= 10; ++s)
    svg.add("<rect x=\"" + std::to_string(left + s * 14) + "\" y=\"" + std::to_string(y) +
            "\" width=\"14\" height=\"12\" fill=\"" + power_colour(s / 10.0) + "\"/>");
  svg.text(left - 8, y + 10, num(pmin) + " dBm", "axis", "end");
  svg.text(left + 11 * 14 + 6, y + 10, num(pmax) + " dBm (maximum power" + (radio_config_getEIRP() ? ")" : ", EIRP)"),
           "axis", "start");
  svg.add("<circle class=\"dot\" cx=\"" + std::to_string(left + 360) + "\" cy=\"" + std::to_string(y + 6) +
          "\" r=\"2.2\"/>");
  svg.text(left + 368, y + 10, "DFS (larger: weather radar)", "axis", "start");
  svg.add("<rect class=\"cell finding\" x=\"" + std::to_string(left + 540) + "\" y=\"" + std::to_string(y) +
          "\" width=\"12\" height=\"12\" fill=\"#fff\"/>");
  svg.text(left + 558, y + 10, "lint finding", "axis", "start");
  *svg_text = svg.finish(width, y + 28);
  return 0;
}

}  // namespace

int plot(const Options &o) {
  Regulatory reg;
  RegDb db;
  std::map<int, std::string> iso;
  std::string error;
  if (o.regdb) {
    if (!load_regdb(o.regdb_file, &db, &error) || !load_iso3166(kDefaultIso3166, &iso, &error)) {
      std::fprintf(stderr, "aputil-info: %s\n", error.c_str());
      return kExitUsage;
    }
    reg.db = &db, reg.file = o.regdb_file;
  }
  if (o.regdb || load_iso3166(kDefaultIso3166, &iso, &error)) reg.iso = &iso;  // the country in the title
  const Identity id = read_identity(o.root);
  if (quietly([] { return devcfg_testFunc(); }) < 0 || !quietly([] { return radio_config_getMeshBkhapIfname(); })) {
    std::fprintf(stderr, "aputil-info: the model's configuration does not load (aputil-info lint tells why)\n");
    return kExitFailed;
  }
  const Findings files = file_findings(o, id);
  std::string svg;
  const int status = o.all_regions ? plot_all(o, id, reg, files, &svg) : plot_region(o, id, reg, files, &svg);
  if (status != 0) return status;
  if (o.output.empty() || o.output == "-") {
    std::fputs(svg.c_str(), stdout);
    return 0;
  }
  FILE *f = std::fopen(o.output.c_str(), "w");
  bool written = f && std::fwrite(svg.data(), 1, svg.size(), f) == svg.size();
  if (f && std::fclose(f) != 0) written = false;
  if (!written) {
    std::fprintf(stderr, "aputil-info: cannot write %s: %s\n", o.output.c_str(), std::strerror(errno));
    return kExitFailed;
  }
  return 0;
}

}  // namespace aputil::info
