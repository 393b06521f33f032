// Sweeps with PanoramaLoop, most of them cancelled. A camera application has its own camera instead
// of the one below, which pans along a painted wall.
#include "panorama_loop.h"

#include <ozr_log.h>

#include <chrono>
#include <cstdio>
#include <vector>

namespace
{

constexpr int32_t kWidth = 320, kHeight = 240, kStep = 8, kPositions = 40;
constexpr int32_t kWall = kWidth + kStep * kPositions;  // its width, and the stride of its views

// Brightness that changes smoothly from spot to spot.
std::vector<uint8_t> painted_wall()
{
    std::vector<uint8_t> wall(static_cast<size_t>(kWall) * kHeight * 3 / 2,
                              128);  // no colour in the chroma rows
    const auto corner = [](int32_t i, int32_t j) {
        const uint32_t mixed = static_cast<uint32_t>(i * 7919 + j * 104729) * 2654435761U;
        return static_cast<int32_t>((mixed ^ mixed >> 15) * 2246822519U >> 24);
    };
    for (int32_t y = 0; y < kHeight; ++y) {
        for (int32_t x = 0; x < kWall; ++x) {
            const int32_t i = x / 16, j = y / 16, u = x % 16, v = y % 16;
            const int32_t above = corner(i, j) * (16 - u) + corner(i + 1, j) * u;
            const int32_t below = corner(i, j + 1) * (16 - u) + corner(i + 1, j + 1) * u;
            wall[static_cast<size_t>(y * kWall + x)] =
                static_cast<uint8_t>((above * (16 - v) + below * v) >> 8);
        }
    }
    return wall;
}

// Delivers previews on one thread and the pictures that it is asked for on another.
class Camera : public PanoramaLoop::Listener
{
public:
    Camera() : loop_(this), previews_([this] { pan(); }), pictures_([this] { photograph(); }) {}
    ~Camera() override
    {
        {
            const std::lock_guard lock(mutex_);
            off_ = true;
        }
        changed_.notify_all();
        previews_.join();
        pictures_.join();
    }

    void take_picture(uint32_t sweep) override
    {
        const std::lock_guard lock(mutex_);
        wanted_.push_back(sweep);
        changed_.notify_all();
    }

    void finished(ozr_err error, const ozr_image* panorama) override
    {
        const std::lock_guard lock(mutex_);
        printf("%s, %d columns\n", ozr_err_to_string(error), panorama != nullptr ? panorama->width : 0);
        columns_ = panorama != nullptr ? panorama->width : error;
        ++sweeps_finished_;
        changed_.notify_all();
    }

    // One sweep from end to end. @return columns of the panorama, or an error.
    int32_t sweep()
    {
        start();
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return position_ == kPositions || columns_ != 0; });
        loop_.finish();
        changed_.wait(lock, [this] { return columns_ != 0; });
        return columns_;
    }

    // A sweep that the user thinks better of as soon as so many pictures were
    // taken: the last is being added.
    void cancelled_sweep(int32_t pictures)
    {
        start();
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return taken_ >= pictures || columns_ != 0; });
        loop_.cancel();
    }

    int32_t sweeps_finished()
    {
        const std::lock_guard lock(mutex_);
        return sweeps_finished_;
    }

private:
    void start()
    {
        const std::lock_guard lock(mutex_);
        position_ = taken_ = columns_ = 0;
        wanted_.clear();
        loop_.start(ozr_panorama_direction_right);
    }

    // A view of the wall: its rows lie one wall's width apart.
    ozr_image view(ozr_image_format format)
    {
        const int32_t rows = format == ozr_image_format_nv12 ? kHeight * 3 / 2 : kHeight;
        return {wall_.data() + kStep * position_, kWall * rows, kWidth, kHeight, format, kWall, 0};
    }

    // Stands still while a picture is taken.
    void pan()
    {
        std::unique_lock lock(mutex_);
        while (!off_) {
            if (wanted_.empty() && position_ < kPositions && loop_.add_preview(view(ozr_image_format_gray))) {
                ++position_;
                changed_.notify_all();
            }
            changed_.wait_for(lock, std::chrono::milliseconds(1));
        }
    }

    void photograph()
    {
        std::unique_lock lock(mutex_);
        while (!off_) {
            if (!wanted_.empty()) {
                loop_.add_picture(wanted_.front(), view(ozr_image_format_nv12));
                wanted_.pop_front();
                ++taken_;
                changed_.notify_all();
            }
            changed_.wait(lock, [this] { return off_ || !wanted_.empty(); });
        }
    }

    std::vector<uint8_t> wall_ = painted_wall();
    std::mutex mutex_;  // guards what follows
    std::condition_variable changed_;
    std::deque<uint32_t> wanted_;  // sweeps that pictures were asked for
    int32_t position_ = 0, taken_ = 0, columns_ = 0;
    int32_t sweeps_finished_ = 0;
    bool off_ = false;

    PanoramaLoop loop_;
    std::thread previews_, pictures_;
};

}  // namespace

int main()
{
    ozr_log_set_external_debug([](const char*, va_list) {});  // before there are threads
    Camera camera;
    const int32_t first = camera.sweep();
    for (int32_t pictures : {2, 3, 1, 2, 3, 2, 3, 2})
        camera.cancelled_sweep(pictures);
    const int32_t second = camera.sweep();
    const bool wide = first > 3 * kWidth / 2 && second > 3 * kWidth / 2;
    return wide && camera.sweeps_finished() == 2 ? 0 : 1;
}
