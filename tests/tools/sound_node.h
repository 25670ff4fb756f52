// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "tests/support/scratch_dir.h"

namespace koraha::test {

/// A directory that looks like the root of a node on which all is in order, its daemon (process
/// 4242) included.
class SoundNode {
  public:
    SoundNode();

    const std::string& root() const { return root_; }
    std::string path(const std::string& absolute) const { return root_ + absolute; }
    std::string write(const std::string& absolute, const std::string& text, mode_t mode = 0644);
    void remove(const std::string& absolute) const;
    std::string configuration() const { return path("/var/lib/ha/remote_mond.conf"); }

  private:
    ScratchDir scratch_;
    std::string root_;
};

}  // namespace koraha::test
