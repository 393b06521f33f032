// The library for JavaScript: one session, driven by functions that take and return plain numbers.
//
// A module instance holds one session, because a worker does: what it has allocated goes with its
// memory when the worker ends. A frame is written by JavaScript into memory that ozr_web_frame
// names; what a call found out is read from the record of ozr_web_answer, all of whose fields are
// 32 bits wide; why a call failed from ozr_web_chain.
#include <ozr_log.h>
#include <ozr_panorama.h>

#include "kernels/kernels.h"

#include <stdio.h>
#include <string.h>

#define OZR_WEB_EXPORT extern "C" __attribute__((used, visibility("default")))

namespace
{

enum class Use : int32_t { preview = 0, picture = 1 };

// The frame that JavaScript writes, and what the library gets of it: converted, or the same memory.
struct Frame {
    ozr_image rgba;
    ozr_image nv12;
    bool is_rgba;
};

// What the last call found out. JavaScript reads it as an array of 32-bit
// words; `numbers` are floats.
struct Answer {
    int32_t x, y;                         // of a preview: pixels since the last announced picture
    int32_t direction;                    // of a preview
    int32_t width, height, stride, size;  // of a panorama or a frame
    int32_t first, second, used;          // of a joint; `used` of a camera too
    float numbers[6];
};

constexpr size_t kChainBytes = 4096;

ozr_panorama* g_session;
Frame g_frames[2];
ozr_image g_panorama;       // the session's pixels
ozr_image g_panorama_rgba;  // ours
Answer g_answer;
char g_chain[kChainBytes];  // lines of the error log since the last call began

void _keep_line(const char* format, va_list args)
{
    const size_t used = strlen(g_chain);
    if (used + 2 >= kChainBytes)
        return;
    vsnprintf(g_chain + used, kChainBytes - used - 1, format, args);
    strcat(g_chain, "\n");
}

void _drop_line(const char*, va_list) {}

void _begin_call()
{
    g_chain[0] = '\0';
    g_answer = {};
}

Frame& _frame(Use use)
{
    return g_frames[static_cast<int32_t>(use)];
}

// The frame as the library takes it.
ozr_err _nv12(Use use, ozr_image** image)
{
    Frame& frame = _frame(use);
    *image = &frame.nv12;
    return frame.is_rgba ? ozr_image_convert_to_nv12(&frame.rgba, &frame.nv12) : ozr_success;
}

void _describe(const ozr_image& image)
{
    g_answer.width = image.width;
    g_answer.height = image.height;
    g_answer.stride = image.stride;
    g_answer.size = image.size;
}

}  // namespace

/** The kernels of this build: "wasm128" or "scalar". */
OZR_WEB_EXPORT const char* ozr_web_level()
{
    return ozr::kernels::active()->level;
}

/** The library's banner. */
OZR_WEB_EXPORT const char* ozr_web_banner()
{
    ozr_config config;
    ozr_panorama_get_default_config(&config);
    return config.description;
}

/** The record that answers are read from; its place never changes. */
OZR_WEB_EXPORT const void* ozr_web_answer()
{
    return &g_answer;
}

/** The lines of the error log since the last call began, innermost first, each
    ended by a line feed. */
OZR_WEB_EXPORT const char* ozr_web_chain()
{
    return g_chain;
}

/** Begins a session. @param quality  0 classic, 1 refined. */
OZR_WEB_EXPORT ozr_err ozr_web_create(int32_t direction, int32_t overlap, int32_t quality)
{
    _begin_call();
    ozr_config config;
    ozr_panorama_get_default_config(&config);
    config.log_error = _keep_line;
    config.log_warning = config.log_info = config.log_debug = _drop_line;
    ozr_err error = ozr_panorama_create(&config, &g_session);
    if (error != ozr_success)
        return error;
    const ozr_panorama_parameters parameters = {overlap, static_cast<ozr_panorama_direction>(direction)};
    error = ozr_panorama_set_parameters(g_session, &parameters);
    return error != ozr_success
               ? error
               : ozr_panorama_set_quality(g_session, static_cast<ozr_panorama_quality>(quality));
}

/** Memory for the next frame: width * height * 4 bytes of RGBA, or * 3 / 2 of NV12, not padded.
 *  @param use  0 a preview, 1 a picture.
 *  @return null when memory is out or the sides are not even numbers. */
OZR_WEB_EXPORT uint8_t* ozr_web_frame(int32_t use, int32_t is_rgba, int32_t width, int32_t height)
{
    _begin_call();
    if (width < 2 || height < 2 || width % 2 != 0 || height % 2 != 0)
        return nullptr;
    Frame& frame = _frame(static_cast<Use>(use));
    frame.is_rgba = is_rgba != 0;
    ozr_image* image = frame.is_rgba ? &frame.rgba : &frame.nv12;
    const ozr_image_format format = frame.is_rgba ? ozr_image_format_rgba32 : ozr_image_format_nv12;
    return ozr_image_recreate(image, width, height, width, format) == ozr_success ? image->data : nullptr;
}

