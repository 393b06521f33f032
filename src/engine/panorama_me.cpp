// Motion estimation: sums of absolute differences over the central region, at most 25 of them.
#include "engine/panorama_me.h"

#include <stddef.h>

#include <algorithm>

#include "kernels/kernels.h"

using namespace ozr;

namespace
{

constexpr int32_t kMaxSteps = 10;  // candidates of each search after the first pixel
constexpr int32_t kStride = 2;     // pixels from one candidate to the next

struct Frames {
    const uint8_t* reference;
    const uint8_t* current;
    int32_t width;
    int32_t height;
};

// One axis of the region, both ends inclusive: about 0.449 of the size to either side of the middle. The same for
// every shift, so that costs can be compared.
struct Region {
    int32_t first;
    int32_t last;
};

Region _central_region(int32_t size)
{
    const int32_t reach = static_cast<int32_t>((int64_t{size} * 230) >> 9);
    const int32_t middle = size >> 1;
    return {std::max(middle - reach, 0), std::min(middle + reach, size - 1)};
}

// Where the columns of the region meet the shifted frame: columns from `first` to `end` do, those before and after see
// its edge pixels repeated.
struct Inside {
    int32_t first;
    int32_t end;
};

Inside _inside(Region region, int32_t shift, int32_t size)
{
    const int32_t first = std::clamp(-shift, region.first, region.last + 1);
    return {first, std::clamp(size - shift, first, region.last + 1)};
}

// Rows `first` to `end` of the region against rows of the current frame, `stride` bytes apart from `current` on.
uint32_t _rows_cost(const kernels::Kernels* kernels, const Frames& frames, Region x, int32_t dx, Inside rows,
                    const uint8_t* current, int32_t stride)
{
    const Inside columns = _inside(x, dx, frames.width);
    const uint8_t* reference = frames.reference + static_cast<ptrdiff_t>(rows.first) * frames.width;
    const int32_t count = rows.end - rows.first;
    uint32_t cost =
        kernels->motion.sad_area(reference + columns.first, frames.width, current + columns.first + dx,
                                 stride, columns.end - columns.first, count);
    if (columns.first == x.first && columns.end == x.last + 1)
        return cost;
    for (int32_t row = 0; row < count; ++row, reference += frames.width, current += stride) {
        cost += kernels->motion.sad_const_row(reference + x.first, current[0], columns.first - x.first);
        cost += kernels->motion.sad_const_row(reference + columns.end, current[frames.width - 1],
                                              x.last + 1 - columns.end);
    }
    return cost;
}

// Cost of the shift (dx, dy). Sums stay below 2^31 for frames of up to 8 million pixels, so the search compares them
// as signed numbers.
int32_t GetEnergyN(const Frames& frames, int32_t dx, int32_t dy)
{
    const kernels::Kernels* kernels = kernels::active();
    const Region x = _central_region(frames.width);
    const Region y = _central_region(frames.height);
    if (x.last < x.first || y.last < y.first)
        return 0;
    const Inside rows = _inside(y, dy, frames.height);
    const uint8_t* top = frames.current;
    const uint8_t* bottom = top + static_cast<ptrdiff_t>(frames.height - 1) * frames.width;
    const uint8_t* inside = top + static_cast<ptrdiff_t>(rows.first + dy) * frames.width;
    return static_cast<int32_t>(_rows_cost(kernels, frames, x, dx, {y.first, rows.first}, top, 0) +
                                _rows_cost(kernels, frames, x, dx, rows, inside, frames.width) +
                                _rows_cost(kernels, frames, x, dx, {rows.end, y.last + 1}, bottom, 0));
}

struct Candidate {
    int32_t shift;  // -1, 0 or 1
    int32_t cost;
};

// The better neighbour of no shift, if one is better; of equal ones the positive.
Candidate _direction(int32_t at_zero, int32_t at_minus, int32_t at_plus)
{
    if (at_minus < at_zero && at_minus < at_plus)
        return {-1, at_minus};
    if (at_plus < at_zero && at_plus <= at_minus)
        return {1, at_plus};
    return {0, at_zero};
}

// Walks on from the first pixel while the cost falls.
template <class Cost>
int32_t _walk(Candidate best, Cost cost_at)
{
    const int32_t step = kStride * best.shift;
    for (int32_t i = 0; i < kMaxSteps && step != 0; ++i) {
        const int32_t cost = cost_at(best.shift + step);
        if (cost >= best.cost)
            break;
        best = {best.shift + step, cost};
    }
    return best.shift;
}

}  // namespace

void MotionEstimate(const uint8_t* reference, const uint8_t* current, int32_t width, int32_t height,
                    int32_t* shiftX, int32_t* shiftY)
{
    if (shiftX == nullptr || shiftY == nullptr)
        return;
    *shiftX = 0;
    *shiftY = 0;
    if (reference == nullptr || current == nullptr)
        return;
    const Frames frames = {reference, current, width, height};
    const int32_t still = GetEnergyN(frames, 0, 0);
    const Candidate vertical = _direction(still, GetEnergyN(frames, 0, -1), GetEnergyN(frames, 0, 1));
    const Candidate horizontal = _direction(still, GetEnergyN(frames, -1, 0), GetEnergyN(frames, 1, 0));
    *shiftX = _walk(horizontal, [&](int32_t x) { return GetEnergyN(frames, x, 0); });
    *shiftY = _walk(vertical, [&](int32_t y) { return GetEnergyN(frames, 0, y); });
}
