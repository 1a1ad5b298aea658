// camkit grab: start the transport, grab frames, write them to files.
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "cli_commands.h"
#include "cli_json_out.h"
#include "cli_report.h"
#include "frame_writer.h"

namespace cli {
namespace {

constexpr int kMaxCount = 1000000;

struct GrabPlan {
    int count = 1;
    std::string pattern;  // empty: frames are not written
};

struct GrabTally {
    int grabbed = 0;
    int failed = 0;
};

// The buffer a frame needs: the sensor's buffer size, at least one full
// frame of pixels.
size_t frame_buffer_bytes(const ci_camera_t* camera) {
    const ci_sensor_t* s = camera->sensor;
    const size_t pixels = (size_t)s->width * s->height * (s->pixelBytes ? s->pixelBytes : 1);
    return std::max<size_t>(pixels, s->bufferSize);
}

// Bytes of the frame just grabbed: compressed frames say how long they are.
size_t grabbed_bytes(ci_camera_t* camera, size_t bufferBytes, ci_u32* frameNumber) {
    ci_frame_data_t data{};
    const bool known = ci_getFrameData(camera, &data) == CI_CAMERA_SUCCESS;
    *frameNumber = known ? data.frameNumber : 0;
    if (!ci_IsJpegImageType(camera->sensor->imageType)) return bufferBytes;
    ci_u32 length = 0;
    if (known && data.imageBytesReturned != 0) return std::min<size_t>(data.imageBytesReturned, bufferBytes);
    if (ci_getMode(camera, CI_COMPRESSED_LENGTH, &length) == CI_CAMERA_SUCCESS && length != 0) {
        return std::min<size_t>(length, bufferBytes);
    }
    return bufferBytes;
}

bool parse_plan(const Args& args, GrabPlan& plan, std::string& error) {
    LocalArgs local;
    if (!parse_local(args, {{"-n", true}, {"--count", true}, {"-o", true}, {"--output", true}}, local, error)) {
        return false;
    }
    if (!local.positional.empty()) {
        error = "unexpected argument '" + local.positional[0] + "'";
        return false;
    }
    const std::string count = local.has("-n") ? local.value("-n") : local.value("--count");
    if (!count.empty()) {
        char* end = nullptr;
        const long n = std::strtol(count.c_str(), &end, 10);
        if (*end != '\0' || n < 1 || n > kMaxCount) {
            error = "-n takes a frame count from 1 to " + std::to_string(kMaxCount);
            return false;
        }
        plan.count = (int)n;
    }
    plan.pattern = local.has("-o") ? local.value("-o") : local.value("--output");
    std::string probe;
    if (!plan.pattern.empty() && !frame_file_name(plan.pattern, 0, plan.count, probe)) {
        error = "-o: use one %d (or %0Nd) for the frame number; write %% for a percent sign";
        return false;
    }
    return true;
}

void show_progress(int done, int count, const GrabTally& tally) {
    std::fprintf(stderr, "\rgrabbing: %d of %d frames, %d failed", done, count, tally.failed);
    if (done == count) std::fputc('\n', stderr);
    std::fflush(stderr);
}

int grab_one(ci_camera_t* camera, const GrabPlan& plan, int n, std::vector<ci_u8>& buffer, bool quiet) {
    const ci_error_code code = ci_grabFrame(camera, buffer.data(), (ci_u32)buffer.size());
    if (code != CI_CAMERA_SUCCESS) {
        report_error("grab: frame " + std::to_string(n), code, "not grabbed");
        return kExitFailed;
    }
    ci_u32 frameNumber = 0;
    const size_t bytes = grabbed_bytes(camera, buffer.size(), &frameNumber);
    std::string path, error;
    if (!plan.pattern.empty()) {
        frame_file_name(plan.pattern, n, plan.count, path);
        FrameView view = frame_view_of(camera);
        view.data = buffer.data();
        view.bytes = bytes;
        if (!write_frame(path, view, error)) return report_error("grab: frame " + std::to_string(n), CI_CAMERA_ERROR, error);
    }
    if (json_mode()) {
        Json frame = Json::object();
        frame.set("index", n);
        frame.set("number", frameNumber);
        frame.set("bytes", (long long)bytes);
        frame.set("file", path.empty() ? Json() : Json(path));
        json_result().member("frames", Json::array()).push(std::move(frame));
    } else if (!quiet) {
        std::printf("frame %d: number %u, %zu bytes%s%s\n", n, frameNumber, bytes, path.empty() ? "" : " -> ",
                    path.c_str());
    }
    return kExitOk;
}

}  // namespace

int run_grab(Session& session, const Args& args) {
    GrabPlan plan;
    std::string error;
    if (!parse_plan(args, plan, error)) return report_usage("grab", error);
    ci_camera_t* camera = session.camera;
    if (camera->sensor == nullptr) return report_error("grab", CI_SENSOR_NOT_INITIALIZED, "the camera has no sensor");
    const ci_error_code started = ci_startTransport(camera);
    if (started != CI_CAMERA_SUCCESS) return report_error("grab", started, "the transport did not start");
    std::vector<ci_u8> buffer(frame_buffer_bytes(camera));
    const bool progress = plan.count > 1 && isatty(STDERR_FILENO);
    GrabTally tally;
    const auto start = std::chrono::steady_clock::now();
    for (int n = 0; n < plan.count; n++) {
        (grab_one(camera, plan, n, buffer, progress) == kExitOk ? tally.grabbed : tally.failed)++;
        if (progress) show_progress(n + 1, plan.count, tally);
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    ci_stopTransport(camera);
    const double rate = seconds > 0 ? tally.grabbed / seconds : 0.0;
    if (json_mode()) {
        json_result().set("grabbed", tally.grabbed);
        json_result().set("failed", tally.failed);
        json_result().set("frames_per_second", rate);
    } else {
        std::printf("%d frames grabbed, %d failed, %.1f frames/s\n", tally.grabbed, tally.failed, rate);
    }
    return tally.failed == 0 ? kExitOk : kExitFailed;
}

}  // namespace cli
