// The board-side mode switches of a simulated board: receiver and stereo
// settings, HDMI output and the frame memory's operation, captures and their
// ring listing, the companion processor's writes, what the board measures,
// and the sensor's shutdown line.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "log_capture.h"
#include "scratch_dir.h"
#include "sensor_builder.h"
#include "usb_board_fixture.h"

namespace {

constexpr ci_u32 kHdmiRx = 0x68;  // 8-bit addresses, 16-bit data
constexpr ci_u32 kStereo = 0x6A;
constexpr ci_u32 kMipiRx = 0x6C;
constexpr ci_u32 kCompanion = 0x78;

class UsbBoardModes : public UsbBoardTest {
protected:
    using UsbBoardTest::addBoard;
    // A board of the product with firmware 50.
    UsbBoard& addBoard(ci_u16 product) { return addBoard(UsbBoardConfig::product(product, 50)); }
    ci_camera_t* open(const std::string& sensorFile = page8()) { return openBoard(sensorFile); }
    // The older HDMI board (receiver id 0xC0, not 206) on product 0x100D,
    // opened with 64x32 frames that the board sends; its receiver, or null
    // when the board does not open.  frame holds one frame.
    BusDevice* openOlderHdmiBoard() {
        addBoard(0x100D);
        BusDevice& rx = board->addDevice(kHdmiRx, 8, 16);
        rx.seed(0x00, 0x00C0);
        if (open() == nullptr) return nullptr;
        EXPECT_EQ(ci_updateFrameSize(camera, 64, 32, 8, 2), CI_CAMERA_SUCCESS);
        board->setFrameSize(_ctx(camera)->raw_buf_size);
        frame.resize(camera->sensor->bufferSize);
        return &rx;
    }
    // A sensor directory of its own whose board file names the given chip
    // files of the sample board data.
    std::string boardFiles(ci_u16 product, const std::vector<std::string>& chips) {
        std::string cfg;
        for (const std::string& chip : chips) cfg += "CHIP_FILE = " + dataFile("board_data/" + chip) + "\n";
        char name[32];
        snprintf(name, sizeof name, "CI_%X.cfg", product);
        dir.write(name, cfg);
        return dir.write("ck_page8.sdat", scratch_read_file(page8()));
    }
    ci_u32 get(ci_modes mode) {
        ci_u32 v = 0xDEADBEEF;
        EXPECT_EQ(ci_getMode(camera, mode, &v), CI_CAMERA_SUCCESS) << mode;
        return v;
    }
    std::vector<BusTransaction> writesTo(ci_u32 base, ci_u32 reg) {
        std::vector<BusTransaction> found;
        for (const BusTransaction& t : board->bus().log()) {
            if (t.base == base && t.reg == reg && t.write) found.push_back(t);
        }
        return found;
    }

