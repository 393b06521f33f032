// The engine: parameters, detection, intake, cancellation and synthesis.
#include <gtest/gtest.h>

#include <algorithm>

#include "pano_result.h"
#include "panorama_save.h"
#include "support/engines.h"
#include "support/log_capture.h"
#include "support/wrapped_heap.h"

namespace
{

using Lines = std::vector<std::string>;

struct MotionCase {
    const char* what;
    int32_t strict, direction, x, y;
    int32_t want, want_direction;
};

}  // namespace

TEST(EngineParameters, AreCheckedClampedAndDerived)
{
    TestEngine engine;
    const struct {
        int32_t id, value, want, reads, max_images;
    } cases[] = {
        {0, 7, 0, 1, 10},    {0, 0, 0, 0, 10},   {1, 0, 0, 1, 1},    {1, 25, 0, 10, 10}, {2, 29, -2, 70, 10},
        {2, 96, -2, 70, 10}, {2, 30, 0, 30, 5},  {2, 50, 0, 50, 6},  {2, 60, 0, 60, 8},  {2, 65, 0, 65, 9},
        {2, 70, 0, 70, 10},  {2, 95, 0, 95, 10}, {3, 1, -2, -2, 10},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "parameter " << c.id << " = " << c.value);
        EXPECT_EQ(panorama_engine_set_param(engine.pe, c.id, c.value), c.want);
        EXPECT_EQ(panorama_engine_get_param(engine.pe, c.id), c.reads);
        EXPECT_EQ(engine->max_images, c.max_images);
        EXPECT_EQ(panorama_core_get_param(engine->core, 0), panorama_engine_get_param(engine.pe, 2));
    }
    engine->status = kStatusCapturing;
    EXPECT_EQ(panorama_engine_set_param(engine.pe, 2, 70), kPanoWrongState);
    engine->status = kStatusIdle;
    const int32_t version[] = {1, 0, 2, 0};
    EXPECT_TRUE(std::equal(version, version + 4, panorama_engine_get_version()));
}

TEST(EngineLife, InitRestoresEverythingButStrictMode)
{
    TestEngine engine;
    panorama_engine_set_param(engine.pe, 0, 1);
    panorama_engine_set_param(engine.pe, 2, 50);
    const NoisePicture first(96, 64, 0, 0);
    ASSERT_EQ(engine.take(first.img, {0, 0}), 1);
    engine->cancel_requested = 1;
    LogCapture log;
    EXPECT_EQ(panorama_engine_init(engine.pe), 0);
    EXPECT_EQ(log.progress(), Lines{"panorama_engine_init: panorama_engine_init() status = 2"});
    EXPECT_EQ(engine->strict_mode, 1);
    EXPECT_EQ(engine->status, kStatusIdle);
    EXPECT_EQ(panorama_engine_get_param(engine.pe, 2), 70);
    EXPECT_EQ(engine->max_images, 10);
    EXPECT_EQ(engine->count, 0);
    EXPECT_EQ(engine->frames[0].data, nullptr);
    EXPECT_EQ(engine->image_state[0], kSlotEmpty);
    EXPECT_EQ(engine->preview_prev, nullptr);
    EXPECT_EQ(engine->inv_scale, 1.0F);
    EXPECT_EQ(engine->cancel_requested, 0);
    EXPECT_EQ(panorama_engine_get_process_status(engine.pe), kStatusIdle);
    PanoramaInternal* none = nullptr;
    panorama_engine_destroy(&none);
    panorama_engine_destroy(nullptr);
    PanoramaSave_SetCallBacks(nullptr, nullptr, nullptr);
}

TEST(EngineDetection, StartMeasuresTheFirstPicture)
{
    TestEngine engine;
    const TestImg first(kPanoGray, 1280, 960);
    ASSERT_EQ(panorama_engine_start_capture(engine.pe, &first.img), 0);
    EXPECT_EQ(engine->small_width, 320);
    EXPECT_EQ(engine->small_height, 240);
    EXPECT_EQ(engine->inv_scale, 4.0F);
    EXPECT_EQ(engine->target_x, 384);
    EXPECT_EQ(engine->target_y, 288);
    EXPECT_EQ(engine->tolerance_x, 25);
    EXPECT_EQ(engine->tolerance_y, 19);
    EXPECT_EQ(engine->direction_threshold, 12544);
    EXPECT_EQ(panorama_engine_start_capture(engine.pe, &first.img), kPanoWrongState);
    EXPECT_EQ(panorama_engine_set_param(engine.pe, 0, 1), kPanoWrongState);

    TestEngine strict;
    panorama_engine_set_param(strict.pe, 0, 1);
    ASSERT_EQ(panorama_engine_start_capture(strict.pe, &first.img), 0);
    EXPECT_EQ(strict->tolerance_x, 64);
}

