// The engine against its meaning: random calls, valid and not, in any order, over many sweeps
// on one context. After each call every field, picture, code and log line is compared, and in
// the end what stays allocated.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <type_traits>

#include "core/panorama_core.h"
#include "engine/panorama_engine.h"
#include "image/pano_result.h"
#include "image/panorama_save.h"
#include "reference/engine.h"
#include "support/contexts.h"
#include "support/log_capture.h"
#include "support/noise.h"
#include "support/pictures.h"
#include "support/wrapped_heap.h"
#include "support/wrapped_time.h"

namespace
{

namespace reference = ozr_reference;

constexpr int32_t kSeeds = trials(600);
constexpr int32_t kCalls = 60;  // of each seed

class Calls
{
public:
    explicit Calls(uint32_t seed) : random_(seed)
    {
        const LogCapture log;
        EXPECT_EQ(panorama_engine_create(&pe_), 0);
        reference::init(&model_);
        new_sweep();
    }
    ~Calls()
    {
        const std::string last =
            "panorama_engine_destroy: panorama_engine_Destory() status = " + std::to_string(pe_->status);
        const LogCapture log;
        const WrappedHeap heap;
        panorama_engine_destroy(&pe_);
        const int64_t released = heap.live_blocks();
        reference::release(&model_);
        EXPECT_EQ(released + 1, heap.live_blocks() - released);  // the context
        EXPECT_EQ(log.progress(), Lines{last});
        EXPECT_EQ(pe_, nullptr);
    }
    Calls(const Calls&) = delete;
    Calls& operator=(const Calls&) = delete;

    // One call, usually one that the status allows.
    void next()
    {
        using Step = void (Calls::*)();
        const std::vector<Step> any = {&Calls::set_parameter, &Calls::start,     &Calls::detect,
                                       &Calls::take,          &Calls::set_image, &Calls::stop,
                                       &Calls::synthesise,    &Calls::cancel,    &Calls::cancel_async,
                                       &Calls::answer,        &Calls::init,      &Calls::spoil_slots,
                                       &Calls::cancel_core};
        const std::vector<Step> useful[] = {
            {&Calls::start, &Calls::start, &Calls::set_parameter},
            {&Calls::take, &Calls::detect, &Calls::detect, &Calls::take, &Calls::act_as_session,
             &Calls::stop},
            {&Calls::synthesise, &Calls::synthesise, &Calls::synthesise, &Calls::spoil_slots},
            {&Calls::init, &Calls::init_scribbled, &Calls::stop_again},
        };
        const size_t status = static_cast<size_t>(std::min(std::max(int32_t{pe_->status}, 1), 4) - 1);
        const std::vector<Step>& calls = random_.below(6) == 0 ? any : useful[status];
        (this->*calls[static_cast<size_t>(random_.below(static_cast<int32_t>(calls.size())))])();
    }

    void compare() { expect_same(*pe_, model_); }

private:
    using Call = std::function<int32_t(PanoramaInternal*)>;

    // Makes one of the two calls, disturbed.
    int32_t make(const Call& call, PanoramaInternal* context, int64_t failing, Lines* lines)
    {
        g_context = context;
        g_sleeps = 0;
        const LogCapture log;
        const WrappedHeap heap(failing, allocate);
        const Sleeps sleeps(sleep);
        const int32_t result = call(context);
        *lines = log.progress();
        lines->push_back(std::to_string(sleeps.milliseconds()) + " ms slept");
        lines->push_back(std::to_string(heap.live_blocks()) + " blocks more");
        return result;
    }

    // Makes the same call of library and reference, and compares code, log lines, sleep and blocks.
    void both(const Call& library, const Call& expected, int64_t failing)
    {
        Lines got, want;
        const int32_t result = make(library, pe_, failing, &got);
        EXPECT_EQ(result, make(expected, &model_, failing, &want));
        EXPECT_EQ(got, want);
        g_cancels = g_added = g_ended = 0;
    }

    // The same for functions of one name; the first allocation may fail.
    template <class... Args>
    void call(int32_t (*library)(PanoramaInternal*, Args...), int32_t (*expected)(PanoramaInternal*, Args...),
              std::common_type_t<Args>... args)
    {
        both([=](auto pe) { return library(pe, args...); }, [=](auto pe) { return expected(pe, args...); },
             random_.below(25) == 0 ? 1 : 0);
    }

