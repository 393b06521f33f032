#include "session/calls.h"

namespace ozr::session
{

namespace
{

// The number of calls that can be noted at once, in all sessions together.
constexpr int kPlaces = 64;
const panorama_t* g_sessions[kPlaces];  // null: free

}  // namespace

Call::Call(const panorama_t* session) : place_(nullptr)
{
    for (const panorama_t*& place : g_sessions) {
        const panorama_t* nobody = nullptr;
        if (__atomic_compare_exchange_n(&place, &nobody, session, false, __ATOMIC_ACQ_REL,
                                        __ATOMIC_RELAXED)) {
            place_ = &place;
            return;
        }
    }
}

Call::~Call()
{
    if (place_ != nullptr)
        __atomic_store_n(place_, nullptr, __ATOMIC_RELEASE);
}

bool is_at_work(const panorama_t* session)
{
    for (const panorama_t*& place : g_sessions) {
        if (__atomic_load_n(&place, __ATOMIC_ACQUIRE) == session)
            return true;
    }
    return false;
}

}  // namespace ozr::session
