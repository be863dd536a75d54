// Tests of the platform log: the level check before any formatting, the sink, and the ring and
// its writing thread under many logging threads.
#include <printf.h>
#include <unistd.h>

#include <atomic>
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

struct Line {
    log_priority prio;
    std::string tag;
    std::string message;
};

// A printf conversion "%Y" that counts how often it is formatted, to see whether a line was.
std::atomic<int> g_formatted{0};

int renderCounted(FILE* stream, const printf_info* /*info*/, const void* const* /*args*/) {
    ++g_formatted;
    return fprintf(stream, "Y");
}

int countedArguments(const printf_info* /*info*/, size_t count, int* types, int* sizes) {
    if (count > 0) {
        types[0] = PA_INT;
        sizes[0] = sizeof(int);
    }
    return 1;
}

// Logs a line that holds one counted conversion (without the format check the macro's callers
// get, which does not know it).
int logCounted(log_priority prio, const char* text) {
    static const bool registered =
        register_printf_specifier('Y', renderCounted, countedArguments) == 0;
    EXPECT_TRUE(registered);
    const std::string format = std::string(text) + " %Y";
    auto print = [](log_priority p, const char* fmt, ...) {
        va_list ap;
        va_start(ap, fmt);
        const int result = dlog_vprint(p, "TAG", fmt, ap);
        va_end(ap);
        return result;
    };
    return print(prio, format.c_str(), 0);
}

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
    // Longer than a line formatted on the stack.
    const std::string longText(5000, 'x');
    EXPECT_EQ(5000, dlog_print(DLOG_ERROR, "TAG", "%s", longText.c_str()));
    ASSERT_EQ(2u, m_lines.size());
    EXPECT_EQ(longText, m_lines[1].message);

    EXPECT_EQ(-1, dlog_print(DLOG_ERROR, nullptr, "x"));
    EXPECT_EQ(-1, dlog_print(DLOG_ERROR, "TAG", nullptr));
    EXPECT_EQ(2u, m_lines.size());
}

