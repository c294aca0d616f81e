// SPDX-License-Identifier: MIT
#include "jet/disk/fault_disk.h"

namespace jet {

class FaultDisk::FaultFile : public File {
 public:
    FaultFile(FaultDisk& disk, std::string path, std::unique_ptr<File> under)
        : m_disk(disk), m_path(std::move(path)), m_under(std::move(under)) {}

    std::size_t read(std::uint64_t offset, std::span<std::uint8_t> out) override {
        m_disk.step(m_path);
        return m_under->read(offset, out);
    }

    void write(std::uint64_t offset, ByteView data) override {
        if (m_disk.next(m_path)) {
            if (m_disk.m_plan.halfWrite)
                m_under->write(offset, data.first(data.size() / 2));
            throw Error(m_disk.m_plan.error, m_path);
        }
        m_disk.needRoom(*m_under, m_path, offset + data.size());
        m_under->write(offset, data);
    }

    FileStatus status() override { return m_under->status(); }

    void truncate(std::uint64_t size) override {
        m_disk.step(m_path);
        m_disk.needRoom(*m_under, m_path, size);
        const std::uint64_t before = m_under->size();
        m_under->truncate(size);
        if (m_disk.counts(m_path) && before > size)
            m_disk.m_plan.room += before - size;
    }

    void reserve(std::uint64_t size) override {
        m_disk.step(m_path);
        m_disk.needRoom(*m_under, m_path, size);
        m_under->reserve(size);
    }

    void flush() override {
        if (m_disk.next(m_path)) {
            if (m_disk.m_plan.onFailedFlush)
                m_disk.m_plan.onFailedFlush(m_path);
            throw Error(m_disk.m_plan.error, m_path);
        }
        m_under->flush();
    }

    bool lock(bool exclusive) override { return m_under->lock(exclusive); }

 private:
    FaultDisk& m_disk;
    std::string m_path;
    std::unique_ptr<File> m_under;
};

void FaultDisk::setPlan(Plan plan) {
    m_plan = std::move(plan);
    m_operations = 0;
    m_failed = false;
}

bool FaultDisk::next(const std::string& path) {
    if (!counts(path))
        return false;
    ++m_operations;
    const bool fails = m_operations == m_plan.failAt || (m_failed && m_plan.onwards);
    m_failed = m_failed || fails;
    return fails;
}

void FaultDisk::step(const std::string& path) {
    if (next(path))
        throw Error(m_plan.error, path);
}

void FaultDisk::needRoom(File& file, const std::string& path, std::uint64_t size) {
    const std::uint64_t now = file.size();
    if (!m_plan.full || !counts(path) || size <= now)
        return;
    if (size - now > m_plan.room) {
        m_failed = true;
        throw Error(Errc::DiskFull, path);
    }
    m_plan.room -= size - now;
}

std::unique_ptr<File> FaultDisk::open(const std::string& path, OpenMode mode) {
    step(path);
    return std::make_unique<FaultFile>(*this, path, m_under.open(path, mode));
}

void FaultDisk::remove(const std::string& path) {
    step(path);
    m_under.remove(path);
}

void FaultDisk::rename(const std::string& from, const std::string& to) {
    step(from);
    m_under.rename(from, to);
}

void FaultDisk::flushFolder(const std::string& path) {
    step(path);
    m_under.flushFolder(path);
}

}  // namespace jet
