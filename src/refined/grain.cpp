// Noise is measured by second differences across and down, which leave little of most pictures
// (Immerkaer), in small blocks spread over the picture: those with the least are the plain ones,
// which show noise alone.
#include "refined/grain.h"

#include <algorithm>

#include "kernels/draw.h"

namespace ozr::refined
{

namespace
{

constexpr int32_t kSide = 8;  // pixels of a block
constexpr int32_t kPixels = kSide * kSide;
constexpr int32_t kMostAlong = 16;  // blocks to a side
constexpr int32_t kLeastBlocks = 32;

// The weights are 1 -2 1 in both directions: over white noise, sums have (1 + 4 + 1)^2 times its
// variance.
constexpr double kGain = 36.0;

// One block in kPlainer is plainer than the one that is measured. In white noise, the variance is
// kOfPlain times what that block has.
constexpr int32_t kPlainer = 10;
constexpr double kOfPlain = 1.49;

// A camera cuts off what is darker or brighter: a block with more than kMostCut pixels of one such
// value shows less noise than there is.
constexpr int32_t kBlack = 16, kWhite = 235, kMostCut = 8;

bool _is_cut(const ConstPlane& luma, int32_t left, int32_t top)
{
    uint8_t darkest = 255, brightest = 0;
    int32_t of_darkest = 0, of_brightest = 0;
    for (int32_t y = top; y < top + kSide; ++y) {
        const uint8_t* row = luma.row(y) + left;
        darkest = std::min(darkest, *std::min_element(row, row + kSide));
        brightest = std::max(brightest, *std::max_element(row, row + kSide));
    }
    if (darkest > kBlack && brightest < kWhite)
        return false;
    for (int32_t y = top; y < top + kSide; ++y) {
        const uint8_t* row = luma.row(y) + left;
        of_darkest += static_cast<int32_t>(std::count(row, row + kSide, darkest));
        of_brightest += static_cast<int32_t>(std::count(row, row + kSide, brightest));
    }
    return (darkest <= kBlack && of_darkest > kMostCut) || (brightest >= kWhite && of_brightest > kMostCut);
}

// The squares of the second differences of a block, added up.
int32_t _roughness(const ConstPlane& luma, int32_t left, int32_t top)
{
    int32_t bends[kSide + 2][kSide];
    for (int32_t y = 0; y < kSide + 2; ++y) {
        const uint8_t* row = luma.row(top - 1 + y) + left;
        for (int32_t x = 0; x < kSide; ++x)
            bends[y][x] = row[x - 1] - 2 * row[x] + row[x + 1];
    }
    int32_t sum = 0;
    for (int32_t y = 0; y < kSide; ++y) {
        for (int32_t x = 0; x < kSide; ++x) {
            const int32_t bend = bends[y][x] - 2 * bends[y + 1][x] + bends[y + 2][x];
            sum += bend * bend;
        }
    }
    return sum;
}

}  // namespace

Grain measure_grain(const ConstPlane& luma)
{
    const int32_t columns = std::min((luma.width - 2) / kSide, kMostAlong);
    const int32_t rows = std::min((luma.height - 2) / kSide, kMostAlong);
    int32_t blocks[kMostAlong * kMostAlong];
    int32_t count = 0;
    double sum = 0.0;
    for (int32_t j = 0; j < rows; ++j) {
        for (int32_t i = 0; i < columns; ++i) {
            const int32_t left = 1 + (luma.width - 2) * i / columns, top = 1 + (luma.height - 2) * j / rows;
            if (_is_cut(luma, left, top))
                continue;
            blocks[count] = _roughness(luma, left, top);
            sum += blocks[count++];
        }
    }
    if (count < kLeastBlocks)
        return {0.0, 0.0};
    int32_t* plain = blocks + count / kPlainer;
    // An order of our own: of plain numbers alone, the library would define functions by their
    // common names.
    std::nth_element(blocks, plain, blocks + count, [](int32_t a, int32_t b) { return a < b; });
    return {*plain * kOfPlain / (kGain * kPixels), sum / count / (kGain * kPixels)};
}

int32_t softness_for(const Grain& grain)
{
    // What soft weights blur, of what the picture shows, and what they take off the noise: both as
    // measured against the sharpest, in square levels of the panorama. Noise is seen first; but
    // where it is faint, it is edges that are seen.
    constexpr double kBlurred[] = {0.0, 0.53, 1.44}, kTakenOff[] = {0.0, 0.21, 0.35}, kNoiseCounts = 1.3;
    constexpr double kEdges[] = {0.0, 0.1, 0.6};
    const double shown = std::max(grain.all - grain.noise, 0.0);
    int32_t best = 0;
    double least = 0.0;
    for (int32_t softness = 1; softness < kernels::kDrawSoftnesses; ++softness) {
        const double change =
            kBlurred[softness] * shown + kEdges[softness] - kNoiseCounts * kTakenOff[softness] * grain.noise;
        if (change < least) {
            least = change;
            best = softness;
        }
    }
    return best;
}

}  // namespace ozr::refined
