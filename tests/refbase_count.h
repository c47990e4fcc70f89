// How many reference-counted objects of the platform's are alive.
#ifndef TESTS_REFBASE_COUNT_H
#define TESTS_REFBASE_COUNT_H

namespace desk {
int liveRefBases();
}

#endif  // TESTS_REFBASE_COUNT_H
