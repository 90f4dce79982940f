#include "Png.h"

#include <png.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <string>

#include "ExitCodes.h"

namespace lumocam {

namespace {

bool GeometryOk(const void* pixels, std::size_t width, std::size_t height, std::size_t channels,
                std::size_t stride, std::size_t bitDepth) {
    const std::size_t bytesPerSample = bitDepth / 8;
    return pixels != nullptr && width != 0 && height != 0 && (channels == 1 || channels == 3) &&
           (bitDepth == 8 || bitDepth == 16) &&
           width <= std::numeric_limits<png_uint_32>::max() / (channels * bytesPerSample) &&
           height <= std::numeric_limits<png_uint_32>::max() &&
           stride >= width * channels * bytesPerSample &&
           stride <= static_cast<std::size_t>(std::numeric_limits<png_int_32>::max());
}

png_image ImageHeader(std::size_t width, std::size_t height, std::size_t channels,
                      std::size_t bitDepth) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(width);
    image.height = static_cast<png_uint_32>(height);
    image.format = channels == 1 ? PNG_FORMAT_GRAY : PNG_FORMAT_BGR;
    if (bitDepth == 16) {
        // The simplified API takes 16-bit samples as linear; that only changes
        // the gAMA chunk it writes, never the sample values.
        image.format |= PNG_FORMAT_FLAG_LINEAR;
    }
    return image;
}

// libpng's simplified API takes the stride in samples, not bytes.
png_int_32 RowStride(std::size_t stride, std::size_t bitDepth) {
    return static_cast<png_int_32>(stride / (bitDepth / 8));
}

std::string Describe(std::size_t width, std::size_t height, std::size_t channels,
                     std::size_t bitDepth) {
    return std::to_string(width) + "x" + std::to_string(height) + ", " + std::to_string(channels) +
           " channel(s), " + std::to_string(bitDepth) + " bit";
}

}  // namespace

std::vector<unsigned char> EncodePng(const void* pixels, std::size_t width, std::size_t height,
                                     std::size_t channels, std::size_t stride,
                                     std::size_t bitDepth) {
    if (!GeometryOk(pixels, width, height, channels, stride, bitDepth)) {
        throw ToolError(kExitFailure, "cannot encode PNG: unsupported image (" +
                                          Describe(width, height, channels, bitDepth) + ")");
    }
    png_image image = ImageHeader(width, height, channels, bitDepth);
    // A first call with no buffer asks libpng for the size it needs.
    png_alloc_size_t size = 0;
    const png_int_32 rowStride = RowStride(stride, bitDepth);
    if (png_image_write_to_memory(&image, nullptr, &size, 0, pixels, rowStride, nullptr) == 0) {
        const std::string message = image.message;
        png_image_free(&image);
        throw ToolError(kExitFailure, "cannot encode PNG: " + message);
    }
    std::vector<unsigned char> bytes(size);
    const int ok =
        png_image_write_to_memory(&image, bytes.data(), &size, 0, pixels, rowStride, nullptr);
    const std::string message = image.message;
    png_image_free(&image);
    if (ok == 0) {
        throw ToolError(kExitFailure, "cannot encode PNG: " + message);
    }
    bytes.resize(size);
    return bytes;
}

void WritePng(const std::filesystem::path& path, const void* pixels, std::size_t width,
              std::size_t height, std::size_t channels, std::size_t stride, std::size_t bitDepth) {
    if (!GeometryOk(pixels, width, height, channels, stride, bitDepth)) {
        throw ToolError(kExitFailure, "cannot write " + path.string() + ": unsupported image (" +
                                          Describe(width, height, channels, bitDepth) + ")");
    }
    // Encoding first keeps libpng's file handling (and its error longjmp) out
    // of the picture, and WriteFile reports the system's reason on failure.
    const std::vector<unsigned char> bytes =
        EncodePng(pixels, width, height, channels, stride, bitDepth);
    WriteFile(path, bytes.data(), bytes.size());
}

void WriteFile(const std::filesystem::path& path, const void* data, std::size_t size) {
    errno = 0;
    std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "wb"), &std::fclose);
    if (!file) {
        throw ToolError(kExitFailure, "cannot write " + path.string() + ": " +
                                          std::strerror(errno != 0 ? errno : EIO));
    }
    const bool written = size == 0 || std::fwrite(data, 1, size, file.get()) == size;
    const int writeError = errno;
    // A full disk often shows only when the buffered data is flushed at close.
    errno = 0;
    const bool closed = std::fclose(file.release()) == 0;
    if (!written || !closed) {
        const int error = !written ? writeError : errno;
        throw ToolError(kExitFailure, "cannot write " + path.string() + ": " +
                                          std::strerror(error != 0 ? error : EIO));
    }
}

}  // namespace lumocam
