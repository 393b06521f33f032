// Aligned memory, bounded copies and result code names.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "ozr_support.h"
#include "panorama_util.h"
#include "support/wrapped_heap.h"

TEST(AlignedMemory, IsAlignedUsableAndGivenBack)
{
    for (uint32_t alignment = 1; alignment <= 32768; alignment *= 2) {
        for (uint32_t size : {0U, 1U, 100U, 70000U}) {
            const WrappedHeap heap;
            uint8_t* plain = static_cast<uint8_t*>(ozr_malloc_aligned(size, alignment));
            uint8_t* cleared = static_cast<uint8_t*>(ozr_calloc_aligned(3, size, alignment));
            ASSERT_TRUE(plain != nullptr && cleared != nullptr);
            EXPECT_EQ(reinterpret_cast<uintptr_t>(plain) % alignment, 0U);
            EXPECT_EQ(reinterpret_cast<uintptr_t>(cleared) % alignment, 0U);
            EXPECT_TRUE(std::all_of(cleared, cleared + 3 * size, [](uint8_t byte) { return byte == 0; }));
            memset(plain, 0xFF, size);
            uint16_t distance = 0;
            memcpy(&distance, plain - 2, 2);
            EXPECT_GE(distance, 1);
            EXPECT_LE(distance, alignment);
            ozr_free_aligned(plain);
            ozr_free_aligned(cleared);
            EXPECT_EQ(heap.live_blocks(), 0);
        }
    }
}

TEST(AlignedMemory, RefusesWhatCannotHoldItsHeader)
{
    const WrappedHeap heap;
    EXPECT_EQ(ozr_malloc_aligned(0xFFFFF000U, 4096), nullptr);  // wraps around to 2 bytes
    EXPECT_EQ(ozr_calloc_aligned(0, 16, 4096), nullptr);
    void* wrapped = ozr_malloc_aligned(0xFFFFFFFFU, 4096);  // wraps around to 4097 bytes, just enough
    ASSERT_NE(wrapped, nullptr);
    ozr_free_aligned(wrapped);
    EXPECT_EQ(heap.live_blocks(), 0);
}

TEST(AlignedMemory, FailsWithTheHeap)
{
    for (int64_t failing = 1; failing <= 2; ++failing) {
        const WrappedHeap heap(failing);
        void* first = ozr_malloc_aligned(10, 16);
        void* second = ozr_calloc_aligned(1, 10, 16);
        EXPECT_EQ(first == nullptr, failing == 1);
        EXPECT_EQ(second == nullptr, failing == 2);
        ozr_free_aligned(failing == 1 ? second : first);
        EXPECT_EQ(heap.live_blocks(), 0);
    }
}

TEST(AlignedMemory, EngineBlocksArePageAlignedInsideTheirBlock)
{
    void* raw = nullptr;
    uint8_t* pixels = static_cast<uint8_t*>(AlignedCalloc(10, 100, &raw));
    const uintptr_t distance = reinterpret_cast<uintptr_t>(pixels) - reinterpret_cast<uintptr_t>(raw);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(pixels) % 4096, 0U);
    EXPECT_GT(distance, 4096U);
    EXPECT_LE(distance, 8192U);
    PanoFree(raw);
    const WrappedHeap heap(1);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(AlignedCalloc(1, 1, &raw)), 8192U);  // only the block's start tells
    EXPECT_EQ(raw, nullptr);
}

TEST(BoundedCopies, StopAtTheDestination)
{
    char buffer[8] = "-------";
    EXPECT_EQ(ozr_memcpy_s(buffer, 4, "abcdefgh", 8), buffer);
    EXPECT_STREQ(buffer, "abcd---");
    EXPECT_EQ(ozr_memcpy_s(buffer, 7, "xy", 2), buffer);
    EXPECT_STREQ(buffer, "xycd---");
    EXPECT_EQ(ozr_strncpy_s(buffer, 4, "string", 10), buffer);
    EXPECT_STREQ(buffer, "stri---");  // not terminated
    ozr_strncpy_s(buffer, 7, "s", 7);
    EXPECT_EQ(memcmp(buffer, "s\0\0\0\0\0\0", 7), 0);
    EXPECT_EQ(ozr_memcpy_s(nullptr, 0, nullptr, 5), nullptr);
}

TEST(ResultCodes, HaveNames)
{
    const char* names[] = {
        "ozr_success",          "ozr_err_general",     "ozr_err_not_supported",  "ozr_err_invalid_argument",
        "ozr_err_out_of_bound", "ozr_err_interrupted", "ozr_err_invalid_status", "ozr_err_nomem",
        "ozr_err_database_full"};
    for (int32_t i = 0; i < 9; ++i)
        EXPECT_STREQ(ozr_err_to_string(-i), names[i]);
    for (int32_t other : {1, -9, INT32_MIN, INT32_MAX})
        EXPECT_STREQ(ozr_err_to_string(other), "ozr_err_unknown");
}
