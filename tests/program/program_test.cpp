// ozr-pano as its users meet it: exit codes, messages, files. The readers of foreign bytes are also called directly.
#include "media/exif.h"
#include "media/jpeg_codec.h"
#include "media/picture_io.h"
#include "media/png_codec.h"
#include "media/y4m.h"
#include "support/files.h"
#include "support/noise.h"

#include <math.h>
#include <set>
#include <string.h>

namespace
{

constexpr int32_t kWidth = 320, kHeight = 240;

struct Outcome {
    int status;  // exit code, -1 after a signal
    std::string out, err;
};

/** What a camera that moved to the right sees at a pixel; beyond the last column and row they repeat. */
uint8_t _seen(int32_t moved, int32_t x, int32_t y)
{
    return static_cast<uint8_t>(noise((std::min(x, kWidth - 1) + moved) / 4, std::min(y, kHeight - 1) / 4));
}

/** A stream of such frames, 3 pixels apart: reddish, and a little else in every row. */
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

class Program : public FolderTest
{
protected:
    Program()
    {
        fs::create_directory("in");
        fs::create_directory("out");
    }

    /** Runs the program. @param before  shell text before its name. */
    Outcome run(const std::string& arguments, const std::string& before = "")
    {
        const int status = system((before + " " OZR_PANO " >stdout 2>stderr " + arguments).c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read_text("stdout"), read_text("stderr")};
    }

    std::set<std::string> files_in_out() const
    {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator("out"))
            names.insert(entry.path().filename());
        return names;
    }
};

/** Whether text is exactly one line of the program's own. */
bool _is_one_message(const std::string& text)
{
    return text.rfind("ozr-pano: ", 0) == 0 && text.find('\n') == text.size() - 1;
}

TEST_F(Program, RefusesWhatCannotBeDoneInOneLineAndLeavesNothing)
{
    const Picture good(kWidth, kHeight);
    write_picture("in/good.png", good, 90);
    write_picture("in/small.png", Picture(kWidth, 200), 90);
    const std::vector<uint8_t> jpeg = encode_jpeg(good, 90), png = encode_png(good);
    write_file_whole("in/cut.jpg", jpeg.data(), jpeg.size() / 2);
    write_file_whole("in/cut.png", png.data(), png.size() / 2);
    write_text("in/text.jpg", "no picture\n");
    write_text("in/empty.jpg", "");
    // A frame header that claims 65500 x 65500 pixels: marker, length, precision, height, width.
    std::vector<uint8_t> wild = jpeg;
    const uint8_t start_of_frame[] = {0xFF, 0xC0};
    const auto frame = std::search(wild.begin(), wild.end(), start_of_frame, start_of_frame + 2);
    ASSERT_LT(frame - wild.begin(), static_cast<ptrdiff_t>(wild.size()) - 9);
    std::fill_n(frame + 5, 4, uint8_t{0xFF});
    frame[6] = frame[8] = 0xDC;
    write_file_whole("in/wild.jpg", wild.data(), wild.size());
    const std::string stream = _stream("W320 H240 F30:1", 2, kWidth, kHeight);
    write_text("in/two.y4m", stream);
    write_text("in/cut.y4m", stream.substr(0, stream.size() - 1));
    write_text("in/nothing.y4m", stream.substr(0, stream.find('\n') + 1));
    write_text("in/unframed.y4m", stream.substr(0, stream.find('\n') + 1) + "FRAMED\n" + stream);

    const struct {
        const char *what, *arguments, *message;
    } refusals[] = {
        {"missing file", "stitch in/none.jpg", "in/none.jpg: cannot be read: No such file"},
        {"a folder", "stitch in", "in: cannot be read: Is a directory"},
        {"no picture", "stitch in/good.png in/text.jpg", "in/text.jpg: neither a JPEG nor a PNG"},
        {"empty file", "stitch in/empty.jpg", "in/empty.jpg: neither"},
        {"JPEG cut off", "stitch in/cut.jpg", "in/cut.jpg: broken JPEG"},
        {"PNG cut off", "stitch in/cut.png", "in/cut.png: broken PNG"},
        {"wild JPEG header", "stitch in/wild.jpg", "in/wild.jpg: 65500x65500 pixels are too many"},
        {"mixed sizes", "stitch in/good.png in/small.png",
         "in/small.png: 320x200 pixels, but the first picture has 320x240"},
        {"eleven pictures", "stitch 1 2 3 4 5 6 7 8 9 10 11",
         "11: 11 pictures are too many, a panorama takes 10"},
        {"more than the overlap allows",
         "stitch --overlap 50 in/good.png in/good.png in/good.png in/good.png in/good.png in/good.png "
         "in/good.png",
         "in/good.png: the sweep is full"},
        {"missing clip", "video in/none.y4m", "in/none.y4m: cannot be read: No such file"},
        {"clip of another kind", "video in/good.png", "in/good.png: not a YUV4MPEG2 stream"},
        {"clip cut off", "video in/cut.y4m", "in/cut.y4m: the stream is cut off in frame 1"},
        {"no frame", "video in/nothing.y4m", "in/nothing.y4m: the stream has no frames"},
        {"broken frame", "video in/unframed.y4m", "in/unframed.y4m: no frame where frame 0 should begin"},
        {"no motion", "video in/two.y4m", "in/two.y4m: the camera hardly moves"},
        {"empty pipe", "video - <in/nothing.y4m", "standard input: the stream has no frames"},
        {"no such folder", "demo -o none/a.png", "none/a.png: cannot be written: No such file"},
        {"a folder as output", "demo -o folder.png", "folder.png: cannot be written: Is a directory"},
    };
    fs::create_directory("folder.png");
    for (const auto& refusal : refusals) {
        SCOPED_TRACE(refusal.what);
        const bool has_output = strstr(refusal.arguments, "-o") != nullptr;
        std::string arguments = refusal.arguments;
        if (!has_output)
            arguments.insert(arguments.find(' '), " -o out/a.png");
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_TRUE(_is_one_message(outcome.err)) << outcome.err;
        EXPECT_NE(outcome.err.find(refusal.message), std::string::npos) << outcome.err;
        EXPECT_EQ(outcome.out, "");
        EXPECT_TRUE(files_in_out().empty());
    }
}

