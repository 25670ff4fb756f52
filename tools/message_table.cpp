// SPDX-License-Identifier: Apache-2.0
#include "tools/message_table.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string>

namespace korahamonctl {
namespace {

constexpr std::string_view conf = "int_daemon_conf";
constexpr std::string_view daemonTag = "koraharemotemond";
constexpr std::string_view library = "libkorahadaemon";
constexpr std::string_view core = "libkoracore";

constexpr Message table[] = {
    // NOLINT(modernize-avoid-c-arrays): its size is what stands here
    {91, Topic::start, conf, "Daemon configure file not exist",
     "there is no configuration file, so every setting has its default",
     "nothing, if that is meant"},
    {95, Topic::start, conf, "Load configure from file: ", "the configuration is being read",
     "nothing"},
    {99, Topic::start, conf, "Failed to parse json from file ",
     "the configuration does not parse, so the daemon does not start",
     "mend the line that it names; korahamonctl check-config"},
    {87, Topic::flag, daemonTag, "Create flag: ", "the peer has come into reach", "nothing"},
    {94, Topic::flag, daemonTag,
     "Delete flag: ", "the peer was out of reach twice in a row, or the daemon started",
     "at a start nothing; else look at the peer and at the link"},
    {268, Topic::packets, daemonTag, "Failed to get network interface fail rate",
     "the counters of the replication interface cannot be read",
     "see that the interface is there, under the name that the daemon was given"},
    {294, Topic::trouble, daemonTag, "Failed to create socket",
     "the status socket could not be made; the daemon stops",
     "look at the limits of descriptors and of memory"},
    {299, Topic::trouble, daemonTag, "Failed to bind socket",
     "another daemon runs, or something stands at the path of the status socket; the daemon stops",
     "korahamonctl status; look at /tmp/.ha_daemon.socket"},
    {304, Topic::trouble, daemonTag, "Failed to listen local socket request",
     "a serving step of the status socket failed; it is tried again each second",
     "look at the limits of descriptors and of memory"},
    {323, Topic::latency, daemonTag, "Heartbeat latency returns to normal",
     "the heartbeat is fast enough again", "nothing"},
    {331, Topic::latency, daemonTag, "[Latency Fail] Heartbeat too slow: ",
     "several samples in a row have reached the threshold; the last one, in milliseconds",
     "look at the load of the link and of both nodes, at cable and switch"},
    {337, Topic::latency, daemonTag, "Failed to send notify when hearbeat latency slow",
     "the cluster tool could not be run", "see that it is there and executable; it is tried again"},
    {357, Topic::packets, daemonTag, "Heartbeat packet ", "the packet loss is over", "nothing"},
    {365, Topic::packets, daemonTag, "[Packet Fail] Heartbeat packet loss: ",
     "the replication interface itself counts failed packets; their fraction of all",
     "look at cable, card and MTU; ip -s link"},
    {371, Topic::packets, daemonTag, "Failed to send notify when hearbeat packet drop",
     "the cluster tool could not be run", "see that it is there and executable; it is tried again"},
    {405, Topic::disk, daemonTag, "[Disks Error Handling] Remote disk error handling(",
     "the peer reports this disk under error handling; in brackets in how many cycles so far",
     "look at that disk on the peer"},
    {414, Topic::restart, daemonTag,
     "Too many errors on one disk, unable to restart remote active server",
     "a restart of the peer was due, but something here forbids it",
     "korahamonctl status lists what forbids it"},
    {416, Topic::restart, daemonTag, "Too many errors on one disk, restart remote active server",
     "the peer is being restarted", "see that it comes back; replace the disk"},
    {462, Topic::trouble, daemonTag, "Failed to get thread/future",
     "a routine could not be started; the daemon stops",
     "look at the limits of memory and of threads"},
    {473, Topic::trouble, daemonTag, "Failed to wait process exec",
     "a routine could not be waited for; the daemon stops", "look at the limits of memory"},
    {484, Topic::trouble, daemonTag, "Failed to get future return value",
     "what a routine returned could not be read; the daemon stops", "look at the limits of memory"},
    {493, Topic::trouble, daemonTag, "Failed to join thread",
     "a routine could not be waited for while the daemon stops", "nothing; it stops all the same"},
    {529, Topic::start, daemonTag, "Bad parameter",
     "the daemon was not started with exactly three arguments; it does not start",
     "give it the local address, the peer's address and the interface"},
    {535, Topic::start, daemonTag, "Failed to load config file",
     "the configuration does not parse, so the daemon does not start",
     "korahamonctl check-config says where"},
    {547, Topic::start, daemonTag, "Memory lock failed: ",
     "the daemon's memory is not locked: under memory pressure it may be slow",
     "give it an unlimited memory lock (ulimit -l, LimitMEMLOCK=infinity)"},
    {566, Topic::trouble, daemonTag, "Failed to do ",
     "the routine of this name has ended; the daemon stops", "the lines before it say why"},
    {0, Topic::trouble, library, "cannot tell whether DRBD is connected: ",
     "the state of DRBD cannot be read", "see that the module is loaded and drbdsetup installed"},
    {0, Topic::disk, library, "cannot tell whether a disk is under error handling: ",
     "the states of the disks cannot be read", "see that /sys is mounted"},
    {0, Topic::trouble, library, "cannot tell whether md resynchronises: ",
     "the states of the md arrays cannot be read", "see that /proc and /sys are mounted"},
    {0, Topic::latency, library,
     "cannot measure the heartbeat: ", "no echo can be sent, so the latency is unknown",
     "mend the address, interface or permission that it names; korahamonctl doctor"},
    {0, Topic::flag, library, "cannot ask whether the peer is alive: ",
     "no echo can be sent, so the peer counts as not alive",
     "mend the address, interface or permission that it names; korahamonctl doctor"},
    {0, Topic::packets, library, "cannot measure the failure rate: ",
     "the counters of the replication interface cannot be read",
     "see that the interface is there, under the name that the daemon was given"},
    {0, Topic::trouble, library, "cannot bind ",
     "another daemon runs, or something stands at the path of the socket",
     "korahamonctl status; look at the path"},
    {0, Topic::trouble, library, "the peer is not served: ",
     "the port for the peer is not open, so the peer cannot see this node's disks and arrays",
     "mend the key, address, interface or port that it names; korahamonctl doctor"},
    {0, Topic::trouble, library,
     "refused on the peer's port: ", "somebody who could not prove to be the peer was sent away",
     "compare the keys: korahamonctl peer-key show-fingerprint on both nodes"},
    {0, Topic::trouble, library,
     "the peer does not tell its state: ", "the disks and arrays of the peer are unknown",
     "see that its daemon runs and that both nodes hold the same key"},
    {0, Topic::restart, library, "refused to restart at the peer's request: ",
     "the peer asked this node to restart, and it does not", "the reason stands behind it"},
    {0, Topic::restart, library, "the peer is not restarted: ",
     "a restart of the peer was due, but it could not be noted first or this node restarts itself",
     "see that /var/lib/ha is writable"},
    {0, Topic::restart, library, "restart of the peer: ", "what came of a restart of the peer",
     "see that it comes back; korahamonctl status"},
    {0, Topic::restart, library, "the peer does not restart at a request ",
     "the peer did not obey, so the configured command is run", "see that it comes back"},
    {0, Topic::trouble, library, "older lines were lost, the log could not be written in time: ",
     "so many lines are missing here, because the disk took none for too long",
     "mend the disk of /var/log/ha"},
    {0, Topic::trouble, library, "log lines do not outlive this process: ",
     "should the daemon be killed, its lines that are not yet on disk are lost",
     "mend what it names; a second daemon on this node is to be stopped"},
    {0, Topic::trouble, library, "a log cannot be written: ",
     "its lines wait in memory until the disk takes them", "mend the disk of /var/log/ha"},
    {0, Topic::trouble, core, "cannot run ", "a program could not be run",
     "see that it is there and executable"},
};

int numberIn(std::string_view text) {
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool ends = end == text.data() + text.size() || *end == ' ' || *end == ':';
    return error == std::errc() && ends ? number : 0;
}

const Message* numbered(int number) {
    const auto* found = std::find_if(std::begin(table), std::end(table),
                                     [&](const Message& each) { return each.number == number; });
    return number == 0 || found == std::end(table) ? nullptr : found;
}

// The message whose tag, colon and number, or colon, blank and text, stand in the line.
bool isIn(const Message& message, std::string_view line) {
    const std::string tag = std::string(message.tag) + ":";
    const auto at = line.find(tag);
    if (at == std::string_view::npos) {
        return false;
    }
    const std::string_view rest = line.substr(at + tag.size());
    return message.number != 0 ? numberIn(rest) == message.number
                               : rest.starts_with(" " + std::string(message.text));
}

}  // namespace

std::span<const Message> messageTable() {
    return table;
}

std::string_view topicName(Topic topic) {
    constexpr std::array<std::string_view, 7> names = {"start", "flag",    "latency", "packets",
                                                       "disk",  "restart", "trouble"};
    return names.at(static_cast<std::size_t>(topic));
}

const Message* messageOf(std::string_view line) {
    if (line.find_first_not_of("0123456789") == std::string_view::npos) {
        return numbered(numberIn(line));
    }
    const auto* found = std::find_if(std::begin(table), std::end(table),
                                     [&](const Message& each) { return isIn(each, line); });
    return found == std::end(table) ? nullptr : found;
}

}  // namespace korahamonctl
