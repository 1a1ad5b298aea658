// Critical sections: recursive POSIX mutexes, so that a locked operation may
// call another locked operation on the same camera from the same thread.
#define CK_SOURCE "osal"
#include "base/base.h"

void osal_init_critical_section(osal_mutex* mutex, const char* name) {
    (void)name;  // names only matter where locks are shared between processes
    if (!mutex) return;
    pthread_mutexattr_t attr;
    pthread_mutexattr_init(&attr);
    pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(mutex, &attr);
    pthread_mutexattr_destroy(&attr);
}

void osal_delete_critical_section(osal_mutex* mutex) {
    if (mutex) pthread_mutex_destroy(mutex);
}
