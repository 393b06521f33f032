#include "kernel_passes.h"

#include <iterator>
#include <map>
#include <memory>

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
        zeros.resize(static_cast<size_t>(width) * static_cast<size_t>(height) * 2);  // all sums fit
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
    Bytes zeros;
    Bytes out;
};

uint8_t* row(Bytes& bytes, int32_t y, int32_t stride)
{
    return bytes.data() + static_cast<ptrdiff_t>(y) * stride;
}

// What the heap gives is aligned.
template <class Number>
Number* numbers(Bytes& bytes)
{
    return static_cast<Number*>(static_cast<void*>(bytes.data()));
}

uint16_t* row16(Bytes& bytes, int32_t y, int32_t width)
{
    return numbers<uint16_t>(bytes) + static_cast<ptrdiff_t>(y) * width;
}

uint32_t* row32(Bytes& bytes, int32_t y, int32_t width)
{
    return numbers<uint32_t>(bytes) + static_cast<ptrdiff_t>(y) * width;
}

// The passes of all kernels over pictures of one size.
class Passes
{
public:
    Passes(Plane& plane, std::vector<KernelPass>* list) : plane_(plane), list_(list) {}

    // Adds the kernel at the levels that have a function of their own. `moved` is the sum of the
    // bytes that one pass over the picture reads and writes; `pass` is handed the function.
    template <class Stage, class Kernel, class Pass>
    void add(KernelEntry<Stage, Kernel> kernel, int64_t moved, Pass pass)
    {
        Plane& plane = plane_;
        std::vector<Kernel> seen;
        for (const ozr::kernels::Kernels* level : bench_levels()) {
            const Kernel function = kernel.of(*level);
            if (!seen.empty() && seen.back() == function)
                continue;
            seen.push_back(function);
            list_->push_back({kernel.name, level->level, {plane.width, plane.height}, moved, [=, &plane] {
                                  plane.fill();
                                  pass(function);
                              }});
        }
    }

    Plane& plane() { return plane_; }

private:
    Plane& plane_;
    std::vector<KernelPass>* list_;
};

// Takes a result, so that it counts as used.
void keep(int64_t result)
{
    static volatile int64_t kept;
    kept = result;
    (void)kept;
}

template <class Row>
void each_row(int32_t rows, Row do_row)
{
    for (int32_t y = 0; y < rows; ++y)
        do_row(y);
}

void add_resampling(Passes* passes)
{
    Plane& p = passes->plane();
    const int32_t w = p.width;
    const int32_t h = p.height;
    const int64_t n = int64_t{w} * h;
    // As in a preview frame: a quarter of the size.
    const int32_t quarter = w / 4;
    passes->add(KERNEL(resample, gray), n * 9 / 16, [&p, w, h, quarter](auto f) {
        f(p.out.data(), quarter, {p.a.data(), w, 4092, 4091, 0, quarter, h / 4});
    });
    passes->add(KERNEL(resample, yuyv), n * 17 / 16, [&p, w, h, quarter](auto f) {
        f(p.out.data(), quarter, {p.a.data(), 2 * w, 4092, 4091, 0, quarter, h / 4});
    });
    passes->add(KERNEL(resample, pairs_row), n * 5 / 2, [&p, w, h](auto f) {
        each_row(h, [&](int32_t y) {
            f(row(p.out, y, w), w, {{row(p.a, y, 2 * w), w - 1}, {row(p.a, y + 1, 2 * w), w - 1}, 300},
              kStep);
        });
    });
    passes->add(KERNEL(resample, rgb), n * 27 / 16, [&p, w, h, quarter](auto f) {
        f(p.out.data(), 3 * quarter, {p.a.data(), 3 * w, 4092, 4091, 0, quarter, h / 4});
    });
    passes->add(KERNEL(resample, nearest_gray_row), n * 5 / 2, [&p, w, h](auto f) {
        each_row(h, [&](int32_t y) { f(row(p.out, y, w), w, row(p.a, y, 2 * w), kStep); });
    });
    passes->add(KERNEL(resample, sample_bytes_row), n * 3, [&p, w, h](auto f) {
        each_row(h, [&](int32_t y) { f(row(p.out, y, w), row(p.a, y, 2 * w), w, 2); });
    });
    passes->add(KERNEL(resample, yuyv_luma_row), n * 3, [&p, w, h](auto f) {
        each_row(h, [&](int32_t y) { f(row(p.out, y, w), row(p.a, y, 2 * w), w); });
    });
    passes->add(KERNEL(resample, half_gray_row), n * 5 / 4, [&p, w, h](auto f) {
        each_row(h / 2, [&](int32_t y) {
            f(row(p.out, y, w / 2), row(p.a, 2 * y, w), row(p.a, 2 * y + 1, w), w / 2);
        });
    });
    passes->add(KERNEL(resample, half_pairs_row), n * 5 / 4, [&p, w, h](auto f) {
        each_row(h / 2, [&](int32_t y) {
            f(row(p.out, y, w / 2), row(p.a, 2 * y, w), row(p.a, 2 * y + 1, w), w / 4);
        });
    });
}

