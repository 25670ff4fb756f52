// SPDX-License-Identifier: Apache-2.0
#include "tools/log_command.h"

#include <chrono>
#include <cstring>
#include <deque>
#include <ostream>
#include <string_view>
#include <thread>

#include "tools/exit_codes.h"
#include "tools/log_records.h"
#include "tools/log_source.h"
#include "tools/visible.h"

namespace korahamonctl {
namespace {

constexpr std::chrono::milliseconds betweenLooks{300};

// Line by line, so that only what begins a line of the record may be a tab.
void print(const std::string& record, std::ostream& out) {
    std::string_view rest = record;
    while (true) {
        const auto end = rest.find('\n');
        std::string_view line = rest.substr(0, end);
        if (line.starts_with('\t')) {
            out << '\t';
            line.remove_prefix(1);
        }
        out << visible(std::string(line)) << '\n';
        if (end == std::string_view::npos) {
            return;
        }
        rest.remove_prefix(end + 1);
    }
}

// Keeps the latest records back until it is known which they are.
class Printer {
  public:
    Printer(std::size_t last, std::ostream& out) : last_(last), out_(out) {}

    void take(const std::string& record) {
        if (last_ == 0) {
            print(record, out_);
            return;
        }
        kept_.push_back(record);
        if (kept_.size() > last_) {
            kept_.pop_front();
        }
    }
    void printKept() {
        for (const std::string& record : kept_) {
            print(record, out_);
        }
        kept_.clear();
        last_ = 0;
        out_.flush();
    }

  private:
    std::size_t last_;
    std::ostream& out_;
    std::deque<std::string> kept_;
};

}  // namespace

int showLog(const LogOptions& options, std::ostream& out, std::ostream& err) {
    LogSource source(options.path);
    if (!source.isThere() && !options.follow) {
        err << "korahamonctl: " << visible(options.path) << ": " << std::strerror(source.error())
            << '\n';
        return exitConcern;
    }
    LogFilter filter = options.filter;
    Printer printer(options.last, out);
    LogRecords records([&](const std::string& record) {
        if (filter.passes(record)) {
            printer.take(record);
        }
    });
    const auto feed = [&](std::string_view bytes) { records.feed(bytes); };
    source.readAll(feed);
    if (!options.follow) {
        records.end();
    }
    records.settle();
    printer.printKept();
    while (options.follow && out && options.goOn()) {
        std::this_thread::sleep_for(betweenLooks);
        source.readMore(feed);
        records.settle();
        out.flush();
    }
    return out ? exitFine : exitConcern;
}

}  // namespace korahamonctl
