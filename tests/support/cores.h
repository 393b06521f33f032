// Core contexts for tests: made, fed with pictures and released.
#ifndef CORES_H
#define CORES_H

#include <cstring>

#include "panorama_core.h"
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

// A texture without repetition: the same everywhere it is looked at from.
inline int32_t noise(int32_t x, int32_t y)
{
    const auto cell = [](int32_t i, int32_t j) {
        uint32_t h = static_cast<uint32_t>(i) * 73856093U ^ static_cast<uint32_t>(j) * 19349663U;
        h = (h ^ (h >> 13)) * 1274126177U;
        return static_cast<int32_t>((h >> 16) & 255);
    };
    // Cells of 4 x 4 pixels, linear in between.
    const int32_t i = x >> 2, j = y >> 2, fx = x & 3, fy = y & 3;
    return (cell(i, j) * (4 - fx) * (4 - fy) + cell(i + 1, j) * fx * (4 - fy) +
            cell(i, j + 1) * (4 - fx) * fy + cell(i + 1, j + 1) * fx * fy) /
           16;
}

#endif
