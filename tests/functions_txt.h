// What tests/functions.txt holds: what functions do, and what differs when something fails.

#ifndef TESTS_FUNCTIONS_TXT_H
#define TESTS_FUNCTIONS_TXT_H

#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/functions.h"

namespace tests {

using Names = std::set<std::string>;
using Lines = std::vector<std::string>;

// What one run did, line by line: its log, its calls of Java, and the middleware's callbacks.
struct Outcome {
    int result = 0;
    Lines lines;
};

// Without what differs from run to run: handles have names, addresses and the numbers of source lines
// are gone, and the end of a line is seen.
std::string normalized(const std::string& line, const Stage& stage, int result);

// What was seen of a row.
struct Seen {
    Outcome plain;
    // What differs in failing runs: new lines with their causes, and what else comes of a cause, which is
    // another result, lines of the plain run that are lost, and references that are kept.
    std::map<std::string, Names> lines;
    std::map<std::string, Names> effects;

    // Notes the cause of each difference. A line that shows the result is the same line when it shows
    // another.
    void note(const std::string& cause, const Outcome& expected, const Outcome& failed);
};

// The whole file; by row.
std::string functionsTxt(std::map<std::string, Seen> seen);

}  // namespace tests

#endif  // TESTS_FUNCTIONS_TXT_H
