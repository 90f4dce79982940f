#pragma once

#include <memory>

#include "LumoExport.h"
#include "camera/Camera.h"

namespace VEXOGENICAM {

class CCLRemote;

// The camera behind a Camera Link (or Camera Link HS) frame grabber. The
// producer offers the grabber's device module and data stream but no remote
// port, so the image geometry comes from the device module, the camera
// allocates its own buffers, and the camera head is reached, if ever, through
// a CCLRemote.
class LUMO_API CCLCamera : public CCamera {
public:
    CCLCamera(CCameraInfo* info, CCameraManager* manager);
    ~CCLCamera() override;

    bool IsOnline() override;
    IXml* GetRMXml() override;
    // With a remote: a null name drops it (0), anything else is refused (-1).
    // Without one: configures a new remote and keeps it only on success.
    int SetCLParam(const char* name, const char* value) override;

protected:
    int OpenAction(DEVICE_OPEN_MODE mode) override;
    void CloseAction() override;
    int StartGrabAction(unsigned long long count) override;
    void StopGrabAction() override;

private:
    // Padded size of one buffer from the device module's geometry; 0 when the
    // geometry is incomplete or the pixel format unknown.
    unsigned long long BufferSize(GenApi::INodeMap* device);
    int AnnounceBuffers(CCti* cti, void* stream, unsigned long long size);

    std::unique_ptr<CCLRemote> m_pCLRemote;
};

}  // namespace VEXOGENICAM
