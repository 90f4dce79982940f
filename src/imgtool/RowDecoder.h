#pragma once

#include <cstdint>
#include <vector>

#include "SourceFormat.h"

namespace imgtool {

// A validated source frame and the rule that finds each line's pixels in it.
struct FrameView {
    const unsigned char* data = nullptr;
    SourceFormat format;
    std::uint64_t width = 0;
    std::uint64_t height = 0;
    bool padded = false;
    bool bigEndian16 = false;
    std::uint64_t lineStride = 0;   // padded: line bytes plus padding
    std::uint64_t lineBytes = 0;    // padded: bytes of one line's stream
    std::uint64_t streamBytes = 0;  // unpadded: bytes of the whole frame's stream
};

// Line decoders. Each writes `width` pixels of line y: 8-bit samples at full
// scale, 16-bit sample values, or blue-green-red colour. `scratch` is working
// memory of the calling thread.
class RowDecoder {
public:
    explicit RowDecoder(const FrameView& frame) : m_frame(frame) {}

    void Samples8(std::uint64_t y, unsigned char* out);
    void Samples16(std::uint64_t y, std::uint16_t* out);
    void Bgr(std::uint64_t y, unsigned char* out);

private:
    enum class Kind { Samples8, Samples16, Bgr };
    void Decode(Kind kind, std::uint64_t y, unsigned char* out);
    void Groups(Kind kind, const unsigned char* src, std::uint64_t groups, unsigned char* out);

    const FrameView& m_frame;
    std::vector<unsigned char> m_scratch;
};

}  // namespace imgtool