// The frames stand still, so the motion is what the context already holds.
TEST(EngineDetection, DecidesDirectionAndTrigger)
{
    const MotionCase cases[] = {
        {"short of the threshold", 0, 0, 60, 80, 0, 0},
        {"at the threshold", 0, 0, 112, 0, 0, 0},
        {"left", 0, 0, -200, 10, 0, 2},
        {"up", 0, 0, 50, -200, 0, 4},
        {"down", 0, 0, 50, 200, 0, 3},
        {"ties are horizontal", 0, 0, 100, 100, 0, 1},
        {"ties are horizontal, backwards", 0, 0, -100, 100, 0, 2},
        {"decided and due at once", 0, 0, 400, 0, 1, 1},
        {"right, not yet", 0, 1, 359, 0, 0, 1},
        {"right, due", 0, 1, 360, 0, 1, 1},
        {"right, overshot", 0, 1, 900, 500, 1, 1},
        {"left, not yet", 0, 2, -359, 0, 0, 2},
        {"left, due", 0, 2, -360, 0, 1, 2},
        {"down, not yet", 0, 3, 0, 269, 0, 3},
        {"down, due", 0, 3, 0, 270, 1, 3},
        {"up, not yet", 0, 4, 0, -269, 0, 4},
        {"up, due", 0, 4, 0, -270, 1, 4},
        {"strict, before the band", 1, 1, 320, 0, 0, 1},
        {"strict, in the band", 1, 1, 321, 0, 1, 1},
        {"strict, least drift", 1, 1, 400, 47, 1, 1},
        {"strict, too much drift", 1, 1, 400, 48, 0, 1},
        {"strict, last in the band", 1, 1, 447, -47, 1, 1},
        {"strict, behind the band", 1, 1, 448, 0, 0, 1},
        {"strict, left in the band", 1, 2, -321, 0, 1, 2},
        {"strict, left behind the band", 1, 2, -448, 0, 0, 2},
        {"strict, down in the band", 1, 3, 63, 241, 1, 3},
        {"strict, down drifting", 1, 3, 64, 241, 0, 3},
        {"strict, up behind the band", 1, 4, 0, -336, 0, 4},
        {"strict, up in the band", 1, 4, 0, -335, 1, 4},
    };
    for (const MotionCase& c : cases) {
        SCOPED_TRACE(c.what);
        TestEngine engine;
        panorama_engine_set_param(engine.pe, 0, c.strict);
        const TestImg first(kPanoGray, 1280, 960);
        ASSERT_EQ(panorama_engine_start_capture(engine.pe, &first.img), 0);
        engine->direction = c.direction;
        engine->offset_x = c.x;
        engine->offset_y = c.y;
        EXPECT_EQ(panorama_engine_process_frame(engine.pe, &first.img), c.want);
        EXPECT_EQ(engine->direction, c.want_direction);
        EXPECT_EQ(engine->offset_x, c.x);
    }
}

