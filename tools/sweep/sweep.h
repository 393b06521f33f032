// One sweep through the library, as a camera application drives it.
#ifndef SWEEP_H
#define SWEEP_H

#include "base/progress.h"
#include "sweep/comparison.h"
#include "sweep/session.h"

namespace ozr_pano
{

// What every command that makes a sweep of its own takes.
struct SweepOptions : CommonOptions {
    ozr_panorama_quality quality = ozr_panorama_quality_refined;
    bool strict = false;   // a panorama with a doubtful place is a failure
    bool compare = false;  // the report page shows the other quality too
};

// What the library answers to a preview.
struct Announcement {
    bool due = false;    // the next picture is to be taken now
    bool ended = false;  // the sweep is full
    ozr_point offset = {0, 0};
};

// A session whose failures are told to the user: every one throws ProgramError.
class Sweep
{
public:
    // `overlap`: percent.
    Sweep(const SweepOptions& options, Journal* journal, ozr_panorama_direction direction, int32_t overlap);

    int32_t max_pictures() const { return session_.limits().max_supported_num_images; }

    // Shows the library a preview frame. `name`: of the frame, for messages.
    Announcement watch(const ozr_image& preview, const std::string& name);

    // Adds a picture. Its entry tells the offset, or that the library is to derive it.
    void add(ozr_image* picture, PictureEntry entry);

    // Composes the panorama, writes it, and completes the journal. Says which pictures are left
    // out, and which joints are not to be trusted.
    void finish();

    // Ends a sweep that makes no panorama: the report page, if one is wanted, says why.
    [[noreturn]] void give_up(const char* format, ...) __attribute__((format(printf, 2, 3)));

private:
    // Says each picture that is left out and each joint that is not trusted; returns how many.
    int say_doubts();

    const SweepOptions& options_;
    Journal* journal_;
    Progress progress_;
    Session session_;
    Comparison comparison_;
};

}  // namespace ozr_pano

#endif
