// Picture files: read by their content, written by their name.
#include "media/picture_io.h"

#include "base/file_io.h"
#include "base/program_error.h"
#include "media/jpeg_codec.h"
#include "media/png_codec.h"

#include <strings.h>

namespace ozr_pano
{

namespace
{

bool _ends_with(const std::string& path, const std::string& extension)
{
    return path.size() > extension.size() &&
           strcasecmp(path.c_str() + path.size() - extension.size(), extension.c_str()) == 0;
}

bool _is_png_name(const std::string& path)
{
    return _ends_with(path, ".png");
}

}  // namespace

Picture read_picture(const std::string& path)
{
    const std::vector<uint8_t> file = read_file(path);
    try {
        if (looks_like_jpeg(file))
            return decode_jpeg(file);
        if (looks_like_png(file))
            return decode_png(file);
        fail("neither a JPEG nor a PNG picture; convert it to one of them");
    } catch (const ProgramError& error) {
        fail("%s: %s", path.c_str(), error.what());
    }
}

bool is_picture_name(const std::string& path)
{
    return _is_png_name(path) || _ends_with(path, ".jpg") || _ends_with(path, ".jpeg");
}

void write_picture(const std::string& path, const Picture& picture, int quality)
{
    std::vector<uint8_t> file;
    try {
        file = _is_png_name(path) ? encode_png(picture) : encode_jpeg(picture, quality);
    } catch (const ProgramError& error) {
        fail("%s: %s", path.c_str(), error.what());
    }
    write_file_whole(path, file.data(), file.size());
}

}  // namespace ozr_pano
