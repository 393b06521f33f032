// Where the cameras of a refined sweep looked: the pictures' borders on the cylinder
// around them, unrolled.
#include "report/page.h"

#include <algorithm>
#include <math.h>

namespace ozr_pano
{

namespace
{

constexpr double kDegrees = 57.29577951308232;  // of a radian

// Units of the drawing, which is scaled to the page.
constexpr double kWidth = 440, kMaxHeight = 330, kLeft = 34, kRight = 10, kTop = 10, kBottom = 28;
constexpr double kNumberRadius = 7;
constexpr double kUpright = 0.7;  // length of the upright's mark, of the way to the upper edge

// Degrees from one line of the grid to the next: few enough that their numbers do not touch.
double _grid_step(double degrees)
{
    for (const double step : {1.0, 2.0, 5.0, 10.0, 15.0, 30.0, 45.0}) {
        if (degrees / step <= 9)
            return step;
    }
    return 90;
}

// From the cylinder to the drawing. Along the sweep the cylinder's surface runs as the angle does,
// across it as its tangent.
class Strip
{
public:
    explicit Strip(const Layout& layout) : vertical_(layout.is_vertical)
    {
        for (const CameraView& view : layout.cameras) {
            for (const Spot& spot : view.outline)
                widen(spot);
        }
        scale_ = std::min((kWidth - kLeft - kRight) / (high_.x - low_.x),
                          (kMaxHeight - kTop - kBottom) / (high_.y - low_.y));
        height_ = kTop + kBottom + scale_ * (high_.y - low_.y);
        left_ = kLeft + (kWidth - kLeft - kRight - scale_ * (high_.x - low_.x)) / 2;
    }

    double height() const { return height_; }
    Spot at(const Spot& spot) const
    {
        return {left_ + (spot.x - low_.x) * scale_, kTop + (spot.y - low_.y) * scale_};
    }

    void draw_grid(Html* html) const
    {
        const double bottom = at(high_).y, right = at(high_).x;
        draw_lines(low_.x, high_.x, !vertical_, [&](double x, int degrees) {
            const double px = at({x, 0}).x;
            html->format("<path class=\"%s\" d=\"M%.1f %.1fV%.1f\"/><text x=\"%.1f\" y=\"%.1f\" "
                         "text-anchor=\"middle\">%d°</text>",
                         degrees == 0 ? "grid ahead" : "grid", px, kTop, bottom, px, bottom + 12, degrees);
        });
        draw_lines(low_.y, high_.y, vertical_, [&](double y, int degrees) {
            const double py = at({0, y}).y;
            html->format("<path class=\"%s\" d=\"M%.1f %.1fH%.1f\"/><text x=\"%.1f\" y=\"%.1f\" "
                         "text-anchor=\"end\">%d°</text>",
                         degrees == 0 ? "grid ahead" : "grid", left_, py, right, left_ - 4, py + 3, degrees);
        });
    }

private:
    void widen(const Spot& spot)
    {
        low_ = {std::min(low_.x, spot.x), std::min(low_.y, spot.y)};
        high_ = {std::max(high_.x, spot.x), std::max(high_.y, spot.y)};
    }

    template <class Draw>
    static void draw_lines(double low, double high, bool by_angle, const Draw& draw)
    {
        const double first = (by_angle ? low : atan(low)) * kDegrees;
        const double last = (by_angle ? high : atan(high)) * kDegrees;
        const double step = _grid_step(last - first);
        for (int n = static_cast<int>(ceil(first / step)); n * step <= last; ++n)
            draw(by_angle ? n * step / kDegrees : tan(n * step / kDegrees),
                 static_cast<int>(lround(n * step)));
    }

