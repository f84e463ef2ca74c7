// Runs every file of the given corpus folders through a fuzz target, so that what a fuzzer once
// found stays found under any compiler. Ends with 1 when a folder holds no readable file, because
// a test that ran nothing must not pass.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

// The names are the fuzzer engine's.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
// Not every target has one.
extern "C" [[gnu::weak]] int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace {

size_t replay_folder(const char* folder) {
    size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        std::ifstream file(entry.path(), std::ios::binary);
        if (!entry.is_regular_file() || !file) {
            continue;
        }
        const std::vector<char> bytes((std::istreambuf_iterator<char>(file)),
                                      std::istreambuf_iterator<char>());
        const std::vector<uint8_t> input(bytes.begin(), bytes.end());
        LLVMFuzzerTestOneInput(input.data(), input.size());
        ++count;
    }
    return count;
}

}  // namespace

int main(int argc, char** argv) {
    int result = argc > 1 ? 0 : 1;
    if (LLVMFuzzerInitialize != nullptr) {
        LLVMFuzzerInitialize(&argc, &argv);
    }
    for (int i = 1; i < argc; ++i) {
        const size_t count = replay_folder(argv[i]);
        std::printf("%zu inputs from %s\n", count, argv[i]);
        if (count == 0) {
            result = 1;
        }
    }
    return result;
}
