// The common runtime: aligned memory, bounded copies, result names, the logger, the
// profiler, versions, the platform.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <fstream>

#include "image/panorama_util.h"
#include "ozr_log.h"
#include "ozr_memory.h"
#include "ozr_platform.h"
#include "ozr_prof.h"
#include "ozr_version.h"
#include "support/log_capture.h"
#include "support/wrapped_heap.h"
#include "support/wrapped_time.h"

namespace
{

std::string g_seen;

void remember(const char* format, va_list args)
{
    char line[2048];
    vsnprintf(line, sizeof(line), format, args);
    g_seen += std::string(format) + "|" + line;
}

const struct {
    const char* prefix;
    void (*log)(const char* format, ...);
    void (*set_hook)(ozr_log_hook hook);
    ozr_log_hook ozr_config::*configured;
} kLevels[] = {
    {"OZR E] ", ozr_log_error, ozr_log_set_external_error, &ozr_config::log_error},
    {"OZR W] ", ozr_log_warning, ozr_log_set_external_warning, &ozr_config::log_warning},
    {"OZR I] ", ozr_log_info, ozr_log_set_external_info, &ozr_config::log_info},
    {"OZR D] ", ozr_log_debug, ozr_log_set_external_debug, &ozr_config::log_debug},
};

template <class Action>
std::string stderr_of(Action action)
{
    testing::internal::CaptureStderr();
    action();
    return testing::internal::GetCapturedStderr();
}

// The profiler's report without its frame.
Lines report()
{
    const LogCapture log;
    EXPECT_EQ(ozr_prof_print(), 0);
    Lines lines = log.info();
    EXPECT_EQ(lines.front(), "================= prof =================");
    EXPECT_EQ(lines.back(), "========================================");
    return {lines.begin() + 1, lines.end() - 1};
}

}  // namespace

TEST(AlignedMemory, IsAlignedUsableAndGivenBack)
{
    const WrappedHeap heap;
    for (uint32_t alignment = 1; alignment <= 32768; alignment *= 2) {
        for (uint32_t size : {0U, 1U, 100U, 70000U}) {
            for (bool clears : {false, true}) {
                void* block =
                    clears ? ozr_calloc_aligned(3, size, alignment) : ozr_malloc_aligned(size, alignment);
                ASSERT_NE(block, nullptr);
                EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % alignment, 0U);
                uint8_t* bytes = static_cast<uint8_t*>(block);
                const int64_t zeros = clears ? 3 * static_cast<int64_t>(size) : 0;
                EXPECT_EQ(std::count(bytes, bytes + zeros, 0), zeros);
                memset(bytes, 0xFF, size);
                uint16_t distance = 0;
                memcpy(&distance, bytes - 2, 2);
                EXPECT_GE(distance, 1);
                EXPECT_LE(distance, alignment);
                ozr_free_aligned(block);
            }
        }
    }
    EXPECT_EQ(ozr_malloc_aligned(0xFFFFF000U, 4096), nullptr);  // wraps around to 2 bytes
    EXPECT_EQ(ozr_malloc_aligned(0xFFFFFFFFU, 1), nullptr);     // likewise, 2 of the 3 needed
    EXPECT_EQ(ozr_calloc_aligned(0, 16, 4096), nullptr);        // no room for the distance
    void* wrapped = ozr_malloc_aligned(0xFFFFFFFFU, 4096);      // around to 4097 bytes: enough
    ASSERT_NE(wrapped, nullptr);
    ozr_free_aligned(wrapped);
    EXPECT_EQ(heap.live_blocks(), 0);
    const WrappedHeap full(1);
    EXPECT_EQ(ozr_malloc_aligned(10, 16), nullptr);
    const WrappedHeap full_again(1);
    EXPECT_EQ(ozr_calloc_aligned(1, 10, 16), nullptr);
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
    // Only *raw shows the failure.
    EXPECT_EQ(reinterpret_cast<uintptr_t>(AlignedCalloc(1, 1, &raw)), 8192U);
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

TEST(Log, LevelsGoToTheirSinksOrHooks)
{
    for (const auto& level : kLevels) {
        const auto log = [&] { level.log("%d of %s", 3, "ten"); };
        EXPECT_EQ(stderr_of(log), std::string(level.prefix) + "3 of ten\n");
        g_seen.clear();
        level.set_hook(remember);
        EXPECT_EQ(stderr_of(log), "");
        EXPECT_EQ(g_seen, "%d of %s|3 of ten");
        level.set_hook(nullptr);
        EXPECT_NE(stderr_of(log), "");
    }
    const std::string text(3000, 'x');
    EXPECT_EQ(stderr_of([&] { ozr_log_info("%s", text.c_str()); }), "OZR I] " + text.substr(0, 1020) + "\n");
}

