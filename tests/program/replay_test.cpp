// Recordings: what is recorded replays, what is damaged is refused with a reason, what differs is told.
#include "commands/commands.h"
#include "media/image_owner.h"
#include "support/noise.h"
#include "support/program.h"

#include <string.h>

using namespace ozr_pano;

namespace
{

/** The text with its first `from` replaced. */
std::string _replaced(std::string text, const std::string& from, const std::string& to)
{
    const size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return text.replace(at, from.size(), to);
}

std::string _text_of(const Recording& recording)
{
    std::string text = recording_head(recording.library);
    for (const RecordedCall& call : recording.calls)
        text += call_text(call) + result_text(call);
    return text + recording_end();
}

class Replay : public ProgramTest
{
protected:
    void record()
    {
        DemoOptions demo;
        demo.output = "a.png";
        demo.record = "rec";
        demo.pictures = 2;
        demo.size = {160, 120};
        run_demo(demo);
    }

    /** What the replay complains of; empty when every answer is as recorded. */
    std::string complaint(const std::string& report = "")
    {
        ReplayOptions options;
        options.folder = "rec";
        options.report = report;
        try {
            run_replay(options);
        } catch (const Mismatch& mismatch) {
            return std::string("mismatch: ") + mismatch.what();
        } catch (const ProgramError& error) {
            return error.what();
        }
        return "";
    }
};

TEST_F(Replay, RepeatsWhatWasRecordedAndTellsWhatWasChanged)
{
    record();
    EXPECT_THROW(record(), ProgramError) << "a recording was overwritten";
    EXPECT_EQ(complaint(), "");
    const std::string calls = read_text("rec/calls.txt");
    const struct {
        const char *what, *from, *to, *complaint;
    } changes[] = {
        {"a direction", "direction=right\nreturned 0", "direction=left\nreturned 0", "mismatch: "},
        {"an answer", "offset=0,0", "offset=0,1", "mismatch: the library answers 1 of "},
        {"a frame's checksum", "size=28800 crc32=", "size=28800 crc32=0000", "line 5: crc32"},
        {"a frame's name", "00001.raw", "none.raw", "none.raw: cannot be read"},
        {"another frame", "00001.raw", "00002.raw", "00002.raw: the checksum differs"},
    };
    for (const auto& change : changes) {
        SCOPED_TRACE(change.what);
        write_text("rec/calls.txt", _replaced(calls, change.from, change.to));
        const std::string said = complaint();
        EXPECT_NE(said.find(change.complaint), std::string::npos) << said;
    }
    std::string other_panorama = calls;
    char& digit = other_panorama[calls.rfind("crc32=") + 6];
    digit = digit == '0' ? '1' : '0';
    write_text("rec/calls.txt", other_panorama);
    EXPECT_EQ(complaint().rfind("mismatch: the library answers 1 of ", 0), 0U);
    // The process died within the last call: that is what a crash leaves, and no damage.
    write_text("rec/calls.txt", calls.substr(0, calls.find("\nrun\n") + 5));
    EXPECT_EQ(complaint(), "");
    write_text("rec/calls.txt", calls.substr(0, calls.find("\nrun\n") + 1));
    EXPECT_EQ(complaint("report.html"), "");
    EXPECT_NE(read_text("report.html").find("id=\"failure\">The recording makes no panorama.<"),
              std::string::npos);
    write_text("rec/calls.txt", calls);
    fs::resize_file("rec/00001.raw", 100);
    EXPECT_NE(complaint().find("00001.raw: 100 bytes instead of"), std::string::npos);
}

/** Paints what a camera that moved by so much to the right and down sees. */
void _take(int32_t right, int32_t down, ozr_image* image)
{
    for (int32_t y = 0; y < image->height; ++y) {
        for (int32_t x = 0; x < image->width; ++x)
            image->data[y * image->stride + x] = static_cast<uint8_t>(noise((right + x) / 3, (down + y) / 3));
    }
    memset(image->data + image->height * image->stride, 100,
           static_cast<size_t>(image->height / 2 * image->stride));
}

/** A session with a simulated camera. */
class Driver
{
public:
    explicit Driver(const CommonOptions& options) : session(options, &journal) {}

    ozr_err add(int32_t right, int32_t down, const ozr_point* moved)
    {
        PictureEntry entry;
        entry.source = "at " + std::to_string(right);
        entry.has_offset = moved != nullptr;
        entry.offset = moved != nullptr ? *moved : ozr_point{0, 0};
        _take(right, down, picture.get());
        return session.stitch_one_image(picture.get(), std::move(entry));
    }

    ozr_err watch(int32_t right)
    {
        _take(right, 0, preview.get());
        return session.detect_frame_to_stitch(*preview.get(), &offset, &direction);
    }

