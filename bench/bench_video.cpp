// Video playback speed: frames of a 1080p MJPEG and a 1080p uncompressed AVI
// through the video camera's reader (each frame fetched and, for rows,
// copied into the caller's buffer as a grab does), against a bare
// libavformat read loop over the same file in the same run.  The ratio
// "vs_bare" (bare time / reader time) is the figure; the frame-time pause
// the camera adds after each grab (at least 10 ms) is left out.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>
#include <vector>

#include "avi_writer.h"
#include "transport/avi_reader.h"

extern "C" {
#include <libavformat/avformat.h>
}

namespace {

constexpr int kFrames = 16;

const std::string& sample(AviSpec::Codec codec) {
    static std::string paths[3];
    std::string& path = paths[codec];
    if (path.empty()) {
        path = "/tmp/camkit_bench_video_" + std::to_string(codec) + ".avi";
        AviSpec spec{codec, 1920, 1080, kFrames, false, codec == AviSpec::Dib};
        if (!avi_write(path, spec, nullptr).empty()) path = "/nonexistent";
    }
    return path;
}

void BareReadLoop(benchmark::State& state, AviSpec::Codec codec) {
    const std::string& path = sample(codec);
    AVPacket* pkt = av_packet_alloc();
    int64_t frames = 0;
    for (auto _ : state) {
        AVFormatContext* fmt = nullptr;
        if (avformat_open_input(&fmt, path.c_str(), nullptr, nullptr) < 0) {
            state.SkipWithError("sample video missing");
            break;
        }
        while (av_read_frame(fmt, pkt) >= 0) {
            benchmark::DoNotOptimize(pkt->data);
            frames++;
            av_packet_unref(pkt);
        }
        avformat_close_input(&fmt);
    }
    av_packet_free(&pkt);
    state.counters["fps"] = benchmark::Counter((double)frames, benchmark::Counter::kIsRate);
}

void ReaderPlayback(benchmark::State& state, AviSpec::Codec codec) {
    const std::string& path = sample(codec);
    std::vector<ci_u8> grab(1920 * 1080 * 3);
    int64_t frames = 0;
    for (auto _ : state) {
        std::string error;
        std::unique_ptr<AviReader> reader = _AVI_open_reader(path.c_str(), &error);
        if (reader == nullptr) {
            state.SkipWithError(error.c_str());
            break;
        }
        const AviStreamInfo& info = reader->info();
        const size_t row = (size_t)info.width * 3;
        for (ci_u32 i = 0; i < info.numFrames; i++) {
            ci_u32 bytes = 0;
            const ci_u8* data = reader->frame(i, &bytes);
            if (data == nullptr) continue;
            if (info.imageType == CI_JPEG) {
                memcpy(grab.data(), data, std::min<size_t>(bytes, grab.size()));
            } else {
                for (ci_s32 r = 0; r < info.height; r++) {
                    const ci_s32 src = info.upsideDown ? info.height - 1 - r : r;
                    memcpy(&grab[(size_t)r * row], data + (size_t)src * (size_t)info.stride, row);
                }
            }
            frames++;
        }
    }
    state.counters["fps"] = benchmark::Counter((double)frames, benchmark::Counter::kIsRate);
}

BENCHMARK_CAPTURE(BareReadLoop, mjpeg_1080p, AviSpec::Mjpeg)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ReaderPlayback, mjpeg_1080p, AviSpec::Mjpeg)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BareReadLoop, dib_1080p, AviSpec::Dib)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ReaderPlayback, dib_1080p, AviSpec::Dib)->Unit(benchmark::kMillisecond);

}  // namespace
