// The layouts of every record that callers compile against, checked field
// by field. The daemons were built with the device's headers, so a field
// that moves or a record that grows breaks them silently; these numbers are
// the device's (LP64: x86-64 host builds and the aarch64 device alike).
#include <cstddef>

#include "ble.h"
#include "cJSON.h"
#include "crypto.h"
#include "evloop.h"
#include "hash.h"
#include "mem_pool.h"
#include "radio_config.h"
#include "radio_region.h"
#include "util.h"

#define APUTIL_LAYOUT(type, field, offset) static_assert(offsetof(type, field) == (offset), #type "." #field)
#define APUTIL_SIZE(type, size) static_assert(sizeof(type) == (size), "sizeof " #type)

// Records of fixed-width fields only: the same on every target.
APUTIL_LAYOUT(radio_chan_rec_t, freq, 0);
APUTIL_LAYOUT(radio_chan_rec_t, chan, 4);
APUTIL_LAYOUT(radio_chan_rec_t, commonFlag, 8);
APUTIL_LAYOUT(radio_chan_rec_t, extFlag, 12);
APUTIL_LAYOUT(radio_chan_rec_t, maxPower, 16);
APUTIL_SIZE(radio_chan_rec_t, 20);

APUTIL_LAYOUT(radio_region_tbl_t, regionCode, 0);
APUTIL_LAYOUT(radio_region_tbl_t, chanNum, 2);
APUTIL_LAYOUT(radio_region_tbl_t, chanRec, 4);
APUTIL_SIZE(radio_region_tbl_t, 4 + 66 * 20);

APUTIL_LAYOUT(radio_chan_list_t, kind, 0);
APUTIL_LAYOUT(radio_chan_list_t, count, 2);
APUTIL_LAYOUT(radio_chan_list_t, entries, 4);
APUTIL_SIZE(radio_chan_list_t, 4 + 66 * 2);

APUTIL_LAYOUT(radio_block_list_t, count, 0);
APUTIL_LAYOUT(radio_block_list_t, freq, 2);
APUTIL_SIZE(radio_block_list_t, 2 + 66 * 2);

APUTIL_LAYOUT(radio_capacity_t, radioId, 0);
APUTIL_LAYOUT(radio_capacity_t, minPower, 4);
APUTIL_LAYOUT(radio_capacity_t, maxPower, 8);
APUTIL_LAYOUT(radio_capacity_t, mimo, 12);
APUTIL_LAYOUT(radio_capacity_t, ofdmaCfgSupp, 16);
APUTIL_LAYOUT(radio_capacity_t, ofdmaEnable, 20);
APUTIL_LAYOUT(radio_capacity_t, maxVapNum, 24);
APUTIL_SIZE(radio_capacity_t, 28);

APUTIL_LAYOUT(kx_MD5_CTX, bits, 0);
APUTIL_LAYOUT(kx_MD5_CTX, state, 8);
APUTIL_LAYOUT(kx_MD5_CTX, buffer, 24);
APUTIL_LAYOUT(kx_MD5_CTX, digest, 88);
APUTIL_SIZE(kx_MD5_CTX, 104);

APUTIL_LAYOUT(ble_code_entry_t, key, 0);
APUTIL_LAYOUT(ble_code_entry_t, code, 4);
APUTIL_SIZE(ble_code_entry_t, 8);

APUTIL_SIZE(RSA_SHA512_State, 256);
APUTIL_SIZE(l_FEMReg, 12);

// Records with pointers: the device is LP64.
static_assert(sizeof(void *) == 8 && sizeof(long) == 8, "the library's records are laid out for LP64");

APUTIL_LAYOUT(mem_pool_link_t, next, 0);
APUTIL_LAYOUT(mem_pool_link_t, prev, 8);
APUTIL_SIZE(mem_pool_link_t, 16);

APUTIL_LAYOUT(mem_pool_t, blockCount, 0);
APUTIL_LAYOUT(mem_pool_t, usedCount, 4);
APUTIL_LAYOUT(mem_pool_t, blockSize, 8);
APUTIL_LAYOUT(mem_pool_t, freeList, 16);
APUTIL_LAYOUT(mem_pool_t, name, 32);
APUTIL_LAYOUT(mem_pool_t, blocks, 64);
APUTIL_SIZE(mem_pool_t, 72);

APUTIL_LAYOUT(hash_table_t, elemHash, 0);
APUTIL_LAYOUT(hash_table_t, keyHash, 8);
APUTIL_LAYOUT(hash_table_t, keyMatch, 16);
APUTIL_LAYOUT(hash_table_t, count, 24);
APUTIL_LAYOUT(hash_table_t, size, 28);
APUTIL_LAYOUT(hash_table_t, autoShrink, 32);
APUTIL_LAYOUT(hash_table_t, slots, 40);
APUTIL_SIZE(hash_table_t, 48);

APUTIL_LAYOUT(evloop_event_t, fd, 0);
APUTIL_LAYOUT(evloop_event_t, registered, 4);
APUTIL_LAYOUT(evloop_event_t, data, 8);
APUTIL_LAYOUT(evloop_event_t, callback, 16);
APUTIL_SIZE(evloop_event_t, 24);

APUTIL_LAYOUT(evloop_timer_t, next, 0);
APUTIL_LAYOUT(evloop_timer_t, prev, 8);
APUTIL_LAYOUT(evloop_timer_t, pending, 16);
APUTIL_LAYOUT(evloop_timer_t, callback, 24);
APUTIL_LAYOUT(evloop_timer_t, sec, 32);
APUTIL_LAYOUT(evloop_timer_t, usec, 40);
APUTIL_SIZE(evloop_timer_t, 48);

APUTIL_LAYOUT(cJSON, next, 0);
APUTIL_LAYOUT(cJSON, prev, 8);
APUTIL_LAYOUT(cJSON, child, 16);
APUTIL_LAYOUT(cJSON, type, 24);
APUTIL_LAYOUT(cJSON, valuestring, 32);
APUTIL_LAYOUT(cJSON, valueint, 40);
APUTIL_LAYOUT(cJSON, valuedouble, 48);
APUTIL_LAYOUT(cJSON, string, 56);
APUTIL_SIZE(cJSON, 64);

APUTIL_LAYOUT(cJSON_Hooks, malloc_fn, 0);
APUTIL_LAYOUT(cJSON_Hooks, free_fn, 8);
APUTIL_SIZE(cJSON_Hooks, 16);
