// Picture files: read by their content, written by their name.
#ifndef PICTURE_IO_H
#define PICTURE_IO_H

#include "media/jpeg_codec.h"

#include <string>

namespace ozr_pano
{

// Reads a JPEG or PNG file, upright. Throws ProgramError naming the file and the reason.
Picture read_picture(const std::string& path);

// What follows the last point of a file's name, in small letters; empty for a path without, or that
// begins with it.
std::string extension_of(const std::string& path);

// Whether write_picture knows the extension: .png, .jpg or .jpeg in any case.
bool is_picture_name(const std::string& path);

// Writes a picture whole or not at all, by the extension; quality and metadata are for JPEG. Throws
// as read_picture does.
void write_picture(const std::string& path, const Picture& picture, int quality,
                   const Metadata& metadata = Metadata());

}  // namespace ozr_pano

#endif
