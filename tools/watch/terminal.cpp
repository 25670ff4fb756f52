// SPDX-License-Identifier: Apache-2.0
#include "tools/watch/terminal.h"

#define NCURSES_NOMACROS 1
#include <curses.h>
#include <langinfo.h>
#include <sys/ioctl.h>
#include <term.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "tools/watch/last_resort.h"

namespace korahamonctl::watch {
namespace {

constexpr int escapeDelayMs = 25;
constexpr chtype escapeKey = 27;
constexpr chtype redrawKey = 'L' - '@';

struct Look {
    attr_t attributes;
    short colour;  // 0: the terminal's own
};

// By the order of `Ink`. Without colours the attributes alone remain.
constexpr std::array<Look, 7> looks = {{{A_NORMAL, 0},
                                        {A_NORMAL, 0},
                                        {A_BOLD, 0},
                                        {A_REVERSE, 0},
                                        {A_NORMAL, COLOR_GREEN},
                                        {A_BOLD, COLOR_YELLOW},
                                        {A_BOLD, COLOR_RED}}};

bool wantsColours() {
    const char* none = std::getenv("NO_COLOR");
    return none == nullptr || *none == '\0';
}

void startColours() {
    if (!wantsColours() || !::has_colors() || ::start_color() == ERR) {
        return;
    }
    const short background = ::use_default_colors() == OK ? short{-1} : short{COLOR_BLACK};
    for (const short colour : {short{COLOR_GREEN}, short{COLOR_YELLOW}, short{COLOR_RED}}) {
        ::init_pair(colour, colour, background);
    }
}

cchar_t paintedCell(const Cell& cell, bool colours) {
    const Look look = looks.at(static_cast<std::size_t>(cell.ink));
    const std::array<wchar_t, 2> text = {static_cast<wchar_t>(cell.glyph), L'\0'};
    cchar_t painted{};
    ::setcchar(&painted, text.data(), look.attributes, colours ? look.colour : short{0}, nullptr);
    return painted;
}

}  // namespace

void Terminal::EndScreen::operator()(screen* terminal) const {
    ::endwin();
    ::delscreen(terminal);
    forgetTerminal();
}

Terminal::Terminal(std::string& problem) {
    std::setlocale(LC_CTYPE, "");
    utf8_ = std::string_view(::nl_langinfo(CODESET)) == "UTF-8";
    rememberTerminal();
    screen_.reset(::newterm(nullptr, stdout, stdin));
    if (!screen_ || !isThere(::tigetstr("cup"))) {
        problem = "this kind of terminal has no screen to draw on";
        return;
    }
    startColours();
    ::cbreak();
    ::noecho();
    ::nonl();
    ::curs_set(0);
    ::set_escdelay(escapeDelayMs);
    ::keypad(stdscr, TRUE);
    ::nodelay(stdscr, TRUE);
    rememberScreen(::tigetstr("sgr0"), ::tigetstr("cnorm"), ::tigetstr("rmkx"),
                   ::tigetstr("rmcup"));
}

Terminal::~Terminal() = default;

int Terminal::width() const {
    return ::getmaxx(stdscr);
}

int Terminal::height() const {
    return ::getmaxy(stdscr);
}

void Terminal::paint(const Canvas& canvas) const {
    const bool colours = wantsColours() && ::has_colors();
    for (int row = 0; row < std::min(height(), canvas.height()); ++row) {
        std::vector<cchar_t> cells;
        for (const Cell& cell : canvas.row(row)) {
            cells.push_back(paintedCell(cell, colours));
        }
        ::mvwadd_wchnstr(stdscr, row, 0, cells.data(), static_cast<int>(cells.size()));
    }
    ::wrefresh(stdscr);
}

Key Terminal::key() {
    const int key = ::wgetch(stdscr);
    switch (key) {
        case ERR:
            return Key::none;
        case 'q':
        case 'Q':
            return Key::quit;
        case '?':
        case 'h':
            return Key::help;
        case 'l':
            return Key::log;
        case redrawKey:
            return Key::redraw;
        case KEY_UP:
        case 'k':
            return Key::up;
        case KEY_DOWN:
        case 'j':
            return Key::down;
        case KEY_PPAGE:
            return Key::pageUp;
        case KEY_NPAGE:
        case ' ':
            return Key::pageDown;
        case KEY_HOME:
            return Key::home;
        case KEY_END:
        case escapeKey:
            return Key::end;
        default:
            return Key::other;
    }
}

void Terminal::redraw() {
    winsize size{};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 0 && size.ws_col > 0) {
        ::resizeterm(size.ws_row, size.ws_col);
    }
    ::clearok(curscr, TRUE);
}

void Terminal::leave() {
    ::endwin();
}

}  // namespace korahamonctl::watch
