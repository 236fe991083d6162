// ble-factory: factory tests of the BLE co-processor through the library.
//
//   ble-factory (--port TTY | --simulate) [options] COMMAND [ARG] [COMMAND [ARG]...]
//
// Exit status: 0 every command succeeded; 1 a command failed; 2 bad
// arguments (nothing was sent); 3 the serial line could not be opened.
#include <getopt.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "aputil_version.h"
#include "ble.h"
#include "blesim/ble_coprocessor.h"
#include "blesim/hci_trace.h"
#include "common/cli.h"

namespace {

namespace sim = aputil::sim;

constexpr int kExitFailed = 1, kExitUsage = 2, kExitLine = 3;

const char kUsage[] =
    "usage: ble-factory (--port TTY | --simulate) [options] COMMAND [ARG] [COMMAND [ARG]...]\n"
    "       ble-factory [--root DIR] gpio SEQUENCE [gpio SEQUENCE...]\n"
    "       ble-factory --help | --version\n"
    "\n"
    "commands (run in order; rssi uses the handle of an earlier connect):\n"
    "  mac                      read the co-processor's MAC address\n"
    "  tx-test | rx-test | end-test               LE direct test mode\n"
    "  ext-tx-test | ext-rx-test | ext-end-test   vendor test mode\n"
    "  connect AA:BB:CC:DD:EE:FF   connect to a peer   rssi   its averaged RSSI\n"
    "  coex high|low            drive the coexistence line and check it\n"
    "  adv on|off               advertising\n"
    "  gpio fac-init|fac-deinit|reset|bootloader   the reset, boot-select and test-mode lines\n"
    "\n"
    "options:\n"
    "  --port TTY           serial line of the co-processor\n"
    "  --mode 0|1           0: 1,152,000 baud (default), 1: 115,200 baud\n"
    "  --simulate           use a simulated co-processor on a pseudo-terminal\n"
    "  --simulate-status N  status byte the simulated co-processor answers with (default 0)\n"
    "  --trace              print every HCI packet written and read\n"
    "  --root DIR           firmware tree standing for / (GPIO and coexistence files)\n"
    "  --channel N          RF channel 0-39 (default 0)\n"
    "  --power DBM          transmit power: -20 -18 -15 -12 -10 -9 -6 -5 -3 0 1 2 3 4 5 14..20 (default 0)\n"
    "  --length N           test payload length 0-255 (default 37)\n"
    "  --payload N          payload type 0-7 (default 0)\n"
    "  --phy N              PHY selector 23-26 (23: 1 Mbit/s, default)\n"
    "  --mode-byte N        vendor tx test mode 0-255 (default 0)\n"
    "  -h, --help           this text;  -V, --version  the version\n"
    "\n"
    "Options take their value as --opt VALUE or --opt=VALUE, each at most once.\n"
    "exit status: 0 every command succeeded; 1 a command failed or the output could\n"
    "not be written; 2 bad arguments (nothing was sent); 3 the serial line could not\n"
    "be opened\n";

struct Options {
  std::string port, root;
  int mode = 0, sim_status = 0, channel = 0, power = 0, length = 37, payload = 0, phy = 23, mode_byte = 0;
  bool simulate = false, trace = false;
};

struct Command {
  std::string name, arg;
};

bool parse_int(const char *text, long lo, long hi, int *out) {
  long v;
  if (!aputil::cli::parse_number(text, lo, hi, &v, 0)) return false;
  *out = static_cast<int>(v);
  return true;
}

bool known_power(int dbm) {
  for (int p : {-20, -18, -15, -12, -10, -9, -6, -5, -3, 0, 1, 2, 3, 4, 5, 14, 15, 16, 17, 18, 19, 20})
    if (p == dbm) return true;
  return false;
}

bool parse_address(const std::string &text, uint8_t out[6]) {
  unsigned v[6];
  char sep[5];
  int used = 0;
  if (std::sscanf(text.c_str(), "%2x%c%2x%c%2x%c%2x%c%2x%c%2x%n", &v[0], &sep[0], &v[1], &sep[1], &v[2], &sep[2],
                  &v[3], &sep[3], &v[4], &sep[4], &v[5], &used) != 11 ||
      static_cast<size_t>(used) != text.size() || text.size() != 17)
    return false;
  for (char s : sep)
    if (s != ':' && s != '-') return false;
  for (int i = 0; i < 6; ++i) out[i] = static_cast<uint8_t>(v[i]);
  return true;
}

// Under a firmware tree, the GPIO lines a sequence leaves behind, read back:
// the name of the first line file that does not hold its final state, or ""
// when all do. (On the device the lines are kernel files that need not read
// back as written; nothing is checked there.)
std::string gpio_line_not_set(const std::string &root, const std::string &sequence) {
  struct Want {
    const char *line, *value;
  };
  std::vector<Want> want = {{"ble_reset", "off"}};
  if (sequence == "fac-init") want.push_back({"ble_ptm", "on"});
  if (sequence == "fac-deinit") want.push_back({"ble_ptm", "off"});
  if (sequence == "bootloader") want.push_back({"ble_backdoor", "off"});
  for (const Want &w : want) {
    const std::string path = root + "/proc/morvik_gpio/" + w.line;
    char buf[16] = "";
    FILE *f = std::fopen(path.c_str(), "r");
    const bool ok = f && std::fgets(buf, sizeof buf, f) && std::string(buf) == std::string(w.value) + "\n";
    if (f) std::fclose(f);
    if (!ok) return path;
  }
  return "";
}

// A plausible co-processor: success (or the given status) for every command.
sim::Reply simulated_reply(const sim::HciCommand &cmd, uint8_t status, const std::string &root) {
  using sim::BleCoprocessor;
  const uint16_t op = cmd.opcode;
  switch (op) {
    case BLE_OP_KXCOEX_PIN_HIGH:
    case BLE_OP_KXCOEX_PIN_LOW:
      if (!root.empty()) {  // the lines follow the pin, as the hardware's do
        for (const char *line : {"ble_coex_req", "ble_coex_pri"}) {
          FILE *f = std::fopen((root + "/proc/morvik_gpio/" + line).c_str(), "w");
          if (f) {
            std::fputs(op == BLE_OP_KXCOEX_PIN_HIGH ? "1\n" : "0\n", f);
            std::fclose(f);
          }
        }
      }
      return {};
    case BLE_OP_GAP_ADV_DISABLE:
    case BLE_OP_GAP_ADV_ENABLE: return {BleCoprocessor::short_reply(op, status)};
    case BLE_OP_GET_MACADDR:  // a failed read carries no address
      return {status ? BleCoprocessor::short_reply(op, status)
                     : BleCoprocessor::short_reply(op, 0, {0x11, 0x22, 0x33, 0x44, 0x55, 0x66})};
    case BLE_OP_READ_RSSI: return {BleCoprocessor::command_complete(op, status, {cmd.params[0], cmd.params[1], 0xD6})};
    case BLE_OP_END_TEST: return {BleCoprocessor::command_complete(op, status, {0x00, 0x04})};
    case BLE_OP_GAP_DEVICE_INIT:
    case BLE_OP_PEER_CONNECT: {
      sim::Bytes r = BleCoprocessor::vendor_event(BLE_EVT_CMD_STATUS, status, op);
      sim::Bytes ev = op == BLE_OP_GAP_DEVICE_INIT
                          ? BleCoprocessor::event(0xFF, {0x00, 0x06, 0x00})
                          : BleCoprocessor::event(0xFF, {0x05, 0x06, 0x00, 0x00, cmd.params[1], cmd.params[2],
                                                         cmd.params[3], cmd.params[4], cmd.params[5], cmd.params[6],
                                                         0x01, 0x00});
      r.insert(r.end(), ev.begin(), ev.end());
      return {r};
    }
    default:
      if ((op & 0xFF00) == 0xFC00) return {BleCoprocessor::vendor_event(BLE_EVT_EXT(op), status, op)};
      return {BleCoprocessor::command_complete(op, status)};
  }
}

// Runs one command; prints its outcome. Returns false when it failed.
bool run(int fd, const Options &o, const Command &c) {
  int rc = 0;
  if (c.name == "mac") {
    uint8_t mac[6];
    rc = ble_fac_mac_get(fd, mac);
    if (rc == 0)
      std::printf("mac: %02X:%02X:%02X:%02X:%02X:%02X\n", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
  } else if (c.name == "tx-test") {
    rc = ble_fac_tx_test(fd, static_cast<uint8_t>(o.channel), o.power, static_cast<uint8_t>(o.length),
                         static_cast<uint8_t>(o.payload), static_cast<uint8_t>(o.phy));
  } else if (c.name == "rx-test") {
    rc = ble_fac_rx_test(fd, static_cast<uint8_t>(o.channel), static_cast<uint8_t>(o.phy));
  } else if (c.name == "end-test") {
    uint16_t count = 0;
    rc = ble_fac_end_test(fd, &count);
    if (rc == 0) std::printf("end-test: %u packets received\n", count);
  } else if (c.name == "ext-tx-test") {
    rc = ble_fac_ext_tx_test(fd, static_cast<uint8_t>(o.channel), o.power, static_cast<uint8_t>(o.phy),
                             static_cast<uint8_t>(o.mode_byte));
  } else if (c.name == "ext-rx-test") {
    rc = ble_fac_ext_rx_test(fd, static_cast<uint8_t>(o.channel), static_cast<uint8_t>(o.phy));
  } else if (c.name == "ext-end-test") {
    rc = ble_fac_ext_end_test(fd);
  } else if (c.name == "connect") {
    uint8_t peer[6];
    parse_address(c.arg, peer);
    rc = ble_fac_peerdevice_connect(fd, peer);
  } else if (c.name == "rssi") {
    int32_t rssi = 0;
    rc = ble_fac_peerdevice_read_rssi(fd, &rssi);
    if (rc == 0) std::printf("rssi: %d dBm\n", rssi);
  } else if (c.name == "coex") {
    rc = ble_fac_coex_gpio_ctl(fd, c.arg == "high" ? 1 : 0);
  } else if (c.name == "adv") {
    rc = c.arg == "on" ? ble_fac_gap_adv_enable(fd) : ble_fac_gap_adv_disable(fd);
  } else if (c.name == "gpio") {
    if (c.arg == "fac-init") ble_gpio_fac_init();
    if (c.arg == "fac-deinit") ble_gpio_fac_deinit();
    if (c.arg == "reset") ble_gpio_reset();
    if (c.arg == "bootloader") ble_gpio_bootloader_prep();
    if (!o.root.empty()) {
      const std::string bad = gpio_line_not_set(o.root, c.arg);
      if (!bad.empty()) {
        std::printf("gpio %s: FAILED (%s was not written)\n", c.arg.c_str(), bad.c_str());
        std::fflush(stdout);
        return false;
      }
    }
  }
  const std::string what = c.arg.empty() ? c.name : c.name + " " + c.arg;
  if (rc != 0)
    std::printf("%s: FAILED (%d)\n", what.c_str(), rc);
  else if (c.name != "mac" && c.name != "end-test" && c.name != "rssi")
    std::printf("%s: ok\n", what.c_str());
  std::fflush(stdout);
  return rc == 0;
}

int usage_error(const std::string &message) { return aputil::cli::usage_error("ble-factory", message); }
int finish(int status) { return aputil::cli::finish("ble-factory", status); }

}  // namespace

int main(int argc, char **argv) {
  aputil::cli::keep_standard_descriptors();
  Options o;
  std::vector<Command> commands;
  const std::vector<std::string> no_arg = {"mac", "tx-test", "rx-test", "end-test", "ext-tx-test",
                                           "ext-rx-test", "ext-end-test", "rssi"};
  struct Numeric {
    const char *name;
    long lo, hi;
    int *out;
    const char *range;  // for the message when the value is refused
  };
  const Numeric numeric[] = {
      {"mode", 0, 1, &o.mode, "0 (1,152,000 baud) or 1 (115,200 baud)"},
      {"simulate-status", 0, 255, &o.sim_status, "a status byte 0-255"},
      {"channel", 0, 39, &o.channel, "a channel from 0 to 39"},
      {"power", -128, 127, &o.power, "a power level in dBm"},
      {"length", 0, 255, &o.length, "a length from 0 to 255"},
      {"payload", 0, 7, &o.payload, "a payload type from 0 to 7"},
      {"phy", 23, 26, &o.phy, "a PHY selector from 23 to 26"},
      {"mode-byte", 0, 255, &o.mode_byte, "a byte 0-255"},
  };
  // Long options: the numeric ones by their index in numeric[] (from 256),
  // the others by letter.
  std::vector<option> options = {
      {"help", no_argument, nullptr, 'h'},      {"version", no_argument, nullptr, 'V'},
      {"port", required_argument, nullptr, 'p'}, {"root", required_argument, nullptr, 'r'},
      {"simulate", no_argument, nullptr, 's'},  {"trace", no_argument, nullptr, 't'},
  };
  for (size_t k = 0; k < std::size(numeric); ++k)
    options.push_back({numeric[k].name, required_argument, nullptr, 256 + static_cast<int>(k)});
  options.push_back({nullptr, 0, nullptr, 0});
  std::vector<int> seen;
  opterr = 0;  // the messages below, in the tool's own words
  for (int c; (c = getopt_long(argc, argv, ":hVp:r:st", options.data(), nullptr)) != -1;) {
    if (c != ':' && c != '?' && std::find(seen.begin(), seen.end(), c) != seen.end())
      return usage_error(aputil::cli::option_name(c, options.data()) + " given twice");
    seen.push_back(c);
    switch (c) {
      case 'h': std::fputs(kUsage, stdout); return finish(0);
      case 'V': std::printf("ble-factory %s\n", APUTIL_VERSION); return finish(0);
      case 'p': o.port = optarg; break;
      case 'r': o.root = optarg; break;
      case 's': o.simulate = true; break;
      case 't': o.trace = true; break;
      case ':': return usage_error(aputil::cli::bad_option(optopt, argv, optind) + " needs a value");
      case '?': return usage_error("unknown option '" + aputil::cli::bad_option(optopt, argv, optind) + "'");
      default: {
        const Numeric &n = numeric[c - 256];
        const bool ok = parse_int(optarg, n.lo, n.hi, n.out);
        if (n.out == &o.power && (!ok || !known_power(o.power)))
          return usage_error("--power must be one of -20 -18 -15 -12 -10 -9 -6 -5 -3 0 1 2 3 4 5 14 15 16 17 18 19 20");
        if (!ok) return usage_error(std::string("--") + n.name + " must be " + n.range + ", not '" + optarg + "'");
      }
    }
  }
  for (int i = optind; i < argc; ++i) {
    const std::string a = argv[i];
    if (std::find(no_arg.begin(), no_arg.end(), a) != no_arg.end()) {
      commands.push_back({a, ""});
    } else if (a == "connect" || a == "coex" || a == "adv" || a == "gpio") {
      if (i + 1 >= argc) return usage_error(a + " needs an argument");
      const std::string arg = argv[++i];
      uint8_t peer[6];
      const bool ok = (a == "connect" && parse_address(arg, peer)) ||
                      (a == "coex" && (arg == "high" || arg == "low")) ||
                      (a == "adv" && (arg == "on" || arg == "off")) ||
                      (a == "gpio" && (arg == "fac-init" || arg == "fac-deinit" || arg == "reset" || arg == "bootloader"));
      if (!ok) {
        const char *want = a == "connect" ? "an address like AA:BB:CC:DD:EE:FF"
                           : a == "coex"  ? "high or low"
                           : a == "adv"   ? "on or off"
                                          : "fac-init, fac-deinit, reset or bootloader";
        return usage_error(a + " takes " + want + ", not '" + arg + "'");
      }
      commands.push_back({a, arg});
    } else {
      return usage_error("unknown command '" + a + "'");
    }
  }
  if (commands.empty()) return usage_error("no command given");
  if (!o.port.empty() && o.simulate) return usage_error("--port and --simulate exclude each other");
  // The GPIO lines are files, not the serial line: gpio commands alone need
  // no co-processor.
  const bool gpio_only =
      std::all_of(commands.begin(), commands.end(), [](const Command &c) { return c.name == "gpio"; });
  if (o.port.empty() && !o.simulate && !gpio_only) return usage_error("--port TTY or --simulate is needed");
  if (o.trace && gpio_only && o.port.empty() && !o.simulate) return usage_error("--trace needs --port or --simulate");
  if (!o.root.empty()) setenv("APUTIL_SYSROOT", o.root.c_str(), 1);
  if (gpio_only && o.port.empty() && !o.simulate) {
    bool all_ok = true;
    for (const Command &c : commands) all_ok = run(-1, o, c) && all_ok;
    return finish(all_ok ? 0 : kExitFailed);
  }

  auto print_trace = [](const std::string &line) {
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
  };
  std::unique_ptr<sim::BleCoprocessor> simulator;
  std::unique_ptr<sim::TraceProxy> proxy;
  int real_line = -1;
  std::string line = o.port;
  if (o.simulate) {
    simulator = std::make_unique<sim::BleCoprocessor>();
    const uint8_t status = static_cast<uint8_t>(o.sim_status);
    const std::string root = o.root;
    simulator->set_responder([status, root](const sim::HciCommand &c) { return simulated_reply(c, status, root); });
    if (o.trace)
      simulator->set_observer([print_trace](bool host, const sim::Bytes &b) {
        for (const auto &l : sim::describe(host, b)) print_trace(l);
      });
    line = simulator->device();
  } else if (o.trace) {
    real_line = ble_uart_open(o.port.c_str(), static_cast<uint8_t>(o.mode));  // configures the real port
    if (real_line < 0) return kExitLine;
    proxy = std::make_unique<sim::TraceProxy>(real_line, print_trace);
    line = proxy->device();
  }
  const int fd = ble_uart_open(line.c_str(), static_cast<uint8_t>(o.mode));
  if (fd < 0) {
    std::fprintf(stderr, "ble-factory: cannot open the serial line %s\n", line.c_str());
    return kExitLine;
  }
  bool all_ok = true;
  for (const Command &c : commands) all_ok = run(fd, o, c) && all_ok;
  ble_uart_close(fd);
  proxy.reset();
  if (real_line >= 0) ble_uart_close(real_line);
  return finish(all_ok ? 0 : kExitFailed);
}
