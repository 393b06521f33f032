// The working image toolkit, the seam finder and the motion estimate on records of any geometry.
#include "core/panorama_seam.h"
#include "engine/panorama_me.h"
#include "fuzz_process.h"
#include "fuzz_working_picture.h"

namespace
{

void _create(FuzzInput* input)
{
    PanoImg img = {}, copy = {};
    void* raw = nullptr;
    // Allocated here is only what is small, or nothing because the size does not fit.
    int32_t width = input->number(), height = input->number();
    const int32_t stride = input->number(), format = input->between(-1, 6);
    if (int64_t{width} * height > kMaxFuzzBytes && int64_t{width} * height <= INT32_MAX)
        height = 1;
    if (int64_t{height} * stride > kMaxFuzzBytes && int64_t{height} * stride <= INT32_MAX)
        return;
    if (width > kMaxFuzzBytes && height == 1)
        width = 4096;
    if (fuzz_note(PanoImg_Create(&img, width, height, format)) == 0) {
        fuzz_note_image(img);
        if (fuzz_note(PanoImg_Clone(&img, &copy)) == 0)
            fuzz_note_image(copy);
    }
    PanoImg_Destroy(&img);
    PanoImg_Destroy(&copy);
    if (fuzz_note(PanoImg_CreateAligned(&img, width, height, format, &raw)) == 0)
        fuzz_note_image(img);
    PanoImg_DestroyAligned(&img, &raw);
    img = {};
    fuzz_note(PanoImg_CreateRef(&img, nullptr, width, height, stride, format));
    fuzz_note_image(img);
    PanoImg_Destroy(&img);
}

void _clone(FuzzInput* input)
{
    WorkingPicture src = fuzz_any_picture(input, 80, 60);
    if (input->flag())
        src.img.size = input->between(-1, src.img.size);
    PanoImg copy = {};
    if (fuzz_note(PanoImg_Clone(&src.img, &copy)) == 0)
        fuzz_note_image(copy);
    PanoImg_Destroy(&copy);
}

// A destination and a source; often of sizes that go together.
struct Two {
    WorkingPicture dst, src;
};

Two _two(FuzzInput* input)
{
    PanoImg src = fuzz_working_record(input, 96, 64);
    PanoImg dst = fuzz_working_record(input, 96, 64);
    const uint8_t relation = input->byte();
    if (relation % 4 == 1) {
        dst.width = src.width;
        dst.height = src.height;
    } else if (relation % 4 == 2) {
        dst.width = src.height;
        dst.height = src.width;
    } else if (relation % 4 == 3) {
        dst.width = src.width / 2;
        dst.height = src.height / 2;
    }
    const int32_t padding = relation / 16;
    if (relation % 4 != 0) {
        const int64_t row_bytes = ozr::pano_row_bytes(dst.format, dst.width);
        dst.stride = relation % 8 == 1 ? src.stride : fuzz_stride(row_bytes, padding);
    }
    return {fuzz_working_picture(dst, {1, 90, 0, 0}, *input),
            fuzz_working_picture(src, fuzz_working_paint(input), *input)};
}

template <int32_t (*kTransform)(PanoImg*, const PanoImg*)>
void _transform(FuzzInput* input)
{
    const Two two = _two(input);
    PanoImg dst = two.dst.img;
    fuzz_note(kTransform(&dst, &two.src.img));
    fuzz_note_image(dst);
}

void _copy(FuzzInput* input)
{
    const Two two = _two(input);
    PanoImg dst = two.dst.img;
    const int32_t x = input->number(), y = input->number();
    fuzz_note(PanoImg_CopyEx(&dst, &two.src.img, x, y));
    fuzz_note_image(dst);
}

void _find_seam(FuzzInput* input)
{
    const int32_t width = input->between(-1, 70), height = input->between(-1, 50);
    const int64_t pixels = int64_t{std::max(width, 0)} * std::max(height, 0);
    SeamRegion regions[2];
    WorkingPicture pictures[2];
    for (int i = 0; i < 2; ++i) {
        const int32_t x = input->between(0, 5), y = input->between(0, 5);
        const PanoImg record = {
            kPanoGray, x + std::max(width, 1), y + std::max(height, 1), x + std::max(width, 1), 0, 0,
            nullptr};
        pictures[i] = fuzz_working_picture(record, fuzz_working_paint(input), *input);
        regions[i] = {&pictures[i].img, x, y, width, height};
    }
    if (input->byte() == 1)
        regions[1].width = input->number();
    const ExactBlock mask = exact_block(pixels);
    fuzz_paint(mask.get(), pixels, width, fuzz_working_paint(input), *input);
    const int64_t seam_bytes = std::max(height, 0) * int64_t{sizeof(int32_t)};
    const ExactBlock seam = exact_block(seam_bytes);
    fuzz_note(
        panorama_seam_find(reinterpret_cast<int32_t*>(seam.get()), mask.get(), &regions[0], &regions[1]));
    fuzz_read_all(seam.get(), seam_bytes);
}

void _estimate_motion(FuzzInput* input)
{
    const int32_t width = input->between(-1, 90), height = input->between(-1, 70);
    const int64_t pixels = int64_t{std::max(width, 0)} * std::max(height, 0);
    const ExactBlock reference = exact_block(pixels), current = exact_block(pixels);
    fuzz_paint(reference.get(), pixels, width, fuzz_working_paint(input), *input);
    fuzz_paint(current.get(), pixels, width, fuzz_working_paint(input), *input);
    int32_t shift_x = 0, shift_y = 0;
    MotionEstimate(reference.get(), current.get(), width, height, &shift_x, &shift_y);
    fuzz_note(shift_x);
    fuzz_note(shift_y);
}

// An operation that is here twice is called twice as often.
constexpr void (*kOperations[])(FuzzInput*) = {_transform<PanoImg_ResizeGray>,
                                               _transform<PanoImg_ResizeGrayYUYV>,
                                               _transform<PanoImg_ResizeYUV>,
                                               _transform<PanoImg_ResizeHalfGray>,
                                               _transform<PanoImg_RotateCW90>,
                                               _transform<PanoImg_RotateCW270>,
                                               _transform<PanoImg_ConvertYUV2RGBA>,
                                               _copy,
                                               _find_seam,
                                               _find_seam,
                                               _estimate_motion,
                                               _estimate_motion,
                                               _create,
                                               _create,
                                               _clone,
                                               _clone};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    fuzz_choose_kernels(&input);
    constexpr int kMaxCalls = 16;
    for (int i = 0; i < kMaxCalls && !input.empty(); ++i)
        kOperations[input.byte() % std::size(kOperations)](&input);
    return 0;
}
