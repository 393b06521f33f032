// The word by which another thread asks the work to stop.
#ifndef REFINED_CANCEL_H
#define REFINED_CANCEL_H

#include <stdint.h>

namespace ozr::refined
{

struct Cancel {
    const volatile uint8_t* word;  // null: nobody can ask

    bool asked() const { return word != nullptr && __atomic_load_n(word, __ATOMIC_RELAXED) != 0; }
};

}  // namespace ozr::refined

#endif
