// The data stream module's own features. The four registers at fixed addresses are the ones a
// consumer written for GigE Vision producers writes after opening a camera:
//   0x24   option word: 0x10 packet resend, 0x20 automatic socket receive buffer,
//          0x400 packet size negotiation at stream start (0x430 = all three)
//   0x228  smallest packet size the producer may set on the camera (0 = no bound)
//   0x22C  largest packet size the producer may set on the camera (0 = no bound)
//   0x230  packet size step
// They take effect at the next DSStartAcquisition.
#include "GentlError.h"
#include "GevStream.h"

namespace LumoGev {
namespace {

template <typename T>
CFeatureTable::SetInt Store(T& field) {
    return [&field](int64_t v) { field = static_cast<T>(v); };
}

CFeatureTable::GetInt Get(const int64_t& field) {
    return [&field] { return field; };
}

// A setting that takes values from `lo` to `hi` and refuses others.
CFeatureTable::SetInt Bounded(int64_t& field, int64_t lo, int64_t hi, const char* what) {
    return [&field, lo, hi, what](int64_t v) {
        if (v < lo || v > hi) {
            Fail(GenTL::GC_ERR_INVALID_VALUE,
                 std::string(what) + " takes " + std::to_string(lo) + " to " + std::to_string(hi));
        }
        field = v;
    };
}

}  // namespace

void CStream::BuildFeatures() {
    auto& f = features;
    f.At(0x24);
    f.Integer(
        "StreamOptions", [this] { return int64_t{options_}; }, Store(options_), 4);
    f.At(0x228);
    f.Integer(
        "StreamPacketSizeMinimum", [this] { return int64_t{packetMin_}; }, Store(packetMin_), 4);
    f.At(0x22C);
    f.Integer(
        "StreamPacketSizeMaximum", [this] { return int64_t{packetMax_}; }, Store(packetMax_), 4);
    f.At(0x230);
    f.Integer(
        "StreamPacketSizeIncrement", [this] { return int64_t{packetInc_}; }, Store(packetInc_), 4);
    f.At(0x1000);
    f.String("StreamID", [this] { return id; });
    f.Enumeration("StreamType", {{"GigEVision", 0}}, [] { return int64_t{0}; });
    f.Enumeration("StreamBufferHandlingMode", {{"OldestFirst", 0}}, [] { return int64_t{0}; });
    f.Integer("StreamAnnouncedBufferCount", [this] { return int64_t(buffers_.size()); });
    f.Integer("StreamAnnounceBufferMinimum", [] { return int64_t{1}; });
    f.Integer("StreamInputBufferCount", [this] { return int64_t(Count(CBuffer::Where::Input)); });
    f.Integer("StreamOutputBufferCount", [this] { return int64_t(output_.size()); });
    f.Integer("StreamStartedFrameCount", [this] { return int64_t(Counters().started); });
    f.Integer("StreamDeliveredFrameCount", [this] { return int64_t(Counters().delivered); });
    f.Integer("StreamIncompleteFrameCount", [this] { return int64_t(Counters().incomplete); });
    f.Integer("StreamLostFrameCount", [this] { return int64_t(Counters().underruns); });
    f.Integer("StreamMissingPacketCount", [this] { return int64_t(Counters().missingPackets); });
    f.Integer("StreamResentPacketCount", [this] { return int64_t(Counters().resentPackets); });
    f.Boolean("StreamIsGrabbing", [this] { return int64_t{grabbing_}; });
    f.Integer("PayloadSize", [this] { return int64_t(PayloadSize()); });
    f.Boolean(
        "EnablePacketResend", [this] { return int64_t{(options_ & kOptionPacketResend) != 0}; },
        [this](int64_t on) {
            options_ = on ? options_ | kOptionPacketResend : options_ & ~kOptionPacketResend;
        });
    // What the running Aravis stream really does, to check that the setting reached it.
    f.Boolean("StreamPacketResendActive", [this] {
        if (engine_ == nullptr)
            return int64_t{0};
        ArvGvStreamPacketResend resend = ARV_GV_STREAM_PACKET_RESEND_NEVER;
        g_object_get(engine_, "packet-resend", &resend, nullptr);
        return int64_t{resend == ARV_GV_STREAM_PACKET_RESEND_ALWAYS};
    });
    f.Integer("PacketTimeout", Get(packetTimeoutUs_),
              Bounded(packetTimeoutUs_, 1, 10000000, "PacketTimeout (us)"));
    f.Integer("ImageTimeout", Get(imageTimeoutMs_),
              Bounded(imageTimeoutMs_, 1, 60000, "ImageTimeout (ms)"));
    // 0 lets Aravis size the socket buffer from the payload.
    f.Integer("SocketBufferSize", Get(socketBuffer_),
              Bounded(socketBuffer_, 0, int64_t{1} << 30, "SocketBufferSize (bytes)"));
    f.Finish("LumoGevStream.xml", "LumoGevStream");
}

}  // namespace LumoGev
