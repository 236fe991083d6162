/*
 * util.h - small system helpers: shell commands, an inter-process lock,
 * netlink, the monotonic clock, whole-file I/O, random bytes, I2C and FEM
 * lookups.
 *
 * Conventions: 0 (or a count) on success and -1 on failure unless noted;
 * complaints are printed on stdout. Absolute paths given to the file
 * helpers go through the library's host root (see the README); messages
 * show them as given.
 */
#ifndef APUTIL_UTIL_H
#define APUTIL_UTIL_H

#include <stdint.h>

#include "aputil_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* --- processes --- */
/* Run cmd with /bin/sh -c and an empty environment, and wait for it.
 * Returns: 0 when it ended normally (whatever its exit code, 127 included),
 * -1 when cmd is NULL, fork or waitpid failed, or a signal ended it. */
APUTIL_API int util_systemEx(const char *cmd);

/* Format a command line (cut to 255 characters) and run it with
 * util_systemEx. A line holding ';' or "&&" is refused with the message
 * "Parameter contains illegal character!" and -1.
 * SECURITY: that is the only check. Pipes, '&', back-quotes and $(...) pass
 * through, so never format text that comes from outside the device's own
 * configuration (user input, the network, files a user can write). */
APUTIL_API int util_execFormatCmd(const char *fmt, ...) __attribute__((format(printf, 1, 2)));

/* --- netlink --- */
/* Send one message to the kernel on socket fd: a struct nlmsghdr (length
 * len + 16, the given type, flags/seq/pid 0) followed by len bytes of data
 * (zeros when data is NULL or len is 0). */
APUTIL_API int util_nl_sendData(int fd, const void *data, uint32_t len, uint16_t type);

/* --- clock --- */
#define UTIL_UPTIME_SEC 0
#define UTIL_UPTIME_MSEC 1
#define UTIL_UPTIME_USEC 2
/* Monotonic time in seconds (unit 0 and any unknown unit), milliseconds (1)
 * or microseconds (2). */
APUTIL_API uint64_t util_getUptime(int unit);

/* --- inter-process lock (System V semaphore, SEM_UNDO) --- */
/* Attach to the set of key, or create it with one semaphore set to 1. */
APUTIL_API int util_init_sem(int *pSemid, int key);
/* Take the lock, waiting; gives up after 30 interruptions by signals. */
APUTIL_API int util_sem_lock(int semid);
APUTIL_API int util_sem_unlock(int semid);

/* --- files --- */
/* Read the whole file into buf if it fits in size bytes (no NUL added).
 * Returns: the count read, or -1. */
APUTIL_API int util_readFileToBuf(const char *path, void *buf, int size);
/* Replace the file with n bytes of buf. Returns: n, or -1 (also for a NULL
 * path or buffer, or a negative n). */
APUTIL_API int util_writeBufToFile(const char *path, const void *buf, int n);
/* Fill buf with n bytes from /dev/urandom (the spelling is the interface's;
 * /dev/urandom is always the running system's, never the host root's).
 * Returns: 0, or -1 for a NULL buf, a negative n or a short read. */
APUTIL_API int util_genUramdom(void *buf, int n);

/* --- I2C and FEM --- */
/* Probe the three candidate addresses of a front-end module type (0..5) on
 * I2C bus 0 with i2cget, index 2 first. Returns: the index (0..2) of the
 * first that answers, or 3 when none does (at once for a type above 5). */
APUTIL_API uint32_t util_getI2cType(uint32_t type);
/* Address at row type (0..5), column index (0..2); 0 for index 3 and for
 * any type or index outside the table. */
APUTIL_API uint32_t util_getI2cAddr(uint32_t type, uint32_t index);
/* l_FEMReg[index] (0..2); 0 for index 3 and for any index outside 0..3. */
APUTIL_API uint32_t util_getFEMReg(int index);
/* Writable FEM register table, initially {1, 2, 0}. */
APUTIL_API extern uint32_t l_FEMReg[3];

/* --- conversions (buffers are the caller's: IPv4 text 16 bytes, MAC text
 *     18, IPv6 text 46) --- */

/* MAC text formats of util_mac_arrayToTargetFormatStr. */
#define MAC_ADDR_FMT_LOWER 0        /* "001122aabbcc" */
#define MAC_ADDR_FMT_LOWER_HYPHEN 1 /* "00-11-22-aa-bb-cc" */
#define MAC_ADDR_FMT_LOWER_COLON 2  /* "00:11:22:aa:bb:cc" */
#define MAC_ADDR_FMT_UPPER 3        /* "001122AABBCC" */
#define MAC_ADDR_FMT_UPPER_HYPHEN 4 /* "00-11-22-AA-BB-CC" */
#define MAC_ADDR_FMT_UPPER_COLON 5  /* "00:11:22:AA:BB:CC" */

/* "a.b.c.d" of ip (first octet in the most significant byte). Returns dst. */
APUTIL_API char *util_ip_numToStr(uint32_t ip, char *dst);
/* Dotted quad to number: 7..15 characters of ".0123456789", exactly three
 * dots, no leading or doubled dot, octets below 256. Leading zeros are
 * decimal and an empty last group is 0 ("10.20.30." is 10.20.30.0). */
