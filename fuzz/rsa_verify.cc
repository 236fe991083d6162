// rsaVerifySign and its base64 variant on arbitrary blobs and signatures.
#include <cstring>
#include <vector>

#include "crypto.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size < 2) return 0;
  const size_t split = data[0] % (size - 1) + 1;  // blob bytes, then the signature
  // The blob is read for 20 + min(bitlen / 8, 256) bytes: give it room, as
  // callers must.
  std::vector<uint8_t> blob(20 + 256, 0);
  std::memcpy(blob.data(), data + 1, split - 1 < blob.size() ? split - 1 : blob.size());
  if (data[0] & 1) std::memcpy(blob.data() + 8, "RSA1", 4);  // get past the magic half the time
  const uint8_t *sig = data + split;
  const uint32_t siglen = static_cast<uint32_t>(size - split);
  rsaVerifySign(blob.data(), 0, data, static_cast<uint32_t>(size), sig, siglen);
  // The base64 variant may read two characters past len after "+ ".
  std::vector<char> text(size + 3, '\0');
  std::memcpy(text.data(), data, size);
  rsaVerifySignByBase64EncodePublicKeyBlob(text.data(), static_cast<uint32_t>(size), data, 1, sig, siglen);
  return 0;
}
