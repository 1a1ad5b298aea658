// Indirect registers, far-bus registers and the transport's system-register
// and command hooks, observed through the calls the transport receives.
#include <gtest/gtest.h>

#include <vector>

#include "recording_transport.h"
#include "sensor_builder.h"

namespace {

// ---------------------------------------------------------------- indirect

std::vector<std::pair<ci_u32, ci_u32>> writes(const RecordingTransport& bus) {
    std::vector<std::pair<ci_u32, ci_u32>> out;
    for (const BusOp& op : bus.ops()) {
        if (!op.isRead() && !op.selector) out.emplace_back(op.addr, op.values.at(0));
    }
    return out;
}

TEST(Indirect, AddressThenDataWithTheFallbackNames) {
    struct Case {
        const char *addr, *write, *read;
        ci_u32 addrReg, writeReg, readReg;
    };
    const Case cases[] = {{"INDIRECT_ADDR", "INDIRECT_DATA", "INDIRECT_DATA", 0x40, 0x42, 0x42},
                          {"INDIRECT_ADDRESS", "INDIRECT_WRITE", "INDIRECT_READ", 0x50, 0x52, 0x54}};
    for (const Case& k : cases) {
        SensorBuilder b;
        b.widths(8, 16).reg(k.addr, k.addrReg).reg(k.write, k.writeReg);
        if (k.readReg != k.writeReg) b.reg(k.read, k.readReg);
        TestCamera cam(b);
        RecordingTransport bus(cam);
        ASSERT_EQ(ci_WriteInd(cam, 0x17, 0xBEEF), 0) << k.addr;
        EXPECT_EQ(writes(bus), (std::vector<std::pair<ci_u32, ci_u32>>{{k.addrReg, 0x17}, {k.writeReg, 0xBEEF}}));
        bus.clear();
        bus.set(k.readReg, 0x1234);
        ci_u32 v = 0;
        ASSERT_EQ(ci_ReadInd(cam, 0x21, &v), 0);
        EXPECT_EQ(v, 0x1234u);
        ASSERT_EQ(bus.calls(), 2u);
        EXPECT_EQ(bus.ops()[0].addr, k.addrReg);
        EXPECT_EQ(bus.ops()[0].values[0], 0x21u);
        EXPECT_TRUE(bus.ops()[1].isRead());
        EXPECT_EQ(bus.ops()[1].addr, k.readReg);
    }
}

TEST(Indirect, RunsAndMissingPortsAndFailures) {
    TestCamera cam(SensorBuilder().widths(8, 16).reg("INDIRECT_ADDR", 0x40).reg("INDIRECT_DATA", 0x42));
    RecordingTransport bus(cam);
    bus.set(0x42, 7);
    ci_u32 vals[3] = {9, 9, 9};
    ASSERT_EQ(ci_ReadInds(cam, 4, 7, vals), 0);
    EXPECT_EQ((std::vector<ci_u32>(vals, vals + 3)), (std::vector<ci_u32>{7, 7, 7}));
    std::vector<ci_u32> addressed;
    for (const BusOp& op : bus.ops()) {
        if (!op.isRead()) addressed.push_back(op.values[0]);
    }
    EXPECT_EQ(addressed, (std::vector<ci_u32>{4, 5, 6}));

    bus.failAt(0x42, CI_I2C_NACK_ERROR, -1);
    ci_u32 v = 5;
    EXPECT_EQ(ci_ReadInd(cam, 1, &v), CI_I2C_NACK_ERROR);
    EXPECT_EQ(v, 0u);

    TestCamera bare(SensorBuilder().widths(8, 16).reg("INDIRECT_ADDR", 0x40));
    RecordingTransport none(bare);
    EXPECT_EQ(ci_WriteInd(bare, 1, 2), CI_CAMERA_ERROR);
    EXPECT_EQ(ci_ReadInd(bare, 1, &v), CI_CAMERA_ERROR);
    EXPECT_EQ(none.calls(), 0u);
}

// ---------------------------------------------------------------- far bus

struct FarCall {
    bool write;
    ci_addr_type type;
    ci_u32 base, addr, dataBits, count;
    std::vector<ci_u32> words;
};
std::vector<FarCall> g_far;
ci_error_code g_farAnswer = CI_CAMERA_SUCCESS;

ci_error_code farRead(ci_camera_t*, ci_addr_type type, ci_u32 space, ci_u32 addr, ci_u32 dataSize, ci_u32 n,
                      ci_u32* vals) {
    for (ci_u32 i = 0; i < n; ++i) vals[i] = 0x100u + 0x11u * i;  // more bits than the far data width
    g_far.push_back(FarCall{false, type, space, addr, dataSize, n, {}});
    return g_farAnswer;
}

ci_error_code farWrite(ci_camera_t*, ci_addr_type type, ci_u32 space, ci_u32 addr, ci_u32 dataSize, ci_u32 n,
                       ci_u32* vals) {
    g_far.push_back(FarCall{true, type, space, addr, dataSize, n, std::vector<ci_u32>(vals, vals + n)});
    return g_farAnswer;
}

struct Far : ::testing::Test {
    TestCamera cam{SensorBuilder()
                       .widths(16, 16)
                       .selectors(0, 0)
                       .space("CORE", 0)
                       .space("FAR", 0, CI_FAR1_REG_ADDR, 0x90, 16, 8)
                       .reg("CORE_REG", 0x3000)
                       .reg("FAR_WIDE", 0x0100, 0xFFFFFFFF).in("FAR").span(3)
                       .reg("FAR_BYTE", 0x0200, 0xFF).in("FAR")};
    void SetUp() override {
        g_far.clear();
        g_farAnswer = CI_CAMERA_SUCCESS;
        cam.context()->readSystemRegistersNolock = farRead;
        cam.context()->writeSystemRegistersNolock = farWrite;
        cam.context()->allow_far_access = 1;
    }
};

TEST_F(Far, RegistersTravelAsFarWordsMostSignificantFirst) {
    ci_u32 v = 0;
    ASSERT_EQ(ci_ReadSensorRegStr(cam, "FAR_WIDE", "", &v), 0);
    ASSERT_EQ(g_far.size(), 1u);
    const FarCall& r = g_far[0];
    EXPECT_FALSE(r.write);
    EXPECT_EQ(r.type, CI_FAR1_REG_ADDR);
    EXPECT_EQ(r.base, 0x90u);
    EXPECT_EQ(r.addr, 0x0100u);
    EXPECT_EQ(r.dataBits, 8u);
    EXPECT_EQ(r.count, 3u);
    EXPECT_EQ(v, 0x001122u);  // bits above the 8-bit words dropped, joined high word first
    ASSERT_EQ(ci_WriteSensorRegStr(cam, "FAR_WIDE", "", 0xABCDEF), 0);
    EXPECT_EQ(g_far[1].words, (std::vector<ci_u32>{0xAB, 0xCD, 0xEF}));
    ASSERT_EQ(ci_WriteFarReg(cam, CI_FAR1_REG_ADDR, 0x0200, 0x5A), 0);
    EXPECT_EQ(g_far[2].addr, 0x0200u);
    EXPECT_EQ(g_far[2].words, (std::vector<ci_u32>{0x5A}));
    ci_u32 run[2] = {};
    ASSERT_EQ(ci_ReadFarRegs(cam, CI_FAR1_REG_ADDR, 0x0300, 2, run), 0);
    EXPECT_EQ(g_far[3].addr, 0x0300u);
    EXPECT_EQ(g_far[4].addr, 0x0301u);
}

TEST_F(Far, AFarBaseThatDidNotAnswerIsNotAccessed) {
    cam.context()->allow_far_access = 0;
    ci_u32 v = 7;
    EXPECT_EQ(ci_ReadSensorRegStr(cam, "FAR_BYTE", "", &v), CI_I2C_NACK_ERROR);
    EXPECT_EQ(ci_WriteFarReg(cam, CI_FAR1_REG_ADDR, 0x0200, 1), CI_I2C_NACK_ERROR);
    EXPECT_TRUE(g_far.empty());
    EXPECT_EQ(ci_ReadFarReg(cam, CI_REG_ADDR, 0x0200, &v), CI_CAMERA_ERROR);  // not a far bus
}

TEST_F(Far, TransportErrorsComeBackAndAreNotCached) {
    cam.useCache(1);
    g_farAnswer = CI_I2C_TIMEOUT;
    ci_u32 v = 7;
    EXPECT_EQ(ci_ReadSensorRegStr(cam, "FAR_BYTE", "", &v), CI_I2C_TIMEOUT);
    EXPECT_EQ(v, 0u);
    EXPECT_EQ(cam.cached("FAR_BYTE"), -1);
    g_farAnswer = CI_CAMERA_SUCCESS;
    ASSERT_EQ(ci_ReadSensorRegStr(cam, "FAR_BYTE", "", &v), 0);
    EXPECT_EQ(cam.cached("FAR_BYTE"), 0x00);
    const size_t calls = g_far.size();
    ASSERT_EQ(ci_ReadSensorRegStr(cam, "FAR_BYTE", "", &v), 0);
    EXPECT_EQ(g_far.size(), calls);  // served by the cache
}

// The sensor's own bus master carries far transfers when the transport
// cannot: address and data bytes packed into its transmit registers, the
// start word, status polls, the reply from its receive registers.
struct FarMaster : ::testing::Test {
    TestCamera cam{SensorBuilder()
                       .widths(16, 16)
                       .selectors(0, 0)
                       .space("CORE", 0)
                       .space("FAR", 0, CI_FAR1_REG_ADDR, 0x90, 16, 8)
                       .reg("I2C_MASTER_CONTROL", 0x100)
                       .reg("I2C_MASTER_STATUS", 0x102)
                       .reg("TXBUFFER_TOTAL_BYTE_COUNT", 0x104)
                       .reg("TXBUFFER_DATA_REGISTER_0", 0x110)
                       .reg("RXBUFFER_DATA_REGISTER_1", 0x120)
                       .reg("FAR_WIDE", 0x0102, 0xFFFFFF).in("FAR").span(3)};
    RecordingTransport bus{cam};
    void SetUp() override { cam.context()->allow_far_access = 1; }
};

TEST_F(FarMaster, ReadAndWriteThroughTheMastersRegisters) {
    bus.set(0x120, 0xAABB);
    bus.set(0x122, 0xCC00);
    ci_u32 v = 0;
    ASSERT_EQ(ci_ReadSensorRegStr(cam, "FAR_WIDE", "", &v), 0);
    EXPECT_EQ(v, 0xAABBCCu);
    EXPECT_EQ(bus.get(0x110), 0x0102u);  // the far address, high byte first
    EXPECT_EQ(bus.get(0x104), 2u);
    EXPECT_EQ(bus.get(0x100), 0x9033u);  // base 0x90, three bytes back, read, start
    ASSERT_EQ(ci_WriteSensorRegStr(cam, "FAR_WIDE", "", 0x123456), 0);
    EXPECT_EQ(bus.get(0x110), 0x0102u);
    EXPECT_EQ(bus.get(0x112), 0x1234u);
    EXPECT_EQ(bus.get(0x114), 0x5600u);
    EXPECT_EQ(bus.get(0x104), 5u);
    EXPECT_EQ(bus.get(0x100), 0x9001u);
}

TEST_F(FarMaster, ANackOrAMasterThatStaysBusyFails) {
    ci_u32 v = 1;
    bus.set(0x102, 0x2);
    EXPECT_EQ(ci_ReadSensorRegStr(cam, "FAR_WIDE", "", &v), CI_I2C_NACK_ERROR);
    EXPECT_EQ(v, 0u);
    bus.set(0x102, 0x1);
    bus.clear();
    EXPECT_EQ(ci_WriteSensorRegStr(cam, "FAR_WIDE", "", 1), CI_I2C_TIMEOUT);
    size_t polls = 0;
    for (const BusOp& op : bus.ops()) polls += op.isRead() && op.addr == 0x102;
    EXPECT_EQ(polls, 50u);
}

// ------------------------------------------------- system registers, commands

ci_u32 g_lastCommand = 0;

ci_error_code command(ci_camera_t*, ci_u32 cmd, ci_u32 paramSize, const ci_u8* params, ci_u32* status,
                      ci_u32 resultSize, ci_u8* result, ci_u32* returned) {
    g_lastCommand = cmd;
    *status = 0x55;
    const ci_u32 n = paramSize < resultSize ? paramSize : resultSize;
    for (ci_u32 i = 0; i < n; ++i) result[i] = (ci_u8)(params[i] + 1);
    *returned = n;
    return CI_CAMERA_SUCCESS;
}

TEST(TransportHooks, SystemRegistersAndCommandsReachTheTransport) {
    TestCamera cam(SensorBuilder().widths(16, 16).reg("R", 0x10));
    ci_u32 vals[2] = {1, 2};
    // Without the hooks the transport does not support them.
    EXPECT_EQ(ci_readSystemRegisters(cam, CI_FAR2_REG_ADDR, 0x20, 0x10, 16, 2, vals), CI_CAMERA_NOT_SUPPORTED);
    ci_u32 status = 0, returned = 0;
    const ci_u8 params[3] = {1, 2, 3};
    ci_u8 result[2] = {};
    EXPECT_EQ(ci_sendCommand(cam, 9, 3, params, &status, 2, result, &returned), CI_CAMERA_NOT_SUPPORTED);

    g_far.clear();
    cam.context()->readSystemRegistersNolock = farRead;
    cam.context()->writeSystemRegistersNolock = farWrite;
    cam.context()->sendCommandNolock = command;
    ASSERT_EQ(ci_writeSystemRegisters(cam, CI_FAR2_REG_ADDR, 0x20, 0x10, 16, 2, vals), 0);
    ASSERT_EQ(ci_readSystemRegisters(cam, CI_FAR2_REG_ADDR, 0x20, 0x10, 16, 2, vals), 0);
    ASSERT_EQ(g_far.size(), 2u);
    EXPECT_EQ(g_far[0].words, (std::vector<ci_u32>{1, 2}));
    EXPECT_EQ(g_far[1].base, 0x20u);
    EXPECT_EQ(g_far[1].dataBits, 16u);
    EXPECT_EQ(vals[1], 0x111u);
    ASSERT_EQ(ci_sendCommand(cam, 9, 3, params, &status, 2, result, &returned), 0);
    EXPECT_EQ(g_lastCommand, 9u);
    EXPECT_EQ(status, 0x55u);
    EXPECT_EQ(returned, 2u);
    EXPECT_EQ(result[1], 3);
}

}  // namespace
