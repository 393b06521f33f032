// Exif orientation: a bounds-checked walk through the first directory of a TIFF block, and the eight turns.
#include "media/exif.h"

#include <string.h>

namespace ozr_pano
{

namespace
{

constexpr uint32_t kOrientationTag = 0x0112;
constexpr uint32_t kTypeShort = 3;
constexpr size_t kTiffHeaderBytes = 8;
constexpr size_t kEntryBytes = 12;

/** Numbers of either byte order out of a block; reads beyond its end give 0. */
class TiffReader
{
public:
    TiffReader(const uint8_t* data, size_t size) : data_(data), size_(size) {}

    bool read_byte_order()
    {
        if (size_ < kTiffHeaderBytes)
            return false;
        big_endian_ = memcmp(data_, "MM", 2) == 0;
        return (big_endian_ || memcmp(data_, "II", 2) == 0) && number(2, 2) == 42;
    }

    uint32_t number(size_t position, size_t bytes) const
    {
        if (position > size_ || size_ - position < bytes)
            return 0;
        uint32_t value = 0;
        for (size_t i = 0; i < bytes; ++i)
            value = value << 8 | data_[position + (big_endian_ ? i : bytes - 1 - i)];
        return value;
    }

private:
    const uint8_t* data_;
    size_t size_;
    bool big_endian_ = false;
};

}  // namespace

int exif_orientation(const uint8_t* tiff, size_t size)
{
    TiffReader reader(tiff, size);
    if (!reader.read_byte_order())
        return 1;
    const size_t directory = reader.number(4, 4);
    if (directory > size)
        return 1;
    const uint32_t entries = reader.number(directory, 2);
    for (uint32_t i = 0; i < entries; ++i) {
        const size_t entry = directory + 2 + i * kEntryBytes;
        if (entry >= size)
            break;
        if (reader.number(entry, 2) != kOrientationTag)
            continue;
        const uint32_t value = reader.number(entry + 8, 2);
        const bool valid = reader.number(entry + 2, 2) == kTypeShort && value >= 1 && value <= 8;
        return valid ? static_cast<int>(value) : 1;
    }
    return 1;
}

Picture turn_upright(Picture stored, int orientation)
{
    if (orientation <= 1 || orientation > 8)
        return stored;
    // Where the upright pixel (x, y) is stored: from 5 on the axes are exchanged, then each axis may be mirrored.
    const bool exchanged = orientation >= 5;
    const bool mirror_x = orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
    const bool mirror_y = orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
    Picture upright(exchanged ? stored.height : stored.width, exchanged ? stored.width : stored.height);
    for (int32_t y = 0; y < upright.height; ++y) {
        uint8_t* out = upright.row(y);
        for (int32_t x = 0; x < upright.width; ++x, out += 4) {
            const int32_t along = exchanged ? y : x;
            const int32_t across = exchanged ? x : y;
            const int32_t stored_x = mirror_x ? stored.width - 1 - along : along;
            const int32_t stored_y = mirror_y ? stored.height - 1 - across : across;
            memcpy(out, stored.row(stored_y) + static_cast<ptrdiff_t>(stored_x) * 4, 4);
        }
    }
    return upright;
}

}  // namespace ozr_pano
