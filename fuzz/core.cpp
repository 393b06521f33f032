// The functions of the panorama core in any order.
#include "core/panorama_core.h"
#include "fuzz_process.h"
#include "fuzz_working_picture.h"

namespace
{

constexpr int kMaxCalls = 28;

class CoreFuzzer
{
public:
    explicit CoreFuzzer(FuzzInput* input) : input_(input)
    {
        fuzz_choose_kernels(input);
        fuzz_choose_logging(input);
        panorama_core_create(&core_);
        panorama_core_set_param(core_, 0, static_cast<uint32_t>(input->between(0, 110)));
        set_size();
    }
    ~CoreFuzzer() { panorama_core_destroy(core_); }
    CoreFuzzer(const CoreFuzzer&) = delete;
    CoreFuzzer& operator=(const CoreFuzzer&) = delete;

    void call()
    {
        const uint8_t choice = input_->byte();
        if (choice < 144)
            add_picture(choice);
        else if (choice < 176)
            compose();
        else
            call_rarely(choice % 8);
    }

private:
    void initialise(int32_t width, int32_t height, int32_t stride)
    {
        ozr::core::free_projection(
            &core_->proj);  // initialising once more replaces the tables without releasing them
        const uint8_t choice = input_->byte();
        if (choice % 4 < 2)
            fuzz_note(int32_t{ozr::core::prepare(core_, choice % 2, width, height, stride)});
        else
            fuzz_note(panorama_core_init(core_, choice % 2, width, height, stride));
        next_ = 0;
    }

    void set_size()
    {
        const FuzzSize size = fuzz_sweep_size(input_);
        record_ = {kPanoNv12, size.width, size.height, 0, 0, 0, nullptr};
        record_.stride = size.width + input_->between(0, 9);
        initialise(record_.width, record_.height, record_.stride);
    }

    // The core releases what it takes; what it refuses stays ours.
    int32_t hand_over(const PanoImg& record, int32_t index, int32_t x, int32_t y)
    {
        FuzzPaint paint = fuzz_working_paint(input_);
        paint.x += 40 * index;
        WorkingPicture picture = fuzz_working_picture(record, paint, *input_);
        picture.block.release();
        const int32_t result = fuzz_note(panorama_core_add_input(core_, &picture.img, index, x, y));
        fuzz_read_all(core_->offsets, sizeof(core_->offsets));
        PanoImg_Destroy(&picture.img);
        return result;
    }

    void hand_over_anywhere(const PanoImg& record, int32_t index)
    {
        const int32_t x = input_->number(), y = input_->number();
        hand_over(record, index, x, y);
    }

    void add_picture(uint8_t choice)
    {
        const bool anywhere = choice % 16 == 15;
        const int32_t x = anywhere ? input_->number() : input_->between(-80, 120);
        const int32_t y = anywhere ? input_->number() : input_->between(-20, 20);
        if (hand_over(record_, next_, x, y) == 0)
            ++next_;
    }

    void compose()
    {
        PanoImg output = {};
        const int32_t count = input_->flag() ? next_ : input_->between(-1, kMaxPictures + 1);
        fuzz_note(panorama_core_panorama(core_, count, &output));
        fuzz_note_image(output);
        PanoImg_Destroy(&output);
    }

    // Any size but those whose tables would take long to fill.
    void initialise_anyhow()
    {
        const int32_t width = input_->number(), height = input_->number(), stride = input_->number();
        constexpr int64_t kMaxPixels = 1 << 16;
        const int64_t pixels = int64_t{width} * height;
        if (width > 0 && height > 0 && pixels > kMaxPixels && pixels <= INT32_MAX / 16)
            return;
        initialise(width, height, stride);
    }

    void configure()
    {
        const int32_t id = input_->between(-1, 1);
        fuzz_note(panorama_core_set_param(core_, id, static_cast<uint32_t>(input_->number())));
        fuzz_note(panorama_core_get_param(core_, input_->between(-1, 1)));
    }

    void call_rarely(int which)
    {
        switch (which) {
        case 0:
            return initialise_anyhow();
        case 1:
            return set_size();
        case 2:
            panorama_core_request_cancel_async(core_);
            return;
        case 3:
            core_->cancel = 0;
            return;
        case 4:
            return hand_over_anywhere(fuzz_working_record(input_, 200, 120), next_);
        case 5:
            return hand_over_anywhere(record_, input_->between(-1, kMaxPictures));
        case 6:
            return configure();
        default:
            fuzz_note(panorama_core_add_input(core_, nullptr, next_, 0, 0));
            panorama_core_destroy(core_);
            panorama_core_create(&core_);
            next_ = 0;
        }
    }

    FuzzInput* input_;
    PanoramaCore* core_ = nullptr;
    PanoImg record_ = {};
    int32_t next_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    CoreFuzzer fuzzer(&input);
    for (int i = 0; i < kMaxCalls && !input.empty(); ++i)
        fuzzer.call();
    return 0;
}
