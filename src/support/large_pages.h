// Large pages for large blocks. A sweep of 12-megapixel pictures fills several hundred megabytes for the first time;
// handed out in pages of 4 KiB, each costs a fault, and together they cost more than the arithmetic.
#ifndef OZR_LARGE_PAGES_H
#define OZR_LARGE_PAGES_H

#include <stdint.h>

namespace ozr
{

// Asks the system to back the inside of a fresh block with large pages, where it has them. A hint: the bytes do not
// change, and a refusal is no fault. Small blocks and null are left alone. Returns the block.
void* prefer_large_pages(void* block, uint64_t bytes);

}  // namespace ozr

#endif
