#include "warm_memory.h"

#include <sys/mman.h>

namespace
{

// OpenCV's stitcher takes most, some 100 bytes. Less is not enough for the others either: what else
// runs on the machine takes of the pages released.
constexpr size_t kBytesPerPixel = 125;
constexpr size_t kPage = 4096;

}  // namespace

void warm_memory(Size size)
{
    const size_t bytes = static_cast<size_t>(size.width) * static_cast<size_t>(size.height) * kBytesPerPixel;
    void* block = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (block == MAP_FAILED)
        return;
    madvise(block, bytes, MADV_HUGEPAGE);
    for (size_t i = 0; i < bytes; i += kPage)
        static_cast<volatile uint8_t*>(block)[i] = 1;
    munmap(block, bytes);
}
