// What a run did: collected while it works, printed for people or for machines.
#ifndef REPORT_H
#define REPORT_H

#include <ozr_panorama.h>

#include <chrono>
#include <string>
#include <vector>

/** One picture of the sweep. */
struct PictureEntry {
    std::string source;         // a file's name, or "frame 12"
    bool has_offset = false;    // false: the first picture, or the library derives it from the overlap
    ozr_point offset = {0, 0};  // pixels of the preview since the picture before
    bool has_truth = false;     // the camera's true motion is known
    double truth_x = 0, truth_y = 0;
};

struct Report {
    std::string command;  // "demo", "stitch", "video"
    ozr_panorama_direction direction = ozr_panorama_direction_auto;
    int32_t picture_width = 0, picture_height = 0;
    std::vector<PictureEntry> pictures;
    int previews = 0;
    int pictures_used = 0;
    int32_t width = 0, height = 0;  // of the panorama
    std::string output;

    /** Adds the time until the returned object dies to a stage; stages are listed in the order of their first use. */
    class Lap
    {
    public:
        Lap(Report* report, size_t stage)
            : report_(report), stage_(stage), begin_(std::chrono::steady_clock::now())
        {
        }
        Lap(const Lap&) = delete;
        Lap& operator=(const Lap&) = delete;
        ~Lap() { report_->stages[stage_].time += std::chrono::steady_clock::now() - begin_; }

    private:
        Report* report_;
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

/** The word for a direction: "auto", "right" ... */
const char* direction_name(ozr_panorama_direction direction);

/** Prints a summary to standard output: a table for people, or one JSON object. */
void print_report(const Report& report, bool json);

#endif
