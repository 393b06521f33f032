// The orientation that a camera notes in its pictures.
#ifndef EXIF_H
#define EXIF_H

#include "media/picture.h"

namespace ozr_pano
{

/**
 * Finds the orientation tag in a TIFF block, as Exif data hold it.
 *
 * @param tiff, size  the block from its byte order mark on; any bytes are allowed.
 * @return 1 to 8 by Exif's numbering; 1, upright, when the tag is missing or the block is broken.
 */
int exif_orientation(const uint8_t* tiff, size_t size);

/** Turns a picture upright that was stored with an Exif orientation of 1 to 8. */
Picture turn_upright(Picture stored, int orientation);

}  // namespace ozr_pano

#endif
