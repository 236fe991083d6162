#include "blesim/hci_trace.h"

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include <cstdio>

namespace aputil::sim {
namespace {

const char *opcode_name(uint16_t op) {
  switch (op) {
    case 0x20A0: return "coexistence pin high";
    case 0x20A1: return "coexistence pin low";
    case 0xFF08: return "advertising disable";
    case 0xFF07: return "advertising enable";
    case 0x1405: return "Read RSSI";
    case 0xFF02: return "read MAC address";
    case 0xFC11: return "set max DTM tx power";
    case 0x201E: return "LE Transmitter Test";
    case 0x201D: return "LE Receiver Test";
    case 0x2034: return "LE Enhanced Transmitter Test";
    case 0x2033: return "LE Enhanced Receiver Test";
    case 0x201F: return "LE Test End";
    case 0xFC01: return "set tx power";
    case 0xFC08: return "vendor tx test";
    case 0xFC0A: return "vendor rx test";
    case 0xFC27: return "vendor enhanced tx test";
    case 0xFC29: return "vendor enhanced rx test";
    case 0xFC0B: return "vendor test end";
    case 0xFE00: return "GAP device init";
    case 0xFE62: return "connect peer";
    default: return "command";
  }
}

std::string hex(const Bytes &b, size_t from, size_t n) {
  std::string s;
  char x[4];
  for (size_t i = from; i < from + n && i < b.size(); ++i) {
    std::snprintf(x, sizeof x, "%02x ", b[i]);
    s += x;
  }
  return s;
}

std::string decode(bool from_host, const Bytes &p) {
  char text[128];
  if (from_host) {
    const uint16_t op = static_cast<uint16_t>(p[1] | p[2] << 8);
    std::snprintf(text, sizeof text, "%s (0x%04x)", opcode_name(op), op);
  } else if (p[1] == 0x0E && p.size() >= 7) {
    const uint16_t op = static_cast<uint16_t>(p[4] | p[5] << 8);
    std::snprintf(text, sizeof text, "Command Complete for %s (0x%04x), status 0x%02x", opcode_name(op), op, p[6]);
  } else if (p[1] == 0xFF && p.size() >= 6) {
    const uint16_t ev = static_cast<uint16_t>(p[3] | p[4] << 8);
    std::snprintf(text, sizeof text, "vendor event 0x%04x, status 0x%02x", ev, p[5]);
  } else {
    std::snprintf(text, sizeof text, "event 0x%02x", p[1]);
  }
  return text;
}

}  // namespace

std::vector<std::string> describe(bool from_host, const Bytes &bytes) {
  std::vector<std::string> lines;
  const char *dir = from_host ? "> " : "< ";
  const uint8_t kind = from_host ? 0x01 : 0x04;
  const size_t header = from_host ? 4 : 3;
  size_t i = 0;
  std::string stray;  // a run of bytes that form no packet, shown as one line
  auto flush_stray = [&] {
    if (!stray.empty()) lines.push_back(dir + stray + " (not a packet)");
    stray.clear();
  };
  while (i < bytes.size()) {
    const size_t n = header + (i + header <= bytes.size() ? bytes[i + header - 1] : 0);
    if (bytes[i] != kind || i + header > bytes.size() || i + n > bytes.size()) {
      stray += hex(bytes, i, 1);
      ++i;
      continue;
    }
    flush_stray();
    const Bytes p(bytes.begin() + static_cast<long>(i), bytes.begin() + static_cast<long>(i + n));
    lines.push_back(dir + hex(p, 0, n) + " " + decode(from_host, p));
    i += n;
  }
  flush_stray();
  return lines;
}

TraceProxy::TraceProxy(int line_fd, std::function<void(const std::string &)> print)
    : line_(line_fd), print_(std::move(print)) {
  master_ = posix_openpt(O_RDWR | O_NOCTTY);
  if (master_ >= 0 && grantpt(master_) == 0 && unlockpt(master_) == 0) {
    device_ = ptsname(master_);
    slave_ = open(device_.c_str(), O_RDWR | O_NOCTTY);  // held: the master never sees a hang-up
  }
  thread_ = std::thread([this] { run(); });
}

TraceProxy::~TraceProxy() {
  stop_ = true;
  thread_.join();
  if (slave_ >= 0) close(slave_);
  if (master_ >= 0) close(master_);
}

void TraceProxy::run() {
  Bytes pending[2];  // [0] from the host, [1] from the co-processor
  while (!stop_ && master_ >= 0) {
    pollfd p[2] = {{master_, POLLIN, 0}, {line_, POLLIN, 0}};
    if (poll(p, 2, 10) <= 0) continue;
    for (int side = 0; side < 2; ++side) {
      if (!(p[side].revents & POLLIN)) continue;
      uint8_t buf[256];
      const ssize_t n = read(p[side].fd, buf, sizeof buf);
      if (n <= 0) continue;
      if (write(side == 0 ? line_ : master_, buf, static_cast<size_t>(n)) != n) continue;
      Bytes &acc = pending[side];
      acc.insert(acc.end(), buf, buf + n);
      // Print whole packets as they complete; keep a partial one.
      const bool host = side == 0;
      const size_t header = host ? 4 : 3;
      while (!acc.empty()) {
        const bool packet = acc[0] == (host ? 0x01 : 0x04);
        const size_t need = packet ? (acc.size() >= header ? header + acc[header - 1] : SIZE_MAX) : 1;
        if (need == SIZE_MAX || acc.size() < need) break;
        for (const auto &line : describe(host, Bytes(acc.begin(), acc.begin() + static_cast<long>(need))))
          print_(line);
        acc.erase(acc.begin(), acc.begin() + static_cast<long>(need));
      }
    }
  }
}

}  // namespace aputil::sim
