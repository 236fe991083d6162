// base64 at every capacity, differential against OpenSSL's EVP_EncodeBlock
// and EVP_DecodeBlock where their rules agree, and tmp_crc32 on every
// implementation this CPU offers, differential against zlib at every
// alignment.
#include <openssl/evp.h>
#include <zlib.h>

#include <cstring>
#include <string>
#include <vector>

#include "base64.h"
#include "ds/crc32_impl.h"
#include "fuzz_args.h"

namespace {

using Bytes = std::vector<uint8_t>;

void encode(FuzzedDataProvider &in, const Bytes &msg) {
  static const uint8_t kNone = 0;
  const uint8_t *src = msg.empty() ? &kNone : msg.data();  // NULL would mean "no source" (0, nothing written)
  const int n = static_cast<int>(msg.size());
  const int need = 4 * ((n + 2) / 3) + 1;
  std::string want(static_cast<size_t>(need), '\0');
  EVP_EncodeBlock(reinterpret_cast<uint8_t *>(want.data()), src, n);
  want.resize(static_cast<size_t>(need - 1));
  const int cap = in.ConsumeIntegralInRange(1, need + 8);
  std::string out(static_cast<size_t>(need + 8), '#');
  const int got = b64_encode(out.data(), cap, src, n);
  if (cap < need) {
    FUZZ_CHECK(got == -1);
    return;
  }
  FUZZ_CHECK(got == need - 1);
  FUZZ_CHECK(out.compare(0, static_cast<size_t>(got), want) == 0 && out[static_cast<size_t>(got)] == '\0');
  FUZZ_CHECK(out.find_first_not_of('#', static_cast<size_t>(got) + 1) == std::string::npos);
  // And back, at every capacity around the exact one.
  Bytes back(msg.size() + 8, 0x5A);
  const int dcap = in.ConsumeIntegralInRange(1, static_cast<int>(msg.size()) + 8);
  const int dn = b64_decode(back.data(), dcap, out.data(), got);
  if (dcap > got / 4 * 3) {
    FUZZ_CHECK(dn == n && Bytes(back.begin(), back.begin() + n) == msg);
  } else {
    FUZZ_CHECK(dn == -1);
  }
}

// Alphabet text of whole groups (padding only at the end, as EVP reads it):
// the decoded bytes are EVP's minus its padding bytes.
void decode(FuzzedDataProvider &in) {
  static const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  const size_t groups = in.ConsumeIntegralInRange<size_t>(0, 40);
  for (size_t i = 0; i < 4 * groups; ++i) text += kAlphabet[in.ConsumeIntegral<uint8_t>() & 63];
  size_t pad = groups ? in.ConsumeIntegralInRange<size_t>(0, 2) : 0;
  if (pad) {
    // The bits a padded group drops are zero in canonical text.
    text[text.size() - pad] = '=';
    if (pad == 2) text[text.size() - 1] = '=';
    char &last = text[text.size() - pad - 1];
    last = kAlphabet[(std::strchr(kAlphabet, last) - kAlphabet) & (pad == 2 ? 0x30 : 0x3C)];
  }
  Bytes want(text.size() / 4 * 3 + 1);
  const int wn = EVP_DecodeBlock(want.data(), reinterpret_cast<const uint8_t *>(text.data()), static_cast<int>(text.size()));
  FUZZ_CHECK(wn >= 0);
  want.resize(static_cast<size_t>(wn) - pad);
  const int cap = in.ConsumeIntegralInRange(1, static_cast<int>(text.size()) + 4);
  Bytes out(text.size() + 4, 0x5A);
  const int got = b64_decode(out.data(), cap, text.c_str(), in.ConsumeBool() ? -1 : static_cast<int>(text.size()));
  if (cap <= static_cast<int>(text.size()) / 4 * 3) {
    FUZZ_CHECK(got == -1);
    return;
  }
  FUZZ_CHECK(got == static_cast<int>(want.size()));
  FUZZ_CHECK(Bytes(out.begin(), out.begin() + got) == want);
}

// Any text at all: no crash, and never more than the capacity written.
void decode_any(FuzzedDataProvider &in) {
  const std::string text = in.ConsumeRandomLengthString(300);
  const int cap = in.ConsumeIntegralInRange(1, 300);
  Bytes out(static_cast<size_t>(cap) + 8, 0x5A);
  int n = fuzz::any_int(in) % 400;  // negative: up to the NUL
  if (n > static_cast<int>(text.size())) n = static_cast<int>(text.size());
  const int got = b64_decode(out.data(), cap, text.c_str(), n);
  FUZZ_CHECK(got >= -1 && got <= cap);
  for (size_t i = static_cast<size_t>(cap); i < out.size(); ++i) FUZZ_CHECK(out[i] == 0x5A);
}

void crc(FuzzedDataProvider &in) {
  const Bytes bytes = in.ConsumeBytes<uint8_t>(in.ConsumeIntegralInRange(0, 2048));
  const size_t shift = in.ConsumeIntegralInRange(0, 63);
  Bytes buf(bytes.size() + 64);
  if (!bytes.empty()) std::memcpy(buf.data() + shift, bytes.data(), bytes.size());  // every alignment
  const uint8_t *p = buf.data() + shift;
  const uint32_t want = static_cast<uint32_t>(crc32(0, p, static_cast<uInt>(bytes.size())));
  FUZZ_CHECK(tmp_crc32(p, static_cast<int>(bytes.size())) == (bytes.empty() ? 0 : want));
  using namespace aputil::ds;
  FUZZ_CHECK(~crc32_slice8(~0u, p, bytes.size()) == want);
  for (Crc32Fn fn : {crc32_armv8(), crc32_clmul(), crc32_vclmul()})
    if (fn) FUZZ_CHECK(~fn(~0u, p, bytes.size()) == want);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  FuzzedDataProvider in(data, size);
  switch (in.ConsumeIntegralInRange(0, 3)) {
    case 0: encode(in, in.ConsumeBytes<uint8_t>(in.ConsumeIntegralInRange(0, 300))); break;
    case 1: decode(in); break;
    case 2: decode_any(in); break;
    default: crc(in); break;
  }
  return 0;
}
