// Replays a fuzz target over files, so the normal test run exercises every target on its seeds.
//   NAME_replay PATH...   (each PATH a file or a folder of files)
// Each input is copied into a heap buffer of its exact size, so AddressSanitizer sees any over-read.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

static void runOne(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    auto exact = std::make_unique<uint8_t[]>(bytes.size() ? bytes.size() : 1);
    std::copy(bytes.begin(), bytes.end(), exact.get());
    LLVMFuzzerTestOneInput(exact.get(), bytes.size());
}

int main(int argc, char** argv) {
    size_t count = 0;
    for (int i = 1; i < argc; ++i) {
        std::filesystem::path root(argv[i]);
        if (std::filesystem::is_directory(root)) {
            for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
                if (entry.is_regular_file()) { runOne(entry.path()); ++count; }
            }
        } else if (std::filesystem::exists(root)) {
            runOne(root);
            ++count;
        }
    }
    // Also run the empty input: every target must accept it.
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(""), 0);
    std::printf("replayed %zu inputs\n", count);
    if (count == 0) {
        std::fprintf(stderr, "no seed inputs found\n");
        return 1;
    }
    return 0;
}
