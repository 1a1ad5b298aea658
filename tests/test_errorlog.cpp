// Error codes, the level mask and the format of log lines.
#include <gtest/gtest.h>

#include <stdio.h>

#include <sstream>
#include <string>
#include <vector>

#include "base/camkiterrorlog_internal.h"
#include "core/camkit_private.h"
#include "scratch_dir.h"

namespace {

std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) out.push_back(line);
    return out;
}

// Length of the "h:mm:ss.mmm " prefix of a log line (0 when the line does
// not start with exactly that form); *seconds receives its whole seconds.
size_t stamp_length(const std::string& line, int* seconds = nullptr) {
    int h, m, s, ms;
    if (sscanf(line.c_str(), "%d:%d:%d.%d", &h, &m, &s, &ms) != 4) return 0;
    char expected[64];
    int n = snprintf(expected, sizeof expected, "%d:%02d:%02d.%03d ", h, m, s, ms);
    if (seconds) *seconds = (h * 60 + m) * 60 + s;
    return line.compare(0, (size_t)n, expected) == 0 ? (size_t)n : 0;
}

TEST(ErrorCodes, SuccessAndUnknownCodesHaveNoRow) {
    const ci_error_code absent[] = {CI_PARSE_SUCCESS, CI_INI_SUCCESS, CI_INI_HANDLED_SUCCESS, CI_INI_NOT_HANDLED, 2, -1};
    for (ci_error_code code : absent) {
        EXPECT_EQ(ci_getErrorMsg(code), nullptr) << code;
        EXPECT_EQ(_GetErrorLevel(code), 0) << code;
    }
    EXPECT_STREQ(ci_getErrorMessage(2), "Unknown Error");
    EXPECT_STREQ(ci_getErrorSymbol(2), "Unknown Error");
    EXPECT_STREQ(ci_getErrorMessage(-1), "");
    EXPECT_EQ(_GetErrorLevel(CI_SENSOR_DOES_NOT_MATCH), 2);
}

class ErrorLog : public ::testing::Test {
protected:
    void TearDown() override { ci_CloseErrorLog(); }

    void open(ci_s32 mask) {
        ci_OpenErrorLog(mask, dir.file("run.txt").c_str());
        ASSERT_EQ(current_file(), dir.file("run0.txt"));
    }
    static std::string current_file() {
        char name[CI_STRING_LEN];
        ci_GetErrorLogFileName(name);
        return name;
    }
    // Log lines after the date and the blank line, timestamps removed.
    std::vector<std::string> body() const {
        std::vector<std::string> all = lines_of(scratch_read_file(dir.file("run0.txt")));
        std::vector<std::string> out;
        for (size_t i = 2; i < all.size(); ++i) {
            size_t stamp = stamp_length(all[i]);
            EXPECT_NE(stamp, 0u) << all[i];
            out.push_back(all[i].substr(stamp));
        }
        return out;
    }

    ScratchDir dir;
};

TEST_F(ErrorLog, FileStartsWithTheDateAndLinesCountTimeFromOpen) {
    open(CI_LOG_SEVERE);
    osal_sleep(1100);
    ci_Errorlog(CI_CAMERA_ERROR, -1, "late", "s", "f", 1);
    std::vector<std::string> all = lines_of(scratch_read_file(dir.file("run0.txt")));
    ASSERT_EQ(all.size(), 3u);
    int seconds = -1;
    ASSERT_EQ(stamp_length(all[0], &seconds), 12u) << all[0];
    EXPECT_EQ(seconds, 0);
    // The date in ctime form: "Wed Jun 30 21:49:08 1993".
    EXPECT_EQ(all[0].size(), 12u + 24u) << all[0];
    EXPECT_EQ(all[1], "");
    ASSERT_NE(stamp_length(all[2], &seconds), 0u) << all[2];
    EXPECT_GE(seconds, 1);
    EXPECT_LT(seconds, 10);
}

TEST_F(ErrorLog, SevereAndOrdinaryErrorsAreSelectedSeparately) {
    open(CI_LOG_SEVERE);
    EXPECT_EQ(ci_Errorlog(CI_SENSOR_DOES_NOT_MATCH, -1, "ordinary", "s.cpp", "f", 1), CI_SENSOR_DOES_NOT_MATCH);
    EXPECT_EQ(ci_Errorlog(CI_CAMERA_ERROR, -1, "severe", "s.cpp", "f", 2), CI_CAMERA_ERROR);
    EXPECT_EQ(_SetErrorLogLevel(CI_LOG_ERROR), 0);
    ci_Errorlog(CI_SENSOR_DOES_NOT_MATCH, -1, "ordinary", "s.cpp", "f", 3);
    ci_Errorlog(CI_CAMERA_ERROR, -1, "severe", "s.cpp", "f", 4);
    std::vector<std::string> want = {
        "SEVERE_ERROR: Camera Error; severe [s.cpp:f() line:2]",
        "ERROR: Sensor Does Not Match; ordinary [s.cpp:f() line:3]",
    };
    EXPECT_EQ(body(), want);
}

