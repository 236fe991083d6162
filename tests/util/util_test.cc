// System helpers, conversions and the DNS stub resolver: a table per
// behaviour, a row per case. In this program semget, semop, fork, read and
// clock_gettime can be made to fail or to answer fixed values, system answers
// for one I2C address only, and sendto keeps netlink messages instead of
// sending them (and can be made to fail).
#include "util.h"

#include <arpa/inet.h>
#include <dlfcn.h>
#include <linux/netlink.h>
#include <sys/sem.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "support/dns_server.h"
#include "support/model_tree.h"

namespace aputil::test {

int g_fails, g_errno;     // the next g_fails calls of semop, semget, fork, read or netlink sendto fail with g_errno
const timespec *g_clock;  // every clock reads this when set
std::pair<const char *, int> g_answer{"", 0};  // system: a command naming first answers second, others exit with 1
std::string g_commands;                        // the commands system ran
std::string g_sent;                            // the last netlink datagram and its address, in hex

std::string hex(const void *p, size_t n) {
  std::string s;
  for (auto *b = static_cast<const uint8_t *>(p); n--; ++b)
    s += {"0123456789abcdef"[*b >> 4], "0123456789abcdef"[*b & 15]};
  return s;
}
bool fails() {
  if (g_fails <= 0) return false;
  --g_fails;
  errno = g_errno;
  return true;
}

extern "C" {
int semop(int id, sembuf *ops, size_t n) { return fails() ? -1 : static_cast<int>(syscall(SYS_semop, id, ops, n)); }
int semget(key_t key, int n, int flags) { return fails() ? -1 : static_cast<int>(syscall(SYS_semget, key, n, flags)); }
pid_t fork() { return fails() ? -1 : reinterpret_cast<pid_t (*)()>(dlsym(RTLD_NEXT, "fork"))(); }
ssize_t read(int fd, void *buf, size_t n) { return fails() ? -1 : syscall(SYS_read, fd, buf, n); }
int clock_gettime(clockid_t id, timespec *ts) {
  if (g_clock) *ts = *g_clock;
  return g_clock ? 0 : static_cast<int>(syscall(SYS_clock_gettime, id, ts));
}
int system(const char *cmd) {
  g_commands += cmd + std::string("\n");
  return std::strstr(cmd, g_answer.first) ? g_answer.second : 256;
}
ssize_t sendto(int fd, const void *buf, size_t n, int flags, const sockaddr *to, socklen_t to_len) {
  if (!to || to->sa_family != AF_NETLINK) return syscall(SYS_sendto, fd, buf, n, flags, to, to_len);
  g_sent = hex(buf, n) + " " + hex(to, to_len);  // kept here, never sent
  return fails() ? -1 : static_cast<ssize_t>(n);
}
}

namespace {

using namespace std::string_literals;
using S = DnsServer;
std::string txt(const char *s) { return s ? s : "NULL"; }
std::string txt(const std::string &s) { return s; }
std::string txt(long long v) { return std::to_string(v); }
std::string times(int n, const std::string &s) { return n > 0 ? s + times(n - 1, s) : ""; }
std::string dotted(uint32_t net) { return inet_ntoa(in_addr{net}); }
std::string dotted(const uint32_t *net, int n) { return n > 0 ? " " + dotted(*net) + dotted(net + 1, n - 1) : ""; }
template <class F>
int failing(int calls, int err, F call) {  // the call is expected to use all the failures
  g_fails = calls;
  g_errno = err;
  return call();
}

// Table rows: a call, its answer as text, and all it prints. THEN answers
// the call's result and then what the expression after it reads.
#define CALL(...) [&] { return txt((__VA_ARGS__)); }
#define THEN(call, ...) CALL(then((call), [&] { return txt(__VA_ARGS__); }))
std::string then(const auto &rc, auto after) { return txt(rc) + " " + after(); }
struct Row {
  std::function<std::string()> call;
  std::string want, out = "";
};
void expect_rows(std::initializer_list<Row> rows) {
  for (const Row &r : rows) EXPECT_EQ(stdout_of([&] { EXPECT_EQ(r.call(), r.want) << r.want; }), r.out) << r.want;
}
// Quiet cases: f of each input, as text, against the wanted answer at the same place.
template <class In, class F>
void expect_each(F f, std::initializer_list<In> in, std::initializer_list<std::string> want) {
  ASSERT_EQ(in.size(), want.size());
  for (size_t i = 0; i < in.size(); ++i) EXPECT_EQ(txt(f(in.begin()[i])), want.begin()[i]) << "case " << i;
}

// ---- processes ----

// The exit code is not looked at, a signal is; the command line is cut to
// 255 characters before ';' and "&&" are looked for, and nothing else is.
// One semaphore set to 1 per key; a second process waits for the lock, and
// what a process dies holding is given back. A wait gives up after 30
// interruptions by signals.
TEST(UtilProc, ShellCommandsAndTheLock) {
  FirmwareRoot root;
  const std::string f = root.host("/out"), cut = "echo " + std::string(245, 'y') + " > /dev/null;x";
  const std::string refused = "Parameter contains illegal character!";
  expect_each<const char *>(util_systemEx, {"exit 3", "kill -9 $$", nullptr}, {"0", "-1", "-1"});
  const int key = 0x5A000000 | (getpid() & 0xFFFFFF);
  int id = -1, again = -1, status = -1;  // id is removed at the end
  ASSERT_EQ((std::tuple{util_init_sem(&id, key), util_init_sem(&again, key), again == id, semctl(id, 0, GETVAL),
                        util_sem_lock(id), semctl(id, 0, GETVAL)}),
            (std::tuple{0, 0, true, 1, 0, 0}));
  const pid_t child = fork();
  if (child == 0) _exit(util_sem_lock(id));  // ends holding the lock
  while (semctl(id, 0, GETNCNT) == 0) usleep(1000);
  ASSERT_EQ(util_sem_unlock(id), 0);
  EXPECT_EQ((std::tuple{waitpid(child, &status, 0), status, semctl(id, 0, GETVAL)}), (std::tuple{child, 0, 1}));
  const auto lock = [&] { return util_sem_lock(id); };
  expect_rows({
      // Shell commands
      {CALL(failing(1, EAGAIN, [] { return util_systemEx("true"); })), "-1"},
      {CALL(util_execFormatCmd("%s", cut.c_str())), "0"},
      {THEN(util_execFormatCmd("echo %s > %s", "a;b", f.c_str()), read_file(f)), "-1 ", refused},
      {THEN(util_execFormatCmd("true && echo x > %s", f.c_str()), read_file(f)), "-1 ", refused},
      {THEN(util_execFormatCmd("false || echo ran | cat > %s", f.c_str()), read_file(f)), "0 ran\n"},
      // The lock
      {CALL(failing(30, EINTR, lock)), "-1", times(30, "lock interrupted by signal\n")},
      {CALL(failing(1, EAGAIN, lock)), "-1", "timed out, reason =Resource temporarily unavailable rc=-1\n"},
      {CALL(util_sem_lock(-1)), "-1", "lock failed, reason=Invalid argument rc=-1\n"},
      {CALL(util_sem_unlock(-1)), "-1", "release lock failed, reason=Invalid argument\n"},
      {CALL(util_init_sem(nullptr, 1)), "-1", "pSemid == NULL\n"},
      {CALL(failing(2, ENOSPC, [&] { return util_init_sem(&again, key + 1); })), "-1",
       "semget failed, reason: No space left on device\n"},
  });
  semctl(id, 0, IPC_RMID);
}

// ---- clock, files, random bytes, netlink ----

// The monotonic clock in its units (any other is seconds); whole files
// through the host root (a folder opens but does not read); random bytes
// from the running system whatever the root; a netlink message is a header
// and the payload to the kernel (AF_NETLINK, port 0).
TEST(UtilIo, ClockFilesRandomBytesAndNetlink) {
  const timespec now{5, 123456789};
  g_clock = &now;
  expect_each<int>(util_getUptime, {0, 1, 2, 7}, {"5", "5123", "5123456", "5"});  // s, ms, us, other
  g_clock = nullptr;
  EXPECT_GT(util_getTimestamp(), 1700000000000ull);  // wall-clock milliseconds
  FirmwareRoot root;
  root.write("/etc/data", "12345678");
  root.write("/etc/dir/x", "");  // a folder with an entry has a size on every file system
  ASSERT_EQ(symlink("/dev/full", root.host("/full").c_str()), 0);
  char buf[16] = {}, big[8192] = {}, a[32], b[32];
  expect_rows({
      {THEN(util_readFileToBuf("/etc/data", buf, 8), buf), "8 12345678"},
      {CALL(util_readFileToBuf("/etc/data", buf, 7)), "-1", "size of file /etc/data: 8 greater than bufsize: 7.\n"},
      {CALL(util_readFileToBuf("/etc/nil", buf, 7)), "-1", "size of file /etc/nil: 0 greater than bufsize: 7.\n"},
      {CALL(util_readFileToBuf("/etc/dir", big, sizeof big)), "-1", "Read /etc/dir error.\n"},
      {CALL(util_readFileToBuf(nullptr, buf, 7)), "-1"},
      {THEN(util_writeBufToFile("/etc/out", "abc", 3), root.read("/etc/out")), "3 abc"},
      {THEN(util_writeBufToFile("/etc/out", "x", 1), root.read("/etc/out")), "1 x"},
      {CALL(util_writeBufToFile("/no/such/dir/f", "x", 1)), "-1", "Open /no/such/dir/f for writing failed \r\n"},
      {CALL(util_writeBufToFile("/full", big, sizeof big)), "-1", "write file /full failed, ret = 0 \r\n"},
      {THEN(util_genUramdom(a, sizeof a) + util_genUramdom(b, sizeof b), std::memcmp(a, b, sizeof a) != 0), "0 1"},
      // Length 17, type 0x1234, no flags, sequence or port, then the payload; to AF_NETLINK (16), port 0.
      {THEN(util_nl_sendData(7, "a", 1, 0x1234), g_sent), "0 1100000034120000000000000000000061 1000" + times(20, "0")},
      {CALL(util_nl_sendData(-1, nullptr, 0, 1)), "-1", "fd is invalid.\r\n"},
      {CALL(failing(1, ENOBUFS, [] { return util_nl_sendData(7, "", 1, 9); })), "-1", "send failed, fd=7, type=9\r\n"},
  });
}

// ---- I2C and FEM ----

// Index 2 is probed first; only a command that ran and exited with 0
// answers. Outside the tables the answer is 0, never a read beyond them.
TEST(UtilI2c, ProbesAndTables) {
  const auto probe = [](uint32_t type, std::pair<const char *, int> answer) {
    g_commands.clear();
    g_answer = answer;
    return txt(util_getI2cType(type)) + "\n" + g_commands;  // g_commands is read after the call
  };
  const auto cmd = [](const char *addr) { return "i2cget -f -y 0 "s + addr + " 0 >& /dev/null\n"; };
  expect_rows({
      {CALL(probe(1, {" 0x21 ", 0})), "1\n" + cmd("0x23") + cmd("0x21")},
      {CALL(probe(2, {" 0x3a ", 0})), "0\n" + cmd("0x0") + cmd("0x21") + cmd("0x3a")},
      {CALL(probe(1, {" 0x77 ", 0})), "3\n" + cmd("0x23") + cmd("0x21") + cmd("0x39")},
      {CALL(probe(6, {"", 0})), "3\n"},                                                  // no such type
      {CALL(probe(1, {" 0x23 ", 9})), "3\n" + cmd("0x23") + cmd("0x21") + cmd("0x39")},  // ended by a signal
  });
  expect_each<std::pair<uint32_t, uint32_t>>([](auto at) { return util_getI2cAddr(at.first, at.second); },
                                             {{1, 0}, {3, 2}, {5, 3}, {6, 0}}, {"57", "37", "0", "0"});
  l_FEMReg[2] = 9;  // writable by callers
  expect_each<int>(util_getFEMReg, {0, 2, 3, -1}, {"1", "9", "0", "0"});
  l_FEMReg[2] = 0;
}

// ---- conversions ----

// Dotted quads read back as written: 7..15 characters of ".0123456789",
// three dots, none leading or doubled, octets below 256.
TEST(UtilConv, Ipv4AndMacTexts) {
  const auto ip4 = [](const char *text) {
    uint32_t ip = 0;
    char out[16];
    return util_ip_strToNum(text, &ip) ? "-1" : std::string(util_ip_numToStr(ip, out));
  };
  expect_each<const char *>(
      ip4,
      {"10.20.30.", "010.0.0.1", "255.255.255.255", "1.2.3.256", "10..20.3", ".1.2.3.4", "1.2.3.4.5", "11.22.33",
       "a.2.3.4", "100.100.100.1000", nullptr},
      {"10.20.30.0", "10.0.0.1", "255.255.255.255", "-1", "-1", "-1", "-1", "-1", "-1", "-1", "-1"});

  // Six hex pairs, each after one optional '-' or ':'; the second digit of a
  // pair is not checked ('g' - 'A' + 10); text after the twelfth is ignored.
  // Valid: unicast, neither all zeros nor all ones. Six formats out, another
  // format gives the upper-case hyphen one. (Adding to a MAC, which never
  // changes the OUI, is checked against its oracle by the converter fuzz replay.)
  const auto parse = [](const char *text) {
    uint8_t mac[6] = {};
    return util_mac_strToArray(text, mac) ? "-1" : hex(mac, 6) + " " + txt(util_mac_isValidMac(mac));
  };
  expect_each<const char *>(
      parse,
      {"00-11:22-33-44-55trailing", "09AF1b2C3d4E", "0g:11:22:33:44:55", "000000000000", "FF-FF-FF-FF-FF-FF",
       "00::11:22:33:44:55", "aa:b", nullptr},
      {"001122334455 1", "09af1b2c3d4e 0", "301122334455 1", "000000000000 0", "ffffffffffff 0", "-1", "-1", "-1"});
  const uint8_t m[6] = {0x00, 0x1a, 0x2b, 0x3c, 0x4d, 0x5e};
  char buf[18];
  const auto in = [&](uint32_t format) { return util_mac_arrayToTargetFormatStr(m, buf, format); };
  expect_each<uint32_t>(in, {0, 1, 2, 3, 4, 5},
                        {"001a2b3c4d5e", "00-1a-2b-3c-4d-5e", "00:1a:2b:3c:4d:5e", "001A2B3C4D5E", "00-1A-2B-3C-4D-5E",
                         "00:1A:2B:3C:4D:5E"});
  expect_rows({
      {CALL(in(6)), "00-1A-2B-3C-4D-5E", "unsupport special macFormat,use default format MAC_ADDR_FMT_UPPER_HYPHEN\n"},
      {CALL(util_mac_arrayToStr(m, buf, 0)), "00-1A-2B-3C-4D-5E"},
      {CALL(util_mac_arrayToStr(m, buf, 2)), "00:1A:2B:3C:4D:5E"},
      {CALL(util_mac_arrayToStr(m, nullptr, 0)), "NULL"},
  });
}

// Hex pairs to bytes (a bad digit stops with the bytes before it written),
// and OUI patterns both ways: a group per mask 0xFF or 0xF0, separators only
// between groups, at most six groups.
TEST(UtilConv, HexOuiAndSplit) {
  const auto oui = [](const char *text) {
    uint8_t value[6] = {}, mask[6] = {};
    const int rc = util_oui_strToArray(text, value, mask);
    return txt(rc) + " " + hex(value, 6) + " " + hex(mask, 6);
  };
  expect_each<const char *>(
      oui, {"00:1A:2", "A-bC", "00:1A:"},
      {"0 001a20000000 fffff0000000", "0 a0bc00000000 f0ff00000000", "-1 001a00000000 ffff00000000"});
  const uint8_t value[7] = {0x12, 0x34, 0x56, 4, 5, 6, 7}, some[7] = {0xFF, 0x0F, 0xF0};
  const uint8_t all[7] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
  char text[22] = "";
  uint8_t out[2] = {};
  expect_rows({
      {THEN(util_strToArray("1000", out, 2), hex(out, 2)), "0 1000"},
      {THEN(util_strToArray("0aFf", out, 2), hex(out, 2)), "0 0aff"},
      {THEN(util_strToArray("12x4", out, 2), hex(out, 2)), "-1 12ff"},  // the first byte only is written
      {THEN(util_strToArray("1", out, 1), hex(out, 2)), "-1 12ff"},
      {CALL(util_oui_arrayToStr(value, some, text, 1)), "12:5"},
      {CALL(util_oui_arrayToStr(value, some, text, 0)), "12:512-5"},  // appended to what is there
      {CALL(util_oui_arrayToStr(value, all, std::strcpy(text, ""), 1)), "12:34:56:04:05:06"},  // six groups at most
  });

  // Split in place at runs of the separator; tokens holds max + 1 pointers,
  // and the one past max is written before the count is refused.
  const auto split = [](std::pair<std::string, int> row) {
    char *tokens[4] = {};
    std::string out = txt(util_formatStr2Array(row.first.data(), ',', row.second, tokens));
    for (int i = 0; i < 4 && tokens[i]; ++i) out += (i ? "|" : " ") + std::string(tokens[i]);
    for (char &c : row.first) c = c ? c : '_';
    return out + " [" + row.first + "]";
  };
  expect_each<std::pair<std::string, int>>(split, {{",a,,b,", 2}, {",a,,b,", 1}, {",,,", 4}},
                                           {"2 a|b [,a_,b_]", "-1 a|b [,a_,b_]", "0 [,,,]"});
}

// Days and time from seconds; hour and minute texts are not range checked
// and both read 0 when the text is not read (round trips: converter fuzz
// replay). IPv6 through inet_pton and inet_ntop; a compare answers 0 or 1.
TEST(UtilConv, TimeAndIpv6Texts) {
  char buf[24], text[46];
  int32_t h = 9, m = 9;
  uint8_t a[16], b[16];
  expect_each<uint32_t>([&](uint32_t s) { return util_time_numToStr(s, buf); }, {90061, UINT32_MAX},
                        {"1 days 01:01:01", "49710 days 06:28:15"});
  expect_rows({
      {THEN(util_time_str2HourMinute("7", &h, &m), h * 100 + m), "-1 0"},
      {CALL(util_time_str2HourMinute(nullptr, &h, &m)), "-1", "Invalid input parameter\n"},
      {CALL(util_formatStr2Array(nullptr, ',', 4, nullptr)), "-1", "Invalid input parameter\n"},
      {CALL(util_str_to_ipv6_addr("2001:db8::1", a) + util_str_to_ipv6_addr("2001:DB8:0::1", b)), "0"},
      {THEN(util_ipv6_addr_to_str(b, text), text), "0 2001:db8::1"},
      {CALL(util_str_to_ipv6_addr("2001:db8::2", b) + util_ipv6_addr_cmp(a, b)), "1"},
      {CALL(util_str_to_ipv6_addr("1.2.3.4", a)), "-1", "IPv6 is not in presentation format\r\n"},
      {CALL(util_ipv6_addr_to_str(nullptr, text)), "-1", "pIpv6Addr is NULL or pStrAddr is NULL\r\n"},
      {CALL(util_ipv6_addr_cmp(a, nullptr)), "-1", "pIpv6Addr1 is NULL or pIpv6Addr2 is NULL\r\n"},
  });
}

// ---- DNS ----

constexpr uint32_t kLoopback = 0x7F000001;
const std::string kDns = "[util_dns_error: util_kx_", kMulti = kDns + "getMultiHostByName:";
std::string question(const char *name) {
  Packet q(300, 0);
  return std::string(q.begin(), q.begin() + util_kx_generateDnsQueryField(name, q.data()));
}

// A 1,500-byte reply buffer holding a header, the question and answers.
Packet reply(int ancount, const std::vector<Packet> &answers, const std::string &q = question("host.lan")) {
  const std::string query = "\x12\x34\1\0\0\1\0\0\0\0\0\0"s + q;  // id 0x1234, recursion desired, one question
  Packet r = S::reply(Packet(query.begin(), query.end()), 0x8180, answers, ancount);
  r.resize(1500);
  return Packet(r);  // exactly 1,500 bytes on the heap
}

// Labels up to a '/', no length limit, an empty label ends the name (the
// dot's length byte stays the caller's zero; 'F' is 70); a lookup refuses
// no name, no server, and a name whose question would not fit 259 bytes
// before it sends anything. Ids come from /dev/urandom, or from the realtime
// clock when it cannot be read.
// Only A records behind a compression pointer are taken, up to max, and
// only when the question is the one sent; the walk stays within the first
// 1,460 bytes, counting 20 bytes per 16-byte A record, and a reply that
// reaches past them is void: zero bytes read as empty full names up to the
// bound, an RDLENGTH of 65535, an owner name past the bound, 72 records, or
// 2 bytes left before the last record, too few for its header.
TEST(UtilDns, QuestionsIdsAndReplies) {
  const std::string x70(70, 'x'), huge(254, 'h'), failed = "util_kx_generateDnsQueryField failed.\n";
  expect_each<const char *>(question, {"host.lan/path/x.y", "a..b", x70.c_str()},
                            {"\4host\3lan\0\0\1\0\1"s, "\1a\0\1b\0\0\1\0\1"s, "F" + x70 + "\0\0\1\0\1"s});
  const std::string invalid = kDns + "generateDnsQueryField:267]invalid input params\n\r";
  uint32_t addrs[100];
  uint16_t id[3] = {};
  for (uint16_t *p : {&id[0], &id[1], static_cast<uint16_t *>(nullptr)}) EXPECT_EQ(util_kx_genNextDnsTransId(p), 0);
  const timespec fixed{65536, 6};  // (65536 + 6) % 65535 == 7
  g_clock = &fixed;
  EXPECT_EQ(failing(1, EIO, [&] { return util_kx_genNextDnsTransId(&id[2]); }), 0);
  g_clock = nullptr;
  // Random words (equal 1 in 65536), then the clock's.
  EXPECT_EQ(std::tuple(id[0] != id[1], id[2]), std::tuple(true, 7));

  const std::string q = question("host.lan");
  const auto *sent = reinterpret_cast<const uint8_t *>(q.data());
  const auto parse = [&](const Packet &pkt, int max) {
    const int n = util_kx_getIpFromDnsReplyPkt(pkt.data(), static_cast<int32_t>(q.size()), sent, addrs, max);
    return txt(n) + dotted(addrs, n);
  };
  const std::vector<Packet> many(71, S::a(7, 7, 7, 7)), more(72, S::a(7, 7, 7, 7));
  std::vector<Packet> short_of_room = more;
  short_of_room.insert(short_of_room.end() - 1, S::answer(16, {}));
  expect_rows({
      // Questions and lookups refused before sending
      {CALL(question("")), "", invalid},
      {CALL(util_kx_getHostByName("", kLoopback, 1)), "0", kDns + "getHostByName:349]input params are NULL.\n\r"},
      {CALL(util_kx_getMultiHostByName("x", 0, 1, addrs, 2)), "-1", kMulti + "516]input params are NULL.\n\n\r"},
      {CALL(util_kx_getHostByName(huge.c_str(), kLoopback, 0)), "0", kDns + "getHostByName:395]" + failed + "\r"},
      {CALL(util_kx_getMultiHostByName(huge.c_str(), kLoopback, 0, addrs, 2)), "-1", kMulti + "555]" + failed + "\n\r"},
      // Replies
      {CALL(parse(reply(2, {S::answer(5, {3, 'w', 'w', 'w', 0xC0, 0x0C}), S::a(10, 0, 0, 3)}), 4)), "1 10.0.0.3"},
      {CALL(parse(reply(2, {S::a(9, 9, 9, 9, false), S::a(10, 0, 0, 4)}), 4)), "1 10.0.0.4"},
      {CALL(parse(reply(1, {S::a(1, 1, 1, 1)}, question("other.lan")), 4)), "0",
       kDns + "getIpFromDnsReplyPkt:181]query field in answer pkt is different from request pkt.\n\r"},
      {CALL(parse(reply(1, {}), 0)), "0", kDns + "getIpFromDnsReplyPkt:165]invalid input param.\n\r"},
      {CALL(parse(reply(71, many), 100)), "71" + times(71, " 7.7.7.7")},
      {CALL(parse(reply(72, more), 64)), "64" + times(64, " 7.7.7.7")},  // capacity reached first
  });
  expect_each<Packet>([&](const Packet &p) { return parse(p, 100); },
                      {reply(0xFFFF, {S::a(1, 1, 1, 1)}), reply(2, {S::answer(1, Packet(65535, 1)), S::a(2, 2, 2, 2)}),
                       reply(2, {S::a(1, 1, 1, 1), Packet(1420, 'x')}), reply(72, more), reply(73, short_of_room)},
                      {"0", "0", "0", "0", "0"});
}

// Lookups against a scripted server in a private network: replies with
// another id, a non-zero RCODE or QR clear are not taken, nor silence; a
// valid reply without a usable address answers no address but 0 entries.
TEST(UtilDnsLookup, QueriesAndAcceptedReplies) {
  std::string why;
  if (!enter_private_network(&why)) GTEST_SKIP() << why;
  const int saved = dup(0);
  // No stdin: descriptor 0 is held while the server opens its socket.
  ASSERT_TRUE(saved >= 0 || dup2(2, 0) == 0);
  int mode = 0;  // the server's answer: two addresses, RCODE 3, another id, QR clear, full names only, silence
  const uint16_t flags[] = {0x8180, 0x8183, 0x8180, 0x0180, 0x8180};
  S server([&](const Packet &q) {
    if (mode == 5) return Packet{};
    return S::reply(q, flags[mode], {S::a(10, 1, 2, 3, mode != 4), S::a(10, 1, 2, 4, mode != 4)}, -1, mode == 2);
  });
  ASSERT_TRUE(server.listening());
  close(0);  // the lookup's socket is then descriptor 0, a valid one
  EXPECT_EQ(dotted(util_kx_getHostByName("host.lan/index.html", kLoopback, 2)), "10.1.2.3");
  dup2(saved, 0);
  uint32_t addrs[2] = {};
  const auto both = [&](int answer) {
    mode = answer;
    const int timeout = answer == 5 ? 0 : 2;
    const std::string one = dotted(util_kx_getHostByName("host.lan", kLoopback, timeout));
    return one + " " + txt(util_kx_getMultiHostByName("host.lan", kLoopback, timeout, addrs, 2));
  };
  const std::string n253(253, 'n'), down = "]sendto failed:101(Network is unreachable).\n\r";
  expect_rows({
      {THEN(both(0), dotted(addrs, 2)), "10.1.2.3 2  10.1.2.3 10.1.2.4"},
      {CALL(dotted(util_kx_getHostByName(n253.c_str(), kLoopback, 2))), "10.1.2.3"},  // a 259-byte question
      {CALL(util_kx_getHostByName("host.lan", 0x0A090909, 0)), "0", kDns + "getHostByName:415" + down},
      {CALL(util_kx_getMultiHostByName("host.lan", 0x0A090909, 0, addrs, 2)), "-1", kMulti + "574" + down},
  });
  expect_each<int>(both, {1, 2, 3, 4, 5}, {"0.0.0.0 -1", "0.0.0.0 -1", "0.0.0.0 -1", "0.0.0.0 0", "0.0.0.0 -1"});
  const std::vector<Packet> sent = server.queries();
  ASSERT_FALSE(sent.empty());
  // After the id: recursion desired, one question.
  EXPECT_EQ(std::string(sent[0].begin() + 2, sent[0].end()), "\1\0\0\1\0\0\0\0\0\0"s + question("host.lan"));
}

}  // namespace
}  // namespace aputil::test
