#pragma once

#include "ICameraInfo.h"
#include "IEvent.h"
#include "IImage.h"
#include "INotify.h"
#include "IXml.h"
#include "LumoTypes.h"

namespace VEXOGENICAM {

// One physical device. Results are 0 on success, a small negative number for
// the library's own failures, or a GenTL status code passed up unchanged.
// Give the camera back with Release() after releasing its images.
class ICamera {
public:
    // 0, or -1 no producer, -2 device not reachable or not opened, -3 no
    // remote port, -4 stream count failed, -5 no data stream, -6 stream ID
    // failed, -7 stream open failed. Opening an open camera reopens it. While
    // a Close waits underneath for held images (see Close), Open returns -2.
    virtual int Open(DEVICE_OPEN_MODE mode) = 0;
    // Stops any acquisition, ends every notification registration, then closes
    // stream, remote port and device. With images still held, the camera is
    // closed for the application at once (IsOpen false, no device, remote or
    // stream description), while its stream and device stay open underneath
    // until the last of those images is released, so that their pixels stay
    // valid. A StartGrab or RegisterNotify that meets a Close in progress
    // answers as on a closed camera (-2).
    virtual void Close() = 0;
    virtual bool IsOpen() = 0;
    // Reads "Width" from the device to check that it still answers.
    virtual bool IsOnline() = 0;
    // Number of buffers announced at the next StartGrab; below 3 is ignored.
    virtual void SetAnnounceBufCount(unsigned long long count) = 0;
    virtual unsigned long long GetAnnounceBufCount() = 0;
    // Acquires `count` images (all bits set: endless). -1 when already grabbing.
    virtual int StartGrab(GRAB_STRATEGY strategy, unsigned long long count) = 0;
    // Stops acquisition, waits for grabs in progress and revokes all buffers;
    // the buffer of an image still held is revoked when the image is released,
    // so its pixels stay valid until then.
    virtual void StopGrab() = 0;
    virtual bool IsGrabbing() = 0;
    // Waits up to `timeout` ms for an image: -1 not grabbing, -11 time-out,
    // -12 aborted by StopGrab, -10 other wait errors, -21 .. -26 a buffer
    // whose metadata failed (the image is still handed out and owned by the
    // caller; -23 is an incomplete frame).
    virtual int GrabImage(IImage** image, unsigned long long timeout) = 0;
    virtual void ClearImageBuffer() = 0;
    virtual ICameraInfo* GetCameraInfo() = 0;
    // Description files of the producer, interface, device, remote device and
    // data stream modules; null where the module is not open.
    virtual IXml* GetTLXml() = 0;
    virtual IXml* GetIFXml() = 0;
    virtual IXml* GetDEVXml() = 0;
    virtual IXml* GetRMXml() = 0;
    virtual IXml* GetDSXml() = 0;
    virtual bool IsCLCamOnline() = 0;
    virtual int SetCLParam(const char* name, const char* value) = 0;
    // Registers (non-null notify) or unregisters (null) a GenTL event of one
    // module: 0 registered; -1 bad argument, already registered, or any
    // unregistration (an unregistration that worked also answers -1); -2
    // module not open; -4 the producer refused; -10 the new-buffer event of
    // the data stream, which acquisition owns.
    virtual int RegisterNotify(NOTIFY_SRC src, NOTIFY_TYPE type, INotify* notify) = 0;
    virtual void RegisterEventListener(IEvent* listener) = 0;
    // Releasing a camera (or UnInit) while images are still held detaches
    // them: their metadata stays, their pixel, chunk and converted-data
    // pointers become null, and their Release stays safe.
    virtual void Release() = 0;

protected:
    ~ICamera() = default;
};

}  // namespace VEXOGENICAM
