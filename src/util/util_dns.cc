// A stub resolver: one A query over UDP, one wait, addresses from the
// answers.
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "util.h"

namespace {

constexpr int kParseLimit = 1460;
constexpr size_t kPacket = 1500;
constexpr size_t kQuestion = 259;

int g_urandom = -1;
uint16_t g_single_id, g_multi_id;

uint16_t be16(const uint8_t *p) { return static_cast<uint16_t>((p[0] << 8) | p[1]); }

void dns_error(const char *func, int line, const char *text) {
  std::printf("[util_dns_error: %s:%d]%s", func, line, text);
}

void dns_errno(const char *func, int line, const char *what, const char *end) {
  const int err = errno;
  std::printf("[util_dns_error: %s:%d]%s failed:%d(%s).%s", func, line, what, err, std::strerror(err), end);
}

// The messages and lines of one lookup function.
struct Lookup {
  const char *func;
  int input, sock, bind, query, send, recv;
  const char *end;  // line end of the input, socket, bind and query texts
};

const Lookup kSingle = {"util_kx_getHostByName", 349, 357, 373, 395, 415, 438, "\n\r"};
const Lookup kMulti = {"util_kx_getMultiHostByName", 516, 524, 540, 555, 574, 597, "\n\n\r"};

// Query, wait and check the reply. Returns the address count (>= 0), -1 on
// a failure after which nothing was parsed.
int lookup(const Lookup &l, uint16_t &id_word, const char *name, uint32_t server, int32_t timeout, uint32_t *addrs,
           int32_t max) {
  char text[64];
  if (!name || !name[0] || server == 0) {
    std::snprintf(text, sizeof text, "input params are NULL.%s", l.end);
    dns_error(l.func, l.input, text);
    return -1;
  }
  const int fd = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
  if (fd < 0) {
    dns_errno(l.func, l.sock, "create sock", l.end);
    return -1;
  }
  do {
    sockaddr_in local{};
    local.sin_family = AF_INET;
    if (bind(fd, reinterpret_cast<sockaddr *>(&local), sizeof local) != 0) {
      dns_errno(l.func, l.bind, "bind sock", l.end);
      break;
    }
    uint8_t pkt[kPacket];
    std::memset(pkt, 0, sizeof pkt);
    ++id_word;
    util_kx_genNextDnsTransId(&id_word);
    const uint16_t id = htons(id_word);
    std::memcpy(pkt, &id, 2);
    pkt[2] = 0x01;  // recursion desired
    pkt[5] = 1;     // one question
    uint8_t question[kQuestion] = {0};
    const size_t name_len = std::strcspn(name, "/");
    const uint32_t qlen = name_len + 6 <= kQuestion ? util_kx_generateDnsQueryField(name, question) : 0;
    if (qlen == 0) {
      std::snprintf(text, sizeof text, "util_kx_generateDnsQueryField failed.%s", l.end);
      dns_error(l.func, l.query, text);
      break;
    }
    std::memcpy(pkt + 12, question, qlen);
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(53);
    to.sin_addr.s_addr = htonl(server);
    if (sendto(fd, pkt, 12 + qlen, 0, reinterpret_cast<sockaddr *>(&to), sizeof to) == -1) {
      dns_errno(l.func, l.send, "sendto", "\n\r");
      break;
    }
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(fd, &readable);
    timeval tv{timeout, 0};
    if (select(fd + 1, &readable, nullptr, nullptr, &tv) <= 0) break;  // silently
    sockaddr_in from{};
    socklen_t from_len = sizeof from;
    if (recvfrom(fd, pkt, kPacket, 0, reinterpret_cast<sockaddr *>(&from), &from_len) < 0) {
      dns_errno(l.func, l.recv, "recvfrom", "\n\r");
      break;
    }
    const uint16_t flags = be16(pkt + 2);
    if (be16(pkt) != id_word || !(flags & 0x8000) || (flags & 0x000F) != 0) break;  // silently
    close(fd);
    return util_kx_getIpFromDnsReplyPkt(pkt, static_cast<int32_t>(qlen), question, addrs, max);
  } while (false);
  close(fd);
  return -1;
}

}  // namespace

