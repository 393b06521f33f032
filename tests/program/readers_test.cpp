// The readers of foreign bytes: what is odd is read, what is broken is refused with its reason.
#include "media/exif.h"
#include "media/image_owner.h"
#include "media/jpeg_codec.h"
#include "media/picture_io.h"
#include "media/png_codec.h"
#include "media/y4m.h"
#include "record/recording.h"
#include "support/program.h"
#include "support/random.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>

using namespace ozr_pano;

namespace
{

// Bytes of a number, the highest first.
std::string _number(size_t value, int bytes)
{
    std::string text;
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
        text += static_cast<char>(value >> shift);
    return text;
}

// Directories of a TIFF block, written plainly: each entry is tag, type, count and the bytes of its
// value.
struct PlainEntry {
    size_t tag, type, count;
    std::string value;
};

class PlainBlock
{
public:
    explicit PlainBlock(bool big_endian, size_t directory = 8, const std::string& gap = "")
        : big_endian_(big_endian)
    {
        text_ = std::string(2, big_endian ? 'M' : 'I') + number(42, 2) + number(directory, 4) + gap;
    }

    std::string number(size_t value, int bytes) const
    {
        const std::string text = _number(value, bytes);
        return big_endian_ ? text : std::string(text.rbegin(), text.rend());
    }

    // Values behind the directory.
    void add(const std::vector<PlainEntry>& entries, size_t next = 0)
    {
        text_ += number(entries.size(), 2);
        size_t at = text_.size() + entries.size() * 12 + 4;
        std::string values;
        for (const PlainEntry& entry : entries) {
            text_ += number(entry.tag, 2) + number(entry.type, 2) + number(entry.count, 4);
            text_ += entry.value.size() > 4 ? number(at + values.size(), 4)
                                            : entry.value + std::string(4 - entry.value.size(), '\0');
            values += entry.value.size() > 4 ? entry.value : "";
        }
        text_ += number(next, 4) + values;
    }

