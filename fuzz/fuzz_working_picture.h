// Working image records for fuzzers of the engine, the core and the image toolkit.
#ifndef FUZZ_WORKING_PICTURE_H
#define FUZZ_WORKING_PICTURE_H

#include "fuzz_picture.h"
#include "image/panorama_img.h"

// A record and its memory, exactly as large as the geometry says.
struct WorkingPicture {
    PanoImg img = {};
    ExactBlock block;
};

inline WorkingPicture fuzz_working_picture(const PanoImg& record, const FuzzPaint& paint,
                                           const FuzzInput& input)
{
    WorkingPicture picture;
    picture.img = record;
    const auto bytes_of = [](const PanoImg& img) {
        const bool has_pixels = img.width > 0 && img.height > 0 && img.stride > 0;
        const int64_t plane = int64_t{img.height} * img.stride;
        return has_pixels ? fuzz_honest_bytes(std::max(ozr::pano_geometry_size(&img), plane)) : 0;
    };
    if (bytes_of(picture.img) > kMaxFuzzBytes)
        picture.img.height = 1;
    const int64_t bytes = bytes_of(picture.img);
    if (bytes > kMaxFuzzBytes)
        return picture;  // a record without pixels
    picture.block = exact_block(bytes);
    picture.img.data = picture.block.get();
    picture.img.size = static_cast<int32_t>(bytes);
    fuzz_paint(picture.img.data, bytes, picture.img.stride, paint, input);
    return picture;
}

// A record that a caller would make, or, seldom, one with a field from anywhere.
inline PanoImg fuzz_working_record(FuzzInput* input, int32_t max_width, int32_t max_height)
{
    PanoImg record = {};
    const uint8_t oddities = input->byte();
    record.width = input->between(1, max_width);
    record.height = input->between(1, max_height);
    record.format = oddities < 128 ? oddities % 2 : input->between(-1, 6);
    const int64_t row_bytes = ozr::pano_row_bytes(record.format, record.width);
    record.stride = fuzz_stride(row_bytes < 0 ? 4 : row_bytes, input->between(0, 5));
    if (oddities >= 224)
        record.width = input->number();
    if (oddities % 32 == 31)
        record.height = input->number();
    if (oddities % 32 == 30)
        record.stride = input->number();
    return record;
}

inline FuzzPaint fuzz_working_paint(FuzzInput* input)
{
    const uint8_t kind = input->byte();
    return {static_cast<uint8_t>(kind < 192 ? 0 : kind), kind, input->between(0, 255), kind};
}

// Any picture: a record, then what it shows.
inline WorkingPicture fuzz_any_picture(FuzzInput* input, int32_t max_width, int32_t max_height)
{
    const PanoImg record = fuzz_working_record(input, max_width, max_height);
    return fuzz_working_picture(record, fuzz_working_paint(input), *input);
}

#endif
