// SPDX-License-Identifier: Apache-2.0
// All sequences of judgements are followed at once: for each state that the monitor can be in, the
// set of moments at which its next judgement can come. A sample is in force until the next one; all
// judgements that can fall into that time are made, which moves their moments to the states that
// they lead to, one gap later.
#include "tools/tune/replay.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <tuple>
#include <utility>

#include "tools/tune/interval_set.h"

namespace korahamonctl::tune {
namespace {

constexpr int mostTold = 99;
constexpr double halfStep = 0.5e-6;  // of what six decimals can tell apart

struct State {
    std::ptrdiff_t seen = -1;  // the sample judged last
    int over = 0;
    bool notified = false;
    int told = 0;  // notifications in this episode

    bool operator<(const State& other) const {
        return std::tie(seen, over, notified, told) <
               std::tie(other.seen, other.over, other.notified, other.told);
    }
    bool rests() const { return over == 0 && !notified; }
};

using Pending = std::map<State, IntervalSet>;

// Whether only one single-precision number is written like this.
bool isExact(double value) {
    const auto nearest = static_cast<float>(value);
    return !std::isfinite(nearest) ||
           static_cast<double>(nearest) - static_cast<double>(std::nextafter(nearest, -INFINITY)) >
               2 * halfStep;
}

struct Answer {
    bool canBeYes = false;
    bool canBeNo = false;
};

Answer isOver(double value, double threshold) {
    const auto limit = static_cast<float>(threshold);
    if (isExact(value)) {
        const bool below = limit > static_cast<float>(value);
        return {!below, below};
    }
    return {value + halfStep >= static_cast<double>(limit),
            value - halfStep < static_cast<double>(limit)};
}

Answer isFresh(double before, double value) {
    if (before != value) {  // never equal: what is no number
        return {true, false};
    }
    return {!isExact(value), true};
}

class Replay {
  public:
    Replay(const std::vector<Sample>& samples, const Judging& judging)
        : samples_(samples), judging_(judging) {}

    std::vector<Episode> run(std::int64_t endMs) {
        if (samples_.empty()) {
            return {};
        }
        const std::int64_t start = samples_.front().atMs;
        pending_[{}].add({start, start + judging_.longestGapMs - 1});
        for (std::size_t i = 0; i < samples_.size(); ++i) {
            const bool last = i + 1 == samples_.size();
            judgeUntil(i, last ? std::max(endMs, samples_[i].atMs) + 1 : samples_[i + 1].atMs);
            closeEpisode(samples_[i].atMs, false);
        }
        closeEpisode(endMs, true);
        return std::move(episodes_);
    }

  private:
    double valueOf(std::ptrdiff_t index) const {
        return index < 0 ? 0.0 : samples_[static_cast<std::size_t>(index)].value;
    }

    // All judgements that can come while sample `index` is the latest.
    void judgeUntil(std::size_t index, std::int64_t end) {
        for (Pending due = takeDue(end); !due.empty(); due = takeDue(end)) {
            for (const auto& [state, moments] : due) {
                for (const Interval& when : moments.intervals()) {
                    judge(state, static_cast<std::ptrdiff_t>(index), when, end);
                }
            }
        }
        countSample(samples_[index]);
    }

    Pending takeDue(std::int64_t end) {
        Pending due;
        for (auto entry = pending_.begin(); entry != pending_.end();) {
            if (IntervalSet taken = entry->second.takeBefore(end); !taken.empty()) {
                due.emplace(entry->first, std::move(taken));
            }
            entry = entry->second.empty() ? pending_.erase(entry) : std::next(entry);
        }
        return due;
    }

