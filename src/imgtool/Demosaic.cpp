#include "Demosaic.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "ScalarRules.h"

namespace imgtool {

namespace {

constexpr unsigned kSlots = 8;       // lines y - 3 .. y + 3 must not share a slot
constexpr unsigned kGreenSlots = 4;  // green of lines y - 1 .. y + 1

// Mirror about the first and last index (-1 -> 1, n -> n - 2), which keeps the
// parity and so the Bayer colour; a frame too small to mirror repeats its edge.
std::int64_t Mirror(std::int64_t i, std::int64_t n) {
    if (i < 0) {
        i = -i;
    }
    if (i >= n) {
        i = 2 * n - 2 - i;
    }
    return std::clamp<std::int64_t>(i, 0, n - 1);
}

unsigned char Clamp8(int v) {
    return static_cast<unsigned char>(std::clamp(v, 0, 255));
}

}  // namespace

Demosaic::Demosaic(const FrameView& frame, bool gradientCorrected)
    : m_frame(frame),
      m_decoder(frame),
      m_gradient(gradientCorrected),
      m_direct(frame.format.packing == Packing::Byte && !gradientCorrected),
      m_margin(gradientCorrected ? 2 : 0),
      m_slotBytes(frame.width + 2 * (gradientCorrected ? 2 : 0)),
      m_tags(kSlots, -1),
      m_greenTags(kGreenSlots, -1) {
    if (!m_direct) {
        m_ring.resize(static_cast<std::size_t>(kSlots * m_slotBytes));
    }
    if (gradientCorrected) {
        m_green.resize(static_cast<std::size_t>(kGreenSlots * m_slotBytes));
    }
}

const unsigned char* Demosaic::Row(std::int64_t y) {
    const auto row =
        static_cast<std::uint64_t>(Mirror(y, static_cast<std::int64_t>(m_frame.height)));
    if (m_direct) {
        const std::uint64_t step = m_frame.padded ? m_frame.lineStride : m_frame.width;
        return m_frame.data + row * step;
    }
    const unsigned slot = static_cast<unsigned>(row % kSlots);
    unsigned char* line = m_ring.data() + slot * m_slotBytes + m_margin;
    if (m_tags[slot] != static_cast<std::int64_t>(row)) {
        m_decoder.Samples8(row, line);
        const auto w = static_cast<std::int64_t>(m_frame.width);
        for (std::int64_t k = 1; k <= static_cast<std::int64_t>(m_margin); ++k) {
            line[-k] = line[Mirror(-k, w)];
            line[w - 1 + k] = line[Mirror(w - 1 + k, w)];
        }
        m_tags[slot] = static_cast<std::int64_t>(row);
    }
    return line;
}

void Demosaic::Line(std::uint64_t y, bool rgb, unsigned char* out) {
    if (m_gradient) {
        GradientCorrected(y, rgb, out);
    } else {
        Bilinear(y, rgb, out);
    }
}

void Demosaic::Bilinear(std::uint64_t y, bool rgb, unsigned char* out) {
    const int order = m_frame.format.bayerOrder;
    const auto iy = static_cast<std::int64_t>(y);
    const unsigned char* up = Row(iy - 1);
    const unsigned char* mid = Row(iy);
    const unsigned char* down = Row(iy + 1);
    const bool redRow = SiteAt(order, y, 0) == kRed || SiteAt(order, y, 1) == kRed;
    const bool greenAtEven = SiteAt(order, y, 0) == kGreen;
    // Writing red where the kernel writes blue gives red-green-blue order.
    const bool redFirst = redRow != rgb;
    const std::uint64_t w = m_frame.width;
    if (w >= 3) {
        BayerInteriorRow(up, mid, down, out, 1, w - 1, redFirst, greenAtEven);
    }
    const auto iw = static_cast<std::int64_t>(w);
    for (std::uint64_t x : {std::uint64_t{0}, w - 1}) {
        const auto ix = static_cast<std::int64_t>(x);
        const std::int64_t cols[3] = {Mirror(ix - 1, iw), ix, Mirror(ix + 1, iw)};
        unsigned char u[3], m[3], d[3];
        for (int k = 0; k < 3; ++k) {
            u[k] = up[cols[k]];
            m[k] = mid[cols[k]];
            d[k] = down[cols[k]];
        }
        const bool green = ((x & 1) == 0) == greenAtEven;
        BayerInteriorPixel(u, m, d, 1, redFirst, green, out + 3 * x);
    }
}

// Green first, along the direction in which the mosaic changes least, plus a
// correction from the second difference of the site's own colour; then red and
// blue from the differences to green of their nearest samples, which keeps
// edges where the colours change together.
const unsigned char* Demosaic::GreenRow(std::int64_t y) {
    const auto row = Mirror(y, static_cast<std::int64_t>(m_frame.height));
    const unsigned slot = static_cast<unsigned>(row % kGreenSlots);
    unsigned char* green = m_green.data() + slot * m_slotBytes + m_margin;
    if (m_greenTags[slot] == row) {
        return green;
    }
    const int order = m_frame.format.bayerOrder;
    const unsigned char* n2 = Row(row - 2);
    const unsigned char* n1 = Row(row - 1);
    const unsigned char* c0 = Row(row);
    const unsigned char* s1 = Row(row + 1);
    const unsigned char* s2 = Row(row + 2);
    const auto w = static_cast<std::int64_t>(m_frame.width);
    for (std::int64_t x = 0; x < w; ++x) {
        const int c = c0[x];
        if (SiteAt(order, static_cast<std::uint64_t>(row), static_cast<std::uint64_t>(x)) ==
            kGreen) {
            green[x] = static_cast<unsigned char>(c);
            continue;
        }
        const int west = c0[x - 1], east = c0[x + 1], north = n1[x], south = s1[x];
        const int alongRow = 2 * c - c0[x - 2] - c0[x + 2];
        const int alongColumn = 2 * c - n2[x] - s2[x];
        const int changeInRow = std::abs(west - east) + std::abs(alongRow);
        const int changeInColumn = std::abs(north - south) + std::abs(alongColumn);
        // Four times the estimate along each direction.
        const int fromRow = 2 * (west + east) + alongRow;
        const int fromColumn = 2 * (north + south) + alongColumn;
        int sum4 = (fromRow + fromColumn) / 2;
        if (changeInRow < changeInColumn) {
            sum4 = fromRow;
        } else if (changeInColumn < changeInRow) {
            sum4 = fromColumn;
        }
        green[x] = Clamp8((sum4 + 2) >> 2);
    }
    for (std::int64_t k = 1; k <= static_cast<std::int64_t>(m_margin); ++k) {
        green[-k] = green[Mirror(-k, w)];
        green[w - 1 + k] = green[Mirror(w - 1 + k, w)];
    }
    m_greenTags[slot] = row;
    return green;
}

namespace {

// Candidate estimates of a missing colour with how unlike the centre their side
// of the neighbourhood is; the most alike side wins, ties share.
struct Candidates {
    int estimate2[4];  // twice the estimate
    int unlike[4];
    int count = 0;

