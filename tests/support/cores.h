// Core contexts for tests: made, fed with pictures and released.
#ifndef CORES_H
#define CORES_H

#include <cstring>

#include "core/panorama_core.h"
#include "support/noise.h"
#include "support/pictures.h"

class TestCore
{
public:
    TestCore() { panorama_core_create(&core); }
    TestCore(int32_t forward, int32_t width, int32_t height) : TestCore()
    {
        init_result = panorama_core_init(core, forward, width, height, width);
    }
    ~TestCore() { panorama_core_destroy(core); }
    TestCore(const TestCore&) = delete;
    TestCore& operator=(const TestCore&) = delete;

    PanoramaCore* operator->() { return core; }

    // Hands over a picture whose luma is value(x, y) and whose chroma pairs are (100, 150).
    template <class Value>
    int32_t add(int32_t index, int32_t x, int32_t y, Value value)
    {
        PanoImg img = {};
        PanoImg_Create(&img, core->width, core->height, kPanoNv12);
        fill_luma(img, value);
        for (int32_t i = img.height * img.stride; i < img.size; ++i)
            img.data[i] = i % 2 == 0 ? 100 : 150;
        const int32_t result = panorama_core_add_input(core, &img, index, x, y);
        PanoImg_Destroy(&img);  // left to the caller by some refusals
        return result;
    }

    PanoramaCore* core = nullptr;
    int32_t init_result = 0;
};

#endif
