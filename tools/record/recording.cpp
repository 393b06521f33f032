// Lines of a word and name=value fields. Everything is checked while it is read, so that a replay
// works with geometries that fit their bytes and with names that stay inside the folder.
#include "record/recording.h"

#include "base/names.h"
#include "base/program_error.h"
#include "media/picture.h"

#include <stdlib.h>
#include <string.h>
#include <zlib.h>

namespace ozr_pano
{

namespace
{

constexpr char kMark[] = "ozr-pano recording ";
constexpr char kVersion[] = "2";
constexpr char kFirstVersion[] = "1";  // knows no set_quality: all its sweeps are classic
constexpr char kLibrary[] = "library ";
constexpr char kReturned[] = "returned";
constexpr char kEnd[] = "end";
constexpr char kNoOffset[] = "none";
constexpr size_t kMaxTextBytes = size_t{16} << 20;
constexpr size_t kMaxNameBytes = 64;
constexpr int64_t kMaxStride = int64_t{1} << 20;

constexpr const char* kCallNames[] = {"set_parameters",         "set_quality", "stitch_one_image",
                                      "detect_frame_to_stitch", "run",         "reset"};

// A line taken apart. Fields are taken by name; one that is missing, broken or left over refuses
// the line.
class Line
{
public:
    Line(const std::string& text, int number) : number_(number)
    {
        size_t begin = text.find(' ');
        word_ = text.substr(0, begin);
        while (begin != std::string::npos) {
            const size_t end = text.find(' ', begin + 1);
            fields_.push_back(text.substr(begin + 1, end == std::string::npos ? end : end - begin - 1));
            begin = end;
        }
    }

    int number() const { return number_; }
    const std::string& word() const { return word_; }

    [[noreturn]] void refuse(const std::string& reason) const
    {
        fail("line %d: %s; the recording is damaged, fetch or record it again", number_, reason.c_str());
    }

    std::string take(const std::string& name)
    {
        for (size_t i = 0; i < fields_.size(); ++i) {
            if (fields_[i].compare(0, name.size() + 1, name + "=") == 0) {
                std::string value = fields_[i].substr(name.size() + 1);
                fields_.erase(fields_.begin() + static_cast<ptrdiff_t>(i));
                return value;
            }
        }
        refuse("there is no " + name + "=");
    }

    // The word that stands without a name at the front.
    int32_t take_first_number()
    {
        if (fields_.empty())
            refuse("a number is missing");
        const std::string text = fields_[0];
        fields_.erase(fields_.begin());
        return number(text, kReturned);
    }

    int32_t take_number(const std::string& name) { return number(take(name), name); }

    ozr_point point(const std::string& text, const std::string& name) const
    {
        const size_t comma = text.find(',');
        if (comma == std::string::npos)
            refuse(name + " is no pair of numbers");
        return {number(text.substr(0, comma), name), number(text.substr(comma + 1), name)};
    }

    uint32_t take_checksum()
    {
        const std::string text = take("crc32");
        if (text.size() != 8 || text.find_first_not_of("0123456789abcdef") != std::string::npos)
            refuse("crc32 has not eight hexadecimal digits");
        return static_cast<uint32_t>(strtoul(text.c_str(), nullptr, 16));
    }

    ozr_panorama_direction take_direction()
    {
        ozr_panorama_direction direction;
        if (!parse_direction(take("direction"), &direction))
            refuse("direction is none of auto, right, left, down, up");
        return direction;
    }

    ozr_panorama_quality take_quality()
    {
        ozr_panorama_quality quality;
        if (!parse_quality(take("quality"), &quality))
            refuse("quality is none of classic, refined");
        return quality;
    }

    // Refuses fields that nobody took.
    void close() const
    {
        if (!fields_.empty())
            refuse("nothing is known about \"" + fields_[0].substr(0, kMaxNameBytes) + "\"");
    }

private:
    int32_t number(const std::string& text, const std::string& name) const
    {
        const size_t sign = !text.empty() && text[0] == '-' ? 1 : 0;
        const bool is_number = text.size() > sign && text.size() <= sign + 10 &&
                               text.find_first_not_of("0123456789", sign) == std::string::npos;
        const long long value = is_number ? strtoll(text.c_str(), nullptr, 10) : 0;
        if (!is_number || value < INT32_MIN || value > INT32_MAX)
            refuse(name + " is no number of 32 bits");
        return static_cast<int32_t>(value);
    }

