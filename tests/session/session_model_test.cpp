// Random calls on two handles against the model of a session: valid and not, in any order,
// sweeps of every direction, failing allocations, and requests to stop that come between
// calls and in the midst of them.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <sstream>
#include <utility>

#include "reference/engine.h"
#include "reference/session_model.h"
#include "support/contexts.h"
#include "support/log_capture.h"
#include "support/noise.h"
#include "support/points.h"
#include "support/wrapped_heap.h"
#include "support/wrapped_time.h"

namespace
{

using ozr_reference::SessionModel;

constexpr uint32_t kSequences = 3000;
constexpr int32_t kCalls = 34;
constexpr int32_t kScene = 512;  // pixels and bytes of a side

// The texture in front of the cameras.
const std::vector<uint8_t>& scene()
{
    static const std::vector<uint8_t> bytes = [] {
        std::vector<uint8_t> made;
        for (int32_t i = 0; i < 2 * kScene * kScene; ++i)
            made.push_back(static_cast<uint8_t>(noise(i % kScene, i / kScene)));
        return made;
    }();
    return bytes;
}

// The disturbances of a call from outside, by numbers from 1; 0 means never.
struct Disturbance {
    int64_t failing = 0;     // allocation that fails
    int64_t asking = 0;      // allocation before which, or
    size_t asking_line = 0;  // debug line with which somebody asks the work to stop
    bool by_reset = false;   // with a reset, which has to give up on a call that is still inside
};

// The disturbance of the running call, and the function that makes a request to stop.
Disturbance g_disturbance;
std::function<void(bool by_reset)> g_asks;

void disturb()
{
    const bool by_reset = g_disturbance.by_reset;
    g_disturbance = {};
    g_asks(by_reset);
}

void at_allocation(int64_t allocation)
{
    if (allocation == g_disturbance.asking)
        disturb();
}

void at_line(size_t line)
{
    if (line == g_disturbance.asking_line)
        disturb();
}

// Faults that a record shows: the value that a field gets.
constexpr struct {
    int32_t ozr_image::*field;
    int32_t times, plus;
} kFaults[] = {{&ozr_image::width, 0, 0},        {&ozr_image::height, 0, -3}, {&ozr_image::width, 1, -1},
               {&ozr_image::height, 1, -1},      {&ozr_image::stride, 1, 1},  {&ozr_image::stride, 1, -1},
               {&ozr_image::stride, 0, 1 << 30}, {&ozr_image::stride, 0, 1}};

// One handle with its model and its camera.
struct Subject {
    struct {
        ozr_panorama info;
        void* session;
    } hollow = {};
    ozr_panorama* handle = nullptr;
    SessionModel model;
    int32_t width = 0, height = 0, stride = 0;  // of the pictures
    ozr_point at = {128, 128}, announced = {10, 2};

    bool is_whole() const { return model.handle == SessionModel::kWhole && model.has_engine; }
    PanoramaInternal* engine() const { return is_whole() ? session_of(handle)->engine : nullptr; }
};

std::string words_of(const ozr_image& img)
{
    std::ostringstream out;
    out << img.width << 'x' << img.height << '/' << img.stride << " format " << img.format << " size "
        << img.size << " rotation " << img.rotation;
    return out.str();
}

class Sequence
{
public:
    explicit Sequence(uint32_t seed) : random_(seed), trace_("seed " + std::to_string(seed) + ":") {}

    void run()
    {
        for (Subject& s : subjects_)
            choose_camera(&s);
        for (int32_t i = 0; i < kCalls && !testing::Test::HasFailure(); ++i)
            call(&subjects_[one_in(5) ? 1 : 0]);
        for (Subject& s : subjects_)
            destroy(&s);
        EXPECT_EQ(live_, 0) << trace_;
    }

private:
    bool one_in(int32_t n) { return random_.below(n) == 0; }
    int32_t one_of(std::initializer_list<int32_t> values)
    {
        return values.begin()[random_.below(static_cast<int32_t>(values.size()))];
    }

    void choose_camera(Subject* s)
    {
        const ozr_point sizes[] = {{64, 40}, {40, 64}, {33, 45}, {64, 24},
                                   {24, 64}, {6, 40},  {48, 12}, {330, 1}};
        const ozr_point size = sizes[one_in(3) ? random_.below(8) : random_.below(2)];
        s->width = size.x;
        s->height = size.y;
        s->stride = one_in(2) ? kScene : s->width;
    }

