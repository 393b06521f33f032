#include "engine/refined_sweep.h"

#include <algorithm>

#include "core/layout.h"
#include "image/pano_result.h"
#include "image/panorama_util.h"

namespace ozr::engine
{

using refined::Cancel;
using refined::PictureHint;
using refined::Sweep;

namespace
{

PanoResult _check(const PanoramaInternal* pe, const Sweep* sweep, const PanoImg* picture, int32_t index)
{
    if (pe->cancel_requested != 0)
        return kPanoCancelled;
    if (index < 0 || index >= std::min(pe->max_images, kMaxPictures))
        return kPanoBadArgument;
    if (pe->status != kStatusCapturing || pe->image_state[index] != kSlotReserved)
        return kPanoWrongState;
    if (picture->format != kPanoNv12)
        return kPanoNotSupported;
    if (sweep == nullptr || picture->data == nullptr || picture->size < 0 ||
        !pano_has_whole_rows(picture, pano_row_bytes(picture->format, picture->width)))
        return kPanoBadArgument;
    return kPanoSuccess;
}

PictureHint _hint(const PanoramaInternal* pe, const ozr_point* offset)
{
    if (offset == nullptr || pe->reference.width < 1 || pe->reference.height < 1)
        return {pe->direction, false, 0.0, 0.0};
    return {pe->direction, true, static_cast<double>(offset->x) / pe->reference.width,
            static_cast<double>(offset->y) / pe->reference.height};
}

// A record that owns less than its geometry says is filled up with zeros in a copy.
PanoResult _add(PanoramaInternal* pe, Sweep* sweep, const PanoImg* picture, const PictureHint& hint)
{
    const Cancel cancel = {&pe->cancel_requested};
    if (picture->size >= pano_geometry_size(picture))
        return sweep->add(*picture, hint, cancel);
    PanoImgOwner copy;
    PANO_FORWARD(PanoImg_Clone(picture, copy.get()));
    return sweep->add(*copy.get(), hint, cancel);
}

// The share of classic joints that are right, by the square of their correlation: off by at most 2
// percent of the picture's width or height. Straight lines through what simulated sweeps show,
// among them shaken, rolled and mistold ones: docs/quality.md. Even the best are sometimes wrong: a
// wall of windows fits itself a window further.
struct Calibration {
    double square;
    double right;
};
constexpr Calibration kCalibration[] = {{0.0, 0.0}, {0.3, 0.5}, {0.8, 0.7}, {0.9, 0.9}, {1.0, 0.97}};

// From sign(r) * r^2 in Q3.28.
float _confidence_of_score(int32_t score)
{
    const double square = score / static_cast<double>(core::kScoreOne);
    const Calibration* below = kCalibration;
    if (!(square > below->square))
        return 0.0F;
    for (const Calibration& node : kCalibration) {
        if (square < node.square) {
            const double part = (square - below->square) / (node.square - below->square);
            return static_cast<float>(below->right + part * (node.right - below->right));
        }
        below = &node;
    }
    return static_cast<float>(below->right);
}

}  // namespace

PanoResult panorama_engine_add_refined(PanoramaInternal* pe, Sweep* sweep, const PanoImg* picture,
                                       int32_t index, const ozr_point* offset)
{
    if (pe == nullptr || picture == nullptr)
        return kPanoNullArgument;
    const bool has_slot = index >= 0 && index < kMaxPictures;
    PanoResult result = _check(pe, sweep, picture, index);
    if (result >= 0) {
        pe->image_state[index] = kSlotAdding;
        result = _add(pe, sweep, picture, _hint(pe, offset));
    }
    const PanoSlotState failed = result == kPanoCancelled ? kSlotCancelled : kSlotFailed;
    if (has_slot)
        pe->image_state[index] = result < 0 ? failed : kSlotAdded;
    return result;
}

PanoResult panorama_engine_compose_refined(PanoramaInternal* pe, Sweep* sweep)
{
    if (pe == nullptr)
        return kPanoNullArgument;
    PanoResult result = kPanoWrongState;
    if (pe->status == kStatusStopped && sweep != nullptr) {
        PanoImg composed = {};
        result = sweep->compose({&pe->cancel_requested}, &composed);
        if (result >= 0) {
            pe->out_img = composed;
            pe->out_raw = composed.data;  // the block begins with the pixels
        }
    }
    pe->status = result >= 0 ? kStatusComposed : result == kPanoCancelled ? kStatusCancelled : kStatusFailed;
    return result;
}

bool panorama_engine_classic_joint(const PanoramaInternal* pe, int32_t index, ozr_panorama_joint* joint)
{
    const int32_t slots = std::clamp(pe->count.load(), 0, kMaxPictures);
    if (pe->status != kStatusComposed || index < 0 || index + 1 >= slots)
        return false;
    const PanoramaCore* core = pe->core;
    const AlignResult step = core::step_of(*core, index + 1);
    const bool vertical = is_vertical(pe->direction);  // these were turned clockwise
    // Pictures are composed from left to right, and the rightmost ones are left out.
    const int32_t last = core->forward != 0 ? index + 1 : slots - 1 - index;
    *joint = {index,
              index + 1,
              static_cast<float>(vertical ? step.y : step.x),
              static_cast<float>(vertical ? -step.x : step.y),
              -1.0F,
              _confidence_of_score(step.score),
              1.0F,
              last < core->g_nCount ? 1 : 0};
    return true;
}

}  // namespace ozr::engine
