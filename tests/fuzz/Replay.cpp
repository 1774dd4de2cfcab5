// Where no fuzzer does it: runs a target on each file of the given folders once, then on random
// bytes; those that fail are shrunk and printed.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <rapidcheck.h>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
    LLVMFuzzerInitialize(&argc, &argv);
    int inputs = 0;
    for (int i = 1; i < argc; ++i)
        for (const auto& entry : std::filesystem::directory_iterator(argv[i]))
            if (std::ifstream file(entry.path(), std::ios::binary); entry.is_regular_file()) {
                const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
                std::printf("%s\n", entry.path().c_str());
                std::fflush(stdout); // or nobody sees which one it was that crashed
                LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                                       bytes.size());
                ++inputs;
            }
    const auto take = [](const std::vector<std::uint8_t>& bytes) {
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    };
    return inputs > 0 && rc::check(take) ? 0 : 1;
}
