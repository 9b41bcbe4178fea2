#pragma once

#include "graph/model/CircularFifo.h"
#include "graph/model/DataFile.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>

class AudioDataStore;

// A stretch of the recording, in downsampled samples, end excluded. `file`
// is null for a stretch without audio. Fields are single atomic words: the
// audio thread appends and extends runs while the interface thread reads them.
struct AudioRegion {
    std::atomic<int64_t> start{0};
    std::atomic<int64_t> end{0};
    std::atomic<DataFile*> file{nullptr};
    std::atomic<int64_t> fileOffset{0};
};

// Samples of `frames` positions, 16-bit big-endian, interleaved.
// Write blocks travel audio -> finishedBlocks -> disk -> freeWriteBlocks ->
// audio. Read blocks are filled by the disk thread from freeReadBlocks and
// handed back by the audio thread when it no longer needs them. `region` is
// stored last with release by whoever claims the block, `pending` cleared
// with release once the disk has filled it.
struct AudioBlock {
    uint32_t frames = 0;
    uint32_t channels = 0;
    std::atomic<int64_t> startPosition{-1};
    std::atomic<int64_t> endPosition{-1};
    std::atomic<uint8_t> pending{0};
    AudioDataStore* owner = nullptr;
    CircularFifo* returnFifo = nullptr;
    int32_t index = 0;
    std::unique_ptr<uint16_t[]> samples;
    std::atomic<AudioRegion*> region{nullptr};
};

// The tracked audio: blocks of 16-bit samples moved between the audio thread
// and one disk thread through CircularFifo, and ".dat" files in a data folder
// of the session. Positions are downsampled samples (engine samples).
//
// Regions are kept in the order they were recorded. When the transport
// loops or jumps back, a new run covers positions that an older run covers
// too; the newest region holding a position is the one that counts there,
// as the tracked frames there show the newest take.
//
// Threads: writeSample and readSample run on one audio thread and never
// allocate, lock or wait, except writeSample in offline mode, which waits for
// a free block. The disk thread (start/stop, interface thread) is the only
// code that opens, writes or reads ".dat" files. Everything else is the
// interface thread's, while the audio thread stays out of the store.
class AudioDataStore {
public:
    static constexpr int32_t defaultBlockFrames = 32768;
    static constexpr int32_t blockCount = 4;
    static constexpr int32_t maxRegions = 1024;
    static constexpr int32_t maxSessionIDLength = 31;

    // readSample's answers.
    enum ReadResult { readOk = 0, readPending = 1, readNothing = 2, readUnusable = 4 };

    // Interface thread. Blocks of `blockFrames` positions for `channels`
    // (1 or 2) channels, zero-filled; no folder, no session yet.
    explicit AudioDataStore(int32_t channels = 2, int32_t blockFrames = defaultBlockFrames);
    ~AudioDataStore();
    AudioDataStore(const AudioDataStore&) = delete;
    AudioDataStore& operator=(const AudioDataStore&) = delete;

    // Interface thread, disk thread stopped. The folder that holds the
    // session folders, and the session's ID (at most 31 characters).
    void setParentFolder(const std::string& path);
    void setSessionID(const std::string& id);
    // A new session ID from the clock: "yyyyMMddHHmmss" and "_%d".
    static std::string makeSessionID();
    // Any thread. Makes the folder at `path` and those above it that are
    // missing; true when a folder stands there.
    static bool makeFolderPath(const std::string& path);
    const std::string& getSessionID() const { return sessionID; }
    std::string sessionFolder() const { return parentFolderPath + "/" + folderName; }
    const std::string& getParentFolder() const { return parentFolderPath; }
    const std::string& getFolderName() const { return folderName; }
    // Interface thread, disk thread stopped. The folder the files are in
    // from here on; start opens them there.
    void setFolder(const std::string& parentPath, const std::string& name);
    // Interface thread, disk thread stopped. Closes every data file; start
    // opens them again where the folder then is.
    void closeFiles();
    // Any thread. The session has a data folder: one was set up, read from
    // a session, or made for the first recorded block. Cleared when the
    // recording is cleared or the folder deleted.
    bool isFolderSet() const noexcept { return folderSet.load(std::memory_order_acquire); }
    // Interface thread.
    void setFolderSet(bool set) noexcept { folderSet.store(set, std::memory_order_release); }

    // Interface thread. Starts and stops the disk thread; start opens the
    // files of the regions and sets `status` before it returns.
    void start();
    void stop();
    bool isRunning() const { return diskThread.joinable(); }
    // Interface thread. Waits until the disk thread has written every block
    // handed on so far.
    void waitIdle() const;

    // Audio thread. A new run begins at the next writeSample.
    void beginRun() noexcept;
    // Audio thread. Hands on the block being written, so that the disk
    // thread writes the tail of the run.
    void endRun() noexcept;
    // Audio thread. Stores one sample pair at `position`; false when
    // recording has stopped (writeFailed) or could not go on.
    bool writeSample(int64_t position, float left, float right) noexcept;
    // Audio thread (or the one thread that reads the store). One of
    // ReadResult; `right` may be null.
    int readSample(int64_t position, float& left, float* right) noexcept;
    // Any thread. The newest region holding `position`, widened over the
    // regions recorded just before and after it that adjoin it and have
    // files; false if that region is fileless or there is none.
    bool findRegion(int64_t position, int64_t* regionStart, int64_t* regionEnd) const noexcept;

    // Audio thread. Forgets every region recorded so far (their files stay
    // until purged), ends the run and clears `status`: the store reads as
    // empty. Region slots are not reused, so the disk thread may still
    // finish blocks of the forgotten runs.
    void forgetRecording() noexcept;

