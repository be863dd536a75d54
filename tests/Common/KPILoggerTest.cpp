// The KPI logger: descriptions by kind, the property lists, and the events it sends.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Common/KPILogger.h"
#include "JsonValue.h"
#include "support/PlatformTest.h"
#include "dlog.h"

using common::json::JsonValue;

namespace {

KPILoggerData data(int32_t kind, bool isSet, bool isAllowed, const char* appName = "") {
    KPILoggerData d;
    d.kind = kind;
    d.isSet = isSet;
    d.isAllowed = isAllowed;
    d.requestName = "setVolume";
    d.propertyName = "volume";
    d.propertyValue = "12";
    d.appName = appName;
    return d;
}

struct DescriptionCase {
    const char* name;
    KPILoggerData data;
    const char* description;
};

class KPIDescriptionTest : public ::testing::TestWithParam<DescriptionCase> {};

TEST_P(KPIDescriptionTest, DescribesTheEvent) {
    EXPECT_EQ(GetParam().description, KPILogger::getInstance().makeDescForKPI(GetParam().data));
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, KPIDescriptionTest,
    ::testing::Values(DescriptionCase{"Deny", data(0, true, false), "{svn=ipcontrol;result=Deny}"},
                      DescriptionCase{"Set", data(1, true, false),
                                      "{svn=ipcontrol;cm=set;rn=setVolume;pn=volume;pv=12}"},
                      DescriptionCase{"Application", data(2, true, false, "Gallery"),
                                      "{an=Gallery}"},
                      DescriptionCase{"NoApplication", data(2, false, false, "Gallery"), ""},
                      DescriptionCase{"UnknownKind", data(3, true, true), ""}),
    [](const ::testing::TestParamInfo<DescriptionCase>& info) { return info.param.name; });

TEST(KPIPropertyListTest, JoinsWithCommasAndStartsAfresh) {
    KPILogger& kpi = KPILogger::getInstance();
    EXPECT_EQ("", kpi.makePropertyName());
    kpi.addPropertyName("a");
    kpi.addPropertyName("b");
    kpi.addPropertyValue("1");
    EXPECT_EQ("a,b", kpi.makePropertyName());
    EXPECT_EQ("", kpi.makePropertyName());
    EXPECT_EQ("1", kpi.makePropertyValue());
    EXPECT_EQ("", kpi.makePropertyValue());
}

class KPISendTest : public testsupport::PlatformTest {
protected:
    // The events in the KPI log file as "kpiName | eventName | eventId | description".
    std::vector<std::string> events() const {
        std::vector<std::string> sent;
        dlog_flush();  // the log's thread writes the events
        for (const std::string& line : testsupport::readLines(m_dir.file("kpi.log"))) {
            JsonValue event = JsonValue::Create(line);
            sent.push_back(event["kpiName"].asString() + " | " + event["eventName"].asString() +
                           " | " + event["eventId"].asString() + " | " +
                           event["description"].asString());
        }
        return sent;
    }
};

TEST_F(KPISendTest, SendsEventUnderTheModelYearsKpiName) {
    startPlatform("\"product.tv_year\": 23");
    KPILogger::getInstance().sendLog("CONNECTION_RESULT", "EV001", data(0, false, false));
    EXPECT_EQ((std::vector<std::string>{"23_ip_control | CONNECTION_RESULT | EV001 | "
                                        "{svn=ipcontrol;result=Deny}"}),
              events());
}

TEST_F(KPISendTest, UnknownYearAndMissingNamesStillSend) {
    startPlatform();
    KPILogger::getInstance().sendLog(nullptr, nullptr, data(2, false, false));
    EXPECT_EQ((std::vector<std::string>{"-1_ip_control |  |  | "}), events());
}

}  // namespace
