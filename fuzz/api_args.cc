// The rest of the exported functions that take a count, a length, an index,
// a capacity or a caller buffer: device-config and radio-config getters at
// every buffer length, the BLE command builders and commands over a line
// that answers with fuzzed replies, the file, random, netlink, I2C and FEM
// helpers, the record and debug logs, the hashes and the cJSON array
// constructors and update functions. Every output buffer is exactly as
// large as the call is told, followed by guard bytes that must stay intact.
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <vector>

#include "ble.h"
#include "cJSON.h"
#include "crypto.h"
#include "devcfg.h"
#include "evloop.h"
#include "fuzz_args.h"
#include "fuzz_root.h"
#include "radio_config.h"
#include "radio_region.h"
#include "util.h"
#include "util_dbg.h"

// The BLE commands pause between tries; not here.
extern "C" int usleep(useconds_t) { return 0; }

namespace {

// n bytes for the callee and 16 guard bytes behind them.
struct Guarded {
  std::vector<uint8_t> b;
  size_t n;
  explicit Guarded(size_t size) : b(size + 16, 0x7E), n(size) {}
  uint8_t *data() { return b.data(); }
  char *text() { return reinterpret_cast<char *>(b.data()); }
  ~Guarded() {
    for (size_t i = n; i < b.size(); ++i) FUZZ_CHECK(b[i] == 0x7E);
  }
};

void devcfg(FuzzedDataProvider &in) {
  using Getter = int32_t (*)(char *, int32_t);
  using PortGetter = int32_t (*)(uint32_t, char *, int32_t);
  using Path = void (*)(char *, size_t);
  using AppPath = int32_t (*)(char *, size_t);
  static const Getter getters[] = {devcfg_cloud_getMicType, devcfg_dlLinkPort_getIfName, devcfg_downLinkPort_getIfName,
                                   devcfg_upLinkPort_getAliasName, devcfg_upLinkPort_getIfName,
                                   devcfg_upLinkPort_getLogicalIfName};
  static const PortGetter port_getters[] = {devcfg_downLinkPort_getAliasName, devcfg_downLinkPort_getLogicalIfName};
  static const Path paths[] = {devcfg_getDftCfgPath,      devcfg_getFactoryCfgPath,  devcfg_getGpioCfgPath,
                               devcfg_getGpoRuleCfgPath,  devcfg_getOemInfoPath,     devcfg_getRegDoamin2GPath,
                               devcfg_getRegDoamin5GPath, devcfg_getRadioCfgPath,    devcfg_getWirelessCfgPath,
                               devcfg_getThermaltoolCfgPath};
  // Lengths from nothing (or negative) to far more than any name needs;
  // the buffer is exactly that long.
  const int32_t len = in.ConsumeIntegralInRange(-3, 300);
  Guarded g(len > 0 ? static_cast<size_t>(len) : 0);
  g.b.reserve(g.b.size() + 1);
  char *dst = in.ConsumeIntegralInRange(0, 15) ? g.text() : nullptr;
  if (in.ConsumeBool())
    in.PickValueInArray(getters)(dst, len);
  else
    in.PickValueInArray(port_getters)(in.ConsumeIntegralInRange(0u, 6u), dst, len);
  const size_t n = in.ConsumeIntegralInRange<size_t>(0, 300);
  Guarded p(n);
  char *pdst = n && in.ConsumeIntegralInRange(0, 15) ? p.text() : nullptr;
  if (in.ConsumeBool())
    in.PickValueInArray(paths)(pdst, n);
  else
    in.PickValueInArray<AppPath>({devcfg_getAppCfgPath, devcfg_getAppClusterCfgPath})(pdst, n);
  devcfg_downLinkPort_getNum();
}

void radio(FuzzedDataProvider &in) {
  using RegVal = uint32_t (*)(uint8_t, uint32_t *);
  const uint8_t n = in.ConsumeIntegral<uint8_t>();
  Guarded g(sizeof(uint32_t) * n);
  in.PickValueInArray<RegVal>({radio_config_bbAGCRegVal, radio_config_bbCCARegVal, radio_config_bbPSDRegVal})(
      n, in.ConsumeBool() ? reinterpret_cast<uint32_t *>(g.data()) : nullptr);
  const uint32_t rid = in.ConsumeIntegralInRange(0, 7) ? in.ConsumeIntegralInRange(0u, 2u) : in.ConsumeIntegral<uint32_t>();
  using ByRadio = uint32_t (*)(uint32_t);
  for (ByRadio f : {radio_config_getBand, radio_config_getMimo, radio_config_getMimoGain, radio_config_getAnttGain,
                    radio_config_getModeCap, radio_config_getIfindex, radio_config_getBlockAcsBand,
                    radio_config_getBlockSpruceBand4, radio_config_getMaxVapNum, radio_config_getMaxModeCap,
                    radio_config_smartAntennaSupp, radio_config_getMaxMode, radio_config_getMaxChanWidth})
    f(rid);
  radio_config_getMaxAutoChanWidth(rid, in.ConsumeIntegral<uint32_t>() % 10);
  if (const char *ifname = radio_config_getIfname(rid)) FUZZ_CHECK(std::strlen(ifname) < 64);
  if (const char *prefix = radio_config_getVapPrefix(rid)) FUZZ_CHECK(std::strlen(prefix) < 64);
  if (const char *mesh = radio_config_getMeshBkhapIfname()) FUZZ_CHECK(std::strlen(mesh) < 64);
  radio_region_reinit(in.ConsumeIntegral<uint32_t>());  // no REG_DOMAIN files in this tree: a clean failure
  radio_capacity_t caps[2];
  radio_config_get_capacity(in.ConsumeBool() ? caps : nullptr);
}

void ble(FuzzedDataProvider &in) {
  // Packet building: len bytes in all (the 4-byte header at least), the
  // parameters after the header.
  const uint8_t len = in.ConsumeIntegral<uint8_t>();
  const size_t total = len > 4 ? len : 4;
  std::vector<uint8_t> full(total - 4, 0);
  const std::vector<uint8_t> params = in.ConsumeBytes<uint8_t>(full.size());
  std::copy(params.begin(), params.end(), full.begin());
  full.reserve(1);
  {
    Guarded pkt(total);
    ble_build_cmd(in.ConsumeIntegralInRange(0, 15) ? pkt.data() : nullptr, in.ConsumeIntegral<uint16_t>(), len,
                  in.ConsumeBool() ? full.data() : nullptr);
  }
  {
    const uint8_t hci_len = in.ConsumeIntegralInRange<uint8_t>(0, 8);  // up to four int arguments
    Guarded pkt(hci_len > 4 ? hci_len : 4);
    ble_build_cmd_hci(pkt.data(), in.ConsumeIntegral<uint16_t>(), hci_len, 1, 2, 3, 4);
    FUZZ_CHECK(pkt.b[0] == 0x01 && pkt.b[3] == static_cast<uint8_t>(hci_len - 4));
  }
  // Commands over a line whose other end holds the fuzzed replies.
  int sv[2];
  if (socketpair(AF_UNIX, SOCK_STREAM, 0, sv) != 0) return;
  const std::vector<uint8_t> replies = in.ConsumeBytes<uint8_t>(in.ConsumeIntegralInRange(0, 600));
  if (!replies.empty() && write(sv[1], replies.data(), replies.size()) < 0) {
    close(sv[0]);
    close(sv[1]);
    return;
  }
  shutdown(sv[1], SHUT_WR);  // reads past the replies end at once, as a line timeout does
  const int fd = sv[0];
  switch (in.ConsumeIntegralInRange(0, 10)) {
    case 0: {
      Guarded mac(6);
      ble_snd_cmd_hci_get_macaddr(fd, in.ConsumeBool() ? mac.data() : nullptr);
      break;
    }
    case 1: {
      Guarded mac(6);
      ble_fac_mac_get(fd, mac.data());
      break;
    }
    case 2: {
      Guarded rssi(sizeof(int32_t));
      ble_snd_cmd_hci_read_rssi(fd, in.ConsumeIntegral<uint16_t>(), reinterpret_cast<int32_t *>(rssi.data()));
      break;
    }
    case 3: {
      Guarded rssi(sizeof(int32_t));
      ble_fac_peerdevice_read_rssi(fd, reinterpret_cast<int32_t *>(rssi.data()));
      break;
    }
    case 4: {
      Guarded count(sizeof(uint16_t));
      if (in.ConsumeBool())
        ble_snd_cmd_hci_end_test(fd, reinterpret_cast<uint16_t *>(count.data()));
      else
        ble_fac_end_test(fd, reinterpret_cast<uint16_t *>(count.data()));
      break;
    }
    case 5: {
      uint8_t peer[6];
      for (uint8_t &p : peer) p = in.ConsumeIntegral<uint8_t>();
      Guarded handle(sizeof(uint16_t));
      if (in.ConsumeBool())
        ble_snd_cmd_hci_peerdevice_connect(fd, peer, reinterpret_cast<uint16_t *>(handle.data()));
      else
        ble_fac_peerdevice_connect(fd, peer);
      break;
    }
    case 6:
      ble_fac_tx_test(fd, in.ConsumeIntegral<uint8_t>(), fuzz::any_int(in), in.ConsumeIntegral<uint8_t>(),
                      in.ConsumeIntegral<uint8_t>(), in.ConsumeIntegral<uint8_t>());
      break;
    case 7:
      ble_snd_cmd_hci_tx_test(fd, in.ConsumeIntegral<uint8_t>(), in.ConsumeIntegral<uint8_t>(), in.ConsumeIntegral<uint8_t>());
      ble_snd_cmd_hci_enhanced_tx_test(fd, in.ConsumeIntegral<uint8_t>(), in.ConsumeIntegral<uint8_t>(),
                                       in.ConsumeIntegral<uint8_t>(), in.ConsumeIntegral<uint8_t>());
      break;
    case 8: {
      Guarded pkt(total);
      ble_build_cmd(pkt.data(), 0xFC01, len, full.data());
      ble_snd_cmd(fd, pkt.data(), len);
      break;
    }
    case 9: {  // the commands with plain 8-bit arguments, and the line itself
      const uint8_t a = in.ConsumeIntegral<uint8_t>(), b = in.ConsumeIntegral<uint8_t>(), c = in.ConsumeIntegral<uint8_t>();
      switch (in.ConsumeIntegralInRange(0, 12)) {
        case 0: ble_snd_cmd_hci_rx_test(fd, a); ble_snd_cmd_hci_enhanced_rx_test(fd, a, b); break;
        case 1: ble_snd_cmd_hci_ext_set_max_dtm_txpower(fd, a); ble_snd_cmd_hci_ext_set_txpower(fd, b); break;
        case 2: ble_snd_cmd_hci_ext_tx_test(fd, a, b); ble_snd_cmd_hci_ext_rx_test(fd, c); break;
        case 3: ble_snd_cmd_hci_ext_enhanced_tx_test(fd, a, b, c); ble_snd_cmd_hci_ext_enhanced_rx_test(fd, a, b); break;
        case 4: ble_snd_cmd_hci_ext_end_test(fd); ble_snd_cmd_hci_gap_device_init(fd); break;
        case 5: ble_snd_cmd_hci_gap_adv_disable(fd); ble_snd_cmd_hci_gap_adv_enable(fd); break;
        case 6: ble_snd_cmd_hci_kxcoex_pin_high(fd); ble_snd_cmd_hci_kxcoex_pin_low(fd); break;
        case 7: ble_fac_gap_adv_disable(fd); ble_fac_gap_adv_enable(fd); break;
        case 8: ble_fac_rx_test(fd, a, b); ble_fac_ext_end_test(fd); break;
        case 9: ble_fac_ext_tx_test(fd, a, fuzz::any_int(in), b, c); ble_fac_ext_rx_test(fd, a, b); break;
        case 10: ble_uart_write_byte(fd, a); ble_uart_read_byte(fd); break;
        default: {
          Guarded buf(c ? c : 1);  // one byte is read even for a count of 0
          ble_uart_read_bytes_multi(fd, buf.data(), c);
          break;
        }
      }
      break;
    }
    default: {
      const ble_code_entry_t table[] = {{-4, 1}, {0, 2}, {4, 3}, {0, 255}};
      ble_get_powercode(in.ConsumeBool() ? table : nullptr, fuzz::any_int(in));
      const int32_t n = in.ConsumeIntegralInRange(-3, 300);
      Guarded arr(n > 0 ? static_cast<size_t>(n) : 0);
      ble_tool_arr_swap(in.ConsumeIntegralInRange(0, 15) ? arr.data() : nullptr, n);
      break;
    }
  }
  close(sv[0]);
  close(sv[1]);
}

void files(FuzzedDataProvider &in) {
  const std::vector<uint8_t> bytes = in.ConsumeBytes<uint8_t>(in.ConsumeIntegralInRange(0, 300));
  const int n = in.ConsumeIntegralInRange(-3, static_cast<int>(bytes.size()));
  std::vector<uint8_t> src = bytes;
  src.reserve(1);
  const int wrote = util_writeBufToFile("/tmp/fuzz-api-file", src.data(), n);
  FUZZ_CHECK(wrote == (n < 0 ? -1 : n));
  const int cap = in.ConsumeIntegralInRange(-3, 300);
  Guarded back(cap > 0 ? static_cast<size_t>(cap) : 0);
  back.b.reserve(back.b.size() + 1);
  const int got = util_readFileToBuf("/tmp/fuzz-api-file", back.data(), cap);
  if (n >= 0 && n <= cap) FUZZ_CHECK(got >= 0 && std::memcmp(back.data(), src.data(), static_cast<size_t>(n)) == 0);
  const int rn = in.ConsumeIntegralInRange(-3, 300);
  Guarded rnd(rn > 0 ? static_cast<size_t>(rn) : 0);
  rnd.b.reserve(rnd.b.size() + 1);
  FUZZ_CHECK(util_genUramdom(rnd.data(), rn) == (rn < 0 ? -1 : 0));
  // Netlink on a descriptor that is not a socket: an error, nothing read
  // beyond len.
  util_nl_sendData(-1, src.data(), static_cast<uint32_t>(std::max(n, 0)), in.ConsumeIntegral<uint16_t>());
  // Seal the file and unseal it again (whole blocks come back).
  if (wrote >= 0 && file_md5_des("/tmp/fuzz-api-file", "/tmp/fuzz-api-sealed", 1) == 0)
    FUZZ_CHECK(file_md5_des("/tmp/fuzz-api-sealed", "/tmp/fuzz-api-plain", 0) == (n % 8 == 0 ? 0 : -1));
  if (in.ConsumeIntegralInRange(0, 15) == 0) {  // one loopback datagram, no answer awaited
    const uint32_t max = in.ConsumeIntegralInRange(0u, 16u);
    Guarded addrs(sizeof(uint32_t) * max);
    const std::string name = in.ConsumeRandomLengthString(300);
    FUZZ_CHECK(util_kx_getMultiHostByName(name.c_str(), 0x7F000001, 0, reinterpret_cast<uint32_t *>(addrs.data()), max) <= 0);
    FUZZ_CHECK(util_kx_getHostByName(name.c_str(), 0x7F000001, 0) == 0);
    uint16_t id;
    util_kx_genNextDnsTransId(in.ConsumeBool() ? &id : nullptr);
  }
  util_getI2cType(in.ConsumeIntegralInRange(6u, UINT32_MAX));  // valid types run i2cget: not here
  util_getI2cAddr(in.ConsumeIntegral<uint32_t>(), in.ConsumeIntegral<uint32_t>());
  util_getFEMReg(fuzz::any_int(in));
  util_init_sem(nullptr, fuzz::any_int(in));
  timeval tv{};
  msToTimeval(fuzz::any_int(in), in.ConsumeBool() ? &tv : nullptr);
  FUZZ_CHECK(tv.tv_usec > -1000000 && tv.tv_usec < 1000000);
}

void logs(FuzzedDataProvider &in) {
  const std::string name = in.ConsumeRandomLengthString(40);
  util_inputRecord_init(in.ConsumeBool() ? "fuzz-rec" : nullptr, in.ConsumeIntegralInRange<uint32_t>(0, 4000),
                        fuzz::any_int(in));
  for (int k = in.ConsumeIntegralInRange(0, 4); k > 0; --k) {
    const std::string text = in.ConsumeRandomLengthString(400);
    // As text any len is only printed; as bytes len must not pass the data.
    const bool as_text = in.ConsumeBool();
    const uint32_t len = as_text ? in.ConsumeIntegral<uint32_t>() : in.ConsumeIntegralInRange<uint32_t>(0, text.size() + 1);
    util_inputRecord_save(in.ConsumeIntegralInRange(0, 15) ? text.c_str() : nullptr, len, as_text);
  }
  if (in.ConsumeIntegralInRange(0, 7) == 0)  // the error ring file, of any size
    util_dbg_init(in.ConsumeBool() ? "fuzz-err" : nullptr, in.ConsumeIntegralInRange<uint32_t>(0, 2000));
  util_dbg_setMod(in.ConsumeBool() ? name.c_str() : nullptr, in.ConsumeIntegral<int>());
  util_dbg_setLevel(in.ConsumeIntegralInRange(-2, 9));
  util_dbg_printf(name.c_str(), in.ConsumeIntegralInRange(-1, 8), "fuzz", fuzz::any_int(in), "%s %d", name.c_str(), 7);
  util_dbg_printf("m", 0, "fuzz", 1, "%s", std::string(in.ConsumeIntegralInRange<size_t>(0, 1200), 'x').c_str());
}

void hashes_and_json(FuzzedDataProvider &in) {
  std::vector<uint8_t> bytes = in.ConsumeBytes<uint8_t>(in.ConsumeIntegralInRange(0, 300));
  bytes.reserve(1);
  uint8_t sha1[20 + 16];
  std::memset(sha1, 0x7E, sizeof sha1);
  RSA_SHA_Simple(bytes.data(), static_cast<int>(bytes.size()), sha1);
  for (size_t i = 20; i < sizeof sha1; ++i) FUZZ_CHECK(sha1[i] == 0x7E);
  RSA_SHA512_State s;
  RSA_SHA512_Init(&s);
  RSA_SHA512_Bytes(&s, bytes.data(), static_cast<int>(bytes.size()));
  uint8_t sha512[64];
  RSA_SHA512_Final(&s, sha512);
  uint8_t key[20] = {0};
  std::memcpy(key, bytes.data(), std::min<size_t>(bytes.size(), 4));
  (void)rsa_read_bytes4_from_public_key(key);
  RSA_safefree(RSA_safemalloc(in.ConsumeIntegralInRange<size_t>(0, 4096)));

  // Array constructors at counts up to the buffer (and negative).
  const int count = in.ConsumeIntegralInRange(-3, 200);
  const size_t have = count > 0 ? static_cast<size_t>(count) : 0;
  std::vector<double> d(have + 1);
  std::vector<float> f(have + 1);
  std::vector<int8_t> i8(have + 1);
  std::vector<int64_t> i64(have + 1);
  std::vector<const char *> strs(have + 1, "s");
  for (size_t k = 0; k < have && in.remaining_bytes(); ++k) {
    d[k] = in.ConsumeFloatingPoint<double>();
    f[k] = static_cast<float>(d[k]);
    i8[k] = in.ConsumeIntegral<int8_t>();
    i64[k] = in.ConsumeIntegral<int64_t>();
  }
  for (cJSON *a : {cJSON_CreateDoubleArray(d.data(), count), cJSON_CreateFloatArray(f.data(), count),
                   cJSON_CreateInt8Array(i8.data(), count), cJSON_CreateInt64Array(i64.data(), count),
                   cJSON_CreateStringArray(strs.data(), count)}) {
    FUZZ_CHECK(a != nullptr && cJSON_GetArraySize(a) == static_cast<int>(have));
    cJSON *first = cJSON_GetArrayItem(a, 0);
    if (first && first->type == cJSON_Number) {
      const double v = in.ConsumeFloatingPoint<double>();
      FUZZ_CHECK(cJSON_UpdateNumberVal(first, v) == first && (first->valuedouble == v || v != v));
    }
    if (first && first->type == cJSON_String) {
      const std::string t = in.ConsumeRandomLengthString(20);
      FUZZ_CHECK(cJSON_UpdateStringVal(first, t.c_str()) == first && std::strcmp(t.c_str(), first->valuestring) == 0);
    }
    FUZZ_CHECK(cJSON_UpdateNumberVal(a, 1.0) == nullptr && cJSON_UpdateStringVal(a, "x") == nullptr);
    FUZZ_CHECK(cJSON_UpdateBoolVal(a, 1) == nullptr);
    char *text = cJSON_PrintUnformatted(a);
    FUZZ_CHECK(text != nullptr);
    free(text);
    cJSON_Delete(a);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz::Quiet quiet;
  static bool once = (fuzz::model(), fuzz::write("/tmp/log/rec/.keep", ""), fuzz::write("/tmp/log/error/.keep", ""), true);  // the record log's folder
  (void)once;
  FuzzedDataProvider in(data, size);
  switch (in.ConsumeIntegralInRange(0, 5)) {
    case 0: devcfg(in); break;
    case 1: radio(in); break;
    case 2: ble(in); break;
    case 3: files(in); break;
    case 4: logs(in); break;
    default: hashes_and_json(in); break;
  }
  return 0;
}
