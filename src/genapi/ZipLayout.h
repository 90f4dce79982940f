#pragma once

#include <cstddef>
#include <string>

namespace GenApi {

// Largest file the layer takes out of a ZIP: far more than any description.
inline constexpr size_t kMaxZipEntrySize = 64 * 1024 * 1024;

// Checks that every record of a ZIP archive lies inside the data, as the
// engine's reader assumes without checking: the end record, each central
// directory entry, its local header and its data, and that no entry claims
// more than kMaxZipEntrySize. Returns what is wrong, or an empty string.
std::string ZipLayoutProblem(const unsigned char* data, size_t size);

}  // namespace GenApi
