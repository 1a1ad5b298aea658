// PROM calibration: the record chain, the settings and scratchpad loaders,
// observed on a simulated two-wire bus with a serial PROM on it.
#include <gtest/gtest.h>

#include "bus_sim.h"
#include "log_capture.h"
#include "prom_image.h"
#include "sensor_builder.h"

namespace {

constexpr ci_u32 kProm = 0xA0;

SensorBuilder promSensor(ci_u32 dataBits = 16) {
    SensorBuilder b;
    b.widths(16, dataBits).shipAddr(0x20)
        .reg("CONTROL", 0x301A)
        .reg("GAIN", 0x305E)
        .reg("DMA_SRC", 0xF010, 0xFFFFFFFF).span(2)
        .reg("DMA_DST", 0xF014, 0xFFFFFFFF).span(2)
        .reg("DMA_SIZE", 0xF018)
        .reg("DMA_CTRL", 0xF01A)
        .reg("SCRATCH_BASE", 0xF02C);
    return b;
}

struct Prom : ::testing::Test {
    BusSim bus;
    TestCamera cam{promSensor()};
    BusDevice& sensor = bus.addDevice(0x20, 16, 16);
    BusDevice& prom = bus.addDevice(kProm, 16, 8);

    void SetUp() override { bus.attach(cam); }
    void flash(const PromImage& image) { image.loadInto(prom); }

