// What the program does with the two qualities: directions it finds, places it doubts,
// files that say what they are.
#include "media/exif.h"
#include "media/image_owner.h"
#include "media/picture_io.h"
#include "support/pages.h"
#include "support/program.h"
#include "support/scenes.h"

#include <math.h>

using namespace ozr_pano;

namespace
{

constexpr int32_t kAlong = 320, kAcross = 240;
constexpr double kFocal = 345;

// The city seen to the right of its middle, or the tower seen below its middle.
Picture _seen(bool tower, double degrees, bool is_wide)
{
    ImageOwner picture(is_wide ? kAlong : kAcross, is_wide ? kAcross : kAlong);
    const Lens lens = {picture.get()->width, picture.get()->height, kFocal, tower};
    const Pose pose = {1.7 + degrees * 3.14159265358979 / 180, 0, 0};
    scene(tower, kFocal).photograph(lens, pose, picture.get());
    return convert_to_picture(*picture.get());
}

class Quality : public ProgramTest
{
protected:
    Quality()
    {
        for (const int place : {0, 1, 2}) {
            write_picture("in/city" + std::to_string(place) + ".jpg", _seen(false, 14 * (place - 1), true),
                          95);
            write_picture("in/tower" + std::to_string(place) + ".jpg", _seen(true, 14 * (place - 1), false),
                          95);
        }
        write_picture("in/strange.jpg", _seen(true, 0, true), 95);
    }
};

TEST_F(Quality, RefinedFindsTheDirection)
{
    const std::pair<const char*, const char*> sweeps[] = {
        {"right", "in/city0.jpg in/city1.jpg in/city2.jpg"},
        {"left", "in/city2.jpg in/city1.jpg in/city0.jpg"},
        {"down", "in/tower0.jpg in/tower1.jpg in/tower2.jpg"},
        {"up", "in/tower2.jpg in/tower1.jpg in/tower0.jpg"}};
    for (const auto& [direction, pictures] : sweeps) {
        SCOPED_TRACE(direction);
        const std::string found = std::string("\"quality\":\"refined\",\"direction\":\"") + direction + '"';
        // A wrong hint does no harm.
        for (const char* hint : {"", "-d up ", "-d left --overlap 90 "}) {
            const std::string json =
                run_well(std::string("stitch --strict --json -o out/a.png ") + hint + pictures);
            expect_lines(
                json,
                found + "\n\"pictures_used\":3\n\"joints\":[{\"pictures\":[0,1]\n\"cameras\":[{\"yaw\":");
            const Picture panorama = read_picture("out/a.png");
            const bool vertical = panorama.height > panorama.width;
            EXPECT_EQ(vertical, pictures[3] == 't');
            // A picture covers 300 columns of the cylinder, and the crop may
            // give some of them for rows.
            EXPECT_NEAR(vertical ? panorama.height : panorama.width, 2 * 0.2443 * kFocal + 280, 21);
        }
    }
}

TEST_F(Quality, DoubtsAreSaidInALineEachAndFailWhereStrict)
{
    const char* city = "in/city0.jpg in/city1.jpg in/city2.jpg";
    const struct {
        std::string arguments;
        int doubts;  // lines on standard error
        const char* says;
    } rows[] = {
        {std::string() + city, 0, ""},
        {std::string("--quality classic --overlap 72 ") + city, 0, ""},
        {"in/city0.jpg in/strange.jpg in/city1.jpg in/city2.jpg", 1,
         "ozr-pano: in/strange.jpg: picture 1 is left out: it does not fit the others; "},
        {std::string("--quality classic -d up ") + city, 2,
         "ozr-pano: in/city1.jpg: picture 1 does not fit picture 0 for sure: confidence 0.\n"
         "ozr-pano: in/city2.jpg: picture 2 does not fit picture 1 for sure: confidence 0."},
    };
    for (const auto& row : rows) {
        for (const bool strict : {false, true}) {
            SCOPED_TRACE(row.arguments + (strict ? " --strict" : ""));
            const bool fails = strict && row.doubts > 0;
            const Outcome outcome = run("stitch -o out/a.jpg " + row.arguments + (strict ? " --strict" : ""));
            EXPECT_EQ(outcome.status, fails ? 1 : 0);
            EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), row.doubts + (fails ? 1 : 0))
                << outcome.err;
            expect_lines(outcome.err, row.says);
            if (fails)
                expect_lines(outcome.err, "ozr-pano: --strict: the panorama is written, but " +
                                              std::to_string(row.doubts) + " of its places ");
            EXPECT_EQ(files_in_out(), std::set<std::string>{"a.jpg"});
            fs::remove("out/a.jpg");
        }
    }
    const Outcome nothing = run("stitch -o out/a.jpg in/strange.jpg in/city1.jpg");
    EXPECT_EQ(nothing.status, 1);
    expect_message(nothing.err, "the pictures cannot be placed: each does not fit the others");
    EXPECT_TRUE(files_in_out().empty());
}

