// The tests' entry: as GoogleTest's own, but the virtual machine is gone before the process ends.

#include "tests/vm.h"

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const int result = RUN_ALL_TESTS();
    desk::stopVm();
    return result;
}
