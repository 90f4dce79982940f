#include "BooleanNode.h"

#include <strings.h>

namespace GenApi {

void CBooleanNode::SetValue(bool Value, bool Verify) {
    auto lock = Lock();
    RequireWritable(Verify);
    ArvGcBoolean* node = ARV_GC_BOOLEAN(EngineNode());
    Call(false, [node, Value](GError** e) { arv_gc_boolean_set_value(node, Value, e); });
    AfterWrite(lock);
}

bool CBooleanNode::GetValue(bool Verify, bool IgnoreCache) const {
    auto lock = Lock();
    RequireReadable(Verify);
    ArvGcBoolean* node = ARV_GC_BOOLEAN(EngineNode());
    return Call(IgnoreCache, [node](GError** e) { return arv_gc_boolean_get_value(node, e); }) !=
           FALSE;
}

gcstring CBooleanNode::ToString(bool Verify, bool IgnoreCache) {
    return GetValue(Verify, IgnoreCache) ? "true" : "false";
}

void CBooleanNode::FromString(const gcstring& ValueStr, bool Verify) {
    if (strcasecmp(ValueStr.c_str(), "true") == 0 || ValueStr == "1") {
        SetValue(true, Verify);
    } else if (strcasecmp(ValueStr.c_str(), "false") == 0 || ValueStr == "0") {
        SetValue(false, Verify);
    } else {
        ThrowInvalidValue(ValueStr.str());
    }
}

}  // namespace GenApi
