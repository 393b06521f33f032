// ozr-pano as its users meet it: exit codes, messages, files.
#include "media/image_owner.h"
#include "media/jpeg_codec.h"
#include "media/picture_io.h"
#include "media/png_codec.h"
#include "media/thumbnail.h"
#include "support/noise.h"
#include "support/pages.h"
#include "support/program.h"
#include "support/random.h"

#include <string.h>
#include <sys/stat.h>

using namespace ozr_pano;

namespace
{

constexpr int32_t kWidth = 320, kHeight = 240;

// What a camera that moved to the right sees at a pixel; beyond the last column and row they
// repeat.
uint8_t _seen(int32_t moved, int32_t x, int32_t y)
{
    return static_cast<uint8_t>(noise((std::min(x, kWidth - 1) + moved) / 4, std::min(y, kHeight - 1) / 4));
}

// A stream of such frames, 3 pixels apart: reddish, and a little else in every row.
std::string _stream(const std::string& header, int frames, int32_t width, int32_t height)
{
    std::string stream = "YUV4MPEG2 " + header + "\n";
    for (int i = 0; i < frames; ++i) {
        stream += "FRAME\n";
        for (int32_t y = 0; y < height; ++y) {
            for (int32_t x = 0; x < width; ++x)
                stream += static_cast<char>(_seen(3 * i, x, y));
        }
        for (const int chroma : {60, 180}) {
            for (int32_t y = 0; y < (height + 1) / 2; ++y)
                stream.append(static_cast<size_t>(width + 1) / 2, static_cast<char>(chroma + y % 40));
        }
    }
    return stream;
}

using Program = ProgramTest;

TEST_F(Program, RefusesWhatCannotBeDoneInOneLineAndLeavesNothing)
{
    const Picture good(kWidth, kHeight);
    write_picture("in/good.png", good, 90);
    write_picture("in/small.png", Picture(kWidth, 200), 90);
    write_picture("in/thin.png", Picture(1, 9), 90);
    const std::vector<uint8_t> jpeg = encode_jpeg(good, 90), png = encode_png(good);
    write_file_whole("in/cut.jpg", jpeg.data(), jpeg.size() / 2);
    write_file_whole("in/cut.png", png.data(), png.size() / 2);
    write_text("in/text.jpg", "no picture\n");
    const std::string stream = _stream("W320 H240 F30:1", 2, kWidth, kHeight);
    write_text("in/two.y4m", stream);
    write_text("in/nothing.y4m", stream.substr(0, stream.find('\n') + 1));
    write_text("in/unframed.y4m", stream.substr(0, stream.find('\n') + 1) + "FRAMED\n" + stream);

    const std::pair<const char*, const char*> refusals[] = {
        {"stitch in/none.jpg", "in/none.jpg: cannot be read: No such file"},
        {"stitch in", "in: cannot be read: Is a directory"},
        {"stitch in/good.png in/text.jpg", "in/text.jpg: neither a JPEG nor a PNG"},
        {"stitch in/cut.jpg", "in/cut.jpg: broken JPEG"},
        {"stitch in/cut.png", "in/cut.png: broken PNG"},
        {"stitch in/good.png in/small.png", "small.png: 320x200 pixels, but the first picture has 320x240"},
        {"stitch 1 2 3 4 5 6 7 8 9 10 11", "11: 11 pictures are too many, a panorama takes 10"},
        {"stitch --overlap 50 $(yes in/good.png | head -n 7)", "in/good.png: the sweep is full"},
        {"video in/none.y4m", "in/none.y4m: cannot be read: No such file"},
        {"video in/nothing.y4m", "in/nothing.y4m: the stream has no frames"},
        {"video in/unframed.y4m", "in/unframed.y4m: no frame where frame 0 should begin"},
        {"video in/two.y4m", "in/two.y4m: the camera hardly moves"},
        {"video - <in/nothing.y4m", "standard input: the stream has no frames"},
        {"demo -o none/a.png", "none/a.png: cannot be written: No such file"},
        {"demo -o folder.png", "folder.png: cannot be written: Is a directory"},
        {"stitch 'in/a\nb\x7F.jpg'", "in/a?b?.jpg: cannot be read"},
        {"stitch in/good.png/a.jpg", "Not a directory; a part of the path is no folder"},
        {"stitch in/thin.png", "in/thin.png: 1x9 pixels are too few"},
        {"demo --report none/a.html -o out/a.png", "none/a.html: cannot be written"},
        {"demo --record none/rec -o out/a.png", "--record: none/rec: no folder can be made"},
        {"demo --record in -o out/a.png", "--record: in is not empty"},
    };
    fs::create_directory("folder.png");
    for (const auto& [call, message] : refusals) {
        SCOPED_TRACE(call);
        std::string arguments = call;
        if (arguments.find("-o") == std::string::npos)
            arguments.insert(arguments.find(' '), " -o out/a.png");
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.status, 1);
        expect_message(outcome.err, message);
        EXPECT_EQ(outcome.out, "");
        EXPECT_TRUE(files_in_out().empty());
    }
}

