#include "tools/status_command.h"

#include <json/reader.h>
#include <json/value.h>

#include <ctime>
#include <memory>
#include <optional>
#include <ostream>

#include "tools/daemon_client.h"
#include "tools/status_view.h"

namespace korahamonctl {
namespace {

constexpr int noAnswer = 3;
constexpr int answerTimeoutMs = 3000;
constexpr int signOfLifeMs = 45'000;  // the daemon promises a line every 30 s

std::optional<Json::Value> parse(const std::string& line) {
    Json::Value value;
    std::string errors;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    if (!reader->parse(line.data(), line.data() + line.size(), &value, &errors) ||
        !value.isObject() || value.isMember("error")) {
        return std::nullopt;
    }
    return value;
}

int fail(std::ostream& err, const std::string& problem) {
    err << "korahamonctl: the daemon does not answer: " << problem << '\n';
    return noAnswer;
}

std::string timeOfDay() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    char text[16];  // NOLINT(modernize-avoid-c-arrays)
    std::strftime(text, sizeof text, "%H:%M:%S", &local);
    return text;
}

}  // namespace

int showStatus(const StatusOptions& options, std::ostream& out, std::ostream& err) {
    std::string problem;
    DaemonClient client(options.socketPath, problem);
    if (!problem.empty()) {
        return fail(err, options.socketPath + ": " + problem);
    }
    if (!client.send(R"({"request":"status"})")) {
        return fail(err, "it has left");
    }
    const auto line = client.receive(answerTimeoutMs);
    const auto status = line ? parse(*line) : std::nullopt;
    if (!status) {
        return fail(err, line ? "what it says is no status" : "nothing within 3 s");
    }
    if (options.json) {
        out << *line << '\n';
    } else {
        printStatus(*status, out);
    }
    return isAllWell(*status) ? 0 : 1;
}

int watchStatus(const StatusOptions& options, std::ostream& out, std::ostream& err) {
    std::string problem;
    DaemonClient client(options.socketPath, problem);
    if (!problem.empty() || !client.send(R"({"request":"watch"})")) {
        return fail(err, options.socketPath + ": " + problem);
    }
    std::string shown;
    while (const auto line = client.receive(signOfLifeMs)) {
        const auto status = parse(*line);
        if (!status) {
            return fail(err, "what it says is no status");
        }
        const std::string summary = options.json ? *line : oneLine(*status);
        if (options.json || summary != shown) {
            out << (options.json ? "" : timeOfDay() + "  ") << summary << std::endl;
        }
        shown = summary;
    }
    return fail(err, "it has left or hangs");
}

}  // namespace korahamonctl
