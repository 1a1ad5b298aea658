// The simulated board's frame source: frames of a settable size and
// content on bulk endpoint 0x82, each closed by its marker packet, with
// one-frame faults.
#include <chrono>
#include <thread>

#include "usb_board_sim.h"

namespace {

double nowSeconds() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

void be16(ci_u8* p, ci_u32 v) {
    p[0] = (ci_u8)(v >> 8);
    p[1] = (ci_u8)v;
}

void le32(ci_u8* p, ci_u32 v) {
    for (int i = 0; i < 4; i++) p[i] = (ci_u8)(v >> (8 * i));
}

}  // namespace

void UsbBoard::setFrameSize(ci_u32 bytes) {
    std::lock_guard<std::mutex> lock(mutex_);
    frameSize_ = bytes;
}

void UsbBoard::setPattern(FramePattern pattern, ci_u32 width) {
    std::lock_guard<std::mutex> lock(mutex_);
    pattern_ = pattern;
    patternWidth_ = width;
}

void UsbBoard::setFrameContent(const std::vector<ci_u8>& bytes) {
    std::lock_guard<std::mutex> lock(mutex_);
    pattern_ = FramePattern::Fixed;
    content_ = bytes;
    frameSize_ = (ci_u32)bytes.size();
}

void UsbBoard::setFrameRate(double framesPerSecond) {
    std::lock_guard<std::mutex> lock(mutex_);
    frameRate_ = framesPerSecond;
}

void UsbBoard::faultNextFrame(FrameFault fault, ci_u32 bytes) {
    std::lock_guard<std::mutex> lock(mutex_);
    fault_ = fault;
    faultBytes_ = bytes;
    if (fault == FrameFault::Stall) stallNextBulk_ = true;
}

ci_u32 UsbBoard::framesStarted() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return framesStarted_;
}

ci_u64 UsbBoard::bulkBytesSent() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return bulkBytes_;
}

std::vector<ci_u32> UsbBoard::bulkRequests() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return bulkRequests_;
}

std::vector<ci_u8> UsbBoard::frameBytes(ci_u32 n) const {
    if (pattern_ == FramePattern::Fixed) return content_;
    std::vector<ci_u8> out(frameSize_);
    if (pattern_ == FramePattern::Counter) {
        for (ci_u32 i = 0; i < frameSize_; i++) out[i] = (ci_u8)(i + n);
        return out;
    }
    const ci_u32 width = patternWidth_ != 0 ? patternWidth_ : 1;
    for (ci_u32 i = 0; i + 1 < frameSize_; i += 2) {
        const ci_u32 x = (i / 2) % width, y = (i / 2) / width;
        const ci_u32 sample = ((y & 1) * 2 + (x & 1)) * 0x100 + ((x + y + n) & 0xFF);
        out[i] = (ci_u8)sample;
        out[i + 1] = (ci_u8)(sample >> 8);
    }
    return out;
}

ci_u32 UsbBoard::paddedSize(ci_u32 bytes) const {
    const ci_u32 mps = config_.maxPacketSize;
    return (bytes + mps - 1) / mps * mps;
}

// The end-of-frame packet: the pattern, the frame count and the bytes of
// the last data packet; the newest product adds the frame's measurements.
std::vector<ci_u8> UsbBoard::markerPacket(ci_u32 n, ci_u32 bytes) const {
    const ci_u32 size = config_.markerPacketSize;
    const bool extended = config_.productId == 0x100E && size >= 80;
    std::vector<ci_u8> p(size, 0x5A);
    std::fill(p.begin(), p.begin() + 16, 0);
    std::copy(config_.marker.begin(), config_.marker.begin() + std::min<size_t>(config_.marker.size(), 10), p.begin());
    be16(&p[14], n & 0xFFFF);
    const ci_u32 mps = config_.maxPacketSize;
    const ci_u32 last = bytes % mps == 0 ? (bytes == 0 ? 0 : mps) : bytes % mps;
    be16(&p[size - 2], last);
    if (extended) {
        le32(&p[16], n * 1000);
        le32(&p[20], bytes);
        le32(&p[24], patternWidth_ != 0 ? bytes / (patternWidth_ * 2) : 0);
        le32(&p[28], patternWidth_ * 2);
        p[32] = 0x05;
        p[48] = 0x01;
        p[64] = 0;
    }
    return p;
}

void UsbBoard::queueFrame() {
    if (frameRate_ > 0) {
        const double now = nowSeconds();
        if (nextFrameDue_ > now) std::this_thread::sleep_for(std::chrono::duration<double>(nextFrameDue_ - now));
        nextFrameDue_ = std::max(now, nextFrameDue_) + 1.0 / frameRate_;
    }
    const ci_u32 n = ++framesStarted_;
    const FrameFault fault = fault_;
    const ci_u32 faultBytes = faultBytes_;
    fault_ = FrameFault::None;
    std::vector<ci_u8> data = frameBytes(n);
    const bool shortFrame = fault == FrameFault::Short || fault == FrameFault::ShortWithoutMarker;
    if (shortFrame && faultBytes < data.size()) data.resize(faultBytes);
    const ci_u32 bytes = (ci_u32)data.size();
    if (fault == FrameFault::Late) stream_.push_back(Chunk{{}, faultBytes});
    if (fault == FrameFault::TimeoutMidFrame) {
        data.resize(paddedSize(bytes / 2));
        stream_.push_back(Chunk{std::move(data)});
        Chunk hang;
        hang.hang = true;
        stream_.push_back(hang);
        return;
    }
    // A frame cut short without its marker ends on a short packet.
    if (fault != FrameFault::ShortWithoutMarker) data.resize(paddedSize(bytes), 0);
    if (!data.empty()) stream_.push_back(Chunk{std::move(data)});
    if (fault == FrameFault::Extra) stream_.push_back(Chunk{{}, faultBytes});
    if (fault != FrameFault::MissingMarker && fault != FrameFault::ShortWithoutMarker && !config_.marker.empty())
        stream_.push_back(Chunk{markerPacket(n, bytes)});
}

// A transfer ends when the request is full or a packet comes short.
UsbBoard::Outcome UsbBoard::bulkIn(ci_u8* data, ci_u32 length, ci_u32* actual) {
    std::lock_guard<std::mutex> lock(mutex_);
    *actual = 0;
    bulkRequests_.push_back(length);
    if (stallNextBulk_) {
        stallNextBulk_ = false;
        fault_ = FrameFault::None;
        return Outcome::Stall;
    }
    const ci_u32 mps = config_.maxPacketSize;
    while (*actual < length) {
        if (stream_.empty()) {
            if (frameSize_ == 0 && pattern_ != FramePattern::Fixed) break;
            queueFrame();
        }
        Chunk& c = stream_.front();
        if (c.hang) {
            stream_.pop_front();
            return Outcome::Hang;
        }
        const ci_u64 left = c.size() - c.pos;
        const ci_u32 take = (ci_u32)std::min<ci_u64>(left, length - *actual);
        for (ci_u32 i = 0; i < take && !c.bytes.empty(); i++) data[*actual + i] = c.bytes[c.pos + i];
        for (ci_u32 i = 0; i < take && c.bytes.empty(); i++) data[*actual + i] = (ci_u8)(0xE0 | ((c.pos + i) & 0xF));
        c.pos += take;
        *actual += take;
        bulkBytes_ += take;
        const bool endsShort = c.size() % mps != 0;
        if (c.pos == c.size()) {
            stream_.pop_front();
            if (endsShort) break;
        }
    }
    return Outcome::Done;
}
