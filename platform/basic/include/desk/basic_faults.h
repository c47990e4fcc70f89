// Of the development machine only (the "desk" in names here and in the tests): the resource counts of the basic
// services, and calls that fail on demand.
#ifndef DESK_BASIC_FAULTS_H
#define DESK_BASIC_FAULTS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
    DESK_HANDLE_ALLOC,
    DESK_HANDLE_GET_TYPE_OBJ,
    DESK_HANDLE_GET_OBJ,
    DESK_HANDLE_FREE,
    DESK_SEMA_CREATE,
    DESK_SEMA_LOCK,
    DESK_SEMA_UNLOCK,
    DESK_SEMA_DELETE,
    DESK_MEM_ALLOC,
    DESK_MEM_FREE, /* cannot fail */
    DESK_SERVICE_COUNT
} desk_service_t;

/*
 * Called at the start of every service call, on its caller's thread; its result is the code that the call
 * returns at once (x_mem_alloc: null), or 0. A failing handle_free, x_sema_unlock or x_sema_delete does
 * its work all the same. Null: none.
 */
typedef int32_t (*desk_service_hook_fct)(desk_service_t service);
void desk_set_service_hook(desk_service_hook_fct hook);
/* As a code, for handle_get_type_obj and handle_get_obj: they report success, with type 0 and a null object. */
#define DESK_ANSWER_EMPTY INT32_MIN
/* As a code, for x_sema_unlock: it fails and does not release the semaphore. */
#define DESK_KEEP_TAKEN (INT32_MIN + 1)

/* What is alive. */
unsigned desk_live_handles(void);
unsigned desk_live_semaphores(void);
unsigned desk_live_blocks(void);

/* Calls of handle_free so far for what is no live handle, or whose callback did not return 1. */
unsigned desk_bad_frees(void);

#ifdef __cplusplus
}
#endif

#endif /* DESK_BASIC_FAULTS_H */
