#include "PageAssets.h"

namespace lumocam {

// Written at build time from the files in page/ (EmbedPage.cmake).
extern const PageAsset kPageAssets[];
extern const std::size_t kPageAssetCount;

const PageAsset* FindPageAsset(std::string_view path) {
    if (path == "/" || path.empty()) {
        path = "index.html";
    } else if (path.front() == '/') {
        path.remove_prefix(1);
    }
    for (std::size_t i = 0; i < kPageAssetCount; ++i) {
        if (path == kPageAssets[i].name) {
            return &kPageAssets[i];
        }
    }
    return nullptr;
}

const char* PageAssetType(std::string_view name) {
    const auto ends = [&](std::string_view suffix) {
        return name.size() >= suffix.size() && name.substr(name.size() - suffix.size()) == suffix;
    };
    if (ends(".html"))
        return "text/html; charset=utf-8";
    if (ends(".css"))
        return "text/css; charset=utf-8";
    if (ends(".js"))
        return "text/javascript; charset=utf-8";
    if (ends(".svg"))
        return "image/svg+xml";
    if (ends(".png"))
        return "image/png";
    return "application/octet-stream";
}

}  // namespace lumocam
