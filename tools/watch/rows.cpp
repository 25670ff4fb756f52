// SPDX-License-Identifier: Apache-2.0
#include "tools/watch/rows.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <ctime>

#include "tools/json_words.h"

namespace korahamonctl::watch {
namespace {

constexpr int narrow = 60;

std::string timeText(double seconds, const char* form) {
    const auto time = static_cast<std::time_t>(seconds);
    std::tm utc{};
    std::array<char, 32> text{};
    if (::gmtime_r(&time, &utc) == nullptr) {
        return {};
    }
    std::strftime(text.data(), text.size(), form, &utc);
    return text.data();
}

}  // namespace

Cells fitted(const Phrase& phrase, std::size_t width) {
    for (const std::string& form : phrase.forms) {
        Cells cells = cellsOf(form, phrase.ink);
        if (cells.size() <= width) {
            return cells;
        }
    }
    return phrase.forms.empty() ? Cells() : cutTo(cellsOf(phrase.forms.back(), phrase.ink), width);
}

Phrase phraseOf(const Scene& scene, const std::string& reading, const std::string& known, Ink ink) {
    const Json::Value status = scene.status.value_or(Json::Value());
    const Json::Value& state = member(member(status, "readings"), reading);
    const Json::Value& age = member(state, "ageSeconds");
    const std::string span = age.isNumeric() ? shortSpan(age.asDouble()) : std::string();
    switch (knowledgeOf(status, reading, scene.paces)) {
        case Knowledge::known:
            return {{known + "  " + span, known}, ink};
        case Knowledge::stale:
            return {{"STALE: " + known + "  " + span, "STALE " + known}, Ink::doubtful};
        case Knowledge::unknown:
            break;
    }
    const std::string reason = textOf(member(state, "reason"), "");
    const std::string why = "unknown" + (reason.empty() ? "" : ": " + reason);
    if (span.empty()) {
        return {{why}, Ink::doubtful};
    }
    return {{why + "  (last known " + span + " ago)", why}, Ink::doubtful};
}

std::string shortSpan(double seconds) {
    struct Unit {
        double most;
        double length;
        const char* form;
    };
    constexpr std::array<Unit, 4> units = {{{120, 1, "%.0f s"},
                                            {7200, 60, "%.0f min"},
                                            {172'800, 3600, "%.0f h"},
                                            {1e9, 86'400, "%.0f d"}}};
    if (!(seconds >= 0)) {
        return "?";
    }
    for (const Unit& unit : units) {
        if (seconds < unit.most) {
            return formatted(unit.form, std::floor(seconds / unit.length));
        }
    }
    return "for ever";
}

std::string shortTime(double seconds, double now) {
    constexpr double day = 86'400;
    constexpr double latest = 1e11;
    if (!(seconds >= 0 && seconds < latest)) {
        return {};
    }
    return timeText(
        seconds, std::floor(seconds / day) == std::floor(now / day) ? "%H:%M:%S" : "%m-%d %H:%M");
}

std::size_t labelWidth(int width) {
    return width < narrow ? 10 : 12;
}

Cells labelled(const std::string& label, int width) {
    Cells cells = cutTo(cellsOf(label, Ink::quiet), labelWidth(width) - 1);
    padTo(cells, labelWidth(width));
    return cells;
}

Cells labelledPhrase(const std::string& label, const Phrase& phrase, int width) {
    Cells cells = labelled(label, width);
    const std::size_t room = static_cast<std::size_t>(width) -
                             std::min<std::size_t>(static_cast<std::size_t>(width), cells.size());
    append(cells, fitted(phrase, room));
    return cells;
}

Cells titleRow(const Scene& scene, int width) {
    const Json::Value status = scene.status.value_or(Json::Value());
    const auto columns = static_cast<std::size_t>(width);
    const std::string name = " " + scene.host + "  " + roleOf(status);
    const Json::Value& up = member(status, "uptimeSeconds");
    const std::string daemon =
        "  daemon " + textOf(member(status, "softwareVersion"), "unknown") +
        (up.isNumeric() ? ", up " + shortSpan(up.asDouble() + scene.statusAge) : std::string());
    const Cells clock = cellsOf(timeText(scene.now, "%H:%M:%S UTC "), Ink::bar);
    const std::size_t room = columns - std::min(columns, clock.size());
    Cells cells = fitted({{name + daemon, name}, Ink::bar}, room);
    padTo(cells, room, Ink::bar);
    append(cells, clock);
    return cells;
}

Cells keysRow(const Scene& scene, int width) {
    const std::string other = scene.showEvents ? "log" : "events";
    const Phrase keys =
        scene.help
            ? Phrase{{" any key: back", " back"}, Ink::bar}
            : Phrase{{" q quit   ? what is what   l " + other + "   up down page home end: scroll",
                      " q quit  ? help  l " + other + "  up down", " q quit  ? help"},
                     Ink::bar};
    Cells cells = fitted(keys, static_cast<std::size_t>(width));
    padTo(cells, static_cast<std::size_t>(width), Ink::bar);
    return cells;
}

}  // namespace korahamonctl::watch
