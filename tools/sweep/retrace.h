// What the interface does not tell: where each picture was placed, how well it matched, where the seams run.
#ifndef RETRACE_H
#define RETRACE_H

#include "report/layout.h"

#include <ozr_panorama.h>

#include <memory>

namespace ozr_pano
{

/**
 * A second session, given the same calls as the first one.
 *
 * The library works the same way every time, so what the second session's core holds is what the first one's holds; and
 * the second one is driven through the exported class and records, which show it. It logs nothing, and composes nothing.
 * A call that the first session refused is to be repeated as well: the second one refuses it too.
 */
class Retrace
{
public:
    Retrace();
    ~Retrace();

    void set_parameters(const ozr_panorama_parameters& parameters);
    void watch(const ozr_image& preview);
    void add(ozr_image* picture, const ozr_point* offset);
    void reset();

    /**
     * The layout of the panorama that the first session composed; empty when memory is out.
     *
     * @param panorama  as the first session returned it; with no pixels the boxes and seams are missing.
     * @param used      pictures in it.
     */
    Layout layout(const ozr_image& panorama, int used) const;

private:
    struct Session;
    std::unique_ptr<Session> session_;
};

}  // namespace ozr_pano

#endif
