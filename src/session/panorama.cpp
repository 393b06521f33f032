// The session: wraps public images without a copy, calls the engine, and maps its results to
// ozr_err.
#include "session/panorama.h"

#include <stdlib.h>

#include "engine/panorama_engine.h"
#include "image/pano_result.h"
#include "ozr_log.h"
#include "ozr_memory.h"
#include "ozr_platform.h"
#include "session/calls.h"
#include "session/quality.h"
#include "support/image_rows.h"
#include "support/ozr_chain.h"

using namespace ozr;
using namespace ozr::session;

#if UINTPTR_MAX == UINT32_MAX
static_assert(sizeof(panorama_t) == 24, "the table, then five words");
#endif
static_assert(sizeof(panorama_param_t) == 16, "four 32-bit words");

namespace
{

constexpr int32_t kCancelPolls = 10;
constexpr uint32_t kCancelPollMs = 100;
constexpr uint32_t kLeavePollMs = 5;

ozr_err pano_result_to_ozr_err(PanoResult result)
{
    switch (result) {
    case kPanoSuccess:
        return ozr_success;
    case kPanoNotSupported:
        return ozr_err_not_supported;
    case kPanoNullArgument:
    case kPanoBadArgument:
        return ozr_err_invalid_argument;
    case kPanoOutOfBound:
    case kPanoTooManyPictures:
        return ozr_err_out_of_bound;
    case kPanoNoMemory:
        return ozr_err_nomem;
    case kPanoCancelled:  // not ozr_err_interrupted: a caller sees a session in the wrong state
    case kPanoWrongState:
    case kPanoPictureBusy:
    case kPanoSynthesisRunning:
    case kPanoCancelTimeout:
    case kPanoCoreNotInitialised:
    case kPanoPreviousMissing:
    case kPanoPictureMissing:
        return ozr_err_invalid_status;
    default:
        return ozr_err_general;
    }
}

// Logs and returns the mapping of a failed engine step.
#define RAISE_IF_FAILED(result)                                                                              \
    do {                                                                                                     \
        const PanoResult engine_result_ = as_result(result);                                                 \
        if (engine_result_ < 0)                                                                              \
            OZR_RAISE(pano_result_to_ozr_err(engine_result_));                                               \
    } while (0)

int32_t _working_format(ozr_image_format format)
{
    switch (format) {
    case ozr_image_format_nv12:
        return kPanoNv12;
    case ozr_image_format_rgba32:
        return kPanoRgba;
    case ozr_image_format_yuy2:
        return kPanoYuyv;
    case ozr_image_format_nv21:
        return kPanoNv21;
    default:  // of yv12 only the luma plane is used, and it comes first
        return kPanoGray;
    }
}

ozr_image_format _public_format(int32_t format)
{
    switch (format) {
    case kPanoNv12:
        return ozr_image_format_nv12;
    case kPanoNv21:
        return ozr_image_format_nv21;
    case kPanoYuyv:
        return ozr_image_format_yuy2;
    case kPanoRgba:
        return ozr_image_format_rgba32;
    default:
        return ozr_image_format_gray;
    }
}

PanoImg _wrap(const ozr_image* image)
{
    return {_working_format(image->format),
            image->width,
            image->height,
            image->stride,
            image->size,
            0,
            image->data};
}

// Whether all planes of a picture fit 32 bits. Checked here, because of yv12 the engine sees only
// the first plane.
bool _is_countable(const ozr_image* image)
{
    return image_counts_bytes(image, image->stride);
}

// Engine and interface number the directions alike; any other number is undecided.
ozr_panorama_direction _known_direction(int32_t direction)
{
    const bool known = direction >= ozr_panorama_direction_right && direction <= ozr_panorama_direction_up;
    return known ? static_cast<ozr_panorama_direction>(direction) : ozr_panorama_direction_auto;
}

PanoDirection _engine_direction(const PanoramaInternal* engine)
{
    return engine != nullptr ? engine->direction : kDirectionUndecided;
}

// A share of a size in percent, truncated towards zero; exact for any 32-bit size.
int32_t _percent_of(int32_t size, int32_t percent)
{
    return static_cast<int32_t>(int64_t{percent} * size / 100);
}

// The offset of the next picture when the caller passes none: the part of a picture that does not
// overlap.
ozr_point _expected_offset(const PanoImg& picture, PanoDirection direction, int32_t overlap_percent)
{
    const int32_t ahead = 100 - overlap_percent;
    switch (direction) {
    case kDirectionRight:
        return {_percent_of(picture.width, ahead), 0};
    case kDirectionLeft:
        return {_percent_of(picture.width, -ahead), 0};
    case kDirectionDown:
        return {0, _percent_of(picture.height, ahead)};
    case kDirectionUp:
        return {0, _percent_of(picture.height, -ahead)};
    default:
        return {0, 0};
    }
}

template <class T>
void _release(T** block)
{
    ozr_free(*block);
    *block = nullptr;
}

// Creates the objects that a session owns. Failures are logged under the constructor's name.
ozr_err _build(panorama_t* session, const ozr_config* source)
{
    constexpr char kConstructor[] = "panorama_t";
    if (source == nullptr)
        return raise(ozr_err_invalid_argument, "", kConstructor, __LINE__);
    session->config = create_quality(source);
    if (session->config == nullptr)
        return raise(ozr_err_nomem, "", kConstructor, __LINE__);
    session->params = static_cast<panorama_param_t*>(ozr_malloc(sizeof(panorama_param_t)));
    if (session->params == nullptr)
        return raise(ozr_err_nomem, "", kConstructor, __LINE__);
    const PanoResult created = as_result(panorama_engine_create(&session->engine));
    if (created < 0)
        return raise(pano_result_to_ozr_err(created), "", kConstructor, __LINE__);
    panorama_param_t p = {};
    const ozr_err read = session->panorama_t::get_parameters(&p);  // fills the cache
    return read == ozr_success ? read : raise(read, "from get_parameters(&p)", kConstructor, __LINE__);
}

// Waits until no call is at work in the session, for `ms` milliseconds at most, and repeats the
// request to stop meanwhile. Returns whether the call has left. docs/architecture.md describes
// cancellation as a whole.
bool _wait_for_call(const panorama_t* session, uint32_t ms)
{
    for (uint32_t waited = 0; waited < ms && is_at_work(session); waited += kLeavePollMs) {
        ozr::engine::request_cancel(session->engine);
        ozr_platform_sleep(kLeavePollMs);
    }
    return !is_at_work(session);
}

}  // namespace

