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

struct Stamp {
    int hours, minutes, seconds, millis;
    size_t length;  // 0 when the line does not start with a timestamp
};

// Reads the "h:mm:ss.mmm " prefix of a log line; the prefix must be
// exactly what the format writes (two-digit minutes and seconds, three-digit
// milliseconds, one blank).
Stamp read_stamp(const std::string& line) {
    Stamp s = {0, 0, 0, 0, 0};
    if (sscanf(line.c_str(), "%d:%d:%d.%d", &s.hours, &s.minutes, &s.seconds, &s.millis) != 4) return s;
    char expected[64];
    int n = snprintf(expected, sizeof expected, "%d:%02d:%02d.%03d ", s.hours, s.minutes, s.seconds, s.millis);
    if (line.compare(0, (size_t)n, expected) == 0) s.length = (size_t)n;
    return s;
}

// Drops the timestamp of a log line.
std::string without_time(const std::string& line) {
    Stamp s = read_stamp(line);
    EXPECT_NE(s.length, 0u) << line;
    return line.substr(s.length);
}

TEST(ErrorCodes, TableHoldsOnlyCodesWithTexts) {
    int inTable = 0;
    for (ci_error_code code = -1; code < 300; ++code) inTable += ci_getErrorMsg(code) != NULL;
    EXPECT_EQ(inTable, 24);
    const ci_error_code absent[] = {CI_PARSE_SUCCESS, CI_INI_SUCCESS, CI_INI_HANDLED_SUCCESS, CI_INI_NOT_HANDLED, 2};
    for (ci_error_code code : absent) {
        EXPECT_EQ(ci_getErrorMsg(code), nullptr) << code;
        EXPECT_EQ(_GetErrorLevel(code), 0) << code;
    }
    EXPECT_STREQ(ci_getErrorMessage(2), "Unknown Error");
    EXPECT_STREQ(ci_getErrorSymbol(2), "Unknown Error");
    EXPECT_STREQ(ci_getErrorMessage(-1), "");
    EXPECT_EQ(ci_getErrorMsg(-1), nullptr);
    EXPECT_EQ(_GetErrorLevel(CI_SENSOR_DOES_NOT_MATCH), 2);
    EXPECT_STREQ(ci_getErrorSymbol(CI_UKNOWN_SECTION_ERROR), "UKNOWN_SECTION_ERROR");
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
    // Log lines after the header, timestamps removed.
    std::vector<std::string> body() const {
        std::vector<std::string> all = lines_of(scratch_read_file(dir.file("run0.txt")));
        std::vector<std::string> out;
        for (size_t i = 2; i < all.size(); ++i) out.push_back(without_time(all[i]));
        return out;
    }

    ScratchDir dir;
};

TEST_F(ErrorLog, FileStartsWithTimestampedDateAndBlankLine) {
    open(CI_LOG_ALL);
    std::vector<std::string> all = lines_of(scratch_read_file(dir.file("run0.txt")));
    ASSERT_EQ(all.size(), 2u);
    Stamp s = read_stamp(all[0]);
    ASSERT_EQ(s.length, 12u) << all[0];
    EXPECT_EQ(s.hours + s.minutes + s.seconds, 0);
    // The date in ctime form: "Wed Jun 30 21:49:08 1993".
    EXPECT_EQ(all[0].size(), 12u + 24u) << all[0];
    EXPECT_EQ(all[0][12 + 19], ' ');
    EXPECT_EQ(all[1], "");
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
    ci_Errorlog(2, 1, NULL, "x", NULL, 12);         // unknown code, explicit level
    ci_Errorlog(CI_CAMERA_ERROR, 0, "level 0", "x", "f", 13);
    for (ci_error_code ok : {CI_CAMERA_SUCCESS, CI_PARSE_SUCCESS, CI_INI_SUCCESS}) {
        EXPECT_EQ(ci_Errorlog(ok, 1, "never", "x", "f", 14), ok);
    }
    std::vector<std::string> want = {
        "SEVERE_ERROR: I2C Nack Error [camkit_reg.cpp:_read() line:10]",
        "LOG: Sensor Does Not Match; forced [camkit:probe() line:11]",
        "SEVERE_ERROR: Unknown Error [x:() line:12]",
    };
    EXPECT_EQ(body(), want);
}

