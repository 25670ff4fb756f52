// SPDX-License-Identifier: Apache-2.0
#include "tools/watch/page.h"

#include <algorithm>
#include <limits>

#include "tools/watch/rows.h"

namespace korahamonctl::watch {
namespace {

constexpr std::size_t frameRows = 2;  // the title and the keys
constexpr std::size_t wantedLogRows = 5;
constexpr int logImportance = 35;

// Readings grow older while the daemon says nothing new.
void age(Json::Value& status, double seconds) {
    Json::Value& readings = status["readings"];
    if (!readings.isObject()) {
        return;
    }
    for (const std::string& name : readings.getMemberNames()) {
        Json::Value& reading = readings[name];
        if (reading.isObject() && reading["ageSeconds"].isNumeric()) {
            reading["ageSeconds"] = reading["ageSeconds"].asDouble() + seconds;
        }
    }
}

Rows factRows(const Scene& scene, int width) {
    Rows rows = verdictRows(scene, width);
    const auto add = [&](const Rows& more) { rows.insert(rows.end(), more.begin(), more.end()); };
    add({{{}, 10}});
    add(sideRows(scene, width));
    add({{{}, 9}});
    add(linkRows(scene, width));
    add({{{}, 8}});
    add(hourRows(scene, width));
    add(restartRows(scene, width));
    return rows;
}

// Takes away what is less important than `limit`, the least first, until the rest fits.
void fit(Rows& rows, std::size_t room, int limit) {
    while (rows.size() > room) {
        const auto least = std::min_element(
            rows.rbegin(), rows.rend(),
            [](const Row& a, const Row& b) { return a.importance < b.importance; });
        if (least->importance >= limit) {
            return;
        }
        rows.erase(std::next(least).base());
    }
}

// The facts, and in the room that they leave the lines of the log.
std::vector<Cells> bodyOf(const Scene& scene, int width, std::size_t room) {
    if (scene.help) {
        return helpLines();
    }
    Rows facts = factRows(scene, width);
    fit(facts, room - std::min(room, wantedLogRows), logImportance);
    fit(facts, room, std::numeric_limits<int>::max());
    std::vector<Cells> body;
    for (const Row& row : facts) {
        body.push_back(row.cells);
    }
    const auto log = logRows(scene, width, room - facts.size());
    body.insert(body.end(), log.begin(), log.end());
    return body;
}

}  // namespace

Canvas renderPage(const Scene& scene, int width, int height) {
    Canvas canvas(width, height);
    Scene aged = scene;
    if (aged.status && aged.status->isObject()) {
        age(*aged.status, aged.statusAge);
    }
    const auto rows = static_cast<std::size_t>(canvas.height());
    canvas.setRow(0, titleRow(aged, canvas.width()));
    const std::size_t room = rows - std::min(rows, frameRows);
    const auto body = bodyOf(aged, canvas.width(), room);
    for (std::size_t i = 0; i < std::min(room, body.size()); ++i) {
        canvas.setRow(static_cast<int>(i) + 1, body[i]);
    }
    if (rows > 1) {
        canvas.setRow(canvas.height() - 1, keysRow(aged, canvas.width()));
    }
    return canvas;
}

}  // namespace korahamonctl::watch