TEST(Log, DisabledNothingIsWritten)
{
    const LogCapture log;
    remove("77-3.raw");  // of a run that failed
    ozr_log_disable();
    EXPECT_EQ(ozr_log_enabled, 0);
    ozr_log_error("silence");
    ozr_log_dump(77, reinterpret_cast<const uint8_t*>("abc"), 3);
    EXPECT_EQ(stderr_of([] { ozr_log_warning("silence"); }), "");
    ozr_log_enable();
    EXPECT_TRUE(log.chain().empty());
    EXPECT_NE(remove("77-3.raw"), 0);
}

TEST(Log, DumpsGoToAFileNamedByNumberAndSize)
{
    const uint8_t bytes[] = {1, 2, 0, 4};
    ozr_log_dump(-5, bytes, 4);
    std::ifstream file("-5-4.raw", std::ios::binary);
    EXPECT_TRUE(std::equal(std::begin(bytes), std::end(bytes), std::istreambuf_iterator<char>(file), {}));
    remove("-5-4.raw");
    ozr_platform_log_dump("/nowhere/at/all.raw", bytes, 4);  // skipped silently
    ozr_log_dump(1, bytes, -1);
    EXPECT_NE(access("1--1.raw", F_OK), 0);
}

TEST(Log, ConfigurationInstallsOnlyTheHooksItHas)
{
    EXPECT_EQ(ozr_log_set_externals_from_config(nullptr), ozr_err_invalid_argument);
    for (const auto& given : kLevels) {
        ozr_config config = {};
        config.*given.configured = remember;
        EXPECT_EQ(ozr_log_set_externals_from_config(&config), ozr_success);
        const ozr_config nothing = {};
        EXPECT_EQ(ozr_log_set_externals_from_config(&nothing), ozr_success);  // and takes none away
        for (const auto& level : kLevels)
            EXPECT_EQ(stderr_of([&] { level.log("line"); }).empty(), &level == &given);
        given.set_hook(nullptr);
    }
}

TEST(Log, EngineLinesCarryTheirTagUnlessItIsNull)
{
    g_seen.clear();
    ozr_log_set_external_debug(remember);
    PanoLog("tag", 12, "%s", "text");
    PanoLog(nullptr, 0, "%s", std::string(2000, 'x').c_str());
    EXPECT_EQ(g_seen, "[%s:%d] %s\n|[tag:12] text\n%s\n|" + std::string(1023, 'x') + "\n");
    ozr_log_set_external_debug(nullptr);
}

TEST(Profiler, CountsIntervalsOfUsedSlots)
{
    // Microseconds; the last passes the end of 32 bits.
    const uint32_t intervals[] = {2500, 2, 70000, 1498, 999999};
    const char* const reports[] = {
        "[  7] CALL_CNT(    1) ACC_TIME(    2.500), MIN(    2.500), MAX(    2.500) AVG(    2.500ms) - resize",
        "[  7] CALL_CNT(    2) ACC_TIME(    2.502), MIN(    0.002), MAX(    2.500) AVG(    1.251ms) - resize",
        "[  7] CALL_CNT(    3) ACC_TIME(   72.502), MIN(    0.002), MAX(   70.000) AVG(   24.167ms) - resize",
        "[  7] CALL_CNT(    4) ACC_TIME(   74.000), MIN(    0.002), MAX(   70.000) AVG(   18.500ms) - resize",
        ("[  7] CALL_CNT(    5) ACC_TIME( 1073.999), MIN(    0.002), MAX(  999.999) AVG(  214.800ms) - "
         "resize")};
    WrappedClock clock({4294, 967296 - 999999 + 70000});
    ozr_prof_set(7);
    for (uint32_t i = 0; i < 5; ++i) {
        i == 0 ? ozr_prof_go_label(7, "resize") : ozr_prof_go(7);
        clock.pass(intervals[i]);
        EXPECT_EQ(ozr_prof_stop(7), i + 1);
        EXPECT_EQ(report(), Lines{reports[i]});
    }
    g_seen.clear();
    ozr_log_disable();  // the report through a function does not ask the flag
    EXPECT_EQ(ozr_prof_print_logfunc(remember), 0);
    ozr_log_enable();
    const std::string bar(17, '=');
    for (const std::string& line :
         {bar + " prof log func " + bar, std::string(reports[4]), std::string(49, '=')})
        EXPECT_NE(g_seen.find("|" + line), std::string::npos) << g_seen;
    EXPECT_NE(ozr_prof_print_logfunc(nullptr), 0);
    ozr_prof_set(7);
    EXPECT_TRUE(report().empty());
    ozr_prof_go(7);
    clock.pass(5000);
    ozr_prof_stop(7);
    EXPECT_EQ(report(),
              Lines{"[  7] CALL_CNT(    1) ACC_TIME(    5.000), MIN(    5.000), MAX(    5.000) AVG(    "
                    "5.000ms) - "});
    ozr_prof_set(7);
}