void add_alignment(Passes* passes)
{
    Plane& p = passes->plane();
    const int32_t w = p.width;
    const int32_t h = p.height;
    const int64_t n = int64_t{w} * h;
    passes->add(KERNEL(motion, sad_area), 2 * n, [&p, w, h](auto f) {
        keep(f({p.a.data(), w}, {p.b.data(), w}, w, h));
    });
    passes->add(KERNEL(motion, sad_const_row), n,
                [&p, w, h](auto f) { each_row(h, [&](int32_t y) { keep(f(row(p.a, y, w), 100, w)); }); });
    passes->add(KERNEL(align, integral_row), 9 * n, [&p, w, h](auto f) {
        each_row(h, [&](int32_t y) {
            f(row32(p.out, y, w), y > 0 ? row32(p.out, y - 1, w) : nullptr, row(p.a, y, w), w);
        });
    });
    passes->add(KERNEL(align, correlate_areas), 2 * n, [&p, w, h](auto f) {
        keep(f({p.a.data(), w, 128, p.b.data(), w, 127, w, h}, 8).ab);
    });
}

void add_projection(Passes* passes)
{
    Plane& p = passes->plane();
    const Size size = {p.width, p.height};
    passes->add(KERNEL(project, luma_row), projected_luma_bytes(size), [&p, size](auto f) {
        const PreparedRows& rows = prepared_rows(size);
        each_row(size.height, [&](int32_t y) {
            f(row(p.out, y, size.width), {p.a.data(), int64_t{size.width} * size.height, size.width},
              rows.luma(y), size.width / 8);
        });
    });
    passes->add(KERNEL(project, chroma_row), projected_chroma_bytes(size), [&p, size](auto f) {
        const PreparedRows& rows = prepared_rows(size);
        each_row(size.height / 2, [&](int32_t y) {
            f(row(p.out, y, size.width), p.a.data(), int64_t{size.width} * size.height / 2, rows.chroma(y),
              size.width / 8);
        });
    });
}

