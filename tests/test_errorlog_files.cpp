// Error log file naming, the choice among five numbered files and rotation.
#include <gtest/gtest.h>

#include <limits.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "base/camkiterrorlog_internal.h"
#include "core/camkit_private.h"
#include "scratch_dir.h"

namespace {

std::string current_file() {
    char name[CI_STRING_LEN];
    ci_GetErrorLogFileName(name);
    return name;
}

std::string open_log(const std::string& base) {
    ci_OpenErrorLog(CI_LOG_ALL, base.c_str());
    return current_file();
}

long file_size(const std::string& path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0 ? (long)st.st_size : -1;
}

class ErrorLogFiles : public ::testing::Test {
protected:
    void TearDown() override { ci_CloseErrorLog(); }
    ScratchDir dir;
};

TEST(ErrorLogNames, FragmentSplitsBaseNumberAndExtension) {
    const struct {
        const char* name;
        const char* base;
        ci_s32 number;
        const char* ext;
    } cases[] = {
        {"logs/cap17.log", "logs/cap", 17, ".log"}, {"", "~/error_", 0, ".txt"},
        {"logs/", "logs/", 0, ".txt"},              {"run.d/trace", "run.d/trace", 0, ".txt"},
        {"trace42", "trace", 42, ""},               {"7.x", "", 7, ".x"},
    };
    for (const auto& c : cases) {
        ci_string base;
        ci_string ext;
        ci_s32 number = -1;
        _FragmentErrorFileName(c.name, base, &number, ext);
        EXPECT_STREQ(base, c.base) << c.name;
        EXPECT_EQ(number, c.number) << c.name;
        EXPECT_STREQ(ext, c.ext) << c.name;
    }
}

TEST_F(ErrorLogFiles, GivenNumberIsDroppedAndABaseEndingInSlashNamesFilesByNumber) {
    for (int n = 0; n < 5; ++n) {
        EXPECT_EQ(open_log(dir.file("cap7.log")), dir.file("cap" + std::to_string(n) + ".log"));
        ci_CloseErrorLog();
    }
    EXPECT_FALSE(scratch_file_exists(dir.file("cap7.log")));
    EXPECT_EQ(open_log(dir.path() + "/"), dir.path() + "/0.txt");
    EXPECT_TRUE(scratch_file_exists(dir.file("0.txt")));
}

TEST_F(ErrorLogFiles, SmallestUnusedNumberIgnoringOtherFiles) {
    dir.write("cap0.log", "old");
    dir.write("cap2.log", "old");
    dir.write("cap9.log", "out of range");
    dir.write("capture.log", "not numbered");
    dir.write("cap1.txt", "other extension");
    EXPECT_EQ(open_log(dir.file("cap.log")), dir.file("cap1.log"));
    EXPECT_EQ(scratch_read_file(dir.file("cap0.log")), "old");
}

TEST_F(ErrorLogFiles, WithFiveFilesTheOldestIsReused) {
    const long times[5] = {5000, 3000, 1000, 4000, 2000};  // cap2 is the oldest
    for (int n = 0; n < 5; ++n) {
        std::string name = dir.write("cap" + std::to_string(n) + ".log", "previous run");
        scratch_set_mtime(name, 1600000000 + times[n]);
    }
    EXPECT_EQ(open_log(dir.file("cap.log")), dir.file("cap2.log"));
    EXPECT_EQ(scratch_read_file(dir.file("cap2.log")).find("previous run"), std::string::npos);
    EXPECT_EQ(scratch_read_file(dir.file("cap4.log")), "previous run");
}

TEST_F(ErrorLogFiles, DefaultBaseIsErrorFileInTildeDirectory) {
    char saved[PATH_MAX];
    ASSERT_NE(getcwd(saved, sizeof saved), nullptr);
    ASSERT_EQ(chdir(dir.path().c_str()), 0);
    // No "~" directory: the log stays closed and logging is skipped.
    EXPECT_EQ(open_log(""), "");
    EXPECT_EQ(ci_Errorlog(CI_CAMERA_ERROR, -1, "dropped", "s", "f", 1), CI_CAMERA_ERROR);
    ASSERT_EQ(mkdir("~", 0777), 0);
    ci_OpenErrorLog(CI_LOG_ALL, NULL);
    EXPECT_EQ(current_file(), "~/error_0.txt");
    ASSERT_EQ(chdir(saved), 0);
}

// Writes one error line whose message has the given length.
void log_message(size_t length) {
    std::string text(length, 'm');
    ci_Errorlog(CI_CAMERA_ERROR, -1, text.c_str(), "fill.cpp", "fill", 1);
}

TEST_F(ErrorLogFiles, RotatesOnlyOncePastThreeMillionBytes) {
    const std::string first = open_log(dir.file("rot.txt"));
    ASSERT_EQ(first, dir.file("rot0.txt"));
    const long limit = 3000000;
    long before = file_size(first);
    log_message(10);
    const long overhead = file_size(first) - before - 10;

    const size_t chunk = 250000;
    while (file_size(first) + overhead + (long)chunk < limit) log_message(chunk);
    // Land exactly on the limit: still not past it.
    log_message((size_t)(limit - file_size(first) - overhead));
    ASSERT_EQ(file_size(first), limit);
    log_message(10);
    EXPECT_EQ(current_file(), first);
    EXPECT_GT(file_size(first), limit);

    // Informational lines never rotate.
    ci_Msglog(CI_LOG_INFO, "info", "s", "f", 1);
    EXPECT_EQ(current_file(), first);

    log_message(10);
    EXPECT_EQ(current_file(), dir.file("rot1.txt"));
    EXPECT_NE(scratch_read_file(dir.file("rot1.txt")).find("mmmmmmmmmm [fill.cpp:fill() line:1]"), std::string::npos);
}

}  // namespace
