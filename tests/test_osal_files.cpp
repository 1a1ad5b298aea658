// Directory searches, directories, paths, numbered file names and shared
// libraries.
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

// The functions under test convert delimiters in place: they need a copy.
struct Buf {
    explicit Buf(const std::string& text) { snprintf(text_, sizeof text_, "%s", text.c_str()); }
    char text_[CI_MAX_PATH];
};

// Runs the body with the working directory set to dir, then restores it.
template <typename Body>
void in_directory(const std::string& dir, Body body) {
    char saved[PATH_MAX];
    ASSERT_NE(getcwd(saved, sizeof saved), nullptr);
    ASSERT_EQ(chdir(dir.c_str()), 0);
    body();
    ASSERT_EQ(chdir(saved), 0);
}

TEST(OsalFind, ListsMatchingEntriesWithWriteTimesAndConvertsDelimiters) {
    ScratchDir dir;
    ASSERT_EQ(mkdir(dir.file("sub").c_str(), 0777), 0);
    scratch_set_mtime(dir.write("sub/a.sdat", "x"), 1000000);
    scratch_set_mtime(dir.write("sub/B.SDAT", "x"), 2000000);
    dir.write("sub/c.ini", "x");
    dir.write("sub/a.sdat.bak", "x");

    Buf dirName(dir.path() + "\\sub");
    osal_findfile* search = osal_open_find_file(dirName.text_);
    ASSERT_NE(search, nullptr);
    EXPECT_EQ(std::string(dirName.text_), dir.path() + "/sub");
    EXPECT_EQ(osal_find_first_file(search, NULL), 0);
    char pattern[] = "*.SDAT";
    std::map<std::string, osal_time_t> found;
    for (int ok = osal_find_first_file(search, pattern); ok; ok = osal_find_next_file(search))
        found[search->cFileName] = search->ftLastWriteTime;
    osal_close_find_file(search);
    EXPECT_EQ(found, (std::map<std::string, osal_time_t>{{"a.sdat", 1000000}, {"B.SDAT", 2000000}}));

    std::string longName(300, 'd');
    EXPECT_EQ(osal_open_find_file(longName.data()), nullptr);
    Buf missing("/nonexistent-camkit-dir");
    EXPECT_EQ(osal_open_find_file(missing.text_), nullptr);
}

TEST(OsalDirectories, CreateIsIdempotentAndRemoveNeverFollowsLinks) {
    ScratchDir dir;
    ScratchDir outside;
    std::string kept = outside.write("keep.txt", "precious");
    std::string root = dir.file("tree");
    EXPECT_EQ(osal_create_directory(root.c_str()), 0);
    EXPECT_EQ(osal_create_directory(root.c_str()), 0);
    errno = 0;
    EXPECT_EQ(osal_create_directory(dir.write("plain", "x").c_str()), -1);
    EXPECT_EQ(errno, ENOTDIR);

    ASSERT_EQ(mkdir((root + "/deep").c_str(), 0777), 0);
    dir.write("tree/a.txt", "a");
    dir.write("tree/deep/b.txt", "b");
    ASSERT_EQ(symlink(outside.path().c_str(), (root + "/link").c_str()), 0);
    EXPECT_EQ(osal_remove_directory(root.c_str()), 0);
    EXPECT_FALSE(scratch_file_exists(root));
    EXPECT_EQ(scratch_read_file(kept), "precious");
    EXPECT_NE(osal_remove_directory(dir.file("gone").c_str()), 0);
}

TEST(OsalPaths, AttributesFullPathAndWorkingDirectoryStayInBounds) {
    ScratchDir dir;
    std::string file = dir.write("f.bin", "x");
    Buf buf(dir.path() + "\\f.bin");
    EXPECT_TRUE(S_ISREG(osal_get_file_attributes(buf.text_)));
    EXPECT_EQ(std::string(buf.text_), file);
    Buf missing(dir.file("missing"));
    EXPECT_EQ(osal_get_file_attributes(missing.text_), -1);

    in_directory(dir.path(), [&] {
        char resolved[PATH_MAX];
        char cwd[PATH_MAX];
        EXPECT_EQ(osal_fullpath("f.bin", resolved, sizeof resolved), 1);
        ASSERT_GT(osal_getcwd(cwd, sizeof cwd), 0u);
        EXPECT_EQ(std::string(resolved), std::string(cwd) + "/f.bin");
        EXPECT_EQ(osal_fullpath("absent", resolved, sizeof resolved), ENOENT);
        char tiny[4] = {'#', '#', '#', '#'};
        EXPECT_NE(osal_fullpath("f.bin", tiny, 3), 1);
        EXPECT_EQ(tiny[3], '#');
        EXPECT_EQ(osal_getcwd(cwd, 2), 0u);
    });
}

TEST(OsalNumberedFiles, NextNameSkipsExistingNumbersAndSaveImageUsesIt) {
    ScratchDir dir;
    dir.write("img0.raw", "");
    dir.write("img1.raw", "");
    Buf name(dir.file("img.raw"));
    osal_next_file_name(name.text_, sizeof name.text_);
    EXPECT_EQ(std::string(name.text_), dir.file("img2.raw"));

    // A dot in a directory name is not an extension.
    ASSERT_EQ(mkdir(dir.file("run.d").c_str(), 0777), 0);
    Buf regs(dir.file("run.d/regs"));
    osal_next_file_name(regs.text_, sizeof regs.text_);
    EXPECT_EQ(std::string(regs.text_), dir.file("run.d/regs0"));

    // No room for a number: the name stays as it was.
    char tight[] = "a.b";
    osal_next_file_name(tight, sizeof tight);
    EXPECT_STREQ(tight, "a.b");

    const char pixels[] = {1, 2, 3, 0, 5};
    std::string frame = dir.file("frame.raw");
    EXPECT_EQ(osal_saveImage(frame.c_str(), pixels, sizeof pixels), 0);
    EXPECT_EQ(osal_saveImage(frame.c_str(), pixels, 2), 0);
    EXPECT_EQ(scratch_read_file(dir.file("frame0.raw")), std::string(pixels, sizeof pixels));
    EXPECT_EQ(scratch_read_file(dir.file("frame1.raw")), std::string(pixels, 2));
    EXPECT_FALSE(scratch_file_exists(frame));
}

TEST(OsalLibraries, PlainNamesAreLookedUpInTheWorkingDirectoryOnly) {
    Dl_info info;
    double (*mathFunction)(double) = &::cbrt;
    ASSERT_NE(dladdr(reinterpret_cast<void*>(mathFunction), &info), 0);
    std::string systemPath = info.dli_fname;
    ASSERT_EQ(systemPath[0], '/');

    // On the loader's search path, but not in the working directory.
    ScratchDir dir;
    dir.write("plugin.so", scratch_read_file(systemPath));
    in_directory(dir.path(), [&] {
        EXPECT_EQ(osal_LoadLibrary("libm.so.6"), nullptr);
        HMODULE local = osal_LoadLibrary("plugin.so");
        ASSERT_NE(local, nullptr);
        EXPECT_NE(osal_GetProcAddress(local, "cbrt"), nullptr);
        EXPECT_EQ(osal_GetProcAddress(local, "no_such_symbol_here"), nullptr);
        osal_FreeLibrary(local);
    });
}

}  // namespace
