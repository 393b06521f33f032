// Grey pictures in plain memory: resizing, cropping, turning, subsampling, texture codes.
#include "toolkit_support.h"

namespace
{

struct Size {
    int32_t width, height;
};

// A source whose neighbours beyond the last row and column are there to be read, as enlarging needs them.
struct Picture {
    Size size;
    int32_t stride;
    Bytes bytes;

    Picture(Size s, int32_t padding, uint32_t seed, int32_t pixel = 1, bool with_border = true)
        : size(s), stride(s.width * pixel + padding),
          bytes(
              random_bytes(static_cast<size_t>(stride * s.height + (with_border ? stride + pixel : 0)), seed))
    {
    }
    const uint8_t* data() const { return bytes.data(); }
    int at(int64_t x, int64_t y) const { return bytes[static_cast<size_t>(y * stride + x)]; }
};

int slow_nearest(const Picture& src, Size dst, int x, int y)
{
    return src.at(int64_t{x} * ((src.size.width << 10) / dst.width) >> 10,
                  int64_t{y} * ((src.size.height << 10) / dst.height) >> 10);
}

int slow_bilinear(const Picture& src, Size dst, int x, int y)
{
    const int64_t px = int64_t{x} * ((src.size.width << 10) / dst.width);
    const int64_t py = int64_t{y} * ((src.size.height << 10) / dst.height);
    const int64_t right = x + 1 < dst.width ? 1 : 0, below = y + 1 < dst.height ? 1 : 0;
    int64_t sum = 0;
    for (int64_t j = 0; j < 2; ++j)
        for (int64_t i = 0; i < 2; ++i) {
            const int64_t weight_x = i == 1 ? px % 1024 : 1024 - px % 1024;
            const int64_t weight_y = j == 1 ? py % 1024 : 1024 - py % 1024;
            if (weight_x * weight_y != 0)
                sum += weight_x * weight_y * src.at(px / 1024 + i * right, py / 1024 + j * below);
        }
    return static_cast<int>(sum / 1048576);
}

using Resize = ozr_err (*)(uint8_t*, int32_t, int32_t, int32_t, const uint8_t*, int32_t, int32_t, int32_t);

const Size kSources[] = {{1, 1}, {2, 2}, {3, 5}, {16, 7}, {35, 33}};
const Size kTargets[] = {{1, 1}, {2, 3}, {4, 4}, {17, 8}, {35, 33}, {50, 41}};

void expect_resized(Resize resize, int (*slow)(const Picture&, Size, int, int), bool border_of_small)
{
    for (Size from : kSources)
        for (Size to : kTargets) {
            SCOPED_TRACE(testing::Message()
                         << from.width << 'x' << from.height << " to " << to.width << 'x' << to.height);
            const bool enlarges = to.width > from.width || to.height > from.height;
            const Picture src(from, 3, 51, 1,
                              enlarges && border_of_small);  // else exactly as long as described
            GuardedBuffer dst(static_cast<size_t>((to.width + 2) * to.height), 52);
            ASSERT_EQ(resize(dst.data(), to.width, to.height, to.width + 2, src.data(), from.width,
                             from.height, src.stride),
                      ozr_success);
            Bytes want = dst.original();
            for (int y = 0; y < to.height; ++y)
                for (int x = 0; x < to.width; ++x)
                    want[static_cast<size_t>(y * (to.width + 2) + x)] =
                        static_cast<uint8_t>(slow(src, to, x, y));
            EXPECT_EQ(dst.bytes(), want);
            EXPECT_TRUE(dst.guards_intact());
        }
}

TEST(Resize, NearestFollowsAccumulatedPositions)
{
    expect_resized(resize_grayimage_nn, slow_nearest, false);
}

TEST(Resize, BilinearFollowsItsFormula)
{
    expect_resized(resize_grayimage_bi, slow_bilinear, true);
    const uint8_t src[] = {0, 255, 0, 255};
    uint8_t dst[16];
    ASSERT_EQ(resize_grayimage_bi(dst, 4, 4, 4, src, 2, 2, 2),
              ozr_success);  // by hand: twice exactly stays inside
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(dst[i], (Bytes{0, 127, 255, 255})[static_cast<size_t>(i % 4)]);
}

TEST(Resize, StrideZeroMeansTheWidthForNearestOnly)
{
    const uint8_t src[] = {1, 2, 3, 4};
    uint8_t dst[4] = {};
    ASSERT_EQ(resize_grayimage_nn(dst, 2, 2, 0, src, 2, 2, 0), ozr_success);
    EXPECT_EQ(Bytes(dst, dst + 4), (Bytes{1, 2, 3, 4}));
    ASSERT_EQ(resize_grayimage_bi(dst, 2, 2, 2, src, 2, 2, 0), ozr_success);
    EXPECT_EQ(Bytes(dst, dst + 4), (Bytes{1, 2, 1, 2}));
}

TEST(Resize, RefusesEachFault)
{
    uint8_t pixels[4] = {9, 9, 9, 9};
    const struct {
        const char* what;
        int32_t dst_width, dst_height;
        bool dst, src;
        int32_t src_width, src_height;
        ozr_err nearest, bilinear;
    } faults[] = {
        {"no columns", 0, 2, true, true, 2, 2, -3, -3},
        {"no rows", 2, 0, true, true, 2, 2, -3, -3},
        {"no columns, negative rows", 0, -1, true, true, 2, 2, -3, -3},
        {"negative rows", 2, -1, true, true, 2, 2, 0, 0},
        {"negative rows, no source", 2, -1, true, false, 2, 2, -3, 0},
        {"negative columns", -1, 2, true, true, 2, 2, -3, -3},
        {"no source", 2, 2, true, false, 2, 2, -3, -3},
        {"no destination", 2, 2, false, true, 2, 2, -3, -3},
        {"empty source", 2, 2, true, true, 0, 2, -3, -3},
        {"negative source", 2, 2, true, true, 2, -5, -3, -3},
        {"negative positions", 1, 2, true, true, 1 << 21, 2, -3, -3},
    };
    for (const auto& f : faults) {
        SCOPED_TRACE(f.what);
        uint8_t* dst = f.dst ? pixels : nullptr;
        const uint8_t* src = f.src ? pixels : nullptr;
        EXPECT_EQ(resize_grayimage_nn(dst, f.dst_width, f.dst_height, 2, src, f.src_width, f.src_height, 2),
                  f.nearest);
        EXPECT_EQ(resize_grayimage_bi(dst, f.dst_width, f.dst_height, 2, src, f.src_width, f.src_height, 2),
                  f.bilinear);
    }
    EXPECT_EQ(Bytes(pixels, pixels + 4), (Bytes{9, 9, 9, 9}));
}

TEST(Crop, OfTheWholeEqualsTheResizeAndOfAPartThatOfThePart)
{
    const Picture src({35, 33}, 4, 53);
    const ozr_rect whole = {0, 0, 35, 33}, part = {3, 5, 20, 26};
    Bytes plain(50 * 41), cropped(50 * 41);
    for (Size to : kTargets) {
        const auto check = [&](Resize resize, auto crop_resize, const ozr_rect& crop) {
            const uint8_t* corner = src.data() + crop.top * src.stride + crop.left;
            ASSERT_EQ(resize(plain.data(), to.width, to.height, 50, corner, crop.right - crop.left,
                             crop.bottom - crop.top, src.stride),
                      ozr_success);
            ASSERT_EQ(
                crop_resize(cropped.data(), to.width, to.height, 50, src.data(), 35, 33, src.stride, &crop),
                ozr_success);
            EXPECT_EQ(cropped, plain) << to.width << 'x' << to.height;
        };
        for (const ozr_rect& crop : {whole, part}) {
            check(resize_grayimage_nn, crop_resize_grayimage_nn, crop);
            check(resize_grayimage_bi, crop_resize_grayimage_bi, crop);
            check(
                resize_grayimage_nn,
                [](auto... arguments) { return rotate_crop_resize_grayimage_nn(arguments..., 360); }, crop);
        }
    }
}

TEST(Crop, RgbResizesEachByteForItself)
{
    const Picture src({12, 9}, 5, 54, 3);
    const ozr_rect crop = {2, 1, 11, 8};
    Bytes channel(12 * 9), gray(15 * 4), rgb(47 * 4);
    ASSERT_EQ(crop_resize_RGB(rgb.data(), 15, 4, 47, src.data(), 12, 9, src.stride, &crop), ozr_success);
    for (int c = 0; c < 3; ++c) {
        for (int i = 0; i < 12 * 9; ++i)
            channel[static_cast<size_t>(i)] = static_cast<uint8_t>(src.at(i % 12 * 3 + c, i / 12));
        ASSERT_EQ(crop_resize_grayimage_bi(gray.data(), 15, 4, 15, channel.data(), 12, 9, 12, &crop),
                  ozr_success);
        for (int i = 0; i < 15 * 4; ++i)
            ASSERT_EQ(rgb[static_cast<size_t>(i / 15 * 47 + i % 15 * 3 + c)], gray[static_cast<size_t>(i)]);
    }
}

TEST(Crop, Refuses)
{
    uint8_t pixels[48] = {};
    const ozr_rect good = {0, 0, 4, 4};
    const ozr_rect bad[] = {{-1, 0, 4, 4},
                            {0, -1, 4, 4},
                            {0, 0, 5, 4},
                            {0, 0, 4, 5},
                            {2, 0, 2, 4},
                            {0, 3, 4, 2},
                            {INT32_MIN, 0, INT32_MAX, 4}};
    const auto all = [&](uint8_t* dst, int32_t width, const uint8_t* src, const ozr_rect* crop) {
        const ozr_err result = crop_resize_grayimage_nn(dst, width, 2, 0, src, 4, 4, 0, crop);
        EXPECT_EQ(crop_resize_grayimage_bi(dst, width, 2, 2, src, 4, 4, 4, crop), result);
        EXPECT_EQ(crop_resize_RGB(dst, width, 2, 6, src, 4, 4, 12, crop), result);
        EXPECT_EQ(rotate_crop_resize_grayimage_nn(dst, width, 2, 0, src, 4, 4, 0, crop, 0), result);
        return result;
    };
    uint8_t out[12];
    EXPECT_EQ(all(out, 2, pixels, &good), ozr_success);
    for (const ozr_rect& crop : bad)
        EXPECT_EQ(all(out, 2, pixels, &crop), ozr_err_invalid_argument);
    EXPECT_EQ(all(out, 2, pixels, nullptr), ozr_err_invalid_argument);
    EXPECT_EQ(all(nullptr, 2, pixels, &good), ozr_err_invalid_argument);
    EXPECT_EQ(all(out, 2, nullptr, &good), ozr_err_invalid_argument);
    EXPECT_EQ(all(out, 0, pixels, &good), ozr_err_invalid_argument);
    EXPECT_EQ(all(out, -2, pixels, &good), ozr_err_invalid_argument);
}

TEST(Turn, QuartersAreExact)
{
    const Picture src({7, 4}, 2, 55, 1, false);
    for (int32_t direction : {0, 2, 4, 6}) {
        const bool across = direction % 4 == 2;
        const int32_t width = across ? 4 : 7, height = across ? 7 : 4;
        GuardedBuffer dst(28, 56);
        ASSERT_EQ(
            rotate_grayimage_eighth(dst.data(), width, height, 0, src.data(), 7, 4, src.stride, direction),
            ozr_success);
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 7; ++x) {
                const int columns[] = {x, 3 - y, 6 - x, y}, rows[] = {y, x, 3 - y, 6 - x};
                ASSERT_EQ(dst.data()[rows[direction / 2] * width + columns[direction / 2]], src.at(x, y));
            }
        EXPECT_TRUE(dst.guards_intact());
    }
}

