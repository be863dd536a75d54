// Pairing refusals by their timing: the viewer's quick Deny or Close against the pop-up that
// hid itself after 30 seconds.
#include <gtest/gtest.h>

#include "PairCommand.h"
#include "support/PlatformFixture.h"

namespace {

using std::chrono::milliseconds;

TEST(PairCommandTest, UnauthorizedRefusalMeansDeniedWhenQuickAndUnansweredWhenLate) {
    testsupport::TempDir dir;
    TokenStore store(dir.file("tokens.json"));
    CommandLine commandLine;
    PairCommand pair(commandLine, store);
    HttpReply refusal;
    refusal.transport = HttpReply::Transport::Answered;
    refusal.status = 403;
    refusal.body = "{\"code\": -32010, \"message\": \"Unauthorized access\"}";
    const TvAnswer answer = TvAnswer::read(refusal);

    EXPECT_EQ(ExitCode::Denied, pair.interpret(answer, milliseconds(300)).code);
    EXPECT_EQ(ExitCode::Denied, pair.interpret(answer, milliseconds(27900)).code);
    EXPECT_EQ(ExitCode::TimedOut, pair.interpret(answer, milliseconds(28000)).code);
    EXPECT_EQ(ExitCode::TimedOut, pair.interpret(answer, milliseconds(35100)).code);
}

}  // namespace
