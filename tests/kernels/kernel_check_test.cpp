// The vector kernels against their scalar meaning: every level that the machine has, on random and
// extreme bytes. Inputs end at, or start behind, a page that must not be touched; outputs do
// likewise, and are compared with everything around what may be written.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <iostream>
#include <numeric>
#include <vector>

#include "kernels/cpu.h"
#include "kernels/kernels.h"
#include "support/kernel_entry.h"
#include "support/random.h"

using namespace ozr::kernels;

namespace
{

// The place of a block between two pages that must not be touched: at the first, at the second, or
// a few bytes behind the first.
enum class Edge { kStart, kEnd, kOffset };
enum class Fill { kRandom, kZeros, kOnes, kExtremes };

// Looked up once: in a virtual machine, asking the processor takes longer than most kernels.
const std::vector<const Kernels*>& levels_of_this_machine()
{
    static const std::vector<const Kernels*> levels = [] {
        std::vector<const Kernels*> found;
        for (const Kernels* const* level = kLevels; *level != nullptr; ++level) {
            if (((*level)->features & ~cpu_features()) == 0)
                found.push_back(*level);
        }
        return found;
    }();
    return levels;
}

// `size` bytes between two pages without access. The other accessible bytes there are filled too.
class Guarded
{
public:
    Guarded(size_t size, Edge edge, size_t offset, Fill fill, Random* random)
    {
        const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        const size_t accessible = (size + offset + page - 1) / page * page;
        mapped_ = accessible + 2 * page;
        void* block = mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        block_ = static_cast<uint8_t*>(block);
        begin_ = block_ + page;
        end_ = begin_ + accessible;
        mprotect(block_, page, PROT_NONE);
        mprotect(end_, page, PROT_NONE);
        data_ = edge == Edge::kEnd ? end_ - size : begin_ + (edge == Edge::kOffset ? offset : 0);
        for (uint8_t* at = begin_; at < end_; ++at) {
            const uint8_t byte = random->byte();
            const uint8_t bytes[] = {byte, 0, 255, static_cast<uint8_t>(byte & 1 ? 255 : 0)};
            *at = bytes[static_cast<size_t>(fill)];
        }
    }
    ~Guarded() { munmap(block_, mapped_); }
    Guarded(const Guarded&) = delete;
    Guarded& operator=(const Guarded&) = delete;

    uint8_t* data() { return data_; }
    // A cast by void*: a block of wider numbers starts or ends at a page, and so it is aligned.
    template <class Number>
    Number* as()
    {
        return static_cast<Number*>(static_cast<void*>(data_));
    }

    // All accessible bytes, including those around the `size` bytes.
    std::vector<uint8_t> contents() const { return {begin_, end_}; }
    void restore(const std::vector<uint8_t>& bytes) { std::copy(bytes.begin(), bytes.end(), begin_); }
    ptrdiff_t margin() const { return data_ - begin_; }

private:
    size_t mapped_;
    uint8_t* block_;
    uint8_t* begin_;
    uint8_t* end_;
    uint8_t* data_;
};

// One call: a size, an edge and a fill; makes inputs and compares outputs.
class Case
{
public:
    Case(int32_t size, Edge edge, Fill fill) : count(size), edge_(edge), fill_(fill), random_(seed()) {}
    uint32_t seed() const { return static_cast<uint32_t>(count * 8 + static_cast<int32_t>(edge_) * 4) + 1; }

    // A block of elements of `unit` bytes, aligned for them.
    Guarded bytes(int64_t size, int32_t unit = 1)
    {
        const size_t offset =
            edge_ == Edge::kOffset ? static_cast<size_t>(random_.below(16) / unit * unit) : 0;
        return Guarded(static_cast<size_t>(size), edge_, offset, fill_, &random_);
    }
    Random* random() { return &random_; }

    // Checks a kernel whose first argument is its destination of `numbers` numbers.
    template <class Stage, class Out, class... Rest, class... Args>
    void check(KernelEntry<Stage, void (*)(Out*, Rest...)> kernel, int64_t numbers, Args... args)
    {
        check_call(kernel, numbers * static_cast<int64_t>(sizeof(Out)), alignof(Out),
                   [&](auto f, Guarded& out) { f(out.as<Out>(), args...); });
    }

