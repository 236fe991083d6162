// A simulated BLE co-processor on the master side of a pseudo-terminal,
// shared by the tests and the ble-factory tool.
//
// The library opens device() as its serial line. A thread reads every byte
// the library writes, decodes HCI command packets (0x01, opcode, length,
// parameters) and answers each from a script kept per opcode: queued
// replies are used once each, in order, then the standing reply (if any),
// then the responder (if set); otherwise silence. Replies may be delayed,
// and raw bytes can be pushed at any time.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace aputil::sim {

using Bytes = std::vector<uint8_t>;

struct Reply {
  Bytes bytes;
  int delay_ms = 0;
};

struct HciCommand {
  uint16_t opcode;
  Bytes params;
};

class BleCoprocessor {
 public:
  BleCoprocessor();
  ~BleCoprocessor();
  BleCoprocessor(const BleCoprocessor &) = delete;
  BleCoprocessor &operator=(const BleCoprocessor &) = delete;

  // The serial line to open (the pty's slave side).
  const std::string &device() const { return device_; }
  // A descriptor of the same line, for inspecting its settings.
  int line_fd() const { return slave_; }

  void reply(uint16_t opcode, Reply r);         // used once
  void reply_always(uint16_t opcode, Reply r);  // used when nothing is queued
  // Answers commands that have no scripted reply (empty bytes: silence).
  void set_responder(std::function<Reply(const HciCommand &)> responder);
  // Called with every command received and every reply sent.
  void set_observer(std::function<void(bool from_host, const Bytes &packet)> observer);
  void push(const Bytes &bytes);                // write bytes now, unasked

  Bytes received() const;                   // every byte the library wrote
  std::vector<HciCommand> commands() const;  // the commands among them
  // Wait until n commands have arrived (at most timeout_ms).
  bool wait_commands(size_t n, int timeout_ms = 2000) const;

  // Reply builders.
  // 04 0E len | 01 opcode status ret...
  static Bytes command_complete(uint16_t opcode, uint8_t status, const Bytes &ret = {});
  // 04 FF len | event status opcode data...
  static Bytes vendor_event(uint16_t event, uint8_t status, uint16_t opcode, const Bytes &data = {});
  // The short vendor reply: 04 FF len code status, then data; after a
  // zero status also the three bytes the library then reads beyond the
  // packet (zeros), so that no read waits for the line timeout.
  static Bytes short_reply(uint16_t code, uint8_t status, const Bytes &data = {});
  // 04 code len | params
  static Bytes event(uint8_t code, const Bytes &params);

 private:
  void serve();
  void answer(const HciCommand &cmd);

  int master_ = -1;
  int slave_ = -1;
  std::string device_;
  bool stop_ = false;
  mutable std::mutex mu_;
  mutable std::condition_variable cv_;
  Bytes received_;
  Bytes pending_;  // bytes not yet decoded
  std::vector<HciCommand> commands_;
  std::map<uint16_t, std::deque<Reply>> queued_;
  std::map<uint16_t, Reply> standing_;
  std::function<Reply(const HciCommand &)> responder_;
  std::function<void(bool, const Bytes &)> observer_;
  std::thread thread_;
};

}  // namespace aputil::sim
