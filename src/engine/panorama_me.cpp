// Motion estimation: sums of absolute differences over the central region, at most 25 of them.
#include "engine/panorama_me.h"

#include <stddef.h>

#include <algorithm>

#include "base/plane.h"
#include "kernels/kernels.h"

using namespace ozr;

namespace
{

constexpr int32_t kMaxSteps = 10;  // candidates of each search after the first pixel
constexpr int32_t kStep = 2;       // pixels from one candidate to the next

// Two frames of one size.
struct Frames {
    ConstPlane reference;
    ConstPlane current;
};

// One axis of the region, both ends inclusive: about 0.449 of the size to either side of the
// middle. It is the same for every shift, so that costs can be compared.
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

// The positions [first, end) of the region that are inside the shifted frame. Those before and
// after them are compared with its edge pixels.
struct Inside {
    int32_t first;
    int32_t end;
};

Inside _inside(Region region, int32_t shift, int32_t size)
{
    const int32_t first = std::clamp(-shift, region.first, region.last + 1);
    return {first, std::clamp(size - shift, first, region.last + 1)};
}

// Cost of rows of both frames, of one count; a stride of 0 repeats the same row.
uint32_t _rows_cost(const ConstPlane& reference, const ConstPlane& current, Region x, int32_t dx)
{
    const kernels::MotionKernels& motion = kernels::active()->motion;
    const Inside columns = _inside(x, dx, reference.width);
    uint32_t cost = motion.sad_area({reference.data + columns.first, reference.stride},
                                    {current.data + columns.first + dx, current.stride},
                                    columns.end - columns.first, reference.height);
    if (columns.first == x.first && columns.end == x.last + 1)
        return cost;
    for (int32_t y = 0; y < reference.height; ++y) {
        const uint8_t* row = reference.row(y);
        const uint8_t* edges = current.row(y);
        cost += motion.sad_const_row(row + x.first, edges[0], columns.first - x.first);
        cost += motion.sad_const_row(row + columns.end, edges[current.width - 1], x.last + 1 - columns.end);
    }
    return cost;
}

// The rows [first, end) of a frame.
ConstPlane _rows(const ConstPlane& frame, int32_t first, int32_t end)
{
    return frame.part(frame.row(first), frame.width, end - first);
}

// As a frame of any height, one row of another.
ConstPlane _repeated(const ConstPlane& frame, int32_t row)
{
    return {frame.row(row), frame.width, 1, 0};
}

// Cost of the shift (dx, dy). Sums stay below 2^31 for frames of up to 8 million pixels, so the
// search compares them as signed numbers.
int32_t GetEnergyN(const Frames& frames, int32_t dx, int32_t dy)
{
    const ConstPlane& reference = frames.reference;
    const ConstPlane& current = frames.current;
    const Region x = _central_region(current.width);
    const Region y = _central_region(current.height);
    if (x.last < x.first || y.last < y.first)
        return 0;
    const Inside rows = _inside(y, dy, current.height);
    const ConstPlane above = _repeated(current, 0);
    const ConstPlane inside = _rows(current, rows.first + dy, rows.end + dy);
    const ConstPlane below = _repeated(current, current.height - 1);
    return static_cast<int32_t>(_rows_cost(_rows(reference, y.first, rows.first), above, x, dx) +
                                _rows_cost(_rows(reference, rows.first, rows.end), inside, x, dx) +
                                _rows_cost(_rows(reference, rows.end, y.last + 1), below, x, dx));
}

struct Candidate {
    int32_t shift;  // -1, 0 or 1
    int32_t cost;
};

// The best of no shift and its two neighbours. No shift wins a tie with a neighbour, the positive
// one a tie of both.
Candidate _direction(int32_t at_zero, int32_t at_minus, int32_t at_plus)
{
    if (at_minus < at_zero && at_minus < at_plus)
        return {-1, at_minus};
    if (at_plus < at_zero && at_plus <= at_minus)
        return {1, at_plus};
    return {0, at_zero};
}

// Continues from the first pixel while the cost falls.
template <class Cost>
int32_t _walk(Candidate best, Cost cost_at)
{
    const int32_t step = kStep * best.shift;
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
    const Frames frames = {{reference, width, height, width}, {current, width, height, width}};
    const int32_t still = GetEnergyN(frames, 0, 0);
    const Candidate vertical = _direction(still, GetEnergyN(frames, 0, -1), GetEnergyN(frames, 0, 1));
    const Candidate horizontal = _direction(still, GetEnergyN(frames, -1, 0), GetEnergyN(frames, 1, 0));
    *shiftX = _walk(horizontal, [&](int32_t x) { return GetEnergyN(frames, x, 0); });
    *shiftY = _walk(vertical, [&](int32_t y) { return GetEnergyN(frames, 0, y); });
}
