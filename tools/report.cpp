// The summary of a run, as text and as JSON.
#include "report.h"

#include <algorithm>
#include <stdio.h>

namespace
{

/** The offsets of the pictures, where they were measured. */
void _print_table(const std::vector<PictureEntry>& pictures)
{
    const bool with_truth = pictures.back().has_truth;
    printf("picture  from        offset (x y)%s\n", with_truth ? "     truth (x y)       error (x y)" : "");
    for (size_t i = 0; i < pictures.size(); ++i) {
        const PictureEntry& picture = pictures[i];
        printf("%7zu  %s", i, picture.source.c_str());
        if (picture.has_offset)
            printf("%*s%+6d %+5d", std::max(12 - static_cast<int>(picture.source.size()), 1), "",
                   picture.offset.x, picture.offset.y);
        if (picture.has_truth)
            printf("   %+7.1f %+6.1f   %+7.1f %+6.1f", picture.truth_x, picture.truth_y,
                   picture.offset.x - picture.truth_x, picture.offset.y - picture.truth_y);
        putchar('\n');
    }
}

void _print_text(const Report& report)
{
    printf("%s: direction %s, %zu pictures of %dx%d", report.command.c_str(),
           direction_name(report.direction), report.pictures.size(), report.picture_width,
           report.picture_height);
    if (report.previews > 0)
        printf(", %d previews", report.previews);
    putchar('\n');
    if (report.pictures.back().has_offset)
        _print_table(report.pictures);
    printf("panorama %dx%d from %d of %zu pictures\n", report.width, report.height, report.pictures_used,
           report.pictures.size());
    const char* separator = "time";
    for (const Report::Stage& stage : report.stages) {
        printf("%s %s %.0f ms", separator, stage.name.c_str(), stage.time.count());
        separator = ",";
    }
    printf("\nwritten to %s\n", report.output.c_str());
}

/** Length of the well-formed UTF-8 sequence at text[i], 0 if there is none. */
size_t _utf8_length(const std::string& text, size_t i)
{
    const auto byte = [&](size_t at) { return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U; };
    // Ranges of the first and of the second byte: no overlong forms, no surrogates, nothing beyond the last plane.
    static constexpr struct {
        unsigned first_low, first_high, second_low, second_high;
        size_t length;
    } kForms[] = {
        {0x00, 0x7F, 0x00, 0xFF, 1}, {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3},
        {0xE1, 0xEC, 0x80, 0xBF, 3}, {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3},
        {0xF0, 0xF0, 0x90, 0xBF, 4}, {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4},
    };
    for (const auto& form : kForms) {
        if (byte(i) < form.first_low || byte(i) > form.first_high)
            continue;
        if (byte(i + 1) < form.second_low || byte(i + 1) > form.second_high)
            return 0;
        for (size_t k = 2; k < form.length; ++k) {
            if ((byte(i + k) & 0xC0) != 0x80)
                return 0;
        }
        return form.length;
    }
    return 0;
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
    if (json)
        _print_json(report);
    else
        _print_text(report);
}
