// Every exported RSA_ big-number function, differential against OpenSSL's
// BN_* on the same values: results must be equal limb for limb (trimmed,
// one limb at least), and NULL exactly where OpenSSL has no result.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/bn.h>
#include <openssl/err.h>

#include <vector>

#include "crypto.h"
#include "fuzz_args.h"

namespace {

BN_CTX *ctx() {
  static BN_CTX *c = BN_CTX_new();
  return c;
}

BIGNUM *to_bn(RSA_Bignum b) {
  std::vector<uint8_t> bytes(2 * static_cast<size_t>(b[0]) + 1, 0);
  for (int i = 0; i < b[0]; ++i) {  // big-endian
    bytes[bytes.size() - 1 - 2 * i] = static_cast<uint8_t>(b[1 + i]);
    bytes[bytes.size() - 2 - 2 * i] = static_cast<uint8_t>(b[1 + i] >> 8);
  }
  return BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr);
}

// r holds exactly the trimmed limbs of want.
void expect_equal(RSA_Bignum r, const BIGNUM *want) {
  FUZZ_CHECK(r != nullptr);
  const int bytes = BN_num_bytes(want);
  const int limbs = bytes ? (bytes + 1) / 2 : 1;
  FUZZ_CHECK(r[0] == limbs);
  std::vector<uint8_t> be(2 * static_cast<size_t>(limbs), 0);
  BN_bn2binpad(want, be.data(), static_cast<int>(be.size()));
  for (int i = 0; i < limbs; ++i) FUZZ_CHECK(r[1 + i] == (be[be.size() - 1 - 2 * i] | be[be.size() - 2 - 2 * i] << 8));
  FUZZ_CHECK(RSA_bignum_bitcount(r) == BN_num_bits(want));
}

// A number as the fuzz input describes it: from bytes, from an int, or
// built limb by limb with leading zero limbs left in.
RSA_Bignum make(FuzzedDataProvider &in) {
  switch (in.ConsumeIntegralInRange(0, 2)) {
    case 0: {
      const std::vector<uint8_t> bytes = in.ConsumeBytes<uint8_t>(in.ConsumeIntegralInRange(0, 72));
      return RSA_bignum_from_bytes(bytes.data(), static_cast<int>(bytes.size()));
    }
    case 1: return RSA_bignum_from_int(in.ConsumeIntegral<uint32_t>());
    default: {
      const int limbs = in.ConsumeIntegralInRange(0, 36);
      RSA_Bignum b = RSA_newbn(limbs);
      FUZZ_CHECK(b[0] == limbs);
      for (int i = 1; i <= limbs; ++i) FUZZ_CHECK(b[i] == 0);
      for (int i = 1; i <= limbs && in.remaining_bytes(); ++i) b[i] = in.ConsumeIntegral<uint16_t>();
      return b;
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  FuzzedDataProvider in(data, size);
  RSA_Bignum a = make(in), b = make(in), m = make(in);
  BIGNUM *x = to_bn(a), *y = to_bn(b), *z = to_bn(m), *want = BN_new();

  FUZZ_CHECK(RSA_bignum_cmp(a, b) == BN_cmp(x, y));
  FUZZ_CHECK(RSA_bignum_bitcount(a) == BN_num_bits(x));
  const int i = fuzz::any_int(in);
  const int byte = (i >= 0 && i < BN_num_bytes(x)) ? [&] {
    std::vector<uint8_t> be(static_cast<size_t>(BN_num_bytes(x)));
    BN_bn2bin(x, be.data());
    return static_cast<int>(be[be.size() - 1 - static_cast<size_t>(i)]);
  }() : 0;
  FUZZ_CHECK(RSA_bignum_byte(a, i) == byte);

  RSA_Bignum r;
  switch (in.ConsumeIntegralInRange(0, 4)) {
    case 0:
      r = RSA_bigmod(a, m);
      if (BN_is_zero(z)) {
        FUZZ_CHECK(r == nullptr);
      } else {
        BN_mod(want, x, z, ctx());
        expect_equal(r, want);
      }
      break;
    case 1:
      r = RSA_modmul(a, b, m);
      if (BN_is_zero(z)) {
        FUZZ_CHECK(r == nullptr);
      } else {
        BN_mod_mul(want, x, y, z, ctx());
        expect_equal(r, want);
      }
      break;
    case 2:
      r = RSA_bigmuladd(a, b, m);
      BN_mul(want, x, y, ctx());
      BN_add(want, want, z);
      expect_equal(r, want);
      break;
    case 3:
      r = RSA_modpow(a, b, m);
      if (BN_is_zero(z)) {
        FUZZ_CHECK(r == nullptr);
      } else {
        BN_mod_exp(want, x, y, z, ctx());
        expect_equal(r, want);
      }
      break;
    default: {
      r = RSA_modinv(a, m);
      BIGNUM *inv = BN_is_zero(z) ? nullptr : BN_mod_inverse(want, x, z, ctx());
      ERR_clear_error();
      if (inv)
        expect_equal(r, want);
      else
        FUZZ_CHECK(r == nullptr);
      break;
    }
  }
  if (r) {
    // A result is an ordinary number: it takes part in more arithmetic.
    RSA_Bignum again = RSA_bigmuladd(r, r, r);
    BIGNUM *v = to_bn(r);
    BN_mul(want, v, v, ctx());
    BN_add(want, want, v);
    expect_equal(again, want);
    BN_free(v);
    RSA_freebn(again);
  }
  RSA_freebn(r);
  RSA_freebn(a);
  RSA_freebn(b);
  RSA_freebn(m);
  BN_free(x);
  BN_free(y);
  BN_free(z);
  BN_free(want);
  return 0;
}
