// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "tools/watch/canvas.h"

struct screen;

namespace korahamonctl::watch {

/// What a person pressed.
enum class Key { none, quit, help, log, redraw, up, down, pageUp, pageDown, home, end, other };

/// The terminal as a screen of its own: it is taken over by the constructor and given back, as it
/// was, by the destructor. Only what has changed is sent. Used by one thread, once a process.
class Terminal {
  public:
    /// `problem` says why the terminal cannot be used; empty when it can.
    explicit Terminal(std::string& problem);
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    int width() const;
    int height() const;
    bool showsUtf8() const { return utf8_; }

    void paint(const Canvas& canvas) const;
    /// The next key that was pressed; `none` when there is none.
    Key key();
    /// Sends everything anew with the next `paint`, for whatever size the terminal has now.
    void redraw();
    /// Gives the terminal back until the next `paint`.
    void leave();

  private:
    struct EndScreen {
        void operator()(screen* terminal) const;
    };

    std::unique_ptr<screen, EndScreen> screen_;
    bool utf8_ = false;
};

}  // namespace korahamonctl::watch
