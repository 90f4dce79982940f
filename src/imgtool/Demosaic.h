#pragma once

#include <cstdint>
#include <vector>

#include "RowDecoder.h"

namespace imgtool {

// Demosaics the lines of a Bayer frame one at a time. Neighbours beyond the
// frame are mirrored about the edge line or column (which keeps the colour of
// every site), so the borders are interpolated like the interior. Lines are
// decoded to 8 bits once and kept in a small ring while they are needed.
class Demosaic {
public:
    Demosaic(const FrameView& frame, bool gradientCorrected);

    // Writes line y as blue-green-red, or red-green-blue when rgb is true.
    void Line(std::uint64_t y, bool rgb, unsigned char* out);

private:
    const unsigned char* Row(std::int64_t y);
    void Bilinear(std::uint64_t y, bool rgb, unsigned char* out);
    void GradientCorrected(std::uint64_t y, bool rgb, unsigned char* out);
    const unsigned char* GreenRow(std::int64_t y);

    const FrameView& m_frame;
    RowDecoder m_decoder;
    bool m_gradient;
    bool m_direct;           // 8-bit lines are read in place
    std::uint64_t m_margin;  // mirrored columns kept on each side of a decoded line
    std::uint64_t m_slotBytes;
    std::vector<unsigned char> m_ring;
    std::vector<std::int64_t> m_tags;
    std::vector<unsigned char> m_green;  // interpolated green of the lines around
    std::vector<std::int64_t> m_greenTags;
};

}  // namespace imgtool
