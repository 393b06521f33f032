// Stitches sweep after sweep while a camera delivers previews and pictures on threads of its own.
//
// The library works on its callers' threads and takes no lock: one thread has to make all calls of
// a session. Here that is a thread of the loop's own; everyone else leaves tasks for it. Cancelling
// is the exception: ozr_panorama_reset may come from any thread, but only while a picture behind
// the first is added or the panorama composed.
#ifndef PANORAMA_LOOP_H
#define PANORAMA_LOOP_H

#include <ozr_panorama.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

class PanoramaLoop
{
public:
    /** Called on the loop's thread. */
    class Listener
    {
    public:
        virtual ~Listener() = default;
        /** The camera is to take a picture and to pass it to add_picture with
            the sweep's number. */
        virtual void take_picture(uint32_t sweep) = 0;
        /** The panorama is done, or failed (then it is null). Its pixels are
            valid until the call returns. */
        virtual void finished(ozr_err error, const ozr_image* panorama) = 0;
    };

    /** Throws std::bad_alloc. @param listener  must live as long as the loop. */
    explicit PanoramaLoop(Listener* listener);
    /** Cancels and waits for the thread. */
    ~PanoramaLoop();
    PanoramaLoop(const PanoramaLoop&) = delete;
    PanoramaLoop& operator=(const PanoramaLoop&) = delete;

    // From any thread. Images are copied; nobody waits for the library, but that a cancelled call
    // needs some milliseconds, at worst a second, to notice.

    /** Begins a sweep, instead of the present one if there is one. Classic
        takes the least memory. */
    void start(ozr_panorama_direction direction, ozr_panorama_quality quality = ozr_panorama_quality_refined);
    /** @return false when the frame was left out: there is no sweep, or the loop is behind. */
    bool add_preview(const ozr_image& frame);
    /** A picture of a sweep that is over is left out. */
    void add_picture(uint32_t sweep, const ozr_image& picture);
    /** Ends the sweep: the panorama follows. */
    void finish();
    /** Ends the sweep without a panorama. A call of the listener that is under
        way may still come to its end. */
    void cancel();

private:
    struct Task {
        uint32_t sweep;
        std::function<ozr_err()> work;
    };

    void run();
    bool end_sweep();
    ozr_err begin(ozr_panorama_direction direction, ozr_panorama_quality quality);
    ozr_err watch(const ozr_image& frame);
    ozr_err stitch(ozr_image* picture);
    ozr_err compose();
    template <class Call>
    ozr_err interruptibly(Call call);

    // With the mutex held:
    void post(std::function<ozr_err()> work);
    void abandon();

    struct Destroy {
        void operator()(ozr_panorama* pano) const { ozr_panorama_destroy(pano); }
    };

    Listener* listener_;
    std::unique_ptr<ozr_panorama, Destroy> pano_;

    // Only the loop's thread uses these.
    uint32_t working_on_ = 0;  // the sweep of the present task
    bool has_pictures_ = false;
    ozr_point offset_ = {0, 0};  // of the picture that was asked for

    std::mutex mutex_;  // guards what follows
    std::condition_variable changed_;
    std::deque<Task> tasks_;
    bool open_ = false;  // a sweep is going on
    uint32_t sweep_ =
        0;  // its number; every end of a sweep counts on, so that what comes late finds no sweep
    bool interruptible_ = false;  // the loop's thread is within a call that a reset may cancel
    bool closing_ = false;

    std::thread thread_;  // last: it uses all of the above
};

#endif
