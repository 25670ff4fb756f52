// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

#include "hasupport/settings/support_settings.h"
#include "tests/support/scratch_dir.h"

namespace koraha::test {

/// One node of a pair that lives on the loopback interface, as this process plays it: addresses,
/// settings, key and stamps in a scratch directory. Nothing of it can restart anything: the orderly
/// restart is a program that adds a line to a file. For use inside `onLoopback`.
class PeerLink {
  public:
    explicit PeerLink(const std::string& local = "127.0.0.1",
                      const std::string& remote = "127.0.0.1");
    ~PeerLink();
    PeerLink(const PeerLink&) = delete;
    PeerLink& operator=(const PeerLink&) = delete;

    /// The process's settings; change them before anything else runs.
    KORA::HA::Daemon::support::SupportSettings settings;

    /// Writes the key file (".next" with that suffix); an empty text removes it.
    void giveKey(char fill, const std::string& suffix = {}, mode_t mode = 0600) const;
    void takeKey(const std::string& suffix = {}) const;

    std::string path(const std::string& name = {}) const { return scratch_.path(name); }
    ScratchDir& scratch() { return scratch_; }

    /// How often a program made by `writeCounter` ran.
    std::size_t countOf(const std::string& name) const;
    /// A program that adds a line to the file NAME and ends with the status.
    std::string writeCounter(const std::string& name, int status = 0) const;

  private:
    ScratchDir scratch_;
};

/// Runs the body in a child process with a network of its own, on a stack like the routines'.
void onLoopback(const std::function<void()>& body);

/// Waits, generously, until the condition holds.
bool eventually(const std::function<bool()>& condition);

}  // namespace koraha::test
