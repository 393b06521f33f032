// What a run tells: the report page, the summaries, and text of any origin inside them.
#include "base/names.h"
#include "base/quoting.h"
#include "media/jpeg_codec.h"
#include "media/thumbnail.h"
#include "report/page.h"
#include "support/files.h"
#include "support/random.h"
#include "sweep/summary.h"

#include <map>
#include <sstream>

using namespace ozr_pano;

namespace
{

Picture _random_picture(int32_t width, int32_t height, uint32_t seed)
{
    Random random(seed);
    Picture picture(width, height);
    std::generate(picture.rgba.begin(), picture.rgba.end(), [&] { return random.byte(); });
    return picture;
}

/** A sweep to the left of four pictures, the third left out; every name in it would be markup. */
struct Journey {
    Journal journal;
    KeptLog log;
    Layout layout;
    Picture panorama = _random_picture(900, 200, 1);

    Journey()
    {
        using Time = std::chrono::duration<double, std::milli>;
        journal.command = "demo";
        journal.direction = ozr_panorama_direction_left;
        journal.overlap = 70;
        journal.picture_width = 320;
        journal.picture_height = 240;
        journal.pictures_used = 3;
        journal.width = 900;
        journal.height = 200;
        journal.output = journal.report = "<\"&\x01";
        journal.stages = {{"paint", Time(50)}, {"<", Time(12.5)}};
        for (int i = 0; i < 4; ++i) {
            const Picture thumbnail = _random_picture(32, 24, static_cast<uint32_t>(2 + i));
            journal.pictures.push_back(
                {"<" + std::to_string(i), i > 0, {-90 - i, 3 * i}, i > 0, -88.25 - i, i + 0.5, thumbnail});
            const ozr_rect box = {600 - 200 * i, -2 * i, 900 - 200 * i, 210 - 2 * i};
            layout.pictures.push_back(
                {i != 2, box, i > 0, {-200, -2 * i}, 1.0 / (2 + i), i != 3, i == 1 ? 0.5 : -0.25});
        }
        for (int i = 0; i < 9; ++i)
            journal.previews.push_back({{-12 * (i % 4), i - 4}, i == 3 ? 1 : i == 7 ? 2 : 0, 1});
        const std::vector<ozr_point> steps = {{550, 0}, {550, 1}, {550, 2}, {551, 2}, {551, 3}};
        layout.overlaps = {{0, 1, {500, 0, 600, 200}, steps, _random_picture(50, 100, 9), 3.25},
                           {1, 3, {0, 10, 300, 20}, {{5, 10}, {5, 20}}, _random_picture(31, 4, 10), 0}};
        log.lines = {{'I', "begin <", 1.5}, {'E', "end", 1234.25}};
        log.left_out = 3;
    }

