#pragma once

#include <cstddef>
#include <vector>

namespace lumocam {

// One JPEG compressor, reused for every frame so that its working memory is
// allocated once. Not thread-safe: one encoder per thread.
class JpegEncoder {
public:
    JpegEncoder();
    ~JpegEncoder();
    JpegEncoder(const JpegEncoder&) = delete;
    JpegEncoder& operator=(const JpegEncoder&) = delete;

    // Grey (1 channel) or BGR (3 channels) pixels to a baseline JPEG. Throws
    // ToolError with the compressor's reason.
    std::vector<unsigned char> Encode(const unsigned char* pixels, std::size_t width,
                                      std::size_t height, std::size_t channels, std::size_t stride,
                                      int quality = 85);

private:
    void* m_handle;
};

}  // namespace lumocam
