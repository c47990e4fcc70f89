/*
 * The middleware's basic services that the library calls: handles, semaphores and memory. On a
 * device libhalvorin_tv_basic exports them.
 *
 * The names, the arguments and the constants are those of a device. What the functions promise is
 * what the library assumes; no device's services could be tried here. Check these assumptions first
 * when something fails only on a device:
 *   - any thread may call any function;
 *   - a function returns 0 on success and another value on failure;
 *   - only x_sema_lock blocks;
 *   - every other promise below.
 */
#ifndef MW_BASIC_SERVICES_H
#define MW_BASIC_SERVICES_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Handle types: what the object behind a handle is. */
enum {
    /* A JNI weak global reference to the Java PipelineHandler. */
    HT_PIPELINE = 194,
    /* A section filter; the object belongs to the library. */
    HT_INNER_FILTER = 5120,
    /* A filter callback thread; the object belongs to the library. */
    HT_FILTER_CALLBACK_THREAD = 5121
};

/* The library uses no other semaphore type and no other lock option. */
enum {
    /* With initial value 0, the caller holds the new semaphore. */
    X_SEMA_TYPE_BINARY_HELD = 2,
    /* Wait without limit. */
    X_SEMA_OPTION_WAIT = 1
};

/*
 * Called by handle_free, on its caller's thread, while the handle is being freed.
 *   handle, e_type, pv_obj, pv_tag  what handle_alloc issued and was given
 *   ui1_flag                        the flag given to handle_free
 * Result: 1 when the type is the one that the callback serves, else 0.
 */
typedef uint8_t (*handle_free_fct)(uint32_t handle, uint16_t e_type, void* pv_obj, void* pv_tag,
                                   uint8_t ui1_flag);

/*
 * Issues a new handle.
 *   e_type   type of the object
 *   pv_obj   the object; it still belongs to the caller
 *   pv_tag   passed to pf_free unread; may be null
 *   pf_free  called once, by handle_free; may be null
 *   ph_obj   receives the handle; not null, not written on failure
 * A handle is never 0. The number of a freed handle may be issued again.
 */
int32_t handle_alloc(uint16_t e_type, void* pv_obj, void* pv_tag, handle_free_fct pf_free,
                     uint32_t* ph_obj);

/*
 * Gives the type and the object of a live handle; either pointer may be null. It fails and stores
 * nothing when the handle was never issued or has been freed. The object is borrowed.
 */
int32_t handle_get_type_obj(uint32_t handle, uint16_t* pe_type, void** ppv_obj);

/* Like handle_get_type_obj, but gives only the object; ppv_obj is not null. */
int32_t handle_get_obj(uint32_t handle, void** ppv_obj);

/* Calls the handle's free callback with ui1_flag and invalidates the handle. It does not free the
 * object. */
int32_t handle_free(uint32_t handle, uint8_t ui1_flag);

/*
 * Creates a semaphore.
 *   ph_sema      receives its handle; not null, not written on failure. The handle is never 0,
 *                because 0 means no semaphore to the library
 *   e_type       X_SEMA_TYPE_BINARY_HELD
 *   ui4_initial  0: the caller holds it; 1: it is free
 */
int32_t x_sema_create(uint32_t* ph_sema, uint32_t e_type, uint32_t ui4_initial);

/*
 * Takes the semaphore. With X_SEMA_OPTION_WAIT the call blocks until the semaphore is free. It
 * fails when the handle is unknown. When the semaphore is deleted, the call of every waiting thread
 * fails.
 */
int32_t x_sema_lock(uint32_t h_sema, uint32_t ui4_option);

/* Releases the semaphore; any thread may do so. It fails when the handle is unknown or the
 * semaphore is not taken. */
int32_t x_sema_unlock(uint32_t h_sema);

/* Destroys the semaphore and wakes the threads that wait for it. Their x_sema_lock fails. */
int32_t x_sema_delete(uint32_t h_sema);

/* Allocates z_size bytes, aligned for any type and not cleared; null on failure. x_mem_free frees
 * them. */
void* x_mem_alloc(size_t z_size);

/* Frees what x_mem_alloc returned; null is allowed. */
void x_mem_free(void* pv_mem);

#ifdef __cplusplus
}
#endif

#endif /* MW_BASIC_SERVICES_H */
