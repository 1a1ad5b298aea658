// Video frames through FFmpeg's libraries: libavformat demuxes (through our
// own byte source, restricted to the AVI container), libavcodec decodes what
// is not handed out as stored, libswscale converts decoded pictures to BGR24.
#define CK_SOURCE "transport/avi_transport"
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

#include "core/camkit_private.h"
#include "transport/avi_reader.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/imgutils.h>
#include <libswscale/swscale.h>
}

namespace {

constexpr int kIoBufferSize = 64 * 1024;
constexpr ci_s32 kMaxSide = 16384;
constexpr int64_t kMaxPixels = int64_t(1) << 26;

// Where the container's bytes come from: a file or a block of memory.
class ByteSource {
public:
    virtual ~ByteSource() = default;
    virtual int read(uint8_t* buf, int size) = 0;
    virtual int64_t size() const = 0;
    virtual int64_t seek(int64_t offset) = 0;  // absolute; the new position or < 0
    virtual int64_t tell() const = 0;
};

class FileSource final : public ByteSource {
public:
    explicit FileSource(FILE* file) : file_(file) {
        fseeko(file_, 0, SEEK_END);
        size_ = ftello(file_);
        fseeko(file_, 0, SEEK_SET);
    }
    ~FileSource() override { fclose(file_); }
    int read(uint8_t* buf, int size) override { return (int)fread(buf, 1, (size_t)size, file_); }
    int64_t size() const override { return size_; }
    int64_t seek(int64_t offset) override { return fseeko(file_, offset, SEEK_SET) == 0 ? offset : -1; }
    int64_t tell() const override { return ftello(file_); }

private:
    FILE* file_;
    int64_t size_ = 0;
};

class MemorySource final : public ByteSource {
public:
    MemorySource(const ci_u8* data, size_t size) : data_(data), size_((int64_t)size) {}
    int read(uint8_t* buf, int size) override {
        const int n = (int)std::min<int64_t>(size, size_ - pos_);
        if (n > 0) memcpy(buf, data_ + pos_, (size_t)n);
        pos_ += std::max(n, 0);
        return std::max(n, 0);
    }
    int64_t size() const override { return size_; }
    int64_t seek(int64_t offset) override { return offset < 0 || offset > size_ ? -1 : (pos_ = offset); }
    int64_t tell() const override { return pos_; }

private:
    const ci_u8* data_;
    int64_t size_;
    int64_t pos_ = 0;
};

int readPacket(void* opaque, uint8_t* buf, int size) {
    const int n = static_cast<ByteSource*>(opaque)->read(buf, size);
    return n > 0 ? n : AVERROR_EOF;
}

int64_t seekSource(void* opaque, int64_t offset, int whence) {
    auto* src = static_cast<ByteSource*>(opaque);
    switch (whence & ~AVSEEK_FORCE) {
        case AVSEEK_SIZE: return src->size();
        case SEEK_SET: return src->seek(offset);
        case SEEK_CUR: return src->seek(src->tell() + offset);
        case SEEK_END: return src->seek(src->size() + offset);
        default: return -1;
    }
}

// One open demuxer over the byte source; reopened to rewind when a seek fails.
class Demuxer {
public:
    ~Demuxer() { close(); }
    bool open(ByteSource* src, std::string* error) {
        close();
        src->seek(0);
        auto* buffer = static_cast<uint8_t*>(av_malloc(kIoBufferSize));
        io_ = avio_alloc_context(buffer, kIoBufferSize, 0, src, readPacket, nullptr, seekSource);
        fmt_ = avformat_alloc_context();
        if (buffer == nullptr || io_ == nullptr || fmt_ == nullptr) {
            if (io_ == nullptr) av_free(buffer);
            return fail(error, "out of memory");
        }
        fmt_->pb = io_;
        if (avformat_open_input(&fmt_, nullptr, av_find_input_format("avi"), nullptr) < 0) {
            return fail(error, "not an AVI file");  // fmt_ was freed by the failed open
        }
        stream_ = av_find_best_stream(fmt_, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
        if (stream_ < 0) return fail(error, "no video stream");
        return true;
    }
    AVFormatContext* fmt() const { return fmt_; }
    AVStream* stream() const { return fmt_->streams[stream_]; }
    int streamIndex() const { return stream_; }

private:
    bool fail(std::string* error, const char* why) {
        *error = why;
        close();
        return false;
    }
    void close() {
        if (fmt_ != nullptr) avformat_close_input(&fmt_);
        if (io_ != nullptr) {
            av_freep(&io_->buffer);
            avio_context_free(&io_);
        }
        stream_ = -1;
    }
    AVFormatContext* fmt_ = nullptr;
    AVIOContext* io_ = nullptr;
    int stream_ = -1;
};

struct FrameEntry {
    int64_t ts;
    ci_u32 size;
};

enum class Kind { Jpeg, Dib, Decoded };

int64_t packetTime(const AVPacket* pkt) { return pkt->pts != AV_NOPTS_VALUE ? pkt->pts : pkt->dts; }

// The demuxer reports a DIB's height as positive and marks bottom-up rows (a
// positive height in the file) with this tag at the end of the extra data.
bool dibIsBottomUp(const AVCodecParameters* par) {
    static const char kTag[] = "BottomUp";  // with its terminating zero
    return par->extradata != nullptr && par->extradata_size >= (int)sizeof kTag &&
           memcmp(par->extradata + par->extradata_size - sizeof kTag, kTag, sizeof kTag) == 0;
}

class FfmpegAviReader final : public AviReader {
public:
    explicit FfmpegAviReader(std::unique_ptr<ByteSource> src) : src_(std::move(src)) {}
    ~FfmpegAviReader() override {
        av_packet_free(&pkt_);
        av_packet_free(&held_);
        av_frame_free(&picture_);
        avcodec_free_context(&codec_);
        sws_freeContext(sws_);
    }

