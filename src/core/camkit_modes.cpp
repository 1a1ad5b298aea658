// Camera modes: the generic store behind ci_setMode/ci_getMode.
//
// Each mode is one table row.  Most rows keep a value in the camera context
// ("context"), in the context and the shared device record ("mirrored"), in
// the shared record only ("shared") or in the calling thread's view of the
// camera ("thread").  Rows a board must implement answer
// CI_CAMERA_NOT_SUPPORTED silently; rows nobody implements are logged as
// unrecognized.  The transports handle their own modes first and fall back
// to this store.
#define CK_SOURCE "camkit"
#include <array>
#include <cassert>

#include "core/camkit_modes.h"

// ---------------------------------------------------------------- handlers

ci_error_code _mode_not_supported_set(ci_camera_t*, _common_context_t*, const _mode_row_t*, ci_u32) {
    return CI_CAMERA_NOT_SUPPORTED;
}

ci_error_code _mode_not_supported_get(ci_camera_t*, _common_context_t*, const _mode_row_t*, ci_u32*) {
    return CI_CAMERA_NOT_SUPPORTED;
}

static ci_error_code _mode_set_context(ci_camera_t*, _common_context_t* ctx, const _mode_row_t* row, ci_u32 val) {
    _store_u32(ctx, row->field.ctx_offset, val);
    return CI_CAMERA_SUCCESS;
}

ci_error_code _mode_get_context(ci_camera_t*, _common_context_t* ctx, const _mode_row_t* row, ci_u32* out) {
    *out = _load_u32(ctx, row->field.ctx_offset);
    return CI_CAMERA_SUCCESS;
}

ci_error_code _mode_set_mirrored(ci_camera_t*, _common_context_t* ctx, const _mode_row_t* row, ci_u32 val) {
    _store_mirrored(ctx, &row->field, val);
    return CI_CAMERA_SUCCESS;
}

ci_error_code _mode_get_shared_first(ci_camera_t*, _common_context_t* ctx, const _mode_row_t* row, ci_u32* out) {
    *out = ctx->sg_context != nullptr ? _load_u32(ctx->sg_context, row->field.sg_offset)
                                   : _load_u32(ctx, row->field.ctx_offset);
    return CI_CAMERA_SUCCESS;
}

// The MCU access state lives only in the shared record; a camera that has
// none yet (still being set up by its transport) cannot hold it.
static ci_error_code _no_shared_record(void) {
    return CK_ERR(CI_CAMERA_ERROR, "the camera has no shared device context");
}

static ci_error_code _mode_set_shared(ci_camera_t*, _common_context_t* ctx, const _mode_row_t* row, ci_u32 val) {
    if (ctx->sg_context == nullptr) return _no_shared_record();
    _store_u32(ctx->sg_context, row->field.sg_offset, val);
    return CI_CAMERA_SUCCESS;
}

static ci_error_code _mode_get_shared(ci_camera_t*, _common_context_t* ctx, const _mode_row_t* row, ci_u32* out) {
    if (ctx->sg_context == nullptr) return _no_shared_record();
    *out = _load_u32(ctx->sg_context, row->field.sg_offset);
    return CI_CAMERA_SUCCESS;
}

// A thread setting goes to the calling thread's view and becomes the
// camera's default for threads that enter later.
static ci_error_code _mode_set_thread(ci_camera_t* camera, _common_context_t* ctx, const _mode_row_t* row,
                                      ci_u32 val) {
    _tl_context_t* view = _thread_local_context(camera);
    if (view != &ctx->tl_context) *_tl_setting(view, row->setting) = (ci_s32)val;
    _set_default_view(ctx, row->setting, (ci_s32)val);
    return CI_CAMERA_SUCCESS;
}

static ci_error_code _mode_get_thread(ci_camera_t* camera, _common_context_t* ctx, const _mode_row_t* row,
                                      ci_u32* out) {
    _tl_context_t* view = _thread_local_context(camera);
    ci_s32* setting = _tl_setting(view, row->setting);
    *out = (ci_u32)(view != &ctx->tl_context ? *setting : __atomic_load_n(setting, __ATOMIC_RELAXED));
    return CI_CAMERA_SUCCESS;
}

// ---------------------------------------------------------------- table

#define CTX(field) _ctx_sg_field_t{offsetof(_common_context_t, field), 0}
#define SHARED(field) _ctx_sg_field_t{0, offsetof(_sg_context_t, field)}

