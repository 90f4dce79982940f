#include "Camera.h"

#include <algorithm>
#include <chrono>
#include <string>

#include "CameraText.h"
#include "Error.h"

namespace py = pybind11;

namespace lumopy {

using namespace VEXOGENICAM;
using Clock = std::chrono::steady_clock;

namespace {

// Short waits keep Ctrl-C responsive while an image is awaited.
constexpr unsigned long long kWaitSliceMs = 100;

const char* StartFailure(int code) {
    switch (code) {
        case result::start_grab::kAlreadyGrabbing:
            return "acquisition is already running";
        case result::start_grab::kMissingPorts:
            return "the camera is not open";
        case result::start_grab::kNoBuffers:
            return "no buffers could be announced";
        case result::start_grab::kStartRefused:
            return "the producer refused to start acquisition";
        default:
            return "acquisition cannot be started";
    }
}

const char* GrabFailure(int code) {
    switch (code) {
        case result::grab_image::kNotGrabbing:
            return "the camera is not grabbing";
        case result::grab_image::kStoppedMeanwhile:
            return "acquisition stopped before the grab began";
        case result::grab_image::kAborted:
            return "acquisition was stopped while waiting";
        default:
            return "waiting for an image failed";
    }
}

bool IsImageResult(int rc) {
    // 0, or a buffer whose metadata failed: the image is handed out anyway.
    return rc == result::kOk || (rc <= result::grab_image::kImageMissingBuffer &&
                                 rc >= result::grab_image::kImageLargerThanBuffer);
}

ICamera* CreateFrom(const py::handle& serialOrRecord) {
    if (py::isinstance<py::str>(serialOrRecord)) {
        const std::string serial = serialOrRecord.cast<std::string>();
        ICamera* camera = CreateCameraBySN(serial.c_str());
        if (camera == nullptr) {
            throw Error("no camera with serial number '" + serial + "'");
        }
        return camera;
    }
    if (py::isinstance<CameraRecord>(serialOrRecord)) {
        const auto& record = serialOrRecord.cast<const CameraRecord&>();
        ICameraInfo* info = record.ref ? record.ref->Get() : nullptr;
        ICamera* camera = info != nullptr ? CreateCamera(info) : nullptr;
        if (camera == nullptr) {
            throw Error("no camera for record " + record.Repr() +
                        " (only records from discover() open cameras)");
        }
        return camera;
    }
    throw py::type_error("Camera() takes a serial number (str) or a CameraRecord from discover()");
}

}  // namespace

Camera::Camera(const py::handle& serialOrRecord) {
    Library::Get().Require();
    m_handle = CameraHandle::For(CreateFrom(serialOrRecord));
}

void Camera::Open(DEVICE_OPEN_MODE mode) {
    const int rc = m_handle->Use([&](ICamera* camera) {
        py::gil_scoped_release release;
        return camera->Open(mode);
    });
    if (rc != result::kOk) {
        throw Error(std::string("cannot open the camera: ") + lumoclient::OpenFailure(rc), rc);
    }
}

void Camera::Close() {
    m_handle->Use([](ICamera* camera) {
        py::gil_scoped_release release;
        camera->Close();
    });
}

bool Camera::IsOpen() {
    return m_handle->Use([](ICamera* camera) { return camera->IsOpen(); });
}

bool Camera::IsOnline() {
    return m_handle->Use([](ICamera* camera) {
        py::gil_scoped_release release;
        return camera->IsOnline();
    });
}

void Camera::Start(GRAB_STRATEGY strategy, std::optional<std::uint64_t> count) {
    const int rc = m_handle->Use([&](ICamera* camera) {
        py::gil_scoped_release release;
        return camera->StartGrab(strategy, count.value_or(~0ULL));
    });
    if (rc != result::kOk) {
        throw Error(std::string("cannot start acquisition: ") + StartFailure(rc), rc);
    }
}

void Camera::Stop() {
    m_handle->Use([](ICamera* camera) {
        py::gil_scoped_release release;
        camera->StopGrab();
    });
}

bool Camera::IsGrabbing() {
    return m_handle->Use([](ICamera* camera) { return camera->IsGrabbing(); });
}

std::uint64_t Camera::BufferCount() {
    return m_handle->Use([](ICamera* camera) { return camera->GetAnnounceBufCount(); });
}

void Camera::SetBufferCount(std::uint64_t count) {
    if (count < 3) {
        throw py::value_error("buffer_count must be at least 3");
    }
    m_handle->Use([&](ICamera* camera) { camera->SetAnnounceBufCount(count); });
}

CameraRecord Camera::Info() {
    return m_handle->Use([](ICamera* camera) {
        ICameraInfo* info = camera->GetCameraInfo();
        if (info == nullptr) {
            throw Error("the camera has no device record");
        }
        return CameraRecord::FromInfo(info, false);
    });
}

std::shared_ptr<ImageHolder> GrabImage(const std::shared_ptr<CameraHandle>& camera,
                                       std::optional<double> timeoutSeconds) {
    if (timeoutSeconds && !(*timeoutSeconds >= 0)) {
        throw py::value_error("timeout must be a number of seconds >= 0, or None");
    }
    const auto start = Clock::now();
    for (;;) {
        unsigned long long slice = kWaitSliceMs;
        if (timeoutSeconds) {
            const double leftMs =
                *timeoutSeconds * 1000.0 -
                std::chrono::duration<double, std::milli>(Clock::now() - start).count();
            slice = static_cast<unsigned long long>(
                std::clamp(leftMs, 0.0, static_cast<double>(kWaitSliceMs)));
        }
        IImage* image = nullptr;
        const int rc = camera->Use([&](ICamera* c) {
            py::gil_scoped_release release;
            return c->GrabImage(&image, slice);
        });
        if (image != nullptr && IsImageResult(rc)) {
            return std::make_shared<ImageHolder>(camera, image, rc);
        }
        if (image != nullptr) {
            image->Release();  // an image with a failure code belongs to us, too
        }
        if (rc != result::grab_image::kTimeout) {
            throw Error(GrabFailure(rc), rc);
        }
        if (PyErr_CheckSignals() != 0) {
            // Ctrl-C: leave the camera stopped, then let the exception through.
            camera->Use([](ICamera* c) {
                py::gil_scoped_release release;
                c->StopGrab();
            });
            throw py::error_already_set();
        }
        if (timeoutSeconds && slice < kWaitSliceMs) {
            throw Error("no image within " + std::to_string(*timeoutSeconds) + " s", rc,
                        ErrorKind::Timeout);
        }
    }
}

FrameStream::FrameStream(std::shared_ptr<CameraHandle> camera, std::optional<std::uint64_t> count,
                         std::optional<double> timeoutSeconds, GRAB_STRATEGY strategy)
    : m_camera(std::move(camera)),
      m_remaining(count),
      m_timeout(timeoutSeconds),
      m_strategy(strategy) {}

FrameStream::~FrameStream() {
    try {
        Finish();
    } catch (...) {
        // Shut down meanwhile: nothing left to stop.
    }
}

std::shared_ptr<ImageHolder> FrameStream::Next() {
    if (m_finished || (m_remaining && *m_remaining == 0)) {
        Finish();
        throw py::stop_iteration();
    }
    if (!m_started) {
        // Endless: with the latest and upcoming strategies a count given to
        // the producer would end the stream before n images arrived.
        const int rc = m_camera->Use([&](ICamera* camera) {
            py::gil_scoped_release release;
            return camera->IsGrabbing() ? 1 : camera->StartGrab(m_strategy, ~0ULL);
        });
        if (rc < 0) {
            m_finished = true;
            throw Error(std::string("cannot start acquisition: ") + StartFailure(rc), rc);
        }
        m_started = rc == 0;
    }
    try {
        auto image = GrabImage(m_camera, m_timeout);
        if (m_remaining) {
            --*m_remaining;
        }
        return image;
    } catch (...) {
        Finish();
        throw;
    }
}

void FrameStream::Finish() {
    m_finished = true;
    if (m_started) {
        m_started = false;
        m_camera->Use([](ICamera* camera) {
            py::gil_scoped_release release;
            camera->StopGrab();
        });
    }
}

}  // namespace lumopy
