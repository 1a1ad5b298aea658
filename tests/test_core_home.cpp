// The home and sensor-data directories.  ci_Home decides once per process,
// so every case runs in a child process that has not asked yet.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "camkit.h"

namespace {

void setHome(const char* dev, const char* home) {
    dev != nullptr ? setenv("CI_HOME_DEV", dev, 1) : unsetenv("CI_HOME_DEV");
    home != nullptr ? setenv("CI_HOME", home, 1) : unsetenv("CI_HOME");
}

// Exits 0 when ci_Home gives expected.
void expectHome(const char* dev, const char* home, const char* expected) {
    setHome(dev, home);
    std::exit(std::strcmp(ci_Home(), expected) == 0 ? 0 : 1);
}

TEST(HomeTest, EnvironmentOrderAndTrailingDelimiter) {
    EXPECT_EXIT(expectHome("/opt/dev/", "/opt/home", "/opt/dev"), ::testing::ExitedWithCode(0), "");
    EXPECT_EXIT(expectHome(nullptr, "/opt/home//", "/opt/home/"), ::testing::ExitedWithCode(0), "");
    EXPECT_EXIT(expectHome("", "rel/home", "rel/home"), ::testing::ExitedWithCode(0), "");
    EXPECT_EXIT(expectHome(nullptr, nullptr, "../.."), ::testing::ExitedWithCode(0), "");
}

void firstAnswerIsKept() {
    setHome("/first", nullptr);
    std::string first = ci_Home();
    setHome("/second", "/third");
    bool kept = first == "/first" && std::strcmp(ci_Home(), "/first") == 0;
    bool data = std::strcmp(ci_SensorData(), "/first/sensor_data") == 0;
    std::exit(kept && data ? 0 : 1);
}

TEST(HomeTest, FirstAnswerIsKept) { EXPECT_EXIT(firstAnswerIsKept(), ::testing::ExitedWithCode(0), ""); }

void rootHome() {
    setHome("/", nullptr);
    std::exit(std::strcmp(ci_Home(), "") == 0 && std::strcmp(ci_SensorData(), "/sensor_data") == 0 ? 0 : 1);
}

TEST(HomeTest, RootDirectoryGivesAbsoluteSensorData) { EXPECT_EXIT(rootHome(), ::testing::ExitedWithCode(0), ""); }

}  // namespace
