// The libraries that are timed: the one that the benchmarks are linked with, and builds of other
// commits.
#ifndef LIBRARY_H
#define LIBRARY_H

#include <memory>
#include <string>

#include "ozr_panorama.h"

// The calls of a sweep through the public interface of one library.
struct Library {
    std::string name;
    decltype(&ozr_panorama_create) create;
    decltype(&ozr_panorama_set_parameters) set_parameters;
    decltype(&ozr_panorama_set_quality) set_quality;  // null: there is one quality only
    decltype(&ozr_panorama_detect_frame_to_stitch) detect_frame_to_stitch;
    decltype(&ozr_panorama_stitch_one_image) stitch_one_image;
    decltype(&ozr_panorama_run) run;
    decltype(&ozr_panorama_destroy) destroy;
};

// The library that is linked in, its log switched off.
Library own_library();

// Loads a shared library for the rest of the process and switches its log off; ends the program
// where it cannot.
Library load_library(const std::string& name, const std::string& path);

struct DestroySession {
    decltype(&ozr_panorama_destroy) destroy;

    void operator()(ozr_panorama* session) const { destroy(session); }
};
using Session = std::unique_ptr<ozr_panorama, DestroySession>;

// A session for a sweep to the right at 70 percent overlap; null where the library refuses.
Session create_session(const Library& library, ozr_panorama_quality quality);

#endif
