// Conversions between pixel formats: the bytes, the chain of failure lines, and
// the state of the destination.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "support/images.h"
#include "support/log_capture.h"

namespace
{

using Yuv = std::array<int, 3>;
using Rgb = std::array<int, 3>;

const ozr_image_format kFormats[] = {ozr_image_format_nv12,   ozr_image_format_yv12, ozr_image_format_gray,
                                     ozr_image_format_rgba32, ozr_image_format_yuy2, ozr_image_format_nv21};
const char* const kNames[] = {"nv12", "yv12", "gray", "rgba", "yuy2", "nv21"};
ozr_err (*const kConvertTo[])(const ozr_image*, ozr_image*) = {
    ozr_image_convert_to_nv12, ozr_image_convert_to_yv12, ozr_image_convert_to_gray,
    ozr_image_convert_to_rgba, ozr_image_convert_to_yuy2, ozr_image_convert_to_nv21};

// The samples of a pixel, read from the layout of each format.
Yuv yuv_at(const ozr_image& image, int x, int y)
{
    const int s = image.stride, h = image.height, row = y / 2;
    const uint8_t *d = image.data, *luma = d + y * s, *pair = d + (h + row) * s + x / 2 * 2;
    if (image.format == ozr_image_format_nv12)
        return {luma[x], pair[0], pair[1]};
    if (image.format == ozr_image_format_nv21)
        return {luma[x], pair[1], pair[0]};
    if (image.format == ozr_image_format_yv12)
        return {luma[x], d[s * h + row * s / 2 + x / 2], d[s * h + s * h / 4 + row * s / 2 + x / 2]};
    if (image.format == ozr_image_format_yuy2)
        return {luma[2 * x], luma[x / 2 * 4 + 1], luma[x / 2 * 4 + 3]};
    return {luma[x], 128, 128};
}

Rgb rgb_at(const ozr_image& image, int x, int y)
{
    const uint8_t* p = image.data + y * image.stride + 4 * x;
    return {p[0], p[1], p[2]};
}

int per_256(int sum)
{
    return static_cast<int>(floor(sum / 256.0));
}

Rgb to_rgb(ozr_image_format format, const Yuv& p)
{
    const auto& [y, u, v] = p;
    if (format == ozr_image_format_gray)
        return {y, y, y};
    const auto byte = [](int sum) { return std::clamp(per_256(sum), 0, 255); };
    const int c = 298 * (y - 16) + 128, d = u - 128, e = v - 128;
    return {byte(c + 409 * e), byte(c - 100 * d - 208 * e), byte(c + 516 * d)};
}

Yuv from_rgb(ozr_image_format format, const Rgb& p, const Rgb& chroma)
{
    const auto& [r, g, b] = p;
    if (format == ozr_image_format_gray)
        return {per_256(77 * r + 151 * g + 28 * b), 128, 128};
    return {per_256(66 * r + 128 * g + 25 * b + 128) + 16,
            per_256(-38 * chroma[0] - 74 * chroma[1] + 112 * chroma[2] + 32896),
            per_256(112 * chroma[0] - 94 * chroma[1] - 18 * chroma[2] + 32896)};
}

TEST(Convert, EveryPixelFollowsTheFormulas)
{
    // Some strides are odd: yv12 rounds half a stride down.
    const struct {
        int32_t width, height, padding;
    } sizes[] = {{2, 2, 0}, {2, 6, 1}, {4, 2, 3}, {6, 4, 5}, {34, 18, 0}, {66, 10, 14}};
    for (ozr_image_format format : kFormats)
        for (const auto& [width, height, padding] : sizes) {
            if (format == ozr_image_format_rgba32)
                continue;
            SCOPED_TRACE(testing::Message() << kNames[format] << ' ' << width << 'x' << height);
            const int32_t stride = pixel_bytes(format) * width + padding;
            const TestImage yuv({format, width, height, stride}, 7);
            const TestImage rgb({ozr_image_format_rgba32, width, height, 4 * width + padding}, 8);
            OwnedImage to_rgba, to_yuv(format, width, height, stride + 1);  // its stride stays
            ASSERT_EQ(ozr_image_convert(&yuv, &to_rgba, ozr_image_format_rgba32), ozr_success);
            ASSERT_EQ(ozr_image_convert(&rgb, &to_yuv, format), ozr_success);
            EXPECT_EQ(to_rgba.stride, (4 * width + 15) / 16 * 16);
            // Into memory of the caller's: nothing beside the rows changes.
            TestImage guarded({ozr_image_format_rgba32, width, height, 4 * width + padding}, 9, 16);
            ASSERT_EQ(ozr_image_convert(&yuv, &guarded, ozr_image_format_rgba32), ozr_success);
            for (int at = 0; at < 4 * width * height; ++at) {
                const int row = at / (4 * width), byte = at % (4 * width);
                guarded.buffer.expect(row * guarded.stride + byte, to_rgba.data[row * to_rgba.stride + byte]);
            }
            ASSERT_EQ(guarded.buffer.now, guarded.buffer.want);
            EXPECT_EQ(to_yuv.stride, stride + 1);
            EXPECT_EQ(to_rgba.rotation, 0);
            EXPECT_EQ(to_yuv.rotation, 33);
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x) {
                    ASSERT_EQ(rgb_at(to_rgba, x, y), to_rgb(format, yuv_at(yuv, x, y))) << x << ',' << y;
                    ASSERT_EQ(to_rgba.data[y * to_rgba.stride + 4 * x + 3], 255);
                    const int top = format == ozr_image_format_yuy2 ? y : y / 2 * 2;
                    const Yuv want = from_rgb(format, rgb_at(rgb, x, y), rgb_at(rgb, x / 2 * 2, top));
                    ASSERT_EQ(yuv_at(to_yuv, x, y), want) << x << ',' << y;
                }
        }
}

