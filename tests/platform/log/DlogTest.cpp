// Tests of the platform log: the levels, the ring and its writing thread under many logging
// threads, the recent lines and the line formatter.
#include <unistd.h>

#include <cstdarg>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "LineFormat.h"
#include "LogRing.h"
#include "LogWriter.h"
#include "RecentLines.h"
#include "dlog.h"

namespace {

using ipc_platform::LogRing;
using ipc_platform::LogWriter;
using ipc_platform::RecentLines;

// Whether the process's recent lines hold a line with exactly this text.
bool inRecentLines(const std::string& text) {
    dlog_flush();
    for (const RecentLines::Entry& entry : ipc_platform::processRecentLines().lines(DLOG_DEBUG)) {
        if (entry.text == text) {
            return true;
        }
    }
    return false;
}

// Queues one line of tag "TAG".
bool pushLine(LogRing& ring, const std::string& text, int priority = DLOG_INFO,
              int64_t timeUs = 0) {
    ipc_platform::LogRecordHeader header;
    header.tagLength = 3;
    header.textLength = static_cast<uint32_t>(text.size());
    header.timeUs = timeUs;
    header.priority = static_cast<uint8_t>(priority);
    return ring.push(header, "TAG", text.c_str());
}

// Stops the writer while reading its pipe to the end (a full pipe would block it); what it wrote.
std::string stopAndRead(LogWriter& writer, const int fds[2]) {
    std::string output;
    std::thread reader([&output, fd = fds[0]] {
        char buffer[65536];
        for (ssize_t count; (count = read(fd, buffer, sizeof buffer)) > 0;) {
            output.append(buffer, static_cast<size_t>(count));
        }
    });
    writer.stop();  // writes everything queued first
    close(fds[1]);
    reader.join();
    close(fds[0]);
    return output;
}

class DlogTest : public ::testing::Test {
protected:
    void SetUp() override { dlog_set_sink(&DlogTest::record, &m_lines); }
    void TearDown() override {
        dlog_set_sink(nullptr, nullptr);
        dlog_set_min_priority(DLOG_INFO);
    }
    static void record(log_priority, const char*, const char* message, void* lines) {
        static_cast<std::vector<std::string>*>(lines)->push_back(message);
    }

    std::vector<std::string> m_lines;  // the messages that reached the output
};

// The recent lines keep info even when the output is at warn (the TV screen's log panel reads
// them), and nothing at silent. That a filtered line costs no formatting shows in the benchmarks.
TEST_F(DlogTest, OutputAndRecentLinesFollowTheLevel) {
    // Longer than a line formatted on the stack.
    const std::string longText(5000, 'x');
    EXPECT_EQ(5000, dlog_print(DLOG_ERROR, "TAG", "%s", longText.c_str()));
    dlog_set_min_priority(DLOG_WARN);
    EXPECT_EQ(0, dlog_print(DLOG_INFO, "TAG", "info at warn"));
    EXPECT_EQ(0, dlog_print(DLOG_DEBUG, "TAG", "debug at warn"));
    dlog_set_min_priority(DLOG_DEBUG);
    EXPECT_LT(0, dlog_print(DLOG_DEBUG, "TAG", "debug at debug"));
    dlog_set_min_priority(DLOG_SILENT);
    EXPECT_EQ(0, dlog_print(DLOG_ERROR, "TAG", "error at silent"));
    EXPECT_EQ((std::vector<std::string>{longText, "debug at debug"}), m_lines);
    EXPECT_TRUE(inRecentLines("info at warn"));
    EXPECT_FALSE(inRecentLines("debug at warn"));
    EXPECT_FALSE(inRecentLines("error at silent"));
}

// Many threads log into a small ring while the output is blocked (a pipe nobody reads yet): no
// line is torn or mixed with another, each thread's lines keep their order, and every line is
// either written or counted in an "N log lines dropped" line, also when counted without the lock.
TEST(LogRingTest, ManyWritersLoseNoLineSilentlyAndNeverTearOne) {
    constexpr int kThreads = 8;
    constexpr int kLinesPerThread = 2000;
    int fds[2];
    ASSERT_EQ(0, pipe(fds));
    LogRing ring(16 * 1024);
    RecentLines recent(kThreads * kLinesPerThread + 1000);
    LogWriter writer(ring, fds[1], false, &recent);
    writer.start();

    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&ring, t] {
            for (int i = 0; i < kLinesPerThread; ++i) {
                // Lengths vary so that lines wrap around the ring's end at every offset.
                const std::string text = "w" + std::to_string(t) + " n" + std::to_string(i) + " " +
                                         std::string(i % 97, static_cast<char>('a' + t));
                // Half the threads drop while the ring is full before pushing, as the log does.
                if (t % 2 == 1 && ring.full()) {
                    ring.drop(true);
                    continue;
                }
                pushLine(ring, text, DLOG_INFO, 1000000 + i);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const std::string output = stopAndRead(writer, fds);

    const std::regex logged(R"(\d\d:\d\d:\d\d\.\d{3} I TAG: w(\d) n(\d+) ([a-h]*))");
    const std::regex dropped(R"(\d\d:\d\d:\d\d\.\d{3} W IPC_PLATFORM: (\d+) log lines dropped)");
    std::vector<int> lastSeen(kThreads, -1);
    long written = 0;
    long droppedCount = 0;
    size_t lineCount = 0;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line); ++lineCount) {
        std::smatch match;
        if (std::regex_match(line, match, dropped)) {
            droppedCount += std::stol(match[1]);
            continue;
        }
        ASSERT_TRUE(std::regex_match(line, match, logged)) << line;
        const int t = std::stoi(match[1]);
        const int i = std::stoi(match[2]);
        ASSERT_EQ(std::string(i % 97, static_cast<char>('a' + t)), match[3].str()) << line;
        ASSERT_LT(lastSeen[t], i) << line;
        lastSeen[t] = i;
        ++written;
    }
    EXPECT_LT(0, droppedCount);  // the blocked output did make the ring overflow
    EXPECT_EQ(kThreads * kLinesPerThread, written + droppedCount);
    // The recent lines got every line written, the drop reports among them.
    EXPECT_EQ(lineCount, recent.lines(DLOG_DEBUG).size());
}