    // The camera's view after a move.
    ozr_image view(Subject* s, int32_t move, int32_t width, int32_t height, int32_t stride)
    {
        s->at.x = std::clamp(s->at.x + random_.below(2 * move + 1) - move, 0, kScene - 400);
        s->at.y = std::clamp(s->at.y + random_.below(2 * move + 1) - move, 0, kScene - 400);
        uint8_t* data = const_cast<uint8_t*>(scene().data()) + s->at.y * kScene + s->at.x;
        return {data, stride * height * 3 / 2, width, height, ozr_image_format_nv12, stride, 0};
    }

    // Returns whether the record is still valid.
    bool spoil(ozr_image* image)
    {
        const int32_t fault = random_.below(90);
        if (fault < 10)
            image->format = static_cast<ozr_image_format>(fault);
        else if (fault == 10)
            image->data = nullptr;
        else if (fault < 19)
            image->*kFaults[fault - 11].field =
                image->*kFaults[fault - 11].field * kFaults[fault - 11].times + kFaults[fault - 11].plus;
        return fault >= 19;
    }

    // Makes a call of the library and then of the model, with the same disturbance, and
    // compares all that a caller sees.
    template <class Library, class Model>
    ozr_err both(Subject* s, const std::string& name, Disturbance now, Library library, Model model)
    {
        trace_ += (s == subjects_ ? "\n  " : "\n  other: ") + name;
        if (now.failing || now.asking || now.asking_line)
            trace_ += " (fails " + std::to_string(now.failing) + ", asked before " +
                      std::to_string(now.asking) + ", with line " + std::to_string(now.asking_line) +
                      (now.by_reset ? " by reset)" : ")");
        SCOPED_TRACE(trace_);
        SessionModel& m = s->model;
        const Seen got = watch(library, now, [s](bool by_reset) {
            if (by_reset)
                EXPECT_EQ(ozr_panorama_reset(s->handle), ozr_err_invalid_status);
            else
                ozr::engine::request_cancel(session_of(s->handle)->engine);
        });
        const Seen want = watch(model, now, [&m](bool by_reset) { m.interrupt(by_reset); });
        live_ += got.blocks;
        EXPECT_EQ(got.code, want.code);
        EXPECT_EQ(got.chain, want.chain);
        EXPECT_EQ(got.progress, want.progress);
        EXPECT_EQ(got.slept, want.slept);
        if (m.handle == SessionModel::kWhole)
            compare(m, *session_of(s->handle));
        return got.code;
    }

    // The visible results of a call.
    struct Seen {
        ozr_err code;
        Lines chain, progress;
        int64_t slept, blocks;
    };
    template <class Call>
    static Seen watch(Call call, const Disturbance& now, const std::function<void(bool)>& asks)
    {
        g_disturbance = now;
        g_asks = asks;
        const LogCapture log(at_line);
        const Sleeps sleeps;
        const WrappedHeap heap(now.failing, at_allocation);
        const ozr_err code = call();
        g_disturbance = {};
        return {code, log.chain(), without_numbers(log.progress()), sleeps.milliseconds(),
                heap.live_blocks()};
    }

    // Debug lines without addresses and source lines.
    static Lines without_numbers(Lines lines)
    {
        for (std::string& line : lines) {
            const size_t pointer = line.find("Pointer : 0x"), place = line.find("():");
            line.resize(pointer != std::string::npos ? pointer + 12
                        : place != std::string::npos ? place + 2
                                                     : line.size());
        }
        return lines;
    }

    static void compare(const SessionModel& m, const panorama_t& session)
    {
        EXPECT_EQ(session.engine != nullptr, m.has_engine);
        EXPECT_EQ(memcmp(session.params, &m.cache, sizeof(m.cache)), 0);
        EXPECT_EQ(session.detected_count, m.detected_count);
        EXPECT_EQ(session.stitched_count, m.stitched_count);
        if (session.engine != nullptr && m.has_engine)
            expect_same(*session.engine, m.pe);
    }

    void call(Subject* s)
    {
        const int32_t kind = random_.below(100);
        const bool has_panorama = s->model.stitched_count > 1 || one_in(8),
                   has_ended = s->is_whole() && s->model.pe.status > kStatusStopped;
        if (s->handle == nullptr && !one_in(8))
            create(s);
        else if (has_ended && one_in(3))
            reset(s);
        else if (s->is_whole() && s->model.pe.direction == 0 && one_in(4))
            parameters(s);
        else if (kind < 20)
            detect(s);
        else if (kind < 52 || (kind < 68 && !has_panorama))
            stitch(s);
        else if (kind < 68)
            run(s);
        else if (kind < 82)
            parameters(s);
        else if (kind < 88)
            reset(s);
        else if (kind < 91)
            destroy(s);
        else if (s->is_whole())
            behind(s, kind);
    }