    // Checks a kernel that returns its result.
    template <class Stage, class Result, class... Rest, class... Args>
    void check_result(KernelEntry<Stage, Result (*)(Rest...)> kernel, Args... args)
    {
        check_call(kernel, sizeof(Result), 1, [&](auto f, Guarded& out) {
            const Result result = f(args...);
            memcpy(out.data(), &result, sizeof(result));
        });
    }

    // Calls the kernel at every level with the same `size` bytes to write and compares them with
    // what the scalar one leaves.
    template <class Kernel, class Call>
    void check_call(Kernel kernel, int64_t size, int32_t unit, Call call)
    {
        Guarded out = bytes(size, unit);
        const std::vector<uint8_t> before = out.contents();
        const auto scalar = kernel.of(kScalarKernels);
        call(scalar, out);
        const std::vector<uint8_t> want = out.contents();
        for (const Kernels* level : levels_of_this_machine()) {
            if (kernel.of(*level) == scalar)
                continue;
            out.restore(before);
            call(kernel.of(*level), out);
            const std::vector<uint8_t> got = out.contents();
            const auto differs = std::mismatch(want.begin(), want.end(), got.begin());
            EXPECT_EQ(differs.first, want.end())
                << kernel.name << " of " << size << " bytes " << level->level << " seed " << seed()
                << " size " << count << " fill " << static_cast<int32_t>(fill_) << " byte "
                << differs.first - want.begin() - out.margin();
        }
    }

    const int32_t count;

private:
    Edge edge_;
    Fill fill_;
    Random random_;
};

template <class Check>
void for_each_case(Check check)
{
    std::vector<int32_t> counts = {127, 128, 129, 1283};
    for (int32_t count = 0; count <= 67; ++count)
        counts.push_back(count);
    for (int32_t count : counts) {
        for (Edge edge : {Edge::kStart, Edge::kEnd, Edge::kOffset}) {
            for (Fill fill : {Fill::kRandom, Fill::kZeros, Fill::kOnes, Fill::kExtremes})
                check(Case(count, edge, fill));
        }
    }
}

}  // namespace

TEST(KernelCheck, ColoursToRgbaAndBack)
{
    for_each_case([](Case c) {
        const int32_t n = c.count;
        Guarded luma = c.bytes(2 * n), chroma = c.bytes(2 * n), u = c.bytes(n), v = c.bytes(n);
        Guarded packed = c.bytes(4 * n);
        c.check(KERNEL(colour, yvu_to_rgba_row), 8 * n, luma.data(), chroma.data(), n);
        c.check(KERNEL(colour, yuv_to_rgba_row), 8 * n, luma.data(), chroma.data(), n);
        c.check(KERNEL(colour, planar_to_rgba_row), 8 * n, luma.data(), u.data(), v.data(), n);
        c.check(KERNEL(colour, yuyv_to_rgba_row), 8 * n, packed.data(), n);
        c.check(KERNEL(colour, gray_to_rgba_row), 4 * n, u.data(), n);
        Guarded rgba = c.bytes(8 * n);
        c.check(KERNEL(colour, rgba_to_gray_row), n, rgba.data(), n);
        c.check(KERNEL(colour, rgba_to_uv_row), 2 * n, rgba.data(), n);
        c.check(KERNEL(colour, rgba_to_vu_row), 2 * n, rgba.data(), n);
        c.check(KERNEL(colour, rgba_to_yuyv_row), 4 * n, rgba.data(), n);
        c.check_call(KERNEL(colour, rgba_to_u_v_rows), 2 * n, 1,
                     [&](auto f, Guarded& out) { f(out.data(), out.data() + n, rgba.data(), n); });
        for (int32_t step = 1; step <= 2; ++step)
            c.check(KERNEL(colour, rgba_to_luma_row), n, rgba.data(), n, step);
        c.check_call(KERNEL(colour, rgba_to_luma_row), 4 * n, 1,
                     [&](auto f, Guarded& out) { f(out.data(), out.data(), n, 1); });
    });
}

