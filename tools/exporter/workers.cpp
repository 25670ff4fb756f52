// SPDX-License-Identifier: Apache-2.0
#include "tools/exporter/workers.h"

#include <system_error>
#include <thread>

namespace korahamonctl {
namespace {

thread_local bool refusing = false;

}  // namespace

bool Workers::isRefusing() {
    return refusing;
}

bool Workers::takePlace() {
    const std::lock_guard lock(mutex_);
    if (running_ >= limit_) {
        return false;
    }
    ++running_;
    return true;
}

void Workers::leavePlace() {
    const std::lock_guard lock(mutex_);
    --running_;
    left_.notify_all();
}

bool Workers::start(const std::function<void()>& work) {
    if (!takePlace()) {
        return false;
    }
    try {
        std::thread([this, work] {
            work();
            leavePlace();
        }).detach();
        return true;
    } catch (const std::system_error&) {  // no thread to be had
        leavePlace();
        return false;
    }
}

void Workers::enqueue(std::function<void()> work) {
    if (!start(work)) {
        refusing = true;
        work();
        refusing = false;
    }
}

void Workers::shutdown() {
    std::unique_lock lock(mutex_);
    left_.wait(lock, [this] { return running_ == 0; });
}

}  // namespace korahamonctl
