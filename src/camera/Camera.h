#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "CImgTool.h"
#include "ICamera.h"
#include "LumoExport.h"

class CCtiPort;

namespace VEXOGENICAM {

class CCameraInfo;
class CCameraManager;
class CCamera;
class CCti;
class CGenImage;
class CGrab;

// Shared by a camera and every image it handed out, so that an image can be
// released after its camera is gone: the camera pointer is cleared (under the
// lock) when the camera detaches its images.
struct CImageLink {
    std::mutex lock;
    CCamera* camera = nullptr;
};

// The camera of every transport layer. Public operations take the camera lock
// and call the protected ...Action operations, which the transport-specific
// kinds override.
class LUMO_API CCamera : public ICamera {
public:
    // One buffer announced to the data stream.
    struct BUFFER {
        void* hBuffer = nullptr;
        // Memory the library allocated itself (new unsigned char[]) and
        // announced as a user buffer; freed by ClearBufAction once revoked.
        void* reserved = nullptr;
    };

    CCamera(CCameraInfo* info, CCameraManager* manager);
    CCamera(const CCamera&) = delete;
    CCamera& operator=(const CCamera&) = delete;

    int Open(DEVICE_OPEN_MODE mode) override;
    void Close() override;
    bool IsOpen() override;
    bool IsOnline() override;
    void SetAnnounceBufCount(unsigned long long count) override;
    unsigned long long GetAnnounceBufCount() override;
    int StartGrab(GRAB_STRATEGY strategy, unsigned long long count) override;
    void StopGrab() override;
    bool IsGrabbing() override;
    int GrabImage(IImage** image, unsigned long long timeout) override;
    void ClearImageBuffer() override {}
    ICameraInfo* GetCameraInfo() override;
    IXml* GetTLXml() override;
    IXml* GetIFXml() override;
    IXml* GetDEVXml() override;
    IXml* GetRMXml() override;
    IXml* GetDSXml() override;
    bool IsCLCamOnline() override { return false; }
    int SetCLParam(const char* name, const char* value) override;
    int RegisterNotify(NOTIFY_SRC src, NOTIFY_TYPE type, INotify* notify) override;
    void RegisterEventListener(IEvent* listener) override;
    void Release() override;

    virtual ~CCamera();

    // The direct grab used by the strategies: waits on the stream outside the
    // camera lock, counted so that StopGrab can wait for it.
    int GrabImage2(IImage** image, unsigned long long timeout);
    // Gives a buffer back to the stream while the acquisition that announced
    // it still runs; later returns are dropped.
    void QueueBuf(void* buffer);
    void QueueBuf(void* buffer, std::uint64_t acquisition);

    // Called by an image's release; the image's buffer goes back to the
    // stream, or is revoked once no longer in use.
    void ImageReleased(CGenImage* image, void* buffer, std::uint64_t acquisition);
    const std::shared_ptr<CImageLink>& GetImageLink() { return m_imageLink; }

    // Logs a producer failure that the operation `step` goes on past, naming
    // the call and its code; true when `result` is success.
    static bool Succeeded(const char* step, const char* call, int result);
    // Inside a catch block: logs what failed and the exception's text.
    static void LogCaught(const std::string& what);

    CCameraInfo* GetInfo() { return m_pCameraInfo; }
    CImgTool& GetImgTool() { return m_imgTool; }
    // Converts under the camera lock: the tool's working buffers are shared by
    // all images of this camera.
    char* ConvertImage(char* buffer, std::uint64_t width, std::uint64_t height,
                       std::uint64_t pixelFormat, bool bigEndian);

protected:
    virtual int OpenAction(DEVICE_OPEN_MODE mode);
    virtual void CloseAction();
    virtual int StartGrabAction(unsigned long long count);
    virtual void StopGrabAction();
    virtual void StopGrabRelease();
    virtual unsigned long long GetAnnounceMinAction();
    virtual int GrabImageAction(IImage** image, unsigned long long timeout);
    virtual void ClearBufAction();
    virtual int RegisterNotifyAction(NOTIFY_SRC src, NOTIFY_TYPE type, INotify* notify,
                                     void** handle);
    virtual void UnRegisterNotifyAction(NOTIFY_SRC src, NOTIFY_TYPE type, void* handle);
    virtual unsigned long long GetPayloadSizeAction();
    virtual bool IsPixelBigEndian() { return true; }

