// The DNS stub resolver: query encoding, reply parsing, and lookups against
// a scripted server (and dnsmasq, when installed) in a private network.
#include <arpa/inet.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/dns_server.h"
#include "support/model_tree.h"
#include "util.h"

namespace aputil::test {
namespace {

constexpr uint32_t kLoopback = 0x7F000001;

Packet question(const char *name) {
  Packet q(300, 0);
  q.resize(util_kx_generateDnsQueryField(name, q.data()));
  return q;
}

TEST(DnsQuery, LabelsAndQuirks) {
  EXPECT_EQ(question("www.example.com"),
            (Packet{3, 'w', 'w', 'w', 7, 'e', 'x', 'a', 'm', 'p', 'l', 'e', 3, 'c', 'o', 'm', 0, 0, 1, 0, 1}));
  EXPECT_EQ(question("host.lan/path/x.y"), (Packet{4, 'h', 'o', 's', 't', 3, 'l', 'a', 'n', 0, 0, 1, 0, 1}));
  // A trailing dot leaves its length byte at the caller's zero: one more zero.
  EXPECT_EQ(question("a."), (Packet{1, 'a', 0, 0, 0, 1, 0, 1}));
  EXPECT_EQ(question("a..b"), (Packet{1, 'a', 0, 1, 'b', 0, 0, 1, 0, 1}));
  const std::string label(70, 'x');  // no 63-character limit
  EXPECT_EQ(question(label.c_str())[0], 70);
  uint8_t out[8];
  EXPECT_EQ(stdout_of([&] {
              EXPECT_EQ(util_kx_generateDnsQueryField("", out), 0u);
              EXPECT_EQ(util_kx_generateDnsQueryField(nullptr, out), 0u);
            }),
            "[util_dns_error: util_kx_generateDnsQueryField:267]invalid input params\n\r"
            "[util_dns_error: util_kx_generateDnsQueryField:267]invalid input params\n\r");
  uint16_t a = 0, b = 0;
  EXPECT_EQ(util_kx_genNextDnsTransId(&a), 0);
  EXPECT_EQ(util_kx_genNextDnsTransId(&b), 0);
  EXPECT_NE(a, b);  // two random words (1 in 65536 to be equal)
}

// A 1,500-byte reply buffer holding a header, the question and answers.
Packet reply_buffer(const Packet &q, int ancount, const std::vector<Packet> &answers) {
  Packet query = {0x12, 0x34, 0x01, 0x00, 0, 1, 0, 0, 0, 0, 0, 0};
  query.insert(query.end(), q.begin(), q.end());
  Packet r = DnsServer::reply(query, 0x8180, answers, ancount);
  r.resize(1500, 0);
  return r;
}

int parse(const Packet &pkt, const Packet &q, uint32_t *addrs, int max) {
  return util_kx_getIpFromDnsReplyPkt(pkt.data(), static_cast<int32_t>(q.size()), q.data(), addrs, max);
}

TEST(DnsReply, TakesPointerARecordsOnly) {
  const Packet q = question("host.lan");
  uint32_t addrs[4] = {};
  using S = DnsServer;
  EXPECT_EQ(parse(reply_buffer(q, 2, {S::a(10, 0, 0, 1), S::a(10, 0, 0, 2)}), q, addrs, 4), 2);
  EXPECT_EQ(addrs[0], htonl(0x0A000001));  // network byte order
  EXPECT_EQ(addrs[1], htonl(0x0A000002));
  // A CNAME behind a pointer is skipped; the A record after it is taken.
  const Packet cname = S::answer(5, {3, 'w', 'w', 'w', 0xC0, 0x0C});
  EXPECT_EQ(parse(reply_buffer(q, 2, {cname, S::a(10, 0, 0, 3)}), q, addrs, 4), 1);
  EXPECT_EQ(addrs[0], htonl(0x0A000003));
  // Full owner names are never taken, but skipped correctly.
  EXPECT_EQ(parse(reply_buffer(q, 2, {S::a(9, 9, 9, 9, false), S::a(10, 0, 0, 4)}), q, addrs, 4), 1);
  EXPECT_EQ(addrs[0], htonl(0x0A000004));
  // Capacity ends the walk.
  EXPECT_EQ(parse(reply_buffer(q, 3, {S::a(1, 1, 1, 1), S::a(2, 2, 2, 2), S::a(3, 3, 3, 3)}), q, addrs, 2), 2);
  // The question must be the one sent.
  const Packet other = question("other.lan");
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(parse(reply_buffer(other, 1, {S::a(1, 1, 1, 1)}), q, addrs, 4), 0); }),
            "[util_dns_error: util_kx_getIpFromDnsReplyPkt:181]query field in answer pkt is different from request "
            "pkt.\n\r");
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(parse(reply_buffer(q, 1, {}), q, addrs, 0), 0); }),
            "[util_dns_error: util_kx_getIpFromDnsReplyPkt:165]invalid input param.\n\r");
}

