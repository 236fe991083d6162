// HCI packet tracing for ble-factory: readable lines for the packets on a
// line, and a pass-through that shows what crosses a real serial port.
#pragma once

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "blesim/ble_coprocessor.h"

namespace aputil::sim {

// One line per packet in bytes ("> " host to co-processor, "< " back):
// the bytes in hex and the decoded opcode or event. Bytes that form no
// packet are shown raw.
std::vector<std::string> describe(bool from_host, const Bytes &bytes);

// Forwards bytes between a pseudo-terminal (open device() as the line) and
// line_fd, passing every packet to print as it completes.
class TraceProxy {
 public:
  TraceProxy(int line_fd, std::function<void(const std::string &)> print);
  ~TraceProxy();
  TraceProxy(const TraceProxy &) = delete;
  TraceProxy &operator=(const TraceProxy &) = delete;
  const std::string &device() const { return device_; }

 private:
  void run();
  int line_ = -1, master_ = -1, slave_ = -1;
  std::string device_;
  std::function<void(const std::string &)> print_;
  bool stop_ = false;
  std::thread thread_;
};

}  // namespace aputil::sim