    // The disturbance of a working context: a request to stop at an allocation, the
    // end of the work at a sleep.
    static void allocate(int64_t)
    {
        if (g_cancels != 0)
            g_context->cancel_requested = 1;
    }
    static void sleep()
    {
        g_sleeps += 1;
        if (g_sleeps == g_added)
            g_context->image_state[g_slot] = static_cast<PanoSlotState>(3);
        if (g_sleeps == g_ended)
            g_context->status = static_cast<PanoStatus>(g_end);
    }

    // Changes both contexts by hand.
    template <class Change>
    void change(Change by_hand)
    {
        for (PanoramaInternal* state : {pe_, &model_})
            by_hand(state);
    }

    bool rarely() { return random_.below(20) == 0; }

    void new_sweep()
    {
        const bool tall = random_.below(2) == 0;
        const int32_t longer = 33 + random_.below(70), shorter = 8 + random_.below(rarely() ? 40 : 16);
        width_ = tall ? shorter : longer;
        height_ = tall ? longer : shorter;
        padding_ = random_.below(3) == 0 ? random_.below(9) : 0;
        preview_width_ = random_.below(2) == 0 ? width_ : 20 + random_.below(40);
        x_ = y_ = 900;
        direction_ = 1 + random_.below(4);
    }

    // The camera's view.
    std::unique_ptr<TestImg> picture(int32_t format, int32_t width, int32_t height)
    {
        auto img = std::make_unique<TestImg>(format, width, height, padding_);
        img->randomize(random_.next());
        const int32_t left = x_ * width / width_, top = y_ * width / width_,
                      bytes = format == kPanoYuyv ? 2 : 1;  // packed chroma repeats the luma
        for (int32_t i = 0; i < width * bytes * height; ++i) {
            const int32_t byte = i % (width * bytes), y = i / (width * bytes);
            ozr::pano_row(&img->img, y)[byte] = static_cast<uint8_t>(noise(left + byte / bytes, top + y));
        }
        return img;
    }

    // A record for a call, usually unchanged.
    PanoImg* spoil(PanoImg* img)
    {
        const int32_t fault = random_.below(90);
        if (fault == 1)
            img->data = nullptr;
        if (fault == 2)
            img->stride = img->width - 1;
        if (fault == 3)
            img->size = random_.below(img->size);
        return fault == 0 ? nullptr : img;
    }

    void set_parameter()
    {
        const int32_t id = random_.below(5) - 1;
        const int32_t value =
            rarely() ? static_cast<int32_t>(random_.next()) : random_.below(id == 2 ? 110 : 14) - 2;
        call(panorama_engine_set_param, reference::set_param, id, value);
        call(panorama_engine_get_param, reference::get_param, id);
    }

    void start()
    {
        new_sweep();
        const int32_t formats[] = {kPanoNv12, kPanoNv12, kPanoNv12, kPanoGray, kPanoYuyv};
        const auto img = picture(rarely() ? random_.below(6) : formats[random_.below(5)], width_, height_);
        if (rarely())
            img->img.height = 50000;
        const PanoImg* const first = spoil(&img->img);
        call(panorama_engine_start_capture, reference::start_capture, first);
    }

    void detect()
    {
        if (random_.below(2) == 0) {
            x_ += random_.below(7) - 3;
            y_ += random_.below(7) - 3;
        } else {
            near_the_bounds();
        }
        if (rarely())
            preview_width_ = 20 + random_.below(40);
        const int32_t formats[] = {kPanoGray, kPanoNv12, kPanoYuyv};
        const auto img = picture(rarely() ? random_.below(6) : formats[random_.below(3)], preview_width_,
                                 std::max(preview_width_ * height_ / width_, 4));
        const PanoImg* const frame = spoil(&img->img);
        call(panorama_engine_process_frame, reference::process_frame, frame);
    }