TEST_F(Program, LeavesNoPartOfAFileThatCannotBeFinished)
{
    write_text("out/a.png", "old");
    const Outcome full = run("demo -n 2 --size 320x240 -o out/a.png", "ulimit -f 8; trap '' XFSZ;");
    EXPECT_EQ(full.status, 1);
    EXPECT_TRUE(_is_one_message(full.err)) << full.err;
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
        const char* arguments;
        int status;
        const char *out, *err;
    } calls[] = {
        {"--help", 0, "Usage: ozr-pano", ""},
        {"video --help", 0, "ffmpeg", ""},
        {"--version", 0, "OZR 1.0.1-0 - Panorama 1.2.0-OPT2.0\n", ""},
        {"", 2, "", "ozr-pano: "},
        {"demo --wrong", 2, "", "--wrong"},
        {"demo -d sideways", 2, "", "sideways is none of right|left|down|up"},
        {"demo -n 11", 2, "", "1 to 10"},
        {"demo --size 320x", 2, "", "320x is no size"},
        {"demo --size 99999999999x240", 2, "", "is no size"},
        {"demo --size 321x240", 2, "", "321x240 is no size"},
        {"demo --preview 320x100", 2, "", "--preview"},
        {"demo -o a.gif", 2, "", "a.gif does not end in"},
        {"stitch", 2, "", "pictures is required"},
        {"stitch --overlap 49 a.png", 2, "", "--overlap: 49 is not in the range 50 to 90"},
        {"stitch --quality 0 a.png", 2, "", "--quality"},
        {"convert a.png b.nv12 --format nv99", 2, "", "nv99"},
        {"convert a.raw b.png --from nv12 --format rgba", 2, "", "needs --size"},
        {"convert a.raw b.png --from nv12 --size 7x4 --format rgba", 2, "", "even sizes"},
    };
    for (const auto& call : calls) {
        SCOPED_TRACE(call.arguments);
        const Outcome outcome = run(call.arguments);
        EXPECT_EQ(outcome.status, call.status);
        EXPECT_NE(outcome.out.find(call.out), std::string::npos) << outcome.out;
        EXPECT_NE(outcome.err.find(call.err), std::string::npos) << outcome.err;
        EXPECT_EQ(outcome.err == "", call.status == 0);
    }
}

