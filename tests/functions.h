// The functions and native methods of the library as a table: each row is a call and what it needs
// before. Tests, the stress test and measurements run the rows.

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

// The handles that a row works on, and the output of its function. A failing function must not
// write the output.
struct Fixture {
    uint32_t h_pipeline = 0;
    uint32_t hfilter = 0;
    uint32_t hthread = 0;
    int64_t instance = 0;  // of the filter
    alignas(8) unsigned char output[FLT_MAX_READ_SIZE] = {};
    jint elements = 3;  // of the array that an event reports; below 0: the array is null
    jint length = 2;    // that it reports
};
using Step = std::function<void(Fixture&)>;
// Makes a filter that uses a callback thread. The filter's handle is the thread's plus 1.
void prepareFilter(Fixture& fixture);
void undoFilter(Fixture& fixture);

struct Function {
    std::string name;  // the function's, and in parentheses what distinguishes its rows
    std::function<int(Fixture&)> call;
    Step prepare = [](Fixture&) {};
    Step undo = [](Fixture&) {};
    bool takesHandle = false;
    bool calledByJava = false;  // so always on an attached thread
    bool refuses = false;       // refuses its arguments

    // GoogleTest prints a failing row with it.
    friend void PrintTo(const Function& row, std::ostream* out) { *out << row.name; }
    bool isLoad() const { return name == "JNI_OnLoad"; }
    bool ofTuner() const { return takesHandle && name.rfind("x_native_frontend_", 0) == 0; }

    // Marks the row's arguments as ones that the function refuses.
    Function refusing(const std::string& arguments) {
        refuses = true;
        return as(arguments);
    }
    Function as(const std::string& variant) {
        name += " (" + variant + ")";
        return *this;
    }
};
const std::vector<Function>& functions();
// The same functions with other arguments, which are worth measuring but cannot fail differently.
const std::vector<Function>& measuredOnly();

// Scripts the answers that the rows need. Java methods that return a number return the value.
void scriptAnswers(int value);

}  // namespace tests

#endif  // TESTS_FUNCTIONS_H
