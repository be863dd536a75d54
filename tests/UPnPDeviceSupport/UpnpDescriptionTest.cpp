// Tests of the description documents: loading, element edits and safe storing.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include "UpnpDescriptionDevice.h"
#include "UpnpDescriptionService.h"
#include "support/PlatformFixture.h"

using namespace ip_control;
using testsupport::readFile;
using testsupport::writeFile;

namespace {

const char* kDevice = R"(<?xml version="1.0"?>
<root xmlns="urn:schemas-upnp-org:device-1-0" xmlns:dlna="urn:schemas-dlna-org:device-1-0">
  <device>
    <friendlyName>TV</friendlyName>
    <serviceList>
      <service><serviceType>urn:x:service:A:1</serviceType><SCPDURL>a.xml</SCPDURL></service>
    </serviceList>
  </device>
</root>
)";

const char* kScpd = R"(<?xml version="1.0"?>
<scpd xmlns="urn:schemas-upnp-org:service-1-0">
  <actionList>
    <action><name>GetState</name></action>
    <action><name>SetState</name></action>
  </actionList>
  <serviceStateTable/>
</scpd>
)";

class UpnpDescriptionTest : public ::testing::Test {
protected:
    // Writes the text to a file named after the case and loads it as a device description.
    std::string loadDevice(const std::string& name, const char* text = kDevice) {
        std::string path = m_dir.file(name);
        writeFile(path, text);
        EXPECT_TRUE(m_device.parseDescriptionFile(path));
        return path;
    }

    testsupport::TempDir m_dir;
    testsupport::LogCapture m_log;
    UpnpDescriptionDevice m_device;
};

}  // namespace

TEST_F(UpnpDescriptionTest, ServiceFileWithDeviceRootOrADocumentTypeIsRefused) {
    std::string path = m_dir.file("scpd-with-device-root.xml");
    writeFile(path, kDevice);
    UpnpDescriptionService service;
    EXPECT_FALSE(service.parseServiceFile(path));
    EXPECT_FALSE(service.isLoaded());
    EXPECT_TRUE(m_log.contains("wrong root element name [root] expected [scpd]"));

    // Its entities would be expanded whenever an element's text is read.
    const std::string declaration = "<?xml version=\"1.0\"?>\n";
    writeFile(path, declaration + "<!DOCTYPE scpd [<!ENTITY a \"aaaa\">]>" +
                        std::string(kScpd).substr(declaration.size()));
    EXPECT_FALSE(service.parseServiceFile(path));
    EXPECT_TRUE(m_log.contains("a document type declaration is not accepted"));
}

// Written raw, such a name made the document unreadable, so the TV came back nameless.
TEST_F(UpnpDescriptionTest, CharactersXmlCannotHoldAreLeftOutOfTheStoredFile) {
    const std::string path = loadDevice("device-control-characters.xml");
    EXPECT_TRUE(m_device.setDeviceElement("friendlyName",
                                          "Kit\x01"
                                          "chen\x1f\x7f & \xff<"));
    EXPECT_TRUE(m_device.setDeviceElement("serialNumber", std::string("1\0"
                                                                      "2\x0b",
                                                                      4)));
    ASSERT_TRUE(m_device.store());

    UpnpDescriptionDevice reloaded;
    ASSERT_TRUE(reloaded.parseDescriptionFile(path)) << readFile(path);
    std::string value;
    ASSERT_TRUE(reloaded.getDeviceElement("friendlyName", value));
    EXPECT_EQ(value, "Kitchen & \xEF\xBF\xBD<");
    ASSERT_TRUE(reloaded.getDeviceElement("serialNumber", value));
    EXPECT_EQ(value, "12");
}

TEST_F(UpnpDescriptionTest, ElementsAreSetInPlaceOrAppendedAndStoredSafely) {
    std::string path = loadDevice("device-without-serial.xml");
    EXPECT_TRUE(m_device.setDeviceElement("friendlyName", "TV"));
    EXPECT_FALSE(m_device.isUpdated());
    std::string value = "untouched";
    EXPECT_FALSE(m_device.getDeviceElement("serialNumber", value));
    EXPECT_EQ(value, "untouched");
    EXPECT_TRUE(m_device.setDeviceElement("serialNumber", "123"));
    EXPECT_TRUE(m_device.setDeviceElement("dlna:X_DLNADOC", "DMR-1.50"));
    EXPECT_TRUE(m_device.isUpdated());
    ASSERT_TRUE(m_device.store());
    std::string text = readFile(path);
    size_t serial = text.find("<serialNumber>123</serialNumber>");
    ASSERT_NE(serial, std::string::npos) << text;
    EXPECT_GT(serial, text.find("</serviceList>"));
    EXPECT_NE(text.find("<dlna:X_DLNADOC>DMR-1.50</dlna:X_DLNADOC>"), std::string::npos);
    struct stat st;
    EXPECT_NE(stat((path + ".tmp").c_str(), &st), 0);
    EXPECT_TRUE(m_log.contains("updated file:" + path));

    UpnpDescriptionDevice reloaded;
    ASSERT_TRUE(reloaded.parseDescriptionFile(path));
    ASSERT_TRUE(reloaded.getDeviceElement("dlna:X_DLNADOC", value));
    EXPECT_EQ(value, "DMR-1.50");

    // A failed write leaves the old file whole.
    ASSERT_EQ(mkdir((path + ".tmp").c_str(), 0700), 0);
    const std::string before = readFile(path);
    ASSERT_TRUE(m_device.setDeviceElement("friendlyName", "New"));
    EXPECT_FALSE(m_device.store());
    EXPECT_EQ(readFile(path), before);
    EXPECT_TRUE(m_log.contains("File writing failed:" + path + ".tmp"));
}
