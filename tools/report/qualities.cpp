// The two qualities side by side.
#include "base/names.h"
#include "base/quoting.h"
#include "media/thumbnail.h"
#include "report/page.h"

#include <algorithm>
#include <math.h>

namespace ozr_pano
{

namespace
{

constexpr int32_t kExtent = 1600;  // longer side of a panorama on the page
constexpr int kQuality = 85;       // of it, as JPEG

// The library's work on pictures and panorama, without the previews: milliseconds.
double _time_of(const Journal& journal)
{
    double sum = 0;
    for (const Journal::Stage& stage : journal.stages)
        sum += stage.name == "stitch" || stage.name == "compose" ? stage.time.count() : 0;
    return sum;
}

void _add_facts(const Journal& journal, Html* html)
{
    float least = 1;
    size_t trusted = 0;
    for (const ozr_panorama_joint& joint : journal.joints) {
        least = std::min(least, joint.confidence);
        trusted += joint.confidence >= kTrustedJoint;
    }
    html->format(
        "<dl><dt>size</dt><dd>%d × %d</dd><dt>pictures</dt><dd>%d of %zu</dd><dt>time</dt><dd>%.1f ms</dd>",
        journal.width, journal.height, journal.pictures_used, journal.pictures.size(), _time_of(journal));
    if (!journal.joints.empty())
        html->format("<dt>joints to be trusted</dt><dd>%zu of %zu</dd><dt>least confidence</dt><dd>%.2f</dd>",
                     trusted, journal.joints.size(), floor(static_cast<double>(least) * 100) / 100);
    *html << "</dl>";
}

void _add_quality(const Journal& journal, const Picture& panorama, const char* note, Html* html)
{
    const std::string name = quality_name(journal.quality);
    *html << "<figure class=\"quality\" id=\"" << name << "\">";
    if (panorama.width > 0)
        *html << "<img alt=\"The panorama in the " << name << " quality\" src=\""
              << jpeg_uri(shrink(panorama, kExtent), kQuality) << "\">";
    else
        *html << "<p class=\"failure\">No panorama: " << html_escaped(journal.failure) << "</p>";
    *html << "<figcaption><h3>" << name << note << "</h3>";
    if (panorama.width > 0)
        _add_facts(journal, html);
    *html << "</figcaption></figure>";
}

}  // namespace

void add_qualities_section(const ReportPage& page, Html* html)
{
    if (page.counterpart == nullptr)
        return;
    *html << "<section><h2>Both qualities</h2><div class=\"qualities\" id=\"qualities\">";
    _add_quality(page.journal, page.panorama, " — this panorama", html);
    _add_quality(page.counterpart->journal, page.counterpart->panorama, "", html);
    *html << "</div><p class=\"faint\">The same pictures, joined in each quality. Time: of the library, for "
             "the pictures and "
             "the panorama.";
    if (page.journal.quality == ozr_panorama_quality_refined)
        html->format(" The classic quality was told what the refined one found: direction %s, overlap %d %%.",
                     direction_name(page.counterpart->journal.direction), page.counterpart->journal.overlap);
    *html << "</p></section>\n";
}

}  // namespace ozr_pano
