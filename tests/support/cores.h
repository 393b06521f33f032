// Core contexts for tests, and their comparison with the reference.
#ifndef CORES_H
#define CORES_H

#include <cstring>

#include "core/panorama_core.h"
#include "kernels/kernels.h"
#include "ozr_support.h"
#include "reference/core.h"
#include "support/contexts.h"
#include "support/noise.h"
#include "support/pictures.h"
#include "support/points.h"
#include "support/wrapped_heap.h"

// A core, and what it should hold.
class TestCore
{
public:
    TestCore() { panorama_core_create(&core); }
    ~TestCore() { panorama_core_destroy(core); }
    TestCore(const TestCore&) = delete;

    PanoramaCore* operator->() { return core; }

    PanoramaCore* core = nullptr;
    ozr_reference::Core want;
};

// Runs a test on random numbers, each trial with its own seed; every second
// one with the scalar kernels.
template <class Trial>
void for_trials(int32_t count, Trial trial)
{
    const WrappedHeap heap;
    for (int32_t seed = 0; seed < trials(count) && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        ozr::kernels::set_for_test(seed % 2 == 0 ? nullptr : &ozr::kernels::kScalarKernels);
        Random random(static_cast<uint32_t>(seed));
        trial(random);
    }
    ozr::kernels::set_for_test(nullptr);
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
    std::vector<uint32_t> sums;
    ozr_reference::Table<uint32_t> columns(img.width);
    for (int32_t y = 0; y < img.height; ++y) {
        uint32_t sum = 0;
        for (int32_t x = 0; x < img.width; ++x)
            sums.push_back(sum += columns[x] += img.at(x, y));
    }
    return sums;
}

inline void expect_same(const TestCore& test)
{
    const PanoramaCore& is = *test.core;
    const ozr_reference::Core& want = test.want;
    expect_same_words(is, want.record);
    if (is.has_tables != 0) {
        EXPECT_EQ(is.proj.block_offsets != nullptr, want.projection.height > 0);
        EXPECT_TRUE(holds(is.proj.block_offsets, want.projection.block_offsets));
        EXPECT_TRUE(holds(is.proj.weights, want.projection.weights));
        EXPECT_TRUE(holds(is.proj.chroma_map, want.projection.chroma_map));
    } else {
        EXPECT_FALSE(is.proj.block_offsets || is.proj.weights || is.proj.chroma_map);
    }
    for (int32_t i = 0; i < kMaxPictures; ++i) {
        SCOPED_TRACE(testing::Message() << "picture " << i);
        EXPECT_TRUE(holds(is.frames[i], want.pictures[i]));
        const AlignItem &item = is.align[i], &words = want.record.align[i];
        EXPECT_EQ(item.expected, words.expected);
        ASSERT_EQ(item.pyramid_levels, words.pyramid_levels);
        EXPECT_EQ(item.pyramid != nullptr, item.pyramid_levels > 0);
        EXPECT_EQ(item.integrals != nullptr, item.pyramid_levels > 0);
        for (int32_t level = 0; level < item.pyramid_levels; ++level) {
            EXPECT_TRUE(holds(item.pyramid[level], want.pyramids[i][level]));
            EXPECT_TRUE(holds(item.integrals[level], integral_of(want.pyramids[i][level])));
        }
    }
}

// Disturbs the n-th allocation from now on: it fails, or a request to cancel comes.
class Disturbance
{
public:
    Disturbance(PanoramaCore* core, bool is_request, int32_t n) : n_(n), is_request_(is_request)
    {
        core_ = core;
        moment_ = WrappedHeap::tried + n;
        WrappedHeap::failing = is_request ? 0 : moment_;
        WrappedHeap::watch = is_request ? request : nullptr;
    }
    ~Disturbance()
    {
        WrappedHeap::failing = 0;
        WrappedHeap::watch = nullptr;
    }
    Disturbance(const Disturbance&) = delete;

    bool happened() const { return WrappedHeap::tried >= moment_; }
    // The event in the addition of picture `index`, whose first allocation is
    // that of its projection.
    ozr_reference::Event event(int32_t index) const
    {
        using namespace ozr_reference;
        if (!happened())
            return kNothing;
        if (!is_request_)
            return n_ == 1 ? kNoFrame : kNoPyramid;
        return n_ == 1 ? kCancelledProjection : added_[index] == 0 ? kCancelledPyramid : kCancelledAlignment;
    }

private:
    static void request(int64_t allocation)
    {
        if (allocation != moment_)
            return;
        memcpy(added_, core_->added, sizeof(added_));
        core_->cancel = 1;
    }

    static inline PanoramaCore* core_;
    static inline int64_t moment_;
    static inline uint8_t added_[kMaxPictures];
    int32_t n_;
    bool is_request_;
};

enum class Tables { kNone, kMade };

// The arguments that prepare a core for a sweep.
struct CoreSetup {
    int32_t forward, width, height, stride;
};

// Prepares both for a sweep; the allocation `failing` fails (0: none). The tables of an earlier
// sweep are only released when the first pointer, which nothing fills, is set.
inline void init_both(TestCore& test, const CoreSetup& setup, Tables tables, int32_t failing = 0)
{
    const auto& [forward, width, height, stride] = setup;
    PanoramaCore* const core = test.core;
    ozr_reference::Core& want = test.want;
    if (core->proj.block_offsets != nullptr) {
        core->proj.unused[0] = ozr_malloc(1);
        core->proj.unused[1] = forward != 0 ? ozr_malloc(1) : nullptr;
    }
    const Disturbance disturbance(core, false, failing);
    const int32_t code = tables == Tables::kMade ? panorama_core_init(core, forward, width, height, stride)
                                                 : ozr::core::prepare(core, forward, width, height, stride);
    const uint8_t initialised = want.record.initialised;
    const int32_t wanted = want.init(forward, width, height, stride);
    const bool is_out = failing > 0 && disturbance.happened();
    EXPECT_EQ(code, is_out ? -7 : wanted);
    if (is_out) {
        want.projection = {};
        want.record.initialised = initialised;
    }
    expect_same(test);
}

#endif
