// The words that users and recordings have for the library's enumerations: each list in the order
// of its enumeration.
#include "base/names.h"

namespace ozr_pano
{

namespace
{

constexpr const char* kDirectionNames[] = {"auto", "right", "left", "down", "up"};
constexpr const char* kQualityNames[] = {"classic", "refined"};
constexpr const char* kFormatNames[] = {"nv12", "yv12", "gray", "rgba", "yuy2", "nv21"};

template <class Enumeration, size_t kCount>
bool _parse(const char* const (&names)[kCount], const std::string& name, Enumeration* value)
{
    for (size_t i = 0; i < kCount; ++i) {
        if (name == names[i]) {
            *value = static_cast<Enumeration>(i);
            return true;
        }
    }
    return false;
}

}  // namespace

const char* direction_name(ozr_panorama_direction direction)
{
    const bool known = direction >= ozr_panorama_direction_right && direction <= ozr_panorama_direction_up;
    return kDirectionNames[known ? direction : ozr_panorama_direction_auto];
}

const char* quality_name(ozr_panorama_quality quality)
{
    return kQualityNames[quality];
}

const char* format_name(ozr_image_format format)
{
    return kFormatNames[format];
}

bool parse_direction(const std::string& name, ozr_panorama_direction* direction)
{
    return _parse(kDirectionNames, name, direction);
}

bool parse_quality(const std::string& name, ozr_panorama_quality* quality)
{
    return _parse(kQualityNames, name, quality);
}

bool parse_format(const std::string& name, ozr_image_format* format)
{
    return _parse(kFormatNames, name, format);
}

}  // namespace ozr_pano
