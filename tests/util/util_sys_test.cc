// Shell, lock, netlink, clock, file, random, I2C and FEM helpers.
#include <linux/netlink.h>
#include <poll.h>
#include <sched.h>
#include <sys/stat.h>
#include <sys/mount.h>
#include <sys/sem.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "support/emulation.h"
#include "support/fw_root.h"
#include "support/model_tree.h"
#include "util.h"

// semop for this program: fails with EINTR a chosen number of times, then
// does the real call.
static int g_semop_eintr = 0;
extern "C" int semop(int semid, struct sembuf *sops, size_t nsops) {
  if (g_semop_eintr > 0) {
    --g_semop_eintr;
    errno = EINTR;
    return -1;
  }
  return static_cast<int>(syscall(SYS_semop, semid, sops, nsops));
}

// sendto for this program: keeps a copy of what was sent, then sends it.
static std::string g_sent;
static socklen_t g_sent_addrlen;
static sockaddr_nl g_sent_addr;
extern "C" ssize_t sendto(int fd, const void *buf, size_t len, int flags, const struct sockaddr *addr,
                          socklen_t addrlen) {
  g_sent.assign(static_cast<const char *>(buf), len);
  g_sent_addrlen = addrlen;
  if (addr && addrlen <= sizeof g_sent_addr) std::memcpy(&g_sent_addr, addr, addrlen);
  return syscall(SYS_sendto, fd, buf, len, flags, addr, addrlen);
}

namespace aputil::test {
namespace {

TEST(UtilShell, ExitCodesAreIgnoredSignalsAreNot) {
  FirmwareRoot root;
  EXPECT_EQ(util_systemEx("exit 3"), 0);
  EXPECT_EQ(util_systemEx("/nonexistent/program"), 0);  // 127 is still 0
  EXPECT_EQ(util_systemEx("kill -9 $$"), -1);
  EXPECT_EQ(util_systemEx(nullptr), -1);
  const std::string out = root.host("/env");
  EXPECT_EQ(util_execFormatCmd("env > %s", out.c_str()), 0);
  EXPECT_EQ(read_file(out).find("HOME="), std::string::npos);  // an empty environment (the shell adds PWD)
}

TEST(UtilShell, FormatRefusesOnlySemicolonAndDoubleAmpersand) {
  FirmwareRoot root;
  const std::string f = root.host("/out");
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(util_execFormatCmd("echo %s > %s", "a;b", f.c_str()), -1); }),
            "Parameter contains illegal character!");
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(util_execFormatCmd("true && echo x > %s", f.c_str()), -1); }),
            "Parameter contains illegal character!");
  EXPECT_EQ(read_file(f), "");
  EXPECT_EQ(util_execFormatCmd("false || echo ran | cat > %s", f.c_str()), 0);
  EXPECT_EQ(read_file(f), "ran\n");
  // Cut to 255 characters before the check: a ';' past them is never seen.
  const std::string pad(300 - 30, 'x');
  EXPECT_EQ(util_execFormatCmd("echo %.*s > %s", 100, pad.c_str(), f.c_str()), 0);
  const std::string cmd = "echo " + std::string(245, 'y') + " > /dev/null;x";
  EXPECT_EQ(util_execFormatCmd("%s", cmd.c_str()), 0);
}

TEST(UtilNetlink, SendsHeaderAndPayloadToTheKernel) {
  SKIP_UNDER_EMULATION("qemu-user rewrites NETLINK_ROUTE messages and refuses types it does not know");
  const int fd = socket(AF_NETLINK, SOCK_RAW, NETLINK_ROUTE);
  if (fd < 0) GTEST_SKIP() << "no netlink socket here: " << std::strerror(errno);
  EXPECT_EQ(util_nl_sendData(fd, nullptr, 0, 0x10), 0);
  ASSERT_EQ(g_sent.size(), 16u);
  nlmsghdr hdr;
  std::memcpy(&hdr, g_sent.data(), sizeof hdr);
  EXPECT_EQ(hdr.nlmsg_len, 16u);
  EXPECT_EQ(hdr.nlmsg_type, 0x10);
  EXPECT_EQ(hdr.nlmsg_flags | hdr.nlmsg_seq | hdr.nlmsg_pid, 0u);
  EXPECT_EQ(g_sent_addrlen, 12u);
  EXPECT_EQ(g_sent_addr.nl_family, AF_NETLINK);
  EXPECT_EQ(g_sent_addr.nl_pid | g_sent_addr.nl_groups, 0u);
  const char payload[] = "abc";
  EXPECT_EQ(util_nl_sendData(fd, payload, sizeof payload, 0x1234), 0);
  ASSERT_EQ(g_sent.size(), 20u);
  std::memcpy(&hdr, g_sent.data(), sizeof hdr);
  EXPECT_EQ(hdr.nlmsg_len, 20u);
  EXPECT_EQ(hdr.nlmsg_type, 0x1234);
  EXPECT_EQ(g_sent.substr(16), std::string("abc", 4));
  EXPECT_EQ(util_nl_sendData(fd, nullptr, 4, 1), 0);  // no data: the payload stays zero
  EXPECT_EQ(g_sent.substr(16), std::string(4, '\0'));
  close(fd);
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(util_nl_sendData(fd, payload, 4, 7), -1); }), "send failed, fd=" +
                                                                                        std::to_string(fd) +
                                                                                        ", type=7\r\n");
  EXPECT_EQ(stdout_of([] { EXPECT_EQ(util_nl_sendData(-1, nullptr, 0, 1), -1); }), "fd is invalid.\r\n");
}

