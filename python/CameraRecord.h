#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "CameraText.h"
#include "Library.h"
#include "LumoGenICam.h"

namespace lumopy {

// The reference on one device record that discovery handed out.
class RecordRef : public Held {
public:
    explicit RecordRef(VEXOGENICAM::ICameraInfo* info);
    ~RecordRef() override;

    void Drop() override;
    // The record, or null once it was given back at shutdown.
    VEXOGENICAM::ICameraInfo* Get();

private:
    std::mutex m_lock;
    VEXOGENICAM::ICameraInfo* m_info;
};

// A discovered camera as Python sees it: the record's facts copied out, and
// the record itself for opening the camera.
struct CameraRecord {
    std::string serial;
    std::string vendor;
    std::string model;
    std::string tlType;
    std::string userName;
    std::string displayName;
    std::string id;
    std::string version;
    std::string accessStatus;
    std::string ip;  // empty when the producer gives none
    std::string mac;
    std::shared_ptr<RecordRef> ref;  // null for a record that only describes

    // Copies the facts; takes over one reference when `owned` (from
    // discovery), else only describes (a camera's own record).
    static CameraRecord FromInfo(VEXOGENICAM::ICameraInfo* info, bool owned);
    std::string Repr() const;
};

// None: every producer; "gev" or "gev,u3v" or a list of names: by TL type.
// Throws std::invalid_argument for an unknown name.
unsigned long long ParseTlMask(const std::string& names);

}  // namespace lumopy
