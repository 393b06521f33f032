// The program's readers of foreign bytes: video streams, JPEG and PNG files, Exif blocks, raw
// pictures, recordings.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

#include "base/program_error.h"
#include "commands/commands.h"
#include "fuzz_picture.h"
#include "media/exif.h"
#include "media/image_owner.h"
#include "media/jpeg_codec.h"
#include "media/png_codec.h"
#include "media/y4m.h"
#include "record/recording.h"

using namespace ozr_pano;

namespace
{

// Larger pictures are the decoders' work, not the program's, and slow.
constexpr int32_t kMaxSide = 600;

void _read_video(FuzzInput* input)
{
    if (input->empty())
        return;
    FILE* file = fmemopen(const_cast<uint8_t*>(input->rest()), input->left(), "rb");
    try {
        Y4mReader reader(file, "clip");
        if (reader.width() <= kMaxSide && reader.height() <= kMaxSide) {
            ImageOwner frame(reader.width() & ~1, reader.height() & ~1);
            while (reader.read_frame(frame.get()))
                fuzz_read_all(frame.get()->data, frame.get()->size);
        }
    } catch (const ProgramError&) {
    }
    fclose(file);
}

std::vector<uint8_t> _rest(const FuzzInput& input)
{
    return {input.rest(), input.rest() + input.left()};
}

// A picture and what is handed on of it: NV12 for the library and back, a file in the other format.
void _read_picture(FuzzInput* input)
{
    const std::vector<uint8_t> file = _rest(*input);
    try {
        const Picture picture = looks_like_jpeg(file) ? decode_jpeg(file) : decode_png(file);
        if (picture.width > kMaxSide || picture.height > kMaxSide)
            return;
        if (picture.width > 1 && picture.height > 1) {
            ImageOwner nv12(picture.width & ~1, picture.height & ~1);
            convert_to_nv12(picture, nv12.get());
            convert_to_picture(*nv12.get());
        }
        encode_jpeg(picture, 50, {carried_exif(picture.exif, picture.width, picture.height), "xmp"});
        encode_png(picture);
    } catch (const ProgramError&) {
    }
}

void _read_exif(FuzzInput* input)
{
    const std::vector<uint8_t> block = _rest(*input);
    turn_upright(Picture(3, 2), exif_orientation(block.data(), block.size()));
    exif_heading(block);
    // What is carried over can be carried over again, and is upright.
    const std::vector<uint8_t> carried = carried_exif(block, 3, 2);
    if (carried.size() > 65527 || exif_orientation(carried.data(), carried.size()) != 1 ||
        carried_exif(carried, 3, 2) != carried)
        abort();
}

// A file of these bytes that needs no folder.
class MemoryFile
{
public:
    explicit MemoryFile(const FuzzInput& input) : descriptor_(memfd_create("fuzz", 0))
    {
        if (write(descriptor_, input.rest(), input.left()) < 0)
            abort();
    }
    ~MemoryFile() { close(descriptor_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

private:
    int descriptor_;
};

// Where results go: into one folder of this process, in memory where the system has such a place.
const std::string& _result_folder()
{
    static const std::string folder = [] {
        char name[] = "/dev/shm/ozr-fuzz.XXXXXX";
        return std::string(mkdtemp(name) != nullptr ? name : "/tmp");
    }();
    static const int registered = atexit([] {
        for (const char* name : {"/result.png", "/result.raw"})
            unlink((_result_folder() + name).c_str());
        rmdir(_result_folder().c_str());
    });
    (void)registered;
    return folder;
}

void _convert(FuzzInput* input)
{
    ConvertOptions options;
    options.is_raw = input->flag();
    options.from = static_cast<ozr_image_format>(input->between(0, 5));
    options.format = static_cast<ozr_image_format>(input->between(0, 5));
    options.size = {input->between(0, 40), input->between(0, 40)};
    if (input->byte() >= 224)
        options.size.width = input->number();
    options.flip = input->flag();
    options.sample = input->between(0, 4);
    options.output = _result_folder() + (input->flag() ? "/result.png" : "/result.raw");
    const MemoryFile file(*input);
    options.input = file.path();
    try {
        run_convert(options);
    } catch (const ProgramError&) {
    }
}

std::string _text_of(const Recording& recording)
{
    std::string text = recording_head(recording.library);
    for (const RecordedCall& call : recording.calls)
        text += call_text(call) + (call.has_result ? result_text(call) : "");
    return text + (recording.complete ? recording_end() : "");
}

// What is read can be written, and reads the same.
void _read_recording(FuzzInput* input)
{
    try {
        const std::vector<uint8_t> bytes = _rest(*input);
        const std::string text = _text_of(parse_recording(std::string(bytes.begin(), bytes.end())));
        if (_text_of(parse_recording(text)) != text)
            abort();
    } catch (const ProgramError&) {
    }
}

constexpr int kRecordings = 49;  // the kinds 196 to 199, which the corpus of the others leaves free

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    const uint8_t kind = input.byte();
    if (kind / 4 == kRecordings) {
        _read_recording(&input);
        return 0;
    }
    switch (kind % 4) {
    case 0:
        _read_video(&input);
        break;
    case 1:
        _read_picture(&input);
        break;
    case 2:
        _read_exif(&input);
        break;
    default:
        _convert(&input);
    }
    return 0;
}
