// The framework's callback thread: order, work posted while it drains, and closing an owner
// whose items the thread has already taken.
#include <atomic>
#include <chrono>
#include <future>
#include <memory>
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

    // Posts an item and waits until it ran, so that everything posted before it has run.
    bool drain() {
        auto reached = std::make_shared<std::promise<void>>();
        std::future<void> done = reached->get_future();
        m_thread.post(CallbackThread::kService, milliseconds(0),
                      [reached] { reached->set_value(); });
        return done.wait_for(kBound) == std::future_status::ready;
    }

    // Posts an item that holds the thread until the returned promise is set, and waits until
    // it runs: what is posted meanwhile is taken as one batch.
    std::promise<void> hold() {
        std::promise<void> release;
        auto started = std::make_shared<std::promise<void>>();
        m_thread.post(CallbackThread::kService, milliseconds(0),
                      [started, gate = release.get_future().share()] {
                          started->set_value();
                          gate.wait();
                      });
        EXPECT_EQ(std::future_status::ready, started->get_future().wait_for(kBound));
        return release;
    }

    CallbackThread m_thread;
};

// Items posted by other threads, and by the running item itself, all run, each poster's in its
// order and never two at once: a lost wake-up would leave the thread asleep with work queued.
TEST_F(CallbackThreadTest, RunsWhatIsPostedWhileItDrainsInOrderOneAtATime) {
    std::vector<std::vector<int>> seen(3);  // written on the callback thread only
    std::atomic<int> running(0);
    std::atomic<bool> overlapped(false);
    std::atomic<int> chain(0);
    std::function<void()> link = [&] {
        if (++chain < 300) {
            m_thread.post(kClient, milliseconds(0), link);
        }
    };
    std::promise<void> release = hold();
    m_thread.post(kClient, milliseconds(0), link);
    std::vector<std::thread> posters;
    for (int p = 0; p < 3; ++p) {
        posters.emplace_back([&, p] {
            for (int i = 0; i < 300; ++i) {
                m_thread.post(p == 0 ? kClient : CallbackThread::kService, milliseconds(0),
                              [&, p, i] {
                                  if (running.fetch_add(1) != 0) {
                                      overlapped = true;
                                  }
                                  seen[p].push_back(i);
                                  running.fetch_sub(1);
                              });
            }
        });
        if (p == 0) {
            release.set_value();  // the rest arrive while it drains
        }
    }
    for (std::thread& poster : posters) {
        poster.join();
    }
    while (chain < 300) {
        ASSERT_TRUE(drain());
    }
    ASSERT_TRUE(drain());
    EXPECT_FALSE(overlapped);
    for (const std::vector<int>& order : seen) {
        ASSERT_EQ(300u, order.size());
        for (int i = 0; i < 300; ++i) {
            EXPECT_EQ(i, order[i]);
        }
    }
}

// Items of an owner taken in the same batch as the running item are dropped when the owner is
// closed meanwhile, from a callback or from another thread.
TEST_F(CallbackThreadTest, CloseDropsItemsAlreadyTakenForRunning) {
    std::atomic<int> ran(0);
    std::promise<void> first = hold();
    m_thread.post(CallbackThread::kService, milliseconds(0), [this] { m_thread.close(kClient); });
    m_thread.post(kClient, milliseconds(0), [&ran] { ++ran; });
    first.set_value();
    ASSERT_TRUE(drain());

    const CallbackThread::Owner other = kClient + 1;
    m_thread.open(other);
    std::promise<void> second = hold();
    std::promise<void> third;
    auto started = std::make_shared<std::promise<void>>();
    m_thread.post(CallbackThread::kService, milliseconds(0),
                  [started, gate = third.get_future().share()] {
                      started->set_value();
                      gate.wait();
                  });
    m_thread.post(other, milliseconds(0), [&ran] { ++ran; });
    second.set_value();
    ASSERT_EQ(std::future_status::ready, started->get_future().wait_for(kBound));
    // None of its items runs, so the close returns at once.
    auto closed = std::async(std::launch::async, [this, other] { m_thread.close(other); });
    ASSERT_EQ(std::future_status::ready, closed.wait_for(kBound));
    third.set_value();
    ASSERT_TRUE(drain());
    EXPECT_EQ(0, ran);
    EXPECT_FALSE(m_thread.post(other, milliseconds(0), [] {}));
}

}  // namespace
