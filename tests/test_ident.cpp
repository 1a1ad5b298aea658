// Sensor identification on a simulated bus: the search over a directory of
// sensor data files and the hardware tests of one file.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "bus_sim.h"
#include "core/camkit_private.h"
#include "sensor_builder.h"

namespace {

std::string identData(const std::string& relative) {
    return std::string(CAMKIT_SOURCE_DIR) + "/tests/data/ident/" + relative;
}

class Ident : public ::testing::Test {
protected:
    ci_error_code search(const std::string& dir) { return _getSensor(camera.get(), identData(dir).c_str()); }
    std::string found() const { return camera->sensor != nullptr ? camera->sensor->sensorName : "(none)"; }

    // Parses a sample file into the camera without probing.
    void parse(const std::string& relative) {
        if (camera->sensor == nullptr) camera->sensor = static_cast<ci_sensor_t*>(calloc(1, sizeof(ci_sensor_t)));
        ASSERT_EQ(ci_ParseSensorFile(camera.get(), identData(relative).c_str(), camera->sensor), CI_PARSE_SUCCESS);
    }

    // A device answering like the sample sensor (at the file's base unless one is given).
    BusDevice& plug(const std::string& relative, ci_u32 base = BusSim::kFileBase) {
        return bus.addSensorFromFile(identData(relative), base);
    }

    ci_u32 mode(ci_modes which) {
        ci_u32 value = 0xDEADBEEF;
        EXPECT_EQ(ci_getMode(camera.get(), which, &value), CI_CAMERA_SUCCESS);
        return value;
    }

    std::vector<ci_u32> transfers(bool write, ci_u32 base, ci_u32 reg) const {
        std::vector<ci_u32> values;
        for (const BusTransaction& t : bus.log())
            if (t.write == write && t.base == base && t.reg == reg) values.push_back(t.value);
        return values;
    }