TEST(EngineDetection, CountsMotionOfEveryFormatAndRebasesOnPreviews)
{
    for (int32_t format : {kPanoGray, kPanoNv12, kPanoYuyv}) {
        SCOPED_TRACE(format);
        TestEngine engine;
        const auto frame = [&](int32_t width, int32_t height, int32_t dx) {
            auto img = std::make_unique<TestImg>(format, width, height);
            for (int32_t y = 0; y < height; ++y) {
                for (int32_t x = 0; x < width; ++x)
                    img->at(format == kPanoYuyv ? 2 * x : x, y) =
                        static_cast<uint8_t>(noise((x + dx) / 4, y / 4));
            }
            return img;
        };
        const NoisePicture first(640, 480, 0, 0);
        ASSERT_EQ(panorama_engine_start_capture(engine.pe, &first.img), 0);
        LogCapture log;
        ASSERT_EQ(panorama_engine_process_frame(engine.pe, &frame(320, 240, 0)->img), 0);
        EXPECT_EQ(engine->offset_x, 0);  // another size: no motion, new targets
        EXPECT_EQ(engine->ref_width, 320);
        EXPECT_EQ(engine->target_x, 96);
        EXPECT_EQ(engine->direction_threshold, 784);
        EXPECT_EQ(engine->inv_scale, 1.0F);
        for (int32_t i = 1; i <= 6; ++i) {
            ASSERT_EQ(panorama_engine_process_frame(engine.pe, &frame(320, 240, 5 * i)->img), 0);
            EXPECT_EQ(engine->offset_x, 5 * i);
        }
        EXPECT_EQ(engine->direction, kDirectionRight);
        EXPECT_EQ(log.progress(), Lines{"panorama_engine_process_frame: direction = PANO_DIR_RIGHT"});
    }
}

TEST(EngineDetection, RefusalsInOrderAndTheEndOfAFullSweep)
{
    TestEngine engine;
    TestImg gray(kPanoGray, 64, 48), nv21(kPanoNv21, 64, 48);
    PanoImg empty = gray.img;
    empty.data = nullptr;
    EXPECT_EQ(panorama_engine_process_frame(engine.pe, &empty), kPanoNullArgument);
    EXPECT_EQ(panorama_engine_process_frame(engine.pe, &gray.img), kPanoWrongState);
    EXPECT_EQ(panorama_engine_start_capture(engine.pe, &empty), kPanoNullArgument);
    EXPECT_EQ(panorama_engine_start_capture(engine.pe, &nv21.img), kPanoNotSupported);
    EXPECT_EQ(engine->status, kStatusIdle);
    for (const auto& size : {ozr_point{0, 48}, {64, -1}, {60000, 48}, {30000, 30}}) {
        PanoImg wild = gray.img;
        wild.width = size.x;
        wild.height = size.y;
        EXPECT_EQ(panorama_engine_start_capture(engine.pe, &wild), kPanoBadArgument);
    }
    ASSERT_EQ(panorama_engine_start_capture(engine.pe, &gray.img), 0);
    EXPECT_EQ(panorama_engine_process_frame(engine.pe, &nv21.img), kPanoNotSupported);
    PanoImg narrow = gray.img;
    narrow.stride = 63;
    EXPECT_EQ(panorama_engine_process_frame(engine.pe, &narrow), kPanoBadArgument);
    engine->count = 10;
    EXPECT_EQ(panorama_engine_process_frame(engine.pe, &gray.img), 0);
    EXPECT_EQ(engine->status, kStatusStopped);
}