    std::string page() const
    {
        write_report_page("page.html", {journal, layout, panorama, log, "OZR <"});
        return read_text("page.html");
    }
};

/** Expects each line of `parts` in the text. */
void _expect_all(const std::string& text, const std::string& parts)
{
    std::istringstream lines(parts);
    for (std::string part; std::getline(lines, part);)
        EXPECT_NE(text.find(part), std::string::npos) << part;
}

int _count(const std::string& text, const std::string& part)
{
    int count = 0;
    for (size_t at = 0; (at = text.find(part, at)) != std::string::npos; ++at)
        ++count;
    return count;
}

using Report = FolderTest;

TEST_F(Report, ShowsTheRun)
{
    const Journey run;
    const std::string page = run.page();
    _expect_all(page, R"page(
<p>4 pictures of 320 × 240, swept left, overlap of 70 % asked for; 9 previews</p>
<p>Panorama of 900 × 200 from 3 of the pictures</p><p>Written to &lt;&quot;&amp;?</p>
<p class="faint">OZR &lt;</p>
.panorama{width:max(min(100%,85vh*900/200),12rem*900/200)}.full .panorama{width:900px}
viewBox="0 0 900 200" role="img" aria-label="The panorama"><image width="900" height="200" href="data:
x="600" y="0" width="300" height="210" stroke="hsl(0 75% 42%)"/>
x="400" y="-2" width="300" height="210" stroke="hsl(47 75% 42%)"/>
x="0" y="-6" width="300" height="210" stroke="hsl(141 75% 42%)"/>
under" d="M550 0L550 2L551 2L551 3"/><path class="seam" d="M550 0L550 2L551 2L551 3"/>
style="left:83.33%;top:1rem;background:hsl(0 75% 42%)">0</span>
style="left:61.11%;top:1rem;background:hsl(47 75% 42%)">1</span>
style="left:16.67%;top:1rem;background:hsl(141 75% 42%)">3</span>
background:hsl(94 75% 42%)"></span> Picture 2</h3>
<p class="faint">&lt;0</p><dl><dt>offset</dt><dd>first picture</dd></dl>
<dt>announced</dt><dd>-91 +3</dd><dt>truth</dt><dd>-89.2 +1.5</dd><dt>offset</dt><dd>-200 -2</dd><dt>overlap<
<dd>33.3 %</dd><dt>score</dt><dd><meter value="0.500" low="0.5" optimum="1"></meter> 0.500</dd></dl>
&lt;2 — left out of the panorama</p><dl><dt>announced</dt><dd>-92 +6</dd>
<dd>25.0 %</dd><dt>score</dt><dd><meter value="0.000" low="0.5" optimum="1"></meter> -0.250</dd></dl>
<dd>20.0 %</dd><dt>score</dt><dd>not searched</dd></dl>
style="width:120px"><svg viewBox="500 0 100 200"
<image x="500" y="0" width="100" height="200" href="data:
<figcaption>0 and 1: difference 3.2</figcaption>
style="width:320px"><svg viewBox="0 10 300 10"
<path class="seam" d="M5 10L5 20"/></svg><figcaption>1 and 3: difference 0.0</figcaption>
<i style="width:100.0%"></i><b>50.0 ms</b><span>&lt;</span><i style="width:25.0%"></i><b>12.5 ms</b></div>
<summary>5 lines of the library</summary>
<span class="level-I">      1.5 ms I begin &lt;</span>
<span class="level-E">   1234.2 ms E end</span>
and 3 lines more)page");
    EXPECT_TRUE(_count(page, "class=\"border\"") == 3 && _count(page, "class=\"chip\"") == 3);
    EXPECT_TRUE(_count(page, "class=\"card\"") == 3 && _count(page, "class=\"card unused\"") == 1);
    EXPECT_EQ(_count(page, "id=\"failure\"") + _count(page, "<\""), 0);
    // The pictures inside it: the panorama, the thumbnails, the differences.
    std::vector<Picture> pictures = {run.panorama};
    for (const PictureEntry& entry : run.journal.pictures)
        pictures.push_back(entry.thumbnail);
    for (const OverlapView& overlap : run.layout.overlaps)
        pictures.push_back(overlap.difference);
    const std::string head = "\"data:image/jpeg;base64,";
    size_t at = 0;
    for (const Picture& picture : pictures) {
        at = page.find(head, at) + head.size();
        write_text("base64", page.substr(at, page.find('"', at) - at));
        ASSERT_EQ(system("base64 -d base64 >jpeg"), 0);
        EXPECT_EQ(read_file("jpeg"), encode_jpeg(picture, picture.width == 900 ? 85 : 80));
    }
}

TEST_F(Report, ShowsWhyThereIsNoPanorama)
{
    Journey run;
    run.journal.failure = "why <";
    run.journal.width = run.journal.height = 0;
    run.journal.previews.clear();
    run.journal.pictures.resize(1);
    run.panorama = Picture();
    const std::string page = run.page();
    _expect_all(
        page,
        "id=\"failure\">why &lt;</p><p>1 picture of 320\nasked for</p><p>Written\nThere were no previews");
    EXPECT_EQ(_count(page, "id=\"panorama\"") + _count(page, "<article class=\"card unused\""), 0);
}

TEST_F(Report, DrawsTheMotionOfThePreviews)
{
    for (int i = ozr_panorama_direction_right; i <= ozr_panorama_direction_up; ++i) {
        Journey run;
        run.journal.direction = static_cast<ozr_panorama_direction>(i);
        SCOPED_TRACE(direction_name(run.journal.direction));
        const bool vertical = i >= ozr_panorama_direction_down, backward = i % 2 == 0;
        // Along: 0 12 24 36, from there 36 48 60 72, then 72; across: -4 to -1, then on from there. The drawing's
        // x runs from 44 to 428 and its y from 210, the lowest value, up to 14.
        const int came[] = {0, 12, 24, 36, 36, 48, 60, 72, 72}, drifted[] = {-4, -3, -2, -1, -1, 0, 1, 2, 6};
        const auto curve = [](const int(&pixels)[9]) {
            std::string points;
            for (int preview = 0; preview < 9; ++preview) {
                char text[32];
                snprintf(text, sizeof(text), "%d.0,%.1f ", 44 + 48 * preview,
                         210 - 196 * (pixels[preview] + 4) / 76.0);
                points += text;
            }
            return points;
        };
        for (PreviewEntry& preview : run.journal.previews) {
            const int along = backward ? preview.offset.x : -preview.offset.x, across = preview.offset.y;
            preview.offset = vertical ? ozr_point{across, along} : ozr_point{along, across};
        }
        const std::string page = run.page();
        _expect_all(page, "\"along\" points=\"" + curve(came) + "\n\"across\" points=\"" + curve(drifted) +
                              R"("
d="M188.0 106.8V210.0"/><circle class="dot" cx="188.0" cy="106.8" r="7"/><text class="number" x="188.0" y="110.1"
d="M380.0 14.0V210.0"/><circle class="dot" cx="380.0" cy="14.0" r="7"/><text class="number" x="380.0" y="17.3"
text-anchor="middle">2</text></svg>
<path class="grid" d="M44.0 199.7H428.0"/><text x="39.0" y="202.7" text-anchor="end">0<
d="M44.0 19.2H428.0"/><text x="39.0" y="22.2" text-anchor="end">70<
<text x="140.0" y="224.0" text-anchor="middle">2<
<text x="428.0" y="224.0" text-anchor="middle">8<
<text x="428.0" y="237.0" text-anchor="end">preview<)");
        EXPECT_TRUE(_count(page, "class=\"grid\"") == 8 && _count(page, "class=\"trigger\"") == 2);
        EXPECT_EQ(_count(page, vertical ? "style=\"top:52.50%;left:1rem" : "style=\"left:83.33%;top:1rem"),
                  1);
    }
}

TEST(Summary, TellsTheJournalAsTextAndJson)
{
    Journey run;
    run.journal.pictures.resize(2);
    const auto printed = [&](bool json) {
        testing::internal::CaptureStdout();
        print_summary(run.journal, json);
        return testing::internal::GetCapturedStdout();
    };
    EXPECT_EQ(printed(false), R"(demo: direction left, 2 pictures of 320x240, 9 previews
picture  from        offset (x y)     truth (x y)       error (x y)
      0  <0
      1  <1             -91    +3     -89.2   +1.5      -1.8   +1.5
panorama 900x200 from 3 of 2 pictures
time paint 50 ms, < 12 ms
written to <"&)"
                              "\x01\nreport in <\"&\x01\n");
    EXPECT_EQ(
        printed(true),
        R"({"command":"demo","direction":"left","picture_size":[320,240],"previews":9,"pictures":[{"from":"<0"},)"
        R"({"from":"<1","offset":[-91,3],"truth":[-89.25,1.50]}],"pictures_used":3,"panorama_size":[900,200],)"
        R"("milliseconds":{"paint":50.00,"<":12.50},"output":"<\"&\u0001","report":"<\"&\u0001"})"
        "\n");
    run.journal.previews.clear();
    run.journal.report = run.journal.output = "";
    run.journal.pictures.resize(1);
    EXPECT_EQ(printed(false),
              "demo: direction left, 1 pictures of 320x240\npanorama 900x200 from 3 of 1 pictures\n"
              "time paint 50 ms, < 12 ms\n");
    EXPECT_EQ(_count(printed(true), "report"), 0);
}

