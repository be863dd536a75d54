// The worker thread: job order, exceptions in jobs, Quit and destruction. Its name and the
// refusal after Quit are checked through the service manager.
#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Manager/MsgDispatcher.h"

namespace {

const std::chrono::seconds kBound(5);

class MsgDispatcherTest : public ::testing::Test {
protected:
    void enqueue(std::function<void()> job) { m_dispatcher->EnqueueData(job); }

    // Queues a job and waits until the thread has reached it, so everything queued before has run.
    bool drain() {
        auto reached = std::make_shared<std::promise<void>>();
        std::future<void> done = reached->get_future();
        enqueue([reached] { reached->set_value(); });
        return done.wait_for(kBound) == std::future_status::ready;
    }

    // Queues a job that holds the thread until the returned promise is set, and waits until it
    // runs.
    std::promise<void> hold() {
        std::promise<void> release;
        auto started = std::make_shared<std::promise<void>>();
        enqueue([started, gate = release.get_future().share()] {
            started->set_value();
            gate.wait();
        });
        EXPECT_EQ(std::future_status::ready, started->get_future().wait_for(kBound));
        return release;
    }

    std::unique_ptr<MsgDispatcher> m_dispatcher = std::make_unique<MsgDispatcher>("ServiceManager");
};

TEST_F(MsgDispatcherTest, KeepsRunningAfterJobThrows) {
    enqueue([] { throw std::logic_error("broken job"); });
    enqueue([] { throw 42; });
    enqueue([] { std::function<void()>()(); });  // an empty hook
    EXPECT_TRUE(drain());
}

// Jobs queued while the thread is busy are dropped by a Quit(), whether it comes from outside or
// from one of them (they are taken together).
TEST_F(MsgDispatcherTest, QuitDropsJobsStillQueued) {
    std::atomic<int> later(0);
    for (bool fromAJob : {false, true}) {
        m_dispatcher = std::make_unique<MsgDispatcher>("ServiceManager");
        std::promise<void> release = hold();
        MsgDispatcher* dispatcher = m_dispatcher.get();  // the slot is emptied while it runs
        if (fromAJob) {
            enqueue([dispatcher] { dispatcher->Quit(); });
        }
        for (int i = 0; i < 3; ++i) {
            enqueue([&later] { ++later; });
        }
        if (!fromAJob) {
            dispatcher->Quit();
        }
        release.set_value();
        m_dispatcher.reset();  // joins
    }
    EXPECT_EQ(0, later);
}

// Jobs queued from other threads and from jobs themselves while the thread drains all run, each
// producer's in its order, never two at once. Without its idle tick the thread would hang on a
// lost wake-up.
TEST_F(MsgDispatcherTest, RunsJobsInQueueOrderOneAtATimeWithoutLostWakeUps) {
    m_dispatcher = std::make_unique<MsgDispatcher>("ServiceManager", std::chrono::hours(1));
    const int kPerProducer = 500;
    std::vector<std::vector<int>> seen(3);  // written by the worker only
    std::atomic<int> running(0);
    std::atomic<bool> overlapped(false);
    std::vector<std::thread> producers;
    producers.reserve(3);
    for (int p = 0; p < 3; ++p) {
        producers.emplace_back([&, p] {
            for (int i = 0; i < kPerProducer; ++i) {
                enqueue([&, p, i] {
                    if (running.fetch_add(1) != 0) {
                        overlapped = true;
                    }
                    seen[p].push_back(i);
                    if (i % 50 == 0) {
                        enqueue([] {});  // from inside a batch
                    }
                    running.fetch_sub(1);
                });
            }
        });
    }
    for (std::thread& producer : producers) {
        producer.join();
    }
    for (int round = 0; round < 300; ++round) {
        ASSERT_TRUE(drain()) << "round " << round;
    }
    EXPECT_FALSE(overlapped);
    for (const std::vector<int>& order : seen) {
        ASSERT_EQ(static_cast<size_t>(kPerProducer), order.size());
        for (int i = 0; i < kPerProducer; ++i) {
            EXPECT_EQ(i, order[i]);
        }
    }
}

TEST_F(MsgDispatcherTest, DestructorWithoutQuitDoesNotHang) {
    ASSERT_TRUE(drain());  // the thread is idle in its wait
    auto deleted = std::async(std::launch::async, [this] { m_dispatcher.reset(); });
    EXPECT_EQ(std::future_status::ready, deleted.wait_for(kBound));
}

}  // namespace
