// Capture: opens a sweep, accepts its pictures, and closes it. The engine holds the first picture
// until the second one arrives, because the core cannot be set up before the direction is known;
// every later picture goes to the core at once.
#include <algorithm>

#include "core/panorama_core.h"
#include "engine/panorama_engine.h"
#include "image/pano_result.h"
#include "image/panorama_util.h"
#include "ozr_memory.h"

using namespace ozr;
using namespace ozr::engine;

namespace
{

constexpr float kSmallSide = 320.0F;  // longer side of the scaled preview

bool _is_open(const PanoramaInternal* pe)
{
    return pe->status == kStatusIdle || pe->status == kStatusCapturing;
}

void _set_small_size(PanoramaInternal* pe, int32_t width, int32_t height)
{
    const float scale = kSmallSide / static_cast<float>(width > height ? width : height);
    pe->inv_scale = 1.0F / scale;
    pe->small.width = static_cast<int32_t>(scale * static_cast<float>(width));
    pe->small.height = static_cast<int32_t>(scale * static_cast<float>(height));
}

PanoResult _allocate_previews(PanoramaInternal* pe)
{
    const uint32_t pixels = static_cast<uint32_t>(pe->small.width * pe->small.height);
    // Left over from a start that failed after it had allocated them.
    ozr_free(pe->preview_prev);
    ozr_free(pe->preview_cur);
    pe->preview_prev = static_cast<uint8_t*>(ozr_malloc(pixels));
    pe->preview_cur = static_cast<uint8_t*>(ozr_malloc(pixels));
    return pe->preview_prev != nullptr && pe->preview_cur != nullptr ? kPanoSuccess : kPanoNoMemory;
}

// Writes the state of a slot that exists.
void _mark(PanoramaInternal* pe, int32_t index, PanoSlotState state)
{
    if (index >= 0 && index < kMaxPictures)
        pe->image_state[index] = state;
}

PanoResult _fail(PanoramaInternal* pe, int32_t index, PanoResult result)
{
    _mark(pe, index, result == kPanoCancelled ? kSlotCancelled : kSlotFailed);
    return result;
}

// Keeps a copy of a picture in the engine.
PanoResult _panorama_engine_Addframe(PanoramaInternal* pe, const PanoImg* picture, int32_t index)
{
    if (pe == nullptr || picture == nullptr || index < 0 || index >= kMaxPictures)
        return kPanoBadArgument;
    if (picture->format != kPanoNv12)
        return kPanoNotSupported;
    // While the direction is undecided, this may be the first picture that is already held.
    if (picture != &pe->frames[index] && PanoImg_Clone(picture, &pe->frames[index]) < 0) {
        PanoLog("_panorama_engine_Addframe", __LINE__, "not enough memory for %dth.", index);
        return kPanoNoMemory;
    }
    pe->frame_present[index] = 1;
    return kPanoSuccess;
}

// Converts an offset from pixels of the reference size to pixels of the picture.
PanoResult _scale_offset(const PanoramaInternal* pe, const PanoImg* picture, ozr_point* offset)
{
    if (picture->width == pe->reference.width)
        return kPanoSuccess;
    const int64_t x = int64_t{offset->x} * picture->width;
    const int64_t y = int64_t{offset->y} * picture->height;
    if (pe->reference.width < 1 || pe->reference.height < 1 || !fits_32_bits(x) || !fits_32_bits(y))
        return kPanoBadArgument;
    *offset = {static_cast<int32_t>(x) / pe->reference.width, static_cast<int32_t>(y) / pe->reference.height};
    return kPanoSuccess;
}

// Vertical sweeps are stitched as horizontal ones: the picture and its offset make a quarter turn
// clockwise.
PanoResult _turn(PanoImg* turned, const PanoImg* picture, ozr_point* offset)
{
    if (offset->y == INT32_MIN)
        return kPanoBadArgument;
    PANO_FORWARD(PanoImg_Create(turned, picture->height, picture->width, kPanoNv12));
    PANO_FORWARD(PanoImg_RotateCW90(turned, picture));
    *offset = {-offset->y, offset->x};
    return kPanoSuccess;
}

// The core only reads a picture, so it gets the caller's own; a record that owns less than its
// geometry says is filled up with zeros in a copy.
PanoResult _add_straight(PanoramaInternal* pe, const PanoImg* picture, int32_t index, ozr_point offset)
{
    if (picture->data == nullptr || picture->size < 0)
        return kPanoBadArgument;
    PanoImg lent = {};
    PANO_FORWARD(PanoImg_CreateRef(&lent, picture->data, picture->width, picture->height, picture->stride,
                                   picture->format));
    if (picture->size >= lent.size)
        return core::add_lent(pe->core, &lent, index, offset.x, offset.y);
    PanoImgOwner copy;
    PANO_FORWARD(PanoImg_Clone(picture, copy.get()));
    return as_result(panorama_core_add_input(pe->core, copy.get(), index, offset.x, offset.y));
}

// Hands a picture to the core, turned for vertical sweeps.
PanoResult _panorama_engine_AddImgIncr(PanoramaInternal* pe, const PanoImg* picture, int32_t index)
{
    if (pe == nullptr || picture == nullptr || index < 0 || index >= kMaxPictures)
        return kPanoBadArgument;
    if (picture->format != kPanoNv12)
        return kPanoNotSupported;
    ozr_point offset = pe->offsets[index];
    PANO_FORWARD(_scale_offset(pe, picture, &offset));
    if (is_vertical(pe->direction)) {
        PanoImgOwner turned;
        PANO_FORWARD(_turn(turned.get(), picture, &offset));
        return as_result(panorama_core_add_input(pe->core, turned.get(), index, offset.x, offset.y));
    }
    if (pe->direction == kDirectionRight || pe->direction == kDirectionLeft)
        return _add_straight(pe, picture, index, offset);
    return _panorama_engine_Addframe(pe, picture, index);
}

// Sets the core up for pictures of this geometry.
PanoResult _set_up_core(PanoramaInternal* pe, const PanoImg* picture)
{
    const int32_t forward = pe->direction == kDirectionRight || pe->direction == kDirectionUp ? 1 : 0;
    const bool turns = pe->direction != kDirectionRight && pe->direction != kDirectionLeft;
    return turns ? core::prepare(pe->core, forward, picture->height, picture->width, picture->height)
                 : core::prepare(pe->core, forward, picture->width, picture->height, picture->stride);
}

// The second picture of a sweep brings the first one into the core.
PanoResult _hand_over_first(PanoramaInternal* pe)
{
    const PanoResult handed_over = _panorama_engine_AddImgIncr(pe, &pe->frames[0], 0);
    PanoImg_Destroy(&pe->frames[0]);
    pe->frame_present[0] = 0;
    return handed_over;
}

}  // namespace

