// Frames read from a simulated board's bulk pipe through real libusb: the
// marker that closes a frame, the faults a board shows on the wire, and the
// frames a board sends in reduced form.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "scratch_dir.h"
#include "test_paths.h"
#include "usb_camera.h"

namespace {

constexpr ci_u32 kSensorBase = 0xBA;
constexpr ci_u32 kWidth = 64;
constexpr ci_u32 kHeight = 32;

std::string page8() { return std::string(ck_test_data_dir()) + "/sensor_data/ck_page8.sdat"; }

class UsbGrab : public ::testing::Test {
protected:
    void SetUp() override {
        if (!UsbTestbed::available()) GTEST_SKIP() << "not running under umockdev-wrapper";
    }
    void TearDown() override {
        if (n > 0) ci_CloseCameras2(cameras, n);
    }
    // A started board with packets of 1024 bytes and 512-byte markers and a
    // frame of kWidth x kHeight at the given clocking.
    ci_camera_t* open(ci_u16 product = 0x1007, ci_u16 markerPacket = 512, ci_s32 bits = 8, ci_s32 clocks = 2) {
        UsbBoardConfig config;
        config.productId = product;
        config.usbGeneration = 3;
        config.maxPacketSize = 1024;
        config.markerPacketSize = markerPacket;
        board = &bed->addBoard(config);
        board->addSensor(page8(), kSensorBase, 8, 16);
        // The board chips its board file names.
        if (product == 0x100E) {
            board->addDevice(0x66, 16, 32);
        } else {
            board->addDevice(0x64, 16, 16);
            board->addDevice(0x68, 8, 16);
        }
        if (ci_OpenCameras2(cameras, &n, page8().c_str(), CI_TRANSPORT_USB, "") != CI_CAMERA_SUCCESS || n != 1) {
            ADD_FAILURE() << "the board does not open";
            return nullptr;
        }
        camera = cameras[0];
        EXPECT_EQ(camera->startTransport(camera), CI_CAMERA_SUCCESS);
        EXPECT_EQ(ci_updateFrameSize(camera, kWidth, kHeight, bits, clocks), CI_CAMERA_SUCCESS);
        // The frames compare byte for byte with what the board sent.
        EXPECT_EQ(ci_setMode(camera, CI_UNSWIZZLE_MODE, CI_NO_UNSWIZZLE), CI_CAMERA_SUCCESS);
        board->setFrameSize(raw());
        buffer.assign(camera->sensor->bufferSize, 0);
        return camera;
    }
    ci_u32 raw() const { return _ctx(camera)->raw_buf_size; }
    ci_error_code grab() { return ci_grabFrame(camera, buffer.data(), (ci_u32)buffer.size()); }
    ci_frame_data_t frameData() {
        ci_frame_data_t fd{};
        EXPECT_EQ(ci_getFrameData(camera, &fd), CI_CAMERA_SUCCESS);
        return fd;
    }
    // The image bytes of the last grab equal frame n of the board.
    void expectFrame(ci_u32 frameNumber) {
        const std::vector<ci_u8> sent = board->frameBytes(frameNumber);
        ASSERT_LE(sent.size(), buffer.size());
        const auto diff = std::mismatch(sent.begin(), sent.end(), buffer.begin());
        EXPECT_EQ(diff.first, sent.end())
            << "frame " << frameNumber << " differs at byte " << (diff.first - sent.begin()) << ": " << (int)*diff.first
            << " for " << (int)*diff.second;
        const ci_frame_data_t fd = frameData();
        EXPECT_EQ(fd.frameNumber, frameNumber);
        EXPECT_EQ(fd.imageBytesReturned, (ci_u32)sent.size());
    }

    // A fresh bus with no board open.
    void reset() {
        if (n > 0) ci_CloseCameras2(cameras, n);
        n = 0;
        bed.reset();
        bed = std::make_unique<UsbTestbed>();
    }

