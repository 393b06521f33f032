// Operations on image records: the mirror, the grey subsampling, the two-point warp.
#include "toolkit_support.h"

namespace
{

TEST(Hflip, ExchangesPixelsAndKeepsPadding)
{
    const struct {
        ozr_image_format format;
        int32_t width, height, stride;
        Bytes row, flipped;            // of the first plane
        Bytes chroma, chroma_flipped;  // of the second, if any
    } rows[] = {
        {ozr_image_format_gray, 1, 2, 2, {7, 99}, {7, 99}, {}, {}},
        {ozr_image_format_gray, 3, 2, 4, {1, 2, 3, 99}, {3, 2, 1, 99}, {}, {}},
        {ozr_image_format_rgba32,
         2,
         3,
         9,
         {1, 2, 3, 4, 5, 6, 7, 8, 99},
         {5, 6, 7, 8, 1, 2, 3, 4, 99},
         {},
         {}},
        {ozr_image_format_nv12,
         6,
         4,
         7,
         {1, 2, 3, 4, 5, 6, 99},
         {6, 5, 4, 3, 2, 1, 99},
         {10, 20, 11, 21, 12, 22, 99},
         {12, 22, 11, 21, 10, 20, 99}},
        {ozr_image_format_nv21, 4, 3, 4, {1, 2, 3, 4}, {4, 3, 2, 1}, {20, 10, 21, 11}, {21, 11, 20, 10}},
        {ozr_image_format_nv12,
         5,
         2,
         5,
         {1, 2, 3, 4, 5},
         {5, 4, 3, 2, 1},
         {10, 20, 11, 21, 12},
         {21, 12, 11, 10, 20}},
    };
    for (const auto& row : rows) {
        Bytes pixels, want;
        for (int y = 0; y < plane_rows(row.format, row.height); ++y) {
            const Bytes& from = y < row.height ? row.row : row.chroma;
            const Bytes& to = y < row.height ? row.flipped : row.chroma_flipped;
            pixels.insert(pixels.end(), from.begin(), from.end());
            want.insert(want.end(), to.begin(), to.end());
        }
        ozr_image image = {pixels.data(),
                           static_cast<int32_t>(pixels.size()),
                           row.width,
                           row.height,
                           row.format,
                           row.stride,
                           0};
        EXPECT_EQ(ozr_image_hflip(&image), ozr_success);
        EXPECT_EQ(pixels, want) << "format " << row.format << " width " << row.width;
    }
}

TEST(Hflip, TwiceIsTheIdentityForLongRows)
{
    for (ozr_image_format format : {ozr_image_format_gray, ozr_image_format_rgba32, ozr_image_format_nv12})
        for (int32_t width = 2; width < 80; width += 2) {
            TestImage image(format, width, 4, 4 * width + 3, static_cast<uint32_t>(width), 32);
            ASSERT_EQ(ozr_image_hflip(&image.image), ozr_success);
            const int32_t pixel = format == ozr_image_format_rgba32 ? 4 : 1;
            EXPECT_EQ(image.image.data[0], image.buffer.original()[static_cast<size_t>((width - 1) * pixel)]);
            ASSERT_EQ(ozr_image_hflip(&image.image), ozr_success);
            ASSERT_EQ(image.buffer.bytes(), image.buffer.original()) << width;
            ASSERT_TRUE(image.buffer.guards_intact());
        }
}

TEST(Hflip, Refuses)
{
    for (ozr_image_format format : {ozr_image_format_yv12, ozr_image_format_yuy2, ozr_image_format(6)}) {
        TestImage image(format, 4, 2, 8, 3);
        EXPECT_EQ(ozr_image_hflip(&image.image), ozr_err_not_supported);
        EXPECT_EQ(image.buffer.bytes(), image.buffer.original());
    }
    OwnedImage narrow;
    ASSERT_EQ(ozr_image_create(&narrow, 100, 10, 101, ozr_image_format_rgba32, 0), ozr_success);
    EXPECT_EQ(ozr_image_hflip(&narrow), ozr_err_invalid_argument);
    EXPECT_EQ(ozr_image_hflip(nullptr), ozr_err_invalid_argument);
}

int luma_at(const ozr_image& image, int x, int y)
{
    const uint8_t* row = image.data + y * image.stride;
    if (image.format == ozr_image_format_rgba32)
        return (66 * row[4 * x] + 128 * row[4 * x + 1] + 25 * row[4 * x + 2] + 128) / 256 + 16;
    return row[image.format == ozr_image_format_yuy2 ? 2 * x : x];
}

TEST(SampleGray, TakesEveryNthLuma)
{
    for (ozr_image_format format : {ozr_image_format_nv12, ozr_image_format_nv21, ozr_image_format_yv12,
                                    ozr_image_format_gray, ozr_image_format_yuy2, ozr_image_format_rgba32})
        for (int32_t n : {1, 2, 3, 5, 40})
            for (int32_t width : {7, 16, 33}) {
                SCOPED_TRACE(testing::Message() << "format " << format << " n " << n << " width " << width);
                const TestImage src(format, width, 11, 4 * width, 21);
                OwnedImage dst;
                ASSERT_EQ(ozr_image_sample_gray(&dst, &src.image, n), ozr_success);
                EXPECT_EQ(dst.format, ozr_image_format_gray);
                EXPECT_EQ(dst.rotation, 90);
                ASSERT_EQ(dst.width, width / n);
                ASSERT_EQ(dst.height, 11 / n);
                EXPECT_EQ(dst.stride, (width / n + 15) / 16 * 16);
                for (int y = 0; y < dst.height; ++y)
                    for (int x = 0; x < dst.width; ++x)
                        ASSERT_EQ(dst.data[y * dst.stride + x], luma_at(src.image, x * n, y * n));
            }
}

TEST(SampleGray, UsesAFittingDestinationWhateverItsFormat)
{
    const TestImage src(ozr_image_format_rgba32, 9, 7, 36, 22);  // 9 / 2 columns round down
    TestImage dst(ozr_image_format_yv12, 4, 3, 5, 23, 16);
    ASSERT_EQ(ozr_image_sample_gray(&dst.image, &src.image, 2), ozr_success);
    EXPECT_EQ(dst.image.format, ozr_image_format_yv12);
    Bytes want = dst.buffer.original();
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 4; ++x)
            want[static_cast<size_t>(5 * y + x)] = static_cast<uint8_t>(luma_at(src.image, 2 * x, 2 * y));
    EXPECT_EQ(dst.buffer.bytes(), want);
    EXPECT_TRUE(dst.buffer.guards_intact());
}

