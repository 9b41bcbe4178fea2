#pragma once

#include <atomic>
#include <cstdint>
#include <string>

// One ".dat" file of a recording run: 16-bit big-endian samples, interleaved
// when stereo, frame k of the file at byte k * channels * 2; no header.
//
// Threads: constructed by the interface thread (stream reading) or the disk
// thread (a new run); opened, written, read and closed by the disk thread
// only. `isOpen` and `fileFrames` may be read by any thread.
class DataFile {
public:
    static constexpr int32_t layoutVersion = 1;

    // The stream's entry: name, frames held, channels, layout version and
    // the store's frames per block when written.
    DataFile(const std::string& name, int32_t frames, int32_t channels, int32_t version,
             int32_t blockFrames);
    ~DataFile();
    DataFile(const DataFile&) = delete;
    DataFile& operator=(const DataFile&) = delete;

    // Disk thread. Opens `folder`/name for reading and writing; with
    // `create`, makes it if missing. False when it cannot.
    bool open(const std::string& folder, bool create);
    void close();
    // Disk thread. Writes `frames` frames of stored samples (already
    // big-endian) at frame `fileFrame` of the file.
    bool writeFrames(int64_t fileFrame, const uint16_t* samples, uint32_t frames);
    // Disk thread. Reads up to `frames` frames from frame `fileFrame`; what
    // lies beyond the end of the file reads as 0.
    bool readFrames(int64_t fileFrame, uint16_t* samples, uint32_t frames);

    bool isOpen() const noexcept { return opened.load(std::memory_order_acquire); }
    int64_t fileFrames() const noexcept { return framesHeld.load(std::memory_order_relaxed); }
    const std::string& fileName() const noexcept { return name; }
    int32_t channelCount() const noexcept { return channels; }
    int32_t versionNumber() const noexcept { return version; }
    int32_t framesPerBlock() const noexcept { return blockFrames; }

private:
    const std::string name;
    const int32_t channels;
    const int32_t version;
    const int32_t blockFrames;
    std::atomic<int64_t> framesHeld;
    std::atomic<bool> opened{false};
    int fd = -1;
};
