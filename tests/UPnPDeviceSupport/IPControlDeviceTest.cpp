// Tests of the TV's IP-control device: its web root on disk, its description and its life
// cycle, over a recording stand-in of the UPnP library and a platform on a temporary folder.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "FakeUcf.h"
#include "IPControlDeviceApi.h"
#include "IPControlDeviceTemplates.h"
#include "support/PlatformFixture.h"
#include "system_settings.h"

using namespace ip_control;
using testsupport::readFile;
using testsupport::TempDir;
using testsupport::writeFile;

namespace {

std::string templateOf(int row) {
    return std::string(ipControlXmlFiles()[row].contents,
                       static_cast<size_t>(ipControlXmlFiles()[row].size));
}

std::string linkTarget(const std::string& path) {
    char buffer[4096];
    const ssize_t length = readlink(path.c_str(), buffer, sizeof(buffer));
    return length < 0 ? "" : std::string(buffer, static_cast<size_t>(length));
}

TEST(IPControlWebRootTest, DamagedFilesAreRewrittenAGoodDescriptionKeptAndFailuresReported) {
    TempDir dir;
    const std::string root = dir.path() + "/a/b/ip_control_web_root";
    ASSERT_TRUE(restoreIPControlDeviceTemplates(root));  // folders made as needed

    // A renamed device description stays as long as its root element is "root".
    std::string renamed = templateOf(0);
    renamed.replace(renamed.find("Orvane TV IP Control Server"), 27, "Kitchen");
    writeFile(root + "/DeviceDescription.xml", renamed);
    ASSERT_TRUE(restoreIPControlDeviceTemplates(root));
    EXPECT_EQ(readFile(root + "/DeviceDescription.xml"), renamed);

    // One extra blank in the service description rewrites both files.
    writeFile(root + "/IPControlService_1.xml", templateOf(1) + " ");
    ASSERT_TRUE(restoreIPControlDeviceTemplates(root));
    EXPECT_EQ(readFile(root + "/IPControlService_1.xml"), templateOf(1));
    EXPECT_EQ(readFile(root + "/DeviceDescription.xml"), templateOf(0));

    for (const char* broken : {"<root><device>", "<scpd/>", ""}) {
        writeFile(root + "/DeviceDescription.xml", broken);
        ASSERT_TRUE(restoreIPControlDeviceTemplates(root)) << broken;
        EXPECT_EQ(readFile(root + "/DeviceDescription.xml"), templateOf(0)) << broken;
    }

    testsupport::LogCapture log;
    writeFile(dir.file("file"), "x");
    EXPECT_FALSE(restoreIPControlDeviceTemplates(dir.file("file") + "/web"));
    EXPECT_TRUE(log.contains("xml create failed"));
}

TEST(IPControlWebRootTest, IconLinksPointIntoTheIconsFolderWhateverWasThere) {
    TempDir dir;
    const std::string icons = dir.file("icons");
    ASSERT_EQ(mkdir(icons.c_str(), 0755), 0);
    writeFile(dir.file("icon_SML.png"), "stale copy");
    ASSERT_EQ(symlink("/elsewhere/icon_LRG.png", dir.file("icon_LRG.png").c_str()), 0);

    ASSERT_TRUE(restoreIPControlIconsLinks(icons, dir.path()));
    ASSERT_TRUE(restoreIPControlIconsLinks(icons, dir.path()));  // existing links are kept
    for (const char* icon : {"icon_LRG.jpg", "icon_LRG.png", "icon_SML.jpg", "icon_SML.png"})
        EXPECT_EQ(linkTarget(dir.file(icon)), icons + "/" + icon) << icon;
}

// The device on a platform whose profile names a product code and serial number.
class IPControlDeviceTest : public ::testing::Test {
protected:
    void SetUp() override {
        fakeucf::reset();
        mkdir(m_dir.file("icons").c_str(), 0755);
        std::string error;
        ASSERT_TRUE(testsupport::startPlatform(
            m_dir,
            R"({"deviceName": "[TV] Den", "featureconf": {"product.tv_year": 23},
                "systemInfo": {"serialNumber": "SN42", "productCode": "OTV1"}})",
            error))
            << error;
    }
    void TearDown() override {
        destroyUPnPDevice();
        ipc_platform::shutdown();
    }

    TempDir m_dir;
    testsupport::LogCapture m_log;
};

TEST_F(IPControlDeviceTest, StartsOnceWithTheTvsIdentityAndFollowsItsName) {
    ASSERT_EQ(createUPnPDevice(), 0);
    const std::string description =
        readFile(m_dir.file("ip_control_web_root/DeviceDescription.xml"));
    for (const char* element :
         {"<friendlyName>[TV] Den</friendlyName>", "<modelName>OTV1<", "<serialNumber>SN42<",
          "<modelDescription>Orvane UNKNOWN IPControl<"})
        EXPECT_NE(description.find(element), std::string::npos) << element;

    ASSERT_EQ(createUPnPDevice(), 0);
    EXPECT_TRUE(m_log.contains("Device already in started state"));
    EXPECT_EQ(fakeucf::count("register_device"), 1);

    system_settings_set_value_string(SYSTEM_SETTINGS_KEY_DEVICE_NAME, "Attic");
    ASSERT_TRUE(
        testsupport::pumpMainLoopUntil([] { return fakeucf::called("set_friendly_name"); }));
    destroyUPnPDevice();
    EXPECT_TRUE(fakeucf::called("stop_device"));
    EXPECT_TRUE(fakeucf::called("unregister_device"));
    // The name is no longer followed once the device is gone.
    fakeucf::reset();
    system_settings_set_value_string(SYSTEM_SETTINGS_KEY_DEVICE_NAME, "Later");
    testsupport::pumpMainLoopUntil([] { return false; }, 200);
    EXPECT_FALSE(fakeucf::called("set_friendly_name"));
}

TEST_F(IPControlDeviceTest, AFailedStartOrStopIsReportedAndAFailedStopKeepsTheDevice) {
    fakeucf::state().results["start_device"] = 1;
    EXPECT_EQ(createUPnPDevice(), 1);
    EXPECT_TRUE(m_log.contains("startIPControl() failed"));
    destroyUPnPDevice();  // never started: torn down without a stop
    EXPECT_FALSE(fakeucf::called("stop_device"));
    EXPECT_TRUE(fakeucf::called("unregister_device"));

    // A second try starts the device the first one registered.
    fakeucf::reset();
    fakeucf::state().results["start_device"] = 1;
    EXPECT_EQ(createUPnPDevice(), 1);
    fakeucf::state().results.erase("start_device");
    ASSERT_EQ(createUPnPDevice(), 0);
    EXPECT_EQ(fakeucf::count("register_device"), 1);
    EXPECT_EQ(fakeucf::count("start_device"), 2);

    fakeucf::state().results["stop_device"] = 1;
    destroyUPnPDevice();
    EXPECT_TRUE(m_log.contains("Failed to stop Device"));
    EXPECT_FALSE(fakeucf::called("unregister_device"));
    fakeucf::state().results.erase("stop_device");
}

}  // namespace
