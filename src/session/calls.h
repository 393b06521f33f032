// The calls at work: the last step of a cancellation, which docs/architecture.md describes.
//
// Every call is in a table while it is inside a session. There is no lock: a call takes a place by
// one compare-and-swap, and only a reset or a destruction reads the table.
#ifndef PANORAMA_CALLS_H
#define PANORAMA_CALLS_H

class panorama_t;

namespace ozr::session
{

// Notes a call for as long as it exists. The first local of a function that works in a session, and so the last one to be
// destroyed.
class Call
{
public:
    explicit Call(const panorama_t* session);
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

private:
    const panorama_t** place_;  // null when the table is full: such a call is not waited for
};

// Whether a call is inside the session.
bool is_at_work(const panorama_t* session);

}  // namespace ozr::session

#endif
