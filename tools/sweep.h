// One sweep through the library, as a camera application drives it.
#ifndef SWEEP_H
#define SWEEP_H

#include "progress.h"
#include "report.h"

#include <memory>

/** What every command takes. */
struct CommonOptions {
    std::string output;
    int quality = 90;  // of JPEG, 1 to 100
    bool verbose = false;
    bool json = false;
};

/** What the library answers to a preview. */
struct Announcement {
    bool due = false;    // the next picture is to be taken now
    bool ended = false;  // the sweep is full
    ozr_point offset = {0, 0};
};

/** A session of the library that notes in a report what happens. Every failure throws ProgramError. */
class Sweep
{
public:
    /** @param overlap  percent. */
    Sweep(const CommonOptions& options, Report* report, ozr_panorama_direction direction, int32_t overlap);

    int32_t max_pictures() const { return handle_->max_supported_num_images; }

    /** Shows the library a preview frame. @param name  of the frame, for messages. */
    Announcement watch(const ozr_image& preview, const std::string& name);

    /** Adds a picture. Its entry tells the offset, or that the library is to derive it. */
    void add(ozr_image* picture, PictureEntry entry);

    /** Composes the panorama, writes it, and completes the report. */
    void finish();

private:
    struct Destroy {
        void operator()(ozr_panorama* handle) const { ozr_panorama_destroy(handle); }
    };

    const CommonOptions& options_;
    Report* report_;
    Progress progress_;
    std::unique_ptr<ozr_panorama, Destroy> handle_;
};

#endif
