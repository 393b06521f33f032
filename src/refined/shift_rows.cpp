// Shifts are linear between the points of a correction, and so between the nodes.
#include "refined/shift_rows.h"

#include <algorithm>

namespace ozr::refined
{

namespace
{

// A point of a correction is the mean of 2 x 2 points of the lattice, so it lies half a lattice
// step in from its own step's start.
int32_t _inset(int32_t step_bits)
{
    return (1 << step_bits) / 4;
}

// Shifts of a group of nodes, `part` of 2^bits pixels below the row above.
void _mix(int16_t* __restrict dst, const int32_t* __restrict above, const int32_t* __restrict below,
          int32_t part, int32_t bits)
{
    for (int32_t i = 0; i < kNodesAtOnce; ++i) {
        const int32_t whole = static_cast<int32_t>(static_cast<uint32_t>(above[i]) << bits);
        dst[i] = static_cast<int16_t>((whole + (below[i] - above[i]) * part) >> (2 * bits));
    }
}

}  // namespace

PanoResult ShiftRows::init(const Corrections& corrections, int32_t picture, int32_t nodes)
{
    step_bits_ = corrections.step_bits;
    correction_ = &corrections.at[picture];
    for (int32_t channel = 0; channel < kChannels; ++channel) {
        above_[channel] = make_buffer<int32_t>(whole_groups(nodes));
        below_[channel] = make_buffer<int32_t>(whole_groups(nodes));
        if (!above_[channel] || !below_[channel])
            return kPanoNoMemory;
    }
    return kPanoSuccess;
}

// Pixels below the first point of the correction.
int32_t ShiftRows::down(int32_t row) const
{
    return std::max(row - _inset(step_bits_), 0);
}

bool ShiftRows::needs(int32_t row) const
{
    return down(row) >> step_bits_ != prepared_;
}

// Shifts of a row of the correction at the nodes, times the pixels of a step.
void ShiftRows::at_nodes(int32_t* dst, const int16_t* shifts, const Interval& nodes) const
{
    const Correction& correction = *correction_;
    const int32_t bits = step_bits_, step = 1 << bits;
    const auto at = [&](int32_t column) {
        return int32_t{shifts[std::clamp(column - correction.first, 0, correction.columns - 1)]};
    };
    int32_t place = nodes.first * kernels::kDrawBlock - _inset(bits);
    for (int32_t node = nodes.first; node < nodes.end; ++node, place += kernels::kDrawBlock) {
        const int32_t across = place & (step - 1), column = place >> bits;
        dst[node] = at(column) * (step - across) + at(column + 1) * across;
    }
}

// The row above is the one that was below a step earlier, as far as that was made.
void ShiftRows::prepare(int32_t row, const Interval& nodes)
{
    const int32_t before = prepared_;
    prepared_ = down(row) >> step_bits_;
    const int32_t above = std::min(prepared_, correction_->rows - 1);
    const int32_t below = std::min(above + 1, correction_->rows - 1);
    const bool is_next = before >= 0 && prepared_ == before + 1;
    const Interval made = is_next ? made_ : Interval{nodes.first, nodes.first};
    made_ = nodes;
    for (int32_t channel = 0; channel < kChannels; ++channel) {
        const auto row_of = [&](int32_t y) {
            return correction_->shift[channel].get() + int64_t{y} * correction_->columns;
        };
        std::swap(above_[channel], below_[channel]);
        at_nodes(above_[channel].get(), row_of(above), {nodes.first, std::min(made.first, nodes.end)});
        at_nodes(above_[channel].get(), row_of(above), {std::max(made.end, nodes.first), nodes.end});
        at_nodes(below_[channel].get(), row_of(below), nodes);
    }
}

void ShiftRows::fill(int16_t* dst, int32_t channel, int32_t row, const Interval& nodes) const
{
    const int32_t part = down(row) & ((1 << step_bits_) - 1);
    const int32_t *above = above_[channel].get(), *below = below_[channel].get();
    for (int32_t node = first_of_group(nodes.first); node < nodes.end; node += kNodesAtOnce)
        _mix(dst + node, above + node, below + node, part, step_bits_);
}

}  // namespace ozr::refined