    // The producer of the data stream, and its handle; null when not open.
    CCti* StreamCti();
    void* StreamHandle();
    // Opens the device's first data stream as the stream port: 0, or -4 to -7
    // for the step that failed.
    int OpenFirstStream(CCti* cti, void* device);
    // Registers the new-buffer event and starts the stream: 0, -7 or -8; a
    // failed start leaves no event registered.
    int StartStream(CCti* cti, void* stream, unsigned long long count);
    // Ends up to `count` grabs waiting on the new-buffer event.
    void KillWaits(int count);
    // GenTL DEVICE_ACCESS_FLAGS value of an open mode.
    static int AccessFlags(DEVICE_OPEN_MODE mode);
    // The first step of every destructor: leaves the registry, closes while the
    // object is still whole, and detaches images the client still holds.
    void Retire();
    // Records the result of the stream stop: a stream that did not stop keeps
    // its buffers announced until a later stop works.
    void NoteStreamStop(int result);
    // Flushes both queues of the stream; a failure is repaired before the
    // next revocation.
    void FlushQueues(CCti* cti, void* stream, const char* step);
    // Unregisters the new-buffer event; one the producer keeps is
    // unregistered again before the next registration.
    void UnregisterNewBuffer(CCti* cti, void* stream, const char* step);

    // Buffers taken out of the acquisition but still announced; the producer
    // gives them up (and the camera frees its own memory) once no image uses
    // them and the stream does not run.
    std::unordered_map<void*, BUFFER> m_retired;

    std::unique_ptr<CCtiPort> m_pDevPort;
    std::unique_ptr<CCtiPort> m_pRMPort;
    std::unique_ptr<CCtiPort> m_pDSPort;
    std::unordered_map<void*, BUFFER> m_buffers;
    void* m_hNewBufferEvent = nullptr;
    CCameraInfo* m_pCameraInfo;
    CCameraManager* m_pCameraManager;
    std::recursive_mutex m_lock;
    std::condition_variable_any m_grabDone;
    int m_grabCount = 0;
    std::atomic<unsigned long long> m_announceCount{8};
    // Shared so that a client still inside GrabImage keeps the worker alive
    // while StopGrab ends it.
    std::shared_ptr<CGrab> m_pGrab;
    CImgTool m_imgTool{false};
    std::atomic<bool> m_bOnline{false};
    std::unordered_map<std::uint64_t, void*> m_notifies;
    // Numbers each successful start so that images of an earlier acquisition
    // never re-queue a handle the producer may have reused.
    std::uint64_t m_acquisition = 0;
    // Set while StopGrab waits for the grabs in flight; no new grab may start.
    bool m_bStopping = false;
    // Set by StartGrabAction when the stream runs but the device would not
    // lock its parameters or start: StartGrab goes back to idle.
    bool m_bDeviceStartFailed = false;

private:
    struct Lingering {
        std::unique_ptr<CCtiPort> dev;
        std::unique_ptr<CCtiPort> rm;
        std::unique_ptr<CCtiPort> ds;
    };

    // Revokes the retired buffers that no image uses, after stopping again a
    // stream whose stop failed; only while no acquisition runs.
    void RevokeRetired();
    // Completes what a failed stop, flush or unregistration left undone; true
    // when the stream is known to be stopped and its queues empty.
    bool RepairStream(CCti* cti, void* stream);
    // Closes a stream and its device; a close the producer refuses leaves the
    // handle for CloseStale.
    void CloseModules(CCti* cti, std::unique_ptr<CCtiPort>& dev, std::unique_ptr<CCtiPort>& rm,
                      std::unique_ptr<CCtiPort>& ds);
    // Closes a stream and device whose close the producer refused, so that
    // the device can be opened again.
    void CloseStale(CCti* cti);
    // Undoes a start whose device side failed, back to idle.
    void AbortStart();
    bool IsHeld(void* buffer) const;
    // Closes the stream and device kept open for held images.
    void FinishLingering();
    void DetachImages();
    // Takes every registration out of the map under the lock; the caller ends
    // them without the lock (their callbacks may call into the camera).
    std::unordered_map<std::uint64_t, void*> TakeNotifies();
    void EndNotifies(const std::unordered_map<std::uint64_t, void*>& notifies);
    // Marks an Open or Close in progress once the previous one has finished,
    // then stops the acquisition and ends the registrations without the lock;
    // returns with the lock held again.
    void BeginTeardown(std::unique_lock<std::recursive_mutex>& guard);
    void EndTeardown();

    std::shared_ptr<CImageLink> m_imageLink = std::make_shared<CImageLink>();
    // Images handed out and not yet released, of every acquisition.
    std::unordered_set<CGenImage*> m_images;
    // Device and stream that a Close left open while images still pointed
    // into their buffers.
    Lingering m_lingering;
    // An Open or Close is between its stop and its close action: starts and
    // registrations answer as on a closed camera.
    bool m_bClosing = false;
    // Registrations being ended without the lock; the device stays open until
    // they are done.
    int m_notifiesEnding = 0;
    bool m_bStreamStopFailed = false;
    // A flush or an unregistration that the producer refused, done again
    // before the next revocation or registration.
    bool m_bFlushPending = false;
    bool m_bEventLeft = false;
    // A data stream and a device that the producer would not close.
    void* m_hStaleStream = nullptr;
    void* m_hStaleDevice = nullptr;
};

}  // namespace VEXOGENICAM
