// The platform's KPI log: one JSON line per event in the data folder, rotated once when full.
#include <cstdlib>
#include <filesystem>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include <glib.h>
#include <gtest/gtest.h>

#include "JsonValue.h"
#include "KPILogFramework.h"
#include "support/PlatformTest.h"
#include "dlog.h"

using common::json::JsonType;
using common::json::JsonValue;
using KPILogFramework::CLogger;

namespace {

const size_t kRotateBytes = 1024 * 1024;

class KPILogFileTest : public testsupport::PlatformTest {
protected:
    void SetUp() override {
        EXPECT_EQ(nullptr, CLogger::GetInstance()) << "a logger without a platform";
        startPlatform();
        m_logger = CLogger::GetInstance();
        ASSERT_NE(nullptr, m_logger);
    }

    // The lines of a file in the data folder once the log's thread has written what is queued.
    std::vector<std::string> lines(const char* name) const {
        dlog_flush();
        return testsupport::readLines(m_dir.file(name));
    }

    CLogger* m_logger = nullptr;
};

TEST_F(KPILogFileTest, EachEventIsOneJsonLine) {
    ASSERT_EQ(1, m_logger->AddEventLogSync("23_ip_control", "COMMAND", "EV002", "{cm=get}"));
    const std::string awkward = "two\nlines, \"quotes\", \\ \t\x01\x1f\x7f and \xc3\xa9";
    ASSERT_EQ(1, m_logger->AddEventLogSync("23_ip_control", "APPLICATION", "EV003", awkward));
    std::vector<std::string> written = lines("kpi.log");
    ASSERT_EQ(2u, written.size());
    JsonValue first = JsonValue::Create(written[0]);
    // ISO 8601 in UTC, as GLib writes it, and the time of the event.
    const std::string time = first["time"].asString();
    first.removeMember("time");
    EXPECT_EQ(R"({"kpiName":"23_ip_control","eventName":"COMMAND","eventId":"EV002",)"
              R"("description":"{cm=get}"})",
              first.toString(false));
    EXPECT_TRUE(std::regex_match(time, std::regex(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(\.\d{6})?Z)")))
        << time;
    GDateTime* logged = g_date_time_new_from_iso8601(time.c_str(), nullptr);
    ASSERT_NE(nullptr, logged) << time;
    EXPECT_LT(std::llabs(g_get_real_time() - g_date_time_to_unix(logged) * G_USEC_PER_SEC -
                         g_date_time_get_microsecond(logged)),
              60 * G_USEC_PER_SEC)
        << time;
    g_date_time_unref(logged);
    EXPECT_EQ(awkward, JsonValue::Create(written[1])["description"].asString());
}

TEST_F(KPILogFileTest, FullLogIsRotatedOnceAndNeverPastItsBound) {
    // Five of these fit in the bound; the sixth starts a new file.
    const std::string description(200 * 1024, 'x');
    for (int i = 0; i < 13; ++i) {
        ASSERT_EQ(1, m_logger->AddEventLogSync("23_ip_control", "COMMAND", "EV" + std::to_string(i),
                                               description));
    }
    std::vector<std::string> current = lines("kpi.log");
    std::vector<std::string> previous = lines("kpi.log.1");
    ASSERT_EQ(3u, current.size());
    ASSERT_EQ(5u, previous.size());
    EXPECT_EQ("EV5", JsonValue::Create(previous.front())["eventId"].asString());
    EXPECT_EQ("EV12", JsonValue::Create(current.back())["eventId"].asString());
    EXPECT_LE(std::filesystem::file_size(m_dir.file("kpi.log.1")), kRotateBytes);
    EXPECT_FALSE(std::filesystem::exists(m_dir.file("kpi.log.2")));
}

TEST_F(KPILogFileTest, LogMovedOrTruncatedBySomeoneElseIsFollowedByTheNextRotation) {
    const std::string description(200 * 1024, 'x');
    auto add = [&](int count) {
        for (int i = 0; i < count; ++i) {
            ASSERT_EQ(1,
                      m_logger->AddEventLogSync("23_ip_control", "COMMAND", "EV002", description));
        }
        dlog_flush();  // written before the file is tampered with
    };
    // Truncated while open: the line that seems to fill the file finds it nearly empty.
    add(4);
    std::filesystem::resize_file(m_dir.file("kpi.log"), 0);
    add(2);
    EXPECT_EQ(2u, lines("kpi.log").size());
    EXPECT_FALSE(std::filesystem::exists(m_dir.file("kpi.log.1")));

    // Moved aside: lines may still reach the moved file, but a full one starts a new kpi.log
    // rather than rotating someone else's file.
    std::filesystem::rename(m_dir.file("kpi.log"), m_dir.file("kpi.log.old"));
    add(4);
    ASSERT_TRUE(std::filesystem::exists(m_dir.file("kpi.log")));
    EXPECT_EQ(6u, lines("kpi.log.old").size() + lines("kpi.log").size());
    EXPECT_FALSE(std::filesystem::exists(m_dir.file("kpi.log.1")));

    // Removed: the same, the next line past the bound goes to a new file.
    std::filesystem::remove(m_dir.file("kpi.log"));
    add(6);
    EXPECT_FALSE(lines("kpi.log").empty());
}

TEST_F(KPILogFileTest, EventsFromManyThreadsNeverShareALineAcrossARotation) {
    // 200 lines of 6 to 7 KiB: the log rotates once while the threads write.
    std::vector<std::thread> senders;
    senders.reserve(4);
    for (int t = 0; t < 4; ++t) {
        senders.emplace_back([this, t] {
            for (int i = 0; i < 50; ++i) {
                m_logger->AddEventLogSync("23_ip_control", "COMMAND", "EV002",
                                          std::string(6000 + t * 370, static_cast<char>('a' + t)));
            }
        });
    }
    for (std::thread& sender : senders) {
        sender.join();
    }
    std::vector<std::string> written = lines("kpi.log.1");
    EXPECT_LE(std::filesystem::file_size(m_dir.file("kpi.log.1")), kRotateBytes);
    const std::vector<std::string> current = lines("kpi.log");
    written.insert(written.end(), current.begin(), current.end());
    ASSERT_EQ(200u, written.size());
    for (const std::string& line : written) {
        EXPECT_EQ(JsonType::objectValue, JsonValue::Create(line).type()) << line;
    }
}

}  // namespace
