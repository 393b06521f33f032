// Viewers map the whole round, twice as wide as high, to the sphere. Around the horizon a cylinder
// has as many pixels to a degree as that, so its rows keep their distance from the horizon.
#include "media/gpano.h"

#include "base/quoting.h"

#include <algorithm>
#include <math.h>
#include <stdio.h>

namespace ozr_pano
{

namespace
{

constexpr double kPi = 3.14159265358979323846;

void _add(const char* name, const std::string& value, std::string* packet)
{
    *packet += std::string("\n    GPano:") + name + "=\"" + value + '"';
}

}  // namespace

std::string gpano_packet(const PanoramaView& view)
{
    const int32_t round = std::max(static_cast<int32_t>(lround(2 * kPi * view.radius)), view.width);
    const int32_t horizon = static_cast<int32_t>(lround(view.horizon));
    // High enough for what is shown above and below the horizon.
    const int32_t reach = std::max({horizon, view.height - horizon, round / 4});
    std::string packet = "<?xpacket begin=\"\xEF\xBB\xBF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n"
                         "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\">\n"
                         " <rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">\n"
                         "  <rdf:Description rdf:about=\"\"\n"
                         "    xmlns:GPano=\"http://ns.google.com/photos/1.0/panorama/\"";
    _add("UsePanoramaViewer", "True", &packet);
    _add("ProjectionType", "cylindrical", &packet);
    _add("CroppedAreaImageWidthPixels", std::to_string(view.width), &packet);
    _add("CroppedAreaImageHeightPixels", std::to_string(view.height), &packet);
    _add("FullPanoWidthPixels", std::to_string(round), &packet);
    _add("FullPanoHeightPixels", std::to_string(2 * reach), &packet);
    _add("CroppedAreaLeftPixels", std::to_string((round - view.width) / 2), &packet);
    _add("CroppedAreaTopPixels", std::to_string(reach - horizon), &packet);
    _add("SourcePhotosCount", std::to_string(view.pictures), &packet);
    _add("StitchingSoftware", html_escaped(view.software), &packet);
    if (view.heading) {
        char degrees[32];
        snprintf(degrees, sizeof(degrees), "%.1f", *view.heading);
        _add("PoseHeadingDegrees", degrees, &packet);
    }
    return packet + "/>\n </rdf:RDF>\n</x:xmpmeta>\n<?xpacket end=\"r\"?>";
}

}  // namespace ozr_pano
