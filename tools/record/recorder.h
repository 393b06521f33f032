// Writes a recording while a session is driven.
#ifndef RECORDER_H
#define RECORDER_H

#include "record/recording.h"

#include <memory>
#include <stdio.h>

namespace ozr_pano
{

class Recorder
{
public:
    /** Creates the folder, or takes an empty one. Throws ProgramError. */
    Recorder(const std::string& folder, const std::string& library);
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    /** Writes the last line. A process that dies before leaves a recording that tells so. */
    ~Recorder();

    /**
     * Writes the call, on disk before it is made. Throws ProgramError.
     *
     * @param image  preview or picture, or null.
     */
    void begin(RecordedCall call, const ozr_image* image);

    /**
     * Writes what the call that was begun returned.
     *
     * @param answer    its result, offset and direction.
     * @param panorama  of a run that succeeded, or null.
     */
    void end(const RecordedCall& answer, const ozr_image* panorama);

private:
    struct CloseFile {
        void operator()(FILE* file) const { fclose(file); }
    };

    void write(const std::string& text);

    std::string folder_;
    std::unique_ptr<FILE, CloseFile> calls_;
    RecordedCall call_;
    int images_ = 0;
};

}  // namespace ozr_pano

#endif
