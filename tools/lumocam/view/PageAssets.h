#pragma once

#include <cstddef>
#include <string_view>

namespace lumocam {

// One file of the page, compiled into the tool so that it serves the page
// without files beside it and without the network.
struct PageAsset {
    const char* name;  // file name, e.g. "view.js"
    const unsigned char* data;
    std::size_t size;
};

// The asset served at this URL path ("/" is index.html); null when there is none.
const PageAsset* FindPageAsset(std::string_view path);
// Content type by file extension.
const char* PageAssetType(std::string_view name);

}  // namespace lumocam