// Lines of one millisecond share their prefix: a line of another level or millisecond in between
// gets its own. Under the journal the prefix is the syslog level alone.
TEST(LogWriterTest, EachLineGetsItsOwnLevelAndTime) {
    auto written = [](bool journal) {
        int fds[2];
        EXPECT_EQ(0, pipe(fds));
        LogRing ring(4096);
        LogWriter writer(ring, fds[1], journal, nullptr);
        const std::pair<int, int64_t> lines[] = {{DLOG_INFO, 1'000'000},
                                                 {DLOG_WARN, 1'000'400},
                                                 {DLOG_WARN, 1'001'000},
                                                 {DLOG_ERROR, 1'001'999}};
        for (const auto& [priority, timeUs] : lines) {
            pushLine(ring, "x", priority, timeUs);
        }
        writer.start();
        return stopAndRead(writer, fds);
    };
    const std::string plain = written(false);
    EXPECT_TRUE(std::regex_match(plain, std::regex(R"(\d\d:\d\d:01\.000 I TAG: x\n)"
                                                   R"(\d\d:\d\d:01\.000 W TAG: x\n)"
                                                   R"(\d\d:\d\d:01\.001 W TAG: x\n)"
                                                   R"(\d\d:\d\d:01\.001 E TAG: x\n)")))
        << plain;
    EXPECT_EQ("<6>TAG: x\n<4>TAG: x\n<4>TAG: x\n<3>TAG: x\n", written(true));
}

// Lines are never split at the ring's end: one that does not fit before it starts at the
// beginning, and one longer than the room left there fits as soon as the ring is empty.
TEST(LogRingTest, LinesThatDoNotFitBeforeTheEndStartAtTheBeginning) {
    LogRing ring(1024);
    auto push = [&ring](size_t length, char fill) {
        return pushLine(ring, std::string(length, fill));
    };
    // The texts taken, then how many lines the ring could not take since the last batch.
    auto takeAll = [&ring] {
        std::string texts;
        LogRing::Batch batch;
        ring.take(batch);
        for (LogRing::Line line; ring.next(batch, line);) {
            texts += std::string(line.text, line.header.textLength) + "|";
        }
        ring.markWritten(batch.end);
        return texts + std::to_string(batch.droppedOutput) + " dropped";
    };
    ASSERT_TRUE(push(300, 'a'));
    EXPECT_EQ(std::string(300, 'a') + "|0 dropped", takeAll());
    ASSERT_TRUE(push(600, 'b'));
    ASSERT_TRUE(push(100, 'c'));   // the room left before the end is skipped
    EXPECT_FALSE(push(500, 'd'));  // would need the room the first line still holds
    EXPECT_EQ(std::string(600, 'b') + "|" + std::string(100, 'c') + "|1 dropped", takeAll());
    ASSERT_TRUE(push(900, 'e'));  // more than is left before the end, but the ring is empty
    EXPECT_FALSE(push(2000, 'f'));
    EXPECT_EQ(std::string(900, 'e') + "|1 dropped", takeAll());
}

