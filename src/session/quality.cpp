#include "session/quality.h"

#include <type_traits>

#include "engine/classic_joint.h"
#include "engine/refined_sweep.h"
#include "image/pano_result.h"
#include "support/ozr_chain.h"

namespace ozr::session
{

using refined::Sweep;

static_assert(std::is_standard_layout<SessionQuality>::value,
              "a pointer to the first member is one to the record");

ozr_config* create_quality(const ozr_config* source)
{
    auto* quality = static_cast<SessionQuality*>(ozr_malloc(sizeof(SessionQuality)));
    if (quality == nullptr)
        return nullptr;
    *quality = {*source, ozr_panorama_quality_classic, nullptr};
    return &quality->config;
}

void reset_quality(ozr_config* config)
{
    if (config == nullptr)
        return;
    auto* quality = reinterpret_cast<SessionQuality*>(config);
    delete quality->sweep;
    quality->sweep = nullptr;
    quality->quality = ozr_panorama_quality_classic;
}

PanoResult add_refined_picture(panorama_t* session, const PanoImg* picture, const ozr_point* offset)
{
    SessionQuality* quality = quality_of(session);
    if (quality->sweep == nullptr)
        quality->sweep = Sweep::create();
    if (quality->sweep == nullptr)
        return kPanoNoMemory;
    return engine::panorama_engine_add_refined(session->engine, quality->sweep, picture,
                                               session->stitched_count, offset);
}

PanoResult compose_refined(panorama_t* session)
{
    return engine::panorama_engine_compose_refined(session->engine, quality_of(session)->sweep);
}

ozr_err panorama_set_quality(panorama_t* session, ozr_panorama_quality quality)
{
    OZR_RAISE_IF(quality != ozr_panorama_quality_classic && quality != ozr_panorama_quality_refined,
                 ozr_err_not_supported);
    OZR_RAISE_IF(session->engine == nullptr || session->engine->status != kStatusIdle,
                 ozr_err_invalid_status);
    quality_of(session)->quality = quality;
    return ozr_success;
}

ozr_err panorama_get_joint(const panorama_t* session, int32_t index, ozr_panorama_joint* joint)
{
    OZR_RAISE_IF(session->engine == nullptr || session->engine->status != kStatusComposed,
                 ozr_err_invalid_status);
    ozr_panorama_joint found = {};
    const bool is_there = is_refined(session)
                              ? quality_of(session)->sweep->joint(index, &found)
                              : engine::panorama_engine_classic_joint(session->engine, index, &found);
    if (!is_there)
        return ozr_err_out_of_bound;
    *joint = found;
    return ozr_success;
}

ozr_err panorama_get_camera(const panorama_t* session, int32_t index, ozr_panorama_camera* camera)
{
    OZR_RAISE_IF(session->engine == nullptr || session->engine->status != kStatusComposed,
                 ozr_err_invalid_status);
    OZR_RAISE_IF(!is_refined(session), ozr_err_not_supported);
    ozr_panorama_camera found = {};
    if (!quality_of(session)->sweep->camera(index, &found))
        return ozr_err_out_of_bound;
    *camera = found;
    return ozr_success;
}

}  // namespace ozr::session
