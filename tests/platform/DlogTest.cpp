// Tests of the platform log: priority filtering and the sink.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "dlog.h"

namespace {

struct Line {
    log_priority prio;
    std::string tag;
    std::string message;
};

class DlogTest : public ::testing::Test {
protected:
    void SetUp() override { dlog_set_sink(&DlogTest::record, &m_lines); }
    void TearDown() override {
        dlog_set_sink(nullptr, nullptr);
        dlog_set_min_priority(DLOG_INFO);
    }
    static void record(log_priority prio, const char* tag, const char* message, void* lines) {
        static_cast<std::vector<Line>*>(lines)->push_back({prio, tag, message});
    }

    std::vector<Line> m_lines;
};

TEST_F(DlogTest, SinkReceivesFormattedMessageAndRefusesMissingTagOrFormat) {
    EXPECT_EQ(9, dlog_print(DLOG_ERROR, "TAG", "value %03d", 7));
    ASSERT_EQ(1u, m_lines.size());
    EXPECT_EQ(DLOG_ERROR, m_lines[0].prio);
    EXPECT_EQ("TAG", m_lines[0].tag);
    EXPECT_EQ("value 007", m_lines[0].message);

    EXPECT_EQ(-1, dlog_print(DLOG_ERROR, nullptr, "x"));
    EXPECT_EQ(-1, dlog_print(DLOG_ERROR, "TAG", nullptr));
    EXPECT_EQ(1u, m_lines.size());
}

TEST_F(DlogTest, LinesBelowMinimumPriorityAreDropped) {
    EXPECT_EQ(0, dlog_print(DLOG_DEBUG, "TAG", "default drops debug"));
    dlog_set_min_priority(DLOG_WARN);
    EXPECT_EQ(0, dlog_print(DLOG_INFO, "TAG", "dropped"));
    EXPECT_LT(0, dlog_print(DLOG_WARN, "TAG", "kept"));
    dlog_set_min_priority(DLOG_SILENT);
    EXPECT_EQ(0, dlog_print(DLOG_ERROR, "TAG", "silenced"));
    ASSERT_EQ(1u, m_lines.size());
    EXPECT_EQ("kept", m_lines[0].message);
}

}  // namespace
