#include <gtest/gtest.h>

#include <cctype>
#include <set>
#include <stdexcept>
#include <string>

#include "CameraText.h"
#include "NodeText.h"

using namespace VEXOGENICAM;

namespace {

constexpr TL_TYPE kTlTypes[] = {TL_GEV, TL_U3V,  TL_CL,       TL_CXP, TL_IIDC,
                                TL_UVC, TL_CLHS, TL_ETHERNET, TL_PCI};

std::string Lowered(std::string text) {
    for (char& c : text) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return text;
}

}  // namespace

TEST(ClientText, EveryTransportLayerIsParsedBackFromTheNameItIsShownBy) {
    for (const TL_TYPE type : kTlTypes) {
        const std::string name = lumoclient::TlTypeName(type);
        EXPECT_EQ(lumoclient::ParseTlMask(Lowered(name)), static_cast<unsigned long long>(type))
            << name;
    }
}

TEST(ClientText, TransportLayerListsIgnoreCaseAndBlanks) {
    const struct {
        const char* list;
        unsigned long long mask;
    } cases[] = {
        {"gev", TL_GEV},
        {"GEV,U3V", TL_GEV | TL_U3V},
        {" gev , cxp\t", TL_GEV | TL_CXP},
        {"u3v,u3v", TL_U3V},
        {"", 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(lumoclient::ParseTlMask(c.list), c.mask) << "'" << c.list << "'";
    }
}

TEST(ClientText, AnUnknownTransportLayerIsNamedInTheError) {
    for (const char* list : {"gev,firewire", "firewire", "ge v", " , ", ",gev"}) {
        try {
            lumoclient::ParseTlMask(list);
            ADD_FAILURE() << list << " was accepted";
        } catch (const std::invalid_argument& e) {
            const std::string what = e.what();
            EXPECT_NE(what.find("unknown transport layer '"), std::string::npos) << what;
            EXPECT_NE(what.find("gev, u3v"), std::string::npos) << what;
        }
    }
}

TEST(ClientText, AccessStatusesHaveDistinctNames) {
    std::set<std::string> names;
    for (const DEVICE_STATUS status :
         {DEVICE_STATUS_READWRITE, DEVICE_STATUS_READONLY, DEVICE_STATUS_NOACCESS,
          DEVICE_STATUS_BUSY, DEVICE_STATUS_OPEN_READWRITE, DEVICE_STATUS_OPEN_READONLY,
          DEVICE_STATUS_UNKNOWN}) {
        names.insert(lumoclient::AccessStatusName(status));
    }
    EXPECT_EQ(names.size(), 7u);
    EXPECT_EQ(std::string(lumoclient::AccessStatusName(DEVICE_STATUS_BUSY)), "busy");
}

TEST(ClientText, NodeTypesHaveDistinctNames) {
    std::set<std::string> names;
    for (const GenApi::EInterfaceType type :
         {GenApi::intfIValue, GenApi::intfIBase, GenApi::intfIInteger, GenApi::intfIBoolean,
          GenApi::intfICommand, GenApi::intfIFloat, GenApi::intfIString, GenApi::intfIRegister,
          GenApi::intfICategory, GenApi::intfIEnumeration, GenApi::intfIEnumEntry,
          GenApi::intfIPort}) {
        names.insert(lumoclient::InterfaceTypeName(type));
    }
    EXPECT_EQ(names.size(), 12u);
    EXPECT_EQ(names.count("node"), 0u);  // kept for values outside the enumeration
}
