// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <httplib.h>

#include <array>
#include <chrono>
#include <cstddef>

namespace korahamonctl {

/// One client's connection, bounded in every direction: a request must be there, all of it, within
/// two seconds and 8 KiB, and what is sent must be taken within five seconds.
class BoundedStream : public httplib::Stream {
  public:
    /// The descriptor stays the caller's.
    explicit BoundedStream(int fd);

    bool is_readable() const override;
    bool is_writable() const override;
    ssize_t read(char* bytes, std::size_t size) override;
    ssize_t write(const char* bytes, std::size_t size) override;
    void get_remote_ip_and_port(std::string& ip, int& port) const override;
    void get_local_ip_and_port(std::string& ip, int& port) const override;
    socket_t socket() const override { return fd_; }
    using httplib::Stream::write;

    /// Sends the end, and waits a little for the client to have read all before it: a connection
    /// that is closed over unread bytes takes what was sent last with it.
    void finish() const;

  private:
    using Clock = std::chrono::steady_clock;

    bool fill();
    static bool awaits(int fd, short what, Clock::time_point end);

    int fd_;
    Clock::time_point readBy_;
    std::array<char, 4096> buffer_{};
    std::size_t start_ = 0;
    std::size_t end_ = 0;
    std::size_t taken_ = 0;
};

}  // namespace korahamonctl
