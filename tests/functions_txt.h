// The sections of docs/functions.txt: what a function does, and the outcome of each cause.

#ifndef TESTS_FUNCTIONS_TXT_H
#define TESTS_FUNCTIONS_TXT_H

#include <optional>

#include "tests/functions.h"

namespace tests {

using Lines = std::vector<std::string>;

constexpr int kJavaValue = 57;  // what Java methods return; easy to find in the log

// What one run did: its log, its calls to Java, and the middleware's callbacks.
struct Outcome {
    std::optional<int> result;  // none: a fatal assertion failed, whose text is the last line
    Lines lines;
};

// Removes what differs from run to run: names replace handles and addresses, and the numbers of
// source lines are left out. Line ends become visible.
std::string normalized(const std::string& line, const Fixture& fixture);

class Section {
  public:
    explicit Section(const Outcome& plain = {}) : mPlain(plain) {}
    // Adds the outcome of a cause, such as "NewObjectA" and "fails", on an attached thread or not.
    void note(const std::string& what, const std::string& way, bool attached,
              const Outcome& outcome);
    std::string text(const std::string& name) const;

  private:
    struct Cause {
        std::string what, way, outcome;
        bool attached;
    };
    Outcome mPlain;
    std::vector<Cause> mCauses;
};

}  // namespace tests

#endif  // TESTS_FUNCTIONS_TXT_H
