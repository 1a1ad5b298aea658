// The hardware tests of one sensor data file: chip version at the candidate
// bases, probe terms (extra descriptor, fuse/revision registers, other
// devices, reset), the companion-board refusal, and the checks made after a
// match (base address moves, part-number variants).
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

TEST_F(IdentTerms, ChipVersionIsComparedUnderItsMaskAtTheFirstAnsweringBase) {
    parse("terms/alternate.sdat");
    ci_setMode(camera.get(), CI_NACK_RETRIES, 0);
    plug("terms/alternate.sdat", 0x32).poke(0x00, 0x0A37);  // metal revision 0x37 is outside the mask
    EXPECT_EQ(_checkSensorMatch(camera.get(), 1), 1);
    EXPECT_EQ(camera->sensor->shipAddr, 0x32u);
    EXPECT_EQ(_unusedBase(camera.get(), 0x30), 1) << "the base that did not answer is remembered";
    EXPECT_EQ(_unusedBase(camera.get(), 0x32), 0);

    bus.clearLog();
    bus.device(0x32)->poke(0x00, 0x0B00);
    EXPECT_EQ(_checkSensorMatch(camera.get(), 1), 0);
    EXPECT_EQ(bus.transactionsAt(0x30), 0) << "an unused base is not probed again";
}

