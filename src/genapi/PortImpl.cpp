#include "GenApi/PortImpl.h"

namespace GenApi {

void CPortImpl::Replay(IPortWriteList* pPortRecorder, bool /*Invalidate*/) {
    if (pPortRecorder) {
        pPortRecorder->Replay(this);
    }
}

}  // namespace GenApi
