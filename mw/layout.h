/*
 * Pins the binary layout of the records that the middleware and the library share.
 *
 * The middleware is compiled separately, so the layout of a record is part of the interface. It
 * follows the 32-bit ARM procedure call standard: pointers have 4 bytes, and 64-bit members are
 * aligned to 8 bytes. Where pointers have another size, the fields keep their order, but the
 * offsets after a pointer move and are not pinned.
 *
 * The headers of this folder need C11 (for static_assert) or C++11.
 */
#ifndef MW_LAYOUT_H
#define MW_LAYOUT_H

#include <assert.h>
#include <stddef.h>
#include <stdint.h>

#if !defined(__cplusplus) && (!defined(__STDC_VERSION__) || __STDC_VERSION__ < 201112L)
#error "The headers in mw/ need C11 or C++11: an older compiler cannot check the records' layout."
/* This avoids a message for every record. */
#define static_assert(condition, text) struct mw_needs_c11
#endif

/* For records without pointers. Their layout is the same wherever 64-bit members are aligned to 8
 * bytes. */
#define MW_PIN_SIZE(type, size) static_assert(sizeof(type) == (size), #type " size")
#define MW_PIN_OFFSET(type, field, offset) \
    static_assert(offsetof(type, field) == (offset), #type "." #field " offset")

/* For records with pointers. */
#if UINTPTR_MAX == UINT32_MAX
#define MW_PIN_SIZE_32 MW_PIN_SIZE
#define MW_PIN_OFFSET_32 MW_PIN_OFFSET
#else
#define MW_PIN_SIZE_32(type, size) static_assert(sizeof(type) >= (size), #type " size")
#define MW_PIN_OFFSET_32(type, field, offset) \
    static_assert(offsetof(type, field) >= (offset), #type "." #field " offset")
#endif

#endif /* MW_LAYOUT_H */
