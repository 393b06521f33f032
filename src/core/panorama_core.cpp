// The core context: its life, its one parameter, and the geometry of a sweep.
#include "core/panorama_core.h"

#include <algorithm>

#include "base/wrap32.h"
#include "image/pano_result.h"
#include "image/panorama_util.h"
#include "ozr_memory.h"

using namespace ozr;
using namespace ozr::core;

#if UINTPTR_MAX == UINT32_MAX
static_assert(sizeof(AlignItem) == 20 && sizeof(ProjectionInfo) == 20, "five 32-bit words");
static_assert(offsetof(PanoramaCore, frames) == 32 && offsetof(PanoramaCore, align) == 312 &&
                  offsetof(PanoramaCore, offsets) == 512 && offsetof(PanoramaCore, added) == 632 &&
                  offsetof(PanoramaCore, proj) == 652 && offsetof(PanoramaCore, width) == 672 &&
                  offsetof(PanoramaCore, cancel) == 728,
              "fields stand in interface order without gaps but those after bytes");
#endif
static_assert(sizeof(AlignResult) == 12, "three 32-bit words");

namespace
{

constexpr int32_t kDefaultOverlap = 70;  // percent
constexpr uint32_t kMaxOverlap = 100;
constexpr uint8_t kForwardUnknown = 0xFF;
constexpr int32_t kIdOverlap = 0;

constexpr double kMarginShare = 0.025;  // of the width
// The sweep may have moved up to 30 % of a width further than expected, but only 10 % less.
constexpr float kSearchBehind = 0.1F;
constexpr float kSearchAhead = 0.3F;
constexpr float kSearchAcross = 0.1F;

// Pixels times overlap percentage that the top level of the pyramid may have: the more the pictures overlap, the
// deeper the pyramid. Products wrap around in 32 bits; sizes that large are refused later on.
constexpr int32_t kTopLevelBudget = 239999;

constexpr int32_t kMostHalvings = 31;  // sizes below zero never become zero, but -1

// Bits of a pixel count beyond which partial correlation sums are shifted.
constexpr int32_t kUnshiftedBits = 11;

void _release_pictures(PanoramaCore* pi)
{
    for (int32_t i = 0; i < kMaxPictures; ++i) {
        PanoImg_Destroy(&pi->frames[i]);
        _panoFreeAlignmentItem(&pi->align[i]);
        pi->added[i] = 0;
        pi->aligned[i] = 0;
    }
}

void _store_size(PanoramaCore* pi, int32_t width, int32_t height, int32_t stride)
{
    pi->g_nCount = 0;
    pi->width = width;
    pi->half_width = width >> 1;
    pi->height = height;
    pi->half_height = height >> 1;
    pi->stride = stride;
    pi->margin = static_cast<int32_t>(width * kMarginShare);
}

void _set_pyramid_depth(PanoramaCore* pi)
{
    Wrap32 width = pi->half_width;
    Wrap32 height = pi->half_height;
    pi->levels = 0;
    pi->half = 0;
    pi->pyramid_levels = 1;
    if (!(width * height * pi->overlap > kTopLevelBudget))
        return;
    do {
        width = width >> 1;
        height = height >> 1;
        ++pi->levels;
    } while (width * height * pi->overlap > kTopLevelBudget && pi->levels < kMostHalvings);
    pi->half = 1;
    pi->pyramid_levels = pi->levels;
}

int32_t _bit_count(int32_t value)
{
    int32_t bits = 0;
    for (; value > 0; value >>= 1)
        ++bits;
    return bits;
}

void _set_work_size(PanoramaCore* pi)
{
    pi->work_width = pi->width >> pi->half;
    pi->work_height = pi->height >> pi->half;
    const Wrap32 pixels = Wrap32(pi->work_width) * pi->work_height;
    pi->ncc_shift = std::max(_bit_count(pixels.value) - kUnshiftedBits, 0);
}

void _set_search_range(PanoramaCore* pi)
{
    const float width = static_cast<float>(pi->width);
    const float height = static_cast<float>(pi->height);
    pi->search_x_min = static_cast<int32_t>(-width * kSearchBehind);
    pi->search_x_max = static_cast<int32_t>(width * kSearchAhead);
    pi->search_y_min = static_cast<int32_t>(-height * kSearchAcross);
    pi->search_y_max = static_cast<int32_t>(height * kSearchAcross);
}

}  // namespace

