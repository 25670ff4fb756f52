// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <thread>
#include <vector>

#include "tools/exporter/exporter.h"

namespace koraha::test {

/// An exporter on a free port of 127.0.0.1, in a thread of its own.
class RunningExporter {
  public:
    explicit RunningExporter(const std::string& statusSocket,
                             const std::vector<std::string>& allowedHosts = {})
        : exporter_({.socketPath = statusSocket, .configuration = "/nonexistent"}, allowedHosts),
          port_(exporter_.bind({"127.0.0.1", 0})),
          thread_([this] { exporter_.serve(); }) {}
    ~RunningExporter() {
        exporter_.stop();
        thread_.join();
    }
    RunningExporter(const RunningExporter&) = delete;
    RunningExporter& operator=(const RunningExporter&) = delete;

    int port() const { return port_; }

  private:
    korahamonctl::Exporter exporter_;
    int port_;
    std::thread thread_;
};

}  // namespace koraha::test
