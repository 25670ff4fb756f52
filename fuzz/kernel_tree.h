// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "hasupport/io/kernel_roots.h"

namespace koraha::fuzz {

/// A small /proc and /sys of its own for readers that walk directories, in memory where there is
/// such a place. Gone when the program ends.
class KernelTree {
  public:
    KernelTree();
    ~KernelTree();
    KernelTree(const KernelTree&) = delete;
    KernelTree& operator=(const KernelTree&) = delete;

    KORA::HA::Daemon::support::KernelRoots roots() const {
        return {root_ + "/proc", root_ + "/sys"};
    }

    /// Makes the symbolic link `name` (below the root) to `target`, with the directories above
    /// both.
    void link(const std::string& name, const std::string& target);
    /// Gives the file `name` its text, and its directories where they are missing. A text that
    /// begins with '!' takes the file away.
    void set(const std::string& name, std::string_view text);

  private:
    std::string root_;
    std::map<std::string, std::string> texts_;  // what was last written
};

/// The input cut at its NUL bytes, `count` pieces; missing ones are empty.
std::vector<std::string_view> pieces(std::string_view input, std::size_t count);

}  // namespace koraha::fuzz
