/*
 * aputil_export.h - conventions shared by every aputil header.
 *
 * Every public function is a plain C function with a family prefix
 * (cJSON_, util_, devcfg_, radio_config_, radio_region_, ble_, evloop_,
 * hash_, mem_pool_, ...). Unless a function's own comment says otherwise:
 *   - int results are 0 on success and -1 on failure; unsigned results
 *     report failure as all bits set;
 *   - value accessors answer 0 when their data could not be loaded;
 *   - pointer results are NULL on failure;
 *   - output buffers belong to the caller; the library never frees caller
 *     data, and handles it returns are released by their own delete
 *     functions;
 *   - the library keeps process-global state without locks: call it from
 *     one thread per process.
 */
#ifndef APUTIL_EXPORT_H
#define APUTIL_EXPORT_H

#if defined(__GNUC__)
#define APUTIL_API __attribute__((visibility("default")))
#else
#define APUTIL_API
#endif

#endif /* APUTIL_EXPORT_H */
