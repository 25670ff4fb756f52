// SPDX-License-Identifier: Apache-2.0
// What the daemon says about both nodes and the link between them.
#include <algorithm>

#include "tools/json_words.h"
#include "tools/watch/rows.h"

namespace korahamonctl::watch {
namespace {

constexpr int verdictImportance = 95;
constexpr std::size_t verdictRowsAtMost = 3;

const FlagWords& wordsOf(const std::string& key) {
    return *std::find_if(flagWords.begin(), flagWords.end(),
                         [&](const FlagWords& each) { return each.key == key; });
}

Json::Value statusOf(const Scene& scene) {
    return scene.status.value_or(Json::Value());
}

// Which value of the flag gives cause for alarm.
Phrase flagPhrase(const Scene& scene, const std::string& key, bool alarming) {
    const Json::Value status = statusOf(scene);
    const bool alarm = isTrue(member(status, key)) == alarming;
    return phraseOf(scene, key, wordOf(wordsOf(key), status), alarm ? Ink::bad : Ink::good);
}

Phrase resyncPhrase(const Scene& scene, const std::string& key) {
    const Json::Value status = statusOf(scene);
    return phraseOf(scene, key, wordOf(wordsOf(key), status), Ink::plain);
}

Cells twoSides(const std::string& label, const Phrase& here, const Phrase& there, int width) {
    Cells cells = labelled(label, width);
    const std::size_t start = cells.size();
    const std::size_t half = (static_cast<std::size_t>(width) -
                              std::min<std::size_t>(static_cast<std::size_t>(width), start)) /
                             2;
    append(cells, fitted(here, half - std::min<std::size_t>(half, 1)));
    padTo(cells, start + half);
    append(cells, fitted(there, half));
    return cells;
}

// In rows of the width, broken at blanks where that can be.
Rows paragraph(const std::string& text, Ink ink, int width, int importance) {
    const auto columns = static_cast<std::size_t>(width);
    Cells rest = cellsOf(text, ink);
    Rows rows;
    while (rest.size() > columns && rows.size() + 1 < verdictRowsAtMost) {
        std::size_t end = columns;
        while (end > columns / 2 && rest[end].glyph != U' ') {
            --end;
        }
        rows.push_back({Cells(rest.begin(), rest.begin() + static_cast<long>(end)),
                        importance - static_cast<int>(rows.size())});
        rest.erase(rest.begin(), rest.begin() + static_cast<long>(end));
    }
    rows.push_back({cutTo(std::move(rest), columns), importance - static_cast<int>(rows.size())});
    return rows;
}

Phrase namesPhrase(const Json::Value& names, const char* unknown, Ink ink) {
    if (!names.isArray()) {
        return {{unknown}, Ink::doubtful};
    }
    return names.empty() ? Phrase{{"none"}, Ink::plain} : Phrase{{joined(names)}, ink};
}

// The names that stand with a flag count for no more than it.
Phrase disksPhrase(const Scene& scene, const char* list, const char* flag) {
    const Json::Value status = statusOf(scene);
    if (!hasItems(member(status, list))) {
        return {{""}, Ink::plain};
    }
    const std::string names = joined(member(status, list));
    if (knowledgeOf(status, flag, scene.paces) == Knowledge::known) {
        return {{"now: " + names, names}, Ink::bad};
    }
    return {{"last known: " + names, "STALE " + names}, Ink::doubtful};
}

}  // namespace

Rows verdictRows(const Scene& scene, int width) {
    Rows rows;
    if (!scene.problem.empty()) {
        rows = paragraph("THE DAEMON DOES NOT ANSWER: " + scene.problem, Ink::bad, width,
                         verdictImportance + 3);
        if (scene.status) {
            rows.push_back({cellsOf("Below is what it said " + shortSpan(scene.statusAge) + " ago.",
                                    Ink::doubtful),
                            verdictImportance});
        }
        return rows;
    }
    if (!scene.status) {
        return {{cellsOf("waiting for the daemon's answer", Ink::doubtful), verdictImportance}};
    }
    const auto concerns = concernsIn(*scene.status, scene.paces);
    if (concerns.empty()) {
        return {{cellsOf("ALL IS WELL", Ink::good), verdictImportance}};
    }
    std::string text;
    bool bad = false;
    for (const Concern& concern : concerns) {
        text += (text.empty() ? "" : ", ") + concern.text;
        bad = bad || !concern.unknown;
    }
    return paragraph((bad ? "ALARM: " : "NOT SURE: ") + text, bad ? Ink::bad : Ink::doubtful, width,
                     verdictImportance);
}

Rows sideRows(const Scene& scene, int width) {
    const Json::Value status = statusOf(scene);
    Rows rows;
    rows.push_back(
        {twoSides("", {{"THIS NODE"}, Ink::heading}, {{"PEER"}, Ink::heading}, width), 80});
    rows.push_back({twoSides("node", {{roleOf(status)}, Ink::plain},
                             flagPhrase(scene, "remoteAlive", false), width),
                    94});
    rows.push_back({twoSides("disks", flagPhrase(scene, "localDiskErrHandling", true),
                             flagPhrase(scene, "remoteDiskErrHandling", true), width),
                    93});
    if (hasItems(member(status, "errHandlingDisks")) ||
        hasItems(member(status, "errHandlingDisksRemote"))) {
        rows.push_back(
            {twoSides("which", disksPhrase(scene, "errHandlingDisks", "localDiskErrHandling"),
                      disksPhrase(scene, "errHandlingDisksRemote", "remoteDiskErrHandling"), width),
             92});
    }
    rows.push_back({twoSides("arrays", resyncPhrase(scene, "localMDResync"),
                             resyncPhrase(scene, "remoteMDResync"), width),
                    85});
    rows.push_back(
        {twoSides("degraded", namesPhrase(member(status, "degradedArrays"), "unknown", Ink::bad),
                  {{"it does not tell", ""}, Ink::quiet}, width),
         hasItems(member(status, "degradedArrays")) ? 83 : 34});
    return rows;
}

Rows linkRows(const Scene& scene, int width) {
    const Json::Value status = statusOf(scene);
    const auto measured = [&](const char* label, const char* key, const char* form,
                              double threshold, const std::string& limit) -> Cells {
        const Json::Value& value = member(status, key);
        const double number = value.isNumeric() ? value.asDouble() : 0;
        const bool over = !(number < threshold);
        Phrase phrase = phraseOf(scene, key, formatted(form, number) + (over ? " TOO HIGH" : ""),
                                 over ? Ink::bad : Ink::good);
        phrase.forms.insert(phrase.forms.begin(), phrase.forms.front() + limit);
        return labelledPhrase(label, phrase, width);
    };
    Rows rows;
    rows.push_back({labelledPhrase("DRBD", flagPhrase(scene, "drbdConnected", false), width), 90});
    rows.push_back({measured("heartbeat", "hbLatency", "%.3f ms", scene.latencyThreshold,
                             formatted("   (too slow from %g ms on)", scene.latencyThreshold)),
                    88});
    rows.push_back({measured("packets", "netNonOkRate", "%.6f failed", scene.rateThreshold,
                             formatted("   (too many from %g of all on)", scene.rateThreshold)),
                    70});
    return rows;
}

Rows restartRows(const Scene& scene, int width) {
    const Json::Value status = statusOf(scene);
    const Json::Value& constraints = member(status, "constraints");
    constexpr Json::ArrayIndex shown = 4;
    Rows rows;
    if (!hasItems(constraints)) {
        const Phrase phrase = namesPhrase(constraints, "unknown", Ink::plain);
        rows.push_back({labelledPhrase("constraints", phrase, width), 55});
    }
    for (Json::ArrayIndex i = 0; hasItems(constraints) && i < std::min(constraints.size(), shown);
         ++i) {
        const bool last = i + 1 == shown && constraints.size() > shown;
        const std::string text = textOf(constraints[i], "?");
        const std::string more =
            last ? " (and " + std::to_string(constraints.size() - shown) + " more)" : "";
        rows.push_back({labelledPhrase(i == 0 ? "constraints" : "",
                                       {{text + more, text}, Ink::doubtful}, width),
                        i == 0 ? 55 : 46 - static_cast<int>(i)});
    }
    const Json::Value& restart = member(status, "lastRestart");
    if (restart.isObject()) {
        const Json::Value& ago = member(restart, "agoSeconds");
        const std::string text =
            (ago.isNumeric() ? shortSpan(ago.asDouble() + scene.statusAge) + " ago: " : "") +
            textOf(member(restart, "outcome"), "unknown");
        rows.push_back(
            {labelledPhrase(
                 "restart",
                 {{text + " (" + textOf(member(restart, "reason"), "unknown") + ")", text},
                  Ink::doubtful},
                 width),
             50});
    }
    return rows;
}

}  // namespace korahamonctl::watch
