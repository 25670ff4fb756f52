// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <vector>

namespace koraha::test {

/// A sample whose value changes between any two reads: it lies in a page that may not be read, and
/// each attempt is let through with the next of the values. One at a time in a process.
class SampleInTurn {
  public:
    explicit SampleInTurn(std::vector<float> values);
    ~SampleInTurn();
    SampleInTurn(const SampleInTurn&) = delete;
    SampleInTurn& operator=(const SampleInTurn&) = delete;

    const std::atomic<float>& sample() const;

    /// How many times it was read so far.
    static int reads();
};

}  // namespace koraha::test