/** The frame as the library gets it, converted to NV12 without padding; its geometry is the answer.
 *  @return null when memory is out. */
OZR_WEB_EXPORT const uint8_t* ozr_web_nv12(int32_t use)
{
    _begin_call();
    ozr_image* image = nullptr;
    if (_nv12(static_cast<Use>(use), &image) != ozr_success)
        return nullptr;
    _describe(*image);
    return image->data;
}

/** Follows the camera with the preview that was written. @return as
    ozr_panorama_detect_frame_to_stitch. */
OZR_WEB_EXPORT ozr_err ozr_web_preview()
{
    _begin_call();
    ozr_image* image = nullptr;
    const ozr_err error = _nv12(Use::preview, &image);
    if (error != ozr_success)
        return error;
    ozr_point offset = {0, 0};
    ozr_panorama_direction direction = ozr_panorama_direction_auto;
    const ozr_err due = ozr_panorama_detect_frame_to_stitch(g_session, image, &offset, &direction);
    g_answer.x = offset.x;
    g_answer.y = offset.y;
    g_answer.direction = direction;
    return due;
}

/** Adds the picture that was written. The offset is the one announced; without one
    it follows from the overlap. */
OZR_WEB_EXPORT ozr_err ozr_web_picture(int32_t has_offset, int32_t x, int32_t y)
{
    _begin_call();
    ozr_image* image = nullptr;
    const ozr_err error = _nv12(Use::picture, &image);
    if (error != ozr_success)
        return error;
    const ozr_point offset = {x, y};
    return ozr_panorama_stitch_one_image(g_session, image, has_offset != 0 ? &offset : nullptr);
}

/** Composes the panorama; its geometry as NV12 goes into the answer. */
OZR_WEB_EXPORT ozr_err ozr_web_run()
{
    _begin_call();
    const ozr_err error = ozr_panorama_run(g_session, &g_panorama);
    if (error == ozr_success)
        _describe(g_panorama);
    return error;
}

/** The panorama as NV12, null before ozr_web_run. */
OZR_WEB_EXPORT const uint8_t* ozr_web_panorama_nv12()
{
    return g_panorama.data;
}

/** The panorama as RGBA without padding, null before ozr_web_run and when memory is out. */
OZR_WEB_EXPORT const uint8_t* ozr_web_panorama_rgba()
{
    _begin_call();
    const ozr_image& from = g_panorama;
    ozr_image* to = &g_panorama_rgba;
    if (from.data == nullptr ||
        ozr_image_recreate(to, from.width, from.height, from.width, ozr_image_format_rgba32) != ozr_success ||
        ozr_image_convert_to_rgba(&from, to) != ozr_success)
        return nullptr;
    _describe(*to);
    return to->data;
}

/** Joint `index` into the answer: first, second, used; offset x, offset y,
    residual, confidence, gain. */
OZR_WEB_EXPORT ozr_err ozr_web_joint(int32_t index)
{
    _begin_call();
    ozr_panorama_joint joint = {};
    const ozr_err error = ozr_panorama_get_joint(g_session, index, &joint);
    g_answer.first = joint.first;
    g_answer.second = joint.second;
    g_answer.used = joint.used;
    const float numbers[] = {joint.offset_x, joint.offset_y, joint.residual, joint.confidence, joint.gain};
    memcpy(g_answer.numbers, numbers, sizeof numbers);
    return error;
}

/** Camera `index` into the answer: yaw, pitch, roll, focal length, radial term, gain. */
OZR_WEB_EXPORT ozr_err ozr_web_camera(int32_t index)
{
    _begin_call();
    ozr_panorama_camera camera = {};
    const ozr_err error = ozr_panorama_get_camera(g_session, index, &camera);
    const float numbers[] = {camera.yaw,          camera.pitch,  camera.roll,
                             camera.focal_length, camera.radial, camera.gain};
    memcpy(g_answer.numbers, numbers, sizeof numbers);
    return error;
}

/** Ends the session and frees all that was allocated. */
OZR_WEB_EXPORT void ozr_web_destroy()
{
    _begin_call();
    ozr_panorama_destroy(g_session);
    g_session = nullptr;
    g_panorama = {};
    ozr_image_destroy(&g_panorama_rgba);
    for (Frame& frame : g_frames) {
        ozr_image_destroy(&frame.rgba);
        ozr_image_destroy(&frame.nv12);
    }
}
