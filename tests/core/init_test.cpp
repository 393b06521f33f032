// The geometry of a sweep and the projection tables.
#include <gtest/gtest.h>

#include "image/pano_result.h"
#include "support/cores.h"

TEST(CoreInit, IsAsTheReferenceHasIt)
{
    for_trials(300, [](Random& random) {
        TestCore core;
        ozr_reference::Core want;
        expect_same(*core.core, want);
        for (int32_t sweep = 0; sweep < 2; ++sweep) {
            const auto oddly = [&](int32_t usual) {
                const int32_t odd[] = {0, -1, -64, 1, 2, 8, 31, 2000000000, INT32_MAX};
                return random.below(15) == 0 ? odd[random.below(9)] : usual;
            };
            const int32_t width = 32 + random.below(random.below(20) == 0 ? 700 : 120),
                          height = 1 + random.below(60);
            core->overlap = want.record.overlap = random.below(random.below(2) == 0 ? 101 : 20000);
            core->g_nCount = want.record.g_nCount = 3;
            init_both(core.core, &want, random.below(3), oddly(width), oddly(height),
                      oddly(width + random.below(40) - 20));
        }
    });
    const int32_t sizes[][2] = {{640, 480}, {645, 481}, {1280, 960}, {1920, 1080}, {20000, 16}};
    for (const auto& size : sizes) {
        TestCore core;
        ozr_reference::Core want;
        init_both(core.core, &want, 0, size[0], size[1], size[0]);
    }
}

TEST(CoreInit, KeepsNoTableWhenMemoryIsOut)
{
    at_each_allocation([](int64_t allocation) {
        const WrappedHeap heap(allocation + 1);  // the first one is that of the context
        {
            TestCore core;
            ozr_reference::Core want;
            const int32_t code = panorama_core_init(core.core, 1, 64, 48, 64);
            want.init(1, 64, 48, 64);
            if (heap.allocations() > allocation) {
                want.projection = {};
                want.record.initialised = 0;
            }
            EXPECT_EQ(code, want.record.initialised == 0 ? kPanoTablesNoMemory : 0);
            expect_same(*core.core, want);
        }
        EXPECT_EQ(heap.live_blocks(), 0);
        return heap.allocations() > allocation;
    });
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