TEST_F(Program, LeavesNoPartOfAFileThatCannotBeFinished)
{
    write_text("out/a.png", "old");
    const Outcome full = run("demo -n 2 --size 320x240 -o out/a.png", "ulimit -f 8; trap '' XFSZ;");
    EXPECT_EQ(full.status, 1);
    expect_message(full.err,
                   "out/a.png: cannot be written: File too large; try again, or choose another place");
    EXPECT_EQ(files_in_out(), std::set<std::string>{"a.png"});
    EXPECT_EQ(read_text("out/a.png"), "old");
    const Outcome unheard = run("demo -n 1 --size 96x96 -o out/a.png >/dev/full");
    EXPECT_EQ(unheard.status, 1);
    EXPECT_EQ(unheard.err,
              "ozr-pano: standard output: cannot be written: No space left on device; make room, or choose "
              "another place\n");
}

TEST_F(Program, TellsWrongUsageFromHelp)
{
    const struct {
        int status;
        const char* says;  // all of these lines, on the standard output after success
        std::vector<std::string> calls;
    } usages[] = {
        {0, "Usage: ozr-pano", {"--help"}},
        {0, "OZR 1.0.1-0 - Panorama 1.2.0-OPT2.0", {"--version"}},
        {0,
         "right|left|down|up [right]\nFILE [panorama.png]\nN [8]\nS [1]\nQ [90]\nrefined|classic [refined]",
         {"demo --help"}},
        {0,
         "P [70]\nFILE [panorama.jpg]\nright|left|down|up [found; right where classic]",
         {"stitch --help"}},
        {0, "ffmpeg\nright|left|down|up|auto [auto]", {"video --help"}},
        {0, "Exit status: 0 all answers are as recorded, 3 some differ", {"replay --help"}},
        {0, "1 pictures of 96x96", {"demo -n 1 --size 96x96 --preview 102x100"}},
        {2, "ozr-pano: ", {""}},
        {2, "ozr-pano: bogus is no command", {"bogus"}},
        {2, "--wrong", {"demo --wrong"}},
        {2, " is none of right|left|down|up ", {"demo -d sideways", "stitch -d auto a.png"}},
        {2, "north is none of right|left|down|up|auto", {"video -d north a.y4m"}},
        {2, "1 to 10", {"demo -n 11", "demo -n 0"}},
        {2,
         " is no size: write 1280x960, even numbers of 96 to 4096",
         {"demo --size 94x96", "demo --size 96x4098", "demo --size 96x98a", "demo --size 320x",
          "demo --size 99999999999x240", "demo --size 321x240"}},
        {2,
         " is not in range",
         {"demo --focal 0.5", "demo --lens 0.2", "demo --tilt -16", "demo --exposure 51",
          "demo --vignetting 81", "demo --shutter 51", "demo --walkers 21", "demo --focal nan"}},
        {2, "--preview: its sides must have the proportion", {"demo --size 96x96 --preview 104x100"}},
        {2,
         " is neither refined nor classic",
         {"demo --quality 101", "stitch --quality 0 a.png", "video --quality '' a.y4m", "demo --quality 9x"}},
        {2,
         "--jpeg-quality",
         {"convert none.png b.jpg --format gray --quality 0", "replay --jpeg-quality 101 in",
          "stitch --jpeg-quality 0 a.png"}},
        {2, "--compare requires --report", {"demo --compare", "stitch --compare a.png"}},
        {2, " does not end in .png, .jpg or .jpeg", {"demo -o .png", "demo -o a.gif"}},
        {2, "clip is required", {"video"}},
        {2, "folder is required", {"replay"}},
        {2, "pictures is required", {"stitch"}},
        {2, "output is required", {"convert a.png"}},
        {2,
         "--format is required: ",
         {"convert a.png b", "convert a.png .gray", "convert a.png b.gray/c", "convert a.png b.nv99"}},
        {2, " is not in the range 50 to 90", {"stitch --overlap 91 a.png", "stitch --overlap 49 a.png"}},
        {2, "--sample", {"convert a b --format gray --sample 0", "convert a b --format gray --sample 16385"}},
        {2, "4x4x is no size: write 1280x960", {"convert a b --from gray --format rgba --size 4x4x"}},
        {2, "needs --size", {"convert a b --from gray --format rgba --size 16385x1"}},
        {2, "needs --size", {"convert a b --from nv12 --format rgba"}},
        {2, "even sizes", {"convert a.raw b.png --from nv12 --size 7x4 --format rgba"}},
        {2, "nv99", {"convert a.png b.nv12 --format nv99"}},
        // The last values that are taken.
        {1,
         "none/a.",
         {"demo -n 10 -o none/a.png", "demo --size 96x4096 -o none/a.png",
          "demo --preview 4096x96 -o none/a.png", "demo --quality 1 -o none/a.jpg",
          "demo --quality 100 -o none/a.JPEG", "demo --jpeg-quality 100 --quality classic -o none/a.jpg",
          "stitch --overlap 90 none/a.png", "stitch --overlap 50 none/a.png",
          "convert none/a.png b --format gray --sample 16384 --quality 100"}},
    };
    for (const auto& usage : usages) {
        for (const std::string& call : usage.calls) {
            SCOPED_TRACE(call);
            const Outcome outcome = run(call);
            EXPECT_EQ(outcome.status, usage.status);
            expect_lines(usage.status == 0 ? outcome.out : outcome.err, usage.says);
            EXPECT_EQ(usage.status == 0 ? outcome.err : outcome.out, "");
        }
    }
}

