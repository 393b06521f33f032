// Core contexts for tests: made, fed with pictures and released; and the pictures of the reference.
#ifndef CORES_H
#define CORES_H

#include <cstring>

#include "ozr_kernels.h"
#include "panorama_core.h"
#include "reference/core_projection.h"
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

    PanoramaCore* core = nullptr;
    int32_t init_result = 0;
};

// A semi-planar record of the library's own with the bytes of a picture.
inline PanoImg pano_of(const ozr_reference::Yuv& picture)
{
    PanoImg img = {};
    if (PanoImg_CreateRef(&img, nullptr, picture.width, picture.height, picture.stride, kPanoNv12) == 0)
        memcpy(img.data, picture.bytes.data(), picture.bytes.size());
    return img;
}

// Whether a record holds just these bytes in this geometry.
inline bool shows(const PanoImg& img, const ozr_reference::Yuv& picture)
{
    return img.data != nullptr && img.format == kPanoNv12 && img.width == picture.width &&
           img.height == picture.height && img.stride == picture.stride &&
           img.size == static_cast<int32_t>(picture.bytes.size()) &&
           memcmp(img.data, picture.bytes.data(), picture.bytes.size()) == 0;
}

// Every other trial runs the scalar kernels, the rest those of this machine.
class KernelsByTurns
{
public:
    explicit KernelsByTurns(int32_t trial)
    {
        ozr_kernels_set_for_test(trial % 2 == 0 ? nullptr : &kOzrKernelsScalar);
    }
    ~KernelsByTurns() { ozr_kernels_set_for_test(nullptr); }
    KernelsByTurns(const KernelsByTurns&) = delete;
    KernelsByTurns& operator=(const KernelsByTurns&) = delete;
};

#endif
