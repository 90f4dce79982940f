#pragma once

#include "GenApi/GenApi.h"
#include "LumoExport.h"
#include "camera/Camera.h"

namespace VEXOGENICAM {

// The camera of a GigE Vision device: tunes the producer's data stream after
// each open and keeps 16-bit mono pixels little-endian on cameras that can
// switch their byte order.
class LUMO_API CGevCamera : public CCamera {
public:
    CGevCamera(CCameraInfo* info, CCameraManager* manager);
    ~CGevCamera() override;

    // Packet-size limits, packet resend, filter driver and image time-out of
    // the open stream. Every failure is silent: the producer keeps its defaults.
    void InitRegAction();

protected:
    int OpenAction(DEVICE_OPEN_MODE mode) override;
    int StartGrabAction(unsigned long long count) override;
    bool IsPixelBigEndian() override;

private:
    void WritePacketLimits(CCti* cti, void* stream, GenApi::INodeMap* remote);
    static void TuneStream(GenApi::INodeMap* stream);

    // The remote "pgrPixelBigEndian" node while the current acquisition uses it.
    GenApi::CBooleanPtr m_ptrPixelBigEndian;
};

}  // namespace VEXOGENICAM