// Clamping and the last bit depend on all three samples at once: every luma with
// every pair of chroma samples.
TEST(KernelCheck, EveryColourToRgba)
{
    std::vector<uint8_t> luma(256), chroma(256), want(1024), out(1024);
    std::iota(luma.begin(), luma.end(), uint8_t{0});
    for (int32_t pair = 0; pair < 65536; ++pair) {
        for (size_t i = 0; i < 256; ++i)
            chroma[i] = static_cast<uint8_t>(i % 2 == 0 ? pair : pair >> 8);
        kScalarKernels.colour.yuv_to_rgba_row(want.data(), luma.data(), chroma.data(), 128);
        for (const Kernels* level : levels_of_this_machine()) {
            level->colour.yuv_to_rgba_row(out.data(), luma.data(), chroma.data(), 128);
            ASSERT_EQ(out, want) << level->level << " pair " << pair;
        }
    }
}

TEST(KernelCheck, SeamsAndTransitions)
{
    for_each_case([](Case c) {
        const int32_t n = c.count;
        Guarded a = c.bytes(n), b = c.bytes(n), mask = c.bytes(n), above = c.bytes(2 * n, 2),
                later = c.bytes(2 * n);
        // Sums wrap around, in both senses; neighbours differ by less than
        // 2^15 and are often equal.
        for (int32_t x = 0; x < n; ++x) {
            uint16_t& sum = above.as<uint16_t>()[x];
            sum = static_cast<uint16_t>((x % 3 == 0 ? sum % 0x8000 : 0x4000 + sum % 3) +
                                        (n % 2 == 0 ? 0xC000 : 0x4000));
        }
        if (n >= 2)
            c.check_call(KERNEL(seam, sum_row), 4 * n, 2, [&](auto f, Guarded& out) {
                f(out.as<uint16_t>() + n, reinterpret_cast<int8_t*>(out.data() + n), above.as<uint16_t>(),
                  {a.data(), b.data(), mask.data(), n});
            });
        for (int32_t step : {0, 1, 2, 4}) {
            const int32_t ramp = std::min(n, step == 0 ? n : 127 / step);
            for (int32_t first : {1, 128 - ramp * step}) {
                c.check(KERNEL(blend, row), n, later.data(), ramp, first, step);
                c.check(KERNEL(blend, pairs_row), 2 * n, later.data(), ramp, first, step);
            }
        }
    });
}

TEST(KernelCheck, MirrorsAndTextureCodes)
{
    for_each_case([](Case c) {
        const int32_t n = c.count;
        c.check(KERNEL(mirror, bytes_row), n, n);
        c.check(KERNEL(mirror, pairs_row), n, n);
        c.check(KERNEL(mirror, quads_row), 4 * n, n);
        for (int32_t step = 1; step <= 3; ++step) {
            Guarded row = c.bytes(std::max((n - 1) * step + 1, 0));
            c.check(KERNEL(resample, sample_bytes_row), n, row.data(), n, step);
        }
        if (n < 3)
            return;
        // Three rows hold n - 2 windows; their codes end where row 1 of the
        // destination has its last but one.
        const uint32_t width = static_cast<uint32_t>(n);
        Guarded src = c.bytes(3 * n);
        c.check(KERNEL(census, run), 2 * n - 1, src.data(), width, width - 2);
        c.check_call(KERNEL(census, run), 6 * n, 2,
                     [&](auto f, Guarded& out) { f(out.as<uint16_t>(), out.data(), width, width - 2); });
    });
}

TEST(KernelCheck, QuarterTurns)
{
    constexpr int32_t kSizes[] = {0, 1, 7, 8, 9, 15, 16, 17, 31, 64, 65, 97};
    for (int32_t width : kSizes) {
        for (int32_t height : kSizes) {
            for (int32_t padding : {0, 5}) {
                Case c(width, padding == 0 ? Edge::kEnd : Edge::kStart, Fill::kRandom);
                const auto check = [&](auto kernel, int32_t bytes) {
                    const int32_t src_stride = width * bytes + padding;
                    const int32_t dst_stride = height * bytes + padding;
                    Guarded src = c.bytes(int64_t{src_stride} * height);
                    const RotateTask task = {src.data(), src_stride, width, height};
                    c.check(kernel, int64_t{dst_stride} * width, dst_stride, task);
                };
                check(KERNEL(rotate, bytes_cw), 1);
                check(KERNEL(rotate, bytes_ccw), 1);
                check(KERNEL(rotate, pairs_cw), 2);
                check(KERNEL(rotate, pairs_ccw), 2);
            }
        }
    }
}