panorama_t::panorama_t(const ozr_config* source)
    : engine(nullptr), config(nullptr), params(nullptr), detected_count(0), stitched_count(0)
{
    const ozr_err error = _build(this, source);
    if (error == ozr_success)
        return;
    ozr_log_debug("error:(%d:%s) @ %s():%d", error, "error_string", __func__, __LINE__);
    _release(&config);
    _release(&params);
    panorama_engine_destroy(&engine);
}

panorama_t::~panorama_t()
{
    if (engine != nullptr) {
        if (panorama_t::cancel_processes() != ozr_success)
            ozr_log_error("Failed to cancel jobs");
        panorama_engine_destroy(&engine);
    }
    reset_quality(config);
    _release(&config);
    _release(&params);
}

ozr_err panorama_t::reset()
{
    // A reset that ran out of memory has lost the engine; the next one makes a new engine.
    OZR_RAISE_IF(params == nullptr, ozr_err_invalid_status);
    if (engine != nullptr)
        OZR_FORWARD(cancel_processes());
    const PanoResult renewed =
        as_result(engine != nullptr ? panorama_engine_init(engine) : panorama_engine_create(&engine));
    if (renewed < 0) {
        engine = nullptr;  // released by the failed step
        OZR_RAISE(pano_result_to_ozr_err(renewed));
    }
    reset_quality(config);
    detected_count = 0;
    stitched_count = 0;
    return ozr_success;
}

int32_t panorama_t::detect_frame_to_stitch(const ozr_image* preview, ozr_point* offset,
                                           ozr_panorama_direction& direction)
{
    OZR_RAISE_IF(preview == nullptr || offset == nullptr, ozr_err_invalid_argument);
    OZR_RAISE_IF(!_is_countable(preview), ozr_err_invalid_argument);
    const PanoImg frame = _wrap(preview);
    const int32_t due = panorama_engine_process_frame(engine, &frame);
    RAISE_IF_FAILED(due);
    *offset = engine->motion;
    direction = _known_direction(engine->direction);
    if (due == 0)
        return 0;
    engine->motion = {0, 0};
    // The first picture is not announced. Compared unsigned, so that a maximum of 0 sets no limit.
    if (static_cast<uint32_t>(detected_count) >= static_cast<uint32_t>(params->max_num_images) - 1U)
        return 0;
    return ++detected_count;
}