TEST_F(IdentTerms, ReadErrorsOtherThanNackDoNotMarkTheBase) {
    parse("terms/alternate.sdat");
    plug("terms/alternate.sdat", 0x32);
    bus.failAt(0x30, CI_I2C_TIMEOUT);
    EXPECT_EQ(_checkSensorMatch(camera.get(), 1), 1);
    EXPECT_EQ(_unusedBase(camera.get(), 0x30), 0);
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

TEST_F(IdentTerms, FuseIdAppearsOnlyAfterTheVersionRegisterWrite) {
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
}

TEST_F(IdentTerms, WaitForPollsUntilTheStatusShowsOrTheTimeOutEnds) {
    parse("terms/fusewait.sdat");
    BusDevice& dev = plug("terms/fusewait.sdat");
    dev.onWrite(0x30, 0x01, 0x01, 0x32, 0x1234).onWrite(0x30, 0x01, 0x01, 0x31, 0x01, 3);
    EXPECT_EQ(_checkSensorMatch(camera.get(), 0), 1);
    EXPECT_EQ(readsOf(0x38, 0x31), 3) << "polling stops when the status bit comes up";

    // A status that never comes: (100 + 1) / 10 reads, and the read entries
    // still decide.
    BusDevice& slow = plug("terms/fusewait.sdat");
    slow.onWrite(0x30, 0x01, 0x01, 0x32, 0x1234);
    bus.clearLog();
    EXPECT_EQ(_checkSensorMatch(camera.get(), 0), 1);
    EXPECT_EQ(readsOf(0x38, 0x31), 10);
}

TEST_F(IdentTerms, FuseTestFailsForAnUnknownReadRegister) {
    parse("terms/fuse.sdat");
    plug("terms/fuse.sdat").onWrite(0x30, 0x06, 0x02, 0x32, 0x5A77);
    snprintf(camera.ctx()->probe_term[0].version_reg_read[0].regName, sizeof(ci_string), "NO_SUCH_REG");
    EXPECT_EQ(_checkFuseRev(camera.get(), 0), 0);
    EXPECT_TRUE(writesTo(bus, 0x36, 0x30).empty()) << "nothing is written before the names are checked";
}

TEST_F(IdentTerms, SecondProbeTermMatchesWhenTheFirstDoesNot) {
    parse("terms/ormatch.sdat");
    ASSERT_EQ(camera.ctx()->num_probe_term, 2);
    BusDevice& dev = plug("terms/ormatch.sdat");
    dev.poke(0x02, 0x03);
    EXPECT_EQ(_checkSensorMatch(camera.get(), 0), 1);
    dev.poke(0x02, 0x04);
    EXPECT_EQ(_checkSensorMatch(camera.get(), 0), 0);
    dev.poke(0x02, 0x01);
    EXPECT_EQ(_checkSensorMatch(camera.get(), 0), 1) << "the documented reset value fits too";
}

TEST_F(IdentTerms, ExtraDescriptorMaskDefaultsToTheRegisterMask) {
    parse("terms/ormatch.sdat");
    plug("terms/ormatch.sdat").poke(0x02, 0x21);
    _probe_term_t* term = &camera.ctx()->probe_term[0];
    term->extra_desc_mask = 0;
    term->num_extra_desc_val = 1;
    term->extra_desc_val[0] = 0x21;
    EXPECT_EQ(_checkExtraDescr(camera.get(), 0), 1);
    EXPECT_EQ(term->extra_desc_mask, 0xFFu) << "replaced for good by REVISION's mask";
}

TEST_F(IdentTerms, SensorFoundStreamingIsResetBeforeTheTermIsTested) {
    parse("terms/resetif.sdat");
    BusDevice& sensor = plug("terms/resetif.sdat");
    bus.addDevice(0x50, 8, 16).seed(0x00, 0x42);
    sensor.poke(0x10, 1);
    EXPECT_EQ(_checkSensorMatch(camera.get(), 0), 1);
    EXPECT_EQ(bus.resetPulses(), 1);
    EXPECT_EQ(sensor.peek(0x10), 0u);

    EXPECT_EQ(_checkSensorMatch(camera.get(), 0), 1);
    EXPECT_EQ(bus.resetPulses(), 1) << "a sensor at rest is not reset";
}

TEST_F(IdentTerms, RefusedSensorIsResetOnceMoreAfterTheTerms) {
    parse("terms/resetif.sdat");
    plug("terms/resetif.sdat").poke(0x10, 1);  // no companion device at 0x50
    EXPECT_EQ(_checkSensorMatch(camera.get(), 0), 0);
    EXPECT_EQ(bus.resetPulses(), 2);
}

TEST_F(IdentTerms, OtherDevicesOnTheBus) {
    parse("terms/alternate.sdat");
    plug("terms/alternate.sdat");
    ci_setMode(camera.get(), CI_NACK_RETRIES, 0);
    _probe_term_t* term = &camera.ctx()->probe_term[0];
    term->num_serial_match = 1;
    _extraSerialMatch* e = &term->extra_serial_match[0];
    *e = _extraSerialMatch{0x60, 0x0102, 16, 8, 0xF0, 2, {0x3, 0x5}};

    EXPECT_EQ(_checkExtraSerialMatch(camera.get(), 0), 0) << "a device is required and none answers";
    EXPECT_EQ(_unusedBase(camera.get(), 0x60), 1);
    _resetBaseMap(camera.get());

    bus.addDevice(0x60, 16, 8).seed(0x0102, 0x5A);
    bus.clearLog();
    EXPECT_EQ(_checkExtraSerialMatch(camera.get(), 0), 1) << "field 5 under 0xF0";
    ASSERT_EQ(bus.log().size(), 1u);
    EXPECT_EQ(bus.log()[0].addrBits, 16u);
    EXPECT_EQ(bus.log()[0].dataBits, 8u);
    EXPECT_EQ(mode(CI_REG_ADDR_SIZE), 16u) << "the sizes are left as the entry set them";
    EXPECT_EQ(mode(CI_REG_DATA_SIZE), 8u);

    bus.device(0x60)->poke(0x0102, 0x4A);
    EXPECT_EQ(_checkExtraSerialMatch(camera.get(), 0), 0);

    bus.failAt(0x60, CI_I2C_BIT_ERROR);
    bus.device(0x60)->poke(0x0102, 0x5A);
    EXPECT_EQ(_checkExtraSerialMatch(camera.get(), 0), 0) << "a bus error is no answer either way";
    EXPECT_EQ(_unusedBase(camera.get(), 0x60), 0);
}

TEST_F(IdentTerms, DataSizeZeroDemandsThatNothingAnswers) {
    parse("terms/alternate.sdat");
    plug("terms/alternate.sdat");
    _probe_term_t* term = &camera.ctx()->probe_term[0];
    term->num_serial_match = 1;
    term->extra_serial_match[0] = _extraSerialMatch{0x90, 0x00, 8, 0, 0xFF, 1, {0}};

    bus.addDevice(0x90, 8, 16);
    EXPECT_EQ(_checkExtraSerialMatch(camera.get(), 0), 0);
    ASSERT_FALSE(bus.log().empty());
    EXPECT_EQ(bus.log().back().dataBits, 16u) << "data size 0 reads 16 bits";

    bus.removeDevice(0x90);
    EXPECT_EQ(_checkExtraSerialMatch(camera.get(), 0), 1);
    const int probes = bus.transactionsAt(0x90);
    EXPECT_EQ(_checkExtraSerialMatch(camera.get(), 0), 1);
    EXPECT_EQ(bus.transactionsAt(0x90), probes) << "the silent base is not asked again";
}

TEST_F(IdentTerms, CompanionBoardRefusesTheSensorAndIsArmed) {
    parse("terms/companion.sdat");
    BusDevice& sensor = plug("terms/companion.sdat");
    EXPECT_EQ(_checkSensorMatch(camera.get(), 0), 1) << "no companion board";

    BusDevice& board = bus.addDevice(0xE0, 8, 16).seed(0x00, 0x8212).seed(0x10, 0x0000);
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
}

TEST_F(IdentTerms, CompanionBoardOnlyConcernsItsSensorKind) {
    parse("terms/alternate.sdat");
    plug("terms/alternate.sdat");
    bus.addDevice(0xE0, 8, 16).seed(0x00, 0x8212);
    EXPECT_EQ(_checkSensorMatch(camera.get(), 0), 1);
    EXPECT_EQ(bus.transactionsAt(0xE0), 0);
}

TEST_F(IdentTerms, DetectSensorBaseAddrFollowsTheSensorToAnotherBase) {
    parse("terms/alternate.sdat");
    plug("terms/alternate.sdat");
    ASSERT_EQ(_checkSensorMatch(camera.get(), 1), 1);
    ASSERT_EQ(camera->sensor->shipAddr, 0x30u);
    ci_setMode(camera.get(), CI_USE_REG_CACHE, 1);

    EXPECT_EQ(ci_DetectSensorBaseAddr(camera.get()), 0);
    EXPECT_EQ(camera->sensor->shipAddr, 0x30u);

    bus.removeDevice(0x30);
    plug("terms/alternate.sdat", 0x32);
    EXPECT_EQ(ci_DetectSensorBaseAddr(camera.get()), 0);
    EXPECT_EQ(camera->sensor->shipAddr, 0x32u);
    EXPECT_EQ(mode(CI_USE_REG_CACHE), 1u) << "the cache setting is restored";

    bus.removeDevice(0x32);
    plug("terms/alternate.sdat", 0x30);
    EXPECT_EQ(ci_DetectSensorBaseAddr(camera.get()), 0);
    EXPECT_EQ(camera->sensor->shipAddr, 0x30u);

    bus.removeDevice(0x30);
    EXPECT_EQ(ci_DetectSensorBaseAddr(camera.get()), 1);
    EXPECT_EQ(camera->sensor->shipAddr, 0x30u) << "the base it had before, not the last one tried";
    EXPECT_EQ(mode(CI_USE_REG_CACHE), 1u);
}

TEST_F(IdentTerms, DetectSensorBaseAddrNeedsAChipVersionRegister) {
    EXPECT_EQ(ci_DetectSensorBaseAddr(camera.get()), 1) << "no sensor";
    parse("terms/alternate.sdat");
    snprintf(camera->sensor->regs[0].unique_desc, sizeof(ci_string), "VERSION");
    EXPECT_EQ(ci_DetectSensorBaseAddr(camera.get()), 1);
}

class PartNumbers : public IdentTest {
protected:
    void SetUp() override {
        parse("terms/parts.sdat");
        sensor = &plug("terms/parts.sdat");
        board = &bus.addDevice(0xA0, 16, 8);
        ci_setMode(camera.get(), CI_REG_ADDR_SIZE, 16);
        ci_setMode(camera.get(), CI_REG_DATA_SIZE, 16);
    }
    std::string detect() {
        EXPECT_EQ(ci_DetectPartNumber(camera.get()), 0);
        EXPECT_EQ(mode(CI_REG_ADDR_SIZE), 16u);
        EXPECT_EQ(mode(CI_REG_DATA_SIZE), 16u);
        return camera->sensor->partNumber;
    }
    BusDevice* sensor = nullptr;
    BusDevice* board = nullptr;
};

TEST_F(PartNumbers, SensorRegisterPicksTheVariant) {
    ASSERT_STREQ(camera->sensor->partNumber, "CKT-100C") << "the parser keeps the first";
    sensor->poke(0x05, 0x35);
    EXPECT_EQ(detect(), "CKT-100B");
}

TEST_F(PartNumbers, DeviceOnTheBusPicksTheVariantWithItsOwnSizes) {
    board->seed(0x10, 0x77);
    sensor->poke(0x05, 0x20);
    bus.clearLog();
    EXPECT_EQ(detect(), "CKT-100C");
    EXPECT_EQ(readsOf(0x46, 0x05), 0) << "the walk stops at the first match";
    ASSERT_GE(bus.transactionsAt(0xA0), 1);
    EXPECT_EQ(bus.log()[0].addrBits, 16u);
    EXPECT_EQ(bus.log()[0].dataBits, 8u);
}

TEST_F(PartNumbers, DefaultEntryWhenNothingMatches) {
    board->seed(0x10, 0x76);
    EXPECT_EQ(detect(), "CKT-100");
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
