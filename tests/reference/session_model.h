// What a panorama handle should do: a plain state machine over the calls of the interface,
// which predicts codes, what is written, the words of the session and every log line. Its
// engine is the meaning of the engine.
#ifndef SESSION_MODEL_H
#define SESSION_MODEL_H

#include <string>

#include "engine/panorama_engine.h"
#include "session/panorama.h"

namespace ozr_reference
{

class SessionModel
{
public:
    SessionModel() = default;
    ~SessionModel();
    SessionModel(const SessionModel&) = delete;
    SessionModel& operator=(const SessionModel&) = delete;

    // The calls.
    ozr_err create(const ozr_config* config, bool has_place);
    ozr_err set_parameters(const ozr_panorama_parameters* values);
    ozr_err get_parameters(ozr_panorama_parameters* values);
    ozr_err detect(const ozr_image* preview, ozr_point* offset, ozr_panorama_direction* way);
    ozr_err stitch(const ozr_image* picture, const ozr_point* offset);
    ozr_err run(ozr_image* output);
    ozr_err reset();
    void destroy();

    // Behind the handle: a method of the session.
    ozr_err write_parameters(const panorama_param_t& p);

    // In the midst of a call somebody asks it to stop, or resets, which has to give up on
    // the call that is still inside.
    void interrupt(bool by_reset);

    enum { kNone, kHollow, kWhole } handle = kNone;
    bool has_engine = false;
    panorama_param_t cache = {};
    int32_t detected_count = 0, stitched_count = 0;
    PanoramaInternal pe = {};

private:
    ozr_err check(const std::string& function, bool complete);
    ozr_err read_parameters(panorama_param_t* p);
    ozr_err cancel_processes(bool inside);
    int32_t take(const ozr_image& picture, const ozr_point* offset);
};

}  // namespace ozr_reference

#endif
