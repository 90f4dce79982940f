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

enum EDisplayNotation {
    fnAutomatic = 0,
    fnFixed = 1,
    fnScientific = 2,
    _UndefinedEDisplayNotation = 3
};

enum EIncMode { noIncrement = 0, fixedIncrement = 1, listIncrement = 2 };

// Order of the callbacks of one change: every cbPostInsideLock callback runs
// before the first cbPostOutsideLock one. Both run on the thread that made the
// change once the change has released the node map's lock, so that a callback
// may read and write the map or wait for a thread that does; a caller that
// holds the lock itself (GetLock) still holds it while its callbacks run.
enum ECallbackType { cbPostInsideLock = 1, cbPostOutsideLock = 2 };

struct INode;
struct IValue;
struct IEnumEntry;

using NodeList_t = std::vector<INode*>;
using FeatureList_t = std::vector<IValue*>;
using StringList_t = std::vector<gcstring>;
using int64_autovector_t = std::vector<int64_t>;
using double_autovector_t = std::vector<double>;
using CallbackHandleType = intptr_t;
}  // namespace GenApi
