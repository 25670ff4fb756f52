// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/mman.h>

#include <cstddef>
#include <string_view>
#include <utility>

namespace KORA::HA::Daemon::support {

/// Owns one mapping of memory. Movable.
class MappedRegion {
  public:
    MappedRegion() = default;
    MappedRegion(MappedRegion&& other) noexcept
        : at_(std::exchange(other.at_, nullptr)), size_(std::exchange(other.size_, 0)) {}
    MappedRegion& operator=(MappedRegion&& other) noexcept {
        std::swap(at_, other.at_);
        std::swap(size_, other.size_);
        return *this;
    }
    MappedRegion(const MappedRegion&) = delete;
    MappedRegion& operator=(const MappedRegion&) = delete;
    ~MappedRegion() {
        if (at_ != nullptr) {
            ::munmap(at_, size_);
        }
    }

    /// Memory of this process alone; empty when there is none to be had.
    static MappedRegion anonymous(std::size_t size) {
        return map(size, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    }
    /// A part of a file, all of which must be there.
    static MappedRegion ofFile(int fd, std::size_t offset, std::size_t size) {
        return map(size, MAP_SHARED | MAP_POPULATE, fd, static_cast<off_t>(offset));
    }

    char* data() const { return static_cast<char*>(at_); }
    std::size_t size() const { return size_; }
    std::string_view bytes() const { return {data(), size_}; }
    explicit operator bool() const { return at_ != nullptr; }

  private:
    static MappedRegion map(std::size_t size, int flags, int fd, off_t offset) {
        void* const at = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, flags, fd, offset);
        MappedRegion region;
        if (at != MAP_FAILED) {
            region.at_ = at;
            region.size_ = size;
        }
        return region;
    }

    void* at_ = nullptr;
    std::size_t size_ = 0;
};

}  // namespace KORA::HA::Daemon::support
