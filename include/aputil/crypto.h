/*
 * crypto.h - MD5 (own context), HMAC-MD5, MD5-then-DES sealing of buffers
 * and files, single-DES wrappers, and RSA (PKCS#1 v1.5, SHA-1) signature
 * verification against a public-key blob in the CryptoAPI "RSA1" layout.
 *
 * The DES block cipher is OpenSSL libcrypto's. OpenSSL's own DES entry
 * points (DES_ecb_encrypt, DES_set_key_unchecked, ...) are libcrypto's, not
 * this library's: callers that use them link -lcrypto (aputil.pc adds it)
 * and include <openssl/des.h>.
 *
 * Conventions: 0/-1 or a count unless noted; complaints go to stdout (and
 * system-call failures through perror). Keys are product constants set at
 * build time; the pointers returned must not be freed.
 */
#ifndef APUTIL_CRYPTO_H
#define APUTIL_CRYPTO_H

#include <stddef.h>
#include <stdint.h>

#include "aputil_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* --- MD5 --- */

/* The MD5 context; callers allocate it. */
typedef struct kx_MD5_CTX {
    uint32_t bits[2];    /* bit count, low word first */
    uint32_t state[4];   /* chaining values */
    uint8_t buffer[64];  /* pending input block */
    uint8_t digest[16];  /* filled by kx_MD5_Final */
} kx_MD5_CTX;

APUTIL_API void kx_MD5_Init(kx_MD5_CTX *ctx);
/* Adds len bytes; a NULL data pointer adds nothing, whatever len says. */
APUTIL_API void kx_MD5_Update(kx_MD5_CTX *ctx, const void *data, uint32_t len);
APUTIL_API void kx_MD5_Final(uint8_t digest[16], kx_MD5_CTX *ctx);
/* digest = MD5(data). */
APUTIL_API void md5_make_digest(uint8_t digest[16], const void *data, uint32_t len);
/* Returns: 1 when MD5(data) equals expected, else 0 (also for NULL). */
APUTIL_API int md5_verify_digest(const uint8_t expected[16], const void *data, uint32_t len);
/* HMAC-MD5 (RFC 2104); keys over 64 bytes are hashed first, and a klen of
 * 0 or below is an empty key. out must not overlap the inputs. */
APUTIL_API void hmac_md5(const void *data, uint32_t dlen, const void *key, int klen, uint8_t out[16]);

/* The product's keys: image and configuration digest keys (16 bytes) and
 * the sealing DES key (8 bytes, the first 8 of the configuration key). */
APUTIL_API uint8_t *md5_getImageKey(void);
APUTIL_API uint8_t *md5_getConfigKey(void);
APUTIL_API uint8_t *md5_getDesKey(void);

/* --- sealing: 16-byte MD5 of the plain data, then the data in DES-ECB,
 *     zero-padded to whole blocks --- */

/* seal != 0: out gets 16 + 8 * ceil(inlen / 8) bytes; needs
 * outcap >= inlen + 24; a negative inlen is refused ("invalid input
 * params"). seal == 0: decrypts in (at least 16 bytes) into out, which
 * keeps the zero padding, and checks the digest over the whole decrypted
 * length: data sealed from a length that is not a multiple of 8 therefore
 * never unseals (the sealing format's defined behaviour); needs
 * inlen <= outcap + 8, and in must hold 16 + 8 * ceil((inlen - 16) / 8)
 * bytes (a short last block is read whole). Both capacity tests are signed 32-bit comparisons,
 * so capacities from about 2^31 up are "too small" (nothing is written).
 * Returns: the bytes written, or -1. */
APUTIL_API int md5_des(const uint8_t *in, int inlen, uint8_t *out, uint32_t outcap, const uint8_t *key, int seal);
/* Seal or unseal a file of at most 16,382 bytes with md5_getDesKey();
 * the output file is created 0644. Returns: 0, or -1. */
APUTIL_API int file_md5_des(const char *inpath, const char *outpath, int seal);

/* --- single DES (key without parity or weak-key checks) --- */

/* ECB into out; the capacity test is the signed 32-bit cap - 7 > len, so
 * out holds len + 8 bytes and a cap of 2^31 + 7 or more is refused. The
 * last block of an encryption is zero-padded. Decryption reads whole
 * blocks: a short last block (len % 8 bytes) is read as all 8 of its
 * ciphertext bytes, so in must hold 8 * ceil(len / 8) bytes; only len
 * bytes are written and only whole blocks are counted.
 * Returns: the bytes written (8 * ceil(len / 8) for encryption), 0 on
 * invalid arguments. */
