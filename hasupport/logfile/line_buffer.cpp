// SPDX-License-Identifier: Apache-2.0
#include "hasupport/logfile/line_buffer.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::size_t offsetOf(std::size_t large) {
    return bufferBaseBytes + large * largeSlabBytes;
}

// Really there, not only promised: a store to a hole in a full file system would end the process.
bool reserve(int fd, std::size_t offset, std::size_t size) {
    int result = -1;
    do {
        result = ::fallocate(fd, 0, static_cast<off_t>(offset), static_cast<off_t>(size));
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

std::size_t sizeOf(int fd) {
    struct stat info {};
    return ::fstat(fd, &info) == 0 && info.st_size > 0 ? static_cast<std::size_t>(info.st_size) : 0;
}

// The size that a file of any size is to have: whole slabs, none beyond the last.
std::size_t wholeSize(std::size_t size) {
    if (size <= bufferBaseBytes) {
        return bufferBaseBytes;
    }
    const std::size_t large = (size - bufferBaseBytes + largeSlabBytes - 1) / largeSlabBytes;
    return offsetOf(std::min(large, largeSlabs));
}

// Read before anything is changed: a buffer of another version is not ours to bring to size.
std::uint32_t versionOf(int fd) {
    std::string head(bufferHeadBytes, '\0');
    return ::pread(fd, head.data(), head.size(), 0) > 0 ? parseBufferHead(head).version : 0;
}

}  // namespace

std::optional<LineBuffer> LineBuffer::at(const BufferPlace& place, const std::string& name,
                                         BufferTrouble& trouble) {
    BufferFile file = openBufferFile(place, name);
    const std::uint32_t version = file.fd ? versionOf(file.fd.get()) : 0;
    if (version != 0 && version != bufferVersion) {
        file.trouble.text = name + ": is of version " + std::to_string(version);
        if (place.make && setBufferAside(place, name, version)) {
            file = openBufferFile(place, name);
        }
    }
    LineBuffer buffer;
    buffer.file_ = std::move(file.fd);
    trouble = std::move(file.trouble);
    if (!trouble.text.empty() || !buffer.mapFile(trouble.text)) {
        return std::nullopt;
    }
    buffer.readLeftover();
    return buffer;
}

bool LineBuffer::mapFile(std::string& problem) {
    const std::size_t had = sizeOf(file_.get());
    fileSize_ = wholeSize(had);
    bool mapped =
        reserve(file_.get(), 0, fileSize_) &&
        (had <= fileSize_ || ::ftruncate(file_.get(), static_cast<off_t>(fileSize_)) == 0);
    if (mapped) {
        base_ = MappedRegion::ofFile(file_.get(), 0, bufferBaseBytes);
        mapped = static_cast<bool>(base_);
    }
    for (std::size_t i = 0; mapped && offsetOf(i) < fileSize_; ++i) {
        large_.at(i) = MappedRegion::ofFile(file_.get(), offsetOf(i), largeSlabBytes);
        inFile_.at(i) = true;
        mapped = static_cast<bool>(large_.at(i));
    }
    problem = mapped ? "" : std::string("the buffer cannot be mapped: ") + std::strerror(errno);
    return mapped;
}

void LineBuffer::readLeftover() {
    std::array<std::string_view, slabCount> slabs;
    for (std::size_t i = 0; i < slabCount; ++i) {
        slabs.at(i) =
            slab(i) != nullptr ? std::string_view(slab(i), slabSize(i)) : std::string_view();
    }
    leftover_ = parseLeftoverLines(base_.bytes().substr(0, bufferHeadBytes), slabs);
}

bool LineBuffer::makeBase() {
    if (!base_) {
        base_ = MappedRegion::anonymous(bufferBaseBytes);
    }
    return static_cast<bool>(base_);
}

char* LineBuffer::slab(std::size_t number) const {
    if (number >= smallSlabs) {
        return large_.at(number - smallSlabs).data();
    }
    return base_ ? base_.data() + bufferHeadBytes + number * smallSlabBytes : nullptr;
}

std::size_t LineBuffer::slabSize(std::size_t number) {
    return number < smallSlabs ? smallSlabBytes : largeSlabBytes;
}

bool LineBuffer::slabOutlives(std::size_t number) const {
    return outlives() && (number < smallSlabs || inFile_.at(number - smallSlabs));
}

// Large slabs lie behind one another in the file, so that its size tells how many there are.
bool LineBuffer::grow(std::size_t number) {
    const std::size_t large = number - smallSlabs;
    const bool inFile = outlives() && offsetOf(large) == fileSize_ &&
                        reserve(file_.get(), fileSize_, largeSlabBytes);
    if (inFile) {
        large_.at(large) = MappedRegion::ofFile(file_.get(), fileSize_, largeSlabBytes);
    }
    inFile_.at(large) = static_cast<bool>(large_.at(large));
    if (inFile_.at(large)) {
        fileSize_ += largeSlabBytes;
    } else {
        large_.at(large) = MappedRegion::anonymous(largeSlabBytes);
    }
    return static_cast<bool>(large_.at(large));
}

void LineBuffer::giveBack() {
    for (std::size_t i = 0; i < largeSlabs; ++i) {
        large_.at(i) = MappedRegion();
        inFile_.at(i) = false;
    }
    if (file_ && fileSize_ > bufferBaseBytes &&
        ::ftruncate(file_.get(), static_cast<off_t>(bufferBaseBytes)) == 0) {
        fileSize_ = bufferBaseBytes;
    }
}

bool LineBuffer::isWhole() const {
    return !file_ || sizeOf(file_.get()) >= fileSize_;
}

}  // namespace KORA::HA::Daemon::support
