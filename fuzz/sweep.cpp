// Whole sweeps through the public interface: the input chooses configuration, geometry, and the
// order of calls.
#include <iterator>

#include "fuzz_picture.h"
#include "fuzz_process.h"
#include "ozr_panorama.h"

namespace
{

constexpr int kMaxCalls = 48;

// A public record around memory that is exactly as large as its geometry says.
struct PublicPicture {
    ozr_image image = {};
    ExactBlock block;
};

int64_t _bytes_of(const ozr_image& image)
{
    const int64_t plane = int64_t{image.height} * image.stride;
    const bool has_chroma =
        ozr_image_get_bits_per_pixel(&image) == 12;  // an unknown format is taken for grey
    return image.width < 1 || image.height < 1 || image.stride < 1 ? 0
           : has_chroma                                            ? plane + plane / 2
                                                                   : plane;
}

PublicPicture _make_picture(const ozr_image& record, const FuzzPaint& paint, FuzzInput* input)
{
    PublicPicture picture;
    picture.image = record;
    // A turn of an odd picture moves half-filled blocks as far as `size` says, so that is promised
    // too.
    const auto promised = [](const ozr_image& image) {
        const int64_t bytes = fuzz_honest_bytes(_bytes_of(image));
        return bytes > 0 ? std::max<int64_t>(bytes, image.size) : bytes;
    };
    int64_t bytes = promised(record);
    if (bytes > kMaxFuzzBytes) {
        picture.image.height = 1;
        bytes = promised(picture.image);
    }
    if (bytes > kMaxFuzzBytes)
        return picture;  // a record without pixels
    picture.block = exact_block(bytes);
    picture.image.data = picture.block.get();
    fuzz_paint(picture.image.data, bytes, record.stride, paint, *input);
    return picture;
}

class SweepFuzzer
{
public:
    explicit SweepFuzzer(FuzzInput* input) : input_(input)
    {
        fuzz_choose_kernels(input);
        fuzz_choose_logging(input);
        const FuzzSize size = fuzz_sweep_size(input);
        record_.width = size.width;
        record_.height = size.height;
        record_.stride = record_.width + input->between(0, 20);
        record_.format = ozr_image_format_nv12;
        preview_ = record_;
        if (input->flag())
            choose_preview();
        step_ = {input->between(-100, 100), input->between(-60, 60)};
        create();
    }
    ~SweepFuzzer() { ozr_panorama_destroy(handle_); }
    SweepFuzzer(const SweepFuzzer&) = delete;
    SweepFuzzer& operator=(const SweepFuzzer&) = delete;

    void call()
    {
        const uint8_t choice = input_->byte();
        if (choice < 96)
            add_next_picture(choice);
        else if (choice < 160)
            follow_camera(choice);
        else
            call_rarely(choice);
    }

private:
    void create()
    {
        ozr_config config;
        ozr_panorama_get_default_config(&config);
        const uint8_t oddity = input_->byte();
        if (oddity >= 240) {
            config.engine_type = input_->number();
            config.aux_type = input_->number();
            config.engine_resource = input_->flag() ? &config : nullptr;
            config.version.patch = static_cast<uint16_t>(input_->between(0, 2));
            config.log_debug = fuzz_drop_line;
        }
        fuzz_note(ozr_panorama_create(oddity % 2 == 0 ? nullptr : &config, &handle_));
        if (oddity % 4 == 3)
            fuzz_note(ozr_panorama_set_quality(handle_, ozr_panorama_quality_refined));
    }

    void choose_preview()
    {
        preview_.width = input_->between(1, 340);
        preview_.height = input_->between(1, 250);
        preview_.format = static_cast<ozr_image_format>(input_->between(0, 5));
        preview_.stride =
            preview_.width * (preview_.format == ozr_image_format_yuy2 ? 2 : 1) + input_->between(0, 3);
    }

    FuzzPaint choose_paint()
    {
        const uint8_t kind = input_->byte();
        // Mostly the texture, where the camera stands.
        return {static_cast<uint8_t>(kind < 224 ? 0 : kind), kind, camera_.x, camera_.y};
    }

    // The next picture of a camera that moves on, sometimes a little beside its way.
    void add_next_picture(uint8_t choice)
    {
        if (choice >= 64) {
            camera_.x += input_->between(-8, 8);
            camera_.y += input_->between(-8, 8);
        }
        PublicPicture picture = _make_picture(record_, choose_paint(), input_);
        const ozr_point offset = choice % 4 == 3 ? ozr_point{input_->number(), input_->number()} : step_;
        fuzz_note(
            ozr_panorama_stitch_one_image(handle_, &picture.image, choice % 2 == 0 ? nullptr : &offset));
        camera_ = {camera_.x + step_.x, camera_.y + step_.y};
    }

    void follow_camera(uint8_t choice)
    {
        FuzzPaint paint = choose_paint();
        preview_at_.x += choice % 8;
        preview_at_.y += choice / 8 % 4;
        paint.x = preview_at_.x;
        paint.y = preview_at_.y;
        const PublicPicture picture = _make_picture(preview_, paint, input_);
        detect(&picture.image);
    }

    void detect(const ozr_image* preview)
    {
        ozr_point offset = {};
        ozr_panorama_direction direction = ozr_panorama_direction_auto;
        if (fuzz_note(ozr_panorama_detect_frame_to_stitch(handle_, preview, &offset, &direction)) > 0)
            announced_ = offset;
        fuzz_note(offset);
        fuzz_note(direction);
    }