static constexpr _mode_row_t _row(_mode_set_fn set, _mode_get_fn get, _ctx_sg_field_t field = {0, 0},
                                  _tl_setting_t setting = CK_TL_ADDR_SIZE) {
    return _mode_row_t{set, get, field, setting};
}
static constexpr _mode_row_t _context_row(_ctx_sg_field_t field) {
    return _row(_mode_set_context, _mode_get_context, field);
}
static constexpr _mode_row_t _mirrored_row(_ctx_sg_field_t field) {
    return _row(_mode_set_mirrored, _mode_get_context, field);
}
static constexpr _mode_row_t _shared_row(_ctx_sg_field_t field) {
    return _row(_mode_set_shared, _mode_get_shared, field);
}
static constexpr _mode_row_t _thread_row(_tl_setting_t setting) {
    return _row(_mode_set_thread, _mode_get_thread, {0, 0}, setting);
}
static constexpr _mode_row_t kNotSupported = {_mode_not_supported_set, _mode_not_supported_get, {0, 0},
                                              CK_TL_ADDR_SIZE};

static constexpr std::array<_mode_row_t, CI_NUM_MODES> _make_mode_table() {
    std::array<_mode_row_t, CI_NUM_MODES> t{};  // all rows start unrecognized
    t[CI_ERROR_CHECK_MODE] = _context_row(CTX(error_mode));
    t[CI_REG_ADDR_SIZE] = _thread_row(CK_TL_ADDR_SIZE);
    t[CI_REG_DATA_SIZE] = _thread_row(CK_TL_DATA_SIZE);
    t[CI_USE_REG_CACHE] = _thread_row(CK_TL_USE_CACHE);
    t[CI_SW_UNSWIZZLE_MODE] = _context_row(CTX(do_sw_unswizzle));
    t[CI_UNSWIZZLE_MODE] = _row(_mode_set_unswizzle, _mode_get_context, CTX(unswizzle_mode));
    t[CI_SW_UNSWIZZLE_DEFAULT] = _row(nullptr, _mode_get_swizzle_default);
    t[CI_DATA_IS_SWIZZLED] = _row(_mode_set_ignored, _mode_get_data_is_swizzled);
    t[CI_ERROR_LOG_TYPE] = _row(_mode_set_log_type, _mode_get_log_type);
    t[CI_SPOOF_SIZE] = _row(_mode_set_spoof_size, _mode_get_spoof_size);
    t[CI_SPOOF_SUPPORTED] = _row(_mode_set_spoof_supported, nullptr);
    t[CI_HW_BUFFERING] = _row(_mode_set_hw_buffering, _mode_get_hw_buffering, CK_CTX_SG(hw_buffering, hw_buffering));
    t[CI_OUTPUT_CLOCK_FREQ] = _row(_mode_set_output_clock, _mode_get_output_clock);
    t[CI_ALLOW_FAR_ACCESS] = _row(_mode_set_far_access, _mode_get_context, CTX(allow_far_access));
    t[CI_PIXCLK_POLARITY] = _mirrored_row(CK_CTX_SG(pixclk_polarity, pixclk_polarity));
    t[CI_SENSOR_POWER] = _row(_mode_set_invalidate_on_nonzero, _mode_not_supported_get);
    t[CI_SENSOR_RESET] = _row(_mode_set_invalidate_on_zero, _mode_not_supported_get);
    t[CI_DIRECT_VAR_ACCESS] = _context_row(CTX(direct_var_access));
    t[CI_XDMA_LOGICAL] = _shared_row(SHARED(current_access_logical));
    t[CI_XDMA_PHY_A15] = _shared_row(SHARED(current_phy_a15));
    t[CI_XDMA_PHY_REGION] = _shared_row(SHARED(current_phy_region));
    t[CI_HW_FRAME_COUNT] = kNotSupported;
    t[CI_HIDY] = _row(_mode_set_hidy, _mode_get_shared_first, CK_CTX_SG(hidy, hidy));
    t[CI_SENSOR_SHUTDOWN] = _row(_mode_set_invalidate_on_zero, _mode_not_supported_get);
    t[CI_XDMA_ADV_BASE] = _shared_row(SHARED(current_adv_base));
    t[CI_PIXCLK_FREQ] = kNotSupported;
    t[CI_SIMUL_REG_FRAMEGRAB] = _row(_mode_not_supported_set, _mode_get_zero);
    t[CI_DETECT_FRAME_SIZE] = kNotSupported;
    t[CI_BITS_PER_CLOCK] = _mirrored_row(CK_CTX_SG(bitsPerClock, bitsPerClock));
    t[CI_CLOCKS_PER_PIXEL] = _mirrored_row(CK_CTX_SG(clocksPerPixel, clocksPerPixel));
    t[CI_RX_TYPE] = _mirrored_row(CK_CTX_SG(rxType, rxType));
    t[CI_RX_LANES] = _mirrored_row(CK_CTX_SG(rxLanes, rxLanes));
    t[CI_RX_BIT_DEPTH] = _mirrored_row(CK_CTX_SG(rxBitDepth, rxBitDepth));
    t[CI_RX_MODE] = _mirrored_row(CK_CTX_SG(rxMode, rxMode));
    t[CI_RX_CLASS] = _mirrored_row(CK_CTX_SG(rxClass, rxClass));
    t[CI_RX_SYNC_CODE] = _mirrored_row(CK_CTX_SG(rxSyncCode, rxSyncCode));
    t[CI_RX_EMBEDDED_DATA] = _mirrored_row(CK_CTX_SG(rxEmbeddedData, rxEmbeddedData));
    t[CI_RX_VIRTUAL_CHANNEL] = _mirrored_row(CK_CTX_SG(rxVirtualChannel, rxVirtualChannel));
    t[CI_RX_MSB_FIRST] = _mirrored_row(CK_CTX_SG(rxMsbFirst, rxMsbFirst));
    t[CI_HDMI_MODE] = kNotSupported;
    t[CI_MEM_CAPTURE] = kNotSupported;
    t[CI_MEM_CAPTURE_PROGRESS] = kNotSupported;
    t[CI_MEM_CAPTURE_MB] = kNotSupported;
    t[CI_STEREO_MODE] = _mirrored_row(CK_CTX_SG(stereoMode, stereoMode));
    t[CI_HW_FRAME_COUNT_MASK] = kNotSupported;
    t[CI_GRABFRAME_TIMEOUT] = _row(_mode_set_one, _mode_get_one);
    t[CI_HW_FRAME_TIME] = kNotSupported;
    t[CI_LSB_ALIGNED] = _mirrored_row(CK_CTX_SG(lsbAligned, lsbAligned));
    t[CI_NACK_RETRIES] = _context_row(CTX(nackRetries));
    t[CI_RX_CCIR656] = _mirrored_row(CK_CTX_SG(rxCcir656, rxCcir656));
    t[CI_RX_INTERLACED] = _mirrored_row(CK_CTX_SG(rxInterlaced, rxInterlaced));
    t[CI_MEM_CAPTURE_CYCLE] = kNotSupported;
    t[CI_TRIGGER_HIGH_WIDTH] = _row(nullptr, _mode_not_supported_get);
    t[CI_TRIGGER_LOW_WIDTH] = _row(nullptr, _mode_not_supported_get);
    t[CI_TRIGGER] = _row(nullptr, _mode_not_supported_get);
    t[CI_OUTPUT_PORT] = _mirrored_row(CK_CTX_SG(rxOutputPort, rxOutputPort));
    t[CI_PIXEL_PACK] = _mirrored_row(CK_CTX_SG(pixelPack, pixelPack));
    return t;
}