TEST(EngineIntake, RefusalsMarkTheSlot)
{
    struct Case {
        const char* what;
        int32_t index;
        void (*break_it)(PanoramaInternal* pe, PanoImg* picture);
        int32_t want, want_state;
    };
    const Case cases[] = {
        {"reserved slot", 0, [](PanoramaInternal*, PanoImg*) {}, 1, kSlotAdded},
        {"cancelled", 0, [](PanoramaInternal* pe, PanoImg*) { pe->cancel_requested = 1; }, kPanoCancelled,
         kSlotCancelled},
        {"below the slots", -1, [](PanoramaInternal*, PanoImg*) {}, kPanoBadArgument, -1},
        {"beyond the pictures", 9, [](PanoramaInternal* pe, PanoImg*) { pe->max_images = 9; },
         kPanoBadArgument, kSlotFailed},
        {"beyond the slots", 10, [](PanoramaInternal*, PanoImg*) {}, kPanoBadArgument, -1},
        {"far beyond the slots, cancelled", 4000,
         [](PanoramaInternal* pe, PanoImg*) { pe->cancel_requested = 1; }, kPanoCancelled, -1},
        {"stopped", 0, [](PanoramaInternal* pe, PanoImg*) { pe->status = kStatusStopped; }, kPanoWrongState,
         kSlotFailed},
        {"not reserved", 1, [](PanoramaInternal*, PanoImg*) {}, kPanoWrongState, kSlotFailed},
        {"not NV12", 0, [](PanoramaInternal*, PanoImg* picture) { picture->format = kPanoNv21; },
         kPanoNotSupported, kSlotFailed},
        {"no pixels", 0, [](PanoramaInternal*, PanoImg* picture) { picture->data = nullptr; }, kPanoNoMemory,
         kSlotFailed},
    };
    const NoisePicture first(96, 64, 0, 0);
    const ozr_point offset = {3, 4};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        TestEngine engine;
        ASSERT_EQ(panorama_engine_start_capture(engine.pe, &first.img), 0);
        ASSERT_EQ(panorama_engine_prepare_stitch(engine.pe), 0);
        PanoImg picture = first.img;
        c.break_it(engine.pe, &picture);
        EXPECT_EQ(panorama_engine_set_image(engine.pe, &picture, c.index, &offset), c.want);
        if (c.want_state >= 0) {
            EXPECT_EQ(engine->image_state[c.index], c.want_state);
        }
    }
    TestEngine engine;
    EXPECT_EQ(panorama_engine_set_image(nullptr, &first.img, 0, &offset), kPanoNullArgument);
    EXPECT_EQ(panorama_engine_set_image(engine.pe, nullptr, 0, &offset), kPanoNullArgument);
    EXPECT_EQ(panorama_engine_set_image(engine.pe, &first.img, 0, nullptr), kPanoNullArgument);
    EXPECT_EQ(panorama_engine_prepare_stitch(nullptr), kPanoBadArgument);
    for (int32_t i = 0; i < 10; ++i)
        EXPECT_EQ(panorama_engine_prepare_stitch(engine.pe), i);
    EXPECT_EQ(panorama_engine_prepare_stitch(engine.pe), kPanoTooManyPictures);
    EXPECT_EQ(panorama_engine_stop_capture(engine.pe), kPanoWrongState);
    EXPECT_EQ(panorama_engine_prepare_stitch((engine->status = kStatusComposed, engine.pe)), kPanoWrongState);
}

TEST(EngineIntake, ScalesAndTurnsOffsets)
{
    // Detection at 48 x 32, pictures of 96 x 64: the core is told twice the offset. Where the search misses, it reports
    // that nothing was found, so the first offset that misses tells what arrived: 96 + 9 pixels ahead is out of reach.
    for (int32_t direction : {kDirectionRight, kDirectionLeft, kDirectionDown, kDirectionUp}) {
        const bool vertical = pano_is_vertical(direction);
        const int32_t side = vertical ? 64 : 96;
        const int32_t sign = direction == kDirectionRight || direction == kDirectionDown ? 1 : -1;
        // The search begins a tenth of the side before the expected position.
        const int32_t last_reached = (side - 1 + side / 10) / 2;
        for (int32_t along : {last_reached, last_reached + 1}) {
            SCOPED_TRACE(testing::Message() << "direction " << direction << " offset " << along);
            TestEngine engine;
            const NoisePicture first(96, 64, 0, 0), second(96, 64, 20, 20);
            ASSERT_EQ(engine.take(first.img, {0, 0}), 1);
            engine->ref_width = 48;
            engine->ref_height = 32;
            engine->direction = direction;
            const ozr_point offset = vertical ? ozr_point{0, sign * along} : ozr_point{sign * along, 0};
            ASSERT_EQ(engine.take(second.img, offset), 2);
            const bool forward = direction == kDirectionRight || direction == kDirectionUp;
            EXPECT_EQ(engine->core->width, side);
            EXPECT_EQ(engine->core->forward, forward ? 1 : 0);
            EXPECT_EQ(engine->core->offsets[forward ? 1 : 0].score == -1, along > last_reached);
        }
    }
}

TEST(EngineIntake, RefusesOffsetsThatCannotBeScaled)
{
    for (const ozr_point& offset : {ozr_point{INT32_MAX, 0}, {0, INT32_MIN}}) {
        TestEngine engine;
        const NoisePicture first(96, 64, 0, 0);
        ASSERT_EQ(engine.take(first.img, {0, 0}), 1);
        engine->ref_width = 48;
        engine->direction = kDirectionRight;
        EXPECT_EQ(engine.take(first.img, offset), kPanoBadArgument);
        EXPECT_EQ(engine->image_state[1], kSlotFailed);
        EXPECT_EQ(engine->frame_present[0], 0);
    }
    TestEngine idle;  // never started: there is no size to scale from
    const NoisePicture first(96, 64, 0, 0);
    for (int32_t i = 0; i < 2; ++i)
        panorama_engine_prepare_stitch(idle.pe);
    const ozr_point origin = {0, 0};
    EXPECT_EQ(panorama_engine_set_image(idle.pe, &first.img, 0, &origin), 2);
    EXPECT_EQ(panorama_engine_set_image(idle.pe, &first.img, 1, &origin), kPanoBadArgument);
}

