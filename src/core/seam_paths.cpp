// Dynamic programming with sums of 16 bits, which count modulo 2^16. Only how far neighbours lie
// apart is ever looked at, and that grows by no more than the cost of a pixel from one row to the
// next: it is measured whenever it may have outgrown 16 bits. Where it nearly has, which takes a
// path that runs slantwise without cost through an expensive picture, the sums get 32 bits for the
// rows that are left.
#include "core/seam_paths.h"

#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <utility>

using namespace ozr::core;

namespace
{

constexpr uint32_t kAlignment = 16;
constexpr int32_t kLargestCost = 255;
constexpr int32_t kLeastRoom = 16;  // rows between two measurements, or the sums become wide
constexpr int64_t kSumBytes = sizeof(uint32_t);

// Rows are padded to a multiple of four columns, which are never read.
int64_t _stride(int32_t width)
{
    return (int64_t{width} + 4) / 4 * 4;
}

// The largest difference of two neighbours.
int32_t _steepest(const uint16_t* sums, int32_t width)
{
    int32_t steepest = 0;
    for (int32_t x = 1; x < width; ++x)
        steepest = std::max(steepest, abs(static_cast<int16_t>(sums[x] - sums[x - 1])));
    return steepest;
}

// Of equal sums the leftmost. `Difference` is the signed number as wide as a `Sum`.
template <class Sum, class Difference>
int32_t _cheapest_column(const Sum* sums, int32_t width)
{
    int32_t best = 0;
    int64_t least = 0;
    int64_t here = 0;  // more than column 0
    for (int32_t x = 1; x < width; ++x) {
        here += static_cast<Difference>(sums[x] - sums[x - 1]);
        if (here < least) {
            least = here;
            best = x;
        }
    }
    return best;
}

}  // namespace

int64_t ozr::core::seam_workspace_size(int32_t width, int32_t height)
{
    constexpr int64_t kMaxBytes = UINT32_MAX - 2 * kAlignment;  // leaves room for the alignment
    const int64_t stride = _stride(width);
    const int64_t bytes = stride * (2 * kSumBytes + height);
    return stride * height > kMaxBytes / kSumBytes || bytes > kMaxBytes ? -1 : bytes;
}

SeamWorkspace ozr::core::make_seam_workspace(int64_t bytes)
{
    if (bytes < 0)
        return nullptr;
    return SeamWorkspace(static_cast<uint8_t*>(ozr_malloc_aligned(static_cast<uint32_t>(bytes), kAlignment)));
}

// The sums come first, being aligned. Those above the first row are 0.
SeamPaths::SeamPaths(uint8_t* workspace, int32_t width)
    : kernels_(kernels::active()), above_(workspace), sums_(workspace + kSumBytes * _stride(width)),
      first_steps_(reinterpret_cast<int8_t*>(workspace) + 2 * kSumBytes * _stride(width)),
      stride_(_stride(width)), width_(width)
{
    memset(above_, 0, static_cast<size_t>(kSumBytes * stride_));
}

void SeamPaths::add_row(const uint8_t* a, const uint8_t* b, const uint8_t* mask)
{
    if (!wide_ && room_ == 0)
        make_room();
    const kernels::SeamRow row = {a, b, mask, width_};
    if (wide_) {
        kernels_->seam.sum_wide_row(static_cast<uint32_t*>(sums_), steps(rows_),
                                    static_cast<const uint32_t*>(above_), row);
    } else {
        kernels_->seam.sum_row(static_cast<uint16_t*>(sums_), steps(rows_),
                               static_cast<const uint16_t*>(above_), row);
        --room_;
    }
    std::swap(above_, sums_);
    ++rows_;
}

// The least sum above a column and the least sum above its neighbour differ by no more than two
// neighbours did in that row: the cost of one pixel is what a row can add.
void SeamPaths::make_room()
{
    room_ = (INT16_MAX - _steepest(static_cast<const uint16_t*>(above_), width_)) / kLargestCost;
    if (room_ < kLeastRoom)
        widen();
}

// The sums relative to that of column 0, which order the columns as well.
void SeamPaths::widen()
{
    const uint16_t* narrow = static_cast<const uint16_t*>(above_);
    uint32_t* wide = static_cast<uint32_t*>(sums_);
    wide[0] = 0;
    for (int32_t x = 1; x < width_; ++x)
        wide[x] = wide[x - 1] + static_cast<uint32_t>(static_cast<int16_t>(narrow[x] - narrow[x - 1]));
    std::swap(above_, sums_);
    wide_ = true;
}

void SeamPaths::trace(int32_t* columns) const
{
    const int32_t last = rows_ - 1;
    columns[last] = wide_ ? _cheapest_column<uint32_t, int32_t>(static_cast<const uint32_t*>(above_), width_)
                          : _cheapest_column<uint16_t, int16_t>(static_cast<const uint16_t*>(above_), width_);
    for (int32_t y = last; y > 0; --y)
        columns[y - 1] = columns[y] + steps(y)[columns[y]];
}