    bool open(std::string* error) {
        pkt_ = av_packet_alloc();
        held_ = av_packet_alloc();
        picture_ = av_frame_alloc();
        if (pkt_ == nullptr || held_ == nullptr || picture_ == nullptr) return fail(error, "out of memory");
        if (!demux_.open(src_.get(), error)) return false;
        return describe(error) && listFrames(error) && openDecoder(error);
    }

    const AviStreamInfo& info() const override { return info_; }

    const ci_u8* frame(ci_u32 index, ci_u32* bytes) override {
        if (index >= frames_.size()) return nullptr;
        if (index != next_ && !seekTo(index)) return nullptr;
        const bool ok = kind_ == Kind::Decoded ? decodeNext(frames_[index].ts) : takeNextPacket(frames_[index].ts);
        if (!ok) {
            next_ = UINT32_MAX;  // position unknown: the next call seeks
            return nullptr;
        }
        next_ = index + 1;
        *bytes = frameBytes_;
        return frameData_;
    }

private:
    static bool fail(std::string* error, const char* why) {
        *error = why;
        return false;
    }

    bool describe(std::string* error) {
        const AVCodecParameters* par = demux_.stream()->codecpar;
        const ci_s32 width = par->width, height = par->height < 0 ? -par->height : par->height;
        if (width <= 0 || height <= 0 || width > kMaxSide || height > kMaxSide ||
            int64_t(width) * height > kMaxPixels) {
            return fail(error, "frame size out of range");
        }
        info_.width = width;
        info_.height = height;
        if (par->codec_id == AV_CODEC_ID_MJPEG) {
            kind_ = Kind::Jpeg;
            info_.imageType = CI_JPEG;
        } else if (par->codec_id == AV_CODEC_ID_RAWVIDEO && par->codec_tag == 0 &&
                   (par->format == AV_PIX_FMT_BGR24 || par->bits_per_coded_sample == 24)) {
            kind_ = Kind::Dib;
            info_.stride = (width * 3 + 3) & ~3;
            info_.upsideDown = dibIsBottomUp(par);
        } else {
            kind_ = Kind::Decoded;
            info_.stride = width * 3;
        }
        return true;
    }