    // Values written to a sensor register, in order.
    std::vector<ci_u32> writes(ci_u32 reg) const {
        std::vector<ci_u32> out;
        for (const BusTransaction& t : bus.log()) {
            if (t.write && t.base == 0x20 && t.reg == reg) out.push_back(t.value);
        }
        return out;
    }
    ci_u32 highestPromRead() const {
        ci_u32 top = 0;
        for (const BusTransaction& t : bus.log()) {
            if (t.base == kProm) top = std::max(top, t.reg);
        }
        return top;
    }
};

TEST_F(Prom, RecordsAreFoundByTypeAndLabelIgnoringCase) {
    PromImage p;
    p.settings(8, "FIRST", {PromImage::regEntries({{0x305E, 1}})})
        .settings(12, "LENS1", {PromImage::regEntries({{0x305E, 2}})})
        .record(7, "CUSTOMER", PromImage::Bytes(40, 0xEE))
        .settings(8, "LENS1", {PromImage::regEntries({{0x305E, 3}, {0x301A, 0x1234}})})
        .settings(12, "CCM", {PromImage::regEntries({{0x305E, 4}})});
    flash(p);
    EXPECT_EQ(ci_LoadPromLensCalibration(cam, kProm, "lens1"), CI_INI_SUCCESS);
    EXPECT_EQ(writes(0x305E), (std::vector<ci_u32>{3}));
    EXPECT_EQ(writes(0x301A), (std::vector<ci_u32>{0x1234}));
    EXPECT_EQ(ci_LoadPromLensCalibration(cam, kProm, nullptr), CI_INI_SUCCESS);
    EXPECT_EQ(ci_LoadPromColorCorrection(cam, kProm, "ccm"), CI_INI_SUCCESS);
    EXPECT_EQ(writes(0x305E), (std::vector<ci_u32>{3, 1, 4}));
    EXPECT_EQ(ci_LoadPromColorCorrection(cam, kProm, "NONE"), CI_INI_LOAD_ERROR);
}

TEST_F(Prom, AnImageWithoutTheMagicIsRejectedAfterItsFirstBytes) {
    PromImage p;
    p.settings(8, "LENS1", {PromImage::regEntries({{0x305E, 3}})});
    flash(p);
    prom.seed(0, 'X');
    LogCapture log;
    EXPECT_EQ(ci_LoadPromLensCalibration(cam, kProm, nullptr), CI_INI_LOAD_ERROR);
    EXPECT_LT(highestPromRead(), 5u);
    EXPECT_TRUE(writes(0x305E).empty());
    EXPECT_NE(log.text().find("No calibration data in the PROM"), std::string::npos);
    bus.removeDevice(kProm);
    EXPECT_EQ(ci_LoadPromLensCalibration(cam, kProm, nullptr), CI_I2C_NACK_ERROR);
}

TEST_F(Prom, TheChainEndsAtType255AndAfterAThousandRecords) {
    PromImage ended;
    ended.record(7, "A", {}).record(9, "B", PromImage::Bytes(3, 0)).withoutEnd();
    PromImage::Bytes image = ended.bytes();
    image.insert(image.end(), {0xFF, 0x00, 0x00});
    PromImage::Bytes tail = PromImage().settings(8, "LATE", {PromImage::regEntries({{0x305E, 9}})}).bytes();
    image.insert(image.end(), tail.begin() + 5, tail.end());  // a record after the end
    for (size_t i = 0; i < image.size(); ++i) prom.seed((ci_u32)i, image[i]);
    EXPECT_EQ(ci_LoadPromLensCalibration(cam, kProm, nullptr), CI_INI_LOAD_ERROR);
    EXPECT_TRUE(writes(0x305E).empty());

    // The search looks at 1000 headers; the record under the last header
    // read is then applied whatever it is (the end record applies nothing),
    // and an end record among the 1000 ends the search.
    struct Case {
        int fillers;
        ci_error_code rc;
        size_t writes;
    };
    for (const Case k : {Case{1000, CI_INI_SUCCESS, 1}, Case{999, CI_INI_SUCCESS, 0}, Case{998, CI_INI_LOAD_ERROR, 0}}) {
        PromImage many;
        for (int i = 0; i < k.fillers; ++i) many.record(7, "C", {});
        many.settings(8, "REACHED", {PromImage::regEntries({{0x305E, 5}})});
        flash(many);
        bus.clearLog();
        EXPECT_EQ(ci_LoadPromLensCalibration(cam, kProm, "OTHER"), k.rc) << k.fillers;
        EXPECT_EQ(writes(0x305E).size(), k.writes) << k.fillers;
    }
}

TEST_F(Prom, GeneralSettingsChangeOnlyTheMaskedBits) {
    sensor.seed(0x301A, 0xFF00);
    PromImage p;
    p.settings(12, "CCM", {PromImage::generalEntries({{CI_REG_ADDR, 0, 0x301A, 0, 0x00F0, 0x5},
                                                      {CI_REG_ADDR, 0, 0x305E, 0, 0, 0x77}})});
    flash(p);
    ASSERT_EQ(ci_LoadPromColorCorrection(cam, kProm, nullptr), CI_INI_SUCCESS);
    EXPECT_EQ(sensor.read(0x301A), 0xFF50u);
    EXPECT_EQ(sensor.read(0x305E), 0x77u);
}

TEST(PromEightBitData, ARegisterEntryIsWrittenAsTwoBytes) {
    BusSim bus;
    TestCamera cam{promSensor(8)};
    BusDevice& sensor = bus.addDevice(0x20, 16, 8);
    bus.attach(cam);
    PromImage p;
    p.settings(8, "L", {PromImage::regEntries({{0x301A, 0x1234}})});
    p.loadInto(bus.addDevice(kProm, 16, 8));
    ASSERT_EQ(ci_LoadPromLensCalibration(cam, kProm, nullptr), CI_INI_SUCCESS);
    EXPECT_EQ(sensor.read(0x301A), 0x12u);
    EXPECT_EQ(sensor.read(0x301B), 0x34u);
}

TEST_F(Prom, ScratchpadMovesThePayloadInChunksOf4096) {
    sensor.seed(0xF02C, 0xB000);
    sensor.onWrite(0xF01A, 0xFFFF, 0x2132, 0xF01A, 0x2130);  // the DMA finishes at once
    PromImage p;
    p.record(7, "PAD", PromImage::Bytes(5, 0)).scratchpad("PAD", 0xA100, PromImage::Bytes(10000, 0x5A));
    flash(p);
    EXPECT_EQ(ci_LoadPromScratchpad(cam, kProm, "PAD", 0xA101), CI_INI_LOAD_ERROR);
    EXPECT_TRUE(writes(0xF018).empty());
    ASSERT_EQ(ci_LoadPromScratchpad(cam, kProm, "PAD", 0xA100), CI_INI_SUCCESS);
    EXPECT_EQ(writes(0xF018), (std::vector<ci_u32>{4096, 4096, 1808}));
    // The payload starts 16 bytes into its record, after the first record
    // (5 + 3 + 9 + 5 bytes).
    const ci_u32 src = (kProm << 16) | 0x3000000u | (22 + 16);
    EXPECT_EQ(writes(0xF010), (std::vector<ci_u32>{src >> 16, (src + 4096) >> 16, (src + 8192) >> 16}));
    EXPECT_EQ(writes(0xF012), (std::vector<ci_u32>{src & 0xFFFF, (src + 4096) & 0xFFFF, (src + 8192) & 0xFFFF}));
    const ci_u32 dst = 0xB000 + 0xA100 - 0xA000;
    EXPECT_EQ(writes(0xF016), (std::vector<ci_u32>{dst, dst + 4096, dst + 8192}));
    EXPECT_EQ(writes(0xF01A), (std::vector<ci_u32>{0x2132, 0x2132, 0x2132}));
}

TEST_F(Prom, AScratchpadDmaThatStaysBusyTimesOutBeforeTheNextChunk) {
    PromImage p;
    p.scratchpad("PAD", 0xA000, PromImage::Bytes(5000, 1));
    flash(p);
    sensor.seed(0xF01A, 0x0001);
    LogCapture log;
    EXPECT_EQ(ci_LoadPromScratchpad(cam, kProm, nullptr, 0xA000), CI_CAMERA_TIMEOUT);
    EXPECT_EQ(writes(0xF018), (std::vector<ci_u32>{4096}));
    EXPECT_NE(log.text().find("did not finish"), std::string::npos);
}

TEST_F(Prom, PresetsLoadPromRecords) {
    ScratchDir dir;
    PromImage p;
    p.settings(8, "LENS2", {PromImage::regEntries({{0x305E, 6}})});
    flash(p);
    const std::string f = dir.write("p.ini", "[Cal]\nLOAD_PROM = 0xA0, LENS, LENS2\nLOAD_PROM = 0xA0, CCM\n");
    LogCapture log;
    ASSERT_EQ(ci_LoadINIPreset(cam, f.c_str(), "Cal"), CI_INI_SUCCESS);
    EXPECT_EQ(writes(0x305E), (std::vector<ci_u32>{6}));
    EXPECT_NE(log.text().find("PROM record not found"), std::string::npos);
}

// Sensors that carry the PROM on their far bus: the PROM is read as far
// registers of two bytes, which reach the transport as far-bus system
// register reads of two 8-bit words at the PROM's bus address.
PromImage::Bytes g_farProm;
std::vector<std::pair<ci_u32, ci_u32>> g_farReads;  // address, words

ci_error_code farPromRead(ci_camera_t*, ci_addr_type type, ci_u32 space, ci_u32 addr, ci_u32 dataSize, ci_u32 n,
                          ci_u32* vals) {
    if (type != CI_FAR1_REG_ADDR || space != kProm || dataSize != 8) return CI_I2C_NACK_ERROR;
    g_farReads.emplace_back(addr, n);
    for (ci_u32 i = 0; i < n; ++i) vals[i] = addr + i < g_farProm.size() ? g_farProm[addr + i] : 0xFF;
    return CI_CAMERA_SUCCESS;
}

TEST(PromFarBus, IsReadTwoBytesAtATimeAsFarRegisters) {
    BusSim bus;
    TestCamera cam{promSensor().model(71)};
    bus.addDevice(0x20, 16, 16);
    bus.attach(cam);
    cam.context()->readSystemRegistersNolock = farPromRead;
    PromImage p;
    p.settings(8, "ODD", {PromImage::regEntries({{0x305E, 0x0042}})});  // a record of odd length
    g_farProm = p.bytes();
    ASSERT_EQ(ci_LoadPromLensCalibration(cam, kProm, "odd"), CI_INI_SUCCESS);
    EXPECT_EQ(bus.device(0x20)->read(0x305E), 0x42u);
    ASSERT_FALSE(g_farReads.empty());
    EXPECT_EQ(g_farReads[0], (std::pair<ci_u32, ci_u32>{0, 2}));  // the magic, two bytes at a time
    EXPECT_EQ(g_farReads[2], (std::pair<ci_u32, ci_u32>{4, 1}));  // its fifth byte alone
    EXPECT_EQ(bus.transactionsAt(kProm), 0);                       // nothing on the camera's own bus
}

}  // namespace
