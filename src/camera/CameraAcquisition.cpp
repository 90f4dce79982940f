// The acquisition half of CCamera: buffers, start and stop, the direct grab.
#include <chrono>
#include <iostream>

#include <spdlog/spdlog.h>

#include "Cti.h"
#include "CtiPort.h"
#include "camera/Camera.h"
#include "camera/GenImage.h"
#include "camera/Grab.h"
#include "gentl/CameraInfo.h"
#include "log/RollingLog.h"

namespace VEXOGENICAM {

namespace {

constexpr unsigned long long kMinAnnounceCount = 3;
constexpr auto kStopRetry = std::chrono::milliseconds(100);
// How long a stop keeps ending the grabs in flight before it goes on without
// them: a producer whose EventKill keeps failing must not hold it forever.
// Unregistering the event then ends the waits in a conforming producer.
constexpr auto kStopGiveUp = std::chrono::seconds(3);
// A device feature write of the start that fails is tried once more: a single
// lost write should not cost the acquisition.
constexpr int kFeatureAttempts = 2;

int MapWaitError(int rc) {
    switch (rc) {
        case GenTL::GC_ERR_RESOURCE_EXHAUSTED:
            return -15;
        case GenTL::GC_ERR_PARSING_CHUNK_DATA:
            return -14;
        case GenTL::GC_ERR_BUFFER_TOO_SMALL:
            return -13;
        case GenTL::GC_ERR_ABORT:
            return -12;
        case GenTL::GC_ERR_TIMEOUT:
            return -11;
        default:
            return -10;
    }
}

// Runs a verified feature write up to kFeatureAttempts times; false when every
// attempt threw (each failure logged), true when it worked or the node is
// missing.
template <typename Write>
bool WriteFeature(const char* feature, Write&& write) {
    for (int attempt = 1; attempt <= kFeatureAttempts; ++attempt) {
        try {
            write();
            return true;
        } catch (...) {
            CCamera::LogCaught("StartGrab: writing " + std::string(feature) + " failed (attempt " +
                               std::to_string(attempt) + " of " + std::to_string(kFeatureAttempts) +
                               ")");
        }
    }
    return false;
}

// Verified read that bypasses the cache; 0 when the node is missing.
std::int64_t ReadInteger(GenApi::INodeMap* nodeMap, const char* name) {
    if (nodeMap == nullptr) {
        return 0;
    }
    GenApi::CIntegerPtr node = nodeMap->GetNode(name);
    return node.IsValid() ? node->GetValue(true, true) : 0;
}

}  // namespace

CCti* CCamera::StreamCti() {
    return m_pDSPort ? m_pDSPort->GetCti() : nullptr;
}

void* CCamera::StreamHandle() {
    return m_pDSPort ? m_pDSPort->GetPort() : nullptr;
}

void CCamera::SetAnnounceBufCount(unsigned long long count) {
    if (count >= kMinAnnounceCount) {
        m_announceCount = count;
    }
}

unsigned long long CCamera::GetAnnounceBufCount() {
    return m_announceCount;
}

unsigned long long CCamera::GetAnnounceMinAction() {
    return m_announceCount;
}

bool CCamera::IsGrabbing() {
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    return m_grabCount >= 1;
}

int CCamera::StartGrab(GRAB_STRATEGY strategy, unsigned long long count) {
    std::shared_ptr<CGrab> previous;
    int result = -1;
    {
        std::unique_lock<std::recursive_mutex> guard(m_lock);
        // A stop in progress releases the lock while it waits for the grabs in
        // flight; its buffers and event are still registered until it is done.
        m_grabDone.wait(guard, [this] { return !m_bStopping; });
        if (m_grabCount != 0) {
            return -1;
        }
        if (m_bClosing) {
            return -2;  // a close has begun: the camera counts as closed
        }
        // What an earlier stop could not give back goes before new buffers
        // are announced.
        RevokeRetired();
        m_bDeviceStartFailed = false;
        result = StartGrabAction(count);
        if (result == 0 && m_bDeviceStartFailed) {
            // The start keeps its result, but a stream waiting for a device
            // that never starts would only time out: back to idle, so that
            // IsGrabbing says so and the next start begins afresh.
            AbortStart();
        } else if (result == 0) {
            m_grabCount = 1;
            ++m_acquisition;
            previous = std::move(m_pGrab);
            m_pGrab = std::make_shared<CGrab>(this, strategy);
        } else {
            // Queued buffers cannot be revoked: empty the queues first.
            if (CCti* cti = StreamCti()) {
                FlushQueues(cti, StreamHandle(), "StartGrab");
            }
            ClearBufAction();
        }
    }
    // A worker left by a racing stop is ended outside the lock it may wait for.
    if (previous) {
        previous->Stop();
    }
    return result;
}

int CCamera::StartGrabAction(unsigned long long count) {
    if (!m_pDevPort || !m_pDSPort || !m_pRMPort) {
        return -2;
    }
    CCti* cti = StreamCti();
    if (cti == nullptr) {
        return -3;
    }
    void* stream = StreamHandle();
    if (stream == nullptr) {
        return -4;
    }
    GenApi::INodeMap* nodeMap = m_pRMPort->GetNodeMap();
    if (nodeMap == nullptr) {
        return -5;
    }
    const unsigned long long payload = GetPayloadSizeAction();
    if (payload < 1) {
        return -6;
    }
    const unsigned long long wanted = GetAnnounceMinAction();
    for (unsigned long long i = 0; i < wanted; ++i) {
        BUFFER buffer;
        const int rc = cti->DSAllocAndAnnounceBuffer(
            stream, payload, reinterpret_cast<void*>(static_cast<std::uintptr_t>(i)),
            &buffer.hBuffer);
        if (rc != 0) {
            std::cout << "#### err = " << rc << std::endl;
            if (i == 0) {
                return -6;
            }
            break;  // acquisition runs with the buffers that exist
        }
        // One that stays out of the queue is still revoked at the stop.
        Succeeded("StartGrab", "DSQueueBuffer", cti->DSQueueBuffer(stream, buffer.hBuffer));
        m_buffers[buffer.hBuffer] = buffer;
    }
    if (const int rc = StartStream(cti, stream, count); rc != 0) {
        return rc;
    }
    // The stream runs before the device sends; the transport-layer parameters
    // are locked just before the device starts.
    GenApi::CIntegerPtr locked = nodeMap->GetNode("TLParamsLocked");
    GenApi::CCommandPtr start = nodeMap->GetNode("AcquisitionStart");
    m_bDeviceStartFailed = !WriteFeature("TLParamsLocked", [&] {
        if (locked.IsValid()) {
            locked->SetValue(1, true);
        }
    }) || !WriteFeature("AcquisitionStart", [&] {
        if (start.IsValid()) {
            start->Execute(true);
        }
    });
    return 0;
}

void CCamera::AbortStart() {
    if (auto log = CRollingLog::Logger()) {
        log->error(
            "StartGrab: the device did not start; the acquisition is undone and the camera is "
            "idle (StartGrab still answers 0)");
    }
    // The stop of a running acquisition undoes every step: device stop and
    // unlock, stream stop, event, queues and buffers.
    StopGrabAction();
    StopGrabRelease();
    m_bDeviceStartFailed = false;
}

int CCamera::StartStream(CCti* cti, void* stream, unsigned long long count) {
    if (const int rc = cti->GCRegisterEvent(stream, GenTL::EVENT_NEW_BUFFER, &m_hNewBufferEvent);
        rc != 0) {
        Succeeded("StartGrab", "GCRegisterEvent", rc);
        m_hNewBufferEvent = nullptr;
        return -7;
    }
    if (const int rc = cti->DSStartAcquisition(stream, GenTL::ACQ_START_FLAGS_DEFAULT, count);
        rc != 0) {
        Succeeded("StartGrab", "DSStartAcquisition", rc);
        if (m_hNewBufferEvent != nullptr) {
            Succeeded("StartGrab", "EventKill", cti->EventKill(m_hNewBufferEvent));
        }
        UnregisterNewBuffer(cti, stream, "StartGrab");
        return -8;
    }
    return 0;
}

void CCamera::UnregisterNewBuffer(CCti* cti, void* stream, const char* step) {
    const int rc = cti->GCUnregisterEvent(stream, GenTL::EVENT_NEW_BUFFER);
    // GC_ERR_NOT_INITIALIZED: the producer holds no such registration.
    m_bEventLeft = rc != GenTL::GC_ERR_NOT_INITIALIZED && !Succeeded(step, "GCUnregisterEvent", rc);
    m_hNewBufferEvent = nullptr;
}

void CCamera::FlushQueues(CCti* cti, void* stream, const char* step) {
    const bool input = Succeeded(step, "DSFlushQueue",
                                 cti->DSFlushQueue(stream, GenTL::ACQ_QUEUE_INPUT_TO_OUTPUT));
    const bool output =
        Succeeded(step, "DSFlushQueue", cti->DSFlushQueue(stream, GenTL::ACQ_QUEUE_OUTPUT_DISCARD));
    m_bFlushPending = !(input && output);
}

unsigned long long CCamera::GetPayloadSizeAction() {
    std::int64_t size = 0;
    try {
        GenApi::INodeMap* remote = m_pRMPort ? m_pRMPort->GetNodeMap() : nullptr;
        size = ReadInteger(remote, "PayloadSize");
        if (m_pCameraInfo == nullptr || m_pCameraInfo->GetTLType() != TL_CXP) {
            return size > 0 ? static_cast<unsigned long long>(size) : 0;
        }
        if (size == 0 && m_pDSPort) {
            size = ReadInteger(m_pDSPort->GetNodeMap(), "PayloadSize");
        }
        if (size == 0 && remote != nullptr) {
            GenApi::CIntegerPtr width = remote->GetNode("Width");
            GenApi::CIntegerPtr height = remote->GetNode("Height");
            GenApi::CEnumerationPtr format = remote->GetNode("PixelFormat");
            if (width.IsValid() && height.IsValid() && format.IsValid()) {
                std::uint64_t bits = 0;
                std::uint64_t channels = 0;
                std::uint64_t payload = 0;
                m_imgTool.PayloadCalc(static_cast<std::uint64_t>(width->GetValue(true, true)),
                                      static_cast<std::uint64_t>(height->GetValue(true, true)),
                                      static_cast<std::uint64_t>(format->GetIntValue(true, true)),
                                      bits, channels, payload);
                size = static_cast<std::int64_t>(payload);
            }
        }
    } catch (...) {
    }
    return size > 0 ? static_cast<unsigned long long>(size) : 0;
}

void CCamera::StopGrab() {
    std::shared_ptr<CGrab> worker;
    {
        std::lock_guard<std::recursive_mutex> guard(m_lock);
        worker = std::move(m_pGrab);
    }
    // The worker thread grabs through GrabImage2, which needs the camera lock.
    if (worker) {
        worker->Stop();
        worker.reset();
    }
    std::unique_lock<std::recursive_mutex> guard(m_lock);
    if (m_bStopping) {
        // Another thread is stopping this acquisition: it owns the count and
        // the buffers until it is done, so wait for it instead of stopping twice.
        m_grabDone.wait(guard, [this] { return !m_bStopping; });
        return;
    }
    if (m_grabCount > 0) {
        m_bStopping = true;
        StopGrabAction();
        --m_grabCount;
        // A kill ends one wait; a grab that had not reached its wait when the
        // kills went out is ended by a later one.
        const auto giveUp = std::chrono::steady_clock::now() + kStopGiveUp;
        while (!m_grabDone.wait_for(guard, kStopRetry, [this] { return m_grabCount <= 0; })) {
            if (std::chrono::steady_clock::now() >= giveUp) {
                if (auto log = CRollingLog::Logger()) {
                    log->error(
                        "StopGrab: {} grab(s) still waiting after {} s of EventKill; stopping "
                        "without them",
                        m_grabCount, kStopGiveUp.count());
                }
                break;
            }
            KillWaits(1);
        }
        StopGrabRelease();
        m_bStopping = false;
        m_grabDone.notify_all();
    }
}

void CCamera::NoteStreamStop(int result) {
    // GC_ERR_RESOURCE_IN_USE: the stream was not running (any more).
    m_bStreamStopFailed = result != GenTL::GC_ERR_RESOURCE_IN_USE &&
                          !Succeeded("StopGrab", "DSStopAcquisition", result);
}

void CCamera::KillWaits(int count) {
    CCti* cti = StreamCti();
    if (cti == nullptr || m_hNewBufferEvent == nullptr) {
        return;
    }
    for (int i = 0; i < count; ++i) {
        Succeeded("StopGrab", "EventKill", cti->EventKill(m_hNewBufferEvent));
    }
}

void CCamera::StopGrabAction() {
    CCti* cti = StreamCti();
    void* stream = StreamHandle();
    GenApi::INodeMap* nodeMap = m_pRMPort ? m_pRMPort->GetNodeMap() : nullptr;
    if (!m_pDevPort || cti == nullptr || stream == nullptr || nodeMap == nullptr) {
        return;
    }
    // Waiting grabs return at once with GC_ERR_ABORT; every kill ends one wait.
    KillWaits(m_grabCount > 1 ? m_grabCount - 1 : 1);
    try {
        GenApi::CCommandPtr stop = nodeMap->GetNode("AcquisitionStop");
        if (GenApi::IsAvailable(stop)) {
            stop->Execute(true);
        }
        GenApi::CIntegerPtr locked = nodeMap->GetNode("TLParamsLocked");
        if (GenApi::IsAvailable(locked)) {
            locked->SetValue(0, true);
        }
        // Stopped again once unlocked: some devices ignore the first stop while
        // their transport-layer parameters are locked.
        if (GenApi::IsAvailable(stop)) {
            stop->Execute(true);
        }
    } catch (...) {
        LogCaught("StopGrab: stopping the device failed, the stream is stopped anyway");
    }
    NoteStreamStop(cti->DSStopAcquisition(stream, GenTL::ACQ_STOP_FLAGS_DEFAULT));
}

void CCamera::StopGrabRelease() {
    CCti* cti = StreamCti();
    void* stream = StreamHandle();
    if (cti == nullptr || stream == nullptr) {
        return;
    }
    UnregisterNewBuffer(cti, stream, "StopGrab");
    FlushQueues(cti, stream, "StopGrab");
    ClearBufAction();
}

void CCamera::ClearBufAction() {
    // Revoked only where the producer can give the buffer up: one an image
    // still uses, or one the producer refuses, stays announced (and its memory
    // allocated) until a later attempt.
    for (const auto& [handle, buffer] : m_buffers) {
        m_retired[handle] = buffer;
    }
    m_buffers.clear();
    RevokeRetired();
}

int CCamera::GrabImage(IImage** image, unsigned long long timeout) {
    if (image != nullptr) {
        *image = nullptr;
    }
    std::shared_ptr<CGrab> worker;
    {
        std::lock_guard<std::recursive_mutex> guard(m_lock);
        worker = m_pGrab;
    }
    return worker ? worker->GrabImage(image, timeout) : -1;
}

int CCamera::GrabImage2(IImage** image, unsigned long long timeout) {
    if (image == nullptr) {
        return -1;
    }
    *image = nullptr;
    {
        std::lock_guard<std::recursive_mutex> guard(m_lock);
        if (m_grabCount <= 0 || m_bStopping) {
            return -2;
        }
        ++m_grabCount;
    }
    // Lowered on every way out, or a stop would wait for this grab forever.
    struct GrabCountGuard {
        CCamera* camera;
        ~GrabCountGuard() {
            std::lock_guard<std::recursive_mutex> guard(camera->m_lock);
            if (--camera->m_grabCount == 0) {
                camera->m_grabDone.notify_all();  // a stop and a start may both wait
            }
        }
    } countGuard{this};
    return GrabImageAction(image, timeout);
}

int CCamera::GrabImageAction(IImage** image, unsigned long long timeout) {
    CCti* cti = nullptr;
    void* stream = nullptr;
    void* event = nullptr;
    std::uint64_t acquisition = 0;
    bool bigEndian = true;
    {
        // The handles are read under the lock; the wait itself runs outside it.
        std::lock_guard<std::recursive_mutex> guard(m_lock);
        cti = StreamCti();
        stream = StreamHandle();
        event = m_hNewBufferEvent;
        acquisition = m_acquisition;
    }
    if (cti == nullptr) {
        return -3;
    }
    if (stream == nullptr) {
        return -4;
    }
    if (event == nullptr) {
        return -5;
    }
    GenTL::EVENT_NEW_BUFFER_DATA data{};
    size_t size = sizeof data;
    const int rc = cti->EventGetData(event, &data, &size, timeout);
    if (rc != 0) {
        return MapWaitError(rc);
    }
    // The image owns the buffer from here on, so that it goes back to the
    // stream whatever happens next.
    auto* genImage = new CGenImage(this, acquisition);
    *image = genImage;
    try {
        bigEndian = IsPixelBigEndian();
    } catch (const std::exception& e) {
        // A camera that cannot say keeps the default answer of the base camera.
        if (auto log = CRollingLog::Logger()) {
            log->warn("pixel byte order not readable, taken as big-endian: {}", e.what());
        }
    }
    const int status = genImage->SetBufAction(cti, stream, data.BufferHandle, bigEndian);
    {
        // Counted before the grab ends, so that a stop or close that waits for
        // this grab sees the buffer as in use.
        std::lock_guard<std::recursive_mutex> guard(m_lock);
        m_images.insert(genImage);
    }
    return status != 0 ? status - 20 : 0;
}

void CCamera::QueueBuf(void* buffer) {
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    QueueBuf(buffer, m_acquisition);
}

void CCamera::QueueBuf(void* buffer, std::uint64_t acquisition) {
    if (buffer == nullptr) {
        return;
    }
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    if (m_grabCount <= 0 || acquisition != m_acquisition ||
        m_buffers.find(buffer) == m_buffers.end()) {
        return;  // revoked by a stop
    }
    if (CCti* cti = StreamCti(); cti != nullptr && StreamHandle() != nullptr) {
        // Lost to this acquisition, still announced: revoked at its stop.
        Succeeded("QueueBuf", "DSQueueBuffer", cti->DSQueueBuffer(StreamHandle(), buffer));
    }
}

char* CCamera::ConvertImage(char* buffer, std::uint64_t width, std::uint64_t height,
                            std::uint64_t pixelFormat, bool bigEndian) {
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    return m_imgTool.TransImage(buffer, width, height, pixelFormat, bigEndian, true);
}

}  // namespace VEXOGENICAM
