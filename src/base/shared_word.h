// A word that two threads share without a lock.
#ifndef OZR_BASE_SHARED_WORD_H
#define OZR_BASE_SHARED_WORD_H

namespace ozr
{

// As large as a T and at the same place in a record. Reads and writes are relaxed: each is whole, and nothing else is
// ordered by them. Usable like a T; copying a record of such words is not one step.
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
