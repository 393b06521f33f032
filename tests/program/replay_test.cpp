// Recordings: what is recorded replays, what is damaged is refused with a
// reason, what differs is told.
#include "record/recording.h"
#include "support/pages.h"
#include "support/program.h"

using namespace ozr_pano;

namespace
{

// The text with its first `from` replaced.
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

using Replay = ProgramTest;

TEST_F(Replay, RepeatsWhatWasRecordedAndTellsWhatWasChanged)
{
    run_well("demo -n 2 --size 160x120 -o out/a.png --record rec");
    const std::string calls = read_text("rec/calls.txt");
    const auto complaint = [](const std::string& text) {
        write_text("rec/calls.txt", text);
        return run("replay rec --report report.html").err;
    };
    EXPECT_EQ(complaint(calls), "");
    const struct {
        const char *from, *to, *complaint;
    } changes[] = {
        {"offset=0,0", "offset=0,1", "the library answers 1 of "},
        {"size=28800 crc32=", "size=28800 crc32=0000", "line 7: crc32"},
        {"00001.raw", "none.raw", "none.raw: cannot be read"},
        {"00001.raw", "00002.raw", "00002.raw: the checksum differs"},
    };
    for (const auto& change : changes) {
        const std::string said = complaint(_replaced(calls, change.from, change.to));
        EXPECT_NE(said.find(change.complaint), std::string::npos) << said;
    }
    std::string other_panorama = calls;
    char& digit = other_panorama[calls.rfind("crc32=") + 6];
    digit = digit == '0' ? '1' : '0';
    EXPECT_NE(complaint(other_panorama).find("the library answers 1 of "), std::string::npos);
    // The process died within the last call: that is what a crash leaves, and no damage.
    for (const int cut_run : {5, 1}) {
        write_text("rec/calls.txt", calls.substr(0, calls.find("\nrun\n") + static_cast<size_t>(cut_run)));
        EXPECT_EQ(run("replay rec --report report.html").status, 0);
    }
    expect_lines(read_text("report.html"), "id=\"failure\">The recording makes no panorama.<");
    fs::resize_file("rec/00001.raw", 100);
    expect_message(complaint(calls), "00001.raw: 100 bytes instead of");
}

TEST_F(Replay, FollowsSessionsOfSeveralSweepsAndRefusedCalls)
{
    run_well("demo -n 2 --quality classic --size 160x120 -o out/a.png --record rec --report report.html");
    const std::string text = read_text("rec/calls.txt"), stitch = "stitch_one_image file=00000.raw";
    const size_t calls_begin = text.find("set_parameters"), calls_end = text.rfind("end\n");
    const std::string sweep = text.substr(calls_begin, calls_end - calls_begin);
    const size_t first_at = sweep.find(stitch);
    const std::string first = sweep.substr(first_at, sweep.find("returned", first_at) - first_at);
    const std::string sessions = text.substr(0, calls_begin) + "run\nreturned -6\n" +
                                 "set_parameters overlap=49 direction=left\nreturned -2\n" + sweep + first +
                                 "returned -6\nreset\nreturned 0\n" + sweep + recording_end();
    write_text("rec/calls.txt", sessions);
    const Recording recording = parse_recording(sessions);
    ASSERT_EQ(_text_of(recording), sessions);
    const std::string calls = std::to_string(recording.calls.size());
    expect_lines(run_well("replay rec --report replayed.html -o out/a.png"),
                 "replay: direction right, 2 pictures of 160x120\n" + calls + " calls answered as recorded");
    EXPECT_EQ(between(read_text("replayed.html"), "<rect", "</svg>"),
              between(read_text("report.html"), "<rect", "</svg>"));
    // Every answer that is changed is told, with its line; ten of them at most.
    Recording all = recording;
    for (size_t begin = 0; begin < recording.calls.size(); begin += 10) {
        Recording some = recording;
        std::string told;
        for (size_t i = begin; i < std::min(begin + 10, recording.calls.size()); ++i) {
            RecordedCall& other = some.calls[i];
            other.result = other.result < 0 ? other.result - 1 : -2;
            const std::string is = result_text(recording.calls[i]);
            told += "ozr-pano: rec/calls.txt: line " + std::to_string(other.line) + ": " +
                    call_name(other.kind) + " " + is.substr(0, is.size() - 1) + ", recorded was " +
                    result_text(other);
            all.calls[i] = other;
        }
        write_text("rec/calls.txt", _text_of(some));
        EXPECT_EQ(run("replay rec --json").err.substr(0, told.size()), told);
    }
    write_text("rec/calls.txt", _text_of(all));
    const Outcome mismatch = run("replay rec");
    EXPECT_EQ(mismatch.status, 3);
    EXPECT_EQ(std::count(mismatch.err.begin(), mismatch.err.end(), '\n'), 11);
}

TEST(Recording, ReadsTheDocumentedExample)
{
    const std::string page = read_text(OZR_DOCS "/recording.md");
    std::string text = between(page, "    ozr-pano recording 2\n", "    end\n") + "    end\n";
    for (size_t indent; (indent = text.find("    ")) != std::string::npos;)
        text.erase(indent, 4);
    const Recording recording = parse_recording(text);
    EXPECT_TRUE(recording.complete);
    EXPECT_EQ(recording.calls.size(), 7U);
    EXPECT_EQ(_text_of(recording), text);
}

TEST(Recording, RefusesEachFaultWithItsLine)
{
    const std::string head = "ozr-pano recording 2\nlibrary OZR\n",
                      frame = "file=0.raw format=nv12 width=4 height=4 stride=4 size=24 crc32=00000000";
    EXPECT_TRUE(parse_recording(head + "# a comment\n\nrun\nreturned -6\nend\n").complete);
    EXPECT_TRUE(parse_recording("ozr-pano recording 1\nlibrary OZR\nrun\nreturned -6\nend\n").complete);
    EXPECT_EQ(parse_recording(head + "detect_frame_to_stitch " + frame + "\n").calls.size(), 1U);
    const struct {
        std::string text, message;
    } faults[] = {
        {"", "no recording"},
        {"GIF89a", "line 1 is cut off"},
        {"ozr-pano recording 3\n", "has format 3, this program reads formats 1 and 2"},
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
        {head + "set_quality quality=best\n", "quality is none of classic, refined"},
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
