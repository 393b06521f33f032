#include "engine/refined_sweep.h"

#include <algorithm>

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

}  // namespace ozr::engine
