#pragma once

/// @file LumoResultCodes.h
/// Named result codes of the camera calls. The numbers are those the calls
/// have always returned; a name belongs to one call family, because the same
/// number means different things to different calls (-2 is "device not
/// reachable" for Open but "not grabbing" for a grab).

namespace VEXOGENICAM {
namespace result {

/// Every call: success.
inline constexpr int kOk = 0;

/// ICamera::Open.
namespace open {
inline constexpr int kNoProducer = -1;       ///< the camera's producer is gone
inline constexpr int kDeviceNotOpened = -2;  ///< no interface, device list failed, device open
                                             ///< refused (busy, no access, still closing)
inline constexpr int kNoRemotePort = -3;     ///< the device has no remote port
inline constexpr int kStreamCountFailed = -4;
inline constexpr int kNoDataStream = -5;
inline constexpr int kStreamIdFailed = -6;
inline constexpr int kStreamOpenFailed = -7;
}  // namespace open

/// ICamera::StartGrab.
namespace start_grab {
inline constexpr int kAlreadyGrabbing = -1;
inline constexpr int kMissingPorts = -2;  ///< device, stream or remote port not open
inline constexpr int kNoProducer = -3;
inline constexpr int kNoStreamHandle = -4;
inline constexpr int kNoNodeMap = -5;     ///< the remote device has no node map
inline constexpr int kNoBuffers = -6;     ///< no payload size, or not one buffer announced
inline constexpr int kEventRefused = -7;  ///< the new-buffer event could not be registered
inline constexpr int kStartRefused = -8;  ///< DSStartAcquisition failed
}  // namespace start_grab

/// ICamera::GrabImage (and the engine's own grab).
namespace grab_image {
inline constexpr int kNotGrabbing = -1;       ///< no StartGrab, or a null output pointer
inline constexpr int kStoppedMeanwhile = -2;  ///< the acquisition stopped before the grab began
inline constexpr int kWaitFailed = -10;       ///< any other error of the event wait
inline constexpr int kTimeout = -11;
inline constexpr int kAborted = -12;             ///< StopGrab ended the wait
inline constexpr int kBufferTooSmall = -13;      ///< GC_ERR_BUFFER_TOO_SMALL
inline constexpr int kChunkParsingFailed = -14;  ///< GC_ERR_PARSING_CHUNK_DATA
inline constexpr int kResourcesExhausted = -15;  ///< GC_ERR_RESOURCE_EXHAUSTED
/// The image is handed out but its metadata failed; the caller owns it.
inline constexpr int kImageMissingBuffer = -21;
inline constexpr int kImageInfoFailed = -22;
inline constexpr int kImageIncomplete = -23;
inline constexpr int kImageNullBase = -24;
inline constexpr int kImageUnknownFormat = -25;
inline constexpr int kImageLargerThanBuffer = -26;
}  // namespace grab_image

/// ICamera::RegisterNotify.
namespace notify {
/// A bad argument, a pair already registered, or any unregistration (also
/// one that worked).
inline constexpr int kRefused = -1;
inline constexpr int kModuleNotOpen = -2;
inline constexpr int kAlreadyStarted = -3;
inline constexpr int kProducerRefused = -4;
inline constexpr int kReservedEvent = -10;  ///< the data stream's new-buffer event
}  // namespace notify

}  // namespace result
}  // namespace VEXOGENICAM
