#pragma once

#include "IBase.h"

namespace GenApi {

struct INodeMap;

struct GENAPI_DECL INode : virtual public IBase {
    virtual gcstring GetName(bool FullQualified = false) const = 0;
    virtual EInterfaceType GetPrincipalInterfaceType() const = 0;
    virtual gcstring GetDescription() const = 0;
    virtual gcstring GetToolTip() const = 0;
    virtual gcstring GetDisplayName() const = 0;
    virtual EVisibility GetVisibility() const = 0;
    virtual INodeMap* GetNodeMap() const = 0;
    virtual bool IsFeature() const = 0;
    // Selector support: the features whose value depends on this one (pSelected).
    virtual void GetSelectedFeatures(FeatureList_t& features) const = 0;
    virtual bool IsSelector() const = 0;

protected:
    ~INode() override = default;
};

}  // namespace GenApi
