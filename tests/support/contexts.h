// The engine contexts of sessions, and their comparison.
#ifndef CONTEXTS_H
#define CONTEXTS_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <sstream>
#include <string>

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
    const auto put = [&text](const char* names, auto... values) {
        text << names << std::hexfloat;
        ((text << ' ' << values), ...) << '\n';
    };
    put("direction, motion", s.direction, s.motion.x, s.motion.y);
    put("status, count, most", s.status, s.count, s.max_images);
    put("overlap, tolerance, scale", s.overlap, s.tolerance, s.inv_scale);
    put("strict, cancel", int32_t{s.strict_mode}, int32_t{s.cancel_requested});
    put("reference, small", s.reference.width, s.reference.height, s.small.width, s.small.height);
    put("threshold, target", s.direction_threshold, s.target.x, s.target.y);
    put("tolerance of the target", s.target_tolerance.x, s.target_tolerance.y);
    for (int32_t i = 0; i < kMaxPictures; ++i)
        put("state, present, offset", s.image_state[i], int32_t{s.frame_present[i]}, s.offsets[i].x,
            s.offsets[i].y);
    return text.str();
}

inline void expect_same_picture(const PanoImg& got, const PanoImg& want)
{
    ASSERT_EQ(fields(got), fields(want));
    const size_t bytes = got.data != nullptr ? static_cast<size_t>(got.size) : 0;
    EXPECT_TRUE(std::equal(got.data, got.data + bytes, want.data));
}

// Compares runs of words without the gaps between them, whose bytes are undefined.
inline void expect_same_words(const PanoramaCore& is, const PanoramaCore& want)
{
    const auto same = [&](const void* from, const void* to) {
        const char *const begin = static_cast<const char*>(from), *const end = static_cast<const char*>(to);
        const ptrdiff_t at = begin - reinterpret_cast<const char*>(&is);
        return std::equal(begin, end, reinterpret_cast<const char*>(&want) + at);
    };
    EXPECT_TRUE(same(&is, &is.initialised + 1)) << "score, state";
    EXPECT_TRUE(same(&is.overlap, &is.forward + 1)) << "search";
    EXPECT_TRUE(same(is.offsets, is.aligned + kMaxPictures)) << "results and flags";
    EXPECT_TRUE(same(&is.input, &is.cancel + 1)) << "geometry and counts";
}

inline void expect_same_core(const PanoramaCore& got, const PanoramaCore& want)
{
    expect_same_words(got, want);
    for (int32_t i = 0; i < kMaxPictures; ++i) {
        EXPECT_EQ(got.align[i].pyramid != nullptr, want.align[i].pyramid != nullptr);
        expect_same_picture(got.frames[i], want.frames[i]);
    }
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