// Blocks anywhere in the source, their patches reaching beyond it where the weights are 0.
TEST(KernelCheck, Projection)
{
    constexpr int32_t kStride = 37, kWidth = 33, kRows = 9, kBytes = kStride * (kRows - 1) + kWidth;
    for_each_case([](Case c) {
        const int32_t blocks = c.count;
        Guarded src = c.bytes(kBytes);
        Guarded offsets = c.bytes(4 * blocks, 4), rows = c.bytes(8 * blocks), columns = c.bytes(32 * blocks);
        std::fill_n(columns.data(), 32 * blocks, uint8_t{0});
        for (int32_t block = 0; block < blocks; ++block) {
            const int32_t base = c.random()->below(kWidth + 8) - 8, top = c.random()->below(kRows);
            offsets.as<int32_t>()[block] = top * kStride + base;
            for (int32_t pixel = 0; pixel < 8; ++pixel) {
                const int32_t below = std::min(c.random()->below(60), 16 * (kRows - 1 - top));
                rows.data()[8 * block + pixel] = static_cast<uint8_t>(below > 48 ? 255 : below);
                const int32_t behind = c.random()->below(16 * kWidth - 15) - 16 * (base + pixel);
                for (int32_t j = 0; j < 4 && behind >= 0 && behind <= 48; ++j)
                    columns.data()[32 * block + 2 * pixel + j % 2 + j / 2 * 16] =
                        static_cast<uint8_t>(std::max(0, 16 - std::abs(behind - 16 * j)));
            }
        }
        const ProjectionRow row = {offsets.as<int32_t>(), columns.data(), rows.data()};
        const ProjectionSource source = {src.data(), kBytes, kStride};
        c.check(KERNEL(project, luma_row), 8 * blocks, source, row, blocks);
        c.check(KERNEL(project, weights_row), 128 * blocks, row, blocks);
    });
}

// Blocks of one source row, some of whose loads would leave the source, and blocks of several.
TEST(KernelCheck, ProjectionOfChroma)
{
    for_each_case([](Case c) {
        const int32_t blocks = c.count, bytes = 2 * (8 + c.random()->below(40));
        Guarded src = c.bytes(bytes), offsets = c.bytes(4 * blocks, 4), map = c.bytes(16 * blocks, 4),
                order = c.bytes(8 * blocks);
        for (int32_t block = 0; block < blocks; ++block) {
            const int32_t base = 2 * c.random()->below(bytes / 2);
            offsets.as<int32_t>()[block] = c.random()->below(3) == 0 ? -1 : base;
            for (int32_t k = 8 * block; k < 8 * block + 8; k += 2) {
                map.as<int32_t>()[k / 2] = c.random()->below(bytes / 2);
                order.data()[k] =
                    static_cast<uint8_t>(2 * c.random()->below(std::min(8, (bytes - base) / 2)));
                order.data()[k + 1] = static_cast<uint8_t>(order.data()[k] + 1);
            }
        }
        const ProjectionChromaRow row = {offsets.as<int32_t>(), order.data(), map.as<int32_t>()};
        c.check(KERNEL(project, chroma_row), 8 * blocks, src.data(), bytes, row, blocks);
    });
}

