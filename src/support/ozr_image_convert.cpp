// Conversion between pixel formats. Every source format has a record with one operation for each target. Only conversions
// from rgba32, to rgba32 and within a format exist; the other operations refuse.
#include "kernels/kernels.h"
#include "ozr_image.h"
#include "support/image_rows.h"
#include "support/ozr_chain.h"

using namespace ozr;

namespace
{

using Conversion = ozr_err (*)(const ozr_image* src, ozr_image* dst);

struct image_convert_interface_t {
    Conversion to_nv12;
    Conversion to_nv21;
    Conversion to_yv12;
    Conversion to_gray;
    Conversion to_rgba;
    Conversion to_yuy2;
};

bool is_even(int32_t value)
{
    return value % 2 == 0;
}

struct ChromaRows {
    uint8_t* u;
    uint8_t* v;
};

// Chroma row j of a yv12 image: the plane of U is before that of V, and rows are half a stride apart, rounded down.
ChromaRows _yv12_chroma(const ozr_image* image, int32_t j)
{
    const ptrdiff_t luma = static_cast<ptrdiff_t>(image->height) * image->stride;
    uint8_t* u = image->data + luma + static_cast<ptrdiff_t>(j) * image->stride / 2;
    return {u, u + luma / 4};
}

// Converts between formats of one plane; a row has `units` pixels or pixel pairs.
ozr_err _convert_rows(const ozr_image* src, ozr_image* dst, int32_t units,
                      void (*convert_row)(uint8_t* dst, const uint8_t* src, int32_t units))
{
    OZR_RAISE_IF(!image_holds_planes(src) || !image_holds_planes(dst), ozr_err_invalid_argument);
    for (int32_t y = 0; y < image_row_count(dst); ++y)
        convert_row(image_row(dst, y), image_row(src, y), units);
    return ozr_success;
}

// For nv12 and nv21: `convert_row` knows the order of the bytes in a pair, the only difference between them.
ozr_err _chroma_pairs_to_rgba(const ozr_image* src, ozr_image* dst, kernels::YuvToRgbaRow* convert_row)
{
    OZR_RAISE_IF(!image_holds_planes(src) || !image_holds_planes(dst), ozr_err_invalid_argument);
    for (int32_t y = 0; y < image_row_count(dst); ++y)
        convert_row(image_row(dst, y), image_row(src, y), image_row(src, src->height + y / 2),
                    dst->width / 2);
    return ozr_success;
}

// Converts two rows at a time: the luma of each, and the chroma that they share, which write_chroma(j, row) makes from the
// upper one.
template <class WriteChroma>
ozr_err _rgba_to_12_bit(const ozr_image* src, ozr_image* dst, WriteChroma write_chroma)
{
    OZR_RAISE_IF(!image_holds_planes(src) || !image_holds_planes(dst), ozr_err_invalid_argument);
    kernels::RgbaToLumaRow* const to_luma = kernels::active()->colour.rgba_to_luma_row;
    for (int32_t j = 0; j < image_row_count(dst) / 2; ++j) {
        for (int32_t y = 2 * j; y < 2 * j + 2; ++y)
            to_luma(image_row(dst, y), image_row(src, y), dst->width, 1);
        write_chroma(j, image_row(src, 2 * j));
    }
    return ozr_success;
}

ozr_err _rgba_to_chroma_pairs(const ozr_image* src, ozr_image* dst,
                              kernels::RgbaToChromaPairsRow* convert_row)
{
    return _rgba_to_12_bit(src, dst, [dst, convert_row](int32_t j, const uint8_t* rgba) {
        convert_row(image_row(dst, dst->height + j), rgba, dst->width / 2);
    });
}

ozr_err ozr_image_nv12_to_rgba(const ozr_image* src, ozr_image* dst)
{
    OZR_REQUIRE(is_even(src->width) && is_even(src->height));
    return _chroma_pairs_to_rgba(src, dst, kernels::active()->colour.yuv_to_rgba_row);
}

ozr_err ozr_image_nv21_to_rgba(const ozr_image* src, ozr_image* dst)
{
    OZR_REQUIRE(is_even(src->width) && is_even(src->height));
    return _chroma_pairs_to_rgba(src, dst, kernels::active()->colour.yvu_to_rgba_row);
}

ozr_err ozr_image_yv12_to_rgba(const ozr_image* src, ozr_image* dst)
{
    OZR_REQUIRE(is_even(src->width) && is_even(src->height));
    OZR_RAISE_IF(!image_holds_planes(src) || !image_holds_planes(dst), ozr_err_invalid_argument);
    kernels::PlanarToRgbaRow* const convert_row = kernels::active()->colour.planar_to_rgba_row;
    for (int32_t y = 0; y < image_row_count(dst); ++y) {
        const ChromaRows chroma = _yv12_chroma(src, y / 2);
        convert_row(image_row(dst, y), image_row(src, y), chroma.u, chroma.v, dst->width / 2);
    }
    return ozr_success;
}

ozr_err ozr_image_yuy2_to_rgba(const ozr_image* src, ozr_image* dst)
{
    OZR_REQUIRE(is_even(src->width));
    return _convert_rows(src, dst, dst->width / 2, kernels::active()->colour.yuyv_to_rgba_row);
}

ozr_err ozr_image_gray_to_rgba(const ozr_image* src, ozr_image* dst)
{
    return _convert_rows(src, dst, dst->width, kernels::active()->colour.gray_to_rgba_row);
}

ozr_err ozr_image_rgba_to_gray(const ozr_image* src, ozr_image* dst)
{
    return _convert_rows(src, dst, dst->width, kernels::active()->colour.rgba_to_gray_row);
}

ozr_err ozr_image_rgba_to_nv12(const ozr_image* src, ozr_image* dst)
{
    OZR_REQUIRE(is_even(src->width) && is_even(src->height));
    return _rgba_to_chroma_pairs(src, dst, kernels::active()->colour.rgba_to_uv_row);
}

ozr_err ozr_image_rgba_to_nv21(const ozr_image* src, ozr_image* dst)
{
    OZR_REQUIRE(is_even(src->width) && is_even(src->height));
    return _rgba_to_chroma_pairs(src, dst, kernels::active()->colour.rgba_to_vu_row);
}

ozr_err ozr_image_rgba_to_yv12(const ozr_image* src, ozr_image* dst)
{
    OZR_REQUIRE(is_even(src->width) && is_even(src->height));
    kernels::RgbaToChromaRows* const convert_rows = kernels::active()->colour.rgba_to_u_v_rows;
    return _rgba_to_12_bit(src, dst, [dst, convert_rows](int32_t j, const uint8_t* rgba) {
        const ChromaRows chroma = _yv12_chroma(dst, j);
        convert_rows(chroma.u, chroma.v, rgba, dst->width / 2);
    });
}

ozr_err ozr_image_rgba_to_yuy2(const ozr_image* src, ozr_image* dst)
{
    OZR_REQUIRE(is_even(src->width));
    return _convert_rows(src, dst, dst->width / 2, kernels::active()->colour.rgba_to_yuyv_row);
}

// The pairs without a conversion. Each has a function of its own, whose body is the place to add one.
#define OZR_NO_CONVERSION(pair)                                                                              \
    ozr_err ozr_image_##pair(const ozr_image*, ozr_image*)                                                   \
    {                                                                                                        \
        return ozr_err_not_supported;                                                                        \
    }

OZR_NO_CONVERSION(nv12_to_nv21)
OZR_NO_CONVERSION(nv12_to_yv12)
OZR_NO_CONVERSION(nv12_to_gray)
OZR_NO_CONVERSION(nv12_to_yuy2)
OZR_NO_CONVERSION(nv21_to_nv12)
OZR_NO_CONVERSION(nv21_to_yv12)
OZR_NO_CONVERSION(nv21_to_gray)
OZR_NO_CONVERSION(nv21_to_yuy2)
OZR_NO_CONVERSION(yv12_to_nv12)
OZR_NO_CONVERSION(yv12_to_nv21)
OZR_NO_CONVERSION(yv12_to_gray)
OZR_NO_CONVERSION(yv12_to_yuy2)
OZR_NO_CONVERSION(gray_to_nv12)
OZR_NO_CONVERSION(gray_to_nv21)
OZR_NO_CONVERSION(gray_to_yv12)
OZR_NO_CONVERSION(gray_to_yuy2)
OZR_NO_CONVERSION(yuy2_to_nv12)
OZR_NO_CONVERSION(yuy2_to_nv21)
OZR_NO_CONVERSION(yuy2_to_yv12)
OZR_NO_CONVERSION(yuy2_to_gray)

#undef OZR_NO_CONVERSION

// One operation for each target, in the order of the record.
// clang-format off
constexpr image_convert_interface_t nv12_interface = {
    ozr_image_copy,         ozr_image_nv12_to_nv21, ozr_image_nv12_to_yv12,
    ozr_image_nv12_to_gray, ozr_image_nv12_to_rgba, ozr_image_nv12_to_yuy2};
constexpr image_convert_interface_t nv21_interface = {
    ozr_image_nv21_to_nv12, ozr_image_copy,         ozr_image_nv21_to_yv12,
    ozr_image_nv21_to_gray, ozr_image_nv21_to_rgba, ozr_image_nv21_to_yuy2};
constexpr image_convert_interface_t yv12_interface = {
    ozr_image_yv12_to_nv12, ozr_image_yv12_to_nv21, ozr_image_copy,
    ozr_image_yv12_to_gray, ozr_image_yv12_to_rgba, ozr_image_yv12_to_yuy2};
constexpr image_convert_interface_t gray_interface = {
    ozr_image_gray_to_nv12, ozr_image_gray_to_nv21, ozr_image_gray_to_yv12,
    ozr_image_copy,         ozr_image_gray_to_rgba, ozr_image_gray_to_yuy2};
constexpr image_convert_interface_t rgba_interface = {
    ozr_image_rgba_to_nv12, ozr_image_rgba_to_nv21, ozr_image_rgba_to_yv12,
    ozr_image_rgba_to_gray, ozr_image_copy,         ozr_image_rgba_to_yuy2};
constexpr image_convert_interface_t yuy2_interface = {
    ozr_image_yuy2_to_nv12, ozr_image_yuy2_to_nv21, ozr_image_yuy2_to_yv12,
    ozr_image_yuy2_to_gray, ozr_image_yuy2_to_rgba, ozr_image_copy};
// clang-format on

ozr_err get_interface(ozr_image_format format, const image_convert_interface_t** interface)
{
    switch (format) {
    case ozr_image_format_nv12:
        *interface = &nv12_interface;
        return ozr_success;
    case ozr_image_format_yv12:
        *interface = &yv12_interface;
        return ozr_success;
    case ozr_image_format_gray:
        *interface = &gray_interface;
        return ozr_success;
    case ozr_image_format_rgba32:
        *interface = &rgba_interface;
        return ozr_success;
    case ozr_image_format_yuy2:
        *interface = &yuy2_interface;
        return ozr_success;
    case ozr_image_format_nv21:
        *interface = &nv21_interface;
        return ozr_success;
    default:
        return ozr_err_not_supported;
    }
}

// Gives dst the size of src and the target format. Both must not share pixels: giving dst new ones would release those of
// src.
ozr_err validate_image_format_conversion(const ozr_image* src, ozr_image* dst, ozr_image_format target)
{
    if (src == nullptr || dst == nullptr || src->data == nullptr || src->data == dst->data)
        return ozr_err_invalid_argument;
    return ozr_image_recreate(dst, src->width, src->height, 0, target);
}

// Destroys the destination image unless the conversion succeeded.
class DestinationOwner
{
public:
    explicit DestinationOwner(ozr_image* image) : image_(image) {}
    ~DestinationOwner() { ozr_image_destroy(image_); }
    DestinationOwner(const DestinationOwner&) = delete;
    DestinationOwner& operator=(const DestinationOwner&) = delete;
    void release() { image_ = nullptr; }

private:
    ozr_image* image_;
};

}  // namespace