ozr_err panorama_t::stitch_one_image(ozr_image* picture, const ozr_point* offset)
{
    OZR_RAISE_IF(picture == nullptr, ozr_err_invalid_argument);
    OZR_RAISE_IF(!_is_countable(picture), ozr_err_invalid_argument);
    const PanoImg img = _wrap(picture);
    ozr_point at = {0, 0};
    if (stitched_count == 0) {
        RAISE_IF_FAILED(panorama_engine_start_capture(engine, &img));
        set_direction(params->direction);  // the start has just cleared the engine's
    } else if (!is_refined(this)) {
        OZR_RAISE_IF(_engine_direction(engine) == kDirectionUndecided, ozr_err_invalid_status);
    }
    RAISE_IF_FAILED(panorama_engine_prepare_stitch(engine));
    if (is_refined(this)) {
        RAISE_IF_FAILED(add_refined_picture(this, &img, offset));
        ++stitched_count;
        return ozr_success;
    }
    if (stitched_count > 0)
        at = offset != nullptr ? *offset : _expected_offset(img, engine->direction, params->overlap_percent);
    RAISE_IF_FAILED(panorama_engine_set_image(engine, &img, stitched_count, &at));
    ++stitched_count;
    return ozr_success;
}

ozr_err panorama_t::run(ozr_image* output)
{
    OZR_RAISE_IF(output == nullptr, ozr_err_invalid_argument);
    RAISE_IF_FAILED(panorama_engine_stop_capture(engine));
    RAISE_IF_FAILED(is_refined(this) ? compose_refined(this)
                                     : as_result(panorama_engine_process_synthesis(engine)));
    const PanoImg& img = engine->out_img;
    *output = {img.data, img.size, img.width, img.height, _public_format(img.format), img.stride, 0};
    return ozr_success;
}

ozr_err panorama_t::set_parameters(const panorama_param_t* p)
{
    // A call on a null object is refused, not crashed on. `this` is read through a volatile, and
    // this file is compiled with -fno-delete-null-pointer-checks: the compiler would otherwise drop
    // the test.
    const panorama_t* volatile session = this;
    OZR_RAISE_IF(session == nullptr || p == nullptr, ozr_err_invalid_argument);
    OZR_RAISE_IF(engine == nullptr || engine->status != kStatusIdle, ozr_err_invalid_status);
    if (p->overlap_percent != params->overlap_percent)
        RAISE_IF_FAILED(panorama_engine_set_param(engine, kParamOverlap, p->overlap_percent));
    if (get_direction() != p->direction)
        set_direction(p->direction);
    // Kept: strict mode and number of pictures are cached but not sent to the engine. Its mode and
    // its limit do not change; only the announcements stop at the cached number.
    *params = *p;
    return ozr_success;
}

ozr_err panorama_t::get_parameters(panorama_param_t* p)
{
    OZR_RAISE_IF(p == nullptr, ozr_err_invalid_argument);
    const int32_t overlap = panorama_engine_get_param(engine, kParamOverlap);
    RAISE_IF_FAILED(overlap);
    params->overlap_percent = overlap;
    const int32_t max_images = panorama_engine_get_param(engine, kParamMaxImages);
    RAISE_IF_FAILED(max_images);
    params->max_num_images = max_images;
    const int32_t strict_mode = panorama_engine_get_param(engine, kParamStrictMode);
    RAISE_IF_FAILED(strict_mode);
    params->strict_mode = strict_mode;
    // A virtual call, as a caller's would be; in the constructor it calls this class.
    params->direction = get_direction();  // NOLINT(clang-analyzer-optin.cplusplus.VirtualCall)
    *p = *params;
    return ozr_success;
}

void panorama_t::set_direction(ozr_panorama_direction d)
{
    if (engine != nullptr)
        engine->direction = static_cast<PanoDirection>(_known_direction(d));
}

ozr_panorama_direction panorama_t::get_direction()
{
    return _known_direction(_engine_direction(engine));
}

ozr_err panorama_t::cancel_processes()
{
    panorama_engine_cancel_process_async(engine);
    PanoResult ready = kPanoSuccess;
    for (int32_t i = 0; i < kCancelPolls; ++i) {
        ready = as_result(panorama_engine_check_ready_to_destroy(engine));
        if (ready == kPanoSuccess)
            return _wait_for_call(this, kCancelPolls * kCancelPollMs) ? ozr_success : ozr_err_invalid_status;
        if (is_at_work(this))
            _wait_for_call(this, kCancelPollMs);
        else
            ozr_platform_sleep(kCancelPollMs);
    }
    return pano_result_to_ozr_err(ready);
}

void* panorama_t::operator new(size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    return malloc(size);
}

void panorama_t::operator delete(void* session) noexcept
{
    free(session);
}

void panorama_t::operator delete(void* session, const std::nothrow_t& /*tag*/) noexcept
{
    free(session);
}
