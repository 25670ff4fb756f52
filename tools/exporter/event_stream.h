// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <httplib.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>

#include "tools/exporter/observer.h"

namespace korahamonctl {

/// One of the places for pages that follow; given back when this object goes.
class StreamPlace {
  public:
    static constexpr int inAll = 32;

    /// A place, or nothing when all are taken.
    static std::shared_ptr<StreamPlace> take(std::atomic<int>& taken);
    ~StreamPlace() { --taken_; }
    StreamPlace(const StreamPlace&) = delete;
    StreamPlace& operator=(const StreamPlace&) = delete;

  private:
    explicit StreamPlace(std::atomic<int>& taken) : taken_(taken) {}

    std::atomic<int>& taken_;
};

/// What one page is sent: the pair once a second, the hour when it has changed
/// or is not to be had any more.
class EventStream {
  public:
    EventStream(std::shared_ptr<StreamPlace> place, Observer& observer,
                const std::atomic<bool>& stopping);

    /// Waits for the next second and sends; false when there is nobody to send to any more.
    bool sendNext(httplib::DataSink& sink);

  private:
    using Clock = std::chrono::steady_clock;

    bool awaitNext();
    std::string news();

    std::shared_ptr<StreamPlace> place_;
    Observer& observer_;
    const std::atomic<bool>& stopping_;
    Clock::time_point next_ = Clock::now();
    Json::Value history_;
    Clock::time_point hourSent_;
    bool begun_ = false;
};

}  // namespace korahamonctl