    const std::string& text() const { return text_; }
    std::vector<uint8_t> bytes() const { return {text_.begin(), text_.end()}; }
    size_t size() const { return text_.size(); }

private:
    bool big_endian_;
    std::string text_;
};

// Another tag and the orientation, behind an unused gap; nothing about a next directory.
std::string _exif_block(bool big_endian, size_t directory, size_t type, size_t orientation)
{
    PlainBlock block(big_endian, directory, "gap.");
    block.add({{0x110, type, 1, block.number(7, 2)}, {0x112, type, 1, block.number(orientation, 2)}});
    return block.text().substr(0, block.size() - 4);
}

TEST(Exif, FindsTheOrientationAndNothingInBrokenBlocks)
{
    const auto orientation_of = [](const std::string& block) {
        // An exact copy, so that a sanitizer sees every read behind it.
        const std::vector<uint8_t> bytes(block.begin(), block.end());
        return exif_orientation(bytes.data(), bytes.size());
    };
    for (const bool big_endian : {true, false}) {
        for (int value = 0; value <= 9; ++value) {
            const std::string block = _exif_block(big_endian, 12, 3, static_cast<size_t>(value));
            EXPECT_EQ(orientation_of(block), value >= 1 && value <= 8 ? value : 1);
            // Cut before the value's end.
            for (size_t left = 3; left <= block.size(); ++left)
                EXPECT_EQ(orientation_of(block.substr(0, block.size() - left)), 1) << left;
        }
        for (const size_t directory : {0xFFFFFFFFU, 0x80000000U, 40U, 13U})
            EXPECT_EQ(orientation_of(_exif_block(big_endian, directory, 3, 6)), 1) << directory;
        EXPECT_EQ(orientation_of(_exif_block(big_endian, 12, 4, 6)), 1) << "of another type";
    }
}

// Of a block that is cut anywhere, or has any byte at an extreme, something sound is carried over,
// or nothing.
void _expect_sound_remains(const std::vector<uint8_t>& block)
{
    for (size_t i = 0; i < block.size(); ++i) {
        for (const int byte : {-1, 0, 1, 255}) {
            std::vector<uint8_t> broken = block;
            if (byte < 0)
                broken.resize(i);
            else
                broken[i] = static_cast<uint8_t>(byte);
            const std::vector<uint8_t> rest = carried_exif(broken, 4000, 500);
            ASSERT_EQ(carried_exif(rest, 4000, 500), rest) << i << " " << byte;
            ASSERT_EQ(exif_orientation(rest.data(), rest.size()), 1);
        }
    }
}

TEST(Exif, CarriesOverCameraTimeAndPlaceAlone)
{
    for (const bool big_endian : {true, false}) {
        PlainBlock plain(big_endian);
        const std::string seconds = plain.number(7, 4) + plain.number(2, 4);
        const auto pointer = [&](size_t tag, size_t at) {
            return PlainEntry{tag, 4, 1, plain.number(at, 4)};
        };
        const PlainEntry make = {0x10F, 2, 6, std::string("Ozric\0", 6)},
                         model = {0x110, 2, 2, std::string("X\0", 2)},
                         time = {0x9003, 2, 20, std::string("2026:11:22 10:20:30\0", 20)},
                         exposure = {0x829A, 5, 1, seconds}, note = {0x927C, 7, 8, "secrets!"},
                         latitude = {2, 5, 1, seconds}, direction = {0x11, 5, 1, seconds},
                         orientation = {0x112, 3, 1, plain.number(6, 2)},
                         width = {0xA002, 4, 1, seconds.substr(0, 4)};
        // A thumbnail's directory, a maker's note, the size of the picture, a
        // value of an unknown type.
        const size_t at = 8, main = 2 + 5 * 12 + 4 + 6, exif = 2 + 5 * 12 + 4 + 8 + 20 + 8;
        plain.add({make, model, orientation, pointer(0x8769, at + main), pointer(0x8825, at + main + exif)},
                  5);
        ASSERT_EQ(plain.size(), at + main);
        plain.add({exposure, time, note, width, {0x829D, 13, 1, "wxyz"}});
        ASSERT_EQ(plain.size(), at + main + exif);
        plain.add({latitude, direction, {0x99, 1, 1, "x"}});

        PlainBlock want(big_endian);
        const auto numbers = [&](std::initializer_list<size_t> values, int bytes) {
            std::string text;
            for (const size_t value : values)
                text += want.number(value, bytes);
            return text;
        };
        const size_t first = 2 + 9 * 12 + 4 + 6 + 8 + 8, second = 2 + 8 * 12 + 4 + 8 + 20;
        want.add({make,
                  model,
                  {0x112, 3, 1, numbers({1}, 2)},
                  {0x11A, 5, 1, numbers({72, 1}, 4)},
                  {0x11B, 5, 1, numbers({72, 1}, 4)},
                  {0x128, 3, 1, numbers({2}, 2)},
                  {0x213, 3, 1, numbers({1}, 2)},
                  pointer(0x8769, at + first),
                  pointer(0x8825, at + first + second)});
        want.add({exposure,
                  {0x9000, 7, 4, "0232"},
                  time,
                  {0x9101, 7, 4, std::string("\1\2\3\0", 4)},
                  {0xA000, 7, 4, "0100"},
                  {0xA001, 3, 1, numbers({1}, 2)},
                  {0xA002, 4, 1, numbers({4000}, 4)},
                  {0xA003, 4, 1, numbers({500}, 4)}});
        want.add({latitude, direction});
        const std::vector<uint8_t> block = plain.bytes(), carried = carried_exif(block, 4000, 500);
        EXPECT_EQ(carried, want.bytes());
        EXPECT_EQ(exif_heading(block), 3.5);
        EXPECT_EQ(exif_heading(carried), 3.5);
        _expect_sound_remains(block);
    }
    EXPECT_TRUE(carried_exif({}, 1, 1).empty());
}

TEST(Exif, TurnsEachOrientationUpright)
{
    // Upright: "ab" over "cd" over "ef". What a camera stores for each orientation, row by row.
    const struct {
        int orientation, width;
        const char* stored;
    } cases[] = {{1, 2, "abcdef"}, {2, 2, "badcfe"}, {3, 2, "fedcba"}, {4, 2, "efcdab"},
                 {5, 3, "acebdf"}, {6, 3, "bdface"}, {7, 3, "fdbeca"}, {8, 3, "ecafdb"}};
    for (const auto& example : cases) {
        SCOPED_TRACE(example.orientation);
        Picture stored(example.width, 6 / example.width);
        for (size_t i = 0; i < 6; ++i)
            stored.rgba[4 * i] = static_cast<uint8_t>(example.stored[i]);
        const Picture upright = turn_upright(stored, example.orientation);
        ASSERT_EQ(upright.width, 2);
        ASSERT_EQ(upright.height, 3);
        for (size_t i = 0; i < 6; ++i)
            EXPECT_EQ(upright.rgba[4 * i], "abcdef"[i]) << i;
    }
}

using Readers = FolderTest;

std::string _text(const std::vector<uint8_t>& bytes)
{
    return std::string(bytes.begin(), bytes.end());
}

// A JPEG up to where its pixels would begin.
std::string _jpeg_head(size_t width, size_t height, int components)
{
    std::string frame = '\x08' + _number(height, 2) + _number(width, 2) + static_cast<char>(components), scan;
    for (int i = 1; i <= components; ++i) {
        frame += std::string{static_cast<char>(i), '\x11', '\0'};
        scan += std::string{static_cast<char>(i), '\0'};
    }
    return "\xFF\xD8\xFF\xC0" + _number(frame.size() + 2, 2) + frame + "\xFF\xDA" +
           _number(scan.size() + 6, 2) + static_cast<char>(components) + scan + std::string("\0?\0", 3);
}

// A JPEG's segment with an Exif block.
std::string _exif_segment(const std::string& block)
{
    return "\xFF\xE1" + _number(block.size() + 8, 2) + std::string("Exif\0\0", 6) + block;
}

// A PNG's chunk.
std::string _chunk(const std::string& type, const std::string& data)
{
    const std::string checked = type + data;
    const uint32_t check = checksum_of(reinterpret_cast<const uint8_t*>(checked.data()), checked.size());
    return _number(data.size(), 4) + checked + _number(check, 4);
}

TEST_F(Readers, TakeOddPicturesAndRefuseBrokenOnes)
{
    // The upper half is red, the lower one blue.
    Picture flag(32, 16);
    for (size_t i = 0; i < flag.rgba.size(); ++i)
        flag.rgba[i] = i % 4 == 3 || i % 4 == (i < flag.rgba.size() / 2 ? 0 : 2) ? 255 : 0;
    const std::string jpeg = _text(encode_jpeg(flag, 95)), png = _text(encode_png(flag));
    const std::string turn = _exif_block(true, 12, 3, 6), flip = _exif_block(false, 12, 3, 3);
    const std::string start = jpeg.substr(0, 2), body = jpeg.substr(2);
    const std::string mark = png.substr(0, 8), head = png.substr(0, 33), rest = png.substr(33);
    const auto png_of_size = [&](size_t width, size_t height) {
        return mark +
               _chunk("IHDR", _number(width, 4) + _number(height, 4) + std::string("\x08\x02\0\0\0", 5)) +
               rest;
    };
    const std::string too_many = " pixels are too many; scale it down to 16384 a side and 64 million in all";
    const struct {
        const char* what;
        std::string bytes, want;  // what is read, or the reason
    } files[] = {
        {"JPEG", jpeg, "32x16 red"},
        {"PNG", png, "32x16 red"},
        {"bytes behind the JPEG", jpeg + "junk", "32x16 red"},
        {"bytes behind the PNG", png + "junk", "32x16 red"},
        {"bytes between segments", start + _exif_segment("") + "junk" + body, "32x16 red"},
        {"a later JFIF", jpeg.substr(0, 11) + "\x09" + jpeg.substr(12), "32x16 red"},
        {"turned JPEG", start + _exif_segment(turn) + body, "16x32 blue"},
        {"two Exif segments", start + _exif_segment("") + _exif_segment(flip) + body, "32x16 blue"},
        {"turned PNG", head + _chunk("eXIf", turn) + rest, "16x32 blue"},
        {"PNG turned behind its pixels",
         png.substr(0, png.size() - 12) + _chunk("eXIf", flip) + _chunk("IEND", ""), "32x16 blue"},
        {"CMYK", _jpeg_head(8, 8, 4), "a JPEG in CMYK colours is not supported; save it in RGB"},
        {"JPEG of no size", _jpeg_head(8, 0, 3), "broken JPEG: "},
        {"JPEG of too many pixels", _jpeg_head(8193, 8192, 1), "8193x8192" + too_many},
        {"JPEG cut off", jpeg.substr(0, jpeg.size() - 9), "broken JPEG: "},
        {"JPEG's first bytes", jpeg.substr(0, 3), "broken JPEG: "},
        {"too few of them", start, "neither a JPEG nor a PNG picture; convert it to one of them"},
        {"PNG of too many pixels", png_of_size(16384, 4097), "16384x4097" + too_many},
        {"PNG with too wide rows", png_of_size(16385, 1), "16385x1" + too_many},
        {"PNG of no size", png_of_size(0, 1), "broken PNG: "},
        {"another checksum", head.substr(0, 32) + static_cast<char>(~head[32]) + rest, "broken PNG: "},
        {"a claim of 2 GiB", head + "\x7F\xFF\xFF\xFFtEXt" + rest,
         "broken PNG: a chunk ends behind the file"},
        {"a claim one too large", head + _number(2, 4) + "tEXta", "broken PNG: a chunk ends behind the file"},
        {"PNG's mark", mark, "broken PNG: "},
        {"too little of it", png.substr(0, 7), "neither a JPEG nor a PNG picture"},
    };
    for (const auto& file : files) {
        SCOPED_TRACE(file.what);
        write_text("a", file.bytes);
        std::string is;
        try {
            const Picture picture = read_picture("a");
            is = std::to_string(picture.width) + "x" + std::to_string(picture.height);
            is += picture.rgba[0] > 200 && picture.rgba[2] < 60 ? " red"
                  : picture.rgba[2] > 200                       ? " blue"
                                                                : "";
        } catch (const ProgramError& error) {
            EXPECT_EQ(std::string(error.what()).substr(0, 3), "a: ");
            is = std::string(error.what()).substr(3, file.want.size());
        }
        EXPECT_EQ(is, file.want);
    }
    EXPECT_TRUE(is_sane_picture_size(16384, 4096));
    EXPECT_TRUE(is_sane_picture_size(8192, 8192));
    expect_error([] { encode_jpeg(Picture(65501, 1), 90); },
                 "65501x1 pixels are too many for a JPEG; name a .png");
    expect_error([] { encode_jpeg(Picture(1, 65501), 90); }, "1x65501 pixels are too many for a JPEG");
}

TEST(FileError, NamesARemedy)
{
    using Remedy = std::pair<int, const char*>;
    for (const auto& [error, remedy] :
         {Remedy{ENOENT, "check the name"}, Remedy{EISDIR, "name a file, not a folder"},
          Remedy{ENOTDIR, "a part of the path is no folder"}, Remedy{EROFS, "change its permissions"},
          Remedy{EDQUOT, "make room"}, Remedy{EIO, "try again"}})
        expect_error([error = error] { fail_file("a", "read", error); },
                     std::string(strerror(error)) + "; " + remedy);
}

TEST(ImageOwner, ShowsTheEvenPartOfOddImages)
{
    Random random(9);
    std::vector<uint8_t> bytes(16 * 14);
    std::generate(bytes.begin(), bytes.end(), [&] { return random.byte(); });
    const ozr_image odd = {bytes.data(), 16 * 14, 13, 9, ozr_image_format_nv12, 16, 0};
    ImageOwner even(12, 8);
    for (int32_t y = 0; y < 12; ++y)
        memcpy(even.get()->data + y * even.get()->stride,
               &bytes[static_cast<size_t>(16 * (y < 8 ? y : y + 1))], 12);
    const Picture picture = convert_to_picture(odd);
    EXPECT_TRUE(picture.width == 12 && picture.height == 8);
    EXPECT_EQ(picture.rgba, convert_to_picture(*even.get()).rgba);
}

// Opens a stream of these bytes for reading.
std::unique_ptr<FILE, int (*)(FILE*)> _opened(const std::string& bytes)
{
    std::unique_ptr<FILE, int (*)(FILE*)> file(tmpfile(), fclose);
    fwrite(bytes.data(), 1, bytes.size(), file.get());
    rewind(file.get());
    return file;
}

TEST(Y4m, ReadsThePlanesOfEachFrame)
{
    Random random(8);
    for (const std::string chroma : {"", " C420", " C420jpeg", " C420mpeg2", " C420paldv"}) {
        const int32_t width = 2 + random.below(9), height = 2 + random.below(9), pairs = (width + 1) / 2;
        const size_t luma = static_cast<size_t>(width * height),
                     plane = static_cast<size_t>(pairs * ((height + 1) / 2));
        std::string stream = "YUV4MPEG2  Ip W" + std::to_string(width) + " H" + std::to_string(height) +
                             chroma + " F30:1\n",
                    frames[3];
        for (std::string& frame : frames) {
            for (size_t i = 0; i < luma + 2 * plane; ++i)
                frame += static_cast<char>(random.byte());
            stream += (&frame == frames ? "FRAME\n" : "FRAME Ip Xa\n") + frame;
        }
        const auto file = _opened(stream);
        Y4mReader reader(file.get(), "clip");
        ASSERT_TRUE(reader.width() == width && reader.height() == height);
        ImageOwner owner(width & ~1, height & ~1);
        const ozr_image& image = *owner.get();
        for (const std::string& frame : frames) {
            ASSERT_TRUE(reader.read_frame(owner.get()));
            const auto at = [&](size_t index) { return static_cast<uint8_t>(frame[index]); };
            for (int32_t i = 0; i < image.width * image.height; ++i) {
                const int32_t x = i % image.width, y = i / image.width;
                const uint8_t* row = image.data + y * image.stride;
                const uint8_t* pair = image.data + (image.height + y / 2) * image.stride;
                ASSERT_EQ(row[x], at(static_cast<size_t>(y * width + x)));
                const size_t index = static_cast<size_t>(y / 2 * pairs + x / 2);
                ASSERT_EQ(pair[x], at(luma + static_cast<size_t>(x % 2) * plane + index));
            }
        }
        ASSERT_FALSE(reader.read_frame(owner.get()));
        for (const size_t cut : {size_t{1}, plane, plane + 1, 2 * plane + 1, 2 * plane + luma + 1}) {
            const auto part = _opened(stream.substr(0, stream.size() - cut));
            Y4mReader cut_reader(part.get(), "clip");
            EXPECT_TRUE(cut_reader.read_frame(owner.get()) && cut_reader.read_frame(owner.get()));
            expect_error([&] { cut_reader.read_frame(owner.get()); },
                         "clip: the stream is cut off in frame 2");
        }
    }
    const std::string longest = "YUV4MPEG2 W2 H2 X" + std::string(4096 - 17, 'a');
    EXPECT_EQ(Y4mReader(_opened(longest + "\n").get(), "clip").width(), 2);
    EXPECT_EQ(Y4mReader(_opened("YUV4MPEG2 W2 H16384\n").get(), "clip").height(), 16384);
    expect_error([&] { Y4mReader(_opened(longest + "a\n").get(), "clip"); }, "not a YUV4MPEG2 stream");
}

TEST(Y4m, RefusesBrokenHeaders)
{
    const auto expect_refusal = [](const std::string& header, const char* message) {
        SCOPED_TRACE(header);
        expect_error([&] { Y4mReader(_opened(header).get(), "clip"); }, message);
    };
    for (const char* header : {"", "\n", "YUV4MPEG2 W320 H240", "YUV4MPEG2W320 H240\n"})
        expect_refusal(header, "clip: not a YUV4MPEG2 stream");
    const std::string head = "YUV4MPEG2 ";
    for (const char* size :
         {"", "W320", "W0 H240", "W1 H1", "W-2 H2", "W2x H2", "W0000000002 H2", "W2 H1", "W1 H2", "W16385 H2",
          "W8192 H8193", "W99999999999999999999 H2", "W16384 H16384"})
        expect_refusal(head + size + "\n", "clip: frames of an impossible size");
    expect_refusal(head + "W320 H240 C422\n", "clip: chroma 422 is not supported");
    expect_refusal(head + "W320 H240 C420p10\n", "clip: chroma 420p10 is not supported");
}

}  // namespace
