// The engine: parameters, detection, intake, cancellation and synthesis.
#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "image/pano_result.h"
#include "image/panorama_save.h"
#include "support/engines.h"
#include "support/log_capture.h"
#include "support/wrapped_heap.h"

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
    const LogCapture log;
    EXPECT_EQ(panorama_engine_init(engine.pe), 0);
    EXPECT_EQ(log.progress(), Lines{"panorama_engine_init: panorama_engine_init() status = 2"});
    EXPECT_EQ(panorama_engine_get_process_status(engine.pe), kStatusIdle);
    EXPECT_EQ(panorama_engine_get_param(engine.pe, 2), 70);
    EXPECT_EQ(engine->strict_mode, 1);
    EXPECT_TRUE(engine->max_images == 10 && engine->count == 0 && engine->inv_scale == 1.0F);
    EXPECT_TRUE(engine->frames[0].data == nullptr && engine->preview_prev == nullptr);
    EXPECT_TRUE(engine->image_state[0] == kSlotEmpty && engine->cancel_requested == 0);
    PanoramaInternal* none = nullptr;
    panorama_engine_destroy(&none);
    panorama_engine_destroy(nullptr);
    PanoramaSave_SetCallBacks(nullptr, nullptr, nullptr);
}

// The frames stand still, so the motion is what the context already holds.
TEST(EngineDetection, DecidesDirectionAndTrigger)
{
    using Row = std::array<int32_t, 6>;  // strict, direction, motion x and y; due, direction
    // The direction is decided beyond 112 pixels, by the longer side; ties are horizontal.
    const Row decided[] = {{0, 0, 68, 90, 0, 3},    {0, 0, 112, 0, 0, 0},  {0, 0, -200, 10, 0, 2},
                           {0, 0, 50, -200, 0, 4},  {0, 0, 50, 200, 0, 3}, {0, 0, 100, 100, 0, 1},
                           {0, 0, -100, 100, 0, 2}, {0, 0, 400, 0, 1, 1}};
    // A picture is due from 384 - 24 or 288 - 18 pixels on, however far.
    const Row due[] = {{0, 1, 359, 0, 0, 1},  {0, 1, 360, 0, 1, 1},  {0, 1, 900, 500, 1, 1},
                       {0, 2, -359, 0, 0, 2}, {0, 2, -360, 0, 1, 2}, {0, 3, 0, 269, 0, 3},
                       {0, 3, 0, 270, 1, 3},  {0, 4, 0, -269, 0, 4}, {0, 4, 0, -270, 1, 4}};
    // Strictly: within a band, and with little drift.
    const Row strictly[] = {{1, 1, 320, 0, 0, 1},  {1, 1, 321, 0, 1, 1},   {1, 1, 400, 47, 1, 1},
                            {1, 1, 400, 48, 0, 1}, {1, 1, 447, -47, 1, 1}, {1, 1, 448, 0, 0, 1},
                            {1, 2, -321, 0, 1, 2}, {1, 2, -448, 0, 0, 2},  {1, 3, 63, 241, 1, 3},
                            {1, 3, 64, 241, 0, 3}, {1, 4, 0, -336, 0, 4},  {1, 4, 0, -335, 1, 4}};
    std::vector<Row> rows(std::begin(decided), std::end(decided));
    rows.insert(rows.end(), std::begin(due), std::end(due));
    rows.insert(rows.end(), std::begin(strictly), std::end(strictly));
    const TestImg first(kPanoGray, 1280, 960);
    for (const auto& [strict, direction, x, y, want, want_direction] : rows) {
        TestEngine engine;
        panorama_engine_set_param(engine.pe, 0, strict);
        ASSERT_EQ(panorama_engine_start_capture(engine.pe, &first.img), 0);
        EXPECT_TRUE(engine->inv_scale == 4.0F && engine->small_width == 320 && engine->small_height == 240);
        engine->direction = direction;
        engine->offset_x = x;
        engine->offset_y = y;
        EXPECT_EQ(panorama_engine_process_frame(engine.pe, &first.img), want)
            << direction << ": " << x << "," << y;
        EXPECT_EQ(engine->direction, want_direction) << x << "," << y;
        EXPECT_EQ(engine->offset_x, x);
    }
}