extern "C" {

APUTIL_API int util_kx_genNextDnsTransId(uint16_t *id) {
  if (!id) return 0;
  if (g_urandom == -1) g_urandom = open("/dev/urandom", O_RDONLY);  // kept open for the process
  if (g_urandom >= 0 && read(g_urandom, id, 2) == 2) return 0;
  timespec ts{};
  if (clock_gettime(CLOCK_REALTIME, &ts) == 0)
    *id = static_cast<uint16_t>((static_cast<uint64_t>(ts.tv_sec) + static_cast<uint64_t>(ts.tv_nsec)) % 65535);
  return 0;
}

APUTIL_API uint32_t util_kx_generateDnsQueryField(const char *name, uint8_t *out) {
  if (!name || !name[0] || !out) {
    dns_error("util_kx_generateDnsQueryField", 267, "invalid input params\n\r");
    return 0;
  }
  uint32_t i = 0, pending = 0, count = 0;
  for (; name[i] && name[i] != '/'; ++i) {
    if (name[i] == '.') {
      out[pending] = static_cast<uint8_t>(count);
      pending += count + 1;
      count = 0;
    } else {
      out[1 + i] = static_cast<uint8_t>(name[i]);
      ++count;
    }
  }
  if (count) out[pending] = static_cast<uint8_t>(count);
  out[1 + i] = 0;
  out[2 + i] = 0;
  out[3 + i] = 1;  // QTYPE A
  out[4 + i] = 0;
  out[5 + i] = 1;  // QCLASS IN
  return i + 6;
}

APUTIL_API int util_kx_getIpFromDnsReplyPkt(const uint8_t *pkt, int32_t qlen, const uint8_t *question,
                                            uint32_t *addrs, int32_t max) {
  if (!question || max < 1 || !pkt || !addrs || qlen < 0) {
    dns_error("util_kx_getIpFromDnsReplyPkt", 165, "invalid input param.\n\r");
    return 0;
  }
  int L = 12 + qlen;  // running length; counts 4 more than pos per A record
  if (qlen > kParseLimit || L > kParseLimit) return 0;
  if (std::memcmp(pkt + 12, question, static_cast<size_t>(qlen)) != 0) {
    dns_error("util_kx_getIpFromDnsReplyPkt", 181, "query field in answer pkt is different from request pkt.\n\r");
    return 0;
  }
  int pos = L;
  int found = 0;
  for (int n = be16(pkt + 6); n > 0; --n) {
    const uint8_t *rec = pkt + pos;
    int rdlength;
    int data;  // where the record's data starts
    if (rec[0] == 0xC0) {  // compression pointer; its offset byte is ignored
      if (L + 2 > kParseLimit || L + 10 > kParseLimit) return 0;
      const int type = be16(rec + 2);
      rdlength = be16(rec + 10);
      data = pos + 12;
      if (type == 1) {
        if ((L += 16) > kParseLimit) return 0;
        std::memcpy(&addrs[found++], rec + 12, 4);
        if (found == max) return found;
      } else if ((L += 12) > kParseLimit) {
        return 0;
      }
    } else {  // a full owner name: skipped, never taken
      int z = pos;
      while (pkt[z] != 0) {
        ++z;
        if (++L >= kParseLimit + 1) return 0;
      }
      if (L == kParseLimit || L + 9 > kParseLimit || L + 11 > kParseLimit) return 0;
      rdlength = be16(pkt + z + 9);
      data = z + 11;
      L += 11;
    }
    if ((L += rdlength) > kParseLimit) return 0;
    pos = data + rdlength;
  }
  return found;
}

APUTIL_API uint32_t util_kx_getHostByName(const char *name, uint32_t server, int32_t timeout) {
  uint32_t addr = 0;
  return lookup(kSingle, g_single_id, name, server, timeout, &addr, 1) == 1 ? addr : 0;
}

APUTIL_API int util_kx_getMultiHostByName(const char *name, uint32_t server, int32_t timeout, uint32_t *addrs,
                                          uint32_t max) {
  return lookup(kMulti, g_multi_id, name, server, timeout, addrs, static_cast<int32_t>(max));
}

}  // extern "C"
