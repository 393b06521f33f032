// JPEG in and out of memory.
#ifndef JPEG_CODEC_H
#define JPEG_CODEC_H

#include "media/picture.h"

#include <string>

namespace ozr_pano
{

// Whether bytes begin like a JPEG file.
bool looks_like_jpeg(const std::vector<uint8_t>& file);

// Decodes a JPEG file and turns it upright by its Exif orientation.
//
// Throws ProgramError with the reason alone: broken or cut off, too large, CMYK.
Picture decode_jpeg(const std::vector<uint8_t>& file);

// What a file says about its picture.
struct Metadata {
    std::vector<uint8_t> exif;  // a TIFF block
    std::string xmp;            // an XMP packet
};

// Encodes at a quality of 1 to 100. Metadata that do not fit a segment are left out. Throws
// ProgramError with the reason alone.
std::vector<uint8_t> encode_jpeg(const Picture& picture, int quality, const Metadata& metadata = Metadata());

}  // namespace ozr_pano

#endif