    int number_;
    std::string word_;
    std::vector<std::string> fields_;
};

// Bytes of a row of the first plane.
int64_t _row_bytes(const ozr_image& image)
{
    switch (image.format) {
    case ozr_image_format_rgba32:
        return int64_t{image.width} * 4;
    case ozr_image_format_yuy2:
        return int64_t{image.width} * 2;
    default:
        return image.width;
    }
}

// Bytes of all planes.
int64_t _plane_bytes(const ozr_image& image)
{
    const int64_t luma = int64_t{image.stride} * image.height;
    const bool has_chroma = image.format == ozr_image_format_nv12 || image.format == ozr_image_format_nv21 ||
                            image.format == ozr_image_format_yv12;
    return has_chroma ? luma * 3 / 2 : luma;
}

RecordedImage _take_image(Line& line)
{
    RecordedImage image;
    ozr_image& geometry = image.geometry;
    if (!parse_format(line.take("format"), &geometry.format))
        line.refuse("format is none of nv12, nv21, yv12, yuy2, gray, rgba");
    geometry.width = line.take_number("width");
    geometry.height = line.take_number("height");
    geometry.stride = line.take_number("stride");
    geometry.size = line.take_number("size");
    image.checksum = line.take_checksum();
    if (!is_sane_picture_size(geometry.width, geometry.height))
        line.refuse("the image has an impossible size");
    if (geometry.stride < _row_bytes(geometry) || geometry.stride > kMaxStride)
        line.refuse("the stride does not fit the width");
    if (geometry.size < _plane_bytes(geometry))
        line.refuse("size is less than width, height, stride and format need");
    return image;
}

// A file beside the text: plain letters, so that it cannot lead out of the folder.
std::string _take_file(Line& line)
{
    std::string name = line.take("file");
    const bool is_plain = !name.empty() && name.size() <= kMaxNameBytes && name[0] != '.' &&
                          name.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                                 "0123456789._-") == std::string::npos;
    if (!is_plain)
        line.refuse("file is no plain name");
    return name;
}

RecordedCall _parse_call(Line& line)
{
    RecordedCall call;
    call.line = line.number();
    size_t kind = 0;
    while (kind < std::size(kCallNames) && line.word() != kCallNames[kind])
        ++kind;
    if (kind == std::size(kCallNames))
        line.refuse("\"" + line.word().substr(0, kMaxNameBytes) + "\" is no call");
    call.kind = static_cast<CallKind>(kind);
    if (call.kind == CallKind::set_parameters)
        call.parameters = {line.take_number("overlap"), line.take_direction()};
    if (call.kind == CallKind::set_quality)
        call.quality = line.take_quality();
    if (call.kind == CallKind::stitch_one_image || call.kind == CallKind::detect_frame_to_stitch) {
        const std::string file = _take_file(line);
        call.image = _take_image(line);
        call.image.file = file;
    }
    if (call.kind == CallKind::stitch_one_image) {
        const std::string offset = line.take("offset");
        call.has_offset = offset != kNoOffset;
        if (call.has_offset)
            call.offset = line.point(offset, "offset");
    }
    line.close();
    return call;
}

void _parse_result(Line& line, RecordedCall* call)
{
    call->has_result = true;
    call->result = line.take_first_number();
    if (call->kind == CallKind::detect_frame_to_stitch && call->result >= 0) {
        call->found_offset = line.point(line.take("offset"), "offset");
        call->found_direction = line.take_direction();
    }
    if (call->kind == CallKind::run && call->result == ozr_success)
        call->panorama = _take_image(line);
    line.close();
}

// Takes the lines one by one; comments and empty lines are passed over.
class LineReader
{
public:
    explicit LineReader(const std::string& text) : text_(text) {}

    bool next(std::string* line)
    {
        while (position_ < text_.size()) {
            const size_t end = text_.find('\n', position_);
            ++number_;
            if (end == std::string::npos)
                fail("line %d is cut off; the recording is damaged, fetch or record it again", number_);
            *line = text_.substr(position_, end - position_);
            position_ = end + 1;
            if (!line->empty() && (*line)[0] != '#')
                return true;
        }
        return false;
    }

