// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <chrono>

#include "tools/json_words.h"
#include "tools/log_filter.h"
#include "tools/watch/rows.h"

namespace korahamonctl::watch {
namespace {

constexpr std::string_view ownTag = "koraharemotemond:";

struct Line {
    double at = -1;
    std::string text;
};

// The stamp apart from the rest, and without the tag that nearly all lines bear.
Line lineOf(const std::string& record) {
    const auto stamp = stampOf(record);
    if (!stamp) {
        return {-1, record};
    }
    const auto blank = std::min(record.find(' '), record.size() - 1);
    std::string text = record.substr(blank + 1);
    if (text.starts_with(ownTag)) {
        text.erase(0, ownTag.size());
    }
    return {std::chrono::duration<double>(stamp->time_since_epoch()).count(), text};
}

std::vector<Line> eventsOf(const Scene& scene) {
    std::vector<Line> lines;
    const Json::Value& events = member(scene.history, "events");
    for (Json::ArrayIndex i = 0; events.isArray() && i < events.size(); ++i) {
        const Json::Value& at = member(events[i], "at");
        lines.push_back(
            {at.isNumeric() ? at.asDouble() : -1, textOf(member(events[i], "text"), "?")});
    }
    return lines;
}

std::vector<Line> linesOf(const Scene& scene) {
    if (scene.showEvents) {
        return eventsOf(scene);
    }
    std::vector<Line> lines;
    std::transform(scene.log.begin(), scene.log.end(), std::back_inserter(lines), lineOf);
    return lines;
}

Cells headingFor(const Scene& scene, std::size_t count, int width) {
    std::string text = scene.showEvents ? "EVENTS" : "LOG";
    if (!scene.showEvents && !scene.logProblem.empty()) {
        text += ": " + scene.logProblem;
    } else if (count == 0) {
        text += ": none";
    }
    if (scene.scrolledBack > 0) {
        text += ", " + std::to_string(std::min(scene.scrolledBack, count)) + " newer below";
    }
    return cutTo(cellsOf(text, Ink::heading), static_cast<std::size_t>(width));
}

Cells shown(const Line& line, double now) {
    Cells cells = cellsOf(shortTime(line.at, now), Ink::quiet);
    append(cells, cellsOf(cells.empty() ? line.text : "  " + line.text));
    return cells;
}

}  // namespace

std::size_t linesToScroll(const Scene& scene) {
    return linesOf(scene).size();
}

std::vector<Cells> logRows(const Scene& scene, int width, std::size_t room) {
    const std::vector<Line> lines = linesOf(scene);
    std::vector<Cells> rows;
    if (room == 0) {
        return rows;
    }
    if (room > 1) {
        rows.push_back(headingFor(scene, lines.size(), width));
    }
    const std::size_t end = lines.size() - std::min(scene.scrolledBack, lines.size());
    const std::size_t fitting = std::min(room - rows.size(), end);
    for (std::size_t i = end - fitting; i < end; ++i) {
        rows.push_back(shown(lines[i], scene.now));
    }
    return rows;
}

}  // namespace korahamonctl::watch
