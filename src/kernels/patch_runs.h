// Patches of pictures in runs of eight samples, whose pixels lie in 16 columns of a few rows: each
// of these is loaded once.
#ifndef OZR_PATCH_RUNS_H
#define OZR_PATCH_RUNS_H

#include <stdint.h>

#include "kernels/match.h"

namespace ozr::kernels
{

// Unnamed: each file that includes this has a copy of its own, compiled for its own
// instruction set.
namespace
{

constexpr int32_t kPatchRun = 8;

// Of each run: the first pixel and the first row that are loaded, the Q16 place of the first sample
// from there on, and where the samples go. The last run of a row ends with it.
class PatchRuns
{
    static constexpr int32_t kMostRuns = 64;
    static constexpr int32_t kLoad = 16;
    static constexpr int32_t kOne = 1 << 16;
    static constexpr int32_t kMostTurn = 2;

    // How far the samples of a patch reach from the first one.
    static int32_t reach(int32_t right, int32_t down, int32_t side)
    {
        return (side - 1) * ((right > 0 ? right : 0) + (down > 0 ? down : 0));
    }

public:
    const uint8_t* at[kMostRuns + 1];
    int32_t x[kMostRuns + 1], y[kMostRuns + 1];
    int32_t to[kMostRuns + 1];
    int32_t count = 0;

    // Whether whole loads of whole runs stay inside the picture, and hold what they are for: not
    // near the right and the lower edge, nor of patches that are turned or reduced by much.
    static bool are_fit(const PatchPlane& plane, const PatchPlaces& places)
    {
        constexpr int32_t kMostDown = kMostTurn * kOne / (kPatchRun - 1);
        const int32_t side = places.side, in_row = (side + kPatchRun - 1) / kPatchRun;
        if (side < kPatchRun || side * in_row > kMostRuns || places.right_x < 0 ||
            places.right_x > 2 * kOne || places.right_y < -kMostDown || places.right_y > kMostDown)
            return false;
        const int32_t right = places.x + reach(places.right_x, places.down_x, side);
        const int32_t bottom = places.y + reach(places.right_y, places.down_y, side);
        return (right >> 16) + kLoad <= plane.width && (bottom >> 16) + turn_of(places) + 2 <= plane.height;
    }

    // Rows that the samples of a run may lie apart: 0, 1 or 2.
    static int32_t turn_of(const PatchPlaces& places)
    {
        const int32_t way = (kPatchRun - 1) * (places.right_y < 0 ? -places.right_y : places.right_y);
        return (way + kOne - 1) / kOne;
    }

    PatchRuns(const PatchPlane& plane, const PatchPlaces& places)
    {
        const int32_t side = places.side;
        const int32_t rises = places.right_y < 0 ? (kPatchRun - 1) * places.right_y : 0;
        for (int32_t row = 0; row < side; ++row) {
            for (int32_t column = 0; column < side; column += kPatchRun) {
                const int32_t first = column < side - kPatchRun ? column : side - kPatchRun;
                const int32_t x_at = places.x + first * places.right_x + row * places.down_x;
                const int32_t y_at = places.y + first * places.right_y + row * places.down_y;
                const int32_t top = (y_at + rises) >> 16;
                at[count] = plane.src + top * plane.stride + (x_at >> 16);
                x[count] = x_at & (kOne - 1);
                y[count] = y_at - top * kOne;
                to[count] = row * side + first;
                ++count;
            }
        }
        // A vector of two runs may hold the last one twice.
        at[count] = at[count - 1];
        x[count] = x[count - 1];
        y[count] = y[count - 1];
        to[count] = to[count - 1];
    }
};

}  // namespace

}  // namespace ozr::kernels

#endif
