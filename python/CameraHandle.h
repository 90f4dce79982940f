#pragma once

#include <memory>
#include <shared_mutex>
#include <utility>

#include "Error.h"
#include "Library.h"
#include "LumoGenICam.h"

namespace lumopy {

// The module's one owner of a library camera. The library hands out the same
// camera object for the same device and deletes it on its one Release, so
// every Python object of that device shares this handle; the last of them
// (cameras, images, node maps) closes and releases the camera.
class CameraHandle : public Held {
public:
    // The live handle of this camera, or a new one; takes over the camera.
    static std::shared_ptr<CameraHandle> For(VEXOGENICAM::ICamera* camera);

    explicit CameraHandle(VEXOGENICAM::ICamera* camera);
    ~CameraHandle() override;

    // Runs call(camera) while the camera cannot be released; throws Error when
    // it was released at shutdown.
    template <class Call>
    auto Use(Call&& call) {
        std::shared_lock<std::shared_mutex> guard(m_use, std::defer_lock);
        LockLettingGilGo(guard);
        if (m_camera == nullptr) {
            throw Error("the camera was released at shutdown");
        }
        return std::forward<Call>(call)(m_camera);
    }

    // Stops acquisition (which ends waits in progress), closes and releases.
    void Drop() override;

private:
    std::shared_mutex m_use;
    VEXOGENICAM::ICamera* m_camera;
};

}  // namespace lumopy