    ScopedVendorIds ids{"0xC0DE"};
    std::unique_ptr<UsbTestbed> bed = std::make_unique<UsbTestbed>();
    UsbBoard* board = nullptr;
    ci_camera_t* cameras[4] = {};
    ci_s32 n = 0;
    ci_camera_t* camera = nullptr;
    std::vector<ci_u8> buffer;
};

TEST_F(UsbGrab, FramesArriveWithTheirMarkerAndNumber) {
    ASSERT_NE(open(), nullptr);
    // The buffer holds the image, rounded to packets, and a packet for the marker.
    EXPECT_EQ(camera->sensor->bufferSize, raw() + 1024);
    for (ci_u32 frame = 1; frame <= 3; frame++) {
        ASSERT_EQ(grab(), CI_CAMERA_SUCCESS);
        expectFrame(frame);
        EXPECT_EQ(frameData().bytesRequested, raw() + 512);
        EXPECT_EQ(frameData().bytesReturned, raw() + 512);
    }
    // One request per frame, of the whole buffer.
    EXPECT_EQ(board->bulkRequests(), std::vector<ci_u32>(3, raw() + 1024));
    std::vector<ci_u8> small(camera->sensor->bufferSize - 1);
    EXPECT_EQ(ci_grabFrame(camera, small.data(), (ci_u32)small.size()), CI_BUFFER_SIZE_ERROR);
}

TEST_F(UsbGrab, LargeFramesAreRequestedInWholePacketsOfTheLargestTransfer) {
    ASSERT_NE(open(), nullptr);
    ASSERT_EQ(ci_updateFrameSize(camera, 1000, 600, 0, 0), CI_CAMERA_SUCCESS);  // 1.2 MB at 2 bytes a pixel
    board->setFrameSize(raw());
    buffer.assign(camera->sensor->bufferSize, 0);
    ASSERT_EQ(grab(), CI_CAMERA_SUCCESS);
    expectFrame(1);
    const std::vector<ci_u32> requests = board->bulkRequests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0], 0x100000u);
    EXPECT_EQ(requests[1], (camera->sensor->bufferSize - 0x100000 + 1023) / 1024 * 1024);
}

TEST_F(UsbGrab, BufferSizeRoundsTheImageAndTheMarkerToPackets) {
    UsbBoardConfig config;
    config.maxPacketSize = 512;
    config.markerPacketSize = 512;
    board = &bed->addBoard(config);
    board->addSensor(page8(), kSensorBase, 8, 16);
    ASSERT_EQ(ci_OpenCameras2(cameras, &n, page8().c_str(), CI_TRANSPORT_USB, ""), CI_CAMERA_SUCCESS);
    camera = cameras[0];
    ASSERT_EQ(camera->startTransport(camera), CI_CAMERA_SUCCESS);
    ASSERT_EQ(ci_initTransport(camera, 8, 2, 0, 4, 1), CI_CAMERA_SUCCESS);
    ASSERT_EQ(ci_updateBufferSize(camera, 1000), CI_CAMERA_SUCCESS);
    EXPECT_EQ(camera->sensor->bufferSize, 1024u + 512u + 4u);
    ci_u32 mask = 0;
    EXPECT_EQ(ci_getMode(camera, CI_HW_FRAME_COUNT_MASK, &mask), CI_CAMERA_SUCCESS);
    EXPECT_EQ(mask, 65535u);
}

// The marker area is cleared before each read: a frame that loses its
// marker does not take the previous frame's.
TEST_F(UsbGrab, AStaleMarkerIsNotTakenForANewOne) {
    ASSERT_NE(open(), nullptr);
    ASSERT_EQ(grab(), CI_CAMERA_SUCCESS);
    board->faultNextFrame(FrameFault::ShortWithoutMarker, raw() / 2 + 100);
    EXPECT_EQ(grab(), CI_NOT_ENOUGH_DATA_ERROR);
    EXPECT_EQ(frameData().imageBytesReturned, 0u);
    ASSERT_EQ(grab(), CI_CAMERA_SUCCESS);
    expectFrame(3);
}

TEST_F(UsbGrab, AFrameExactly2048BytesLateIsRepaired) {
    ASSERT_NE(open(), nullptr);
    board->faultNextFrame(FrameFault::Late, 2048);
    ASSERT_EQ(grab(), CI_CAMERA_SUCCESS);
    expectFrame(1);
    ASSERT_EQ(grab(), CI_CAMERA_SUCCESS);
    expectFrame(2);
}

// Any other misalignment loses the frame; the pipe is drained up to the
// next frame boundary and the frame after it reads cleanly.
TEST_F(UsbGrab, OtherMisalignedFramesAreDrainedNotRepaired) {
    struct Row {
        const char* what;
        FrameFault fault;
        ci_u32 bytes;
    };
    for (const Row& row : {Row{"1024 late", FrameFault::Late, 1024}, Row{"extra bytes", FrameFault::Extra, 1024},
                           Row{"missing marker", FrameFault::MissingMarker, 0}}) {
        SCOPED_TRACE(row.what);
        reset();
        ASSERT_NE(open(), nullptr);
        board->faultNextFrame(row.fault, row.bytes);
        EXPECT_EQ(grab(), CI_EOF_MARKER_ERROR);
        const ci_u32 lost = board->framesStarted();
        ASSERT_EQ(grab(), CI_CAMERA_SUCCESS);
        expectFrame(lost + 1);
    }
}

