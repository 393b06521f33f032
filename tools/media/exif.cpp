// Exif: a bounds-checked walk through the directories of a TIFF block, a new block out of what is
// worth keeping of it, and the eight turns. Nothing is patched in place: what is carried over was
// understood, so that no offset, thumbnail or maker's note of another picture comes along.
#include "media/exif.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <string.h>

namespace ozr_pano
{

namespace
{

constexpr uint32_t kOrientationTag = 0x0112;
constexpr uint32_t kExifDirectoryTag = 0x8769, kGpsDirectoryTag = 0x8825;
constexpr uint32_t kWidthTag = 0xA002, kHeightTag = 0xA003;
constexpr uint32_t kGpsDirectionTag = 0x0011;
constexpr uint32_t kTypeShort = 3, kTypeLong = 4, kTypeRational = 5, kTypeBytesOnly = 7;
constexpr size_t kTiffHeaderBytes = 8;
constexpr size_t kEntryBytes = 12, kInlineBytes = 4;
constexpr size_t kTypeBytes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8};  // of one value, by type
constexpr size_t kMaxValueBytes = 1024;  // longer ones are notes for somebody else
constexpr size_t kMaxCarriedBytes = 32768;

// What says which camera took the picture, when and how, and whose it is.
constexpr uint32_t kMainTags[] = {0x010F, 0x0110, 0x0132, 0x013B, 0x8298};
constexpr uint32_t kExifTags[] = {0x829A, 0x829D, 0x8822, 0x8827, 0x9003, 0x9004, 0x9010, 0x9011, 0x9012,
                                  0x9201, 0x9202, 0x9203, 0x9204, 0x9205, 0x9207, 0x9208, 0x9209, 0x920A,
                                  0x9290, 0x9291, 0x9292, 0xA402, 0xA403, 0xA405, 0xA432, 0xA433, 0xA434};
constexpr uint32_t kLastGpsTag = 0x1F;

// Numbers of either byte order out of a block; reads beyond its end give 0.
class TiffReader
{
public:
    TiffReader(const uint8_t* data, size_t size, bool big_endian = false)
        : data_(data), size_(size), big_endian_(big_endian)
    {
    }

    bool read_byte_order()
    {
        if (size_ < kTiffHeaderBytes)
            return false;
        big_endian_ = memcmp(data_, "MM", 2) == 0;
        return (big_endian_ || memcmp(data_, "II", 2) == 0) && number(2, 2) == 42;
    }

    bool is_big_endian() const { return big_endian_; }

    // Where so many bytes are, or null where they are not all in the block.
    const uint8_t* bytes(size_t position, size_t count) const
    {
        return position <= size_ && size_ - position >= count ? data_ + position : nullptr;
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
    bool big_endian_;
};

// An entry of a directory with its value, in the byte order of its block.
struct Entry {
    uint32_t tag, type, count;
    std::vector<uint8_t> value;
};
using Directory = std::vector<Entry>;

const Entry* _find(const Directory& directory, uint32_t tag)
{
    for (const Entry& entry : directory) {
        if (entry.tag == tag)
            return &entry;
    }
    return nullptr;
}

// What an entry holds; nothing where it is broken or too long.
Entry _read_entry(const TiffReader& reader, size_t position)
{
    Entry entry = {
        reader.number(position, 2), reader.number(position + 2, 2), reader.number(position + 4, 4), {}};
    const size_t unit = entry.type < std::size(kTypeBytes) ? kTypeBytes[entry.type] : 0;
    if (unit == 0 || entry.count > kMaxValueBytes / unit)
        return entry;
    const size_t size = unit * entry.count;
    const size_t at = size <= kInlineBytes ? position + 8 : reader.number(position + 8, 4);
    if (const uint8_t* value = reader.bytes(at, size))
        entry.value.assign(value, value + size);
    return entry;
}

// The entries of a directory that are wanted, each tag once.
template <class Wanted>
Directory _read_directory(const TiffReader& reader, size_t position, Wanted is_wanted)
{
    Directory directory;
    const uint32_t entries = position == 0 ? 0 : reader.number(position, 2);
    for (uint32_t i = 0; i < entries; ++i) {
        const size_t at = position + 2 + i * kEntryBytes;
        if (reader.bytes(at, kEntryBytes) == nullptr)
            break;
        const uint32_t tag = reader.number(at, 2);
        if (!is_wanted(tag) || _find(directory, tag) != nullptr)
            continue;
        Entry entry = _read_entry(reader, at);
        if (!entry.value.empty())
            directory.push_back(std::move(entry));
    }
    return directory;
}

template <size_t kCount>
bool _is_one_of(const uint32_t (&tags)[kCount], uint32_t tag)
{
    return std::find(tags, tags + kCount, tag) != tags + kCount;
}

struct Directories {
    Directory main, exif, gps;
};

Directories _read_directories(const TiffReader& reader)
{
    constexpr uint32_t kPointers[] = {kExifDirectoryTag, kGpsDirectoryTag};
    const size_t first = reader.number(4, 4);
    const auto offset_of = [&](uint32_t tag) -> size_t {
        const Directory pointers =
            _read_directory(reader, first, [&](uint32_t each) { return _is_one_of(kPointers, each); });
        const Entry* entry = _find(pointers, tag);
        return entry != nullptr && entry->type == kTypeLong && entry->count == 1
                   ? TiffReader(entry->value.data(), entry->value.size(), reader.is_big_endian()).number(0, 4)
                   : 0;
    };
    return {_read_directory(reader, first, [](uint32_t tag) { return _is_one_of(kMainTags, tag); }),
            _read_directory(reader, offset_of(kExifDirectoryTag),
                            [](uint32_t tag) { return _is_one_of(kExifTags, tag); }),
            _read_directory(reader, offset_of(kGpsDirectoryTag),
                            [](uint32_t tag) { return tag <= kLastGpsTag; })};
}

// Puts a block together: numbers in one byte order, directories in the order of their tags.
class TiffWriter
{
public:
    explicit TiffWriter(bool big_endian) : big_endian_(big_endian)
    {
        block_.assign(2, big_endian ? 'M' : 'I');
        put(42, 2);
        put(kTiffHeaderBytes, 4);
    }

