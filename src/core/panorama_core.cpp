// The core context: its life, its one parameter, and the geometry of a sweep.
#include "core/panorama_core.h"

#include <algorithm>

#include "base/wrap32.h"
#include "core/projection.h"
#include "image/pano_result.h"
#include "image/panorama_util.h"
#include "ozr_memory.h"

using namespace ozr;
using namespace ozr::core;

#define OZR_IS_AT(field, bytes32, bytes64)                                                                   \
    (offsetof(PanoramaCore, field) == (sizeof(void*) == 4 ? (bytes32) : (bytes64)))
static_assert(OZR_IS_AT(initialised, 4, 4) && OZR_IS_AT(overlap, 8, 8) && OZR_IS_AT(search, 12, 12) &&
                  OZR_IS_AT(forward, 28, 28) && OZR_IS_AT(frames, 32, 32) && OZR_IS_AT(align, 312, 352) &&
                  OZR_IS_AT(offsets, 512, 672) && OZR_IS_AT(added, 632, 792) &&
                  OZR_IS_AT(aligned, 642, 802) && OZR_IS_AT(proj, 652, 816) && OZR_IS_AT(input, 672, 856) &&
                  OZR_IS_AT(g_nCount, 692, 876) && OZR_IS_AT(overlaps, 696, 880) &&
                  OZR_IS_AT(pyramid, 700, 884) && OZR_IS_AT(margin, 724, 908) &&
                  OZR_IS_AT(cancel, 728, 912) && OZR_IS_AT(projection, 732, 920),
              "fields are in interface order without gaps but those of alignment");
#undef OZR_IS_AT
static_assert(sizeof(AlignItem) == (sizeof(void*) == 4 ? 20 : 32) &&
                  sizeof(ProjectionInfo) == (sizeof(void*) == 4 ? 20 : 40),
              "a record has three words and two pointers, the other five pointers");
static_assert(offsetof(SearchRange, x_max) == 4 && offsetof(SearchRange, y_min) == 8 &&
                  offsetof(SearchRange, y_max) == 12,
              "four 32-bit words");
static_assert(offsetof(PictureGeometry, half_width) == 4 && offsetof(PictureGeometry, height) == 8 &&
                  offsetof(PictureGeometry, half_height) == 12 && offsetof(PictureGeometry, stride) == 16,
              "five 32-bit words");
static_assert(offsetof(PyramidShape, half) == 4 && offsetof(PyramidShape, built_levels) == 8 &&
                  offsetof(PyramidShape, work_width) == 12 && offsetof(PyramidShape, work_height) == 16 &&
                  offsetof(PyramidShape, ncc_shift) == 20,
              "six 32-bit words");
static_assert(sizeof(AlignResult) == 12, "three 32-bit words");

namespace
{

constexpr uint32_t kMaxOverlap = 100;
constexpr uint8_t kForwardUnknown = 0xFF;

constexpr double kMarginShare = 0.025;  // of the width
// The sweep may have moved up to 30 % of a width further than expected, but only 10 % less.
constexpr float kSearchBehind = 0.1F;
constexpr float kSearchAhead = 0.3F;
constexpr float kSearchAcross = 0.1F;

// Pixels times overlap percentage that the top level of the pyramid may have: the more the
// pictures overlap, the deeper the pyramid. Products wrap around in 32 bits; sizes that large are
// refused later on.
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
    pi->input = {width, width >> 1, height, height >> 1, stride};
    pi->margin = static_cast<int32_t>(width * kMarginShare);
}

void _set_pyramid_depth(PanoramaCore* pi)
{
    Wrap32 width = pi->input.half_width;
    Wrap32 height = pi->input.half_height;
    pi->pyramid.levels = 0;
    pi->pyramid.half = 0;
    pi->pyramid.built_levels = 1;
    if (!(width * height * pi->overlap > kTopLevelBudget))
        return;
    do {
        width = width >> 1;
        height = height >> 1;
        ++pi->pyramid.levels;
    } while (width * height * pi->overlap > kTopLevelBudget && pi->pyramid.levels < kMostHalvings);
    pi->pyramid.half = 1;
    pi->pyramid.built_levels = pi->pyramid.levels;
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
    pi->pyramid.work_width = pi->input.width >> pi->pyramid.half;
    pi->pyramid.work_height = pi->input.height >> pi->pyramid.half;
    const Wrap32 pixels = Wrap32(pi->pyramid.work_width) * pi->pyramid.work_height;
    pi->pyramid.ncc_shift = std::max(_bit_count(pixels.value) - kUnshiftedBits, 0);
}

