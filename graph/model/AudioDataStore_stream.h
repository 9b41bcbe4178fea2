#pragma once

// Stream form of the store, big-endian, for any reader or writer with
// read_bytes/write_bytes and read_int32/write_int32.

template <class Writer> bool AudioDataStore::writeStore(Writer& out) const
{
    const int32_t first = firstRegion.load(std::memory_order_acquire);
    const int32_t nRegions = regionsUsed.load(std::memory_order_acquire) - first;
    if (nRegions <= 0 || sessionID.empty()) return out.write_int32(0);
    auto text = [&](const std::string& s) {
        return out.write_int32(int32_t(s.size())) && out.write_bytes(s.data(), s.size());
    };
    const int32_t nFiles = filesUsed.load(std::memory_order_acquire);
    if (!out.write_int32(1) || !text(parentFolderPath) || !text(folderName) || !text(sessionID) ||
        !out.write_int32(channels) || !out.write_int32(nFiles))
        return false;
    for (int32_t i = 0; i < nFiles; ++i) {
        const DataFile& f = *dataFiles[size_t(i)];
        if (!out.write_int32(0) || !text(f.fileName()) || !out.write_int32(int32_t(f.fileFrames())) ||
            !out.write_int32(f.framesPerBlock()) || !out.write_int32(f.versionNumber()))
            return false;
    }
    if (!out.write_int32(nRegions)) return false;
    for (int32_t i = 0; i < nRegions; ++i) {
        const AudioRegion& r = regions[size_t(first + i)];
        const DataFile* file = r.file.load(std::memory_order_acquire);
        int32_t index = -1;
        for (int32_t k = 0; k < nFiles && file != nullptr; ++k)
            if (dataFiles[size_t(k)].get() == file) index = k;
        if (!out.write_int32(int32_t(r.start.load(std::memory_order_relaxed))) ||
            !out.write_int32(int32_t(r.end.load(std::memory_order_acquire))) || !out.write_int32(index) ||
            !out.write_int32(int32_t(r.fileOffset.load(std::memory_order_relaxed))))
            return false;
    }
    return out.write_int32(closingValue);
}

template <class Reader> bool AudioDataStore::readStore(Reader& in)
{
    clearRecording();
    int32_t present = 0;
    if (!in.read_int32(present)) return false;
    if (present == 0) return true;
    auto text = [&](std::string& s) {
        int32_t n = 0;
        if (!in.read_int32(n) || n <= 0 || n > 4096) return false;
        s.assign(size_t(n), '\0');
        return in.read_bytes(&s[0], size_t(n));
    };
    std::string parent, folder, id;
    int32_t channelsInStream = 0, nFiles = 0, nRegions = 0;
    if (!text(parent) || !text(folder) || !text(id) || !in.read_int32(channelsInStream) ||
        !in.read_int32(nFiles))
        return false;
    parentFolderPath = parent;
    folderName = folder;
    folderSet.store(true, std::memory_order_release);
    sessionID = id.substr(0, size_t(maxSessionIDLength));
    for (int32_t i = 0; i < nFiles; ++i) {
        int32_t ignored = 0, a = 0, b = 0, c = 0;
        std::string name;
        if (!in.read_int32(ignored) || !text(name) || !in.read_int32(a) || !in.read_int32(b) ||
            !in.read_int32(c))
            return false;
        if (i >= maxRegions) return false;
        dataFiles[size_t(i)].reset(new DataFile(name, a, channelsInStream, c, b));
        filesUsed.store(i + 1, std::memory_order_release);
    }
    if (!in.read_int32(nRegions) || nRegions < 0 || nRegions > maxRegions) return false;
    for (int32_t i = 0; i < nRegions; ++i) {
        int32_t start = 0, end = 0, index = 0, offset = 0;
        if (!in.read_int32(start) || !in.read_int32(end) || !in.read_int32(index) || !in.read_int32(offset))
            return false;
        AudioRegion& r = regions[size_t(i)];
        r.start.store(start, std::memory_order_relaxed);
        r.end.store(end, std::memory_order_relaxed);
        DataFile* file = index >= 0 && index < filesUsed.load(std::memory_order_relaxed)
                             ? dataFiles[size_t(index)].get() : nullptr;
        r.file.store(file, std::memory_order_relaxed);
        r.fileOffset.store(index >= 0 ? offset : 0, std::memory_order_relaxed);
        regionsUsed.store(i + 1, std::memory_order_release);
    }
    return in.read_int32(closingValue);
}
