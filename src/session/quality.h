// The quality of a session: which engine path its sweeps take, and what is known of them
// afterwards.
//
// The session's record is of the interface and has no room for more, so this is kept
// behind its configuration.
#ifndef SESSION_QUALITY_H
#define SESSION_QUALITY_H

#include "ozr_panorama.h"
#include "refined/sweep.h"
#include "session/panorama.h"

namespace ozr::session
{

struct SessionQuality {
    ozr_config config;  // first: panorama_t::config points here
    ozr_panorama_quality quality;
    refined::Sweep* sweep;  // of a refined sweep, from its first picture on; owned
};

inline SessionQuality* quality_of(const panorama_t* session)
{
    return reinterpret_cast<SessionQuality*>(session->config);
}

inline bool is_refined(const panorama_t* session)
{
    return session->config != nullptr && quality_of(session)->quality == ozr_panorama_quality_refined;
}

// The configuration's copy with room for the rest; classic. Null: memory is out.
ozr_config* create_quality(const ozr_config* source);

// Back to classic; releases the sweep. Null is no fault.
void reset_quality(ozr_config* config);

// The refined steps of the session's calls.
PanoResult add_refined_picture(panorama_t* session, const PanoImg* picture, const ozr_point* offset);
PanoResult compose_refined(panorama_t* session);

// What the calls of the interface do, in a session that exists; they log their own failures.
ozr_err panorama_set_quality(panorama_t* session, ozr_panorama_quality quality);
ozr_err panorama_get_joint(const panorama_t* session, int32_t index, ozr_panorama_joint* joint);
ozr_err panorama_get_camera(const panorama_t* session, int32_t index, ozr_panorama_camera* camera);

}  // namespace ozr::session

#endif
