// The auth list file: its JSON form (the legacy one is read in the access manager's tests), damaged
// content, and replacement that never shows half a file.
#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Manager/AuthListFile.h"
#include "support/PlatformTest.h"

// Found by argument-dependent lookup, so beside AuthRecord in the global namespace.
void PrintTo(const AuthRecord& r, std::ostream* os);
void PrintTo(const AuthRecord& r, std::ostream* os) {
    *os << "{" << r.accessClass << ", " << r.macAddr << ", " << r.accessToken << "}";
}

namespace {

const char* const kRecordA =
    R"({"AccessToken":"tok-a","MacAddr":"aa:bb:cc:dd:ee:01","AccessClass":0})";
const char* const kRecordB = R"({"AccessToken":"","MacAddr":"aa:bb:cc:dd:ee:02","AccessClass":2})";

std::string fixture(const std::string& name) {
    return testsupport::readFile(std::string(IPC_TEST_DATA_DIR) + "/" + name);
}

std::vector<AuthRecord> parsed(const std::string& content) {
    std::vector<AuthRecord> list;
    AuthListFile::parse(content, list);
    return list;
}

AuthRecord record(int32_t accessClass, const std::string& mac, const std::string& token) {
    AuthRecord r;
    r.accessClass = accessClass;
    r.macAddr = mac;
    r.accessToken = token;
    return r;
}

TEST(AuthListFormTest, WritesCompactJsonOrNullAndReadsItBack) {
    std::vector<AuthRecord> list{record(0, "aa:bb:cc:dd:ee:01", "tok-a"),
                                 record(2, "aa:bb:cc:dd:ee:02", "")};
    EXPECT_EQ(std::string("[") + kRecordA + "," + kRecordB + "]", AuthListFile::toJson(list));
    EXPECT_EQ("null", AuthListFile::toJson({}));
    EXPECT_EQ(list, parsed(AuthListFile::toJson(list)));
}

TEST(AuthListFormTest, DamagedContentYieldsWhatCanBeReadWithoutThrowing) {
    // Each content with the number of records still read from it.
    const std::pair<std::string, size_t> cases[] = {
        {"authlist", 0},
        {"null", 0},
        {std::string("\x00\xff[\x01", 4), 0},  // binary garbage
        {std::string("[") + kRecordA + ",{\"AccessTo", 0},
        {kRecordA, 0},  // an object, not an array
        {std::string("[") + kRecordA + R"(,{"AccessClass":"two"},)" + kRecordB + "]", 1},
        {fixture("authlist-legacy-cut-mid-record.dat"), 0}};
    for (size_t i = 0; i < std::size(cases); ++i) {
        std::vector<AuthRecord> list;
        ASSERT_NO_THROW(AuthListFile::parse(cases[i].first, list)) << i;
        EXPECT_EQ(cases[i].second, list.size()) << i;
    }
}

class AuthListFileTest : public testsupport::PlatformTest {
protected:
    void SetUp() override { startPlatform(); }

    std::vector<std::string> folderEntries() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_dir.file("authlist"))) {
            names.push_back(entry.path().filename().string());
        }
        return names;
    }
};

TEST_F(AuthListFileTest, ReplacementLeavesReadersOfTheOldFileAWholeOldFile) {
    AuthListFile::ensureFolder();
    ASSERT_TRUE(AuthListFile::replace("old list"));
    int reader = open(AuthListFile::filePath().c_str(), O_RDONLY);
    ASSERT_GE(reader, 0);

    ASSERT_TRUE(AuthListFile::replace("new list"));
    char buffer[32] = {};
    EXPECT_EQ(8, pread(reader, buffer, sizeof(buffer) - 1, 0));
    EXPECT_STREQ("old list", buffer);
    close(reader);

    std::string content;
    ASSERT_TRUE(AuthListFile::read(content));
    EXPECT_EQ("new list", content);
    EXPECT_EQ((std::vector<std::string>{"authlist.dat"}), folderEntries());
}

TEST_F(AuthListFileTest, FailedReplacementLeavesNoTemporaryFileBehind) {
    // A folder where the file should be: the rename over it fails.
    std::filesystem::create_directories(AuthListFile::filePath());
    EXPECT_FALSE(AuthListFile::replace("new list"));
    EXPECT_EQ((std::vector<std::string>{"authlist.dat"}), folderEntries());
    EXPECT_TRUE(std::filesystem::is_directory(AuthListFile::filePath()));
}

}  // namespace
