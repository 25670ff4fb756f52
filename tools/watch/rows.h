// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "tools/watch/canvas.h"
#include "tools/watch/page.h"

namespace korahamonctl::watch {

/// A row of the page. Where there is not room for all, the least important ones go.
struct Row {
    Cells cells;
    int importance = 0;
};
using Rows = std::vector<Row>;

/// What one place of the page says, the longest form first; the first one that fits is shown.
struct Phrase {
    std::vector<std::string> forms;
    Ink ink = Ink::plain;
};
Cells fitted(const Phrase& phrase, std::size_t width);

/// A value of the status with its age, or that it is unknown or stale; `ink` is how the known value
/// is meant.
Phrase phraseOf(const Scene& scene, const std::string& reading, const std::string& known, Ink ink);

/// "7 s", "12 min", "3 h", "5 d".
std::string shortSpan(double seconds);

/// "10:03:12" of the scene's day, "11-20 10:03" of another; UTC. Blank when it is no time.
std::string shortTime(double seconds, double now);

/// The column at which begins what the labels at the left edge stand for.
std::size_t labelWidth(int width);
Cells labelled(const std::string& label, int width);
/// A label and a phrase in the room behind it.
Cells labelledPhrase(const std::string& label, const Phrase& phrase, int width);

// The parts of the page from top to bottom.
Cells titleRow(const Scene& scene, int width);
Rows verdictRows(const Scene& scene, int width);
Rows sideRows(const Scene& scene, int width);
Rows linkRows(const Scene& scene, int width);
Rows hourRows(const Scene& scene, int width);
Rows restartRows(const Scene& scene, int width);
/// A heading and the lines of log or events that fit into so many rows, the newest at the bottom.
std::vector<Cells> logRows(const Scene& scene, int width, std::size_t room);
Cells keysRow(const Scene& scene, int width);
std::vector<Cells> helpLines();

}  // namespace korahamonctl::watch