void add_projection_rows(Passes* passes)
{
    Plane& p = passes->plane();
    const int32_t w = p.width;
    const int32_t h = p.height;
    const int64_t n = int64_t{w} * h;
    const int32_t blocks = w / ozr::kernels::kBlock;
    passes->add(KERNEL(project, rows_of_curves), 7 * n, [&p, w, h, blocks](auto f) {
        const int32_t radius = 2 * w, scale = ozr::kernels::kPixel * radius;
        std::vector<ozr::kernels::ProjectionCurves> curves(static_cast<size_t>(blocks - blocks / 2));
        for (size_t i = 0; i < curves.size() * ozr::kernels::kBlock; ++i) {
            ozr::kernels::ProjectionCurves& at = curves[i / ozr::kernels::kBlock];
            const size_t k = i % ozr::kernels::kBlock;
            at.divisors[k] = radius - static_cast<int32_t>(i) / 2;
            at.steps[k] = scale / at.divisors[k];
            at.step_rests[k] = scale % at.divisors[k];
        }
        int32_t* const numbers_out = numbers<int32_t>(p.out);
        uint8_t* const rows_out = row(p.out, 8, w);
        each_row(h / 2, [&](int32_t) {
            f({{numbers_out, rows_out},
               {numbers_out + blocks, rows_out + w},
               numbers<int32_t>(p.zeros),
               w,
               h / 2,
               ozr::kernels::kPixel * h},
              curves.data(), blocks);
        });
    });
    passes->add(KERNEL(project, weights_row), 37 * n, [&p, h, blocks](auto f) {
        const PreparedRows& rows = prepared_rows({p.width, h});
        each_row(h, [&](int32_t y) { f(numbers<uint16_t>(p.out), rows.luma(y), blocks); });
    });
}

void add_composition(Passes* passes)
{
    Plane& p = passes->plane();
    const int32_t w = p.width;
    const int32_t h = p.height;
    const int64_t n = int64_t{w} * h;
    // The steps are kept, of the sums the last two rows.
    passes->add(KERNEL(seam, sum_row), 4 * n, [&p, w, h](auto f) {
        each_row(h, [&](int32_t y) {
            f(row16(p.out, y & 1, w), reinterpret_cast<int8_t*>(row(p.out, y + 4, w)),
              row16(p.out, (y & 1) ^ 1, w), {row(p.a, y, w), row(p.b, y, w), row(p.c, y, w), w});
        });
    });
    passes->add(KERNEL(blend, row), int64_t{64} * 3 * h, [&p, w, h](auto f) {
        each_row(h, [&](int32_t y) { f(row(p.out, y, w), row(p.a, y, w), 64, 1, 2); });
    });
    passes->add(KERNEL(blend, pairs_row), int64_t{64} * 3 * h, [&p, w, h](auto f) {
        each_row(h, [&](int32_t y) { f(row(p.out, y, w), row(p.a, y, w), 32, 1, 4); });
    });
}

void add_rotation(Passes* passes)
{
    Plane& p = passes->plane();
    const int32_t w = p.width;
    const int32_t h = p.height;
    const int64_t n = int64_t{w} * h;
    const auto bytes = [&p, w, h](auto f) { f(p.out.data(), h, {p.a.data(), w, w, h}); };
    const auto pairs = [&p, w, h](auto f) { f(p.out.data(), h, {p.a.data(), w, w / 2, h / 2}); };
    passes->add(KERNEL(rotate, bytes_cw), 2 * n, bytes);
    passes->add(KERNEL(rotate, bytes_ccw), 2 * n, bytes);
    passes->add(KERNEL(rotate, pairs_cw), n, pairs);
    passes->add(KERNEL(rotate, pairs_ccw), n, pairs);
}

void add_to_rgba(Passes* passes)
{
    Plane& p = passes->plane();
    const int32_t w = p.width;
    const int32_t h = p.height;
    const int64_t n = int64_t{w} * h;
    const auto semi_planar = [&p, w, h](auto f) {
        each_row(h, [&](int32_t y) { f(row(p.out, y, 4 * w), row(p.a, y, w), row(p.b, y / 2, w), w / 2); });
    };
    passes->add(KERNEL(colour, yvu_to_rgba_row), n * 11 / 2, semi_planar);
    passes->add(KERNEL(colour, yuv_to_rgba_row), n * 11 / 2, semi_planar);
    passes->add(KERNEL(colour, planar_to_rgba_row), n * 11 / 2, [&p, w, h](auto f) {
        each_row(h, [&](int32_t y) {
            f(row(p.out, y, 4 * w), row(p.a, y, w), row(p.b, y / 2, w / 2), row(p.c, y / 2, w / 2), w / 2);
        });
    });
    passes->add(KERNEL(colour, yuyv_to_rgba_row), n * 6, [&p, w, h](auto f) {
        each_row(h, [&](int32_t y) { f(row(p.out, y, 4 * w), row(p.a, y, 2 * w), w / 2); });
    });
    passes->add(KERNEL(colour, gray_to_rgba_row), n * 5, [&p, w, h](auto f) {
        each_row(h, [&](int32_t y) { f(row(p.out, y, 4 * w), row(p.a, y, w), w); });
    });
}

