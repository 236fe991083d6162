/*
 * nm_api.h - the firmware NVRAM library's interface, as the library calls it:
 * the three functions a device build must provide (the firmware's library,
 * or the process itself with APUTIL_NVRAM_LIBRARY=NONE).
 * Target builds link the firmware's own library; host builds link
 * nvram-file, which serves partitions from files.
 */
#ifndef APUTIL_NM_API_H
#define APUTIL_NM_API_H

#ifdef __cplusplus
extern "C" {
#endif

/* Start the NVRAM library; called once per process. Returns 0 on success. */
int nm_api_init(void);

/* Read partition name into buf (at most size bytes).
 * Returns: the count of bytes read; below 1 on failure. */
int nm_api_readPtnFromNvram(const char *name, char *buf, int size);

/* Write the device's two-letter region code, NUL-terminated, into buf.
 * Returns: 0 on success, -1 when there is no region (buf then holds ""). */
int nm_api_getRegionName(char *buf, int size);

#ifdef __cplusplus
}
#endif

#endif /* APUTIL_NM_API_H */
