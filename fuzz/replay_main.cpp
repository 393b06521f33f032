// Runs a fuzzer's entry once for every file named, or found in a folder named: a corpus as
// an ordinary test. With --digests first it prints what number each file's calls gave, and
// how a file ended that gave none.
#include <inttypes.h>
#include <stdio.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz_digest.h"
#include "fuzz_input.h"

namespace
{

using std::filesystem::path;

std::vector<path> _files(char** first, char** last)
{
    std::vector<path> files;
    for (char** name = first; name != last; ++name) {
        if (std::filesystem::is_directory(*name))
            std::copy(std::filesystem::directory_iterator(*name), {}, std::back_inserter(files));
        else
            files.emplace_back(*name);
    }
    std::sort(files.begin(), files.end());
    return files;
}

// The bytes in a block of exactly their size, as libFuzzer hands them over.
void _replay(const path& name)
{
    std::ifstream file(name, std::ios::binary);
    std::vector<char> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    bytes.shrink_to_fit();
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
}

// A process of 64 bits runs out of memory where one of 32 bits does, and none runs on for ever.
void _limit_process()
{
    constexpr rlimit kBytes = {1U << 30, 1U << 30};
    constexpr unsigned kSeconds = 60;
    setrlimit(RLIMIT_AS, &kBytes);
    alarm(kSeconds);
}

// In a process of its own: files share no state, and the next one is read even if the library fails
// in this one.
void _print_digest(const path& name)
{
    fflush(stdout);
    const pid_t process = fork();
    if (process == 0) {
        _limit_process();
        _replay(name);
        printf("%016" PRIx64 " %s\n", g_fuzz_digest, name.filename().c_str());
        fflush(stdout);
        _exit(0);
    }
    int status = 0;
    waitpid(process, &status, 0);
    if (status != 0)
        printf("ended by %-7d %s\n", WIFSIGNALED(status) ? WTERMSIG(status) : status,
               name.filename().c_str());
}

}  // namespace

int main(int argc, char** argv)
{
    const bool wants_digests = argc > 1 && strcmp(argv[1], "--digests") == 0;
    const std::vector<path> files = _files(argv + (wants_digests ? 2 : 1), argv + argc);
    for (const path& file : files) {
        if (wants_digests) {
            _print_digest(file);
            continue;
        }
        fprintf(stderr, "%s\n", file.c_str());  // the last one named is the one that fails
        _replay(file);
    }
    fprintf(stderr, "%zu inputs replayed\n", files.size());
    return files.empty() ? 1 : 0;  // an empty corpus tests nothing
}
