// Conversions between pixel formats: the bytes, the chain of failure lines, and what becomes of the destination.
#include <math.h>

#include "toolkit_support.h"

namespace
{

struct Yuv {
    int y, u, v;
};
struct Rgb {
    int r, g, b;
};

const ozr_image_format kFormats[] = {ozr_image_format_nv12,   ozr_image_format_yv12, ozr_image_format_gray,
                                     ozr_image_format_rgba32, ozr_image_format_yuy2, ozr_image_format_nv21};
const char* const kNames[] = {"nv12", "yv12", "gray", "rgba", "yuy2", "nv21"};

using Convert = ozr_err (*)(const ozr_image*, ozr_image*);
const Convert kConvertTo[] = {ozr_image_convert_to_nv12, ozr_image_convert_to_yv12,
                              ozr_image_convert_to_gray, ozr_image_convert_to_rgba,
                              ozr_image_convert_to_yuy2, ozr_image_convert_to_nv21};

// The sample of a pixel, straight from the description of each layout.
Yuv yuv_at(const ozr_image& image, int x, int y)
{
    const int s = image.stride, h = image.height;
    const uint8_t* d = image.data;
    const int pair = x / 2 * 2, row = y / 2;
    switch (image.format) {
    case ozr_image_format_nv12:
        return {d[y * s + x], d[(h + row) * s + pair], d[(h + row) * s + pair + 1]};
    case ozr_image_format_nv21:
        return {d[y * s + x], d[(h + row) * s + pair + 1], d[(h + row) * s + pair]};
    case ozr_image_format_yv12:
        return {d[y * s + x], d[s * h + row * s / 2 + x / 2], d[s * h + s * h / 4 + row * s / 2 + x / 2]};
    case ozr_image_format_yuy2:
        return {d[y * s + 2 * x], d[y * s + 2 * pair + 1], d[y * s + 2 * pair + 3]};
    default:
        return {d[y * s + x], 128, 128};
    }
}

int per_256(int sum)
{
    return static_cast<int>(floor(sum / 256.0));
}

int byte(int value)
{
    return std::max(0, std::min(255, value));
}

Rgb to_rgb(ozr_image_format format, Yuv p)
{
    if (format == ozr_image_format_gray)
        return {p.y, p.y, p.y};
    const int c = 298 * (p.y - 16) + 128, d = p.u - 128, e = p.v - 128;
    return {byte(per_256(c + 409 * e)), byte(per_256(c - 100 * d - 208 * e)), byte(per_256(c + 516 * d))};
}

Yuv from_rgb(ozr_image_format format, Rgb p, Rgb chroma)
{
    if (format == ozr_image_format_gray)
        return {per_256(77 * p.r + 151 * p.g + 28 * p.b), 128, 128};
    return {per_256(66 * p.r + 128 * p.g + 25 * p.b + 128) + 16,
            per_256(-38 * chroma.r - 74 * chroma.g + 112 * chroma.b + 32896),
            per_256(112 * chroma.r - 94 * chroma.g - 18 * chroma.b + 32896)};
}

Rgb rgb_at(const ozr_image& image, int x, int y)
{
    const uint8_t* p = image.data + y * image.stride + 4 * x;
    return {p[0], p[1], p[2]};
}

int bytes_per_pixel(ozr_image_format format)
{
    return format == ozr_image_format_rgba32 ? 4 : format == ozr_image_format_yuy2 ? 2 : 1;
}

struct Size {
    int32_t width, height, padding;
};
// Odd strides among them: half of one is rounded down for the rows of yv12.
const Size kSizes[] = {{2, 2, 0}, {2, 6, 1}, {4, 2, 3}, {6, 4, 5}, {34, 18, 0}, {66, 10, 14}};

TEST(Convert, ToRgbaFollowsTheFormulaForEveryPixel)
{
    for (ozr_image_format format : kFormats) {
        if (format == ozr_image_format_rgba32)
            continue;
        for (const Size& size : kSizes) {
            SCOPED_TRACE(testing::Message() << kNames[format] << ' ' << size.width << 'x' << size.height);
            const TestImage src(format, size.width, size.height,
                                bytes_per_pixel(format) * size.width + size.padding, 7);
            OwnedImage dst;
            ASSERT_EQ(ozr_image_convert(&src.image, &dst, ozr_image_format_rgba32), ozr_success);
            ASSERT_EQ(dst.stride, (4 * size.width + 15) / 16 * 16);
            EXPECT_EQ(dst.rotation, 0);
            for (int y = 0; y < size.height; ++y)
                for (int x = 0; x < size.width; ++x) {
                    const Rgb want = to_rgb(format, yuv_at(src.image, x, y)), got = rgb_at(dst, x, y);
                    ASSERT_TRUE(got.r == want.r && got.g == want.g && got.b == want.b) << x << ',' << y;
                    ASSERT_EQ(dst.data[y * dst.stride + 4 * x + 3], 255);
                }
        }
    }
}

TEST(Convert, FromRgbaTakesChromaFromTheTopLeftPixel)
{
    for (ozr_image_format format : kFormats) {
        if (format == ozr_image_format_rgba32)
            continue;
        for (const Size& size : kSizes) {
            SCOPED_TRACE(testing::Message() << kNames[format] << ' ' << size.width << 'x' << size.height);
            const TestImage src(ozr_image_format_rgba32, size.width, size.height,
                                4 * size.width + size.padding, 8);
            OwnedImage dst;  // fits already, with a stride that is kept
            const int32_t stride = bytes_per_pixel(format) * size.width + size.padding + 1;
            ASSERT_EQ(ozr_image_create(&dst, size.width, size.height, stride, format, 33), ozr_success);
            ASSERT_EQ(ozr_image_convert(&src.image, &dst, format), ozr_success);
            ASSERT_EQ(dst.stride, stride);
            EXPECT_EQ(dst.rotation, 33);
            for (int y = 0; y < size.height; ++y)
                for (int x = 0; x < size.width; ++x) {
                    const int top = format == ozr_image_format_yuy2 ? y : y / 2 * 2;
                    const Yuv want =
                        from_rgb(format, rgb_at(src.image, x, y), rgb_at(src.image, x / 2 * 2, top));
                    const Yuv got = yuv_at(dst, x, y);
                    ASSERT_TRUE(got.y == want.y && got.u == want.u && got.v == want.v) << x << ',' << y;
                }
        }
    }
}

TEST(Convert, KnownColours)
{
    const struct {
        Rgb rgb;
        Yuv yuv;  // by hand
    } colours[] = {{{255, 255, 255}, {234, 128, 128}},
                   {{0, 0, 0}, {16, 128, 128}},
                   {{255, 0, 0}, {82, 90, 240}},
                   {{0, 0, 255}, {41, 240, 110}}};
    for (const auto& colour : colours) {
        Bytes pixels;
        for (int i = 0; i < 4; ++i)
            for (int c : {colour.rgb.r, colour.rgb.g, colour.rgb.b, 0})
                pixels.push_back(static_cast<uint8_t>(c));
        const ozr_image src = {pixels.data(), 16, 2, 2, ozr_image_format_rgba32, 8, 0};
        OwnedImage dst;
        ASSERT_EQ(ozr_image_convert_to_nv21(&src, &dst), ozr_success);
        EXPECT_EQ(dst.data[0], colour.yuv.y);
        EXPECT_EQ(dst.data[2 * dst.stride], colour.yuv.v);
        EXPECT_EQ(dst.data[2 * dst.stride + 1], colour.yuv.u);
    }
}

TEST(Convert, IdentityCopiesWithRotation)
{
    for (ozr_image_format format : kFormats) {
        const TestImage src(format, 6, 4, 4 * 6 + 2, 9);
        OwnedImage dst;
        ASSERT_EQ(kConvertTo[format](&src.image, &dst), ozr_success) << kNames[format];
        EXPECT_EQ(dst.rotation, 90);
        for (int y = 0; y < 4; ++y)
            EXPECT_TRUE(std::equal(dst.data + y * dst.stride,
                                   dst.data + y * dst.stride + 6 * bytes_per_pixel(format),
                                   src.image.data + y * src.image.stride));
    }
}

std::string exception(const char* code, const std::string& text, const std::string& function)
{
    return std::string("OZR_EXCEPTION(") + code + ") " + text + " @ " + function + "()";
}

TEST(Convert, EveryOtherPairIsRefusedAndEmptiesTheDestination)
{
    for (ozr_image_format from : kFormats)
        for (ozr_image_format to : kFormats) {
            if (from == to || from == ozr_image_format_rgba32 || to == ozr_image_format_rgba32)
                continue;
            SCOPED_TRACE(testing::Message() << kNames[from] << " to " << kNames[to]);
            const TestImage src(from, 4, 2, 8, 10);
            OwnedImage dst;
            ASSERT_EQ(ozr_image_create(&dst, 3, 3, 0, ozr_image_format_gray, 1), ozr_success);
            LogCapture log;
            EXPECT_EQ(ozr_image_convert(&src.image, &dst, to), ozr_err_not_supported);
            const std::string name(kNames[to]);
            EXPECT_EQ(log.lines(), std::vector<std::string>{exception(
                                       "ozr_err_not_supported", "from interface->to_" + name + "(src, dst)",
                                       "ozr_image_convert_to_" + name)});
            EXPECT_TRUE(dst.is_empty());
        }
}

TEST(Convert, OddSizesFailWhereChromaIsShared)
{
    const std::string both = "is_even(src->width) && is_even(src->height)", width = "is_even(src->width)";
    const struct {
        int32_t columns, rows;
        ozr_image_format from, to;
        std::string condition;  // empty: converts
    } rows[] = {
        {3, 2, ozr_image_format_rgba32, ozr_image_format_nv12, both},
        {2, 3, ozr_image_format_rgba32, ozr_image_format_nv21, both},
        {2, 3, ozr_image_format_rgba32, ozr_image_format_yv12, both},
        {3, 2, ozr_image_format_nv12, ozr_image_format_rgba32, both},
        {2, 3, ozr_image_format_nv21, ozr_image_format_rgba32, both},
        {3, 3, ozr_image_format_yv12, ozr_image_format_rgba32, both},
        {3, 2, ozr_image_format_rgba32, ozr_image_format_yuy2, width},
        {3, 2, ozr_image_format_yuy2, ozr_image_format_rgba32, width},
        {2, 3, ozr_image_format_yuy2, ozr_image_format_rgba32, ""},
        {2, 3, ozr_image_format_rgba32, ozr_image_format_yuy2, ""},
        {3, 1, ozr_image_format_rgba32, ozr_image_format_gray, ""},
        {1, 3, ozr_image_format_gray, ozr_image_format_rgba32, ""},
    };
    for (const auto& row : rows) {
        const std::string from(kNames[row.from]), to(kNames[row.to]);
        SCOPED_TRACE(from + " to " + to);
        const TestImage src(row.from, row.columns, row.rows, 4 * row.columns, 11);
        OwnedImage dst;
        LogCapture log;
        const ozr_err result = ozr_image_convert(&src.image, &dst, row.to);
        if (row.condition.empty()) {
            EXPECT_EQ(result, ozr_success);
            continue;
        }
        EXPECT_EQ(result, ozr_err_general);
        const std::vector<std::string> chain = {
            "OZR_ASSERT" + row.condition + " FAILED @ ozr_image_" + from + "_to_" + to + "()",
            exception("ozr_err_general", "from interface->to_" + to + "(src, dst)",
                      "ozr_image_convert_to_" + to)};
        EXPECT_EQ(log.lines(), chain);
        EXPECT_TRUE(dst.is_empty());
    }
}

TEST(Convert, ReportsBadArgumentsOnceAndEmptiesTheDestination)
{
    const char* const constants[] = {"nv12", "yv12", "gray", "rgba32", "yuy2", "nv21"};
    const TestImage good(ozr_image_format_gray, 4, 2, 4, 12);
    for (ozr_image_format to : kFormats) {
        const std::vector<std::string> chain = {
            exception("ozr_err_invalid_argument",
                      std::string("from validate_image_format_conversion(src, dst, ozr_image_format_") +
                          constants[to] + ")",
                      std::string("ozr_image_convert_to_") + kNames[to])};
        const ozr_image empty = {};
        for (const ozr_image* src : {static_cast<const ozr_image*>(nullptr), &empty}) {
            OwnedImage dst;
            ASSERT_EQ(ozr_image_create(&dst, 4, 2, 0, to, 1), ozr_success);
            LogCapture log;
            EXPECT_EQ(kConvertTo[to](src, &dst), ozr_err_invalid_argument);
            EXPECT_EQ(log.lines(), chain);
            EXPECT_TRUE(dst.is_empty());
        }
        LogCapture log;
        EXPECT_EQ(kConvertTo[to](&good.image, nullptr), ozr_err_invalid_argument);
        EXPECT_EQ(log.lines(), chain);
    }
    OwnedImage self;
    ASSERT_EQ(ozr_image_create(&self, 4, 2, 0, ozr_image_format_gray, 1), ozr_success);
    const LogCapture quiet;
    EXPECT_EQ(ozr_image_convert_to_rgba(&self, &self), ozr_err_invalid_argument);
}

TEST(Convert, UnknownFormats)
{
    TestImage src(ozr_image_format_gray, 4, 2, 4, 13);
    OwnedImage dst;
    ASSERT_EQ(ozr_image_create(&dst, 3, 3, 0, ozr_image_format_gray, 1), ozr_success);
    LogCapture log;
    for (int32_t unknown : {-1, 6})
        EXPECT_EQ(ozr_image_convert(&src.image, &dst, ozr_image_format(unknown)), ozr_err_not_supported);
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(dst.width, 3);  // left as it is

    src.image.format = ozr_image_format(6);
    EXPECT_EQ(ozr_image_convert_to_gray(&src.image, &dst), ozr_err_not_supported);
    EXPECT_EQ(log.lines(), std::vector<std::string>{exception("ozr_err_not_supported",
                                                              "from get_interface(src->format, &interface)",
                                                              "ozr_image_convert_to_gray")});
    EXPECT_TRUE(dst.is_empty());
}

TEST(Convert, RefusesRowsThatDoNotFitTheirImage)
{
    const LogCapture quiet;
    OwnedImage narrow, dst;  // a stride above the width but shorter than a row is accepted by create
    ASSERT_EQ(ozr_image_create(&narrow, 100, 10, 101, ozr_image_format_rgba32, 0), ozr_success);
    EXPECT_EQ(ozr_image_convert_to_gray(&narrow, &dst), ozr_err_invalid_argument);
    EXPECT_TRUE(dst.is_empty());

    const TestImage gray(ozr_image_format_gray, 100, 10, 100, 14);
    EXPECT_EQ(ozr_image_convert_to_rgba(&gray.image, &narrow), ozr_err_invalid_argument);
    EXPECT_TRUE(narrow.is_empty());
}

}  // namespace
