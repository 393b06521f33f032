// Core contexts for tests, beside what the reference has them hold.
#ifndef CORES_H
#define CORES_H

#include <cstring>
#include <string>

#include "core/panorama_core.h"
#include "kernels/kernels.h"
#include "ozr_support.h"
#include "reference/core.h"
#include "support/noise.h"
#include "support/pictures.h"
#include "support/wrapped_heap.h"

class TestCore
{
public:
    TestCore() { panorama_core_create(&core); }
    ~TestCore() { panorama_core_destroy(core); }
    TestCore(const TestCore&) = delete;
    TestCore& operator=(const TestCore&) = delete;

    PanoramaCore* operator->() { return core; }

    PanoramaCore* core = nullptr;
};

// Runs a test on random numbers, each trial with its own seed, by turns with the kernels of this machine and the scalar ones.
template <class Trial>
void for_trials(int32_t count, Trial trial)
{
    const WrappedHeap heap;
    for (int32_t seed = 0; seed < count && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        ozr_kernels_set_for_test(seed % 2 == 0 ? nullptr : &kOzrKernelsScalar);
        Random random(static_cast<uint32_t>(seed));
        trial(random);
    }
    ozr_kernels_set_for_test(nullptr);
    EXPECT_EQ(heap.live_blocks(), 0);
}

inline bool holds(const PanoImg& img, const ozr_reference::Image& want)
{
    const PanoImg view = want.view();
    return want.bytes.empty()
               ? img.data == nullptr
               : img.data != nullptr && memcmp(&img, &view, offsetof(PanoImg, widthCopy)) == 0 &&
                     memcmp(img.data, view.data, want.bytes.size()) == 0;
}

template <class Entry>
bool holds(const Entry* table, const std::vector<Entry>& want)
{
    return want.empty() || (table != nullptr && std::equal(want.begin(), want.end(), table));
}

inline std::vector<uint32_t> integral_of(const ozr_reference::Image& img)
{
    std::vector<uint32_t> sums, columns(static_cast<size_t>(img.width));
    for (int32_t y = 0; y < img.height; ++y) {
        uint32_t sum = 0;
        for (int32_t x = 0; x < img.width; ++x)
            sums.push_back(sum += columns[static_cast<size_t>(x)] += img.at(x, y));
    }
    return sums;
}

inline void expect_same(const PanoramaCore& is, const ozr_reference::Core& want)
{
    const auto same = [&](const void* from, const void* to) {
        const ptrdiff_t at = static_cast<const char*>(from) - reinterpret_cast<const char*>(&is);
        return memcmp(from, reinterpret_cast<const char*>(&want.record) + at,
                      static_cast<size_t>(static_cast<const char*>(to) - static_cast<const char*>(from))) ==
               0;
    };
    EXPECT_TRUE(same(&is, is.frames) && same(&is.width, &is.factors)) << "geometry and counts";
    EXPECT_TRUE(same(is.offsets, &is.proj)) << "results and flags";
    EXPECT_EQ(is.proj.block_offsets != nullptr, want.projection.height > 0);
    EXPECT_TRUE(holds(is.proj.block_offsets, want.projection.block_offsets));
    EXPECT_TRUE(holds(is.proj.weights, want.projection.weights));
    EXPECT_TRUE(holds(is.proj.chroma_map, want.projection.chroma_map));
    for (int32_t i = 0; i < kMaxPictures; ++i) {
        SCOPED_TRACE(testing::Message() << "picture " << i);
        EXPECT_TRUE(holds(is.frames[i], want.pictures[i]));
        const AlignItem &item = is.align[i], &words = want.record.align[i];
        EXPECT_TRUE(item.expected_x == words.expected_x && item.expected_y == words.expected_y);
        ASSERT_EQ(item.pyramid_levels, words.pyramid_levels);
        EXPECT_TRUE((item.pyramid != nullptr) == (item.pyramid_levels > 0) &&
                    !item.pyramid == !item.integrals);
        for (size_t level = 0; level < want.pyramids[i].size(); ++level) {
            EXPECT_TRUE(holds(item.pyramid[level], want.pyramids[i][level]));
            EXPECT_TRUE(holds(item.integrals[level], integral_of(want.pyramids[i][level])));
        }
    }
}

// Prepares both for a sweep. The tables of an earlier one go only when the first pointer, which nothing fills, is set.
inline void init_both(PanoramaCore* core, ozr_reference::Core* want, int32_t forward, int32_t width,
                      int32_t height, int32_t stride)
{
    if (core->proj.block_offsets != nullptr)
        core->proj.unused[0] = ozr_malloc(1);
    EXPECT_EQ(panorama_core_init(core, forward, width, height, stride),
              want->init(forward, width, height, stride));
    expect_same(*core, *want);
}

// Calls `step` with 1, 2, ...: it lets that allocation fail, or cancels there, and returns whether there was one.
template <class Step>
void at_each_allocation(Step step)
{
    int64_t allocation = 1;
    for (bool goes_on = true; goes_on && allocation < 100; ++allocation) {
        SCOPED_TRACE(testing::Message() << "allocation " << allocation);
        goes_on = step(allocation);
    }
    EXPECT_GT(allocation, 2);
}

#endif
