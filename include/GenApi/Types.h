#pragma once

#include <cstdint>
#include <vector>

#include "GCString.h"

namespace GenApi {

using GenICam::gcstring;

enum EAccessMode { NI = 0, NA = 1, WO = 2, RO = 3, RW = 4, _UndefinedAccesMode = 5 };

enum EInterfaceType {
    intfIValue = 0,
    intfIBase = 1,
    intfIInteger = 2,
    intfIBoolean = 3,
    intfICommand = 4,
    intfIFloat = 5,
    intfIString = 6,
    intfIRegister = 7,
    intfICategory = 8,
    intfIEnumeration = 9,
    intfIEnumEntry = 10,
    intfIPort = 11
};

enum EYesNo { No = 0, Yes = 1, _UndefinedYesNo = 2 };

enum EVisibility { Beginner = 0, Expert = 1, Guru = 2, Invisible = 3, _UndefinedVisibility = 99 };

enum ERepresentation {
    Linear = 0,
    Logarithmic = 1,
    Boolean = 2,
    PureNumber = 3,
    HexNumber = 4,
    IPV4Address = 5,
    MACAddress = 6,
    _UndefinedRepresentation = 7
};

struct INode;
struct IValue;
struct IEnumEntry;

using NodeList_t = std::vector<INode*>;
using FeatureList_t = std::vector<IValue*>;
using StringList_t = std::vector<gcstring>;
}  // namespace GenApi
