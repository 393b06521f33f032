// The logger: what reaches the sinks and the hooks, and what does not.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "ozr_log.h"
#include "panorama_util.h"

namespace
{

using Level = void (*)(const char* format, ...);

std::string g_seen;

void remember(const char* format, va_list args)
{
    char line[256];
    vsnprintf(line, sizeof(line), format, args);
    g_seen = std::string(format) + "|" + line;
}

struct LevelCase {
    const char* prefix;
    Level log;
    void (*set_hook)(ozr_log_hook hook);
};

const LevelCase kLevels[] = {
    {"E] ", ozr_log_error, ozr_log_set_external_error},
    {"W] ", ozr_log_warning, ozr_log_set_external_warning},
    {"I] ", ozr_log_info, ozr_log_set_external_info},
    {"D] ", ozr_log_debug, ozr_log_set_external_debug},
};

template <class Action>
std::string stderr_of(Action action)
{
    testing::internal::CaptureStderr();
    action();
    return testing::internal::GetCapturedStderr();
}

}  // namespace

TEST(Log, SinksGetPrefixAndText)
{
    for (const LevelCase& level : kLevels)
        EXPECT_EQ(stderr_of([&] { level.log("%d of %s", 3, "ten"); }),
                  std::string("OZR ") + level.prefix + "3 of ten\n");
}

TEST(Log, LongLinesAreCutAt1020Characters)
{
    const std::string text(3000, 'x');
    EXPECT_EQ(stderr_of([&] { ozr_log_info("%s", text.c_str()); }),
              "OZR I] " + std::string(1020, 'x') + "\n");
}

TEST(Log, HooksGetFormatAndArgumentsUntilTheyAreRemoved)
{
    for (const LevelCase& level : kLevels) {
        g_seen.clear();
        level.set_hook(remember);
        EXPECT_EQ(stderr_of([&] { level.log("%d of %s", 3, "ten"); }), "");
        EXPECT_EQ(g_seen, "%d of %s|3 of ten");
        level.set_hook(nullptr);
        EXPECT_NE(stderr_of([&] { level.log("back"); }), "");
    }
}

TEST(Log, DisabledNothingIsWritten)
{
    ozr_log_set_external_error(remember);
    g_seen.clear();
    ozr_log_disable();
    EXPECT_EQ(ozr_log_enabled, 0);
    EXPECT_EQ(stderr_of([] {
                  ozr_log_error("silence");
                  ozr_log_info("silence");
                  ozr_log_dump(77, reinterpret_cast<const uint8_t*>("abc"), 3);
              }),
              "");
    ozr_log_enable();
    ozr_log_set_external_error(nullptr);
    EXPECT_EQ(g_seen, "");
    EXPECT_NE(access("77-3.raw", F_OK), 0);
}

TEST(Log, DumpsGoToAFileNamedByNumberAndSize)
{
    const uint8_t bytes[] = {1, 2, 0, 4};
    ozr_log_dump(-5, bytes, 4);
    std::ifstream file("-5-4.raw", std::ios::binary);
    const std::string content((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    EXPECT_EQ(content, std::string("\1\2\0\4", 4));
    remove("-5-4.raw");
    ozr_platform_log_dump("/nowhere/at/all.raw", bytes, 4);  // skipped silently
    ozr_log_dump(1, bytes, -1);
    EXPECT_NE(access("1--1.raw", F_OK), 0);
}

TEST(Log, ConfigurationInstallsOnlyTheHooksItHas)
{
    EXPECT_EQ(ozr_log_set_externals_from_config(nullptr), ozr_err_invalid_argument);
    ozr_log_set_external_warning(remember);
    ozr_config config = {};
    config.log_info = remember;
    EXPECT_EQ(ozr_log_set_externals_from_config(&config), ozr_success);
    g_seen.clear();
    ozr_log_warning("kept");
    EXPECT_EQ(g_seen, "kept|kept");
    ozr_log_info("installed");
    EXPECT_EQ(g_seen, "installed|installed");
    EXPECT_NE(stderr_of([] { ozr_log_debug("not hooked"); }), "");
    ozr_log_set_external_warning(nullptr);
    ozr_log_set_external_info(nullptr);
}

TEST(Log, EngineLinesCarryTheirTagUnlessItIsNull)
{
    ozr_log_set_external_debug(remember);
    PanoLog("tag", 12, "%s", "text");
    EXPECT_EQ(g_seen, "[%s:%d] %s\n|[tag:12] text\n");
    PanoLog(nullptr, 0, "x");
    EXPECT_EQ(g_seen, "%s\n|x\n");
    ozr_log_set_external_debug(nullptr);
}
