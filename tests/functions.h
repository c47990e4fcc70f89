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

// The handles that a row works on, and what its function fills; a failing one must leave that alone.
struct Stage {
    uint32_t h_pipeline = 0;
    uint32_t hfilter = 0;
    uint32_t hthread = 0;
    alignas(8) unsigned char output[256] = {};
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

    Function as(const std::string& variant) {
        name += " (" + variant + ")";
        return *this;
    }
    Function within(const Step& before, const Step& after) {
        prepare = before;
        undo = after;
        return *this;
    }
    Function withHandle(bool takes = true) {
        takesHandle = takes;
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

}  // namespace desk

#endif  // TESTS_FUNCTIONS_H
