// The home and sensor-data directories.  ci_Home decides once per process,
// so every case runs in a child process that has not asked yet.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "camkit.h"

namespace {

void setHome(const char* dev, const char* home) {
    dev != nullptr ? setenv("CI_HOME_DEV", dev, 1) : unsetenv("CI_HOME_DEV");
    home != nullptr ? setenv("CI_HOME", home, 1) : unsetenv("CI_HOME");
}

// Exits 0 when ci_Home gives home and ci_SensorData gives data.
void expectHome(const char* dev, const char* envHome, const char* home, const char* data) {
    setHome(dev, envHome);
    bool ok = std::strcmp(ci_Home(), home) == 0;
    setHome("/second", "/third");  // the first answer is kept
    ok = ok && std::strcmp(ci_Home(), home) == 0 && std::strcmp(ci_SensorData(), data) == 0;
    std::exit(ok ? 0 : 1);
}

TEST(HomeTest, EnvironmentOrderTrailingDelimiterAndFirstAnswerKept) {
    const struct {
        const char *dev, *envHome, *home, *data;
    } cases[] = {
        {"/opt/dev/", "/opt/home", "/opt/dev", "/opt/dev/sensor_data"},
        {nullptr, "/opt/home//", "/opt/home/", "/opt/home//sensor_data"},
        {"", "rel/home", "rel/home", "rel/home/sensor_data"},
        {nullptr, nullptr, "../..", "../../sensor_data"},
        {"/", nullptr, "", "/sensor_data"},
    };
    for (const auto& c : cases)
        EXPECT_EXIT(expectHome(c.dev, c.envHome, c.home, c.data), ::testing::ExitedWithCode(0), "") << c.home;
}

}  // namespace
