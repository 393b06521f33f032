// The text of a recording: the calls that drove one session, with what the library answered.
// docs/recording.md has the format for those who write it elsewhere.
#ifndef RECORDING_H
#define RECORDING_H

#include <ozr_panorama.h>

#include <string>
#include <vector>

namespace ozr_pano
{

// The file of a recording's folder that holds the text.
constexpr char kCallsFile[] = "calls.txt";

enum class CallKind { set_parameters, set_quality, stitch_one_image, detect_frame_to_stitch, run, reset };

// The name of the library's function without its prefix.
const char* call_name(CallKind kind);

// An image without its bytes, which lie in a file of the folder, or were the library's panorama.
struct RecordedImage {
    std::string file;  // empty for a panorama
    ozr_image geometry = {};
    uint32_t checksum = 0;  // CRC-32 of geometry.size bytes
};

struct RecordedCall {
    int line = 0;  // of the text, from 1
    CallKind kind = CallKind::run;

    // What the library was given.
    ozr_panorama_parameters parameters = {0, ozr_panorama_direction_auto};
    ozr_panorama_quality quality = ozr_panorama_quality_classic;
    RecordedImage image;      // a preview or picture
    bool has_offset = false;  // of a picture
    ozr_point offset = {0, 0};

    // What it answered. A process that dies within a call leaves none.
    bool has_result = false;
    int32_t result = 0;
    ozr_point found_offset = {0, 0};  // of a preview, unless refused
    ozr_panorama_direction found_direction = ozr_panorama_direction_auto;
    RecordedImage panorama;  // of a successful run
};

struct Recording {
    std::string library;  // the banner of the library that was driven
    std::vector<RecordedCall> calls;
    bool complete = false;  // the text ends as it should, not with the process that wrote it
};

// CRC-32 as in PNG and gzip.
uint32_t checksum_of(const uint8_t* data, size_t size);

// The first two lines.
std::string recording_head(const std::string& library);

// The line of a call, and of its result.
std::string call_text(const RecordedCall& call);
std::string result_text(const RecordedCall& call);

// The last line.
std::string recording_end();

// Reads a whole text. Throws ProgramError with the line and the reason.
Recording parse_recording(const std::string& text);

}  // namespace ozr_pano

#endif
