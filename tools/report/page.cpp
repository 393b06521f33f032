// A run as one self-contained page: the sections from top to bottom.
#include "report/page.h"

#include "base/file_io.h"
#include "base/names.h"
#include "base/quoting.h"
#include "media/thumbnail.h"

#include <algorithm>
#include <array>
#include <math.h>

namespace ozr_pano
{

namespace
{

constexpr int32_t kPanoramaExtent = 2560;  // longer side on the page
constexpr int kPanoramaQuality = 85, kSmallQuality = 80;
constexpr int kHueStep = 47;  // degrees between the colours of neighbours

void _add_head(const ReportPage& page, Html* html)
{
    // The policy keeps the page from asking for anything, whatever a name in it may contain.
    *html << "<!doctype html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
             "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">"
             "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; img-src data:; "
             "style-src 'unsafe-inline'; script-src 'unsafe-inline'\">"
             "<link rel=\"icon\" href=\"data:,\"><title>ozr-pano "
          << html_escaped(page.journal.command) << "</title><style>" << kReportStyle
          << "</style></head>\n<body>";
}

void _add_title(const ReportPage& page, Html* html)
{
    const Journal& journal = page.journal;
    *html << "<header><h1>ozr-pano " << html_escaped(journal.command) << "</h1>";
    if (!journal.failure.empty())
        *html << "<p class=\"failure\" id=\"failure\">" << html_escaped(journal.failure) << "</p>";
    html->format("<p>%zu %s of %d × %d", journal.pictures.size(),
                 journal.pictures.size() == 1 ? "picture" : "pictures", journal.picture_width,
                 journal.picture_height);
    if (journal.direction != ozr_panorama_direction_auto)
        html->format(", swept %s", direction_name(journal.direction));
    if (journal.quality == ozr_panorama_quality_classic)
        html->format(", overlap of %d %% asked for", journal.overlap);
    if (!journal.previews.empty())
        html->format("; %zu previews", journal.previews.size());
    *html << "</p>";
    if (journal.width > 0 && journal.failure.empty())
        html->format("<p>Panorama of %d × %d from %d of the pictures, %s quality</p>", journal.width,
                     journal.height, journal.pictures_used, quality_name(journal.quality));
    if (!journal.output.empty())
        *html << "<p>Written to " << html_escaped(journal.output) << "</p>";
    *html << "<p class=\"faint\">" << html_escaped(page.library) << "</p></header>\n";
}

// A line through points, as path data. Runs along one axis become one stroke.
std::string _path(const std::vector<ozr_point>& points)
{
    const auto are_in_line = [](const ozr_point& a, const ozr_point& b, const ozr_point& c) {
        return (a.x == b.x && b.x == c.x) || (a.y == b.y && b.y == c.y);
    };
    std::string data;
    for (size_t i = 0; i < points.size(); ++i) {
        if (i > 0 && i + 1 < points.size() && are_in_line(points[i - 1], points[i], points[i + 1]))
            continue;
        data += (data.empty() ? "M" : "L") + std::to_string(points[i].x) + " " + std::to_string(points[i].y);
    }
    return data;
}

std::string _outline(const std::vector<Spot>& spots)
{
    std::string data;
    for (const Spot& spot : spots)
        data += (data.empty() ? "M" : "L") + std::to_string(lround(spot.x)) + " " +
                std::to_string(lround(spot.y));
    return data + "Z";
}

void _add_borders(const ReportPage& page, Html* html)
{
    for (size_t i = 0; i < page.layout.pictures.size(); ++i) {
        const Placement& picture = page.layout.pictures[i];
        if (!picture.is_used)
            continue;
        if (!picture.outline.empty()) {
            *html << "<path class=\"border\" stroke=\"" << picture_colour(i) << "\" d=\""
                  << _outline(picture.outline) << "\"/>";
            continue;
        }
        html->format("<rect class=\"border\" x=\"%d\" y=\"%d\" width=\"%d\" height=\"%d\" stroke=\"%s\"/>",
                     picture.box.left, picture.box.top, picture.box.right - picture.box.left,
                     picture.box.bottom - picture.box.top, picture_colour(i).c_str());
    }
}

// Numbers at the middles of the pictures, along the edge of the panorama; HTML, so that they keep
// their size.
void _add_numbers(const ReportPage& page, Html* html)
{
    const Journal& journal = page.journal;
    const bool vertical = page.layout.is_vertical;
    for (size_t i = 0; i < page.layout.pictures.size(); ++i) {
        const Placement& picture = page.layout.pictures[i];
        if (!picture.is_used)
            continue;
        const double middle = vertical ? (picture.box.top + picture.box.bottom) / 2.0 / journal.height
                                       : (picture.box.left + picture.box.right) / 2.0 / journal.width;
        html->format("<span class=\"chip\" style=\"%s:%.2f%%;%s:1rem;background:%s\">%zu</span>",
                     vertical ? "top" : "left", middle * 100, vertical ? "left" : "top",
                     picture_colour(i).c_str(), i);
    }
}

void _add_panorama(const ReportPage& page, Html* html)
{
    const Picture& panorama = page.panorama;
    if (panorama.width == 0)
        return;
    *html << "<section><h2>Panorama</h2><div class=\"toggles\">"
             "<label><input type=\"checkbox\" checked data-hides=\"no-seams\"> Seams</label>"
             "<label><input type=\"checkbox\" checked data-hides=\"no-borders\"> Picture borders</label>"
             "<label><input type=\"checkbox\" data-sets=\"full\"> Full size</label></div><div "
             "class=\"scroll\">";
    // As wide as the page; less where it would not fit a screen then, more where it would be too
    // flat to see anything.
    const int width = panorama.width, height = panorama.height;
    html->format("<style>.panorama{width:max(min(100%%,85vh*%d/%d),12rem*%d/%d)}"
                 ".full .panorama{width:%dpx}</style>",
                 width, height, width, height, width);
    html->format("<div class=\"panorama\"><svg id=\"panorama\" viewBox=\"0 0 %d %d\" role=\"img\" "
                 "aria-label=\"The panorama\"><image width=\"%d\" height=\"%d\" href=\"",
                 width, height, width, height);
    *html << jpeg_uri(shrink(panorama, kPanoramaExtent), kPanoramaQuality) << "\"/>";
    _add_borders(page, html);
    for (const OverlapView& overlap : page.layout.overlaps)
        add_seam(overlap, html);
    *html << "</svg>";
    _add_numbers(page, html);
    *html << "</div></div><p class=\"faint\">Yellow lines are the seams at which the panorama switches from "
             "one picture to the next; dashed lines are the borders of the projected "
             "pictures.</p></section>\n";
}

void _add_fact(const char* name, const std::string& value, Html* html)
{
    *html << "<dt>" << name << "</dt><dd>" << value << "</dd>";
}

std::string _pair(double x, double y, const char* format)
{
    std::array<char, 64> text;
    snprintf(text.data(), text.size(), format, x, y);
    return text.data();
}

std::string _score_text(const Placement& placement)
{
    if (!placement.has_score)
        return "not searched";
    const double score = std::clamp(placement.score, 0.0, 1.0);
    std::array<char, 128> text;
    snprintf(text.data(), text.size(), "<meter value=\"%.3f\" low=\"0.5\" optimum=\"1\"></meter> %.3f", score,
             placement.score);
    return text.data();
}

void _add_card(const ReportPage& page, size_t i, Html* html)
{
    const PictureEntry& picture = page.journal.pictures[i];
    const Placement placement = i < page.layout.pictures.size() ? page.layout.pictures[i] : Placement();
    const bool left_out = page.panorama.width > 0 && !placement.is_used;
    *html << (left_out ? "<article class=\"card unused\">" : "<article class=\"card\">");
    if (picture.thumbnail.width > 0)
        *html << "<img alt=\"\" src=\"" << jpeg_uri(picture.thumbnail, kSmallQuality) << "\">";
    *html << "<div><h3><span class=\"key\" style=\"background:" << picture_colour(i) << "\"></span> Picture "
          << std::to_string(i) << "</h3><p class=\"faint\">" << html_escaped(picture.source)
          << (left_out ? " — left out of the panorama" : "") << "</p><dl>";
    if (picture.has_offset)
        _add_fact("announced", _pair(picture.offset.x, picture.offset.y, "%+.0f %+.0f"), html);
    if (picture.has_truth)
        _add_fact("truth", _pair(picture.truth_x, picture.truth_y, "%+.1f %+.1f"), html);
    if (placement.has_step) {
        _add_fact("offset", _pair(placement.step.x, placement.step.y, "%+.0f %+.0f"), html);
        _add_fact("overlap", _pair(placement.overlap * 100, 0, "%.1f %%"), html);
        _add_fact("score", _score_text(placement), html);
    } else if (i == 0 && page.journal.quality == ozr_panorama_quality_classic) {
        _add_fact("offset", "first picture", html);
    }
    *html << "</dl></div></article>";
}

void _add_pictures(const ReportPage& page, Html* html)
{
    *html << "<section><h2>Pictures</h2><div class=\"cards\">";
    for (size_t i = 0; i < page.journal.pictures.size(); ++i)
        _add_card(page, i, html);
    *html << "</div><p class=\"faint\">";
    if (!page.journal.previews.empty())
        *html
            << "Announced: the motion measured by the previews, in pixels of the preview; truth: that of the "
               "simulated camera. ";
    if (page.journal.quality == ozr_panorama_quality_classic)
        *html << "Offset: where the alignment placed the picture against the one before, in pixels of the "
                 "panorama. Overlap: share of the picture before, along the sweep. Score: the square of the "
                 "correlation in the overlap; 1 means equal.";
    *html << "</p></section>\n";
}

void _add_times(const Journal& journal, Html* html)
{
    double longest = 0;
    for (const Journal::Stage& stage : journal.stages)
        longest = std::max(longest, stage.time.count());
    *html << "<section><h2>Time per stage</h2><div class=\"bars\" id=\"times\">";
    for (const Journal::Stage& stage : journal.stages) {
        *html << "<span>" << html_escaped(stage.name) << "</span>";
        html->format("<i style=\"width:%.1f%%\"></i><b>%.1f ms</b>",
                     100 * stage.time.count() / std::max(longest, 1e-9), stage.time.count());
    }
    *html << "</div></section>\n";
}

void _add_log(const KeptLog& log, Html* html)
{
    html->format(
        "<section><h2>Log</h2><details open><summary>%zu lines of the library</summary><pre id=\"log\">",
        log.lines.size() + log.left_out);
    for (const LogLine& line : log.lines) {
        html->format("<span class=\"level-%c\">%9.1f ms %c ", line.level, line.milliseconds, line.level);
        *html << html_escaped(line.text) << "</span>\n";
    }
    if (log.left_out > 0)
        html->format("and %zu lines more\n", log.left_out);
    *html << "</pre></details></section>\n";
}

}  // namespace

std::string picture_colour(size_t picture)
{
    return "hsl(" + std::to_string(picture * kHueStep % 360) + " 75% 42%)";
}

void add_seam(const OverlapView& overlap, Html* html)
{
    const std::string data = _path(overlap.seam);
    *html << "<path class=\"seam under\" d=\"" << data << "\"/><path class=\"seam\" d=\"" << data << "\"/>";
}

void write_report_page(const std::string& path, const ReportPage& page)
{
    Html html;
    _add_head(page, &html);
    _add_title(page, &html);
    _add_panorama(page, &html);
    add_qualities_section(page, &html);
    _add_pictures(page, &html);
    add_joints_section(page.journal, page.layout, &html);
    add_cameras_section(page.journal, page.layout, &html);
    add_motion_section(page.journal, &html);
    _add_times(page.journal, &html);
    _add_log(page.log, &html);
    html << "<script>" << kReportScript << "</script></body></html>\n";
    const std::string& markup = html.markup();
    write_file_whole(path, reinterpret_cast<const uint8_t*>(markup.data()), markup.size());
}

}  // namespace ozr_pano
