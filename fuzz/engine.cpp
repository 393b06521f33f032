// The functions of the panorama engine in any order.
#include "engine/panorama_engine.h"
#include "fuzz_process.h"
#include "fuzz_working_picture.h"

namespace
{

constexpr int kMaxCalls = 64;

class EngineFuzzer
{
public:
    explicit EngineFuzzer(FuzzInput* input) : input_(input)
    {
        fuzz_choose_kernels(input);
        fuzz_choose_logging(input);
        record_.format = kPanoNv12;
        const FuzzSize size = fuzz_sweep_size(input);
        record_.width = size.width;
        record_.height = size.height;
        record_.stride = record_.width + input->between(0, 9);
        panorama_engine_create(&engine_);
    }
    ~EngineFuzzer() { panorama_engine_destroy(&engine_); }
    EngineFuzzer(const EngineFuzzer&) = delete;
    EngineFuzzer& operator=(const EngineFuzzer&) = delete;

    void call()
    {
        const uint8_t choice = input_->byte();
        if (choice < 80)
            take_picture(choice);
        else if (choice < 128)
            process_frame();
        else if (choice < 160)
            control(choice % 8);
        else if (choice < 208)
            take_step(choice % 6);
        else
            configure(choice % 4);
    }

private:
    WorkingPicture picture()
    {
        FuzzPaint paint = fuzz_working_paint(input_);
        paint.x = position_.x;
        paint.y = position_.y;
        return fuzz_working_picture(record_, paint, *input_);
    }

    // As the session does it.
    void take_picture(uint8_t choice)
    {
        const WorkingPicture next = picture();
        if (engine_->count == 0)
            fuzz_note(panorama_engine_start_capture(engine_, &next.img));
        if (choice % 8 == 0 || engine_->direction == kDirectionUndecided)
            engine_->direction = static_cast<PanoDirection>(choice % 5);
        const int32_t index = fuzz_note(panorama_engine_prepare_stitch(engine_));
        const ozr_point step = {input_->between(-100, 100), input_->between(-100, 100)};
        fuzz_note(panorama_engine_set_image(engine_, &next.img, index, &step));
        position_ = {position_.x + step.x, position_.y + step.y};
    }

    void process_frame()
    {
        const WorkingPicture frame = input_->flag() ? picture() : fuzz_any_picture(input_, 340, 250);
        fuzz_note(panorama_engine_process_frame(engine_, &frame.img));
        fuzz_note(engine_->direction);
        fuzz_note(engine_->motion);
    }

    void compose()
    {
        fuzz_note(panorama_engine_process_synthesis(engine_));
        fuzz_note_image(engine_->out_img);
    }

    void control(int which)
    {
        switch (which) {
        case 0:
            fuzz_note(panorama_engine_cancel_process(engine_));
            return;
        case 1:
            panorama_engine_cancel_process_async(engine_);
            return;
        case 2:
            fuzz_note(panorama_engine_init(engine_));
            return;
        case 3:
            panorama_engine_destroy(&engine_);
            panorama_engine_create(&engine_);
            return;
        case 4:
            fuzz_note(panorama_engine_stop_capture(engine_));
            return;
        case 5:
            fuzz_note(panorama_engine_check_ready_to_destroy(engine_));
            fuzz_note(panorama_engine_get_process_status(engine_));
            return;
        default:
            fuzz_note(panorama_engine_stop_capture(engine_));
            return compose();
        }
    }

    // One step by itself, with an index or an offset from anywhere.
    void take_step(int which)
    {
        const ozr_point offset = {input_->number(), input_->number()};
        const int32_t index = input_->flag() ? input_->between(-1, kMaxPictures) : input_->number();
        const WorkingPicture odd = fuzz_any_picture(input_, 160, 120);
        const WorkingPicture usual = picture();
        switch (which) {
        case 0:
            fuzz_note(panorama_engine_start_capture(engine_, &odd.img));
            return;
        case 1:
            fuzz_note(panorama_engine_prepare_stitch(engine_));
            return;
        case 2:
            fuzz_note(panorama_engine_set_image(engine_, &odd.img, index, &offset));
            return;
        case 3:
            fuzz_note(panorama_engine_set_image(engine_, &usual.img, engine_->count - 1, &offset));
            return;
        case 4:
            return compose();
        default:
            fuzz_note(panorama_engine_set_image(engine_, &usual.img, index, nullptr));
            fuzz_note(panorama_engine_set_image(engine_, nullptr, index, &offset));
            fuzz_note(panorama_engine_process_frame(engine_, nullptr));
            fuzz_note(panorama_engine_start_capture(nullptr, &usual.img));
        }
    }

    void configure(int which)
    {
        const int32_t id = input_->number() % 4;
        fuzz_note(
            panorama_engine_set_param(engine_, id, which == 0 ? input_->number() : input_->between(0, 100)));
        fuzz_note(panorama_engine_get_param(engine_, id));
        if (which == 1)
            record_.width = input_->between(1, 160);
        if (which == 2)
            record_.stride = record_.width + input_->between(0, 3);
    }

    FuzzInput* input_;
    PanoramaInternal* engine_ = nullptr;
    PanoImg record_ = {};
    ozr_point position_ = {};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    EngineFuzzer fuzzer(&input);
    for (int i = 0; i < kMaxCalls && !input.empty(); ++i)
        fuzzer.call();
    return 0;
}
