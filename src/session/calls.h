// The calls at work. A session may be reset or destroyed while a call of another thread works in it. The engine's words
// tell when a picture or a composition has ended, but not when the call has left; until then it may still read what the
// reset or destruction releases. So every call stands in a table while it is inside. There is no lock: a place is taken
// by one compare-and-swap, and only a reset or a destruction looks.
#ifndef PANORAMA_CALLS_H
#define PANORAMA_CALLS_H

class panorama_t;

namespace ozr::session
{

// Made first and so gone last in a function that works in a session.
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

bool is_at_work(const panorama_t* session);

}  // namespace ozr::session

#endif
