// The routines on grey pictures in the caller's memory, and integer geometry on numbers from
// anywhere.
#include <stdlib.h>

#include <vector>

#include "fuzz_picture.h"
#include "fuzz_process.h"
#include "ozr_gray.h"
#include "ozr_memory.h"
#include "ozr_prof.h"
#include "ozr_version.h"

namespace
{

constexpr int kMaxCalls = 16;

// A picture whose memory ends with the last byte that its sizes promise.
struct Plane {
    int32_t width = 0;
    int32_t height = 0;
    int32_t stride = 0;
    ExactBlock block;
    int64_t block_bytes = 0;
    uint8_t* data = nullptr;

    void note() const { fuzz_read_all(block.get(), block_bytes); }

    // Memory for `rows` rows; of the last one for `row_bytes` bytes or the whole stride. None when
    // it is too much.
    void allocate(int64_t row_bytes, int64_t rows, const FuzzInput& input, bool whole_rows = false)
    {
        const int64_t distance = std::abs(int64_t{stride});
        const int64_t last_row = whole_rows ? std::max(stride, 0) : row_bytes;
        const int64_t bytes = width < 1 || height < 1 ? 0 : (rows - 1) * distance + last_row;
        if (bytes > kMaxFuzzBytes)
            return;
        block = exact_block(bytes);
        block_bytes = bytes;
        data = block.get() + (stride < 0 && bytes > 0 ? (rows - 1) * distance : 0);
        fuzz_paint(block.get(), bytes, distance, {0, 0, 3, 5}, input);
    }
};

Plane _choose_plane(FuzzInput* input, int32_t pixel_bytes, bool strides_of_zero)
{
    Plane plane;
    const uint8_t oddities = input->byte();
    plane.width = oddities % 16 == 15 ? input->number() : input->between(1, 70);
    plane.height = oddities % 16 == 14 ? input->number() : input->between(1, 50);
    plane.stride = fuzz_stride(std::max<int64_t>(int64_t{plane.width} * pixel_bytes, 0), oddities / 32);
    if (oddities % 16 == 13)
        plane.stride = -plane.stride;
    if (oddities % 16 == 12 && strides_of_zero)
        plane.stride = plane.width;  // handed over as 0
    return plane;
}

int32_t _or_zero(const Plane& plane, FuzzInput* input)
{
    return plane.stride == plane.width && input->flag() ? 0 : plane.stride;
}

ozr_rect _choose_crop(const Plane& src, FuzzInput* input)
{
    if (input->byte() >= 224 || src.width < 1 || src.height < 1)
        return {input->number(), input->number(), input->number(), input->number()};
    const int32_t left = input->between(0, std::min(src.width, 100) - 1);
    const int32_t top = input->between(0, std::min(src.height, 100) - 1);
    return {left, top, input->between(left + 1, src.width), input->between(top + 1, src.height)};
}

// Enlarging reads the byte behind a row and the row behind the last.
void _allocate_for_bilinear(Plane* src, const Plane& dst, const ozr_rect& crop, int32_t pixel_bytes,
                            const FuzzInput& input)
{
    const bool widens = dst.width > crop.right - int64_t{crop.left};
    const bool heightens = dst.height > crop.bottom - int64_t{crop.top};
    const int64_t columns = int64_t{src->width} + (widens ? 1 : 0);
    src->allocate(columns * pixel_bytes, int64_t{src->height} + (heightens ? 1 : 0), input);
}

enum class Resizer { kNearest, kBilinear, kCropNearest, kCropBilinear, kCropRgb, kTurnCropped, kTurn };

template <Resizer kResizer>
void _resize(FuzzInput* input)
{
    const int32_t pixel_bytes = kResizer == Resizer::kCropRgb ? 3 : 1;
    const bool is_whole = kResizer == Resizer::kNearest || kResizer == Resizer::kBilinear;
    const bool is_bilinear =
        kResizer == Resizer::kBilinear || kResizer == Resizer::kCropBilinear || kResizer == Resizer::kCropRgb;
    Plane dst = _choose_plane(input, pixel_bytes, !is_bilinear);
    Plane src = _choose_plane(input, pixel_bytes, !is_bilinear);
    const ozr_rect crop = is_whole ? ozr_rect{0, 0, src.width, src.height} : _choose_crop(src, input);
    dst.allocate(int64_t{dst.width} * pixel_bytes, dst.height, *input);
    if (is_bilinear)
        _allocate_for_bilinear(&src, dst, crop, pixel_bytes, *input);
    else
        src.allocate(src.width, src.height, *input);
    const int32_t dst_stride = is_bilinear ? dst.stride : _or_zero(dst, input);
    const int32_t src_stride = is_bilinear ? src.stride : _or_zero(src, input);
    const auto resize = kResizer == Resizer::kNearest ? resize_grayimage_nn : resize_grayimage_bi;
    const auto crop_resize = kResizer == Resizer::kCropNearest    ? crop_resize_grayimage_nn
                             : kResizer == Resizer::kCropBilinear ? crop_resize_grayimage_bi
                                                                  : crop_resize_RGB;
    switch (kResizer) {
    case Resizer::kNearest:
    case Resizer::kBilinear:
        fuzz_note(
            resize(dst.data, dst.width, dst.height, dst_stride, src.data, src.width, src.height, src_stride));
        break;
    case Resizer::kCropNearest:
    case Resizer::kCropBilinear:
    case Resizer::kCropRgb:
        fuzz_note(crop_resize(dst.data, dst.width, dst.height, dst_stride, src.data, src.width, src.height,
                              src_stride, &crop));
        break;
    case Resizer::kTurnCropped:
        fuzz_note(rotate_crop_resize_grayimage_nn(dst.data, dst.width, dst.height, dst_stride, src.data,
                                                  src.width, src.height, src_stride, &crop, input->number()));
        break;
    case Resizer::kTurn:
        fuzz_note(rotate_grayimage_eighth(dst.data, dst.width, dst.height, dst_stride, src.data, src.width,
                                          src.height, src_stride, input->between(-1, 8)));
    }
    dst.note();
}

// The bytes in the source from one row of a sampled picture to the next.
int64_t _sampling_advance(int64_t width, int64_t stride, int64_t step_x, int64_t step_y)
{
    const int64_t left_over = width % step_x;
    if (step_x == 1)
        return stride + step_y - 1;
    return step_x == 2 ? stride - left_over + 2 * (step_y - 1) : step_y * stride - left_over;
}

void _sample(FuzzInput* input)
{
    const int32_t width = input->between(-1, 70), height = input->between(-1, 50);
    const int32_t stride = std::max(width, 0) + input->between(0, 5);
    const int32_t step_x = input->flag() ? input->between(0, 5) : input->number();
    const int32_t step_y = input->flag() ? input->between(1, 5) : input->number();
    const bool has_pixels = width > 0 && height > 0 && step_x > 0 && step_y > 0;
    const int64_t out_width = has_pixels ? width / step_x : 0;
    const int64_t out_height = has_pixels ? (step_x == 1 ? height : height / step_y) : 0;
    int64_t src_bytes = 0;
    if (out_height > 0)
        src_bytes = (out_height - 1) * _sampling_advance(width, stride, step_x, step_y) +
                    std::max<int64_t>((out_width - 1) * step_x + 1, step_x == 1 ? width : 0);
    if (src_bytes > kMaxFuzzBytes)
        return;
    const int32_t dst_stride = static_cast<int32_t>(out_width) + input->between(0, 2);
    const int64_t dst_bytes = out_height > 0 ? (out_height - 1) * dst_stride + out_width : 0;
    const ExactBlock src = exact_block(src_bytes), dst = exact_block(dst_bytes);
    fuzz_paint(src.get(), src_bytes, stride, {}, *input);
    const int32_t passed_dst_stride = dst_stride == out_width && input->flag() ? 0 : dst_stride;
    const int32_t passed_stride = stride == width && input->flag() ? 0 : stride;
    fuzz_note(sample_image_by_n(dst.get(), passed_dst_stride, src.get(), width, height, passed_stride, step_x,
                                step_y));
    fuzz_read_all(dst.get(), dst_bytes);
}

void _code_texture(FuzzInput* input)
{
    const uint32_t width = input->byte() % 90U, height = input->byte() % 60U;
    const ExactBlock src = exact_block(width * height), dst = exact_block(2 * int64_t{width} * height);
    fuzz_paint(src.get(), width * height, width, {input->byte(), 200, 0, 0}, *input);
    fuzz_note(image2mct(src.get(), width, height, reinterpret_cast<uint16_t*>(dst.get())));
    fuzz_read_all(dst.get(), 2 * int64_t{width} * height);
}

// Of a picture whose rows are blocks of their own.
void _warp_rows(FuzzInput* input, const int32_t* at)
{
    Plane packed;
    packed.width = packed.stride = input->between(-1, 60);
    packed.height = input->between(-1, 40);
    packed.allocate(packed.width, packed.height, *input);
    const int32_t rows = input->between(-1, 40), columns = input->between(-1, 60);
    std::vector<ExactBlock> blocks;
    std::vector<uint8_t*> row_starts;
    for (int32_t i = 0; i < rows; ++i) {
        blocks.push_back(exact_block(columns));
        row_starts.push_back(blocks.back().get());
    }
    fuzz_note(ozr_warp_image_by_2points_uc_scale(packed.data, packed.width, packed.height, at[0], at[1],
                                                 at[2], at[3], row_starts.data(), columns, rows, at[4], at[5],
                                                 at[6], at[7]));
    for (const ExactBlock& block : blocks)
        fuzz_read_all(block.get(), columns);
}

void _warp(FuzzInput* input)
{
    int32_t at[8];
    const bool anywhere = input->byte() >= 192;
    for (int32_t& coordinate : at)
        coordinate = anywhere ? input->number() : input->between(-20, 90);
    Plane dst = _choose_plane(input, 1, true), src = _choose_plane(input, 1, true);
    dst.allocate(dst.width, dst.height, *input);
    src.allocate(src.width, src.height, *input, true);  // padding is read as pixels
    const int32_t dst_stride = _or_zero(dst, input), src_stride = _or_zero(src, input);
    fuzz_note(warp_image_by_2points(dst.data, dst.width, dst.height, dst_stride, src.data, src.width,
                                    src.height, src_stride, at[0], at[1], at[2], at[3], at[4], at[5], at[6],
                                    at[7]));
    dst.note();
    int32_t x = 0, y = 0;
    fuzz_note(ozr_warp_point_by_2points(at[0], at[7], at[0], at[1], at[2], at[3], &x, &y, at[4], at[5], at[6],
                                        at[7]));
    fuzz_note(x);
    fuzz_note(y);
    _warp_rows(input, at);
}

// Any numbers are allowed here: nothing may overflow where that is undefined, nor divide by zero,
// nor go on forever.
void _calculate(FuzzInput* input)
{
    const int32_t a = input->number(), b = input->number(), c = input->number(), degrees = input->number();
    const ozr_point p = {a, b}, q = {c, input->number()};
    ozr_rect r = {a, b, c, input->number()};
    const ozr_rect s = {input->number(), input->number(), input->number(), input->number()};
    ozr_point out1 = {}, out2 = {};
    ozr_rect out = {};
    for (const int32_t result :
         {ozr_math_cosi16_d(degrees), ozr_math_sini16_d(degrees), ozr_math_cos_tiny(degrees),
          ozr_math_sin_tiny(degrees), ozr_math_arctan(a, b), ozr_math_normalize_angle(degrees),
          ozr_rect_is_intersecting(&r, &s), ozr_rect_get_area(&r), ozr_rect_get_intersecting_area(&r, &s),
          ozr_point_inside_rect(&p, &r), ozr_point_dist(&p, &q)})
        fuzz_note(result);
    fuzz_note(ozr_math_sqrt(static_cast<uint32_t>(a)));
    fuzz_note(ozr_rect_get_intersecting_rect(&r, &s, &out));
    fuzz_note(out);
    fuzz_note(ozr_rect_get_bounding_rect(&r, &s, &out));
    fuzz_note(out);
    ozr_rect_rotate(&out, &r, &p, degrees);
    fuzz_note(out);
    ozr_rect_scale(&out, &r, static_cast<uint32_t>(a), static_cast<uint32_t>(b));
    fuzz_note(out);
    ozr_point_rotate(&out1, &p, &q, degrees);
    fuzz_note(out1);
    ozr_warp_strength_by_2points_i(&p, &q, &out1, &out2, degrees);
    fuzz_note(out1);
    fuzz_note(out2);
    ozr_warp_rotation_degree(&p, &out1, degrees);
    fuzz_note(out1);
    fuzz_note(ozr_rect_move(&r, a, c));
    fuzz_note(ozr_rect_clip(&r, &s));
    fuzz_note(r);
}

void _allocate(FuzzInput* input)
{
    const uint32_t alignment = 1U << input->between(0, 15);
    const uint32_t small = static_cast<uint32_t>(input->between(0, 5000));
    // The latter wraps around to a small request.
    const uint32_t size = input->flag() ? small : 0U - small;
    const bool wraps = size + alignment + 2 < size;
    if (size != small && !wraps)
        return;
    if (void* block = ozr_malloc_aligned(size, alignment))
        ozr_free_aligned(block);
    if (void* block = ozr_calloc_aligned(input->byte() % 4U, size, alignment))
        ozr_free_aligned(block);
    char text[40] = {};
    const ExactBlock src = exact_block(64);
    fuzz_paint(src.get(), 64, 64, {input->byte(), 1, 0, 0}, *input);
    src[63] = 0;
    uint32_t room = input->byte() % 41U, count = input->byte();
    fuzz_note(ozr_strncpy_s(text, room, reinterpret_cast<const char*>(src.get()), count) != nullptr);
    fuzz_read_all(text, sizeof(text));
    room = input->byte() % 41U;
    count = input->byte() % 65U;
    fuzz_note(ozr_memcpy_s(text, room, src.get(), count) != nullptr);
    fuzz_read_all(text, sizeof(text));
}

// Some versions are null.
void _compare_versions(FuzzInput* input)
{
    ozr_version versions[3];
    ozr_version_variety_entry entries[3] = {};
    for (int i = 0; i < 3; ++i) {
        versions[i] = {input->byte(), input->byte(), input->byte(), 0};
        entries[i].version = input->byte() < 192 ? &versions[i] : nullptr;
    }
    const ozr_version* wanted = input->byte() < 192 ? &versions[0] : nullptr;
    fuzz_note(ozr_version_compare(wanted, entries[1].version));
    fuzz_note(ozr_version_is_matching(entries[2].version, wanted));
    const ozr_version_variety_entry* found =
        ozr_version_variety_get_matching_or_latest(wanted, entries, input->between(-1, 3));
    fuzz_note(found == nullptr ? -1 : static_cast<int32_t>(found - entries));
    ozr_free_aligned(nullptr);
    ozr_memcpy_s(nullptr, 4, &versions, 4);
    ozr_strncpy_s(nullptr, 4, "text", 4);
}

void _profile(FuzzInput* input)
{
    const uint32_t slot = static_cast<uint32_t>(input->number());
    if (input->flag())
        ozr_prof_set(slot);
    if (input->byte() < 64)
        _compare_versions(input);
    ozr_prof_go_label(slot, input->flag() ? "label" : nullptr);
    ozr_prof_go(slot);
    ozr_prof_stop(slot);
    ozr_prof_print_logfunc(fuzz_drop_line);
    ozr_prof_print_timestamp("stamp", static_cast<int32_t>(slot));
}

// An operation that is here twice is called twice as often.
constexpr void (*kOperations[])(FuzzInput*) = {_resize<Resizer::kNearest>,
                                               _resize<Resizer::kBilinear>,
                                               _resize<Resizer::kCropNearest>,
                                               _resize<Resizer::kCropBilinear>,
                                               _resize<Resizer::kCropRgb>,
                                               _resize<Resizer::kTurnCropped>,
                                               _resize<Resizer::kTurn>,
                                               _sample,
                                               _sample,
                                               _code_texture,
                                               _warp,
                                               _warp,
                                               _calculate,
                                               _calculate,
                                               _allocate,
                                               _profile};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    fuzz_choose_kernels(&input);
    fuzz_choose_logging(&input);
    for (int i = 0; i < kMaxCalls && !input.empty(); ++i)
        kOperations[input.byte() % std::size(kOperations)](&input);
    return 0;
}