TEST(Turn, EighthsTakeTheNearestPixelAboutTheCentre)
{
    const Picture src({9, 7}, 0, 57, 1, false);
    for (int32_t direction : {1, 3, 5, 7}) {
        Bytes dst(13 * 15);
        ASSERT_EQ(rotate_grayimage_eighth(dst.data(), 13, 15, 0, src.data(), 9, 7, 0, direction),
                  ozr_success);
        const double angle = direction * 3.14159265358979323846 / 4;
        int inside = 0;
        for (int y = 0; y < 15; ++y)
            for (int x = 0; x < 13; ++x) {
                const double column = 4 + cos(angle) * (x - 6) + sin(angle) * (y - 7);
                const double row = 3 - sin(angle) * (x - 6) + cos(angle) * (y - 7);
                const int64_t c = llround(column), r = llround(row);
                const bool covered = c >= 0 && c < 9 && r >= 0 && r < 7;
                inside += covered;
                ASSERT_EQ(dst[static_cast<size_t>(13 * y + x)], covered ? src.at(c, r) : 0) << x << ',' << y;
            }
        EXPECT_GT(inside, 55);
    }
}

TEST(Turn, CropTurnsAboutItsOwnCentre)
{
    const Picture src({20, 20}, 0, 58, 1, false);
    const ozr_rect crop = {4, 6, 13, 15};  // 9 x 9 in steps of 3
    Bytes dst(9);
    ASSERT_EQ(rotate_crop_resize_grayimage_nn(dst.data(), 3, 3, 0, src.data(), 20, 20, 0, &crop, 90),
              ozr_success);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 3; ++x)
            EXPECT_EQ(dst[static_cast<size_t>(3 * y + x)], src.at(4 + 3 * y, 6 + 3 * (2 - x)));
}