void add_from_rgba(Passes* passes)
{
    Plane& p = passes->plane();
    const int32_t w = p.width;
    const int32_t h = p.height;
    const int64_t n = int64_t{w} * h;
    passes->add(KERNEL(colour, rgba_to_gray_row), n * 5, [&p, w, h](auto f) {
        each_row(h, [&](int32_t y) { f(row(p.out, y, w), row(p.a, y, 4 * w), w); });
    });
    passes->add(KERNEL(colour, rgba_to_luma_row), n * 5, [&p, w, h](auto f) {
        each_row(h, [&](int32_t y) { f(row(p.out, y, w), row(p.a, y, 4 * w), w, 1); });
    });
    const auto chroma_pairs = [&p, w, h](auto f) {
        each_row(h, [&](int32_t y) { f(row(p.out, y, w), row(p.a, y, 4 * w), w / 2); });
    };
    passes->add(KERNEL(colour, rgba_to_uv_row), n * 5, chroma_pairs);
    passes->add(KERNEL(colour, rgba_to_vu_row), n * 5, chroma_pairs);
    passes->add(KERNEL(colour, rgba_to_u_v_rows), n * 5, [&p, w, h](auto f) {
        each_row(
            h, [&](int32_t y) { f(row(p.out, y, w), row(p.out, y, w) + w / 2, row(p.a, y, 4 * w), w / 2); });
    });
    passes->add(KERNEL(colour, rgba_to_yuyv_row), n * 6, [&p, w, h](auto f) {
        each_row(h, [&](int32_t y) { f(row(p.out, y, 2 * w), row(p.a, y, 4 * w), w / 2); });
    });
}

void add_toolkit(Passes* passes)
{
    Plane& p = passes->plane();
    const int32_t w = p.width;
    const int32_t h = p.height;
    const int64_t n = int64_t{w} * h;
    const auto mirror = [&p, w, h](auto f) { each_row(h, [&](int32_t y) { f(row(p.out, y, w), w); }); };
    passes->add(KERNEL(mirror, bytes_row), 2 * n, mirror);
    passes->add(KERNEL(mirror, pairs_row), 2 * n, mirror);
    passes->add(KERNEL(mirror, quads_row), 8 * n,
                [&p, w, h](auto f) { each_row(h, [&](int32_t y) { f(row(p.out, y, 4 * w), w); }); });
    passes->add(KERNEL(warp, row), 2 * n, [&p, w, h](auto f) {
        const ozr::kernels::Warp warp = {p.a.data(), int64_t{w} * h - 1, w, 1, w, h, 1000, 62500, 990, 14};
        each_row(h, [&](int32_t y) { f(row(p.out, y, w), w, warp, -14 * y, 990 * y); });
    });
    passes->add(KERNEL(warp, line_gray_row), 2 * n, [&p, w, h](auto f) {
        const int64_t one = int64_t{1} << ozr::kernels::kLineFracBits;
        const ozr::kernels::Line line = {p.a.data(), w, w, h, one * 99 / 100, one / 70};
        each_row(h, [&](int32_t y) { f(row(p.out, y, w), w, line, 0, y * one); });
    });
    passes->add(KERNEL(census, run), 3 * n, [&p, w, h](auto f) {
        f(numbers<uint16_t>(p.out), p.a.data(), static_cast<uint32_t>(w),
          static_cast<uint32_t>(w) * static_cast<uint32_t>(h - 2) - 2);
    });
}

