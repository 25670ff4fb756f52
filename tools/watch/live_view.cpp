// SPDX-License-Identifier: Apache-2.0
#include "tools/watch/live_view.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <string>

#include "hasupport/io/read_file.h"
#include "tools/config_document.h"
#include "tools/configured_paces.h"
#include "tools/exit_codes.h"
#include "tools/json_words.h"
#include "tools/watch/daemon_feed.h"
#include "tools/watch/log_tail.h"
#include "tools/watch/page.h"
#include "tools/watch/signals.h"
#include "tools/watch/terminal.h"

namespace korahamonctl::watch {
namespace {

using Clock = DaemonFeed::Clock;

constexpr std::chrono::seconds betweenPaints{1};
constexpr int exitBySignal = 128;

std::string hostName() {
    std::array<char, 65> text{};
    return ::gethostname(text.data(), text.size() - 1) == 0 ? text.data() : "this host";
}

class LiveView {
  public:
    LiveView(const StatusOptions& options, Signals& signals, Terminal& terminal)
        : configuration_(options.configuration),
          signals_(signals),
          terminal_(terminal),
          feed_(options.socketPath),
          log_(options.logPath) {
        scene_.host = hostName();
        readSettings();
    }

    int run() {
        while (!ended_) {
            const auto now = Clock::now();
            feed_.step(now);
            takeNews();
            if (now >= paintDue_ || newsToPaint_) {
                paint(now);
            }
            await(std::min(paintDue_, feed_.nextStep()));
        }
        return result_;
    }

  private:
    // The daemon reads its configuration once: another daemon may have read another one.
    void readSettings() {
        const std::string text = KORA::HA::Daemon::support::readFile(configuration_).value_or("");
        const Json::Value document = parseConfig(text).value_or(Json::objectValue);
        scene_.paces = pacesFrom(text);
        scene_.latencyThreshold = settingIn(document, KORA::HA::Daemon::THR_OF_HB_LATENCY);
        scene_.rateThreshold = settingIn(document, KORA::HA::Daemon::THR_OF_HB_PKT_DROP);
    }

    void takeNews() {
        if (feed_.answers() == answersSeen_ && feed_.problem() == scene_.problem) {
            return;
        }
        answersSeen_ = feed_.answers();
        if (feed_.status() && scene_.status &&
            member(*feed_.status(), "pid") != member(*scene_.status, "pid")) {
            readSettings();
        }
        newsToPaint_ = newsToPaint_ || !scene_.status || feed_.problem() != scene_.problem ||
                       scene_.history.isNull();
        scene_.status = feed_.status();
        scene_.history = feed_.history();
        scene_.problem = feed_.problem();
    }

    void paint(Clock::time_point now) {
        log_.readOn();
        scene_.log = log_.latest();
        scene_.logProblem = log_.problem();
        scene_.statusAge = std::chrono::duration<double>(now - feed_.statusAt()).count();
        scene_.now =
            std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch())
                .count();
        Canvas canvas = renderPage(scene_, terminal_.width(), terminal_.height());
        if (!terminal_.showsUtf8()) {
            canvas.makeAscii();
        }
        terminal_.paint(canvas);
        newsToPaint_ = false;
        paintDue_ = now + betweenPaints;
    }

    void await(Clock::time_point until) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now());
        std::array<pollfd, 3> waiting = {{{STDIN_FILENO, POLLIN, 0},
                                          {signals_.descriptor(), POLLIN, 0},
                                          {feed_.descriptor(), POLLIN, 0}}};
        ::poll(waiting.data(), waiting.size(), static_cast<int>(std::max<long>(left.count(), 0)));
        takeSignals();
        takeKeys();
        if ((waiting[0].revents & (POLLHUP | POLLERR | POLLNVAL)) != 0) {
            end(exitConcern);  // nobody sees or presses anything any more
        }
    }

    void takeSignals() {
        while (const int signal = signals_.next()) {
            if (signal == SIGTSTP || signal == SIGCONT) {
                terminal_.leave();  // also when it was stopped without being asked
            }
            if (signal == SIGTSTP) {
                signals_.obey(SIGTSTP);
            }
            if (signal == SIGTSTP || signal == SIGCONT || signal == SIGWINCH) {
                terminal_.redraw();
                newsToPaint_ = true;
            } else {
                end(exitBySignal + signal);
            }
        }
    }

    void takeKeys() {
        for (Key key = terminal_.key(); key != Key::none; key = terminal_.key()) {
            newsToPaint_ = true;
            obey(key);
        }
    }

    void obey(Key key) {
        const auto page = static_cast<std::size_t>(std::max(terminal_.height() / 3, 1));
        const std::size_t most = linesToScroll(scene_);
        std::size_t& back = scene_.scrolledBack;
        if (std::exchange(scene_.help, false) && key != Key::quit) {
            return;
        }
        switch (key) {
            case Key::quit:
                return end(exitFine);
            case Key::help:
                scene_.help = true;
                return;
            case Key::log:
                scene_.showEvents = !scene_.showEvents;
                back = 0;
                return;
            case Key::redraw:
                return terminal_.redraw();
            case Key::up:
                back = std::min(back + 1, most);
                return;
            case Key::down:
                back -= std::min<std::size_t>(back, 1);
                return;
            case Key::pageUp:
                back = std::min(back + page, most);
                return;
            case Key::pageDown:
                back -= std::min(back, page);
                return;
            case Key::home:
                back = most;
                return;
            case Key::end:
                back = 0;
                return;
            case Key::none:
            case Key::other:
                return;
        }
    }

    void end(int result) {
        ended_ = true;
        result_ = result;
    }

    std::string configuration_;
    Signals& signals_;
    Terminal& terminal_;
    DaemonFeed feed_;
    LogTail log_;
    Scene scene_;
    Clock::time_point paintDue_;
    unsigned answersSeen_ = 0;
    bool newsToPaint_ = true;
    bool ended_ = false;
    int result_ = exitFine;
};

}  // namespace

std::optional<int> showLive(const StatusOptions& options, std::string& problem) {
    Signals signals;
    int result = exitFine;
    {
        Terminal terminal(problem);
        if (!problem.empty()) {
            return std::nullopt;
        }
        result = LiveView(options, signals, terminal).run();
    }
    if (result > exitBySignal) {
        signals.obey(result - exitBySignal);
    }
    return result;
}

bool isOnTerminal() {
    return ::isatty(STDIN_FILENO) == 1 && ::isatty(STDOUT_FILENO) == 1;
}

}  // namespace korahamonctl::watch
