// The worker thread: job order, exceptions in jobs, Quit and destruction.
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
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

    std::string threadNameOfJobs() {
        std::string name;
        enqueue([&name] {
            char buffer[32] = {};
            pthread_getname_np(pthread_self(), buffer, sizeof(buffer));
            name = buffer;
        });
        EXPECT_TRUE(drain());
        return name;
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

TEST_F(MsgDispatcherTest, RunsJobsOnThreadNamedAfterDispatcherCutToFifteenCharacters) {
    EXPECT_EQ("ServiceManager", threadNameOfJobs());
    m_dispatcher = std::make_unique<MsgDispatcher>("ANameFarLongerThanFifteen");
    EXPECT_EQ("ANameFarLongerT", threadNameOfJobs());
}

TEST_F(MsgDispatcherTest, KeepsRunningAfterJobThrows) {
    enqueue([] { throw std::logic_error("broken job"); });
    enqueue([] { throw 42; });
    enqueue([] { std::function<void()>()(); });  // an empty hook
    EXPECT_TRUE(drain());
}

TEST_F(MsgDispatcherTest, EnqueueAfterQuitThrowsAtCaller) {
    m_dispatcher->Quit();
    try {
        enqueue([] {});
        FAIL() << "no error after Quit";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ("Thread already finished! Can not do enqueue!!", e.what());
    }
}

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
    for (int i = 0; i < 3; ++i) {
        enqueue([&later] { ++later; });
    }
    m_dispatcher->Quit();
    release.set_value();
    m_dispatcher.reset();  // joins
    EXPECT_EQ(0, later);
}

TEST_F(MsgDispatcherTest, DestructorWithoutQuitDoesNotHang) {
    ASSERT_TRUE(drain());  // the thread is idle in its wait
    auto deleted = std::async(std::launch::async, [this] { m_dispatcher.reset(); });
    EXPECT_EQ(std::future_status::ready, deleted.wait_for(kBound));
}

}  // namespace