TEST(SampleGray, CopiesPaddingOnlyBetweenEqualStrides)
{
    const TestImage src(ozr_image_format_nv12, 6, 4, 8, 24);
    TestImage same(ozr_image_format_gray, 6, 4, 8, 25), other(ozr_image_format_gray, 6, 4, 7, 26);
    ASSERT_EQ(ozr_image_sample_gray(&same.image, &src.image, 1), ozr_success);
    ASSERT_EQ(ozr_image_sample_gray(&other.image, &src.image, 1), ozr_success);
    EXPECT_TRUE(std::equal(same.image.data, same.image.data + 32, src.image.data));
    EXPECT_EQ(other.image.data[5], src.image.data[5]);
    EXPECT_EQ(other.image.data[6], other.buffer.original()[6]);
}

TEST(SampleGray, Refuses)
{
    TestImage src(ozr_image_format_gray, 8, 8, 8, 27);
    OwnedImage dst, narrow, empty;
    EXPECT_EQ(ozr_image_sample_gray(nullptr, &src.image, 2), ozr_err_invalid_argument);
    EXPECT_EQ(ozr_image_sample_gray(&dst, nullptr, 2), ozr_err_invalid_argument);
    EXPECT_EQ(ozr_image_sample_gray(&dst, &src.image, 0), ozr_err_invalid_argument);
    EXPECT_EQ(ozr_image_sample_gray(&dst, &empty, 2), ozr_err_invalid_argument);
    EXPECT_TRUE(dst.is_empty());
    EXPECT_EQ(ozr_image_sample_gray(&src.image, &src.image, 2), ozr_err_invalid_argument);
    src.image.format = ozr_image_format(6);
    EXPECT_EQ(ozr_image_sample_gray(&dst, &src.image, 2), ozr_err_not_supported);
    EXPECT_EQ(dst.width, 4);  // shaped before the format is looked at
    ASSERT_EQ(ozr_image_create(&narrow, 100, 10, 101, ozr_image_format_rgba32, 0), ozr_success);
    EXPECT_EQ(ozr_image_sample_gray(&dst, &narrow, 2), ozr_err_invalid_argument);
}

