// The exported interface: checks arguments and the handle, forwards to the session and logs what
// fails. No image work.
#include "ozr_panorama.h"

#include <memory>
#include <new>

#include "engine/panorama_engine.h"
#include "ozr_log.h"
#include "ozr_memory.h"
#include "session/calls.h"
#include "session/handle.h"
#include "session/panorama.h"
#include "session/quality.h"
#include "support/ozr_chain.h"

using namespace ozr::session;

#if UINTPTR_MAX == UINT32_MAX
static_assert(sizeof(ozr_config) == 56 && offsetof(ozr_config, engine_type) == 20 &&
                  offsetof(ozr_config, log_debug) == 36 && offsetof(ozr_config, reserved_end) == 52,
              "fourteen 32-bit words");
static_assert(sizeof(ozr_panorama) == 28 && offsetof(ozr_panorama, max_supported_num_images) == 12,
              "the six public fields");
static_assert(sizeof(ozr_panorama_internal_t) == 32, "the public fields, then the session");
#endif
static_assert(sizeof(ozr_version) == 8 && sizeof(ozr_point) == 8 && sizeof(ozr_panorama_parameters) == 8,
              "two 32-bit words");

namespace
{

#define OZR_TEXT(number) #number
#define OZR_VERSION_TEXT(major, minor, patch, revision)                                                      \
    OZR_TEXT(major) "." OZR_TEXT(minor) "." OZR_TEXT(patch) "-" OZR_TEXT(revision)
constexpr char kBanner[] = "OZR " OZR_VERSION_TEXT(OZR_VERSION_MAJOR, OZR_VERSION_MINOR, OZR_VERSION_PATCH,
                                                   OZR_VERSION_REVISION) " - Panorama 1.2.0-OPT2.0";
#undef OZR_VERSION_TEXT
#undef OZR_TEXT

constexpr ozr_config kDefaultConfig = {
    {OZR_VERSION_MAJOR, OZR_VERSION_MINOR, OZR_VERSION_PATCH, OZR_VERSION_REVISION},
    kBanner,
    nullptr,
    nullptr,
    0,
    0,
    {0, 0},
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    0};

constexpr int32_t kOverlapRange = 20;  // percent to either side of the default
constexpr int32_t kMaxOverlap = 100;

struct DestroyHandle {
    void operator()(ozr_panorama_internal_t* handle) const { ozr_panorama_destroy(handle); }
};
using HandleOwner = std::unique_ptr<ozr_panorama_internal_t, DestroyHandle>;

bool _is_supported(const ozr_config* config)
{
    const ozr_version& version = config->version;
    return version.major == OZR_VERSION_MAJOR && version.minor == OZR_VERSION_MINOR &&
           version.patch == OZR_VERSION_PATCH &&
           (config->engine_resource != nullptr || config->engine_type != 1) &&
           (config->aux_resource != nullptr || config->aux_type != 1) &&
           (config->engine_type == 0 || config->engine_type == 1);
}

ozr_err create_panorama_engine(const ozr_config* config, panorama_t** panorama)
{
    OZR_RAISE_IF(!_is_supported(config), ozr_err_not_supported);
    std::unique_ptr<panorama_t> session(new (std::nothrow_t{}) panorama_t(config));
    OZR_RAISE_IF(!session || session->engine == nullptr, ozr_err_nomem);
    *panorama = session.release();
    return ozr_success;
}

// Fills the public part of the handle, once: a later change of the parameters does not move the
// allowed range.
ozr_err update_public_info(ozr_panorama_internal_t* self, const ozr_config* config)
{
    self->version = config->version;
    self->description = config->description;
    panorama_param_t param = {};
    OZR_FORWARD(self->panorama->get_parameters(&param));
    const int32_t overlap = param.overlap_percent;
    self->default_overlapping_ratio = overlap;
    self->min_overlapping_ratio = overlap > kOverlapRange ? overlap - kOverlapRange : 0;
    self->max_overlapping_ratio =
        overlap > kMaxOverlap - kOverlapRange - 1 ? kMaxOverlap : overlap + kOverlapRange;
    self->max_supported_num_images = param.max_num_images;
    return ozr_success;
}

ozr_err check_status(const ozr_panorama_internal_t* self)
{
    return self->panorama != nullptr ? ozr_success : ozr_err_invalid_status;
}

// Compared unsigned, so a negative ratio is never in range.
ozr_err check_parameters(const ozr_panorama_internal_t* self, const ozr_panorama_parameters* params)
{
    const uint32_t ratio = static_cast<uint32_t>(params->overlapping_ratio);
    const bool in_range = ratio >= static_cast<uint32_t>(self->min_overlapping_ratio) &&
                          ratio <= static_cast<uint32_t>(self->max_overlapping_ratio);
    return in_range ? ozr_success : ozr_err_not_supported;
}

ozr_panorama_internal_t* _self_of(ozr_panorama* handle)
{
    return static_cast<ozr_panorama_internal_t*>(handle);
}

}  // namespace

// In the bodies below, the names inside forwarded calls are those of the log lines, also where they
// differ from the parameter's name.

ozr_err ozr_panorama_get_default_config(ozr_config* config)
{
    if (config == nullptr)
        return ozr_err_invalid_argument;
    ozr_memcpy_s(config, sizeof(ozr_config), &kDefaultConfig, sizeof(ozr_config));
    return ozr_success;
}

