// The engine contexts of sessions, and their comparison.
#ifndef CONTEXTS_H
#define CONTEXTS_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "core/panorama_core.h"
#include "engine/panorama_engine.h"
#include "session/panorama.h"
#include "support/pictures.h"

// The session behind a handle: its pointer follows the public part.
inline panorama_t* session_of(const ozr_panorama* pano)
{
    panorama_t* session = nullptr;
    memcpy(&session, pano + 1, sizeof(session));
    return session;
}

// The words of a context that are not buffers, for comparing and for reading.
inline std::string words(const PanoramaInternal& s)
{
    std::ostringstream text;
    text << std::hexfloat;
    text << "direction " << s.direction << " offset " << s.motion.x << "," << s.motion.y << " status "
         << s.status << " count " << s.count << " of " << s.max_images << "\noverlap " << s.overlap
         << " tolerance " << s.tolerance << " strict " << int32_t{s.strict_mode} << " cancel "
         << int32_t{s.cancel_requested} << "\nreference " << s.reference.width << "x" << s.reference.height
         << " small " << s.small.width << "x" << s.small.height << " inverse " << s.inv_scale
         << "\nthreshold " << s.direction_threshold << " target " << s.target.x << "," << s.target.y
         << " tolerance " << s.target_tolerance.x << "," << s.target_tolerance.y << "\n";
    for (int32_t i = 0; i < kMaxPictures; ++i)
        text << "slot " << i << ": " << s.image_state[i] << " present " << int32_t{s.frame_present[i]}
             << " offset " << s.offsets[i].x << "," << s.offsets[i].y << "\n";
    return text.str();
}

inline void expect_same_picture(const PanoImg& got, const PanoImg& want)
{
    ASSERT_EQ(fields(got), fields(want));
    const size_t bytes = got.data != nullptr ? static_cast<size_t>(got.size) : 0;
    EXPECT_TRUE(std::equal(got.data, got.data + bytes, want.data));
}

inline void expect_same_core(const PanoramaCore& got, const PanoramaCore& want)
{
    const auto values = [](const PanoramaCore& c) {
        std::vector<int32_t> all = {c.initialised,  c.overlap,  c.forward,    c.input.width, c.input.height,
                                    c.input.stride, c.g_nCount, c.mean_score, c.cancel};
        for (int32_t i = 0; i < kMaxPictures; ++i)
            all.insert(all.end(), {c.offsets[i].x, c.offsets[i].y, c.offsets[i].score, c.added[i],
                                   c.aligned[i], c.align[i].pyramid != nullptr});
        return all;
    };
    EXPECT_EQ(values(got), values(want));
    for (int32_t i = 0; i < kMaxPictures; ++i)
        expect_same_picture(got.frames[i], want.frames[i]);
}

inline void expect_same(const PanoramaInternal& got, const PanoramaInternal& want)
{
    ASSERT_EQ(words(got), words(want));
    for (int32_t i = 0; i < kMaxPictures; ++i)
        expect_same_picture(got.frames[i], want.frames[i]);
    expect_same_picture(got.out_img, want.out_img);
    EXPECT_EQ(got.out_raw != nullptr, got.out_img.data != nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(got.out_img.data) % 4096, 0U);
    expect_same_core(*got.core, *want.core);
    EXPECT_EQ(got.preview_prev != nullptr, want.preview_prev != nullptr);
    EXPECT_EQ(got.preview_cur != nullptr, want.preview_cur != nullptr);
    const int32_t small = got.status == kStatusCapturing ? got.small.width * got.small.height : 0;
    EXPECT_TRUE(std::equal(got.preview_prev, got.preview_prev + small, want.preview_prev));
}

#endif