TEST_F(ErrorLog, LineFormatsAndExplicitLevels) {
    open(CI_LOG_SEVERE | CI_LOG_ERROR);
    ci_Errorlog(CI_I2C_NACK_ERROR, -1, "", "src/regs/camkit_reg.cpp", "_read", 10);
    ci_Errorlog(CI_SENSOR_DOES_NOT_MATCH, 3, "forced", "camkit", "probe", 11);
    ci_Errorlog(2, 1, NULL, "x", NULL, 12);  // unknown code, explicit level
    ci_Errorlog(CI_CAMERA_ERROR, 0, "level 0", "x", "f", 13);
    for (ci_error_code ok : {CI_CAMERA_SUCCESS, CI_PARSE_SUCCESS, CI_INI_SUCCESS})
        EXPECT_EQ(ci_Errorlog(ok, 1, "never", "x", "f", 14), ok);
    std::vector<std::string> want = {
        "SEVERE_ERROR: I2C Nack Error [camkit_reg.cpp:_read() line:10]",
        "LOG: Sensor Does Not Match; forced [camkit:probe() line:11]",
        "SEVERE_ERROR: Unknown Error [x:() line:12]",
    };
    EXPECT_EQ(body(), want);
}

TEST_F(ErrorLog, InformationalClassesAreSelectedByTheMask) {
    open(CI_LOG_SEVERE | CI_LOG_ERROR);
    EXPECT_FALSE(ci_isInfoLogEnabled());
    ci_Msglog(CI_LOG_SEVERE, "not informational", "s", "f", 1);
    _SetErrorLogLevel(CI_LOG_USB);
    EXPECT_TRUE(ci_isInfoLogEnabled());
    EXPECT_FALSE(ci_isDebugLogEnabled());

    _SetErrorLogLevel(CI_LOG_INFO | CI_LOG_DEBUG);
    EXPECT_TRUE(ci_isDebugLogEnabled());
    ci_Msglog(CI_LOG_INFO, "plain", "camkit.cpp", "f", 1);
    ci_Msglog(CI_LOG_SHIP, "bus traffic", "camkit.cpp", "f", 2);  // class not selected
    ci_Msglog(CI_LOG_DEBUG, "detail", "a/b/osal.cpp", "g", 3);
    ci_Msglog(CI_LOG_DEBUG, "no source", "", "g", 4);
    ci_Msglog(CI_LOG_DEBUG, "null func", "s", NULL, 5);
    std::vector<std::string> want = {
        "LOG: plain",
        "DEBUG: detail [osal.cpp:g() line:3]",
        "DEBUG: no source",
        "DEBUG: null func [s:() line:5]",
    };
    EXPECT_EQ(body(), want);
}

TEST_F(ErrorLog, LevelZeroWritesNothingAndSwitchingOnStartsTheNextFile) {
    open(CI_LOG_ERROR);
    EXPECT_EQ(_SetErrorLogLevel(0), 0);
    EXPECT_EQ(_GetErrorLogLevel(), 0);
    ci_Errorlog(CI_SENSOR_DOES_NOT_MATCH, -1, "muted", "s", "f", 1);
    EXPECT_TRUE(body().empty());
    _SetErrorLogLevel(CI_LOG_ERROR);
    EXPECT_EQ(current_file(), dir.file("run1.txt"));

    // Opened at level 0: no file until switched on.
    ci_OpenErrorLog(0, dir.file("quiet.log").c_str());
    EXPECT_EQ(current_file(), "");
    EXPECT_FALSE(scratch_file_exists(dir.file("quiet0.log")));
    _SetErrorLogLevel(CI_LOG_SEVERE);
    EXPECT_EQ(current_file(), dir.file("quiet0.log"));

    ci_CloseErrorLog();
    EXPECT_EQ(_GetErrorLogLevel(), -1);
    EXPECT_EQ(_SetErrorLogLevel(CI_LOG_SEVERE), -1);
    EXPECT_EQ(current_file(), "");
    EXPECT_EQ(ci_Errorlog(CI_CAMERA_ERROR, -1, "closed", "s", "f", 1), CI_CAMERA_ERROR);
}

TEST(ErrorLogDeathTest, LevelOutsideMaskRangeIsAProgrammingError) {
    EXPECT_DEATH(ci_OpenErrorLog(64, NULL), "errorlog_level <= \\(\\(1 \\| 2\\)");
    EXPECT_DEATH(ci_OpenErrorLog(-1, NULL), "errorlog_level >= 0");
}

}  // namespace