// Curves that rise from the centre, where a block mirrors itself when their number is odd: gentle
// ones, such that leave the patches at once, and such that reach the farthest row.
TEST(KernelCheck, CurvesOfAProjection)
{
    for_each_case([](Case c) {
        const int32_t blocks = c.count, half_blocks = (blocks + 1) / 2, room = 8 * half_blocks;
        const int32_t divisor = 1 + c.random()->below(6000), scale = 16 * c.random()->below(7000);
        const int32_t most = INT32_MAX / std::max(scale, 1), y = c.random()->below(std::min(most, 3000)) + 1;
        std::vector<ProjectionCurves> curves(static_cast<size_t>(half_blocks));
        const bool mirrored = blocks % 2 != 0;
        int32_t circle = divisor + room;
        for (int32_t i = 0; i < room; ++i) {
            circle -= c.random()->below(2);
            ProjectionCurves& at = curves[static_cast<size_t>(i / 8)];
            const int32_t value = std::min(16 * 2999, y * scale / circle), rest = y * scale % circle;
            for (int32_t k : {i % 8, mirrored && i >= 4 && i < 8 ? 7 - i : i % 8}) {
                at.divisors[k] = circle;
                at.steps[k] = scale / circle;
                at.step_rests[k] = scale % circle;
                at.values[k] = value;
                at.rests[k] = rest;
            }
        }
        Guarded bases = c.bytes(4 * blocks, 4);
        std::generate_n(bases.as<int32_t>(), blocks, [&c] { return c.random()->below(4000); });
        const size_t state = curves.size() * sizeof(ProjectionCurves);
        c.check_call(
            KERNEL(project, rows_of_curves), 160 * half_blocks + 24 * blocks, 4, [&](auto f, Guarded& out) {
                memcpy(out.data(), curves.data(), state);
                int32_t* const offsets = out.as<int32_t>() + 40 * half_blocks;
                uint8_t* const rows = out.data() + 160 * half_blocks + 8 * blocks;
                const ProjectionRowPair pair = {
                    {offsets, rows}, {offsets + blocks, rows + 8 * blocks}, bases.as<int32_t>(), 4000, 3000,
                    16 * 2999};
                for (int32_t step = 0; step < 3; ++step)
                    f(pair, out.as<ProjectionCurves>(), blocks);
            });
    });
}

// The source has exactly the bytes that the positions reach. The steps are those of one
// load, of two, and of gathers.
TEST(KernelCheck, Resampling)
{
    for_each_case([](Case c) {
        const int32_t n = c.count;
        constexpr int32_t kRows = 3;
        for (uint32_t step : {0U, 300U, 1024U, 2047U, 4089U, 6200U, 12000U, 20000U}) {
            const int32_t last =
                n > 0 ? static_cast<int32_t>((static_cast<uint32_t>(n - 1) * step + 1023) >> 10) : 0;
            for (uint32_t first_y : {0U, 511U, 1023U}) {
                const uint32_t step_y = 700 + first_y;
                const int32_t rows = static_cast<int32_t>((first_y + (kRows - 1) * step_y + 1023) >> 10);
                const int32_t stride = last + 1 + static_cast<int32_t>(step % 3);
                Guarded gray = c.bytes(rows * stride + last + 1);
                Guarded packed = c.bytes(rows * 2 * stride + 2 * last + 1);
                const int32_t size = std::max(kRows * (n + 3) - 3, 0);
                const ResampleTask of_gray = {gray.data(), stride, step, step_y, first_y, n, kRows};
                const ResampleTask of_yuyv = {packed.data(), 2 * stride, step, step_y, first_y, n, kRows};
                c.check(KERNEL(resample, gray), size, n + 3, of_gray);
                c.check(KERNEL(resample, yuyv), size, n + 3, of_yuyv);
            }
        }
        Guarded top = c.bytes(2 * n), bottom = c.bytes(2 * n), luma = c.bytes(std::max(2 * n - 1, 0));
        c.check(KERNEL(resample, half_gray_row), n, top.data(), bottom.data(), n);
        Guarded upper = c.bytes(4 * n), lower = c.bytes(4 * n);
        c.check(KERNEL(resample, half_pairs_row), 2 * n, upper.data(), lower.data(), n);
        c.check(KERNEL(resample, yuyv_luma_row), n, luma.data(), n);
    });
}

