// The framework's callback thread: time and posting order, work posted while it drains, and
// closing an owner whose items the thread has already taken.
#include <atomic>
#include <chrono>
#include <future>
#include <mutex>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "CallbackThread.h"

namespace {

using ipc_tv::CallbackThread;
using std::chrono::milliseconds;

const std::chrono::seconds kBound(5);
const CallbackThread::Owner kClient = 7;

class CallbackThreadTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_thread.start();
        m_thread.open(kClient);
    }

    // Posts an item and waits until it ran, so that everything due before it has run.
    bool drain() {
        auto reached = std::make_shared<std::promise<void>>();
        std::future<void> done = reached->get_future();
        m_thread.post(CallbackThread::kService, milliseconds(0),
                      [reached] { reached->set_value(); });
        return done.wait_for(kBound) == std::future_status::ready;
    }

    // Posts an item that blocks the thread until the returned promise is set.
    std::promise<void> block() {
        std::promise<void> release;
        auto started = std::make_shared<std::promise<void>>();
        std::shared_future<void> gate = release.get_future().share();
        m_thread.post(CallbackThread::kService, milliseconds(0), [started, gate] {
            started->set_value();
            gate.wait();
        });
        EXPECT_EQ(std::future_status::ready, started->get_future().wait_for(kBound));
        return release;
    }

    CallbackThread m_thread;
};

TEST_F(CallbackThreadTest, RunsInPostingOrderAndDelayedItemsLaterOneAtATime) {
    std::mutex mutex;  // protects order
    std::vector<int> order;
    std::atomic<int> running(0);
    std::atomic<bool> overlapped(false);
    auto record = [&](int n) {
        return [&, n] {
            if (running.fetch_add(1) != 0) {
                overlapped = true;
            }
            std::lock_guard<std::mutex> lock(mutex);
            order.push_back(n);
            running.fetch_sub(1);
        };
    };
    std::promise<void> release = block();
    // Behind the blocked item, so that they are taken together.
    for (int i = 0; i < 50; ++i) {
        m_thread.post(i % 2 == 0 ? kClient : CallbackThread::kService, milliseconds(0), record(i));
    }
    m_thread.post(kClient, milliseconds(30), record(100));
    release.set_value();
    auto late = std::make_shared<std::promise<void>>();
    m_thread.post(kClient, milliseconds(60), [late] { late->set_value(); });
    ASSERT_EQ(std::future_status::ready, late->get_future().wait_for(kBound));

    std::lock_guard<std::mutex> lock(mutex);
    ASSERT_EQ(51u, order.size());
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(i, order[i]);
    }
    EXPECT_EQ(100, order[50]);
    EXPECT_FALSE(overlapped);
}

// Items posted by the running item and by other threads while it drains are all run: a lost
// wake-up would leave the thread asleep with work queued.
TEST_F(CallbackThreadTest, WorkPostedWhileItDrainsIsRun) {
    std::atomic<int> chain(0);
    std::function<void()> link = [&] {
        if (++chain < 300) {
            m_thread.post(kClient, milliseconds(0), link);
        }
    };
    m_thread.post(kClient, milliseconds(0), link);
    std::atomic<int> posted(0);
    std::vector<std::thread> posters;
    for (int p = 0; p < 3; ++p) {
        posters.emplace_back([&] {
            for (int i = 0; i < 300; ++i) {
                m_thread.post(CallbackThread::kService, milliseconds(0), [&posted] { ++posted; });
            }
        });
    }
    for (std::thread& poster : posters) {
        poster.join();
    }
    for (int round = 0; round < 300; ++round) {
        ASSERT_TRUE(drain()) << "round " << round;
    }
    while (chain < 300) {
        ASSERT_TRUE(drain());
    }
    EXPECT_EQ(900, posted);
}

// Items of an owner that the thread took in the same batch as the one running are dropped when
// the owner is closed meanwhile, from a callback or from another thread.
TEST_F(CallbackThreadTest, CloseDropsItemsAlreadyTakenForRunning) {
    std::atomic<int> ran(0);
    std::promise<void> first = block();
    m_thread.post(CallbackThread::kService, milliseconds(0), [this] { m_thread.close(kClient); });
    m_thread.post(kClient, milliseconds(0), [&ran] { ++ran; });
    m_thread.post(kClient, milliseconds(0), [&ran] { ++ran; });
    first.set_value();
    ASSERT_TRUE(drain());
    EXPECT_EQ(0, ran);

    const CallbackThread::Owner other = kClient + 1;
    m_thread.open(other);
    std::promise<void> second = block();
    auto started = std::make_shared<std::promise<void>>();
    std::promise<void> release;
    std::shared_future<void> gate = release.get_future().share();
    m_thread.post(CallbackThread::kService, milliseconds(0), [started, gate] {
        started->set_value();
        gate.wait();
    });
    m_thread.post(other, milliseconds(0), [&ran] { ++ran; });
    second.set_value();
    ASSERT_EQ(std::future_status::ready, started->get_future().wait_for(kBound));
    // Not running an item of its own, the owner's close returns at once.
    auto closed = std::async(std::launch::async, [this, other] { m_thread.close(other); });
    ASSERT_EQ(std::future_status::ready, closed.wait_for(kBound));
    release.set_value();
    ASSERT_TRUE(drain());
    EXPECT_EQ(0, ran);
    EXPECT_FALSE(m_thread.post(other, milliseconds(0), [] {}));
}

}  // namespace
