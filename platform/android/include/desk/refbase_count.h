// Desk only: how many reference-counted objects are alive.
#ifndef DESK_REFBASE_COUNT_H
#define DESK_REFBASE_COUNT_H

extern "C" __attribute__((visibility("default"))) int desk_refbase_live(void);

#endif  // DESK_REFBASE_COUNT_H
