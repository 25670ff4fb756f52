// SPDX-License-Identifier: Apache-2.0
#include "hasupport/socket/history_reply.h"

#include "hasupport/status/history.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::size_t samplesPerPiece = 64;
// Samples come in while a slow client reads; it gets no more of them than can be kept.
constexpr std::size_t samplesInReply = 8192;

void writeSample(JsonText& json, const Sample& sample) {
    const bool heartbeat = sample.kind == SampleKind::hbLatency;
    json.openObject().key("at").time(sample.at);
    json.key("kind").text(heartbeat ? "hbLatency" : "netNonOkRate");
    json.key("value").real(sample.value);
    if (heartbeat) {
        json.key("sent").integer(sample.sent).key("answered").integer(sample.answered);
    }
    json.closeObject();
}

}  // namespace

std::string HistoryReply::next() {
    if (stage_ == Stage::begin) {
        json_.openObject().key("version").integer(1).key("samples").openArray();
        stage_ = Stage::samples;
    }
    if (stage_ == Stage::samples) {
        writeSamples();
    } else if (stage_ == Stage::events) {
        writeEvents();
        return json_.take() + '\n';
    }
    return json_.take();
}

void HistoryReply::writeSamples() {
    const auto samples = samplesAfter(lastSample_, samplesPerPiece);
    for (const Sample& sample : samples) {
        writeSample(json_, sample);
        lastSample_ = sample.sequence;
    }
    written_ += samples.size();
    if (samples.size() < samplesPerPiece || written_ >= samplesInReply) {
        json_.closeArray();
        stage_ = Stage::events;
    }
}

void HistoryReply::writeEvents() {
    json_.key("events").openArray();
    for (const Event& event : recentEvents()) {
        json_.openObject().key("at").time(event.at);
        json_.key("text").text(event.text).closeObject();
    }
    json_.closeArray().closeObject();
    stage_ = Stage::done;
}

}  // namespace KORA::HA::Daemon::support