    // Interface thread, audio thread out of the store, disk thread stopped.
    // Blocks back to their free fifos, no current block, region or run.
    void reset();
    // Interface thread, disk thread stopped. Everything recorded forgotten:
    // regions, files (closed, not deleted), flags.
    void clearRecording();
    // Interface thread, disk thread stopped. Deletes this session's ".dat"
    // files and the folder if nothing else is left; true if it was removed.
    bool purgeFiles();

    // Interface thread. The stream forms of the store.
    template <class Writer> bool writeStore(Writer& out) const;
    // Interface thread, disk thread stopped. Reads the store; files that
    // cannot be found leave `status` set, which is still a success.
    template <class Reader> bool readStore(Reader& in);

    // Any thread.
    int32_t channelCount() const noexcept { return channels; }
    int32_t framesPerBlock() const noexcept { return blockFrames; }
    int32_t getStatus() const noexcept { return status.load(std::memory_order_acquire); }
    bool hasWriteFailed() const noexcept { return writeFailed.load(std::memory_order_acquire); }
    bool hasOverrun() const noexcept { return overrun.load(std::memory_order_acquire); }
    bool diskFailed() const noexcept { return diskError.load(std::memory_order_acquire); }
    // Regions in force, 0..regionCount-1.
    int32_t regionCount() const noexcept
    {
        return regionsUsed.load(std::memory_order_acquire) - firstRegion.load(std::memory_order_acquire);
    }
    const AudioRegion& region(int32_t i) const noexcept
    {
        return regions[size_t(i + firstRegion.load(std::memory_order_acquire))];
    }
    int64_t getRunEnd() const noexcept { return runEnd.load(std::memory_order_acquire); }
    // Audio thread. Offline processing: writeSample waits for free blocks,
    // and readSample for the block it reads (up to two seconds).
    void setOffline(bool on) noexcept { offline = on; }
    // Any thread; tests only. While held, the disk thread fills no read
    // block, as a disk that has fallen behind; it goes on when let go.
    void holdReadsForTesting(bool held) noexcept { readsHeld.store(held, std::memory_order_release); }

    // Status values.
    static constexpr int32_t statusFilesMissing = 1;

private:
    friend struct AudioDataStoreAccess;
    void diskLoop();
    void openFiles();
    void writeBlockToDisk(AudioBlock* block);
    void fillReadBlock(int64_t blockStart, AudioRegion* r);
    bool handOn(AudioBlock* block) noexcept;
    AudioBlock* findReadBlock(AudioRegion* r, int64_t position) noexcept;
    // Read-ahead: the blocks after the one being read that are not in or
    // asked for yet are kept as requests and pushed as the fifo takes them,
    // at this read and the ones after it: a request the full fifo refused is
    // not lost.
    void askAhead(int64_t blockStart, int32_t regionIndex, bool ahead, bool further) noexcept;
    void pushAhead() noexcept;
    // Offline only: waits for the disk side to bring in the block holding
    // `position`, asking again while it has no free block.
    void awaitReadBlock(int64_t position, int64_t blockStart, int32_t regionIndex) noexcept;
    int32_t regionIndexOf(const AudioRegion* r) const noexcept;
    // The index of the newest region holding `position` among the first
    // `used`, or -1.
    int32_t newestRegionAt(int64_t position, int32_t used) const noexcept;
    void fail() noexcept;
    void addRegionLocked(int64_t start, int64_t end, DataFile* file, int64_t fileOffset);

    const int32_t channels;
    const int32_t blockFrames;
    const int32_t prefetchFrames;

    std::unique_ptr<AudioBlock> writeBlocks[blockCount];
    std::unique_ptr<AudioBlock> readBlocks[blockCount];
    CircularFifo freeWriteBlocks;  // disk -> audio
    CircularFifo freeReadBlocks;   // audio -> disk
    CircularFifo readRequests;     // audio -> disk
    CircularFifo finishedBlocks;   // audio -> disk

    std::unique_ptr<std::unique_ptr<DataFile>[]> dataFiles;
    std::atomic<int32_t> filesUsed{0};
    std::unique_ptr<AudioRegion[]> regions;
    std::atomic<int32_t> regionsUsed{0};
    // Regions below this one were forgotten.
    std::atomic<int32_t> firstRegion{0};

    // The audio thread's own.
    AudioBlock* currentWriteBlock = nullptr;
    AudioBlock* currentReadBlock = nullptr;
    AudioRegion* currentRegion = nullptr;
    // regionsUsed when currentRegion was chosen: a newer region may cover it.
    int32_t regionsSeen = 0;
    AudioRegion* currentRun = nullptr;
    int64_t writePosition = 0;
    int64_t runStart = 0;
    uint64_t aheadRequests[2] = {0, 0};
    int32_t aheadCount = 0;
    bool startOfRun = false;
    bool offline = false;

    std::atomic<int64_t> runEnd{0};
    std::atomic<bool> writeFailed{false};
    std::atomic<bool> overrun{false};
    std::atomic<bool> diskError{false};
    std::atomic<int32_t> status{0};
    std::atomic<bool> folderSet{false};
    // Blocks handed on and not yet written: raised by the audio thread,
    // lowered by the disk thread.
    std::atomic<int32_t> blocksInFlight{0};

    std::string sessionID;
    std::string parentFolderPath;
    std::string folderName;
    int32_t closingValue = 0;

    std::thread diskThread;
    std::atomic<bool> diskQuit{false};
    // Between the interface and the disk thread only.
    std::mutex diskMutex;
    std::condition_variable diskWake;
    std::atomic<bool> filesOpened{false};
    std::atomic<bool> readsHeld{false};
};

#include "graph/model/AudioDataStore_stream.h"
