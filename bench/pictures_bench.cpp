// Operations on whole pictures, as an application calls them.
#include "benchmarks.h"
#include "image/panorama_img.h"
#include "levels.h"
#include "ozr_image.h"
#include "ozr_types.h"
#include "support/random.h"
#include "sweep_pictures.h"

namespace
{

// An image of random bytes.
class RandomImage
{
public:
    RandomImage(Size size, ozr_image_format format)
    {
        ozr_image_create(&image, size.width, size.height, 0, format, 0);
        Random random(2);
        for (int32_t i = 0; i < image.size; ++i)
            image.data[i] = random.byte();
    }
    ~RandomImage() { ozr_image_destroy(&image); }
    RandomImage(const RandomImage&) = delete;
    RandomImage& operator=(const RandomImage&) = delete;

    ozr_image image = {};
};

void rotate_nv12(benchmark::State& state, Size size)
{
    const RandomImage upright(size, ozr_image_format_nv12);
    const PanoImg src = {kPanoNv12,          size.width, size.height,       upright.image.stride,
                         upright.image.size, 0,          upright.image.data};
    ozr::PanoImgOwner turned;
    fail_unless(state, PanoImg_Create(turned.get(), size.height, size.width, kPanoNv12) == 0);
    for (auto _ : state)
        fail_unless(state, PanoImg_RotateCW90(turned.get(), &src) == 0);
}

// Into an image that has its pixels already.
void convert(benchmark::State& state, Size size, ozr_image_format from, ozr_image_format to)
{
    const RandomImage source(size, from);
    RandomImage converted(size, to);
    for (auto _ : state)
        fail_unless(state, ozr_image_convert(&source.image, &converted.image, to) == ozr_success);
}

void flip_rgba(benchmark::State& state, Size size)
{
    RandomImage picture(size, ozr_image_format_rgba32);
    for (auto _ : state)
        fail_unless(state, ozr_image_hflip(&picture.image) == ozr_success);
}

template <class Operation>
void add(const char* name, Size size, Operation operation)
{
    for (const ozr::kernels::Kernels* level : bench_stage_levels()) {
        const std::string full = "picture/" + std::string(name) + "/" + size.text() + "/" + level->level;
        benchmark::RegisterBenchmark(full.c_str(), [=](benchmark::State& state) {
            ozr::kernels::set_for_test(level);
            operation(state);
            ozr::kernels::set_for_test(nullptr);
        })->MeasureProcessCPUTime();
    }
}

void add_conversion(const char* name, ozr_image_format from, ozr_image_format to)
{
    add(name, kScreenSize, [=](benchmark::State& state) { convert(state, kScreenSize, from, to); });
}

}  // namespace

void add_picture_benchmarks()
{
    add("rotate_nv12", kPhotoSize, [](benchmark::State& state) { rotate_nv12(state, kPhotoSize); });
    add_conversion("nv12_to_rgba", ozr_image_format_nv12, ozr_image_format_rgba32);
    add_conversion("rgba_to_nv12", ozr_image_format_rgba32, ozr_image_format_nv12);
    add_conversion("yuy2_to_rgba", ozr_image_format_yuy2, ozr_image_format_rgba32);
    add("flip_rgba", kScreenSize, [](benchmark::State& state) { flip_rgba(state, kScreenSize); });
}