    // Every frame of the stream, in presentation order: from the index the
    // demuxer read, or from one pass over the packets when there is none.
    bool listFrames(std::string* error) {
        AVStream* st = demux_.stream();
        const int indexed = avformat_index_get_entries_count(st);
        indexed_ = indexed > 0;
        for (int i = 0; i < indexed; i++) {
            const AVIndexEntry* e = avformat_index_get_entry(st, i);
            frames_.push_back({e->timestamp, (ci_u32)std::max(e->size, 0)});
        }
        if (frames_.empty()) {
            while (av_read_frame(demux_.fmt(), pkt_) >= 0) {
                if (pkt_->stream_index == demux_.streamIndex()) frames_.push_back({packetTime(pkt_), (ci_u32)pkt_->size});
                av_packet_unref(pkt_);
            }
            if (!demux_.open(src_.get(), error)) return false;
        }
        if (frames_.empty()) return fail(error, "the video stream holds no frames");
        std::stable_sort(frames_.begin(), frames_.end(),
                         [](const FrameEntry& a, const FrameEntry& b) { return a.ts < b.ts; });
        info_.numFrames = (ci_u32)frames_.size();
        ci_u32 largest = 0;
        for (const FrameEntry& f : frames_) largest = std::max(largest, f.size);
        info_.maxFrameBytes =
            kind_ == Kind::Jpeg ? largest : (ci_u32)info_.stride * (ci_u32)info_.height;
        return true;
    }

    bool openDecoder(std::string* error) {
        if (kind_ != Kind::Decoded) return true;
        const AVCodecParameters* par = demux_.stream()->codecpar;
        const AVCodec* decoder = avcodec_find_decoder(par->codec_id);
        if (decoder == nullptr) return fail(error, "no decoder for the video's codec");
        codec_ = avcodec_alloc_context3(decoder);
        if (codec_ == nullptr || avcodec_parameters_to_context(codec_, par) < 0 ||
            avcodec_open2(codec_, decoder, nullptr) < 0) {
            return fail(error, "the video's decoder cannot be opened");
        }
        return true;
    }

    // Positions the demuxer so that reading forward reaches frame `index`:
    // ahead of the current position it just reads on; otherwise it seeks
    // through the index (to the key frame at or before the frame), or, in a
    // file without one, rewinds to the start.
    bool seekTo(ci_u32 index) {
        const bool ahead = next_ != UINT32_MAX && index > next_;
        if (!ahead) {
            const bool sought = indexed_ && av_seek_frame(demux_.fmt(), demux_.streamIndex(), frames_[index].ts,
                                                          AVSEEK_FLAG_BACKWARD) >= 0;
            std::string error;
            if (!sought && !demux_.open(src_.get(), &error)) {
                CK_ERR(CI_CAMERA_ERROR, error.c_str());
                return false;
            }
            if (codec_ != nullptr) avcodec_flush_buffers(codec_);
        }
        next_ = index;
        return true;
    }

    // The next packet of the video stream; false at the end or on an error.
    bool readStreamPacket() {
        while (av_read_frame(demux_.fmt(), pkt_) >= 0) {
            if (pkt_->stream_index == demux_.streamIndex()) return true;
            av_packet_unref(pkt_);
        }
        return false;
    }

    // Frames handed out as stored: the first packet at or after `ts`.  An
    // empty packet (a dropped frame) repeats the previous one.
    bool takeNextPacket(int64_t ts) {
        while (readStreamPacket()) {
            const int64_t t = packetTime(pkt_);
            if (t != AV_NOPTS_VALUE && t < ts) {
                av_packet_unref(pkt_);
                continue;
            }
            const bool ok = storePacket();
            av_packet_unref(pkt_);  // a no-op when the frame kept it
            return ok;
        }
        CK_ERR(CI_CAMERA_ERROR, "the video ended before the frame");
        return false;
    }