    // Of numbers of the type; a rational is two of them.
    Entry entry(uint32_t tag, uint32_t type, std::initializer_list<uint32_t> numbers) const
    {
        const size_t each = type == kTypeRational ? 2 : 1, bytes = kTypeBytes[type] / each;
        Entry entry = {tag, type, static_cast<uint32_t>(numbers.size() / each), {}};
        for (const uint32_t number : numbers) {
            const std::vector<uint8_t> value = bytes_of(number, bytes);
            entry.value.insert(entry.value.end(), value.begin(), value.end());
        }
        return entry;
    }

    // Behind what was written before. Returns where it is.
    size_t write(Directory directory)
    {
        std::sort(directory.begin(), directory.end(),
                  [](const Entry& a, const Entry& b) { return a.tag < b.tag; });
        const size_t begin = block_.size();
        size_t values = begin + size_of_head(directory);
        put(directory.size(), 2);
        for (const Entry& entry : directory) {
            put(entry.tag, 2), put(entry.type, 2), put(entry.count, 4);
            if (entry.value.size() > kInlineBytes)
                put(values, 4);
            else
                append(entry.value, kInlineBytes);
            values += beside(entry);
        }
        put(0, 4);  // no further directory
        for (const Entry& entry : directory) {
            if (entry.value.size() > kInlineBytes)
                append(entry.value, beside(entry));
        }
        return begin;
    }

    // What write would add.
    static size_t size_of(const Directory& directory)
    {
        size_t size = size_of_head(directory);
        for (const Entry& entry : directory)
            size += beside(entry);
        return size;
    }

    const std::vector<uint8_t>& block() const { return block_; }

private:
    static size_t size_of_head(const Directory& directory) { return 2 + directory.size() * kEntryBytes + 4; }

    // Bytes of a value that lies behind its directory, at an even place.
    static size_t beside(const Entry& entry)
    {
        return entry.value.size() > kInlineBytes ? (entry.value.size() + 1) & ~size_t{1} : 0;
    }

    std::vector<uint8_t> bytes_of(size_t value, size_t bytes) const
    {
        std::vector<uint8_t> number;
        for (size_t i = 0; i < bytes; ++i)
            number.push_back(static_cast<uint8_t>(value >> 8 * (big_endian_ ? bytes - 1 - i : i)));
        return number;
    }

    void put(size_t value, size_t bytes) { append(bytes_of(value, bytes), bytes); }

    void append(const std::vector<uint8_t>& value, size_t padded)
    {
        block_.insert(block_.end(), value.begin(), value.end());
        block_.resize(block_.size() + padded - value.size());
    }

