// Test support: a fixture with the platform on a temporary data folder and a made-up profile.
#pragma once

#include <string>

#include <gtest/gtest.h>

#include "support/PlatformFixture.h"

namespace testsupport {

// The platform is started by the test and shut down after it.
class PlatformTest : public ::testing::Test {
protected:
    void TearDown() override { ipc_platform::shutdown(); }

    // Initialises the platform with a profile holding the featureconf members (see
    // makeProfile()); fails the test when that fails.
    void startPlatform(const std::string& featureconf = "", int port = -1,
                       bool hardenedSecurity = false) {
        std::string error;
        ASSERT_TRUE(testsupport::startPlatform(m_dir, makeProfile(featureconf), error, port,
                                               hardenedSecurity))
            << error;
    }

    TempDir m_dir;
};

}  // namespace testsupport
