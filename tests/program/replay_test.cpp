// Recordings: what is recorded replays, what is damaged is refused with a reason, what differs is told.
#include "commands/commands.h"
#include "support/files.h"

namespace
{

/** The text with its first `from` replaced. */
std::string _replaced(std::string text, const std::string& from, const std::string& to)
{
    const size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return text.replace(at, from.size(), to);
}

class Replay : public FolderTest
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
    write_text("rec/calls.txt", calls);
    fs::resize_file("rec/00001.raw", 100);
    EXPECT_NE(complaint().find("00001.raw: 100 bytes instead of"), std::string::npos);
}

TEST_F(Replay, FollowsSessionsOfSeveralSweeps)
{
    record();
    const std::string calls = read_text("rec/calls.txt");
    const std::string sweep = calls.substr(calls.find("stitch_one_image"));
    const std::string again = _replaced(calls, "end\n", "reset\nreturned 0\n" + sweep);
    write_text("rec/calls.txt", again);
    EXPECT_EQ(complaint("report.html"), "");
    EXPECT_NE(read_text("report.html").find("2 pictures of 160"), std::string::npos);
    // A second run of one sweep is refused, and so is a picture behind the panorama.
    write_text("rec/calls.txt", _replaced(calls, "end\n", "run\nreturned -6\nend\n"));
    EXPECT_EQ(complaint(), "");
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
    std::string again = recording_head(recording.library);
    for (const RecordedCall& call : recording.calls)
        again += call_text(call) + result_text(call);
    EXPECT_EQ(again + recording_end(), text);
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
}

}  // namespace
