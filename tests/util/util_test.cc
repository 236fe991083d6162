// System helpers, conversions and the DNS stub resolver: a table per
// behaviour, a row per case. In this program semget, semop, fork, read and
// clock_gettime can be made to fail or to answer fixed values, system answers
// for one I2C address only, and sendto keeps a copy of netlink messages.
#include <arpa/inet.h>
#include <dlfcn.h>
#include <linux/netlink.h>
#include <sys/sem.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>

#include "support/dns_server.h"
#include "support/emulation.h"
#include "support/model_tree.h"
#include "util.h"

namespace aputil::test {

std::deque<int> g_semop_errors;  // semop fails with these first, one per call
bool g_fail_semget, g_fail_fork, g_fail_read;
const timespec *g_clock;                       // every clock reads this when set
const char *g_answering = "";                  // system: a command naming this answers g_status, others exit with 1
int g_status;
std::string g_commands, g_sent, g_sent_to;     // the commands system ran; the last netlink datagram sent and its address (hex)

std::string hex(const void *p, size_t n) { std::string s; for (auto *b = static_cast<const uint8_t *>(p); n--; ++b) s += "0123456789abcdef"[*b >> 4], s += "0123456789abcdef"[*b & 15]; return s; }

extern "C" {
int semop(int id, sembuf *ops, size_t n) { return g_semop_errors.empty() ? static_cast<int>(syscall(SYS_semop, id, ops, n)) : (errno = g_semop_errors.front(), g_semop_errors.pop_front(), -1); }
int semget(key_t key, int n, int flags) { return g_fail_semget ? (errno = ENOSPC, -1) : static_cast<int>(syscall(SYS_semget, key, n, flags)); }
pid_t fork() { return g_fail_fork ? (errno = EAGAIN, -1) : reinterpret_cast<pid_t (*)()>(dlsym(RTLD_NEXT, "fork"))(); }
ssize_t read(int fd, void *buf, size_t n) { return g_fail_read ? (errno = EIO, -1) : syscall(SYS_read, fd, buf, n); }
int clock_gettime(clockid_t id, timespec *ts) { return g_clock ? (*ts = *g_clock, 0) : static_cast<int>(syscall(SYS_clock_gettime, id, ts)); }
int system(const char *cmd) { return g_commands += cmd + std::string("\n"), std::strstr(cmd, g_answering) ? g_status : 256; }
ssize_t sendto(int fd, const void *buf, size_t n, int flags, const sockaddr *to, socklen_t to_len) { if (to && to->sa_family == AF_NETLINK) g_sent = hex(buf, n), g_sent_to = hex(to, to_len); return syscall(SYS_sendto, fd, buf, n, flags, to, to_len); }
}

namespace {

using namespace std::string_literals;
using S = DnsServer;
std::string txt(const char *s) { return s ? s : "NULL"; }
std::string txt(const std::string &s) { return s; }
template <std::integral T> std::string txt(T v) { return std::to_string(v); }
std::string times(int n, const std::string &s) { return n > 0 ? s + times(n - 1, s) : ""; }
std::string dotted(uint32_t net) { return inet_ntoa(in_addr{net}); }
std::string dotted(const uint32_t *net, int n) { return n > 0 ? " " + dotted(*net) + dotted(net + 1, n - 1) : ""; }
template <class F> int failing(bool &flag, F call) { flag = true; const int rc = call(); return flag = false, rc; }

// Table rows: a call, its answer as text, and all it prints. THEN answers
// the call's result and then what the expression after it reads.
#define CALL(...) [&] { return txt((__VA_ARGS__)); }
#define THEN(call, ...) [&] { const auto rc = (call); return txt(rc) + " " + txt(__VA_ARGS__); }
struct Row { std::function<std::string()> call; std::string want, out = ""; };
void expect_rows(std::initializer_list<Row> rows) {
  for (size_t i = 0; i < rows.size(); ++i) EXPECT_EQ(stdout_of([&] { EXPECT_EQ(rows.begin()[i].call(), rows.begin()[i].want) << "row " << i; }), rows.begin()[i].out) << "row " << i;
}

// ---- processes ----

// The exit code is not looked at, a signal is; the command line is cut to
// 255 characters before ';' and "&&" are looked for, and nothing else is.
TEST(UtilShell, ExitStatusAndRefusedCharacters) {
  FirmwareRoot root;
  const std::string f = root.host("/out"), cut = "echo " + std::string(245, 'y') + " > /dev/null;x", refused = "Parameter contains illegal character!";
  expect_rows({
      {CALL(util_systemEx("exit 3")), "0"}, {CALL(util_systemEx("/nonexistent/program")), "0"}, {CALL(util_systemEx("kill -9 $$")), "-1"}, {CALL(util_systemEx(nullptr)), "-1"},
      {CALL(failing(g_fail_fork, [] { return util_systemEx("true"); })), "-1"}, {CALL(util_execFormatCmd("%s", cut.c_str())), "0"},
      {THEN(util_execFormatCmd("echo %s > %s", "a;b", f.c_str()), read_file(f)), "-1 ", refused}, {THEN(util_execFormatCmd("true && echo x > %s", f.c_str()), read_file(f)), "-1 ", refused},
      {THEN(util_execFormatCmd("false || echo ran | cat > %s", f.c_str()), read_file(f)), "0 ran\n"}, {THEN(util_execFormatCmd("env > %s", f.c_str()), read_file(f).find("HOME=") == std::string::npos), "0 1"},  // an empty environment
  });
}

// One semaphore set to 1 per key; a second process waits for the lock, and
// what a process dies holding is given back. A wait gives up after 30
// interruptions by signals.
TEST(UtilSem, LockAcrossProcessesAndFailures) {
  struct Set { int id = -1; ~Set() { semctl(id, 0, IPC_RMID); } } set;
  const int key = 0x5A000000 | (getpid() & 0xFFFFFF);
  int again = -1, status = -1;
  ASSERT_EQ((std::tuple{util_init_sem(&set.id, key), util_init_sem(&again, key), again == set.id, semctl(set.id, 0, GETVAL), util_sem_lock(set.id), semctl(set.id, 0, GETVAL)}), (std::tuple{0, 0, true, 1, 0, 0}));
  const pid_t child = fork();
  if (child == 0) _exit(util_sem_lock(set.id));  // ends holding the lock
  while (semctl(set.id, 0, GETNCNT) == 0) usleep(1000);
  ASSERT_EQ(util_sem_unlock(set.id), 0);
  EXPECT_EQ((std::tuple{waitpid(child, &status, 0), status, semctl(set.id, 0, GETVAL)}), (std::tuple{child, 0, 1}));
  expect_rows({
      {CALL(g_semop_errors.assign(30, EINTR), util_sem_lock(set.id)), "-1", times(30, "lock interrupted by signal\n")}, {CALL(g_semop_errors.assign(29, EINTR), util_sem_lock(set.id)), "0", times(29, "lock interrupted by signal\n")},
      {CALL(util_sem_unlock(set.id)), "0"}, {CALL(g_semop_errors = {EAGAIN}, util_sem_lock(set.id)), "-1", "timed out, reason =Resource temporarily unavailable rc=-1\n"},
      {CALL(util_sem_lock(-1)), "-1", "lock failed, reason=Invalid argument rc=-1\n"}, {CALL(util_sem_unlock(-1)), "-1", "release lock failed, reason=Invalid argument\n"}, {CALL(util_init_sem(nullptr, 1)), "-1", "pSemid == NULL\n"},
      {CALL(failing(g_fail_semget, [&] { return util_init_sem(&again, key + 1); })), "-1", "semget failed, reason: No space left on device\n"},
  });
}

// ---- netlink, clock, files, random bytes ----

TEST(UtilNetlink, OneMessageToTheKernel) {
  SKIP_UNDER_EMULATION("qemu-user rewrites NETLINK_ROUTE messages and refuses types it does not know");
  const int fd = socket(AF_NETLINK, SOCK_RAW, NETLINK_ROUTE);
  if (fd < 0) GTEST_SKIP() << "no netlink socket here: " << std::strerror(errno);
  const auto header = [](uint32_t len, uint16_t type) { const nlmsghdr h{len, type, 0, 0, 0}; return "0 " + hex(&h, sizeof h); };
  expect_rows({
      {THEN(util_nl_sendData(fd, nullptr, 0, 0x10), g_sent), header(16, 0x10)}, {CALL(g_sent_to), "1000" + std::string(20, '0')} /* AF_NETLINK, port 0: the kernel */,
      {THEN(util_nl_sendData(fd, "abc", 4, 0x1234), g_sent), header(20, 0x1234) + "61626300"}, {THEN(util_nl_sendData(fd, nullptr, 4, 1), g_sent), header(20, 1) + "00000000"},
      {CALL(util_nl_sendData(-1, nullptr, 0, 1)), "-1", "fd is invalid.\r\n"}, {CALL(close(fd), util_nl_sendData(fd, "abc", 4, 7)), "-1", "send failed, fd=" + std::to_string(fd) + ", type=7\r\n"},
  });
}

// The monotonic clock in its units (any other is seconds); whole files
// through the host root (a folder opens but does not read); random bytes
// from the running system whatever the root.
TEST(UtilIo, ClockFilesAndRandomBytes) {
  FirmwareRoot root;
  root.write("/etc/data", "12345678");
  root.write("/etc/dir/x", "");  // a folder with an entry has a size on every file system
  ASSERT_EQ(symlink("/dev/full", root.host("/full").c_str()), 0);
  char buf[16] = {}, big[8192] = {}, a[32], b[32];
  const timespec now{5, 123456789};
  expect_rows({
      {CALL(g_clock = &now, util_getUptime(UTIL_UPTIME_SEC)), "5"}, {CALL(util_getUptime(UTIL_UPTIME_MSEC)), "5123"}, {CALL(util_getUptime(UTIL_UPTIME_USEC)), "5123456"},
      {CALL(util_getUptime(7)), "5"}, {CALL(g_clock = nullptr, util_getTimestamp() > 1700000000000ull), "1"},  // wall-clock milliseconds
      {THEN(util_readFileToBuf("/etc/data", buf, 8), buf), "8 12345678"}, {CALL(util_readFileToBuf("/etc/data", buf, 7)), "-1", "size of file /etc/data: 8 greater than bufsize: 7.\n"},
      {CALL(util_readFileToBuf("/etc/missing", buf, 7)), "-1", "size of file /etc/missing: 0 greater than bufsize: 7.\n"},
      {CALL(util_readFileToBuf("/etc/dir", big, sizeof big)), "-1", "Read /etc/dir error.\n"}, {CALL(util_readFileToBuf(nullptr, buf, 7)), "-1"},
      {THEN(util_writeBufToFile("/etc/out", "abc", 3), root.read("/etc/out")), "3 abc"}, {THEN(util_writeBufToFile("/etc/out", "x", 1), root.read("/etc/out")), "1 x"},
      {CALL(util_writeBufToFile("/etc/out", "x", -1)), "-1"},
      {CALL(util_writeBufToFile("/no/such/dir/f", "x", 1)), "-1", "Open /no/such/dir/f for writing failed \r\n"}, {CALL(util_writeBufToFile("/full", big, sizeof big)), "-1", "write file /full failed, ret = 0 \r\n"},
      {THEN(util_genUramdom(a, sizeof a), util_genUramdom(b, sizeof b) == 0 && std::memcmp(a, b, sizeof a) != 0), "0 1"}, {CALL(util_genUramdom(nullptr, 4)), "-1"}, {CALL(util_genUramdom(a, -1)), "-1"},
  });
}

// ---- I2C and FEM ----

// Index 2 is probed first; only a command that ran and exited with 0
// answers. Outside the tables the answer is 0, never a read beyond them.
TEST(UtilI2c, ProbesAndTables) {
  const auto probe = [](uint32_t type, const char *answering, int status) { g_commands.clear(), g_answering = answering, g_status = status; const uint32_t index = util_getI2cType(type); return std::to_string(index) + "\n" + g_commands; };
  const auto probes = [](std::initializer_list<const char *> addrs) { std::string s; for (const char *a : addrs) s += "i2cget -f -y 0 "s + a + " 0 >& /dev/null\n"; return s; };
  const std::string none = probes({"0x23", "0x21", "0x39"});
  expect_rows({
      {CALL(probe(1, " 0x21 ", 0)), "1\n" + probes({"0x23", "0x21"})}, {CALL(probe(1, " 0x39 ", 0)), "0\n" + none}, {CALL(probe(2, " 0x3a ", 0)), "0\n" + probes({"0x0", "0x21", "0x3a"})},
      {CALL(probe(5, " 0x20 ", 0)), "1\n" + probes({"0x0", "0x20"})}, {CALL(probe(1, " 0x77 ", 0)), "3\n" + none}, {CALL(probe(6, "", 0)), "3\n"} /* no such type */,
      {CALL(probe(1, " 0x23 ", 9)), "3\n" + none} /* ended by a signal */, {CALL(probe(1, " 0x23 ", -1)), "3\n" + none} /* no shell */,
      {CALL(util_getI2cAddr(1, 0) == 0x39 && util_getI2cAddr(3, 2) == 0x25 && util_getI2cAddr(4, 1) == 0x20), "1"},
      {CALL(util_getI2cAddr(5, 3) + util_getI2cAddr(6, 0) + util_getI2cAddr(0, 4) + util_getI2cAddr(UINT32_MAX, UINT32_MAX)), "0"},
      {CALL(l_FEMReg[2] = 9, util_getFEMReg(0) * 100 + util_getFEMReg(1) * 10 + util_getFEMReg(2)), "129"} /* writable by callers */, {CALL(l_FEMReg[2] = 0, util_getFEMReg(3) + util_getFEMReg(4) + util_getFEMReg(-1)), "0"},
  });
}

// ---- conversions ----

// Dotted quads read back as written: 7..15 characters of ".0123456789",
// three dots, none leading or doubled, octets below 256.
TEST(UtilConv, Ipv4Text) {
  const auto ip4 = [](const char *text) { uint32_t ip = 0; char out[16]; const int rc = util_ip_strToNum(text, &ip); return rc ? std::to_string(rc) : util_ip_numToStr(ip, out); };
  const struct { const char *text, *want; } cases[] = {
      {"1.2.3.4", "1.2.3.4"}, {"10.20.30.", "10.20.30.0"}, {"010.0.0.1", "10.0.0.1"}, {"255.255.255.255", "255.255.255.255"}, {"1.2.3.256", "-1"}, {"10..20.3", "-1"},
      {".1.2.3.4", "-1"}, {"1.2.3.4.5", "-1"}, {"11.22.33", "-1"}, {"a.2.3.4", "-1"}, {"1.2.3.4 ", "-1"}, {"1.2.3", "-1"}, {"1111.2.3.4", "-1"}, {"100.100.100.1000", "-1"}, {nullptr, "-1"},
  };
  for (const auto &c : cases) EXPECT_EQ(ip4(c.text), c.want) << txt(c.text);
  EXPECT_EQ(util_ip_strToNum("1.2.3.4", nullptr), -1);
}

// Six hex pairs, each after one optional '-' or ':'; the second digit of a
// pair is not checked ('g' - 'A' + 10); text after the twelfth is ignored.
// Six formats out, another format gives the upper-case hyphen one.
TEST(UtilConv, MacTextAndValues) {
  const auto parse = [](const char *text) { uint8_t mac[6] = {}; const int rc = util_mac_strToArray(text, mac); return rc ? std::to_string(rc) : hex(mac, 6); };
  const auto valid = [](std::vector<uint8_t> mac) { return util_mac_isValidMac(mac.data()); };
  const auto add = [](std::vector<uint8_t> mac, int n) { const int rc = util_calMacAddr(mac.data(), n); return std::to_string(rc) + " " + hex(mac.data(), 6); };
  const uint8_t m[6] = {0x00, 0x1a, 0x2b, 0x3c, 0x4d, 0x5e};
  char buf[18];
  const auto in = [&](uint32_t format) { return util_mac_arrayToTargetFormatStr(m, buf, format); };
  expect_rows({
      {CALL(parse("aa:bb:cc:dd:ee:ff")), "aabbccddeeff"}, {CALL(parse("00-11:22-33-44-55trailing")), "001122334455"}, {CALL(parse("09AF1b2C3d4E")), "09af1b2c3d4e"},
      {CALL(parse("0g:11:22:33:44:55")), "301122334455"}, {CALL(parse("zz:11:22:33:44:55")), "-1"}, {CALL(parse("00::11:22:33:44:55")), "-1"}, {CALL(parse("aa:b")), "-1"}, {CALL(parse(nullptr)), "-1"},
      {CALL(util_mac_arrayToStr(m, buf, 0)), "00-1A-2B-3C-4D-5E"}, {CALL(util_mac_arrayToStr(m, buf, 2)), "00:1A:2B:3C:4D:5E"}, {CALL(util_mac_arrayToStr(nullptr, buf, 0)), "NULL"},
      {CALL(util_mac_arrayToStr(m, nullptr, 0)), "NULL"}, {CALL(util_mac_arrayToTargetFormatStr(nullptr, buf, 0)), "NULL"}, {CALL(in(MAC_ADDR_FMT_LOWER)), "001a2b3c4d5e"},
      {CALL(in(MAC_ADDR_FMT_LOWER_HYPHEN)), "00-1a-2b-3c-4d-5e"}, {CALL(in(MAC_ADDR_FMT_LOWER_COLON)), "00:1a:2b:3c:4d:5e"}, {CALL(in(MAC_ADDR_FMT_UPPER)), "001A2B3C4D5E"},
      {CALL(in(MAC_ADDR_FMT_UPPER_HYPHEN)), "00-1A-2B-3C-4D-5E"}, {CALL(in(MAC_ADDR_FMT_UPPER_COLON)), "00:1A:2B:3C:4D:5E"},
      {CALL(in(9)), "00-1A-2B-3C-4D-5E", "unsupport special macFormat,use default format MAC_ADDR_FMT_UPPER_HYPHEN\n"},
      // Valid: unicast, neither all zeros nor all ones. Adding steps the last three bytes only, so the OUI never changes.
      {CALL(valid({0x00, 0x11, 0x22, 0x33, 0x44, 0x55})), "1"}, {CALL(valid({0x02, 0, 0, 0, 0, 1})), "1"}, {CALL(valid({0x01, 0x00, 0x5E, 0, 0, 1})), "0"}, {CALL(valid({0, 0, 0, 0, 0, 0})), "0"},
      {CALL(valid({0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF})), "0"}, {CALL(util_mac_isValidMac(nullptr)), "0"}, {CALL(add({0x00, 0x11, 0x22, 0xFF, 0xFF, 0xFF}, 1)), "0 001122000000"},
      {CALL(add({0, 0, 0, 0x00, 0xFF, 0xFF}, 1)), "0 000000010000"}, {CALL(add({0, 0, 0, 0x00, 0x00, 0xFF}, 0x10101)), "0 000000010200"}, {CALL(add({0, 0, 0, 0, 0, 1}, 0)), "0 000000000001"},
      {CALL(add({0, 0, 0, 0, 0, 1}, -5)), "0 000000000001"}, {CALL(util_calMacAddr(nullptr, 1)), "-1"},
  });
}

// Hex pairs to bytes (a bad digit stops with the bytes before it written),
// and OUI patterns both ways: a group per mask 0xFF or 0xF0, separators only
// between groups, at most six groups.
TEST(UtilConv, HexAndOui) {
  const auto bytes = [](const char *text, int n) { uint8_t out[2] = {0xEE, 0xEE}; const int rc = util_strToArray(text, out, n); return std::to_string(rc) + " " + hex(out, 2); };
  const auto oui = [](const char *text) { uint8_t value[6] = {}, mask[6] = {}; const int rc = util_oui_strToArray(text, value, mask); return std::to_string(rc) + " " + hex(value, 6) + " " + hex(mask, 6); };
  const uint8_t value[7] = {0x12, 0x34, 0x56, 4, 5, 6, 7}, some[7] = {0xFF, 0x0F, 0xF0}, all[7] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
  char text[22];
  const auto print = [&](const uint8_t *mask, int colon) { std::memset(text, '#', sizeof text), text[0] = '\0'; return util_oui_arrayToStr(value, mask, text, colon); };
  expect_rows({
      {CALL(bytes("0aFf", 2)), "0 0aff"}, {CALL(bytes("1000", 2)), "0 1000"}, {CALL(bytes("12x4", 2)), "-1 12ee"}, {CALL(bytes("1", 1)), "-1 eeee"}, {CALL(bytes("g0", 1)), "-1 eeee"},
      {CALL(bytes(nullptr, 1)), "-1 eeee"}, {CALL(oui("00:1A:2")), "0 001a20000000 fffff0000000"}, {CALL(oui("A-bC")), "0 a0bc00000000 f0ff00000000"},
      {CALL(oui("00:1A:")), "-1 001a00000000 ffff00000000"}, {CALL(oui(nullptr)), "-1 000000000000 000000000000"}, {CALL(print(some, 1)), "12:5"}, {CALL(print(some, 0)), "12-5"},
      {CALL(util_oui_arrayToStr(value, nullptr, text, 1)), "NULL"}, {CALL(print(all, 1), std::string(text, sizeof text)), "12:34:56:04:05:06\0####"s},  // a MAC text's 18 bytes, no more
  });
}

// Split in place at runs of the separator; tokens holds max + 1 pointers,
// and the one past max is written before the count is refused.
TEST(UtilConv, SplitInPlace) {
  const auto split = [](std::string s, char sep, int max) {
    char *tokens[4] = {};
    std::string out = std::to_string(util_formatStr2Array(s.data(), sep, max, tokens));
    for (int i = 0; i < 4 && tokens[i]; ++i) out += (i ? "|" : " ") + std::string(tokens[i]);
    return std::replace(s.begin(), s.end(), '\0', '_'), out + " [" + s + "]";
  };
  expect_rows({
      {CALL(split(",a,,b,", ',', 2)), "2 a|b [,a_,b_]"}, {CALL(split(",a,,b,", ',', 1)), "-1 a|b [,a_,b_]"}, {CALL(split("a", ',', 0)), "-1 a [a]"},
      {CALL(split("a,b", '\0', 4)), "1 a,b [a,b]"}, {CALL(split(",,,", ',', 4)), "0 [,,,]"}, {CALL(split("a,b", ',', -1)), "-1 [a,b]"} /* nothing written */,
      {CALL(util_formatStr2Array(nullptr, ',', 4, nullptr)), "-1", "Invalid input parameter\n"},
  });
}

TEST(UtilConv, TimeAndIpv6Texts) {
  char buf[24], text[46];
  int32_t h = 9, m = 9;
  uint8_t a[16], b[16];
  const std::string invalid = "Invalid input parameter\n", null_args = "pIpv6Addr is NULL or pStrAddr is NULL\r\n";
  expect_rows({
      {CALL(util_time_numToStr(90061, buf)), "1 days 01:01:01"}, {CALL(util_time_numToStr(0, buf)), "0 days 00:00:00"}, {CALL(util_time_numToStr(UINT32_MAX, buf)), "49710 days 06:28:15"},
      {CALL(util_time_numToStr(1, nullptr)), "NULL", invalid}, {CALL(util_time_hourMinute2Str(7, 75, buf)), "07:75"}, {CALL(util_time_hourMinute2Str(7, 75, nullptr)), "NULL", invalid},
      {THEN(util_time_str2HourMinute("23:59", &h, &m), h * 100 + m), "0 2359"}, {THEN(util_time_str2HourMinute("99:99", &h, &m), h * 100 + m), "0 9999"} /* no range check */,
      {THEN(util_time_str2HourMinute("7", &h, &m), h * 100 + m), "-1 0"} /* both set to 0 */, {CALL(util_time_str2HourMinute(nullptr, &h, &m)), "-1", invalid},
      {CALL(util_str_to_ipv6_addr("2001:db8::1", a) + util_str_to_ipv6_addr("2001:DB8:0::1", b)), "0"}, {THEN(util_ipv6_addr_to_str(a, text), text), "0 2001:db8::1"},
      {CALL(util_ipv6_addr_cmp(a, b)), "0"}, {CALL(b[15] = 2, util_ipv6_addr_cmp(a, b)), "1"}, {CALL(util_str_to_ipv6_addr("1.2.3.4", a)), "-1", "IPv6 is not in presentation format\r\n"},
      {CALL(util_str_to_ipv6_addr(nullptr, a)), "-1", null_args}, {CALL(util_ipv6_addr_to_str(nullptr, text)), "-1", null_args}, {CALL(util_ipv6_addr_cmp(a, nullptr)), "-1", "pIpv6Addr1 is NULL or pIpv6Addr2 is NULL\r\n"},
  });
}

// ---- DNS ----

constexpr uint32_t kLoopback = 0x7F000001;
const std::string kDns = "[util_dns_error: util_kx_";
std::string question(const char *name) { Packet q(300, 0); return std::string(q.begin(), q.begin() + util_kx_generateDnsQueryField(name, q.data())); }

// Labels up to a '/', no length limit, an empty label ends the name; a
// lookup refuses no name, no server, and a name whose question would not
// fit 259 bytes before it sends anything. Ids come from /dev/urandom, or
// from the realtime clock when it cannot be read.
TEST(UtilDns, QuestionsAndIds) {
  const std::string x70(70, 'x'), huge(254, 'h'), invalid = kDns + "generateDnsQueryField:267]invalid input params\n\r", failed = "util_kx_generateDnsQueryField failed.\n";
  uint32_t addrs[2];
  expect_rows({
      {CALL(question("www.example.com")), "\3www\7example\3com\0\0\1\0\1"s}, {CALL(question("host.lan/path/x.y")), "\4host\3lan\0\0\1\0\1"s}, {CALL(question("a..b")), "\1a\0\1b\0\0\1\0\1"s},
      {CALL(question("a.")), "\1a\0\0\0\1\0\1"s} /* the dot's length byte stays the caller's zero */, {CALL(question(x70.c_str())), "F" + x70 + "\0\0\1\0\1"s} /* 'F' is 70 */,
      {CALL(question("")), "", invalid}, {CALL(question(nullptr)), "", invalid}, {CALL(util_kx_getHostByName("", kLoopback, 1)), "0", kDns + "getHostByName:349]input params are NULL.\n\r"},
      {CALL(util_kx_getMultiHostByName("x", 0, 1, addrs, 2)), "-1", kDns + "getMultiHostByName:516]input params are NULL.\n\n\r"},
      {CALL(util_kx_getHostByName(huge.c_str(), kLoopback, 0)), "0", kDns + "getHostByName:395]" + failed + "\r"},
      {CALL(util_kx_getMultiHostByName(huge.c_str(), kLoopback, 0, addrs, 2)), "-1", kDns + "getMultiHostByName:555]" + failed + "\n\r"},
  });
  const timespec fixed{65536, 6};  // (65536 + 6) % 65535 == 7
  uint16_t a = 0, b = 0, c = 0;
  g_clock = &fixed;
  EXPECT_EQ(util_kx_genNextDnsTransId(&a) + util_kx_genNextDnsTransId(&b) + failing(g_fail_read, [&] { return util_kx_genNextDnsTransId(&c); }) + util_kx_genNextDnsTransId(nullptr), 0);
  g_clock = nullptr;
  EXPECT_EQ(std::tuple(a != b, c), std::tuple(true, 7));  // random words (equal 1 in 65536), then the clock's
}

// A 1,500-byte reply buffer holding a header, the question and answers.
Packet reply(int ancount, const std::vector<Packet> &answers, const std::string &q = question("host.lan")) {
  const std::string query = "\x12\x34\1\0\0\1\0\0\0\0\0\0"s + q;  // id 0x1234, recursion desired, one question
  Packet r = S::reply(Packet(query.begin(), query.end()), 0x8180, answers, ancount);
  return r.resize(1500), Packet(r);  // exactly 1,500 bytes on the heap
}

// Only A records behind a compression pointer are taken, up to max, and
// only when the question is the one sent; the walk stays within the first
// 1,460 bytes, counting 20 bytes per 16-byte A record, and a reply that
// reaches past them is void.
TEST(UtilDns, RepliesAndTheirBounds) {
  const std::string q = question("host.lan"), invalid = kDns + "getIpFromDnsReplyPkt:165]invalid input param.\n\r";
  const auto *sent = reinterpret_cast<const uint8_t *>(q.data());
  uint32_t addrs[100];
  const auto parse = [&](const Packet &pkt, int max) { const int n = util_kx_getIpFromDnsReplyPkt(pkt.data(), static_cast<int32_t>(q.size()), sent, addrs, max); return std::to_string(n) + dotted(addrs, n); };
  std::vector<Packet> many(71, S::a(7, 7, 7, 7));
  expect_rows({
      {CALL(parse(reply(2, {S::a(10, 0, 0, 1), S::a(10, 0, 0, 2)}), 4)), "2 10.0.0.1 10.0.0.2"}, {CALL(parse(reply(3, {S::a(1, 1, 1, 1), S::a(2, 2, 2, 2), S::a(3, 3, 3, 3)}), 2)), "2 1.1.1.1 2.2.2.2"},
      {CALL(parse(reply(2, {S::answer(5, {3, 'w', 'w', 'w', 0xC0, 0x0C}), S::a(10, 0, 0, 3)}), 4)), "1 10.0.0.3"} /* a CNAME */, {CALL(parse(reply(2, {S::a(9, 9, 9, 9, false), S::a(10, 0, 0, 4)}), 4)), "1 10.0.0.4"},
      {CALL(parse(reply(1, {S::a(1, 1, 1, 1)}, question("other.lan")), 4)), "0", kDns + "getIpFromDnsReplyPkt:181]query field in answer pkt is different from request pkt.\n\r"},
      {CALL(parse(reply(1, {}), 0)), "0", invalid}, {CALL(util_kx_getIpFromDnsReplyPkt(reply(1, {S::a(1, 1, 1, 1)}).data(), 14, sent, nullptr, 4)), "0", invalid},
      {CALL(parse(reply(0xFFFF, {S::a(1, 1, 1, 1)}), 64)), "0"} /* zero bytes read as empty full names up to the bound */, {CALL(parse(reply(2, {S::answer(1, Packet(65535, 1)), S::a(2, 2, 2, 2)}), 64)), "0"} /* RDLENGTH 65535 */,
      {CALL(parse(reply(2, {S::a(1, 1, 1, 1), Packet(1420, 'x')}), 64)), "0"} /* an owner name past the bound */, {CALL(parse(reply(71, many), 100)), "71" + times(71, " 7.7.7.7")}, {CALL(many.push_back(S::a(7, 7, 7, 7)), parse(reply(72, many), 100)), "0"},
      {CALL(parse(reply(72, many), 64)), "64" + times(64, " 7.7.7.7")} /* capacity reached first */,
      {CALL(many.insert(many.end() - 1, S::answer(16, {})), parse(reply(73, many), 100)), "0"},  // leaves 2 bytes before the last record: too few for its header
  });
}

// Lookups against a scripted server in a private network: replies with
// another id, a non-zero RCODE or QR clear are not taken, nor silence.
TEST(UtilDnsLookup, QueriesAndAcceptedReplies) {
  std::string why;
  if (!enter_private_network(&why)) GTEST_SKIP() << why;
  const int saved = dup(0);
  if (saved < 0) { ASSERT_EQ(dup2(2, 0), 0); }  // no stdin: descriptor 0 held while the server opens its socket
  int mode = 0;  // the server's answer: three addresses, RCODE 3, another id, QR clear, full names only, silence
  const uint16_t flags[] = {0x8180, 0x8183, 0x8180, 0x0180, 0x8180};
  S server([&](const Packet &q) { return mode < 5 ? S::reply(q, flags[mode], mode ? std::vector<Packet>{S::a(1, 1, 1, 1, mode != 4)} : std::vector<Packet>{S::a(10, 1, 2, 3), S::a(10, 1, 2, 4), S::a(10, 1, 2, 5)}, -1, mode == 2) : Packet{}; });
  ASSERT_TRUE(server.listening());
  EXPECT_EQ((close(0), dotted(util_kx_getHostByName("host.lan/index.html", kLoopback, 2))), "10.1.2.3");  // its socket is descriptor 0, a valid one
  dup2(saved, 0);
  uint32_t addrs[2] = {};
  const auto both = [&](int timeout) { return dotted(util_kx_getHostByName("host.lan", kLoopback, timeout)) + " " + std::to_string(util_kx_getMultiHostByName("host.lan", kLoopback, timeout, addrs, 2)); };
  const std::string n253(253, 'n'), unreachable = "]sendto failed:101(Network is unreachable).\n\r";
  expect_rows({
      {THEN(util_kx_getMultiHostByName("host.lan", kLoopback, 2, addrs, 2), dotted(addrs[0]) + " " + dotted(addrs[1])), "2 10.1.2.3 10.1.2.4"},
      {CALL(dotted(util_kx_getHostByName(n253.c_str(), kLoopback, 2))), "10.1.2.3"} /* a 259-byte question */, {CALL(mode = 1, both(2)), "0.0.0.0 -1"}, {CALL(mode = 2, both(2)), "0.0.0.0 -1"},
      {CALL(mode = 3, both(2)), "0.0.0.0 -1"}, {CALL(mode = 4, both(2)), "0.0.0.0 0"} /* a valid reply without a usable address */, {CALL(mode = 5, both(0)), "0.0.0.0 -1"},
      {CALL(util_kx_getHostByName("host.lan", 0x0A090909, 0)), "0", kDns + "getHostByName:415" + unreachable},
      {CALL(util_kx_getMultiHostByName("host.lan", 0x0A090909, 0, addrs, 2)), "-1", kDns + "getMultiHostByName:574" + unreachable},
  });
  const std::vector<Packet> sent = server.queries();
  ASSERT_GE(sent.size(), 2u);  // the silent ones may still be on their way
  EXPECT_EQ(std::string(sent[0].begin() + 2, sent[0].end()), "\1\0\0\1\0\0\0\0\0\0"s + question("host.lan"));  // after the id: recursion desired, one question
  EXPECT_NE(sent[1][0] << 8 | sent[1][1], sent[0][0] << 8 | sent[0][1]);  // a fresh id
}

}  // namespace
}  // namespace aputil::test
