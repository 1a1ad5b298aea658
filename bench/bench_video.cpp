// Video playback speed: frames of a 1080p MJPEG and a 1080p uncompressed AVI
// through the video camera's reader (each frame fetched and, for rows,
// copied into the caller's buffer as a grab does), against a bare
// libavformat read loop over the same file in the same run.  The figure is
// the ratio of the two "fps" counters; the frame-time pause the camera adds
// after each grab (at least 10 ms) is left out.
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

// Sustained playback: the file is opened once, every iteration plays all of
// its frames (the demuxer rewinds to the start for the next one).
void BareReadLoop(benchmark::State& state, AviSpec::Codec codec) {
    AVFormatContext* fmt = nullptr;
    if (avformat_open_input(&fmt, sample(codec).c_str(), nullptr, nullptr) < 0) {
        state.SkipWithError("sample video missing");
        return;
    }
    AVPacket* pkt = av_packet_alloc();
    int64_t frames = 0;
    for (auto _ : state) {
        av_seek_frame(fmt, 0, 0, AVSEEK_FLAG_BACKWARD);
        while (av_read_frame(fmt, pkt) >= 0) {
            benchmark::DoNotOptimize(pkt->data);
            frames++;
            av_packet_unref(pkt);
        }
    }
    av_packet_free(&pkt);
    avformat_close_input(&fmt);
    state.counters["fps"] = benchmark::Counter((double)frames, benchmark::Counter::kIsRate);
}

// The same through the camera's reader: "fetch" only brings each frame in
// (the reader's own cost), "grab" also delivers it into a caller's buffer
// the way the camera's grab does (one more copy of every byte).
void ReaderPlayback(benchmark::State& state, AviSpec::Codec codec, bool deliver) {
    std::string error;
    std::unique_ptr<AviReader> reader = _AVI_open_reader(sample(codec).c_str(), &error);
    if (reader == nullptr) {
        state.SkipWithError(error.c_str());
        return;
    }
    const AviStreamInfo& info = reader->info();
    const size_t row = (size_t)info.width * 3;
    std::vector<ci_u8> grab(row * (size_t)info.height);
    int64_t frames = 0;
    for (auto _ : state) {
        for (ci_u32 i = 0; i < info.numFrames; i++) {
            ci_u32 bytes = 0;
            const ci_u8* data = reader->frame(i, &bytes);
            if (data == nullptr) continue;
            benchmark::DoNotOptimize(data);
            if (!deliver) {
                frames++;
                continue;
            }
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
BENCHMARK_CAPTURE(ReaderPlayback, mjpeg_1080p_fetch, AviSpec::Mjpeg, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ReaderPlayback, mjpeg_1080p_grab, AviSpec::Mjpeg, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BareReadLoop, dib_1080p, AviSpec::Dib)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ReaderPlayback, dib_1080p_fetch, AviSpec::Dib, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ReaderPlayback, dib_1080p_grab, AviSpec::Dib, true)->Unit(benchmark::kMillisecond);

}  // namespace