// What `convert` makes of raw bytes, done by the library; no bytes where it refuses.
std::vector<uint8_t> _converted(const std::vector<uint8_t>& bytes, int from, int to, bool flip)
{
    ImageOwner image, rgba, result;
    EXPECT_EQ(ozr_image_create(image.get(), 12, 8, 1, static_cast<ozr_image_format>(from), 0), ozr_success);
    EXPECT_EQ(ozr_image_create(result.get(), 12, 8, 1, static_cast<ozr_image_format>(to), 0), ozr_success);
    memcpy(image.get()->data, bytes.data(), bytes.size());
    if (flip && ozr_image_hflip(image.get()) != ozr_success)
        return {};
    if (from == to)
        return std::vector<uint8_t>(image.get()->data, image.get()->data + image.get()->size);
    const uint8_t* data = result.get()->data;
    const bool is_done = ozr_image_convert_to_rgba(image.get(), rgba.get()) == ozr_success &&
                         ozr_image_convert(rgba.get(), result.get(), result.get()->format) == ozr_success;
    return is_done ? std::vector<uint8_t>(data, data + result.get()->size) : std::vector<uint8_t>();
}

TEST_F(Program, ConvertsEveryPairOfFormats)
{
    const std::string names[] = {"nv12", "yv12", "gray", "rgba", "yuy2", "nv21"};
    const int32_t bits[] = {12, 12, 8, 32, 16, 12};
    Random random(1);
    for (int from = 0; from < 6; ++from) {
        std::vector<uint8_t> raw(static_cast<size_t>(12 * 8 * bits[from] / 8));
        for (uint8_t& byte : raw)
            byte = random.byte();
        write_file_whole("in/a.raw", raw.data(), raw.size());
        const std::string input = "convert in/a.raw --size 12x8 --from " + names[from];
        for (int to = 0; to < 6; ++to) {
            const bool flip = (from + to) % 2 != 0;
            SCOPED_TRACE(names[from] + " " + names[to]);
            const Outcome outcome = run(input + " out/b.raw --format " + names[to] + (flip ? " --flip" : ""));
            const std::vector<uint8_t> want = _converted(raw, from, to, flip);
            ASSERT_EQ(outcome.status, want.empty() ? 1 : 0) << outcome.err;
            if (want.empty()) {
                expect_message(outcome.err, names[from]);
                continue;
            }
            EXPECT_EQ(read_file("out/b.raw"), want);
            EXPECT_EQ(outcome.out, "12x8 in " + names[to] + " written to out/b.raw\n");
        }
    }
    write_text("in/a.raw", "abcdefghijklmnopqrst");
    EXPECT_EQ(run("convert in/a.raw out/b --size 5x4 --from gray --format gray --sample 2").out,
              "2x2 in gray written to out/b\n");
    EXPECT_EQ(read_text("out/b"), "ackm");
    expect_message(run("convert in/a.raw out/c --size 7x3 --from gray --format gray").err,
                   "20 bytes, but 7x3 in gray has 21");
}