TEST(EngineIntake, WithoutADirectionPicturesStayInTheEngine)
{
    TestEngine engine;
    const NoisePicture first(96, 64, 0, 0), second(96, 64, 30, 0);
    ASSERT_EQ(engine.take(first.img, {0, 0}), 1);
    ASSERT_EQ(engine.take(second.img, {30, 0}), 2);
    EXPECT_EQ(engine->frames[0].data, nullptr);
    EXPECT_EQ(engine->frame_present[0], 0);
    EXPECT_EQ(engine->frame_present[1], 1);
    EXPECT_EQ(engine->image_state[1], kSlotAdded);
    EXPECT_EQ(memcmp(engine->frames[1].data, second.img.data, static_cast<size_t>(second.img.size)), 0);
}

TEST(EngineIntake, MissingFirstPictureKeepsTheEngineBusy)
{
    TestEngine engine;
    const NoisePicture picture(96, 64, 0, 0);
    ASSERT_EQ(engine.take(picture.img, {0, 0}), 1);
    engine->frame_present[0] = 0;
    engine->direction = kDirectionRight;
    EXPECT_EQ(engine.take(picture.img, {30, 0}), kPanoPictureBusy);
    EXPECT_EQ(engine->image_state[1], kSlotAdding);
    EXPECT_EQ(panorama_engine_check_ready_to_destroy(engine.pe), kPanoPictureBusy);
    EXPECT_EQ(panorama_engine_cancel_process(engine.pe), kPanoCancelTimeout);
    EXPECT_EQ(engine->cancel_requested, 1);
    EXPECT_EQ(panorama_engine_init(engine.pe), 0);
}

TEST(EngineCancel, AnswersByStatus)
{
    TestEngine engine;
    EXPECT_EQ(panorama_engine_cancel_process(nullptr), kPanoNullArgument);
    panorama_engine_cancel_process_async(nullptr);
    EXPECT_EQ(panorama_engine_check_ready_to_destroy(nullptr), kPanoNullArgument);
    EXPECT_EQ(panorama_engine_cancel_process(engine.pe), kPanoWrongState);
    panorama_engine_cancel_process_async(engine.pe);
    EXPECT_EQ(engine->cancel_requested, 0);
    engine->status = kStatusCancelled;
    EXPECT_EQ(panorama_engine_cancel_process(engine.pe), 0);
    engine->status = kStatusCapturing;
    EXPECT_EQ(panorama_engine_check_ready_to_destroy(engine.pe), 0);
    EXPECT_EQ(panorama_engine_cancel_process(engine.pe), kPanoWrongState);
    EXPECT_EQ(engine->cancel_requested, 0);
    EXPECT_EQ(engine->core->cancel, 1);  // only a new core forgets the request
    panorama_engine_cancel_process_async(engine.pe);
    EXPECT_EQ(engine->cancel_requested, 1);
    engine->status = kStatusStopped;
    EXPECT_EQ(panorama_engine_check_ready_to_destroy(engine.pe), kPanoSynthesisRunning);
    LogCapture log;
    EXPECT_EQ(panorama_engine_cancel_process(engine.pe), kPanoCancelTimeout);
    EXPECT_EQ(log.progress().size(), 101U);
    EXPECT_EQ(log.progress()[1], "panorama_engine_cancel_process: wait canceling synthesis process....");
}

TEST(EngineSynthesis, ASinglePictureIsCopied)
{
    TestEngine engine;
    const NoisePicture only(90, 60, 0, 0);
    ASSERT_EQ(engine.take(only.img, {0, 0}), 1);
    ASSERT_EQ(panorama_engine_stop_capture(engine.pe), 0);
    ASSERT_EQ(panorama_engine_stop_capture(engine.pe), 0);
    LogCapture log;
    ASSERT_EQ(panorama_engine_process_synthesis(engine.pe), 0);
    EXPECT_EQ(log.progress(), Lines{"panorama_engine_process_synthesis: process_synthesis()"});
    EXPECT_EQ(engine->status, kStatusComposed);
    EXPECT_EQ(engine->frame_present[0], 0);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(engine->out_img.data) % 4096, 0U);
    EXPECT_EQ(memcmp(engine->out_img.data, only.img.data, static_cast<size_t>(only.img.size)), 0);
    EXPECT_EQ(panorama_engine_process_synthesis(engine.pe), kPanoWrongState);
    EXPECT_EQ(engine->status, kStatusFailed);
}