TEST(Convert, IdentityCopiesWithRotation)
{
    for (ozr_image_format format : kFormats) {
        const TestImage src({format, 6, 4, 4 * 6 + 2}, 9);
        OwnedImage dst;
        ASSERT_EQ(kConvertTo[format](&src, &dst), ozr_success) << kNames[format];
        EXPECT_EQ(dst.rotation, 90);
        for (int y = 0; y < 4; ++y)
            EXPECT_TRUE(std::equal(src.data + y * src.stride,
                                   src.data + y * src.stride + 6 * pixel_bytes(format),
                                   dst.data + y * dst.stride));
    }
}

// Converts into a filled image; expects the code, the lines and an empty destination.
void expect_failure(const ozr_image* src, ozr_image_format to, ozr_err want, const std::string& text,
                    const std::string& innermost = "")
{
    SCOPED_TRACE(text + " to " + kNames[to]);
    OwnedImage dst(to, 2, 2, 0);
    LogCapture log;
    EXPECT_EQ(kConvertTo[to](src, &dst), want);
    std::vector<std::string> chain = {std::string(ozr_err_to_string(want)) + ": from " + text +
                                      " @ ozr_image_convert_to_" + kNames[to]};
    if (!innermost.empty())
        chain.insert(chain.begin(), innermost);
    EXPECT_EQ(log.chain(), chain);
    EXPECT_TRUE(dst.is_empty());
}

std::string operation(ozr_image_format to)
{
    return std::string("interface->to_") + kNames[to] + "(src, dst)";
}

TEST(Convert, RefusesArgumentsFormatsAndPairs)
{
    const char* const constants[] = {"nv12", "yv12", "gray", "rgba32", "yuy2", "nv21"};
    const ozr_image empty = {};
    for (ozr_image_format to : kFormats) {
        const std::string validation =
            std::string("validate_image_format_conversion(src, dst, ozr_image_format_") + constants[to] + ")";
        expect_failure(nullptr, to, ozr_err_invalid_argument, validation);
        expect_failure(&empty, to, ozr_err_invalid_argument, validation);
        TestImage unknown({ozr_image_format_gray, 4, 2, 8}, 10);
        unknown.format = ozr_image_format(6);
        expect_failure(&unknown, to, ozr_err_not_supported, "get_interface(src->format, &interface)");
        for (ozr_image_format from : kFormats) {
            const TestImage src({from, 4, 2, 8}, 10);
            if (from != to && from != ozr_image_format_rgba32 && to != ozr_image_format_rgba32)
                expect_failure(&src, to, ozr_err_not_supported, operation(to));
        }
    }
    const TestImage gray({ozr_image_format_gray, 25, 10, 25}, 13);
    OwnedImage dst(ozr_image_format_gray, 3, 3, 0);
    const LogCapture quiet;
    for (int32_t unknown : {-1, 6})
        EXPECT_EQ(ozr_image_convert(&gray, &dst, ozr_image_format(unknown)), ozr_err_not_supported);
    EXPECT_TRUE(quiet.chain().empty());
    EXPECT_EQ(dst.width, 3);  // nothing is changed
    EXPECT_EQ(ozr_image_convert_to_gray(&empty, nullptr), ozr_err_invalid_argument);
    OwnedImage self(ozr_image_format_gray, 4, 2, 0);
    EXPECT_EQ(ozr_image_convert_to_rgba(&self, &self), ozr_err_invalid_argument);
    // Create accepts a stride above the width that is shorter than a row.
    OwnedImage narrow(ozr_image_format_rgba32, 25, 10, 99);
    EXPECT_EQ(ozr_image_convert_to_gray(&narrow, &dst), ozr_err_invalid_argument);
    EXPECT_TRUE(dst.is_empty());
    EXPECT_EQ(ozr_image_convert_to_rgba(&gray, &narrow), ozr_err_invalid_argument);
    EXPECT_TRUE(narrow.is_empty());
}

TEST(Convert, OddSizesFailWhereChromaIsShared)
{
    for (ozr_image_format format : kFormats)
        for (bool to_rgba : {false, true})
            for (int odd : {1, 2, 3}) {  // bit 0: the width, bit 1: the height
                const int32_t width = 2 + odd % 2, height = 2 + odd / 2;
                const ozr_image_format from = to_rgba ? format : ozr_image_format_rgba32;
                const ozr_image_format to = to_rgba ? ozr_image_format_rgba32 : format;
                const TestImage src({from, width, height, 4 * width}, 11);
                const bool is_yuy2 = format == ozr_image_format_yuy2;
                OwnedImage dst;
                if (is_12_bit(format) || (is_yuy2 && width == 3))
                    expect_failure(&src, to, ozr_err_general, operation(to),
                                   std::string("OZR_ASSERTis_even(src->width)") +
                                       (is_yuy2 ? "" : " && is_even(src->height)") + " FAILED @ ozr_image_" +
                                       kNames[from] + "_to_" + kNames[to]);
                else
                    EXPECT_EQ(ozr_image_convert(&src, &dst, to), ozr_success);
            }
}

}  // namespace
