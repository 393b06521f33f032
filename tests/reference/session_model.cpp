#include "reference/session_model.h"

#include <map>

#include "image/panorama_util.h"
#include "ozr_log.h"
#include "ozr_memory.h"
#include "reference/codes.h"
#include "reference/engine.h"

namespace ozr_reference
{

namespace
{

ozr_err mapped(int32_t result)
{
    static const std::map<int32_t, ozr_err> codes = {
        {0, 0},     {-2, -2},   {-3, -3},   {-4, -3},   {-5, -6},   {-6, -4},   {-7, -6},  {-8, -7},
        {-101, -6}, {-102, -6}, {-103, -4}, {-104, -6}, {-201, -6}, {-202, -6}, {-203, -6}};
    const auto code = codes.find(result);
    return code != codes.end() ? code->second : ozr_err_general;
}

int32_t known(int32_t direction)
{
    return direction >= 1 && direction <= 4 ? direction : 0;
}

PanoImg wrapped(const ozr_image& img)
{
    const int32_t formats[] = {1, 0, 0, 5, 3, 2};
    const int32_t format = img.format >= 0 && img.format <= 5 ? formats[img.format] : 0;
    return {format, img.width, img.height, img.stride, img.size, 0, img.data};
}

bool exceeds_32_bits(const ozr_image& img)
{
    return int64_t{img.stride} * img.height * 3 / 2 > INT32_MAX;
}

// One more allocation; whether there was memory.
bool allocate()
{
    void* const block = ozr_malloc(1);
    ozr_free(block);
    return block != nullptr;
}

ozr_err fail(ozr_err code, const std::string& function, const std::string& words = "")
{
    ozr_log_error("OZR_EXCEPTION(%s) %s @ %s():0", ozr_err_to_string(code), words.c_str(), function.c_str());
    return code;
}

ozr_err pass(ozr_err code, const std::string& function, const std::string& call)
{
    return code < 0 ? fail(code, function, "from " + call) : code;
}

}  // namespace

SessionModel::~SessionModel()
{
    release(&pe);
}

void SessionModel::interrupt(bool by_reset)
{
    if (!by_reset)
        return request_cancel(&pe);
    pass(pass(cancel_processes(true), "reset", "cancel_processes()"), "ozr_panorama_reset",
         "self->panorama->reset()");
}

ozr_err SessionModel::check(const std::string& function, bool complete)
{
    if (handle == kNone || !complete)
        return fail(ozr_err_invalid_argument, function);
    return pass(handle == kHollow ? ozr_err_invalid_status : ozr_success, function, "check_status(self)");
}

// Life.

ozr_err SessionModel::create(const ozr_config* config, bool has_place)
{
    const std::string function = "ozr_panorama_create", engine = "create_panorama_engine",
                      passed = "create_panorama_engine(ozr_pano_config, &self->panorama)";
    if (!has_place)
        return fail(ozr_err_invalid_argument, function);
    if (!allocate())
        return pass(ozr_err_nomem, function,
                    "self = (ozr_panorama_internal_t*)ozr_calloc(1, sizeof(ozr_panorama_internal_t))");
    const ozr_version version = config != nullptr ? config->version : ozr_version{1, 0, 1, 0};
    if (version.major != 1 || version.minor != 0 || version.patch != 1 ||
        (config != nullptr && ((config->engine_type == 1 && config->engine_resource == nullptr) ||
                               (config->aux_type == 1 && config->aux_resource == nullptr) ||
                               config->engine_type < 0 || config->engine_type > 1)))
        return pass(fail(ozr_err_not_supported, engine), function, passed);
    const bool object = allocate();
    pe = {};
    detected_count = stitched_count = 0;
    // The configuration, the parameters, the context and, by init, its core.
    has_engine = object && allocate() && allocate() && allocate() && init(&pe) == 0;
    if (has_engine) {
        handle = kWhole;
        return read_parameters(&cache);
    }
    if (object) {
        fail(ozr_err_nomem, "panorama_t");
        ozr_log_debug("error:(-7:error_string) @ panorama_t():0");
    }
    return pass(fail(ozr_err_nomem, engine), function, passed);
}

void SessionModel::destroy()
{
    if (handle == kWhole && has_engine) {
        if (cancel_processes(false) < 0)
            ozr_log_error("Failed to cancel jobs");
        PanoLog("panorama_engine_destroy", 0, "panorama_engine_Destory() status = %d", pe.status.load());
    }
    release(&pe);
    handle = kNone;
}

// Asks, and waits for a second in all until the engine is at rest and no call is inside.
ozr_err SessionModel::cancel_processes(bool inside)
{
    cancel_process_async(&pe);
    if (!inside && check_ready_to_destroy(&pe) == 0)
        return ozr_success;
    PanoSleep(1000);
    return ozr_err_invalid_status;
}

ozr_err SessionModel::reset()
{
    const std::string function = "ozr_panorama_reset", call = "self->panorama->reset()";
    if (const ozr_err code = check(function, true))
        return code;
    if (has_engine && cancel_processes(false) < 0)
        return pass(pass(ozr_err_invalid_status, "reset", "cancel_processes()"), function, call);
    has_engine = (has_engine || allocate()) && init(&pe) == 0;
    if (!has_engine) {
        pe = {};
        return pass(fail(ozr_err_nomem, "reset"), function, call);
    }
    detected_count = stitched_count = 0;
    return ozr_success;
}

// Parameters.

ozr_err SessionModel::read_parameters(panorama_param_t* p)
{
    if (!has_engine)
        return fail(ozr_err_invalid_argument, "get_parameters");
    cache = {get_param(&pe, 0), get_param(&pe, 1), get_param(&pe, 2),
             static_cast<ozr_panorama_direction>(known(pe.direction))};
    *p = cache;
    return ozr_success;
}

ozr_err SessionModel::write_parameters(const panorama_param_t& p)
{
    if (pe.status != 1)
        return fail(ozr_err_invalid_status, "set_parameters");
    if (p.overlap_percent != cache.overlap_percent && set_param(&pe, 2, p.overlap_percent) < 0)
        return fail(ozr_err_not_supported, "set_parameters");
    pe.direction = static_cast<PanoDirection>(known(p.direction));
    cache = p;
    return ozr_success;
}

ozr_err SessionModel::set_parameters(const ozr_panorama_parameters* values)
{
    const std::string function = "ozr_panorama_set_parameters";
    if (const ozr_err code = check(function, values != nullptr))
        return code;
    if (values->overlapping_ratio < 50 || values->overlapping_ratio > 90)
        return pass(ozr_err_not_supported, function, "check_parameters(self, ozr_params)");
    panorama_param_t p = {};
    if (const ozr_err code = read_parameters(&p))
        return pass(code, function, "self->panorama->get_parameters(&param)");
    p.overlap_percent = values->overlapping_ratio;
    p.direction = values->direction;
    return pass(write_parameters(p), function, "self->panorama->set_parameters(&param)");
}

ozr_err SessionModel::get_parameters(ozr_panorama_parameters* values)
{
    const std::string function = "ozr_panorama_get_parameters";
    if (const ozr_err code = check(function, values != nullptr))
        return code;
    panorama_param_t p = {};
    if (const ozr_err code = read_parameters(&p))
        return pass(code, function, "self->panorama->get_parameters(&param)");
    *values = {p.overlap_percent, p.direction};
    return ozr_success;
}

// The sweep.

ozr_err SessionModel::detect(const ozr_image* preview, ozr_point* offset, ozr_panorama_direction* way)
{
    const std::string method = "detect_frame_to_stitch", function = "ozr_panorama_" + method;
    if (const ozr_err code = check(function, preview != nullptr && offset != nullptr && way != nullptr))
        return code;
    const PanoImg frame = wrapped(*preview);
    const int32_t due = exceeds_32_bits(*preview) ? kBad : has_engine ? process_frame(&pe, &frame) : kNull;
    if (due < 0)
        return fail(fail(mapped(due), method), function);
    *offset = {pe.motion.x, pe.motion.y};
    *way = static_cast<ozr_panorama_direction>(pe.direction);
    if (due == 0)
        return 0;
    pe.motion.x = pe.motion.y = 0;
    const bool last =
        static_cast<uint32_t>(detected_count) >= static_cast<uint32_t>(cache.max_num_images - 1);
    return last ? 0 : ++detected_count;
}

ozr_err SessionModel::stitch(const ozr_image* picture, const ozr_point* offset)
{
    const std::string function = "ozr_panorama_stitch_one_image";
    if (const ozr_err code = check(function, picture != nullptr))
        return code;
    const int32_t result = take(*picture, offset);
    if (result < 0)
        return pass(fail(mapped(result), "stitch_one_image"), function,
                    "self->panorama->stitch_one_image(input_image, offset)");
    ++stitched_count;
    return ozr_success;
}

int32_t SessionModel::take(const ozr_image& picture, const ozr_point* offset)
{
    const PanoImg img = wrapped(picture);
    if (exceeds_32_bits(picture))
        return kBad;
    if (stitched_count > 0 && (!has_engine || pe.direction == 0))
        return kWrongState;
    if (stitched_count == 0) {
        if (const int32_t result = has_engine ? start_capture(&pe, &img) : kNull)
            return result;
        pe.direction = static_cast<PanoDirection>(known(cache.direction));
    }
    const int32_t slot = prepare_stitch(&pe);
    if (slot < 0)
        return slot;
    const int32_t rest = 100 - cache.overlap_percent;
    const int32_t ahead = (pe.direction == 2 || pe.direction == 4 ? -rest : rest);
    const ozr_point derived = pe.direction >= 3 ? ozr_point{0, ahead * picture.height / 100}
                                                : ozr_point{ahead * picture.width / 100, 0};
    const ozr_point at = stitched_count == 0 ? ozr_point{0, 0} : offset != nullptr ? *offset : derived;
    return set_image(&pe, &img, stitched_count, &at);
}

ozr_err SessionModel::run(ozr_image* output)
{
    const std::string function = "ozr_panorama_run";
    if (const ozr_err code = check(function, output != nullptr))
        return code;
    int32_t result = has_engine ? stop_capture(&pe) : kNull;
    if (result == 0)
        result = process_synthesis(&pe, nullptr);
    if (result < 0)
        return pass(fail(mapped(result), "run"), function, "self->panorama->run(output_image)");
    const PanoImg& made = pe.out_img;
    *output = {made.data, made.size, made.width, made.height, ozr_image_format_nv12, made.stride, 0};
    return ozr_success;
}

}  // namespace ozr_reference