    Journal journal;
    Session session;
    ImageOwner picture{160, 120}, preview{160, 120};
    ozr_image panorama = {};
    ozr_point offset = {-1, -1};
    ozr_panorama_direction direction = ozr_panorama_direction_auto;
};

/** A sweep to the right by previews, then pictures of another size, which are refused. */
void _sweep_by_previews(Driver& driver)
{
    const Journal& journal = driver.journal;
    EXPECT_EQ(driver.session.run(&driver.panorama), ozr_err_invalid_status);
    EXPECT_EQ(driver.session.set_parameters({49, ozr_panorama_direction_left}), ozr_err_not_supported);
    ASSERT_EQ(driver.session.set_parameters({70, ozr_panorama_direction_auto}), ozr_success);
    ASSERT_EQ(driver.add(0, 0, nullptr), ozr_success);
    int previews = 0;
    for (int32_t right = 0; driver.watch(right) == 0; right += 4)
        ASSERT_LT(++previews, 30);
    EXPECT_EQ(journal.direction, ozr_panorama_direction_right);
    ASSERT_EQ(journal.previews.size(), static_cast<size_t>(previews) + 1);
    for (int i = 0; i <= previews; ++i) {
        const PreviewEntry& seen = journal.previews[static_cast<size_t>(i)];
        EXPECT_NEAR(seen.offset.x, 4 * i, 12);
        EXPECT_TRUE(seen.announced == (i == previews) && seen.pictures_then == 1);
    }
    const ozr_point due = driver.offset;
    ASSERT_EQ(driver.add(due.x, 0, &due), ozr_success);
    ASSERT_EQ(driver.session.run(&driver.panorama), ozr_success);
    ImageOwner large(200, 120);
    EXPECT_LT(driver.session.detect_frame_to_stitch(*large.get(), &driver.offset, &driver.direction), 0);
    EXPECT_NE(driver.session.stitch_one_image(large.get(), {}), ozr_success);
    EXPECT_EQ(journal.previews.size(), static_cast<size_t>(previews) + 1);
    ASSERT_TRUE(journal.pictures_used == 2 && journal.pictures.size() == 2);
    EXPECT_TRUE(journal.picture_width == 160 && journal.pictures[0].thumbnail.height == 120);
    EXPECT_EQ(journal.pictures[1].source, "at " + std::to_string(due.x));
}

/** One to the left of nine pictures; where they drift away, some are left out. */
void _sweep_left(Driver& driver, int32_t drift)
{
    const Journal& journal = driver.journal;
    ASSERT_EQ(driver.session.reset(), ozr_success);
    EXPECT_TRUE(journal.pictures.empty() && journal.previews.empty());
    ASSERT_EQ(driver.session.set_parameters({70, ozr_panorama_direction_left}), ozr_success);
    for (int32_t i = 9; i > 0; --i)
        ASSERT_EQ(driver.add(48 * i, drift * i, nullptr), ozr_success);
    ASSERT_EQ(driver.session.run(&driver.panorama), ozr_success);
    const int used = journal.pictures_used;
    EXPECT_TRUE(drift == 0 ? used == 9 : used > 4 && used < 9);
    EXPECT_NEAR(journal.width, 160 + (used - 1) * 48 * 1.17, 25);
    EXPECT_TRUE(journal.width == driver.panorama.width && journal.height == driver.panorama.height);
}

std::string _borders(const std::string& page)
{
    return page.substr(page.find("<rect"), page.find("</svg>") - page.find("<rect"));
}

TEST_F(Replay, FollowsSessionsOfSeveralSweepsAndRefusedCalls)
{
    CommonOptions options;
    options.record = "rec";
    options.report = "report.html";
    {
        Driver driver(options);
        _sweep_by_previews(driver);
        _sweep_left(driver, 11);
        _sweep_left(driver, 0);
        driver.session.publish(driver.panorama);
    }
    EXPECT_NE(read_text("report.html").find("from 9 of the pictures"), std::string::npos);
    const std::string text = read_text("rec/calls.txt");
    const Recording recording = parse_recording(text);
    ASSERT_EQ(_text_of(recording), text);
    const std::string calls = std::to_string(recording.calls.size());
    const Outcome outcome = run("replay rec --report replayed.html -o out/a.png");
    EXPECT_TRUE(outcome.status == 0 && outcome.err.empty()) << outcome.err;
    EXPECT_EQ(outcome.out.find("replay: direction left, 9 pictures of 160x120\n"), 0U) << outcome.out;
    EXPECT_NE(outcome.out.find(calls + " calls answered as recorded\n"), std::string::npos);
    EXPECT_EQ(_borders(read_text("replayed.html")), _borders(read_text("report.html")));
    // Every answer that is changed is told, with its line; ten of them at most.
    Recording all = recording;
    for (size_t i = 0; i < recording.calls.size(); ++i) {
        RecordedCall& other = all.calls[i];
        other.result = other.result < 0 ? other.result - 1 : -2;
        if (i % 4 != 0)
            continue;
        Recording one = recording;
        one.calls[i] = other;
        write_text("rec/calls.txt", _text_of(one));
        const Outcome mismatch = run("replay rec --json");
        EXPECT_EQ(mismatch.status, 3);
        const std::string is = result_text(recording.calls[i]);
        const std::string line = "ozr-pano: rec/calls.txt: line " + std::to_string(other.line) + ": " +
                                 call_name(other.kind) + " " + is.substr(0, is.size() - 1) +
                                 ", recorded was " + result_text(other);
        EXPECT_EQ(mismatch.err.substr(0, line.size()), line);
        EXPECT_NE(mismatch.err.find("answers 1 of " + calls + " calls otherwise"), std::string::npos);
    }
    write_text("rec/calls.txt", _text_of(all));
    const Outcome mismatch = run("replay rec");
    EXPECT_EQ(mismatch.status, 3);
    EXPECT_EQ(std::count(mismatch.err.begin(), mismatch.err.end(), '\n'), 11);
}

TEST(Recording, ReadsTheDocumentedExample)
{
    const std::string page = read_text(OZR_DOCS "/recording.md");
    const size_t begin = page.find("    ozr-pano recording 1\n"), end = page.find("    end\n", begin);
    ASSERT_NE(end, std::string::npos);
    std::string text = page.substr(begin, end - begin) + "    end\n";
    for (size_t indent; (indent = text.find("    ")) != std::string::npos;)
        text.erase(indent, 4);
    const Recording recording = parse_recording(text);
    EXPECT_TRUE(recording.complete);
    EXPECT_EQ(recording.calls.size(), 6U);
    EXPECT_EQ(_text_of(recording), text);
}

TEST(Recording, RefusesEachFaultWithItsLine)
{
    const std::string head = "ozr-pano recording 1\nlibrary OZR\n",
                      frame = "file=0.raw format=nv12 width=4 height=4 stride=4 size=24 crc32=00000000";
    EXPECT_TRUE(parse_recording(head + "# a comment\n\nrun\nreturned -6\nend\n").complete);
    EXPECT_EQ(parse_recording(head + "detect_frame_to_stitch " + frame + "\n").calls.size(), 1U);
    const struct {
        std::string text, message;
    } faults[] = {
        {"", "no recording"},
        {"GIF89a", "line 1 is cut off"},
        {"ozr-pano recording 2\n", "has format 2, this program reads format 1"},
        {"ozr-pano recording 1\nrun\n", "line 2 does not name the library"},
        {head + "run", "line 3 is cut off"},
        {head + "jump\n", "line 3: \"jump\" is no call"},
        {head + "returned 0\n", "line 3: a result without its call"},
        {head + "run\nrun\n", "line 4: the call before has no result"},
        {head + "run\nreturned\n", "line 4: a number is missing"},
        {head + "run\nreturned 2147483648\n", "no number of 32 bits"},
        {head + "run\nreturned -\n", "no number of 32 bits"},
        {head + "end\nend\n", "line 4: there is more behind the end"},
        {head + "reset now\n", "line 3: nothing is known about \"now\""},
        {head + "set_parameters overlap=70\n", "there is no direction="},
        {head + "set_parameters overlap=70 direction=north\n", "direction is none of"},
        {head + "stitch_one_image " + frame + "\n", "there is no offset="},
        {head + "stitch_one_image " + frame + " offset=3\n", "offset is no pair"},
        {head + "detect_frame_to_stitch " + _replaced(frame, "0.raw", "../0.raw") + "\n", "no plain name"},
        {head + "detect_frame_to_stitch " + _replaced(frame, "0.raw", "..") + "\n", "no plain name"},
        {head + "detect_frame_to_stitch " + _replaced(frame, "nv12", "nv99") + "\n", "format is none of"},
        {head + "detect_frame_to_stitch " + _replaced(frame, "h=4", "h=0") + "\n", "impossible size"},
        {head + "detect_frame_to_stitch " + _replaced(frame, "h=4", "h=16385") + "\n", "impossible size"},
        {head + "detect_frame_to_stitch " + _replaced(frame, "stride=4", "stride=3") + "\n", "stride"},
        {head + "detect_frame_to_stitch " + _replaced(frame, "stride=4", "stride=2000000") + "\n", "stride"},
        {head + "detect_frame_to_stitch " + _replaced(frame, "size=24", "size=23") + "\n", "size is less"},
        {head + "detect_frame_to_stitch " + _replaced(frame, "00000000", "0000000g") + "\n", "hexadecimal"},
    };
    for (const auto& fault : faults) {
        SCOPED_TRACE(fault.text);
        expect_error([&] { parse_recording(fault.text); }, fault.message);
    }
    const size_t most = size_t{16} << 20;
    expect_error([=] { parse_recording(std::string(most, '#')); }, "line 1 is cut off");
    expect_error([=] { parse_recording(std::string(most + 1, '#')); }, "the text has more than 16 MiB");
}

}  // namespace
