#include "host/PrivateShm.h"

#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>

/// Every test program runs on a registry of its own: beside an open project it harms nothing.
int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (!testing::GTEST_FLAG(list_tests) && !host::enterPrivateShm()) {
        std::fputs("tests need a private /dev/shm: run as root or allow user namespaces\n", stderr);
        return 1;
    }
    return RUN_ALL_TESTS();
}