    int number() const { return number_; }

private:
    const std::string& text_;
    size_t position_ = 0;
    int number_ = 0;
};

void _read_head(LineReader& lines, Recording* recording)
{
    std::string line;
    if (!lines.next(&line) || line.compare(0, strlen(kMark), kMark) != 0)
        fail("this is no recording: it does not begin with \"%s%s\"; name the folder that --record wrote",
             kMark, kVersion);
    const std::string version = line.substr(strlen(kMark));
    if (version != kVersion && version != kFirstVersion)
        fail("the recording has format %.20s, this program reads formats %s and %s; replay it with the "
             "ozr-pano that belongs to it",
             version.c_str(), kFirstVersion, kVersion);
    if (!lines.next(&line) || line.compare(0, strlen(kLibrary), kLibrary) != 0)
        fail("line %d does not name the library; the recording is damaged, fetch or record it again",
             lines.number());
    recording->library = line.substr(strlen(kLibrary));
}

std::string _image_text(const RecordedImage& image)
{
    const ozr_image& geometry = image.geometry;
    char text[200];
    snprintf(text, sizeof(text), " format=%s width=%d height=%d stride=%d size=%d crc32=%08x",
             format_name(geometry.format), geometry.width, geometry.height, geometry.stride, geometry.size,
             image.checksum);
    return text;
}

std::string _point_text(const ozr_point& point)
{
    return std::to_string(point.x) + "," + std::to_string(point.y);
}

}  // namespace

const char* call_name(CallKind kind)
{
    return kCallNames[static_cast<size_t>(kind)];
}

uint32_t checksum_of(const uint8_t* data, size_t size)
{
    return static_cast<uint32_t>(crc32(crc32(0, nullptr, 0), data, static_cast<uInt>(size)));
}

std::string recording_head(const std::string& library)
{
    return std::string(kMark) + kVersion + "\n" + kLibrary + library + "\n";
}

std::string call_text(const RecordedCall& call)
{
    std::string text = call_name(call.kind);
    if (call.kind == CallKind::set_parameters)
        text += " overlap=" + std::to_string(call.parameters.overlapping_ratio) +
                " direction=" + direction_name(call.parameters.direction);
    if (call.kind == CallKind::set_quality)
        text += std::string(" quality=") + quality_name(call.quality);
    if (!call.image.file.empty())
        text += " file=" + call.image.file + _image_text(call.image);
    if (call.kind == CallKind::stitch_one_image)
        text += " offset=" + (call.has_offset ? _point_text(call.offset) : kNoOffset);
    return text + "\n";
}

std::string result_text(const RecordedCall& call)
{
    std::string text = std::string(kReturned) + " " + std::to_string(call.result);
    if (call.kind == CallKind::detect_frame_to_stitch && call.result >= 0)
        text += " offset=" + _point_text(call.found_offset) +
                " direction=" + direction_name(call.found_direction);
    if (call.kind == CallKind::run && call.result == ozr_success)
        text += _image_text(call.panorama);
    return text + "\n";
}

std::string recording_end()
{
    return std::string(kEnd) + "\n";
}

Recording parse_recording(const std::string& text)
{
    if (text.size() > kMaxTextBytes)
        fail("the text has more than %zu MiB; split the recording", kMaxTextBytes >> 20);
    Recording recording;
    LineReader lines(text);
    _read_head(lines, &recording);
    std::vector<RecordedCall>& calls = recording.calls;
    std::string content;
    while (lines.next(&content)) {
        Line line(content, lines.number());
        const bool awaits_result = !calls.empty() && !calls.back().has_result;
        if (recording.complete)
            line.refuse("there is more behind the end");
        if (line.word() == kReturned) {
            if (!awaits_result)
                line.refuse("a result without its call");
            _parse_result(line, &calls.back());
        } else if (awaits_result) {
            line.refuse("the call before has no result");
        } else if (line.word() == kEnd) {
            line.close();
            recording.complete = true;
        } else {
            calls.push_back(_parse_call(line));
        }
    }
    return recording;
}

}  // namespace ozr_pano
