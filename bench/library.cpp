#include "library.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

#include "ozr_log.h"

namespace
{

template <class Function>
void find_any(void* object, const char* symbol, Function* function)
{
    *function = reinterpret_cast<Function>(dlsym(object, symbol));
}

template <class Function>
void find(void* object, const char* symbol, Function* function)
{
    find_any(object, symbol, function);
    if (*function != nullptr)
        return;
    fprintf(stderr, "%s\n", dlerror());
    exit(1);
}

}  // namespace

Library own_library()
{
    ozr_log_disable();
    return {"own",
            ozr_panorama_create,
            ozr_panorama_set_parameters,
            ozr_panorama_set_quality,
            ozr_panorama_detect_frame_to_stitch,
            ozr_panorama_stitch_one_image,
            ozr_panorama_run,
            ozr_panorama_destroy};
}

Library load_library(const std::string& name, const std::string& path)
{
    void* object = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (object == nullptr) {
        fprintf(stderr, "%s\n", dlerror());
        exit(1);
    }
    Library library = {};
    library.name = name;
    find(object, "ozr_panorama_create", &library.create);
    find(object, "ozr_panorama_set_parameters", &library.set_parameters);
    find_any(object, "ozr_panorama_set_quality", &library.set_quality);
    find(object, "ozr_panorama_detect_frame_to_stitch", &library.detect_frame_to_stitch);
    find(object, "ozr_panorama_stitch_one_image", &library.stitch_one_image);
    find(object, "ozr_panorama_run", &library.run);
    find(object, "ozr_panorama_destroy", &library.destroy);
    decltype(&ozr_log_disable) log_disable = nullptr;
    find(object, "ozr_log_disable", &log_disable);
    log_disable();
    return library;
}

Session create_session(const Library& library, ozr_panorama_quality quality)
{
    ozr_panorama* created = nullptr;
    library.create(nullptr, &created);
    Session session(created, {library.destroy});
    const ozr_panorama_parameters parameters = {70, ozr_panorama_direction_right};
    if (library.set_parameters(created, &parameters) != ozr_success)
        session.reset();
    if (quality != ozr_panorama_quality_classic && session &&
        (library.set_quality == nullptr || library.set_quality(created, quality) != ozr_success))
        session.reset();
    return session;
}