TEST(Turn, Refuses)
{
    uint8_t p[4] = {};
    for (int32_t direction : {-1, 8})
        EXPECT_EQ(rotate_grayimage_eighth(p, 2, 2, 0, p, 2, 2, 0, direction), ozr_err_invalid_argument);
    EXPECT_EQ(rotate_grayimage_eighth(nullptr, 2, 2, 0, p, 2, 2, 0, 0), ozr_err_invalid_argument);
    EXPECT_EQ(rotate_grayimage_eighth(p, 2, 2, 0, nullptr, 2, 2, 0, 0), ozr_err_invalid_argument);
    EXPECT_EQ(rotate_grayimage_eighth(p, 2, 0, 0, p, 2, 2, 0, 0), ozr_err_invalid_argument);
    EXPECT_EQ(rotate_grayimage_eighth(p, 2, 2, 0, p, -2, 2, 0, 0), ozr_err_invalid_argument);
}

TEST(SampleByN, AdvancesAsItsStepsSay)
{
    const struct {
        int32_t width, height, stride, step_x, step_y, dst_stride;
        int32_t out_width, rows, advance;  // by hand
    } cases[] = {
        {10, 4, 16, 1, 1, 0, 10, 4, 16},  {10, 4, 16, 1, 2, 12, 10, 4, 17}, {10, 5, 0, 1, 3, 0, 10, 5, 12},
        {10, 7, 12, 2, 1, 0, 5, 7, 12},   {10, 7, 12, 2, 3, 6, 5, 2, 16},   {11, 7, 12, 2, 3, 0, 5, 2, 15},
        {10, 4, 10, 3, 1, 0, 3, 4, 9},    {12, 9, 14, 3, 2, 5, 4, 4, 28},   {11, 9, 0, 4, 2, 0, 2, 4, 19},
        {70, 3, 80, 2, 1, 40, 35, 3, 80}, {10, 2, 0, 2, 3, 7, 5, 0, 0},     {4, 3, 0, 9, 1, 7, 0, 3, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.width << " steps " << c.step_x << ',' << c.step_y);
        const int32_t dst_stride = c.dst_stride != 0 ? c.dst_stride : c.out_width;
        const Bytes src = random_bytes(static_cast<size_t>(c.height * (c.stride + c.width + c.step_y)), 59);
        GuardedBuffer dst(static_cast<size_t>(dst_stride * c.height), 60);
        ASSERT_EQ(sample_image_by_n(dst.data(), c.dst_stride, src.data(), c.width, c.height, c.stride,
                                    c.step_x, c.step_y),
                  ozr_success);
        Bytes want = dst.original();
        for (int y = 0; y < c.rows; ++y)
            for (int x = 0; x < c.out_width; ++x)
                want[static_cast<size_t>(y * dst_stride + x)] =
                    src[static_cast<size_t>(y * c.advance + x * c.step_x)];
        EXPECT_EQ(dst.bytes(), want);
        EXPECT_TRUE(dst.guards_intact());
    }
}