// Lines of every length pass through: their texts wrap around the end of the recent lines' bytes
// and get moved when those grow for a longer line, and each comes back as it was added, oldest
// first; a text too long is cut at a character boundary.
TEST(RecentLinesTest, KeepsTheLatestTextsWhileTheirBytesWrapAroundAndGrow) {
    RecentLines recent(6);
    std::vector<std::string> added;
    for (size_t i = 0; i < 300; ++i) {
        added.push_back(std::to_string(i) +
                        std::string(i * 37 % 1000, static_cast<char>('a' + i % 26)));
        recent.add(DLOG_INFO, 0, "T", 1, added.back().c_str(), added.back().size());
        const std::vector<RecentLines::Entry> lines = recent.lines(DLOG_DEBUG);
        ASSERT_EQ(std::min<size_t>(i + 1, 6), lines.size());
        for (size_t k = 0; k < lines.size(); ++k) {
            ASSERT_EQ(added[added.size() - lines.size() + k], lines[k].text) << i;
        }
    }
    const std::string accented = std::string(RecentLines::kMaxText - 1, 'a') + "\xc3\xa9 tail";
    recent.add(DLOG_INFO, 7, "T", 1, accented.c_str(), accented.size());
    EXPECT_EQ(std::string(RecentLines::kMaxText - 1, 'a') + "\u2026",
              recent.lines(DLOG_DEBUG).back().text);
    EXPECT_EQ(301u, recent.lastSequence());
}

// Lines are formatted without vsnprintf where the format allows: the text must be the same, also
// when it does not fit.
// Both formatters into a buffer of size (nullptr when 0) with guard bytes behind it.
using Formatter = int (*)(char*, size_t, const char*, va_list);

std::string formatWith(Formatter formatter, size_t size, int* length, const char* fmt, ...) {
    std::string out(size + 8, '#');
    va_list ap;
    va_start(ap, fmt);
    *length = formatter(size > 0 ? out.data() : nullptr, size, fmt, ap);
    va_end(ap);
    return out;
}

TEST(LineFormatTest, WritesWhatVsnprintfWrites) {
    const char* nullText = nullptr;
#define SAME_AS_VSNPRINTF(fmt, ...)                                                   \
    for (size_t size : {0, 1, 5, 17, 200}) {                                          \
        int got = 0;                                                                  \
        int want = 0;                                                                 \
        EXPECT_EQ(formatWith(vsnprintf, size, &want, fmt, __VA_ARGS__),               \
                  formatWith(ipc_platform::formatLine, size, &got, fmt, __VA_ARGS__)) \
            << fmt << " in " << size;                                                 \
        EXPECT_EQ(want, got) << fmt << " in " << size;                                \
    }
    SAME_AS_VSNPRINTF("%s : %s(%d)  methodName:%s", "File.cpp", "parse", 68, "powerControl");
    SAME_AS_VSNPRINTF("[%s] [%-8s|%8s] %c%%", nullText, "ab", "cd", 'z');
    SAME_AS_VSNPRINTF("%d %i %05d %-5d| %u %x %X %04x", -2147483647 - 1, 0, -42, -7, 4294967295u,
                      48879u, 48879u, 10u);
    SAME_AS_VSNPRINTF("%ld %lu %lld %llu %zu %zd %hhd %hu %jd %td", -1L, 18446744073709551615UL,
                      -9223372036854775807LL - 1, 1ULL, static_cast<size_t>(12),
                      static_cast<ssize_t>(-3), 300, 70000, static_cast<intmax_t>(-5),
                      static_cast<ptrdiff_t>(9));
    SAME_AS_VSNPRINTF("%p %p %20p|", static_cast<const void*>(nullptr),
                      static_cast<const void*>(&nullText), static_cast<const void*>(&nullText));
    // Formats it leaves to vsnprintf.
    SAME_AS_VSNPRINTF("%.4f %+d %*s %.3s %#x % d %", 3.14159, 5, 6, "x", "abcdef", 255u, 4);
#undef SAME_AS_VSNPRINTF
}

}  // namespace
