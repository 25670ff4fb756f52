// SPDX-License-Identifier: Apache-2.0
#include "hasupport/probe/evaluate_constraints.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace KORA::HA::Daemon::support {
namespace {

using Reasons = std::vector<std::string>;

// More would only repeat itself; the first ones tell what is wrong.
constexpr std::size_t reasonLimit = 64;

void add(Reasons& reasons, std::string sentence) {
    if (reasons.size() < reasonLimit) {
        reasons.push_back(std::move(sentence));
    }
}

/// A node whose link is down still calls itself UpToDate: without the connection the local view
/// proves nothing.
void addDrbd(const DrbdView& drbd, bool expected, Reasons& reasons) {
    if (drbd.answer == DrbdView::Answer::unknown) {
        add(reasons, "The state of DRBD cannot be told: " + drbd.reason + ".");
    } else if (expected && drbd.answer == DrbdView::Answer::noModule) {
        add(reasons, "DRBD is not loaded.");
    } else if (expected && drbd.resources.empty()) {
        add(reasons, "No DRBD resource is configured.");
    }
    for (const DrbdResource& each : drbd.resources) {
        if (!each.established) {
            add(reasons, "DRBD resource " + each.name + " is not connected to the peer.");
        }
        if (!each.upToDate) {
            add(reasons, "DRBD resource " + each.name + " is not UpToDate on this node.");
        }
        if (each.resyncTarget) {
            add(reasons, "DRBD resource " + each.name + " is being synchronised from the peer.");
        }
    }
}

void addMd(const MdView& md, Reasons& reasons) {
    if (!md.known) {
        add(reasons, "The state of md cannot be told: " + md.reason + ".");
    }
    for (const MdArray& array : md.arrays) {
        if (array.degraded) {
            add(reasons, "Array " + array.name + " of this node is degraded.");
        }
        if (array.resyncing) {
            add(reasons, "Array " + array.name + " of this node is resynchronising.");
        }
    }
}

void addDisks(const DiskErrLook& disks, Reasons& reasons) {
    if (!disks.known) {
        add(reasons, "The state of the disks cannot be told: " + disks.reason + ".");
    }
    for (const std::string& name : disks.disks) {
        add(reasons, "Disk " + name + " of this node is under error handling.");
    }
}

void addMarker(const std::string& path, Reasons& reasons) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) == 0) {
        add(reasons, "This node is under maintenance (" + path + " exists).");
    } else if (errno != ENOENT && errno != ENOTDIR) {
        add(reasons, "The maintenance marker " + path +
                         " cannot be looked up: " + std::strerror(errno) + ".");
    }
}

}  // namespace

std::vector<std::string> evaluateConstraints(const ConstraintInput& input) {
    Reasons reasons;
    addDrbd(input.drbd, input.drbdExpected, reasons);
    addMd(input.md, reasons);
    addDisks(input.disks, reasons);
    addMarker(input.markerPath, reasons);
    if (input.restartAsked) {
        add(reasons, "This node asked for a restart of the peer less than 15 minutes ago.");
    }
    if (input.restartUnknown) {
        add(reasons, "When this node last asked for a restart of the peer cannot be read.");
    }
    return reasons;
}

}  // namespace KORA::HA::Daemon::support
