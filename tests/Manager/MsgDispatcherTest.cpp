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

    std::unique_ptr<MsgDispatcher> m_dispatcher = std::make_unique<MsgDispatcher>("ServiceManager");
};

TEST_F(MsgDispatcherTest, RunsJobsInQueueOrderOneAtATime) {
    std::vector<int> order;  // written by the worker only, read after drain()
    std::atomic<int> running(0);
    std::atomic<bool> overlapped(false);
    for (int i = 0; i < 200; ++i) {
        enqueue([&, i] {
            if (running.fetch_add(1) != 0) {
                overlapped = true;
            }
            order.push_back(i);
            running.fetch_sub(1);
        });
    }
    ASSERT_TRUE(drain());
    ASSERT_EQ(200u, order.size());
    for (int i = 0; i < 200; ++i) {
        EXPECT_EQ(i, order[i]);
    }
    EXPECT_FALSE(overlapped);
}

TEST_F(MsgDispatcherTest, KeepsRunningAfterJobThrows) {
    enqueue([] { throw std::logic_error("broken job"); });
    enqueue([] { throw 42; });
    enqueue([] { std::function<void()>()(); });  // an empty hook
    EXPECT_TRUE(drain());
}

// Jobs queued behind a busy job are taken together; a Quit() from one of them still drops the
// rest, as it does for jobs queued when Quit() comes from outside.
TEST_F(MsgDispatcherTest, QuitDropsJobsStillQueued) {
    std::promise<void> started;
    std::promise<void> release;
    std::shared_future<void> gate = release.get_future().share();
    std::atomic<int> later(0);
    enqueue([&started, gate] {
        started.set_value();
        gate.wait();
    });
    ASSERT_EQ(std::future_status::ready, started.get_future().wait_for(kBound));
    MsgDispatcher* dispatcher = m_dispatcher.get();  // the slot is emptied while it runs
    enqueue([dispatcher] { dispatcher->Quit(); });
    for (int i = 0; i < 3; ++i) {
        enqueue([&later] { ++later; });
    }
    release.set_value();
    m_dispatcher.reset();  // joins
    EXPECT_EQ(0, later);

    m_dispatcher = std::make_unique<MsgDispatcher>("ServiceManager");
    std::promise<void> started2;
    std::promise<void> release2;
    std::shared_future<void> gate2 = release2.get_future().share();
    enqueue([&started2, gate2] {
        started2.set_value();
        gate2.wait();
    });
    ASSERT_EQ(std::future_status::ready, started2.get_future().wait_for(kBound));
    enqueue([&later] { ++later; });
    m_dispatcher->Quit();
    release2.set_value();
    m_dispatcher.reset();
    EXPECT_EQ(0, later);
}

// Jobs queued from other threads and from jobs themselves while the thread drains are all run,
// each producer's in its order. Without its idle tick the thread would hang on a lost wake-up.
TEST_F(MsgDispatcherTest, JobsQueuedWhileItDrainsAreRunWithoutLostWakeUps) {
    m_dispatcher = std::make_unique<MsgDispatcher>("ServiceManager", std::chrono::hours(1));
    const int kPerProducer = 500;
    std::vector<std::vector<int>> seen(3);  // written by the worker only
    std::vector<std::thread> producers;
    for (int p = 0; p < 3; ++p) {
        producers.emplace_back([this, p, &seen] {
            for (int i = 0; i < kPerProducer; ++i) {
                enqueue([this, p, i, &seen] {
                    seen[p].push_back(i);
                    if (i % 50 == 0) {
                        enqueue([] {});  // from inside a batch
                    }
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
