// SPDX-License-Identifier: Apache-2.0
#include "tools/tune/report.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <ctime>
#include <ostream>
#include <string>

#include "tools/json_words.h"

namespace korahamonctl::tune {
namespace {

std::string timeText(std::int64_t milliseconds) {
    const auto seconds = static_cast<std::time_t>(milliseconds / 1000);
    std::tm utc{};
    std::array<char, 32> text{};
    if (::gmtime_r(&seconds, &utc) == nullptr) {
        return "?";
    }
    std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &utc);
    return text.data();
}

std::string counted(std::size_t count, const char* what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string valueText(const Naming& naming, double value) {
    return formatted("%.6g", value) + naming.unit;
}

void printSamples(const Naming& naming, const std::vector<Series>& series, std::ostream& out) {
    std::vector<double> values;
    for (const Series& each : series) {
        for (const Sample& sample : each.samples) {
            values.push_back(std::isnan(sample.value) ? INFINITY : sample.value);
        }
    }
    std::sort(values.begin(), values.end());
    const auto share = [&](double part) {
        const auto at = static_cast<std::size_t>(part * static_cast<double>(values.size()));
        return valueText(naming, values.at(std::min(at, values.size() - 1)));
    };
    out << naming.name << ": " << counted(values.size(), "sample") << " of "
        << counted(series.size(), "run") << " of the daemon, "
        << timeText(series.front().samples.front().atMs) << " to "
        << timeText(series.back().samples.back().atMs) << " UTC\n"
        << "  half are at most " << share(0.5) << ", 99 % " << share(0.99) << ", 99.9 % "
        << share(0.999) << ", the highest is " << valueText(naming, values.back()) << '\n';
}

void printJudging(const Naming& naming, const Judging& judging, std::ostream& out) {
    out << "  threshold " << valueText(naming, judging.threshold) << ", tolerance "
        << judging.tolerance << ", a judgement every "
        << formatted("%g", static_cast<double>(judging.shortestGapMs) / 1000) << " to "
        << formatted("%g", static_cast<double>(judging.longestGapMs) / 1000) << " s\n";
}

std::string countOf(const Episode& episode) {
    if (episode.least == episode.most) {
        return counted(static_cast<std::size_t>(episode.most), "notification");
    }
    return std::to_string(episode.least) + " to " +
           counted(static_cast<std::size_t>(episode.most), "notification");
}

void printEpisode(const Naming& naming, const Episode& episode, std::ostream& out) {
    out << "  " << (episode.least > 0 ? "CERTAIN " : "DEPENDS ") << timeText(episode.fromMs)
        << " to " << timeText(episode.toMs) << (episode.goesOn ? " (goes on)" : "") << ": "
        << counted(episode.overSamples, "sample") << " over, the worst "
        << valueText(naming, episode.worst) << "; " << countOf(episode) << ", the first from "
        << timeText(episode.earliestMs).substr(11) << " to "
        << timeText(episode.latestMs).substr(11) << '\n';
}

}  // namespace

void printReport(const Naming& naming, const std::vector<Series>& series,
                 const std::optional<Judging>& judging, std::ostream& out) {
    if (series.empty()) {
        out << naming.name << ": no samples\n";
        return;
    }
    printSamples(naming, series, out);
    if (!judging) {
        out << "  with these intervals and rests it is practically never judged\n";
        return;
    }
    printJudging(naming, *judging, out);
    std::size_t certain = 0;
    std::size_t depending = 0;
    std::size_t tolerated = 0;
    for (const Series& each : series) {
        for (const Episode& episode : replay(each.samples, *judging, each.endMs)) {
            if (episode.most == 0) {
                ++tolerated;
                continue;
            }
            (episode.least > 0 ? certain : depending) += 1;
            printEpisode(naming, episode, out);
        }
    }
    out << "  " << counted(certain, "episode") << " notified in any case, " << depending
        << " depending on the phase, " << tolerated << " tolerated in any case\n";
}

}  // namespace korahamonctl::tune
