// Large pages for large blocks. A sweep of 12-megapixel pictures writes several hundred megabytes of fresh memory. With
// pages of 4 KiB each page costs a fault, and all faults together cost more time than the arithmetic.
#ifndef OZR_LARGE_PAGES_H
#define OZR_LARGE_PAGES_H

#include <stdint.h>

namespace ozr
{

// Asks the system to back the inside of a fresh block with large pages, where it has them. A hint: the bytes do not
// change, and a refusal is no error. Does nothing for small blocks and null. Returns the block.
void* prefer_large_pages(void* block, uint64_t bytes);

}  // namespace ozr

#endif
