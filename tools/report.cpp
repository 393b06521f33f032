// The summary of a run, as text and as JSON.
#include "report.h"

#include <stdio.h>

namespace
{

void _print_picture(const PictureEntry& picture, size_t index, size_t name_width)
{
    printf("%7zu  %-*s", index, static_cast<int>(name_width), picture.source.c_str());
    if (picture.has_offset)
        printf("  %+6d %+5d", picture.offset.x, picture.offset.y);
    if (picture.has_truth)
        printf("   %+8.1f %+6.1f   %+6.1f %+6.1f", picture.truth_x, picture.truth_y,
               picture.offset.x - picture.truth_x, picture.offset.y - picture.truth_y);
    putchar('\n');
}

void _print_table(const Report& report)
{
    size_t name_width = 5;
    bool offsets = false, truths = false;
    for (const PictureEntry& picture : report.pictures) {
        name_width = std::max(name_width, picture.source.size());
        offsets |= picture.has_offset;
        truths |= picture.has_truth;
    }
    printf("%s: direction %s, %zu pictures of %dx%d", report.command.c_str(),
           direction_name(report.direction), report.pictures.size(), report.picture_width,
           report.picture_height);
    if (report.previews > 0)
        printf(", %d previews", report.previews);
    printf("\npicture  %-*s%s%s\n", static_cast<int>(name_width), "from", offsets ? "  offset (x y)" : "",
           truths ? "   truth (x y)        error (x y)" : "");
    for (size_t i = 0; i < report.pictures.size(); ++i)
        _print_picture(report.pictures[i], i, name_width);
}

/** Length of the well-formed UTF-8 sequence at text[i], 0 if there is none. */
size_t _utf8_length(const std::string& text, size_t i)
{
    const auto byte = [&](size_t at) { return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U; };
    const unsigned first = byte(i);
    const size_t length = first < 0x80                    ? 1
                          : first >= 0xC2 && first < 0xE0 ? 2
                          : first >= 0xE0 && first < 0xF0 ? 3
                          : first >= 0xF0 && first < 0xF5 ? 4
                                                          : 0;
    for (size_t k = 1; k < length; ++k) {
        if ((byte(i + k) & 0xC0) != 0x80)
            return 0;
    }
    // Overlong forms, surrogates and what lies beyond the last plane.
    const unsigned second = byte(i + 1);
    if ((first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
        (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F))
        return 0;
    return length;
}

/** A JSON string; file names may hold any bytes, what is no UTF-8 becomes the replacement character. */
std::string _quoted(const std::string& text)
{
    std::string out = "\"";
    for (size_t i = 0; i < text.size();) {
        const size_t length = _utf8_length(text, i);
        const char c = text[i];
        if (length == 0) {
            out += "\\ufffd";
        } else if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char escape[8];
            snprintf(escape, sizeof(escape), "\\u%04x", static_cast<unsigned>(c));
            out += escape;
        } else {
            out += text.substr(i, length);
        }
        i += std::max<size_t>(length, 1);
    }
    return out + '"';
}

void _print_json_pictures(const std::vector<PictureEntry>& pictures)
{
    const char* separator = "";
    for (const PictureEntry& picture : pictures) {
        printf("%s{\"from\":%s", separator, _quoted(picture.source).c_str());
        if (picture.has_offset)
            printf(",\"offset\":[%d,%d]", picture.offset.x, picture.offset.y);
        if (picture.has_truth)
            printf(",\"truth\":[%.2f,%.2f]", picture.truth_x, picture.truth_y);
        putchar('}');
        separator = ",";
    }
}

void _print_json(const Report& report)
{
    printf("{\"command\":%s,\"direction\":\"%s\",\"picture_size\":[%d,%d],\"previews\":%d,\"pictures\":[",
           _quoted(report.command).c_str(), direction_name(report.direction), report.picture_width,
           report.picture_height, report.previews);
    _print_json_pictures(report.pictures);
    printf("],\"pictures_used\":%d,\"panorama_size\":[%d,%d],\"milliseconds\":{", report.pictures_used,
           report.width, report.height);
    const char* separator = "";
    for (const Report::Stage& stage : report.stages) {
        printf("%s%s:%.2f", separator, _quoted(stage.name).c_str(), stage.time.count());
        separator = ",";
    }
    printf("},\"output\":%s}\n", _quoted(report.output).c_str());
}

}  // namespace

Report::Lap Report::time(const char* stage)
{
    size_t i = 0;
    while (i < stages.size() && stages[i].name != stage)
        ++i;
    if (i == stages.size()) {
        stages.emplace_back();
        stages.back().name = stage;
    }
    return Lap(this, i);
}

const char* direction_name(ozr_panorama_direction direction)
{
    switch (direction) {
    case ozr_panorama_direction_right:
        return "right";
    case ozr_panorama_direction_left:
        return "left";
    case ozr_panorama_direction_down:
        return "down";
    case ozr_panorama_direction_up:
        return "up";
    default:
        return "auto";
    }
}

void print_report(const Report& report, bool json)
{
    if (json) {
        _print_json(report);
        return;
    }
    _print_table(report);
    printf("panorama %dx%d from %d of %zu pictures\n", report.width, report.height, report.pictures_used,
           report.pictures.size());
    const char* separator = "time";
    for (const Report::Stage& stage : report.stages) {
        printf("%s %s %.0f ms", separator, stage.name.c_str(), stage.time.count());
        separator = ",";
    }
    printf("\nwritten to %s\n", report.output.c_str());
}
