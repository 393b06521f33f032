// The geometry of a sweep and the projection tables.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "image/pano_result.h"
#include "support/cores.h"

namespace
{

struct Map {
    std::vector<int32_t> x, y, chroma;
};

// Source positions of every output pixel and chroma pair, straight from the formulas.
Map projection_map(int32_t width, int32_t height, int32_t stride)
{
    const int32_t hw = width / 2, hh = height / 2;
    const int32_t f = (width >> 5) * 345 / 10, radius = (width >> 5) * 418 / 10;
    const size_t pixels = static_cast<size_t>(width) * static_cast<size_t>(height);
    Map map = {std::vector<int32_t>(pixels), std::vector<int32_t>(pixels), std::vector<int32_t>(pixels / 4)};
    int32_t acc = 0, c = radius, d = 1 - 2 * radius;
    for (int32_t x = 0; x < hw; ++x) {
        acc += 2 * x + 1;
        const int32_t u = std::min(16 * (hw - 1), x * 16 * f / c);
        for (int32_t y = 0; y < hh; ++y) {
            const int32_t v = std::min(16 * (hh - 1), y * 16 * f / c);
            for (int32_t quadrant = 0; quadrant < 4; ++quadrant) {
                const bool right = quadrant % 2 == 0, below = quadrant < 2;
                const int32_t column = right ? hw + x : hw - 1 - x, row = below ? hh + y : hh - 1 - y;
                const size_t i = static_cast<size_t>(row * width + column);
                map.x[i] = right ? 16 * hw + u : 16 * (hw - 1) - u;
                map.y[i] = below ? 16 * hh + v : 16 * (hh - 1) - v;
                if (x % 2 != 0 || y % 2 != 0)
                    continue;
                // The nearest pair towards the centre: both distances lose their fraction first.
                const int32_t pair = (right ? hw + u / 16 : hw - 1 - u / 16) / 2;
                const int32_t line = (below ? hh + v / 16 : hh - 1 - v / 16) / 2;
                map.chroma[static_cast<size_t>((row >> 1) * hw + (column >> 1))] = pair + line * stride / 2;
            }
        }
        if (d + 2 * acc > 0) {
            acc += d;
            c -= 1;
            d += 2;
        }
    }
    return map;
}

// Weight that a block's table gives to the source pixel at (column, row) for its output pixel k.
int32_t weight_of(const PanoramaCore* core, int32_t block, int32_t k, int32_t column, int32_t row)
{
    const int32_t offset = core->proj.block_offsets[block];
    int32_t sum = 0;
    for (int32_t i = 0; i < 16; ++i) {
        if (offset + i / 4 * core->stride + i % 4 + k == row * core->stride + column)
            sum += core->proj.weights[block * 128 + i * 8 + k];
    }
    return sum;
}

}  // namespace

TEST(CoreInit, DerivesTheGeometry)
{
    // Levels, half, pyramid levels, working width and height, shift, margin, and the range of the search.
    using Derived = std::array<int32_t, 11>;
    const struct {
        int32_t width, height, overlap;
        Derived want;
    } cases[] = {
        {640, 480, 70, {3, 1, 3, 320, 240, 6, 16, -64, 192, -48, 48}},
        {64, 48, 70, {0, 0, 1, 64, 48, 1, 1, -6, 19, -4, 4}},
        {1280, 960, 70, {4, 1, 4, 640, 480, 8, 32, -128, 384, -96, 96}},
        {1280, 960, 0, {0, 0, 1, 1280, 960, 10, 32, -128, 384, -96, 96}},
        {645, 481, 30, {2, 1, 2, 322, 240, 6, 16, -64, 193, -48, 48}},
    };
    for (const auto& c : cases) {
        TestCore core;
        EXPECT_EQ(core->forward, 0xFF);
        panorama_core_set_param(core.core, 0, static_cast<uint32_t>(c.overlap));
        ASSERT_EQ(panorama_core_init(core.core, 5, c.width, c.height, c.width + 3), 0);
        EXPECT_TRUE(core->forward == 1 && core->initialised == 1 && core->stride == c.width + 3);
        const Derived derived = {core->levels,       core->half,         core->pyramid_levels,
                                 core->work_width,   core->work_height,  core->ncc_shift,
                                 core->margin,       core->search_x_min, core->search_x_max,
                                 core->search_y_min, core->search_y_max};
        EXPECT_EQ(derived, c.want) << c.width << "x" << c.height << " at " << c.overlap;
    }
}