// A line is formatted only when the output or the recent lines keep it: the recent lines keep
// info even when the output is at warn, and nothing at silent.
TEST_F(DlogTest, LevelIsCheckedBeforeFormattingAndRecentLinesKeepInfo) {
    g_formatted = 0;
    EXPECT_EQ(0, logCounted(DLOG_DEBUG, "debug at info"));
    EXPECT_EQ(0, g_formatted);
    EXPECT_LT(0, logCounted(DLOG_INFO, "info at info"));
    EXPECT_EQ(1, g_formatted);

    dlog_set_min_priority(DLOG_WARN);
    EXPECT_EQ(DLOG_WARN, dlog_get_min_priority());
    EXPECT_EQ(0, logCounted(DLOG_DEBUG, "debug at warn"));
    EXPECT_EQ(1, g_formatted);
    EXPECT_EQ(0, logCounted(DLOG_INFO, "info at warn"));
    EXPECT_EQ(2, g_formatted);
    EXPECT_LT(0, logCounted(DLOG_WARN, "warn at warn"));
    EXPECT_EQ(3, g_formatted);

    dlog_set_min_priority(DLOG_DEBUG);
    EXPECT_LT(0, logCounted(DLOG_DEBUG, "debug at debug"));
    EXPECT_EQ(4, g_formatted);

    dlog_set_min_priority(DLOG_SILENT);
    EXPECT_EQ(0, logCounted(DLOG_ERROR, "error at silent"));
    EXPECT_EQ(4, g_formatted);

    ASSERT_EQ(3u, m_lines.size());
    EXPECT_EQ("info at info Y", m_lines[0].message);
    EXPECT_EQ("warn at warn Y", m_lines[1].message);
    EXPECT_EQ("debug at debug Y", m_lines[2].message);
    EXPECT_TRUE(inRecentLines("info at warn Y"));
    EXPECT_TRUE(inRecentLines("debug at debug Y"));
    EXPECT_FALSE(inRecentLines("debug at warn Y"));
    EXPECT_FALSE(inRecentLines("error at silent Y"));
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
                ipc_platform::LogRecordHeader header;
                header.tagLength = 3;
                header.textLength = static_cast<uint32_t>(text.size());
                header.timeUs = 1000000 + i;
                header.priority = DLOG_INFO;
                // Half the threads drop while the ring is full before pushing, as the log does.
                if (t % 2 == 1 && ring.full()) {
                    ring.drop(true);
                    continue;
                }
                ring.push(header, "TAG", text.c_str());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
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
            ipc_platform::LogRecordHeader header;
            header.tagLength = 3;
            header.textLength = 1;
            header.timeUs = timeUs;
            header.priority = static_cast<uint8_t>(priority);
            ring.push(header, "TAG", "x");
        }
        writer.start();
        writer.stop();
        close(fds[1]);
        char buffer[512];
        const ssize_t count = read(fds[0], buffer, sizeof buffer);
        close(fds[0]);
        return std::string(buffer, count > 0 ? static_cast<size_t>(count) : 0);
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
        const std::string text(length, fill);
        ipc_platform::LogRecordHeader header;
        header.tagLength = 3;
        header.textLength = static_cast<uint32_t>(length);
        return ring.push(header, "TAG", text.c_str());
    };
    auto takeAll = [&ring] {
        std::string texts;
        LogRing::Batch batch;
        ring.take(batch);
        for (LogRing::Line line; ring.next(batch, line);) {
            texts += std::string(line.text, line.header.textLength) + "|";
        }
        ring.markWritten(batch.end);
        return texts;
    };
    ASSERT_TRUE(push(300, 'a'));
    EXPECT_EQ(std::string(300, 'a') + "|", takeAll());
    ASSERT_TRUE(push(600, 'b'));
    ASSERT_TRUE(push(100, 'c'));   // the room left before the end is skipped
    EXPECT_FALSE(push(500, 'd'));  // would need the room the first line still holds
    EXPECT_EQ(std::string(600, 'b') + "|" + std::string(100, 'c') + "|", takeAll());
    ASSERT_TRUE(push(900, 'e'));  // more than is left before the end, but the ring is empty
    EXPECT_FALSE(push(2000, 'f'));
    LogRing::Batch batch;
    LogRing::Line line;
    ASSERT_TRUE(ring.take(batch));
    ASSERT_TRUE(ring.next(batch, line));
    EXPECT_EQ(std::string(900, 'e'), std::string(line.text, line.header.textLength));
    EXPECT_FALSE(ring.next(batch, line));
    EXPECT_EQ(1u, batch.droppedOutput);  // the longer one; the other went with the batch before
}

// The recent lines are a ring: once full, each line replaces the oldest, and the order stays
// oldest first.
TEST(RecentLinesTest, KeepsTheLatestLinesInOrderAndCutsLongTexts) {
    RecentLines recent(3);
    const std::string accented = std::string(RecentLines::kMaxText - 1, 'a') + "\xc3\xa9 tail";
    for (int i = 1; i <= 5; ++i) {
        const std::string text = i == 4 ? accented : "line " + std::to_string(i);
        recent.add(i == 2 ? DLOG_WARN : DLOG_INFO, i, "TAG", 3, text.c_str(), text.size());
    }
    std::vector<RecentLines::Entry> lines = recent.lines(DLOG_DEBUG);
    ASSERT_EQ(3u, lines.size());
    EXPECT_EQ(3u, lines[0].sequence);
    EXPECT_EQ("line 3", lines[0].text);
    EXPECT_EQ(std::string(RecentLines::kMaxText - 1, 'a') + "\u2026", lines[1].text);
    EXPECT_EQ("line 5", lines[2].text);
    EXPECT_EQ(5, lines[2].timeUs);
    EXPECT_EQ(5u, recent.lastSequence());
    recent.add(DLOG_WARN, 6, "TAG", 3, "six", 3);
    lines = recent.lines(DLOG_WARN);
    ASSERT_EQ(1u, lines.size());
    EXPECT_EQ("six", lines[0].text);
}

// Lines of every length pass through: their texts wrap around the end of the recent lines' bytes
// and get moved when those grow for a longer line, and each comes back as it was added.
TEST(RecentLinesTest, KeepsTextsWhileTheirBytesWrapAroundAndGrow) {
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
            ASSERT_EQ("T", lines[k].tag);
        }
    }
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
