// SPDX-License-Identifier: Apache-2.0
#include "daemon/my_routine.h"

#include <boost/chrono/duration.hpp>

#include <utility>

#include "log/log_line.h"

namespace KORA::HA::Daemon {
namespace {

// Sanitizers need several times the stack; such builds say how much.
#ifndef KORAHA_ROUTINE_STACK_BYTES
#define KORAHA_ROUTINE_STACK_BYTES 81920
#endif
constexpr std::size_t stackBytes = KORAHA_ROUTINE_STACK_BYTES;

constexpr int startFailedLine = 462;
constexpr int waitFailedLine = 473;
constexpr int valueFailedLine = 484;
constexpr int joinFailedLine = 493;

enum State { running = 0, returnedTrue = 1, returnedFalse = 2 };

}  // namespace

boost::thread_attributes defaultBThreadAttrGen() {
    boost::thread_attributes attributes;
    attributes.set_stack_size(stackBytes);
    return attributes;
}

boost::thread_attributes MyRoutine::attr = defaultBThreadAttrGen();

MyRoutine::MyRoutine(boost::function<bool()> routine) {
    try {
        promise_ = std::make_shared<boost::promise<bool>>();
        future_ = promise_->get_future();
        thread_ = boost::thread(attr, [routine = std::move(routine), promise = promise_] {
            boostThreadWrap(routine, *promise);
        });
    } catch (...) {
        logMessage(startFailedLine, "Failed to get thread/future");
        startFailed_ = true;
    }
}

MyRoutine::MyRoutine(MyRoutine&& other) noexcept
    : startFailed_(other.startFailed_),
      thread_(std::move(other.thread_)),
      promise_(std::move(other.promise_)),
      future_(std::move(other.future_)) {}

MyRoutine::~MyRoutine() = default;

// Catches nothing: a routine that throws is in an unknown state, and the process must not go on.
bool MyRoutine::boostThreadWrap(boost::function<bool()> routine, boost::promise<bool>& promise) {
    promise.set_value(routine());
    return true;
}

int MyRoutine::getState() {
    if (startFailed_) {
        return returnedFalse;
    }
    try {
        if (future_.wait_for(boost::chrono::seconds(1)) != boost::future_status::ready) {
            return running;
        }
    } catch (...) {
        logMessage(waitFailedLine, "Failed to wait process exec");
        return returnedFalse;
    }
    try {
        return future_.get() ? returnedTrue : returnedFalse;
    } catch (...) {
        logMessage(valueFailedLine, "Failed to get future return value");
        return returnedFalse;
    }
}

void MyRoutine::join() {
    if (startFailed_) {
        return;
    }
    try {
        if (thread_.joinable()) {
            thread_.join();
        }
    } catch (...) {
        logMessage(joinFailedLine, "Failed to join thread");
    }
}

}  // namespace KORA::HA::Daemon
