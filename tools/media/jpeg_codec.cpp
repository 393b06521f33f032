// JPEG by libjpeg-turbo. The library reports a failure by a call that must not return; it is left
// by longjmp, so no function between setjmp and a call of libjpeg holds an object with a
// destructor: all that is to be freed lives in the caller's codec object.
#include "media/jpeg_codec.h"

#include "base/program_error.h"
#include "media/exif.h"

#include <setjmp.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <jerror.h>
#include <jpeglib.h>

namespace ozr_pano
{

namespace
{

constexpr uint8_t kStartOfImage[] = {0xFF, 0xD8, 0xFF};
constexpr char kExifMark[] = "Exif\0";  // with the literal's own end two zero bytes
constexpr char kXmpMark[] = "http://ns.adobe.com/xap/1.0/";
constexpr size_t kMaxSegmentBytes = 65533;
constexpr int kMaxScans = 256;  // more would keep a decoder busy for hours

struct ErrorReturn {
    jpeg_error_mgr manager;  // first member: libjpeg hands its address back
    jmp_buf jump;
    char text[JMSG_LENGTH_MAX];
};

// By way of void*, as in C: the address is that of the whole record, which is aligned for all of
// it.
ErrorReturn* _error_return(j_common_ptr codec)
{
    return static_cast<ErrorReturn*>(static_cast<void*>(codec->err));
}

[[noreturn]] void _leave(j_common_ptr codec)
{
    ErrorReturn* error = _error_return(codec);
    codec->err->format_message(codec, error->text);
    longjmp(error->jump, 1);
}

// A warning means that data are missing or wrong; only those about mere form are let pass.
void _judge_warning(j_common_ptr codec, int level)
{
    if (level >= 0)
        return;
    switch (codec->err->msg_code) {
    case JWRN_ADOBE_XFORM:
    case JWRN_BOGUS_PROGRESSION:
    case JWRN_EXTRANEOUS_DATA:
    case JWRN_JFIF_MAJOR:
        return;
    default:
        _leave(codec);
    }
}

void _stop_endless_scans(j_common_ptr codec)
{
    const jpeg_decompress_struct* decoder =
        static_cast<const jpeg_decompress_struct*>(static_cast<void*>(codec));
    if (decoder->input_scan_number <= kMaxScans)
        return;
    ErrorReturn* error = _error_return(codec);
    snprintf(error->text, sizeof(error->text), "more than %d scans", kMaxScans);
    longjmp(error->jump, 1);
}

jpeg_error_mgr* _set_up(ErrorReturn* error)
{
    jpeg_std_error(&error->manager);
    error->manager.error_exit = _leave;
    error->manager.emit_message = _judge_warning;
    return &error->manager;
}

struct JpegDecoder {
    jpeg_decompress_struct codec = {};
    ErrorReturn error = {};
    jpeg_progress_mgr progress = {};

    JpegDecoder() { codec.err = _set_up(&error); }
    JpegDecoder(const JpegDecoder&) = delete;
    JpegDecoder& operator=(const JpegDecoder&) = delete;
    ~JpegDecoder() { jpeg_destroy_decompress(&codec); }

    bool read_header(const std::vector<uint8_t>& file)
    {
        if (setjmp(error.jump) != 0)
            return false;
        jpeg_create_decompress(&codec);
        progress.progress_monitor = _stop_endless_scans;
        codec.progress = &progress;
        jpeg_mem_src(&codec, file.data(), static_cast<unsigned long>(file.size()));
        jpeg_save_markers(&codec, JPEG_APP0 + 1, 0xFFFF);
        jpeg_read_header(&codec, TRUE);
        return true;
    }

    bool read_pixels(Picture* picture)
    {
        if (setjmp(error.jump) != 0)
            return false;
        codec.out_color_space = JCS_EXT_RGBA;
        jpeg_start_decompress(&codec);
        while (codec.output_scanline < codec.output_height) {
            JSAMPROW row = picture->row(static_cast<int32_t>(codec.output_scanline));
            jpeg_read_scanlines(&codec, &row, 1);
        }
        jpeg_finish_decompress(&codec);
        return true;
    }

    // The TIFF block of its first Exif segment that is not empty.
    std::vector<uint8_t> exif() const
    {
        for (jpeg_saved_marker_ptr marker = codec.marker_list; marker != nullptr; marker = marker->next) {
            if (marker->data_length > sizeof(kExifMark) &&
                memcmp(marker->data, kExifMark, sizeof(kExifMark)) == 0)
                return {marker->data + sizeof(kExifMark), marker->data + marker->data_length};
        }
        return {};
    }
};

struct JpegEncoder {
    jpeg_compress_struct codec = {};
    ErrorReturn error = {};
    unsigned char* bytes =
        nullptr;  // the file, from malloc; while it grows libjpeg leaves a stale address here
    unsigned long size = 0;
    bool finished = false;

