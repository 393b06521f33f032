// The words by which viewers know a panorama: XMP properties of the GPano namespace.
#ifndef GPANO_H
#define GPANO_H

#include <optional>
#include <stdint.h>
#include <string>

namespace ozr_pano
{

// A part of a cylinder that stands upright around the camera.
struct PanoramaView {
    int32_t width, height;          // of the panorama, pixels
    double radius;                  // of the cylinder: pixels to a radian
    double horizon;                 // eye level, pixels below the upper edge; may lie outside
    std::optional<double> heading;  // of the middle, degrees clockwise from north, if known
    size_t pictures;                // that it is made of
    std::string software;
};

// The XMP packet of such a panorama: its size and place in the whole round, which is centred on it.
std::string gpano_packet(const PanoramaView& view);

}  // namespace ozr_pano

#endif
