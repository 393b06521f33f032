// Operations on image records: the mirror, the grey subsampling, the two-point warp.
#include <gtest/gtest.h>

#include <string>

#include "ozr_gray.h"
#include "support/images.h"

namespace
{

TEST(Hflip, ExchangesPixelsAndKeepsPadding)
{
    const struct {
        ozr_image_format format;
        int32_t width, height;
        std::string luma, flipped, chroma, chroma_flipped;  // the bytes of a row, padding included
    } rows[] = {
        {ozr_image_format_gray, 1, 2, "a.", "a.", "", ""},
        {ozr_image_format_gray, 3, 2, "abc.", "cba.", "", ""},
        {ozr_image_format_rgba32, 2, 3, "RGBArgba.", "rgbaRGBA.", "", ""},
        {ozr_image_format_nv12, 6, 4, "abcdef.", "fedcba.", "UVuvXY.", "XYuvUV."},
        {ozr_image_format_nv21, 4, 3, "abcd", "dcba", "VUvu", "vuVU"},
        {ozr_image_format_nv12, 5, 2, "abcde", "edcba", "UVuvX",
         "vXuUV"},  // pair k with that ending at byte 4
    };
    for (const auto& row : rows) {
        const int32_t stride = static_cast<int32_t>(row.luma.size());
        TestImage image({row.format, row.width, row.height, stride}, 1, 16);
        for (int at = 0; at < image.size; ++at) {
            const bool in_luma = at < stride * row.height;
            const size_t byte = static_cast<size_t>(at % stride);
            image.data[at] = static_cast<uint8_t>((in_luma ? row.luma : row.chroma)[byte]);
            image.buffer.expect(at, (in_luma ? row.flipped : row.chroma_flipped)[byte]);
        }
        EXPECT_EQ(ozr_image_hflip(&image), ozr_success);
        EXPECT_EQ(image.buffer.now, image.buffer.want) << row.luma << row.chroma;
    }
    for (ozr_image_format format : {ozr_image_format_yv12, ozr_image_format_yuy2, ozr_image_format(6)}) {
        TestImage image({format, 4, 2, 8}, 3);
        EXPECT_EQ(ozr_image_hflip(&image), ozr_err_not_supported);
        EXPECT_EQ(image.buffer.now, image.buffer.want);
    }
    // A stride shorter than a row: the last chroma row ends behind the image,
    // though all luma rows are inside.
    TestImage image({ozr_image_format_nv12, 8, 4, 7}, 4);
    EXPECT_EQ(ozr_image_hflip(&image), ozr_err_invalid_argument);
    image.data = nullptr;
    image.stride = 8;
    EXPECT_EQ(ozr_image_hflip(&image), ozr_err_invalid_argument);
    OwnedImage narrow(ozr_image_format_rgba32, 25, 10, 99);
    EXPECT_EQ(ozr_image_hflip(&narrow), ozr_err_invalid_argument);
    EXPECT_EQ(ozr_image_hflip(nullptr), ozr_err_invalid_argument);
}

int luma_at(const ozr_image& image, int x, int y)
{
    const uint8_t* p = image.data + y * image.stride + x * pixel_bytes(image.format);
    const bool is_rgba = image.format == ozr_image_format_rgba32;
    return is_rgba ? (66 * p[0] + 128 * p[1] + 25 * p[2] + 128) / 256 + 16 : *p;
}

TEST(SampleGray, TakesEveryNthLuma)
{
    for (int format = 0; format < 6; ++format)
        for (int32_t n : {1, 2, 3, 5, 40})
            for (int32_t width : {7, 16, 33}) {
                SCOPED_TRACE(testing::Message() << "format " << format << " n " << n << " width " << width);
                const TestImage src({ozr_image_format(format), width, 11, 4 * width}, 21);
                // A destination of the right size is used, whatever its
                // format; an empty one is created.
                TestImage fitting({ozr_image_format_yv12, width / n, 11 / n, width / n + 2}, 22, 16);
                const uint8_t* const before = fitting.data;
                fitting.rotation = 0;
                OwnedImage made;
                ASSERT_EQ(ozr_image_sample_gray(&fitting, &src, n), ozr_success);
                ASSERT_EQ(ozr_image_sample_gray(&made, &src, n), ozr_success);
                EXPECT_EQ(fitting.data, before);
                EXPECT_EQ(fitting.format, ozr_image_format_yv12);
                EXPECT_EQ(made.format, ozr_image_format_gray);
                EXPECT_EQ(made.stride, (width / n + 15) / 16 * 16);
                EXPECT_EQ(made.rotation, 90);
                EXPECT_EQ(fitting.rotation, 90);
                ASSERT_EQ(made.width, width / n);
                ASSERT_EQ(made.height, 11 / n);
                for (int y = 0; y < made.height; ++y)
                    for (int x = 0; x < made.width; ++x) {
                        const int want = luma_at(src, x * n, y * n);
                        ASSERT_EQ(made.data[y * made.stride + x], want);
                        fitting.buffer.expect(y * fitting.stride + x, want);
                    }
                ASSERT_EQ(fitting.buffer.now, fitting.buffer.want);
            }
    // Equal strides: the plane is copied with its padding.
    const TestImage src({ozr_image_format_nv12, 6, 4, 8}, 24);
    TestImage dst({ozr_image_format_gray, 6, 4, 8}, 25, 16);
    ASSERT_EQ(ozr_image_sample_gray(&dst, &src, 1), ozr_success);
    for (int at = 0; at < 32; ++at)
        dst.buffer.expect(at, src.data[at]);
    EXPECT_EQ(dst.buffer.now, dst.buffer.want);
}

TEST(SampleGray, Refuses)
{
    TestImage src({ozr_image_format_gray, 8, 8, 8}, 27);
    OwnedImage dst, empty, narrow(ozr_image_format_rgba32, 25, 10, 98);
    EXPECT_EQ(ozr_image_sample_gray(nullptr, &src, 2), ozr_err_invalid_argument);
    EXPECT_EQ(ozr_image_sample_gray(&dst, nullptr, 2), ozr_err_invalid_argument);
    EXPECT_EQ(ozr_image_sample_gray(&dst, &src, 0), ozr_err_invalid_argument);
    EXPECT_EQ(ozr_image_sample_gray(&dst, &empty, 2), ozr_err_invalid_argument);
    EXPECT_TRUE(dst.is_empty());
    EXPECT_EQ(ozr_image_sample_gray(&src, &src, 2), ozr_err_invalid_argument);
    ozr_image same_pixels = src;
    EXPECT_EQ(ozr_image_sample_gray(&same_pixels, &src, 2), ozr_err_invalid_argument);
    EXPECT_EQ(same_pixels.data, src.data);
    src.format = ozr_image_format(6);
    EXPECT_EQ(ozr_image_sample_gray(&dst, &src, 2), ozr_err_not_supported);
    EXPECT_EQ(dst.width, 4);  // shaped before the format is looked at
    EXPECT_EQ(ozr_image_sample_gray(&dst, &narrow, 1), ozr_err_invalid_argument);  // reads 99 bytes
    const TestImage exact({ozr_image_format_rgba32, 25, 10, 99}, 28);
    EXPECT_EQ(ozr_image_sample_gray(&dst, &exact, 1), ozr_success);
}

struct Warp {
    int32_t sx1, sy1, sx2, sy2, dx1, dy1, dx2, dy2;
};

int32_t low32(int64_t number)
{
    return static_cast<int32_t>(static_cast<uint32_t>(number));
}

// Luma samples, with as many columns as the stride has bytes.
struct Samples {
    const uint8_t* data;
    int32_t stride, rows, pixel_bytes;
};

// The value of one destination pixel; -1 where a neighbour would be outside the source.
int slow_warp(const Warp& w, const Samples& src, int x, int y)
{
    const auto& [data, columns, rows, pixel] = src;
    const auto half_up = [](int32_t a, int32_t b) { return (a + b + 1) >> 1; };
    const int64_t ex = w.dx2 - w.dx1, ey = w.dy2 - w.dy1, fx = w.sx2 - w.sx1, fy = w.sy2 - w.sy1;
    const int32_t d = low32(ex * ex + ey * ey);
    const int64_t a = fx * ex + fy * ey, b = fx * ey - fy * ex;
    const int64_t u = x - half_up(w.dx1, w.dx2), v = y - half_up(w.dy1, w.dy2);
    const int32_t px = low32(int64_t{half_up(w.sx1, w.sx2)} * d + a * u + b * v);
    const int32_t py = low32(int64_t{half_up(w.sy1, w.sy2)} * d - b * u + a * v);
    const int32_t column = px / d, row = py / d, rx = px % d, ry = py % d;
    if (column < 0 || row < 0 || column >= columns || row >= rows)
        return 0;
    const int64_t p = int64_t{row == rows - 1 ? row - 1 : row} * columns +
                      int64_t{column == columns - 1 ? column - 1 : column} * pixel;
    if (p < 0 || p + columns + pixel >= columns * rows)
        return -1;
    const int p00 = data[p], p01 = data[p + pixel], p10 = data[p + columns], p11 = data[p + columns + pixel];
    const int32_t linear = low32(int64_t{p10 - p00} * ry + int64_t{p01 - p00} * rx) / d;
    const int32_t corner = low32(int64_t{low32(int64_t{rx} * ry) >> 4} * (p11 + p00 - p01 - p10));
    return (p00 + linear + corner / (low32(int64_t{d} * d) >> 4)) & 255;
}

const Warp kWarps[] = {
    {3, 4, 17, 9, 3, 4, 17, 9},                      // identity
    {3, 4, 17, 9, 5, 2, 19, 7},                      // shift: the left columns come from outside
    {2, 2, 20, 12, 12, 2, 2, 20},                    // quarter turn
    {4, 4, 8, 4, 0, 0, 20, 3},                       // enlarged and tilted
    {0, 0, 23, 17, 6, 6, 12, 10},                    // reduced
    {10, 8, 12, 9, 12, 9, 10, 8},                    // half turn, points 2 pixels apart
    {0, 9, 23, 9, -110, 9, 115, 12},                 // so far apart that D * D wraps
    {19, 19, 18, 9, -63868, -57686, 43170, -48776},  // all products wrap, D below 0
};

ozr_err warp_image(const Warp& w, const ozr_image* src, ozr_image* dst)
{
    return ozr_image_warp_by_2points(src, w.sx1, w.sy1, w.sx2, w.sy2, dst, w.dx1, w.dy1, w.dx2, w.dy2);
}

// Compares with the formula. Sources end with their last byte, so that sanitised
// builds see reads beyond it.
void expect_warp(const Warp& w, ozr_image_format format, int32_t width, int32_t height, int32_t padding)
{
    SCOPED_TRACE(testing::Message() << "format " << format << " warp " << &w - kWarps << " width " << width);
    const int32_t pixel = pixel_bytes(format);
    TestImage src({format, width, height, width * pixel + padding}, 31);
    TestImage dst({ozr_image_format_nv12, 29, 21, 31}, 32, 16),
        plain({ozr_image_format_nv12, 29, 21, 31}, 32, 16);
    if (pixel == 1 && padding == 0)
        src.stride = 0;  // means the width
    ASSERT_EQ(warp_image(w, &src, &dst), ozr_success);
    int covered = 0;
    for (int y = 0; y < 21; ++y)
        for (int x = 0; x < 29; ++x) {
            const int value = slow_warp(w, {src.data, width * pixel + padding, height, pixel}, x, y);
            dst.buffer.expect(31 * y + x, value < 0 ? dst.data[31 * y + x] : value);
            covered += value > 0;
        }
    EXPECT_GT(covered, width < 8 ? -1 : 15);
    EXPECT_EQ(dst.buffer.now, dst.buffer.want);
    if (pixel == 2)
        return;
    ASSERT_EQ(warp_image_by_2points(plain.data, 29, 21, 31, src.data, width, height, src.stride, w.sx1, w.sy1,
                                    w.sx2, w.sy2, w.dx1, w.dy1, w.dx2, w.dy2),
              ozr_success);
    EXPECT_EQ(plain.buffer.now, dst.buffer.now);
}

TEST(Warp, FollowsTheFormulaInEveryFormat)
{
    for (ozr_image_format format :
         {ozr_image_format_gray, ozr_image_format_nv12, ozr_image_format_nv21, ozr_image_format_yuy2})
        for (const Warp& w : kWarps) {
            expect_warp(w, format, 23, 18, 3);
            for (int32_t width : {1, 2, 3, 7})
                expect_warp(w, format, width, width % 2 + 1, 0);
        }
}

TEST(Warp, Refuses)
{
    TestImage src({ozr_image_format_gray, 8, 6, 8}, 37), dst({ozr_image_format_gray, 8, 6, 8}, 38);
    const Warp good = {0, 0, 4, 0, 2, 3, 6, 3}, coinciding = {0, 0, 4, 0, 2, 3, 2, 3};
    EXPECT_EQ(warp_image(good, nullptr, &dst), ozr_err_invalid_argument);
    EXPECT_EQ(warp_image(good, &src, nullptr), ozr_err_invalid_argument);
    // D * D >> 4 is 0; D wraps around to 0.
    EXPECT_EQ(warp_image({0, 0, 4, 0, 2, 3, 3, 3}, &src, &dst), ozr_err_invalid_argument);
    EXPECT_EQ(warp_image({0, 0, 4, 0, 2, 3, 65538, 3}, &src, &dst), ozr_err_invalid_status);
    for (ozr_image_format format : {ozr_image_format_yv12, ozr_image_format_rgba32, ozr_image_format(6)}) {
        src.format = format;
        EXPECT_EQ(warp_image(coinciding, &src, &dst), ozr_err_invalid_status);
        EXPECT_EQ(warp_image(good, &src, &dst), ozr_err_not_supported);
    }
    src.format = ozr_image_format_gray;
    src.data = nullptr;
    EXPECT_EQ(warp_image(good, &src, &dst), ozr_err_invalid_argument);
    EXPECT_EQ(warp_image_by_2points(dst.data, 8, 6, 8, nullptr, 8, 6, 8, 0, 0, 4, 0, 2, 3, 6, 3),
              ozr_err_invalid_argument);
    EXPECT_EQ(warp_image_by_2points(dst.data, 0, 6, 8, dst.data, 8, 6, 8, 0, 0, 4, 0, 2, 3, 6, 3),
              ozr_err_invalid_argument);
    EXPECT_EQ(dst.buffer.now, dst.buffer.want);
}

TEST(WarpIntoRows, HalvesDistantPointsFirst)
{
    const Buffer src(40 * 30, 41);
    const struct {
        Warp given;
        Warp used;  // by hand: each point to (centre + point + 1) >> 1 while D * D > 6000000
    } rows[] = {
        {{4, 4, 30, 20, 3, 5, 33, 22}, {4, 4, 30, 20, 3, 5, 33, 22}},          // D * D = 1413721
        {{1, 10, 39, 11, 2, 9, 50, 9}, {1, 10, 39, 11, 2, 9, 50, 9}},          // 5308416
        {{1, 10, 39, 11, 0, 9, 60, 9}, {11, 11, 30, 11, 15, 9, 45, 9}},        // 60 apart: once
        {{0, 10, 39, 11, -100, 9, 200, 9}, {0, 10, 39, 11, -100, 9, 200, 9}},  // D * D: below 0
    };
    for (const auto& [g, used] : rows) {
        Buffer dst(25 * 33, 42, 16);
        std::vector<uint8_t*> lines;
        for (int y = 0; y < 25; ++y)
            lines.push_back(dst.data() + y * 33);
        ASSERT_EQ(ozr_warp_image_by_2points_uc_scale(src.data(), 40, 30, g.sx1, g.sy1, g.sx2, g.sy2,
                                                     lines.data(), 33, 25, g.dx1, g.dy1, g.dx2, g.dy2),
                  ozr_success);
        for (int at = 0; at < 25 * 33; ++at)
            dst.expect(at, slow_warp(used, {src.data(), 40, 30, 1}, at % 33, at / 33));
        EXPECT_EQ(dst.now, dst.want);
    }
}

TEST(WarpIntoRows, Refuses)
{
    uint8_t pixels[4] = {1, 2, 3, 4};
    uint8_t* lines[2] = {pixels, nullptr};
    const auto warp = [&](const uint8_t* src, uint8_t** rows, int32_t rows_count, int32_t dx2) {
        return ozr_warp_image_by_2points_uc_scale(src, 2, 2, 0, 0, 1, 1, rows, 1, rows_count, 0, 0, dx2, 0);
    };
    EXPECT_EQ(warp(nullptr, nullptr, 0, 0), ozr_err_invalid_argument);
    EXPECT_EQ(warp(nullptr, nullptr, 0, 5), ozr_success);
    EXPECT_EQ(warp(nullptr, lines, 1, 5), ozr_err_invalid_argument);
    EXPECT_EQ(warp(pixels, nullptr, 1, 5), ozr_err_invalid_argument);
    EXPECT_EQ(warp(pixels, lines, 2, 5), ozr_err_invalid_argument);
    EXPECT_EQ(warp(pixels, lines, 1, 256), ozr_err_invalid_argument);        // D * D wraps to 0
    EXPECT_EQ(warp(pixels, lines, 1, INT32_MAX), ozr_err_invalid_argument);  // D wraps to 1
}

}  // namespace
