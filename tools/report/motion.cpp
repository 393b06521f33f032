// The motion of the previews as a curve: how far the camera came along the sweep, and how far it drifted across it.
#include "base/names.h"
#include "report/page.h"

#include <algorithm>
#include <math.h>

namespace ozr_pano
{

namespace
{

// Units of the drawing, which is scaled to the page.
constexpr double kWidth = 440, kHeight = 240, kLeft = 44, kRight = 12, kTop = 14, kBottom = 30;
constexpr size_t kMaxPoints = 1000;  // more cannot be told apart

/** Where the camera is at a preview, in pixels of the preview since the first picture. */
struct Position {
    double along, across;
};

bool _is_vertical(ozr_panorama_direction direction)
{
    return direction == ozr_panorama_direction_down || direction == ozr_panorama_direction_up;
}

/** The previews' offsets count from the picture announced last. */
std::vector<Position> _positions(const Journal& journal)
{
    const bool vertical = _is_vertical(journal.direction);
    const bool backward =
        journal.direction == ozr_panorama_direction_left || journal.direction == ozr_panorama_direction_up;
    double x = 0, y = 0;
    std::vector<Position> positions;
    for (const PreviewEntry& preview : journal.previews) {
        const double at_x = x + preview.offset.x, at_y = y + preview.offset.y;
        const double along = vertical ? at_y : at_x;
        positions.push_back({backward ? -along : along, vertical ? at_x : at_y});
        if (preview.announced > 0) {
            x = at_x;
            y = at_y;
        }
    }
    return positions;
}

/** A round step of which about `count` make the range. */
double _tick_step(double range, int count)
{
    const double rough = std::max(range, 1.0) / count;
    const double power = pow(10, floor(log10(rough)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (factor * power >= rough)
            return factor * power;
    }
    return 10 * power;
}

/** From previews and pixels to the drawing. */
class Axes
{
public:
    explicit Axes(const std::vector<Position>& positions) : count_(static_cast<double>(positions.size()))
    {
        for (const Position& position : positions) {
            low_ = std::min({low_, position.along, position.across});
            high_ = std::max({high_, position.along, position.across});
        }
    }

    double x(size_t preview) const
    {
        return kLeft + (kWidth - kLeft - kRight) * static_cast<double>(preview) / std::max(count_ - 1, 1.0);
    }
    double y(double pixels) const
    {
        return kHeight - kBottom - (kHeight - kTop - kBottom) * (pixels - low_) / (high_ - low_);
    }

    void draw(Html* html) const
    {
        const double step = _tick_step(high_ - low_, 8);
        for (int n = static_cast<int>(ceil(low_ / step)); n * step <= high_; ++n)
            html->format("<path class=\"grid\" d=\"M%.1f %.1fH%.1f\"/><text x=\"%.1f\" y=\"%.1f\" "
                         "text-anchor=\"end\">%.0f</text>",
                         kLeft, y(n * step), kWidth - kRight, kLeft - 5, y(n * step) + 3, n * step);
        const size_t previews = static_cast<size_t>(std::max(1.0, _tick_step(count_, 6)));
        for (size_t preview = 0; static_cast<double>(preview) < count_; preview += previews)
            html->format("<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"middle\">%zu</text>", x(preview),
                         kHeight - kBottom + 14, preview);
        html->format("<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"end\">preview</text>", kWidth - kRight,
                     kHeight - 3);
    }

private:
    double count_;
    double low_ = 0, high_ = 1;
};

void _draw_curve(const std::vector<Position>& positions, const Axes& axes, double Position::*value,
                 const char* name, Html* html)
{
    const size_t step = positions.size() / kMaxPoints + 1;
    html->format("<polyline class=\"%s\" points=\"", name);
    for (size_t i = 0; i < positions.size(); i += step)
        html->format("%.1f,%.1f ", axes.x(i), axes.y(positions[i].*value));
    *html << "\"/>";
}

void _draw_triggers(const Journal& journal, const std::vector<Position>& positions, const Axes& axes,
                    Html* html)
{
    for (size_t i = 0; i < positions.size(); ++i) {
        if (journal.previews[i].announced == 0)
            continue;
        const double x = axes.x(i), y = axes.y(positions[i].along);
        html->format(
            "<path class=\"trigger\" d=\"M%.1f %.1fV%.1f\"/><circle class=\"dot\" cx=\"%.1f\" cy=\"%.1f\" "
            "r=\"7\"/><text class=\"number\" x=\"%.1f\" y=\"%.1f\" text-anchor=\"middle\">%d</text>",
            x, y, kHeight - kBottom, x, y, x, y + 3.3, journal.previews[i].announced);
    }
}

}  // namespace

void add_motion_section(const Journal& journal, Html* html)
{
    *html << "<section><h2>Motion of the previews</h2>";
    if (journal.previews.empty()) {
        *html << "<p class=\"faint\">There were no previews: the pictures were given.</p></section>";
        return;
    }
    const std::vector<Position> positions = _positions(journal);
    const Axes axes(positions);
    html->format(
        "<p><span class=\"key\" style=\"background:var(--along)\"></span> along the sweep (%s) &ensp;"
        "<span class=\"key\" style=\"background:var(--across)\"></span> drift across it, both in pixels of "
        "the preview</p>",
        direction_name(journal.direction));
    html->format("<svg class=\"chart\" id=\"motion\" viewBox=\"0 0 %.0f %.0f\" role=\"img\" "
                 "aria-label=\"Motion of the previews\">",
                 kWidth, kHeight);
    axes.draw(html);
    _draw_curve(positions, axes, &Position::across, "across", html);
    _draw_curve(positions, axes, &Position::along, "along", html);
    _draw_triggers(journal, positions, axes, html);
    *html << "</svg><p class=\"faint\">A numbered point is a preview at which the library asked for that "
             "picture."
             "</p></section>";
}

}  // namespace ozr_pano
