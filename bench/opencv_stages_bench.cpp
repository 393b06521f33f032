// OpenCV's nearest equivalents of stages and of operations on whole pictures, on one thread. Names
// are opencv/<stage or operation>/<size>; the results differ.
#include <cmath>
#include <opencv2/imgproc.hpp>
#include <opencv2/stitching.hpp>

#include "benchmarks.h"
#include "sweep_pictures.h"
#include "warm_memory.h"

namespace
{

// The planes of an NV12 picture, not copied.
cv::Mat luma(const ozr_image& image)
{
    return cv::Mat(image.height, image.width, CV_8UC1, image.data, static_cast<size_t>(image.stride));
}

cv::Mat chroma(const ozr_image& image)
{
    return cv::Mat(image.height / 2, image.width / 2, CV_8UC2, image.data + image.height * image.stride,
                   static_cast<size_t>(image.stride));
}

cv::Mat random_picture(int32_t rows, int32_t columns, int32_t type)
{
    cv::Mat picture(rows, columns, type);
    cv::randu(picture, 0, 256);
    return picture;
}

template <class Run>
benchmark::internal::Benchmark* add(const std::string& name, Run run)
{
    return benchmark::RegisterBenchmark(("opencv/" + name).c_str(), run)->MeasureProcessCPUTime();
}

// A small copy of the frame, and its motion since the one before.
void preview_frame(benchmark::State& state, Size size)
{
    const std::vector<Nv12Picture>& frames = preview_frames(size);
    cv::Mat small, before, now;
    size_t frame = 0;
    for (auto _ : state) {
        frame = (frame + 1) % frames.size();
        cv::resize(luma(frames[frame].image), small, cv::Size(320, 240), 0, 0, cv::INTER_LINEAR);
        small.convertTo(now, CV_32F);
        if (!before.empty())
            benchmark::DoNotOptimize(cv::phaseCorrelate(before, now));
        cv::swap(before, now);
    }
}

// Where a plane's picture on the cylinder takes its pixels from: a camera that sees 50 degrees.
class CylinderMap
{
public:
    CylinderMap(cv::Size size, bool nearest)
    {
        constexpr double kHalfView = 25 * CV_PI / 180;
        const double middle_x = (size.width - 1) / 2.0, middle_y = (size.height - 1) / 2.0;
        cv::Mat map(size, CV_32FC2);
        for (int32_t y = 0; y < size.height; ++y) {
            for (int32_t x = 0; x < size.width; ++x) {
                const double angle = (x - middle_x) / middle_x * kHalfView;
                map.at<cv::Vec2f>(y, x) = {
                    static_cast<float>(middle_x + middle_x * std::tan(angle) / std::tan(kHalfView)),
                    static_cast<float>(middle_y + (y - middle_y) / std::cos(angle))};
            }
        }
        cv::convertMaps(map, cv::noArray(), pixels, fractions, CV_16SC2, nearest);
    }

    cv::Mat pixels, fractions;
};

// Luma is interpolated, chroma is taken from the nearest pair.
void projection(benchmark::State& state, Size size)
{
    const ozr_image& picture =
        sweep_pictures(size.width == kScreenSize.width ? kScreenSweep : kPhotoSweep)[0].image;
    const CylinderMap fine(luma(picture).size(), false), coarse(chroma(picture).size(), true);
    cv::Mat projected_luma, projected_chroma;
    for (auto _ : state) {
        cv::remap(luma(picture), projected_luma, fine.pixels, fine.fractions, cv::INTER_LINEAR);
        cv::remap(chroma(picture), projected_chroma, coarse.pixels, coarse.fractions, cv::INTER_NEAREST);
    }
}

void stitcher(benchmark::State& state, const SweepPlan& plan)
{
    std::vector<cv::Mat> pictures;
    for (const Nv12Picture& picture : sweep_pictures(plan)) {
        cv::Mat bgr;
        cv::cvtColorTwoPlane(luma(picture.image), chroma(picture.image), bgr, cv::COLOR_YUV2BGR_NV12);
        pictures.push_back(bgr);
    }
    warm_memory(plan.size);
    for (auto _ : state) {
        cv::Mat panorama;
        fail_unless(state, cv::Stitcher::create(cv::Stitcher::PANORAMA)->stitch(pictures, panorama) ==
                               cv::Stitcher::OK);
        // It leaves out pictures that it cannot place.
        fail_unless(state, panorama.cols > (plan.pictures - 1) * plan.step());
    }
}

void add_stages()
{
    for (const Size size : {kPreviewSize, kScreenSize})
        add("preview_frame/" + size.text(), [size](benchmark::State& state) { preview_frame(state, size); });
    for (const Size size : {kScreenSize, kPhotoSize})
        add("projection/" + size.text(), [size](benchmark::State& state) { projection(state, size); });
    for (const SweepPlan& plan : {kScreenSweep, kPhotoSweep})
        add(plan.text(), [plan](benchmark::State& state) { stitcher(state, plan); })
            ->Iterations(1)
            ->Unit(benchmark::kMillisecond);
}

void rotate_nv12(benchmark::State& state)
{
    const cv::Mat gray = random_picture(kPhotoSize.height, kPhotoSize.width, CV_8UC1);
    const cv::Mat pairs = random_picture(kPhotoSize.height / 2, kPhotoSize.width / 2, CV_8UC2);
    cv::Mat turned_gray, turned_pairs;
    for (auto _ : state) {
        cv::rotate(gray, turned_gray, cv::ROTATE_90_CLOCKWISE);
        cv::rotate(pairs, turned_pairs, cv::ROTATE_90_CLOCKWISE);
    }
}

void add_conversion(const char* name, int32_t rows, int32_t type, cv::ColorConversionCodes code)
{
    add(std::string(name) + "/" + kScreenSize.text(), [=](benchmark::State& state) {
        const cv::Mat picture = random_picture(rows, kScreenSize.width, type);
        cv::Mat converted;
        for (auto _ : state)
            cv::cvtColor(picture, converted, code);
    });
}

void add_operations()
{
    add("rotate_nv12/" + kPhotoSize.text(), rotate_nv12);
    add_conversion("nv12_to_rgba", kScreenSize.height * 3 / 2, CV_8UC1, cv::COLOR_YUV2RGBA_NV12);
    // Nothing converts to interleaved chroma; planes of it are nearest.
    add_conversion("rgba_to_nv12", kScreenSize.height, CV_8UC4, cv::COLOR_RGBA2YUV_I420);
    add_conversion("yuy2_to_rgba", kScreenSize.height, CV_8UC2, cv::COLOR_YUV2RGBA_YUY2);
    add("flip_rgba/" + kScreenSize.text(), [](benchmark::State& state) {
        cv::Mat picture = random_picture(kScreenSize.height, kScreenSize.width, CV_8UC4);
        for (auto _ : state)
            cv::flip(picture, picture, 1);
    });
}

}  // namespace

void add_opencv_stage_benchmarks()
{
    cv::setNumThreads(1);
    add_stages();
    add_operations();
}
