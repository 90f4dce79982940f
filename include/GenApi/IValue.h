#pragma once

#include "INode.h"

namespace GenApi {

struct GENAPI_DECL IValue : virtual public IBase {
    virtual INode* GetNode() = 0;
    virtual gcstring ToString(bool Verify = false, bool IgnoreCache = false) = 0;
    virtual void FromString(const gcstring& ValueStr, bool Verify = true) = 0;

protected:
    ~IValue() override = default;
};

}  // namespace GenApi