    bool big_endian_;
    std::vector<uint8_t> block_;
};

// Leaves out from the end what would be too much for a JPEG's segment.
void _limit(Directory* directory, size_t* left)
{
    while (TiffWriter::size_of(*directory) > *left && !directory->empty())
        directory->pop_back();
    *left -= std::min(*left, TiffWriter::size_of(*directory));
}

// An upright picture of 72 pixels to an inch whose chroma is centred, in sRGB.
void _add_what_every_jpeg_has(const TiffWriter& writer, Directories* directories)
{
    constexpr uint32_t kXResolutionTag = 0x011A, kYResolutionTag = 0x011B, kResolutionUnitTag = 0x0128;
    constexpr uint32_t kChromaPlaceTag = 0x0213, kVersionTag = 0x9000, kComponentsTag = 0x9101;
    constexpr uint32_t kFlashpixTag = 0xA000, kColourSpaceTag = 0xA001;
    Directory &main = directories->main, &exif = directories->exif;
    main.push_back(writer.entry(kOrientationTag, kTypeShort, {1}));
    main.push_back(writer.entry(kXResolutionTag, kTypeRational, {72, 1}));
    main.push_back(writer.entry(kYResolutionTag, kTypeRational, {72, 1}));
    main.push_back(writer.entry(kResolutionUnitTag, kTypeShort, {2}));
    main.push_back(writer.entry(kChromaPlaceTag, kTypeShort, {1}));
    exif.push_back(writer.entry(kVersionTag, kTypeBytesOnly, {'0', '2', '3', '2'}));
    exif.push_back(writer.entry(kComponentsTag, kTypeBytesOnly, {1, 2, 3, 0}));
    exif.push_back(writer.entry(kFlashpixTag, kTypeBytesOnly, {'0', '1', '0', '0'}));
    exif.push_back(writer.entry(kColourSpaceTag, kTypeShort, {1}));
}

}  // namespace

std::vector<uint8_t> carried_exif(const std::vector<uint8_t>& tiff, int32_t width, int32_t height)
{
    TiffReader reader(tiff.data(), tiff.size());
    if (!reader.read_byte_order())
        return {};
    Directories directories = _read_directories(reader);
    size_t left = kMaxCarriedBytes;
    for (Directory* each : {&directories.main, &directories.exif, &directories.gps})
        _limit(each, &left);
    TiffWriter writer(reader.is_big_endian());
    _add_what_every_jpeg_has(writer, &directories);
    directories.exif.push_back(writer.entry(kWidthTag, kTypeLong, {static_cast<uint32_t>(width)}));
    directories.exif.push_back(writer.entry(kHeightTag, kTypeLong, {static_cast<uint32_t>(height)}));
    const auto point_to = [&](uint32_t tag, size_t position) {
        directories.main.push_back(writer.entry(tag, kTypeLong, {static_cast<uint32_t>(position)}));
    };
    // The first directory comes first, and its size tells where the others follow.
    const bool has_gps = !directories.gps.empty();
    const size_t others =
        kTiffHeaderBytes + TiffWriter::size_of(directories.main) + (has_gps ? 2 : 1) * kEntryBytes;
    point_to(kExifDirectoryTag, others);
    if (has_gps)
        point_to(kGpsDirectoryTag, others + TiffWriter::size_of(directories.exif));
    writer.write(std::move(directories.main));
    writer.write(std::move(directories.exif));
    if (has_gps)
        writer.write(std::move(directories.gps));
    return writer.block();
}

std::optional<double> exif_heading(const std::vector<uint8_t>& tiff)
{
    TiffReader reader(tiff.data(), tiff.size());
    if (!reader.read_byte_order())
        return std::nullopt;
    const Directories directories = _read_directories(reader);
    const Entry* entry = _find(directories.gps, kGpsDirectionTag);
    if (entry == nullptr || entry->type != kTypeRational || entry->count != 1)
        return std::nullopt;
    const TiffReader value(entry->value.data(), entry->value.size(), reader.is_big_endian());
    const uint32_t numerator = value.number(0, 4), denominator = value.number(4, 4);
    const double degrees = denominator == 0 ? -1 : static_cast<double>(numerator) / denominator;
    return degrees >= 0 && degrees <= 360 ? std::optional<double>(degrees) : std::nullopt;
}

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
    // Where the upright pixel (x, y) is stored: from 5 on the axes are exchanged, then each axis
    // may be mirrored.
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
