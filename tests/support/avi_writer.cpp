#include "avi_writer.h"

#include <cstdio>
#include <cstring>
#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/imgutils.h>
#include <libswscale/swscale.h>
}

std::vector<uint8_t> avi_pattern(const AviSpec& spec, int frame) {
    std::vector<uint8_t> rows((size_t)spec.width * spec.height * 3);
    for (int y = 0; y < spec.height; y++) {
        for (int x = 0; x < spec.width; x++) {
            uint8_t* p = &rows[((size_t)y * spec.width + x) * 3];
            p[0] = (uint8_t)(x * 8 + frame * 40);      // blue: moves with the frame
            p[1] = (uint8_t)(y * 16);                  // green: the row
            p[2] = (uint8_t)((x / 8 + y / 8 + frame) % 2 ? 230 : 20);  // red: checkers
        }
    }
    if (spec.codec == AviSpec::Mjpeg && frame % 2 == 1) {  // busier frames compress to more bytes
        for (size_t i = 0; i < rows.size(); i++) rows[i] ^= (uint8_t)((i * 2654435761u) >> 24);
    }
    return rows;
}

namespace {

struct Output {
    AVFormatContext* fmt = nullptr;
    AVCodecContext* enc = nullptr;
    FILE* pipe = nullptr;
    ~Output() {
        avcodec_free_context(&enc);
        if (fmt != nullptr) {
            if (pipe != nullptr && fmt->pb != nullptr) {
                av_freep(&fmt->pb->buffer);
                avio_context_free(&fmt->pb);
            } else if (fmt->pb != nullptr) {
                avio_closep(&fmt->pb);
            }
            avformat_free_context(fmt);
        }
        if (pipe != nullptr) fclose(pipe);
    }
};

int writeToFile(void* opaque, uint8_t* buf, int size) {
    return (int)fwrite(buf, 1, (size_t)size, static_cast<FILE*>(opaque));
}

// DIB rows, each padded to four bytes, top-down as the muxer labels them
// unless asked otherwise.
std::vector<uint8_t> dibRows(const AviSpec& spec, const std::vector<uint8_t>& rows) {
    const size_t stride = ((size_t)spec.width * 3 + 3) & ~(size_t)3, row = (size_t)spec.width * 3;
    std::vector<uint8_t> dib(stride * spec.height, 0);
    for (int y = 0; y < spec.height; y++) {
        const int stored = spec.bottomUp ? spec.height - 1 - y : y;
        memcpy(&dib[(size_t)stored * stride], &rows[y * row], row);
    }
    return dib;
}

// Negates the height of the stream format's bitmap header in place (the
// muxer writes a negative height: top-down rows).
void flipHeightSign(const std::string& path) {
    FILE* f = fopen(path.c_str(), "r+b");
    std::vector<uint8_t> bytes(4096);
    bytes.resize(fread(bytes.data(), 1, bytes.size(), f));
    for (size_t i = 0; i + 20 <= bytes.size(); i++) {
        if (memcmp(&bytes[i], "strf", 4) != 0) continue;
        int32_t height;
        memcpy(&height, &bytes[i + 16], 4);
        height = -height;
        fseek(f, (long)(i + 16), SEEK_SET);
        fwrite(&height, 4, 1, f);
        break;
    }
    fclose(f);
}

std::string openEncoder(Output& out, const AviSpec& spec) {
    const bool jpeg = spec.codec == AviSpec::Mjpeg;
    const AVCodec* codec = avcodec_find_encoder(jpeg ? AV_CODEC_ID_MJPEG : AV_CODEC_ID_FFV1);
    if (codec == nullptr) return "no encoder";
    out.enc = avcodec_alloc_context3(codec);
    out.enc->width = spec.width;
    out.enc->height = spec.height;
    out.enc->time_base = AVRational{1, 25};
    out.enc->pix_fmt = jpeg ? AV_PIX_FMT_YUVJ420P : AV_PIX_FMT_BGR0;
    out.enc->gop_size = 3;  // FFV1: frames between key frames depend on the one before
    if (jpeg) {
        out.enc->flags |= AV_CODEC_FLAG_QSCALE;
        out.enc->global_quality = FF_QP2LAMBDA * 3;
    }
    return avcodec_open2(out.enc, codec, nullptr) < 0 ? "encoder does not open" : "";
}

// One frame through the encoder (no reordering: one packet per frame).
std::string encode(Output& out, const AviSpec& spec, const std::vector<uint8_t>& rows, std::vector<uint8_t>* packet,
                   bool* key) {
    AVFrame* pic = av_frame_alloc();
    pic->width = spec.width;
    pic->height = spec.height;
    pic->format = out.enc->pix_fmt;
    av_frame_get_buffer(pic, 0);
    SwsContext* sws = sws_getContext(spec.width, spec.height, AV_PIX_FMT_BGR24, spec.width, spec.height,
                                     out.enc->pix_fmt, SWS_POINT, nullptr, nullptr, nullptr);
    const uint8_t* src[4] = {rows.data(), nullptr, nullptr, nullptr};
    const int srcStride[4] = {spec.width * 3, 0, 0, 0};
    sws_scale(sws, src, srcStride, 0, spec.height, pic->data, pic->linesize);
    sws_freeContext(sws);
    AVPacket* pkt = av_packet_alloc();
    std::string error = avcodec_send_frame(out.enc, pic) < 0 ? "encode failed" : "";
    if (error.empty() && avcodec_receive_packet(out.enc, pkt) == 0) {
        packet->assign(pkt->data, pkt->data + pkt->size);
        *key = (pkt->flags & AV_PKT_FLAG_KEY) != 0;
    } else if (error.empty()) {
        error = "encoder gave no packet";
    }
    av_packet_free(&pkt);
    av_frame_free(&pic);
    return error;
}

std::string openOutput(Output& out, const std::string& path, const AviSpec& spec) {
    if (avformat_alloc_output_context2(&out.fmt, av_guess_format("avi", nullptr, nullptr), nullptr, path.c_str()) < 0)
        return "no muxer";
    AVStream* st = avformat_new_stream(out.fmt, nullptr);
    st->time_base = AVRational{1, 25};
    AVCodecParameters* par = st->codecpar;
    par->codec_type = AVMEDIA_TYPE_VIDEO;
    par->width = spec.width;
    par->height = spec.height;
    if (spec.codec == AviSpec::Dib) {
        par->codec_id = AV_CODEC_ID_RAWVIDEO;
        par->format = AV_PIX_FMT_BGR24;
        par->bits_per_coded_sample = 24;
    } else {
        std::string error = openEncoder(out, spec);
        if (!error.empty()) return error;
        avcodec_parameters_from_context(par, out.enc);
    }
    if (spec.streamed) {
        out.pipe = fopen(path.c_str(), "wb");
        auto* buffer = static_cast<uint8_t*>(av_malloc(4096));
        out.fmt->pb = avio_alloc_context(buffer, 4096, 1, out.pipe, nullptr, writeToFile, nullptr);
        out.fmt->pb->seekable = 0;
    } else if (avio_open(&out.fmt->pb, path.c_str(), AVIO_FLAG_WRITE) < 0) {
        return "cannot create the file";
    }
    return avformat_write_header(out.fmt, nullptr) < 0 ? "header not written" : "";
}

}  // namespace

