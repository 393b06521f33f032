#include "refined/draw.h"

#include <utility>

#include "refined/bands.h"
#include "refined/crop.h"
#include "refined/exposure.h"
#include "refined/layers.h"
#include "refined/seams.h"
#include "refined/warp.h"

namespace ozr::refined
{

namespace
{

// Of all pictures together, so that none looks softer than its neighbours.
int32_t _softness(const Layers& layers)
{
    Grain mean = {0.0, 0.0};
    for (int32_t i = 0; i < layers.count; ++i) {
        mean.noise += layers.at[i].source->grain.noise / layers.count;
        mean.all += layers.at[i].source->grain.all / layers.count;
    }
    return softness_for(mean);
}

PanoResult _plan(const DrawInput& input, Plan* plan, DrawReport* report)
{
    const Cancel& cancel = input.cancel;
    PANO_FORWARD(arrange_layers(input, &plan->layers));
    plan->softness = _softness(plan->layers);
    PANO_FORWARD(even_exposure(cancel, &plan->layers, report));
    PANO_FORWARD(lay_layers(cancel, &plan->layers));
    PANO_FORWARD(find_seams(cancel, plan->layers, &plan->seams));
    PANO_FORWARD(find_crop(cancel, plan->layers, plan->seams, &plan->crop));
    PANO_FORWARD(find_corrections(cancel, plan->layers, plan->seams, plan->crop, &plan->corrections));
    return kPanoSuccess;
}

void _report_seams(Plan* plan, SeamLines* lines)
{
    const int32_t step = 1 << plan->layers.frame.step_bits;
    Seams& seams = plan->seams;
    int32_t* columns = seams.columns.get();
    for (int32_t i = 0; i < (seams.count - 1) * seams.rows; ++i)
        columns[i] = (columns[i] - plan->crop.left) * step;
    for (int32_t i = 0; i < seams.count; ++i)
        lines->pictures[i] = plan->layers.at[i].index;
    lines->rows = seams.rows;
    lines->step = step;
    lines->first_row = -plan->crop.top * step;
    lines->count = seams.count;
    lines->columns = std::move(seams.columns);
}

}  // namespace

PanoResult draw(const DrawInput& input, PanoImg* out, DrawReport* report)
{
    if (out == nullptr || report == nullptr)
        return kPanoNullArgument;
    *report = {};
    for (float& gain : report->gain)
        gain = 1.0F;
    Plan plan = {};
    PANO_FORWARD(_plan(input, &plan, report));

    const Frame& frame = plan.layers.frame;
    const Crop& crop = plan.crop;
    report->radius = frame.radius;
    report->first_heading = frame.heading_of(crop.left);
    report->first_height = frame.height_of(crop.top);
    PanoImgOwner panorama;
    if (pano_create_unfilled(panorama.get(), (crop.right - crop.left) << frame.step_bits,
                             (crop.bottom - crop.top) << frame.step_bits, kPanoNv12) < 0)
        return kPanoNoMemory;
    PANO_FORWARD(warp_panorama(input.cancel, plan, panorama.get()));
    _report_seams(&plan, &report->seams);
    *out = *panorama.get();
    *panorama.get() = {};
    return kPanoSuccess;
}

}  // namespace ozr::refined
