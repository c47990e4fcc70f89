// The fixture of the tests that call the library.

#ifndef TESTS_LIBRARY_TEST_H
#define TESTS_LIBRARY_TEST_H

#include <gtest/gtest.h>

#include <optional>

#include "tests/support/fault_injection.h"

namespace tests {

// Where two texts of several lines begin to differ.
std::string firstDifference(const std::string& expected, const std::string& actual);

// The library loaded, with the scripted device behind it. Fails the test that leaves something
// behind: every resource count must be what it was.
class LibraryTest : public testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    std::optional<Pipeline> mPipeline;  // of this test
    ResourceCounts mCounts;             // at the start

  private:
    std::optional<LocalFrame> mFrame;
};

}  // namespace tests

#endif  // TESTS_LIBRARY_TEST_H
