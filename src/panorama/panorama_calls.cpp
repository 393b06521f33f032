#include "panorama_calls.h"

namespace
{

// Calls that may be at work at once, in all sessions together; a place for each.
constexpr int kPlaces = 64;
const void* g_handles[kPlaces];  // null: free

}  // namespace

PanoramaCall::PanoramaCall(const void* handle) : place_(nullptr)
{
    for (const void*& place : g_handles) {
        const void* nobody = nullptr;
        if (__atomic_compare_exchange_n(&place, &nobody, handle, false, __ATOMIC_ACQ_REL, __ATOMIC_RELAXED)) {
            place_ = &place;
            return;
        }
    }
}

PanoramaCall::~PanoramaCall()
{
    if (place_ != nullptr)
        __atomic_store_n(place_, nullptr, __ATOMIC_RELEASE);
}

bool panorama_call_is_at_work(const void* handle)
{
    for (const void*& place : g_handles) {
        if (__atomic_load_n(&place, __ATOMIC_ACQUIRE) == handle)
            return true;
    }
    return false;
}
