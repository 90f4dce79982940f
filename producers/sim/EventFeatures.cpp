#include "EventFeatures.h"

#include <GenTL/GenTL.h>

#include <cstring>
#include <sstream>
#include <string>

#include "Module.h"
#include "XmlBuilder.h"

namespace LumoSim {
namespace {

constexpr int64_t kExposureEnd = 0;  // EventSelector entry
constexpr int kKinds = 1;

std::string HexId(uint64_t id) {
    std::ostringstream s;
    s << std::hex << std::uppercase << id;
    return s.str();
}

std::string EventRegister(const std::string& name, uint64_t address, const std::string& port) {
    return "<IntReg Name=\"" + name + "\" NameSpace=\"Standard\">\n  <Address>" +
           std::to_string(address) +
           "</Address>\n  <Length>8</Length>\n  <AccessMode>RO</AccessMode>\n  <pPort>" + port +
           "</pPort>\n  <Cachable>NoCache</Cachable>\n  <Sign>Unsigned</Sign>\n  "
           "<Endianess>LittleEndian</Endianess>\n</IntReg>\n";
}

}  // namespace

void AddEventFeatures(CModule& camera, CXmlBuilder& x) {
    auto& r = camera.regs;
    x.Enum("EventSelector", CamEvent::kSelector, {{"ExposureEnd", kExposureEnd}}, kExposureEnd,
           true, [](std::vector<uint8_t>& b) {
               return CRegisterSpace::ToInt(b) < kKinds ? 0 : GenTL::GC_ERR_INVALID_VALUE;
           });
    for (int i = 0; i < kKinds; ++i) {
        r.AddInt(CamEvent::kNotification + 4 * static_cast<uint64_t>(i), 4, 0, true,
                 [](std::vector<uint8_t>& b) {
                     return CRegisterSpace::ToInt(b) <= 1 ? 0 : GenTL::GC_ERR_INVALID_VALUE;
                 });
    }
    x.Raw("EventNotification",
          "<Enumeration Name=\"EventNotification\" NameSpace=\"Standard\">\n"
          "  <EnumEntry Name=\"Off\"><Value>0</Value></EnumEntry>\n"
          "  <EnumEntry Name=\"On\"><Value>1</Value></EnumEntry>\n"
          "  <pValue>EventNotificationReg</pValue>\n</Enumeration>\n"
          "<IntReg Name=\"EventNotificationReg\">\n  <Address>" +
              std::to_string(CamEvent::kNotification) +
              "</Address>\n  <pIndex Offset=\"4\">EventSelector</pIndex>\n  <Length>4</Length>\n"
              "  <AccessMode>RW</AccessMode>\n  <pPort>" +
              camera.portName +
              "</pPort>\n  <Cachable>NoCache</Cachable>\n  <Sign>Unsigned</Sign>\n"
              "  <Endianess>LittleEndian</Endianess>\n</IntReg>\n");
    const std::string port = "EventExposureEndPort";
    x.Raw("EventExposureEnd",
          "<Integer Name=\"EventExposureEnd\" NameSpace=\"Standard\">\n"
          "  <ImposedAccessMode>RO</ImposedAccessMode>\n  <Value>" +
              std::to_string(CamEvent::kExposureEndId) + "</Value>\n</Integer>\n");
    // Always there: the data features that stay need it, whatever is omitted.
    x.Raw("", "<Port Name=\"" + port + "\">\n  <EventID>" + HexId(CamEvent::kExposureEndId) +
                  "</EventID>\n</Port>\n");
    x.Raw("EventExposureEndTimestamp", EventRegister("EventExposureEndTimestamp", 0, port));
    x.Raw("EventExposureEndFrameID", EventRegister("EventExposureEndFrameID", 8, port));
    x.Category("EventControl", {"EventSelector", "EventNotification", "EventExposureEnd",
                                "EventExposureEndTimestamp", "EventExposureEndFrameID"});
}

bool ExposureEndNotifiedLocked(const CModule& camera) {
    return camera.regs.Get(CamEvent::kNotification + 4 * kExposureEnd) != 0;
}

CEvent::Entry ExposureEndEvent(uint64_t timestamp, uint64_t frameId) {
    const std::string id = HexId(CamEvent::kExposureEndId);
    std::vector<uint8_t> data(16);
    std::memcpy(data.data(), &timestamp, 8);
    std::memcpy(data.data() + 8, &frameId, 8);
    return CEvent::Encode({id.begin(), id.end()}, data);
}

}  // namespace LumoSim