ozr_err ozr_image_convert_to_nv12(const ozr_image* src, ozr_image* dst)
{
    DestinationOwner owner(dst);
    OZR_FORWARD(validate_image_format_conversion(src, dst, ozr_image_format_nv12));
    const image_convert_interface_t* interface = nullptr;
    OZR_FORWARD(get_interface(src->format, &interface));
    OZR_FORWARD(interface->to_nv12(src, dst));
    owner.release();
    return ozr_success;
}

ozr_err ozr_image_convert_to_nv21(const ozr_image* src, ozr_image* dst)
{
    DestinationOwner owner(dst);
    OZR_FORWARD(validate_image_format_conversion(src, dst, ozr_image_format_nv21));
    const image_convert_interface_t* interface = nullptr;
    OZR_FORWARD(get_interface(src->format, &interface));
    OZR_FORWARD(interface->to_nv21(src, dst));
    owner.release();
    return ozr_success;
}

ozr_err ozr_image_convert_to_yv12(const ozr_image* src, ozr_image* dst)
{
    DestinationOwner owner(dst);
    OZR_FORWARD(validate_image_format_conversion(src, dst, ozr_image_format_yv12));
    const image_convert_interface_t* interface = nullptr;
    OZR_FORWARD(get_interface(src->format, &interface));
    OZR_FORWARD(interface->to_yv12(src, dst));
    owner.release();
    return ozr_success;
}

