#pragma once

#include <GenTL/GenTL.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace LumoGev {

// Walks GigE Vision chunk data from its end: every chunk is followed by its big-endian chunk ID
// and length. Returns false when the lengths do not add up.
bool ParseChunks(const uint8_t* data, size_t size, std::vector<GenTL::SINGLE_CHUNK_DATA>& out);

}  // namespace LumoGev
