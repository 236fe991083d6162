// The DNS reply parser on any bytes after a fixed question.
#include <cstring>

#include "util.h"
#include "quiet.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz::Quiet quiet;
  static uint8_t question[300];
  static const uint32_t qlen = util_kx_generateDnsQueryField("host.example.lan", question);
  uint8_t pkt[1500] = {0};
  std::memcpy(pkt + 12, question, qlen);  // the question as sent
  const size_t n = size < sizeof pkt ? size : sizeof pkt;
  std::memcpy(pkt, data, n < 12 ? n : 12);
  if (n > 12 + qlen) std::memcpy(pkt + 12 + qlen, data + 12, n - 12 - qlen);
  uint32_t addrs[16];
  util_kx_getIpFromDnsReplyPkt(pkt, static_cast<int32_t>(qlen), question, addrs, 16);
  return 0;
}
