// Text and byte forms of IPv4, MAC, OUI, hex, time and IPv6 values.
#include <arpa/inet.h>
#include <sys/time.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "util.h"

namespace {

int hex_value(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

void invalid_input() { std::puts("Invalid input parameter"); }

}  // namespace

extern "C" {

APUTIL_API char *util_ip_numToStr(uint32_t ip, char *dst) {
  if (dst) std::sprintf(dst, "%d.%d.%d.%d", ip >> 24, (ip >> 16) & 0xFF, (ip >> 8) & 0xFF, ip & 0xFF);
  return dst;
}

APUTIL_API int util_ip_strToNum(const char *str, uint32_t *ip) {
  if (!str || !ip) return -1;
  const size_t len = std::strlen(str);
  if (len < 7 || len > 15 || str[0] == '.') return -1;
  long octet[4] = {0, 0, 0, 0};
  int dots = 0;
  size_t start = 0;
  for (size_t i = 0; i < len; ++i) {
    if (!std::strchr(".0123456789", str[i])) return -1;
    if (str[i] != '.') continue;
    if (str[i + 1] == '.' || dots == 3) return -1;
    octet[dots++] = std::strtol(str + start, nullptr, 10);  // the digits since the last dot
    start = i + 1;
    if (dots == 3) octet[3] = std::strtol(str + start, nullptr, 10);  // the rest; "" is 0
  }
  if (dots != 3) return -1;
  for (long o : octet)
    if (static_cast<unsigned long>(o) >= 256) return -1;
  *ip = static_cast<uint32_t>(octet[0] << 24 | octet[1] << 16 | octet[2] << 8 | octet[3]);
  return 0;
}

APUTIL_API char *util_mac_arrayToStr(const uint8_t *mac, char *dst, int32_t useColon) {
  if (!mac || !dst) return nullptr;
  const char sep = useColon ? ':' : '-';
  std::sprintf(dst, "%02X%c%02X%c%02X%c%02X%c%02X%c%02X", mac[0], sep, mac[1], sep, mac[2], sep, mac[3], sep, mac[4],
               sep, mac[5]);
  return dst;
}

APUTIL_API int util_mac_strToArray(const char *str, uint8_t *mac) {
  if (!str || !mac) return -1;
  const char *p = str;
  for (int i = 0; i < 6; ++i) {
    if (*p == '-' || *p == ':') ++p;
    const int hi = hex_value(*p);
    if (hi < 0) return -1;
    ++p;
    const char c = *p;
    uint8_t lo;
    if (c >= '0' && c <= '9')
      lo = static_cast<uint8_t>(c - '0');
    else if (c >= 'a' && c <= 'f')
      lo = static_cast<uint8_t>(c - 'a' + 10);
    else
      lo = static_cast<uint8_t>(c - 'A' + 10);  // unchecked, as on the device
    mac[i] = static_cast<uint8_t>((hi << 4) | lo);
    if (c) ++p;  // never past the end of the text
  }
  return 0;
}

APUTIL_API int util_strToArray(const char *hex, uint8_t *out, int32_t count) {
  if (!hex || !out) return -1;
  for (int32_t i = 0; i < count; ++i) {
    const int hi = hex_value(hex[2 * i]);
    if (hi < 0) return -1;
    const int lo = hex_value(hex[2 * i + 1]);
    if (lo < 0) return -1;
    out[i] = static_cast<uint8_t>(hi * 16 + lo);
  }
  return 0;
}

APUTIL_API char *util_oui_arrayToStr(const uint8_t *oui, const uint8_t *mask, char *dst, int32_t useColon) {
  if (!oui || !dst || !mask) return nullptr;
  // Separators go between groups, so six whole groups take 18 bytes with
  // the terminator (the MAC text size), never a 19th for a trailing one.
  char *out = dst + std::strlen(dst);
  bool first = true;
  for (int i = 0; i < 6; ++i) {
    if (mask[i] != 0xFF && mask[i] != 0xF0) continue;
    if (!first) *out++ = useColon ? ':' : '-';
    first = false;
    if (mask[i] == 0xFF)
      out += std::sprintf(out, "%02X", oui[i]);
    else
      out += std::sprintf(out, "%01X", oui[i] >> 4);
  }
  *out = '\0';
  return dst;
}

APUTIL_API int util_oui_strToArray(const char *str, uint8_t *oui, uint8_t *mask) {
  if (!str || !oui || !mask) return -1;
  const char *p = str;
  for (int i = 0; *p; ++i) {
    if (*p == '-' || *p == ':') ++p;
    const int hi = hex_value(*p);
    if (hi < 0) return -1;
    mask[i] |= 0xF0;
    ++p;
    int lo = hex_value(*p);
    if (lo >= 0) {
      mask[i] = 0xFF;
      ++p;
    } else {
      lo = 0;
    }
    oui[i] = static_cast<uint8_t>(hi * 16 + lo);
  }
  return 0;
}

APUTIL_API int util_formatStr2Array(char *str, char sep, int32_t max, char **tokens) {
  if (!str || !tokens) {
    invalid_input();
    return -1;
  }
  if (max < 0) return -1;  // tokens would hold no pointer: nothing is written
  char *const end = str + std::strlen(str);
  int count = 0;
  for (char *p = str;;) {
    while (p < end && *p == sep) ++p;
    if (p >= end) return count;
    char *token = p;
    while (p < end && *p != sep) ++p;
    const bool last = p >= end;
    *p = '\0';
    tokens[count++] = token;  // stored before the check: tokens holds max + 1
    if (count > max) return -1;
    if (last) return count;
    ++p;
  }
}

APUTIL_API char *util_time_numToStr(uint32_t s, char *dst) {
  if (!dst) {
    invalid_input();
    return dst;
  }
  const uint32_t days = s / 86400;
  std::sprintf(dst, "%d days %02d:%02d:%02d", static_cast<int>(days), static_cast<int>(s / 3600 - days * 24),
               static_cast<int>(s / 60 - (s / 3600) * 60), static_cast<int>(s % 60));
  return dst;
}

APUTIL_API char *util_time_hourMinute2Str(int32_t hour, int32_t minute, char *dst) {
  if (!dst) {
    invalid_input();
    return dst;
  }
  std::sprintf(dst, "%02d:%02d", hour, minute);
  return dst;
}

APUTIL_API int util_time_str2HourMinute(const char *str, int32_t *hour, int32_t *minute) {
  if (!str || !hour || !minute) {
    invalid_input();
    return -1;
  }
  if (std::sscanf(str, "%02d:%02d", hour, minute) == 2) return 0;
  *hour = *minute = 0;
  return -1;
}

APUTIL_API int util_mac_isValidMac(const uint8_t *mac) {
  if (!mac) return 0;
  static const uint8_t zeros[6] = {0, 0, 0, 0, 0, 0};
  static const uint8_t ones[6] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
  if (std::memcmp(mac, zeros, 6) == 0 || std::memcmp(mac, ones, 6) == 0 || (mac[0] & 1)) return 0;
  return 1;
}

APUTIL_API int util_calMacAddr(uint8_t *mac, int32_t n) {
  if (!mac) return -1;
  if (n <= 0) return 0;
  // n single steps on the last three bytes, the carry out of byte 3 lost.
  const uint32_t low = (static_cast<uint32_t>(mac[3]) << 16 | mac[4] << 8 | mac[5]) + static_cast<uint32_t>(n);
  mac[3] = static_cast<uint8_t>(low >> 16);
  mac[4] = static_cast<uint8_t>(low >> 8);
  mac[5] = static_cast<uint8_t>(low);
  return 0;
}

APUTIL_API uint64_t util_getTimestamp(void) {
  timeval tv{};
  gettimeofday(&tv, nullptr);
  return static_cast<uint64_t>(tv.tv_sec) * 1000 + static_cast<uint64_t>(tv.tv_usec) / 1000;
}

APUTIL_API int util_ipv6_addr_to_str(const uint8_t *addr, char *buf) {
  if (!addr || !buf) {
    std::puts("pIpv6Addr is NULL or pStrAddr is NULL\r");
    return -1;
  }
  if (!inet_ntop(AF_INET6, addr, buf, INET6_ADDRSTRLEN)) {
    std::puts("transfer IPv6 to string error\r");
    return -1;
  }
  return 0;
}

APUTIL_API int util_str_to_ipv6_addr(const char *str, uint8_t *addr) {
  if (!str || !addr) {
    std::puts("pIpv6Addr is NULL or pStrAddr is NULL\r");
    return -1;
  }
  const int rc = inet_pton(AF_INET6, str, addr);
  if (rc == 0) {
    std::puts("IPv6 is not in presentation format\r");
    return -1;
  }
  if (rc < 0) {
    std::puts("transfer string to IPv6 error \r");
    return -1;
  }
  return 0;
}

APUTIL_API int util_ipv6_addr_cmp(const uint8_t *a, const uint8_t *b) {
  if (!a || !b) {
    std::puts("pIpv6Addr1 is NULL or pIpv6Addr2 is NULL\r");
    return -1;
  }
  return std::memcmp(a, b, 16) == 0 ? 0 : 1;
}

APUTIL_API char *util_mac_arrayToTargetFormatStr(const uint8_t *mac, char *dst, uint32_t format) {
  static const char *const kFormats[6] = {
      "%02x%02x%02x%02x%02x%02x", "%02x-%02x-%02x-%02x-%02x-%02x", "%02x:%02x:%02x:%02x:%02x:%02x",
      "%02X%02X%02X%02X%02X%02X", "%02X-%02X-%02X-%02X-%02X-%02X", "%02X:%02X:%02X:%02X:%02X:%02X"};
  if (!mac || !dst) return nullptr;
  if (format > MAC_ADDR_FMT_UPPER_COLON) {
    std::puts("unsupport special macFormat,use default format MAC_ADDR_FMT_UPPER_HYPHEN");
    format = MAC_ADDR_FMT_UPPER_HYPHEN;
  }
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  std::snprintf(dst, 18, kFormats[format], mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
#pragma GCC diagnostic pop
  return dst;
}

}  // extern "C"
