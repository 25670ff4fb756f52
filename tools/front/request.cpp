// SPDX-License-Identifier: Apache-2.0
#include "tools/front/request.h"

#include <string>
#include <string_view>

namespace korahamonctl::front {
namespace {

// The arguments in their order; each step is false at what is not plain.
class Arguments {
  public:
    Arguments(int argc, const char* const* argv) : end_(argv + argc), next_(argv + 1) {}

    std::optional<Request> read() {
        while (next_ < end_) {
            if (!take(*next_++)) {
                return std::nullopt;
            }
        }
        return command_.empty() ? std::nullopt : std::optional(request_);
    }

  private:
    bool take(std::string_view word) {
        if (word == "--socket") {
            return takePath(request_.options.socketPath, hasSocket_);
        }
        if (word == "--config") {
            return takePath(request_.options.configuration, hasConfiguration_);
        }
        if (word == "--json") {
            return takeOnce(request_.options.json) && command_ == "status";
        }
        request_.check = word == "check";
        return (request_.check || word == "status") && command_.empty() &&
               !(command_ = word).empty();
    }

    bool takePath(std::string& path, bool& has) {
        if (next_ == end_ || !takeOnce(has)) {
            return false;
        }
        path = *next_++;
        return path.starts_with('/');  // no option, command or list could be meant
    }

    static bool takeOnce(bool& taken) {
        const bool first = !taken;
        taken = true;
        return first;
    }

    const char* const* end_;
    const char* const* next_;
    Request request_;
    std::string_view command_;
    bool hasSocket_ = false;
    bool hasConfiguration_ = false;
};

}  // namespace

std::optional<Request> plainRequest(int argc, const char* const* argv) {
    if (argc < 1) {
        return std::nullopt;
    }
    return Arguments(argc, argv).read();
}

}  // namespace korahamonctl::front
