#pragma once

#include <cstddef>
#include <filesystem>
#include <vector>

namespace lumocam {

// Encodes pixels as PNG in memory: one channel is grey, three channels are in
// the library's BGR order; bitDepth is 8 or 16 (16-bit samples in host order,
// as the conversions write them). Throws ToolError with the reason on bad
// geometry or when libpng refuses.
std::vector<unsigned char> EncodePng(const void* pixels, std::size_t width, std::size_t height,
                                     std::size_t channels, std::size_t stride,
                                     std::size_t bitDepth = 8);

// The same, written to a file. Throws ToolError naming the file and the reason.
void WritePng(const std::filesystem::path& path, const void* pixels, std::size_t width,
              std::size_t height, std::size_t channels, std::size_t stride,
              std::size_t bitDepth = 8);

// Writes bytes unchanged (raw frames, sidecars). Throws ToolError naming the
// file and the reason (errno text, e.g. "No space left on device").
void WriteFile(const std::filesystem::path& path, const void* data, std::size_t size);

}  // namespace lumocam
