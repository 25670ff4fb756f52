// SPDX-License-Identifier: Apache-2.0
#include "monitor/threshold_monitor.h"

#include <string>

#include "config/int_daemon_conf.h"
#include "log/log_line.h"
#include "monitor/notification.h"

namespace KORA::HA::Daemon {

ThresholdMonitor::ThresholdMonitor(const MonitorTexts& texts, int tolerance)
    : texts_(texts), toleranceTimes_(tolerance) {}

void ThresholdMonitor::judge(const std::atomic<float>& sample) {
    if (sample == lastSample_) {
        return;
    }
    lastSample_ = sample;
    const float threshold = GetFloat(texts_.threshold);
    if (threshold > lastSample_) {
        onNormal();
    } else {
        onViolation();  // a NaN too: it is below nothing
    }
}

void ThresholdMonitor::onNormal() {
    if (notified_) {
        logMessage(texts_.recoveredLine, texts_.recovered);
    }
    notified_ = false;
    overCount_ = 0;
}

void ThresholdMonitor::onViolation() {
    if (notified_) {
        return;
    }
    const int previous = overCount_++;
    if (toleranceTimes_ > previous) {
        return;
    }
    notify();
}

void ThresholdMonitor::notify() {
    const std::string value = std::to_string(lastSample_);
    logMessage(texts_.violatedLine, texts_.violated + value);
    if (sendNotification(texts_.event, value)) {
        notified_ = true;
    } else {
        logMessage(texts_.notNotifiedLine,
                   texts_.notNotified);  // the next fresh sample tries again
    }
}

}  // namespace KORA::HA::Daemon