TEST_F(Program, ConvertGoesThroughEveryRawFormatAndBack)
{
    ASSERT_EQ(run("demo -n 1 --size 128x96 -o in/a.png").status, 0);
    const Picture before = read_picture("in/a.png");
    const std::string raw = std::to_string(before.width) + "x" + std::to_string(before.height);
    const size_t pixels = before.rgba.size() / 4;
    const std::pair<std::string, size_t> formats[] = {{"nv12", pixels * 3 / 2},
                                                      {"nv21", pixels * 3 / 2},
                                                      {"yv12", pixels * 3 / 2},
                                                      {"yuy2", pixels * 2},
                                                      {"rgba", pixels * 4}};
    for (const auto& [format, bytes] : formats) {
        SCOPED_TRACE(format);
        EXPECT_EQ(run("convert in/a.png out/a.raw --format " + format).status, 0);
        EXPECT_EQ(read_file("out/a.raw").size(), bytes);
        EXPECT_EQ(run("convert out/a.raw out/b.png --format rgba --from " + format + " --size " + raw).status,
                  0);
        const Picture after = read_picture("out/b.png");
        ASSERT_EQ(after.rgba.size(), before.rgba.size());
        double difference = 0;
        for (size_t i = 0; i < before.rgba.size(); ++i)
            difference += std::abs(before.rgba[i] - after.rgba[i]);
        EXPECT_LT(difference / static_cast<double>(before.rgba.size()), format == "rgba" ? 1e-9 : 6.0);
    }
    EXPECT_EQ(run("convert in/a.png out/b.gray --format gray").status, 0);
    EXPECT_EQ(run("convert in/a.png out/c.gray --format gray --flip").status, 0);
    std::vector<uint8_t> mirrored = read_file("out/b.gray");
    ASSERT_EQ(mirrored.size(), pixels);
    for (auto row = mirrored.begin(); row != mirrored.end(); row += before.width)
        std::reverse(row, row + before.width);
    EXPECT_EQ(read_file("out/c.gray"), mirrored);
    EXPECT_EQ(run("convert in/a.png out/c.gray --format gray --sample 2").status, 0);
    EXPECT_EQ(read_file("out/c.gray").size(), pixels / 4);
    EXPECT_EQ(run("convert out/c.gray out/d.png --from gray --size 9x9 --format rgba").status, 1);
}

