#include "sweep/metadata.h"

#include "media/exif.h"
#include "media/gpano.h"
#include "sweep/refined_reader.h"

#include <math.h>

namespace ozr_pano
{

namespace
{

constexpr double kDegree = 3.14159265358979323846 / 180;

// The classic projection takes a camera for granted: 41.8 pixels of the panorama to a radian for
// every 32 of a picture's width. Where the horizon is it does not know.
constexpr double kClassicRadius = 41.8 / 32;

bool _is_vertical(ozr_panorama_direction direction)
{
    return direction == ozr_panorama_direction_down || direction == ozr_panorama_direction_up;
}

// Of the middle of a refined panorama, where the first picture knows its own.
std::optional<double> _heading(const Journal& journal, const Cylinder& cylinder)
{
    const std::optional<double> first = exif_heading(journal.pictures.front().exif);
    if (!first || journal.cameras.empty() || journal.cameras.front().used == 0)
        return std::nullopt;
    const double middle = (cylinder.first_heading + journal.width / 2.0 / cylinder.radius) / kDegree;
    const double heading = fmod(*first + middle - static_cast<double>(journal.cameras.front().yaw), 360);
    return heading < 0 ? heading + 360 : heading;
}

// Viewers know no cylinder that lies, as sweeps up and down have it.
std::string _packet(const Journal& journal, const ozr_panorama& session)
{
    if (_is_vertical(journal.direction))
        return "";
    PanoramaView view = {};
    view.width = journal.width;
    view.height = journal.height;
    view.pictures = static_cast<size_t>(journal.pictures_used);
    view.software = session.description;
    if (journal.quality == ozr_panorama_quality_refined) {
        const Cylinder cylinder = read_cylinder(session);
        view.radius = cylinder.radius;
        view.horizon = -cylinder.first_height * cylinder.radius;
        view.heading = _heading(journal, cylinder);
    } else if (view.pictures > 1) {
        view.radius = kClassicRadius * journal.picture_width;
        view.horizon = journal.height / 2.0;
    } else {
        return "";  // the picture as it came, not projected
    }
    return gpano_packet(view);
}

}  // namespace

Metadata panorama_metadata(const Journal& journal, const ozr_panorama& session)
{
    if (journal.pictures.empty())
        return {};
    return {carried_exif(journal.pictures.front().exif, journal.width, journal.height),
            _packet(journal, session)};
}

}  // namespace ozr_pano