    ScratchDir dir;
    std::vector<ci_u8> frame;
};

// Each receiver setting lands in its own field, so crossed wiring shows.
TEST_F(UsbBoardModes, TheReceiverTakesEachSettingInItsOwnField) {
    addBoard(0x1007);
    BusDevice& rx = board->addDevice(kMipiRx, 8, 16);
    rx.seed(0x00, 0x0002);
    ASSERT_NE(open(boardFiles(0x1007, {"ck_main_fpga.cdat", "ck_rx_mipi2.cdat"})), nullptr);
    ASSERT_EQ(_usb_context(camera)->rxBoard, 2u);
    struct Row {
        ci_modes mode;
        ci_u32 value;
        ci_u32 reg, mask, expected;
    };
    const Row rows[] = {
        {CI_RX_TYPE, CI_RX_MIPI, 0x10, 0x0007, 0x0003},   {CI_RX_MODE, 2, 0x10, 0x0030, 0x0020},
        {CI_RX_CLASS, 2, 0x10, 0x00C0, 0x0080},           {CI_RX_EMBEDDED_DATA, 0, 0x10, 0x0100, 0x0000},
        {CI_RX_MSB_FIRST, 1, 0x10, 0x0200, 0x0200},       {CI_RX_INTERLACED, 1, 0x10, 0x0400, 0x0400},
        {CI_RX_VIRTUAL_CHANNEL, 3, 0x10, 0x3000, 0x3000}, {CI_RX_LANES, 2, 0x11, 0xFFFF, 2},
        {CI_RX_BIT_DEPTH, 12, 0x12, 0xFFFF, 12},          {CI_RX_SYNC_CODE, 0xABCD, 0x13, 0xFFFF, 0xABCD},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.mode);
        ASSERT_EQ(ci_setMode(camera, row.mode, row.value), CI_CAMERA_SUCCESS);
        EXPECT_EQ(rx.read(row.reg) & row.mask, row.expected);
        EXPECT_EQ(get(row.mode), row.value);
    }
    EXPECT_EQ(rx.read(0x10), 0x36A3u) << "every field kept while the others were set";
    // Embedded-sync data is a base-board feature only.
    EXPECT_EQ(ci_setMode(camera, CI_RX_CCIR656, 1), CI_CAMERA_NOT_SUPPORTED);
    // The receiver follows the frame size.
    ASSERT_EQ(ci_updateFrameSize(camera, 640, 480, 0, 0), CI_CAMERA_SUCCESS);
    EXPECT_EQ(rx.read(0x14), 640u);
    EXPECT_EQ(rx.read(0x15), 480u);
    // What the receiver measures.
    rx.seed(0x1A, 27000).seed(0x18, 480).seed(0x19, 752);
    EXPECT_EQ(get(CI_PIXCLK_FREQ), 27000000u);
    EXPECT_EQ(get(CI_DETECT_FRAME_SIZE), (480u << 16) | 752u);
    EXPECT_EQ(get(CI_SIMUL_REG_FRAMEGRAB), 0u) << "no frame memory on this board";
}

TEST_F(UsbBoardModes, BoardsWithoutMeasuringRegistersSaySo) {
    addBoard(0x100D);
    ASSERT_NE(open(), nullptr);
    ci_u32 v = 0;
    EXPECT_EQ(ci_getMode(camera, CI_PIXCLK_FREQ, &v), CI_CAMERA_NOT_SUPPORTED);
    EXPECT_EQ(ci_getMode(camera, CI_DETECT_FRAME_SIZE, &v), CI_CAMERA_NOT_SUPPORTED);
    EXPECT_EQ(get(CI_SIMUL_REG_FRAMEGRAB), 1u) << "frames wait in the board's memory";
}

// The newest board's base FPGA takes the input type at every start and
// when it is set; it also takes the embedded-sync setting.
TEST_F(UsbBoardModes, TheNewestBoardTakesItsInputTypeAtStart) {
    addBoard(0x100E);
    ASSERT_NE(open(), nullptr);
    ASSERT_EQ(_usb_context(camera)->rxBoard, 9u);
    EXPECT_EQ(fpga->read(0x28) & 7, (ci_u32)CI_RX_PARALLEL);
    fpga->write(0x28, 0);
    ASSERT_EQ(camera->stopTransport(camera), CI_CAMERA_SUCCESS);
    ASSERT_EQ(camera->startTransport(camera), CI_CAMERA_SUCCESS);
    EXPECT_EQ(fpga->read(0x28) & 7, (ci_u32)CI_RX_PARALLEL);
    EXPECT_EQ(_thread_local_context(camera)->reg_data_size, (ci_s32)camera->sensor->reg_data_size)
        << "the caller's sizes survive the start";
    ASSERT_EQ(ci_setMode(camera, CI_RX_TYPE, CI_RX_MIPI), CI_CAMERA_SUCCESS);
    EXPECT_EQ(fpga->read(0x28) & 7, (ci_u32)CI_RX_MIPI);
    ASSERT_EQ(ci_setMode(camera, CI_RX_CCIR656, 1), CI_CAMERA_SUCCESS);
    EXPECT_EQ(fpga->read(0x28) & 0x800, 0x800u);
    EXPECT_EQ(get(CI_RX_CCIR656), 1u);
}

