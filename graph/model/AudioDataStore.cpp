#include "graph/model/AudioDataStore.h"

#include <cerrno>
#include <cstring>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

inline uint16_t toBigEndian(int16_t v)
{
    const uint16_t u = uint16_t(v);
    const unsigned char bytes[2] = {uint8_t(u >> 8), uint8_t(u & 0xff)};
    uint16_t stored;
    std::memcpy(&stored, bytes, 2);
    return stored;
}

inline int16_t fromBigEndian(uint16_t stored)
{
    unsigned char bytes[2];
    std::memcpy(bytes, &stored, 2);
    return int16_t(uint16_t((bytes[0] << 8) | bytes[1]));
}

inline int16_t quantize(float x)
{
    if (!(x >= -1.0f)) x = -1.0f; // NaN too
    if (x > 1.0f) x = 1.0f;
    return int16_t(x * 32767.0f);
}

uint64_t blockWord(AudioBlock* b) { return uint64_t(reinterpret_cast<uintptr_t>(b)); }
AudioBlock* blockOf(uint64_t w) { return reinterpret_cast<AudioBlock*>(uintptr_t(w)); }

// A read request: the block's start position (downsampled samples, below
// 2^48) and the region's index in the high 16 bits.
uint64_t requestWord(int64_t start, int32_t region)
{
    return (uint64_t(uint32_t(region)) << 48) | (uint64_t(start) & 0xffffffffffffull);
}

bool makeFolder(const std::string& path)
{
    if (::mkdir(path.c_str(), 0755) == 0 || errno == EEXIST) {
        struct stat st;
        return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
    }
    if (errno != ENOENT) return false;
    const size_t slash = path.find_last_of('/');
    if (slash == std::string::npos || slash == 0) return false;
    if (!makeFolder(path.substr(0, slash))) return false;
    return ::mkdir(path.c_str(), 0755) == 0 || errno == EEXIST;
}

} // namespace

AudioDataStore::AudioDataStore(int32_t channelCount, int32_t framesPerBlock)
    : channels(channelCount >= 2 ? 2 : 1), blockFrames(framesPerBlock < 1 ? 1 : framesPerBlock),
      prefetchFrames(framesPerBlock < 1 ? 1 : framesPerBlock),
      dataFiles(new std::unique_ptr<DataFile>[maxRegions]), regions(new AudioRegion[maxRegions])
{
    for (int32_t i = 0; i < blockCount; ++i) {
        for (auto* set : {&writeBlocks[i], &readBlocks[i]}) {
            set->reset(new AudioBlock);
            AudioBlock& b = **set;
            b.frames = uint32_t(blockFrames);
            b.channels = uint32_t(channels);
            b.owner = this;
            b.returnFifo = &finishedBlocks;
            b.index = i;
            b.samples.reset(new uint16_t[size_t(blockFrames) * size_t(channels)]());
        }
    }
    reset();
}

AudioDataStore::~AudioDataStore() { stop(); }

void AudioDataStore::setParentFolder(const std::string& path) { parentFolderPath = path; }

void AudioDataStore::setSessionID(const std::string& id)
{
    sessionID = id.substr(0, size_t(maxSessionIDLength));
    folderName = sessionID;
}

bool AudioDataStore::makeFolderPath(const std::string& path) { return makeFolder(path); }

void AudioDataStore::setFolder(const std::string& parentPath, const std::string& name)
{
    parentFolderPath = parentPath;
    folderName = name;
}

void AudioDataStore::closeFiles()
{
    const int32_t n = filesUsed.load(std::memory_order_acquire);
    for (int32_t i = 0; i < n; ++i)
        if (dataFiles[size_t(i)]) dataFiles[size_t(i)]->close();
}

std::string AudioDataStore::makeSessionID()
{
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    localtime_r(&now, &parts);
    char text[40];
    std::strftime(text, sizeof text, "%Y%m%d%H%M%S", &parts);
    static std::atomic<int> serial{0};
    char id[64];
    std::snprintf(id, sizeof id, "%s_%d", text, int(::getpid() % 100000) * 1000 + serial++ % 1000);
    return id;
}

