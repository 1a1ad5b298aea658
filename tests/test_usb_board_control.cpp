// The board's own chips behind the two-wire bus of a simulated board, as
// described by the sample board and chip files: named register access at
// the chip's sizes, frame buffering in the board's memory, and the sensor's
// power, reset and pins.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "usb_board_fixture.h"

namespace {

// Opens a board of the product (default firmware) and starts it.
class UsbBoardControl : public UsbBoardTest {
protected:
    ci_camera_t* open(ci_u16 product) {
        UsbBoardConfig config;
        config.productId = product;
        addBoard(config);
        return openBoard();
    }
};

TEST_F(UsbBoardControl, ChipRegistersTravelAtTheChipsSizes) {
    ASSERT_NE(open(0x100E), nullptr);
    ASSERT_EQ(camera->num_chips, 1);
    EXPECT_STREQ(camera->chip[0].chipName, "CK_MAIN_FPGA3");
    EXPECT_EQ(_writeKiteRegister(camera, "SWLineLength", 0x12345678), CI_CAMERA_SUCCESS);
    EXPECT_EQ(fpga->read(0x40), 0x12345678u);
    // The calling thread keeps the chip's sizes.
    EXPECT_EQ(_thread_local_context(camera)->reg_addr_size, 16);
    EXPECT_EQ(_thread_local_context(camera)->reg_data_size, 32);
    fpga->seed(0x18, 0xFFFF0001);
    EXPECT_EQ(_writeKiteBitfield(camera, "ControlReg3", "sdrammode", 8), CI_CAMERA_SUCCESS);
    EXPECT_EQ(fpga->read(0x18), 0xFFFF0081u);
    ci_u32 v = 0;
    EXPECT_EQ(_readKiteBitfield(camera, "ControlReg3", "SDRAMMode", &v), CI_CAMERA_SUCCESS);
    EXPECT_EQ(v, 8u);
    // A register or bitfield the chip lacks reads as 0 and sends nothing.
    board->clearRequests();
    v = 7;
    EXPECT_EQ(_readKiteRegister(camera, "NO_SUCH_REG", &v), CI_CAMERA_SUCCESS);
    EXPECT_EQ(v, 0u);
    EXPECT_EQ(_writeKiteRegister(camera, "NO_SUCH_REG", 1), CI_CAMERA_SUCCESS);
    EXPECT_EQ(_writeKiteBitfield(camera, "ControlReg3", "NoSuchField", 1), CI_CAMERA_SUCCESS);
    EXPECT_TRUE(board->requests().empty());
    EXPECT_EQ(_merge(0xF0F0, 0, 5), 0xF0F0u);
    EXPECT_EQ(_merge(0xF0F0, 0x0F00, 0xA), 0xFAF0u);
}

TEST_F(UsbBoardControl, SixteenBitChipsTakeSixteenBitData) {
    ASSERT_NE(open(0x100D), nullptr);
    EXPECT_EQ(_writeKiteRegister(camera, "CLOCK_CONTROL", 0xABCD), CI_CAMERA_SUCCESS);
    EXPECT_EQ(fpga->read(0x0C), 0xABCDu);
    EXPECT_EQ(_thread_local_context(camera)->reg_data_size, 16);
}

// 64 MiB of board memory: three frames up to a third of it, two up to a
// half, one above; a requested count caps it.
TEST_F(UsbBoardControl, HardwareBufferCountsFollowTheMemoryBoundaries) {
    ASSERT_NE(open(0x100D), nullptr);
    ASSERT_EQ(_usb_context(camera)->kiteMB, 64u);
    const ci_u32 third = (64u << 20) / 3, half = 32u << 20;
    struct Row {
        const char* what;
        ci_u32 frameBytes;
        ci_u32 requested;
        ci_u32 count;
    };
    const Row rows[] = {
        {"a third", third - third % 2, 0, 3},
        {"just over a third", third + 2 - third % 2, 0, 2},
        {"a half", half, 0, 2},
        {"just over a half", half + 2, 0, 1},
        {"small, two requested", 4096, 2, 2},
        {"small, one requested", 4096, 1, 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        // Two bytes a pixel: 8 bits a clock, two clocks.
        ASSERT_EQ(ci_updateFrameSize(camera, 1, row.frameBytes / 2, 8, 2), CI_CAMERA_SUCCESS);
        ASSERT_EQ(_usb_board_frame_bytes(camera), row.frameBytes);
        fpga->write(0x04, 0x0003);
        const int resets = board->fifoResets();
        ASSERT_EQ(ci_setMode(camera, CI_HW_BUFFERING, row.requested), CI_CAMERA_SUCCESS);
        EXPECT_EQ(fpga->read(0x04), 0x0003u | row.count << 2);
        EXPECT_EQ(fpga->read(0x06) & 1, 0u) << "the FPGA is left running";
        EXPECT_EQ(board->fifoResets(), resets + 1);
    }
    // Ten-bit pixels count four thirds of a byte on these boards.
    ASSERT_EQ(ci_updateFrameSize(camera, 1200, 1000, 10, 1), CI_CAMERA_SUCCESS);
    EXPECT_EQ(_usb_board_frame_bytes(camera), 1600000u);
    EXPECT_EQ(_usb_buffer_count(third + 1, 64, 0), 2u);
    EXPECT_EQ(_usb_buffer_count(half + 1, 64, 0), 1u);
}

TEST_F(UsbBoardControl, SensorPowerResetAndPinsOfTheMidRangeBoard) {
    ASSERT_NE(open(0x100D), nullptr);
    ci_u32 v = 0;
    // Power is active low in bit 0 of SENSOR_POWER.
    EXPECT_EQ(ci_setMode(camera, CI_SENSOR_POWER, 0), CI_CAMERA_SUCCESS);
    EXPECT_EQ(fpga->read(0x08) & 1, 1u);
    EXPECT_EQ(ci_getMode(camera, CI_SENSOR_POWER, &v), CI_CAMERA_SUCCESS);
    EXPECT_EQ(v, 0u);
    EXPECT_EQ(ci_setMode(camera, CI_SENSOR_POWER, 1), CI_CAMERA_SUCCESS);
    EXPECT_EQ(fpga->read(0x08) & 1, 0u);
    // Reset is set in RESET_REG but read back from SENSOR_POWER.
    EXPECT_EQ(ci_setMode(camera, CI_SENSOR_RESET, 1), CI_CAMERA_SUCCESS);
    EXPECT_EQ(fpga->read(0x06), 2u);
    fpga->write(0x08, 0);
    EXPECT_EQ(ci_getMode(camera, CI_SENSOR_RESET, &v), CI_CAMERA_SUCCESS);
    EXPECT_EQ(v, 0u);
    fpga->write(0x08, 2);
    EXPECT_EQ(ci_getMode(camera, CI_SENSOR_RESET, &v), CI_CAMERA_SUCCESS);
    EXPECT_EQ(v, 1u);
    // Pins: enables in bits 0-7, levels in bits 8-15; the start drove pins
    // 3 and 4 low.
    EXPECT_EQ(fpga->read(0x0A), 0x0018u);
    EXPECT_EQ(_setSensorPin(camera, 3, 1), CI_CAMERA_SUCCESS);
    EXPECT_EQ(fpga->read(0x0A), 0x0818u);
    EXPECT_EQ(_setSensorPin(camera, 7, 0), CI_CAMERA_SUCCESS);
    EXPECT_EQ(fpga->read(0x0A), 0x0898u);
    board->clearRequests();
    EXPECT_EQ(_setSensorPin(camera, 7, 0), CI_CAMERA_SUCCESS);
    EXPECT_EQ(board->requestsOf(VR_REG_WRITE_X).size() + board->requestsOf(VR_I2C_WRITE_16).size(), 0u)
        << "an unchanged pin is not written";
    EXPECT_EQ(_setSensorPin(camera, 3, 0xFFFFFFFF), CI_CAMERA_SUCCESS);
    EXPECT_EQ(fpga->read(0x0A), 0x0890u);
    EXPECT_EQ(_getSensorPin(camera, 3, &v), CI_CAMERA_SUCCESS);
    EXPECT_EQ(v, 0xFFFFFFFFu);
    EXPECT_EQ(_setSensorPin(camera, 8, 1), CI_CAMERA_ERROR);
    EXPECT_EQ(_getSensorPin(camera, 8, &v), CI_CAMERA_NOT_SUPPORTED);
}

TEST_F(UsbBoardControl, TheNewestBoardsPinsAndPowerSitInItsControlRegisters) {
    ASSERT_NE(open(0x100E), nullptr);
    // Pins: levels in bits 0-5, enables in bits 8-13; the start drove pins
    // 3 and 4 low and released pin 5.
    EXPECT_EQ(fpga->read(0x34), 0x1800u);
    EXPECT_EQ(_setSensorPin(camera, 5, 1), CI_CAMERA_SUCCESS);
    EXPECT_EQ(fpga->read(0x34), 0x3820u);
    EXPECT_EQ(_setSensorPin(camera, 6, 1), CI_CAMERA_ERROR);
    EXPECT_EQ(ci_setMode(camera, CI_SENSOR_POWER, 0), CI_CAMERA_SUCCESS);
    EXPECT_EQ(fpga->read(0x24), 2u);
    EXPECT_EQ(ci_setMode(camera, CI_SENSOR_RESET, 1), CI_CAMERA_SUCCESS);
    EXPECT_EQ(fpga->read(0x24), 6u);
    // Frame buffering keeps at least two frames and sizes the memory lines.
    ASSERT_EQ(ci_updateFrameSize(camera, 1024, 512, 8, 2), CI_CAMERA_SUCCESS);
    ASSERT_EQ(ci_setMode(camera, CI_HW_BUFFERING, 1), CI_CAMERA_SUCCESS);
    EXPECT_EQ(fpga->read(0x18) & 0x101, 0x100u);
    EXPECT_EQ(fpga->read(0x40), 1048576u / 32768u);
    EXPECT_EQ(fpga->read(0x44), 1048576u / 32u);
}

// The pixel width the FPGA captures follows the bits per clock, written
// under FPGA reset; the board unswizzles unless only software can.
TEST_F(UsbBoardControl, PixelWidthAndUnswizzleAreProgrammedOnTheFormatRegister) {
    ASSERT_NE(open(0x100D), nullptr);
    struct Row {
        ci_s32 bits, clocks;
        ci_u32 code;
        bool boardUnswizzles;
    };
    for (Row row : {Row{8, 2, 0x30, false}, Row{10, 1, 0x120, true}, Row{12, 1, 0x10, true}, Row{14, 1, 0x50, true},
                    Row{16, 1, 0x90, true}, Row{8, 1, 0x30, true}}) {
        SCOPED_TRACE(row.bits);
        const int resets = board->fifoResets();
        ASSERT_EQ(ci_updateFrameSize(camera, 64, 32, row.bits, row.clocks), CI_CAMERA_SUCCESS);
        EXPECT_EQ(fpga->read(0x04) & 0x1F0, row.code);
        EXPECT_EQ((fpga->read(0x04) & 0x800) == 0, row.boardUnswizzles);
        EXPECT_EQ(fpga->read(0x06) & 1, 0u);
        EXPECT_GT(board->fifoResets(), resets);
    }
    EXPECT_EQ(ci_updateFrameSize(camera, 0, 0, 7, 0), CI_CAMERA_ERROR);
    EXPECT_EQ(ci_setMode(camera, CI_PIXEL_PACK, 1), CI_CAMERA_NOT_SUPPORTED);
}

TEST_F(UsbBoardControl, TheNewestBoardTakesItsParallelDepthAndAlignment) {
    ASSERT_NE(open(0x100E), nullptr);
    ASSERT_EQ(ci_updateFrameSize(camera, 64, 32, 12, 1), CI_CAMERA_SUCCESS);
    EXPECT_EQ(fpga->read(0x30) & 0xF, 2u);
    ASSERT_EQ(ci_setMode(camera, CI_LSB_ALIGNED, 1), CI_CAMERA_SUCCESS);
    EXPECT_EQ(fpga->read(0x30) & 0xF, 0xAu);
    // 8-bit data widened to 16 bits by the board.
    _usb_context(camera)->convert_8_to_16 = 1;
    ASSERT_EQ(ci_updateFrameSize(camera, 0, 0, 8, 1), CI_CAMERA_SUCCESS);
    EXPECT_EQ(fpga->read(0x30) & 0x7, 4u);
    // Packing is asked for, but this FPGA has no packing field.
    EXPECT_EQ(ci_setMode(camera, CI_PIXEL_PACK, 1), CI_CAMERA_SUCCESS);
    EXPECT_EQ(_usb_context(camera)->pixelPack, 0u);
}

// The board data names the receiver or base board; its version can
// promote the type, and the type sets the frame memory and HDMI state.
TEST_F(UsbBoardControl, AnHdmiReceiverOfVersion206IsPromoted) {
    {
        UsbBoardConfig config;
        config.productId = 0x100D;
        board = &bed.addBoard(config);
        board->addSensor(page8(), kSensorBase, 8, 16);
        board->addDevice(kFpga, 16, 16);
        BusDevice& rx = board->addDevice(0x68, 8, 16);
        rx.seed(0x00, 206).seed(0x02, 0x0004).seed(0x05, 0x8000).seed(0x08, 720);
        board->addDevice(0x6A, 8, 16).seed(0x00, 0x0102);
        ASSERT_EQ(ci_OpenCameras2(cameras, &n, page8().c_str(), CI_TRANSPORT_USB, ""), CI_CAMERA_SUCCESS);
        const USB_Bulk_Context* usb = _usb_context(cameras[0]);
        EXPECT_EQ(usb->rxBoard, 8u);
        EXPECT_EQ(usb->rxChip, 1u);
        EXPECT_EQ(usb->hdmiChip, 1u);
        EXPECT_EQ(usb->rxVersion, 206u);
        EXPECT_EQ(usb->stereoBoard, 1u);
        EXPECT_EQ(usb->stereoChip, 2u);
        EXPECT_EQ(usb->stereoVersion, 0x0102u);
        EXPECT_EQ(usb->pixelPack, 1u);
        EXPECT_EQ(usb->hdmiTxMode, 2u);
        ci_u32 v = 0;
        EXPECT_EQ(ci_getMode(cameras[0], CI_MEM_CAPTURE_MB, &v), CI_CAMERA_SUCCESS);
        EXPECT_EQ(v, 1024u);
        EXPECT_EQ(ci_getMode(cameras[0], CI_HDMI_MODE, &v), CI_CAMERA_SUCCESS);
        EXPECT_EQ(v, 2u) << "720 active lines";
        EXPECT_EQ(rx.read(0x03) & 1, 1u) << "triple buffering switched on";
        // The receiver measures the frames.
        ASSERT_EQ(cameras[0]->startTransport(cameras[0]), CI_CAMERA_SUCCESS);
        rx.seed(0x0C, 41).seed(0x0D, 0x5678).seed(0x0E, 0x12);
        EXPECT_EQ(ci_getMode(cameras[0], CI_HW_FRAME_COUNT, &v), CI_CAMERA_SUCCESS);
        EXPECT_EQ(v, 41u);
        EXPECT_EQ(ci_getMode(cameras[0], CI_HW_FRAME_TIME, &v), CI_CAMERA_SUCCESS);
        EXPECT_EQ(v, 0x125678u);
    }
}

TEST_F(UsbBoardControl, TheNewestBoardsMainFpgaIsItsBaseBoard) {
    ASSERT_NE(open(0x100E), nullptr);
    EXPECT_EQ(_usb_context(camera)->rxBoard, 9u);
    EXPECT_EQ(_usb_context(camera)->kiteMB, 128u);
    ci_u32 v = 0;
    EXPECT_EQ(ci_getMode(camera, CI_MEM_CAPTURE_MB, &v), CI_CAMERA_SUCCESS);
    EXPECT_EQ(v, 128u);
}

// Memory capture on a receiver with frame memory: how many frames fit,
// the cycle setting, and the wait before each frame read.
TEST_F(UsbBoardControl, MemoryCaptureWaitsForTheCapturedFrames) {
    UsbBoardConfig config;
    config.productId = 0x100D;
    board = &bed.addBoard(config);
    board->addSensor(page8(), kSensorBase, 8, 16);
    board->addDevice(kFpga, 16, 16);
    BusDevice& rx = board->addDevice(0x68, 8, 16);
    rx.seed(0x00, 206);
    ASSERT_EQ(ci_OpenCameras2(cameras, &n, page8().c_str(), CI_TRANSPORT_USB, ""), CI_CAMERA_SUCCESS);
    camera = cameras[0];
    ASSERT_EQ(camera->startTransport(camera), CI_CAMERA_SUCCESS);
    USB_Bulk_Context* usb = _usb_context(camera);
    ASSERT_EQ(usb->memCaptureMB, 1024u);
    ASSERT_EQ(ci_updateFrameSize(camera, 4096, 4096, 8, 2), CI_CAMERA_SUCCESS);
    const ci_u32 fits = (ci_u32)((1024ull << 20) / camera->sensor->bufferSize);
    EXPECT_EQ(ci_setMode(camera, CI_MEM_CAPTURE_CYCLE, 1), CI_CAMERA_ERROR) << "no capture mode yet";
    ASSERT_EQ(ci_setMode(camera, CI_MEM_CAPTURE, 100), CI_CAMERA_SUCCESS);
    ci_u32 v = 0;
    EXPECT_EQ(ci_getMode(camera, CI_MEM_CAPTURE, &v), CI_CAMERA_SUCCESS);
    EXPECT_EQ(v, fits - 1);
    EXPECT_EQ(usb->memCaptureMode, 4u) << "a request arms a capture";
    EXPECT_EQ(rx.read(0x12), fits - 1) << "frames to capture";
    EXPECT_EQ(rx.read(0x03) & 0xF0, 0x40u) << "memory in capture";
    ASSERT_EQ(ci_updateFrameSize(camera, 64, 32, 0, 0), CI_CAMERA_SUCCESS);
    board->setFrameSize(_ctx(camera)->raw_buf_size);
    std::vector<ci_u8> buffer(camera->sensor->bufferSize);
    EXPECT_EQ(ci_setMode(camera, CI_MEM_CAPTURE_CYCLE, 1), CI_CAMERA_SUCCESS);
    ASSERT_EQ(ci_setMode(camera, CI_MEM_CAPTURE, 2), CI_CAMERA_SUCCESS);
    // Three frames read out of the memory: the frame is read.
    rx.seed(0x0A, 3);
    EXPECT_EQ(ci_grabFrame(camera, buffer.data(), (ci_u32)buffer.size()), CI_CAMERA_SUCCESS);
    // A capture that stalls gives up, switches capture off and reads nothing.
    rx.seed(0x0A, 1);
    const size_t reads = board->bulkRequests().size();
    EXPECT_EQ(ci_grabFrame(camera, buffer.data(), (ci_u32)buffer.size()), CI_CAMERA_ERROR);
    EXPECT_EQ(usb->memCaptureMode, 0u);
    EXPECT_EQ(board->bulkRequests().size(), reads);
}

// The trigger generator and output port exist on the camera-link board only.
TEST_F(UsbBoardControl, TriggerWidthsAndBurstsOnTheCameraLinkBoard) {
    ASSERT_NE(open(0x100E), nullptr);
    EXPECT_EQ(ci_setMode(camera, CI_TRIGGER, 1), CI_CAMERA_NOT_SUPPORTED);
    _usb_context(camera)->rxBoard = 10;
    EXPECT_EQ(ci_setMode(camera, CI_TRIGGER_HIGH_WIDTH, 0x00051234), CI_CAMERA_SUCCESS);
    EXPECT_EQ(fpga->read(0x54), 0x1234u);
    EXPECT_EQ(fpga->read(0x58), 0x5u);
    EXPECT_EQ(ci_setMode(camera, CI_TRIGGER_LOW_WIDTH, 0x00070042), CI_CAMERA_SUCCESS);
    ci_u32 v = 0;
    EXPECT_EQ(ci_getMode(camera, CI_TRIGGER_LOW_WIDTH, &v), CI_CAMERA_SUCCESS);
    EXPECT_EQ(v, 0x00070042u);
    EXPECT_EQ(ci_setMode(camera, CI_TRIGGER, 1), CI_CAMERA_SUCCESS);
    EXPECT_EQ(fpga->read(0x50), 0x301u) << "burst of one, controls on, burst running";
    EXPECT_EQ(ci_setMode(camera, CI_TRIGGER, 2), CI_CAMERA_SUCCESS);
    EXPECT_EQ(fpga->read(0x50), 0x501u);
    EXPECT_EQ(ci_setMode(camera, CI_TRIGGER, 3), CI_CAMERA_NOT_SUPPORTED);
    EXPECT_EQ(ci_setMode(camera, CI_OUTPUT_PORT, 1), CI_CAMERA_SUCCESS);
    EXPECT_EQ(fpga->read(0x10) & 0x1000, 0x1000u);
    EXPECT_EQ(ci_setMode(camera, CI_OUTPUT_PORT, 2), CI_CAMERA_NOT_SUPPORTED);
}

// The start sets the older board up by its revision.
TEST_F(UsbBoardControl, TheOlderBoardIsSetUpByItsRevisionAtStart) {
    struct Row {
        ci_u16 revision;
        ci_u32 reg3, reg16;
    };
    for (Row row : {Row{50, 1, 0x1234}, Row{179, 0, 0x0234}}) {
        SCOPED_TRACE(row.revision);
        UsbTestbed own;
        UsbBoardConfig config;
        config.productId = 0x1007;
        config.bcdDevice = row.revision;
        UsbBoard& b = own.addBoard(config);
        b.addSensor(page8(), kSensorBase, 8, 16);
        BusDevice& chip = b.addDevice(kFpga, 16, 16);
        chip.seed(16, 0x1234);
        ci_camera_t* list[4] = {};
        ci_s32 count = 0;
        ASSERT_EQ(ci_OpenCameras2(list, &count, page8().c_str(), CI_TRANSPORT_USB, ""), CI_CAMERA_SUCCESS);
        ASSERT_EQ(list[0]->startTransport(list[0]), CI_CAMERA_SUCCESS);
        EXPECT_EQ(chip.read(3), row.reg3);
        EXPECT_EQ(chip.read(16), row.reg16);
        ci_u32 speed = 0;
        EXPECT_EQ(ci_getMode(list[0], CI_SHIP_SPEED, &speed), CI_CAMERA_SUCCESS);
        EXPECT_EQ(speed, 100u);
        ci_CloseCameras2(list, count);
    }
}

}  // namespace
