// Public images: created, copied, converted, mirrored, sampled and warped, in any order and of any
// geometry.
#include "fuzz_picture.h"
#include "fuzz_process.h"
#include "ozr_image.h"

namespace
{

constexpr int kMaxCalls = 24;

int64_t _row_bytes(const ozr_image& image)
{
    return int64_t{image.width} * ozr_image_get_channel(&image);
}

// What a caller's record promises: the rows of its planes at its stride, and `size` where that is
// more. Where a stride of 0 has a meaning, it is that of the width. A warp looks at neither the
// width nor the destination's format.
int64_t _promised_bytes(const ozr_image& image)
{
    if (image.height < 1)
        return 0;
    const int64_t plane =
        int64_t{image.height} * (image.stride == 0 ? image.width : std::max(image.stride, 0));
    const int64_t planes = ozr_image_get_bits_per_pixel(&image) == 12 ? plane + plane / 2 : plane;
    return image.stride < _row_bytes(image) ? std::max<int64_t>(planes, image.size) : planes;
}

class ImageFuzzer
{
public:
    explicit ImageFuzzer(FuzzInput* input) : input_(input)
    {
        fuzz_choose_kernels(input);
        fuzz_choose_logging(input);
        wrap_memory();
    }
    ~ImageFuzzer()
    {
        for (ozr_image& image : made_)
            ozr_image_destroy(&image);
    }
    ImageFuzzer(const ImageFuzzer&) = delete;
    ImageFuzzer& operator=(const ImageFuzzer&) = delete;

    void call()
    {
        const uint8_t choice = input_->byte();
        ozr_image* image = &made_[choice % 2];
        const ozr_image* source = input_->byte() < 192 ? &wrapped_ : &made_[1 - choice % 2];
        if (source->data == nullptr || choice % 16 >= 14)
            return wrap_memory();
        call_one(choice, source, image);
        fuzz_note_image(*image);
        fuzz_note_image(wrapped_);
    }

private:
    void call_one(uint8_t choice, const ozr_image* source, ozr_image* image)
    {
        switch (choice % 16) {
        case 0:
            ozr_image_destroy(image);
            return;
        case 1:
        case 2:
            return create(image);
        case 3:
            fuzz_note(ozr_image_clone(source, image));
            return;
        case 4:
            fuzz_note(ozr_image_copy(source, image));
            return;
        case 5:
            fuzz_note(ozr_image_copy(image, &wrapped_));
            return;
        case 6:
            fuzz_note(ozr_image_hflip(&wrapped_));
            return;
        case 7:
        case 8:
            return sample(image, source);
        case 9:
            return warp(source, image);
        default:
            fuzz_note(ozr_image_convert(source, image, static_cast<ozr_image_format>(choice / 16 % 7)));
        }
    }

    // Memory of the caller's, of exactly the promised size.
    void wrap_memory()
    {
        const uint8_t oddities = input_->byte();
        ozr_image record = {};
        record.format = static_cast<ozr_image_format>(oddities < 240 ? oddities % 6 : input_->number());
        record.width = oddities % 16 == 15 ? input_->number() : input_->between(1, 80);
        record.height = oddities % 16 == 14 ? input_->number() : input_->between(1, 60);
        record.stride = fuzz_stride(_row_bytes(record), input_->between(0, 17));
        if (oddities % 16 == 13)
            record.stride = input_->number();
        record.size = input_->between(0, 6000);
        int64_t bytes = fuzz_honest_bytes(_promised_bytes(record));
        if (bytes > kMaxFuzzBytes) {
            record.height = 1;
            bytes = fuzz_honest_bytes(_promised_bytes(record));
        }
        if (bytes > kMaxFuzzBytes)
            return;
        memory_ = exact_block(bytes);
        record.data = memory_.get();
        record.size = static_cast<int32_t>(bytes);
        fuzz_paint(record.data, bytes, record.stride, {input_->byte(), 77, 0, 0}, *input_);
        wrapped_ = record;
    }

    void create(ozr_image* image)
    {
        const int32_t width = input_->number(), stride = input_->number();
        int32_t height = input_->number();
        const auto format = static_cast<ozr_image_format>(input_->between(-1, 6));
        // What is large, but not refused for its size, would only be slow.
        const int64_t longest_row = std::max(int64_t{width} * 4, int64_t{stride});
        if (longest_row <= INT32_MAX && longest_row * height > kMaxFuzzBytes)
            height = static_cast<int32_t>(std::max<int64_t>(kMaxFuzzBytes / longest_row, 1));
        if (longest_row > kMaxFuzzBytes && longest_row <= INT32_MAX)
            return;
        if (input_->flag())
            fuzz_note(ozr_image_recreate(image, width, height, stride, format));
        else
            fuzz_note(ozr_image_create(image, width, height, stride, format, input_->word()));
        if (image->data != nullptr && image->size > 0)
            memset(image->data, 3, static_cast<size_t>(image->size));
    }

    void sample(ozr_image* image, const ozr_image* source)
    {
        const int32_t n = input_->flag() ? input_->between(0, 5) : input_->number();
        const bool usable = source->width > 0 && source->height > 0 && n > 0 && input_->flag();
        // One of the resulting size already is used whatever its format.
        if (usable && int64_t{source->width / n} * (source->height / n) < kMaxFuzzBytes / 4)
            fuzz_note(ozr_image_recreate(image, source->width / n, source->height / n, 0,
                                         static_cast<ozr_image_format>(input_->between(0, 6))));
        fuzz_note(ozr_image_sample_gray(image, source, n));
    }

    void warp(const ozr_image* source, ozr_image* image)
    {
        int32_t at[8];
        const bool anywhere = input_->byte() >= 192;
        for (int32_t& coordinate : at)
            coordinate = anywhere ? input_->number() : input_->between(-20, 100);
        ozr_image* target = input_->flag() && source != &wrapped_ ? &wrapped_ : image;
        fuzz_note(ozr_image_warp_by_2points(source, at[0], at[1], at[2], at[3], target, at[4], at[5], at[6],
                                            at[7]));
    }

    FuzzInput* input_;
    ozr_image made_[2] = {};  // by the library
    ozr_image wrapped_ = {};  // around the memory below
    ExactBlock memory_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    ImageFuzzer fuzzer(&input);
    for (int i = 0; i < kMaxCalls && !input.empty(); ++i)
        fuzzer.call();
    return 0;
}
