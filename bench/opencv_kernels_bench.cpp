// OpenCV's nearest equivalents of the kernels, on one thread. Names are opencv/<kernel>/<size>,
// with the kernel's name, so that the table sets them side by side; the results differ in rounding.
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <string>

#include "benchmarks.h"

namespace
{

struct Pictures {
    Pictures(int32_t width, int32_t height)
        : gray(height, width, CV_8UC1), other(height, width, CV_8UC1), pairs(height / 2, width / 2, CV_8UC2),
          larger(height * 3 / 2, width * 3 / 2, CV_8UC1), semi_planar(height * 3 / 2, width, CV_8UC1),
          packed(height, width, CV_8UC2), rgba(height, width, CV_8UC4)
    {
        for (cv::Mat* picture : {&gray, &other, &pairs, &larger, &semi_planar, &packed, &rgba})
            cv::randu(*picture, 0, 256);
        map_x.create(height, width, CV_32FC1);
        map_y.create(height, width, CV_32FC1);
        for (int32_t y = 0; y < height; ++y) {
            for (int32_t x = 0; x < width; ++x) {
                map_x.at<float>(y, x) = static_cast<float>(x) + 0.5F;
                map_y.at<float>(y, x) = static_cast<float>(y) + 0.5F;
            }
        }
        cv::convertMaps(map_x, map_y, fixed_x, fixed_y, CV_16SC2);
    }

    cv::Mat gray, other, pairs, larger, semi_planar, packed, rgba, map_x, map_y, fixed_x, fixed_y, out;
};

template <class Call>
void add(const char* name, Pictures& pictures, Call call)
{
    const std::string size = std::to_string(pictures.gray.cols) + "x" + std::to_string(pictures.gray.rows);
    const std::string full = "opencv/" + std::string(name) + "/" + size;
    benchmark::RegisterBenchmark(full.c_str(), [&pictures, call](benchmark::State& state) {
        for (auto _ : state) {
            call(pictures);
            benchmark::ClobberMemory();
        }
    });
}

void add_both_sizes(Pictures& all)
{
    add("project_luma_row", all,
        [](Pictures& p) { cv::remap(p.gray, p.out, p.fixed_x, p.fixed_y, cv::INTER_LINEAR); });
    add("rotate_bytes_cw", all, [](Pictures& p) { cv::rotate(p.gray, p.out, cv::ROTATE_90_CLOCKWISE); });
    add("rotate_bytes_ccw", all,
        [](Pictures& p) { cv::rotate(p.gray, p.out, cv::ROTATE_90_COUNTERCLOCKWISE); });
    add("rotate_pairs_cw", all, [](Pictures& p) { cv::rotate(p.pairs, p.out, cv::ROTATE_90_CLOCKWISE); });
    add("rotate_pairs_ccw", all,
        [](Pictures& p) { cv::rotate(p.pairs, p.out, cv::ROTATE_90_COUNTERCLOCKWISE); });
}

}  // namespace

void add_opencv_kernel_benchmarks()
{
    cv::setNumThreads(1);
    static Pictures preview(1280, 960);
    static Pictures picture(4000, 3000);
    add_both_sizes(preview);
    add_both_sizes(picture);
    add("resample_gray", preview,
        [](Pictures& p) { cv::resize(p.larger, p.out, p.gray.size(), 0, 0, cv::INTER_LINEAR); });
    add("nearest_gray_row", preview,
        [](Pictures& p) { cv::resize(p.larger, p.out, p.gray.size(), 0, 0, cv::INTER_NEAREST); });
    add("half_gray_row", preview,
        [](Pictures& p) { cv::resize(p.gray, p.out, cv::Size(), 0.5, 0.5, cv::INTER_AREA); });
    add("sad_area", preview,
        [](Pictures& p) { benchmark::DoNotOptimize(cv::norm(p.gray, p.other, cv::NORM_L1)); });
    add("integral_row", preview, [](Pictures& p) { cv::integral(p.gray, p.out, CV_32S); });
    add("yuv_to_rgba_row", preview,
        [](Pictures& p) { cv::cvtColor(p.semi_planar, p.out, cv::COLOR_YUV2RGBA_NV12); });
    add("yvu_to_rgba_row", preview,
        [](Pictures& p) { cv::cvtColor(p.semi_planar, p.out, cv::COLOR_YUV2RGBA_NV21); });
    add("planar_to_rgba_row", preview,
        [](Pictures& p) { cv::cvtColor(p.semi_planar, p.out, cv::COLOR_YUV2RGBA_I420); });
    add("yuyv_to_rgba_row", preview,
        [](Pictures& p) { cv::cvtColor(p.packed, p.out, cv::COLOR_YUV2RGBA_YUY2); });
    add("gray_to_rgba_row", preview, [](Pictures& p) { cv::cvtColor(p.gray, p.out, cv::COLOR_GRAY2RGBA); });
    add("rgba_to_gray_row", preview, [](Pictures& p) { cv::cvtColor(p.rgba, p.out, cv::COLOR_RGBA2GRAY); });
    add("mirror_bytes_row", preview, [](Pictures& p) { cv::flip(p.gray, p.out, 1); });
    add("mirror_quads_row", preview, [](Pictures& p) { cv::flip(p.rgba, p.out, 1); });
}