//--- Disk thread ------------------------------------------------------------

void AudioDataStore::start()
{
    if (diskThread.joinable()) return;
    diskQuit.store(false, std::memory_order_relaxed);
    filesOpened.store(false, std::memory_order_relaxed);
    diskThread = std::thread([this] { diskLoop(); });
    while (!filesOpened.load(std::memory_order_acquire)) std::this_thread::yield();
}

void AudioDataStore::stop()
{
    if (!diskThread.joinable()) return;
    {
        std::lock_guard<std::mutex> lock(diskMutex);
        diskQuit.store(true, std::memory_order_release);
    }
    diskWake.notify_one();
    diskThread.join();
}

void AudioDataStore::waitIdle() const
{
    while (diskThread.joinable() && blocksInFlight.load(std::memory_order_acquire) > 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

void AudioDataStore::openFiles()
{
    const int32_t n = filesUsed.load(std::memory_order_acquire);
    bool missing = false;
    for (int32_t i = 0; i < n; ++i)
        if (dataFiles[size_t(i)] && !dataFiles[size_t(i)]->isOpen() &&
            !dataFiles[size_t(i)]->open(sessionFolder(), false))
            missing = true;
    status.store(missing ? statusFilesMissing : 0, std::memory_order_release);
}

void AudioDataStore::diskLoop()
{
    openFiles();
    filesOpened.store(true, std::memory_order_release);
    for (;;) {
        bool worked = false;
        uint64_t word = 0;
        while (finishedBlocks.pop(word)) {
            writeBlockToDisk(blockOf(word));
            worked = true;
        }
        if (readRequests.pop(word)) {
            const int32_t r = int32_t(word >> 48);
            if (r >= 0 && r < regionsUsed.load(std::memory_order_acquire))
                fillReadBlock(int64_t(word & 0xffffffffffffull), &regions[size_t(r)]);
            worked = true;
        }
        if (!worked) {
            if (diskQuit.load(std::memory_order_acquire)) break;
            // The audio thread never wakes the disk thread: it polls. Only
            // stop() notifies, so that it need not wait out the poll.
            std::unique_lock<std::mutex> lock(diskMutex);
            diskWake.wait_for(lock, std::chrono::milliseconds(1),
                              [this] { return diskQuit.load(std::memory_order_acquire); });
        }
    }
}

void AudioDataStore::writeBlockToDisk(AudioBlock* block)
{
    AudioRegion* r = block->region.load(std::memory_order_acquire);
    const int64_t start = block->startPosition.load(std::memory_order_relaxed);
    const int64_t used = block->endPosition.load(std::memory_order_relaxed) - start;
    if (r != nullptr && used > 0 && !diskError.load(std::memory_order_relaxed)) {
        DataFile* file = r->file.load(std::memory_order_acquire);
        if (file == nullptr) {
            const int32_t n = filesUsed.load(std::memory_order_relaxed);
            char name[80];
            std::snprintf(name, sizeof name, "%s_%d.dat", sessionID.c_str(), int(n));
            std::unique_ptr<DataFile> created(new DataFile(name, 0, channels, DataFile::layoutVersion, blockFrames));
            if (n < maxRegions && makeFolder(sessionFolder()) && created->open(sessionFolder(), true)) {
                folderSet.store(true, std::memory_order_release);
                file = created.get();
                dataFiles[size_t(n)] = std::move(created);
                filesUsed.store(n + 1, std::memory_order_release);
            }
        }
        const int64_t fileFrame = start - r->start.load(std::memory_order_relaxed) +
                                  r->fileOffset.load(std::memory_order_relaxed);
        if (file == nullptr || !file->writeFrames(fileFrame, block->samples.get(), uint32_t(used))) {
            diskError.store(true, std::memory_order_release);
        } else if (r->file.load(std::memory_order_relaxed) == nullptr) {
            r->file.store(file, std::memory_order_release);
        }
    }
    block->region.store(nullptr, std::memory_order_relaxed);
    freeWriteBlocks.push(blockWord(block));
    blocksInFlight.fetch_sub(1, std::memory_order_acq_rel);
}

void AudioDataStore::fillReadBlock(int64_t blockStart, AudioRegion* r)
{
    for (auto& b : readBlocks)
        if (b->region.load(std::memory_order_acquire) == r &&
            b->startPosition.load(std::memory_order_relaxed) == blockStart)
            return;
    while (readsHeld.load(std::memory_order_acquire) && !diskQuit.load(std::memory_order_acquire))
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    uint64_t word = 0;
    if (!freeReadBlocks.pop(word)) return;
    AudioBlock* block = blockOf(word);
    block->pending.store(1, std::memory_order_relaxed);
    block->startPosition.store(blockStart, std::memory_order_relaxed);
    block->endPosition.store(blockStart + blockFrames, std::memory_order_relaxed);
    block->region.store(r, std::memory_order_release);
    DataFile* file = r->file.load(std::memory_order_acquire);
    const int64_t fileFrame = blockStart - r->start.load(std::memory_order_relaxed) +
                              r->fileOffset.load(std::memory_order_relaxed);
    if (file != nullptr) file->readFrames(fileFrame, block->samples.get(), block->frames);
    block->pending.store(0, std::memory_order_release);
}

//--- Audio thread -----------------------------------------------------------

void AudioDataStore::beginRun() noexcept
{
    endRun();
    startOfRun = true;
    writeFailed.store(false, std::memory_order_release);
    const int32_t n = regionsUsed.load(std::memory_order_relaxed);
    currentRun = nullptr;
    if (n >= maxRegions) return;
    AudioRegion& r = regions[size_t(n)];
    r.start.store(0, std::memory_order_relaxed);
    r.end.store(0, std::memory_order_relaxed);
    r.file.store(nullptr, std::memory_order_relaxed);
    r.fileOffset.store(0, std::memory_order_relaxed);
    currentRun = &r;
}

void AudioDataStore::endRun() noexcept
{
    if (currentWriteBlock == nullptr) return;
    if (handOn(currentWriteBlock)) currentWriteBlock = nullptr;
    else fail();
}

void AudioDataStore::forgetRecording() noexcept
{
    endRun();
    currentRun = nullptr;
    currentRegion = nullptr;
    currentReadBlock = nullptr;
    aheadCount = 0;
    startOfRun = false;
    firstRegion.store(regionsUsed.load(std::memory_order_relaxed), std::memory_order_release);
    runEnd.store(0, std::memory_order_release);
    writeFailed.store(false, std::memory_order_release);
    overrun.store(false, std::memory_order_release);
    status.store(0, std::memory_order_release);
}

void AudioDataStore::fail() noexcept
{
    writeFailed.store(true, std::memory_order_release);
    runEnd.store(0, std::memory_order_release);
}

bool AudioDataStore::handOn(AudioBlock* block) noexcept
{
    blocksInFlight.fetch_add(1, std::memory_order_acq_rel);
    while (!block->returnFifo->push(blockWord(block))) {
        if (!offline) {
            // The block stays the audio thread's current one, to be handed on
            // when the next run begins.
            blocksInFlight.fetch_sub(1, std::memory_order_acq_rel);
            overrun.store(true, std::memory_order_release);
            return false;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return true;
}

bool AudioDataStore::writeSample(int64_t position, float left, float right) noexcept
{
    writePosition = position;
    if (writeFailed.load(std::memory_order_relaxed)) return false;
    if (currentRun == nullptr || status.load(std::memory_order_relaxed) != 0 ||
        diskError.load(std::memory_order_acquire)) {
        fail();
        return false;
    }
    if (startOfRun) {
        currentRun->start.store(position, std::memory_order_relaxed);
        currentRun->end.store(position, std::memory_order_relaxed);
        runStart = position;
        startOfRun = false;
        // The run's region is published once its start is in place.
        const int32_t n = regionsUsed.load(std::memory_order_relaxed);
        if (currentRun == &regions[size_t(n)]) regionsUsed.store(n + 1, std::memory_order_release);
        if (currentWriteBlock != nullptr) {
            if (!handOn(currentWriteBlock)) {
                fail();
                return false;
            }
            currentWriteBlock = nullptr;
        }
    } else if (currentWriteBlock != nullptr) {
        const int64_t s = currentWriteBlock->startPosition.load(std::memory_order_relaxed);
        if (position < s || position >= s + blockFrames) {
            if (!handOn(currentWriteBlock)) {
                fail();
                return false;
            }
            currentWriteBlock = nullptr;
        }
    }
    if (currentWriteBlock == nullptr) {
        uint64_t word = 0;
        while (!freeWriteBlocks.pop(word)) {
            if (!offline) {
                overrun.store(true, std::memory_order_release);
                fail();
                return false;
            }
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
        AudioBlock* b = blockOf(word);
        const int64_t relative = position - runStart;
        const int64_t base = relative - ((relative % blockFrames) + blockFrames) % blockFrames + runStart;
        b->startPosition.store(base, std::memory_order_relaxed);
        b->endPosition.store(base, std::memory_order_relaxed);
        b->pending.store(0, std::memory_order_relaxed);
        b->region.store(currentRun, std::memory_order_relaxed);
        std::memset(b->samples.get(), 0, size_t(blockFrames) * size_t(channels) * 2);
        currentWriteBlock = b;
    }
    AudioBlock* b = currentWriteBlock;
    const int64_t s = b->startPosition.load(std::memory_order_relaxed);
    const size_t at = size_t(position - s) * size_t(channels);
    b->samples[at] = toBigEndian(quantize(left));
    if (channels >= 2) b->samples[at + 1] = toBigEndian(quantize(right));
    if (position + 1 > b->endPosition.load(std::memory_order_relaxed))
        b->endPosition.store(position + 1, std::memory_order_relaxed);
    currentRun->end.store(position + 1, std::memory_order_release);
    runEnd.store(position + 1, std::memory_order_release);
    return true;
}

int32_t AudioDataStore::regionIndexOf(const AudioRegion* r) const noexcept
{
    return int32_t(r - regions.get());
}

AudioBlock* AudioDataStore::findReadBlock(AudioRegion* r, int64_t position) noexcept
{
    for (auto& b : readBlocks) {
        if (b->region.load(std::memory_order_acquire) != r) continue;
        const int64_t s = b->startPosition.load(std::memory_order_relaxed);
        if (position >= s && position < s + blockFrames) return b.get();
    }
    return nullptr;
}

void AudioDataStore::askAhead(int64_t blockStart, int32_t regionIndex, bool ahead, bool further) noexcept
{
    aheadCount = 0;
    if (ahead) aheadRequests[aheadCount++] = requestWord(blockStart + blockFrames, regionIndex);
    if (further) aheadRequests[aheadCount++] = requestWord(blockStart + 2 * int64_t(blockFrames), regionIndex);
    pushAhead();
}

void AudioDataStore::pushAhead() noexcept
{
    int32_t sent = 0;
    while (sent < aheadCount && readRequests.push(aheadRequests[sent])) ++sent;
    for (int32_t i = sent; i < aheadCount; ++i) aheadRequests[i - sent] = aheadRequests[i];
    aheadCount -= sent;
}

void AudioDataStore::awaitReadBlock(int64_t position, int64_t blockStart, int32_t regionIndex) noexcept
{
    constexpr int tries = 10000;
    for (int k = 0; k < tries; ++k) {
        if (currentReadBlock == nullptr) {
            currentReadBlock = findReadBlock(currentRegion, position);
            if (currentReadBlock == nullptr) readRequests.push(requestWord(blockStart, regionIndex));
        }
        if (currentReadBlock != nullptr && currentReadBlock->pending.load(std::memory_order_acquire) == 0) return;
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
}

int AudioDataStore::readSample(int64_t position, float& left, float* right) noexcept
{
    if (status.load(std::memory_order_acquire) != 0) return readUnusable;
    const int32_t used = regionsUsed.load(std::memory_order_acquire);
    if (currentRegion == nullptr || used != regionsSeen ||
        position < currentRegion->start.load(std::memory_order_relaxed) ||
        position >= currentRegion->end.load(std::memory_order_acquire)) {
        const int32_t i = newestRegionAt(position, used);
        currentRegion = i < 0 ? nullptr : &regions[size_t(i)];
        regionsSeen = used;
    }
    if (currentRegion == nullptr) return readNothing;
    DataFile* file = currentRegion->file.load(std::memory_order_acquire);
    if (file == nullptr || !file->isOpen()) return readNothing;

    const int64_t base = currentRegion->start.load(std::memory_order_relaxed);
    const int64_t relative = position - base;
    const int64_t blockStart = base + relative - relative % blockFrames;
    const int32_t regionIndex = regionIndexOf(currentRegion);
    if (currentReadBlock == nullptr || currentReadBlock->region.load(std::memory_order_acquire) != currentRegion ||
        position < currentReadBlock->startPosition.load(std::memory_order_relaxed) ||
        position >= currentReadBlock->endPosition.load(std::memory_order_relaxed)) {
        currentReadBlock = findReadBlock(currentRegion, position);
        AudioBlock* ahead = findReadBlock(currentRegion, blockStart + blockFrames);
        AudioBlock* further = findReadBlock(currentRegion, blockStart + 2 * int64_t(blockFrames));
        // Blocks other than this one and the two ahead go back to the disk
        // side.
        for (auto& b : readBlocks) {
            AudioBlock* p = b.get();
            if (p == currentReadBlock || p == ahead || p == further ||
                p->region.load(std::memory_order_acquire) == nullptr ||
                p->pending.load(std::memory_order_acquire) != 0)
                continue;
            p->region.store(nullptr, std::memory_order_relaxed);
            p->startPosition.store(-1, std::memory_order_relaxed);
            freeReadBlocks.push(blockWord(p));
        }
        // A missing block is asked for on every call until it comes: the
        // disk side drops a request it has no free block for. The read-ahead,
        // two blocks deep, is asked for once per block, and kept until the
        // fifo has taken it.
        if (currentReadBlock == nullptr) {
            aheadCount = 0;
            readRequests.push(requestWord(blockStart, regionIndex));
        } else {
            askAhead(blockStart, regionIndex, ahead == nullptr, further == nullptr);
        }
    } else if (aheadCount != 0) {
        pushAhead();
    }
    if (offline && (currentReadBlock == nullptr || currentReadBlock->pending.load(std::memory_order_acquire) != 0))
        awaitReadBlock(position, blockStart, regionIndex);
    if (currentReadBlock == nullptr) return readPending;
    if (currentReadBlock->pending.load(std::memory_order_acquire) != 0) return readPending;
    const size_t at = size_t(position - currentReadBlock->startPosition.load(std::memory_order_relaxed)) *
                      size_t(channels);
    left = float(fromBigEndian(currentReadBlock->samples[at])) / 32767.0f;
    if (right != nullptr)
        *right = channels == 2 ? float(fromBigEndian(currentReadBlock->samples[at + 1])) * (1.0f / 32768.0f) : 0.0f;
    return readOk;
}

int32_t AudioDataStore::newestRegionAt(int64_t position, int32_t used) const noexcept
{
    for (int32_t i = used - 1; i >= firstRegion.load(std::memory_order_acquire); --i) {
        const AudioRegion& r = regions[size_t(i)];
        if (r.start.load(std::memory_order_relaxed) <= position && position < r.end.load(std::memory_order_acquire))
            return i;
    }
    return -1;
}

bool AudioDataStore::findRegion(int64_t position, int64_t* regionStart, int64_t* regionEnd) const noexcept
{
    const int32_t n = regionsUsed.load(std::memory_order_acquire);
    const int32_t first = firstRegion.load(std::memory_order_acquire);
    auto hasFile = [&](int32_t i) { return regions[size_t(i)].file.load(std::memory_order_acquire) != nullptr; };
    const int32_t i = newestRegionAt(position, n);
    if (i < 0 || !hasFile(i)) return false;
    int32_t lo = i, hi = i;
    while (lo > first && hasFile(lo - 1) &&
           regions[size_t(lo - 1)].end.load(std::memory_order_relaxed) ==
               regions[size_t(lo)].start.load(std::memory_order_relaxed))
        --lo;
    while (hi + 1 < n && hasFile(hi + 1) &&
           regions[size_t(hi + 1)].start.load(std::memory_order_relaxed) ==
               regions[size_t(hi)].end.load(std::memory_order_relaxed))
        ++hi;
    if (regionStart) *regionStart = regions[size_t(lo)].start.load(std::memory_order_relaxed);
    if (regionEnd) *regionEnd = regions[size_t(hi)].end.load(std::memory_order_relaxed);
    return true;
}

//--- Interface thread -------------------------------------------------------

void AudioDataStore::reset()
{
    freeWriteBlocks.drain();
    finishedBlocks.drain();
    readRequests.drain();
    freeReadBlocks.drain();
    for (auto& b : writeBlocks) {
        b->region.store(nullptr, std::memory_order_relaxed);
        freeWriteBlocks.push(blockWord(b.get()));
    }
    for (auto& b : readBlocks) {
        b->pending.store(0, std::memory_order_relaxed);
        b->region.store(nullptr, std::memory_order_relaxed);
        b->startPosition.store(-1, std::memory_order_relaxed);
        freeReadBlocks.push(blockWord(b.get()));
    }
    blocksInFlight.store(0, std::memory_order_release);
    currentRegion = nullptr;
    currentReadBlock = nullptr;
    currentWriteBlock = nullptr;
    currentRun = nullptr;
    aheadCount = 0;
    startOfRun = false;
    writeFailed.store(false, std::memory_order_release);
    writePosition = 0;
    runStart = 0;
}

void AudioDataStore::clearRecording()
{
    reset();
    for (int32_t i = 0; i < maxRegions; ++i) dataFiles[size_t(i)].reset();
    filesUsed.store(0, std::memory_order_release);
    regionsUsed.store(0, std::memory_order_release);
    firstRegion.store(0, std::memory_order_release);
    runEnd.store(0, std::memory_order_release);
    overrun.store(false, std::memory_order_release);
    diskError.store(false, std::memory_order_release);
    status.store(0, std::memory_order_release);
    folderSet.store(false, std::memory_order_release);
}

bool AudioDataStore::purgeFiles()
{
    const std::string folder = sessionFolder();
    DIR* dir = ::opendir(folder.c_str());
    if (dir == nullptr) return false;
    bool keeps = false;
    while (struct dirent* e = ::readdir(dir)) {
        const std::string name = e->d_name;
        if (name == "." || name == "..") continue;
        const std::string path = folder + "/" + name;
        struct stat st;
        const bool isDir = ::lstat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
        const bool ours = !sessionID.empty() && name.size() <= 255 && name.compare(0, sessionID.size(), sessionID) == 0 &&
                          name.size() >= 4 && name.compare(name.size() - 4, 4, ".dat") == 0;
        if (isDir || !ours || ::unlink(path.c_str()) != 0) keeps = true;
    }
    ::closedir(dir);
    if (keeps) return false;
    return ::rmdir(folder.c_str()) == 0;
}