/** The length of the UTF-8 sequence at text[i] by its decoding: 0 unless it is the shortest form of a character. */
size_t _character_length(const std::string& text, size_t i)
{
    const auto byte = [&](size_t at) { return at < text.size() ? static_cast<uint8_t>(text[at]) : 0U; };
    size_t length = 1;
    while (length < 5 && (byte(i) << length & 0x80) != 0)
        ++length;
    if (byte(i) < 0x80 || byte(i) < 0xC0 || length > 4)
        return byte(i) < 0x80 ? 1 : 0;
    uint32_t code = byte(i) & 0x7FU >> length;
    for (size_t k = 1; k < length; ++k) {
        if (byte(i + k) >> 6 != 2)
            return 0;
        code = code << 6 | (byte(i + k) & 63);
    }
    const uint32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
    return code < least[length] || code > 0x10FFFF || (code >= 0xD800 && code < 0xE000) ? 0 : length;
}

TEST(Quoting, KeepsCharactersAndReplacesBrokenOnes)
{
    Random random(5);
    const std::map<char, std::string>
        json = {{'"', "\\\""}, {'\\', "\\\\"}, {'\n', "\\u000a"}, {'\x1F', "\\u001f"}},
        html = {{'"', "&quot;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'&', "&amp;"}, {'\x1F', "?"}};
    const std::string telling =
        "\x7F\x80\x8F\x90\x9F\xA0\xBF\xC0\xC1\xC2\xDF\xE0\xE1\xEC\xED\xEE\xEF\xF0\xF1\xF3\xF4\xF5\xFF"
        "\x1F\n \"\\<>&";
    for (int i = 0; i < 40000; ++i) {
        std::string text, as_json, as_html;
        for (int32_t left = random.below(7); left > 0; --left)
            text += telling[static_cast<size_t>(random.below(static_cast<int32_t>(telling.size())))];
        for (size_t at = 0; at < text.size();) {
            const size_t length = _character_length(text, at);
            const std::string part = length == 0 ? "\xEF\xBF\xBD" : text.substr(at, length);
            as_json += length == 1 && json.count(part[0]) > 0 ? json.at(part[0]) : part;
            as_html += length == 1 && html.count(part[0]) > 0 ? html.at(part[0]) : part;
            at += std::max<size_t>(length, 1);
        }
        ASSERT_EQ(json_quoted(text), '"' + as_json + '"');
        ASSERT_EQ(html_escaped(text), as_html);
    }
}

TEST(Thumbnail, IsTheMeanOfWhatEachPixelStandsFor)
{
    Random random(6);
    for (int i = 0; i < 60; ++i) {
        const Picture large = _random_picture(1 + random.below(70), 1 + random.below(70), random.next());
        const int32_t longer = std::max(large.width, large.height), longest = 1 + random.below(longer);
        const Picture small = shrink(large, longest);
        const int32_t w = std::max(1, large.width * longest / longer),
                      h = std::max(1, large.height * longest / longer);
        ASSERT_TRUE(small.width == w && small.height == h);
        for (int32_t at = 0; at < w * h * 4; ++at) {
            const int32_t x = at / 4 % w, y = at / 4 / w;
            int32_t sum = 0, count = 0;
            for (int32_t v = y * large.height / h; v < (y + 1) * large.height / h; ++v) {
                for (int32_t u = x * large.width / w; u < (x + 1) * large.width / w; ++u, ++count)
                    sum += large.row(v)[4 * u + at % 4];
            }
            ASSERT_EQ(small.rgba[static_cast<size_t>(at)], sum / count);
        }
    }
}

}  // namespace