TEST_F(UsbGrab, DrainingStopsAt32MiB) {
    ASSERT_NE(open(), nullptr);
    board->faultNextFrame(FrameFault::Extra, 40u << 20);
    const ci_u64 before = board->bulkBytesSent();
    EXPECT_EQ(grab(), CI_EOF_MARKER_ERROR);
    const ci_u64 read = board->bulkBytesSent() - before;
    // The frame's request, the resynchronisation block and 32 MiB of drain.
    EXPECT_EQ(read, (ci_u64)raw() + 1024 + 4096 + (32u << 20));
}

TEST_F(UsbGrab, AStalledOrSilentPipeFailsTheFrameOnly) {
    ASSERT_NE(open(), nullptr);
    board->faultNextFrame(FrameFault::Stall);
    EXPECT_EQ(grab(), CI_GRAB_FRAME_ERROR);
    board->faultNextFrame(FrameFault::TimeoutMidFrame);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(grab(), CI_GRAB_FRAME_ERROR);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(700));
    ASSERT_EQ(grab(), CI_CAMERA_SUCCESS);
    expectFrame(board->framesStarted());
}

// Short frames stand only for the sensors that send them on purpose.
TEST_F(UsbGrab, ShortFramesAreAcceptedOnlyWhereTheSensorSendsThem) {
    struct Row {
        const char* what;
        ci_sensor_types sensorType;
        ci_image_types imageType;
        ci_u32 bytes;  // sent of the 4096-byte frame
        ci_error_code expected;
    };
    const Row rows[] = {
        {"ordinary Bayer", (ci_sensor_types)1, CI_BAYER_8, 2048, CI_NOT_ENOUGH_DATA_ERROR},
        {"type 103 Bayer", CI_RESERVED_SENSOR71, CI_BAYER_8, 2048, CI_CAMERA_SUCCESS},
        {"type 110 Bayer", CI_RESERVED_SENSOR78, CI_BAYER_10, 2048, CI_CAMERA_SUCCESS},
        {"type 111 Bayer", CI_RESERVED_SENSOR79, CI_BAYER_12, 1024, CI_CAMERA_SUCCESS},
        {"type 103 colour", CI_RESERVED_SENSOR71, CI_YCBCR, 2048, CI_NOT_ENOUGH_DATA_ERROR},
        {"YUV 4:2:0 at its size", (ci_sensor_types)1, CI_YUV420, kWidth * kHeight * 3 / 2, CI_CAMERA_SUCCESS},
        {"YUV 4:2:0 shorter", (ci_sensor_types)1, CI_YUV420, 2048, CI_NOT_ENOUGH_DATA_ERROR},
        {"M420 at its size", (ci_sensor_types)1, CI_M420, kWidth * kHeight * 3 / 2, CI_CAMERA_SUCCESS},
        {"6-bit Bayer at its size", (ci_sensor_types)1, CI_BAYER_6, kWidth * kHeight * 3 / 4, CI_CAMERA_SUCCESS},
        {"6-bit size on 8-bit Bayer", (ci_sensor_types)1, CI_BAYER_8, kWidth * kHeight * 3 / 4,
         CI_NOT_ENOUGH_DATA_ERROR},
    };
    ASSERT_NE(open(), nullptr);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        camera->sensor->sensorType = row.sensorType;
        camera->sensor->imageType = row.imageType;
        board->faultNextFrame(FrameFault::Short, row.bytes);
        EXPECT_EQ(grab(), row.expected);
        EXPECT_EQ(frameData().imageBytesReturned, row.bytes);
        EXPECT_EQ(frameData().frameNumber, board->framesStarted());
    }
}

TEST_F(UsbGrab, TheNewestBoardsMarkerCarriesTheFrameMeasurements) {
    ASSERT_NE(open(0x100E, 256), nullptr);
    board->setPattern(FramePattern::Bayer, kWidth);
    ScratchDir dir;
    ci_OpenErrorLog(CI_LOG_DEBUG, dir.file("grab.txt").c_str());
    ASSERT_EQ(grab(), CI_CAMERA_SUCCESS);
    ci_CloseErrorLog();
    const std::string log = scratch_read_file(dir.file("grab0.txt"));
    EXPECT_NE(log.find("grabFrame -> 4096 bytes - "), std::string::npos) << log;
    EXPECT_NE(log.find(" - CAMERA_SUCCESS - ThreadID: TBD"), std::string::npos) << log;
    EXPECT_NE(log.find("   0x0001      0x000003E8  0x00001000  0x00000020  0x00000080  0x05  0x01         0x00         "
                       "0x0400   "),
              std::string::npos)
        << log;
    expectFrame(1);
    const ci_frame_data_t fd = frameData();
    EXPECT_EQ(fd.frameTime, 1000u);
    EXPECT_EQ(fd.frameLines, kHeight);
    EXPECT_EQ(fd.lineSize, kWidth * 2);
    EXPECT_EQ(fd.gpio, 5u);
    EXPECT_EQ(fd.frameStatus, 1u);
}