TEST_F(UsbBoardModes, TheStereoBoardTakesItsModeAndTheFrame) {
    addBoard(0x100D);
    board->addDevice(kHdmiRx, 8, 16);
    BusDevice& stereo = board->addDevice(kStereo, 8, 16);
    stereo.seed(0x00, 0x0101).seed(0x01, CI_STEREO_ROWWISE);
    ASSERT_NE(open(), nullptr);
    EXPECT_EQ(get(CI_STEREO_MODE), (ci_u32)CI_STEREO_ROWWISE) << "read from the board at open";
    ASSERT_EQ(ci_setMode(camera, CI_STEREO_MODE, CI_STEREO_RIGHT), CI_CAMERA_SUCCESS);
    EXPECT_EQ(stereo.read(0x01), (ci_u32)CI_STEREO_RIGHT);
    EXPECT_EQ(ci_setMode(camera, CI_STEREO_MODE, 4), CI_CAMERA_NOT_SUPPORTED);
    EXPECT_EQ(stereo.read(0x01), (ci_u32)CI_STEREO_RIGHT);
    EXPECT_EQ(get(CI_STEREO_MODE), (ci_u32)CI_STEREO_RIGHT);
    ASSERT_EQ(ci_updateFrameSize(camera, 320, 240, 10, 1), CI_CAMERA_SUCCESS);
    EXPECT_EQ(stereo.read(0x02), 320u);
    EXPECT_EQ(stereo.read(0x03), 240u);
    EXPECT_EQ(stereo.read(0x04), 10u);
}

// HDMI modes program the output timing; the memory passes live frames
// while the output is on, and a capture request arms the older board's
// single capture.
TEST_F(UsbBoardModes, HdmiModesProgramTheTimingAndTheMemory) {
    addBoard(0x100D);
    BusDevice& rx = board->addDevice(kHdmiRx, 8, 16);
    rx.seed(0x00, 0x00C0);  // not 206: stays the older HDMI board
    ASSERT_NE(open(), nullptr);
    USB_Bulk_Context* usb = _usb_context(camera);
    ASSERT_EQ(usb->rxBoard, 4u);
    ASSERT_EQ(ci_updateFrameSize(camera, 640, 480, 8, 2), CI_CAMERA_SUCCESS);
    struct Row {
        ci_u32 mode;
        ci_u32 control2;  // HdmiEnable | VideoClkSel
        ci_u32 lines, pixels;
        ci_u32 memoryCode;
    };
    for (Row row :
         {Row{1, 0x6, 1080, 1920, 1}, Row{2, 0x4, 720, 1280, 1}, Row{3, 0x4, 480, 640, 1}, Row{0, 0x0, 480, 640, 0}}) {
        SCOPED_TRACE(row.mode);
        ASSERT_EQ(ci_setMode(camera, CI_HDMI_MODE, row.mode), CI_CAMERA_SUCCESS);
        EXPECT_EQ(rx.read(0x02) & 0x6, row.control2);
        EXPECT_EQ(rx.read(0x10), row.lines);
        EXPECT_EQ(rx.read(0x11), row.pixels);
        EXPECT_EQ(rx.read(0x03) & 0xF0, row.memoryCode << 4);
        EXPECT_EQ(get(CI_HDMI_MODE), row.mode);
    }
    EXPECT_EQ(ci_setMode(camera, CI_HDMI_MODE, 4), CI_CAMERA_NOT_SUPPORTED);
    // The sensor's own frame follows a frame-size change.
    ASSERT_EQ(ci_setMode(camera, CI_HDMI_MODE, 3), CI_CAMERA_SUCCESS);
    ASSERT_EQ(ci_updateFrameSize(camera, 800, 600, 0, 0), CI_CAMERA_SUCCESS);
    EXPECT_EQ(rx.read(0x10), 600u);
    EXPECT_EQ(rx.read(0x11), 800u);
    // A capture request arms the single capture; clearing it goes back to
    // live frames through the memory.
    ASSERT_EQ(ci_setMode(camera, CI_MEM_CAPTURE, 2), CI_CAMERA_SUCCESS);
    EXPECT_EQ(usb->memCaptureMode, 3u);
    EXPECT_EQ(rx.read(0x03) & 0xF0, 0x30u);
    EXPECT_EQ(rx.read(0x12), 2u);
    ASSERT_EQ(ci_setMode(camera, CI_MEM_CAPTURE, 0), CI_CAMERA_SUCCESS);
    EXPECT_EQ(usb->memCaptureMode, 1u);
    EXPECT_EQ(rx.read(0x03) & 0xF0, 0x10u);
    EXPECT_EQ(rx.read(0x12), 0u);
}

