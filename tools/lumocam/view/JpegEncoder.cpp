#include "JpegEncoder.h"

#include <turbojpeg.h>

#include <climits>
#include <string>

#include "ExitCodes.h"

namespace lumocam {

JpegEncoder::JpegEncoder() : m_handle(tjInitCompress()) {
    if (m_handle == nullptr) {
        throw ToolError(kExitFailure,
                        std::string("cannot start the JPEG encoder: ") + tjGetErrorStr2(nullptr));
    }
}

JpegEncoder::~JpegEncoder() {
    tjDestroy(m_handle);
}

std::vector<unsigned char> JpegEncoder::Encode(const unsigned char* pixels, std::size_t width,
                                               std::size_t height, std::size_t channels,
                                               std::size_t stride, int quality) {
    if (pixels == nullptr || width == 0 || height == 0 || (channels != 1 && channels != 3) ||
        stride < width * channels || width > INT_MAX || height > INT_MAX || stride > INT_MAX) {
        throw ToolError(kExitFailure, "JPEG: bad picture geometry " + std::to_string(width) +
                                          " x " + std::to_string(height) + " x " +
                                          std::to_string(channels));
    }
    const int format = channels == 1 ? TJPF_GRAY : TJPF_BGR;
    const int subsampling = channels == 1 ? TJSAMP_GRAY : TJSAMP_420;
    unsigned char* jpeg = nullptr;
    unsigned long size = 0;
    const int rc = tjCompress2(m_handle, pixels, static_cast<int>(width), static_cast<int>(stride),
                               static_cast<int>(height), format, &jpeg, &size, subsampling, quality,
                               TJFLAG_FASTDCT);
    if (rc != 0) {
        const std::string reason = tjGetErrorStr2(m_handle);
        tjFree(jpeg);
        throw ToolError(kExitFailure, "JPEG: " + reason);
    }
    std::vector<unsigned char> out(jpeg, jpeg + size);
    tjFree(jpeg);
    return out;
}

}  // namespace lumocam