ozr_err ozr_panorama_create(const ozr_config* config, ozr_panorama** handle)
{
    OZR_RAISE_IF(handle == nullptr, ozr_err_invalid_argument);
    *handle = nullptr;  // every failure below leaves it so
    ozr_panorama_internal_t* self = nullptr;
    OZR_FORWARD_AS(self = (ozr_panorama_internal_t*)ozr_calloc(1, sizeof(ozr_panorama_internal_t)), ozr_err_nomem);
    HandleOwner owner(self);
    const ozr_config* ozr_pano_config = config != nullptr ? config : &kDefaultConfig;
    ozr_log_set_externals_from_config(ozr_pano_config);
    OZR_FORWARD(create_panorama_engine(ozr_pano_config, &self->panorama));
    OZR_FORWARD(update_public_info(self, ozr_pano_config));
    *handle = owner.release();
    return ozr_success;
}

void ozr_panorama_destroy(ozr_panorama* handle)
{
    if (handle == nullptr)
        return;
    ozr_panorama_internal_t* self = _self_of(handle);
    delete self->panorama;
    ozr_free(self);
}

ozr_err ozr_panorama_set_parameters(ozr_panorama* handle, const ozr_panorama_parameters* params)
{
    OZR_RAISE_IF(handle == nullptr || params == nullptr, ozr_err_invalid_argument);
    ozr_panorama_internal_t* self = _self_of(handle);
    const Call call(self->panorama);
    const ozr_panorama_parameters* ozr_params = params;
    OZR_FORWARD(check_status(self));
    OZR_FORWARD(check_parameters(self, ozr_params));
    panorama_param_t param = {};
    OZR_FORWARD(self->panorama->get_parameters(&param));
    param.overlap_percent = ozr_params->overlapping_ratio;
    param.direction = ozr_params->direction;
    OZR_FORWARD(self->panorama->set_parameters(&param));
    return ozr_success;
}

ozr_err ozr_panorama_get_parameters(ozr_panorama* handle, ozr_panorama_parameters* params)
{
    OZR_RAISE_IF(handle == nullptr || params == nullptr, ozr_err_invalid_argument);
    ozr_panorama_internal_t* self = _self_of(handle);
    const Call call(self->panorama);
    OZR_FORWARD(check_status(self));
    panorama_param_t param = {};
    OZR_FORWARD(self->panorama->get_parameters(&param));
    params->overlapping_ratio = param.overlap_percent;
    params->direction = param.direction;
    return ozr_success;
}

ozr_err ozr_panorama_detect_frame_to_stitch(ozr_panorama* handle, const ozr_image* preview, ozr_point* offset,
                                            ozr_panorama_direction* direction)
{
    OZR_RAISE_IF(handle == nullptr || preview == nullptr || offset == nullptr || direction == nullptr,
                 ozr_err_invalid_argument);
    ozr_panorama_internal_t* self = _self_of(handle);
    const Call call(self->panorama);
    OZR_FORWARD(check_status(self));
    const int32_t result = self->panorama->detect_frame_to_stitch(preview, offset, *direction);
    OZR_RAISE_IF(result < 0, result);
    return result;
}

ozr_err ozr_panorama_stitch_one_image(ozr_panorama* handle, ozr_image* picture, const ozr_point* offset)
{
    OZR_RAISE_IF(handle == nullptr || picture == nullptr, ozr_err_invalid_argument);
    ozr_panorama_internal_t* self = _self_of(handle);
    const Call call(self->panorama);
    ozr_image* input_image = picture;
    OZR_FORWARD(check_status(self));
    OZR_FORWARD(self->panorama->stitch_one_image(input_image, offset));
    return ozr_success;
}

ozr_err ozr_panorama_reset(ozr_panorama* handle)
{
    OZR_RAISE_IF(handle == nullptr, ozr_err_invalid_argument);
    ozr_panorama_internal_t* self = _self_of(handle);
    OZR_FORWARD(check_status(self));
    OZR_FORWARD(self->panorama->reset());
    return ozr_success;
}

ozr_err ozr_panorama_run(ozr_panorama* handle, ozr_image* output)
{
    OZR_RAISE_IF(handle == nullptr || output == nullptr, ozr_err_invalid_argument);
    ozr_panorama_internal_t* self = _self_of(handle);
    const Call call(self->panorama);
    ozr_image* output_image = output;
    OZR_FORWARD(check_status(self));
    OZR_FORWARD(self->panorama->run(output_image));
    return ozr_success;
}

ozr_err ozr_panorama_set_quality(ozr_panorama* handle, ozr_panorama_quality quality)
{
    OZR_RAISE_IF(handle == nullptr, ozr_err_invalid_argument);
    ozr_panorama_internal_t* self = _self_of(handle);
    const Call call(self->panorama);
    OZR_FORWARD(check_status(self));
    OZR_FORWARD(panorama_set_quality(self->panorama, quality));
    return ozr_success;
}

ozr_err ozr_panorama_get_joint(ozr_panorama* handle, int32_t index, ozr_panorama_joint* joint)
{
    OZR_RAISE_IF(handle == nullptr || joint == nullptr, ozr_err_invalid_argument);
    ozr_panorama_internal_t* self = _self_of(handle);
    const Call call(self->panorama);
    OZR_FORWARD(check_status(self));
    return panorama_get_joint(self->panorama, index, joint);
}

ozr_err ozr_panorama_get_camera(ozr_panorama* handle, int32_t index, ozr_panorama_camera* camera)
{
    OZR_RAISE_IF(handle == nullptr || camera == nullptr, ozr_err_invalid_argument);
    ozr_panorama_internal_t* self = _self_of(handle);
    const Call call(self->panorama);
    OZR_FORWARD(check_status(self));
    return panorama_get_camera(self->panorama, index, camera);
}