TEST(DnsReply, StaysInsideTheBuffer) {
  const Packet q = question("host.lan");
  uint32_t addrs[64];
  using S = DnsServer;
  // A count far beyond the records present: the zero bytes after them read
  // as full names of length 0 until the 1460-byte bound stops the walk, and
  // the addresses found are dropped.
  EXPECT_EQ(parse(reply_buffer(q, 0xFFFF, {S::a(1, 1, 1, 1)}), q, addrs, 64), 0);
  // A huge RDLENGTH is caught before it is followed.
  Packet big = S::a(1, 1, 1, 1);
  big[10] = 0xFF;
  big[11] = 0xFF;
  EXPECT_EQ(parse(reply_buffer(q, 2, {big, S::a(2, 2, 2, 2)}), q, addrs, 64), 0);
  // The running length counts 20 bytes per 16-byte A record: after the
  // 26 bytes of header and question, 71 records fit the 1460-byte bound and
  // a 72nd voids the whole reply, though all of it lies within the packet.
  uint32_t lots[100];
  std::vector<Packet> many(71, S::a(7, 7, 7, 7));
  EXPECT_EQ(parse(reply_buffer(q, 71, many), q, lots, 100), 71);
  many.push_back(S::a(7, 7, 7, 7));
  EXPECT_EQ(parse(reply_buffer(q, 72, many), q, lots, 100), 0);
  EXPECT_EQ(parse(reply_buffer(q, 72, many), q, lots, 64), 64);  // capacity reached first
  // Random bytes after a valid question, under the address sanitizer in the
  // asan build: never a read outside the 1,500 bytes.
  std::mt19937 rng(12345);
  for (int round = 0; round < 2000; ++round) {
    Packet pkt = reply_buffer(q, 0, {});
    for (size_t i = 12 + q.size(); i < pkt.size(); ++i) pkt[i] = static_cast<uint8_t>(rng());
    pkt[6] = static_cast<uint8_t>(rng());
    pkt[7] = static_cast<uint8_t>(rng());
    const Packet copy(pkt.begin(), pkt.end());
    std::vector<uint8_t> exact(copy);  // exactly 1,500 bytes on the heap
    util_kx_getIpFromDnsReplyPkt(exact.data(), static_cast<int32_t>(q.size()), q.data(), addrs, 64);
  }
}

TEST(DnsLookup, InputErrors) {
  EXPECT_EQ(stdout_of([] { EXPECT_EQ(util_kx_getHostByName("", kLoopback, 1), 0u); }),
            "[util_dns_error: util_kx_getHostByName:349]input params are NULL.\n\r");
  uint32_t addrs[2];
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(util_kx_getMultiHostByName("x", 0, 1, addrs, 2), -1); }),
            "[util_dns_error: util_kx_getMultiHostByName:516]input params are NULL.\n\n\r");
  const std::string huge(260, 'h');  // its question would not fit 259 bytes
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(util_kx_getMultiHostByName(huge.c_str(), kLoopback, 0, addrs, 2), -1); }),
            "[util_dns_error: util_kx_getMultiHostByName:555]util_kx_generateDnsQueryField failed.\n\n\r");
}

class DnsLookupTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string why;
    if (!enter_private_network(&why)) GTEST_SKIP() << why;
  }
};

TEST_F(DnsLookupTest, QueryBytesAndAcceptedReplies) {
  using S = DnsServer;
  int mode = 0;
  S server([&](const Packet &q) -> Packet {
    switch (mode) {
      case 0: return S::reply(q, 0x8180, {S::a(10, 1, 2, 3), S::a(10, 1, 2, 4), S::a(10, 1, 2, 5)});
      case 1: return S::reply(q, 0x8183, {});                      // RCODE 3
      case 2: return S::reply(q, 0x8180, {S::a(1, 1, 1, 1)}, -1, 1);  // wrong ID
      case 3: return S::reply(q, 0x0180, {S::a(1, 1, 1, 1)});      // QR clear
      case 4: return S::reply(q, 0x8180, {S::a(1, 1, 1, 1, false)});  // full names only
      default: return {};                                           // silence
    }
  });
  ASSERT_TRUE(server.listening());

  EXPECT_EQ(util_kx_getHostByName("host.lan/index.html", kLoopback, 2), htonl(0x0A010203));
  ASSERT_EQ(server.queries().size(), 1u);
  const Packet sent = server.queries()[0];
  Packet want = {sent[0], sent[1], 0x01, 0x00, 0, 1, 0, 0, 0, 0, 0, 0};
  const Packet q = question("host.lan");
  want.insert(want.end(), q.begin(), q.end());
  EXPECT_EQ(sent, want);

  uint32_t addrs[2] = {};
  EXPECT_EQ(util_kx_getMultiHostByName("host.lan", kLoopback, 2, addrs, 2), 2);  // capacity 2 of 3
  EXPECT_EQ(addrs[1], htonl(0x0A010204));
  EXPECT_NE(server.queries()[1][0] << 8 | server.queries()[1][1], sent[0] << 8 | sent[1]);  // a fresh id

  for (mode = 1; mode <= 3; ++mode) {
    EXPECT_EQ(util_kx_getHostByName("host.lan", kLoopback, 2), 0u) << mode;
    EXPECT_EQ(util_kx_getMultiHostByName("host.lan", kLoopback, 2, addrs, 2), -1) << mode;
  }
  mode = 4;
  EXPECT_EQ(util_kx_getMultiHostByName("host.lan", kLoopback, 2, addrs, 2), 0);  // valid, no usable address
  mode = 5;
  EXPECT_EQ(util_kx_getMultiHostByName("host.lan", kLoopback, 0, addrs, 2), -1);  // no reply in time
  EXPECT_EQ(stdout_of([] { EXPECT_EQ(util_kx_getHostByName("host.lan", 0x0A090909, 0), 0u); }),
            "[util_dns_error: util_kx_getHostByName:415]sendto failed:101(Network is unreachable).\n\r");
}

TEST_F(DnsLookupTest, EndToEndThroughDnsmasq) {
  const char *dnsmasq = "/usr/sbin/dnsmasq";
  if (access(dnsmasq, X_OK) != 0) GTEST_SKIP() << "dnsmasq is not installed (Debian package dnsmasq-base)";
  const pid_t pid = fork();
  if (pid == 0) {
    execl(dnsmasq, dnsmasq, "--keep-in-foreground", "--conf-file=/dev/null", "--no-resolv", "--no-hosts",
          "--listen-address=127.0.0.1", "--bind-interfaces", "--port=53", "--user=root", "--pid-file=",
          "--address=/printer.aputil.test/192.0.2.7", static_cast<char *>(nullptr));
    _exit(127);
  }
  uint32_t addr = 0;
  for (int attempt = 0; attempt < 20 && addr == 0; ++attempt) {
    addr = util_kx_getHostByName("printer.aputil.test", kLoopback, 1);
    if (!addr) usleep(100000);
  }
  kill(pid, SIGTERM);
  waitpid(pid, nullptr, 0);
  EXPECT_EQ(addr, htonl(0xC0000207));
}

}  // namespace
}  // namespace aputil::test
