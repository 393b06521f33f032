// How the pictures were joined: for each joint what the library says of it, over a drawing of where
// its two pictures lie on each other. Of refined joints that drawing shows every matched point and
// how far off it is.
#include "report/page.h"

#include <algorithm>
#include <math.h>

namespace ozr_pano
{

namespace
{

constexpr int kQuality = 80;  // of the pictures, as JPEG

// A drawing is fitted into so many pixels of the page, more or less: marks are sized by them.
constexpr double kDrawingWidth = 280, kDrawingHeight = 256;
constexpr double kArrowLength = 24, kLongestArrow = 160;
constexpr double kBarLength = 60;  // that the bar of the scale has at most

constexpr double kSoundJoint = 0.8;  // confidence from which on a joint is called sound

double _error(const MatchView& match)
{
    return hypot(match.found.x - match.shown.x, match.found.y - match.shown.y);
}

// The largest of 1, 2, 5, 10 ... times a power of ten that is at most `value`.
double _round_down(double value)
{
    const double power = pow(10, floor(log10(value)));
    for (const double factor : {5.0, 2.0}) {
        if (factor * power <= value)
            return factor * power;
    }
    return power;
}

// Pixels of a joint's second picture for one of the page.
double _unit(const ozr_rect& box)
{
    return std::max({(box.right - box.left) / kDrawingWidth, (box.bottom - box.top) / kDrawingHeight, 1e-3});
}

// How much longer than the errors the arrows are drawn, the same in all drawings so that they
// compare. Nearly all of them are shorter than the usual length then, and the longest one stays
// within the drawing. 0 without errors.
double _enlargement(const Layout& layout)
{
    double unit = 1e-3;
    std::vector<double> errors = {1e-6};
    for (const JointView& view : layout.joints) {
        unit = std::max(unit, _unit(view.box));
        for (const MatchView& match : view.matches) {
            if (match.is_near)
                errors.push_back(_error(match));
        }
    }
    if (errors.size() == 1)
        return 0;
    std::sort(errors.begin(), errors.end());
    const double usual = errors[errors.size() * 9 / 10];
    return _round_down(
        std::clamp(unit * std::min(kArrowLength / usual, kLongestArrow / errors.back()), 1.0, 1000.0));
}

// From where the cameras show a point to where it was found, the way enlarged, with a head
// of two strokes.
void _add_arrow(const MatchView& match, double enlargement, double unit, Html* html)
{
    const double x = (match.found.x - match.shown.x) * enlargement;
    const double y = (match.found.y - match.shown.y) * enlargement;
    const double head = std::min(0.4, 4 * unit / std::max(hypot(x, y), 1e-9));
    html->format("<path class=\"arrow\" d=\"M%.1f %.1fl%.1f %.1fm%.1f %.1fl%.1f %.1fl%.1f %.1f\"/>",
                 match.shown.x, match.shown.y, x, y, head * (-x - y / 2), head * (-y + x / 2),
                 head * (x + y / 2), head * (y - x / 2), head * (-x + y / 2), head * (-y - x / 2));
}

void _add_match(const MatchView& match, double enlargement, double unit, Html* html)
{
    if (match.is_near)
        _add_arrow(match, enlargement, unit, html);
    html->format("<circle class=\"%s\" cx=\"%.1f\" cy=\"%.1f\" r=\"%.2f\"/>",
                 match.is_near ? "match" : "stray match", match.is_near ? match.shown.x : match.found.x,
                 match.is_near ? match.shown.y : match.found.y, unit * (match.is_near ? 1.6 : 3));
}

// A bar in the corner that says how long an error is drawn.
void _add_scale(const ozr_rect& box, double enlargement, double unit, Html* html)
{
    const double pixels = _round_down(kBarLength * unit / enlargement);
    const double x = box.left + 8 * unit, y = box.bottom - 8 * unit;
    html->format(
        "<path class=\"scale under\" d=\"M%.1f %.1fh%.1f\"/><path class=\"scale\" d=\"M%.1f %.1fh%.1f\"/>", x,
        y, pixels * enlargement, x, y, pixels * enlargement);
    html->format("<text class=\"scale\" x=\"%.1f\" y=\"%.1f\" font-size=\"%.2f\">%g px</text>", x,
                 y - 5 * unit, 11 * unit, pixels);
}

void _open_drawing(const ozr_rect& box, const Picture& picture, const std::string& label, Html* html)
{
    const int32_t width = box.right - box.left, height = box.bottom - box.top;
    html->format("<svg viewBox=\"%d %d %d %d\" role=\"img\" aria-label=\"", box.left, box.top, width, height);
    *html << label;
    html->format(
        "\"><image x=\"%d\" y=\"%d\" width=\"%d\" height=\"%d\" preserveAspectRatio=\"none\" href=\"",
        box.left, box.top, width, height);
    *html << jpeg_uri(picture, kQuality) << "\"/>";
}

size_t _count_near(const JointView& view)
{
    return static_cast<size_t>(std::count_if(view.matches.begin(), view.matches.end(),
                                             [](const MatchView& match) { return match.is_near; }));
}

std::string _names(const ozr_panorama_joint& joint)
{
    return std::to_string(joint.first) + " and " + std::to_string(joint.second);
}

void _add_matches(const ozr_panorama_joint& joint, const JointView& view, double enlargement, Html* html)
{
    const double unit = _unit(view.box);
    const size_t near = _count_near(view);
    _open_drawing(view.box, view.part,
                  "Pictures " + _names(joint) + ": " + std::to_string(view.matches.size()) +
                      " matched points, " + std::to_string(near) + " of them where the cameras show them",
                  html);
    for (const MatchView& match : view.matches)
        _add_match(match, enlargement, unit, html);
    if (near > 0)
        _add_scale(view.box, enlargement, unit, html);
    *html << "</svg>";
}

// Of a classic joint: the difference of the two pictures, and the seam.
void _add_difference(const ozr_panorama_joint& joint, const Layout& layout, Html* html)
{
    const auto overlap =
        std::find_if(layout.overlaps.begin(), layout.overlaps.end(), [&](const OverlapView& candidate) {
            return candidate.first == static_cast<size_t>(joint.first) && candidate.difference.width > 0;
        });
    if (overlap == layout.overlaps.end()) {
        *html << "<p class=\"faint none\">no overlap in the panorama</p>";
        return;
    }
    _open_drawing(overlap->box, overlap->difference, "Difference of pictures " + _names(joint), html);
    add_seam(*overlap, html);
    *html << "</svg>";
}

bool _is_doubtful(const ozr_panorama_joint& joint)
{
    return joint.confidence < kTrustedJoint;
}

// A confidence is rounded down, so that none that is below the limit looks as if it were not.
void _add_facts(const ozr_panorama_joint& joint, const JointView* view, Html* html)
{
    const double confidence = static_cast<double>(joint.confidence);
    html->format(
        "<dl><dt>confidence</dt><dd><meter min=\"0\" max=\"1\" low=\"0.5\" high=\"0.8\" optimum=\"1\" "
        "value=\"%.3f\"></meter> <b>%.2f</b> %s</dd>",
        confidence, floor(confidence * 100) / 100,
        _is_doubtful(joint)        ? "not to be trusted"
        : confidence < kSoundJoint ? "fair"
                                   : "sound");
    if (view != nullptr && view->matches.empty())
        *html << "<dt>matched points</dt><dd>none</dd>";
    else if (view != nullptr)
        html->format("<dt>matched points</dt><dd>%zu of %zu agree</dd>", _count_near(*view),
                     view->matches.size());
    if (joint.residual >= 0)
        html->format("<dt>residual</dt><dd>%.3f px</dd>", static_cast<double>(joint.residual));
    html->format("<dt>offset</dt><dd>%+.1f %+.1f px</dd><dt>gain</dt><dd>%.3f</dd></dl>",
                 static_cast<double>(joint.offset_x), static_cast<double>(joint.offset_y),
                 static_cast<double>(joint.gain));
}

// `view`: null for a classic joint.
void _add_joint(const ozr_panorama_joint& joint, const JointView* view, const Layout& layout,
                double enlargement, Html* html)
{
    *html << (_is_doubtful(joint) ? "<figure class=\"joint doubtful\">" : "<figure class=\"joint\">");
    if (view != nullptr)
        _add_matches(joint, *view, enlargement, html);
    else
        _add_difference(joint, layout, html);
    *html << "<figcaption><h3>" << (_is_doubtful(joint) ? "⚠ " : "") << "Pictures " << _names(joint)
          << (joint.used != 0 ? "" : " — not in the panorama") << "</h3>";
    _add_facts(joint, view, html);
    *html << "</figcaption></figure>";
}

}  // namespace

void add_joints_section(const Journal& journal, const Layout& layout, Html* html)
{
    if (journal.joints.empty())
        return;
    const double enlargement = _enlargement(layout);
    *html << "<section><h2>Joints</h2><div class=\"joints\" id=\"joints\">";
    for (size_t i = 0; i < journal.joints.size(); ++i)
        _add_joint(journal.joints[i], i < layout.joints.size() ? &layout.joints[i] : nullptr, layout,
                   enlargement, html);
    *html
        << "</div><p class=\"faint\">Where two pictures lie on each other, the brighter the more they differ "
           "(four times as bright as they do, of 255 levels). ";
    if (enlargement > 0)
        html->format("Each dot is a point that was found in both pictures, where the cameras show it in the "
                     "second one; its arrow points to where it was found, and is %g times as long as the way "
                     "there. Rings are matches that the cameras do not explain; they do not count. Residual: "
                     "the root mean square length of these ways. ",
                     enlargement);
    else if (layout.joints.empty())
        *html << "The yellow seam avoids what is bright. ";
    *html << "Offset: from the middle of the first picture to that of the second, in pixels of the panorama. "
             "Gain: the brightness of the second over the first as it was evened out. A confidence below 0.5 "
             "says that the joint is not to be trusted.</p></section>\n";
}

}  // namespace ozr_pano