    // Keeps the packet itself (no copy) as the current frame.
    bool storePacket() {
        const ci_u32 size = (ci_u32)pkt_->size;
        if (size == 0 && held_->size > 0) return true;
        const ci_u32 need = kind_ == Kind::Dib ? (ci_u32)info_.stride * (ci_u32)info_.height : size;
        if (size == 0 || size < need) {
            CK_ERR(CI_CAMERA_ERROR, "a frame is shorter than its size");
            return false;
        }
        av_packet_unref(held_);
        av_packet_move_ref(held_, pkt_);
        frameData_ = held_->data;
        frameBytes_ = need;
        return true;
    }

    // Decoded frames: the first picture at or after `ts`, as BGR24 rows.
    bool decodeNext(int64_t ts) {
        bool draining = false;
        for (;;) {
            const int got = avcodec_receive_frame(codec_, picture_);
            if (got == 0) {
                const int64_t t = picture_->best_effort_timestamp;
                const bool early = t != AV_NOPTS_VALUE && t < ts;
                const bool ok = early || convertPicture();
                av_frame_unref(picture_);
                if (!early) return ok;
                continue;
            }
            if (got != AVERROR(EAGAIN) || draining) break;
            if (readStreamPacket()) {
                avcodec_send_packet(codec_, pkt_);  // a damaged packet is skipped
                av_packet_unref(pkt_);
            } else {
                avcodec_send_packet(codec_, nullptr);
                draining = true;
            }
        }
        CK_ERR(CI_CAMERA_ERROR, "the video's decoder gave no picture for the frame");
        return false;
    }

    bool convertPicture() {
        if (picture_->width != info_.width || picture_->height != info_.height) {
            CK_ERR(CI_CAMERA_ERROR, "a decoded picture changed size");
            return false;
        }
        sws_ = sws_getCachedContext(sws_, info_.width, info_.height, (AVPixelFormat)picture_->format, info_.width,
                                    info_.height, AV_PIX_FMT_BGR24, SWS_POINT, nullptr, nullptr, nullptr);
        if (sws_ == nullptr) {
            CK_ERR(CI_CAMERA_ERROR, "no conversion from the decoded picture format");
            return false;
        }
        frameBytes_ = (ci_u32)info_.stride * (ci_u32)info_.height;
        frameBuf_.resize(frameBytes_);
        frameData_ = frameBuf_.data();
        uint8_t* dst[4] = {frameBuf_.data(), nullptr, nullptr, nullptr};
        int dstStride[4] = {info_.stride, 0, 0, 0};
        sws_scale(sws_, picture_->data, picture_->linesize, 0, info_.height, dst, dstStride);
        return true;
    }

    std::unique_ptr<ByteSource> src_;
    Demuxer demux_;
    AviStreamInfo info_;
    Kind kind_ = Kind::Decoded;
    std::vector<FrameEntry> frames_;
    bool indexed_ = false;
    ci_u32 next_ = 0;
    AVPacket* pkt_ = nullptr;
    AVPacket* held_ = nullptr;  // the current stored frame
    AVFrame* picture_ = nullptr;
    AVCodecContext* codec_ = nullptr;
    SwsContext* sws_ = nullptr;
    std::vector<ci_u8> frameBuf_;  // the current decoded frame
    const ci_u8* frameData_ = nullptr;
    ci_u32 frameBytes_ = 0;
};

std::unique_ptr<AviReader> openFrom(std::unique_ptr<ByteSource> src, std::string* error) {
    av_log_set_level(AV_LOG_QUIET);
    auto reader = std::make_unique<FfmpegAviReader>(std::move(src));
    if (!reader->open(error)) return nullptr;
    return reader;
}

}  // namespace

std::unique_ptr<AviReader> _AVI_open_reader(const char* path, std::string* error) {
    FILE* file = fopen(path, "rb");
    if (file == nullptr) {
        *error = "cannot be read";
        return nullptr;
    }
    return openFrom(std::make_unique<FileSource>(file), error);
}

std::unique_ptr<AviReader> _AVI_open_reader_memory(const ci_u8* data, size_t size, std::string* error) {
    return openFrom(std::make_unique<MemorySource>(data, size), error);
}
