/*
 * The middleware's basic services that the library calls: handles, semaphores and memory. On a
 * device they are exported by libhalvorin_tv_basic.
 *
 * Every function may be called from any thread. Unless stated otherwise a function returns 0 on
 * success and another value on failure, and does not block.
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

/* The only semaphore type and lock option that the library uses. */
enum {
    /* With initial value 0 the semaphore is created held by the caller. */
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
 *   pv_obj   the object; stays the caller's
 *   pv_tag   opaque, handed to pf_free; may be null
 *   pf_free  called once, by handle_free; may be null
 *   ph_obj   where the handle is stored, not null; unwritten on failure
 * A handle is never 0. The number of a freed one may be issued again.
 */
int32_t handle_alloc(uint16_t e_type, void* pv_obj, void* pv_tag, handle_free_fct pf_free,
                     uint32_t* ph_obj);

/*
 * Reads the type and the object of a live handle; either pointer may be null. Fails, storing
 * nothing, for a handle that was never issued or has been freed. The object is borrowed.
 */
int32_t handle_get_type_obj(uint32_t handle, uint16_t* pe_type, void** ppv_obj);

/* As handle_get_type_obj, for the object alone; ppv_obj is not null. */
int32_t handle_get_obj(uint32_t handle, void** ppv_obj);

/* Calls the handle's free callback with ui1_flag and invalidates the handle. Does not free the
 * object. */
int32_t handle_free(uint32_t handle, uint8_t ui1_flag);

/*
 * Creates a semaphore.
 *   ph_sema      where its handle is stored, not null; unwritten on failure. It is never 0: the
 *                library takes 0 for no semaphore
 *   e_type       X_SEMA_TYPE_BINARY_HELD
 *   ui4_initial  0: created taken; 1: created free
 */
int32_t x_sema_create(uint32_t* ph_sema, uint32_t e_type, uint32_t ui4_initial);

/*
 * Takes the semaphore; with X_SEMA_OPTION_WAIT the call blocks until it is free. Fails for an
 * unknown handle, and in every waiter when the semaphore is deleted.
 */
int32_t x_sema_lock(uint32_t h_sema, uint32_t ui4_option);

/* Releases the semaphore; any thread may do so. Fails for an unknown handle and for one that is
 * not taken. */
int32_t x_sema_unlock(uint32_t h_sema);

/* Destroys the semaphore and wakes its waiters, whose x_sema_lock fails. */
int32_t x_sema_delete(uint32_t h_sema);

/* Allocates z_size bytes, aligned for any type and not cleared; null on failure. Freed with
 * x_mem_free. */
void* x_mem_alloc(size_t z_size);

/* Frees what x_mem_alloc returned; null is allowed. */
void x_mem_free(void* pv_mem);

#ifdef __cplusplus
}
#endif

#endif /* MW_BASIC_SERVICES_H */
