// A scripted DNS server on UDP for the resolver's tests, and a private
// network namespace for it to listen in (port 53 on a loopback nobody else
// uses).
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace aputil::test {

using Packet = std::vector<uint8_t>;

// Move this process into a new network namespace with loopback up.
// Returns false (with the reason) where that is not permitted.
bool enter_private_network(std::string *why);

class DnsServer {
 public:
  // script answers one query: the reply to send, or nothing for silence.
  using Script = std::function<Packet(const Packet &query)>;

  explicit DnsServer(Script script, const char *addr = "127.0.0.1", uint16_t port = 53);
  ~DnsServer();
  DnsServer(const DnsServer &) = delete;
  DnsServer &operator=(const DnsServer &) = delete;

  bool listening() const { return fd_ >= 0; }
  std::vector<Packet> queries() const;

  // A reply to query: its ID (xor id_flip), the given flags, its question,
  // then the answers; ancount overrides the answer count when >= 0.
  static Packet reply(const Packet &query, uint16_t flags, const std::vector<Packet> &answers, int ancount = -1,
                      uint16_t id_flip = 0);
  // An answer record: owner name as a compression pointer to the question
  // (0xC0 0x0C) or as a full name, then type, class IN, TTL, data.
  static Packet answer(uint16_t type, const Packet &data, bool pointer = true);
  static Packet a(uint8_t a, uint8_t b, uint8_t c, uint8_t d, bool pointer = true) {
    return answer(1, {a, b, c, d}, pointer);
  }

 private:
  void serve();

  Script script_;
  int fd_ = -1;
  bool stop_ = false;
  mutable std::mutex mu_;
  std::vector<Packet> queries_;
  std::thread thread_;
};

}  // namespace aputil::test