// Compares the means of square blocks, in which the losses of compression cancel out.
void _expect_like(const Picture& is, const Picture& want, int32_t block, int32_t tolerance)
{
    ASSERT_TRUE(is.width == want.width && is.height == want.height);
    const int32_t extent = std::max(want.width, want.height) / block;
    const std::vector<uint8_t> means = shrink(is, extent).rgba, wanted = shrink(want, extent).rgba;
    for (size_t i = 0; i < wanted.size(); ++i)
        ASSERT_NEAR(means[i], wanted[i], tolerance) << i;
}

TEST_F(Program, DemoMakesThePicturesOfTheDocumentation)
{
    for (const auto& [file, options] : {std::pair<std::string, std::string>{"/panorama.jpg", ""},
                                        {"/images/tower.jpg", "-d down -n 5 --size 480x640"}}) {
        SCOPED_TRACE(file);
        ASSERT_EQ(run("demo -o out/a.jpg " + options).status, 0);
        const Picture is = read_picture("out/a.jpg"), want = read_picture(OZR_DOCS + file);
        _expect_like(is, want, 16, 2);
        _expect_like(is, want, 8, 5);
    }
}

TEST_F(Program, DemoSweepsInEveryDirection)
{
    using Direction = std::tuple<std::string, int, int>;
    for (const auto& [name, x, y] :
         {Direction{"left", -1, 0}, Direction{"up", 0, -1}, Direction{"right", 1, 0}}) {
        SCOPED_TRACE(name);
        const std::string json =
            run_well("demo --json -n 3 --quality classic --size 320x240 -o out/a.png -d " + name);
        // Of all pictures but the first.
        const std::vector<double> values =
            numbers(json, "\"offset\":\\[([-0-9]+),([-0-9]+)\\],\"truth\":\\[([-0-9.]+),([-0-9.]+)\\]");
        ASSERT_EQ(values.size(), 8U);
        double swept = 0;
        for (size_t i = 0; i < 8; i += 4) {
            const double offset = values[i] * x + values[i + 1] * y;
            const double truth = values[i + 2] * x + values[i + 3] * y;
            EXPECT_NEAR(offset, truth, offset / 3);
            swept += truth;
        }
        const Picture panorama = read_picture("out/a.png");
        // Offsets are those of previews of twice the size, which the projection
        // stretches by up to 418 / 345.
        EXPECT_NEAR(x != 0 ? panorama.width - 320 : panorama.height - 240, swept / 2 * 1.17, 16);
        const std::string size = std::to_string(panorama.width) + "," + std::to_string(panorama.height);
        expect_lines(json, "\"pictures_used\":3,\"panorama_size\":[" + size + "]");
    }
}