    bool vertical_;
    Spot low_ = {-0.01, -0.01}, high_ = {0.01, 0.01};
    double scale_, height_, left_;
};

void _draw_camera(const CameraView& view, size_t number, const Strip& strip, Html* html)
{
    if (view.outline.empty())
        return;
    *html << "<path class=\"sight\" stroke=\"" << picture_colour(number) << "\" fill=\""
          << picture_colour(number) << "\" d=\"";
    for (size_t i = 0; i < view.outline.size(); ++i) {
        const Spot at = strip.at(view.outline[i]);
        html->format("%s%.1f %.1f", i == 0 ? "M" : "L", at.x, at.y);
    }
    const Spot middle = strip.at(view.middle), top = strip.at(view.top);
    html->format("Z\"/><path class=\"upright\" stroke=\"%s\" d=\"M%.1f %.1fL%.1f %.1f\"/>",
                 picture_colour(number).c_str(), middle.x, middle.y, middle.x + kUpright * (top.x - middle.x),
                 middle.y + kUpright * (top.y - middle.y));
}

void _draw_number(const CameraView& view, size_t number, const Strip& strip, Html* html)
{
    if (view.outline.empty())
        return;
    const Spot middle = strip.at(view.middle);
    html->format("<circle cx=\"%.1f\" cy=\"%.1f\" r=\"%.0f\" fill=\"%s\"/><text class=\"on-colour\" "
                 "x=\"%.1f\" y=\"%.1f\" "
                 "text-anchor=\"middle\">%zu</text>",
                 middle.x, middle.y, kNumberRadius, picture_colour(number).c_str(), middle.x, middle.y + 3.3,
                 number);
}

void _draw(const Layout& layout, Html* html)
{
    const Strip strip(layout);
    html->format(
        "<svg class=\"chart\" id=\"cameras\" viewBox=\"0 0 %.0f %.0f\" role=\"img\" aria-label=\"Where each "
        "picture looks\">",
        kWidth, strip.height());
    strip.draw_grid(html);
    for (size_t i = 0; i < layout.cameras.size(); ++i)
        _draw_camera(layout.cameras[i], i, strip, html);
    for (size_t i = 0; i < layout.cameras.size(); ++i)
        _draw_number(layout.cameras[i], i, strip, html);
    *html << "</svg>";
}

void _add_row(const ozr_panorama_camera& camera, size_t number, int32_t side, Html* html)
{
    html->format("<tr><th scope=\"row\"><span class=\"key\" style=\"background:%s\"></span> %zu</th>",
                 picture_colour(number).c_str(), number);
    if (camera.used == 0) {
        *html << "<td colspan=\"7\">left out of the panorama</td></tr>";
        return;
    }
    const double focal = static_cast<double>(camera.focal_length);
    html->format("<td>%+.2f°</td><td>%+.2f°</td><td>%+.2f°</td><td>%.1f px</td><td>%.1f°</td><td>%+.4f</td>"
                 "<td>%.3f</td></tr>",
                 static_cast<double>(camera.yaw), static_cast<double>(camera.pitch),
                 static_cast<double>(camera.roll), focal, 2 * atan(side / 2.0 / focal) * kDegrees,
                 static_cast<double>(camera.radial), static_cast<double>(camera.gain));
}

}  // namespace

void add_cameras_section(const Journal& journal, const Layout& layout, Html* html)
{
    if (journal.cameras.empty())
        return;
    *html << "<section><h2>Cameras</h2>";
    _draw(layout, html);
    *html
        << "<p class=\"faint\">Where each picture looks, on the cylinder around the camera: the border of "
           "what it shows, "
           "and a line from its middle upwards, which leans as the camera was rolled. Degrees to the right "
           "of the "
           "picture in the middle, and down from the horizon.</p><div class=\"scroll\"><table><thead><tr><th "
           "scope=\"col\">Picture</th><th scope=\"col\">yaw</th><th scope=\"col\">pitch</th><th "
           "scope=\"col\">roll</th><th scope=\"col\">focal length</th><th scope=\"col\">angle of "
           "view</th><th "
           "scope=\"col\">radial</th><th scope=\"col\">gain</th></tr></thead><tbody>";
    for (size_t i = 0; i < journal.cameras.size(); ++i)
        _add_row(journal.cameras[i], i, journal.picture_width, html);
    *html << "</tbody></table></div><p class=\"faint\">Angle of view: across the width of a picture. Radial: "
             "a place at r "
             "focal lengths from the middle is seen r (1 + radial r²) off the axis. Gain: what the "
             "brightness was "
             "multiplied by.</p></section>\n";
}

}  // namespace ozr_pano
