#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

namespace LumoGev {

// GVCP moves whole 32-bit words at 4-byte aligned addresses. These widen any byte range to the
// words that cover it: a read fetches the words and copies the asked bytes out; a write that
// does not cover whole words first reads the partial edge words and merges the new bytes in.
// The transfer functions move `size` bytes (a multiple of 4) at an aligned address and return
// false on failure.
using WordTransfer = std::function<bool(uint64_t address, uint8_t* data, size_t size)>;

bool ReadAligned(uint64_t address, uint8_t* dst, size_t size, const WordTransfer& readWords);
bool WriteAligned(uint64_t address, const uint8_t* src, size_t size, const WordTransfer& readWords,
                  const WordTransfer& writeWords);

}  // namespace LumoGev
