// The geometry of a sweep and the projection tables.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "pano_result.h"
#include "support/cores.h"
#include "support/wrapped_heap.h"

namespace
{

using ozr_reference::Geometry;
using ozr_reference::Projection;

using Fields = std::array<int32_t, 19>;

Fields fields_of(const PanoramaCore& c)
{
    return {c.forward,      c.width,        c.half_width, c.height,       c.half_height,
            c.stride,       c.margin,       c.levels,     c.half,         c.pyramid_levels,
            c.work_width,   c.work_height,  c.ncc_shift,  c.search_x_min, c.search_x_max,
            c.search_y_min, c.search_y_max, c.g_nCount,   c.initialised};
}

Fields fields_of(const Geometry& g, int32_t initialised)
{
    return {
        g.forward ? 1 : 0, g.width,        g.width >> 1,   g.height,         g.height >> 1,  g.stride,
        g.margin,          g.levels,       g.half,         g.pyramid_levels, g.work_width,   g.work_height,
        g.ncc_shift,       g.search_x_min, g.search_x_max, g.search_y_min,   g.search_y_max, 0,
        initialised};
}

template <class Entry>
bool holds(const Entry* table, const std::vector<Entry>& want)
{
    return table != nullptr && std::equal(want.begin(), want.end(), table);
}

}  // namespace

TEST(CoreInit, DerivesGeometryAndTables)
{
    Random random(31);
    for (int32_t trial = 0; trial < 400; ++trial) {
        SCOPED_TRACE(testing::Message() << "trial " << trial);
        const KernelsByTurns kernels(trial);
        const int32_t width = 32 + random.below(trial % 20 == 0 ? 700 : 120), height = 1 + random.below(60);
        const int32_t stride = std::max(1, width + random.below(40) - 10), forward = random.below(3);
        TestCore core;
        EXPECT_TRUE(core->forward == 0xFF && core->overlap == 70);
        panorama_core_set_param(core.core, 0, static_cast<uint32_t>(random.below(101)));
        if (random.below(3) == 0)
            core->overlap = random.below(20000);  // as if the picture were that much larger
        core->g_nCount = 3;
        ASSERT_EQ(panorama_core_init(core.core, forward, width, height, stride), 0);
        const Geometry geometry(core->overlap, forward, width, height, stride);
        ASSERT_EQ(fields_of(*core.core), fields_of(geometry, 1));
        const Projection projection(geometry);
        ASSERT_TRUE(holds(core->proj.block_offsets, projection.block_offsets));
        ASSERT_TRUE(holds(core->proj.weights, projection.weights));
        ASSERT_TRUE(holds(core->proj.chroma_map, projection.chroma_map));
    }
}

TEST(CoreInit, DerivesTheGeometryOfLargePictures)
{
    const int32_t sizes[][2] = {{640, 480}, {645, 481}, {1280, 960}, {1920, 1080}, {2560, 1440}, {4096, 16}};
    for (const auto& size : sizes) {
        for (int32_t overlap : {0, 30, 69, 70, 100}) {
            TestCore core;
            panorama_core_set_param(core.core, 0, static_cast<uint32_t>(overlap));
            ASSERT_EQ(panorama_core_init(core.core, 0, size[0], size[1], size[0]), 0);
            EXPECT_EQ(fields_of(*core.core), fields_of(Geometry(overlap, 0, size[0], size[1], size[0]), 1));
        }
    }
}

TEST(CoreInit, RefusesSizesThatCannotBeProjected)
{
    const int32_t cases[][3] = {{0, 48, 64},           {64, 0, 64},         {64, -48, 64},
                                {64, 48, 0},           {31, 48, 64},        {8, 48, 64},
                                {20000, 64, 20000},    {64, 48, INT32_MAX}, {-64, 48, 1},
                                {14000, 14000, 14000}, {-64, -48, 1},       {20000, 20000, 20000}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c[0] << "x" << c[1] << " stride " << c[2]);
        TestCore core;
        EXPECT_EQ(panorama_core_init(core.core, 0, c[0], c[1], c[2]), kPanoBadArgument);
        EXPECT_EQ(fields_of(*core.core),
                  fields_of(Geometry(70, 0, c[0], c[1], c[2]), 0));  // stored all the same
    }
    EXPECT_EQ(TestCore(1, 7, 48).init_result, 0);  // nothing to project: the first picture fails
}

TEST(CoreInit, KeepsNoTableWhenMemoryIsOut)
{
    int32_t result = kPanoTablesNoMemory;
    for (int64_t failing = 2; result != 0; ++failing) {  // the first is that of the context
        SCOPED_TRACE(testing::Message() << "allocation " << failing);
        const WrappedHeap heap(failing);
        {
            TestCore core(1, 64, 48);
            result = core.init_result;
            const bool is_out = heap.allocations() >= failing;
            EXPECT_EQ(result, is_out ? kPanoTablesNoMemory : 0);
            EXPECT_EQ(core->initialised, !is_out);
            EXPECT_EQ(core->proj.block_offsets == nullptr, is_out);
            EXPECT_EQ(core->proj.weights == nullptr, is_out);
            EXPECT_EQ(core->proj.chroma_map == nullptr, is_out);
        }
        EXPECT_EQ(heap.live_blocks(), 0);
    }
}

TEST(CoreParameters, OverlapIsBounded)
{
    TestCore core;
    EXPECT_EQ(panorama_core_get_param(core.core, 0), 70);
    for (uint32_t value : {0U, 30U, 100U, 101U, 150U, UINT32_MAX}) {
        EXPECT_EQ(panorama_core_set_param(core.core, 0, value), 0);
        EXPECT_EQ(panorama_core_get_param(core.core, 0), value > 100 ? 70 : static_cast<int32_t>(value));
    }
    EXPECT_EQ(panorama_core_set_param(core.core, 1, 50), kPanoNotSupported);
    EXPECT_EQ(panorama_core_get_param(core.core, 1), kPanoBadArgument);
    EXPECT_EQ(panorama_core_set_param(nullptr, 0, 50), kPanoNullArgument);
    EXPECT_EQ(panorama_core_get_param(nullptr, 0), kPanoNullArgument);
    EXPECT_EQ(panorama_core_create(nullptr), kPanoNullArgument);
    EXPECT_EQ(panorama_core_destroy(nullptr), 0);
    panorama_core_request_cancel_async(nullptr);
    panorama_core_request_cancel_async(core.core);
    EXPECT_EQ(core->cancel, 1);
}
