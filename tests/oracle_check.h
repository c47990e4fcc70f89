// Makes the calls of the oracle's cases, in a real Java virtual machine.

#ifndef TESTS_ORACLE_CHECK_H
#define TESTS_ORACLE_CHECK_H

#include "tests/host.h"
#include "tests/oracle.h"

namespace oracle {

// What came of a call, line by line; equal when the library did as the oracle says.
struct Outcome {
    std::string expected;
    std::string actual;
};

// A registered tuner and an open filter, and what watches them. The library is loaded.
class Checker {
  public:
    Checker();
    ~Checker();
    Checker(const Checker&) = delete;
    Checker& operator=(const Checker&) = delete;

    Outcome check(Case call);

  private:
    int run(const Case& call, uint8_t* record, int32_t* kinds);

    desk::Pipeline mPipeline;
    uint32_t mFilter = 0;
};

}  // namespace oracle

#endif  // TESTS_ORACLE_CHECK_H
