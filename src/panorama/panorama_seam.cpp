// Least-cost path by dynamic programming: every entry of the cost matrix becomes the cost of the best path from the top
// row to it, then the path is traced back from the cheapest entry of the last row.
#include "panorama_seam.h"

#include <memory>

#include "ozr_kernels.h"
#include "ozr_support.h"
#include "pano_result.h"

#if UINTPTR_MAX == UINT32_MAX
static_assert(sizeof(SeamRegion) == 20, "five 32-bit words");
#endif

namespace
{

struct FreeAligned {
    void operator()(uint32_t* block) const { ozr_free_aligned(block); }
};

// Accumulated costs; rows padded to a multiple of four entries, so that each starts at a multiple of 16 bytes. The
// padding is never read.
struct CostMatrix {
    std::unique_ptr<uint32_t, FreeAligned> entries;
    int64_t pitch;

    uint32_t* row(int32_t y) const { return entries.get() + y * pitch; }
};

constexpr uint32_t kRowAlignment = 16;

CostMatrix _make_matrix(int32_t width, int32_t height)
{
    const int64_t pitch = (int64_t{width} + 4) / 4 * 4;
    const int64_t bytes = pitch * height * static_cast<int64_t>(sizeof(uint32_t));
    constexpr int64_t kMaxBytes = UINT32_MAX - 2 * kRowAlignment;  // leaves room for the alignment
    if (bytes > kMaxBytes)
        return {nullptr, pitch};
    void* block = ozr_malloc_aligned(static_cast<uint32_t>(bytes), kRowAlignment);
    return {std::unique_ptr<uint32_t, FreeAligned>(static_cast<uint32_t*>(block)), pitch};
}

int32_t _check(const SeamRegion* a, const SeamRegion* b)
{
    if (a->img == nullptr || b->img == nullptr || a->width != b->width || a->height != b->height)
        return kPanoBadArgument;
    if (a->width == 0 || a->height == 0)
        return kPanoNotSupported;
    if (a->width < 0 || a->height < 0 || a->img->data == nullptr || b->img->data == nullptr)
        return kPanoBadArgument;
    // A single column has no neighbour to take a cost from.
    return a->width == 1 ? kPanoNotSupported : kPanoSuccess;
}

const uint8_t* _region_row(const SeamRegion* region, int32_t y)
{
    return pano_row(region->img, region->y + y) + region->x;
}

void _accumulate(const CostMatrix& matrix, const uint8_t* mask, const SeamRegion* a, const SeamRegion* b)
{
    const OzrKernels* kernels = ozr_kernels();
    for (int32_t y = 0; y < a->height; ++y) {
        kernels->seam_cost_row(matrix.row(y), _region_row(a, y), _region_row(b, y), mask, a->width);
        if (y > 0)
            kernels->seam_accumulate_row(matrix.row(y), matrix.row(y - 1), a->width);
        mask += a->width;
    }
}

// Of equal costs the leftmost.
int32_t _cheapest_column(const uint32_t* row, int32_t width)
{
    int32_t best = 0;
    for (int32_t x = 1; x < width; ++x) {
        if (row[x] < row[best])
            best = x;
    }
    return best;
}

// The column above `column` on the best path: straight up wins every tie, left wins a tie between left and right.
int32_t _column_above(const uint32_t* row, int32_t column, int32_t width)
{
    int32_t best = column;
    if (column > 0 && row[column - 1] < row[best])
        best = column - 1;
    if (column < width - 1 && row[column + 1] < row[best])
        best = column + 1;
    return best;
}

}  // namespace

int32_t panorama_seam_find(int32_t* seam, const uint8_t* mask, const SeamRegion* regionA,
                           const SeamRegion* regionB)
{
    if (seam == nullptr || mask == nullptr || regionA == nullptr || regionB == nullptr)
        return kPanoNullArgument;
    PANO_FORWARD(_check(regionA, regionB));
    const int32_t width = regionA->width;
    const int32_t height = regionA->height;
    const CostMatrix matrix = _make_matrix(width, height);
    if (!matrix.entries)
        return kPanoNoMemory;
    _accumulate(matrix, mask, regionA, regionB);
    seam[height - 1] = _cheapest_column(matrix.row(height - 1), width);
    for (int32_t y = height - 2; y >= 0; --y)
        seam[y] = _column_above(matrix.row(y), seam[y + 1], width);
    return kPanoSuccess;
}
