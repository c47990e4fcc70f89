// Only the fake basic services have this: counts of live resources, and calls that fail on demand.
#ifndef FAKE_BASIC_FAULTS_H
#define FAKE_BASIC_FAULTS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
    FAKE_HANDLE_ALLOC,
    FAKE_HANDLE_GET_TYPE_OBJ,
    FAKE_HANDLE_GET_OBJ,
    FAKE_HANDLE_FREE,
    FAKE_SEMA_CREATE,
    FAKE_SEMA_LOCK,
    FAKE_SEMA_UNLOCK,
    FAKE_SEMA_DELETE,
    FAKE_MEM_ALLOC,
    FAKE_MEM_FREE /* cannot fail */
} fake_service_t;

/*
 * Every service call calls the hook first, on its caller's thread. If the hook returns a code other
 * than 0, the service call returns that code at once (x_mem_alloc: null). But handle_free,
 * x_sema_unlock and x_sema_delete still do their work. Set the hook, which must not be null,
 * before there are threads.
 */
typedef int32_t (*fake_service_hook_fct)(fake_service_t service);
void fake_set_service_hook(fake_service_hook_fct hook);
/* A code for handle_get_type_obj and handle_get_obj: they report success with type 0 and a null
 * object. */
#define FAKE_ANSWER_EMPTY INT32_MIN
/* A code for x_sema_unlock: it fails and does not release the semaphore. */
#define FAKE_KEEP_TAKEN (INT32_MIN + 1)

/* How many exist now. */
unsigned fake_live_handles(void);
unsigned fake_live_semaphores(void);
unsigned fake_live_blocks(void);

/* Calls of handle_free so far that named no live handle, or whose callback did not return 1, and
 * calls of x_sema_unlock for a semaphore that nobody held. */
unsigned fake_bad_frees(void);

#ifdef __cplusplus
}
#endif

#endif /* FAKE_BASIC_FAULTS_H */
