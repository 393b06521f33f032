// Sweeps through the public interface, call by call, in front of the noise texture.
#ifndef SWEEPS_H
#define SWEEPS_H

#include <cstring>
#include <memory>
#include <vector>

#include "ozr_panorama.h"
#include "session/panorama.h"
#include "support/engines.h"

// The session behind a handle: its pointer follows the public part.
inline panorama_t* session_of(const ozr_panorama* pano)
{
    panorama_t* session = nullptr;
    memcpy(&session, pano + 1, sizeof(session));
    return session;
}

// Three pictures and a preview frame of another shape.
class NoiseSweep
{
public:
    enum Step { kSet, kFirst, kPreview, kSecond, kThird, kRun, kSteps };

    NoiseSweep(int32_t direction, int32_t width, int32_t height)
        : params_{70, static_cast<ozr_panorama_direction>(direction)}, preview_(width, height * 3 / 4, 0, 0)
    {
        const int32_t sign = direction == kDirectionRight || direction == kDirectionDown ? 1 : -1;
        step_ =
            ozr::is_vertical(direction) ? ozr_point{0, sign * height / 4} : ozr_point{sign * width / 4, 0};
        for (int32_t i = 0; i < 3; ++i)
            pictures_.push_back(std::make_unique<NoisePicture>(width, height, i * step_.x, i * step_.y));
    }

    ozr_err call(ozr_panorama* pano, int32_t step)
    {
        if (step == kSet)
            return ozr_panorama_set_parameters(pano, &params_);
        if (step == kRun)
            return ozr_panorama_run(pano, &panorama_);
        const size_t taken = step < kPreview ? 0 : static_cast<size_t>(step - kPreview);
        ozr_image picture = pictures_[taken]->as_public(ozr_image_format_nv12);
        if (step != kPreview)
            return ozr_panorama_stitch_one_image(pano, &picture, &step_);
        const ozr_image frame = preview_.as_public(ozr_image_format_nv12);
        ozr_point offset = {};
        ozr_panorama_direction direction = ozr_panorama_direction_auto;
        return ozr_panorama_detect_frame_to_stitch(pano, &frame, &offset, &direction);
    }

    // The panorama of a whole sweep; empty when a call fails.
    std::vector<uint8_t> whole(ozr_panorama* pano)
    {
        for (int32_t step = 0; step < kSteps; ++step) {
            if (call(pano, step) < 0)
                return {};
        }
        return {panorama_.data, panorama_.data + panorama_.size};
    }

private:
    ozr_panorama_parameters params_;
    ozr_point step_ = {};
    std::vector<std::unique_ptr<NoisePicture>> pictures_;
    NoisePicture preview_;
    ozr_image panorama_ = {};
};

#endif