TEST(UtilClock, UnitsOfTheMonotonicClock) {
  const uint64_t s = util_getUptime(UTIL_UPTIME_SEC), ms = util_getUptime(UTIL_UPTIME_MSEC),
                 us = util_getUptime(UTIL_UPTIME_USEC), other = util_getUptime(7);
  EXPECT_LE(s, ms / 1000);
  EXPECT_LE(ms, us / 1000);
  EXPECT_LE(other - s, 1u);
}

class UtilSem : public ::testing::Test {
 protected:
  void SetUp() override { key_ = 0x5A000000 | (getpid() & 0xFFFFFF); }
  void TearDown() override {
    if (id_ >= 0) semctl(id_, 0, IPC_RMID);
  }
  int key_ = 0, id_ = -1;
};

TEST_F(UtilSem, LockSerialisesTwoProcesses) {
  ASSERT_EQ(util_init_sem(&id_, key_), 0);
  int again = -1;
  ASSERT_EQ(util_init_sem(&again, key_), 0);  // attaches to the existing set
  EXPECT_EQ(again, id_);
  ASSERT_EQ(util_sem_lock(id_), 0);
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  const pid_t child = fork();
  if (child == 0) {  // takes the lock only after the parent lets go
    const int got = util_sem_lock(id_);
    const char c = got == 0 ? 'L' : 'E';
    _exit(write(ready[1], &c, 1) == 1 ? 0 : 1);
  }
  usleep(100000);
  pollfd p{ready[0], POLLIN, 0};
  EXPECT_EQ(poll(&p, 1, 0), 0);  // still waiting
  EXPECT_EQ(util_sem_unlock(id_), 0);
  char c = 0;
  EXPECT_EQ(read(ready[0], &c, 1), 1);
  EXPECT_EQ(c, 'L');
  int status = 0;
  waitpid(child, &status, 0);
  // The child died holding the lock: SEM_UNDO gave it back.
  EXPECT_EQ(semctl(id_, 0, GETVAL), 1);
  close(ready[0]);
  close(ready[1]);
}

TEST_F(UtilSem, GivesUpAfterThirtyInterruptions) {
  ASSERT_EQ(util_init_sem(&id_, key_), 0);
  g_semop_eintr = 30;
  std::string out = stdout_of([&] { EXPECT_EQ(util_sem_lock(id_), -1); });
  size_t lines = 0;
  for (size_t at = 0; (at = out.find("lock interrupted by signal\n", at)) != out.npos; ++at) ++lines;
  EXPECT_EQ(lines, 30u);
  g_semop_eintr = 29;
  stdout_of([&] { EXPECT_EQ(util_sem_lock(id_), 0); });
  EXPECT_EQ(util_sem_unlock(id_), 0);
  EXPECT_EQ(stdout_of([] { EXPECT_EQ(util_init_sem(nullptr, 1), -1); }), "pSemid == NULL\n");
  EXPECT_EQ(stdout_of([] { EXPECT_EQ(util_sem_lock(-1), -1); }),
            "lock failed, reason=Invalid argument rc=-1\n");
}