TEST(EngineDetection, CountsMotionOfEveryFormatAndRebasesOnPreviews)
{
    const struct {
        int32_t format;
        ozr_point step;
        const char* direction;
    } cases[] = {{kPanoGray, {5, 0}, "RIGHT"},
                 {kPanoNv12, {-5, 0}, "LEFT"},
                 {kPanoYuyv, {0, 5}, "DOWN"},
                 {kPanoGray, {0, -5}, "UP"}};
    for (const auto& [format, step, direction] : cases) {
        SCOPED_TRACE(direction);
        const NoisePicture first(640, 480, 0, 0);
        TestEngine engine;
        ASSERT_EQ(panorama_engine_start_capture(engine.pe, &first.img), 0);
        LogCapture log;
        for (int32_t i = 0; i <= 6; ++i) {
            const ozr_point at = {i * step.x, i * step.y};
            const TestImg frame(format, 320, 240);
            fill_luma(frame.img, [=](int32_t x, int32_t y) {
                return noise((x + at.x + 100) / 4, (y + at.y + 100) / 4);
            });
            ASSERT_EQ(panorama_engine_process_frame(engine.pe, &frame.img), 0);
            // The first frame has another size than the picture: no motion, new targets.
            EXPECT_TRUE(engine->offset_x == at.x && engine->offset_y == at.y) << i;
            EXPECT_TRUE(engine->ref_width == 320 && engine->target_x == 96 && engine->inv_scale == 1.0F);
            EXPECT_EQ(engine->direction_threshold, 784);
        }
        EXPECT_EQ(log.progress(),
                  Lines{std::string("panorama_engine_process_frame: direction = PANO_DIR_") + direction});
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
    EXPECT_EQ(panorama_engine_start_capture(engine.pe, &gray.img), kPanoWrongState);
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
    const auto nothing = [](PanoramaInternal*, PanoImg*) {};
    const auto cancel = [](PanoramaInternal* pe, PanoImg*) { pe->cancel_requested = 1; };
    const struct {
        const char* what;
        int32_t index;
        void (*break_it)(PanoramaInternal* pe, PanoImg* picture);
        int32_t want, want_state;
    } cases[] = {
        {"reserved slot", 0, nothing, 1, kSlotAdded},
        {"cancelled", 0, cancel, kPanoCancelled, kSlotCancelled},
        {"below the slots", -1, nothing, kPanoBadArgument, -1},
        {"beyond the pictures", 9, [](auto pe, auto) { pe->max_images = 9; }, kPanoBadArgument, kSlotFailed},
        {"beyond the slots", 10, nothing, kPanoBadArgument, -1},
        {"far beyond the slots, cancelled", 4000, cancel, kPanoCancelled, -1},
        {"stopped", 0, [](auto pe, auto) { pe->status = kStatusStopped; }, kPanoWrongState, kSlotFailed},
        {"not reserved", 1, nothing, kPanoWrongState, kSlotFailed},
        {"not NV12", 0, [](auto, auto picture) { picture->format = kPanoNv21; }, kPanoNotSupported,
         kSlotFailed},
        {"no pixels", 0, [](auto, auto picture) { picture->data = nullptr; }, kPanoNoMemory, kSlotFailed},
    };
    const NoisePicture first(96, 64, 0, 0);
    const ozr_point offset = {3, 4};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        TestEngine engine;
        ASSERT_EQ(panorama_engine_start_capture(engine.pe, &first.img), 0);
        ASSERT_EQ(panorama_engine_prepare_stitch(engine.pe), 0);
        PanoImg picture = first.img;
        c.break_it(engine.pe, &picture);
        EXPECT_EQ(panorama_engine_set_image(engine.pe, &picture, c.index, &offset), c.want);
        EXPECT_EQ(c.want_state < 0 ? -1 : engine->image_state[c.index], c.want_state);
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
        const bool vertical = ozr::is_vertical(direction);
        const int32_t side = vertical ? 64 : 96;
        const int32_t sign = direction == kDirectionRight || direction == kDirectionDown ? 1 : -1;
        // The search begins a tenth of the side before the expected position.
        const int32_t last_reached = (side - 1 + side / 10) / 2;
        for (int32_t along : {last_reached, last_reached + 1}) {
            SCOPED_TRACE(testing::Message() << "direction " << direction << " offset " << along);
            const NoisePicture first(96, 64, 0, 0), second(96, 64, 20, 20);
            TestEngine engine(first.img, direction);
            engine->ref_width = 48;
            engine->ref_height = 32;
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
    const NoisePicture first(96, 64, 0, 0);
    for (const ozr_point& offset : {ozr_point{INT32_MAX, 0}, {0, INT32_MIN}}) {
        TestEngine engine(first.img, kDirectionRight);
        engine->ref_width = 48;
        EXPECT_EQ(engine.take(first.img, offset), kPanoBadArgument);
        EXPECT_EQ(engine->image_state[1], kSlotFailed);
        EXPECT_EQ(engine->frame_present[0], 0);
    }
    TestEngine idle;  // never started: there is no size to scale from
    for (int32_t i = 0; i < 2; ++i)
        panorama_engine_prepare_stitch(idle.pe);
    const ozr_point origin = {0, 0};
    EXPECT_EQ(panorama_engine_set_image(idle.pe, &first.img, 0, &origin), 2);
    EXPECT_EQ(panorama_engine_set_image(idle.pe, &first.img, 1, &origin), kPanoBadArgument);
}

// What a picture's record does not own is taken for zeros, even where memory follows.
TEST(EngineIntake, ReadsNoFurtherThanTheSize)
{
    const NoisePicture first(96, 64, 0, 0);
    PanoImg half = first.img;
    half.size = 96 * 64 + 96 * 16;
    for (const PanoImg& picture : {first.img, half}) {
        TestEngine engine(first.img, kDirectionRight);
        ASSERT_EQ(engine.take(picture, {30, 0}), 2);
        EXPECT_EQ(ozr::pano_chroma_row(&engine->core->frames[1], 0)[0], 128);
        EXPECT_EQ(ozr::pano_chroma_row(&engine->core->frames[1], 31)[0],
                  picture.size < first.img.size ? 0 : 128);
    }
}

TEST(EngineIntake, PicturesStayWithoutADirectionAndWaitForTheFirst)
{
    const NoisePicture first(96, 64, 0, 0), second(96, 64, 30, 0);
    TestEngine undecided(first.img, kDirectionUndecided);
    ASSERT_EQ(undecided.take(second.img, {30, 0}), 2);
    EXPECT_EQ(undecided->frames[0].data, nullptr);
    EXPECT_TRUE(undecided->frame_present[0] == 0 && undecided->frame_present[1] == 1);
    EXPECT_EQ(undecided->image_state[1], kSlotAdded);
    EXPECT_EQ(memcmp(undecided->frames[1].data, second.img.data, static_cast<size_t>(second.img.size)), 0);

    TestEngine busy(first.img, kDirectionRight);
    busy->frame_present[0] = 0;
    EXPECT_EQ(busy.take(second.img, {30, 0}), kPanoPictureBusy);
    EXPECT_EQ(busy->image_state[1], kSlotAdding);
    EXPECT_EQ(panorama_engine_check_ready_to_destroy(busy.pe), kPanoPictureBusy);
    EXPECT_EQ(panorama_engine_cancel_process(busy.pe), kPanoCancelTimeout);
    EXPECT_EQ(busy->cancel_requested, 1);
    EXPECT_EQ(panorama_engine_init(busy.pe), 0);
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
    const NoisePicture only(90, 60, 0, 0);
    TestEngine engine(only.img, kDirectionUndecided);
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
        const bool vertical = direction == kDirectionUp;
        const ozr_point step = vertical ? ozr_point{0, -30} : ozr_point{30, 0};
        const NoisePicture first(96, 96, 0, 0), second(96, 96, step.x, step.y);
        TestEngine engine(first.img, direction);
        ASSERT_EQ(engine.take(second.img, step), 2);
        ASSERT_EQ(panorama_engine_stop_capture(engine.pe), 0);
        LogCapture log;
        ASSERT_EQ(panorama_engine_process_synthesis(engine.pe), 0);
        const PanoImg& out = engine->out_img;
        EXPECT_GE(vertical ? out.height : out.width, 112);
        EXPECT_LE(vertical ? out.width : out.height, 96);
        const std::string tag = "panorama_engine_process_synthesis: ",
                          size = std::to_string(out.width) + "x" + std::to_string(out.height);
        char block[64];
        snprintf(block, sizeof(block), "Original Pointer : 0x%X",
                 static_cast<uint32_t>(reinterpret_cast<uintptr_t>(engine->out_raw)));
        EXPECT_EQ(log.progress(), (Lines{tag + "process_synthesis()",
                                         "panorama_core_panorama: start synthesis 2 image(s), (size: 96x96)",
                                         tag + block, tag + "out_img size = " + size, tag + "return = 0",
                                         tag + "process_synthesis end pe->status = 4 "}));
    }
}

// The second picture lies too far off: the first is the panorama. Its odd sizes leave chroma that no turn reaches.
TEST(EngineSynthesis, WritesAllOfWhatIsLeftOfASweep)
{
    for (int32_t direction : {kDirectionRight, kDirectionDown}) {
        const ozr_point off = direction == kDirectionRight ? ozr_point{0, 5000} : ozr_point{5000, 0};
        const NoisePicture first(101, 99, 0, 0), second(101, 99, 20, 20);
        std::vector<uint8_t> panoramas[2];
        for (std::vector<uint8_t>& panorama : panoramas) {
            TestEngine engine(first.img, direction);
            ASSERT_EQ(engine.take(second.img, off), 2);
            ASSERT_EQ(panorama_engine_stop_capture(engine.pe), 0);
            mallopt(M_PERTURB, &panorama == panoramas ? 85 : 170);  // what new memory holds
            EXPECT_EQ(panorama_engine_process_synthesis(engine.pe), 0);
            mallopt(M_PERTURB, 0);
            const PanoImg& out = engine->out_img;
            EXPECT_EQ(out.size, out.height * out.stride * 3 / 2);
            panorama.assign(out.data, out.data + out.size);
        }
        EXPECT_EQ(panoramas[0], panoramas[1]) << direction;
    }
}

TEST(EngineSynthesis, KeepsTheStrideOfTheOnlyPictureLeft)
{
    const NoisePicture first(96, 96, 0, 0), second(96, 96, 20, 20);
    TestEngine engine(first.img, kDirectionRight);
    ASSERT_EQ(engine.take(second.img, {0, 5000}), 2);
    PanoImg& left = engine->core->frames[0];
    left.width = 80;
    ASSERT_EQ(panorama_engine_stop_capture(engine.pe), 0);
    ASSERT_EQ(panorama_engine_process_synthesis(engine.pe), 0);
    const PanoImg& out = engine->out_img;
    EXPECT_EQ(out.width, 80);
    ASSERT_EQ(out.stride, left.stride);
    ASSERT_EQ(out.size, left.size);
    EXPECT_EQ(memcmp(out.data, left.data, static_cast<size_t>(left.size)), 0);
}

TEST(EngineSynthesis, FailuresSetTheStatus)
{
    const struct {
        const char* what;
        void (*break_it)(PanoramaInternal* pe);
        int32_t want, status;
    } cases[] = {
        {"capturing", [](auto pe) { pe->status = kStatusCapturing; }, kPanoWrongState, kStatusFailed},
        {"nothing reserved", [](auto pe) { pe->count = 0; }, kPanoWrongState, kStatusFailed},
        {"nothing added", [](auto pe) { pe->image_state[0] = pe->image_state[1] = kSlotFailed; },
         kPanoWrongState, kStatusFailed},
        {"one added, gone to the core", [](auto pe) { pe->image_state[1] = kSlotFailed; }, kPanoPictureBusy,
         kStatusFailed},
        {"cancelled before", [](auto pe) { pe->cancel_requested = 1; }, kPanoCancelled, kStatusCancelled},
        {"cancelled in the core", [](auto pe) { pe->core->cancel = 1; }, kPanoCancelled, kStatusCancelled},
        {"not aligned", [](auto pe) { pe->core->aligned[1] = 0; }, kPanoPictureMissing, kStatusFailed},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const NoisePicture first(96, 64, 0, 0), second(96, 64, 30, 0);
        TestEngine engine(first.img, kDirectionRight);
        ASSERT_EQ(engine.take(second.img, {30, 0}), 2);
        ASSERT_EQ(panorama_engine_stop_capture(engine.pe), 0);
        c.break_it(engine.pe);
        EXPECT_EQ(panorama_engine_process_synthesis(engine.pe), c.want);
        EXPECT_EQ(engine->status, c.status);
        EXPECT_EQ(engine->out_img.data, nullptr);
    }
    EXPECT_EQ(panorama_engine_process_synthesis(nullptr), kPanoNullArgument);
}
