#pragma once

#include <cstdint>
#include <vector>

#include "Scene.h"

namespace LumoSim {

// Renders frames fast: when rows are whole bytes, the scene is rendered once with 56 extra
// pixels per row, and each frame is copied out of it at the frame's shift. Other layouts are
// rendered directly. Both give exactly the bytes of CScene::Render.
class CFrameRenderer {
public:
    size_t Render(const SceneParams& p, uint64_t frameId, uint8_t* dst, size_t size);

private:
    bool Matches(const SceneParams& p) const;

    SceneParams cached_{};
    bool valid_ = false;
    size_t rowBytes_ = 0, wideRowBytes_ = 0, bytesPerShift_ = 0;
    std::vector<uint8_t> wide_;
};

}  // namespace LumoSim
