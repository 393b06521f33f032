// A recording, driven through the library once more.
#include "base/file_io.h"
#include "base/program_error.h"
#include "commands/commands.h"
#include "sweep/summary.h"

namespace ozr_pano
{

namespace
{

constexpr int kMaxShownDifferences = 10;

std::string _without_line_feed(std::string text)
{
    text.pop_back();
    return text;
}

Recording _read(const std::string& folder)
{
    const std::string path = folder + "/" + kCallsFile;
    const std::vector<uint8_t> bytes = read_file(path);
    try {
        return parse_recording(std::string(bytes.begin(), bytes.end()));
    } catch (const ProgramError& error) {
        fail("%s: %s", path.c_str(), error.what());
    }
}

// The bytes of an image, for as long as the library looks at them.
struct Frame {
    Frame(const std::string& folder, const RecordedImage& recorded, const Journal::Lap& /*reading*/)
        : bytes(read_file(folder + "/" + recorded.file)), image(recorded.geometry)
    {
        const std::string path = folder + "/" + recorded.file;
        if (bytes.size() != static_cast<size_t>(image.size))
            fail("%s: %zu bytes instead of %d; the recording is damaged, fetch or record it again",
                 path.c_str(), bytes.size(), image.size);
        if (checksum_of(bytes.data(), bytes.size()) != recorded.checksum)
            fail("%s: the checksum differs; the recording is damaged, fetch or record it again",
                 path.c_str());
        image.data = bytes.data();
    }

    std::vector<uint8_t> bytes;
    ozr_image image;
};

// Makes the calls and notes where the answers differ.
class Player
{
public:
    Player(const ReplayOptions& options, Journal* journal)
        : folder_(options.folder), journal_(journal), session_(options, journal)
    {
    }

    void play(const RecordedCall& call)
    {
        RecordedCall answer = call;
        answer.panorama = RecordedImage();
        make(call, &answer);
        const std::string text = _without_line_feed(result_text(answer));
        if (!call.has_result) {
            say("%s/%s: line %d: the recording ends within this call, which here %s", folder_.c_str(),
                kCallsFile, call.line, text.c_str());
            return;
        }
        const std::string recorded = _without_line_feed(result_text(call));
        if (text == recorded)
            return;
        if (++differences_ <= kMaxShownDifferences)
            say("%s/%s: line %d: %s %s, recorded was %s", folder_.c_str(), kCallsFile, call.line,
                call_name(call.kind), text.c_str(), recorded.c_str());
    }

    // The panorama of the last run, if it has not been released since.
    const ozr_image& panorama() const { return panorama_; }
    int differences() const { return differences_; }
    Session& session() { return session_; }

private:
    void make(const RecordedCall& call, RecordedCall* answer)
    {
        switch (call.kind) {
        case CallKind::set_parameters:
            answer->result = session_.set_parameters(call.parameters);
            break;
        case CallKind::set_quality:
            answer->result = session_.set_quality(call.quality);
            break;
        case CallKind::detect_frame_to_stitch: {
            const Frame frame(folder_, call.image, journal_->time("read"));
            answer->result =
                session_.detect_frame_to_stitch(frame.image, &answer->found_offset, &answer->found_direction);
            break;
        }
        case CallKind::stitch_one_image: {
            Frame frame(folder_, call.image, journal_->time("read"));
            PictureEntry entry;
            entry.source = call.image.file;
            entry.has_offset = call.has_offset;
            entry.offset = call.offset;
            answer->result = session_.stitch_one_image(&frame.image, std::move(entry));
            break;
        }
        case CallKind::run:
            run(answer);
            break;
        case CallKind::reset:
            panorama_ = ozr_image();
            answer->result = session_.reset();
            break;
        }
    }

    void run(RecordedCall* answer)
    {
        panorama_ = ozr_image();
        ozr_image panorama = {};
        answer->result = session_.run(&panorama);
        if (answer->result != ozr_success)
            return;
        panorama_ = panorama;
        answer->panorama.geometry = panorama;
        answer->panorama.checksum = checksum_of(panorama.data, static_cast<size_t>(panorama.size));
    }

    std::string folder_;
    Journal* journal_;
    Session session_;
    ozr_image panorama_ = {};
    int differences_ = 0;
};

}  // namespace

void run_replay(const ReplayOptions& options)
{
    if (!options.output.empty())
        require_writable(options.output);
    const Recording recording = _read(options.folder);
    Journal journal;
    journal.command = "replay";
    Player player(options, &journal);
    if (recording.library != player.session().limits().description)
        say("recorded with \"%.100s\", replayed with \"%s\"", recording.library.c_str(),
            player.session().limits().description);
    for (const RecordedCall& call : recording.calls)
        player.play(call);
    if (!recording.complete)
        say("%s: the recording has no end: what wrote it died there", options.folder.c_str());
    if (player.panorama().data != nullptr) {
        player.session().publish(player.panorama());
        print_summary(journal, options.json);
    } else {
        player.session().publish_failure("The recording makes no panorama.");
    }
    if (player.differences() > 0)
        throw Mismatch(
            "the library answers " + std::to_string(player.differences()) + " of " +
            std::to_string(recording.calls.size()) +
            " calls otherwise than recorded; replay with the library that recorded, to see whether it "
            "or the machine makes the difference");
    if (!options.json)
        printf("%zu calls answered as recorded\n", recording.calls.size());
}

}  // namespace ozr_pano