TEST(CoreInit, RefusesSizesThatCannotBeProjected)
{
    const int32_t cases[][3] = {{0, 48, 64},  {64, 0, 64},          {64, -48, 64},      {64, 48, 0},
                                {31, 48, 64}, {8, 48, 64},          {20000, 64, 20000}, {64, 48, INT32_MAX},
                                {-64, 48, 1}, {14000, 14000, 14000}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c[0] << "x" << c[1] << " stride " << c[2]);
        TestCore core;
        EXPECT_EQ(panorama_core_init(core.core, 0, c[0], c[1], c[2]), kPanoBadArgument);
        EXPECT_EQ(core->initialised, 0);
        EXPECT_EQ(core->width, c[0]);  // the geometry is stored all the same
        EXPECT_EQ(core->search_x_max, static_cast<int32_t>(static_cast<float>(c[0]) * 0.3F));
    }
    TestCore wrapped;  // 10000 * 10000 * 70 is negative in 32 bits
    EXPECT_EQ(panorama_core_init(wrapped.core, 0, 20000, 20000, 20000), kPanoBadArgument);
    EXPECT_TRUE(wrapped->levels == 0 && wrapped->half == 0 && wrapped->ncc_shift == 18);
    TestCore narrow(1, 7, 48);  // nothing to project: the first picture fails
    EXPECT_EQ(narrow.init_result, 0);
    EXPECT_EQ(narrow.add(0, 0, 0, [](int32_t, int32_t) { return 0; }), kPanoBadArgument);
}

TEST(CoreInit, TablesHoldTheProjection)
{
    const int32_t sizes[][3] = {{64, 48, 64}, {72, 45, 80}, {133, 50, 133}, {32, 6, 33}, {104, 1, 104}};
    for (const auto& size : sizes) {
        const int32_t width = size[0] / 8 * 8, height = size[1], stride = size[2];
        SCOPED_TRACE(testing::Message() << size[0] << "x" << height << " stride " << stride);
        TestCore core;
        ASSERT_EQ(panorama_core_init(core.core, 1, size[0], height, stride), 0);
        const Map map = projection_map(width, height, stride);
        for (int32_t y = 0; y < height - height % 2; ++y) {
            for (int32_t x = 0; x < width; ++x) {
                const size_t i = static_cast<size_t>(y * width + x);
                const int32_t column = map.x[i] >> 4, row = map.y[i] >> 4, fx = map.x[i] & 15,
                              fy = map.y[i] & 15;
                for (int32_t corner = 0; corner < 4; ++corner) {
                    const int32_t right = corner % 2, below = corner / 2;
                    ASSERT_EQ(weight_of(core.core, (y * width + x) / 8, x % 8, column + right, row + below),
                              (right != 0 ? fx : 16 - fx) * (below != 0 ? fy : 16 - fy))
                        << x << "," << y;
                }
            }
        }
        const size_t pairs = static_cast<size_t>(height / 2 * (width / 2));
        ASSERT_TRUE(std::equal(map.chroma.begin(), map.chroma.begin() + static_cast<ptrdiff_t>(pairs),
                               core->proj.chroma_map));
    }
}

TEST(CoreParameters, OverlapIsBounded)
{
    TestCore core;
    EXPECT_EQ(panorama_core_get_param(core.core, 0), 70);
    EXPECT_EQ(panorama_core_set_param(core.core, 0, 100), 0);
    EXPECT_EQ(panorama_core_get_param(core.core, 0), 100);
    EXPECT_EQ(panorama_core_set_param(core.core, 0, 150), 0);
    EXPECT_EQ(panorama_core_get_param(core.core, 0), 70);
    EXPECT_EQ(panorama_core_set_param(core.core, 1, 50), kPanoNotSupported);
    EXPECT_EQ(panorama_core_get_param(core.core, 1), kPanoBadArgument);
    EXPECT_EQ(panorama_core_set_param(nullptr, 0, 50), kPanoNullArgument);
    EXPECT_EQ(panorama_core_get_param(nullptr, 0), kPanoNullArgument);
    EXPECT_EQ(panorama_core_destroy(nullptr), 0);
}
