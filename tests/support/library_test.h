// The fixture of the tests that call the library.

#ifndef TESTS_LIBRARY_TEST_H
#define TESTS_LIBRARY_TEST_H

#include <gtest/gtest.h>

#include <optional>

#include "tests/support/fault_injection.h"

namespace tests {

// The first line in which two texts differ.
std::string firstDifference(const std::string& expected, const std::string& actual);

// Loads the library, with the scripted device behind it. A test fails if a resource count is not
// what it was at the start.
class LibraryTest : public testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    std::optional<Pipeline> mPipeline;  // made for this test
    ResourceCounts mCounts;             // at the start

  private:
    std::optional<LocalFrame> mFrame;
};

}  // namespace tests

#endif  // TESTS_LIBRARY_TEST_H