TEST_F(ErrorLog, InformationalClasses) {
    open(CI_LOG_INFO | CI_LOG_DEBUG);
    EXPECT_TRUE(ci_isInfoLogEnabled());
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

TEST_F(ErrorLog, InfoLinesNeedAnInfoClassInTheMask) {
    open(CI_LOG_SEVERE | CI_LOG_ERROR);
    EXPECT_FALSE(ci_isInfoLogEnabled());
    EXPECT_FALSE(ci_isDebugLogEnabled());
    ci_Msglog(CI_LOG_SEVERE, "not informational", "s", "f", 1);
    EXPECT_TRUE(body().empty());
    _SetErrorLogLevel(CI_LOG_USB);
    EXPECT_TRUE(ci_isInfoLogEnabled());
    EXPECT_FALSE(ci_isDebugLogEnabled());
}

TEST_F(ErrorLog, LevelZeroKeepsTheFileButWritesNothing) {
    open(CI_LOG_ERROR);
    EXPECT_EQ(_SetErrorLogLevel(0), 0);
    EXPECT_EQ(_GetErrorLogLevel(), 0);
    ci_Errorlog(CI_SENSOR_DOES_NOT_MATCH, -1, "muted", "s", "f", 1);
    EXPECT_EQ(current_file(), dir.file("run0.txt"));
    EXPECT_TRUE(body().empty());
    // Switching on again starts the next file.
    _SetErrorLogLevel(CI_LOG_ERROR);
    EXPECT_EQ(current_file(), dir.file("run1.txt"));
}

TEST_F(ErrorLog, OpenedAtLevelZeroHasNoFileUntilSwitchedOn) {
    ci_OpenErrorLog(0, dir.file("quiet.log").c_str());
    EXPECT_EQ(current_file(), "");
    EXPECT_EQ(_GetErrorLogLevel(), 0);
    EXPECT_FALSE(scratch_file_exists(dir.file("quiet0.log")));
    _SetErrorLogLevel(CI_LOG_SEVERE);
    EXPECT_EQ(current_file(), dir.file("quiet0.log"));
    ci_CloseErrorLog();
    EXPECT_EQ(_GetErrorLogLevel(), -1);
    EXPECT_EQ(_SetErrorLogLevel(CI_LOG_SEVERE), -1);
    EXPECT_EQ(current_file(), "");
    EXPECT_EQ(ci_Errorlog(CI_CAMERA_ERROR, -1, "closed", "s", "f", 1), CI_CAMERA_ERROR);
}

TEST_F(ErrorLog, TimestampsCountFromFileOpen) {
    open(CI_LOG_SEVERE);
    osal_sleep(1100);
    ci_Errorlog(CI_CAMERA_ERROR, -1, "late", "s", "f", 1);
    std::vector<std::string> all = lines_of(scratch_read_file(dir.file("run0.txt")));
    ASSERT_EQ(all.size(), 3u);
    Stamp s = read_stamp(all[2]);
    ASSERT_NE(s.length, 0u) << all[2];
    EXPECT_EQ(s.hours * 60 + s.minutes, 0);
    EXPECT_GE(s.seconds, 1);
    EXPECT_LT(s.seconds, 10);
}

TEST(ErrorLogDeathTest, LevelOutsideMaskRangeIsAProgrammingError) {
    EXPECT_DEATH(ci_OpenErrorLog(64, NULL), "errorlog_level <= \\(\\(1 \\| 2\\)");
    EXPECT_DEATH(ci_OpenErrorLog(-1, NULL), "errorlog_level >= 0");
}

}  // namespace
