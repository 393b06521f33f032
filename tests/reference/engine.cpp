#include "reference/engine.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <utility>

#include "core/panorama_core.h"
#include "engine/panorama_me.h"
#include "image/panorama_util.h"
#include "reference/codes.h"
#include "reference/detection.h"

namespace ozr_reference
{

namespace
{

OZR_PRINTF(2, 3) void log(const char* function, const char* format, ...)
{
    char text[256];
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof(text), format, args);
    va_end(args);
    PanoLog(function, 0, "%s", text);
}

bool is_vertical(const PanoramaInternal* pe)
{
    return pe->direction == 3 || pe->direction == 4;
}

int32_t scale_frame(const PanoramaInternal* pe, uint8_t* small, const PanoImg* frame)
{
    PanoImg gray = {};
    PanoImg_CreateRef(&gray, small, pe->small_width, pe->small_height, pe->small_width, 0);
    if (frame->format == 0 || frame->format == 1)
        return PanoImg_ResizeGray(&gray, frame);
    return frame->format == 3 ? PanoImg_ResizeGrayYUYV(&gray, frame) : kUnsupported;
}

// Marks a slot, where there is one.
int32_t fail(PanoramaInternal* pe, int32_t index, int32_t code)
{
    if (index >= 0 && index < 10)
        pe->image_state[index] = code == kCancelled ? 5 : 4;
    return code;
}

int32_t add_frame(PanoramaInternal* pe, const PanoImg* picture, int32_t index)
{
    if (picture->format != 1)
        return kUnsupported;
    // Without a direction the held first picture comes back: it stays.
    if (picture != &pe->frames[index] && PanoImg_Clone(picture, &pe->frames[index]) < 0) {
        log("_panorama_engine_Addframe", "not enough memory for %dth.", index);
        return kOutOfMemory;
    }
    pe->frame_present[index] = 1;
    return 0;
}

// The core gets a picture turned; or as it is, copied where its record owns less than it describes.
int32_t give_to_core(PanoramaInternal* pe, const PanoImg* picture, int32_t index, int32_t x, int32_t y)
{
    const bool turns = is_vertical(pe);
    if (!turns && (picture->data == nullptr || picture->stride < picture->width))
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
    if (picture->width != pe->ref_width) {
        x *= picture->width;
        y *= picture->height;
        if (x != static_cast<int32_t>(x) || y != static_cast<int32_t>(y) || pe->ref_width == 0)
            return kBad;
        x /= pe->ref_width;
        y /= pe->ref_height;
    }
    return pe->direction == 0
               ? add_frame(pe, picture, index)
               : give_to_core(pe, picture, index, static_cast<int32_t>(x), static_cast<int32_t>(y));
}

int32_t finish(PanoramaInternal* pe, int32_t result, int32_t status)
{
    const char* const name = "panorama_engine_process_synthesis";
    log(name, "out_img size = %dx%d", pe->out_img.width, pe->out_img.height);
    log(name, "return = %d", result);
    pe->status = status;
    log(name, "process_synthesis end pe->status = %d ", status);
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
    log("panorama_engine_init", "panorama_engine_init() status = %d", pe->status);
    release(pe);
    PanoramaInternal fresh = {};
    panorama_core_create(&fresh.core);
    panorama_core_set_param(fresh.core, 0, 70);
    std::copy(pe->frames, pe->frames + 10, fresh.frames);
    fresh.out_img = pe->out_img;
    fresh.strict_mode = pe->strict_mode;
    fresh.status = 1;
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
        pe->overlap = fraction_of(value);
        pe->max_images = pictures_for(pe->overlap);
        panorama_core_set_param(pe->core, 0, static_cast<uint32_t>(value));
    }
    return 0;
}

int32_t get_param(PanoramaInternal* pe, int32_t id)
{
    const int32_t values[] = {pe->strict_mode, pe->max_images, percent_of(pe->overlap)};
    return id >= 0 && id <= 2 ? values[id] : kUnsupported;
}

int32_t start_capture(PanoramaInternal* pe, const PanoImg* first)
{
    if (first == nullptr || first->data == nullptr)
        return kNull;
    if (pe->status != 1)
        return kWrongState;
    if (!is_measurable(*first))
        return kBad;
    const int32_t longer = first->width > first->height ? first->width : first->height;
    const float scale = 320.0F / static_cast<float>(longer);
    const int32_t width = static_cast<int32_t>(scale * static_cast<float>(first->width)),
                  height = static_cast<int32_t>(scale * static_cast<float>(first->height));
    if (width < 1 || height < 1)
        return kBad;
    pe->direction = pe->offset_x = pe->offset_y = 0;
    pe->small_width = width;
    pe->small_height = height;
    pe->inv_scale = 1.0F / scale;
    pe->tolerance = pe->strict_mode != 0 ? 0.05F : 0.02F;
    refer_to(pe, first->width, first->height);
    PanoFree(pe->preview_prev);
    PanoFree(pe->preview_cur);
    pe->preview_prev = static_cast<uint8_t*>(PanoMalloc(static_cast<uint32_t>(width * height)));
    pe->preview_cur = static_cast<uint8_t*>(PanoMalloc(static_cast<uint32_t>(width * height)));
    if (pe->preview_prev == nullptr || pe->preview_cur == nullptr)
        return kOutOfMemory;
    const int32_t result = scale_frame(pe, pe->preview_prev, first);
    if (result == 0)
        pe->status = 2;
    return result;
}

