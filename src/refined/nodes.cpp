#include "refined/nodes.h"

#include <algorithm>

#include "refined/elementary.h"

namespace ozr::refined
{

namespace
{

// Nodes that lie further apart are beyond the picture; within these limits 32 bits hold a step times kNodeParts.
int32_t _step(int32_t above, int32_t below)
{
    constexpr int32_t kMost = 1 << 25;
    return std::min(std::max(below - above, -kMost), kMost);
}

int32_t _stepped(int32_t above, int32_t step, int32_t part)
{
    return above + (step * part >> kPartBits);
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
    next_ = make_buffer<NodePlace>(nodes);
    next_gain_ = make_buffer<int16_t>(nodes);
    nodes_ = make_buffer<Node>(nodes);
    x_ = make_buffer<int32_t>(nodes);
    y_ = make_buffer<int32_t>(nodes);
    gain_ = make_buffer<int16_t>(nodes);
    for (Buffer<int16_t>& shift : shift_)
        shift = make_buffer<int16_t>(nodes);
    return next_ && next_gain_ && nodes_ && x_ && y_ && gain_ && shift_[0] && shift_[1] ? kPanoSuccess
                                                                                        : kPanoNoMemory;
}

void NodeRows::advance(const View& view, const Heading* headings, double height, const NodeRange& range)
{
    for (int32_t node = range.first; node < range.end; ++node) {
        const NodePlace above = next_.get()[node];
        const int16_t gain_above = next_gain_.get()[node];
        int16_t gain;
        const NodePlace below = view.place(headings[node], height, &gain);
        nodes_.get()[node] = {above,
                              {_step(above.x, below.x), _step(above.y, below.y)},
                              gain_above,
                              static_cast<int16_t>(gain - gain_above)};
        next_.get()[node] = below;
        next_gain_.get()[node] = gain;
    }
}

void NodeRows::interpolate(int32_t part, int32_t level_bits, const NodeRange& range)
{
    const Node* nodes = nodes_.get();
    int32_t *x = x_.get(), *y = y_.get();
    int16_t* gain = gain_.get();
    for (int32_t i = range.first; i < range.end; ++i) {
        const Node& node = nodes[i];
        x[i] = _reduced(_stepped(node.place.x, node.step.x, part), level_bits);
        y[i] = _reduced(_stepped(node.place.y, node.step.y, part), level_bits);
        gain[i] = static_cast<int16_t>(node.gain + (node.gain_step * part >> kPartBits));
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