std::string avi_write(const std::string& path, const AviSpec& spec, std::vector<std::vector<uint8_t>>* packets) {
    av_log_set_level(AV_LOG_QUIET);
    Output out;
    std::string error = openOutput(out, path, spec);
    for (int f = 0; error.empty() && f < spec.frames; f++) {
        std::vector<uint8_t> bytes;
        bool key = true;
        const std::vector<uint8_t> rows = avi_pattern(spec, f);
        if (spec.codec == AviSpec::Dib) {
            bytes = dibRows(spec, rows);
        } else {
            error = encode(out, spec, rows, &bytes, &key);
        }
        AVPacket* pkt = av_packet_alloc();
        av_new_packet(pkt, (int)bytes.size());
        memcpy(pkt->data, bytes.data(), bytes.size());
        pkt->pts = pkt->dts = f;
        pkt->duration = 1;
        if (key) pkt->flags |= AV_PKT_FLAG_KEY;
        pkt->stream_index = 0;
        av_packet_rescale_ts(pkt, AVRational{1, 25}, out.fmt->streams[0]->time_base);
        if (error.empty() && av_write_frame(out.fmt, pkt) < 0) error = "packet not written";
        av_packet_free(&pkt);
        if (packets != nullptr) packets->push_back(std::move(bytes));
    }
    if (error.empty() && av_write_trailer(out.fmt) < 0) error = "trailer not written";
    if (error.empty() && spec.bottomUp) {
        avio_flush(out.fmt->pb);
        flipHeightSign(path);
    }
    return error;
}
