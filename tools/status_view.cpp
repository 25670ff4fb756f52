// SPDX-License-Identifier: Apache-2.0
#include "tools/status_view.h"

#include <algorithm>
#include <array>

#include "tools/status_judgement.h"
#include "tools/status_words.h"

namespace korahamonctl {
namespace {

std::string numberText(const std::optional<double>& value, const char* form) {
    return value ? formatted(form, *value) : std::string();
}

std::string valueText(const HealthRecord& record, const char* key, const Paces& paces,
                      const std::string& known) {
    const Reading& reading = record.reading(key);
    const std::string aged = numberText(reading.ageSeconds, "  (%.0f s ago)");
    switch (knowledgeOf(reading, key, paces)) {
        case Knowledge::known:
            return known + aged;
        case Knowledge::stale:
            return known + aged + "  STALE";
        case Knowledge::unknown:
            break;
    }
    const std::string reason = textOf(reading.reason, "");
    return "unknown" + (reason.empty() ? "" : ": " + reason) +
           numberText(reading.ageSeconds, "  (last known %.0f s ago)");
}

std::string measureText(const HealthRecord& record, const char* key, const Paces& paces,
                        const char* form) {
    const double* const number = std::get_if<double>(&record.reading(key).value);
    return valueText(record, key, paces,
                     number != nullptr ? formatted(form, *number) : std::string());
}

std::string line(std::string label, const std::string& text) {
    constexpr std::size_t textColumn = 20;
    label.resize(std::max(label.size(), textColumn), ' ');
    return label + text + "\n";
}

bool hasItems(const std::optional<Names>& names) {
    return names && !names->empty();
}

std::string lineIfAny(const char* label, const std::optional<Names>& names) {
    return hasItems(names) ? line(label, joined(*names)) : std::string();
}

struct DiskList {
    const char* label;
    const char* flag;  // the names count for no more than it
    bool ofPeer;
    std::optional<Names> HealthRecord::*names;
};

constexpr std::array<DiskList, 2> diskLists = {
    {{"disks in EH here", "localDiskErrHandling", false, &HealthRecord::errHandlingDisks},
     {"disks in EH, peer", "remoteDiskErrHandling", true, &HealthRecord::errHandlingDisksRemote}}};

bool isKnown(const HealthRecord& record, const char* key, const Paces& paces) {
    return knowledgeOf(record.reading(key), key, paces) == Knowledge::known;
}

std::string disksText(const HealthRecord& record, const Paces& paces) {
    std::string text;
    for (const DiskList& list : diskLists) {
        if (hasItems(record.*list.names)) {
            text += line(list.label, (isKnown(record, list.flag, paces) ? "" : "last known: ") +
                                         joined(*(record.*list.names)));
        }
    }
    return text;
}

std::string arraysText(const std::optional<Names>& arrays) {
    return arrays ? lineIfAny("DEGRADED arrays", arrays) : line("degraded arrays", "unknown");
}

std::string constraintsText(const std::optional<Names>& constraints) {
    constexpr const char* label = "no restart because";
    if (!constraints) {
        return line(label, "unknown");
    }
    std::string text;
    for (std::size_t i = 0; i < std::min(constraints->size(), shownItems); ++i) {
        text += line(label, textOf((*constraints)[i], "?"));
    }
    return constraints->size() > shownItems ? text + line("", moreOf(constraints->size())) : text;
}

std::string restartText(const std::optional<HealthRecord::Restart>& restart) {
    if (!restart) {
        return {};
    }
    return line("last restart", textOf(restart->outcome, "unknown") + ": " +
                                    textOf(restart->reason, "unknown") +
                                    numberText(restart->agoSeconds, "  (%.0f s ago)"));
}

std::string daemonText(const HealthRecord& record) {
    const std::string pid = numberText(record.pid, "%.0f");
    const std::string up = numberText(record.uptimeSeconds, "%.0f s");
    return line("daemon", "version " + textOf(record.softwareVersion, "unknown") + ", process " +
                              (pid.empty() ? "unknown" : pid) + ", up " +
                              (up.empty() ? "unknown" : up));
}

}  // namespace

std::string statusText(const HealthRecord& record, const Paces& paces) {
    std::string text = line("this node", roleOf(record.active));
    for (const FlagWords& row : flagWords) {
        text += line(row.label,
                     valueText(record, row.key, paces, wordOf(row, record.reading(row.key))));
    }
    text += line("heartbeat", measureText(record, "hbLatency", paces, "%.3f ms"));
    text += line("failed packets", measureText(record, "netNonOkRate", paces, "%.6f of all"));
    text += disksText(record, paces);
    text += arraysText(record.degradedArrays);
    text += constraintsText(record.constraints);
    text += restartText(record.lastRestart);
    return text + daemonText(record);
}

std::string oneLine(const HealthRecord& record, const Paces& paces) {
    std::string text = roleOf(record.active);
    const bool away = !record.peerMayBeReached();
    for (const FlagWords& row : flagWords) {
        if (row.ofPeer && away) {
            continue;
        }
        const Reading& reading = record.reading(row.key);
        const Knowledge knowledge = knowledgeOf(reading, row.key, paces);
        text += std::string("; ") + row.label + ": " +
                (knowledge == Knowledge::unknown ? "unknown" : wordOf(row, reading)) +
                (knowledge == Knowledge::stale ? " (STALE)" : "");
    }
    if (!away && isKnown(record, "hbLatency", paces)) {
        text += "; " + formatted("%.1f ms", numberOf(record.reading("hbLatency")));
    }
    for (const DiskList& list : diskLists) {
        const bool told = !(list.ofPeer && away) && isKnown(record, list.flag, paces);
        if (told && hasItems(record.*list.names)) {
            text += "; " + joined(*(record.*list.names));
        }
    }
    return hasItems(record.degradedArrays) ? text + "; DEGRADED: " + joined(*record.degradedArrays)
                                           : text;
}

}  // namespace korahamonctl
