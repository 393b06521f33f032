// Every vector variant of every kernel against the scalar one, whose result is the meaning: equal bytes, and no access
// outside the stated ranges.
#include <gtest/gtest.h>
#include <stdint.h>
#include <string.h>
#include <sys/mman.h>

#include <algorithm>
#include <iostream>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "ozr_cpu.h"
#include "ozr_kernels.h"

namespace
{

constexpr uint32_t kSeed = 20240229;
constexpr size_t kPage = 4096;
constexpr size_t kUsable = 256 * kPage;
constexpr size_t kMargin = 64;  // canaries before and behind a buffer, as far as its memory reaches
constexpr uint8_t kCanary = 0xC5;
constexpr int32_t kAtEnd = 16;  // placement: the last byte lies before an unreadable page

enum Pattern : uint32_t { kRandom, kZeros, kOnes, kExtremes, kPatterns };

// Memory between two unreadable pages, for the life of the process.
uint8_t* _region(size_t index)
{
    static std::vector<uint8_t*> regions;
    while (regions.size() <= index) {
        void* all = mmap(nullptr, kUsable + 2 * kPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (all == MAP_FAILED ||
            mprotect(static_cast<uint8_t*>(all) + kPage, kUsable, PROT_READ | PROT_WRITE) != 0)
            abort();
        regions.push_back(static_cast<uint8_t*>(all) + kPage);
    }
    return regions[index];
}

// One call of one kernel, the same for every level: the same pixels at the same places. Buffers start `placement`
// bytes (0 to 15) behind an unreadable page, or end before one.
class Trial
{
public:
    Trial(int32_t width, int32_t trial_placement, uint32_t trial_pattern)
        : size(width), _placement(trial_placement), _pattern(trial_pattern),
          _random(kSeed + static_cast<uint32_t>(width) * 1000 + static_cast<uint32_t>(trial_placement) * 10 +
                  trial_pattern)
    {
    }

    const int32_t size;  // width, count, pairs: what the kernel counts in

    // Buffers, in and out alike: all their bytes are compared, and the canaries around them.
    uint8_t* pixels(int64_t count)
    {
        uint8_t* start = _place(count, 1);
        for (int64_t i = 0; i < count; ++i) {
            const uint8_t values[kPatterns] = {static_cast<uint8_t>(_random()), 0, 255,
                                               static_cast<uint8_t>((i + _buffers) % 2 != 0 ? 255 : 0)};
            start[i] = values[_pattern];
        }
        return start;
    }

    template <class T>
    T* numbers(int64_t count, int64_t lowest, int64_t highest)
    {
        T* start = reinterpret_cast<T*>(_place(count * int64_t{sizeof(T)}, sizeof(T)));
        for (int64_t i = 0; i < count; ++i)
            start[i] = static_cast<T>(
                lowest + static_cast<int64_t>(_random() % static_cast<uint64_t>(highest - lowest + 1)));
        return start;
    }

    int32_t number(int32_t lowest, int32_t highest)
    {
        return lowest + static_cast<int32_t>(_random() % static_cast<uint32_t>(highest - lowest + 1));
    }

    void result(uint32_t value)
    {
        const uint8_t* bytes = reinterpret_cast<const uint8_t*>(&value);
        _results.insert(_results.end(), bytes, bytes + sizeof value);
    }

    // Results, then what every buffer holds.
    std::vector<uint8_t> outcome() const
    {
        std::vector<uint8_t> all = _results;
        for (const Window& window : _windows)
            all.insert(all.end(), window.first, window.end);
        return all;
    }

    // Where a byte of the outcome lies: its buffer, and its offset in it.
    std::string where(size_t byte) const
    {
        if (byte < _results.size())
            return "result " + std::to_string(byte / sizeof(uint32_t));
        byte -= _results.size();
        size_t buffer = 0;
        for (; byte >= static_cast<size_t>(_windows[buffer].end - _windows[buffer].first); ++buffer)
            byte -= static_cast<size_t>(_windows[buffer].end - _windows[buffer].first);
        const Window& window = _windows[buffer];
        return "buffer " + std::to_string(buffer) + ", byte " +
               std::to_string(window.first + byte - window.start);
    }

    friend std::ostream& operator<<(std::ostream& out, const Trial& t)
    {
        return out << "seed " << kSeed << ", size " << t.size << ", placement " << t._placement
                   << ", pattern " << t._pattern;
    }

private:
    struct Window {
        const uint8_t* first;
        const uint8_t* start;
        const uint8_t* end;
    };

    uint8_t* _place(int64_t bytes, size_t alignment)
    {
        uint8_t* region = _region(_buffers++);
        const size_t used = static_cast<size_t>(std::max<int64_t>(bytes, 0));
        const size_t offset =
            _placement == kAtEnd ? kUsable - used : static_cast<size_t>(_placement) & ~(alignment - 1);
        uint8_t* start = region + offset;
        uint8_t* first = start - std::min(offset, kMargin);
        uint8_t* end = start + std::min(used + kMargin, kUsable - offset);
        memset(first, kCanary, static_cast<size_t>(end - first));
        _windows.push_back({first, start, end});
        return start;
    }

    int32_t _placement;
    uint32_t _pattern;
    std::mt19937 _random;
    uint32_t _buffers = 0;
    std::vector<Window> _windows;
    std::vector<uint8_t> _results;
};

// Bytes of a picture whose last row has no padding.
int64_t _bytes(int32_t row_bytes, int32_t rows, int32_t stride)
{
    return rows < 1 ? 0 : int64_t{stride} * (rows - 1) + row_bytes;
}

// --- The kernels: how to call each with a trial's numbers. ---

// Source rows of exactly the length that the positions reach.
void _run_resample(ResampleRow kernel, Trial& t, int32_t pitch)
{
    const int32_t usual[] = {
        0, 1, 512, 1023, 1024, 2045, 2048, 2049, 4089, 4779, t.number(0, 7000), t.number(0, 20000)};
    const int32_t step = usual[t.number(0, 11)];
    const int32_t fractions[] = {0, 1, 1023, t.number(0, 1023)};
    const int32_t last = t.size == 0 ? -1 : ((t.size - 1) * step + 1023) / 1024;
    const uint8_t* top = t.pixels(last * pitch + 1);
    const uint8_t* bottom = t.pixels(last * pitch + 1);
    kernel(t.pixels(t.size), t.size, top, bottom, static_cast<uint32_t>(step),
           static_cast<uint32_t>(fractions[t.number(0, 3)]));
}

// `size` units of so many bytes each.
void _run_row(void (*kernel)(uint8_t* dst, const uint8_t* src, int32_t count), Trial& t, int32_t dst_unit,
              int32_t src_unit)
{
    const uint8_t* src = t.pixels(src_unit * t.size);
    kernel(t.pixels(dst_unit * t.size), src, t.size);
}

void _run_blend(BlendRow kernel, Trial& t, int32_t unit)
{
    for (int32_t step : {0, 1, 2, 4}) {
        const int32_t count = step == 0 ? t.size : std::min(t.size, 127 / step);
        for (int32_t first : {1, 128 - count * step}) {
            const uint8_t* later = t.pixels(unit * count);
            kernel(t.pixels(unit * count), later, count, first, step);
        }
    }
}

void _run_rotation(Rotate kernel, Trial& t, int32_t unit)
{
    const int32_t height = t.number(0, 80);
    const int32_t src_stride = unit * t.size + t.number(0, 20);
    const int32_t dst_stride = unit * height + t.number(0, 20);
    const uint8_t* src = t.pixels(t.size == 0 ? 0 : _bytes(unit * t.size, height, src_stride));
    uint8_t* dst = t.pixels(height == 0 ? 0 : _bytes(unit * height, t.size, dst_stride));
    kernel(dst, dst_stride, src, src_stride, t.size, height);
}

// Blocks anywhere in and around the source: weights lie on readable bytes only, and a pixel's sum to 256 at most.
void _run_projection(ProjectLumaRow kernel, Trial& t)
{
    constexpr int32_t kStride = 37, kBytes = 9 * kStride;
    const int32_t blocks = std::min(t.size, 40);  // 128 random numbers each
    const uint8_t* src = t.pixels(kBytes);
    const int32_t* offsets = t.numbers<int32_t>(blocks, -4 * kStride, kBytes);
    uint16_t* weights = t.numbers<uint16_t>(int64_t{128} * blocks, 0, 256);
    for (int32_t pixel = 0; pixel < 8 * blocks; ++pixel) {
        int32_t left = 256;
        for (int32_t i = 0; i < 16; ++i) {
            const int32_t at = offsets[pixel / 8] + i / 4 * kStride + pixel % 8 + i % 4;
            uint16_t& weight = weights[128 * (pixel / 8) + 8 * i + pixel % 8];
            weight = static_cast<uint16_t>(at < 0 || at >= kBytes ? 0 : std::min<int32_t>(weight, left));
            left -= weight;
        }
    }
    kernel(t.pixels(8 * blocks), src, kBytes, kStride, offsets, weights, blocks);
}

struct KernelCase {
    const char* name;
    void (*run)(const OzrKernels& k, Trial& t);
};

const KernelCase kCases[] = {
    // Motion and alignment
    {"sad_row",
     [](const OzrKernels& k, Trial& t) {
         const uint8_t* a = t.pixels(t.size);
         t.result(k.sad_row(a, t.pixels(t.size), t.size));
         t.result(k.sad_row(a, a, -t.size));
     }},
    {"sad_const_row",
     [](const OzrKernels& k, Trial& t) {
         t.result(k.sad_const_row(t.pixels(t.size), static_cast<uint8_t>(t.number(0, 255)), t.size));
     }},
    {"integral_row",
     [](const OzrKernels& k, Trial& t) {
         const uint8_t* pixels = t.pixels(t.size);
         k.integral_row(t.numbers<uint32_t>(t.size, 0, 0), nullptr, pixels, t.size);
         const uint32_t* above = t.numbers<uint32_t>(t.size, 0, UINT32_MAX);
         k.integral_row(t.numbers<uint32_t>(t.size, 0, 0), above, pixels, t.size);
     }},
    {"correlate_areas",
     [](const OzrKernels& k, Trial& t) {
         const int32_t rows = t.number(0, 5);
         const int32_t a_stride = t.size + t.number(0, 20);
         const int32_t b_stride = t.size + t.number(0, 20);
         const uint8_t* a = t.pixels(_bytes(t.size, rows, a_stride));
         const uint8_t* b = t.pixels(_bytes(t.size, rows, b_stride));
         const int32_t means[] = {0, 255, t.number(0, 255)};
         for (int32_t mean : means) {
             const OzrAreaPair areas = {a, a_stride, mean, b, b_stride, 255 - mean, t.size, rows};
             const OzrCorrelation sums = k.correlate_areas(areas, t.number(0, 12));
             for (int32_t sum : {sums.aa, sums.bb, sums.ab})
                 t.result(static_cast<uint32_t>(sum));
         }
     }},
    // Resampling
    {"yuyv_luma_row",
     [](const OzrKernels& k, Trial& t) {
         const uint8_t* src = t.pixels(std::max(2 * t.size - 1, 0));
         k.yuyv_luma_row(t.pixels(t.size), src, t.size);
     }},
    {"half_gray_row",
     [](const OzrKernels& k, Trial& t) {
         const uint8_t* top = t.pixels(2 * t.size);
         const uint8_t* bottom = t.pixels(2 * t.size);
         k.half_gray_row(t.pixels(t.size), top, bottom, t.size);
     }},
    {"resample_gray_row", [](const OzrKernels& k, Trial& t) { _run_resample(k.resample_gray_row, t, 1); }},
    {"resample_yuyv_row", [](const OzrKernels& k, Trial& t) { _run_resample(k.resample_yuyv_row, t, 2); }},
    // Projection
    {"project_luma_row", [](const OzrKernels& k, Trial& t) { _run_projection(k.project_luma_row, t); }},
    // Seam and composition
    {"seam_cost_row",
     [](const OzrKernels& k, Trial& t) {
         const uint8_t* a = t.pixels(t.size);
         const uint8_t* b = t.pixels(t.size);
         k.seam_cost_row(t.numbers<uint32_t>(t.size, 0, 0), a, b, t.pixels(t.size), t.size);
     }},
    {"seam_accumulate_row",
     [](const OzrKernels& k, Trial& t) {
         const int32_t width = t.size + 2;
         const uint32_t* above = t.numbers<uint32_t>(width, 0, UINT32_MAX);  // compared as unsigned numbers
         k.seam_accumulate_row(t.numbers<uint32_t>(width, 0, UINT32_MAX), above, width);
     }},
    {"blend_row", [](const OzrKernels& k, Trial& t) { _run_blend(k.blend_row, t, 1); }},
    {"blend_pairs_row", [](const OzrKernels& k, Trial& t) { _run_blend(k.blend_pairs_row, t, 2); }},
    // Rotation and colour
    {"rotate_bytes_cw", [](const OzrKernels& k, Trial& t) { _run_rotation(k.rotate_bytes_cw, t, 1); }},
    {"rotate_bytes_ccw", [](const OzrKernels& k, Trial& t) { _run_rotation(k.rotate_bytes_ccw, t, 1); }},
    {"rotate_pairs_cw", [](const OzrKernels& k, Trial& t) { _run_rotation(k.rotate_pairs_cw, t, 2); }},
    {"rotate_pairs_ccw", [](const OzrKernels& k, Trial& t) { _run_rotation(k.rotate_pairs_ccw, t, 2); }},
    {"yvu_to_rgba_row",
     [](const OzrKernels& k, Trial& t) {
         const uint8_t* luma = t.pixels(2 * t.size);
         const uint8_t* chroma = t.pixels(2 * t.size);
         k.yvu_to_rgba_row(t.pixels(8 * t.size), luma, chroma, t.size);
     }},
    {"yuv_to_rgba_row",
     [](const OzrKernels& k, Trial& t) {
         const uint8_t* luma = t.pixels(2 * t.size);
         const uint8_t* chroma = t.pixels(2 * t.size);
         k.yuv_to_rgba_row(t.pixels(8 * t.size), luma, chroma, t.size);
     }},
    {"planar_to_rgba_row",
     [](const OzrKernels& k, Trial& t) {
         const uint8_t* luma = t.pixels(2 * t.size);
         const uint8_t* u = t.pixels(t.size);
         const uint8_t* v = t.pixels(t.size);
         k.planar_to_rgba_row(t.pixels(8 * t.size), luma, u, v, t.size);
     }},
    {"yuyv_to_rgba_row", [](const OzrKernels& k, Trial& t) { _run_row(k.yuyv_to_rgba_row, t, 8, 4); }},
    {"gray_to_rgba_row", [](const OzrKernels& k, Trial& t) { _run_row(k.gray_to_rgba_row, t, 4, 1); }},
    {"rgba_to_gray_row", [](const OzrKernels& k, Trial& t) { _run_row(k.rgba_to_gray_row, t, 1, 4); }},
    {"rgba_to_luma_row",
     [](const OzrKernels& k, Trial& t) {
         const uint8_t* src = t.pixels(12 * t.size);
         for (int32_t step = 1; step <= 3; ++step)
             k.rgba_to_luma_row(t.pixels(t.size), src, t.size, step);
         uint8_t* both = t.pixels(4 * t.size);
         k.rgba_to_luma_row(both, both, t.size, 1);
     }},
    {"rgba_to_uv_row", [](const OzrKernels& k, Trial& t) { _run_row(k.rgba_to_uv_row, t, 2, 8); }},
    {"rgba_to_vu_row", [](const OzrKernels& k, Trial& t) { _run_row(k.rgba_to_vu_row, t, 2, 8); }},
    {"rgba_to_yuyv_row", [](const OzrKernels& k, Trial& t) { _run_row(k.rgba_to_yuyv_row, t, 4, 8); }},
    {"rgba_to_u_v_rows",
     [](const OzrKernels& k, Trial& t) {
         const uint8_t* src = t.pixels(8 * t.size);
         uint8_t* u = t.pixels(t.size);
         k.rgba_to_u_v_rows(u, t.pixels(t.size), src, t.size);
     }},
    // Subsampling, mirrors and texture codes
    {"sample_bytes_row",
     [](const OzrKernels& k, Trial& t) {
         for (int32_t step = 1; step <= 4; ++step) {
             const int32_t bytes = std::max((t.size - 1) * step + 1, 0);
             const uint8_t* src = t.pixels(bytes);
             k.sample_bytes_row(t.pixels(t.size), src, t.size, step);
             uint8_t* both = t.pixels(bytes);
             k.sample_bytes_row(both, both, t.size, step);
         }
     }},
    {"mirror_bytes_row", [](const OzrKernels& k, Trial& t) { k.mirror_bytes_row(t.pixels(t.size), t.size); }},
    {"mirror_pairs_row", [](const OzrKernels& k, Trial& t) { k.mirror_pairs_row(t.pixels(t.size), t.size); }},
    {"mirror_quads_row",
     [](const OzrKernels& k, Trial& t) { k.mirror_quads_row(t.pixels(4 * t.size), t.size); }},
    {"census_run",
     [](const OzrKernels& k, Trial& t) {
         const int32_t width = t.size + 3;
         const uint32_t windows = static_cast<uint32_t>(width - 2);
         const uint8_t* src = t.pixels(3 * width);
         k.census_run(t.numbers<uint16_t>(2 * width - 1, 0, 0), src, static_cast<uint32_t>(width), windows);
         uint16_t* both = t.numbers<uint16_t>(3 * width, 0, UINT16_MAX);
         k.census_run(both, reinterpret_cast<const uint8_t*>(both), static_cast<uint32_t>(width), windows);
     }},
};

void PrintTo(const KernelCase& kernel, std::ostream* out)
{
    *out << kernel.name;
}

std::vector<const OzrKernels*> _levels(bool runnable)
{
    std::vector<const OzrKernels*> levels;
    for (const OzrKernels* const* level = kOzrKernelLevels; *level != nullptr; ++level) {
        if ((((*level)->features & ~ozr_cpu_features()) == 0) == runnable)
            levels.push_back(*level);
    }
    return levels;
}

// False after a difference, which has been reported.
bool _agrees(const KernelCase& kernel, const OzrKernels& level, int32_t size, int32_t placement,
             uint32_t pattern)
{
    Trial meaning(size, placement, pattern);
    kernel.run(kOzrKernelsScalar, meaning);
    const std::vector<uint8_t> want = meaning.outcome();
    Trial trial(size, placement, pattern);
    kernel.run(level, trial);
    const std::vector<uint8_t> got = trial.outcome();
    const auto first = std::mismatch(want.begin(), want.end(), got.begin(), got.end()).first;
    if (first == want.end() && want.size() == got.size())
        return true;
    ADD_FAILURE() << level.level << ": " << trial << ": "
                  << trial.where(static_cast<size_t>(first - want.begin()));
    return false;
}

class Kernel : public testing::TestWithParam<KernelCase>
{
};

TEST_P(Kernel, GivesTheScalarBytesAtEveryLevel)
{
    std::vector<int32_t> sizes = {127, 160, 320, 641, 1283};
    for (int32_t size = 0; size < 68; ++size)
        sizes.push_back(size);
    for (const OzrKernels* level : _levels(true)) {
        bool agrees = true;
        for (size_t i = 0; i < sizes.size() && agrees; ++i) {
            // Every start offset with one pattern, and the end of readable memory with all of them.
            for (uint32_t offset = 0; offset < 16 && agrees; ++offset)
                agrees = _agrees(GetParam(), *level, sizes[i], static_cast<int32_t>(offset),
                                 (offset + static_cast<uint32_t>(sizes[i])) % kPatterns);
            for (uint32_t pattern = 0; pattern < kPatterns && agrees; ++pattern)
                agrees = _agrees(GetParam(), *level, sizes[i], kAtEnd, pattern);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, Kernel, testing::ValuesIn(kCases),
                         [](const testing::TestParamInfo<KernelCase>& test) { return test.param.name; });

// Clamping and the last bit depend on all three samples at once: every luma with every pair of chroma samples.
TEST(KernelColours, AreTheScalarOnesForEverySampleOfAllThree)
{
    std::vector<uint8_t> luma(256), chroma(256), want(1024), got(1024);
    for (size_t y = 0; y < luma.size(); ++y)
        luma[y] = static_cast<uint8_t>(y);
    for (uint32_t pair = 0; pair < 65536; ++pair) {
        for (size_t i = 0; i < chroma.size(); i += 2) {
            chroma[i] = static_cast<uint8_t>(pair);
            chroma[i + 1] = static_cast<uint8_t>(pair >> 8);
        }
        kOzrKernelsScalar.yuv_to_rgba_row(want.data(), luma.data(), chroma.data(), 128);
        for (const OzrKernels* level : _levels(true)) {
            level->yuv_to_rgba_row(got.data(), luma.data(), chroma.data(), 128);
            ASSERT_EQ(got, want) << level->level << ", pair " << pair;
        }
    }
}

TEST(KernelLevels, TheHighestThatTheProcessorHasIsUsed)
{
    for (const OzrKernels* level : _levels(false))
        std::cout << "not run on this processor: " << level->level << "\n";
    EXPECT_EQ(ozr_kernels(), _levels(true).back());
    EXPECT_EQ(ozr_kernels_for(0), &kOzrKernelsScalar);
    for (const OzrKernels* const* level = kOzrKernelLevels; *level != nullptr; ++level) {
        EXPECT_EQ(ozr_kernels_for((*level)->features), *level);
        ozr_kernels_set_for_test(*level);
        EXPECT_EQ(ozr_kernels(), *level);
    }
    ozr_kernels_set_for_test(nullptr);
    EXPECT_EQ(ozr_kernels(), _levels(true).back());
}

}  // namespace
