// Picture files: read by their content, written by their name.
#include "media/picture_io.h"

#include "base/file_io.h"
#include "base/program_error.h"
#include "media/png_codec.h"

namespace ozr_pano
{

namespace
{

bool _is_png_name(const std::string& path)
{
    return extension_of(path) == "png";
}

}  // namespace

std::string extension_of(const std::string& path)
{
    const size_t point = path.rfind('.');
    if (point == std::string::npos || point == 0 || path.find('/', point) != std::string::npos)
        return "";
    std::string extension = path.substr(point + 1);
    for (char& letter : extension) {
        if (letter >= 'A' && letter <= 'Z')
            letter = static_cast<char>(letter - 'A' + 'a');
    }
    return extension;
}

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
    const std::string extension = extension_of(path);
    return extension == "png" || extension == "jpg" || extension == "jpeg";
}

void write_picture(const std::string& path, const Picture& picture, int quality, const Metadata& metadata)
{
    std::vector<uint8_t> file;
    try {
        file = _is_png_name(path) ? encode_png(picture) : encode_jpeg(picture, quality, metadata);
    } catch (const ProgramError& error) {
        fail("%s: %s", path.c_str(), error.what());
    }
    write_file_whole(path, file.data(), file.size());
}

}  // namespace ozr_pano
