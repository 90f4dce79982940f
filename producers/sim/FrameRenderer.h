#pragma once

#include <cstdint>
#include <vector>

#include "Scene.h"

namespace LumoSim {

// Renders frames fast. A frame is the scene of frame 0 continued by its shift in raster order, so
// the frame-0 image is rendered once with a few extra rows and each frame is copied out of it at
// an offset: one copy for mono and colour formats. Bayer formats take the pixels that wrap into
// the next row from a second image with the row phase flipped. Layouts whose rows are not whole
// bytes are rendered directly. Both ways give exactly the bytes of CScene::Render.
class CFrameRenderer {
public:
    size_t Render(const SceneParams& p, uint64_t frameId, uint8_t* dst, size_t size);

private:
    bool Matches(const SceneParams& p) const;

    SceneParams cached_{};
    bool valid_ = false;
    size_t rowBytes_ = 0, bytesPerShift_ = 0;
    std::vector<uint8_t> base_, flipped_;  // flipped_ only for Bayer formats
};

}  // namespace LumoSim