int32_t process_frame(PanoramaInternal* pe, const PanoImg* frame)
{
    if (frame == nullptr || frame->data == nullptr)
        return kNull;
    if (pe->status != 2)
        return kWrongState;
    if (pe->count >= pe->max_images) {
        pe->status = 3;
        return 0;
    }
    if (!is_measurable(*frame))
        return kBad;
    const int32_t scaled = scale_frame(pe, pe->preview_cur, frame);
    if (scaled < 0)
        return scaled;
    ozr_point shift = {0, 0};
    if (frame->width == pe->ref_width) {
        MotionEstimate(pe->preview_prev, pe->preview_cur, pe->small_width, pe->small_height, &shift.x,
                       &shift.y);
    } else {
        refer_to(pe, frame->width, frame->height);
        const float scale = static_cast<float>(pe->small_width) / static_cast<float>(frame->width);
        pe->inv_scale = 1.0F / scale;
    }
    std::swap(pe->preview_prev, pe->preview_cur);
    add_motion(pe, shift);
    if (pe->direction == 0) {
        pe->direction = direction_of(*pe);
        const char* const names[] = {"", "RIGHT", "LEFT", "DOWN", "UP"};
        if (pe->direction != 0)
            log("panorama_engine_process_frame", "direction = PANO_DIR_%s", names[pe->direction]);
    }
    return is_due(*pe) ? 1 : 0;
}

int32_t prepare_stitch(PanoramaInternal* pe)
{
    if (pe->status != 1 && pe->status != 2)
        return kWrongState;
    if (pe->count >= pe->max_images)
        return kFull;
    pe->image_state[pe->count] = 1;
    return pe->count++;
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
    pe->image_state[index] = 2;
    pe->offsets[index] = *offset;
    if (index == 1) {
        const bool along_x = pe->direction == 1 || pe->direction == 2;
        const int32_t forward = pe->direction == 1 || pe->direction == 4 ? 1 : 0;
        panorama_core_init(pe->core, forward, along_x ? picture->width : picture->height,
                           along_x ? picture->height : picture->width,
                           along_x ? picture->stride : picture->height);
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
    pe->image_state[index] = 3;
    return pe->count;
}

int32_t stop_capture(PanoramaInternal* pe)
{
    if (pe->status != 2 && pe->status != 3)
        return kWrongState;
    pe->status = 3;
    return 0;
}

int32_t process_synthesis(PanoramaInternal* pe, const void* logged_block)
{
    const char* const name = "panorama_engine_process_synthesis";
    log(name, "process_synthesis()");
    int32_t usable = 0;
    for (int32_t i = 0; i < std::min(pe->count, 10); ++i)
        usable += pe->image_state[i] == 3 ? 1 : 0;
    if (pe->status != 3 || usable == 0) {
        pe->status = 6;
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
            log(name, "bitmap create err : %d", created);
            pe->status = 6;
            return created;
        }
        PanoImg_CopyEx(&pe->out_img, only, 0, 0);
        PanoImg_Destroy(only);
        pe->frame_present[0] = 0;
        pe->status = 4;
        return 0;
    }
    if (pe->cancel_requested != 0)
        return finish(pe, kCancelled, 5);
    PanoImg composed = {};
    int32_t result = panorama_core_panorama(pe->core, usable, &composed);
    if (result >= 0 && pe->cancel_requested != 0)
        result = kCancelled;
    if (result < 0) {
        PanoImg_Destroy(&composed);
        return finish(pe, result, result == kCancelled ? 5 : 6);
    }
    const bool turns = is_vertical(pe);
    const int32_t created =
        PanoImg_CreateAligned(&pe->out_img, turns ? composed.height : composed.width,
                              turns ? composed.width : composed.height, composed.format, &pe->out_raw);
    log(name, "Original Pointer : 0x%X", static_cast<uint32_t>(reinterpret_cast<uintptr_t>(logged_block)));
    if (turns && created == 0)
        PanoImg_RotateCW270(&pe->out_img, &composed);
    else if (created == 0)
        PanoMemcpy(pe->out_img.data, composed.data, static_cast<uint32_t>(composed.size));
    PanoImg_Destroy(&composed);
    return finish(pe, created, created < 0 ? 6 : 4);
}

int32_t cancel_process(PanoramaInternal* pe)
{
    const char* const name = "panorama_engine_cancel_process";
    log(name, "panorama_engine_cancel_process() status = %d", pe->status);
    if (pe->status != 2 && pe->status != 3)
        return pe->status == 5 ? 0 : kWrongState;
    pe->cancel_requested = 1;
    panorama_core_request_cancel_async(pe->core);
    PanoSleep(1);
    for (int32_t i = 0; i < pe->count; ++i) {
        for (int32_t look = 0; look < 100 && pe->image_state[i] == 2; ++look)
            PanoSleep(1);
        if (pe->image_state[i] == 2)
            return kNoEnd;
    }
    for (int32_t look = 0; look < 100 && pe->status == 3; ++look) {
        log(name, "wait canceling synthesis process....");
        PanoSleep(1);
    }
    if (pe->status == 3)
        return kNoEnd;
    log(name, "canceled synthesis process.");
    pe->cancel_requested = 0;
    return pe->status == 5 ? 0 : kWrongState;
}

int32_t cancel_process_async(PanoramaInternal* pe)
{
    log("panorama_engine_cancel_process_async", "panorama_engine_cancel_process() status = %d", pe->status);
    if (pe->status == 2 || pe->status == 3) {
        pe->cancel_requested = 1;
        panorama_core_request_cancel_async(pe->core);
    }
    return 0;
}

int32_t check_ready_to_destroy(PanoramaInternal* pe)
{
    if (pe->status != 2 && pe->status != 3)
        return 0;
    for (int32_t i = 0; i < std::min(pe->count, 10); ++i) {
        if (pe->image_state[i] == 2)
            return kNotThere;
    }
    return pe->status == 3 ? kStillRunning : 0;
}

}  // namespace ozr_reference
