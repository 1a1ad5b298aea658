// Directory searches, directories, paths, numbered file names, shared
// libraries and device nodes.
#include <gtest/gtest.h>

#include <dlfcn.h>
#include <errno.h>
#include <limits.h>
#include <math.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <map>
#include <string>

#include "core/camkit_private.h"
#include "scratch_dir.h"

namespace {

std::string mutable_copy(char* buf, size_t size, const std::string& text) {
    snprintf(buf, size, "%s", text.c_str());
    return buf;
}

// Runs the body with the working directory set to dir, then restores it.
template <typename Body>
void in_directory(const std::string& dir, Body body) {
    char saved[PATH_MAX];
    ASSERT_NE(getcwd(saved, sizeof saved), nullptr);
    ASSERT_EQ(chdir(dir.c_str()), 0);
    body();
    ASSERT_EQ(chdir(saved), 0);
}

TEST(OsalFind, ListsMatchingEntriesWithTheirWriteTimes) {
    ScratchDir dir;
    scratch_set_mtime(dir.write("a.sdat", "x"), 1000000);
    scratch_set_mtime(dir.write("B.SDAT", "x"), 2000000);
    dir.write("c.ini", "x");
    dir.write("a.sdat.bak", "x");

    char dirName[CI_MAX_PATH];
    mutable_copy(dirName, sizeof dirName, dir.path());
    osal_findfile* search = osal_open_find_file(dirName);
    ASSERT_NE(search, nullptr);
    char pattern[] = "*.SDAT";
    std::map<std::string, osal_time_t> found;
    for (int ok = osal_find_first_file(search, pattern); ok; ok = osal_find_next_file(search)) {
        found[search->cFileName] = search->ftLastWriteTime;
    }
    osal_close_find_file(search);
    std::map<std::string, osal_time_t> want = {{"a.sdat", 1000000}, {"B.SDAT", 2000000}};
    EXPECT_EQ(found, want);
}

TEST(OsalFind, ConvertsDelimitersAndRefusesBadArguments) {
    ScratchDir dir;
    ASSERT_EQ(mkdir(dir.file("sub").c_str(), 0777), 0);
    std::string inner = dir.write("sub/one.txt", "1");

    char dirName[CI_MAX_PATH];
    mutable_copy(dirName, sizeof dirName, dir.path() + "\\sub");
    osal_findfile* search = osal_open_find_file(dirName);
    ASSERT_NE(search, nullptr);
    EXPECT_EQ(std::string(dirName), dir.path() + "/sub");
    EXPECT_EQ(osal_find_first_file(search, NULL), 0);
    char pattern[] = "ONE.*";
    EXPECT_EQ(osal_find_first_file(search, pattern), 1);
    EXPECT_STREQ(search->cFileName, "one.txt");
    EXPECT_EQ(osal_find_next_file(search), 0);
    osal_close_find_file(search);
    osal_close_find_file(NULL);

    std::string longName(300, 'd');
    EXPECT_EQ(osal_open_find_file(longName.data()), nullptr);
    char missing[] = "/nonexistent-camkit-dir";
    EXPECT_EQ(osal_open_find_file(missing), nullptr);
}

TEST(OsalDirectories, CreateAcceptsExistingDirectoryAndRejectsFile) {
    ScratchDir dir;
    std::string made = dir.file("made");
    EXPECT_EQ(osal_create_directory(made.c_str()), 0);
    EXPECT_EQ(osal_create_directory(made.c_str()), 0);
    errno = 0;
    EXPECT_EQ(osal_create_directory(dir.write("plain", "x").c_str()), -1);
    EXPECT_EQ(errno, ENOTDIR);
}

TEST(OsalDirectories, RemoveDeletesTreeButNotLinkTargets) {
    ScratchDir dir;
    ScratchDir outside;
    std::string kept = outside.write("keep.txt", "precious");
    std::string root = dir.file("tree");
    ASSERT_EQ(mkdir(root.c_str(), 0777), 0);
    ASSERT_EQ(mkdir((root + "/deep").c_str(), 0777), 0);
    dir.write("tree/a.txt", "a");
    dir.write("tree/deep/b.txt", "b");
    ASSERT_EQ(symlink(outside.path().c_str(), (root + "/link").c_str()), 0);

    EXPECT_EQ(osal_remove_directory(root.c_str()), 0);
    EXPECT_FALSE(scratch_file_exists(root));
    EXPECT_EQ(scratch_read_file(kept), "precious");
    EXPECT_EQ(osal_remove_directory(NULL), 1);
    EXPECT_NE(osal_remove_directory(dir.file("gone").c_str()), 0);
}

TEST(OsalPaths, AttributesFullPathAndWorkingDirectory) {
    ScratchDir dir;
    std::string file = dir.write("f.bin", "x");
    char buf[CI_MAX_PATH];
    mutable_copy(buf, sizeof buf, dir.path() + "\\f.bin");
    int attrs = osal_get_file_attributes(buf);
    EXPECT_TRUE(S_ISREG(attrs));
    EXPECT_EQ(std::string(buf), file);  // delimiters converted in place
    mutable_copy(buf, sizeof buf, dir.file("missing"));
    EXPECT_EQ(osal_get_file_attributes(buf), -1);

    char resolved[PATH_MAX];
    in_directory(dir.path(), [&] {
        EXPECT_EQ(osal_fullpath("f.bin", resolved, sizeof resolved), 1);
        char cwd[PATH_MAX];
        size_t cwdLen = osal_getcwd(cwd, sizeof cwd);
        EXPECT_EQ(cwdLen, strlen(cwd));
        EXPECT_GT(cwdLen, 0u);
        EXPECT_EQ(std::string(resolved), std::string(cwd) + "/f.bin");
        EXPECT_EQ(osal_fullpath("absent", resolved, sizeof resolved), ENOENT);
        char tiny[4] = {'#', '#', '#', '#'};
        EXPECT_NE(osal_fullpath("f.bin", tiny, 3), 1);
        EXPECT_EQ(tiny[3], '#');
        EXPECT_EQ(osal_getcwd(cwd, 2), 0u);
    });
    EXPECT_EQ(osal_setcwd(dir.file("missing").c_str()), 0);
    EXPECT_STREQ(osal_userHomeDir(), "~");
}

TEST(OsalNumberedFiles, NextNameSkipsExistingNumbers) {
    ScratchDir dir;
    dir.write("img0.raw", "");
    dir.write("img1.raw", "");
    char name[CI_STRING_LEN];
    mutable_copy(name, sizeof name, dir.file("img.raw"));
    osal_next_file_name(name, sizeof name);
    EXPECT_EQ(std::string(name), dir.file("img2.raw"));

    // A dot in a directory name is not an extension.
    ASSERT_EQ(mkdir(dir.file("run.d").c_str(), 0777), 0);
    mutable_copy(name, sizeof name, dir.file("run.d/regs"));
    osal_next_file_name(name, sizeof name);
    EXPECT_EQ(std::string(name), dir.file("run.d/regs0"));

    // No room for a number: the name stays as it was.
    char tight[] = "a.b";
    osal_next_file_name(tight, sizeof tight);
    EXPECT_STREQ(tight, "a.b");
}

TEST(OsalNumberedFiles, SaveImageWritesSuccessiveFiles) {
    ScratchDir dir;
    const unsigned char pixels[] = {1, 2, 3, 0, 255};
    std::string name = dir.file("frame.raw");
    EXPECT_EQ(osal_saveImage(name.c_str(), pixels, sizeof pixels), 0);
    EXPECT_EQ(osal_saveImage(name.c_str(), pixels, 2), 0);
    EXPECT_EQ(scratch_read_file(dir.file("frame0.raw")), std::string((const char*)pixels, sizeof pixels));
    EXPECT_EQ(scratch_read_file(dir.file("frame1.raw")), std::string((const char*)pixels, 2));
    EXPECT_FALSE(scratch_file_exists(name));
    EXPECT_EQ(osal_saveImage(dir.file("no/dir/x.raw").c_str(), pixels, 1), 0);
}

TEST(OsalLibraries, PlainNamesAreLookedUpInTheWorkingDirectoryOnly) {
    Dl_info info;
    double (*mathFunction)(double) = &::cbrt;
    ASSERT_NE(dladdr(reinterpret_cast<void*>(mathFunction), &info), 0);
    ASSERT_NE(info.dli_fname, nullptr);
    std::string systemPath = info.dli_fname;
    ASSERT_EQ(systemPath[0], '/');

    // Reachable on the loader's search path, but not in the working directory.
    ScratchDir dir;
    in_directory(dir.path(), [&] { EXPECT_EQ(osal_LoadLibrary("libm.so.6"), nullptr); });

    HMODULE byPath = osal_LoadLibrary(systemPath.c_str());
    ASSERT_NE(byPath, nullptr);
    EXPECT_NE(osal_GetProcAddress(byPath, "cbrt"), nullptr);
    EXPECT_EQ(osal_GetProcAddress(byPath, "no_such_symbol_here"), nullptr);
    EXPECT_EQ(osal_GetProcAddress(NULL, "cbrt"), nullptr);
    osal_FreeLibrary(byPath);
    osal_FreeLibrary(NULL);

    // A copy in the working directory is found by its plain name.
    dir.write("plugin.so", scratch_read_file(systemPath));
    in_directory(dir.path(), [&] {
        HMODULE local = osal_LoadLibrary("plugin.so");
        EXPECT_NE(local, nullptr);
        osal_FreeLibrary(local);
    });
}

TEST(OsalDevices, MissingNodeLeavesInvalidHandle) {
    HANDLE handle = 123;
    EXPECT_FALSE(_bOpenDriver(&handle, "-camkit-absent", 1));
    EXPECT_EQ(handle, OSAL_INVALID_HANDLE);
    EXPECT_FALSE(CloseHandle(OSAL_INVALID_HANDLE));
}

}  // namespace
