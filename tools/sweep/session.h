// A session of the library, with everything that is noted while it is driven.
#ifndef SESSION_H
#define SESSION_H

#include "record/recorder.h"
#include "report/journal.h"

#include <ozr_panorama.h>

#include <memory>

namespace ozr_pano
{

// What every command that drives a session takes.
struct CommonOptions {
    std::string output;
    std::string report;     // file of the report page, empty for none
    std::string record;     // folder of the recording, empty for none
    int jpeg_quality = 90;  // 1 to 100
    bool metadata = true;   // in a JPEG
    bool verbose = false;
    bool json = false;
};

// The library's calls, one method each, with the library's results.
class Session
{
public:
    // Throws ProgramError when there is no session, or the recording or the page cannot be written.
    Session(const CommonOptions& options, Journal* journal);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Limits of the library.
    const ozr_panorama& limits() const { return *handle_; }

    ozr_err set_parameters(const ozr_panorama_parameters& parameters);
    ozr_err set_quality(ozr_panorama_quality quality);
    ozr_err detect_frame_to_stitch(const ozr_image& preview, ozr_point* offset,
                                   ozr_panorama_direction* direction);
    // `entry`: for the journal; its offset is passed on, where it has one.
    ozr_err stitch_one_image(ozr_image* picture, PictureEntry entry);
    ozr_err reset();
    ozr_err run(ozr_image* panorama);

    // Writes the panorama's file, if one is wanted, and the report page likewise.
    // `counterpart`: for the page; may be null. Throws ProgramError.
    void publish(const ozr_image& panorama, const Counterpart* counterpart = nullptr);

    // Writes the page of a sweep that has no panorama, if one is wanted.
    void publish_failure(const std::string& reason);

private:
    struct Destroy {
        void operator()(ozr_panorama* handle) const { ozr_panorama_destroy(handle); }
    };

    bool wants_page() const { return !options_.report.empty(); }
    void begin(RecordedCall call, const ozr_image* image = nullptr);
    void end(const RecordedCall& answer, const ozr_image* panorama = nullptr);
    void note_result(const ozr_image& panorama);
    void write_page(const ozr_image& panorama, const Counterpart* counterpart);

    const CommonOptions& options_;
    Journal* journal_;
    std::unique_ptr<Recorder> recorder_;
    std::unique_ptr<ozr_panorama, Destroy> handle_;
};

}  // namespace ozr_pano

#endif