    void judge(const State& before, std::ptrdiff_t index, const Interval& when, std::int64_t end) {
        State state = before;
        state.seen = index;
        if (before.seen == index) {
            judgeAgain(state, when, end);
            return;
        }
        const Answer fresh = isFresh(valueOf(before.seen), valueOf(index));
        if (fresh.canBeNo) {
            goOn(state, when, 1);
        }
        if (!fresh.canBeYes) {
            return;
        }
        const Answer over = isOver(valueOf(index), judging_.threshold);
        if (over.canBeNo) {
            State calm = state;
            calm.over = 0;
            calm.notified = false;
            goOn(calm, when, 1);
        }
        if (over.canBeYes) {
            goOn(violated(state, index, when), when, 1);
        }
    }

    // The same sample, which changes nothing: as many times at once as surely come before the end.
    void judgeAgain(const State& state, const Interval& when, std::int64_t end) {
        if (when.last == end - 1 && when.first <= end - judging_.shortestGapMs) {
            pending_[state].add({end, end - 1 + judging_.longestGapMs});  // that is, at any time
            return;
        }
        goOn(state, when, std::max<std::int64_t>((end - 1 - when.last) / judging_.longestGapMs, 1));
    }

    State violated(State state, std::ptrdiff_t index, const Interval& when) {
        openEpisode(index);
        if (state.notified) {
            return state;
        }
        if (judging_.tolerance > state.over++) {
            return state;
        }
        if (state.told == 0) {
            noteFirst(when);
        }
        state.over = 0;
        state.notified = true;
        state.told = std::min(state.told + 1, mostTold);
        return state;
    }

    void goOn(const State& state, const Interval& when, std::int64_t times) {
        pending_[state].add({when.first + times * judging_.shortestGapMs,
                             when.last + times * judging_.longestGapMs});
    }

    void openEpisode(std::ptrdiff_t index) {
        if (!episode_) {
            episode_.emplace();
            episode_->fromMs = samples_[static_cast<std::size_t>(index)].atMs;
            firstKnown_ = false;
        }
    }

    void noteFirst(const Interval& when) {
        Episode& episode = *episode_;
        episode.earliestMs = firstKnown_ ? std::min(episode.earliestMs, when.first) : when.first;
        episode.latestMs = firstKnown_ ? std::max(episode.latestMs, when.last) : when.last;
        firstKnown_ = true;
    }

    void countSample(const Sample& sample) {
        if (episode_ && isOver(sample.value, judging_.threshold).canBeYes) {
            episode_->worst =
                episode_->overSamples == 0 ? sample.value : std::max(episode_->worst, sample.value);
            episode_->overSamples += 1;
        }
    }

    // When the monitor rests in all states, what was told belongs to this episode.
    void closeEpisode(std::int64_t atMs, bool end) {
        const bool rests = std::all_of(pending_.begin(), pending_.end(),
                                       [](const auto& entry) { return entry.first.rests(); });
        if (!episode_ || !(rests || end)) {
            return;
        }
        const auto told = std::minmax_element(
            pending_.begin(), pending_.end(),
            [](const auto& a, const auto& b) { return a.first.told < b.first.told; });
        episode_->least = told.first->first.told;
        episode_->most = told.second->first.told;
        episode_->toMs = atMs;
        episode_->goesOn = !rests;
        episodes_.push_back(*episode_);
        episode_.reset();
        forgetTold();
    }

    void forgetTold() {
        Pending forgotten;
        for (const auto& [state, moments] : pending_) {
            State untold = state;
            untold.told = 0;
            for (const Interval& each : moments.intervals()) {
                forgotten[untold].add(each);
            }
        }
        pending_ = std::move(forgotten);
    }

    const std::vector<Sample>& samples_;
    const Judging& judging_;
    Pending pending_;
    std::optional<Episode> episode_;
    bool firstKnown_ = false;
    std::vector<Episode> episodes_;
};

}  // namespace

std::vector<Episode> replay(const std::vector<Sample>& samples, const Judging& judging,
                            std::int64_t endMs) {
    return Replay(samples, judging).run(endMs);
}

}  // namespace korahamonctl::tune
