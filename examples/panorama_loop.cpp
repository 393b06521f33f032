#include "panorama_loop.h"

#include <new>
#include <utility>

namespace
{

constexpr size_t kMaxTasksWaiting = 4;  // for previews: each holds a frame's memory

std::shared_ptr<ozr_image> copy_of(const ozr_image& image)
{
    std::shared_ptr<ozr_image> copy(new ozr_image(), [](ozr_image* made) {
        ozr_image_destroy(made);
        delete made;
    });
    if (ozr_image_clone(&image, copy.get()) != ozr_success)
        throw std::bad_alloc();
    return copy;
}

}  // namespace

PanoramaLoop::PanoramaLoop(Listener* listener) : listener_(listener)
{
    ozr_panorama* pano = nullptr;
    if (ozr_panorama_create(nullptr, &pano) != ozr_success)
        throw std::bad_alloc();
    pano_.reset(pano);
    thread_ = std::thread(&PanoramaLoop::run, this);
}

PanoramaLoop::~PanoramaLoop()
{
    {
        const std::lock_guard lock(mutex_);
        abandon();
        closing_ = true;
    }
    changed_.notify_one();
    thread_.join();
}

void PanoramaLoop::start(ozr_panorama_direction direction, ozr_panorama_quality quality)
{
    const std::lock_guard lock(mutex_);
    abandon();
    open_ = true;
    post([this, direction, quality] { return begin(direction, quality); });
}

bool PanoramaLoop::add_preview(const ozr_image& frame)
{
    const auto copy = copy_of(frame);
    const std::lock_guard lock(mutex_);
    if (!open_ || tasks_.size() >= kMaxTasksWaiting)
        return false;
    post([this, copy] { return watch(*copy); });
    return true;
}

void PanoramaLoop::add_picture(uint32_t sweep, const ozr_image& picture)
{
    const auto copy = copy_of(picture);
    const std::lock_guard lock(mutex_);
    if (open_ && sweep == sweep_)
        post([this, copy] { return stitch(copy.get()); });
}

void PanoramaLoop::finish()
{
    const std::lock_guard lock(mutex_);
    if (open_)
        post([this] { return compose(); });
}

void PanoramaLoop::cancel()
{
    const std::lock_guard lock(mutex_);
    abandon();
}

// From here on no call of the present sweep begins, and the one that takes long is made to end.
void PanoramaLoop::abandon()
{
    open_ = false;
    ++sweep_;
    tasks_.clear();
    if (interruptible_)
        ozr_panorama_reset(pano_.get());
}

void PanoramaLoop::post(std::function<ozr_err()> work)
{
    tasks_.push_back({sweep_, std::move(work)});
    changed_.notify_one();
}

void PanoramaLoop::run()
{
    std::unique_lock lock(mutex_);
    while (!closing_) {
        if (tasks_.empty()) {
            changed_.wait(lock);
            continue;
        }
        const Task task = std::move(tasks_.front());
        tasks_.pop_front();
        working_on_ = task.sweep;
        lock.unlock();
        const ozr_err error = task.work();
        if (error < 0 && end_sweep())
            listener_->finished(error, nullptr);
        lock.lock();
    }
}

// Ends the sweep of the present task. @return false when someone else was first.
bool PanoramaLoop::end_sweep()
{
    const std::lock_guard lock(mutex_);
    if (working_on_ != sweep_)
        return false;
    abandon();
    return true;
}

// Makes a call that a reset from another thread may end. The mutex is free meanwhile, and taken
// again before anything else is done with the session: a reset that has begun is waited for.
template <class Call>
ozr_err PanoramaLoop::interruptibly(Call call)
{
    std::unique_lock lock(mutex_);
    if (working_on_ != sweep_)
        return ozr_err_interrupted;
    interruptible_ = true;
    lock.unlock();
    const ozr_err error = call();
    lock.lock();
    interruptible_ = false;
    return working_on_ == sweep_ ? error : ozr_err_interrupted;
}

ozr_err PanoramaLoop::begin(ozr_panorama_direction direction, ozr_panorama_quality quality)
{
    has_pictures_ = false;
    ozr_err error = ozr_panorama_reset(pano_.get());
    if (error == ozr_success) {
        const ozr_panorama_parameters parameters = {pano_->default_overlapping_ratio, direction};
        error = ozr_panorama_set_parameters(pano_.get(), &parameters);
    }
    if (error == ozr_success)
        error = ozr_panorama_set_quality(pano_.get(), quality);  // the reset has changed it
    if (error == ozr_success)
        listener_->take_picture(working_on_);
    return error;
}

ozr_err PanoramaLoop::watch(const ozr_image& frame)
{
    if (!has_pictures_)
        return ozr_success;
    ozr_point offset;
    ozr_panorama_direction direction;
    const ozr_err due = ozr_panorama_detect_frame_to_stitch(pano_.get(), &frame, &offset, &direction);
    if (due > 0) {
        offset_ = offset;
        listener_->take_picture(working_on_);
    }
    return due;
}

ozr_err PanoramaLoop::stitch(ozr_image* picture)
{
    if (has_pictures_)
        return interruptibly([&] { return ozr_panorama_stitch_one_image(pano_.get(), picture, &offset_); });
    // The first picture opens the sweep: it is only copied, and a reset must not come in between.
    const ozr_err error = ozr_panorama_stitch_one_image(pano_.get(), picture, nullptr);
    has_pictures_ = error == ozr_success;
    return error;
}

ozr_err PanoramaLoop::compose()
{
    ozr_image panorama;
    const ozr_err error = interruptibly([&] { return ozr_panorama_run(pano_.get(), &panorama); });
    if (error == ozr_success && end_sweep())
        listener_->finished(error, &panorama);
    return error;
}
