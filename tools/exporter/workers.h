// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <httplib.h>

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>

namespace korahamonctl {

/// A thread for each connection, up to a limit. What comes beyond it runs at once in the thread
/// that accepts, where `isRefusing` is true and the work must be short.
class Workers : public httplib::TaskQueue {
  public:
    explicit Workers(std::size_t limit) : limit_(limit) {}

    void enqueue(std::function<void()> work) override;
    /// Waits for all to end.
    void shutdown() override;

    static bool isRefusing();

  private:
    bool start(const std::function<void()>& work);
    bool takePlace();
    void leavePlace();

    const std::size_t limit_;
    std::mutex mutex_;  // guards what follows
    std::condition_variable left_;
    std::size_t running_ = 0;
};

}  // namespace korahamonctl
