#include "ChunkLayout.h"

#include <algorithm>

namespace LumoGev {
namespace {

uint32_t Be32(const uint8_t* p) {
    return uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | p[3];
}

}  // namespace

bool ParseChunks(const uint8_t* data, size_t size, std::vector<GenTL::SINGLE_CHUNK_DATA>& out) {
    out.clear();
    size_t end = size;
    while (end > 0) {
        if (end < 8)
            return false;
        const uint32_t id = Be32(data + end - 8);
        const uint32_t length = Be32(data + end - 4);
        if (length > end - 8)
            return false;
        const size_t start = end - 8 - length;
        out.push_back({id, static_cast<ptrdiff_t>(start), length});
        end = start;
    }
    std::reverse(out.begin(), out.end());
    return true;
}

}  // namespace LumoGev
