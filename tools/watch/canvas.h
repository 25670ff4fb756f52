// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace korahamonctl::watch {

/// How a text is meant. Nothing is told by it alone: the words say the same.
enum class Ink : std::uint8_t { plain, quiet, heading, bar, good, doubtful, bad };

struct Cell {
    char32_t glyph = U' ';
    Ink ink = Ink::plain;
    bool operator==(const Cell&) const = default;
};

using Cells = std::vector<Cell>;

/// Cells for a text from anywhere: each takes one column and none moves the cursor. What might do
/// otherwise is escaped, or a question mark.
Cells cellsOf(const std::string& text, Ink ink = Ink::plain);

/// The same, cut to a width, with a mark where something is missing.
Cells cutTo(Cells cells, std::size_t width);

void append(Cells& cells, const Cells& more);
/// Fills up to a column with blanks.
void padTo(Cells& cells, std::size_t column, Ink ink = Ink::plain);

/// A screenful.
class Canvas {
  public:
    Canvas(int width, int height);

    int width() const { return width_; }
    int height() const { return height_; }
    /// Writes from the left edge on; what does not fit is cut off.
    void setRow(int row, const Cells& cells);
    const Cells& row(int row) const { return rows_.at(static_cast<std::size_t>(row)); }
    /// The row in UTF-8, without blanks at its end.
    std::string text(int row) const;
    /// Puts characters in the place of what only UTF-8 can show.
    void makeAscii();

  private:
    int width_;
    int height_;
    std::vector<Cells> rows_;
};

/// Eight heights of a block, the lowest first, and what stands where there is none.
inline constexpr std::u32string_view blockGlyphs = U"▁▂▃▄▅▆▇█";
inline constexpr char32_t noSampleGlyph = U'·';
inline constexpr char32_t lostGlyph = U'x';

}  // namespace korahamonctl::watch
