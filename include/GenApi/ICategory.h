#pragma once

#include "IValue.h"

namespace GenApi {

struct GENAPI_DECL ICategory : virtual public IValue {
    virtual void GetFeatures(FeatureList_t& Features) const = 0;

protected:
    ~ICategory() override = default;
};

}  // namespace GenApi