// Walks over small planes, straight ones that vectors do and wild ones that they leave, some of
// them off the plane; the planes end with their last pixel.
TEST(KernelCheck, Drawing)
{
    constexpr int32_t kOne = 1 << kDrawPlaceBits, kStride = 67, kWidth = 65, kHeight = 40;
    for_each_case([](Case c) {
        const int32_t n = c.count;
        Guarded luma = c.bytes(kStride * (kHeight - 1) + kWidth);
        Guarded chroma = c.bytes(kStride * (kHeight / 2 - 1) + 2 * (kWidth / 2));
        DrawPlane planes[] = {{luma.data(), kStride, kWidth, kHeight},
                              {chroma.data(), kStride, kWidth / 2, kHeight / 2}};
        Guarded xs = c.bytes(4 * n + 4, 4), ys = c.bytes(4 * n + 4, 4), numbers = c.bytes(6 * n + 6, 2);
        int16_t* number = numbers.as<int16_t>();
        for (int32_t turn : {40, 400, 4000}) {
            int32_t x = 0, y = 0;
            for (int32_t b = 0; b <= n; ++b) {
                if (b == 0 || x > (kWidth + 3) * kOne) {
                    x = c.random()->below(12 * kOne) - 4 * kOne;
                    y = c.random()->below((kHeight + 8) * kOne) - 4 * kOne;
                }
                xs.as<int32_t>()[b] = x;
                ys.as<int32_t>()[b] = y;
                x += c.random()->below(16) == 0 ? c.random()->below(30 * kOne) - 9 * kOne
                                                : 8 * kOne + c.random()->below(2 * turn + 1) - turn;
                y += 8 * (c.random()->below(2 * turn + 1) - turn);
                number[b] = static_cast<int16_t>(number[b] & 0x7FFF);  // gains
                for (int32_t shift : {b + n + 1, b + 2 * n + 2})
                    number[shift] = static_cast<int16_t>(number[shift] % (kDrawMaxShift + 1));
            }
            const DrawNodes nodes = {
                xs.as<int32_t>(), ys.as<int32_t>(), number, {number + n + 1, number + 2 * n + 2}};
            for (int32_t softness = 0; softness < kDrawSoftnesses; ++softness) {
                planes[0].softness = softness;
                c.check(KERNEL(draw, luma_row), 8 * n, planes[0], nodes, n);
            }
            c.check(KERNEL(draw, chroma_row), 8 * n, planes[1], nodes, n);
        }
    });
}

TEST(KernelCheck, MotionAndAlignment)
{
    for_each_case([](Case c) {
        const int32_t n = c.count;
        constexpr int32_t kRows = 3;
        Guarded a = c.bytes(kRows * n), b = c.bytes(kRows * (n + 5)), above = c.bytes(4 * n, 4);
        for (int32_t b_stride : {n + 5, 0})
            c.check_result(KERNEL(motion, sad_area), FrameArea{a.data(), n}, FrameArea{b.data(), b_stride}, n,
                           kRows);
        c.check_result(KERNEL(motion, sad_const_row), a.data(), uint8_t{77}, n);
        c.check(KERNEL(align, integral_row), n, above.as<uint32_t>(), a.data(), n);
        c.check(KERNEL(align, integral_row), n, nullptr, a.data(), n);  // of the first row
        for (int32_t shift : {0, 3, 11}) {
            const AreaPair areas = {a.data(), n, 200, b.data(), n + 5, 3, n, kRows};
            c.check_result(KERNEL(align, correlate_areas), areas, shift);
        }
    });
}

// As large as they get, and wide enough to fill what sums on the way have room for.
TEST(KernelCheck, SumsOfWideRows)
{
    for (int32_t width : {2064, 4133}) {
        Case ones(width, Edge::kEnd, Fill::kOnes), zeros(width, Edge::kStart, Fill::kZeros);
        Guarded a = ones.bytes(2 * width), b = zeros.bytes(2 * width);
        ones.check_result(KERNEL(motion, sad_area), FrameArea{a.data(), width}, FrameArea{b.data(), width},
                          width, 2);
        ones.check_result(KERNEL(motion, sad_const_row), a.data(), uint8_t{0}, width);
        const AreaPair areas = {a.data(), width, 0, b.data(), width, 255, width, 2};
        ones.check_result(KERNEL(align, correlate_areas), areas, 0);
    }
}

TEST(KernelCheck, MatchingOfPatches)
{
    for_each_case([](Case c) {
        const int32_t n = c.count;
        constexpr int32_t kRows = 3;
        // Not larger than in the callers of the kernel, so that the sums fit.
        const auto limit = [](Guarded& block, int32_t count, int32_t most) {
            for (int32_t i = 0; i < count; ++i)
                block.as<int16_t>()[i] = static_cast<int16_t>(block.as<int16_t>()[i] % most);
        };
        constexpr int32_t kMostShifts = 5 * kShiftGroup;
        const int32_t wide = n + kMostShifts - 1;
        Guarded a = c.bytes(2 * kRows * n, 2), b = c.bytes(2 * kRows * wide, 2);
        limit(a, kRows * n, 1021);
        limit(b, kRows * wide, 1021);
        const PairedRows apart = {a.as<int16_t>(), n, b.as<int16_t>(), wide, n, kRows};
        c.check_result(KERNEL(match, dot_product), apart);
        limit(a, kRows * n, kMostCorrelated + 1);
        limit(b, kRows * wide, kMostCorrelated + 1);
        const PairedRows both = {b.as<int16_t>(), wide, a.as<int16_t>(), n, n, kRows};
        for (int32_t shifts : {kShiftGroup, 2 * kShiftGroup, kMostShifts})
            c.check(KERNEL(match, correlate_shifts), shifts, both, shifts);
    });
}

