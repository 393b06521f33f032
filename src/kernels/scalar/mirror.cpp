#include <string.h>

#include <utility>

#include "kernels/mirror.h"

namespace ozr::kernels::scalar
{

void mirror_bytes_row(uint8_t* row, int32_t count)
{
    for (int32_t i = 0; i < count / 2; ++i)
        std::swap(row[i], row[count - 1 - i]);
}

void mirror_pairs_row(uint8_t* row, int32_t bytes)
{
    for (int32_t k = 0; k < bytes / 4; ++k) {
        uint8_t* mirrored = row + bytes - 2 - 2 * k;
        std::swap(row[2 * k], mirrored[0]);
        std::swap(row[2 * k + 1], mirrored[1]);
    }
}

void mirror_quads_row(uint8_t* row, int32_t count)
{
    for (int32_t i = 0; i < count / 2; ++i) {
        uint32_t left = 0;
        uint32_t right = 0;
        uint8_t* mirrored = row + static_cast<int64_t>(count - 1 - i) * 4;
        memcpy(&left, row + static_cast<int64_t>(i) * 4, 4);
        memcpy(&right, mirrored, 4);
        memcpy(row + static_cast<int64_t>(i) * 4, &right, 4);
        memcpy(mirrored, &left, 4);
    }
}

}  // namespace ozr::kernels::scalar
