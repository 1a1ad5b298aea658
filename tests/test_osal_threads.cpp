// Per-thread slots and sleeping through signals.
#include <gtest/gtest.h>

#include <pthread.h>
#include <signal.h>
#include <string.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "core/camkit_private.h"

namespace {

TEST(OsalThreadLocal, FreshThreadTakesLastEmptySlotThenRunsOut) {
    std::thread([] {  // a fresh thread: all slots empty
        ci_u32 first = OSAL_TLS_UNASSIGNED, second = OSAL_TLS_UNASSIGNED, third = OSAL_TLS_UNASSIGNED;
        EXPECT_NE(osal_alloc_thread_local(&first, 1, 8, nullptr), nullptr);
        EXPECT_EQ(first, 1u);
        EXPECT_NE(osal_alloc_thread_local(&second, 1, 8, nullptr), nullptr);
        EXPECT_EQ(second, 0u);
        EXPECT_EQ(osal_alloc_thread_local(&third, 1, 8, nullptr), nullptr);
        EXPECT_EQ(third, OSAL_TLS_NONE);
        EXPECT_EQ(osal_get_thread_local(third), nullptr);
        osal_free_thread_local(&first);
        osal_free_thread_local(&second);
        EXPECT_EQ(first, 1u);  // stays assigned
        EXPECT_EQ(osal_get_thread_local(first), nullptr);
    }).join();
}

std::atomic<int> g_signals{0};

void count_signal(int) { g_signals.fetch_add(1); }

TEST(OsalSleep, ResumesAfterSignalForTheRemainingTime) {
    struct sigaction action;
    struct sigaction previous;
    memset(&action, 0, sizeof action);
    action.sa_handler = count_signal;  // no SA_RESTART: the sleep is interrupted
    sigemptyset(&action.sa_mask);
    ASSERT_EQ(sigaction(SIGUSR1, &action, &previous), 0);
    g_signals = 0;

    const auto sleepTime = std::chrono::milliseconds(300);
    std::atomic<bool> sleeping{false};
    pthread_t sleeper = pthread_self();
    std::thread sender([&] {
        while (!sleeping) std::this_thread::yield();
        for (int i = 0; i < 3; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            pthread_kill(sleeper, SIGUSR1);
        }
    });
    auto start = std::chrono::steady_clock::now();
    sleeping = true;
    osal_sleep((ci_s32)sleepTime.count());
    auto elapsed = std::chrono::steady_clock::now() - start;
    sender.join();
    sigaction(SIGUSR1, &previous, nullptr);

    EXPECT_GE(g_signals.load(), 1);  // pending signals may coalesce
    EXPECT_GE(elapsed, sleepTime);
    EXPECT_LT(elapsed, sleepTime + std::chrono::milliseconds(500));
}

}  // namespace
