// Runs a fuzzer's entry once for every file named, or found in a folder named: a corpus as an
// ordinary test.
#include <stdio.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz_input.h"

namespace
{

/** The bytes in a block of exactly their size, as libFuzzer hands them over. */
void _replay(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    std::vector<char> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    bytes.shrink_to_fit();
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
}

}  // namespace

int main(int argc, char** argv)
{
    int files = 0;
    for (int i = 1; i < argc; ++i) {
        const std::filesystem::path path = argv[i];
        if (!std::filesystem::is_directory(path)) {
            _replay(path);
            ++files;
            continue;
        }
        for (const auto& entry : std::filesystem::directory_iterator(path)) {
            fprintf(stderr, "%s\n", entry.path().c_str());  // the last one named is the one that fails
            _replay(entry.path());
            ++files;
        }
    }
    fprintf(stderr, "%d inputs replayed\n", files);
    return files > 0 ? 0 : 1;  // an empty corpus tests nothing
}
