#include "reference/session_model.h"

#include <algorithm>
#include <cstdlib>
#include <map>

namespace ozr_reference
{

namespace
{

enum : int32_t {
    kUnsupported = -2,
    kNull = -3,
    kBad = -4,
    kCancelled = -5,
    kWrongState = -7,
    kNoMemory = -8
};

ozr_err mapped(int32_t result)
{
    static const std::map<int32_t, ozr_err> codes = {
        {0, 0},     {-2, -2},   {-3, -3},   {-4, -3},   {-5, -6},   {-6, -4},   {-7, -6},  {-8, -7},
        {-101, -6}, {-102, -6}, {-103, -4}, {-104, -6}, {-201, -6}, {-202, -6}, {-203, -6}};
    const auto code = codes.find(result);
    return code != codes.end() ? code->second : ozr_err_general;
}

std::string text(int64_t value)
{
    return std::to_string(value);
}

int32_t known(int32_t direction)
{
    return direction >= 1 && direction <= 4 ? direction : 0;
}

int32_t working_format(int32_t format)
{
    const int32_t formats[] = {1, 0, 0, 5, 3, 2};
    return format >= 0 && format <= 5 ? formats[format] : 0;
}

bool has_no_size(const ozr_image& img)
{
    return img.width < 1 || img.height < 1;
}

bool exceeds_32_bits(const ozr_image& img)
{
    return int64_t{img.stride} * img.height * 3 / 2 > INT32_MAX;
}

// Whether a frame can be made a small grey one.
int32_t scalable(const ozr_image& img)
{
    const int32_t format = working_format(img.format);
    if (format == 2 || format == 5)
        return kUnsupported;
    return img.stride < img.width * (format == 3 ? 2 : 1) ? kBad : 0;
}

}  // namespace

// What surrounds every call.

void SessionModel::begin(const Disturbance& disturbance)
{
    now_ = disturbance;
    chain.clear();
    progress.clear();
    allocations_ = slept = 0;
}

// One more allocation; false when it is the one that fails.
bool SessionModel::allocate()
{
    if (++allocations_ == now_.asking)
        somebody_asks();
    return allocations_ != now_.failing;
}

// However many allocations the rest of the call made.
bool SessionModel::allocate_all()
{
    while (allocations_ < now_.allocations)
        if (!allocate())
            return false;
    return true;
}

void SessionModel::log(const std::string& tag, const std::string& message)
{
    progress.push_back(tag + ": " + message);
    if (progress.size() == now_.asking_line)
        somebody_asks();
}

void SessionModel::somebody_asks()
{
    now_.asking = 0;
    now_.asking_line = 0;
    if (!now_.by_reset)
        return request();
    pass(pass(cancel_processes(true), "reset", "cancel_processes()"), "ozr_panorama_reset",
         "self->panorama->reset()");
}

void SessionModel::request()
{
    if (pe.status != 2 && pe.status != 3)
        return;
    pe.cancel_requested = 1;
    core_cancel = true;
}

ozr_err SessionModel::fail(ozr_err code, const std::string& function, const std::string& words)
{
    chain.push_back(std::string(ozr_err_to_string(code)) + ": " + words + " @ " + function);
    return code;
}

ozr_err SessionModel::pass(ozr_err code, const std::string& function, const std::string& call)
{
    return code < 0 ? fail(code, function, "from " + call) : code;
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
    has_engine = object && allocate() && allocate() && allocate() && init() == 0;
    if (has_engine) {
        handle = kWhole;
        return read_parameters(&cache);
    }
    if (object) {
        fail(ozr_err_nomem, "panorama_t");
        progress.push_back("error:(-7:error_string) @ panorama_t()");
    }
    return pass(fail(ozr_err_nomem, engine), function, passed);
}

int32_t SessionModel::init()
{
    log("panorama_engine_init", "panorama_engine_init() status = " + text(pe.status));
    const PanoramaInternal before = pe;
    pe = {};
    if (!allocate())
        return kNoMemory;
    pe.strict_mode = before.strict_mode;
    if (before.status != 4)
        pe.out_img = before.out_img;  // kept: the size of a panorama that memory did not suffice for
    pe.status = 1;
    pe.overlap = 0.7F;
    pe.tolerance = 0.02F;
    pe.max_images = 10;
    pe.inv_scale = 1.0F;
    core_overlap = 70;
    core_cancel = core_ready_ = started = false;
    return 0;
}

void SessionModel::destroy()
{
    if (handle == kWhole && has_engine) {
        if (cancel_processes(false) < 0)
            chain.push_back("Failed to cancel jobs");
        log("panorama_engine_destroy", "panorama_engine_Destory() status = " + text(pe.status));
    }
    handle = kNone;
}

// Asks, and waits for a second in all until the engine is at rest and no call is inside.
ozr_err SessionModel::cancel_processes(bool inside)
{
    cancel_async();
    if (!inside && pe.status != 3)
        return ozr_success;
    slept += 1000;
    return ozr_err_invalid_status;
}

void SessionModel::cancel_async()
{
    log("panorama_engine_cancel_process_async",
        "panorama_engine_cancel_process() status = " + text(pe.status));
    request();
}

int32_t SessionModel::cancel_and_wait()
{
    const std::string tag = "panorama_engine_cancel_process";
    log(tag, tag + "() status = " + text(pe.status));
    if (pe.status != 2 && pe.status != 3)
        return pe.status == 5 ? 0 : kWrongState;
    request();
    for (slept = 1; pe.status == 3 && slept <= 100; ++slept)
        log(tag, "wait canceling synthesis process....");
    if (pe.status == 3)
        return -104;
    log(tag, "canceled synthesis process.");
    pe.cancel_requested = 0;
    return kWrongState;
}

ozr_err SessionModel::reset()
{
    const std::string function = "ozr_panorama_reset", call = "self->panorama->reset()";
    if (const ozr_err code = check(function, true))
        return code;
    if (has_engine && cancel_processes(false) < 0)
        return pass(pass(ozr_err_invalid_status, "reset", "cancel_processes()"), function, call);
    if (!has_engine)
        pe = {};
    has_engine = (has_engine || allocate()) && init() == 0;
    if (!has_engine)
        return pass(fail(ozr_err_nomem, "reset"), function, call);
    detected_count = stitched_count = 0;
    return ozr_success;
}

// Parameters.

int32_t SessionModel::set_engine_parameter(int32_t id, int32_t value)
{
    if (pe.status != 1)
        return kWrongState;
    if (id == 0)
        pe.strict_mode = value != 0 ? 1 : 0;
    if (id == 1)
        pe.max_images = std::clamp(value, 1, 10);
    if (id < 0 || id > 2 || (id == 2 && (value < 30 || value > 95)))
        return kUnsupported;
    if (id == 2) {
        core_overlap = value;
        pe.overlap = static_cast<float>(value) / 100.0F;
        pe.max_images = std::min(10, static_cast<int32_t>(2.734F / (1.0F - pe.overlap) + 1.5F));
    }
    return 0;
}

ozr_err SessionModel::read_parameters(panorama_param_t* p)
{
    if (!has_engine)
        return fail(ozr_err_invalid_argument, "get_parameters");
    cache = {pe.strict_mode, pe.max_images, static_cast<int32_t>(100.0F * pe.overlap),
             static_cast<ozr_panorama_direction>(known(pe.direction))};
    *p = cache;
    return ozr_success;
}

ozr_err SessionModel::write_parameters(const panorama_param_t& p)
{
    if (pe.status != 1)
        return fail(ozr_err_invalid_status, "set_parameters");
    if (p.overlap_percent != cache.overlap_percent && set_engine_parameter(2, p.overlap_percent) < 0)
        return fail(ozr_err_not_supported, "set_parameters");
    pe.direction = known(p.direction);
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

// Previews.

int32_t SessionModel::process_frame(const ozr_image& frame, ozr_point camera)
{
    if (exceeds_32_bits(frame))
        return kBad;
    if (!has_engine || frame.data == nullptr)
        return kNull;
    if (pe.status != 2)
        return kWrongState;
    if (pe.count >= pe.max_images) {
        pe.status = 3;
        return 0;
    }
    if (has_no_size(frame) || scalable(frame) < 0)
        return has_no_size(frame) ? kBad : scalable(frame);
    const auto& [x, y] = camera;
    pe.offset_x = x;
    pe.offset_y = y;
    if (pe.direction == 0 && x * x + y * y > pe.direction_threshold) {
        const char* const names[] = {"RIGHT", "LEFT", "DOWN", "UP"};
        pe.direction = std::abs(x) >= std::abs(y) ? (x > 0 ? 1 : 2) : (y > 0 ? 3 : 4);
        log("panorama_engine_process_frame", std::string("direction = PANO_DIR_") + names[pe.direction - 1]);
    }
    const bool vertical = pe.direction >= 3;
    const int32_t along = (vertical ? y : x) * (pe.direction == 2 || pe.direction == 4 ? -1 : 1);
    const int32_t target = vertical ? pe.target_y : pe.target_x;
    const int32_t tolerance = vertical ? pe.tolerance_y : pe.tolerance_x;
    const bool steady = along < target + tolerance &&
                        std::abs(vertical ? x : y) < (vertical ? pe.tolerance_x : pe.tolerance_y);
    return pe.direction != 0 && along > target - tolerance && (pe.strict_mode == 0 || steady) ? 1 : 0;
}

ozr_err SessionModel::detect(const ozr_image* preview, ozr_point* offset, ozr_panorama_direction* way,
                             ozr_point camera)
{
    const std::string method = "detect_frame_to_stitch", function = "ozr_panorama_" + method;
    if (const ozr_err code = check(function, preview != nullptr && offset != nullptr && way != nullptr))
        return code;
    const int32_t due = process_frame(*preview, camera);
    if (due < 0)
        return fail(fail(mapped(due), method), function);
    *offset = {pe.offset_x, pe.offset_y};
    *way = static_cast<ozr_panorama_direction>(pe.direction);
    if (due == 0)
        return 0;
    pe.offset_x = pe.offset_y = 0;
    const bool last =
        static_cast<uint32_t>(detected_count) >= static_cast<uint32_t>(cache.max_num_images - 1);
    return last ? 0 : ++detected_count;
}

// Pictures.

int32_t SessionModel::start_capture(const ozr_image& first)
{
    if (!has_engine || first.data == nullptr)
        return kNull;
    if (pe.status != 1)
        return kWrongState;
    if (has_no_size(first))
        return kBad;
    started = true;
    pe.direction = pe.offset_x = pe.offset_y = 0;
    if (320 * std::min(first.width, first.height) < std::max(first.width, first.height))
        return kBad;  // there is nothing left of its copy, 320 pixels long
    if (!allocate() || !allocate())
        return kNoMemory;
    const int32_t scaled = scalable(first);
    pe.status = scaled < 0 ? 1 : 2;
    return scaled;
}

ozr_err SessionModel::stitch(const ozr_image* picture, const ozr_point* offset)
{
    const std::string function = "ozr_panorama_stitch_one_image";
    if (const ozr_err code = check(function, picture != nullptr))
        return code;
    return pass(take(*picture, offset), function, "self->panorama->stitch_one_image(input_image, offset)");
}

ozr_err SessionModel::take(const ozr_image& picture, const ozr_point* offset)
{
    const int32_t index = stitched_count;
    int32_t result = exceeds_32_bits(picture) ? kBad : index == 0 ? start_capture(picture) : 0;
    if (result == 0 && index == 0)
        pe.direction = known(cache.direction);
    else if (result == 0 && (!has_engine || pe.direction == 0 || pe.status != 2))
        result = kWrongState;
    if (result == 0 && pe.count >= pe.max_images)
        result = -103;
    if (result < 0)
        return fail(mapped(result), "stitch_one_image");
    pe.image_state[pe.count++] = 1;
    const int32_t rest = 100 - cache.overlap_percent;
    const int32_t ahead = (pe.direction == 2 || pe.direction == 4 ? -rest : rest);
    const ozr_point derived = pe.direction >= 3 ? ozr_point{0, ahead * picture.height / 100}
                                                : ozr_point{ahead * picture.width / 100, 0};
    if (pe.cancel_requested != 0) {
        result = kCancelled;
    } else if (pe.image_state[index] != 1) {
        result = kWrongState;
    } else {
        pe.image_state[index] = 2;
        pe.offsets[index] = index == 0 ? ozr_point{0, 0} : offset != nullptr ? *offset : derived;
        result = add(picture, index);
    }
    pe.image_state[index] = result == 0 ? 3 : result == kCancelled ? 5 : 4;
    if (result < 0)
        return fail(mapped(result), "stitch_one_image");
    ++stitched_count;
    return ozr_success;
}

int32_t SessionModel::add(const ozr_image& picture, int32_t index)
{
    if (index == 0) {
        if (working_format(picture.format) != 1)
            return kUnsupported;
        if (!allocate_all()) {
            log("_panorama_engine_Addframe", "not enough memory for 0th.");
            return kNoMemory;
        }
        first_ = picture;
        pe.frame_present[0] = 1;
        return 0;
    }
    if (index == 1) {
        core_ = picture;
        const int32_t along = pe.direction >= 3 ? picture.height : picture.width;
        core_ready_ = !has_no_size(picture) && (along < 8 || along >= 32);  // else there are no tables
        for (int64_t table = 0; core_ready_ && table < now_.tables; ++table)
            core_ready_ = allocate();
        const int32_t given = give_to_core(first_, 0);
        pe.frame_present[0] = 0;
        if (given < 0)
            return given;
    }
    return give_to_core(picture, index);
}

int32_t SessionModel::give_to_core(const ozr_image& picture, int32_t index)
{
    if (working_format(picture.format) != 1)
        return kUnsupported;
    const int64_t x = int64_t{pe.offsets[index].x} * picture.width,
                  y = int64_t{pe.offsets[index].y} * picture.height;
    const bool scales =
        picture.width == pe.ref_width || (x == static_cast<int32_t>(x) && y == static_cast<int32_t>(y));
    if (!scales || picture.data == nullptr || has_no_size(picture) || picture.stride < picture.width)
        return kBad;
    if (!allocate_all())
        return kNoMemory;
    if (core_cancel)
        return kCancelled;
    if (!core_ready_)
        return -201;
    const bool vertical = pe.direction >= 3;  // turned, its rows are packed
    const bool fits = picture.width == core_.width && picture.height == core_.height &&
                      (vertical || picture.stride == core_.stride);
    return fits && (vertical ? picture.height : picture.width) >= 8 ? 0 : kBad;
}

// The panorama.

ozr_err SessionModel::run(ozr_image* output, const Compose& core)
{
    const std::string function = "ozr_panorama_run";
    if (const ozr_err code = check(function, output != nullptr))
        return code;
    int32_t result = has_engine ? kWrongState : kNull;
    if (pe.status == 2 || pe.status == 3) {
        pe.status = 3;
        result = synthesis(output, core);
    }
    return result < 0 ? pass(fail(mapped(result), "run"), function, "self->panorama->run(output_image)") : 0;
}

int32_t SessionModel::synthesis(ozr_image* output, const Compose& core)
{
    const std::string tag = "panorama_engine_process_synthesis";
    log(tag, "process_synthesis()");
    const int32_t count = static_cast<int32_t>(std::count(pe.image_state, pe.image_state + 10, 3));
    PanoImg made = {1, first_.width, first_.height, first_.width, first_.width * first_.height * 3 / 2,
                    0, nullptr};
    if (count == 0 || (count == 1 && pe.frame_present[0] != 0)) {
        if (count == 1)
            pe.out_img = made;
        const bool memory = allocate_all();
        if (!memory)
            log(tag, "bitmap create err : -8");
        pe.status = count == 1 && memory ? 4 : 6;
        pe.frame_present[0] = memory ? 0 : pe.frame_present[0];
        if (pe.status == 6)
            return memory ? kWrongState : kNoMemory;
    } else {
        int32_t result = count == 1                 ? -101
                         : pe.cancel_requested != 0 ? kCancelled
                                                    : compose(count, core, &made);
        if (result == 0 && pe.cancel_requested != 0)
            result = kCancelled;
        if (result == 0 && pe.direction >= 3)
            made = {1, made.height, made.width, made.height, made.size, 0, nullptr};
        if (result == 0)
            log(tag, "Original Pointer : 0x");
        pe.out_img = result == 0 ? made : pe.out_img;
        log(tag, "out_img size = " + text(pe.out_img.width) + "x" + text(pe.out_img.height));
        log(tag, "return = " + text(result));
        pe.status = result == 0 ? 4 : result == kCancelled ? 5 : 6;
        log(tag, "process_synthesis end pe->status = " + text(pe.status) + " ");
        if (result < 0)
            return result;
    }
    *output = {nullptr, made.size, made.width, made.height, ozr_image_format_nv12, made.stride, 0};
    return 0;
}

// A sweep of which more than one picture is left looks for requests, from its first line to its last allocation.
int32_t SessionModel::compose(int32_t count, const Compose& core, PanoImg* made)
{
    Lines lines;
    const int32_t result = core(count, &lines, made);
    const bool alone = lines.back().find("Exiting") != std::string::npos;
    bool memory = true;
    for (const std::string& line : lines) {
        if (alone && &line == &lines.back())
            memory = allocate_all();
        log("panorama_core_panorama", line);
    }
    if (lines.size() > 0 && !alone && result != -203 && core_cancel) {
        core_cancel = false;
        return kCancelled;
    }
    memory = allocate_all() && memory;
    if (result < 0 || !memory)
        return result < 0 ? result : int32_t{kNoMemory};
    if (!alone && core_cancel) {
        core_cancel = false;
        return kCancelled;
    }
    return 0;
}

}  // namespace ozr_reference
