// Every kernel at every level over one picture, and memcpy of the same number of bytes. The counter
// "moved" names the memcpy that a kernel is compared with.
#include "benchmarks.h"
#include "levels.h"
#include "prepared_core.h"
#include "support/kernel_entry.h"
#include "support/random.h"

namespace
{

using Bytes = std::vector<uint8_t>;

// Resampling from one and a half times the size: every row reads 1.5 widths of two rows, one of
// which the cache holds.
constexpr uint32_t kStep = 1536;

// The data of the kernels of one picture size, made when the first of them runs.
class Plane
{
public:
    Plane(int32_t columns, int32_t rows) : width(columns), height(rows) {}

    void fill()
    {
        if (!out.empty())
            return;
        Random random(static_cast<uint32_t>(width));
        for (Bytes* bytes : {&a, &b, &c, &out}) {
            bytes->resize(static_cast<size_t>(width) * static_cast<size_t>(height) * 4);
            for (uint8_t& byte : *bytes)
                byte = random.byte();
        }
    }

    const int32_t width;
    const int32_t height;
    Bytes a;
    Bytes b;
    Bytes c;
    Bytes out;
};

uint8_t* row(Bytes& bytes, int32_t y, int32_t stride)
{
    return bytes.data() + static_cast<ptrdiff_t>(y) * stride;
}

uint16_t* row16(Bytes& bytes, int32_t y, int32_t width)
{
    return reinterpret_cast<uint16_t*>(bytes.data()) + static_cast<ptrdiff_t>(y) * width;
}

uint32_t* row32(Bytes& bytes, int32_t y, int32_t width)
{
    return reinterpret_cast<uint32_t*>(bytes.data()) + static_cast<ptrdiff_t>(y) * width;
}

// Registers the kernel at the levels that have a function of their own. `moved` is the sum of the
// bytes that one pass over the picture reads and writes; `pass` is handed the function.
template <class Stage, class Kernel, class Pass>
void add(KernelEntry<Stage, Kernel> kernel, Plane& plane, int64_t moved, Pass pass)
{
    const std::string size = std::to_string(plane.width) + "x" + std::to_string(plane.height);
    std::vector<Kernel> seen;
    for (const ozr::kernels::Kernels* level : bench_levels()) {
        const Kernel function = kernel.of(*level);
        if (!seen.empty() && seen.back() == function)
            continue;
        seen.push_back(function);
        const std::string full = "kernel/" + std::string(kernel.name) + "/" + size + "/" + level->level;
        benchmark::RegisterBenchmark(full.c_str(), [=, &plane](benchmark::State& state) {
            plane.fill();
            pass(function);  // what it prepares is not timed, nor makes the first pass look slow
            for (auto _ : state) {
                pass(function);
                benchmark::ClobberMemory();
            }
            state.SetBytesProcessed(moved * static_cast<int64_t>(state.iterations()));
            state.counters["moved"] = static_cast<double>(moved);
        });
    }
    add_memcpy(moved / 2);
}

template <class Row>
void each_row(int32_t rows, Row do_row)
{
    for (int32_t y = 0; y < rows; ++y)
        do_row(y);
}

void add_resampling(Plane& p)
{
    const int32_t w = p.width;
    const int32_t h = p.height;
    const int64_t n = int64_t{w} * h;
    // As in a preview frame: a quarter of the size.
    const int32_t quarter = w / 4;
    add(KERNEL(resample, gray), p, n * 9 / 16, [&p, w, h, quarter](auto f) {
        f(p.out.data(), quarter, {p.a.data(), w, 4092, 4091, 0, quarter, h / 4});
    });
    add(KERNEL(resample, yuyv), p, n * 17 / 16, [&p, w, h, quarter](auto f) {
        f(p.out.data(), quarter, {p.a.data(), 2 * w, 4092, 4091, 0, quarter, h / 4});
    });
    add(KERNEL(resample, pairs_row), p, n * 5 / 2, [&p, w, h](auto f) {
        each_row(h, [&](int32_t y) {
            f(row(p.out, y, w), w, {row(p.a, y, 2 * w), w - 1}, {row(p.a, y + 1, 2 * w), w - 1}, kStep, 300);
        });
    });
    add(KERNEL(resample, rgb), p, n * 27 / 16, [&p, w, h, quarter](auto f) {
        f(p.out.data(), 3 * quarter, {p.a.data(), 3 * w, 4092, 4091, 0, quarter, h / 4});
    });
    add(KERNEL(resample, nearest_gray_row), p, n * 5 / 2, [&p, w, h](auto f) {
        each_row(h, [&](int32_t y) { f(row(p.out, y, w), w, row(p.a, y, 2 * w), kStep); });
    });
    add(KERNEL(resample, sample_bytes_row), p, n * 3, [&p, w, h](auto f) {
        each_row(h, [&](int32_t y) { f(row(p.out, y, w), row(p.a, y, 2 * w), w, 2); });
    });
    add(KERNEL(resample, yuyv_luma_row), p, n * 3,
        [&p, w, h](auto f) { each_row(h, [&](int32_t y) { f(row(p.out, y, w), row(p.a, y, 2 * w), w); }); });
    add(KERNEL(resample, half_gray_row), p, n * 5 / 4, [&p, w, h](auto f) {
        each_row(h / 2, [&](int32_t y) {
            f(row(p.out, y, w / 2), row(p.a, 2 * y, w), row(p.a, 2 * y + 1, w), w / 2);
        });
    });
}

void add_alignment(Plane& p)
{
    const int32_t w = p.width;
    const int32_t h = p.height;
    const int64_t n = int64_t{w} * h;
    add(KERNEL(motion, sad_area), p, 2 * n,
        [&p, w, h](auto f) { benchmark::DoNotOptimize(f(p.a.data(), w, p.b.data(), w, w, h)); });
    add(KERNEL(motion, sad_const_row), p, n, [&p, w, h](auto f) {
        each_row(h, [&](int32_t y) { benchmark::DoNotOptimize(f(row(p.a, y, w), 100, w)); });
    });
    add(KERNEL(align, integral_row), p, 9 * n, [&p, w, h](auto f) {
        each_row(h, [&](int32_t y) {
            f(row32(p.out, y, w), y > 0 ? row32(p.out, y - 1, w) : nullptr, row(p.a, y, w), w);
        });
    });
    add(KERNEL(align, correlate_areas), p, 2 * n, [&p, w, h](auto f) {
        benchmark::DoNotOptimize(f({p.a.data(), w, 128, p.b.data(), w, 127, w, h}, 8));
    });
}

void add_projection(Plane& p)
{
    const Size size = {p.width, p.height};
    add(KERNEL(project, luma_row), p, projected_luma_bytes(size), [&p, size](auto f) {
        const PreparedRows& rows = prepared_rows(size);
        each_row(size.height, [&](int32_t y) {
            f(row(p.out, y, size.width), p.a.data(), int64_t{size.width} * size.height, size.width,
              rows.luma(y), size.width / 8);
        });
    });
    add(KERNEL(project, chroma_row), p, projected_chroma_bytes(size), [&p, size](auto f) {
        const PreparedRows& rows = prepared_rows(size);
        each_row(size.height / 2, [&](int32_t y) {
            f(row(p.out, y, size.width), p.a.data(), int64_t{size.width} * size.height / 2, rows.chroma(y),
              size.width / 8);
        });
    });
}

void add_composition(Plane& p)
{
    const int32_t w = p.width;
    const int32_t h = p.height;
    const int64_t n = int64_t{w} * h;
    // The steps are kept, of the sums the last two rows.
    add(KERNEL(seam, sum_row), p, 4 * n, [&p, w, h](auto f) {
        each_row(h, [&](int32_t y) {
            f(row16(p.out, y & 1, w), reinterpret_cast<int8_t*>(row(p.out, y + 4, w)),
              row16(p.out, (y & 1) ^ 1, w), {row(p.a, y, w), row(p.b, y, w), row(p.c, y, w), w});
        });
    });
    add(KERNEL(blend, row), p, int64_t{64} * 3 * h, [&p, w, h](auto f) {
        each_row(h, [&](int32_t y) { f(row(p.out, y, w), row(p.a, y, w), 64, 1, 2); });
    });
    add(KERNEL(blend, pairs_row), p, int64_t{64} * 3 * h, [&p, w, h](auto f) {
        each_row(h, [&](int32_t y) { f(row(p.out, y, w), row(p.a, y, w), 32, 1, 4); });
    });
}

void add_rotation(Plane& p)
{
    const int32_t w = p.width;
    const int32_t h = p.height;
    const int64_t n = int64_t{w} * h;
    const auto bytes = [&p, w, h](auto f) { f(p.out.data(), h, p.a.data(), w, w, h); };
    const auto pairs = [&p, w, h](auto f) { f(p.out.data(), h, p.a.data(), w, w / 2, h / 2); };
    add(KERNEL(rotate, bytes_cw), p, 2 * n, bytes);
    add(KERNEL(rotate, bytes_ccw), p, 2 * n, bytes);
    add(KERNEL(rotate, pairs_cw), p, n, pairs);
    add(KERNEL(rotate, pairs_ccw), p, n, pairs);
}

void add_to_rgba(Plane& p)
{
    const int32_t w = p.width;
    const int32_t h = p.height;
    const int64_t n = int64_t{w} * h;
    const auto semi_planar = [&p, w, h](auto f) {
        each_row(h, [&](int32_t y) { f(row(p.out, y, 4 * w), row(p.a, y, w), row(p.b, y / 2, w), w / 2); });
    };
    add(KERNEL(colour, yvu_to_rgba_row), p, n * 11 / 2, semi_planar);
    add(KERNEL(colour, yuv_to_rgba_row), p, n * 11 / 2, semi_planar);
    add(KERNEL(colour, planar_to_rgba_row), p, n * 11 / 2, [&p, w, h](auto f) {
        each_row(h, [&](int32_t y) {
            f(row(p.out, y, 4 * w), row(p.a, y, w), row(p.b, y / 2, w / 2), row(p.c, y / 2, w / 2), w / 2);
        });
    });
    add(KERNEL(colour, yuyv_to_rgba_row), p, n * 6, [&p, w, h](auto f) {
        each_row(h, [&](int32_t y) { f(row(p.out, y, 4 * w), row(p.a, y, 2 * w), w / 2); });
    });
    add(KERNEL(colour, gray_to_rgba_row), p, n * 5,
        [&p, w, h](auto f) { each_row(h, [&](int32_t y) { f(row(p.out, y, 4 * w), row(p.a, y, w), w); }); });
}

void add_from_rgba(Plane& p)
{
    const int32_t w = p.width;
    const int32_t h = p.height;
    const int64_t n = int64_t{w} * h;
    add(KERNEL(colour, rgba_to_gray_row), p, n * 5,
        [&p, w, h](auto f) { each_row(h, [&](int32_t y) { f(row(p.out, y, w), row(p.a, y, 4 * w), w); }); });
    add(KERNEL(colour, rgba_to_luma_row), p, n * 5, [&p, w, h](auto f) {
        each_row(h, [&](int32_t y) { f(row(p.out, y, w), row(p.a, y, 4 * w), w, 1); });
    });
    const auto chroma_pairs = [&p, w, h](auto f) {
        each_row(h, [&](int32_t y) { f(row(p.out, y, w), row(p.a, y, 4 * w), w / 2); });
    };
    add(KERNEL(colour, rgba_to_uv_row), p, n * 5, chroma_pairs);
    add(KERNEL(colour, rgba_to_vu_row), p, n * 5, chroma_pairs);
    add(KERNEL(colour, rgba_to_u_v_rows), p, n * 5, [&p, w, h](auto f) {
        each_row(
            h, [&](int32_t y) { f(row(p.out, y, w), row(p.out, y, w) + w / 2, row(p.a, y, 4 * w), w / 2); });
    });
    add(KERNEL(colour, rgba_to_yuyv_row), p, n * 6, [&p, w, h](auto f) {
        each_row(h, [&](int32_t y) { f(row(p.out, y, 2 * w), row(p.a, y, 4 * w), w / 2); });
    });
}

void add_toolkit(Plane& p)
{
    const int32_t w = p.width;
    const int32_t h = p.height;
    const int64_t n = int64_t{w} * h;
    const auto mirror = [&p, w, h](auto f) { each_row(h, [&](int32_t y) { f(row(p.out, y, w), w); }); };
    add(KERNEL(mirror, bytes_row), p, 2 * n, mirror);
    add(KERNEL(mirror, pairs_row), p, 2 * n, mirror);
    add(KERNEL(mirror, quads_row), p, 8 * n,
        [&p, w, h](auto f) { each_row(h, [&](int32_t y) { f(row(p.out, y, 4 * w), w); }); });
    add(KERNEL(warp, row), p, 2 * n, [&p, w, h](auto f) {
        const ozr::kernels::Warp warp = {p.a.data(), int64_t{w} * h - 1, w, 1, w, h, 1000, 62500, 990, 14};
        each_row(h, [&](int32_t y) { f(row(p.out, y, w), w, warp, -14 * y, 990 * y); });
    });
    add(KERNEL(warp, line_gray_row), p, 2 * n, [&p, w, h](auto f) {
        const int64_t one = int64_t{1} << ozr::kernels::kLineFracBits;
        const ozr::kernels::Line line = {p.a.data(), w, w, h, one * 99 / 100, one / 70};
        each_row(h, [&](int32_t y) { f(row(p.out, y, w), w, line, 0, y * one); });
    });
    add(KERNEL(census, run), p, 3 * n, [&p, w, h](auto f) {
        f(reinterpret_cast<uint16_t*>(p.out.data()), p.a.data(), static_cast<uint32_t>(w),
          static_cast<uint32_t>(w) * static_cast<uint32_t>(h - 2) - 2);
    });
}

}  // namespace

void add_kernel_benchmarks()
{
    static Plane preview(1280, 960);
    add_resampling(preview);
    add_alignment(preview);
    add_projection(preview);
    add_composition(preview);
    add_rotation(preview);
    add_to_rgba(preview);
    add_from_rgba(preview);
    add_toolkit(preview);
    static Plane picture(4000, 3000);
    add_projection(picture);
    add_rotation(picture);
}
