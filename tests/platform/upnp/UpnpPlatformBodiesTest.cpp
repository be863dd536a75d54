// Tests of reading the SOAP response, fault, property-set and request bodies of the UPnP layer.
#include "UcfBodies.h"

#include <gtest/gtest.h>

#include <string>

#include "support/PlatformFixture.h"

namespace {

using ucf::NamedTexts;

TEST(UpnpPlatformBodiesTest, EachBodyGivesItsNamesAndValuesInOrderOrIsRefused) {
    NamedTexts out;
    ASSERT_TRUE(ucf::parseResponseArguments(
        "<u:GetResponse xmlns:u=\"urn:x:service:S:1\"><A>1</A>\r\n<B>a&lt;b&amp;c</B>\r\n"
        "<C></C>\r\n</u:GetResponse>",
        out));
    EXPECT_EQ(out, (NamedTexts{{"A", "1"}, {"B", "a<b&c"}, {"C", ""}}));
    EXPECT_FALSE(ucf::parseResponseArguments("<u:GetResponse><A>1</u:GetResponse>", out));

    out.clear();  // each parser appends to what the list holds

    ASSERT_TRUE(ucf::parsePropertySet(
        "<e:propertyset xmlns:e=\"urn:schemas-upnp-org:event-1-0\"><e:property><State>on&amp;"
        "</State></e:property>\r\n<e:property><Empty/></e:property>\r\n</e:propertyset>\r\n",
        out));
    EXPECT_EQ(out, (NamedTexts{{"State", "on&"}, {"Empty", ""}}));

    out.clear();
    const std::string request =
        "<?xml version=\"1.0\"?><s:Envelope xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\">"
        "<s:Body><u:Set xmlns:u=\"urn:x:service:S:1\"><Name>tv</Name><Value>2</Value></u:Set>"
        "</s:Body></s:Envelope>";
    ASSERT_TRUE(ucf::parseActionRequest(request.data(), request.size(), out));
    EXPECT_EQ(out, (NamedTexts{{"Name", "tv"}, {"Value", "2"}}));
    const std::string noBody = "<s:Envelope xmlns:s=\"urn:s\"></s:Envelope>";
    EXPECT_FALSE(ucf::parseActionRequest(noBody.data(), noBody.size(), out));

    // The fault fragment's prefix is never declared.
    int code = 0;
    std::string description;
    ASSERT_TRUE(ucf::parseFault(
        "<s:Fault><faultcode>s:Client</faultcode><faultstring>UPnPError</faultstring><detail>"
        "<UPnPError xmlns=\"urn:schemas-upnp-org:control-1-0\"><errorCode>402</errorCode>"
        "<errorDescription>Invalid Args</errorDescription></UPnPError></detail></s:Fault>",
        code, description));
    EXPECT_EQ(code, 402);
    EXPECT_EQ(description, "Invalid Args");
    EXPECT_FALSE(
        ucf::parseFault("<s:Fault><errorCode>x1</errorCode></s:Fault>", code, description));
    EXPECT_FALSE(ucf::parseFault("<s:Fault></s:Fault>", code, description));
}

std::string repeated(const std::string& text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

TEST(UpnpPlatformBodiesTest, DocumentTypeDeclarationsAreRefusedUnread) {
    // Each reference to b stands for a thousand copies of a: read, the body would be 40 MB.
    const std::string entities = "<?xml version=\"1.0\"?><!DOCTYPE s:Envelope [<!ENTITY a \"" +
                                 std::string(40, 'a') + "\"><!ENTITY b \"" + repeated("&a;", 1000) +
                                 "\">]>";
    const std::string envelope =
        entities +
        "<s:Envelope xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\"><s:Body>"
        "<u:Set xmlns:u=\"urn:x:service:S:1\"><Name>" +
        repeated("&b;", 1000) + "</Name></u:Set></s:Body></s:Envelope>";
    NamedTexts out;
    EXPECT_TRUE(ucf::hasDocumentType(envelope.data(), envelope.size()));
    EXPECT_FALSE(ucf::parseActionRequest(envelope.data(), envelope.size(), out));
    EXPECT_TRUE(out.empty());
    // An external subset is refused the same way, without fetching it.
    const std::string external =
        "<!DOCTYPE s:Envelope SYSTEM \"http://192.0.2.1/x.dtd\"><s:Envelope/>";
    EXPECT_TRUE(ucf::hasDocumentType(external.data(), external.size()));

    const std::string plain =
        envelope.substr(entities.size())
            .replace(envelope.find("<Name>") - entities.size() + 6, 3000, "tv");
    EXPECT_FALSE(ucf::hasDocumentType(plain.data(), plain.size()));
    ASSERT_TRUE(ucf::parseActionRequest(plain.data(), plain.size(), out));
    EXPECT_EQ(out, (NamedTexts{{"Name", "tv"}}));
    const std::string broken = "<s:Envelope><s:Body>";
    EXPECT_FALSE(ucf::hasDocumentType(broken.data(), broken.size()));
}

TEST(UpnpPlatformBodiesTest, ActionNamesOfAServiceDescription) {
    testsupport::TempDir dir;
    const std::string path = dir.file("scpd.xml");
    testsupport::writeFile(
        path,
        "<?xml version=\"1.0\"?><scpd xmlns=\"urn:schemas-upnp-org:service-1-0\"><actionList>"
        "<action><argumentList><argument><name>In</name></argument></argumentList>"
        "<name>Set</name></action><action><name>Get</name></action></actionList></scpd>");
    std::vector<std::string> names;
    ASSERT_TRUE(ucf::readActionNames(path, names));
    EXPECT_EQ(names, (std::vector<std::string>{"Set", "Get"}));

    testsupport::writeFile(path, "<?xml version=\"1.0\"?><root/>");
    EXPECT_FALSE(ucf::readActionNames(path, names));
}

}  // namespace
