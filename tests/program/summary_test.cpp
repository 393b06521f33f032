// What a run prints on standard output.
#include "support/journals.h"
#include "sweep/summary.h"

#include <gtest/gtest.h>

#include <string>

using namespace ozr_pano;

namespace
{

// Three pictures with every kind of joint and camera.
Journal _journal()
{
    using Time = std::chrono::duration<double, std::milli>;
    Journal journal = swept_journal(3, ozr_panorama_direction_up);
    journal.quality = ozr_panorama_quality_refined;
    journal.previews.resize(7);
    journal.pictures[0].source += '"';
    journal.cameras = {{-1.5F, 2.25F, -3, 345.5F, -0.0625F, 1.25F, 1}, {4, 5, 6, 300, 0.03125F, 0.75F, 0}};
    journal.stages = {{"paint", Time(50)}, {"run", Time(12.75)}};
    return journal;
}

std::string _printed(const Journal& journal, bool json)
{
    testing::internal::CaptureStdout();
    print_summary(journal, json);
    return testing::internal::GetCapturedStdout();
}

TEST(Summary, TextIsATable)
{
    Journal journal = _journal();
    EXPECT_EQ(_printed(journal, false),
              R"(demo: direction up, 3 pictures of 320x240, 7 previews
picture  from        offset (x y)     truth (x y)       error (x y)
      0  <0"
      1  <1             -91    +3     -89.2   +1.5      -1.8   +1.5
      2  <2             -92    +6     -90.2   +2.5      -1.8   +3.5
joint    offset (x y)      residual  confidence  gain
 0  1    +201.2     -3.0         -        0.81  1.00
 1  2      +5.0     +6.0      7.50        0.50  0.50  not used
camera     yaw   pitch    roll   focal  radial  gain
     0   -1.50   +2.25   -3.00   345.5 -0.0625  1.25
refined panorama 900x200 from 2 of 3 pictures
time paint 50 ms, run 13 ms
)");
    journal.output = "out.png";
    journal.report = "page.html";
    const std::string with_files = _printed(journal, false);
    EXPECT_EQ(with_files.substr(with_files.find("time ")),
              "time paint 50 ms, run 13 ms\nwritten to out.png\nreport in page.html\n");
    // A classic sweep without previews, offsets or anything that was measured.
    journal = _journal();
    journal.quality = ozr_panorama_quality_classic;
    journal.previews.clear();
    journal.joints.clear();
    journal.cameras.clear();
    journal.pictures.back().has_offset = false;
    EXPECT_EQ(_printed(journal, false), "demo: direction up, 3 pictures of 320x240\n"
                                        "classic panorama 900x200 from 2 of 3 pictures\n"
                                        "time paint 50 ms, run 13 ms\n");
}

TEST(Summary, JsonSaysTheSame)
{
    Journal journal = _journal();
    EXPECT_EQ(
        _printed(journal, true),
        R"({"command":"demo","quality":"refined","direction":"up","picture_size":[320,240],"previews":7,)"
        R"("pictures":[{"from":"<0\""},{"from":"<1","offset":[-91,3],"truth":[-89.25,1.50]},)"
        R"({"from":"<2","offset":[-92,6],"truth":[-90.25,2.50]}],)"
        R"("joints":[{"pictures":[0,1],"offset":[201.25,-3.00],"residual":-1.000,"confidence":0.812,)"
        R"("gain":1.0000,"used":true},)"
        R"({"pictures":[1,2],"offset":[5.00,6.00],"residual":7.500,"confidence":0.496,)"
        R"("gain":0.5000,"used":false}],)"
        R"("cameras":[{"yaw":-1.5000,"pitch":2.2500,"roll":-3.0000,"focal_length":345.50,)"
        R"("radial":-0.06250,"gain":1.2500,"used":true},)"
        R"({"yaw":4.0000,"pitch":5.0000,"roll":6.0000,"focal_length":300.00,)"
        R"("radial":0.03125,"gain":0.7500,"used":false}],"pictures_used":2,"panorama_size":[900,200],)"
        R"("milliseconds":{"paint":50.00,"run":12.75},"output":""})"
        "\n");
    journal.report = "page.html";
    journal.joints.clear();
    journal.cameras.clear();
    journal.pictures.resize(1);
    EXPECT_EQ(
        _printed(journal, true),
        R"({"command":"demo","quality":"refined","direction":"up","picture_size":[320,240],"previews":7,)"
        R"("pictures":[{"from":"<0\""}],"joints":[],"pictures_used":2,"panorama_size":[900,200],)"
        R"("milliseconds":{"paint":50.00,"run":12.75},"output":"","report":"page.html"})"
        "\n");
}

}  // namespace
