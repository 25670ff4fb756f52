// SPDX-License-Identifier: Apache-2.0
#include "tools/watch/canvas.h"

#include <algorithm>
#include <string_view>

#include "hasupport/text/utf8.h"
#include "tools/visible.h"

namespace korahamonctl::watch {
namespace {

using KORA::HA::Daemon::support::utf8Length;

constexpr char32_t cutGlyph = U'…';
constexpr std::u32string_view asciiBlocks = U"_-:=+*%#";

// Letters that every terminal puts into one column: Latin, Greek, Cyrillic without what combines.
bool takesOneColumn(char32_t c) {
    return (c >= 0xa1 && c <= 0x2ff && c != 0xad) ||
           (c >= 0x370 && c <= 0x52f && !(c >= 0x483 && c <= 0x489)) || c == cutGlyph;
}

char32_t glyphOf(std::string_view character) {
    constexpr char32_t unshown = U'?';
    char32_t code = static_cast<unsigned char>(character.front());
    if (character.size() == 1) {
        return code >= 0x20 && code < 0x7f ? code : unshown;
    }
    code &= character.size() == 2 ? 0x1fU : character.size() == 3 ? 0xfU : 0x7U;
    for (const char c : character.substr(1)) {
        code = code << 6U | (static_cast<unsigned char>(c) & 0x3fU);
    }
    return takesOneColumn(code) ? code : unshown;
}

char32_t asciiOf(char32_t glyph) {
    if (const auto block = blockGlyphs.find(glyph); block != std::u32string_view::npos) {
        return asciiBlocks[block];
    }
    switch (glyph) {
        case noSampleGlyph:
            return U'.';
        case cutGlyph:
            return U'~';
        default:
            return glyph < 0x80 ? glyph : U'?';
    }
}

void appendUtf8(std::string& out, char32_t c) {
    const auto tail = [&](unsigned shift) {
        out += static_cast<char>(0x80U | ((c >> shift) & 0x3fU));
    };
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xc0U | c >> 6U);
        tail(0);
    } else {
        out += static_cast<char>(0xe0U | c >> 12U);
        tail(6);
        tail(0);
    }
}

}  // namespace

Cells cellsOf(const std::string& text, Ink ink) {
    const std::string safe = visible(text);
    std::string_view rest = safe;
    Cells cells;
    while (!rest.empty()) {
        const std::size_t length = std::max<std::size_t>(utf8Length(rest), 1);
        cells.push_back({glyphOf(rest.substr(0, length)), ink});
        rest.remove_prefix(length);
    }
    return cells;
}

Cells cutTo(Cells cells, std::size_t width) {
    if (cells.size() > width) {
        cells.resize(width);
        if (width > 0) {
            cells.back().glyph = cutGlyph;
        }
    }
    return cells;
}

void append(Cells& cells, const Cells& more) {
    cells.insert(cells.end(), more.begin(), more.end());
}

void padTo(Cells& cells, std::size_t column, Ink ink) {
    if (cells.size() < column) {
        cells.resize(column, {U' ', ink});
    }
}

Canvas::Canvas(int width, int height)
    : width_(std::max(width, 1)),
      height_(std::max(height, 1)),
      rows_(static_cast<std::size_t>(height_), Cells(static_cast<std::size_t>(width_))) {}

void Canvas::setRow(int row, const Cells& cells) {
    Cells fitting = cutTo(cells, static_cast<std::size_t>(width_));
    fitting.resize(static_cast<std::size_t>(width_));
    rows_.at(static_cast<std::size_t>(row)) = std::move(fitting);
}

std::string Canvas::text(int row) const {
    std::string out;
    for (const Cell& cell : this->row(row)) {
        appendUtf8(out, cell.glyph);
    }
    out.resize(out.find_last_not_of(' ') + 1);
    return out;
}

void Canvas::makeAscii() {
    for (Cells& row : rows_) {
        for (Cell& cell : row) {
            cell.glyph = asciiOf(cell.glyph);
        }
    }
}

}  // namespace korahamonctl::watch