    BusSim bus;
    SimCamera camera{bus};
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

TEST_F(Ident, BaseThatNackedIsNotProbedAgainByLaterFilesOrPasses) {
    ci_setMode(camera.get(), CI_NACK_RETRIES, 2);
    plug("passes/soc8.sdat");
    EXPECT_EQ(search("passes"), CI_CAMERA_SUCCESS);
    EXPECT_EQ(found(), "CKS1400SOC");
    EXPECT_EQ(bus.transactionsAt(0x20), 3) << "one read with its retries, in the whole search";
    EXPECT_EQ(bus.transactionsAt(0x48), 3);
}

TEST_F(Ident, DeviceThatMustBeAbsentRefusesTheFile) {
    plug("quiet/quiet.sdat");
    bus.addDevice(0x90, 8, 16);
    camera->sensor = static_cast<ci_sensor_t*>(calloc(1, sizeof(ci_sensor_t)));
    EXPECT_EQ(_findMatch(camera.get(), identData("quiet").c_str(), nullptr, 0, 0), CI_SENSOR_DOES_NOT_MATCH);
    EXPECT_EQ(camera->sensor->num_regs, 0);

    bus.removeDevice(0x90);
    EXPECT_EQ(_findMatch(camera.get(), identData("quiet").c_str(), nullptr, 0, 0), CI_CAMERA_SUCCESS);
    EXPECT_EQ(found(), "CK0200");
}

TEST_F(Ident, CancelFromAnotherThreadStopsTheSearchAndLeavesNoSensor) {
    plug("passes/soc8.sdat");
    bus.observer = [](const BusTransaction&) { std::thread([] { ci_CancelProbe(); }).join(); };
    EXPECT_EQ(search("passes"), CI_CAMERA_ERROR);
    EXPECT_EQ(camera->sensor, nullptr);
    __atomic_store_n(&g_cancel_all_probes, 0, __ATOMIC_RELAXED);
}

// fuse.sdat: FUSE_ID reads 0 until value 1 in bits 2..1 of OTP_CTRL loads
// the fuses; 0x5A and 0x5B are the listed fuse IDs.
TEST_F(Ident, FuseIdIsReadOnlyAfterTheVersionRegisterWrite) {
    parse("terms/fuse.sdat");
    for (const auto& [fuse, match] : {std::pair<ci_u32, int>{0, 0}, {0x5A77, 1}, {0x5C77, 0}}) {
        BusDevice& dev = plug("terms/fuse.sdat");
        if (fuse != 0) dev.onWrite(0x30, 0x06, 0x02, 0x32, fuse);
        bus.clearLog();
        EXPECT_EQ(_checkSensorMatch(camera.get(), 0), match) << std::hex << fuse;
        EXPECT_EQ(transfers(true, 0x36, 0x30), (std::vector<ci_u32>{0x82, 0x80})) << "written, then put back";
    }
}

// ormatch.sdat: revision 2 or (OR_MATCH) revision 3; 1 is the reset value.
TEST_F(Ident, ASecondProbeTermIsAnAlternative) {
    parse("terms/ormatch.sdat");
    ASSERT_EQ(camera.ctx()->num_probe_term, 2);
    BusDevice& dev = plug("terms/ormatch.sdat");
    for (const auto& [revision, match] : {std::pair{0x03, 1}, {0x02, 1}, {0x04, 0}, {0x01, 1}}) {
        dev.seed(0x02, revision);
        EXPECT_EQ(_checkSensorMatch(camera.get(), 0), match) << revision;
    }
}

TEST_F(Ident, DetectSensorBaseAddrFollowsTheSensorToAnotherBase) {
    EXPECT_EQ(ci_DetectSensorBaseAddr(camera.get()), 1) << "no sensor";
    parse("terms/alternate.sdat");
    plug("terms/alternate.sdat");
    ASSERT_EQ(_checkSensorMatch(camera.get(), 1), 1);
    ASSERT_EQ(camera->sensor->shipAddr, 0x30u);
    ci_setMode(camera.get(), CI_USE_REG_CACHE, 1);

    // Where the sensor answers: 0x30 (stays), 0x32, back to 0x30, nowhere.
    const struct {
        ci_u32 at;
        int result;
        ci_u32 expected;
    } steps[] = {{0x30, 0, 0x30}, {0x32, 0, 0x32}, {0x30, 0, 0x30}, {0, 1, 0x30}};
    for (const auto& step : steps) {
        bus.removeDevice(0x30);
        bus.removeDevice(0x32);
        if (step.at != 0) plug("terms/alternate.sdat", step.at);
        EXPECT_EQ(ci_DetectSensorBaseAddr(camera.get()), step.result) << step.at;
        EXPECT_EQ(camera->sensor->shipAddr, step.expected) << "the base it had before, not the last one tried";
        EXPECT_EQ(mode(CI_USE_REG_CACHE), 1u) << "the cache setting is restored";
    }
}

// parts.sdat lists "CKT-100C" (a device at 0xA0 reads 0x77), "CKT-100B"
// (sensor register VARIANT field 2 or 3) and the default "CKT-100".
TEST_F(Ident, PartNumberIsRefinedByTheFirstMatchingEntry) {
    parse("terms/parts.sdat");
    ASSERT_STREQ(camera->sensor->partNumber, "CKT-100C") << "the parser keeps the first";
    BusDevice& sensor = plug("terms/parts.sdat");
    BusDevice& board = bus.addDevice(0xA0, 16, 8);
    ci_setMode(camera.get(), CI_REG_ADDR_SIZE, 16);
    ci_setMode(camera.get(), CI_REG_DATA_SIZE, 16);
    const struct {
        ci_u32 boardValue, variant;
        const char* expected;
        size_t variantReads;
    } rows[] = {{0x00, 0x35, "CKT-100B", 1}, {0x77, 0x20, "CKT-100C", 0}, {0x76, 0x00, "CKT-100", 1}};
    for (const auto& row : rows) {
        board.seed(0x10, row.boardValue);
        sensor.seed(0x05, row.variant);
        bus.clearLog();
        EXPECT_EQ(ci_DetectPartNumber(camera.get()), 0);
        EXPECT_STREQ(camera->sensor->partNumber, row.expected);
        EXPECT_EQ(transfers(false, 0x46, 0x05).size(), row.variantReads) << "the walk stops at the first match";
        EXPECT_EQ(mode(CI_REG_ADDR_SIZE), 16u) << "the caller's sizes are restored";
        ASSERT_GE(bus.transactionsAt(0xA0), 1);
        EXPECT_EQ(bus.log()[0].addrBits, 16u) << "the device is read with its own sizes";
        EXPECT_EQ(bus.log()[0].dataBits, 8u);
    }
}

}  // namespace