TEST(SampleByN, Refuses)
{
    uint8_t p[4] = {1, 2, 3, 4};
    EXPECT_EQ(sample_image_by_n(p, 0, p, 2, 2, 0, 0, 1), ozr_err_invalid_argument);
    EXPECT_EQ(sample_image_by_n(p, 0, p, 2, 2, 0, 1, 0), ozr_err_invalid_argument);
    EXPECT_EQ(sample_image_by_n(nullptr, 0, p, 2, 2, 0, 1, 1), ozr_err_invalid_argument);
    EXPECT_EQ(sample_image_by_n(p, 0, nullptr, 2, 2, 0, 1, 1), ozr_err_invalid_argument);
    for (int32_t step : {1, 2, 3}) {
        EXPECT_EQ(sample_image_by_n(p, 0, p, -2, 2, 0, step, 1), ozr_success);
        EXPECT_EQ(sample_image_by_n(p, 0, p, 2, -2, 0, step, 1), ozr_success);
    }
}

TEST(Census, CodesBrighterThanTheMeanAlongTheWholeWalk)
{
    for (Size size : {Size{3, 3}, Size{4, 3}, Size{2, 4}, Size{1, 6}, Size{23, 9}}) {
        const size_t width = static_cast<size_t>(size.width),
                     count = width * static_cast<size_t>(size.height);
        const Bytes src = random_bytes(count, 61);  // exactly the picture
        std::vector<uint16_t> dst(count, 0xBEEF), want(count, 0xBEEF);
        image2mct(src.data(), static_cast<uint32_t>(size.width), static_cast<uint32_t>(size.height),
                  dst.data());
        for (size_t k = 0; k + 2 * width + 2 < count; ++k) {
            int window[9], sum = 0, code = 0;
            for (size_t i = 0; i < 9; ++i)
                sum += window[i] = src[k + i / 3 * width + i % 3];
            for (int i = 0; i < 9; ++i)
                code += window[i] > sum / 9.0 ? 1 << i : 0;
            want[k + width + 1] = static_cast<uint16_t>(code);
        }
        EXPECT_EQ(dst, want) << size.width << 'x' << size.height;
        EXPECT_EQ(want[count - width - 1], 0xBEEF);
    }
}

