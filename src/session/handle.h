// The handle of the interface: its public part, then the session.
#ifndef SESSION_HANDLE_H
#define SESSION_HANDLE_H

#include "ozr_panorama.h"

class panorama_t;

// No field may be added behind these: callers may make such a record themselves.
struct ozr_panorama_internal_t : ozr_panorama {
    panorama_t* panorama;  // owned
};

#endif
