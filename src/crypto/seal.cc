// The sealing format: MD5 of the plain data, then the data in DES-ECB.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "common/host_root.h"
#include "crypto.h"

extern "C" {

APUTIL_API int md5_des(const uint8_t *in, int inlen, uint8_t *out, uint32_t outcap, const uint8_t *key, int seal) {
  if (!in || !out || !key) {
    std::puts("invalid input params\r");
    return -1;
  }
  // The capacity tests are signed 32-bit comparisons, as on the device.
  if (seal) {
    if (inlen < 0) {  // would digest 4 GiB
      std::puts("invalid input params\r");
      return -1;
    }
    if (!(static_cast<int32_t>(outcap - 23) > inlen)) {
      std::puts("output buf too small.\r");
      return -1;
    }
    md5_make_digest(out, in, static_cast<uint32_t>(inlen));
    return des_min_do(in, inlen, out + 16, outcap - 16, key, 1) + 16;
  }
  if (inlen < 16) {  // not even a digest
    std::puts("invalid input params\r");
    return -1;
  }
  if (!(inlen <= static_cast<int32_t>(outcap + 8))) {
    std::puts("output buf too small.\r");
    return -1;
  }
  const int m = des_min_do(in + 16, inlen - 16, out, outcap, key, 0);
  // The digest covers the decrypted length with its zero padding.
  return md5_verify_digest(in, out, static_cast<uint32_t>(m)) ? m : -1;
}

APUTIL_API int file_md5_des(const char *inpath, const char *outpath, int seal) {
  constexpr size_t kInput = 16383, kOutput = 49152;
  if (!inpath || !outpath) return -1;
  const int in = open(aputil::HostPath(inpath).c_str(), O_RDONLY);
  if (in < 0) {
    std::perror("open input file");
    return -1;
  }
  auto *buf = static_cast<uint8_t *>(std::malloc(kInput + kOutput));
  if (!buf) {
    close(in);
    return -1;
  }
  uint8_t *result = buf + kInput;
  int rc = -1;
  do {
    const ssize_t got = read(in, buf, kInput);
    if (got < 0) {
      std::perror("read");
      break;
    }
    if (static_cast<size_t>(got) == kInput) {  // the file is never read a second time
      std::printf("file too large!\n ");
      break;
    }
    std::memset(buf + got, 0, 8);  // unsealing reads a short last block whole
    const int n = md5_des(buf, static_cast<int>(got), result, kOutput, md5_getDesKey(), seal);
    if (n < 0) {
      std::puts("invalid len\r");
      break;
    }
    const int out = open(aputil::HostPath(outpath).c_str(), O_RDWR | O_CREAT | O_TRUNC, 0644);
    if (out < 0) {
      std::perror("open output file");
      break;
    }
    if (write(out, result, static_cast<size_t>(n)) != n)
      std::perror("write");
    else
      rc = 0;
    close(out);
  } while (false);
  std::free(buf);
  close(in);
  return rc;
}

}  // extern "C"
