// Sleeping, the monotonic millisecond clock and the local date text.
#define CK_SOURCE "osal"
#include <errno.h>
#include <time.h>

#include "base/base.h"

namespace {

constexpr long kNsPerMs = 1000000L;
constexpr long kNsPerSecond = 1000000000L;

void add_milliseconds(struct timespec* t, ci_s32 milliseconds) {
    t->tv_sec += milliseconds / 1000;
    t->tv_nsec += (long)(milliseconds % 1000) * kNsPerMs;
    if (t->tv_nsec >= kNsPerSecond) {
        t->tv_sec += 1;
        t->tv_nsec -= kNsPerSecond;
    }
}

}  // namespace

// Sleeps until a monotonic deadline, so a signal that interrupts the sleep
// only resumes it for the time that is left.
void osal_sleep(ci_s32 milliseconds) {
    if (milliseconds <= 0) return;
    struct timespec deadline;
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    add_milliseconds(&deadline, milliseconds);
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr) == EINTR) {
    }
}

ci_u64 osal_current_milliseconds(void) {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (ci_u64)now.tv_sec * 1000u + (ci_u64)(now.tv_nsec / kNsPerMs);
}

// text receives the 26-character ctime form, line end included.
int osal_localtime(char* text) {
    if (!text) return -1;
    time_t now = time(nullptr);
    if (!ctime_r(&now, text)) text[0] = '\0';
    return 0;
}
