#include "AlignedAccess.h"

#include <cstring>
#include <vector>

namespace LumoGev {
namespace {

struct Span {
    uint64_t start;  // first aligned address
    size_t length;   // whole words
    size_t head;     // bytes before the asked range
};

Span Widen(uint64_t address, size_t size) {
    const uint64_t start = address & ~uint64_t{3};
    const uint64_t end = (address + size + 3) & ~uint64_t{3};
    return {start, static_cast<size_t>(end - start), static_cast<size_t>(address - start)};
}

}  // namespace

bool ReadAligned(uint64_t address, uint8_t* dst, size_t size, const WordTransfer& readWords) {
    const Span s = Widen(address, size);
    if (s.head == 0 && s.length == size)
        return readWords(address, dst, size);
    std::vector<uint8_t> words(s.length);
    if (!readWords(s.start, words.data(), s.length))
        return false;
    std::memcpy(dst, words.data() + s.head, size);
    return true;
}

bool WriteAligned(uint64_t address, const uint8_t* src, size_t size, const WordTransfer& readWords,
                  const WordTransfer& writeWords) {
    const Span s = Widen(address, size);
    if (s.head == 0 && s.length == size)
        return writeWords(address, const_cast<uint8_t*>(src), size);
    std::vector<uint8_t> words(s.length);
    // Only the first and the last word can be partial; everything between is overwritten.
    if (!readWords(s.start, words.data(), 4))
        return false;
    if (s.length > 4 && !readWords(s.start + s.length - 4, words.data() + s.length - 4, 4))
        return false;
    std::memcpy(words.data() + s.head, src, size);
    return writeWords(s.start, words.data(), s.length);
}

}  // namespace LumoGev