TEST_F(Program, DemoSweepsInEveryDirection)
{
    const struct {
        const char* name;
        int x, y;
    } directions[] = {{"right", 1, 0}, {"left", -1, 0}, {"down", 0, 1}, {"up", 0, -1}};
    for (const auto& direction : directions) {
        SCOPED_TRACE(direction.name);
        const std::string arguments =
            std::string("demo --json -n 4 --size 320x240 -o out/a.png -d ") + direction.name;
        const Outcome outcome = run(arguments);
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
        int announced = 0, dx, dy;
        double true_x, true_y, swept = 0;
        for (const char* at = outcome.out.c_str(); (at = strstr(at, "\"offset\":")) != nullptr;
             ++at, ++announced) {
            ASSERT_EQ(sscanf(at, "\"offset\":[%d,%d],\"truth\":[%lf,%lf]", &dx, &dy, &true_x, &true_y), 4);
            const double along = dx * direction.x + dy * direction.y;
            const double truth = true_x * direction.x + true_y * direction.y;
            EXPECT_NEAR(along, truth, along / 3);
            swept += truth;
            EXPECT_NEAR(dx * direction.y + dy * direction.x, true_x * direction.y + true_y * direction.x, 10);
        }
        EXPECT_EQ(announced, 3);
        const std::vector<uint8_t> file = read_file("out/a.png");
        const auto& [width, height, pixels] = decode_png(file);
        // Offsets are those of previews of twice the size, which the projection stretches by up to 418 / 345.
        EXPECT_NEAR(direction.x != 0 ? width - 320 : height - 240, swept / 2 * 1.17, 16);
        const std::string size = std::to_string(width) + "," + std::to_string(height);
        const size_t told = outcome.out.find("\"pictures_used\":4,\"panorama_size\":[" + size + "]");
        EXPECT_NE(told, std::string::npos) << outcome.out;
        EXPECT_EQ(run(arguments).status, 0);
        EXPECT_EQ(read_file("out/a.png"), file) << "the second run painted something else";
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
    const Outcome outcome = run("stitch -o out/a.JPG --quality 80 in/p0.png in/p1.jpg in/p2.png");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    const std::vector<uint8_t> file = read_file("out/a.JPG");
    ASSERT_TRUE(looks_like_jpeg(file));
    const Picture panorama = decode_jpeg(file);
    // The projection stretches the middle of a picture by 418 / 345, and its edges less.
    EXPECT_NEAR(panorama.width, 320 + 2 * kStep * 1.17, 20);
    EXPECT_GE(panorama.height, 208);
    const Outcome verbose = run("stitch --verbose -o out/a.jpg in/p0.png in/p1.jpg in/p2.png");
    EXPECT_EQ(verbose.status, 0);
    EXPECT_NE(verbose.err.find("start synthesis 3 image(s)"), std::string::npos) << verbose.err;
}

/** An Exif block of two entries behind an unused gap: another tag, then the orientation. */
std::vector<uint8_t> _exif_block(bool big_endian, uint32_t directory, uint32_t type, uint32_t orientation)
{
    std::vector<uint8_t> block(2, big_endian ? 'M' : 'I');
    const auto put = [&](uint32_t value, int bytes) {
        for (int i = 0; i < bytes; ++i)
            block.push_back(static_cast<uint8_t>(value >> 8 * (big_endian ? bytes - 1 - i : i)));
    };
    put(42, 2);
    put(directory, 4);
    put(0, 4);
    put(2, 2);
    for (const uint32_t tag : {0x0110U, 0x0112U}) {
        put(tag, 2);
        put(type, 2);
        put(1, 4);
        put(tag == 0x0112 ? orientation : 7, 2);
        put(0, 2);
    }
    return block;
}

TEST_F(Program, StitchTurnsPicturesUprightAndCropsOddSizes)
{
    std::vector<uint8_t> jpeg = encode_jpeg(Picture(101, 60), 90), block = _exif_block(true, 12, 3, 6);
    const std::string head = "\xFF\xE1" + std::string(1, '\0') + static_cast<char>(8 + block.size()) + "Exif";
    block.insert(block.begin(), 2, 0);
    block.insert(block.begin(), head.begin(), head.end());
    jpeg.insert(jpeg.begin() + 2, block.begin(), block.end());
    write_file_whole("in/turned.jpg", jpeg.data(), jpeg.size());
    const Outcome outcome = run("stitch -o out/a.png in/turned.jpg");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_NE(outcome.err.find("cropped from 60x101 to 60x100"), std::string::npos) << outcome.err;
    const Picture upright = read_picture("out/a.png");
    EXPECT_TRUE(upright.width == 60 && upright.height == 100);
}

TEST_F(Program, VideoReadsFilesAndPipesOfEvenAndOddSizes)
{
    write_text("in/even.y4m", _stream("W320 H240 F30:1 Ip A1:1 C420jpeg", 80, 320, 240));
    write_text("in/odd.y4m", _stream("H241 W321", 80, 321, 241));
    const Outcome file = run("video in/even.y4m -o out/file.png");
    ASSERT_EQ(file.status, 0) << file.err;
    EXPECT_NE(file.out.find("direction right"), std::string::npos) << file.out;
    EXPECT_EQ(file.err, "");
    EXPECT_EQ(run("video - -o out/pipe.png", "cat in/even.y4m |").status, 0);
    const Outcome odd = run("video in/odd.y4m -o out/odd.png");
    EXPECT_EQ(odd.status, 0);
    EXPECT_NE(odd.err.find("cropped from 321x241 to 320x240"), std::string::npos) << odd.err;
    const std::vector<uint8_t> panorama = read_file("out/file.png");
    const Picture seen = decode_png(panorama);
    EXPECT_GT(seen.width, 480);
    EXPECT_GT(seen.row(100)[400], seen.row(100)[402]) << "red and blue are exchanged";
    EXPECT_TRUE(read_file("out/pipe.png") == panorama);
    EXPECT_TRUE(read_file("out/odd.png") == panorama) << "the cropped frames are the even ones";
}

TEST_F(Program, VideoEndsWhenTheSweepIsFull)
{
    // 90 percent of overlap: a picture every 26 of 320 pixels, which this pan has covered after some 9 frames.
    // What comes after the end of the sweep is not even read: it would be refused.
    write_text("in/long.y4m", _stream("W320 H240", 120, kWidth, kHeight) + "FRAME\nno more");
    const Outcome outcome = run("video in/long.y4m --overlap 90 -o out/a.png --json");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("\"pictures_used\":10"), std::string::npos) << outcome.out;
}