// A picture drawn with a slight turn.
void add_drawing(Passes* passes)
{
    Plane& p = passes->plane();
    const int32_t w = p.width;
    const int32_t h = p.height;
    const int64_t n = int64_t{w} * h;
    const auto draw = [&p, w](auto f, int32_t rows, const ozr::kernels::DrawPlane& plane) {
        const int32_t blocks = w / ozr::kernels::kDrawBlock - 2;
        std::vector<int32_t> xs, ys;
        const std::vector<int16_t> gains(static_cast<size_t>(blocks) + 1, 8000), shifts(gains.size(), 20);
        for (int32_t b = 0; b <= blocks; ++b) {
            xs.push_back((8 * b + 4) << ozr::kernels::kDrawPlaceBits);
            ys.push_back((4 << ozr::kernels::kDrawPlaceBits) + b * 100);
        }
        each_row(rows, [&](int32_t y) {
            for (int32_t& place : ys)
                place += 980;
            f(row(p.out, y, w), plane, {xs.data(), ys.data(), gains.data(), {shifts.data(), shifts.data()}},
              blocks);
        });
    };
    passes->add(KERNEL(draw, luma_row), 2 * n, [&p, w, h, draw](auto f) {
        draw(f, h, {p.a.data(), w, w, h});
    });
    passes->add(KERNEL(draw, chroma_row), n, [&p, w, h, draw](auto f) {
        draw(f, h / 2, {p.a.data(), w, w / 2, h / 2});
    });
}

void add_matching(Passes* passes)
{
    Plane& p = passes->plane();
    const int32_t w = p.width;
    const int32_t h = p.height;
    const int64_t n = int64_t{w} * h;
    const auto words = [](Bytes& bytes) { return numbers<int16_t>(bytes); };
    passes->add(KERNEL(match, dot_product), 4 * n, [&p, w, h, words](auto f) {
        keep(f({words(p.zeros), 16, words(p.b), 16, 16, w * h / 16}));
    });
    passes->add(KERNEL(match, sample_patch), 2 * n, [&p, w, h](auto f) {
        constexpr int32_t kSide = 17, kOne = 1 << 16;
        int16_t patch[kSide * kSide];
        for (int32_t y = 0; y + kSide + 4 < h; y += kSide) {
            for (int32_t x = 0; x + kSide + 4 < w; x += kSide)
                f(patch, {p.a.data(), w, w, h},
                  {x * kOne + 9999, y * kOne + 9999, kOne + 999, 999, -999, kOne - 999, kSide});
        }
        keep(patch[0]);
    });
    passes->add(KERNEL(match, correlate_shifts), 4 * n, [&p, w, h, words](auto f) {
        int32_t sums[2 * ozr::kernels::kShiftGroup];
        const int32_t shifts = static_cast<int32_t>(std::size(sums));
        f(sums, {words(p.zeros), w, words(p.b), w, w - shifts, h}, shifts);
        keep(sums[0]);
    });
}

}  // namespace

std::vector<KernelPass> kernel_passes(Size size)
{
    static std::map<int32_t, std::unique_ptr<Plane>> planes;  // kept: passes work on them later
    std::unique_ptr<Plane>& plane = planes[size.width];
    plane = std::make_unique<Plane>(size.width, size.height);
    std::vector<KernelPass> list;
    Passes passes(*plane, &list);
    add_resampling(&passes);
    add_alignment(&passes);
    add_projection(&passes);
    add_projection_rows(&passes);
    add_composition(&passes);
    add_rotation(&passes);
    add_to_rgba(&passes);
    add_from_rgba(&passes);
    add_toolkit(&passes);
    add_drawing(&passes);
    add_matching(&passes);
    return list;
}
