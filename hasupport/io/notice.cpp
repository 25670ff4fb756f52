#include "hasupport/io/notice.h"

#include <syslog.h>

#include <algorithm>
#include <functional>
#include <string>

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::size_t noticeLimit = 512;

std::string printable(std::string_view text) {
    std::string out(text.substr(0, noticeLimit));
    std::replace_if(
        out.begin(), out.end(),
        [](char c) { return static_cast<unsigned char>(c) < 0x20U || c == '\x7f'; }, '?');
    return out;
}

}  // namespace

void notify(std::string_view text) {
    ::syslog(LOG_ERR, "libkorahadaemon: %s", printable(text).c_str());
}

void Notice::raise(std::string_view text) {
    const std::size_t fingerprint = std::hash<std::string_view>{}(text) | 1U;
    if (fingerprint_.exchange(fingerprint) != fingerprint) {
        notify(text);
    }
}

void Notice::clear(std::string_view recovered) {
    if (fingerprint_.exchange(0) != 0 && !recovered.empty()) {
        notify(recovered);
    }
}

}  // namespace KORA::HA::Daemon::support
