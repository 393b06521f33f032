// The word by which another thread asks the work to stop.
#ifndef REFINED_CANCEL_H
#define REFINED_CANCEL_H

#include <stdint.h>

#include "base/shared_word.h"

namespace ozr::refined
{

struct Cancel {
    const SharedWord<uint8_t>* word;  // null: nobody can ask

    bool asked() const { return word != nullptr && *word != 0; }
};

}  // namespace ozr::refined

#endif
