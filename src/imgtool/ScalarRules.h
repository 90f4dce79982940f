#pragma once

#include <cstdint>

#include "ConvertCommon.h"

namespace imgtool {

// One interior pixel of the bilinear demosaic, written blue, green, red.
inline void BayerInteriorPixel(const unsigned char* up, const unsigned char* mid,
                               const unsigned char* down, std::uint64_t x, bool redRow, bool green,
                               unsigned char* out) {
    const unsigned c = mid[x];
    const unsigned horizontal = (mid[x - 1] + mid[x + 1]) >> 1;
    const unsigned vertical = (up[x] + down[x]) >> 1;
    const unsigned cross = (mid[x - 1] + mid[x + 1] + up[x] + down[x]) >> 2;
    const unsigned diagonal = (up[x - 1] + up[x + 1] + down[x - 1] + down[x + 1]) >> 2;
    const unsigned own = green ? horizontal : c;
    const unsigned other = green ? vertical : diagonal;
    out[0] = static_cast<unsigned char>(redRow ? other : own);
    out[1] = static_cast<unsigned char>(green ? c : cross);
    out[2] = static_cast<unsigned char>(redRow ? own : other);
}

inline unsigned char DualPixel(const unsigned char* p, int bits, bool nativeOrder) {
    unsigned v = LoadU16(p);
    if (!nativeOrder) {
        v = ((v & 0xFF) << 8) | (v >> 8);
    }
    return static_cast<unsigned char>(v >> (static_cast<unsigned>(bits - 8) & 31));
}

}  // namespace imgtool
