#pragma once

#include "IBase.h"

namespace GenApi {

struct INodeMap;
class CNodeCallback;

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
    // The selectors this feature depends on (the reverse of pSelected).
    virtual void GetSelectingFeatures(FeatureList_t& features) const = 0;
    // Whether the description marks the feature for persistence (<Streamable>Yes).
    virtual bool IsStreamable() const = 0;
    // Takes ownership of the callback; it runs when this node or a node it
    // depends on changes through the map. Prefer GenApi::Register.
    virtual CallbackHandleType RegisterCallback(CNodeCallback* pCallback) = 0;
    // False for a handle that is not registered on this node.
    virtual bool DeregisterCallback(CallbackHandleType hCallback) = 0;

protected:
    ~INode() override = default;
};

}  // namespace GenApi