TEST(Census, KnownCodes)
{
    const struct {
        Bytes src;
        uint16_t code;
    } rows[] = {{Bytes(9, 77), 0},
                {{0, 0, 0, 0, 1, 0, 0, 0, 0}, 16},
                {{255, 0, 0, 0, 0, 0, 0, 0, 0}, 1},
                {{0, 0, 9, 0, 0, 0, 9, 0, 0}, 4 + 64}};
    for (const auto& row : rows) {
        uint16_t dst[9] = {};
        image2mct(row.src.data(), 3, 3, dst);
        EXPECT_EQ(dst[4], row.code);
    }
}

TEST(Census, LeavesWhatIsTooSmall)
{
    const uint8_t src[] = {0, 255, 0, 255, 0};
    uint16_t dst[5] = {7, 7, 7, 7, 7};
    for (const auto& [width, height] :
         {Size{5, 0}, Size{5, 1}, Size{2, 2}, Size{1, 4}, Size{1, 3}, Size{0, 5}, Size{0, 0}})
        image2mct(src, static_cast<uint32_t>(width), static_cast<uint32_t>(height), dst);
    image2mct(nullptr, 3, 3, dst);
    image2mct(src, 3, 3, nullptr);
    EXPECT_EQ(std::vector<uint16_t>(dst, dst + 5), std::vector<uint16_t>(5, 7));
}

}  // namespace