static constexpr std::array<_mode_row_t, CI_NUM_MODES> kModes = _make_mode_table();

static const _mode_row_t* _mode_row(ci_modes mode) {
    ci_u32 index = (ci_u32)mode;
    return index < (ci_u32)CI_NUM_MODES ? &kModes[index] : nullptr;
}

// ---------------------------------------------------------------- dispatch

ci_error_code _SetMode(ci_camera_t* camera, ci_modes mode, ci_u32 val) {
    _common_context_t* ctx = _ctx(camera);
    assert(ctx != nullptr);
    const _mode_row_t* row = _mode_row(mode);
    if (row == nullptr || row->set == nullptr) return CK_ERR(CI_CAMERA_ERROR, "unrecognized mode in setMode()");
    return row->set(camera, ctx, row, val);
}

ci_error_code _GetMode(ci_camera_t* camera, ci_modes mode, ci_u32* val) {
    _common_context_t* ctx = _ctx(camera);
    assert(ctx != nullptr);
    const _mode_row_t* row = _mode_row(mode);
    if (row == nullptr || row->get == nullptr) return CK_ERR(CI_CAMERA_ERROR, "unrecognized mode in getMode()");
    ci_u32 discard = 0;
    return row->get(camera, ctx, row, val != nullptr ? val : &discard);
}

// ---- temporary camera modes, restored when the scope ends
ScopedMode::ScopedMode(ci_camera_t* camera, ci_modes mode, ci_u32 value)
    : camera_(camera), mode_(mode), saved_(0), restore_(false) {
    restore_ = ci_getMode(camera_, mode_, &saved_) == CI_CAMERA_SUCCESS;
    ci_setMode(camera_, mode_, value);
}

ScopedMode::ScopedMode(ci_camera_t* camera, ci_modes mode)
    : camera_(camera), mode_(mode), saved_(0), restore_(false) {
    restore_ = ci_getMode(camera_, mode_, &saved_) == CI_CAMERA_SUCCESS;
}

ScopedMode::~ScopedMode() {
    if (restore_) {
        ci_setMode(camera_, mode_, saved_);
    }
}
