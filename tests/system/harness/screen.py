# SPDX-License-Identifier: Apache-2.0
"""A screen that understands what a program sends to a terminal of the kind xterm-256color, and
complains about everything else."""

import re

from .checks import CaseFailed

# Of the sequences for the operating system only the one that resets the colours is known.
SEQUENCE = re.compile(r"\x1b(?:\[([?>]?)([0-9;]*)([@A-Za-z])|([()].|\]104\x07)|([78=>M]))")
OWN_SCREEN = 1049


class Screen:
    """Cells of a character and its look, the SGR numbers in force; and which modes are on."""

    def __init__(self, width, height):
        self.modes = set()
        self.bytes = 0
        self._pending = b""
        self._other = None
        self._look = ()
        self._last = " "
        self.resize(width, height)

    def resize(self, width, height):
        self.width, self.height = width, height
        self.row = self.column = 0
        self._region = (0, height - 1)
        self.cells = [self._blank_row() for _ in range(height)]

    def text(self):
        return "\n".join(line.rstrip() for line in self.lines())

    def lines(self):
        return ["".join(character for character, _ in row) for row in self.cells]

    def looks(self):
        return {look for row in self.cells for character, look in row if character != " "}

    def feed(self, data):
        self.bytes += len(data)
        self._pending += data
        text, self._pending = _whole_part(self._pending)
        position = 0
        while position < len(text):
            if text[position] != "\x1b":
                self._character(text[position])
                position += 1
                continue
            found = SEQUENCE.match(text, position)
            if found is None:
                raise CaseFailed(f"unknown to the screen: {text[position:position + 20]!r}")
            self._sequence(found)
            position = found.end()

    # Characters.

    def _blank_row(self):
        return [(" ", ())] * self.width

    def _character(self, character):
        if character == "\r":
            self.column = 0
        elif character == "\n":
            self._line_feed()
        elif character == "\b":
            self.column = max(self.column - 1, 0)
        elif character == "\t":
            self.column = min(self.column // 8 * 8 + 8, self.width - 1)
        elif character >= " ":
            self._put(character)
        elif character not in "\x07\x0f":
            raise CaseFailed(f"unknown to the screen: {character!r}")

    def _put(self, character):
        if self.column >= self.width:
            self.column = 0
            self._line_feed()
        self.cells[self.row][self.column] = (character, self._look)
        self.column += 1
        self._last = character

    def _line_feed(self):
        if self.row == self._region[1]:
            self._scroll(1)
        else:
            self.row = min(self.row + 1, self.height - 1)

    def _scroll(self, count, top=None):
        first, last = (self._region[0] if top is None else top), self._region[1]
        for _ in range(abs(count)):
            if count > 0:
                del self.cells[first]
                self.cells.insert(last, self._blank_row())
            else:
                del self.cells[last]
                self.cells.insert(first, self._blank_row())

    # Sequences.

    def _sequence(self, found):
        private, numbers, final = found.group(1), found.group(2), found.group(3)
        if found.group(4):
            return  # which set of characters
        if found.group(5):
            if found.group(5) == "M":
                self._scroll(-1)
            return
        values = [int(number or 0) for number in numbers.split(";")]
        if private == "?":
            change = self.modes.add if final == "h" else self.modes.discard
            for value in values:
                if value == OWN_SCREEN and (final == "h") != (value in self.modes):
                    self._swap_screens()
                change(value)
            return
        action = getattr(self, f"_csi_{final}" if final != "@" else "_csi_at", None)
        if private or action is None:
            raise CaseFailed(f"unknown to the screen: {found.group(0)!r}")
        action(values)

    def _swap_screens(self):
        """The program's own screen begins empty; the other one is found again as it was."""
        if self._other is None:
            self._other = self.cells, self.row, self.column
            self.cells = [self._blank_row() for _ in range(self.height)]
        else:
            (self.cells, self.row, self.column), self._other = self._other, None

    def _move(self, row, column):
        self.row = min(max(row, 0), self.height - 1)
        self.column = min(max(column, 0), self.width - 1)

    def _csi_A(self, values):
        self._move(self.row - (values[0] or 1), self.column)

    def _csi_B(self, values):
        self._move(self.row + (values[0] or 1), self.column)

    def _csi_C(self, values):
        self._move(self.row, self.column + (values[0] or 1))

    def _csi_D(self, values):
        self._move(self.row, self.column - (values[0] or 1))

    def _csi_G(self, values):
        self._move(self.row, (values[0] or 1) - 1)

    def _csi_d(self, values):
        self._move((values[0] or 1) - 1, self.column)

    def _csi_H(self, values):
        row, column = (values + [1])[:2]
        self._move((row or 1) - 1, (column or 1) - 1)

    def _csi_J(self, values):
        first = 0 if values[0] == 2 else self.row + 1
        for row in range(first, self.height):
            self.cells[row] = self._blank_row()
        if values[0] == 0:
            self._csi_K([0])

    def _csi_K(self, values):
        first, last = (self.column, self.width) if values[0] == 0 else (0, self.column + 1)
        for column in range(first, min(last, self.width)):
            self.cells[self.row][column] = (" ", ())

    def _csi_X(self, values):
        for column in range(self.column, min(self.column + (values[0] or 1), self.width)):
            self.cells[self.row][column] = (" ", ())

    def _csi_P(self, values):
        count = values[0] or 1
        row = self.cells[self.row]
        del row[self.column:self.column + count]
        row.extend([(" ", ())] * (self.width - len(row)))

    def _csi_at(self, values):
        row = self.cells[self.row]
        row[self.column:self.column] = [(" ", ())] * (values[0] or 1)
        del row[self.width:]

    def _csi_L(self, values):
        self._scroll(-(values[0] or 1), self.row)

    def _csi_M(self, values):
        self._scroll(values[0] or 1, self.row)

    def _csi_S(self, values):
        self._scroll(values[0] or 1)

    def _csi_T(self, values):
        self._scroll(-(values[0] or 1))

    def _csi_b(self, values):
        for _ in range(values[0] or 1):
            self._put(self._last)

    def _csi_r(self, values):
        top, bottom = (values + [0])[:2]
        self._region = ((top or 1) - 1, (bottom or self.height) - 1)
        self._move(0, 0)

    def _csi_m(self, values):
        for value in values:
            if value == 0:
                self._look = ()
            elif value == 39:
                self._look = tuple(each for each in self._look if not 30 <= each <= 37)
            elif value != 49:
                self._look = tuple(sorted({*self._look, value}))

    def _csi_h(self, values):
        pass

    def _csi_l(self, values):
        pass

    def _csi_t(self, values):
        pass


def _whole_part(data):
    """What is complete as text, and the beginning of a sequence or character that is not yet."""
    cut = data.rfind(b"\x1b")
    if cut >= 0 and SEQUENCE.match(data[cut:].decode(errors="replace")) is None:
        if len(data) - cut < 32:
            return data[:cut].decode(), data[cut:]
    for kept in range(4):
        try:
            return data[:len(data) - kept].decode(), data[len(data) - kept:]
        except UnicodeDecodeError:
            continue
    raise CaseFailed(f"no UTF-8: {data[-80:]!r}")
