#include <gtest/gtest.h>

#include "LumoGenICam.h"

// The compile check itself happens in the build (one translation unit per
// public header and language standard, each including its header twice to
// catch a missing include guard). This test makes sure the umbrella header
// exposes the interface types an application starts from.
TEST(PublicHeaders, UmbrellaHeaderDeclaresTheEntryInterface) {
    EXPECT_GT(LUMO_PUBLIC_HEADER_COUNT, 10);
    EXPECT_EQ(sizeof(VEXOGENICAM::TL_TYPE), 4u);
    EXPECT_EQ(sizeof(VEXOGENICAM::DEVICE_STATUS), 4u);
    EXPECT_EQ(sizeof(VEXOGENICAM::EX_INFOID), 4u);
    EXPECT_EQ(sizeof(VEXOGENICAM::DEVICE_OPEN_MODE), 4u);
    EXPECT_EQ(sizeof(VEXOGENICAM::GRAB_STRATEGY), 4u);
    EXPECT_EQ(sizeof(VEXOGENICAM::NOTIFY_SRC), 4u);
    EXPECT_EQ(sizeof(VEXOGENICAM::NOTIFY_TYPE), 4u);
    EXPECT_EQ(VEXOGENICAM::TL_TYPE_ALL, 511u);
}
