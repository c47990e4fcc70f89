// The functions and natives of the library as a table: each row is a call with what has to be there
// before it. Tests, load and measurements run the rows.

#ifndef TESTS_FUNCTIONS_H
#define TESTS_FUNCTIONS_H

#include <jni.h>

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "mw/filter.h"

namespace tests {

// The handles that a row works on, and what its function fills; a failing one must leave that alone.
struct Fixture {
    uint32_t h_pipeline = 0;
    uint32_t hfilter = 0;
    uint32_t hthread = 0;
    int64_t instance = 0;  // of the filter
    alignas(8) unsigned char output[FLT_MAX_READ_SIZE] = {};
};
using Step = std::function<void(Fixture&)>;
// A filter that uses a callback thread; the filter's handle follows the thread's.
void prepareFilter(Fixture& fixture);
void undoFilter(Fixture& fixture);

struct Function {
    std::string name;  // in parentheses what tells rows of one function apart
    std::function<int(Fixture&)> call;
    Step prepare;
    Step undo;
    bool takesHandle = false;
    bool calledByJava = false;  // and so attached
    bool written = true;        // in functions.txt; what the oracle says is not
    bool refuses = false;       // its arguments, whatever else there is

    // For GoogleTest, which prints the row that fails.
    friend void PrintTo(const Function& row, std::ostream* out) { *out << row.name; }
    bool isLoad() const { return name == "JNI_OnLoad"; }
    bool ofTuner() const { return takesHandle && name.rfind("x_native_frontend_", 0) == 0; }

    // With arguments that the function refuses.
    Function refusing(const std::string& arguments) {
        name += " (" + arguments + ")";
        refuses = true;
        return *this;
    }
    Function as(const std::string& variant) {
        name += " (" + variant + ")";
        return *this;
    }
    Function unwritten() {
        written = false;
        return *this;
    }
};
const std::vector<Function>& functions();
// More arguments of some of them, which are worth measuring but do nothing else that could fail.
const std::vector<Function>& measuredOnly();

// Lets Java answer as the rows need it: every method that returns a number returns the value.
void scriptAnswers(int value);

}  // namespace tests

#endif  // TESTS_FUNCTIONS_H
