// The error log: level selection, line format, file naming and rotation.
#include <gtest/gtest.h>

#include <stdio.h>
#include <sys/stat.h>

#include <sstream>
#include <string>
#include <vector>

#include "base/camkiterrorlog_internal.h"
#include "core/camkit_private.h"
#include "scratch_dir.h"

namespace {

std::string current_file() {
    char name[CI_STRING_LEN];
    ci_GetErrorLogFileName(name);
    return name;
}

std::string open_log(const std::string& base, ci_s32 mask = CI_LOG_ALL) {
    ci_OpenErrorLog(mask, base.c_str());
    return current_file();
}

long file_size(const std::string& path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0 ? (long)st.st_size : -1;
}

// Lines after the date line and the blank line, with their "h:mm:ss.mmm "
// stamps checked and removed.
std::vector<std::string> body(const std::string& path) {
    std::vector<std::string> all, out;
    std::istringstream in(scratch_read_file(path));
    for (std::string line; std::getline(in, line);) all.push_back(line);
    EXPECT_TRUE(all.size() >= 2 && all[1].empty());
    for (size_t i = 0; i < all.size(); i += i == 0 ? 2 : 1) {
        int h = 0, m = 0, s = 0, ms = 0;
        char stamp[64];
        EXPECT_EQ(sscanf(all[i].c_str(), "%d:%d:%d.%d", &h, &m, &s, &ms), 4) << all[i];
        size_t n = (size_t)snprintf(stamp, sizeof stamp, "%d:%02d:%02d.%03d ", h, m, s, ms);
        EXPECT_EQ(all[i].compare(0, n, stamp), 0) << all[i];
        if (i > 0) out.push_back(all[i].substr(n));
    }
    return out;
}

class ErrorLog : public ::testing::Test {
protected:
    void TearDown() override { ci_CloseErrorLog(); }
    ScratchDir dir;
};

TEST_F(ErrorLog, SevereAndOrdinaryErrorsAreSelectedSeparately) {
    ASSERT_EQ(open_log(dir.file("run.txt"), CI_LOG_SEVERE), dir.file("run0.txt"));
    EXPECT_EQ(ci_Errorlog(CI_SENSOR_DOES_NOT_MATCH, -1, "ordinary", "a/s.cpp", "f", 1), CI_SENSOR_DOES_NOT_MATCH);
    EXPECT_EQ(ci_Errorlog(CI_CAMERA_ERROR, -1, "severe", "a/s.cpp", "f", 2), CI_CAMERA_ERROR);
    EXPECT_EQ(_SetErrorLogLevel(CI_LOG_ERROR), 0);
    ci_Errorlog(CI_SENSOR_DOES_NOT_MATCH, -1, "ordinary", "s.cpp", "f", 3);
    ci_Errorlog(CI_CAMERA_ERROR, -1, "severe", "s.cpp", "f", 4);
    ci_Errorlog(CI_SENSOR_DOES_NOT_MATCH, 3, "", "s.cpp", nullptr, 5);  // an explicit level wins
    std::vector<std::string> want = {
        "SEVERE_ERROR: Camera Error; severe [s.cpp:f() line:2]",
        "ERROR: Sensor Does Not Match; ordinary [s.cpp:f() line:3]",
        "LOG: Sensor Does Not Match [s.cpp:() line:5]",
    };
    EXPECT_EQ(body(dir.file("run0.txt")), want);
}

TEST_F(ErrorLog, InformationalClassesAreSelectedByTheMask) {
    open_log(dir.file("run.txt"), CI_LOG_INFO);
    EXPECT_FALSE(ci_isDebugLogEnabled());
    ci_Msglog(CI_LOG_INFO, "plain", "camkit.cpp", "f", 1);
    ci_Msglog(CI_LOG_DEBUG, "hidden", "s", "g", 2);
    _SetErrorLogLevel(CI_LOG_DEBUG);
    EXPECT_TRUE(ci_isDebugLogEnabled());
    ci_Msglog(CI_LOG_INFO, "hidden", "camkit.cpp", "f", 3);
    ci_Msglog(CI_LOG_DEBUG, "detail", "a/b/osal.cpp", "g", 4);
    EXPECT_EQ(body(dir.file("run0.txt")), (std::vector<std::string>{"LOG: plain", "DEBUG: detail [osal.cpp:g() line:4]"}));
}

TEST_F(ErrorLog, GivenNumberIsDroppedAndABaseEndingInSlashNamesFilesByNumber) {
    for (int n = 0; n < 5; ++n) {
        EXPECT_EQ(open_log(dir.file("cap7.log")), dir.file("cap" + std::to_string(n) + ".log"));
        ci_CloseErrorLog();
    }
    EXPECT_FALSE(scratch_file_exists(dir.file("cap7.log")));
    EXPECT_EQ(open_log(dir.path() + "/"), dir.path() + "/0.txt");
    EXPECT_TRUE(scratch_file_exists(dir.file("0.txt")));
}

TEST_F(ErrorLog, SmallestUnusedNumberIgnoringOtherFiles) {
    for (const char* other : {"cap0.log", "cap2.log", "cap9.log", "capture.log", "cap1.txt"}) dir.write(other, "old");
    EXPECT_EQ(open_log(dir.file("cap.log")), dir.file("cap1.log"));
    EXPECT_EQ(scratch_read_file(dir.file("cap0.log")), "old");
}

TEST_F(ErrorLog, WithFiveFilesTheOldestIsReused) {
    const long times[5] = {5000, 3000, 1000, 4000, 2000};  // cap2 is the oldest
    for (int n = 0; n < 5; ++n)
        scratch_set_mtime(dir.write("cap" + std::to_string(n) + ".log", "previous run"), 1600000000 + times[n]);
    EXPECT_EQ(open_log(dir.file("cap.log")), dir.file("cap2.log"));
    EXPECT_EQ(scratch_read_file(dir.file("cap2.log")).find("previous run"), std::string::npos);
    EXPECT_EQ(scratch_read_file(dir.file("cap4.log")), "previous run");
}

void log_message(size_t length) {
    std::string text(length, 'm');
    ci_Errorlog(CI_CAMERA_ERROR, -1, text.c_str(), "fill.cpp", "fill", 1);
}

TEST_F(ErrorLog, RotatesOnlyOncePastThreeMillionBytes) {
    const std::string first = open_log(dir.file("rot.txt"));
    ASSERT_EQ(first, dir.file("rot0.txt"));
    const long limit = 3000000;
    long before = file_size(first);
    log_message(10);
    const long overhead = file_size(first) - before - 10;
    while (file_size(first) + overhead + 250000 < limit) log_message(250000);
    // Land exactly on the limit: still not past it.
    log_message((size_t)(limit - file_size(first) - overhead));
    ASSERT_EQ(file_size(first), limit);
    log_message(10);
    EXPECT_EQ(current_file(), first);
    EXPECT_GT(file_size(first), limit);
    ci_Msglog(CI_LOG_INFO, "info", "s", "f", 1);  // informational lines never rotate
    EXPECT_EQ(current_file(), first);
    log_message(10);
    EXPECT_EQ(current_file(), dir.file("rot1.txt"));
    EXPECT_NE(scratch_read_file(dir.file("rot1.txt")).find("mmmmmmmmmm [fill.cpp:fill() line:1]"), std::string::npos);
}

}  // namespace
