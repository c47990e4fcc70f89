// The functions and natives of the library as a table: each row is a call with what has to be there
// before it.

#ifndef TESTS_FUNCTIONS_H
#define TESTS_FUNCTIONS_H

#include <jni.h>

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

namespace desk {

// The handles that a row works on.
struct Stage {
    uint32_t h_pipeline = 0;
    uint32_t hfilter = 0;
    uint32_t hthread = 0;
};
using Step = std::function<void(Stage&)>;
// A filter that uses a callback thread; the filter's handle follows the thread's.
void prepareFilter(Stage& stage);
void undoFilter(Stage& stage);

enum class Side { kFrontend, kFilter, kLoad };

struct Function {
    std::string name;  // in parentheses what tells rows of one function apart
    Side side;
    std::function<int(Stage&)> call;
    Step prepare = [](Stage&) {};
    Step undo = [](Stage&) {};
    bool takesHandle = false;   // other than a pipeline's
    bool calledByJava = false;  // and so attached
    jint releaseMode = 0;       // of array elements
    bool written = true;        // in functions.txt; what the oracle says is not

    Function within(Step before, Step after) {
        prepare = std::move(before);
        undo = std::move(after);
        return *this;
    }
    Function withoutHandle() {
        takesHandle = false;
        return *this;
    }
    Function fromJava(jint mode = 0) {
        calledByJava = true;
        releaseMode = mode;
        return *this;
    }
    Function unwritten() {
        written = false;
        return *this;
    }
};
const std::vector<Function>& functions();
void PrintTo(const Function& function, std::ostream* out);  // for GoogleTest

constexpr int kJavaValue = 57;  // what Java's methods must return: it stands out in the log
constexpr int kBytesRead = 7;   // and onRead

// What a function fills; a failing one must leave it alone.
extern unsigned char gOutput[256];

}  // namespace desk

#endif  // TESTS_FUNCTIONS_H
