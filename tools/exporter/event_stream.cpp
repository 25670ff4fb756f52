// SPDX-License-Identifier: Apache-2.0
#include "tools/exporter/event_stream.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "tools/exporter/pair_view.h"

namespace korahamonctl {
namespace {

constexpr std::chrono::seconds pace{1};
constexpr std::chrono::seconds hourPace{30};  // also without a change: it moves on
constexpr std::chrono::milliseconds nap{100};

double secondsOfTheEpoch() {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

std::string eventText(const char* name, const std::string& line) {
    return std::string("event: ") + name + "\ndata: " + line + "\n\n";
}

}  // namespace

std::shared_ptr<StreamPlace> StreamPlace::take(std::atomic<int>& taken) {
    if (++taken > inAll) {
        --taken;
        return nullptr;
    }
    return std::shared_ptr<StreamPlace>(new StreamPlace(taken));
}

EventStream::EventStream(std::shared_ptr<StreamPlace> place, Observer& observer,
                         const std::atomic<bool>& stopping)
    : place_(std::move(place)), observer_(observer), stopping_(stopping) {}

bool EventStream::awaitNext() {
    while (!stopping_ && Clock::now() < next_) {
        std::this_thread::sleep_for(std::min<Clock::duration>(nap, next_ - Clock::now()));
    }
    next_ = Clock::now() + pace;
    return !stopping_;
}

std::string EventStream::news() {
    const Observation seen = observer_.look();
    std::string text = begun_ ? "" : "retry: 2000\n\n";
    text += eventText("pair", pairView(seen));
    if (!begun_ || seen.history != history_ || Clock::now() - hourSent_ >= hourPace) {
        text += eventText("hour", hourView(seen.history, secondsOfTheEpoch()));
        history_ = seen.history;
        hourSent_ = Clock::now();
    }
    begun_ = true;
    return text;
}

bool EventStream::sendNext(httplib::DataSink& sink) {
    if (!awaitNext()) {
        sink.done();
        return false;
    }
    const std::string text = news();
    return sink.write(text.data(), text.size());
}

}  // namespace korahamonctl