    // Sets a motion near a target or a threshold, in any direction.
    void near_the_bounds()
    {
        const auto sign = [=] { return random_.below(2) * 2 - 1; };
        int32_t direction = pe_->direction != 0 && !rarely() ? pe_->direction : 1 + random_.below(4);
        const bool along_x = direction <= 2;
        const int32_t target = along_x ? pe_->target.x : pe_->target.y,
                      slack = along_x ? pe_->target_tolerance.x : pe_->target_tolerance.y,
                      drift = along_x ? pe_->target_tolerance.y : pe_->target_tolerance.x;
        int32_t along = (direction % 2 == 0 ? -1 : 1) * (target + sign() * slack + random_.below(3) - 1),
                across = sign() * (random_.below(3) == 0 ? 0 : drift + random_.below(3) - 1);
        if (pe_->direction == 0 && random_.below(2) == 0) {  // about a twentieth of the sides
            direction = 0;
            along = sign() * ((pe_->reference.width + pe_->reference.height) / 20 + random_.below(3) - 1);
            across = sign() * (random_.below(3) == 0 ? std::abs(along) : random_.below(3));
        }
        change([=](PanoramaInternal* s) {
            s->direction = static_cast<PanoDirection>(direction);
            s->motion.x = along_x ? along : across;
            s->motion.y = along_x ? across : along;
        });
    }

    // The session may set the direction, and clears the motion.
    void act_as_session()
    {
        const int32_t direction = rarely() ? random_.below(5) : direction_;
        change([=](PanoramaInternal* s) {
            s->direction = static_cast<PanoDirection>(direction);
            s->motion.x = s->motion.y = 0;
        });
    }

    void take()
    {
        const int32_t count = random_.below(3) == 0 ? 1 + random_.below(3) : 1;
        for (int32_t i = 0; i < count; ++i) {
            if (pe_->count == 1 && !rarely())
                act_as_session();
            call(panorama_engine_prepare_stitch, reference::prepare_stitch);
            give(pe_->count - 1);
        }
    }

    void set_image() { give(random_.below(14) - 2); }

    void give(int32_t index)
    {
        const int32_t side = direction_ <= 2 ? width_ : height_, drift = random_.below(5) - 2;
        const int32_t along = (direction_ % 2 == 0 ? -1 : 1) * (side / 8 + random_.below(side / 3));
        const int32_t step_x = direction_ <= 2 ? along : drift, step_y = direction_ <= 2 ? drift : along;
        x_ += step_x;
        y_ += step_y;
        ozr_point offset = {step_x + random_.below(5) - 2, step_y + random_.below(5) - 2};
        if (pe_->reference.width > 0 && pe_->reference.height > 0)
            offset = {offset.x * pe_->reference.width / width_, offset.y * pe_->reference.height / height_};
        if (rarely())
            offset = {random_.below(2) == 0 ? INT32_MAX : 1000,
                      random_.below(3) == 0 ? INT32_MIN : static_cast<int32_t>(random_.next() >> 8)};
        const auto img =
            picture(rarely() ? random_.below(6) : int32_t{kPanoNv12}, width_ + (rarely() ? 1 : 0), height_);
        const PanoImg* const taken = spoil(&img->img);
        const ozr_point* const by = rarely() && rarely() ? nullptr : &offset;
        call(panorama_engine_set_image, reference::set_image, taken, index, by);
    }

    void stop() { call(panorama_engine_stop_capture, reference::stop_capture); }

    // A composed panorama may be composed again.
    void stop_again()
    {
        change([](PanoramaInternal* s) { s->status = static_cast<PanoStatus>(3); });
    }

    void synthesise()
    {
        g_cancels = random_.below(6) == 0 ? 1 : 0;
        both(
            panorama_engine_process_synthesis,
            [=](auto pe) { return reference::process_synthesis(pe, pe_->out_raw); },
            random_.below(6) == 0 ? 1 + random_.below(8) : 0);
    }

    void spoil_slots()
    {
        const int32_t slot = random_.below(kMaxPictures), states[] = {0, 2, 3, 4, 5},
                      state = states[random_.below(5)];
        const bool missing = rarely(), request = rarely();
        change([=](PanoramaInternal* s) {
            s->image_state[slot] = static_cast<PanoSlotState>(state);
            s->frame_present[0] = missing ? 0 : s->frame_present[0];
            s->cancel_requested = request ? 1 : s->cancel_requested;
        });
    }

    void cancel_core() { pe_->core->cancel = model_.core->cancel = 1; }

    // While the cancelling thread sleeps, a picture or the synthesis may end.
    void cancel()
    {
        g_slot = random_.below(std::max(std::min(pe_->count.load(), kMaxPictures), 1));
        g_end = 4 + random_.below(3);
        const int32_t moments[] = {1, 2, 50, 100, 101, 102, 200, 201, 202, 500};
        g_added = moments[random_.below(10)];
        g_ended = moments[random_.below(10)];
        if (random_.below(2) == 0 && pe_->count > 0)
            change([](PanoramaInternal* s) { s->image_state[g_slot] = static_cast<PanoSlotState>(2); });
        call(panorama_engine_cancel_process, reference::cancel_process);
    }

