// OS abstraction layer: every call the library makes to the operating system
// goes through these functions.  The vocabulary (critical sections, find
// first/next, private profile strings, library loading by name) is the same
// on every platform; this is the POSIX implementation.
#pragma once

#include <pthread.h>
#include <stdint.h>
#include <stdio.h>
#include <sys/types.h>
#include <time.h>
#include <dirent.h>

#include "camkit.h"

typedef pthread_mutex_t osal_mutex;
typedef void* osal_global_handle;
typedef intptr_t HANDLE;
typedef void* HMODULE;
typedef time_t osal_time_t;

#define OSAL_INVALID_HANDLE ((HANDLE)-1)

// Thread-local slot index values (an index variable owned by the caller).
#define OSAL_TLS_UNASSIGNED 0xFFFFFFFEu
#define OSAL_TLS_NONE 0xFFFFFFFFu
#define OSAL_TLS_SLOTS 2

struct osal_findfile {
    char cFileSubset[CI_MAX_PATH];
    char cFileName[CI_MAX_PATH];
    char cDirName[CI_MAX_PATH];
    DIR* dir;
    HANDLE hFind;
    osal_time_t ftLastWriteTime;
};

// Locks (recursive mutexes).  The name is accepted and not used here.
void osal_init_critical_section(osal_mutex* mutex, const char* name);
// Entering and leaving are on every register access: inline, so that a pair
// costs what the mutex costs.
inline void osal_enter_critical_section(osal_mutex* mutex) {
    if (mutex) pthread_mutex_lock(mutex);
}
inline void osal_leave_critical_section(osal_mutex* mutex) {
    if (mutex) pthread_mutex_unlock(mutex);
}
void osal_delete_critical_section(osal_mutex* mutex);

// Thread-local storage: two pointer slots per thread.
// Thread-locals on the register path use the initial-exec model: an access
// is a load at a fixed offset from the thread pointer, with no call into the
// dynamic loader, also from the shared library.  When the library is opened
// later with dlopen (the Python module), these few bytes come from the static
// TLS reserve the C library keeps for that case, so keep them few and small:
// plain data only (no constructor or destructor).
#define OSAL_THREAD_LOCAL thread_local __attribute__((tls_model("initial-exec")))
void* osal_alloc_thread_local(ci_u32* index, ci_u32 count, size_t size, const void* init_data);
void* osal_get_thread_local(ci_u32 index);
void osal_free_thread_local(ci_u32* index);

// Named globals (process-private on this platform).
void* osal_alloc_global(const char* name, size_t size, osal_global_handle* handle);
void osal_free_global(osal_global_handle handle, void* ptr);

// Paths and files.
void to_unix_path(char* text);
int osal_dirdelim(char c);
osal_findfile* osal_open_find_file(char* directory);
int osal_find_first_file(osal_findfile* search, char* pattern);
int osal_find_next_file(osal_findfile* search);
void osal_close_find_file(osal_findfile* search);
// Wildcard rule shared with register lookup: '?' any one character, '*'
// skips to the first occurrence of the next literal segment (no
// backtracking), case-insensitive, the whole candidate must be consumed.
int osal_wildcard_match(const char* pattern, const char* name);
int osal_filetime_older(osal_time_t t1, osal_time_t t2);
int osal_get_file_attributes(char* path);
int osal_fullpath(const char* name, char* resolved, size_t maximum);
size_t osal_getcwd(char* buffer, size_t size);
int osal_setcwd(const char* path);
int osal_unlink(const char* path);
int osal_create_directory(const char* path);
int osal_remove_directory(const char* path);
void osal_expandpath(char* path, size_t size);
const char* osal_userHomeDir(void);
int fopen_s(FILE** file, const char* name, const char* mode);
int osal_saveImage(const char* name, const void* buffer, size_t n);
// Advance a file name to the next unused numbered name (shared with the
// preset module's numbering helper): "img.raw" -> "img0.raw", "img1.raw", ...
void osal_next_file_name(char* name, size_t size);

// Strings.
int osal_stricmp(const char* a, const char* b);
int osal_strnicmp(const char* a, const char* b, size_t n);
int osal_strncat_s(char* destination, size_t capacity, const char* source, size_t count);
int osal_strcpy_s(char* destination, size_t capacity, const char* source);
int strcat_s(char* destination, size_t capacity, const char* source);

// Time.
void osal_sleep(ci_s32 milliseconds);
// Monotonic milliseconds (the log's time base).
ci_u64 osal_current_milliseconds(void);
int osal_localtime(char* text);

// INI sections.
size_t remove_sec_whitespace(char* line);
size_t osal_getsection(const char* section, char* buffer, size_t size, const char* fileName);
size_t osal_getprivateprofilestring(const char* section, const char* key, const char* defaultValue, char* out,
                                    size_t string_max, const char* fileName);
// Reads a whole INI file in one pass: visit(user, name, NULL) at each
// section header, visit(user, NULL, line) for each line of a section, cleaned
// as osal_getsection cleans it.  Returns 0 when the file cannot be read.
typedef void (*osal_section_visitor)(void* user, const char* section, const char* line);
int osal_scan_sections(const char* fileName, osal_section_visitor visit, void* user);
// Trim leading and trailing blanks (space, tab, CR, LF) in place.
char* osal_trim(char* text);

// Shared libraries.
HMODULE osal_LoadLibrary(const char* name);
void osal_FreeLibrary(HMODULE handle);
void* osal_GetProcAddress(HMODULE handle, const char* name);

// Device nodes.
int _bOpenDriver(HANDLE* handle, const char* deviceName, int prepend);
int CloseHandle(HANDLE handle);
