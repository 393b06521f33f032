// What a run tells: the report page, and text of any origin inside them.
#include "base/names.h"
#include "base/quoting.h"
#include "media/jpeg_codec.h"
#include "media/thumbnail.h"
#include "report/page.h"
#include "support/files.h"
#include "support/journals.h"
#include "support/pages.h"
#include "support/random.h"

#include <numeric>

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

// A sweep to the left of four pictures, the third left out; every name in it would be markup.
struct Journey {
    Journal journal = swept_journal(4, ozr_panorama_direction_left);
    KeptLog log;
    Layout layout;
    Picture panorama = _random_picture(900, 200, 1);

    Journey()
    {
        using Time = std::chrono::duration<double, std::milli>;
        journal.overlap = 70;
        journal.output = journal.report = "<\"&\x01";
        journal.stages = {{"paint", Time(50)}, {"<", Time(12.5)}};
        for (int i = 0; i < 4; ++i) {
            journal.pictures[static_cast<size_t>(i)].thumbnail =
                _random_picture(32, 24, static_cast<uint32_t>(2 + i));
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
        return read_page("page.html");
    }
};

using Report = FolderTest;

TEST_F(Report, ShowsTheRun)
{
    const Journey run;
    const std::string page = run.page();
    expect_lines(page, R"page(
<p>4 pictures of 320 × 240, swept left, overlap of 70 % asked for; 9 previews</p>
<p>Panorama of 900 × 200 from 3 of the pictures, classic quality</p><p>Written to &lt;&quot;&amp;?</p>
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
<figure class="joint"><svg viewBox="500 0 100 200" role="img" aria-label="Difference of pictures 0 and 1">
<image x="500" y="0" width="100" height="200" preserveAspectRatio="none" href="data:
<figcaption><h3>Pictures 0 and 1</h3><dl><dt>confidence</dt><dd><meter min="0" max="1"
value="0.812"></meter> <b>0.81</b> sound</dd><dt>offset</dt><dd>+201.2 -3.0 px</dd><dt>gain</dt><dd>1.000<
<figure class="joint doubtful"><svg viewBox="0 10 300 10"
<path class="seam" d="M5 10L5 20"/></svg><figcaption><h3>⚠ Pictures 1 and 2 — not in the panorama</h3>
<b>0.49</b> not to be trusted</dd><dt>residual</dt><dd>7.500 px</dd>
<i style="width:100.0%"></i><b>50.0 ms</b><span>&lt;</span><i style="width:25.0%"></i><b>12.5 ms</b></div>
<summary>5 lines of the library</summary>
<span class="level-I">      1.5 ms I begin &lt;</span>
<span class="level-E">   1234.2 ms E end</span>
and 3 lines more)page");
    EXPECT_TRUE(count_of(page, "class=\"border\"") == 3 && count_of(page, "class=\"chip\"") == 3);
    EXPECT_TRUE(count_of(page, "class=\"card\"") == 3 && count_of(page, "class=\"card unused\"") == 1);
    EXPECT_EQ(count_of(page, "id=\"failure\"") + count_of(page, "<\""), 0);
    // The pictures inside it: the panorama, the thumbnails, the differences.
    std::vector<Picture> pictures = {run.panorama};
    for (const PictureEntry& entry : run.journal.pictures)
        pictures.push_back(entry.thumbnail);
    for (const OverlapView& overlap : run.layout.overlaps)
        pictures.push_back(overlap.difference);
    size_t at = 0;
    for (const Picture& picture : pictures) {
        const std::vector<uint8_t> jpeg = encode_jpeg(picture, picture.width == 900 ? 85 : 80);
        write_file_whole("jpeg", jpeg.data(), jpeg.size());
        ASSERT_EQ(system("base64 -w 0 jpeg >base64"), 0);
        at = page.find("\"data:image/jpeg;base64," + read_text("base64") + '"', at + 1);
        ASSERT_NE(at, std::string::npos);
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
    expect_lines(
        page,
        "id=\"failure\">why &lt;</p><p>1 picture of 320\nasked for</p><p>Written\nThere were no previews");
    EXPECT_EQ(count_of(page, "id=\"panorama\"") + count_of(page, "<article class=\"card unused\""), 0);
}

TEST_F(Report, DrawsTheMotionOfThePreviews)
{
    for (int i = ozr_panorama_direction_right; i <= ozr_panorama_direction_up; ++i) {
        Journey run;
        run.journal.direction = static_cast<ozr_panorama_direction>(i);
        SCOPED_TRACE(direction_name(run.journal.direction));
        const bool vertical = i >= ozr_panorama_direction_down, backward = i % 2 == 0;
        run.layout.is_vertical = vertical;
        // Along: 0 12 24 36, from there 36 48 60 72, then 72; across: -4 to -1, then on from there.
        // The drawing's x runs from 44 to 428 and its y from 210, the lowest value, up to 14.
        for (PreviewEntry& preview : run.journal.previews) {
            const int along = backward ? preview.offset.x : -preview.offset.x, across = preview.offset.y;
            preview.offset = vertical ? ozr_point{across, along} : ozr_point{along, across};
        }
        const std::string page = run.page();
        expect_lines(page, R"(
"along" points="44.0,199.7 92.0,168.7 140.0,137.8 188.0,106.8 236.0,106.8
284.0,75.9 332.0,44.9 380.0,14.0 428.0,14.0 "
"across" points="44.0,210.0 92.0,207.4 140.0,204.8 188.0,202.3 236.0,202.3
284.0,199.7 332.0,197.1 380.0,194.5 428.0,184.2 "
d="M188.0 106.8V210.0"/><circle class="dot" cx="188.0" cy="106.8" r="7"/><text class="number" x="188.0" y="110.1"
d="M380.0 14.0V210.0"/><circle class="dot" cx="380.0" cy="14.0" r="7"/><text class="number" x="380.0" y="17.3"
text-anchor="middle">2</text></svg>
<path class="grid" d="M44.0 199.7H428.0"/><text x="39.0" y="202.7" text-anchor="end">0<
d="M44.0 19.2H428.0"/><text x="39.0" y="22.2" text-anchor="end">70<
<text x="140.0" y="224.0" text-anchor="middle">2<
<text x="428.0" y="224.0" text-anchor="middle">8<
<text x="428.0" y="237.0" text-anchor="end">preview<)");
        EXPECT_TRUE(count_of(page, "class=\"grid\"") == 8 && count_of(page, "class=\"trigger\"") == 2);
        EXPECT_EQ(count_of(page, vertical ? "style=\"top:52.50%;left:1rem" : "style=\"left:83.33%;top:1rem"),
                  1);
    }
}

TEST(Quoting, KeepsCharactersAndReplacesBrokenOnes)
{
    EXPECT_EQ(json_quoted("a \"\\\n\x1F<>&"), R"("a \"\\\u000a\u001f<>&")");
    EXPECT_EQ(html_escaped("a \"\\\n\x1F<>&"), "a &quot;\\\n?&lt;&gt;&amp;");
    const auto expect_told = [](const std::string& text, const std::string& as) {
        EXPECT_EQ(json_quoted(text + "a" + text), '"' + as + "a" + as + '"');
        EXPECT_EQ(html_escaped(text), as);
    };
    const auto expect_replaced = [&](const std::string& text) {
        std::string marks;
        for (size_t i = 0; i < text.size(); ++i)
            marks += "\xEF\xBF\xBD";
        expect_told(text, marks);
    };
    // The first and the last characters of each length, and those around the surrogates.
    for (const std::string character :
         {"\x7F", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80", "\xEF\xBF\xBF",
          "\xF0\x90\x80\x80", "\xF1\x80\x80\x80", "\xF4\x8F\xBF\xBF"}) {
        expect_told(character, character);
        for (size_t length = 1; length < character.size(); ++length)
            expect_replaced(character.substr(0, length));
    }
    // Beside them: longer forms than needed, surrogates, what is too large, what does not continue.
    for (const char* broken :
         {"\x80", "\xBF", "\xC1\xBF", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xED\xBF\xBF", "\xF0\x8F\xBF\xBF",
          "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFF", "\xC2\xC0", "\xE1\x80\xC0", "\xF1\x80\x80\xC3"})
        expect_replaced(broken);
}

TEST(Thumbnail, IsTheMeanOfWhatEachPixelStandsFor)
{
    Picture large(5, 3);
    std::iota(large.rgba.begin(), large.rgba.end(), uint8_t{0});
    EXPECT_EQ(shrink(large, 2).rgba, (std::vector<uint8_t>{22, 23, 24, 25, 32, 33, 34, 35}));
    EXPECT_EQ(shrink(large, 5).rgba, large.rgba);
}

}  // namespace