int32_t panorama_engine_start_capture(PanoramaInternal* pe, const PanoImg* first)
{
    if (pe == nullptr || first == nullptr || first->data == nullptr)
        return kPanoNullArgument;
    if (pe->status != kStatusIdle)
        return kPanoWrongState;
    if (!can_measure(first))
        return kPanoBadArgument;
    pe->direction = kDirectionUndecided;
    pe->motion = {0, 0};
    pe->tolerance = pe->strict_mode != 0 ? kStrictTolerance : kTolerance;
    set_reference(pe, first->width, first->height);
    _set_small_size(pe, first->width, first->height);
    if (pe->small.width < 1 || pe->small.height < 1)
        return kPanoBadArgument;
    PANO_FORWARD(_allocate_previews(pe));
    PANO_FORWARD(scale_preview(pe, pe->preview_prev, first));
    pe->status = kStatusCapturing;
    return kPanoSuccess;
}

int32_t panorama_engine_prepare_stitch(PanoramaInternal* pe)
{
    if (pe == nullptr)
        return kPanoBadArgument;
    if (!_is_open(pe))
        return kPanoWrongState;
    if (pe->count >= pe->max_images)
        return kPanoTooManyPictures;
    const int32_t index = pe->count;
    pe->image_state[index] = kSlotReserved;
    pe->count = index + 1;
    return index;
}

int32_t panorama_engine_set_image(PanoramaInternal* pe, const PanoImg* picture, int32_t index,
                                  const ozr_point* offset)
{
    if (picture == nullptr || offset == nullptr || pe == nullptr)
        return kPanoNullArgument;
    if (pe->cancel_requested != 0)
        return _fail(pe, index, kPanoCancelled);
    if (index < 0 || index >= std::min(pe->max_images, kMaxPictures))
        return _fail(pe, index, kPanoBadArgument);
    if (!_is_open(pe) || pe->image_state[index] != kSlotReserved)
        return _fail(pe, index, kPanoWrongState);
    pe->image_state[index] = kSlotAdding;
    pe->offsets[index] = *offset;
    // Read now: once the slot leaves its state, a reset may follow.
    const int32_t count = pe->count;
    PanoResult result = kPanoSuccess;
    if (index == 1) {
        // A core that could not be set up refuses the first picture.
        ignore(_set_up_core(pe, picture));
        if (pe->frame_present[0] == 0)
            // Kept: the slot stays kSlotAdding, so cancellations time out until init.
            return kPanoPictureBusy;
        result = _hand_over_first(pe);
    }
    if (result >= 0)
        result = index == 0 ? _panorama_engine_Addframe(pe, picture, 0)
                            : _panorama_engine_AddImgIncr(pe, picture, index);
    if (result < 0)
        return _fail(pe, index, result);
    pe->image_state[index] = kSlotAdded;
    return count;
}

int32_t panorama_engine_stop_capture(PanoramaInternal* pe)
{
    if (pe == nullptr)
        return kPanoNullArgument;
    if (pe->status == kStatusStopped)
        return kPanoSuccess;
    if (pe->status != kStatusCapturing)
        return kPanoWrongState;
    pe->status = kStatusStopped;
    return kPanoSuccess;
}
