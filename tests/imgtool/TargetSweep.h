#pragma once

// Runs a check once per instruction set the build compiled and this machine
// runs, so that a fallback path cannot hide behind the best one.
#include <gtest/gtest.h>

#include <hwy/targets.h>

#include <cstdint>

template <typename Check>
void ForEachCompiledTarget(Check check) {
    for (const std::int64_t target : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(target);
        SCOPED_TRACE(hwy::TargetName(target));
        check();
    }
    hwy::SetSupportedTargetsForTest(0);
}
