#include "NodeText.h"

namespace lumoclient {

using namespace GenApi;

const char* AccessModeName(EAccessMode mode) {
    switch (mode) {
        case NI:
            return "NI";
        case NA:
            return "NA";
        case WO:
            return "WO";
        case RO:
            return "RO";
        case RW:
            return "RW";
        case _UndefinedAccesMode:
            break;
    }
    return "??";
}

const char* InterfaceTypeName(EInterfaceType type) {
    switch (type) {
        case intfIValue:
            return "value";
        case intfIBase:
            return "base";
        case intfIInteger:
            return "integer";
        case intfIBoolean:
            return "boolean";
        case intfICommand:
            return "command";
        case intfIFloat:
            return "float";
        case intfIString:
            return "string";
        case intfIRegister:
            return "register";
        case intfICategory:
            return "category";
        case intfIEnumeration:
            return "enumeration";
        case intfIEnumEntry:
            return "enumeration entry";
        case intfIPort:
            return "port";
    }
    return "node";
}

const char* VisibilityName(EVisibility visibility) {
    switch (visibility) {
        case Beginner:
            return "beginner";
        case Expert:
            return "expert";
        case Guru:
            return "guru";
        case Invisible:
            return "invisible";
        case _UndefinedVisibility:
            break;
    }
    return "";
}

}  // namespace lumoclient
