// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "tools/exporter/http_door.h"
#include "tools/exporter/listen_address.h"
#include "tools/exporter/observer.h"
#include "tools/exporter/page.h"
#include "tools/status_command.h"

namespace korahamonctl {

/// The metrics at /metrics, the page at /, and what keeps it up to date at /events.
class Exporter {
  public:
    Exporter(const StatusOptions& status, const std::vector<std::string>& allowedHosts);

    /// The port that it has now, or 0.
    int bind(const ListenAddress& address);
    /// Returns after `stop`.
    void serve();
    void stop();

  private:
    std::string metricsText();
    void follow(httplib::Response& response);

    const Page page_ = makePage();
    Observer observer_;
    HttpDoor door_;
    std::atomic<int> streams_{0};
    std::atomic<bool> stopping_{false};
};

}  // namespace korahamonctl
