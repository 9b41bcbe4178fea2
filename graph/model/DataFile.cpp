#include "graph/model/DataFile.h"

#include <cstring>
#include <fcntl.h>
#include <unistd.h>

DataFile::DataFile(const std::string& fileName, int32_t frames, int32_t channelCount,
                   int32_t versionNumber, int32_t framesPerBlock)
    : name(fileName), channels(channelCount < 1 ? 1 : (channelCount > 2 ? 2 : channelCount)),
      version(versionNumber), blockFrames(framesPerBlock), framesHeld(frames < 0 ? 0 : frames)
{
}

DataFile::~DataFile() { close(); }

bool DataFile::open(const std::string& folder, bool create)
{
    close();
    const std::string path = folder + "/" + name;
    fd = ::open(path.c_str(), O_RDWR | O_CLOEXEC | (create ? O_CREAT : 0), 0644);
    if (fd < 0) return false;
    opened.store(true, std::memory_order_release);
    return true;
}

void DataFile::close()
{
    opened.store(false, std::memory_order_release);
    if (fd >= 0) ::close(fd);
    fd = -1;
}

bool DataFile::writeFrames(int64_t fileFrame, const uint16_t* samples, uint32_t frames)
{
    if (fd < 0 || fileFrame < 0) return false;
    const size_t bytes = size_t(frames) * size_t(channels) * 2;
    const char* p = reinterpret_cast<const char*>(samples);
    off_t at = off_t(fileFrame) * channels * 2;
    size_t done = 0;
    while (done < bytes) {
        const ssize_t n = ::pwrite(fd, p + done, bytes - done, at + off_t(done));
        if (n <= 0) return false;
        done += size_t(n);
    }
    const int64_t end = fileFrame + frames;
    if (end > framesHeld.load(std::memory_order_relaxed)) framesHeld.store(end, std::memory_order_relaxed);
    return true;
}

bool DataFile::readFrames(int64_t fileFrame, uint16_t* samples, uint32_t frames)
{
    const size_t bytes = size_t(frames) * size_t(channels) * 2;
    std::memset(samples, 0, bytes);
    if (fd < 0 || fileFrame < 0) return false;
    char* p = reinterpret_cast<char*>(samples);
    const off_t at = off_t(fileFrame) * channels * 2;
    size_t done = 0;
    while (done < bytes) {
        const ssize_t n = ::pread(fd, p + done, bytes - done, at + off_t(done));
        if (n < 0) return false;
        if (n == 0) break;
        done += size_t(n);
    }
    return true;
}
