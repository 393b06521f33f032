// The words that users and recordings have for the library's enumerations.
#ifndef NAMES_H
#define NAMES_H

#include <ozr_panorama.h>

#include <string>
#include <vector>

namespace ozr_pano
{

// The word for a direction: "auto", "right", "left", "down", "up".
const char* direction_name(ozr_panorama_direction direction);

// The word for a quality: "classic", "refined".
const char* quality_name(ozr_panorama_quality quality);

// The word for a pixel format: "nv12", "yv12", "gray", "rgba", "yuy2", "nv21".
const char* format_name(ozr_image_format format);

// Whether a word is the name of a direction, of a quality, or of a pixel format; stores which.
bool parse_direction(const std::string& name, ozr_panorama_direction* direction);
bool parse_quality(const std::string& name, ozr_panorama_quality* quality);
bool parse_format(const std::string& name, ozr_image_format* format);

}  // namespace ozr_pano

#endif
