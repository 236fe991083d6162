// Every util_ converter with fuzzed text, values and output capacities:
// round trips where the forms are inverse, and guard bytes after every
// output buffer sized as the header asks.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz_args.h"
#include "util.h"

namespace {

// A buffer of n bytes followed by guard bytes that must stay untouched.
struct Guarded {
  std::vector<char> b;
  size_t n;
  explicit Guarded(size_t size) : b(size + 16, '\x7E'), n(size) {}
  char *data() { return b.data(); }
  void check() const {
    for (size_t i = n; i < b.size(); ++i) FUZZ_CHECK(b[i] == '\x7E');
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz::Quiet quiet;
  FuzzedDataProvider in(data, size);
  std::string text = in.ConsumeRandomLengthString(200);
  const int32_t a = fuzz::any_int(in), b = fuzz::any_int(in);
  const uint32_t u = in.ConsumeIntegral<uint32_t>();
  uint8_t mac[6], back[6];
  for (uint8_t &m : mac) m = in.ConsumeIntegral<uint8_t>();

  {  // IPv4
    Guarded s(16);
    util_ip_numToStr(u, s.data());
    s.check();
    uint32_t ip = 0;
    FUZZ_CHECK(util_ip_strToNum(s.data(), &ip) == 0 && ip == u);
    util_ip_strToNum(text.c_str(), &ip);
  }
  {  // MAC in every format, any format code
    Guarded s(18);
    FUZZ_CHECK(util_mac_arrayToStr(mac, s.data(), a) == s.data());
    s.check();
    FUZZ_CHECK(util_mac_strToArray(s.data(), back) == 0 && std::memcmp(mac, back, 6) == 0);
    Guarded t(18);
    FUZZ_CHECK(util_mac_arrayToTargetFormatStr(mac, t.data(), u % 8 == 7 ? u : u % 8) == t.data());
    t.check();
    FUZZ_CHECK(util_mac_strToArray(t.data(), back) == 0 && std::memcmp(mac, back, 6) == 0);
    util_mac_strToArray(text.c_str(), back);
    util_mac_isValidMac(mac);
    uint8_t moved[6];
    std::memcpy(moved, mac, 6);
    util_calMacAddr(moved, a);
    FUZZ_CHECK(std::memcmp(moved, mac, 3) == 0);  // the OUI never changes
    const uint32_t lo = uint32_t(mac[3]) << 16 | mac[4] << 8 | mac[5], got = uint32_t(moved[3]) << 16 | moved[4] << 8 | moved[5];
    FUZZ_CHECK(got == (a > 0 ? (lo + uint32_t(a)) & 0xFFFFFF : lo));
  }
  {  // hex bytes: any count, never more written than the text has pairs
    const size_t pairs = text.size() / 2;
    Guarded out(pairs);
    const int rc = util_strToArray(text.c_str(), reinterpret_cast<uint8_t *>(out.data()), a);
    out.check();
    FUZZ_CHECK(rc == 0 || rc == -1);
    if (a > 0 && size_t(a) > pairs) FUZZ_CHECK(rc == -1);
  }
  {  // OUI text and back
    std::vector<uint8_t> oui(text.size() + 6, 0), mask(text.size() + 6, 0);
    util_oui_strToArray(text.c_str(), oui.data(), mask.data());
    Guarded s(19);
    s.b[0] = '\0';
    uint8_t m6[6];
    for (uint8_t &m : m6) m = in.PickValueInArray({0x00, 0xF0, 0xFF, 0x0F});
    util_oui_arrayToStr(mac, m6, s.data(), b);
    s.check();
  }
  {  // splitting at any max over a token array sized as the header asks
    std::string copy = text;
    const char sep = text.empty() ? ',' : text[0];
    const size_t most = text.size() + 1;  // no more tokens than that
    const int32_t max = a % 300;
    // max + 1 pointers as the header asks (one for a negative max, which
    // must stay untouched along with the text).
    std::vector<char *> tokens(max >= 0 ? std::min<size_t>(size_t(max), most) + 1 : 1, nullptr);
    const int rc = util_formatStr2Array(copy.data(), sep, max, tokens.data());
    if (max < 0) {
      FUZZ_CHECK(rc == -1 && tokens[0] == nullptr && copy == text);
    } else if (rc >= 0) {
      FUZZ_CHECK(rc <= max);
      for (int i = 0; i < rc; ++i) FUZZ_CHECK(*tokens[size_t(i)] && !std::strchr(tokens[size_t(i)], sep));
    }
  }
  {  // time
    Guarded s(24);
    util_time_numToStr(u, s.data());
    s.check();
    FUZZ_CHECK(std::strlen(s.data()) <= 19);
    Guarded hm(24);
    util_time_hourMinute2Str(a, b, hm.data());
    hm.check();
    int32_t h = 0, m = 0;
    util_time_str2HourMinute(text.c_str(), &h, &m);
    if (a >= 0 && a < 100 && b >= 0 && b < 100)
      FUZZ_CHECK(util_time_str2HourMinute(hm.data(), &h, &m) == 0 && h == a && m == b);
  }
  {  // IPv6 and back
    uint8_t addr[16], again[16];
    for (uint8_t &x : addr) x = in.ConsumeIntegral<uint8_t>();
    Guarded s(46);
    util_ipv6_addr_to_str(addr, s.data());
    s.check();
    FUZZ_CHECK(util_str_to_ipv6_addr(s.data(), again) == 0 && std::memcmp(addr, again, 16) == 0);
    util_str_to_ipv6_addr(text.c_str(), again);
    FUZZ_CHECK(util_ipv6_addr_cmp(addr, addr) == 0);
  }
  return 0;
}
