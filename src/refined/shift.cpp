// Every shift of the range is measured at the coarse size; the best local maxima are followed to
// the fine one.
#include "refined/shift.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "image/pano_result.h"
#include "refined/elementary.h"
#include "refined/shift_sums.h"

namespace ozr::refined
{

namespace
{

// Local maxima that are followed to the fine size, and how far around twice their place.
constexpr int32_t kFollowed = 6;
constexpr int32_t kFineReach = 2;

// Shifts whose overlap is smaller than this share of the picture count for less: a few
// pixels agree easily.
constexpr double kFullShare = 0.25;

// A correlation over few pixels is high by chance. What shows counts: of rolled pictures, corners
// are all that meet far out.
double _weight(const Unrolled& a, const Unrolled& b, int32_t shift_x, int32_t shift_y)
{
    const int64_t shared = count_shared(a, b, shift_x, shift_y);
    const double share = static_cast<double>(shared) / static_cast<double>(int64_t{a.width} * a.height);
    return std::min(1.0, std::sqrt(share / kFullShare));
}

// The values of all shifts of a range, with a border of 0 around them.
struct ValueMap {
    int32_t left;
    int32_t up;
    int32_t columns;
    int32_t rows;
    Buffer<float> values;

    float* at(int32_t x, int32_t y) const { return values.get() + int64_t{y + 1} * (columns + 2) + x + 1; }
};

PanoResult _fill(const Unrolled& a, const Unrolled& b, const ShiftRange& range, const Cancel& cancel,
                 ValueMap* map)
{
    map->left = nearest_int(range.left * a.width);
    map->up = nearest_int(range.up * a.height);
    map->columns = nearest_int(range.right * a.width) - map->left + 1;
    map->rows = nearest_int(range.down * a.height) - map->up + 1;
    map->values = make_buffer<float>(int64_t{map->columns + 2} * (map->rows + 2));
    if (!map->values)
        return kPanoNoMemory;
    const Interval shifts = {map->left, map->left + map->columns};
    ShiftSums sums;
    PANO_FORWARD(sums.init(a, b, shifts));
    for (int32_t y = 0; y < map->rows; ++y) {
        if (cancel.asked())
            return kPanoCancelled;
        sums.measure(shifts, map->up + y);
        for (int32_t x = 0; x < map->columns; ++x)
            *map->at(x, y) = static_cast<float>(sums.correlation(map->left + x));
    }
    return kPanoSuccess;
}

bool _is_maximum(const ValueMap& map, int32_t x, int32_t y)
{
    const float value = *map.at(x, y);
    if (value <= 0.0F)
        return false;
    for (int32_t dy = -1; dy <= 1; ++dy) {
        for (int32_t dx = -1; dx <= 1; ++dx) {
            if (*map.at(x + dx, y + dy) > value)
                return false;
        }
    }
    return true;
}

// The best local maxima of the coarse size, in its pixels. Returns how many there are.
int32_t _find_maxima(const Unrolled& a, const Unrolled& b, const ValueMap& map, Shift best[kFollowed])
{
    int32_t count = 0;
    for (int32_t y = 0; y < map.rows; ++y) {
        for (int32_t x = 0; x < map.columns; ++x) {
            if (!_is_maximum(map, x, y))
                continue;
            const int32_t shift_x = map.left + x, shift_y = map.up + y;
            const double value = static_cast<double>(*map.at(x, y)) * _weight(a, b, shift_x, shift_y);
            count = keep_best<Shift>(best, count, kFollowed, {shift_x, shift_y, value});
        }
    }
    return count;
}

// The best shift around twice a coarse one.
Shift _follow(const UnrolledPair& first, const UnrolledPair& second, const Shift& coarse, ShiftSums* sums)
{
    Shift best = {2 * coarse.x, 2 * coarse.y, -1.0};
    const Interval near = {2 * coarse.x - kFineReach, 2 * coarse.x + kFineReach + 1};
    for (int32_t dy = -kFineReach; dy <= kFineReach; ++dy) {
        const int32_t y = 2 * coarse.y + dy;
        sums->measure(near, y);
        for (int32_t x = near.first; x < near.end; ++x) {
            const double value = sums->correlation(x);
            if (value > best.value)
                best = {x, y, value};
        }
    }
    best.value *= _weight(first.fine, second.fine, best.x, best.y);
    return best;
}

bool _is_near(const Shift& a, const Shift& b)
{
    return std::abs(a.x - b.x) <= 2 * kFineReach && std::abs(a.y - b.y) <= 2 * kFineReach;
}

}  // namespace

PanoResult find_shifts(const UnrolledPair& first, const UnrolledPair& second, const ShiftRange& range,
                       const Cancel& cancel, Shifts* shifts)
{
    ValueMap map = {};
    PANO_FORWARD(_fill(first.coarse, second.coarse, range, cancel, &map));
    Shift followed[kFollowed];
    const int32_t maxima = _find_maxima(first.coarse, second.coarse, map, followed);
    shifts->count = 0;
    const int32_t end = map.left + map.columns;
    ShiftSums sums;
    PANO_FORWARD(sums.init(first.fine, second.fine, {2 * map.left - kFineReach, 2 * end + kFineReach}));
    for (int32_t i = 0; i < maxima; ++i) {
        if (cancel.asked())
            return kPanoCancelled;
        const Shift fine = _follow(first, second, followed[i], &sums);
        // Neighbouring maxima often lead to one place, which is not to be tried twice.
        if (shifts->count == 0 || !_is_near(shifts->best[0], fine))
            shifts->count = keep_best(shifts->best, shifts->count, kMaxShifts, fine);
    }
    return kPanoSuccess;
}

}  // namespace ozr::refined
