// SPDX-License-Identifier: Apache-2.0
#include "tools/doctor_command.h"

#include <algorithm>
#include <array>
#include <iomanip>
#include <ostream>

#include "tools/doctor/finding.h"
#include "tools/exit_codes.h"

namespace korahamonctl {
namespace {

using doctor::Finding;
using doctor::Findings;
using doctor::Node;
using doctor::Verdict;

constexpr int verdictWidth = 6;

void print(const Finding& finding, std::ostream& out) {
    constexpr std::array<const char*, 3> words = {"ok", "note", "BAD"};
    out << std::left << std::setw(verdictWidth)
        << words.at(static_cast<std::size_t>(finding.verdict)) << finding.point << ": "
        << finding.text << '\n';
    if (!finding.remedy.empty()) {
        out << std::setw(verdictWidth) << ""
            << "mend: " << finding.remedy << '\n';
    }
}

Findings examineAll(Node& node) {
    Findings all = doctor::examineSettings(node);
    using Examination = Findings(const Node&);
    constexpr std::array<Examination*, 8> examinations = {
        doctor::examineConfiguration, doctor::examineDirectories, doctor::examineKey,
        doctor::examinePrograms,      doctor::examineDrbd,        doctor::examineRights,
        doctor::examinePort,          doctor::examineDaemon};
    for (Examination* examination : examinations) {
        const Findings found = examination(node);
        all.insert(all.end(), found.begin(), found.end());
    }
    return all;
}

}  // namespace

int examineNode(const StatusOptions& options, std::ostream& out, const std::string& root) {
    Node node;
    node.root = root;
    node.configuration = options.configuration;
    node.answer = askStatus(options.socketPath);
    const Findings findings = examineAll(node);
    for (const Finding& finding : findings) {
        print(finding, out);
    }
    const auto count = [&](Verdict verdict) {
        return std::count_if(findings.begin(), findings.end(),
                             [&](const Finding& each) { return each.verdict == verdict; });
    };
    out << findings.size() << " points: " << count(Verdict::bad) << " bad, " << count(Verdict::note)
        << " to note\n";
    return count(Verdict::bad) == 0 ? exitFine : exitConcern;
}

}  // namespace korahamonctl
