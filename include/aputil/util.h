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
 * first that answers, or 3 when none does. */
APUTIL_API uint32_t util_getI2cType(uint32_t type);
/* Address at row type (0..5), column index (0..2); 0 for index 3. */
APUTIL_API uint32_t util_getI2cAddr(uint32_t type, uint32_t index);
/* l_FEMReg[index] (0..2); 0 for index 3. */
APUTIL_API uint32_t util_getFEMReg(int index);
/* Writable FEM register table, initially {1, 2, 0}. */
APUTIL_API extern uint32_t l_FEMReg[3];

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