ozr_err ozr_image_convert_to_gray(const ozr_image* src, ozr_image* dst)
{
    DestinationOwner owner(dst);
    OZR_FORWARD(validate_image_format_conversion(src, dst, ozr_image_format_gray));
    const image_convert_interface_t* interface = nullptr;
    OZR_FORWARD(get_interface(src->format, &interface));
    OZR_FORWARD(interface->to_gray(src, dst));
    owner.release();
    return ozr_success;
}

ozr_err ozr_image_convert_to_rgba(const ozr_image* src, ozr_image* dst)
{
    DestinationOwner owner(dst);
    OZR_FORWARD(validate_image_format_conversion(src, dst, ozr_image_format_rgba32));
    const image_convert_interface_t* interface = nullptr;
    OZR_FORWARD(get_interface(src->format, &interface));
    OZR_FORWARD(interface->to_rgba(src, dst));
    owner.release();
    return ozr_success;
}

ozr_err ozr_image_convert_to_yuy2(const ozr_image* src, ozr_image* dst)
{
    DestinationOwner owner(dst);
    OZR_FORWARD(validate_image_format_conversion(src, dst, ozr_image_format_yuy2));
    const image_convert_interface_t* interface = nullptr;
    OZR_FORWARD(get_interface(src->format, &interface));
    OZR_FORWARD(interface->to_yuy2(src, dst));
    owner.release();
    return ozr_success;
}

ozr_err ozr_image_convert(const ozr_image* src, ozr_image* dst, ozr_image_format format)
{
    switch (format) {
    case ozr_image_format_nv12:
        return ozr_image_convert_to_nv12(src, dst);
    case ozr_image_format_yv12:
        return ozr_image_convert_to_yv12(src, dst);
    case ozr_image_format_gray:
        return ozr_image_convert_to_gray(src, dst);
    case ozr_image_format_rgba32:
        return ozr_image_convert_to_rgba(src, dst);
    case ozr_image_format_yuy2:
        return ozr_image_convert_to_yuy2(src, dst);
    case ozr_image_format_nv21:
        return ozr_image_convert_to_nv21(src, dst);
    default:
        return ozr_err_not_supported;
    }
}
