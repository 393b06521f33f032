// Synthesis: makes the output image from the pictures of a stopped sweep. The status is written last; nothing of the
// context is used after that (docs/architecture.md, Cancellation).
#include <algorithm>

#include "core/panorama_core.h"
#include "engine/panorama_engine.h"
#include "image/pano_result.h"
#include "image/panorama_util.h"

using namespace ozr;

namespace
{

constexpr char kTag[] = "panorama_engine_process_synthesis";

int32_t _count_added(const PanoramaInternal* pe)
{
    const int32_t slots = std::clamp(pe->count.load(), 0, kMaxPictures);
    return static_cast<int32_t>(std::count(pe->image_state, pe->image_state + slots, kSlotAdded));
}

void _release_output(PanoramaInternal* pe)
{
    if (pe->out_img.data == nullptr)
        return;
    if (pe->out_raw != nullptr)
        PanoImg_DestroyAligned(&pe->out_img, &pe->out_raw);
    else
        PanoImg_Destroy(&pe->out_img);
}

void _log_output(const PanoramaInternal* pe, PanoResult result)
{
    PanoLog(kTag, __LINE__, "out_img size = %dx%d", pe->out_img.width, pe->out_img.height);
    PanoLog(kTag, __LINE__, "return = %d", result);
}

void _log_block(const PanoramaInternal* pe)
{
    PanoLog(kTag, __LINE__, "Original Pointer : 0x%X",
            static_cast<uint32_t>(reinterpret_cast<uintptr_t>(pe->out_raw)));
}

PanoResult _end(PanoramaInternal* pe, PanoResult result)
{
    PanoStatus status = kStatusComposed;
    if (result < 0)
        status = result == kPanoCancelled ? kStatusCancelled : kStatusFailed;
    pe->status = status;
    PanoLog(kTag, __LINE__, "process_synthesis end pe->status = %d ", status);
    return result;
}

PanoResult _end_failed(PanoramaInternal* pe, PanoResult result)
{
    _log_output(pe, result);
    return _end(pe, result);
}

// The panorama of a single picture is that picture.
PanoResult _copy_single(PanoramaInternal* pe)
{
    if (pe->frame_present[0] == 0)
        return _end_failed(pe, kPanoPictureBusy);
    PanoImg* held = &pe->frames[0];
    const PanoResult created =
        as_result(PanoImg_CreateAligned(&pe->out_img, held->width, held->height, held->format, &pe->out_raw));
    if (created < 0) {
        PanoLog(kTag, __LINE__, "bitmap create err : %d", created);
        pe->status = kStatusFailed;
        return created;
    }
    ignore(as_result(PanoImg_CopyEx(&pe->out_img, held, 0, 0)));  // the two have one geometry
    PanoImg_Destroy(held);
    pe->frame_present[0] = 0;
    pe->status = kStatusComposed;
    return kPanoSuccess;
}

PanoResult _compose(PanoramaInternal* pe, int32_t count, PanoImgOwner* composed)
{
    if (pe->cancel_requested != 0)
        return kPanoCancelled;
    PANO_FORWARD(core::compose(pe->core, count, composed));
    return pe->cancel_requested != 0 ? kPanoCancelled : kPanoSuccess;
}

// Pictures of vertical sweeps were turned clockwise when they were added, so the result is turned back. If only one
// picture is left of a sweep it may have odd sizes, and a turn does not write all of its chroma: the block is zero-filled.
PanoResult _compose_turned(PanoramaInternal* pe, int32_t count)
{
    PanoImgOwner composed;
    PANO_FORWARD(_compose(pe, count, &composed));
    const PanoResult created = as_result(PanoImg_CreateAligned(
        &pe->out_img, composed->height, composed->width, composed->format, &pe->out_raw));
    _log_block(pe);
    PANO_FORWARD(created);
    ignore(as_result(PanoImg_RotateCW270(&pe->out_img, composed.get())));  // sizes and formats fit
    return kPanoSuccess;
}

// The core writes into the output block itself. The engine takes it over last, when nothing can fail any more.
PanoResult _compose_straight(PanoramaInternal* pe, int32_t count)
{
    PanoImgOwner composed(PanoImgOwner::kAtPage);
    PANO_FORWARD(_compose(pe, count, &composed));
    pe->out_img = composed.release(&pe->out_raw);
    _log_block(pe);
    return kPanoSuccess;
}

}  // namespace

int32_t panorama_engine_process_synthesis(PanoramaInternal* pe)
{
    PanoLog(kTag, __LINE__, "process_synthesis()");
    if (pe == nullptr)
        return kPanoNullArgument;
    const int32_t added = pe->status == kStatusStopped ? _count_added(pe) : 0;
    if (added == 0) {
        pe->status = kStatusFailed;
        return kPanoWrongState;
    }
    _release_output(pe);
    if (added == 1)
        return _copy_single(pe);
    const PanoResult result =
        is_vertical(pe->direction) ? _compose_turned(pe, added) : _compose_straight(pe, added);
    _log_output(pe, result);
    return _end(pe, result);
}
