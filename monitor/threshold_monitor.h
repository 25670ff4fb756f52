// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>

#include "config/config_table.h"

namespace KORA::HA::Daemon {

/// What one monitor says and to whom, and which settings it goes by.
struct MonitorTexts {
    ConfType threshold;
    const char* event;  ///< the event name that the cluster tool is given
    int recoveredLine;
    const char* recovered;
    int violatedLine;
    const char* violated;  ///< the sample follows
    int notNotifiedLine;
    const char* notNotified;
};

/// Judges the samples that a check loop leaves in the status. When fresh samples stay at or above
/// the threshold for more than `tolerance` of them, it logs that and notifies through the cluster
/// tool, once per episode; the first fresh sample below the threshold ends the episode. A sample
/// equal to the one before is not fresh: it says that nothing was measured.
///
/// Used by one thread. Blocks while the cluster tool runs.
class ThresholdMonitor {
  public:
    /// `texts` must outlive the monitor.
    ThresholdMonitor(const MonitorTexts& texts, int tolerance);

    /// Judges the sample at hand. It is read again once it is known to be fresh, and judged with
    /// the newer value.
    void judge(const std::atomic<float>& sample);

  private:
    void onNormal();
    void onViolation();
    void notify();

    const MonitorTexts& texts_;
    float lastSample_ = 0.0F;
    int toleranceTimes_;
    int overCount_ = 0;
    bool notified_ = false;
};

}  // namespace KORA::HA::Daemon
