#pragma once

#include <cstdint>

namespace LumoSim {

// Register addresses of the camera head (remote device, or the device module when the device has
// no remote port).
namespace CamReg {
constexpr uint64_t kWidth = 0x1000, kHeight = 0x1004, kOffsetX = 0x1008, kOffsetY = 0x100C,
                   kSensorWidth = 0x1010, kSensorHeight = 0x1014, kPixelFormat = 0x1018,
                   kPayloadSize = 0x101C, kAcqMode = 0x1020, kAcqStart = 0x1024, kAcqStop = 0x1028,
                   kFrameRate = 0x1030, kTLParamsLocked = 0x1038, kTriggerMode = 0x103C,
                   kTriggerSoftware = 0x1040, kChunkModeActive = 0x1044, kChunkSelector = 0x1048,
                   kPixelBigEndian = 0x1060, kChunkEnable = 0x1100, kPacketSize = 0x0D04;
// Settings that change no pixel (a real camera's exposure and gain), and the user name. The
// event features use 0x1300 and up (EventFeatures.h).
constexpr uint64_t kExposureTime = 0x1200, kGain = 0x1208, kUserId = 0xE8, kUserIdLength = 16;
constexpr int kChunkCount = 5;  // FrameID, Timestamp, Width, Height, PixelFormat
constexpr uint64_t kChunkIdBase = 0x1001;
}  // namespace CamReg

}  // namespace LumoSim
