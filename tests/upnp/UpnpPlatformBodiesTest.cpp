// Tests of reading the SOAP response, fault, property-set and request bodies of the UPnP layer.
#include "UcfBodies.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using ucf::NamedTexts;

TEST(UpnpPlatformBodiesTest, ResponseArgumentsKeepOrderAndUnescapeValues) {
    NamedTexts out;
    ASSERT_TRUE(ucf::parseResponseArguments(
        "<u:GetResponse xmlns:u=\"urn:x:service:S:1\"><A>1</A>\r\n<B>a&lt;b&amp;c</B>\r\n"
        "<C></C>\r\n</u:GetResponse>",
        out));
    EXPECT_EQ(out, (NamedTexts{{"A", "1"}, {"B", "a<b&c"}, {"C", ""}}));
}

TEST(UpnpPlatformBodiesTest, ResponseThatIsNotXmlIsRefused) {
    NamedTexts out;
    EXPECT_FALSE(ucf::parseResponseArguments("<u:GetResponse><A>1</u:GetResponse>", out));
}

TEST(UpnpPlatformBodiesTest, FaultGivesCodeAndDescriptionDespiteUndeclaredPrefix) {
    int code = 0;
    std::string description;
    ASSERT_TRUE(ucf::parseFault(
        "<s:Fault><faultcode>s:Client</faultcode><faultstring>UPnPError</faultstring><detail>"
        "<UPnPError xmlns=\"urn:schemas-upnp-org:control-1-0\"><errorCode>402</errorCode>"
        "<errorDescription>Invalid Args</errorDescription></UPnPError></detail></s:Fault>",
        code, description));
    EXPECT_EQ(code, 402);
    EXPECT_EQ(description, "Invalid Args");
}

TEST(UpnpPlatformBodiesTest, FaultWithoutNumericCodeIsRefused) {
    int code = 0;
    std::string description;
    EXPECT_FALSE(
        ucf::parseFault("<s:Fault><errorCode>x1</errorCode></s:Fault>", code, description));
    EXPECT_FALSE(ucf::parseFault("<s:Fault></s:Fault>", code, description));
}

TEST(UpnpPlatformBodiesTest, PropertySetGivesEveryPropertyIncludingEmptyOnes) {
    NamedTexts out;
    ASSERT_TRUE(ucf::parsePropertySet(
        "<e:propertyset xmlns:e=\"urn:schemas-upnp-org:event-1-0\"><e:property><State>on&amp;"
        "</State></e:property>\r\n<e:property><Empty/></e:property>\r\n</e:propertyset>\r\n",
        out));
    EXPECT_EQ(out, (NamedTexts{{"State", "on&"}, {"Empty", ""}}));
}

TEST(UpnpPlatformBodiesTest, ActionRequestGivesInArgumentsOfTheBodysAction) {
    const std::string envelope =
        "<?xml version=\"1.0\"?><s:Envelope xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\">"
        "<s:Body><u:Set xmlns:u=\"urn:x:service:S:1\"><Name>tv</Name><Value>2</Value></u:Set>"
        "</s:Body></s:Envelope>";
    NamedTexts out;
    ASSERT_TRUE(ucf::parseActionRequest(envelope.data(), envelope.size(), out));
    EXPECT_EQ(out, (NamedTexts{{"Name", "tv"}, {"Value", "2"}}));

    const std::string noBody = "<s:Envelope xmlns:s=\"urn:s\"></s:Envelope>";
    EXPECT_FALSE(ucf::parseActionRequest(noBody.data(), noBody.size(), out));
}

}  // namespace
