// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace koraha::faults {

/// What an operation gave.
struct Outcome {
    std::string value;    ///< in words that are the same at every undisturbed run
    bool stated = false;  ///< it says itself that it failed: then any value will do
};

/// One operation of the support library, run in a process of its own each time.
struct Operation {
    std::string name;
    std::function<Outcome()> run;  ///< calls to be failed are made in here only
    /// What must be there first, such as a client; a null function when nothing must. What it
    /// returns is called afterwards, and may replace the outcome.
    std::function<void()> prepare = nullptr;
    std::function<Outcome(Outcome)> finish = nullptr;
    bool alone = false;     ///< uses a name or a port that only one process can have
    long mayKeep = 0;       ///< descriptors that may be open afterwards: clients come and go
    bool tolerant = false;  ///< a failed call may leave out a part without a word
};

/// All operations. `data`: the unpacked captured kernel states.
std::vector<Operation> allOperations(const std::string& data);

std::vector<Operation> kernelOperations(const std::string& data);
std::vector<Operation> linkOperations();
std::vector<Operation> servingOperations();
std::vector<Operation> fileOperations();

/// Asks this node, as its peer, to restart; true when the request went out.
bool askForRestartAsPeer();

/// Starts a node that plays the peer, in a process of its own that ends with this one.
void startPeer();

}  // namespace koraha::faults
