// Tests of bringing the platform up and down, profile resolution and the application paths.
#include <filesystem>

#include <gtest/gtest.h>

#include "PlatformTestSupport.h"
#include "app_common.h"

namespace platform_test {
namespace {

std::string currentDir() {
    return std::filesystem::current_path().string();
}

class PlatformRuntimeTest : public PlatformTest {};

TEST_F(PlatformRuntimeTest, SecondInitializeIsRefusedUntilShutdown) {
    start();
    std::string error;
    EXPECT_FALSE(ipc_platform::initialize(m_options, error));
    EXPECT_NE("", error);
    ipc_platform::shutdown();
    EXPECT_FALSE(ipc_platform::isInitialized());
    EXPECT_TRUE(ipc_platform::initialize(m_options, error)) << error;
    EXPECT_EQ(m_dataDir.path(), ipc_platform::options().dataDir);
}

TEST_F(PlatformRuntimeTest, ResolvesProfileNamesAndPaths) {
    using ipc_platform::resolveProfilePath;
    EXPECT_EQ("/res/profiles/wall.json", resolveProfilePath("wall", "/res"));
    EXPECT_EQ("/res/profiles/tv-2023.json", resolveProfilePath("", "/res"));
    EXPECT_EQ("/elsewhere/p.json", resolveProfilePath("/elsewhere/p.json", "/res"));
    EXPECT_EQ(currentDir() + "/mine.json", resolveProfilePath("mine.json", "/res"));
    EXPECT_EQ(currentDir() + "/dir/mine", resolveProfilePath("dir/mine", "/res"));
}

TEST_F(PlatformRuntimeTest, AppPathsEndWithOneSlash) {
    ipc_platform::Options options;
    options.dataDir = m_dataDir.path();
    options.resourceDir = std::string(IPC_TEST_RESOURCE_DIR) + "/";
    std::string error;
    ASSERT_TRUE(ipc_platform::initialize(options, error)) << error;
    EXPECT_EQ(m_dataDir.path() + "/", takeString(app_get_data_path()));
    EXPECT_EQ(std::string(IPC_TEST_RESOURCE_DIR) + "/", takeString(app_get_resource_path()));
    EXPECT_EQ(std::string(IPC_TEST_RESOURCE_DIR) + "/shared/",
              takeString(app_get_shared_resource_path()));
}

}  // namespace
}  // namespace platform_test
