// A word that two threads share without a lock.
#ifndef OZR_BASE_SHARED_WORD_H
#define OZR_BASE_SHARED_WORD_H

namespace ozr
{

// A T that is read and written atomically, with the size and the alignment of a plain T, so that records keep
// their layout. Reads and writes are relaxed: each is whole, and orders no other access. Copying a
// record that holds several such words copies them one by one.
template <class T>
struct SharedWord {
    T word;

    T load() const
    {
        T value;
        __atomic_load(&word, &value, __ATOMIC_RELAXED);
        return value;
    }
    void store(T value) { __atomic_store(&word, &value, __ATOMIC_RELAXED); }

    operator T() const { return load(); }  // NOLINT(google-explicit-constructor)
    T operator=(T value)                   // NOLINT(misc-unconventional-assign-operator)
    {
        store(value);
        return value;
    }
};

}  // namespace ozr

#endif