// Live frames through the memory: a short frame sets the memory up afresh,
// a lost one switches the memory back to plain live frames.
TEST_F(UsbBoardModes, LostLiveFramesResetTheMemory) {
    BusDevice* older = openOlderHdmiBoard();
    ASSERT_NE(older, nullptr);
    BusDevice& rx = *older;
    USB_Bulk_Context* usb = _usb_context(camera);
    std::vector<ci_u8>& buffer = frame;
    ASSERT_EQ(ci_setMode(camera, CI_HDMI_MODE, 1), CI_CAMERA_SUCCESS);
    ASSERT_EQ(usb->memCaptureMode, 1u);

    ASSERT_EQ(ci_grabFrame(camera, buffer.data(), (ci_u32)buffer.size()), CI_CAMERA_SUCCESS);
    rx.write(0x03, 0);
    board->faultNextFrame(FrameFault::ShortWithoutMarker, 1000);
    EXPECT_EQ(ci_grabFrame(camera, buffer.data(), (ci_u32)buffer.size()), CI_NOT_ENOUGH_DATA_ERROR);
    EXPECT_EQ(rx.read(0x03) & 0xF0, 0x10u);
    EXPECT_EQ(usb->memCaptureMode, 1u);

    board->faultNextFrame(FrameFault::Stall);
    EXPECT_EQ(ci_grabFrame(camera, buffer.data(), (ci_u32)buffer.size()), CI_GRAB_FRAME_ERROR);
    EXPECT_EQ(usb->memCaptureMode, 0u);
    EXPECT_EQ(rx.read(0x03) & 0xF0, 0x00u);
}

TEST_F(UsbBoardModes, HdmiModesNeedAnHdmiBoard) {
    addBoard(0x1007);
    ASSERT_NE(open(), nullptr);
    EXPECT_EQ(ci_setMode(camera, CI_HDMI_MODE, 1), CI_CAMERA_NOT_SUPPORTED);
}

// The older HDMI board's single capture: once its done flag is up, the
// frames are read out (operation code 2, then the start bit); a capture
// that never completes is given up and the frame is read live.
TEST_F(UsbBoardModes, TheSingleCaptureWaitsForItsDoneFlag) {
    BusDevice* older = openOlderHdmiBoard();
    ASSERT_NE(older, nullptr);
    BusDevice& rx = *older;
    USB_Bulk_Context* usb = _usb_context(camera);
    std::vector<ci_u8>& buffer = frame;
    ASSERT_EQ(ci_setMode(camera, CI_MEM_CAPTURE, 1), CI_CAMERA_SUCCESS);
    ASSERT_EQ(usb->memCaptureMode, 3u);

    rx.seed(0x03, rx.read(0x03) | 0x4000);
    board->bus().clearLog();
    EXPECT_EQ(ci_grabFrame(camera, buffer.data(), (ci_u32)buffer.size()), CI_CAMERA_SUCCESS);
    const std::vector<BusTransaction> writes = writesTo(kHdmiRx, 0x03);
    ASSERT_GE(writes.size(), 2u);
    const ci_u32 readOut = writes[writes.size() - 2].value;
    EXPECT_EQ(readOut & 0xF4, 0x20u) << "read-out code first";
    EXPECT_EQ(writes.back().value, readOut | 0x4);
    EXPECT_EQ(readOut & 0x4000, 0x4000u) << "the rest of the register is kept";
    EXPECT_EQ(usb->memCaptureMode, 3u);

    rx.seed(0x03, 0x0030);
    const ci_u32 requestsBefore = (ci_u32)board->bulkRequests().size();
    EXPECT_EQ(ci_grabFrame(camera, buffer.data(), (ci_u32)buffer.size()), CI_CAMERA_SUCCESS);
    EXPECT_EQ(usb->memCaptureMode, 0u);
    EXPECT_EQ(rx.read(0x03) & 0xF4, 0x00u) << "memory back to live frames";
    EXPECT_GT(board->bulkRequests().size(), requestsBefore) << "the frame is still read";
}

