// SPDX-License-Identifier: Apache-2.0
#include "tests/faults/found_lines.h"

#include <cstdio>
#include <fstream>

namespace koraha::test {

void FoundLines::note(std::uint64_t& count, const std::string& what) {
    ++count;
    if (firstTrouble_.empty()) {
        firstTrouble_ = what.substr(0, 300);
    }
}

void FoundLines::readFile(const std::string& path) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        readLine(line);
    }
}

void FoundLines::readLine(const std::string& line) {
    int life = 0;
    int thread = 0;
    unsigned long long number = 0;
    int end = 0;
    const int fields = std::sscanf(line.c_str(), "%*s life=%d thread=%d line=%llu %n", &life,
                                   &thread, &number, &end);
    const auto filling = static_cast<std::size_t>(end);
    if (fields != 3 || end == 0 || line.find_first_not_of('x', filling) != std::string::npos ||
        line.size() - filling != fillingOf(number)) {
        note(broken_, "broken: " + line);
        return;
    }
    ++found_;
    std::uint64_t& next = next_[{life, thread}];
    if (number != next || life < life_) {
        note(outOfPlace_, "out of place, line " + std::to_string(next) + " was due: " + line);
    }
    next = number + 1;
    life_ = life;
}

void FoundLines::expect(int life, int thread, std::uint64_t returned) {
    const std::uint64_t found = next_[{life, thread}];
    for (std::uint64_t number = found; number < returned; ++number) {
        note(missing_, "missing: life=" + std::to_string(life) +
                           " thread=" + std::to_string(thread) + " line=" + std::to_string(number));
    }
    if (found > returned + 1) {
        note(outOfPlace_, "more lines than were set: life=" + std::to_string(life) +
                              " thread=" + std::to_string(thread));
    }
}

}  // namespace koraha::test
