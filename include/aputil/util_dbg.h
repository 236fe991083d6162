/*
 * util_dbg.h - debug log with an error ring file, and the input record log.
 *
 * Debug log: messages carry a module name, a level, the caller's function
 * and line. Error messages always print (in red) on stdout and, after
 * util_dbg_init, are also kept in the ring file /tmp/log/error/NAME, which
 * never grows past the size given to util_dbg_init. Notice and Debug
 * messages print only up to the current level (util_dbg_setLevel) and only
 * for a registered module (util_dbg_setMod) or after util_dbg_setMod("all"
 * or "ALL", 1). A registered name matches every module name it begins, and
 * a new registration always replaces the first registry entry: the
 * registry holds one module at a time.
 *
 * Input record log: util_inputRecord_save keeps records of fixed length in
 * the ring file /tmp/log/rec/NAME, one line each, sequence-numbered and
 * time-stamped, as text or as a hex dump.
 *
 * Conventions: no function reports a failure except util_dbg_setLevel and
 * util_dbg_setMod; file errors print one line on stdout and the record is
 * lost. State is process-wide without locks.
 */
#ifndef APUTIL_UTIL_DBG_H
#define APUTIL_UTIL_DBG_H

#include <stdint.h>

#include "aputil_export.h"

#ifdef __cplusplus
extern "C" {
#endif

#define UTIL_DBG_LEVEL_ERROR 1
#define UTIL_DBG_LEVEL_NOTICE 2
#define UTIL_DBG_LEVEL_DEBUG 3

/* Print with the caller's function name and line. */
#define UTIL_DBG(mod, level, ...) util_dbg_printf((mod), (level), __func__, __LINE__, __VA_ARGS__)
#define UTIL_DBG_ERR(mod, ...) UTIL_DBG(mod, UTIL_DBG_LEVEL_ERROR, __VA_ARGS__)
#define UTIL_DBG_NOTICE(mod, ...) UTIL_DBG(mod, UTIL_DBG_LEVEL_NOTICE, __VA_ARGS__)
#define UTIL_DBG_DEBUG(mod, ...) UTIL_DBG(mod, UTIL_DBG_LEVEL_DEBUG, __VA_ARGS__)

/* Empty the module registry; with a name and a non-zero size, create (or
 * empty) /tmp/log/error/NAME and keep Error records in it, at most size
 * bytes. The write position carries over from a former file. */
APUTIL_API void util_dbg_init(const char *name, uint32_t size);

/* Set the highest level printed (1..3). Returns: 0, or -1 for another
 * value (the level is unchanged). */
APUTIL_API int util_dbg_setLevel(int level);

/* Register (enable != 0) or unregister (enable == 0) a module; "all" and
 * "ALL" switch every module on or off. Prints what it did on stdout.
 * Returns: 0, or -1 when nothing could be registered or unregistered. */
APUTIL_API int util_dbg_setMod(const char *pModName, int enable);

/* Print a message (cut to 510 characters) if level and module allow it. */
APUTIL_API void util_dbg_printf(const char *pModName, int level, const char *funcName, int line, const char *format,
                                ...) __attribute__((format(printf, 5, 6)));

/* Create (or empty) /tmp/log/rec/NAME as a ring of fileSize bytes in slots
 * of recLen bytes (recLen above 320 or negative gives 320). Nothing is set
 * up when name is NULL or a size is 0. The slot index and the sequence
 * number carry over from a former file. */
APUTIL_API void util_inputRecord_init(const char *name, uint32_t fileSize, int32_t recLen);

/* Write one record into the next slot: "[SEQ][LEN][TIME]" and the data as a
 * string (isText != 0) or as upper-case hex digits (isText == 0), cut to
 * fit, NUL-filled and ending in a newline at the slot's last byte. NULL data
 * counts as empty. */
APUTIL_API void util_inputRecord_save(const void *data, uint32_t len, int32_t isText);

#ifdef __cplusplus
}
#endif

#endif /* APUTIL_UTIL_DBG_H */
