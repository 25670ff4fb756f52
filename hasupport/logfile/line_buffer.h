// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>

#include "hasupport/logfile/buffer_file.h"
#include "hasupport/logfile/buffer_layout.h"
#include "hasupport/logfile/leftover_lines.h"
#include "hasupport/logfile/mapped_region.h"

namespace KORA::HA::Daemon::support {

/// The memory of a buffer: its base, and the large slabs that come and go. It lies in a file that
/// outlives the process, or, where that cannot be had, in the process alone; a single large slab
/// may too. Needs a lock around it.
class LineBuffer {
  public:
    /// Of this process alone. Maps nothing until it is used.
    LineBuffer() = default;
    /// In a file, locked and brought to size; `trouble` tells why it cannot be. A buffer of another
    /// version is set aside.
    static std::optional<LineBuffer> at(const BufferPlace& place, const std::string& name,
                                        BufferTrouble& trouble);

    bool outlives() const { return static_cast<bool>(file_); }
    /// What was in the file when it was taken.
    const LeftoverLines& leftover() const { return leftover_; }

    /// Maps the base of a buffer of this process alone; false when there is no memory.
    bool makeBase();
    bool hasBase() const { return static_cast<bool>(base_); }
    char* head() const { return base_.data(); }

    /// The memory of a slab; empty when it is not mapped.
    char* slab(std::size_t number) const;
    static std::size_t slabSize(std::size_t number);
    bool slabOutlives(std::size_t number) const;

    /// Maps large slab `number`; false when no memory is to be had.
    bool grow(std::size_t number);
    /// Gives all large slabs back; they must be out of use.
    void giveBack();

    /// False when someone cut the file under the map: touching it would end the process.
    bool isWhole() const;

  private:
    bool mapFile(std::string& problem);
    void readLeftover();

    UniqueFd file_;
    std::size_t fileSize_ = 0;
    MappedRegion base_;
    std::array<MappedRegion, largeSlabs> large_;
    std::array<bool, largeSlabs> inFile_{};
    LeftoverLines leftover_;
};

}  // namespace KORA::HA::Daemon::support
