// The sensor search over a directory of sensor data files: the three passes,
// the bookkeeping of bases that did not answer, the refusal reasons, the
// chip-version check made while a file is read, and cancellation.
#include <thread>

#include "test_ident_support.h"

namespace {

class IdentSearch : public IdentTest {
protected:
    // The search of a transport: a fresh sensor record is made by it.
    ci_error_code search(const std::string& dir) { return _getSensor(camera.get(), identData(dir).c_str()); }

    std::string found() const { return camera->sensor != NULL ? camera->sensor->sensorName : "(none)"; }

    // A directory search as one pass makes it, into a fresh record.
    ci_error_code onePass(const std::string& dir, const char* filter, ci_s32 ignore, ci_s32 addrSize) {
        if (camera->sensor == NULL) camera->sensor = static_cast<ci_sensor_t*>(calloc(1, sizeof(ci_sensor_t)));
        return _findMatch(camera.get(), identData(dir).c_str(), filter, ignore, addrSize);
    }
};

TEST_F(IdentSearch, FirstPassTakesSixteenBitSensorsWithoutLookingAtSoc) {
    plug("passes/soc16.sdat");
    plug("passes/raw8.sdat");
    plug("passes/soc8.sdat");
    EXPECT_EQ(search("passes"), CI_CAMERA_SUCCESS);
    EXPECT_EQ(found(), "CKS1000SOC");
    EXPECT_EQ(camera->sensor->shipAddr, 0x20u);
    EXPECT_GT(camera->sensor->num_regs, 0) << "the matched file is kept whole";
}

TEST_F(IdentSearch, EightBitPlainSensorBeatsEightBitSoc) {
    plug("passes/raw8.sdat");
    plug("passes/soc8.sdat");
    EXPECT_EQ(search("passes"), CI_CAMERA_SUCCESS);
    EXPECT_EQ(found(), "CK0200");
}

TEST_F(IdentSearch, EightBitSocIsFoundByTheLastPass) {
    plug("passes/soc8.sdat");
    EXPECT_EQ(search("passes"), CI_CAMERA_SUCCESS);
    EXPECT_EQ(found(), "CKS1400SOC");
}

TEST_F(IdentSearch, BaseThatNackedIsNotProbedAgainByLaterFilesOrPasses) {
    ci_setMode(camera.get(), CI_NACK_RETRIES, 2);
    plug("passes/soc8.sdat");
    EXPECT_EQ(search("passes"), CI_CAMERA_SUCCESS);
    EXPECT_EQ(bus.transactionsAt(0x20), 3) << "one read with its retries, in the whole search";
    EXPECT_EQ(bus.transactionsAt(0x48), 3);
    EXPECT_EQ(_unusedBase(camera.get(), 0x20), 0) << "the map is cleared after a match";
}

TEST_F(IdentSearch, NothingAnswersLeavesNoSensor) {
    LogCapture log;
    ci_setMode(camera.get(), CI_NACK_RETRIES, 0);
    EXPECT_EQ(search("passes"), CI_SENSOR_DOES_NOT_MATCH);
    EXPECT_EQ(camera->sensor, nullptr);
    EXPECT_TRUE(log.contains("No matches found"));
    EXPECT_TRUE(log.contains("No matches found ignoring SOC"));
}

TEST_F(IdentSearch, RefusalsAreLoggedWithTheirReason) {
    LogCapture log;
    plug("passes/raw8.sdat");
    EXPECT_EQ(search("passes"), CI_CAMERA_SUCCESS);
    EXPECT_TRUE(log.contains("No match because want addr size 16 and sensor is 8"));
    EXPECT_TRUE(log.contains("No match because parse failed"));
    EXPECT_TRUE(log.contains("Found matching sdat: " + identData("passes") + "/raw8.sdat"));
}

TEST_F(IdentSearch, DeviceThatMustBeAbsentRefusesTheFile) {
    LogCapture log;
    plug("quiet/quiet.sdat");
    bus.addDevice(0x90, 8, 16);
    EXPECT_EQ(onePass("quiet", NULL, 0, 0), CI_SENSOR_DOES_NOT_MATCH);
    EXPECT_TRUE(log.contains("No match because SHIP base addr/version reg/fuseID"));
    ASSERT_NE(camera->sensor, nullptr) << "the record is kept for the next file";
    EXPECT_EQ(camera->sensor->num_regs, 0);

    bus.removeDevice(0x90);
    EXPECT_EQ(onePass("quiet", NULL, 0, 0), CI_CAMERA_SUCCESS);
    EXPECT_EQ(found(), "CK0200");
}

TEST_F(IdentSearch, ChipVersionIsCheckedWhileTheFileIsRead) {
    LogCapture log;
    plug("early/wrongver.sdat").poke(0x00, 0x2222);
    EXPECT_EQ(onePass("early", NULL, 0, 0), CI_SENSOR_DOES_NOT_MATCH);
    EXPECT_TRUE(log.contains("Early reject: CHIP_VERSION_REG does not match"));
    EXPECT_TRUE(log.contains("No match because parse failed"));

    bus.device(0x4C)->poke(0x00, 0x1111);
    EXPECT_EQ(onePass("early", NULL, 0, 0), CI_CAMERA_SUCCESS);
    EXPECT_EQ(camera->sensor->num_regs, 2);
}

TEST_F(IdentSearch, NameFilterSkipsFilesByName) {
    plug("passes/soc16.sdat");
    plug("passes/raw8.sdat");
    EXPECT_EQ(onePass("passes", "raw", 0, 0), CI_CAMERA_SUCCESS);
    EXPECT_EQ(found(), "CK0200");
    EXPECT_EQ(onePass("passes", "SOC16", 1, 0), CI_CAMERA_SUCCESS);
    EXPECT_EQ(found(), "CK0200");
    EXPECT_EQ(onePass("passes", "soc1", 0, 0), CI_CAMERA_SUCCESS);
    EXPECT_EQ(found(), "CKS1000SOC");
}

TEST_F(IdentSearch, CancelFromAnotherThreadStopsTheSearch) {
    LogCapture log;
    plug("passes/soc8.sdat");
    bus.observer = [](const BusTransaction&) { std::thread([] { ci_CancelProbe(); }).join(); };
    EXPECT_EQ(search("passes"), CI_CAMERA_ERROR);
    EXPECT_EQ(camera->sensor, nullptr);
    EXPECT_TRUE(log.contains("Sensor data file search cancelled before completing"));
    __atomic_store_n(&g_cancel_all_probes, 0, __ATOMIC_RELAXED);
}

TEST_F(IdentSearch, SingleFileIsLoadedWithoutProbing) {
    EXPECT_EQ(search("passes/raw8.sdat"), CI_CAMERA_SUCCESS);
    EXPECT_EQ(found(), "CK0200");
    EXPECT_TRUE(bus.log().empty());
}

TEST_F(IdentSearch, PathsThatGiveNoSensor) {
    EXPECT_EQ(search("no/such/dir"), CI_SENSOR_DOES_NOT_MATCH);
    EXPECT_EQ(camera->sensor, nullptr);
    EXPECT_EQ(_getSensor(camera.get(), ""), CI_CAMERA_SUCCESS);
    EXPECT_EQ(camera->sensor, nullptr);
    EXPECT_EQ(search("quiet/quiet.txt"), CI_SENSOR_DOES_NOT_MATCH);

    camera->readSensorRegisters = NULL;
    EXPECT_EQ(search("passes"), CI_CAMERA_ERROR);
}

TEST_F(IdentSearch, UnparsableSingleFileIsAParseError) {
    ScratchDir dir;
    const std::string file = dir.write("broken.sdat", "[CHIP_DESCRIPTOR]\nNO_SUCH_KEY = 1\n[END]\n");
    EXPECT_EQ(_getSensor(camera.get(), file.c_str()), CI_SENSOR_FILE_PARSE_ERROR);
    EXPECT_EQ(camera->sensor, nullptr);
}

TEST(IdentBaseMap, OneBitPerEvenBase) {
    BusSim bus;
    SimCamera camera(bus);
    _setUnusedBase(camera.get(), 0x90);
    EXPECT_EQ(camera.ctx()->baseMap[2], 1u << 8);
    EXPECT_EQ(_unusedBase(camera.get(), 0x91), 1) << "the read/write bit does not count";
    EXPECT_EQ(_unusedBase(camera.get(), 0x92), 0);
    _setUnusedBase(camera.get(), 0x1FE);
    EXPECT_EQ(_unusedBase(camera.get(), 0x1FE), 0) << "not a bus address";
    _setUnusedBase(camera.get(), 0xFE);
    EXPECT_EQ(camera.ctx()->baseMap[3], 1u << 31);
    _resetBaseMap(camera.get());
    EXPECT_EQ(_unusedBase(camera.get(), 0x90) + _unusedBase(camera.get(), 0xFE), 0);
}

}  // namespace