TEST(UtilFiles, WholeFileLimitsAndMessages) {
  FirmwareRoot root;
  root.write("/etc/data", "12345678");
  char buf[16];
  EXPECT_EQ(util_readFileToBuf("/etc/data", buf, 8), 8);  // exactly the size: through the host root
  EXPECT_EQ(std::string(buf, 8), "12345678");
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(util_readFileToBuf("/etc/data", buf, 7), -1); }),
            "size of file /etc/data: 8 greater than bufsize: 7.\n");
  EXPECT_EQ(stdout_of([&] { EXPECT_EQ(util_readFileToBuf("/etc/missing", buf, 7), -1); }),
            "size of file /etc/missing: 0 greater than bufsize: 7.\n");
  EXPECT_EQ(util_readFileToBuf(nullptr, buf, 7), -1);

  EXPECT_EQ(util_writeBufToFile("/etc/out", "abc", 3), 3);
  EXPECT_EQ(root.read("/etc/out"), "abc");
  EXPECT_EQ(util_writeBufToFile("/etc/out", "x", 1), 1);  // truncates
  EXPECT_EQ(root.read("/etc/out"), "x");
  EXPECT_EQ(stdout_of([] { EXPECT_EQ(util_writeBufToFile("/no/such/dir/f", "x", 1), -1); }),
            "Open /no/such/dir/f for writing failed \r\n");

  unsigned char a[32] = {}, b[32] = {};
  EXPECT_EQ(util_genUramdom(a, sizeof a), 0);  // the running system's source, whatever the root
  EXPECT_EQ(util_genUramdom(b, sizeof b), 0);
  EXPECT_NE(std::memcmp(a, b, sizeof a), 0);
  EXPECT_EQ(util_genUramdom(nullptr, 4), -1);
  EXPECT_EQ(util_genUramdom(a, -1), -1);
}

TEST(UtilI2c, TablesAndFemRegisters) {
  EXPECT_EQ(util_getI2cAddr(1, 0), 0x39u);
  EXPECT_EQ(util_getI2cAddr(3, 2), 0x25u);
  EXPECT_EQ(util_getI2cAddr(5, 3), 0u);
  EXPECT_EQ(util_getI2cAddr(6, 0), 0u);  // outside the table: 0, no read beyond it
  EXPECT_EQ(util_getI2cAddr(0, 4), 0u);
  EXPECT_EQ(util_getI2cAddr(UINT32_MAX, UINT32_MAX), 0u);
  EXPECT_EQ(util_getI2cType(6), 3u);
  EXPECT_EQ(util_getFEMReg(-2), 0u);
  EXPECT_EQ(util_getFEMReg(4), 0u);
  EXPECT_EQ(util_getFEMReg(0), 1u);
  EXPECT_EQ(util_getFEMReg(3), 0u);
  l_FEMReg[2] = 9;  // writable by callers
  EXPECT_EQ(util_getFEMReg(2), 9u);
  l_FEMReg[2] = 0;
}

// The probe's command line needs a shell that takes ">& /dev/null" (the
// device's does; dash does not). The probe runs in a child with its own
// mount namespace where /bin/sh is bash, and a fake i2cget first in PATH
// that answers for one address and logs every call.
TEST(UtilI2c, ProbesIndexTwoFirst) {
  FirmwareRoot root;
  root.write("/bin/i2cget", "#!/bin/bash\necho \"$4\" >> \"${0%/bin/i2cget}/log\"\n[ \"$4\" = \"$(cat \"${0%/bin/i2cget}/answer\")\" ]\n");
  chmod(root.host("/bin/i2cget").c_str(), 0755);
  int result[2];
  ASSERT_EQ(pipe(result), 0);
  const pid_t child = fork();
  if (child == 0) {
    char verdict = 'S';  // skipped
    if (unshare(CLONE_NEWNS) == 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
        mount("/bin/bash", "/bin/sh", nullptr, MS_BIND, nullptr) == 0) {
      setenv("PATH", (root.host("/bin") + ":/usr/bin:/bin").c_str(), 1);
      std::string answers;
      for (const char *answer : {"0x21", "0x39", "0x3a", "0x77"}) {
        root.write("/answer", answer);
        answers += static_cast<char>('0' + util_getI2cType(std::string(answer) == "0x3a" ? 2 : 1));
      }
      verdict = 'R';
      const std::string line = std::string(1, verdict) + answers;
      _exit(write(result[1], line.data(), line.size()) > 0 ? 0 : 1);
    }
    _exit(write(result[1], &verdict, 1) > 0 ? 0 : 1);
  }
  close(result[1]);
  char line[8] = {};
  const ssize_t n = read(result[0], line, sizeof line);
  close(result[0]);
  waitpid(child, nullptr, 0);
  if (n == 1 && line[0] == 'S') GTEST_SKIP() << "needs a private mount namespace (root) to give /bin/sh bash's syntax";
  ASSERT_EQ(n, 5);
  // Type 1 is {0x39, 0x21, 0x23}: 0x21 answers at index 1, 0x39 at 0; type 2
  // is {0x3a, 0x21, 0x00}: 0x3a at index 0; 0x77 nowhere.
  EXPECT_EQ(std::string(line + 1, 4), "1003");
  EXPECT_EQ(root.read("/log"), "0x23\n0x21\n0x23\n0x21\n0x39\n0x0\n0x21\n0x3a\n0x23\n0x21\n0x39\n");
}

}  // namespace
}  // namespace aputil::test