TEST_F(Quality, RecordingsSayTheQualityAndReplayInIt)
{
    const std::string demo = "demo -n 2 --size 160x120 -o out/a.png --record ";
    run_well(demo + "refined");
    run_well(demo + "classic --quality classic");
    const std::string refined = read_text("refined/calls.txt"), classic = read_text("classic/calls.txt");
    const std::string call = "set_quality quality=refined\nreturned 0\n";
    EXPECT_NE(refined.find("returned 0\n" + call + "stitch_one_image"), std::string::npos);
    EXPECT_EQ(classic.find("set_quality"), std::string::npos);
    for (const char* folder : {"refined", "classic"})
        expect_lines(run_well(std::string("replay ") + folder), folder + std::string(" panorama "));
    // Without the call, and as the first format had it, the same pictures make
    // the classic panorama.
    std::string old = refined;
    old.erase(old.find(call), call.size());
    old.replace(old.find("recording 2"), 11, "recording 1");
    write_text("refined/calls.txt", old);
    const Outcome outcome = run("replay refined");
    EXPECT_EQ(outcome.status, 3);
    expect_lines(outcome.out, "classic panorama ");
    expect_lines(outcome.err,
                 "run returned 0 " + classic.substr(classic.find("format=", classic.find("\nrun\n")),
                                                    classic.rfind("\nend") -
                                                        classic.find("format=", classic.find("\nrun\n"))));
}

TEST_F(Quality, JpegsSayWhatTheyAre)
{
    // A little-endian block: a model, and the direction of the view, 100 degrees.
    const std::string exif("II*\0\x08\0\0\0\x02\0"
                           "\x10\x01\x02\0\x04\0\0\0Cam\0"
                           "\x25\x88\x04\0\x01\0\0\0\x26\0\0\0"
                           "\0\0\0\0"
                           "\x01\0\x11\0\x05\0\x01\0\0\0\x38\0\0\0\0\0\0\0\x64\0\0\0\x01\0\0\0",
                           64);
    const std::vector<uint8_t> block(exif.begin(), exif.end());
    for (const char* name : {"in/city0.jpg", "in/tower0.jpg"}) {
        const std::vector<uint8_t> file = encode_jpeg(read_picture(name), 95, {block, ""});
        write_file_whole(name, file.data(), file.size());
    }
    const struct {
        const char* arguments;
        bool has_exif, has_gpano;
        double radius;   // of the cylinder; 0: none
        double heading;  // of the middle; negative: unknown
    } rows[] = {
        {"in/city0.jpg in/city1.jpg in/city2.jpg", true, true, kFocal, 114},
        {"in/city1.jpg in/city2.jpg", false, true, kFocal, -1},
        {"--quality classic --overlap 72 in/city0.jpg in/city1.jpg", true, true, 418, -1},
        {"in/tower0.jpg in/tower1.jpg", true, false, 0, -1},
        {"--no-metadata in/city0.jpg in/city1.jpg", false, false, 0, -1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.arguments);
        run_well(std::string("stitch -o out/a.jpg ") + row.arguments);
        const std::string file = read_text("out/a.jpg");
        const Picture panorama = read_picture("out/a.jpg");
        const std::vector<uint8_t> want =
            row.has_exif ? carried_exif(block, panorama.width, panorama.height) : std::vector<uint8_t>();
        EXPECT_EQ(panorama.exif, want);
        EXPECT_EQ(file.find("ns.google.com/photos/1.0/panorama/") != std::string::npos, row.has_gpano);
        if (!row.has_gpano)
            continue;
        EXPECT_NE(file.find("GPano:ProjectionType=\"cylindrical\""), std::string::npos);
        const auto property = [&](const std::string& name) {
            return numbers(file, "GPano:" + name + "Pixels=\"([0-9]+)\"").at(0);
        };
        const double round = property("FullPanoWidth"), high = property("FullPanoHeight");
        EXPECT_NEAR(round, 2 * 3.14159 * row.radius, 12);
        EXPECT_NEAR(high, round / 2, 2);
        EXPECT_EQ(property("CroppedAreaImageWidth"), panorama.width);
        EXPECT_EQ(property("CroppedAreaImageHeight"), panorama.height);
        EXPECT_EQ(property("CroppedAreaLeft"), floor((round - panorama.width) / 2));
        EXPECT_NEAR(property("CroppedAreaTop"), (high - panorama.height) / 2, 4) << "the camera was level";
        const std::vector<double> heading = numbers(file, "GPano:PoseHeadingDegrees=\"([0-9.]+)\"");
        ASSERT_EQ(heading.size(), row.heading >= 0 ? 1U : 0U);
        if (row.heading >= 0) {
            EXPECT_NEAR(heading[0], row.heading, 0.5);
        }
    }
    run_well("stitch -o out/a.png in/city0.jpg in/city1.jpg");
    EXPECT_EQ(read_text("out/a.png").find("GPano"), std::string::npos);
}

}  // namespace
