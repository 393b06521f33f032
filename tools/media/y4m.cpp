// YUV4MPEG2: a header line of fields, then frames of a line and three planes.
#include "media/y4m.h"

#include "base/program_error.h"
#include "media/picture.h"

#include <errno.h>
#include <string.h>

namespace ozr_pano
{

namespace
{

constexpr size_t kMaxLineBytes = 4096;
constexpr char kStreamMark[] = "YUV4MPEG2";
constexpr char kFrameMark[] = "FRAME";
// The kinds of 4:2:0 with 8 bits a sample; they differ in where chroma is sited, by less than a
// pixel.
constexpr const char* kAcceptedChroma[] = {"420", "420jpeg", "420mpeg2", "420paldv"};

bool _is_accepted_chroma(const char* chroma)
{
    for (const char* accepted : kAcceptedChroma) {
        if (strcmp(chroma, accepted) == 0)
            return true;
    }
    return false;
}

// A plain decimal number; -1 for anything else and for more than nine digits.
int64_t _parse_number(const std::string& digits)
{
    if (digits.empty() || digits.size() > 9 || digits.find_first_not_of("0123456789") != std::string::npos)
        return -1;
    int64_t value = 0;
    for (const char digit : digits)
        value = value * 10 + (digit - '0');
    return value;
}

// The fields of a line after its mark, which must be the first word.
bool _split_line(const std::string& line, const char* mark, std::vector<std::string>* fields)
{
    size_t start = line.find(' ');
    if (line.substr(0, start) != mark)
        return false;
    while (start != std::string::npos) {
        const size_t end = line.find(' ', start + 1);
        const std::string field = line.substr(start + 1, end == std::string::npos ? end : end - start - 1);
        if (!field.empty())
            fields->push_back(field);
        start = end;
    }
    return true;
}

}  // namespace

Y4mReader::Y4mReader(FILE* file, std::string name) : file_(file), name_(std::move(name))
{
    std::string line;
    std::vector<std::string> fields;
    if (!read_line(&line) || !_split_line(line, kStreamMark, &fields))
        fail("%s: not a YUV4MPEG2 stream; convert it with ffmpeg -pix_fmt yuv420p -f yuv4mpegpipe",
             name_.c_str());
    int64_t width = 0, height = 0;
    for (const std::string& field : fields) {
        if (field[0] == 'W')
            width = _parse_number(field.substr(1));
        if (field[0] == 'H')
            height = _parse_number(field.substr(1));
        if (field[0] == 'C' && !_is_accepted_chroma(field.c_str() + 1))
            fail("%s: chroma %.20s is not supported, only 8-bit 4:2:0; convert with ffmpeg -pix_fmt yuv420p",
                 name_.c_str(), field.c_str() + 1);
    }
    // Below two pixels nothing is left after rounding down to even sizes.
    if (width < 2 || height < 2 || !is_sane_picture_size(width, height))
        fail("%s: frames of an impossible size; scale them to at most 16384 pixels a side", name_.c_str());
    width_ = static_cast<int32_t>(width);
    height_ = static_cast<int32_t>(height);
    const size_t chroma_bytes = static_cast<size_t>((width + 1) / 2 * ((height + 1) / 2));
    luma_.resize(static_cast<size_t>(width * height));
    u_.resize(chroma_bytes);
    v_.resize(chroma_bytes);
}

bool Y4mReader::read_line(std::string* line)
{
    line->clear();
    for (;;) {
        const int c = fgetc(file_);
        if (c == EOF && ferror(file_) != 0)
            fail_file(name_, "read", errno);
        if (c == EOF)
            return false;
        if (c == '\n')
            return true;
        if (line->size() == kMaxLineBytes)
            return false;
        line->push_back(static_cast<char>(c));
    }
}

void Y4mReader::read_plane(std::vector<uint8_t>* plane)
{
    if (fread(plane->data(), 1, plane->size(), file_) == plane->size())
        return;
    if (ferror(file_) != 0)
        fail_file(name_, "read", errno);
    fail("%s: the stream is cut off in frame %u; make or fetch it again", name_.c_str(), frames_);
}

bool Y4mReader::read_frame(ozr_image* frame)
{
    std::string line;
    std::vector<std::string> fields;
    if (!read_line(&line)) {
        if (line.empty())
            return false;
        fail("%s: the stream is cut off in frame %u; make or fetch it again", name_.c_str(), frames_);
    }
    if (!_split_line(line, kFrameMark, &fields))
        fail("%s: no frame where frame %u should begin; make or fetch it again", name_.c_str(), frames_);
    read_plane(&luma_);
    read_plane(&u_);
    read_plane(&v_);
    ++frames_;

    const size_t luma_stride = static_cast<size_t>(width_), chroma_stride = (luma_stride + 1) / 2;
    uint8_t* out = frame->data;
    for (int32_t y = 0; y < frame->height; ++y, out += frame->stride)
        memcpy(out, luma_.data() + static_cast<size_t>(y) * luma_stride, static_cast<size_t>(frame->width));
    for (int32_t y = 0; y < frame->height / 2; ++y, out += frame->stride) {
        const uint8_t* u = u_.data() + static_cast<size_t>(y) * chroma_stride;
        const uint8_t* v = v_.data() + static_cast<size_t>(y) * chroma_stride;
        for (int32_t x = 0; x < frame->width / 2; ++x) {
            out[2 * x] = u[x];
            out[2 * x + 1] = v[x];
        }
    }
    return true;
}

}  // namespace ozr_pano
