// The shared camera builder: identity and hooks from the table, the core's
// defaults where the table is silent, and a teardown that hands the private
// context back to its transport exactly once.
#include <gtest/gtest.h>

#include "transport/transport_common.h"

namespace {

int gReleased = 0;
void* gReleasedContext = nullptr;

void countRelease(ci_camera_t*, void* context) {
    gReleased++;
    gReleasedContext = context;
}

ci_error_code readZero(ci_camera_t*, ci_u32, ci_u32, ci_u32* v) {
    *v = 0x5A;
    return CI_CAMERA_SUCCESS;
}

ci_error_code grabNothing(ci_camera_t*, ci_u8*, ci_u32) { return CI_CAMERA_SUCCESS; }

_transport_ops_t opsUnderTest() {
    _transport_ops_t ops{};
    ops.transportType = CI_TRANSPORT_NULL;
    ops.transportName = "T";
    ops.productName = "Test product";
    ops.driverInfo = "no driver";
    ops.grabFrame = grabNothing;
    ops.readRegisterNolock = readZero;
    ops.freeTransportContext = countRelease;
    return ops;
}

}  // namespace

TEST(TransportCommon, CameraCarriesTheTablesIdentityHooksAndCoreDefaults) {
    const _transport_ops_t ops = opsUnderTest();
    int privateState = 7;
    ci_camera_t* camera = _transport_new_camera(&ops, &privateState);
    ASSERT_NE(camera, nullptr);
    EXPECT_EQ(camera->transportType, (ci_u32)CI_TRANSPORT_NULL);
    EXPECT_STREQ(camera->transportName, "T");
    EXPECT_STREQ(camera->productName, "Test product");
    EXPECT_STREQ(_ctx(camera)->driverInfo, "no driver");
    EXPECT_EQ(_transport_context(camera), &privateState);
    EXPECT_EQ(camera->grabFrame, &grabNothing);
    EXPECT_EQ(camera->startTransport, nullptr);  // silent: not supported
    // Register slots go through the locking generic routines to the hook.
    EXPECT_EQ(camera->readRegister, &_generic_ReadRegister);
    EXPECT_EQ(_ctx(camera)->readRegisterNolock, &readZero);
    // Modes fall back to the core's switchboard.
    ASSERT_NE(camera->setMode, nullptr);
    ASSERT_NE(camera->getMode, nullptr);
    ci_u32 size = 0;
    EXPECT_EQ(camera->setMode(camera, CI_REG_DATA_SIZE, 8), CI_CAMERA_SUCCESS);
    EXPECT_EQ(camera->getMode(camera, CI_REG_DATA_SIZE, &size), CI_CAMERA_SUCCESS);
    EXPECT_EQ(size, 8u);

    gReleased = 0;
    _transport_free_camera(&ops, camera);
    EXPECT_EQ(gReleased, 1);
    EXPECT_EQ(gReleasedContext, &privateState);
}

TEST(TransportCommon, FreeingManyClearsTheirSlotsAndToleratesGaps) {
    const _transport_ops_t ops = opsUnderTest();
    ci_camera_t* cameras[3] = {_transport_new_camera(&ops, nullptr), nullptr, _transport_new_camera(&ops, nullptr)};
    gReleased = 0;
    _transport_free_cameras(&ops, 3, cameras);
    EXPECT_EQ(gReleased, 0);  // nothing private to release
    for (ci_camera_t* camera : cameras) EXPECT_EQ(camera, nullptr);
    _transport_free_camera(&ops, nullptr);
}

TEST(TransportCommon, SensorBaseAndFileLoading) {
    const _transport_ops_t ops = opsUnderTest();
    ci_camera_t* camera = _transport_new_camera(&ops, nullptr);
    EXPECT_EQ(_transport_sensor_base(camera), 0u);
    EXPECT_EQ(_transport_load_sensor_file(camera, CAMKIT_DATA_DIR "/sensor_data/ck_bayer16.sdat"), CI_CAMERA_SUCCESS);
    ASSERT_NE(camera->sensor, nullptr);
    EXPECT_NE(_transport_sensor_base(camera), 0u);
    _transport_free_camera(&ops, camera);

    camera = _transport_new_camera(&ops, nullptr);
    EXPECT_EQ(_transport_load_sensor_file(camera, "/nonexistent/x.sdat"), CI_SENSOR_FILE_PARSE_ERROR);
    _transport_free_camera(&ops, camera);  // frees the half-filled description
}
