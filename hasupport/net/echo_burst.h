// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "hasupport/net/echo_socket.h"

namespace KORA::HA::Daemon::support {

/// What a burst of echoes says.
struct BurstVerdict {
    std::optional<float> medianMs;  ///< nothing when not more than half of the echoes came back
    unsigned sent = 0;
    unsigned answered = 0;
};

/// The book-keeping of a burst of echoes that measures the round trip: when to send the next one,
/// what each reply means, and the judgement at the end. No input, output or clock of its own.
///
/// An echo says nothing about the peer when this thread was not scheduled in time around it: sent
/// with a delay after its start was noted, stamped by a clock that was stepped meanwhile, or sent
/// so late that its reply had no fair time. Such echoes are repeated while there is time; their
/// round trips, which are too long rather than too short, only count where better ones are missing.
class EchoBurst {
  public:
    static constexpr std::size_t wanted = 5;
    static constexpr std::size_t most = 15;  ///< with all repetitions
    static constexpr Milliseconds spacing{20};
    static constexpr Milliseconds fairWait{300};
    static constexpr std::chrono::microseconds lateness{2000};

    /// The time of the next request; nothing when there are enough.
    std::optional<SteadyClock::time_point> nextSend() const;
    std::uint16_t nextSequence() const { return static_cast<std::uint16_t>(count_ + 1); }

    /// A request with the next sequence number was being sent from `before` to `after`.
    void sent(const Moment& before, const Moment& after);
    /// A request did not go out; the next is due one spacing after `at`. Where fewer than wanted do
    /// go out, it counts as lost: one good echo before the link went down is no good link.
    void notSent(SteadyClock::time_point at);
    void answered(const EchoReply& reply);

    /// Nothing is left to send or to wait for.
    bool complete() const;
    BurstVerdict verdict(SteadyClock::time_point now) const;

  private:
    struct Entry {
        Moment before;
        bool clean = true;
        std::optional<std::chrono::nanoseconds> roundTrip;
    };

    std::size_t usable() const;
    std::span<const Entry> entries() const { return {entries_.data(), count_}; }

    std::array<Entry, most> entries_{};
    std::size_t count_ = 0;
    std::size_t refused_ = 0;         // requests that did not go out, as many as matter
    SteadyClock::time_point nextAt_;  // the clock's beginning until the first request
};

}  // namespace KORA::HA::Daemon::support