    ozr_image odd_record()
    {
        ozr_image record = record_;
        const uint8_t fields = input_->byte();
        if (fields & 1)
            record.width = input_->number();
        if (fields & 2)
            record.height = input_->number();
        if (fields & 4)
            record.stride = input_->number();
        if (fields & 8)
            record.format = static_cast<ozr_image_format>(input_->number());
        record.size = fields & 16 ? input_->number() : 0;
        return record;
    }

    PublicPicture odd_picture()
    {
        const ozr_image record = odd_record();
        return _make_picture(record, choose_paint(), input_);
    }

    void run()
    {
        ozr_image output = {};
        if (fuzz_note(ozr_panorama_run(handle_, &output)) == ozr_success)
            fuzz_note_image(output);
    }

    void set_parameters()
    {
        ozr_panorama_parameters params = {};
        params.overlapping_ratio = input_->flag() ? input_->between(45, 95) : input_->number();
        params.direction =
            static_cast<ozr_panorama_direction>(input_->flag() ? input_->between(0, 5) : input_->number());
        fuzz_note(ozr_panorama_set_parameters(handle_, &params));
        fuzz_note(ozr_panorama_get_parameters(handle_, &params));
        fuzz_note(params);
    }

    void choose_quality()
    {
        const int32_t quality = input_->flag() ? input_->between(0, 1) : input_->number();
        fuzz_note(ozr_panorama_set_quality(handle_, static_cast<ozr_panorama_quality>(quality)));
    }

    void ask_for_results()
    {
        const int32_t index = input_->flag() ? input_->between(-1, 10) : input_->number();
        ozr_panorama_joint joint;
        if (fuzz_note(ozr_panorama_get_joint(handle_, index, &joint)) == ozr_success)
            fuzz_note(joint);
        ozr_panorama_camera camera;
        if (fuzz_note(ozr_panorama_get_camera(handle_, index, &camera)) == ozr_success)
            fuzz_note(camera);
    }

    void reset() { fuzz_note(ozr_panorama_reset(handle_)); }

    void start_anew()
    {
        ozr_panorama_destroy(handle_);
        create();
    }

    void add_odd_picture()
    {
        PublicPicture picture = odd_picture();
        const ozr_point offset = {input_->number(), input_->number()};
        fuzz_note(ozr_panorama_stitch_one_image(handle_, &picture.image, &offset));
    }

    void add_announced_picture()
    {
        PublicPicture picture = _make_picture(record_, choose_paint(), input_);
        fuzz_note(ozr_panorama_stitch_one_image(handle_, &picture.image, &announced_));
    }

    void detect_odd_preview()
    {
        const PublicPicture picture = odd_picture();
        detect(&picture.image);
    }

    void choose_width()
    {
        record_.width = input_->between(1, 200);
        record_.stride = record_.width + input_->between(0, 4);
    }

    void choose_step() { step_ = {input_->number() % 128, input_->number() % 128}; }

    void forget_pictures()
    {
        ozr_point offset = {};
        ozr_panorama_direction direction = ozr_panorama_direction_auto;
        fuzz_note(ozr_panorama_detect_frame_to_stitch(handle_, nullptr, &offset, &direction));
        fuzz_note(ozr_panorama_stitch_one_image(handle_, nullptr, &offset));
        fuzz_note(ozr_panorama_run(handle_, nullptr));
    }

    void forget_records()
    {
        fuzz_note(ozr_panorama_set_parameters(handle_, nullptr));
        fuzz_note(ozr_panorama_get_parameters(handle_, nullptr));
        fuzz_note(ozr_panorama_get_joint(handle_, 0, nullptr));
        fuzz_note(ozr_panorama_get_camera(handle_, 0, nullptr));
        fuzz_note(ozr_panorama_create(nullptr, nullptr));
    }

    void call_rarely(uint8_t choice)
    {
        using Operation = void (SweepFuzzer::*)();
        static constexpr Operation kOperations[] = {
            &SweepFuzzer::run,
            &SweepFuzzer::run,
            &SweepFuzzer::set_parameters,
            &SweepFuzzer::choose_quality,
            &SweepFuzzer::reset,
            &SweepFuzzer::start_anew,
            &SweepFuzzer::add_odd_picture,
            &SweepFuzzer::ask_for_results,
            &SweepFuzzer::detect_odd_preview,
            &SweepFuzzer::choose_quality,
            &SweepFuzzer::choose_preview,
            &SweepFuzzer::choose_width,
            &SweepFuzzer::add_announced_picture,
            &SweepFuzzer::choose_step,
            &SweepFuzzer::forget_pictures,
            &SweepFuzzer::forget_records,
        };
        (this->*kOperations[choice % std::size(kOperations)])();
    }

    FuzzInput* input_;
    ozr_panorama* handle_ = nullptr;
    ozr_image record_ = {};   // of the sweep's pictures
    ozr_image preview_ = {};  // and of its previews
    ozr_point step_ = {};     // from picture to picture
    ozr_point camera_ = {};
    ozr_point preview_at_ = {};
    ozr_point announced_ = {};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    SweepFuzzer fuzzer(&input);
    for (int i = 0; i < kMaxCalls && !input.empty(); ++i)
        fuzzer.call();
    return 0;
}
