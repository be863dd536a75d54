// The KPI logger: descriptions by kind and the events it sends. Deny, Allow
// and set descriptions under the model year's name are proved where the pairing and the control
// helpers send them.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Common/KPILogger.h"
#include "JsonValue.h"
#include "support/PlatformTest.h"
#include "dlog.h"

using common::json::JsonValue;

namespace {

KPILoggerData data(int32_t kind, bool isSet, const char* appName = "") {
    KPILoggerData d;
    d.kind = kind;
    d.isSet = isSet;
    d.isAllowed = false;
    d.requestName = "setVolume";
    d.propertyName = "volume";
    d.propertyValue = "12";
    d.appName = appName;
    return d;
}

TEST(KPILoggerTest, DescribesApplications) {
    KPILogger& kpi = KPILogger::getInstance();
    EXPECT_EQ("{an=Gallery}", kpi.makeDescForKPI(data(2, true, "Gallery")));
    EXPECT_EQ("", kpi.makeDescForKPI(data(2, false, "Gallery")));
    EXPECT_EQ("", kpi.makeDescForKPI(data(3, true)));  // an unknown kind
}

class KPISendTest : public testsupport::PlatformTest {};

TEST_F(KPISendTest, UnknownYearAndMissingNamesStillSend) {
    startPlatform();
    KPILogger::getInstance().sendLog(nullptr, nullptr, data(2, false));
    dlog_flush();  // the log's thread writes the event
    JsonValue event = JsonValue::Create(testsupport::readFile(m_dir.file("kpi.log")));
    EXPECT_EQ("-1_ip_control |  |  | ",
              event["kpiName"].asString() + " | " + event["eventName"].asString() + " | " +
                  event["eventId"].asString() + " | " + event["description"].asString());
}

}  // namespace
