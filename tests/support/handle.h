// A panorama of the public interface that destroys itself.
#ifndef HANDLE_H
#define HANDLE_H

#include <gtest/gtest.h>

#include <memory>

#include "ozr_panorama.h"

struct Destroy {
    void operator()(ozr_panorama* pano) const { ozr_panorama_destroy(pano); }
};
using Handle = std::unique_ptr<ozr_panorama, Destroy>;

inline Handle create_panorama()
{
    ozr_panorama* pano = nullptr;
    EXPECT_EQ(ozr_panorama_create(nullptr, &pano), ozr_success);
    return Handle(pano);
}

#endif