TEST_F(Program, StitchPlacesPicturesWhereTheyShowTheSame)
{
    constexpr int32_t kStep = 86;  // an overlap of 73 percent
    for (int i = 0; i < 3; ++i) {
        Picture picture(kWidth, kHeight);
        for (size_t at = 0; at < picture.rgba.size(); ++at)
            picture.rgba[at] = _seen(i * kStep, static_cast<int32_t>(at / 4 % kWidth),
                                     static_cast<int32_t>(at / 4 / kWidth));
        write_picture("in/p" + std::to_string(i) + (i == 1 ? ".jpg" : ".png"), picture, 95);
    }
    run_well("stitch --quality classic -o out/a.JPG --jpeg-quality 80 in/p0.png in/p1.jpg in/p2.png");
    const std::vector<uint8_t> file = read_file("out/a.JPG");
    ASSERT_TRUE(looks_like_jpeg(file));
    const Picture panorama = decode_jpeg(file);
    // The projection stretches the middle of a picture by 418 / 345, and its edges less.
    EXPECT_NEAR(panorama.width, 320 + 2 * kStep * 1.17, 20);
    EXPECT_GE(panorama.height, 208);
    write_picture("in/odd.png", Picture(61, 101), 90);
    const Outcome cropped =
        run("stitch --quality classic -o out/b.png --json --report out/b.html in/odd.png in/odd.png");
    expect_lines(cropped.out, "\"picture_size\":[60,100]");
    expect_lines(cropped.err, "ozr-pano: the pictures are cropped from 61x101 to 60x100: sizes must be even");
    const Outcome verbose =
        run("stitch --quality classic --verbose -o out/a.jpg in/p0.png in/p1.jpg in/p2.png");
    EXPECT_EQ(verbose.status, 0);
    expect_lines(verbose.err, "start synthesis 3 image(s)");
}

TEST_F(Program, VideoReadsFilesAndPipesOfEvenAndOddSizes)
{
    write_text("in/even.y4m", _stream("W320 H240 F30:1 Ip A1:1 C420jpeg", 80, 320, 240));
    write_text("in/odd.y4m", _stream("H241 W321", 80, 321, 241));
    expect_lines(run_well("video in/even.y4m -o out/file.png"), "direction right");
    EXPECT_EQ(run("video - -o out/pipe.png", "cat in/even.y4m |").status, 0);
    const Outcome odd = run("video in/odd.y4m -o out/odd.png");
    EXPECT_EQ(odd.status, 0);
    expect_lines(odd.err, "cropped from 321x241 to 320x240");
    const std::vector<uint8_t> panorama = read_file("out/file.png");
    const Picture seen = decode_png(panorama);
    EXPECT_GT(seen.width, 480);
    EXPECT_GT(seen.row(100)[400], seen.row(100)[402]) << "red and blue are exchanged";
    EXPECT_TRUE(read_file("out/pipe.png") == panorama);
    EXPECT_TRUE(read_file("out/odd.png") == panorama) << "the cropped frames are the even ones";
}

TEST_F(Program, VideoEndsWhenTheSweepIsFull)
{
    // 90 percent of overlap: a picture every 26 of 320 pixels, which this pan has covered after
    // some 9 frames. What comes after the end of the sweep is not even read: it would be refused.
    write_text("in/long.y4m", _stream("W320 H240", 120, kWidth, kHeight) + "FRAME\nno more");
    expect_lines(run_well("video in/long.y4m --overlap 90 -o out/a.png --json"), "\"pictures_used\":10");
}

TEST_F(Program, FollowsTheUmaskAndShowsProgressOnATerminal)
{
    const std::string demo = "demo -n 2 --size 160x120 -o out/a.png --report out/a.html";
    EXPECT_EQ(run(demo, "umask 027;").status, 0);
    for (const char* name : {"out/a.png", "out/a.html"}) {
        struct stat status;
        EXPECT_TRUE(stat(name, &status) == 0 && (status.st_mode & 0777) == 0640) << name;
    }
    EXPECT_EQ(system(("script -qec '" OZR_PANO " " + demo + "' shown >/dev/null </dev/null").c_str()), 0);
    const std::string clear = "\r\033[K";
    expect_lines(read_text("shown"),
                 clear + "stitching picture 0: frame 0" + clear + "following frame 0, 1 pictures" + clear +
                     "following frame 1\n" + clear + "stitching picture 1: frame \n" + clear +
                     "composing 2 pictures" + clear + "writing out/a.png" + clear + "demo: ");
    EXPECT_EQ(
        system(("script -qec '" OZR_PANO " " + demo + " --verbose' shown >/dev/null </dev/null").c_str()), 0);
    EXPECT_EQ(read_text("shown").find(clear), std::string::npos)
        << "lines of the log and of the progress mix";
}

}  // namespace