    void cancel_async()
    {
        both([](auto pe) { return panorama_engine_cancel_process_async(pe), 0; },
             reference::cancel_process_async, 0);
    }

    void answer()
    {
        call(panorama_engine_check_ready_to_destroy, reference::check_ready_to_destroy);
        const LogCapture log;
        EXPECT_EQ(panorama_engine_get_process_status(pe_), model_.status);
        EXPECT_EQ(log.progress(),
                  Lines{"panorama_engine_get_process_status: panorama_engine_get_process_status() status = " +
                        std::to_string(model_.status)});
    }

    void init() { both(panorama_engine_init, reference::init, 0); }

    // From any values of the words that are not buffers.
    void init_scribbled()
    {
        const int32_t dirt = 1 + random_.below(1000);
        change([=](PanoramaInternal* s) {
            for (int32_t* word :
                 {&s->motion.x, &s->motion.y, &s->count.word, &s->max_images, &s->reference.width,
                  &s->reference.height, &s->small.width, &s->small.height, &s->direction_threshold,
                  &s->target.x, &s->target.y, &s->target_tolerance.x, &s->target_tolerance.y})
                *word = dirt;
            s->direction = static_cast<PanoDirection>(dirt);
            for (int32_t i = 0; i < kMaxPictures; ++i) {
                s->offsets[i] = {dirt, dirt};
                s->image_state[i] = static_cast<PanoSlotState>(dirt);
                s->frame_present[i] = 1;
            }
            s->cancel_requested = 1;
            s->overlap = s->tolerance = s->inv_scale = 0.25F;
        });
        init();
    }

    static inline PanoramaInternal* g_context;
    static inline int32_t g_sleeps, g_cancels, g_slot, g_added, g_ended, g_end;

    Random random_;
    PanoramaInternal model_ = {};
    PanoramaInternal* pe_ = nullptr;
    int32_t width_ = 0, height_ = 0, padding_ = 0, preview_width_ = 0, x_ = 0, y_ = 0, direction_ = 0;
};

}  // namespace

TEST(Engine, DoesWhatItMeans)
{
    for (int32_t seed = 0; seed < kSeeds && !HasFailure(); ++seed) {
        Calls calls(static_cast<uint32_t>(seed));
        for (int32_t call = 0; call < kCalls && !HasFailure(); ++call) {
            SCOPED_TRACE(testing::Message() << "seed " << seed << " call " << call);
            calls.next();
            calls.compare();
        }
    }
}

TEST(Engine, RefusesWhatIsNotThere)
{
    PanoramaInternal* none = nullptr;
    const ozr_point offset = {0, 0};
    const TestImg img(kPanoNv12, 8, 8);
    EXPECT_EQ(panorama_engine_create(nullptr), kPanoNullArgument);
    panorama_engine_destroy(nullptr);
    panorama_engine_destroy(&none);
    EXPECT_EQ(panorama_engine_process_frame(nullptr, &img.img), kPanoNullArgument);
    EXPECT_EQ(panorama_engine_start_capture(nullptr, &img.img), kPanoNullArgument);
    EXPECT_EQ(panorama_engine_prepare_stitch(nullptr), kPanoBadArgument);
    EXPECT_EQ(panorama_engine_set_image(nullptr, &img.img, 0, &offset), kPanoNullArgument);
    EXPECT_EQ(panorama_engine_stop_capture(nullptr), kPanoNullArgument);
    EXPECT_EQ(panorama_engine_cancel_process(nullptr), kPanoNullArgument);
    panorama_engine_cancel_process_async(nullptr);
    EXPECT_EQ(panorama_engine_check_ready_to_destroy(nullptr), kPanoNullArgument);
    const LogCapture log;
    EXPECT_EQ(panorama_engine_process_synthesis(nullptr), kPanoNullArgument);
    EXPECT_EQ(log.progress(), Lines{"panorama_engine_process_synthesis: process_synthesis()"});
    const int32_t version[] = {1, 0, 2, 0};
    EXPECT_TRUE(std::equal(version, version + 4, panorama_engine_get_version()));
    PanoramaSave_SetCallBacks(nullptr, nullptr, nullptr);
}
