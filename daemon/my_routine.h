// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/function.hpp>
#include <boost/thread/future.hpp>
#include <boost/thread/thread.hpp>

#include <memory>

namespace KORA::HA::Daemon {

/// Thread attributes with the stack size of every routine: 80 KiB.
boost::thread_attributes defaultBThreadAttrGen();

/// Runs one routine in a thread of its own and reports how it stands. Movable, also while the
/// thread runs: the thread refers to nothing inside the object. Used by one thread, the supervisor.
class MyRoutine {
  public:
    /// Starts the thread at once. A thread that cannot be had is logged, not thrown: the object
    /// then reports itself as stopped.
    explicit MyRoutine(boost::function<bool()> routine);
    MyRoutine(MyRoutine&& other) noexcept;
    MyRoutine& operator=(MyRoutine&&) = delete;
    MyRoutine(const MyRoutine&) = delete;
    MyRoutine& operator=(const MyRoutine&) = delete;
    /// Lets a thread that was not joined go on by itself.
    ~MyRoutine();

    /// 0: still running, told after a wait of one second; 1: the routine returned true; 2: it
    /// returned false, or could not be started, waited for or read. 1 and 2 come at once and stay.
    int getState();

    /// Waits, without a bound, for the thread to end. Never throws.
    void join();

    static boost::thread_attributes attr;

  private:
    static bool boostThreadWrap(boost::function<bool()> routine, boost::promise<bool>& promise);

    bool startFailed_ = false;
    boost::thread thread_;
    std::shared_ptr<boost::promise<bool>> promise_;  // shared with the thread
    boost::unique_future<bool> future_;
};

}  // namespace KORA::HA::Daemon
