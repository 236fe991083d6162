// Netlink, the monotonic clock, whole-file I/O and random bytes.
#include <linux/netlink.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "common/host_root.h"
#include "util.h"

using aputil::HostPath;

extern "C" {

APUTIL_API int util_nl_sendData(int fd, const void *data, uint32_t len, uint16_t type) {
  if (fd < 0) {
    std::puts("fd is invalid.\r");
    return -1;
  }
  const size_t total = static_cast<size_t>(len) + NLMSG_HDRLEN;
  auto *block = static_cast<unsigned char *>(len > UINT32_MAX - NLMSG_HDRLEN ? nullptr : std::malloc(total));
  if (!block) {
    std::puts("alloc mem failed\r");
    return -1;
  }
  std::memset(block, 0, total);
  auto *hdr = reinterpret_cast<nlmsghdr *>(block);
  hdr->nlmsg_len = static_cast<uint32_t>(total);
  hdr->nlmsg_type = type;
  if (data && len) std::memcpy(block + NLMSG_HDRLEN, data, len);
  sockaddr_nl kernel;
  std::memset(&kernel, 0, sizeof kernel);
  kernel.nl_family = AF_NETLINK;
  const ssize_t sent = sendto(fd, block, total, 0, reinterpret_cast<sockaddr *>(&kernel), sizeof kernel);
  std::free(block);
  if (sent != static_cast<ssize_t>(total)) {
    std::printf("send failed, fd=%d, type=%d\r\n", fd, type);
    return -1;
  }
  return 0;
}

APUTIL_API uint64_t util_getUptime(int unit) {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  const auto sec = static_cast<uint64_t>(ts.tv_sec);
  const auto nsec = static_cast<uint64_t>(ts.tv_nsec);
  switch (unit) {
    case UTIL_UPTIME_MSEC: return sec * 1000 + nsec / 1000000;
    case UTIL_UPTIME_USEC: return sec * 1000000 + nsec / 1000;
    default: return sec;
  }
}

APUTIL_API int util_readFileToBuf(const char *path, void *buf, int size) {
  if (!path || !buf) return -1;
  const HostPath host(path);
  struct stat st;
  // A missing file gets the size message with size 0, as on the device.
  const int file_size = stat(host.c_str(), &st) == 0 ? static_cast<int>(st.st_size) : -1;
  if (file_size < 0 || file_size > size) {
    std::printf("size of file %s: %d greater than bufsize: %d.\n", path, file_size < 0 ? 0 : file_size, size);
    return -1;
  }
  FILE *f = std::fopen(host.c_str(), "r");
  if (!f) {
    std::printf("Cannot open %s.\n", path);
    return -1;
  }
  const size_t got = std::fread(buf, 1, static_cast<size_t>(file_size), f);
  std::fclose(f);
  if (got < static_cast<size_t>(file_size)) {
    std::printf("Read %s error.\n", path);
    return -1;
  }
  return static_cast<int>(got);
}

APUTIL_API int util_writeBufToFile(const char *path, const void *buf, int n) {
  if (!path || (!buf && n > 0) || n < 0) return -1;
  FILE *f = std::fopen(HostPath(path).c_str(), "wb");
  if (!f) {
    std::printf("Open %s for writing failed \r\n", path);
    return -1;
  }
  const size_t wrote = std::fwrite(buf, 1, static_cast<size_t>(n), f);
  if (wrote != static_cast<size_t>(n)) {
    std::printf("write file %s failed, ret = %d \r\n", path, static_cast<int>(wrote));
    std::fclose(f);
    return -1;
  }
  std::fclose(f);
  return n;
}

APUTIL_API int util_genUramdom(void *buf, int n) {
  if (!buf || n < 0) return -1;
  FILE *f = std::fopen("/dev/urandom", "rb");  // the host's own random source, never the firmware tree's
  if (!f) {
    std::puts("Could not open /dev/urandom. \r");
    return -1;
  }
  const size_t got = std::fread(buf, 1, static_cast<size_t>(n), f);
  std::fclose(f);
  return got == static_cast<size_t>(n) ? 0 : -1;
}

}  // extern "C"
