#pragma once

#include <GenApi/GenApi.h>
#include <gtest/gtest.h>

#include "LargeDescription.h"
#include "TestPort.h"

// Settings.xml connected to an in-memory port holding a plausible start state.
class SettingsMapTest : public ::testing::Test {
protected:
    void SetUp() override {
        port.Poke32(0x04, 1024);  // Width
        port.Poke32(0x08, 1);     // PixelFormat Mono8
        const float exposure = 100.0f;
        port.PokeBytes(0x30, &exposure, sizeof(exposure));
        map._LoadXMLFromString(lumo_test::ReadDescriptionFile("Settings.xml").c_str());
        ASSERT_TRUE(map._Connect(&port, "Device"));
    }

    GenApi::INode* Node(const char* name) { return map._GetNode(name); }

    CTestPort port;
    GenApi::CNodeMapRef map;
};
