/*
 * evloop.h - a select-based event loop with one-shot millisecond timers.
 *
 * One loop per process: register descriptor events and timers, then give
 * the thread to evloop_run, which never returns. Records belong to the
 * caller (usually embedded in its own structures); the library links them
 * in and calls back with their address. Timers fire before descriptors on
 * every pass; a timer is unlinked before its callback runs, so the callback
 * may set it again. At most EVLOOP_MAX_EVENTS events are registered at a
 * time; descriptors must be below FD_SETSIZE.
 *
 * Errors print "[Error]func():%5d @ ..." on stdout; nothing stops the loop.
 */
#ifndef APUTIL_EVLOOP_H
#define APUTIL_EVLOOP_H

#include <stdint.h>
#include <sys/time.h>

#include "aputil_export.h"

#ifdef __cplusplus
extern "C" {
#endif

#define EVLOOP_MAX_EVENTS 20
#define EVLOOP_READ 1
#define EVLOOP_WRITE 2

typedef struct evloop_event {
    int32_t fd;
    uint8_t registered;   /* 1 while in the registry */
    void *data;           /* the caller's; never touched by the library */
    /* flags: EVLOOP_READ and/or EVLOOP_WRITE; arg is always 0 */
    void (*callback)(struct evloop_event *ev, uint32_t flags, uint32_t arg);
} evloop_event_t;

typedef struct evloop_timer {
    struct evloop_timer *next, *prev;
    uint8_t pending;      /* 1 while set */
    void (*callback)(struct evloop_timer *t);  /* may be NULL */
    int64_t sec, usec;    /* expiry on the monotonic clock */
} evloop_timer_t;

/* Empty the registry and the descriptor sets (timers are kept). Returns 0. */
APUTIL_API int evloop_init(void);
/* Register ev for its fd with EVLOOP_READ/EVLOOP_WRITE interest. Adding a
 * record twice takes two slots. Returns: 0, or -1 (NULL, bad fd, registry
 * full). */
APUTIL_API int evloop_fd_add(evloop_event_t *ev, uint8_t flags);
/* Unregister ev and drop the given interests of its fd. Dropping one
 * interest of the highest descriptor while keeping another leaves the loop
 * watching no descriptor until the next add (as on the device).
 * Returns: 0, or -1 for NULL or an fd outside 0..FD_SETSIZE-1. */
APUTIL_API int evloop_fd_del(evloop_event_t *ev, uint8_t flags);
/* (Re)arm t to fire ms milliseconds from now; equal expiries fire in the
 * order they were set. Returns: 0, or -1 for NULL. */
APUTIL_API int evloop_timeout_set(evloop_timer_t *t, int32_t ms);
/* Returns: 0, or -1 when t was not pending. */
APUTIL_API int evloop_timeout_cancel(evloop_timer_t *t);
/* Run the loop forever. */
APUTIL_API void evloop_run(void) __attribute__((noreturn));
/* Cancel every pending timer without calling it. */
APUTIL_API void evloop_done(void);
/* tv = ms as seconds and microseconds. */
APUTIL_API void msToTimeval(int32_t ms, struct timeval *tv);
/* Diagnostic hook; does nothing. */
APUTIL_API void dumpSelectParams(void);

#ifdef __cplusplus
}
#endif

#endif /* APUTIL_EVLOOP_H */
