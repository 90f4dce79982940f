#pragma once

#include "Types.h"

namespace GenApi {

struct GENAPI_DECL IBase {
    virtual EAccessMode GetAccessMode() const = 0;
    virtual ~IBase() = default;
};

}  // namespace GenApi
