// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace korahamonctl {

/// What a metric is called and what it says. Metrics whose names end in "_total" are counters, all
/// others gauges.
struct Metric {
    std::string_view name;
    std::string_view labels;  ///< their names, with blanks between them
    std::string_view help;
};

/// Every metric that there is.
inline constexpr Metric metricTable[] = {
    // NOLINT(modernize-avoid-c-arrays): its size is what stands here
    {"koraha_up", "", "Whether the daemon answers over its status socket."},
    {"koraha_exporter_build_info", "version", "The version of this exporter."},
    {"koraha_exporter_streams", "", "Pages that follow the pair at this moment."},
    {"koraha_exporter_refused_requests_total", "reason", "Requests refused, by the reason."},
    {"koraha_status_answer_seconds", "", "How long the daemon took to answer, or to be given up."},
    {"koraha_build_info", "version", "The version of the daemon."},
    {"koraha_uptime_seconds", "", "How long the daemon has been running."},
    {"koraha_active", "", "Whether this node has the active role."},
    {"koraha_concerns", "kind",
     "Causes for alarm that the status command would name: what is wrong, and what is unknown."},
    {"koraha_peer_alive", "", "Whether the peer answers echoes over the link."},
    {"koraha_drbd_connected", "", "Whether a DRBD resource is connected to the peer."},
    {"koraha_md_resync", "side", "Whether an md array of this node or of the peer resynchronises."},
    {"koraha_md_degraded_arrays", "", "How many md arrays of this node miss a member."},
    {"koraha_md_array_degraded", "array", "1 for each md array of this node that misses a member."},
    {"koraha_disk_error_handling", "side",
     "Whether a disk of this node or of the peer is under error handling."},
    {"koraha_disk_in_error_handling", "side disk", "1 for each disk under error handling."},
    {"koraha_interface_failed_packets_ratio", "",
     "Failed packets of the replication interface as a fraction of all."},
    {"koraha_interface_failed_packets_threshold_ratio", "",
     "From which fraction on the daemon takes the interface for bad."},
    {"koraha_heartbeat_latency_seconds", "", "The heartbeat's latency, as last measured."},
    {"koraha_heartbeat_latency_threshold_seconds", "",
     "From which latency on the daemon takes the heartbeat for slow."},
    {"koraha_heartbeat_last_hour_echoes", "outcome",
     "Echoes of the last hour's heartbeat measurements, answered and lost."},
    {"koraha_heartbeat_last_hour_median_seconds", "", "The median latency of the last hour."},
    {"koraha_heartbeat_last_hour_max_seconds", "", "The greatest latency of the last hour."},
    {"koraha_reading_valid", "reading", "Whether the last attempt at this reading gave a value."},
    {"koraha_reading_stale", "reading", "Whether the reading is older than its pace allows."},
    {"koraha_reading_age_seconds", "reading", "The age of the last good reading."},
    {"koraha_reading_attempt_age_seconds", "reading",
     "The age of the last attempt at the reading."},
    {"koraha_reading_stale_after_seconds", "reading", "From which age on the reading is stale."},
    {"koraha_restart_constraints", "", "How many reasons forbid a restart of the peer now."},
    {"koraha_last_restart_timestamp_seconds", "",
     "When this node last asked for a restart of its peer."},
    {"koraha_last_restart_outcome", "outcome",
     "1 for what became of that restart: requested, accepted, left, back or failed."},
};

/// The place of a metric in the table; a name that does not stand there does not compile.
consteval std::size_t metric(std::string_view name) {
    for (std::size_t i = 0; i < std::size(metricTable); ++i) {
        if (metricTable[i].name == name) {
            return i;
        }
    }
    throw "no such metric";  // NOLINT: never at run time
}

}  // namespace korahamonctl
