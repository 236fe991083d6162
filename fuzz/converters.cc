// The text converters of the utility family on any text.
#include <cstring>
#include <string>
#include <vector>

#include "util.h"
#include "quiet.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz::Quiet quiet;
  if (size > 4096) return 0;
  const std::string text(reinterpret_cast<const char *>(data), size);
  const char *s = text.c_str();
  uint32_t ip;
  util_ip_strToNum(s, &ip);
  uint8_t mac[6], bytes[8], addr[16];
  util_mac_strToArray(s, mac);
  util_strToArray(s, bytes, 8);
  std::vector<uint8_t> oui(size + 6, 0), mask(size + 6, 0);  // as many groups as the text can hold, six at least
  util_oui_strToArray(s, oui.data(), mask.data());
  int32_t hour, minute;
  util_time_str2HourMinute(s, &hour, &minute);
  util_str_to_ipv6_addr(s, addr);
  std::string copy = text;
  std::vector<char *> tokens(9);
  util_formatStr2Array(copy.data(), size ? static_cast<char>(data[0]) : ',', 8, tokens.data());
  char out[64] = "";
  util_oui_arrayToStr(oui.data(), mask.data(), out, 1);
  return 0;
}
