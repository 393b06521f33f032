// What a camera notes in its pictures.
#ifndef EXIF_H
#define EXIF_H

#include "media/picture.h"

#include <optional>

namespace ozr_pano
{

// Finds the orientation tag in a TIFF block, as Exif data hold it.
//
// `tiff`, `size`: the block from its byte order mark on; any bytes are allowed.
// Returns 1 to 8 by Exif's numbering; 1, upright, when the tag is missing or the block is broken.
int exif_orientation(const uint8_t* tiff, size_t size);

// A TIFF block for a panorama of this size: what the block of its first picture says of camera,
// time, place and author. The orientation is normal; thumbnails and makers' notes stay behind.
//
// `tiff`: any bytes are allowed; a broken block gives an empty one, a broken entry is left out.
std::vector<uint8_t> carried_exif(const std::vector<uint8_t>& tiff, int32_t width, int32_t height);

// Where the camera looked, in degrees clockwise from north, if the block says so.
std::optional<double> exif_heading(const std::vector<uint8_t>& tiff);

// Turns a picture upright that was stored with an Exif orientation of 1 to 8.
Picture turn_upright(Picture stored, int orientation);

}  // namespace ozr_pano

#endif
