#include "Ref.h"

namespace VEXOGENICAM {

CRef::CRef(REF_MODE mode) : m_mode(mode) {}

CRef::~CRef() = default;

bool CRef::Ref() {
    std::lock_guard<std::mutex> guard(m_lock);
    if (m_closing) {
        return false;
    }
    ++m_count;
    return true;
}

bool CRef::UnRef() {
    bool deleteNow = false;
    bool released = false;
    {
        std::lock_guard<std::mutex> guard(m_lock);
        if (m_count > 0) {
            --m_count;
            released = true;
            if (m_count == 0) {
                if (m_mode == REF_MODE_WAIT) {
                    m_released.notify_all();
                } else {
                    deleteNow = true;
                }
            }
        }
    }
    // Deleting outside the lock: the lock is a member of what is deleted.
    if (deleteNow) {
        delete this;
    }
    return released;
}

void CRef::Release() {
    if (m_mode != REF_MODE_WAIT) {
        UnRef();
        return;
    }
    {
        std::unique_lock<std::mutex> guard(m_lock);
        m_closing = true;
        if (m_count > 0) {
            --m_count;
        }
        // Re-checked in a loop so that a spurious wake-up cannot delete the
        // object while another holder still uses it.
        m_released.wait(guard, [this] { return m_count == 0; });
    }
    delete this;
}

}  // namespace VEXOGENICAM
