// The profiler's statistics and the choice among versions.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "ozr_log.h"
#include "ozr_support.h"

namespace
{

std::vector<std::string> g_lines;

void collect(const char* format, va_list args)
{
    char line[512];
    vsnprintf(line, sizeof(line), format, args);
    g_lines.emplace_back(line);
}

}  // namespace

TEST(Profiler, CountsIntervalsAndReportsUsedSlotsOnly)
{
    ozr_prof_set(7);
    ozr_prof_go_label(7, "resize");
    ozr_platform_sleep(2);
    EXPECT_EQ(ozr_prof_stop(7), 1U);
    ozr_prof_go(7);
    EXPECT_EQ(ozr_prof_stop(7), 2U);
    g_lines.clear();
    ozr_log_disable();  // the report through a function does not ask the flag
    EXPECT_EQ(ozr_prof_print_logfunc(collect), 0);
    ozr_log_enable();
    ASSERT_EQ(g_lines.size(), 3U);
    EXPECT_EQ(g_lines[0], "================= prof log func =================");
    EXPECT_EQ(g_lines[2], "=================================================");
    int slot = 0, count = 0;
    double total = 0, shortest = 0, longest = 0, mean = 0;
    char label[16] = "";
    ASSERT_EQ(sscanf(g_lines[1].c_str(),
                     "[%d] CALL_CNT(%d) ACC_TIME(%lf), MIN(%lf), MAX(%lf) AVG(%lfms) - %15s", &slot, &count,
                     &total, &shortest, &longest, &mean, label),
              7);
    EXPECT_EQ(slot, 7);
    EXPECT_EQ(count, 2);
    EXPECT_STREQ(label, "resize");
    EXPECT_GE(longest, 2.0);
    EXPECT_LT(shortest, longest);
    EXPECT_NEAR(total, shortest + longest, 0.0011);  // printed in whole microseconds
    EXPECT_NEAR(mean, total / 2, 0.0011);
    ozr_prof_set(7);
    g_lines.clear();
    ozr_log_set_external_info(collect);
    EXPECT_EQ(ozr_prof_print(), 0);
    ozr_log_set_external_info(nullptr);
    EXPECT_EQ(g_lines, (std::vector<std::string>{"================= prof =================",
                                                 "========================================"}));
}

TEST(Profiler, SurvivesLongLabelsAndWildSlots)
{
    const std::string label(1000, 'L');
    ozr_prof_set(999);
    ozr_prof_go_label(999, label.c_str());
    ozr_prof_stop(999);
    g_lines.clear();
    ozr_prof_print_logfunc(collect);
    ASSERT_EQ(g_lines.size(), 3U);
    EXPECT_EQ(g_lines[1].substr(g_lines[1].find(" - ") + 3), std::string(300, 'L'));
    ozr_prof_set(999);
    ozr_prof_set(1000);
    ozr_prof_go_label(UINT32_MAX, "nowhere");
    EXPECT_EQ(ozr_prof_stop(1000), 0U);
    EXPECT_NE(ozr_prof_print_logfunc(nullptr), 0);
}

TEST(Profiler, TimestampsAreMillisecondsSinceTheEpoch)
{
    g_lines.clear();
    ozr_log_set_external_info(collect);
    const time_t before = ozr_time(nullptr);
    ozr_prof_print_timestamp("here", 42);
    const time_t after = ozr_time(nullptr);
    ozr_log_set_external_info(nullptr);
    ASSERT_EQ(g_lines.size(), 1U);
    long long milliseconds = 0;
    int value = 0;
    ASSERT_EQ(sscanf(g_lines[0].c_str(), "@@### [here] %lld - %d", &milliseconds, &value), 2);
    EXPECT_GE(milliseconds / 1000, before);
    EXPECT_LE(milliseconds / 1000, after + 1);
    EXPECT_EQ(value, 42);
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
