// The hardware tests of one sensor data file: chip version at the candidate
// bases, probe terms (extra descriptor, fuse registers, other devices,
// reset), the companion-board refusal, base address moves and part numbers.
#include "test_ident_support.h"

namespace {

using IdentTerms = IdentTest;

std::vector<ci_u32> writesTo(const BusSim& bus, ci_u32 base, ci_u32 reg) {
    std::vector<ci_u32> values;
    for (const BusTransaction& t : bus.log()) {
        if (t.write && t.base == base && t.reg == reg) values.push_back(t.value);
    }
    return values;
}

// The simulator everything below relies on: seeded from a file, a device
// answers like the sensor, multi-word registers included.
TEST_F(IdentTerms, SimulatedSensorAnswersWithTheFilesResetValues) {
    BusDevice& dev = plug("sim/wide.sdat");
    EXPECT_EQ(dev.peek(0x3012), 0x5678u) << "16-bit words of a 16-bit-address device are 2 addresses apart";
    parse("sim/wide.sdat");
    ci_u32 value = 0;
    EXPECT_EQ(ci_ReadSensorRegStr(camera.get(), "FRAME_COUNT", "", &value), CI_CAMERA_SUCCESS);
    EXPECT_EQ(value, 0x12345678u);
    EXPECT_EQ(ci_WriteSensorRegStr(camera.get(), "GAIN", "", 0x1FF), CI_CAMERA_SUCCESS);
    EXPECT_EQ(dev.peek(0x3020), 0x1FFu);
}

TEST_F(IdentTerms, ChipVersionIsComparedUnderItsMaskAtTheFirstAnsweringBase) {
    parse("terms/alternate.sdat");
    ci_setMode(camera.get(), CI_NACK_RETRIES, 0);
    plug("terms/alternate.sdat", 0x32).poke(0x00, 0x0A37);  // metal revision 0x37 is outside the mask
    bus.failAt(0x30, CI_I2C_TIMEOUT);
    EXPECT_EQ(_checkSensorMatch(camera.get(), 1), 1);
    EXPECT_EQ(camera->sensor->shipAddr, 0x32u);
    EXPECT_EQ(_unusedBase(camera.get(), 0x30), 0) << "only a NACK marks a base unused";

    bus.failAt(0x30, CI_CAMERA_SUCCESS);
    EXPECT_EQ(_checkSensorMatch(camera.get(), 1), 1);
    EXPECT_EQ(_unusedBase(camera.get(), 0x30), 1) << "the base that did not answer is remembered";
    EXPECT_EQ(_unusedBase(camera.get(), 0x32), 0);

    bus.clearLog();
    bus.device(0x32)->poke(0x00, 0x0B00);
    EXPECT_EQ(_checkSensorMatch(camera.get(), 1), 0);
    EXPECT_EQ(bus.transactionsAt(0x30), 0) << "an unused base is not probed again";
}

TEST_F(IdentTerms, FullTestNeedsAProbeTermAndAChipVersionRegister) {
    parse("terms/alternate.sdat");
    plug("terms/alternate.sdat");
    EXPECT_EQ(_checkSensorMatch(camera.get(), 0), 1) << "the empty first term passes";
    camera.ctx()->num_probe_term = 0;
    EXPECT_EQ(_checkSensorMatch(camera.get(), 0), 0);
    EXPECT_EQ(_checkSensorMatch(camera.get(), 1), 1);
    snprintf(camera->sensor->regs[0].unique_desc, sizeof(ci_string), "NOT_THE_VERSION");
    EXPECT_EQ(_checkSensorMatch(camera.get(), 1), 0);
}

TEST_F(IdentTerms, FuseIdIsReadAfterTheVersionRegisterWrites) {
    parse("terms/fuse.sdat");
    BusDevice& dev = plug("terms/fuse.sdat");
    EXPECT_EQ(_checkSensorMatch(camera.get(), 0), 0) << "fuse ID still reads 0";

    // Loading the fuses takes value 1 in bits 2..1 of OTP_CTRL; the other
    // bits of the register are kept.
    dev.onWrite(0x30, 0x06, 0x02, 0x32, 0x5A77);
    bus.clearLog();
    EXPECT_EQ(_checkSensorMatch(camera.get(), 0), 1);
    EXPECT_EQ(writesTo(bus, 0x36, 0x30), (std::vector<ci_u32>{0x82, 0x80})) << "written, then put back";

    dev.forget(0x32).onWrite(0x30, 0x06, 0x02, 0x32, 0x5C77);
    EXPECT_EQ(_checkSensorMatch(camera.get(), 0), 0) << "fuse field 0x5C is not a listed value";

    snprintf(camera.ctx()->probe_term[0].version_reg_read[0].regName, sizeof(ci_string), "NO_SUCH_REG");
    bus.clearLog();
    EXPECT_EQ(_checkFuseRev(camera.get(), 0), 0);
    EXPECT_TRUE(writesTo(bus, 0x36, 0x30).empty()) << "nothing is written before the names are checked";
}

TEST_F(IdentTerms, WaitForPollsUntilTheStatusShowsOrTheTimeOutEnds) {
    parse("terms/fusewait.sdat");
    plug("terms/fusewait.sdat").onWrite(0x30, 0x01, 0x01, 0x32, 0x1234).onWrite(0x30, 0x01, 0x01, 0x31, 0x01, 3);
    EXPECT_EQ(_checkSensorMatch(camera.get(), 0), 1);
    EXPECT_EQ(readsOf(0x38, 0x31), 3) << "polling stops when the status bit comes up";

    // A status that never comes: (100 + 1) / 10 reads, then the read
    // entries still decide.
    plug("terms/fusewait.sdat").onWrite(0x30, 0x01, 0x01, 0x32, 0x1234);
    bus.clearLog();
    EXPECT_EQ(_checkSensorMatch(camera.get(), 0), 1);
    EXPECT_EQ(readsOf(0x38, 0x31), 10);
}

TEST_F(IdentTerms, ExtraDescriptorTermsAreAlternatives) {
    parse("terms/ormatch.sdat");
    ASSERT_EQ(camera.ctx()->num_probe_term, 2);
    BusDevice& dev = plug("terms/ormatch.sdat");
    for (const auto& [revision, match] : {std::pair{0x03, 1}, {0x04, 0}, {0x01, 1}}) {
        dev.poke(0x02, revision);  // 1 is the documented reset value: a later term fits it
        EXPECT_EQ(_checkSensorMatch(camera.get(), 0), match) << revision;
    }

    // Without a mask of its own the term uses the register's, for good.
    dev.poke(0x02, 0x21);
    _probe_term_t* term = &camera.ctx()->probe_term[0];
    term->extra_desc_mask = 0;
    term->num_extra_desc_val = 1;
    term->extra_desc_val[0] = 0x21;
    EXPECT_EQ(_checkExtraDescr(camera.get(), 0), 1);
    EXPECT_EQ(term->extra_desc_mask, 0xFFu);
}

TEST_F(IdentTerms, StreamingSensorIsResetBeforeTheTermAndAgainWhenRefused) {
    parse("terms/resetif.sdat");
    BusDevice& sensor = plug("terms/resetif.sdat");
    sensor.poke(0x10, 1);  // no companion device at 0x50 yet
    EXPECT_EQ(_checkSensorMatch(camera.get(), 0), 0);
    EXPECT_EQ(bus.resetPulses(), 2);

    bus.addDevice(0x50, 8, 16).seed(0x00, 0x42);
    _resetBaseMap(camera.get());  // 0x50 was marked silent
    sensor.poke(0x10, 1);
    EXPECT_EQ(_checkSensorMatch(camera.get(), 0), 1);
    EXPECT_EQ(bus.resetPulses(), 3);
    EXPECT_EQ(sensor.peek(0x10), 0u);
    EXPECT_EQ(_checkSensorMatch(camera.get(), 0), 1);
    EXPECT_EQ(bus.resetPulses(), 3) << "a sensor at rest is not reset";
}

class SerialMatch : public IdentTest {
protected:
    void SetUp() override {
        parse("terms/alternate.sdat");
        plug("terms/alternate.sdat");
        ci_setMode(camera.get(), CI_NACK_RETRIES, 0);
        term().num_serial_match = 1;
    }
    _probe_term_t& term() { return camera.ctx()->probe_term[0]; }
    int check() { return _checkExtraSerialMatch(camera.get(), 0); }
};

TEST_F(SerialMatch, AnotherDeviceMustAnswerWithAListedValue) {
    term().extra_serial_match[0] = _extraSerialMatch{0x60, 0x0102, 16, 8, 0xF0, 2, {0x3, 0x5}};
    EXPECT_EQ(check(), 0) << "a device is required and none answers";
    EXPECT_EQ(_unusedBase(camera.get(), 0x60), 1);
    _resetBaseMap(camera.get());

    bus.addDevice(0x60, 16, 8).seed(0x0102, 0x5A);
    bus.clearLog();
    EXPECT_EQ(check(), 1) << "field 5 under 0xF0";
    ASSERT_EQ(bus.log().size(), 1u);
    EXPECT_EQ(bus.log()[0].addrBits, 16u);
    EXPECT_EQ(bus.log()[0].dataBits, 8u);
    EXPECT_EQ(mode(CI_REG_ADDR_SIZE), 16u) << "the sizes are left as the entry set them";
    EXPECT_EQ(mode(CI_REG_DATA_SIZE), 8u);

    bus.device(0x60)->poke(0x0102, 0x4A);
    EXPECT_EQ(check(), 0);
    bus.failAt(0x60, CI_I2C_BIT_ERROR);
    bus.device(0x60)->poke(0x0102, 0x5A);
    EXPECT_EQ(check(), 0) << "a bus error is no answer either way";
    EXPECT_EQ(_unusedBase(camera.get(), 0x60), 0);
}

TEST_F(SerialMatch, DataSizeZeroDemandsThatNothingAnswers) {
    term().extra_serial_match[0] = _extraSerialMatch{0x90, 0x00, 8, 0, 0xFF, 1, {0}};
    bus.addDevice(0x90, 8, 16);
    EXPECT_EQ(check(), 0);
    ASSERT_FALSE(bus.log().empty());
    EXPECT_EQ(bus.log().back().dataBits, 16u) << "data size 0 reads 16 bits";

    bus.removeDevice(0x90);
    EXPECT_EQ(check(), 1);
    const int probes = bus.transactionsAt(0x90);
    EXPECT_EQ(check(), 1);
    EXPECT_EQ(bus.transactionsAt(0x90), probes) << "the silent base is not asked again";
}

TEST_F(IdentTerms, CompanionBoardRefusesItsSensorKindAndIsArmed) {
    parse("terms/alternate.sdat");  // another kind of sensor: the board is not looked at
    plug("terms/alternate.sdat");
    BusDevice& board = bus.addDevice(0xE0, 8, 16).seed(0x00, 0x8212).seed(0x10, 0x0000);
    EXPECT_EQ(_checkSensorMatch(camera.get(), 0), 1);
    EXPECT_EQ(bus.transactionsAt(0xE0), 0);

    _freeSensor(camera.get());
    parse("terms/companion.sdat");
    BusDevice& sensor = plug("terms/companion.sdat");
    ci_setMode(camera.get(), CI_REG_ADDR_SIZE, 16);
    ci_setMode(camera.get(), CI_REG_DATA_SIZE, 8);
    EXPECT_EQ(_checkSensorMatch(camera.get(), 0), 0);
    EXPECT_EQ(sensor.writesTo(0x28), 0);
    EXPECT_EQ(mode(CI_REG_ADDR_SIZE), 8u);
    EXPECT_EQ(mode(CI_REG_DATA_SIZE), 16u);

    board.poke(0x10, 0x0001);
    EXPECT_EQ(_checkSensorMatch(camera.get(), 0), 0);
    EXPECT_EQ(sensor.peek(0x28), 1u);

    board.poke(0x00, 0x8213);
    EXPECT_EQ(_checkSensorMatch(camera.get(), 0), 1) << "another board at 0xE0 is no companion";
    bus.removeDevice(0xE0);
    EXPECT_EQ(_checkSensorMatch(camera.get(), 0), 1);
}

TEST_F(IdentTerms, DetectSensorBaseAddrFollowsTheSensorToAnotherBase) {
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

    snprintf(camera->sensor->regs[0].unique_desc, sizeof(ci_string), "VERSION");
    plug("terms/alternate.sdat", 0x30);
    EXPECT_EQ(ci_DetectSensorBaseAddr(camera.get()), 1) << "no chip version register";
}

// parts.sdat lists "CKT-100C" (a device at 0xA0 reads 0x77), "CKT-100B"
// (sensor register VARIANT field 2 or 3) and the default "CKT-100".
TEST_F(IdentTerms, PartNumberVariants) {
    parse("terms/parts.sdat");
    ASSERT_STREQ(camera->sensor->partNumber, "CKT-100C") << "the parser keeps the first";
    BusDevice& sensor = plug("terms/parts.sdat");
    BusDevice& board = bus.addDevice(0xA0, 16, 8);
    ci_setMode(camera.get(), CI_REG_ADDR_SIZE, 16);
    ci_setMode(camera.get(), CI_REG_DATA_SIZE, 16);
    const struct {
        ci_u32 boardValue, variant;
        const char* expected;
        int variantReads;
    } rows[] = {{0x00, 0x35, "CKT-100B", 1}, {0x77, 0x20, "CKT-100C", 0}, {0x76, 0x00, "CKT-100", 1}};
    for (const auto& row : rows) {
        board.seed(0x10, row.boardValue);
        sensor.poke(0x05, row.variant);
        bus.clearLog();
        EXPECT_EQ(ci_DetectPartNumber(camera.get()), 0);
        EXPECT_STREQ(camera->sensor->partNumber, row.expected);
        EXPECT_EQ(readsOf(0x46, 0x05), row.variantReads) << "the walk stops at the first match";
        EXPECT_EQ(mode(CI_REG_ADDR_SIZE), 16u) << "the caller's sizes are restored";
        EXPECT_EQ(mode(CI_REG_DATA_SIZE), 16u);
        ASSERT_GE(bus.transactionsAt(0xA0), 1);
        EXPECT_EQ(bus.log()[0].addrBits, 16u) << "the device is read with its own sizes";
        EXPECT_EQ(bus.log()[0].dataBits, 8u);
    }
}

TEST_F(IdentTerms, SinglePartNumberIsKeptAsParsed) {
    parse("terms/onepart.sdat");
    plug("terms/onepart.sdat");
    bus.addDevice(0xA2, 8, 8).seed(0x10, 0x00);
    EXPECT_EQ(ci_DetectPartNumber(camera.get()), 0);
    EXPECT_STREQ(camera->sensor->partNumber, "CKT-ONE");
    EXPECT_EQ(bus.transactionsAt(0xA2), 0);
}

}  // namespace