    void Add(int twiceEstimate, int difference) {
        estimate2[count] = twiceEstimate;
        unlike[count] = difference;
        ++count;
    }
    unsigned char Best() const {
        int best = unlike[0];
        for (int i = 1; i < count; ++i) {
            best = std::min(best, unlike[i]);
        }
        int sum = 0;
        int n = 0;
        for (int i = 0; i < count; ++i) {
            if (unlike[i] == best) {
                sum += estimate2[i];
                ++n;
            }
        }
        // n is 1, 2 or 4 but for three tied diagonals, which are rare.
        const int mean2 = n == 1 ? sum : n == 2 ? sum >> 1 : n == 4 ? sum >> 2 : sum / n;
        return Clamp8((mean2 + 1) >> 1);
    }
};

}  // namespace

void Demosaic::GradientCorrected(std::uint64_t y, bool rgb, unsigned char* out) {
    const int order = m_frame.format.bayerOrder;
    const auto iy = static_cast<std::int64_t>(y);
    const unsigned char* raw[5];
    const unsigned char* green[3];
    for (int k = 0; k < 5; ++k) {
        raw[k] = Row(iy - 2 + k);
    }
    for (int k = 0; k < 3; ++k) {
        green[k] = GreenRow(iy - 1 + k);
    }
    // S(dy, dx): mosaic sample; G(dy, dx): green, sampled or interpolated;
    // D(dy, dx): colour minus green at a sample of the missing colour.
    const int blueAt = rgb ? 2 : 0;
    const int redAt = rgb ? 0 : 2;
    const bool redRow = SiteAt(order, y, 0) == kRed || SiteAt(order, y, 1) == kRed;
    for (std::uint64_t ux = 0; ux < m_frame.width; ++ux) {
        const auto x = static_cast<std::int64_t>(ux);
        auto S = [&](int dy, int dx) { return int{raw[2 + dy][x + dx]}; };
        auto G = [&](int dy, int dx) { return int{green[1 + dy][x + dx]}; };
        auto D = [&](int dy, int dx) { return S(dy, dx) - G(dy, dx); };
        const int c = S(0, 0);
        const int g = G(0, 0);
        const Site site = SiteAt(order, y, ux);
        unsigned char* px = out + 3 * ux;
        px[1] = static_cast<unsigned char>(g);
        if (site == kGreen) {
            // The row's other colour lies left and right: a side is alike when
            // its greens and the far samples of the column's colour match.
            Candidates inRow;
            inRow.Add(2 * (g + D(0, -1)), std::abs(G(-1, -1) - c) + std::abs(G(1, -1) - c) +
                                              std::abs(S(-1, -2) - S(-1, 0)) +
                                              std::abs(S(1, -2) - S(1, 0)));
            inRow.Add(2 * (g + D(0, 1)), std::abs(G(-1, 1) - c) + std::abs(G(1, 1) - c) +
                                             std::abs(S(-1, 2) - S(-1, 0)) +
                                             std::abs(S(1, 2) - S(1, 0)));
            Candidates inColumn;
            inColumn.Add(2 * (g + D(-1, 0)), std::abs(G(-1, -1) - c) + std::abs(G(-1, 1) - c) +
                                                 std::abs(S(-2, -1) - S(0, -1)) +
                                                 std::abs(S(-2, 1) - S(0, 1)));
            inColumn.Add(2 * (g + D(1, 0)), std::abs(G(1, -1) - c) + std::abs(G(1, 1) - c) +
                                                std::abs(S(2, -1) - S(0, -1)) +
                                                std::abs(S(2, 1) - S(0, 1)));
            px[redAt] = redRow ? inRow.Best() : inColumn.Best();
            px[blueAt] = redRow ? inColumn.Best() : inRow.Best();
            continue;
        }
        // The opposite colour sits on the diagonals: pairs on each side.
        Candidates diagonal;
        diagonal.Add(2 * g + D(-1, -1) + D(1, -1), std::abs(S(0, -2) - c) + std::abs(G(0, -1) - g));
        diagonal.Add(2 * g + D(-1, 1) + D(1, 1), std::abs(S(0, 2) - c) + std::abs(G(0, 1) - g));
        diagonal.Add(2 * g + D(-1, -1) + D(-1, 1), std::abs(S(-2, 0) - c) + std::abs(G(-1, 0) - g));
        diagonal.Add(2 * g + D(1, -1) + D(1, 1), std::abs(S(2, 0) - c) + std::abs(G(1, 0) - g));
        px[site == kRed ? redAt : blueAt] = static_cast<unsigned char>(c);
        px[site == kRed ? blueAt : redAt] = diagonal.Best();
    }
}

}  // namespace imgtool