// The newest board lists its ring of captured frames in the debug log,
// each frame's diagnostics selected before they are read.
TEST_F(UsbBoardModes, TheRingOfCapturedFramesIsListedWithDebugLogging) {
    addBoard(0x100E);
    ASSERT_NE(open(), nullptr);
    USB_Bulk_Context* usb = _usb_context(camera);
    ASSERT_EQ(ci_updateFrameSize(camera, 64, 32, 8, 2), CI_CAMERA_SUCCESS);
    board->setFrameSize(_ctx(camera)->raw_buf_size);
    std::vector<ci_u8> buffer(camera->sensor->bufferSize);
    ASSERT_EQ(ci_setMode(camera, CI_MEM_CAPTURE, 2), CI_CAMERA_SUCCESS);
    ASSERT_EQ(usb->memCaptureMode, 4u);
    EXPECT_EQ(fpga->read(0x18) & 0xF0, 0x40u);
    EXPECT_EQ(fpga->read(0x78), 2u);
    fpga->seed(0x80, 2).seed(0x88, 7).seed(0x90, 0x104).seed(0x94, 3);
    fpga->onWrite(0x8C, 0xFFFF, 7, 0x98, 0x5678).onWrite(0x8C, 0xFFFF, 7, 0x9C, 0x1);
    fpga->onWrite(0x8C, 0xFFFF, 8, 0x98, 0x0010).onWrite(0x8C, 0xFFFF, 8, 0x9C, 0x0);
    {
        LogCapture log(CI_LOG_ALL);
        ASSERT_EQ(ci_grabFrame(camera, buffer.data(), (ci_u32)buffer.size()), CI_CAMERA_SUCCESS);
        const std::string text = log.text();
        const size_t ring = text.find("Ring buffers:");
        ASSERT_NE(ring, std::string::npos);
        const size_t header = text.find("   frame   eol   trigger   change   size", ring);
        const size_t first = text.find("       7     4         1        3   87672", header);
        const size_t second = text.find("       8     4         1        3   16", first);
        EXPECT_NE(header, std::string::npos);
        EXPECT_NE(first, std::string::npos);
        EXPECT_NE(second, std::string::npos);
    }
    // Without debug logging nothing is listed.
    board->bus().clearLog();
    ASSERT_EQ(ci_grabFrame(camera, buffer.data(), (ci_u32)buffer.size()), CI_CAMERA_SUCCESS);
    EXPECT_TRUE(writesTo(kFpga3, 0x8C).empty());
}