    JpegEncoder() { codec.err = _set_up(&error); }
    JpegEncoder(const JpegEncoder&) = delete;
    JpegEncoder& operator=(const JpegEncoder&) = delete;
    ~JpegEncoder()
    {
        jpeg_destroy_compress(&codec);
        if (finished)
            free(bytes);
    }

    // `segments`: to stand before the pixels, each with its mark.
    bool write(const Picture& picture, int quality, const std::vector<std::vector<uint8_t>>& segments)
    {
        if (setjmp(error.jump) != 0)
            return false;
        jpeg_create_compress(&codec);
        jpeg_mem_dest(&codec, &bytes, &size);
        codec.image_width = static_cast<JDIMENSION>(picture.width);
        codec.image_height = static_cast<JDIMENSION>(picture.height);
        codec.input_components = 4;
        codec.in_color_space = JCS_EXT_RGBX;
        jpeg_set_defaults(&codec);
        jpeg_set_quality(&codec, quality, TRUE);
        jpeg_start_compress(&codec, TRUE);
        for (const std::vector<uint8_t>& segment : segments)
            jpeg_write_marker(&codec, JPEG_APP0 + 1, segment.data(),
                              static_cast<unsigned int>(segment.size()));
        while (codec.next_scanline < codec.image_height) {
            JSAMPROW row = const_cast<JSAMPROW>(picture.row(static_cast<int32_t>(codec.next_scanline)));
            jpeg_write_scanlines(&codec, &row, 1);
        }
        jpeg_finish_compress(&codec);
        finished = true;
        return true;
    }
};

// A mark with its own end, then data; nothing where there are no data, or too many.
template <size_t kSize, class Data>
void _add_segment(const char (&mark)[kSize], const Data& data, std::vector<std::vector<uint8_t>>* segments)
{
    if (data.empty() || data.size() > kMaxSegmentBytes - kSize)
        return;
    segments->emplace_back(mark, mark + kSize);
    segments->back().insert(segments->back().end(), data.begin(), data.end());
}

}  // namespace

bool looks_like_jpeg(const std::vector<uint8_t>& file)
{
    return file.size() >= sizeof(kStartOfImage) &&
           memcmp(file.data(), kStartOfImage, sizeof(kStartOfImage)) == 0;
}

Picture decode_jpeg(const std::vector<uint8_t>& file)
{
    JpegDecoder decoder;
    if (!decoder.read_header(file))
        fail("broken JPEG: %s; save or fetch it again", decoder.error.text);
    const jpeg_decompress_struct& header = decoder.codec;
    if (header.jpeg_color_space == JCS_CMYK || header.jpeg_color_space == JCS_YCCK)
        fail("a JPEG in CMYK colours is not supported; save it in RGB");
    if (!is_sane_picture_size(header.image_width, header.image_height))
        fail("%ux%u pixels are too many; scale it down to 16384 a side and 64 million in all",
             header.image_width, header.image_height);
    // Asked now: libjpeg drops the markers with the last row.
    const std::vector<uint8_t> exif = decoder.exif();
    Picture picture(static_cast<int32_t>(header.image_width), static_cast<int32_t>(header.image_height));
    if (!decoder.read_pixels(&picture))
        fail("broken JPEG: %s; save or fetch it again", decoder.error.text);
    picture = turn_upright(std::move(picture), exif_orientation(exif.data(), exif.size()));
    picture.exif = exif;
    return picture;
}

std::vector<uint8_t> encode_jpeg(const Picture& picture, int quality, const Metadata& metadata)
{
    if (picture.width > JPEG_MAX_DIMENSION || picture.height > JPEG_MAX_DIMENSION)
        fail("%dx%d pixels are too many for a JPEG; name a .png", picture.width, picture.height);
    std::vector<std::vector<uint8_t>> segments;
    _add_segment(kExifMark, metadata.exif, &segments);
    _add_segment(kXmpMark, metadata.xmp, &segments);
    JpegEncoder encoder;
    if (!encoder.write(picture, quality, segments))
        fail("cannot be stored as JPEG: %s; try a .png", encoder.error.text);
    return std::vector<uint8_t>(encoder.bytes, encoder.bytes + encoder.size);
}

}  // namespace ozr_pano
