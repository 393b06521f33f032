// The least-cost paths through two regions, which rows are added to one by one from the top.
//
// Paths go from the top row down, one column per row, at most one column sideways between rows; a
// pixel costs the difference of the two regions, its bits united with those of the mask. Of two
// rows the sums of the best path to every column are kept, of all rows the step that it took last.
#ifndef PANORAMA_SEAM_PATHS_H
#define PANORAMA_SEAM_PATHS_H

#include <stdint.h>

#include <memory>

#include "kernels/kernels.h"
#include "ozr_memory.h"

namespace ozr::core
{

// The memory that paths are found in, kept from one seam to the next.
struct FreeAligned {
    void operator()(uint8_t* block) const { ozr_free_aligned(block); }
};
using SeamWorkspace = std::unique_ptr<uint8_t, FreeAligned>;

// Bytes for a region of this size: about one a pixel. -1 where a 32-bit sum for every pixel would
// not fit a 32-bit size.
int64_t seam_workspace_size(int32_t width, int32_t height);

// Null when memory is out, or for a size of -1.
SeamWorkspace make_seam_workspace(int64_t bytes);

class SeamPaths
{
public:
    // For rows of `width` columns, 2 or more; as many rows as the workspace was measured for.
    SeamPaths(uint8_t* workspace, int32_t width);

    void add_row(const uint8_t* a, const uint8_t* b, const uint8_t* mask);

    // The cheapest path to the last row: a column for each row. Of equally cheap ones that which
    // ends leftmost, and goes straight down rather than from the left, and from the left rather
    // than from the right.
    void trace(int32_t* columns) const;

private:
    int8_t* steps(int32_t row) const { return first_steps_ + row * stride_; }
    void make_room();
    void widen();

    const kernels::Kernels* kernels_;
    void* above_;  // sums of the last row: uint16_t, or uint32_t once they are wide
    void* sums_;
    int8_t* first_steps_;
    int64_t stride_;
    int32_t width_;
    int32_t rows_ = 0;
    int32_t room_ = 0;  // rows that can be added before neighbouring sums may differ too much
    bool wide_ = false;
};

}  // namespace ozr::core

#endif
