#include "refined/nodes.h"

#include <algorithm>

#include "refined/elementary.h"

namespace ozr::refined
{

namespace
{

// From an exact row to the next: two parts for each row of the drawing.
constexpr int32_t kPartBits = 5;
static_assert(1 << kPartBits == 2 * kNodeRows);

// Nodes that are further apart are beyond the picture; within these limits 32 bits hold a step
// times all parts.
int32_t _step(int32_t above, int32_t below)
{
    constexpr int32_t kMost = 1 << 25;
    return std::min(std::max(below - above, -kMost), kMost);
}

// Places `part` parts below the row above: from Q14 pixels of the picture to Q10 pixels of the
// reduced one, whose first pixel is the mean of several.
void _places(int32_t* __restrict dst, const int32_t* __restrict above, const int32_t* __restrict step,
             int32_t part, int32_t level_bits)
{
    constexpr int32_t kHalf = 1 << (kNodePlaceBits - 1);
    for (int32_t i = 0; i < kNodesAtOnce; ++i) {
        const int32_t place = above[i] + (step[i] * part >> kPartBits);
        dst[i] = (((place + kHalf) >> level_bits) - kHalf) >> (kNodePlaceBits - kernels::kDrawPlaceBits);
    }
}

void _gains(int16_t* __restrict dst, const int32_t* __restrict above, const int32_t* __restrict step,
            int32_t part)
{
    for (int32_t i = 0; i < kNodesAtOnce; ++i)
        dst[i] = static_cast<int16_t>(above[i] + (step[i] * part >> kPartBits));
}

}  // namespace

bool NodeRows::Between::init(int32_t nodes)
{
    above = make_buffer<int32_t>(nodes);
    step = make_buffer<int32_t>(nodes);
    return above && step;
}

void NodeRows::Between::set(int32_t node, int32_t from, int32_t to)
{
    above.get()[node] = from;
    step.get()[node] = _step(from, to);
}

PanoResult NodeRows::init(int32_t nodes)
{
    const int32_t whole = whole_groups(nodes);
    next_ = make_buffer<NodePlace>(nodes);
    next_gain_ = make_buffer<int16_t>(nodes);
    x_ = make_buffer<int32_t>(whole);
    y_ = make_buffer<int32_t>(whole);
    gain_ = make_buffer<int16_t>(whole);
    for (Buffer<int16_t>& shift : shift_)
        shift = make_buffer<int16_t>(whole);
    return x_between_.init(whole) && y_between_.init(whole) && gain_between_.init(whole) && next_ &&
                   next_gain_ && x_ && y_ && gain_ && shift_[0] && shift_[1]
               ? kPanoSuccess
               : kPanoNoMemory;
}

void NodeRows::advance(const View& view, const Heading* headings, double height, const Interval& range)
{
    for (int32_t node = range.first; node < range.end; ++node) {
        const NodePlace above = next_.get()[node];
        int16_t gain;
        const NodePlace below = view.place(headings[node], height, &gain);
        x_between_.set(node, above.x, below.x);
        y_between_.set(node, above.y, below.y);
        gain_between_.set(node, next_gain_.get()[node], gain);
        next_.get()[node] = below;
        next_gain_.get()[node] = gain;
    }
}

void NodeRows::interpolate(int32_t part, int32_t level_bits, const Interval& range)
{
    for (int32_t i = first_of_group(range.first); i < range.end; i += kNodesAtOnce) {
        _places(x_.get() + i, x_between_.above.get() + i, x_between_.step.get() + i, part, level_bits);
        _places(y_.get() + i, y_between_.above.get() + i, y_between_.step.get() + i, part, level_bits);
        _gains(gain_.get() + i, gain_between_.above.get() + i, gain_between_.step.get() + i, part);
    }
}

kernels::DrawNodes NodeRows::at(int32_t node) const
{
    return {x_.get() + node,
            y_.get() + node,
            gain_.get() + node,
            {shift_[0].get() + node, shift_[1].get() + node}};
}

Buffer<Heading> make_headings(double radius, double first, double step, int32_t count)
{
    Buffer<Heading> headings = make_unfilled_buffer<Heading>(count);
    for (int32_t i = 0; headings && i < count; ++i) {
        const double angle = (first + step * i) / radius;
        headings.get()[i] = {sine(angle), cosine(angle)};
    }
    return headings;
}

}  // namespace ozr::refined
