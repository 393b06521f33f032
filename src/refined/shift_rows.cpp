// Shifts are linear between the points of a correction, and so between the nodes.
#include "refined/shift_rows.h"

#include <algorithm>

namespace ozr::refined
{

namespace
{

// A point is the mean of 2 x 2 points of the lattice, so it lies half a lattice step in from its
// own step's start.
int32_t _inset(const Corrections& corrections)
{
    return (1 << corrections.step_bits) / 4;
}

// Pixels below the first point of the correction.
int32_t _down(const Corrections& corrections, int32_t row)
{
    return std::max(row - _inset(corrections), 0);
}

// Shifts of a row of the correction at the nodes, times the pixels of a step.
void _shifts_at_nodes(int32_t* dst, const Corrections& corrections, const Correction& correction,
                      const int16_t* shifts, const NodeRange& range)
{
    const int32_t bits = corrections.step_bits, step = 1 << bits;
    const auto at = [&](int32_t column) {
        return int32_t{shifts[std::clamp(column - correction.first, 0, correction.columns - 1)]};
    };
    int32_t place = range.first * kernels::kDrawBlock - _inset(corrections);
    for (int32_t node = range.first; node < range.end; ++node, place += kernels::kDrawBlock) {
        const int32_t across = place & (step - 1), column = place >> bits;
        dst[node] = at(column) * (step - across) + at(column + 1) * across;
    }
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

PanoResult ShiftRows::init(int32_t nodes)
{
    for (int32_t channel = 0; channel < kChannels; ++channel) {
        above_[channel] = make_buffer<int32_t>(whole_groups(nodes));
        below_[channel] = make_buffer<int32_t>(whole_groups(nodes));
        if (!above_[channel] || !below_[channel])
            return kPanoNoMemory;
    }
    return kPanoSuccess;
}

bool ShiftRows::needs(const Corrections& corrections, int32_t row) const
{
    return _down(corrections, row) >> corrections.step_bits != prepared_;
}

// The row below is the one above a step later, as far as it was made.
void ShiftRows::prepare(const Corrections& corrections, int32_t picture, int32_t row, const NodeRange& range)
{
    const Correction& correction = corrections.at[picture];
    const int32_t before = prepared_;
    prepared_ = _down(corrections, row) >> corrections.step_bits;
    const int32_t above = std::min(prepared_, correction.rows - 1);
    const int32_t below = std::min(above + 1, correction.rows - 1);
    const bool is_next = before >= 0 && prepared_ == before + 1;
    const NodeRange made = is_next ? made_ : NodeRange{range.first, range.first};
    made_ = range;
    for (int32_t channel = 0; channel < kChannels; ++channel) {
        const int16_t* shifts = correction.shift[channel].get();
        const int16_t* shifts_above = shifts + int64_t{above} * correction.columns;
        std::swap(above_[channel], below_[channel]);
        _shifts_at_nodes(above_[channel].get(), corrections, correction, shifts_above,
                         {range.first, std::min(made.first, range.end)});
        _shifts_at_nodes(above_[channel].get(), corrections, correction, shifts_above,
                         {std::max(made.end, range.first), range.end});
        _shifts_at_nodes(below_[channel].get(), corrections, correction,
                         shifts + int64_t{below} * correction.columns, range);
    }
}

void ShiftRows::fill(int16_t* dst, const Corrections& corrections, int32_t channel, int32_t row,
                     const NodeRange& range) const
{
    const int32_t bits = corrections.step_bits, part = _down(corrections, row) & ((1 << bits) - 1);
    const int32_t *above = above_[channel].get(), *below = below_[channel].get();
    for (int32_t node = first_of_group(range.first); node < range.end; node += kNodesAtOnce)
        _mix(dst + node, above + node, below + node, part, bits);
}

}  // namespace ozr::refined
