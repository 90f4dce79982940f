#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "LumoExport.h"

namespace VEXOGENICAM {

enum REF_MODE : std::int32_t {
    // The owner's Release waits until every other reference is gone, then deletes.
    REF_MODE_WAIT = 0,
    // The last UnRef deletes.
    REF_MODE_AUTO = 1,
};

// Reference-counting base. The count starts at 1, the creator's reference.
class LUMO_API CRef {
public:
    explicit CRef(REF_MODE mode);
    CRef(const CRef&) = delete;
    CRef& operator=(const CRef&) = delete;
    virtual ~CRef();

    // Adds a reference; false once the owner has begun Release in REF_MODE_WAIT.
    bool Ref();
    // Gives back a reference; false when none was held.
    bool UnRef();
    // REF_MODE_AUTO: UnRef. REF_MODE_WAIT: refuse new references, give back the
    // owner's, wait for the others, then delete the object.
    void Release();

private:
    REF_MODE m_mode;
    bool m_closing = false;
    std::uint64_t m_count = 1;
    std::mutex m_lock;
    std::condition_variable_any m_released;
};

}  // namespace VEXOGENICAM
