// What a panorama handle should do: a plain state machine over the calls of the interface, which predicts codes, what is
// written, the words of session and engine and every log line. What pictures show is left out: how far the camera moved,
// and what the core makes of a sweep, are taken from the library.
#ifndef SESSION_MODEL_H
#define SESSION_MODEL_H

#include <functional>

#include "engine/panorama_engine.h"
#include "session/panorama.h"
#include "support/log_capture.h"

namespace ozr_reference
{

// What disturbs a call from outside; numbers count from 1, and 0 is never.
struct Disturbance {
    int64_t failing = 0;      // allocation that fails
    int64_t asking = 0;       // allocation before which, or
    size_t asking_line = 0;   // debug line with which somebody asks the work to stop
    bool by_reset = false;    // with a reset, which has to give up on a call that is still inside
    int64_t tables = 0;       // allocations for the projection tables
    int64_t allocations = 0;  // made by the call, known when it is over
};

// Composes the first pictures of the core: its result, its log lines and, on success, the size of what it made.
using Compose = std::function<int32_t(int32_t count, Lines* lines, PanoImg* made)>;

class SessionModel
{
public:
    void begin(const Disturbance& disturbance);  // before each call

    // The calls. Detection is told where the camera is.
    ozr_err create(const ozr_config* config, bool has_place);
    ozr_err set_parameters(const ozr_panorama_parameters* values);
    ozr_err get_parameters(ozr_panorama_parameters* values);
    ozr_err detect(const ozr_image* preview, ozr_point* offset, ozr_panorama_direction* way,
                   ozr_point camera);
    ozr_err stitch(const ozr_image* picture, const ozr_point* offset);
    ozr_err run(ozr_image* output, const Compose& core);
    ozr_err reset();
    void destroy();

    // Behind the handle: a method of the session, and functions of the engine.
    ozr_err write_parameters(const panorama_param_t& p);
    int32_t set_engine_parameter(int32_t id, int32_t value);
    int32_t cancel_and_wait();
    void cancel_async();

    enum { kNone, kHollow, kWhole } handle = kNone;
    bool has_engine = false;
    panorama_param_t cache = {};
    int32_t detected_count = 0, stitched_count = 0;
    PanoramaInternal pe = {};  // without pictures; what is measured is the library's
    bool started = false;      // a first picture came since the last init
    int32_t core_overlap = 0;
    bool core_cancel = false;

    Chain chain;        // error lines of the last call
    Lines progress;     // its debug lines
    int64_t slept = 0;  // milliseconds

private:
    bool allocate();
    bool allocate_all();
    void log(const std::string& tag, const std::string& message);
    void somebody_asks();
    void request();
    ozr_err fail(ozr_err code, const std::string& function, const std::string& words = "");
    ozr_err pass(ozr_err code, const std::string& function, const std::string& call);
    ozr_err check(const std::string& function, bool complete);
    int32_t init();
    ozr_err read_parameters(panorama_param_t* p);
    ozr_err cancel_processes(bool inside);
    int32_t process_frame(const ozr_image& frame, ozr_point camera);
    int32_t start_capture(const ozr_image& first);
    ozr_err take(const ozr_image& picture, const ozr_point* offset);
    int32_t add(const ozr_image& picture, int32_t index);
    int32_t give_to_core(const ozr_image& picture, int32_t index);
    int32_t synthesis(ozr_image* output, const Compose& core);
    int32_t compose(int32_t count, const Compose& core, PanoImg* made);

    Disturbance now_;
    int64_t allocations_ = 0;
    ozr_image first_ = {}, core_ = {};  // the first picture; the one that the core was set up for
    bool core_ready_ = false;
};

}  // namespace ozr_reference

#endif
