// Every target runs on a registry of its own.
#include "host/PrivateShm.h"
#include "tests/fuzz/Fuzz.h"

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    fuzz::demand(host::enterPrivateShm(), "a private /dev/shm is to be had");
    return 0;
}