TEST(Profiler, SurvivesLongLabelsAndWildSlots)
{
    ozr_prof_set(999);
    ozr_prof_go_label(999, std::string(1000, 'L').c_str());
    ozr_prof_stop(999);
    const Lines lines = report();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].substr(lines[0].find(" - ") + 3), std::string(300, 'L'));
    ozr_prof_set(999);
    ozr_prof_set(1000);
    ozr_prof_go_label(UINT32_MAX, "nowhere");
    EXPECT_EQ(ozr_prof_stop(1000), 0U);
}

TEST(Profiler, TimestampsAreMillisecondsSinceTheEpoch)
{
    WrappedClock clock({1700000001, 4499});
    const LogCapture log;
    ozr_prof_print_timestamp("here", 42);
    clock.pass(995000);
    ozr_prof_print_timestamp("there", -1);
    clock.pass(1);  // rounds up to the next second
    ozr_prof_print_timestamp("", 0);
    EXPECT_EQ(log.info(), (Lines{"@@### [here] 1700000001004 - 42", "@@### [there] 1700000001999 - -1",
                                 "@@### [] 1700000002000 - 0"}));
    const time_t before = time(nullptr);
    time_t stored = 0;
    EXPECT_GE(ozr_time(&stored), before);
    EXPECT_GE(stored, before);
}

TEST(Versions, CompareMatchAndChoose)
{
    const ozr_version v[] = {{1, 2, 3, 0}, {1, 2, 9, 0}, {1, 3, 0, 0},
                             {2, 0, 0, 0}, {2, 0, 5, 1}, {1, 2, 3, 8}};
    EXPECT_EQ(ozr_version_compare(&v[0], &v[1]), 0);
    EXPECT_EQ(ozr_version_compare(&v[2], &v[1]), 1);
    EXPECT_EQ(ozr_version_compare(&v[2], &v[3]), -1);
    EXPECT_EQ(ozr_version_is_matching(&v[0], &v[1]), 0);
    EXPECT_EQ(ozr_version_is_matching(&v[0], &v[5]), 1);

    const ozr_version_variety_entry list[] = {
        {&v[0], nullptr}, {&v[3], nullptr}, {&v[4], nullptr}, {&v[5], nullptr}};
    EXPECT_EQ(ozr_version_variety_get_latest(list, 4), &list[1]);  // of equal ones the first
    EXPECT_EQ(ozr_version_variety_get_latest(list, 1), &list[0]);
    EXPECT_EQ(ozr_version_variety_get_latest(list, 0), nullptr);
    EXPECT_EQ(ozr_version_variety_get_latest(nullptr, 4), nullptr);
    EXPECT_EQ(ozr_version_variety_get_matching(&v[5], list, 4), &list[0]);
    EXPECT_EQ(ozr_version_variety_get_matching(&v[1], list, 4), nullptr);
    EXPECT_EQ(ozr_version_variety_get_matching(nullptr, list, 4), nullptr);
    EXPECT_EQ(ozr_version_variety_get_matching_or_latest(&v[4], list, 4), &list[2]);
    EXPECT_EQ(ozr_version_variety_get_matching_or_latest(&v[1], list, 4), &list[1]);
}

TEST(Platform, LoadsSharedObjects)
{
    void* self = ozr_platform_dlopen(nullptr);
    ASSERT_NE(self, nullptr);
    EXPECT_NE(ozr_platform_dlsym(self, "vsnprintf"), nullptr);
    EXPECT_EQ(ozr_platform_dlsym(self, "no such symbol"), nullptr);
    ozr_platform_dlclose(self);
    ozr_platform_dlclose(nullptr);
    char value[92] = "old";
    EXPECT_EQ(ozr_android_property_get("ro.build.id", value), 0);
    EXPECT_STREQ(value, "");
}