TEST(EngineSynthesis, ComposesBothWaysAndTurnsVerticalSweepsBack)
{
    for (int32_t direction : {kDirectionRight, kDirectionUp}) {
        TestEngine engine;
        const bool vertical = direction == kDirectionUp;
        const NoisePicture first(96, 96, 0, 0), second(96, 96, vertical ? 0 : 30, vertical ? -30 : 0);
        ASSERT_EQ(engine.take(first.img, {0, 0}), 1);
        engine->direction = direction;
        ASSERT_EQ(engine.take(second.img, vertical ? ozr_point{0, -30} : ozr_point{30, 0}), 2);
        ASSERT_EQ(panorama_engine_stop_capture(engine.pe), 0);
        LogCapture log;
        ASSERT_EQ(panorama_engine_process_synthesis(engine.pe), 0);
        const PanoImg& out = engine->out_img;
        EXPECT_GE(vertical ? out.height : out.width, 112);
        EXPECT_LE(vertical ? out.width : out.height, 96);
        const std::string tag = "panorama_engine_process_synthesis: ";
        char block[64], size[64];
        snprintf(block, sizeof(block), "Original Pointer : 0x%X",
                 static_cast<uint32_t>(reinterpret_cast<uintptr_t>(engine->out_raw)));
        snprintf(size, sizeof(size), "out_img size = %dx%d", out.width, out.height);
        EXPECT_EQ(log.progress(),
                  (Lines{tag + "process_synthesis()",
                         "panorama_core_panorama: start synthesis 2 image(s), (size: 96x96)", tag + block,
                         tag + size, tag + "return = 0", tag + "process_synthesis end pe->status = 4 "}));
    }
}

TEST(EngineSynthesis, FailuresSetTheStatus)
{
    struct Case {
        const char* what;
        void (*break_it)(PanoramaInternal* pe);
        int32_t want, status;
    };
    const Case cases[] = {
        {"not stopped", [](PanoramaInternal* pe) { pe->status = kStatusCapturing; }, kPanoWrongState,
         kStatusFailed},
        {"nothing reserved", [](PanoramaInternal* pe) { pe->count = 0; }, kPanoWrongState, kStatusFailed},
        {"nothing added", [](PanoramaInternal* pe) { pe->image_state[0] = pe->image_state[1] = kSlotFailed; },
         kPanoWrongState, kStatusFailed},
        {"one added, gone to the core", [](PanoramaInternal* pe) { pe->image_state[1] = kSlotFailed; },
         kPanoPictureBusy, kStatusFailed},
        {"cancelled before", [](PanoramaInternal* pe) { pe->cancel_requested = 1; }, kPanoCancelled,
         kStatusCancelled},
        {"cancelled in the core", [](PanoramaInternal* pe) { pe->core->cancel = 1; }, kPanoCancelled,
         kStatusCancelled},
        {"not aligned", [](PanoramaInternal* pe) { pe->core->aligned[1] = 0; }, kPanoPictureMissing,
         kStatusFailed},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        TestEngine engine;
        const NoisePicture first(96, 64, 0, 0), second(96, 64, 30, 0);
        ASSERT_EQ(engine.take(first.img, {0, 0}), 1);
        engine->direction = kDirectionRight;
        ASSERT_EQ(engine.take(second.img, {30, 0}), 2);
        ASSERT_EQ(panorama_engine_stop_capture(engine.pe), 0);
        c.break_it(engine.pe);
        EXPECT_EQ(panorama_engine_process_synthesis(engine.pe), c.want);
        EXPECT_EQ(engine->status, c.status);
        EXPECT_EQ(engine->out_img.data, nullptr);
    }
    EXPECT_EQ(panorama_engine_process_synthesis(nullptr), kPanoNullArgument);
}
