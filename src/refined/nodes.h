// The nodes of a drawing: places in a picture are exact every eighth column and every sixteenth
// row, and run linearly in between.
#ifndef REFINED_NODES_H
#define REFINED_NODES_H

#include <stdint.h>

#include "image/pano_result.h"
#include "kernels/kernels.h"
#include "refined/interval.h"
#include "refined/view.h"
#include "support/buffer.h"

namespace ozr::refined
{

constexpr int32_t kNodeRows = 16;  // from one exact row to the next

// Rows of nodes are worked on in groups, and hold whole ones: the compiler makes vectors of loops
// whose length it knows.
constexpr int32_t kNodesAtOnce = 8;

inline int32_t whole_groups(int32_t nodes)
{
    return (nodes + kNodesAtOnce - 1) / kNodesAtOnce * kNodesAtOnce;
}

inline int32_t first_of_group(int32_t node)
{
    return node / kNodesAtOnce * kNodesAtOnce;
}

// The nodes of one row of a drawing, numbered from its first column, and those of the exact
// rows around it.
class NodeRows
{
public:
    PanoResult init(int32_t nodes);

    // Makes `range` of the next exact row; the one that was next is now the one above.
    void advance(const View& view, const Heading* headings, double height, const Interval& range);

    // The nodes `part` parts, half rows, below the exact row above, for a picture reduced by
    // 2^level_bits. Chroma is between rows. Shifts stay as they are.
    void interpolate(int32_t part, int32_t level_bits, const Interval& range);

    // Of the block that begins with a node.
    kernels::DrawNodes at(int32_t node) const;

    int16_t* shift(int32_t channel) { return shift_[channel].get(); }

private:
    // Numbers of the exact row above, and how much more there is in the exact row below.
    struct Between {
        Buffer<int32_t> above, step;
        bool init(int32_t nodes);
        void set(int32_t node, int32_t from, int32_t to);
    };
    Buffer<NodePlace> next_;
    Buffer<int16_t> next_gain_;
    Between x_between_, y_between_, gain_between_;
    Buffer<int32_t> x_, y_;
    Buffer<int16_t> gain_;
    Buffer<int16_t> shift_[2];
};

// The headings of `count` columns, `step` pixels apart, the first one at `first` pixels; null when
// memory is out.
Buffer<Heading> make_headings(double radius, double first, double step, int32_t count);

}  // namespace ozr::refined

#endif
