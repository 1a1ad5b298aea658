// Device nodes of video-class drivers.
#define CK_SOURCE "osal"
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/base.h"

int _bOpenDriver(HANDLE* handle, const char* deviceName, int prepend) {
    (void)prepend;  // the node is always "/dev/video" + name here
    if (!handle) return 0;
    *handle = OSAL_INVALID_HANDLE;
    char path[PATH_MAX];
    snprintf(path, sizeof path, "/dev/video%s", deviceName ? deviceName : "");
    struct stat st;
    if (stat(path, &st) != 0) return 0;
    if (!S_ISCHR(st.st_mode)) {
        fprintf(stderr, "%s is no device\n", path);
        return 0;
    }
    int fd = open(path, O_RDWR | O_NONBLOCK);
    if (fd < 0) {
        int err = errno;
        fprintf(stderr, "Cannot open '%s': %d, %s\n", path, err, strerror(err));
        return 0;
    }
    *handle = fd;
    return 1;
}

int CloseHandle(HANDLE handle) {
    return handle != OSAL_INVALID_HANDLE && close((int)handle) == 0;
}