    void create(Subject* s)
    {
        if (one_in(12)) {  // a handle that no session stands behind
            s->handle = &s->hollow.info;
            s->model.handle = SessionModel::kHollow;
            return;
        }
        ozr_config config = {};
        ozr_panorama_get_default_config(&config);
        const int32_t fault = random_.below(30);
        config.version = {static_cast<uint16_t>(fault == 0 ? 2 : 1),
                          static_cast<uint16_t>(fault == 1 ? 1 : 0),
                          static_cast<uint16_t>(fault == 2 ? 0 : 1), static_cast<uint16_t>(random_.below(3))};
        config.engine_type = fault == 3 ? one_of({-1, 2}) : random_.below(2);
        config.engine_resource = fault == 4 ? nullptr : &config;
        config.aux_type = random_.below(3);
        config.aux_resource = fault == 5 ? nullptr : &config;
        config.description = trace_.c_str();
        const ozr_config* given = one_in(4) ? nullptr : &config;
        ozr_panorama* made = &s->hollow.info;
        ozr_panorama** place = one_in(20) ? nullptr : &made;
        const ozr_err code = both(
            s, "create", {one_in(4) ? 1 + random_.below(7) : 0},
            [&] {
                const ozr_err got = ozr_panorama_create(given, place);
                s->handle = got == ozr_success ? made : nullptr;
                return got;
            },
            [&] { return s->model.create(given, place != nullptr); });
        EXPECT_EQ(made == &s->hollow.info, place == nullptr) << trace_;
        EXPECT_EQ(place == nullptr || (made == nullptr) == (code < 0), true) << trace_;
        if (code < 0)
            return;
        ozr_panorama_get_default_config(given == nullptr ? &config : &kept_);
        EXPECT_EQ(memcmp(&made->version, &config.version, sizeof(config.version)), 0) << trace_;
        EXPECT_EQ(made->description, config.description);
    }

    void destroy(Subject* s)
    {
        if (s->model.handle != SessionModel::kHollow)
            both(
                s, "destroy", {}, [&] { return ozr_panorama_destroy(std::exchange(s->handle, nullptr)), 0; },
                [&] { return s->model.destroy(), 0; });
        s->handle = nullptr;
        s->model.handle = SessionModel::kNone;
        choose_camera(s);
    }

    void reset(Subject* s)
    {
        both(
            s, "reset", {one_in(6) ? 1 + random_.below(2) : 0}, [&] { return ozr_panorama_reset(s->handle); },
            [&] { return s->model.reset(); });
    }

    void parameters(Subject* s)
    {
        const int32_t overlap = one_in(6)   ? one_of({49, 91, -1, 0, INT32_MIN})
                                : one_in(3) ? 70
                                            : 50 + random_.below(41);
        const int32_t way = one_in(9) ? one_of({-1, 5, 9}) : random_.below(5);
        ozr_panorama_parameters got = {overlap, static_cast<ozr_panorama_direction>(way)}, want = got;
        const bool given = !one_in(12);
        if (one_in(3))
            both(
                s, "get", {}, [&] { return ozr_panorama_get_parameters(s->handle, given ? &got : nullptr); },
                [&] { return s->model.get_parameters(given ? &want : nullptr); });
        else
            both(
                s, "set " + std::to_string(overlap) + " " + std::to_string(way), {},
                [&] { return ozr_panorama_set_parameters(s->handle, given ? &got : nullptr); },
                [&] { return s->model.set_parameters(given ? &want : nullptr); });
        EXPECT_EQ(got.overlapping_ratio, want.overlapping_ratio) << trace_;
        EXPECT_EQ(got.direction, want.direction) << trace_;
    }

    void detect(Subject* s)
    {
        PanoramaInternal* pe = s->handle != nullptr ? s->engine() : nullptr;
        if (pe != nullptr && pe->status == kStatusCapturing && one_in(3)) {  // the camera was quick
            s->model.pe.motion.x = pe->motion.x = random_.below(81) - 40;
            s->model.pe.motion.y = pe->motion.y = random_.below(81) - 40;
        }
        const int32_t large = one_in(4) ? 1 : 0;
        ozr_image frame = view(s, 4, std::min(s->width << large, 200), s->height + 9 * large, kScene);
        frame.format = static_cast<ozr_image_format>(one_of({0, 1, 2, 4, 7}));
        frame.size = one_of({frame.size, 0});  // not looked at
        spoil(&frame);
        ozr_point got = {-5, -6}, want = got;
        ozr_panorama_direction got_way = static_cast<ozr_panorama_direction>(77), want_way = got_way;
        const int32_t missing = random_.below(36);
        const ozr_image* preview = missing == 0 ? nullptr : &frame;
        const auto unless = [missing](int32_t number, auto* pointer) {
            return missing == number ? nullptr : pointer;
        };
        Disturbance now;
        now.asking_line = one_in(8) ? 1 : 0;
        const ozr_err code = both(
            s, "detect " + words_of(frame), now,
            [&] {
                return ozr_panorama_detect_frame_to_stitch(s->handle, preview, unless(1, &got),
                                                           unless(2, &got_way));
            },
            [&] { return s->model.detect(preview, unless(1, &want), unless(2, &want_way)); });
        EXPECT_EQ(got, want) << trace_;
        EXPECT_EQ(got_way, want_way) << trace_;
        s->announced = code > 0 ? got : s->announced;
    }