// --- Warp ---

struct Warp {
    int32_t sx1, sy1, sx2, sy2, dx1, dy1, dx2, dy2;
};

int32_t low32(int64_t number)
{
    return static_cast<int32_t>(static_cast<uint32_t>(number));
}

// The value of one destination pixel; -1 where a neighbour would lie outside the `size` source bytes.
int slow_warp(const Warp& w, const uint8_t* src, int64_t size, int32_t columns, int32_t rows, int32_t pixel,
              int x, int y)
{
    const auto half_up = [](int32_t a, int32_t b) { return (a + b + 1) >> 1; };
    const int64_t ex = w.dx2 - w.dx1, ey = w.dy2 - w.dy1, fx = w.sx2 - w.sx1, fy = w.sy2 - w.sy1;
    const int32_t d = low32(ex * ex + ey * ey);
    const int64_t a = fx * ex + fy * ey, b = fx * ey - fy * ex;
    const int64_t u = x - half_up(w.dx1, w.dx2), v = y - half_up(w.dy1, w.dy2);
    const int32_t px = low32(int64_t{half_up(w.sx1, w.sx2)} * d + a * u + b * v);
    const int32_t py = low32(int64_t{half_up(w.sy1, w.sy2)} * d - b * u + a * v);
    const int32_t column = px / d, row = py / d;
    if (column < 0 || row < 0 || column >= columns || row >= rows)
        return 0;
    const int32_t rx = px % d, ry = py % d;
    const int64_t p = int64_t{row == rows - 1 ? row - 1 : row} * columns +
                      int64_t{column == columns - 1 ? column - 1 : column} * pixel;
    if (p < 0 || p + columns + pixel >= size)
        return -1;
    const int p00 = src[p], p01 = src[p + pixel], p10 = src[p + columns], p11 = src[p + columns + pixel];
    const int32_t linear = low32(int64_t{p10 - p00} * ry + int64_t{p01 - p00} * rx) / d;
    const int32_t corner = low32(int64_t{low32(int64_t{rx} * ry) >> 4} * (p11 + p00 - p01 - p10));
    return (p00 + linear + corner / (low32(int64_t{d} * d) >> 4)) & 255;
}

const Warp kWarps[] = {
    {3, 4, 17, 9, 3, 4, 17, 9},                      // identity
    {3, 4, 17, 9, 5, 2, 19, 7},                      // shift: the top rows and left columns come from outside
    {2, 2, 20, 12, 12, 2, 2, 20},                    // quarter turn
    {4, 4, 8, 4, 0, 0, 20, 3},                       // enlarged and tilted
    {0, 0, 23, 17, 6, 6, 12, 10},                    // reduced
    {10, 8, 12, 9, 12, 9, 10, 8},                    // half turn, points 2 pixels apart
    {0, 9, 23, 9, -110, 9, 115, 12},                 // points so far apart that D * D wraps
    {19, 19, 18, 9, -63868, -57686, 43170, -48776},  // all products wrap, D below 0
};

TEST(Warp, FollowsTheFormulaInEveryFormat)
{
    for (ozr_image_format format :
         {ozr_image_format_gray, ozr_image_format_nv12, ozr_image_format_nv21, ozr_image_format_yuy2})
        for (const Warp& w : kWarps) {
            SCOPED_TRACE(testing::Message() << "format " << format << " warp " << &w - kWarps);
            const int32_t pixel = format == ozr_image_format_yuy2 ? 2 : 1;
            const TestImage src(format, 23, 18, 23 * pixel + 3, 31);
            TestImage dst(ozr_image_format_nv12, 29, 21, 31, 32, 16);
            ASSERT_EQ(ozr_image_warp_by_2points(&src.image, w.sx1, w.sy1, w.sx2, w.sy2, &dst.image, w.dx1,
                                                w.dy1, w.dx2, w.dy2),
                      ozr_success);
            Bytes want = dst.buffer.original();
            int covered = 0;
            for (int y = 0; y < 21; ++y)
                for (int x = 0; x < 29; ++x) {
                    const size_t at = static_cast<size_t>(31 * y + x);
                    const int value = slow_warp(w, src.image.data, src.image.stride * 18, src.image.stride,
                                                18, pixel, x, y);
                    want[at] = value < 0 ? dst.image.data[at] : static_cast<uint8_t>(value);
                    covered += value > 0;
                }
            EXPECT_GT(covered, 15);
            EXPECT_EQ(dst.buffer.bytes(), want);
            EXPECT_TRUE(dst.buffer.guards_intact());
        }
}

