#include "support/dns_server.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace aputil::test {

bool enter_private_network(std::string *why) {
  if (unshare(CLONE_NEWNET) != 0) {
    *why = std::string("cannot make a network namespace: ") + std::strerror(errno);
    return false;
  }
  const int s = socket(AF_INET, SOCK_DGRAM, 0);
  ifreq ifr{};
  std::strncpy(ifr.ifr_name, "lo", IFNAMSIZ - 1);
  const bool up = s >= 0 && ioctl(s, SIOCGIFFLAGS, &ifr) == 0 && (ifr.ifr_flags |= IFF_UP, true) &&
                  ioctl(s, SIOCSIFFLAGS, &ifr) == 0;
  if (s >= 0) close(s);
  if (!up) *why = std::string("cannot bring loopback up: ") + std::strerror(errno);
  return up;
}

DnsServer::DnsServer(Script script, const char *addr, uint16_t port) : script_(std::move(script)) {
  fd_ = socket(AF_INET, SOCK_DGRAM, 0);
  sockaddr_in sa{};
  sa.sin_family = AF_INET;
  sa.sin_port = htons(port);
  inet_pton(AF_INET, addr, &sa.sin_addr);
  if (fd_ >= 0 && bind(fd_, reinterpret_cast<sockaddr *>(&sa), sizeof sa) != 0) {
    close(fd_);
    fd_ = -1;
  }
  if (fd_ >= 0) thread_ = std::thread([this] { serve(); });
}

DnsServer::~DnsServer() {
  {
    std::lock_guard<std::mutex> lock(mu_);
    stop_ = true;
  }
  if (thread_.joinable()) thread_.join();
  if (fd_ >= 0) close(fd_);
}

std::vector<Packet> DnsServer::queries() const {
  std::lock_guard<std::mutex> lock(mu_);
  return queries_;
}

void DnsServer::serve() {
  for (;;) {
    {
      std::lock_guard<std::mutex> lock(mu_);
      if (stop_) return;
    }
    pollfd p{fd_, POLLIN, 0};
    if (poll(&p, 1, 10) <= 0) continue;
    uint8_t buf[1500];
    sockaddr_in from{};
    socklen_t len = sizeof from;
    const ssize_t n = recvfrom(fd_, buf, sizeof buf, 0, reinterpret_cast<sockaddr *>(&from), &len);
    if (n <= 0) continue;
    Packet query(buf, buf + n);
    {
      std::lock_guard<std::mutex> lock(mu_);
      queries_.push_back(query);
    }
    const Packet out = script_(query);
    if (!out.empty()) sendto(fd_, out.data(), out.size(), 0, reinterpret_cast<sockaddr *>(&from), len);
  }
}

Packet DnsServer::reply(const Packet &query, uint16_t flags, const std::vector<Packet> &answers, int ancount,
                        uint16_t id_flip) {
  Packet r(query.begin(), query.end());  // header and question
  r[0] ^= static_cast<uint8_t>(id_flip >> 8);
  r[1] ^= static_cast<uint8_t>(id_flip & 0xFF);
  r[2] = static_cast<uint8_t>(flags >> 8);
  r[3] = static_cast<uint8_t>(flags & 0xFF);
  const int count = ancount >= 0 ? ancount : static_cast<int>(answers.size());
  r[6] = static_cast<uint8_t>(count >> 8);
  r[7] = static_cast<uint8_t>(count & 0xFF);
  for (const Packet &a : answers) r.insert(r.end(), a.begin(), a.end());
  return r;
}

Packet DnsServer::answer(uint16_t type, const Packet &data, bool pointer) {
  Packet r = pointer ? Packet{0xC0, 0x0C} : Packet{4, 'h', 'o', 's', 't', 0};
  const uint8_t fixed[] = {
      static_cast<uint8_t>(type >> 8),        static_cast<uint8_t>(type & 0xFF),       0, 1, 0, 0, 0x0E, 0x10,
      static_cast<uint8_t>(data.size() >> 8), static_cast<uint8_t>(data.size() & 0xFF)};
  r.insert(r.end(), fixed, fixed + sizeof fixed);
  r.insert(r.end(), data.begin(), data.end());
  return r;
}

}  // namespace aputil::test
