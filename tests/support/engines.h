// Engine contexts for tests, and pictures to feed them.
#ifndef ENGINES_H
#define ENGINES_H

#include "core/panorama_core.h"
#include "engine/panorama_engine.h"
#include "support/cores.h"
#include "support/pictures.h"

class TestEngine
{
public:
    TestEngine() { panorama_engine_create(&pe); }
    // With the first picture of a sweep in a direction.
    TestEngine(const PanoImg& first, int32_t direction) : TestEngine()
    {
        EXPECT_EQ(take(first, {0, 0}), 1);
        pe->direction = direction;
    }
    ~TestEngine() { panorama_engine_destroy(&pe); }
    TestEngine(const TestEngine&) = delete;
    TestEngine& operator=(const TestEngine&) = delete;

    PanoramaInternal* operator->() { return pe; }

    // Hands over the next picture of a sweep as the session does.
    int32_t take(const PanoImg& picture, ozr_point offset)
    {
        if (pe->count == 0)
            panorama_engine_start_capture(pe, &picture);
        const int32_t index = panorama_engine_prepare_stitch(pe);
        return index < 0 ? index : panorama_engine_set_image(pe, &picture, index, &offset);
    }

    PanoramaInternal* pe = nullptr;
};

// An NV12 picture of the noise texture, moved by (dx, dy).
class NoisePicture : public TestImg
{
public:
    NoisePicture(int32_t width, int32_t height, int32_t dx, int32_t dy)
        : TestImg(kPanoNv12, width, height, 0, 128)
    {
        fill_luma(img, [=](int32_t x, int32_t y) { return noise(x + dx, y + dy); });
    }
};

#endif