// The sensor data file's name says which companion processor sits in front
// of the sensor; each kind gets its own fixed writes before the sensor is
// looked for, and the register sizes go back to 8 and 16.
TEST_F(UsbBoardModes, CompanionProcessorsGetTheirFixedWrites) {
    struct Row {
        const char* file;
        std::vector<std::pair<ci_u32, ci_u32>> writes;
    };
    const Row rows[] = {
        {"board_ck_isp1.sdat", {{0xF03C, 0x00082000}, {0xE004, 0x00000378}}},
        {"Ck_Isp2_head.sdat", {{0xF03C, 0x00082000}, {0xE004, 0x00000378}}},
        {"ck_isp3.sdat", {{0xF038, 0x00260000}, {0xE054, 0x00000001}}},
        {"ck_page8.sdat", {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.file);
        UsbTestbed own;
        UsbBoard& b = own.addBoard(UsbBoardConfig::product(0x1007, 50));
        b.addSensor(page8(), kSensorBase, 8, 16);
        b.addDevice(kCompanion, 16, 32);
        const std::string sensor = dir.write(row.file, scratch_read_file(page8()));
        ci_camera_t* list[4] = {};
        ci_s32 count = 0;
        ASSERT_EQ(ci_OpenCameras2(list, &count, sensor.c_str(), CI_TRANSPORT_USB, ""), CI_CAMERA_SUCCESS);
        std::vector<std::pair<ci_u32, ci_u32>> seen;
        for (const BusTransaction& t : b.bus().log()) {
            if (t.base != kCompanion) continue;
            EXPECT_TRUE(t.write);
            EXPECT_EQ(t.addrBits, 16u);
            EXPECT_EQ(t.dataBits, 32u);
            seen.emplace_back(t.reg, t.value);
        }
        EXPECT_EQ(seen, row.writes);
        ASSERT_EQ(count, 1);
        EXPECT_NE(list[0]->sensor, nullptr) << "the sensor is found after the writes";
        ci_CloseCameras2(list, count);
    }
}

// The shutdown line is general pin 2 on both pin layouts.
TEST_F(UsbBoardModes, TheShutdownLineIsAGeneralPin) {
    struct Row {
        ci_u16 product;
        ci_u32 reg, enable, level;
    };
    for (Row row : {Row{0x100D, 0x0A, 0x0004, 0x0400}, Row{0x100E, 0x34, 0x0400, 0x0004}}) {
        SCOPED_TRACE(row.product);
        UsbTestbed own;
        UsbBoard& b = own.addBoard(UsbBoardConfig::product(row.product, 50));
        b.addSensor(page8(), kSensorBase, 8, 16);
        BusDevice& chip = row.product == 0x100E ? b.addDevice(kFpga3, 16, 32) : b.addDevice(kFpga, 16, 16);
        ci_camera_t* list[4] = {};
        ci_s32 count = 0;
        ASSERT_EQ(ci_OpenCameras2(list, &count, page8().c_str(), CI_TRANSPORT_USB, ""), CI_CAMERA_SUCCESS);
        ci_camera_t* cam = list[0];
        ASSERT_EQ(cam->startTransport(cam), CI_CAMERA_SUCCESS);
        ci_u32 v = 0;
        EXPECT_EQ(ci_setMode(cam, CI_SENSOR_SHUTDOWN, 1), CI_CAMERA_SUCCESS);
        EXPECT_EQ(chip.read(row.reg) & (row.enable | row.level), row.enable | row.level);
        EXPECT_EQ(ci_getMode(cam, CI_SENSOR_SHUTDOWN, &v), CI_CAMERA_SUCCESS);
        EXPECT_EQ(v, 1u);
        EXPECT_EQ(ci_setMode(cam, CI_SENSOR_SHUTDOWN, 0), CI_CAMERA_SUCCESS);
        EXPECT_EQ(chip.read(row.reg) & (row.enable | row.level), row.enable);
        EXPECT_EQ(ci_getMode(cam, CI_SENSOR_SHUTDOWN, &v), CI_CAMERA_SUCCESS);
        EXPECT_EQ(v, 0u);
        EXPECT_EQ(ci_setMode(cam, CI_SENSOR_SHUTDOWN, 0xFFFFFFFF), CI_CAMERA_SUCCESS);
        EXPECT_EQ(chip.read(row.reg) & row.enable, 0u);
        EXPECT_EQ(ci_getMode(cam, CI_SENSOR_SHUTDOWN, &v), CI_CAMERA_SUCCESS);
        EXPECT_EQ(v, 0xFFFFFFFFu);
        ci_CloseCameras2(list, count);
    }
}

}  // namespace
