#include "reference/engine.h"

#include <algorithm>
#include <cstdlib>

namespace ozr_reference
{

namespace
{

// Walks from one pixel beside the middle in steps of two while the cost falls;
// cost(shift) along one axis.
template <class Cost>
int32_t walk(Cost cost)
{
    const int64_t still = cost(0), back = cost(-1), ahead = cost(1);
    int32_t sign = 0;
    if (back < still && back < ahead)
        sign = -1;
    else if (ahead < still && ahead <= back)
        sign = 1;
    int32_t shift = sign;
    int64_t best = sign < 0 ? back : ahead;
    for (int32_t i = 0; sign != 0 && i < 10; ++i) {
        const int64_t next = cost(shift + 2 * sign);
        if (next >= best)
            break;
        best = next;
        shift += 2 * sign;
    }
    return shift;
}

}  // namespace

ozr_point estimate_motion(const std::vector<uint8_t>& reference, const std::vector<uint8_t>& current,
                          int32_t width, int32_t height)
{
    const auto pixel = [&](const std::vector<uint8_t>& frame, int32_t x, int32_t y) {
        x = std::clamp(x, 0, width - 1);
        y = std::clamp(y, 0, height - 1);
        return int32_t{frame[static_cast<size_t>(y * width + x)]};
    };
    // Sum of absolute differences over nine tenths of each side around the middle.
    const auto cost = [&](int32_t dx, int32_t dy) {
        const int32_t reach_x = width * 230 / 512, reach_y = height * 230 / 512;
        int64_t sum = 0;
        for (int32_t y = std::max(height / 2 - reach_y, 0); y <= std::min(height / 2 + reach_y, height - 1);
             ++y) {
            for (int32_t x = std::max(width / 2 - reach_x, 0); x <= std::min(width / 2 + reach_x, width - 1);
                 ++x)
                sum += std::abs(pixel(reference, x, y) - pixel(current, x + dx, y + dy));
        }
        return sum;
    };
    if (width < 1 || height < 1)
        return {0, 0};
    return {walk([&](int32_t dx) { return cost(dx, 0); }), walk([&](int32_t dy) { return cost(0, dy); })};
}

}  // namespace ozr_reference
