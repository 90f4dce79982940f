#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include <pybind11/pybind11.h>

#include "CameraHandle.h"
#include "CameraRecord.h"
#include "ImageHolder.h"

namespace lumopy {

// A camera as Python uses it: created from a serial number or a discovered
// record, opened, started, grabbed from. Images and node maps share its
// handle, so they outlive the Python object safely.
class Camera {
public:
    // A str serial number or a CameraRecord; throws Error when no camera matches.
    explicit Camera(const pybind11::handle& serialOrRecord);

    void Open(VEXOGENICAM::DEVICE_OPEN_MODE mode);
    void Close();
    bool IsOpen();
    bool IsOnline();
    void Start(VEXOGENICAM::GRAB_STRATEGY strategy, std::optional<std::uint64_t> count);
    void Stop();
    bool IsGrabbing();
    std::uint64_t BufferCount();
    void SetBufferCount(std::uint64_t count);
    CameraRecord Info();

    const std::shared_ptr<CameraHandle>& Handle() const { return m_handle; }

private:
    std::shared_ptr<CameraHandle> m_handle;
};

// Waits for the next image in slices, with the GIL released, checking for
// Ctrl-C between slices: a pending KeyboardInterrupt stops acquisition first
// and is then raised. No time-out when `timeoutSeconds` is empty. Throws
// GrabTimeout, or Error with the grab's result code.
std::shared_ptr<ImageHolder> GrabImage(const std::shared_ptr<CameraHandle>& camera,
                                       std::optional<double> timeoutSeconds);

// `for image in camera.stream(n)`: starts acquisition on the first image if
// it is not running, and stops what it started after the n-th image, on an
// error, or when the iterator is dropped early.
class FrameStream {
public:
    FrameStream(std::shared_ptr<CameraHandle> camera, std::optional<std::uint64_t> count,
                std::optional<double> timeoutSeconds, VEXOGENICAM::GRAB_STRATEGY strategy);
    ~FrameStream();
    FrameStream(const FrameStream&) = delete;
    FrameStream& operator=(const FrameStream&) = delete;

    // Throws pybind11::stop_iteration after the last image.
    std::shared_ptr<ImageHolder> Next();
    // Stops acquisition if this stream started it.
    void Finish();

private:
    std::shared_ptr<CameraHandle> m_camera;
    std::optional<std::uint64_t> m_remaining;
    std::optional<double> m_timeout;
    VEXOGENICAM::GRAB_STRATEGY m_strategy;
    bool m_started = false;
    bool m_finished = false;
};

}  // namespace lumopy
