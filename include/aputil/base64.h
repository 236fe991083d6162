/*
 * base64.h - base64 (RFC 4648 alphabet, '=' padding, no line breaks) into
 * caller buffers, and the IEEE 802.3 CRC-32.
 *
 * The precondition checks of the two base64 functions abort the process
 * through the C library's assertion report in every build (NDEBUG or not).
 */
#ifndef APUTIL_BASE64_H
#define APUTIL_BASE64_H

#include <stdint.h>

#include "aputil_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Encode n bytes of src into dst (capacity dstlen) with a NUL after them.
 * Needs dstlen > 4 * ((n + 2) / 3). Aborts unless dst != NULL, dstlen > 0
 * and n >= 0. Returns: the characters written, 0 for a NULL src, -1 when
 * dst is too small. */
APUTIL_API int b64_encode(char *dst, int dstlen, const uint8_t *src, int n);

/* Decode src (n characters; n < 0: up to its NUL) into dst. Blanks and
 * characters 9..13 are trimmed at both ends (not inside); the rest must be
 * a multiple of 4 long and dstlen must exceed its length / 4 * 3. Decoding
 * stops after the first padded group. A character from 128 up fails; other
 * characters outside the alphabet are not refused and decode as garbage
 * bits (as on the device). No NUL is added. Aborts unless dst != NULL and
 * dstlen > 0. Returns: the bytes written, 0 for a NULL src, or -1. */
APUTIL_API int b64_decode(uint8_t *dst, int dstlen, const char *src, int n);

/* CRC-32 (reflected 0xEDB88320, initial and final inversion) of len bytes;
 * 0 for NULL data or len <= 0. */
APUTIL_API uint32_t tmp_crc32(const void *data, int len);

#ifdef __cplusplus
}
#endif

#endif /* APUTIL_BASE64_H */
