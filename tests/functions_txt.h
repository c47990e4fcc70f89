// The sections of docs/functions.txt: what a function does, and what comes of each cause.

#ifndef TESTS_FUNCTIONS_TXT_H
#define TESTS_FUNCTIONS_TXT_H

#include "tests/functions.h"

namespace tests {

using Lines = std::vector<std::string>;

// What one run did: its log, its calls of Java, and the middleware's callbacks.
struct Outcome {
    int result = 0;
    Lines lines;
    std::string fatal;  // what an assertion said that ends the process; empty: none failed
};

// Without what differs from run to run: handles have names, addresses and the numbers of source lines
// are gone, and the end of a line is seen.
std::string normalized(const std::string& line, const Fixture& fixture);

class Section {
  public:
    explicit Section(const Outcome& plain = {}) : mPlain(plain) {}
    // What came of a cause, as "NewObjectA" and "fails", on a thread that is attached or was not.
    void note(const std::string& what, const std::string& way, bool attached,
              const Outcome& outcome);
    std::string text(const std::string& name) const;

  private:
    struct Cause {
        std::string what, way, outcome, thread;
    };
    Outcome mPlain;
    std::vector<Cause> mCauses;
};

}  // namespace tests

#endif  // TESTS_FUNCTIONS_TXT_H
