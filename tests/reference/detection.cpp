#include "reference/detection.h"

#include <algorithm>
#include <cstdlib>

namespace ozr_reference
{

float fraction_of(int32_t percent)
{
    return static_cast<float>(percent) / 100.0F;
}

int32_t percent_of(float fraction)
{
    return static_cast<int32_t>(100.0F * fraction);
}

int32_t pictures_for(float overlap)
{
    const float rest = 1.0F - overlap, steps = 2.734F / rest, pictures = steps + 1.5F;
    return std::min(static_cast<int32_t>(pictures), 10);
}

bool is_measurable(const PanoImg& img)
{
    const int64_t sides = int64_t{img.width} + img.height;
    return img.width > 0 && img.height > 0 && sides * sides <= INT32_MAX;
}

void refer_to(PanoramaInternal* state, int32_t width, int32_t height)
{
    const float rest = 1.0F - state->overlap;
    state->ref_width = width;
    state->ref_height = height;
    state->direction_threshold = (width + height) * (width + height) / 400;
    state->target_x = static_cast<int32_t>(rest * static_cast<float>(width));
    state->target_y = static_cast<int32_t>(rest * static_cast<float>(height));
    state->tolerance_x = static_cast<int32_t>(static_cast<float>(width) * state->tolerance);
    state->tolerance_y = static_cast<int32_t>(static_cast<float>(height) * state->tolerance);
}

void add_motion(PanoramaInternal* state, ozr_point shift)
{
    state->offset_x += static_cast<int32_t>(static_cast<float>(-shift.x) * state->inv_scale);
    state->offset_y += static_cast<int32_t>(static_cast<float>(-shift.y) * state->inv_scale);
}

int32_t direction_of(const PanoramaInternal& state)
{
    const int64_t x = state.offset_x, y = state.offset_y;
    if (x * x + y * y <= state.direction_threshold)
        return 0;
    if (std::abs(x) >= std::abs(y))
        return x > 0 ? 1 : 2;
    return y > 0 ? 3 : 4;
}

bool is_due(const PanoramaInternal& state)
{
    if (state.direction < 1 || state.direction > 4)
        return false;
    const bool along_x = state.direction <= 2, backward = state.direction % 2 == 0;
    const int64_t x = state.offset_x, y = state.offset_y, along = along_x ? x : y, across = along_x ? y : x;
    const int64_t covered = backward ? -along : along;
    const int64_t target = along_x ? state.target_x : state.target_y,
                  slack = along_x ? state.tolerance_x : state.tolerance_y,
                  drift = along_x ? state.tolerance_y : state.tolerance_x;
    if (state.strict_mode != 0)
        return covered > target - slack && covered < target + slack && std::abs(across) < drift;
    return covered > target - slack;
}

}  // namespace ozr_reference