TEST(Warp, ReadsNothingOutsideTinyOrPackedSources)
{
    for (int32_t width : {1, 2, 3})
        for (int32_t height : {1, 2})
            for (ozr_image_format format : {ozr_image_format_gray, ozr_image_format_yuy2}) {
                const TestImage src(format, width, height, width * (format == ozr_image_format_yuy2 ? 2 : 1),
                                    33);
                TestImage dst(ozr_image_format_gray, 9, 9, 9, 34);
                for (const Warp& w : kWarps)
                    EXPECT_EQ(ozr_image_warp_by_2points(&src.image, w.sx1 - 3, w.sy1 - 4, w.sx2 - 3,
                                                        w.sy2 - 4, &dst.image, w.dx1 - 2, w.dy1 - 2,
                                                        w.dx2 - 2, w.dy2 - 2),
                              ozr_success);
            }
}

TEST(Warp, StrideZeroCountsAsTheWidth)
{
    TestImage src(ozr_image_format_gray, 8, 6, 8, 35);
    TestImage dst(ozr_image_format_gray, 8, 6, 8, 36);
    src.image.stride = 0;
    ASSERT_EQ(ozr_image_warp_by_2points(&src.image, 0, 0, 7, 0, &dst.image, 0, 0, 7, 0), ozr_success);
    EXPECT_EQ(dst.buffer.bytes()[0], src.buffer.bytes()[0]);
    EXPECT_EQ(dst.buffer.bytes()[8 * 3 + 5], src.buffer.bytes()[8 * 3 + 5]);
}

TEST(Warp, Refuses)
{
    TestImage src(ozr_image_format_gray, 8, 6, 8, 37), dst(ozr_image_format_gray, 8, 6, 8, 38);
    const auto warp = [&](const ozr_image* from, ozr_image* onto, int32_t dx2) {
        return ozr_image_warp_by_2points(from, 0, 0, 4, 0, onto, 2, 3, dx2, 3);
    };
    EXPECT_EQ(warp(nullptr, &dst.image, 2), ozr_err_invalid_argument);
    EXPECT_EQ(warp(&src.image, nullptr, 2), ozr_err_invalid_argument);
    EXPECT_EQ(warp(&src.image, &dst.image, 2), ozr_err_invalid_status);
    EXPECT_EQ(warp(&src.image, &dst.image, 3), ozr_err_invalid_argument);        // D * D >> 4 is 0
    EXPECT_EQ(warp(&src.image, &dst.image, 2 + 65536), ozr_err_invalid_status);  // D wraps to 0
    for (ozr_image_format format : {ozr_image_format_yv12, ozr_image_format_rgba32, ozr_image_format(6)}) {
        src.image.format = format;
        EXPECT_EQ(warp(&src.image, &dst.image, 2), ozr_err_invalid_status);
        EXPECT_EQ(warp(&src.image, &dst.image, 6), ozr_err_not_supported);
    }
    src.image.format = ozr_image_format_gray;
    src.image.data = nullptr;
    EXPECT_EQ(warp(&src.image, &dst.image, 6), ozr_err_invalid_argument);
    EXPECT_EQ(dst.buffer.bytes(), dst.buffer.original());
}

