#pragma once

#include <cstddef>
#include <filesystem>

namespace lumocam {

// Writes 8-bit pixels as a PNG file: one channel is grey, three channels are
// in the library's BGR order. Throws ToolError when the file cannot be written.
void WritePng(const std::filesystem::path& path, const void* pixels, std::size_t width,
              std::size_t height, std::size_t channels, std::size_t stride);

// Writes bytes unchanged (raw frames).
void WriteFile(const std::filesystem::path& path, const void* data, std::size_t size);

}  // namespace lumocam
