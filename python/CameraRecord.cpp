#include "CameraRecord.h"

#include <sstream>
#include <stdexcept>

namespace lumopy {

using namespace VEXOGENICAM;

namespace {

std::string Text(const char* text) {
    return text != nullptr ? text : "";
}

}  // namespace

RecordRef::RecordRef(ICameraInfo* info) : Held(Rank::Record), m_info(info) {
    try {
        Library::Get().Track(this);
    } catch (...) {
        info->Release();
        throw;
    }
}

RecordRef::~RecordRef() {
    Library::Get().Untrack(this);
    Drop();
}

void RecordRef::Drop() {
    std::lock_guard<std::mutex> guard(m_lock);
    if (m_info != nullptr) {
        m_info->Release();
        m_info = nullptr;
    }
}

ICameraInfo* RecordRef::Get() {
    std::lock_guard<std::mutex> guard(m_lock);
    return m_info;
}

CameraRecord CameraRecord::FromInfo(ICameraInfo* info, bool owned) {
    CameraRecord record;
    record.serial = Text(info->GetSN());
    record.vendor = Text(info->GetManufacture());
    record.model = Text(info->GetModel());
    record.tlType = lumoclient::TlTypeName(info->GetTLType());
    record.userName = Text(info->GetUserDefineName());
    record.displayName = Text(info->GetDisplayName());
    record.id = Text(info->GetID());
    record.version = Text(info->GetVersion());
    record.accessStatus = lumoclient::AccessStatusName(info->GetAccessStatus());
    record.ip = Text(info->GetExInfo(EX_INFO_IP));
    record.mac = Text(info->GetExInfo(EX_INFO_MAC));
    if (owned) {
        record.ref = std::make_shared<RecordRef>(info);
    }
    return record;
}

std::string CameraRecord::Repr() const {
    std::ostringstream out;
    out << "CameraRecord(serial='" << serial << "', vendor='" << vendor << "', model='" << model
        << "', tl_type='" << tlType << "'";
    if (!ip.empty()) {
        out << ", ip='" << ip << "'";
    }
    out << ")";
    return out.str();
}

unsigned long long ParseTlMask(const std::string& names) {
    const unsigned long long mask = lumoclient::ParseTlMask(names);
    if (mask == 0) {
        throw std::invalid_argument("tl names no transport layer");
    }
    return mask;
}

}  // namespace lumopy