void _set_search_range(PanoramaCore* pi)
{
    const float width = static_cast<float>(pi->input.width);
    const float height = static_cast<float>(pi->input.height);
    pi->search = {static_cast<int32_t>(-width * kSearchBehind), static_cast<int32_t>(width * kSearchAhead),
                  static_cast<int32_t>(-height * kSearchAcross),
                  static_cast<int32_t>(height * kSearchAcross)};
}

// Whether every product on the way to the source positions fits 32 bits.
bool _projection_fits(const PanoramaCore* pi)
{
    const int64_t width = projected_width(pi);
    const int64_t scale = int64_t{kernels::kPixel} * (width >> 5) * 345 / 10;
    const int64_t farthest = std::max<int64_t>(width, pi->input.height) / 2 - 1;
    const int64_t last_offset = int64_t{pi->input.height} * pi->input.stride - pi->input.stride + width;
    return product_fits_32_bits(farthest, scale) && fits_32_bits(last_offset);
}

PanoResult _renew_projection(PanoramaCore* pi)
{
    delete pi->projection;
    pi->projection = tables_fit(pi) ? Projection::create(projected_width(pi)) : nullptr;
    if (pi->projection != nullptr)
        return kPanoSuccess;
    free_projection(&pi->proj);
    return kPanoTablesNoMemory;
}

PanoResult _set_up(PanoramaCore* pi, int32_t forward, int32_t width, int32_t height, int32_t stride)
{
    if (pi == nullptr)
        return kPanoNullArgument;
    pi->forward = forward != 0 ? 1 : 0;
    _release_pictures(pi);
    _store_size(pi, width, height, stride);
    _set_pyramid_depth(pi);
    _set_work_size(pi);
    // Kept: the first pointer is never filled here, so tables of an earlier sweep are replaced
    // without being released; the engine makes a new context for every sweep.
    if (pi->proj.block_offsets != nullptr && pi->proj.unused[0] != nullptr)
        free_projection(&pi->proj);
    _set_search_range(pi);
    return is_usable(pi) ? _renew_projection(pi) : kPanoBadArgument;
}

}  // namespace

// Widths of 8 to 31 make a circle of radius 0, and with it a division by zero. (Below 8 there is
// nothing to project: the tables are empty and the first picture is refused.)
bool ozr::core::is_usable(const PanoramaCore* pi)
{
    if (pi->input.height <= 0 || pi->input.width <= 0 || pi->input.stride < 1)
        return false;
    const int32_t projected = projected_width(pi);
    const int64_t half_size = int64_t{pi->input.half_width} * pi->input.half_height;
    return (projected == 0 || projected >= 32) && product_fits_32_bits(half_size, pi->overlap) &&
           _projection_fits(pi);
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
    core->overlap = kDefaultOverlapPercent;
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
    delete core->projection;
    ozr_free(core);
    return kPanoSuccess;
}

int32_t panorama_core_set_param(PanoramaCore* core, int32_t id, uint32_t value)
{
    if (core == nullptr)
        return kPanoNullArgument;
    if (id != kCoreParamOverlap)
        return kPanoNotSupported;
    core->overlap = value > kMaxOverlap ? kDefaultOverlapPercent : static_cast<int32_t>(value);
    return kPanoSuccess;
}

int32_t panorama_core_get_param(PanoramaCore* core, int32_t id)
{
    if (core == nullptr)
        return kPanoNullArgument;
    return id == kCoreParamOverlap ? core->overlap : kPanoBadArgument;
}

void panorama_core_request_cancel_async(PanoramaCore* core)
{
    if (core != nullptr)
        core->cancel = 1;
}

int32_t panorama_core_init(PanoramaCore* pi, int32_t forward, int32_t width, int32_t height, int32_t stride)
{
    PANO_FORWARD(_set_up(pi, forward, width, height, stride));
    pi->has_tables = 1;
    PANO_FORWARD(make_tables(pi));
    pi->initialised = 1;
    return kPanoSuccess;
}

PanoResult ozr::core::prepare(PanoramaCore* pi, int32_t forward, int32_t width, int32_t height,
                              int32_t stride)
{
    PANO_FORWARD(_set_up(pi, forward, width, height, stride));
    pi->has_tables = 0;
    pi->proj.block_offsets = nullptr;
    pi->proj.weights = nullptr;
    pi->proj.chroma_map = nullptr;
    pi->initialised = 1;
    return kPanoSuccess;
}
