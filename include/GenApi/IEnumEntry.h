#pragma once

#include "IValue.h"

namespace GenApi {

struct GENAPI_DECL IEnumEntry : virtual public IValue {
    virtual int64_t GetValue() = 0;
    virtual gcstring GetSymbolic() const = 0;

protected:
    ~IEnumEntry() override = default;
};

}  // namespace GenApi