TEST(Exif, FindsTheOrientationAndNothingInBrokenBlocks)
{
    for (const bool big_endian : {true, false}) {
        const auto orientation_of = [](const std::vector<uint8_t>& block) {
            return exif_orientation(block.data(), block.size());
        };
        for (uint32_t value = 0; value <= 9; ++value) {
            const std::vector<uint8_t> block = _exif_block(big_endian, 12, 3, value);
            EXPECT_EQ(orientation_of(block), value >= 1 && value <= 8 ? static_cast<int>(value) : 1);
            // Cut before the value's end: exact copies, so that a sanitizer sees every read behind them.
            for (ptrdiff_t left = 3; left <= static_cast<ptrdiff_t>(block.size()); ++left)
                EXPECT_EQ(orientation_of({block.begin(), block.end() - left}), 1) << left;
        }
        for (const uint32_t directory : {0xFFFFFFFFU, 0x80000000U, 40U, 13U})
            EXPECT_EQ(orientation_of(_exif_block(big_endian, directory, 3, 6)), 1) << directory;
        EXPECT_EQ(orientation_of(_exif_block(big_endian, 12, 4, 6)), 1) << "of another type";
    }
}

TEST(Exif, TurnsEachOrientationUpright)
{
    // Upright: "ab" over "cd" over "ef". What a camera stores for each orientation, row by row.
    const struct {
        int orientation, width;
        const char* stored;
    } cases[] = {{1, 2, "abcdef"}, {2, 2, "badcfe"}, {3, 2, "fedcba"}, {4, 2, "efcdab"},
                 {5, 3, "acebdf"}, {6, 3, "bdface"}, {7, 3, "fdbeca"}, {8, 3, "ecafdb"}};
    for (const auto& example : cases) {
        SCOPED_TRACE(example.orientation);
        Picture stored(example.width, 6 / example.width);
        for (size_t i = 0; i < 6; ++i)
            stored.rgba[4 * i] = static_cast<uint8_t>(example.stored[i]);
        const Picture upright = turn_upright(stored, example.orientation);
        ASSERT_EQ(upright.width, 2);
        ASSERT_EQ(upright.height, 3);
        for (size_t i = 0; i < 6; ++i)
            EXPECT_EQ(upright.rgba[4 * i], "abcdef"[i]) << i;
    }
}

TEST(Y4m, RefusesBrokenHeaders)
{
    const auto expect_refusal = [](const std::string& header, const char* message) {
        SCOPED_TRACE(header);
        const std::unique_ptr<FILE, int (*)(FILE*)> file(tmpfile(), fclose);
        fputs(header.c_str(), file.get());
        rewind(file.get());
        expect_error([&] { Y4mReader(file.get(), "clip"); }, message);
    };
    for (const char* header : {"", "\n", "YUV4MPEG2 W320 H240", "YUV4MPEG2W320 H240\n"})
        expect_refusal(header, "clip: not a YUV4MPEG2 stream");
    const std::string head = "YUV4MPEG2 ";
    for (const char* size :
         {"", "W320", "W0 H240", "W1 H1", "W-2 H2", "W2x H2", "W99999999999999999999 H2", "W16384 H16384"})
        expect_refusal(head + size + "\n", "clip: frames of an impossible size");
    expect_refusal(head + "W320 H240 C422\n", "clip: chroma 422 is not supported");
    expect_refusal(head + "W320 H240 C420p10\n", "clip: chroma 420p10 is not supported");
}

}  // namespace
