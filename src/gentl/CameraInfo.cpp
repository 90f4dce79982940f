#include "gentl/CameraInfo.h"

namespace VEXOGENICAM {

CCameraInfo::CCameraInfo(CCti* cti) : CRef(REF_MODE_AUTO), m_pCti(cti) {}

const char* CCameraInfo::GetExInfo(EX_INFOID id) {
    const auto it = m_exInfo.find(id);
    return it == m_exInfo.end() ? nullptr : it->second.c_str();
}

bool CCameraInfo::Equal(CCameraInfo* other) {
    if (other == nullptr || other->m_pCti != m_pCti || other->m_tlType != m_tlType) {
        return false;
    }
    if (other->m_id != m_id || other->m_sn != m_sn || other->m_manufacture != m_manufacture ||
        other->m_model != m_model) {
        return false;
    }
    if (m_tlType != TL_GEV) {
        return true;
    }
    for (EX_INFOID key : {EX_INFO_IP, EX_INFO_MAC}) {
        const char* mine = GetExInfo(key);
        const char* theirs = other->GetExInfo(key);
        if ((mine == nullptr) != (theirs == nullptr)) {
            return false;
        }
        if (mine != nullptr && std::string(mine) != theirs) {
            return false;
        }
    }
    return true;
}

}  // namespace VEXOGENICAM
