#include "reference/engine.h"

#include <algorithm>
#include <utility>

#include "core/panorama_core.h"
#include "image/panorama_util.h"
#include "reference/codes.h"

namespace ozr_reference
{

namespace
{

bool is_vertical(const PanoramaInternal* pe)
{
    return pe->direction == 3 || pe->direction == 4;
}

// Marks a slot, where there is one.
int32_t fail(PanoramaInternal* pe, int32_t index, int32_t code)
{
    if (index >= 0 && index < 10)
        pe->image_state[index] = static_cast<PanoSlotState>(code == kCancelled ? 5 : 4);
    return code;
}

int32_t add_frame(PanoramaInternal* pe, const PanoImg* picture, int32_t index)
{
    if (picture->format != 1)
        return kUnsupported;
    // Without a direction the held first picture comes back: it stays.
    if (picture != &pe->frames[index] && PanoImg_Clone(picture, &pe->frames[index]) < 0) {
        PanoLog("_panorama_engine_Addframe", 0, "not enough memory for %dth.", index);
        return kOutOfMemory;
    }
    pe->frame_present[index] = 1;
    return 0;
}

// The core gets a picture turned; or as it is, copied where its record owns less than it describes.
int32_t give_to_core(PanoramaInternal* pe, const PanoImg* picture, int32_t index, int32_t x, int32_t y)
{
    const bool turns = is_vertical(pe);
    const bool has_opposite = y != INT32_MIN;
    if (turns ? !has_opposite : picture->data == nullptr || picture->stride < picture->width)
        return kBad;
    if (!turns && picture->size >= picture->height * picture->stride * 3 / 2)
        return ozr::core::add_lent(pe->core, picture, index, x, y);
    PanoImg own = {};
    int32_t result =
        turns ? PanoImg_Create(&own, picture->height, picture->width, 1) : PanoImg_Clone(picture, &own);
    if (result == 0 && turns)
        result = PanoImg_RotateCW90(&own, picture);
    if (result == 0)
        result = panorama_core_add_input(pe->core, &own, index, turns ? -y : x, turns ? x : y);
    PanoImg_Destroy(&own);
    return result;
}

int32_t add_incremental(PanoramaInternal* pe, const PanoImg* picture, int32_t index)
{
    if (picture->format != 1)
        return kUnsupported;
    int64_t x = pe->offsets[index].x, y = pe->offsets[index].y;
    if (picture->width != pe->reference.width) {
        x *= picture->width;
        y *= picture->height;
        if (x != static_cast<int32_t>(x) || y != static_cast<int32_t>(y) || pe->reference.width == 0)
            return kBad;
        x /= pe->reference.width;
        y /= pe->reference.height;
    }
    return pe->direction == 0
               ? add_frame(pe, picture, index)
               : give_to_core(pe, picture, index, static_cast<int32_t>(x), static_cast<int32_t>(y));
}

int32_t finish(PanoramaInternal* pe, int32_t result, int32_t status)
{
    const char* const name = "panorama_engine_process_synthesis";
    PanoLog(name, 0, "out_img size = %dx%d", pe->out_img.width, pe->out_img.height);
    PanoLog(name, 0, "return = %d", result);
    pe->status = static_cast<PanoStatus>(status);
    PanoLog(name, 0, "process_synthesis end pe->status = %d ", status);
    return result;
}

}  // namespace

void release(PanoramaInternal* pe)
{
    panorama_core_destroy(pe->core);
    pe->core = nullptr;
    for (PanoImg& frame : pe->frames)
        PanoImg_Destroy(&frame);
    PanoImg_DestroyAligned(&pe->out_img, &pe->out_raw);
    PanoFree(std::exchange(pe->preview_prev, nullptr));
    PanoFree(std::exchange(pe->preview_cur, nullptr));
}

// Everything is as at first but the records of released pictures and strict mode.
int32_t init(PanoramaInternal* pe)
{
    PanoLog("panorama_engine_init", 0, "panorama_engine_init() status = %d", pe->status.load());
    release(pe);
    PanoramaInternal fresh = {};
    if (panorama_core_create(&fresh.core) < 0)
        return kOutOfMemory;
    panorama_core_set_param(fresh.core, 0, 70);
    std::copy(pe->frames, pe->frames + 10, fresh.frames);
    fresh.out_img = pe->out_img;
    fresh.strict_mode = pe->strict_mode;
    fresh.status = static_cast<PanoStatus>(1);
    fresh.overlap = 0.7F;
    fresh.tolerance = 0.02F;
    fresh.max_images = 10;
    fresh.inv_scale = 1.0F;
    *pe = fresh;
    return 0;
}

int32_t set_param(PanoramaInternal* pe, int32_t id, int32_t value)
{
    if (pe->status != 1)
        return kWrongState;
    if (id == 0)
        pe->strict_mode = value != 0 ? 1 : 0;
    else if (id == 1)
        pe->max_images = std::clamp(value, 1, 10);
    else if (id != 2 || value < 30 || value > 95)
        return kUnsupported;
    if (id == 2) {
        pe->overlap = static_cast<float>(value) / 100.0F;
        const float rest = 1.0F - pe->overlap, steps = 2.734F / rest, pictures = steps + 1.5F;
        pe->max_images = std::min(static_cast<int32_t>(pictures), 10);
        panorama_core_set_param(pe->core, 0, static_cast<uint32_t>(value));
    }
    return 0;
}

int32_t get_param(PanoramaInternal* pe, int32_t id)
{
    const int32_t values[] = {pe->strict_mode, pe->max_images, static_cast<int32_t>(100.0F * pe->overlap)};
    return id >= 0 && id <= 2 ? values[id] : kUnsupported;
}

int32_t prepare_stitch(PanoramaInternal* pe)
{
    if (pe->status != 1 && pe->status != 2)
        return kWrongState;
    if (pe->count >= pe->max_images)
        return kFull;
    pe->image_state[pe->count] = static_cast<PanoSlotState>(1);
    const int32_t index = pe->count;
    pe->count = index + 1;
    return index;
}

int32_t set_image(PanoramaInternal* pe, const PanoImg* picture, int32_t index, const ozr_point* offset)
{
    if (picture == nullptr || offset == nullptr)
        return kNull;
    if (pe->cancel_requested != 0)
        return fail(pe, index, kCancelled);
    if (index < 0 || index >= pe->max_images)
        return fail(pe, index, kBad);
    if ((pe->status != 1 && pe->status != 2) || pe->image_state[index] != 1)
        return fail(pe, index, kWrongState);
    pe->image_state[index] = static_cast<PanoSlotState>(2);
    pe->offsets[index] = *offset;
    if (index == 1) {
        const bool along_x = pe->direction == 1 || pe->direction == 2;
        const int32_t forward = pe->direction == 1 || pe->direction == 4 ? 1 : 0;
        ozr::ignore(ozr::core::prepare(pe->core, forward, along_x ? picture->width : picture->height,
                                       along_x ? picture->height : picture->width,
                                       along_x ? picture->stride : picture->height));
        if (pe->frame_present[0] == 0)
            return kNotThere;
        const int32_t result = add_incremental(pe, &pe->frames[0], 0);
        PanoImg_Destroy(&pe->frames[0]);
        pe->frame_present[0] = 0;
        if (result < 0)
            return fail(pe, index, result);
    }
    const int32_t result = index == 0 ? add_frame(pe, picture, 0) : add_incremental(pe, picture, index);
    if (result < 0)
        return fail(pe, index, result);
    pe->image_state[index] = static_cast<PanoSlotState>(3);
    return pe->count;
}

int32_t stop_capture(PanoramaInternal* pe)
{
    if (pe->status != 2 && pe->status != 3)
        return kWrongState;
    pe->status = static_cast<PanoStatus>(3);
    return 0;
}

int32_t process_synthesis(PanoramaInternal* pe, const void* logged_block)
{
    const char* const name = "panorama_engine_process_synthesis";
    PanoLog(name, 0, "process_synthesis()");
    int32_t usable = 0;
    for (int32_t i = 0; i < std::min(pe->count.load(), 10); ++i)
        usable += pe->image_state[i] == 3 ? 1 : 0;
    if (pe->status != 3 || usable == 0) {
        pe->status = static_cast<PanoStatus>(6);
        return kWrongState;
    }
    PanoImg_DestroyAligned(&pe->out_img, &pe->out_raw);
    if (usable == 1) {
        if (pe->frame_present[0] == 0)
            return finish(pe, kNotThere, 6);
        PanoImg* const only = &pe->frames[0];
        const int32_t created =
            PanoImg_CreateAligned(&pe->out_img, only->width, only->height, only->format, &pe->out_raw);
        if (created < 0) {
            PanoLog(name, 0, "bitmap create err : %d", created);
            pe->status = static_cast<PanoStatus>(6);
            return created;
        }
        PanoImg_CopyEx(&pe->out_img, only, 0, 0);
        PanoImg_Destroy(only);
        pe->frame_present[0] = 0;
        pe->status = static_cast<PanoStatus>(4);
        return 0;
    }
    if (pe->cancel_requested != 0)
        return finish(pe, kCancelled, 5);
    const bool turns = is_vertical(pe);
    ozr::PanoImgOwner owner(turns ? ozr::PanoImgOwner::kAtBlock : ozr::PanoImgOwner::kAtPage);
    int32_t result = ozr::core::compose(pe->core, usable, &owner);
    if (result >= 0 && pe->cancel_requested != 0)
        result = kCancelled;
    if (result < 0) {
        owner.reset();
        return finish(pe, result, result == kCancelled ? 5 : 6);
    }
    void* block = nullptr;
    PanoImg composed = owner.release(turns ? nullptr : &block);
    if (turns) {
        result = PanoImg_CreateAligned(&pe->out_img, composed.height, composed.width, composed.format,
                                       &pe->out_raw);
        if (result == 0)
            PanoImg_RotateCW270(&pe->out_img, &composed);
        PanoImg_Destroy(&composed);
    } else {
        pe->out_img = composed;
        pe->out_raw = block;
    }
    PanoLog(name, 0, "Original Pointer : 0x%X",
            static_cast<uint32_t>(reinterpret_cast<uintptr_t>(logged_block)));
    return finish(pe, result, result < 0 ? 6 : 4);
}

void request_cancel(PanoramaInternal* pe)
{
    if (pe->status != 2 && pe->status != 3)
        return;
    pe->cancel_requested = 1;
    panorama_core_request_cancel_async(pe->core);
}

int32_t cancel_process(PanoramaInternal* pe)
{
    const char* const name = "panorama_engine_cancel_process";
    PanoLog(name, 0, "panorama_engine_cancel_process() status = %d", pe->status.load());
    if (pe->status != 2 && pe->status != 3)
        return pe->status == 5 ? 0 : kWrongState;
    request_cancel(pe);
    PanoSleep(1);
    for (int32_t i = 0; i < pe->count; ++i) {
        for (int32_t look = 0; look < 100 && pe->image_state[i] == 2; ++look)
            PanoSleep(1);
        if (pe->image_state[i] == 2)
            return kNoEnd;
    }
    for (int32_t look = 0; look < 100 && pe->status == 3; ++look) {
        PanoLog(name, 0, "wait canceling synthesis process....");
        PanoSleep(1);
    }
    if (pe->status == 3)
        return kNoEnd;
    PanoLog(name, 0, "canceled synthesis process.");
    pe->cancel_requested = 0;
    return pe->status == 5 ? 0 : kWrongState;
}

int32_t cancel_process_async(PanoramaInternal* pe)
{
    PanoLog("panorama_engine_cancel_process_async", 0, "panorama_engine_cancel_process() status = %d",
            pe->status.load());
    request_cancel(pe);
    return 0;
}

int32_t check_ready_to_destroy(PanoramaInternal* pe)
{
    if (pe->status != 2 && pe->status != 3)
        return 0;
    for (int32_t i = 0; i < std::min(pe->count.load(), 10); ++i) {
        if (pe->image_state[i] == 2)
            return kNotThere;
    }
    return pe->status == 3 ? kStillRunning : 0;
}

}  // namespace ozr_reference