// Patches of all sides, shapes from a third of the size to thrice, turned and mirrored ones, up to
// the edges of pictures of which some are too small for vectors.
TEST(KernelCheck, PatchesOfPictures)
{
    constexpr int32_t kOne = 1 << 16;
    for_each_case([](Case c) {
        const int32_t width = 2 + c.count % 45, height = 2 + c.random()->below(40), side = 1 + c.count % 18;
        const int32_t stride = width + c.random()->below(3);
        Guarded pixels = c.bytes(stride * (height - 1) + width);
        for (int32_t wild : {0, kOne / 90, kOne / 50, kOne / 20, kOne / 4, 3 * kOne}) {
            const auto off = [&] { return c.random()->below(2 * wild + 1) - wild; };
            const int32_t upright = wild > kOne ? 0 : kOne;
            PatchPlaces places = {0, 0, upright + off(), off(), off(), upright + off(), side};
            // Shrunk until it fits, then laid anywhere inside: often at an edge.
            const auto lay = [&](int32_t* right, int32_t* down, int32_t pixels_there) {
                const int32_t room = (pixels_there - 1) * kOne - 1;
                const auto reach = [&] { return (side - 1) * (std::abs(*right) + std::abs(*down)); };
                while (reach() > room) {
                    *right /= 2;
                    *down /= 2;
                }
                const int32_t before = (side - 1) * (std::min(*right, 0) + std::min(*down, 0));
                const int32_t left = room - reach();
                const int32_t near = std::min(left, 4 * kOne);
                const int32_t at[] = {0, left, left - c.random()->below(near + 1),
                                      c.random()->below(left + 1)};
                return at[c.random()->below(4)] - before;
            };
            places.x = lay(&places.right_x, &places.down_x, width);
            places.y = lay(&places.right_y, &places.down_y, height);
            const PatchPlane plane = {pixels.data(), stride, width, height};
            c.check(KERNEL(match, sample_patch), side * side, plane, places);
        }
    });
}

// A level is chosen only with all of its features; this machine's own do not matter.
TEST(KernelCheck, LevelsAreChosenByAllOfTheirFeatures)
{
    std::vector<const Kernels*> want = {&kScalarKernels};  // by sets of features
#if defined(__i386__) || defined(__x86_64__)
    constexpr uint32_t kSse2 = 1, kSsse3 = 2, kAvx2 = 4;
    want.resize(8, &kScalarKernels);
    want[kSse2] = want[kSse2 + kAvx2] = &kSse2Kernels;
    want[kSse2 + kSsse3] = &kSsse3Kernels;
    want[kSse2 + kSsse3 + kAvx2] = &kAvx2Kernels;
#elif defined(OZR_IS_ARM)
    want.resize(9, &kScalarKernels);
    want[8] = &kNeonKernels;
#endif
    for (uint32_t features = 0; features < want.size(); ++features)
        EXPECT_EQ(best_for(features), want[features]) << features;
    EXPECT_EQ(kLevels[0], &kScalarKernels);
}

// A table is its stages' pointers, one behind the other; those that no level fills would be called
// as null pointers. The log shows the levels that this machine checked.
TEST(KernelCheck, LevelsHaveEveryKernel)
{
    for (const Kernels* level : levels_of_this_machine())
        std::cout << "run on this machine: " << level->level << "\n";
    constexpr size_t kKernels = (sizeof(Kernels) - offsetof(Kernels, resample)) / sizeof(void*);
    for (const Kernels* const* level = kLevels; *level != nullptr; ++level) {
        void* kernels[kKernels];
        memcpy(kernels, &(*level)->resample, sizeof(kernels));
        EXPECT_EQ(std::count(kernels, kernels + kKernels, nullptr), 0) << (*level)->level;
    }
}
