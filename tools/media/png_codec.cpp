// PNG by libpng's simplified interface: it returns on failure and turns every kind of PNG into
// 8-bit RGBA.
#include "media/png_codec.h"

#include "base/program_error.h"
#include "media/exif.h"

#include <png.h>
#include <string.h>

namespace ozr_pano
{

namespace
{

constexpr uint8_t kSignature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr size_t kChunkHeaderBytes = 8, kChunkCheckBytes = 4;

// png_image with its release.
struct PngImage {
    png_image image = {};

    PngImage() { image.version = PNG_IMAGE_VERSION; }
    PngImage(const PngImage&) = delete;
    PngImage& operator=(const PngImage&) = delete;
    ~PngImage() { png_image_free(&image); }
};

struct PngChunk {
    const uint8_t* type;  // four letters
    const uint8_t* data;
    size_t length;  // as stated; more than `left` in a broken file
    size_t left;    // from the data to the end of the file
};

// Walks the chunks until `is_last` says so, the file ends, or a chunk is longer than what is left
// of it.
template <typename IsLast>
void _walk_chunks(const std::vector<uint8_t>& file, IsLast is_last)
{
    size_t position = sizeof(kSignature);
    while (position + kChunkHeaderBytes <= file.size()) {
        const uint8_t* header = file.data() + position;
        position += kChunkHeaderBytes;
        const PngChunk chunk = {header + 4, header + kChunkHeaderBytes, png_get_uint_32(header),
                                file.size() - position};
        if (is_last(chunk) || chunk.length > chunk.left)
            return;
        position += chunk.length + kChunkCheckBytes;
    }
}

bool _is(const PngChunk& chunk, const char* type)
{
    return memcmp(chunk.type, type, 4) == 0;
}

// libpng allocates what a chunk ahead of the pixels claims before it reads the chunk.
void _check_claims(const std::vector<uint8_t>& file)
{
    _walk_chunks(file, [](const PngChunk& chunk) {
        if (chunk.length > chunk.left && !_is(chunk, "IDAT"))
            fail("broken PNG: a chunk ends behind the file; save or fetch it again");
        return _is(chunk, "IDAT");
    });
}

// The simplified interface does not show the eXIf chunk.
std::vector<uint8_t> _exif(const std::vector<uint8_t>& file)
{
    std::vector<uint8_t> exif;
    _walk_chunks(file, [&exif](const PngChunk& chunk) {
        const bool is_exif = _is(chunk, "eXIf") && chunk.length <= chunk.left;
        if (is_exif)
            exif.assign(chunk.data, chunk.data + chunk.length);
        return is_exif;
    });
    return exif;
}

}  // namespace

bool looks_like_png(const std::vector<uint8_t>& file)
{
    return file.size() >= sizeof(kSignature) && memcmp(file.data(), kSignature, sizeof(kSignature)) == 0;
}

Picture decode_png(const std::vector<uint8_t>& file)
{
    _check_claims(file);
    PngImage png;
    if (png_image_begin_read_from_memory(&png.image, file.data(), file.size()) == 0)
        fail("broken PNG: %s; save or fetch it again", png.image.message);
    if (!is_sane_picture_size(png.image.width, png.image.height))
        fail("%ux%u pixels are too many; scale it down to 16384 a side and 64 million in all",
             png.image.width, png.image.height);
    png.image.format = PNG_FORMAT_RGBA;
    Picture picture(static_cast<int32_t>(png.image.width), static_cast<int32_t>(png.image.height));
    if (png_image_finish_read(&png.image, nullptr, picture.rgba.data(), 0, nullptr) == 0)
        fail("broken PNG: %s; save or fetch it again", png.image.message);
    std::vector<uint8_t> exif = _exif(file);
    picture = turn_upright(std::move(picture), exif_orientation(exif.data(), exif.size()));
    picture.exif = std::move(exif);
    return picture;
}

std::vector<uint8_t> encode_png(const Picture& picture)
{
    std::vector<uint8_t> rgb;
    rgb.reserve(picture.rgba.size() / 4 * 3);
    for (size_t i = 0; i < picture.rgba.size(); i += 4)
        rgb.insert(rgb.end(), &picture.rgba[i], &picture.rgba[i] + 3);

    PngImage png;
    png.image.width = static_cast<png_uint_32>(picture.width);
    png.image.height = static_cast<png_uint_32>(picture.height);
    png.image.format = PNG_FORMAT_RGB;
    std::vector<uint8_t> file(PNG_IMAGE_PNG_SIZE_MAX(png.image));
    png_alloc_size_t size = file.size();
    if (png_image_write_to_memory(&png.image, file.data(), &size, 0, rgb.data(), 0, nullptr) == 0)
        fail("cannot be stored as PNG: %s; try a .jpg", png.image.message);
    file.resize(size);
    return file;
}

}  // namespace ozr_pano