APUTIL_API int util_ip_strToNum(const char *str, uint32_t *ip);
/* "AA:BB:..." (useColon) or "AA-BB-...". Returns dst, or NULL. */
APUTIL_API char *util_mac_arrayToStr(const uint8_t *mac, char *dst, int32_t useColon);
/* Six hex pairs, each optionally preceded by one '-' or ':'. Only the first
 * digit of a pair is checked: the second is read leniently (as on the
 * device). Text after the 12th digit is ignored. */
APUTIL_API int util_mac_strToArray(const char *str, uint8_t *mac);
/* count bytes from 2 * count hex digits (no separators). A bad digit
 * answers -1 with the bytes before it written. */
APUTIL_API int util_strToArray(const char *hex, uint8_t *out, int32_t count);
/* Append an OUI pattern to dst (pass it empty): per group, mask 0xFF gives
 * "%02X", mask 0xF0 the high digit, other masks nothing; groups separated by
 * ':' (useColon) or '-'. An empty dst needs 18 bytes at most. Returns dst. */
APUTIL_API char *util_oui_arrayToStr(const uint8_t *oui, const uint8_t *mask, char *dst, int32_t useColon);
/* OUI text ("00:1A:2") to values and masks (ORed into mask: clear it
 * first); the arrays must hold as many groups as the text has. */
APUTIL_API int util_oui_strToArray(const char *str, uint8_t *oui, uint8_t *mask);
/* Split str in place at runs of sep; tokens must hold max + 1 pointers.
 * A negative max is refused before anything is written.
 * Returns: the token count, or -1 when there are more than max. */
APUTIL_API int util_formatStr2Array(char *str, char sep, int32_t max, char **tokens);
/* "D days HH:MM:SS" (at most 19 characters, so dst holds 20 bytes).
 * Returns dst. */
APUTIL_API char *util_time_numToStr(uint32_t seconds, char *dst);
/* "%02d:%02d" of hour and minute (no range check): dst holds 6 bytes for
 * values 0..99 and 24 for any two ints. Returns dst. */
APUTIL_API char *util_time_hourMinute2Str(int32_t hour, int32_t minute, char *dst);
/* "HH:MM" to numbers (no range check); on failure both are set to 0. */
APUTIL_API int util_time_str2HourMinute(const char *str, int32_t *hour, int32_t *minute);
/* 1 for a unicast address other than all zeros and all ones, else 0. */
APUTIL_API int util_mac_isValidMac(const uint8_t *mac);
/* Add n (when positive) to the last three bytes, wrapping there: the OUI
 * (first three bytes) never changes. */
APUTIL_API int util_calMacAddr(uint8_t *mac, int32_t n);
/* Wall-clock milliseconds since the epoch. */
APUTIL_API uint64_t util_getTimestamp(void);
APUTIL_API int util_ipv6_addr_to_str(const uint8_t *addr, char *buf);
APUTIL_API int util_str_to_ipv6_addr(const char *str, uint8_t *addr);
/* Returns: 0 equal, 1 different, -1 for a NULL argument. */
APUTIL_API int util_ipv6_addr_cmp(const uint8_t *a, const uint8_t *b);
/* MAC in one of the MAC_ADDR_FMT_* formats (another value: a message and
 * MAC_ADDR_FMT_UPPER_HYPHEN). Returns dst, or NULL. */
APUTIL_API char *util_mac_arrayToTargetFormatStr(const uint8_t *mac, char *dst, uint32_t format);

/* --- DNS stub resolver (IPv4, one A query over UDP, no retry) ---
 * Messages go to stdout as "[util_dns_error: function:line]...". */

/* Next transaction id into *id: two bytes of /dev/urandom (kept open), or
 * the realtime clock when that fails. Returns: 0. */
APUTIL_API int util_kx_genNextDnsTransId(uint16_t *id);
/* Write the DNS question for name (up to a '/', so URL paths are ignored):
 * labels, a zero byte, type A, class IN. out must be zeroed by the caller
 * and hold strlen(name) + 6 bytes (at least 259). No label or name length
 * limit is applied, and an empty label ends the name early.
 * Returns: the question's length, or 0 for a NULL or empty name. */
APUTIL_API uint32_t util_kx_generateDnsQueryField(const char *name, uint8_t *out);
/* Take up to max IPv4 addresses (network byte order) from the A records of
 * a reply whose question must equal question (qlen bytes). Only answers
 * whose name is a compression pointer are taken. Reads stay within the
 * first 1,462 bytes of pkt (pass a 1,500-byte buffer).
 * Returns: the count, or 0 on any error (addresses found so far dropped). */
APUTIL_API int util_kx_getIpFromDnsReplyPkt(const uint8_t *pkt, int32_t qlen, const uint8_t *question,
                                            uint32_t *addrs, int32_t max);
/* Ask server (IPv4, host byte order; port 53) for name's address, waiting
 * at most timeout seconds. A name whose question would not fit 259 bytes is
 * refused. Returns: the first address (network byte order), or 0. */
APUTIL_API uint32_t util_kx_getHostByName(const char *name, uint32_t server, int32_t timeout);
/* The same, up to max addresses into addrs. Returns: the count (0 when the
 * reply had none), or -1 when no valid reply came. */
APUTIL_API int util_kx_getMultiHostByName(const char *name, uint32_t server, int32_t timeout, uint32_t *addrs,
                                          uint32_t max);

#ifdef __cplusplus
}
#endif

#endif /* APUTIL_UTIL_H */