    void stitch(Subject* s)
    {
        ozr_image picture = view(s, 10, s->width, s->height, s->stride);
        const bool good = spoil(&picture);
        const int32_t reach = 2 * std::max(s->width, s->height);
        const ozr_point wild = {random_.below(2 * reach) - reach, random_.below(2 * reach) - reach},
                        wildest = {one_of({INT32_MAX, -INT32_MAX, 1 << 26}),
                                   one_of({INT32_MAX, -INT32_MAX, 0})};
        const ozr_point offset = one_in(10) ? wildest : one_in(4) ? wild : s->announced;
        const ozr_point* given = one_in(2) ? nullptr : &offset;
        ozr_image* const taken = one_in(40) ? nullptr : &picture;
        Disturbance now;
        const int32_t kind = good ? random_.below(10) : 9;
        now.failing = kind == 0 ? 1 + random_.below(30) : 0;
        now.asking = kind == 1 ? 1 + random_.below(12) : 0;
        now.by_reset = kind == 1 && one_in(2);
        both(
            s,
            "stitch " + words_of(picture) + (given ? " by " : " not by ") + std::to_string(offset.x) + "," +
                std::to_string(offset.y),
            now, [&] { return ozr_panorama_stitch_one_image(s->handle, taken, given); },
            [&] { return s->model.stitch(taken, given); });
    }

    void run(Subject* s)
    {
        ozr_image got = {nullptr, 1, 2, 3, ozr_image_format_yuy2, 5, 6}, want = got;
        const bool given = !one_in(12);
        const int32_t kind = random_.below(3);
        Disturbance now;
        now.failing = kind == 0 ? 1 + random_.below(7) : 0;
        // Turning a panorama back allocates once more, after the last check for a request.
        now.asking = kind == 1 && !ozr::is_vertical(s->model.pe.direction) ? 1 + random_.below(12) : 0;
        now.asking_line = kind == 2 ? static_cast<size_t>(1 + random_.below(7)) : 0;
        now.by_reset = one_in(2);
        const ozr_err code = both(
            s, "run", now, [&] { return ozr_panorama_run(s->handle, given ? &got : nullptr); },
            [&] { return s->model.run(given ? &want : nullptr); });
        EXPECT_EQ(got.data != nullptr, code == ozr_success) << trace_;
        EXPECT_EQ(words_of(got), words_of(want)) << trace_;
        EXPECT_EQ(code < 0 ? 0 : memcmp(got.data, want.data, static_cast<size_t>(got.size)), 0) << trace_;
    }

    // Calls of session and engine that do not go through the handle.
    void behind(Subject* s, int32_t kind)
    {
        PanoramaInternal* pe = s->engine();
        const int32_t id = random_.below(2), value = random_.below(6);
        const panorama_param_t p = {value, 2 * value, one_of({29, 30, 61, 95, 96}),
                                    static_cast<ozr_panorama_direction>(random_.below(5))};
        if (kind < 94)
            both(
                s, "parameter " + std::to_string(id) + " " + std::to_string(value), {},
                [&] { return panorama_engine_set_param(pe, id, value); },
                [&] { return ozr_reference::set_param(&s->model.pe, id, value); });
        else if (kind < 96)
            both(
                s, "set session " + std::to_string(p.overlap_percent), {},
                [&] { return session_of(s->handle)->set_parameters(&p); },
                [&] { return s->model.write_parameters(p); });
        else if (kind < 99)
            both(
                s, "cancel", {}, [&] { return panorama_engine_cancel_process_async(pe), 0; },
                [&] { return ozr_reference::cancel_process_async(&s->model.pe); });
        else if (s->model.stitched_count > 1)
            for (PanoramaCore* core : {pe->core, s->model.pe.core})
                core->aligned[s->model.stitched_count - 1] = 0;  // as if no pair was found
    }

    Random random_;
    std::string trace_;
    ozr_config kept_ = {};
    Subject subjects_[2];
    int64_t live_ = 0;
};

}  // namespace

TEST(SessionModel, PredictsEveryCall)
{
    for (uint32_t seed = 1; seed <= kSequences && !HasFailure(); ++seed)
        Sequence(seed).run();
}