// Packed pixels: 10 bits as four pixels in five bytes, 12 bits as two in three.
std::vector<ci_u16> testPixels(ci_u32 count, ci_u32 bits) {
    std::vector<ci_u16> px(count);
    for (ci_u32 i = 0; i < count; i++) px[i] = (ci_u16)((i * 0x2F5 + (i >> 3)) & ((1u << bits) - 1));
    px[0] = (ci_u16)((1u << bits) - 1);
    px[1] = 1;
    return px;
}

std::vector<ci_u8> pack(const std::vector<ci_u16>& px, ci_u32 bits) {
    std::vector<ci_u8> out;
    ci_u64 acc = 0;
    ci_u32 have = 0;
    for (ci_u16 p : px) {
        acc |= (ci_u64)p << have;
        have += bits;
        while (have >= 8) {
            out.push_back((ci_u8)acc);
            acc >>= 8;
            have -= 8;
        }
    }
    return out;
}

TEST_F(UsbGrab, PackedPixelsAreExpandedTo16Bits) {
    for (ci_u32 bits : {10u, 12u}) {
        SCOPED_TRACE(bits);
        reset();
        ASSERT_NE(open(0x1007, 512, (ci_s32)bits, 1), nullptr);
        ASSERT_EQ(raw(), kWidth * kHeight * 2);
        _usb_context(camera)->pixelPack = 1;
        const std::vector<ci_u16> px = testPixels(kWidth * kHeight, bits);
        board->setFrameContent(pack(px, bits));
        ASSERT_EQ(grab(), CI_CAMERA_SUCCESS);
        EXPECT_EQ(frameData().imageBytesReturned, kWidth * kHeight * 2);
        for (ci_u32 i = 0; i < px.size(); i++) {
            const ci_u32 got = buffer[2 * i] | (ci_u32)buffer[2 * i + 1] << 8;
            ASSERT_EQ(got, px[i]) << "pixel " << i;
        }
    }
}

// An HDMI board sends half rows; the padding goes on the side the crop asks.
TEST_F(UsbGrab, HdmiCropPadsTheSideItIsAskedFor) {
    ASSERT_NE(open(), nullptr);
    const ci_u32 full = kWidth * camera->sensor->pixelBytes, sent = (full / 2 + 15) / 16 * 16;
    std::vector<ci_u8> rows(sent * kHeight);
    for (ci_u32 i = 0; i < rows.size(); i++) rows[i] = (ci_u8)(1 + i % 251);
    board->setFrameContent(rows);
    struct Row {
        ci_u32 mode, lead;
    };
    for (Row row : {Row{1, (full - sent) / 2}, Row{2, 0}, Row{3, full - sent}}) {
        SCOPED_TRACE(row.mode);
        _usb_context(camera)->hdmiKite2Crop = row.mode;
        std::fill(buffer.begin(), buffer.end(), 0xEE);
        ASSERT_EQ(grab(), CI_CAMERA_SUCCESS);
        for (ci_u32 y = 0; y < kHeight; y++) {
            const ci_u8* line = buffer.data() + y * full;
            for (ci_u32 x = 0; x < full; x++) {
                const bool data = x >= row.lead && x < row.lead + sent;
                const ci_u8 want = data ? rows[y * sent + x - row.lead] : 0;
                ASSERT_EQ(line[x], want) << "row " << y << " byte " << x;
            }
        }
    }
}

// Double-clocked 10-bit Bayer data needs the software unswizzle, which
// every grab applies when it is on.
TEST_F(UsbGrab, SoftwareUnswizzleRunsOnEveryFrame) {
    ASSERT_NE(open(), nullptr);
    ASSERT_EQ(ci_setMode(camera, CI_UNSWIZZLE_MODE, CI_SW_UNSWIZZLE), CI_CAMERA_SUCCESS);
    ASSERT_NE(_ctx(camera)->do_sw_unswizzle, 0);
    for (ci_u32 frame = 1; frame <= 2; frame++) {
        ASSERT_EQ(grab(), CI_CAMERA_SUCCESS);
        const std::vector<ci_u8> sent = board->frameBytes(frame);
        std::vector<ci_u8> expected = sent;
        expected.resize(buffer.size(), 0);
        _unSwizzleBuffer(camera, expected.data());
        ASSERT_FALSE(std::equal(sent.begin(), sent.end(), expected.begin())) << "the pattern is not swizzled";
        EXPECT_TRUE(std::equal(expected.begin(), expected.begin() + raw(), buffer.begin())) << frame;
    }
}

}  // namespace
