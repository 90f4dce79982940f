#include "PortNode.h"

namespace GenApi {

void CPortNode::Read(void* pBuffer, int64_t Address, int64_t Length) {
    if (!pBuffer || Length < 0) {
        throw INVALID_ARGUMENT_EXCEPTION("Port '%s': invalid buffer", Name().c_str());
    }
    ArvGcPort* port = ARV_GC_PORT(EngineNode());
    Call(true, [=](GError** e) {
        arv_gc_port_read(port, pBuffer, static_cast<guint64>(Address), static_cast<guint64>(Length),
                         e);
    });
}

void CPortNode::Write(const void* pBuffer, int64_t Address, int64_t Length) {
    if (!pBuffer || Length < 0) {
        throw INVALID_ARGUMENT_EXCEPTION("Port '%s': invalid buffer", Name().c_str());
    }
    ArvGcPort* port = ARV_GC_PORT(EngineNode());
    Call(false, [=](GError** e) {
        arv_gc_port_write(port, const_cast<void*>(pBuffer), static_cast<guint64>(Address),
                          static_cast<guint64>(Length), e);
    });
}

}  // namespace GenApi
