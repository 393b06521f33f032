// Conversion of raw and picture files by the library's own image operations.
#include "base/file_io.h"
#include "base/names.h"
#include "base/program_error.h"
#include "commands/commands.h"
#include "media/image_owner.h"
#include "media/picture_io.h"

#include <ozr_log.h>
#include <string.h>

namespace ozr_pano
{

namespace
{

constexpr int32_t kTightStride = 1;  // asks for rows without padding, as raw files have them

// The format that raw bytes have by the name of their file, as in photo.nv12; a picture file takes
// RGBA.
ozr_image_format _format_by_name(const std::string& path)
{
    ozr_image_format format = ozr_image_format_rgba32;
    if (is_picture_name(path) || parse_format(extension_of(path), &format))
        return format;
    throw UsageError("--format is required: " + path +
                     " ends neither in .png or .jpg nor in the name of a format, as .nv12");
}

void _check(ozr_err error, const std::string& what)
{
    if (error != ozr_success)
        fail("%s: %s", what.c_str(), ozr_err_to_string(error));
}

void _create(ozr_image* image, int32_t width, int32_t height, ozr_image_format format)
{
    _check(ozr_image_create(image, width, height, kTightStride, format, 0),
           "no memory for an image; give a smaller one");
}

// The size without the last column or row that a format with shared chroma cannot hold.
Size _even(const Size& size, ozr_image_format format)
{
    if (format == ozr_image_format_gray || format == ozr_image_format_rgba32)
        return size;
    return {size.width & ~1, format == ozr_image_format_yuy2 ? size.height : size.height & ~1};
}

void _read_raw(const ConvertOptions& options, ozr_image* image)
{
    const Size& size = options.size;
    if (!is_sane_picture_size(size.width, size.height))
        throw UsageError("--from: raw input needs --size, for example --size 1280x960");
    const Size even = _even(size, options.from);
    if (size.width != even.width || size.height != even.height)
        throw UsageError("--size: raw " + std::string(format_name(options.from)) +
                         " has even sizes; give the size that the file was written with");
    const std::vector<uint8_t> bytes = read_file(options.input);
    _create(image, size.width, size.height, options.from);
    if (bytes.size() != static_cast<size_t>(image->size))
        fail("%s: %zu bytes, but %dx%d in %s has %d; check --from and --size", options.input.c_str(),
             bytes.size(), size.width, size.height, format_name(options.from), image->size);
    memcpy(image->data, bytes.data(), bytes.size());
}

void _read_file(const ConvertOptions& options, ozr_image* image)
{
    const Picture picture = read_picture(options.input);
    // Sampling makes a grey picture of another size: what does not fit then, the conversion says.
    const Size whole = {picture.width, picture.height};
    const Size size = options.sample > 0 ? whole : _even(whole, options.format);
    if (size.width != whole.width || size.height != whole.height)
        say("%s is cropped from %dx%d to %dx%d: %s needs even sizes", options.input.c_str(), whole.width,
            whole.height, size.width, size.height, format_name(options.format));
    _create(image, size.width, size.height, ozr_image_format_rgba32);
    for (int32_t y = 0; y < size.height; ++y)
        memcpy(image->data + static_cast<ptrdiff_t>(y) * image->stride, picture.row(y),
               static_cast<size_t>(size.width) * 4);
}

// The library converts to and from RGBA; any other pair of formats goes through it.
void _convert(const ozr_image& image, ozr_image_format format, ozr_image* result)
{
    _create(result, image.width, image.height, format);  // fits already, so it keeps its tight rows
    const std::string what = std::string("conversion of ") + std::to_string(image.width) + "x" +
                             std::to_string(image.height) + " pixels from " + format_name(image.format) +
                             " to " + format_name(format) +
                             "; chroma shared by pixels needs even sizes, gray and rgba take any";
    if (image.format == format || image.format == ozr_image_format_rgba32 ||
        format == ozr_image_format_rgba32) {
        _check(ozr_image_convert(&image, result, format), what);
        return;
    }
    ImageOwner rgba;
    _check(ozr_image_convert_to_rgba(&image, rgba.get()), what);
    _check(ozr_image_convert(rgba.get(), result, format), what);
}

void _write(const ConvertOptions& options, const ozr_image& image)
{
    if (!is_picture_name(options.output)) {
        write_file_whole(options.output, image.data, static_cast<size_t>(image.size));
        return;
    }
    ImageOwner rgba;
    _convert(image, ozr_image_format_rgba32, rgba.get());
    Picture picture(image.width, image.height);
    memcpy(picture.rgba.data(), rgba.get()->data, picture.rgba.size());
    write_picture(options.output, picture, options.jpeg_quality);
}

}  // namespace

void run_convert(const ConvertOptions& given)
{
    ConvertOptions options = given;
    if (!options.has_format)
        options.format = _format_by_name(options.output);
    ozr_log_disable();  // what fails is said in one line
    require_writable(options.output);
    ImageOwner source, sampled, converted;
    if (options.is_raw)
        _read_raw(options, source.get());
    else
        _read_file(options, source.get());
    if (options.flip)
        _check(ozr_image_hflip(source.get()), std::string("mirroring ") + format_name(source.get()->format) +
                                                  "; convert to another format first");
    const ozr_image* image = source.get();
    if (options.sample > 0) {
        const int32_t width = image->width / options.sample, height = image->height / options.sample;
        if (width < 1 || height < 1)
            fail("%s: nothing is left of %dx%d pixels; choose a smaller --sample", options.input.c_str(),
                 image->width, image->height);
        _create(sampled.get(), width, height, ozr_image_format_gray);
        _check(ozr_image_sample_gray(sampled.get(), image, options.sample),
               "sampling; convert to another format first");
        image = sampled.get();
    }
    _convert(*image, options.format, converted.get());
    _write(options, *converted.get());
    printf("%dx%d in %s written to %s\n", image->width, image->height, format_name(options.format),
           options.output.c_str());
}

}  // namespace ozr_pano
