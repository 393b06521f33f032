// Least-cost path by dynamic programming: row by row the cost of the best path from the top to every column, of which two
// rows are kept, and the step that it took last, of which all are; then the path is traced back from the cheapest column
// of the last row.
#include "panorama_seam.h"

#include "ozr_kernels.h"
#include "ozr_support.h"
#include "pano_result.h"

#if UINTPTR_MAX == UINT32_MAX
static_assert(sizeof(SeamRegion) == 20, "five 32-bit words");
#endif

namespace
{

constexpr uint32_t kAlignment = 16;
constexpr int32_t kLargestCost = 255;
constexpr int64_t kSumBytes = sizeof(uint32_t);

// Rows are padded to a multiple of four columns, which are never read.
int64_t _pitch(int32_t width)
{
    return (int64_t{width} + 4) / 4 * 4;
}

// The sums of two rows, one below the other in turn, and the steps of all rows.
struct Paths {
    uint32_t* first_sums;
    int8_t* first_steps;
    int64_t pitch;

    // `block` is aligned for the sums, which come first.
    Paths(void* block, int64_t row_pitch)
        : first_sums(static_cast<uint32_t*>(block)),
          first_steps(static_cast<int8_t*>(block) + 2 * kSumBytes * row_pitch), pitch(row_pitch)
    {
    }
    uint32_t* sums(int32_t y) const { return first_sums + (y & 1) * pitch; }
    int8_t* steps(int32_t y) const { return first_steps + y * pitch; }
};

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

// The variants compare sums as signed numbers; a path too long for that is left to the scalar one.
const OzrKernels* _kernels_for(int32_t height)
{
    return height <= INT32_MAX / kLargestCost ? ozr_kernels() : &kOzrKernelsScalar;
}

void _find_paths(const Paths& paths, const uint8_t* mask, const SeamRegion* a, const SeamRegion* b)
{
    const OzrKernels* kernels = _kernels_for(a->height);
    kernels->seam_cost_row(paths.sums(0), _region_row(a, 0), _region_row(b, 0), mask, a->width);
    for (int32_t y = 1; y < a->height; ++y) {
        mask += a->width;
        kernels->seam_sum_row(paths.sums(y), paths.steps(y), paths.sums(y - 1),
                              {_region_row(a, y), _region_row(b, y), mask, a->width});
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

}  // namespace

int64_t panorama_seam_workspace_size(int32_t width, int32_t height)
{
    constexpr int64_t kMaxBytes = UINT32_MAX - 2 * kAlignment;  // leaves room for the alignment
    const int64_t pitch = _pitch(width);
    const int64_t bytes = pitch * (2 * kSumBytes + height);
    return pitch * height * kSumBytes > kMaxBytes || bytes > kMaxBytes ? -1 : bytes;
}

SeamWorkspace panorama_seam_make_workspace(int64_t bytes)
{
    if (bytes < 0)
        return nullptr;
    return SeamWorkspace(static_cast<uint8_t*>(ozr_malloc_aligned(static_cast<uint32_t>(bytes), kAlignment)));
}

int32_t panorama_seam_find_in(uint8_t* workspace, int32_t* seam, const uint8_t* mask, const SeamRegion* a,
                              const SeamRegion* b)
{
    PANO_FORWARD(_check(a, b));
    if (workspace == nullptr)
        return kPanoNoMemory;
    const Paths paths(workspace, _pitch(a->width));
    _find_paths(paths, mask, a, b);
    const int32_t last = a->height - 1;
    seam[last] = _cheapest_column(paths.sums(last), a->width);
    for (int32_t y = last; y > 0; --y)
        seam[y - 1] = seam[y] + paths.steps(y)[seam[y]];
    return kPanoSuccess;
}

int32_t panorama_seam_find(int32_t* seam, const uint8_t* mask, const SeamRegion* regionA,
                           const SeamRegion* regionB)
{
    if (seam == nullptr || mask == nullptr || regionA == nullptr || regionB == nullptr)
        return kPanoNullArgument;
    PANO_FORWARD(_check(regionA, regionB));
    const SeamWorkspace workspace =
        panorama_seam_make_workspace(panorama_seam_workspace_size(regionA->width, regionA->height));
    return panorama_seam_find_in(workspace.get(), seam, mask, regionA, regionB);
}
