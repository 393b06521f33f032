#include "support/large_pages.h"

#include <sys/mman.h>

#include <cerrno>

namespace
{

constexpr uintptr_t kLargePage = uintptr_t{1} << 21;  // of x86 and, with pages of 4 KiB, of ARM
constexpr uint64_t kWorthwhile = 2 * kLargePage;      // holds an aligned page wherever it starts

}  // namespace

void* ozr::prefer_large_pages(void* block, uint64_t bytes)
{
#ifdef MADV_HUGEPAGE
    if (block == nullptr || bytes < kWorthwhile)
        return block;
    const uintptr_t start = reinterpret_cast<uintptr_t>(block);
    const uintptr_t margin = (kLargePage - start % kLargePage) % kLargePage;
    const uintptr_t inside = (static_cast<uintptr_t>(bytes) - margin) / kLargePage * kLargePage;
    const int error = errno;  // a successful allocation does not change it
    madvise(static_cast<char*>(block) + margin, inside, MADV_HUGEPAGE);
    errno = error;
#else
    static_cast<void>(bytes);
#endif
    return block;
}