TEST(Warp, GreyMemoryGivesTheSameAsAGreyImage)
{
    const Warp& w = kWarps[3];
    const TestImage src(ozr_image_format_gray, 23, 18, 26, 39);
    TestImage dst(ozr_image_format_gray, 20, 20, 24, 40), plain(ozr_image_format_gray, 20, 20, 24, 40);
    const auto gray_warp = [&](const uint8_t* from, int32_t width, int32_t dx2) {
        return warp_image_by_2points(plain.image.data, width, 20, 24, from, 23, 18, 26, w.sx1, w.sy1, w.sx2,
                                     w.sy2, w.dx1, w.dy1, dx2, w.dy2);
    };
    ASSERT_EQ(ozr_image_warp_by_2points(&src.image, w.sx1, w.sy1, w.sx2, w.sy2, &dst.image, w.dx1, w.dy1,
                                        w.dx2, w.dy2),
              ozr_success);
    EXPECT_EQ(gray_warp(src.image.data, 20, w.dx2), ozr_success);
    EXPECT_EQ(plain.buffer.bytes(), dst.buffer.bytes());
    EXPECT_EQ(gray_warp(nullptr, 20, w.dx2), ozr_err_invalid_argument);
    EXPECT_EQ(gray_warp(src.image.data, 0, w.dx2), ozr_err_invalid_argument);
}

TEST(WarpIntoRows, HalvesDistantPointsFirst)
{
    const int32_t width = 40, height = 30;
    const TestImage src(ozr_image_format_gray, width, height, width, 41);
    const struct {
        Warp given,
            used;  // the second by hand: each point to (centre + point + 1) >> 1 while D * D > 6000000
    } rows[] = {
        {{4, 4, 30, 20, 3, 5, 33, 22}, {4, 4, 30, 20, 3, 5, 33, 22}},  // D * D = 1413721
        // 60 apart, D * D = 12960000: one round
        {{0, 10, 39, 11, 0, 9, 60, 9}, {10, 11, 30, 11, 15, 9, 45, 9}},
        // 300 apart: D * D wraps below 0, no round
        {{0, 10, 39, 11, -100, 9, 200, 9}, {0, 10, 39, 11, -100, 9, 200, 9}},
    };
    for (const auto& row : rows) {
        GuardedBuffer dst(size_t{25} * 33, 42);
        std::vector<uint8_t*> lines;
        for (int y = 0; y < 25; ++y)
            lines.push_back(dst.data() + y * 33);
        const Warp &g = row.given, &u = row.used;
        ASSERT_EQ(ozr_warp_image_by_2points_uc_scale(src.image.data, width, height, g.sx1, g.sy1, g.sx2,
                                                     g.sy2, lines.data(), 33, 25, g.dx1, g.dy1, g.dx2, g.dy2),
                  ozr_success);
        for (int y = 0; y < 25; ++y)
            for (int x = 0; x < 33; ++x)
                ASSERT_EQ(dst.data()[y * 33 + x],
                          slow_warp(u, src.image.data, width * height, width, height, 1, x, y))
                    << x << ',' << y;
        EXPECT_TRUE(dst.guards_intact());
    }
}

TEST(WarpIntoRows, Refuses)
{
    uint8_t pixels[4] = {1, 2, 3, 4};
    uint8_t* lines[2] = {pixels, nullptr};
    const auto warp = [&](const uint8_t* src, uint8_t** rows, int32_t rows_count, int32_t dx2) {
        return ozr_warp_image_by_2points_uc_scale(src, 2, 2, 0, 0, 1, 1, rows, 1, rows_count, 0, 0, dx2, 0);
    };
    EXPECT_EQ(warp(pixels, lines, 1, 0), ozr_err_invalid_argument);
    EXPECT_EQ(warp(nullptr, nullptr, 0, 0), ozr_err_invalid_argument);
    EXPECT_EQ(warp(nullptr, nullptr, 0, 5), ozr_success);
    EXPECT_EQ(warp(nullptr, lines, 1, 5), ozr_err_invalid_argument);
    EXPECT_EQ(warp(pixels, nullptr, 1, 5), ozr_err_invalid_argument);
    EXPECT_EQ(warp(pixels, lines, 2, 5), ozr_err_invalid_argument);
    EXPECT_EQ(warp(pixels, lines, 1, 256), ozr_err_invalid_argument);        // D * D wraps to 0
    EXPECT_EQ(warp(pixels, lines, 1, INT32_MAX), ozr_err_invalid_argument);  // D wraps to 1
}

}  // namespace
