// Tests of the on-screen pop-up: posting through the notification interface, answers through the
// notification center, replacement, the hide timeout and the approval backends, all with the
// events arriving on the main loop (an answer from another thread: the admin API's tests).
#include <gtest/gtest.h>

#include "ApprovalBackend.h"
#include "NotificationCenter.h"
#include "PlatformObjects.h"
#include "PlatformTestSupport.h"

namespace platform_test {
namespace {

using ipc_platform::NotificationCenter;
using ipc_platform::NotificationContent;
using Answer = NotificationCenter::AnswerResult;

// Runs the main loop for a while; for checking that nothing (more) arrives.
void pumpFor(int ms) {
    pumpMainLoopUntil([] { return false; }, ms);
}

class NotificationTest : public PlatformTest {
protected:
    // Starts the platform with an approval mode.
    void startWith(const std::string& approval) {
        m_options.approval = approval;
        start();
    }
    NotificationCenter& center() { return *ipc_platform::currentObjects()->notifications; }
    // Waits for the recorder's events to reach count.
    static bool waitForEvents(const PopupEvents& recorder, size_t count, int timeoutMs = 5000) {
        return pumpMainLoopUntil([&] { return recorder.events().size() >= count; }, timeoutMs);
    }
};

TEST_F(NotificationTest, AnsweringIsRefusedWhenNothingShowsOrTheButtonIsMissing) {
    startWith("screen");
    PopupEvents popup;
    ASSERT_EQ(NOTIFICATION_ERROR_NONE, postPopup(popup));
    EXPECT_EQ(Answer::NotOffered, center().answer(NOTIFICATION_EVENT_HIDDEN_BY_TIMEOUT));
    EXPECT_EQ(Answer::NothingShowing,
              center().answer(NOTIFICATION_EVENT_BUTTON_1, center().showing()->id + 1));
    ASSERT_EQ(Answer::Answered, center().answer(NOTIFICATION_EVENT_BUTTON_2));
    EXPECT_EQ(Answer::NothingShowing, center().answer(NOTIFICATION_EVENT_BUTTON_1));
    ASSERT_TRUE(waitForEvents(popup, 1));
    EXPECT_EQ(std::vector<int>{NOTIFICATION_EVENT_BUTTON_2}, popup.events());

    NotificationContent oneButton;
    oneButton.buttons[0].added = true;
    center().post(oneButton, nullptr);
    EXPECT_EQ(Answer::NotOffered, center().answer(NOTIFICATION_EVENT_BUTTON_3));
    EXPECT_TRUE(center().showing());
}

// A replaced pop-up takes its hide timeout and its undelivered answer along: otherwise an Allow
// meant for the first client would reach the poster after it put up the second client's pop-up,
// and read as the viewer allowing the second client.
TEST_F(NotificationTest, PostReplacesThePopupOnScreenWithoutAnEvent) {
    startWith("screen");
    PopupEvents first;
    PopupEvents second;
    ASSERT_EQ(NOTIFICATION_ERROR_NONE, postPopup(first, "first", 1));
    ASSERT_EQ(Answer::Answered, center().answer(NOTIFICATION_EVENT_BUTTON_1));
    ASSERT_EQ(NOTIFICATION_ERROR_NONE, postPopup(second, "second"));
    EXPECT_EQ("second", center().showing()->content.title);

    pumpFor(1300);  // past the first pop-up's hide timeout
    EXPECT_EQ(std::vector<int>{}, first.events());
    EXPECT_EQ(std::vector<int>{}, second.events());
    ASSERT_EQ(Answer::Answered, center().answer(NOTIFICATION_EVENT_BUTTON_3));
    ASSERT_TRUE(waitForEvents(second, 1));
    pumpFor(50);
    EXPECT_EQ(std::vector<int>{}, first.events());
    EXPECT_EQ(std::vector<int>{NOTIFICATION_EVENT_BUTTON_3}, second.events());
}

TEST_F(NotificationTest, IgnoreModeLeavesThePopupToItsHideTimeoutWhichTakesItDown) {
    std::string error;
    auto center = std::make_shared<NotificationCenter>(
        ipc_platform::ApprovalBackend::create("ignore", error));
    NotificationContent content;
    content.buttons[0].added = true;
    content.hideTimeoutMs = 500;
    std::vector<int> received;
    center->post(content,
                 [&](int event, const NotificationContent&) { received.push_back(event); });
    EXPECT_GT(center->showing()->remainingMs, 0u);
    ASSERT_TRUE(pumpMainLoopUntil([&] { return !received.empty(); }));
    pumpFor(100);
    EXPECT_EQ(std::vector<int>{NOTIFICATION_EVENT_HIDDEN_BY_TIMEOUT}, received);
    EXPECT_FALSE(center->showing());

    EXPECT_EQ(nullptr, ipc_platform::ApprovalBackend::create("maybe", error));
    EXPECT_NE(std::string::npos, error.find("maybe"));
}

TEST_F(NotificationTest, ViewerAnswerBeatsTheAllowModeAndShutdownTakesThePopupDownQuietly) {
    startWith("allow");
    PopupEvents answered;
    ASSERT_EQ(NOTIFICATION_ERROR_NONE, postPopup(answered));
    ASSERT_EQ(Answer::Answered, center().answer(NOTIFICATION_EVENT_BUTTON_2));
    pumpFor(600);
    EXPECT_EQ(std::vector<int>{NOTIFICATION_EVENT_BUTTON_2}, answered.events());

    PopupEvents popup;
    ASSERT_EQ(NOTIFICATION_ERROR_NONE, postPopup(popup));
    ipc_platform::shutdown();
    pumpFor(500);
    EXPECT_EQ(std::vector<int>{}, popup.events());
    EXPECT_EQ(NOTIFICATION_ERROR_NOT_READY, postPopup(popup));
}

}  // namespace
}  // namespace platform_test
