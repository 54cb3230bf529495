// Real files on a disk that is as slow as a test wants, or full.
#pragma once

#include "base/Mutex.h"
#include "engine/files/AssetWriter.h"
#include "media/mp4/PosixFile.h"

#include <atomic>
#include <cerrno>
#include <memory>
#include <utility>

namespace velmora::test {

/// What becomes of what is written. Thread-safe.
class DiskGate {
public:
    void close() { set(false); }
    void open() { set(true); }

    /// From now on no file can grow.
    void fillUp() { isFull_ = true; }
    [[nodiscard]] bool isFull() const { return isFull_; }

    /// Returns when the gate is open.
    void pass()
    {
        MutexLock lock(mutex_);
        ++waiting_;
        changed_.notifyAll();
        while (!isOpen_)
            changed_.wait(mutex_);
        --waiting_;
    }

    /// Returns when somebody is waiting at the closed gate.
    void awaitSomebody()
    {
        MutexLock lock(mutex_);
        while (waiting_ == 0 || isOpen_)
            changed_.wait(mutex_);
    }

private:
    void set(bool isOpen)
    {
        MutexLock lock(mutex_);
        isOpen_ = isOpen;
        changed_.notifyAll();
    }

    Mutex mutex_;
    ConditionVariable changed_;
    bool isOpen_ GUARDED_BY(mutex_) = true;
    int waiting_ GUARDED_BY(mutex_) = 0;
    std::atomic<bool> isFull_ = false;
};

/// Every call that makes bytes safe waits at the gate.
class SlowFile final : public mp4::File {
public:
    SlowFile(std::unique_ptr<mp4::File> file, std::shared_ptr<DiskGate> gate) : file_(std::move(file)), gate_(std::move(gate)) { }

    Result<std::size_t> writeSomeAt(std::uint64_t offset, std::span<const std::byte> bytes) override
    {
        const auto size = file_->size();
        if (gate_->isFull() && size && offset + bytes.size() > *size)
            return fail(posixError(ENOSPC, "The clip cannot be written"));
        return file_->writeSomeAt(offset, bytes);
    }
    Result<std::size_t> readSomeAt(std::uint64_t offset, std::span<std::byte> bytes) override { return file_->readSomeAt(offset, bytes); }
    Result<std::uint64_t> size() override { return file_->size(); }
    Result<void> truncate(std::uint64_t size) override { return file_->truncate(size); }
    Result<void> allocate(std::uint64_t size) override { return file_->allocate(size); }
    Result<void> sync() override
    {
        gate_->pass();
        return file_->sync();
    }
    Result<void> syncFolder() override { return file_->syncFolder(); }
    Result<bool> tryLock() override { return file_->tryLock(); }
    bool isStillInFolder() override { return file_->isStillInFolder(); }
    Result<void> removeFromFolder() override { return file_->removeFromFolder(); }
    Result<void> moveTo(const std::filesystem::path& path) override { return file_->moveTo(path); }

private:
    const std::unique_ptr<mp4::File> file_;
    const std::shared_ptr<DiskGate> gate_;
};

class SlowAssetWriters final : public platform::AssetWriterFactory {
public:
    SlowAssetWriters(std::shared_ptr<DiskGate> gate, engine::AudioEncoderFactory sound, engine::CancelledRecordings cancelled = {})
        : gate_(std::move(gate))
        , sound_(std::move(sound))
        , cancelled_(std::move(cancelled))
    {
    }

    Result<std::shared_ptr<platform::AssetWriter>> makeAssetWriter(const std::filesystem::path& outputURL, platform::AssetFileType) override
    {
        auto file = mp4::PosixFile::create(outputURL);
        if (!file)
            return fail(file.error());
        auto writer = engine::AssetWriter::create(std::make_shared<SlowFile>(std::move(*file), gate_), sound_, outputURL, cancelled_);
        if (!writer)
            return fail(writer.error());
        return std::shared_ptr<platform::AssetWriter>{std::move(*writer)};
    }

private:
    const std::shared_ptr<DiskGate> gate_;
    const engine::AudioEncoderFactory sound_;
    const engine::CancelledRecordings cancelled_;
};

}  // namespace velmora::test