// Widths of 8 to 31 make a circle of radius 0, and with it a division by zero. (Below 8 there is nothing to project: the
// tables are empty and the first picture is refused.)
bool ozr::core::is_usable(const PanoramaCore* pi)
{
    if (pi->height <= 0 || pi->width <= 0 || pi->stride < 1)
        return false;
    const int32_t projected = projected_width(pi);
    const int64_t half_size = int64_t{pi->half_width} * pi->half_height;
    return (projected == 0 || projected >= 32) && product_fits_32_bits(half_size, pi->overlap) &&
           projection_fits(pi);
}

void ozr::core::_panoFreeAlignmentItem(AlignItem* item)
{
    if (item == nullptr)
        return;
    for (int32_t level = 0; level < item->pyramid_levels; ++level) {
        if (item->pyramid != nullptr)
            PanoImg_Destroy(&item->pyramid[level]);
        if (item->integrals != nullptr)
            ozr_free(item->integrals[level]);
    }
    ozr_free(item->pyramid);
    ozr_free(item->integrals);
    PanoMemset(item, 0, sizeof(AlignItem));
}

int32_t panorama_core_create(PanoramaCore** out)
{
    if (out == nullptr)
        return kPanoNullArgument;
    PanoramaCore* core = static_cast<PanoramaCore*>(ozr_calloc(1, sizeof(PanoramaCore)));
    if (core == nullptr)
        return kPanoNoMemory;
    core->initialised = 0;
    core->overlap = kDefaultOverlap;
    core->forward = kForwardUnknown;
    *out = core;
    return kPanoSuccess;
}

int32_t panorama_core_destroy(PanoramaCore* core)
{
    if (core == nullptr)
        return kPanoSuccess;
    _release_pictures(core);
    free_projection(&core->proj);
    free_factors(&core->factors);
    ozr_free(core);
    return kPanoSuccess;
}

int32_t panorama_core_set_param(PanoramaCore* core, int32_t id, uint32_t value)
{
    if (core == nullptr)
        return kPanoNullArgument;
    if (id != kIdOverlap)
        return kPanoNotSupported;
    core->overlap = value > kMaxOverlap ? kDefaultOverlap : static_cast<int32_t>(value);
    return kPanoSuccess;
}

int32_t panorama_core_get_param(PanoramaCore* core, int32_t id)
{
    if (core == nullptr)
        return kPanoNullArgument;
    return id == kIdOverlap ? core->overlap : static_cast<int32_t>(kPanoBadArgument);
}

void panorama_core_request_cancel_async(PanoramaCore* core)
{
    if (core != nullptr)
        core->cancel = 1;
}

int32_t panorama_core_init(PanoramaCore* pi, int32_t forward, int32_t width, int32_t height, int32_t stride)
{
    if (pi == nullptr)
        return kPanoNullArgument;
    pi->forward = forward != 0 ? 1 : 0;
    _release_pictures(pi);
    _store_size(pi, width, height, stride);
    _set_pyramid_depth(pi);
    _set_work_size(pi);
    // Kept: the first pointer is never filled here, so tables of an earlier sweep are replaced without being released;
    // the engine makes a new context for every sweep.
    if (pi->proj.block_offsets != nullptr && pi->proj.unused[0] != nullptr)
        free_projection(&pi->proj);
    _set_search_range(pi);
    if (!is_usable(pi))
        return kPanoBadArgument;
    PANO_FORWARD(build_projection(pi));
    pi->initialised = 1;
    return kPanoSuccess;
}
