// Composition, against the reference: layout, seams, transitions, codes and the log.
#include <gtest/gtest.h>

#include <algorithm>

#include "support/cores.h"
#include "support/log_capture.h"

namespace
{

using ozr_reference::Image;

// Aligned pictures of random bytes, placed by the test.
struct Sweep : TestCore {
    int32_t values = 256;  // different bytes; with few of them, paths tie

    Sweep(int32_t forward, int32_t width, int32_t height, int32_t margin)
    {
        init_both(*this, {forward, width, height, width}, Tables::kNone);
        core->margin = want.record.margin = margin;
    }
    void add(Random& random, int32_t index, int32_t width, const AlignResult& result)
    {
        Image& picture = want.pictures[index];
        picture = Image(kPanoNv12, width, want.record.input.height, width);
        const int32_t level = values == 2 ? 0 : random.below(257 - values);
        for (uint8_t& byte : picture.bytes)
            byte = static_cast<uint8_t>(level + random.below(values) * (values == 2 ? 255 : 1));
        const PanoImg view = picture.view();
        PanoImg_Clone(&view, &core->frames[index]);
        core->offsets[index] = want.record.offsets[index] = result;
        core->aligned[index] = want.record.aligned[index] = 1;
    }
    void add_all(Random& random, int32_t count)
    {
        const int32_t w8 = want.record.input.width / 8 * 8, step = 1 + random.below(w8);
        const int32_t drift = random.below(4) == 0 ? want.record.input.height : 5,
                      narrower = random.below(8) == 0 ? 9 : 1;
        const int32_t first = want.record.forward == 1 ? 0 : count - 1;  // usually no result
        const bool has_first = random.below(8) == 0;
        for (int32_t i = 0; i < count; ++i) {
            const int32_t x = std::min(random.below(step), random.below(w8 - 1)),
                          score = static_cast<int32_t>(random.next());
            const int32_t odd[] = {-1, INT32_MIN, w8 - 1, w8, w8 + 1, INT32_MAX};
            const AlignResult result = {random.below(60) == 0 ? odd[random.below(6)] : x,
                                        random.below(drift) - drift / 2, score / 8};
            add(random, i, w8 - random.below(narrower), i == first && !has_first ? AlignResult() : result);
        }
    }
    // In either of the two ways that the core has. Nothing is left behind where something happens
    // meanwhile; a single picture is handed out even when cancelled.
    void run(Random& random, int32_t count)
    {
        std::vector<std::string> log;
        Image panorama;
        int32_t wanted = want.compose(count, &panorama, &log);
        ozr::PanoImgOwner paged(ozr::PanoImgOwner::kAtPage);
        PanoImg packed = {};
        const bool in_block = random.below(3) == 0, is_request = random.below(2) == 0;
        const LogCapture capture;
        const Disturbance disturbance(core, is_request,
                                      wanted == 0 && random.below(5) == 0 ? 1 + random.below(5) : 1000);
        const int32_t code = in_block ? static_cast<int32_t>(ozr::core::compose(core, count, &paged))
                                      : panorama_core_panorama(core, count, &packed);
        const PanoImg& out = in_block ? *paged.get() : packed;
        if (disturbance.happened()) {
            want.record.cancel = is_request && want.record.g_nCount == 1 ? 1 : 0;
            wanted = !is_request ? -8 : want.record.cancel == 1 ? 0 : -5;
        }
        EXPECT_EQ(code, wanted);
        EXPECT_EQ(capture.progress(), log);
        EXPECT_TRUE(code == 0 ? holds(out, panorama) : out.data == nullptr);
        expect_same(*this);
        PanoImg_Destroy(&packed);
    }
};

}  // namespace

TEST(Compose, IsAsTheReferenceHasIt)
{
    for_trials(3000, [](Random& random) {
        const int32_t margins[] = {16, 32, 64, 0, 1, 2, 5, 48};
        const int32_t height = random.below(10) == 0 ? 1 + random.below(20) : 16 + random.below(40);
        Sweep sweep(random.below(2), 32 + random.below(64), height, margins[random.below(8)]);
        sweep.values = 1 << random.below(9);
        const int32_t count = random.below(4) == 0 ? 1 + random.below(kMaxPictures) : 2 + random.below(2);
        sweep.add_all(random, count);
        sweep.core->cancel = sweep.want.record.cancel = random.below(40) == 0 ? 1 : 0;
        sweep.run(random, random.below(20) == 0 ? random.below(15) - 2 : count);
    });
    EXPECT_EQ(panorama_core_panorama(nullptr, 2, nullptr), -3);
}
