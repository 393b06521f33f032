// The stages of a sweep through the public interface, at the scalar level, at the one every phone has, and at the
// machine's best. Names are stage/<stage>/<size>/<level>.
#include <benchmark/benchmark.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "levels.h"
#include "ozr_panorama.h"
#include "support/cores.h"

namespace
{

struct Destroy {
    void operator()(ozr_panorama* pano) const { ozr_panorama_destroy(pano); }
};
using Handle = std::unique_ptr<ozr_panorama, Destroy>;

Handle create(ozr_panorama_direction direction)
{
    ozr_panorama* pano = nullptr;
    ozr_panorama_create(nullptr, &pano);
    const ozr_panorama_parameters parameters = {70, direction};
    ozr_panorama_set_parameters(pano, &parameters);
    return Handle(pano);
}

// An NV12 picture of a texture, `dx` pixels on.
class Picture
{
public:
    Picture(int32_t width, int32_t height, int32_t dx)
        : bytes_(static_cast<size_t>(width * height * 3 / 2), 128)
    {
        for (int32_t y = 0; y < height; ++y) {
            for (int32_t x = 0; x < width; ++x)
                bytes_[static_cast<size_t>(y * width + x)] = static_cast<uint8_t>(noise(x + dx, y));
        }
        image = {bytes_.data(),
                 static_cast<int32_t>(bytes_.size()),
                 width,
                 height,
                 ozr_image_format_nv12,
                 width,
                 0};
    }

    ozr_image image = {};

private:
    std::vector<uint8_t> bytes_;
};

struct Size {
    int32_t width;
    int32_t height;

    std::string text() const { return std::to_string(width) + "x" + std::to_string(height); }
    int32_t shift() const { return width * 3 / 10; }
};

// The pictures of a sweep to the right with 70 percent overlap, made once for each size.
std::vector<Picture>& pictures(Size size, int32_t count)
{
    static std::vector<std::pair<int32_t, std::unique_ptr<std::vector<Picture>>>> all;
    for (auto& [width, made] : all) {
        if (width == size.width && made->size() >= static_cast<size_t>(count))
            return *made;
    }
    auto made = std::make_unique<std::vector<Picture>>();
    for (int32_t i = 0; i < count; ++i)
        made->emplace_back(size.width, size.height, i * size.shift());
    all.emplace_back(size.width, std::move(made));
    return *all.back().second;
}

void fail_unless(benchmark::State& state, bool fine)
{
    if (!fine)
        state.SkipWithError("a call failed");
}

// One preview frame: the camera trembles, so that no picture falls due.
void preview_frame(benchmark::State& state, Size size)
{
    const Handle pano = create(ozr_panorama_direction_right);
    std::vector<Picture>& first = pictures(size, 1);
    Picture moved(size.width, size.height, size.width / 100);
    fail_unless(state, ozr_panorama_stitch_one_image(pano.get(), &first[0].image, nullptr) == ozr_success);
    bool even = false;
    for (auto _ : state) {
        ozr_point offset = {};
        ozr_panorama_direction direction = ozr_panorama_direction_auto;
        const ozr_image& frame = even ? first[0].image : moved.image;
        fail_unless(state, ozr_panorama_detect_frame_to_stitch(pano.get(), &frame, &offset, &direction) == 0);
        even = !even;
    }
}

// A sweep of `count` pictures of which only the call number `timed` counts; the run follows the last picture.
void sweep_call(benchmark::State& state, Size size, int32_t count, int32_t timed)
{
    std::vector<Picture>& sweep = pictures(size, count);
    const ozr_point offset = {size.shift(), 0};
    for (auto _ : state) {
        const Handle pano = create(ozr_panorama_direction_right);
        ozr_image output = {};
        for (int32_t i = 0; i <= timed; ++i) {
            const auto start = std::chrono::steady_clock::now();
            const ozr_err err =
                i < count
                    ? ozr_panorama_stitch_one_image(pano.get(), &sweep[static_cast<size_t>(i)].image, &offset)
                    : ozr_panorama_run(pano.get(), &output);
            const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
            fail_unless(state, err == ozr_success);
            if (i == timed)
                state.SetIterationTime(seconds.count());
        }
    }
}

void whole_sweep(benchmark::State& state, Size size, int32_t count)
{
    std::vector<Picture>& sweep = pictures(size, count);
    const ozr_point offset = {size.shift(), 0};
    for (auto _ : state) {
        const Handle pano = create(ozr_panorama_direction_right);
        for (int32_t i = 0; i < count; ++i)
            fail_unless(state, ozr_panorama_stitch_one_image(pano.get(), &sweep[static_cast<size_t>(i)].image,
                                                             &offset) == ozr_success);
        ozr_image output = {};
        fail_unless(state, ozr_panorama_run(pano.get(), &output) == ozr_success);
    }
}

template <class Stage>
benchmark::internal::Benchmark* add(const std::string& name, const OzrKernels* level, Stage stage)
{
    return benchmark::RegisterBenchmark(("stage/" + name + "/" + level->level).c_str(),
                                        [level, stage](benchmark::State& state) {
                                            ozr_kernels_set_for_test(level);
                                            stage(state);
                                            ozr_kernels_set_for_test(nullptr);
                                        })
        ->Unit(benchmark::kMillisecond);
}

void add_stages(const OzrKernels* level)
{
    for (const Size size : {Size{640, 480}, Size{1280, 960}})
        add("preview_frame/" + size.text(), level,
            [size](benchmark::State& state) { preview_frame(state, size); });
    constexpr int32_t kPictures = 3;
    const char* const calls[] = {nullptr, "second_picture", "later_picture", "run"};
    for (const Size size : {Size{1280, 960}, Size{4000, 3000}}) {
        for (int32_t timed = 1; timed <= kPictures; ++timed)
            add(std::string(calls[timed]) + "/" + size.text(), level, [size, timed](benchmark::State& state) {
                sweep_call(state, size, kPictures, timed);
            })->UseManualTime();
    }
    const Size size = {1280, 960};
    add("sweep_of_8/" + size.text(), level, [size](benchmark::State& state) { whole_sweep(state, size, 8); });
}

}  // namespace

void add_stage_benchmarks()
{
    for (const OzrKernels* level : bench_stage_levels())
        add_stages(level);
}
