// The sensor search over a directory of sensor data files: the three passes,
// bases that did not answer, refusal reasons, the chip-version check made
// while a file is read, and cancellation.
#include <thread>

#include "test_ident_support.h"

namespace {

class IdentSearch : public IdentTest {
protected:
    ci_error_code search(const std::string& dir) { return _getSensor(camera.get(), identData(dir).c_str()); }

    std::string found() const { return camera->sensor != NULL ? camera->sensor->sensorName : "(none)"; }

    // One pass over a directory, into a fresh record.
    ci_error_code onePass(const std::string& dir, const char* filter = NULL, ci_s32 ignore = 0) {
        if (camera->sensor == NULL) camera->sensor = static_cast<ci_sensor_t*>(calloc(1, sizeof(ci_sensor_t)));
        return _findMatch(camera.get(), identData(dir).c_str(), filter, ignore, 0);
    }
};

// Pass 1 takes 16-bit sensors (system-on-chip or not), pass 2 8-bit plain
// sensors, pass 3 8-bit systems-on-chip: the earliest pass wins.
TEST(IdentPasses, TheEarliestPassThatFitsFindsTheSensor) {
    const struct {
        std::vector<const char*> plugged;
        const char* expected;
    } rows[] = {
        {{"soc16", "raw8", "soc8"}, "CKS1000SOC"},
        {{"raw8", "soc8"}, "CK0200"},
        {{"soc8"}, "CKS1400SOC"},
    };
    for (const auto& row : rows) {
        BusSim bus;
        SimCamera camera(bus);
        for (const char* name : row.plugged) bus.addSensorFromFile(identData("passes/" + std::string(name) + ".sdat"));
        EXPECT_EQ(_getSensor(camera.get(), identData("passes").c_str()), CI_CAMERA_SUCCESS) << row.expected;
        ASSERT_NE(camera->sensor, nullptr) << row.expected;
        EXPECT_STREQ(camera->sensor->sensorName, row.expected);
        EXPECT_GT(camera->sensor->num_regs, 0) << "the matched file is kept whole";
    }
}

TEST_F(IdentSearch, BaseThatNackedIsNotProbedAgainByLaterFilesOrPasses) {
    ci_setMode(camera.get(), CI_NACK_RETRIES, 2);
    plug("passes/soc8.sdat");
    EXPECT_EQ(search("passes"), CI_CAMERA_SUCCESS);
    EXPECT_EQ(bus.transactionsAt(0x20), 3) << "one read with its retries, in the whole search";
    EXPECT_EQ(bus.transactionsAt(0x48), 3);
    EXPECT_EQ(_unusedBase(camera.get(), 0x20), 0) << "the map is cleared after a match";
}

TEST_F(IdentSearch, RefusalsAreLoggedWithTheirReason) {
    LogCapture log;
    ci_setMode(camera.get(), CI_NACK_RETRIES, 0);
    EXPECT_EQ(search("passes"), CI_SENSOR_DOES_NOT_MATCH);
    EXPECT_EQ(camera->sensor, nullptr);
    EXPECT_TRUE(logged(log, "No matches found ignoring SOC"));

    plug("passes/raw8.sdat");
    EXPECT_EQ(search("passes"), CI_CAMERA_SUCCESS);
    EXPECT_TRUE(logged(log, "No match because want addr size 16 and sensor is 8"));
    EXPECT_TRUE(logged(log, "No match because parse failed"));
    EXPECT_TRUE(logged(log, "Found matching sdat: " + identData("passes") + "/raw8.sdat"));
}

TEST_F(IdentSearch, DeviceThatMustBeAbsentRefusesTheFile) {
    LogCapture log;
    plug("quiet/quiet.sdat");
    bus.addDevice(0x90, 8, 16);
    EXPECT_EQ(onePass("quiet"), CI_SENSOR_DOES_NOT_MATCH);
    EXPECT_TRUE(logged(log, "No match because SHIP base addr/version reg/fuseID"));
    ASSERT_NE(camera->sensor, nullptr) << "the record is kept for the next file";
    EXPECT_EQ(camera->sensor->num_regs, 0);

    bus.removeDevice(0x90);
    EXPECT_EQ(onePass("quiet"), CI_CAMERA_SUCCESS);
    EXPECT_EQ(found(), "CK0200");
}

TEST_F(IdentSearch, ChipVersionIsCheckedWhileTheFileIsRead) {
    LogCapture log;
    plug("early/wrongver.sdat").poke(0x00, 0x2222);
    EXPECT_EQ(onePass("early"), CI_SENSOR_DOES_NOT_MATCH);
    EXPECT_TRUE(logged(log, "Early reject: CHIP_VERSION_REG does not match"));

    bus.device(0x4C)->poke(0x00, 0x1111);
    EXPECT_EQ(onePass("early"), CI_CAMERA_SUCCESS);
    EXPECT_EQ(camera->sensor->num_regs, 2);
}

TEST_F(IdentSearch, NameFilterSkipsFilesByName) {
    plug("passes/soc16.sdat");
    plug("passes/raw8.sdat");
    EXPECT_EQ(onePass("passes", "raw"), CI_CAMERA_SUCCESS);
    EXPECT_EQ(found(), "CK0200");
    EXPECT_EQ(onePass("passes", "SOC16", 1), CI_CAMERA_SUCCESS);
    EXPECT_EQ(found(), "CK0200");
    EXPECT_EQ(onePass("passes", "soc1"), CI_CAMERA_SUCCESS);
    EXPECT_EQ(found(), "CKS1000SOC");
}

TEST_F(IdentSearch, CancelFromAnotherThreadStopsTheSearchAndLeavesNoSensor) {
    LogCapture log;
    plug("passes/soc8.sdat");
    bus.observer = [](const BusTransaction&) { std::thread([] { ci_CancelProbe(); }).join(); };
    EXPECT_EQ(search("passes"), CI_CAMERA_ERROR);
    EXPECT_EQ(camera->sensor, nullptr);
    EXPECT_TRUE(logged(log, "Sensor data file search cancelled before completing"));
    __atomic_store_n(&g_cancel_all_probes, 0, __ATOMIC_RELAXED);
}

TEST_F(IdentSearch, SingleFilesAndPathsWithoutSensor) {
    EXPECT_EQ(search("passes/raw8.sdat"), CI_CAMERA_SUCCESS);
    EXPECT_EQ(found(), "CK0200");
    EXPECT_TRUE(bus.log().empty()) << "a single file is loaded without probing";
    _freeSensor(camera.get());

    ScratchDir dir;
    const std::string broken = dir.write("broken.sdat", "[CHIP_DESCRIPTOR]\nNO_SUCH_KEY = 1\n[END]\n");
    EXPECT_EQ(_getSensor(camera.get(), broken.c_str()), CI_SENSOR_FILE_PARSE_ERROR);
    EXPECT_EQ(camera->sensor, nullptr);
    EXPECT_EQ(search("no/such/dir"), CI_SENSOR_DOES_NOT_MATCH);
    EXPECT_EQ(search("quiet/quiet.txt"), CI_SENSOR_DOES_NOT_MATCH);
    EXPECT_EQ(_getSensor(camera.get(), ""), CI_CAMERA_SUCCESS);
    EXPECT_EQ(camera->sensor, nullptr);

    camera->readSensorRegisters = NULL;
    EXPECT_EQ(search("passes"), CI_CAMERA_ERROR);
}

TEST(IdentBaseMap, OneBitPerEvenBase) {
    BusSim bus;
    SimCamera camera(bus);
    _setUnusedBase(camera.get(), 0x90);
    _setUnusedBase(camera.get(), 0xFE);
    _setUnusedBase(camera.get(), 0x1FE);
    EXPECT_EQ(_unusedBase(camera.get(), 0x91), 1) << "the read/write bit does not count";
    EXPECT_EQ(_unusedBase(camera.get(), 0xFE), 1);
    EXPECT_EQ(_unusedBase(camera.get(), 0x92), 0);
    EXPECT_EQ(_unusedBase(camera.get(), 0x1FE), 0) << "not a bus address";
    _resetBaseMap(camera.get());
    EXPECT_EQ(_unusedBase(camera.get(), 0x90) + _unusedBase(camera.get(), 0xFE), 0);
}

}  // namespace
