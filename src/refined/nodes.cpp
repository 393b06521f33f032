#include "refined/nodes.h"

#include <utility>

#include "refined/elementary.h"

namespace ozr::refined
{

namespace
{

int32_t _between(int32_t above, int32_t below, int32_t part)
{
    return above + static_cast<int32_t>((int64_t{below} - above) * part / kNodeParts);
}

// From Q14 pixels of the picture to Q10 pixels of the reduced one, whose first pixel is the mean of several.
int32_t _reduced(int32_t place, int32_t level_bits)
{
    constexpr int32_t kHalf = 1 << (kNodePlaceBits - 1);
    return (((place + kHalf) >> level_bits) - kHalf) >> (kNodePlaceBits - kernels::kDrawPlaceBits);
}

}  // namespace

PanoResult NodeRows::init(int32_t nodes)
{
    for (Exact* exact : {&above_, &below_}) {
        exact->places = make_buffer<NodePlace>(nodes);
        exact->gain = make_buffer<int16_t>(nodes);
        if (!exact->places || !exact->gain)
            return kPanoNoMemory;
    }
    x_ = make_buffer<int32_t>(nodes);
    y_ = make_buffer<int32_t>(nodes);
    gain_ = make_buffer<int16_t>(nodes);
    for (Buffer<int16_t>& shift : shift_)
        shift = make_buffer<int16_t>(nodes);
    return x_ && y_ && gain_ && shift_[0] && shift_[1] ? kPanoSuccess : kPanoNoMemory;
}

void NodeRows::advance(const View& view, const Heading* headings, double height, const NodeRange& range)
{
    std::swap(above_, below_);
    NodePlace* places = below_.places.get();
    int16_t* gains = below_.gain.get();
    for (int32_t node = range.first; node < range.end; ++node)
        places[node] = view.place(headings[node], height, &gains[node]);
}

void NodeRows::interpolate(int32_t part, int32_t level_bits, const NodeRange& range)
{
    const NodePlace *above = above_.places.get(), *below = below_.places.get();
    const int16_t *gain_above = above_.gain.get(), *gain_below = below_.gain.get();
    for (int32_t node = range.first; node < range.end; ++node) {
        x_.get()[node] = _reduced(_between(above[node].x, below[node].x, part), level_bits);
        y_.get()[node] = _reduced(_between(above[node].y, below[node].y, part), level_bits);
        gain_.get()[node] = static_cast<int16_t>(_between(gain_above[node], gain_below[node], part));
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