APUTIL_API int des_min_do(const uint8_t *in, int len, uint8_t *out, uint32_t cap, const uint8_t *key, int enc);
/* ECB in place; len must be a non-negative multiple of 8.
 * Returns: len, or 0 on invalid arguments (buffer untouched). */
APUTIL_API int des_min_do_ex(uint8_t *buf, int len, const uint8_t *key, int enc);
/* PCBC with iv (not updated); encryption writes 8 * ceil(len / 8) bytes,
 * decryption reads that many and writes len.
 * Returns: 1, or 0 for a NULL pointer. */
APUTIL_API int des_min_do_pcbc(const uint8_t *in, uint8_t *out, int len, const uint8_t *key, const uint8_t *iv,
                               int enc);

/* --- RSA signature verification --- */

/* Verify sig (siglen <= 256 bytes, least significant first) over data: a
 * PKCS#1 v1.5 SHA-1 signature under the key of blob ("RSA1" at offset 8,
 * bit length at 12, exponent at 16, modulus least significant first from
 * 20). bloblen is not used: blob must hold 20 + min(bitlen / 8, 256) bytes.
 * Returns: 1 valid, 0 invalid or error. */
APUTIL_API int rsaVerifySign(const uint8_t *blob, uint32_t bloblen, const uint8_t *data, uint32_t dlen,
                             const uint8_t *sig, uint32_t siglen);
/* The same with the blob in base64 (at most 256 characters; a leading "+ "
 * is skipped, and the decoder then reads two characters beyond len). */
APUTIL_API int rsaVerifySignByBase64EncodePublicKeyBlob(const char *text, uint32_t len, const uint8_t *data,
                                                        uint32_t dlen, const uint8_t *sig, uint32_t siglen);
/* The little-endian 32-bit value at p. */
APUTIL_API uint32_t rsa_read_bytes4_from_public_key(const uint8_t *p);

/* Big numbers: arrays of 16-bit limbs, element 0 the limb count, then the
 * limbs least significant first. Every function returning a number makes a
 * new one (release it with RSA_freebn); running out of memory aborts. */
typedef uint16_t *RSA_Bignum;

APUTIL_API void *RSA_safemalloc(size_t size); /* aborts when out of memory */
APUTIL_API void RSA_safefree(void *p);
/* Zero with that many limbs; a count below 0 or above 65535 (what element
 * 0 can hold) aborts, as running out of memory does. */
APUTIL_API RSA_Bignum RSA_newbn(int limbs);
APUTIL_API void RSA_freebn(RSA_Bignum b);
APUTIL_API RSA_Bignum RSA_bignum_from_int(uint32_t n);
/* From n big-endian bytes; leading zero limbs trimmed (one limb kept). A
 * negative n or NULL data gives zero; more than 131070 bytes abort. */
APUTIL_API RSA_Bignum RSA_bignum_from_bytes(const uint8_t *data, int n);
APUTIL_API int RSA_bignum_bitcount(RSA_Bignum b);
/* Byte i counted from the least significant end; 0 beyond the length. */
APUTIL_API int RSA_bignum_byte(RSA_Bignum b, int i);
/* -1, 0 or 1 as a <, = or > b. */
APUTIL_API int RSA_bignum_cmp(RSA_Bignum a, RSA_Bignum b);
/* base^exp mod m, a mod m, a * b mod m, a * b + addend; NULL for m = 0. */
APUTIL_API RSA_Bignum RSA_modpow(RSA_Bignum base, RSA_Bignum exp, RSA_Bignum m);
APUTIL_API RSA_Bignum RSA_bigmod(RSA_Bignum a, RSA_Bignum m);
APUTIL_API RSA_Bignum RSA_modmul(RSA_Bignum a, RSA_Bignum b, RSA_Bignum m);
APUTIL_API RSA_Bignum RSA_bigmuladd(RSA_Bignum a, RSA_Bignum b, RSA_Bignum addend);
/* The inverse of a mod m, or NULL when there is none. */
APUTIL_API RSA_Bignum RSA_modinv(RSA_Bignum a, RSA_Bignum m);

/* SHA-1 of len bytes into out[20]. */
APUTIL_API void RSA_SHA_Simple(const void *data, int len, uint8_t out[20]);
/* SHA-512; the state is the caller's. */
typedef struct RSA_SHA512_State {
    uint64_t opaque[32];
} RSA_SHA512_State;
APUTIL_API void RSA_SHA512_Init(RSA_SHA512_State *s);
APUTIL_API void RSA_SHA512_Bytes(RSA_SHA512_State *s, const void *data, int len);
APUTIL_API void RSA_SHA512_Final(RSA_SHA512_State *s, uint8_t out[64]);

#ifdef __cplusplus
}
#endif

#endif /* APUTIL_CRYPTO_H */
