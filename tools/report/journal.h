// What a run did: collected while it works, told afterwards by the summary and the report page.
#ifndef JOURNAL_H
#define JOURNAL_H

#include "media/picture.h"

#include <ozr_panorama.h>

#include <chrono>
#include <string>
#include <vector>

namespace ozr_pano
{

// Confidence of a joint from which on it is trusted.
constexpr float kTrustedJoint = 0.5F;

// One picture of the sweep.
struct PictureEntry {
    std::string source;         // a file's name, or "frame 12"
    bool has_offset = false;    // false: the first picture, or derived from the overlap
    ozr_point offset = {0, 0};  // pixels of the preview since the picture before
    bool has_truth = false;     // the camera's true motion is known
    double truth_x = 0, truth_y = 0;
    Picture thumbnail;               // empty unless a report page is wanted
    std::vector<uint8_t> exif = {};  // of its file, if it has one
};

// One preview of the sweep.
struct PreviewEntry {
    ozr_point offset;      // pixels of the preview since the picture announced last
    int32_t announced;     // the number of the picture that is due now, 0 for none
    size_t pictures_then;  // that the sweep had
};

struct Journal {
    std::string command;  // "demo", "stitch", "video", "replay"
    ozr_panorama_direction direction = ozr_panorama_direction_auto;
    int32_t overlap = 0;  // percent that was asked for
    ozr_panorama_quality quality = ozr_panorama_quality_classic;
    int32_t picture_width = 0, picture_height = 0;
    std::vector<PictureEntry> pictures;
    std::vector<PreviewEntry> previews;
    int pictures_used = 0;
    std::vector<ozr_panorama_joint> joints;    // of the panorama, as the library tells them
    std::vector<ozr_panorama_camera> cameras;  // one for each picture; none of a classic sweep
    int32_t width = 0, height = 0;             // of the panorama, 0 while there is none
    std::string output;                        // files written, empty for none
    std::string report;
    std::string failure;  // why there is no panorama

    // Adds the time until the returned object dies to a stage; stages are listed in the order of
    // their first use.
    class Lap
    {
    public:
        Lap(Journal* journal, size_t stage)
            : journal_(journal), stage_(stage), begin_(std::chrono::steady_clock::now())
        {
        }
        Lap(const Lap&) = delete;
        Lap& operator=(const Lap&) = delete;
        ~Lap() { journal_->stages[stage_].time += std::chrono::steady_clock::now() - begin_; }

    private:
        Journal* journal_;
        size_t stage_;
        std::chrono::steady_clock::time_point begin_;
    };
    Lap time(const char* stage);

    struct Stage {
        std::string name;
        std::chrono::duration<double, std::milli> time{0};
    };
    std::vector<Stage> stages;
};

// What became of the same pictures in the other quality.
struct Counterpart {
    Journal journal;
    Picture panorama;  // reduced; without pixels when there is none
};

// Whether each picture is in the panorama.
std::vector<bool> used_pictures(const Journal& journal);

}  // namespace ozr_pano

#endif
