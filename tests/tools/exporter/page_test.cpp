// SPDX-License-Identifier: Apache-2.0
// The page, what keeps it up to date, and how many may follow.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <json/reader.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "http_client.h"
#include "running_exporter.h"
#include "tests/tools/records.h"
#include "tests/tools/status_server.h"
#include "tools/exporter/page.h"

namespace {

using namespace koraha::test;  // NOLINT(google-build-using-namespace)
using KORA::HA::Daemon::support::UniqueFd;
using ::testing::AnyOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

TEST(Page, LetsNothingRunButWhatStandsInIt) {
    const korahamonctl::Page page = korahamonctl::makePage();
    EXPECT_THAT(page.policy, StartsWith("default-src 'none'; script-src 'sha256-"));
    EXPECT_THAT(page.policy, HasSubstr("; style-src 'sha256-"));
    EXPECT_THAT(page.policy, HasSubstr("; connect-src 'self'; "));
    EXPECT_THAT(page.policy, HasSubstr("; frame-ancestors 'none'; "));
    EXPECT_THAT(page.policy, HasSubstr("require-trusted-types-for 'script'"));
    EXPECT_THAT(page.policy, Not(HasSubstr("unsafe")));
    EXPECT_THAT(page.policy, Not(HasSubstr("*")));
}

TEST(Page, NeedsNothingFromOutside) {
    const std::string html = korahamonctl::makePage().html;
    for (const char* word : {"@style@", "@script@", "http:", "https:", "//fonts", "@import", "url(",
                             "innerHTML", "outerHTML", "insertAdjacent", "document.write", "eval(",
                             " style=", " onclick", " onload", "<script src"}) {
        EXPECT_THAT(html, Not(HasSubstr(word)));
    }
    EXPECT_EQ(html.find("<script>"), html.rfind("<script>"));
    EXPECT_EQ(html.find("<style>"), html.rfind("<style>"));
}

TEST(Page, IsServedWithItsPolicy) {
    const RunningExporter exporter("/nonexistent/socket");
    const std::string reply = exchange(exporter.port(), get("/", exporter.port()));
    const korahamonctl::Page page = korahamonctl::makePage();
    EXPECT_THAT(reply, StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(reply, HasSubstr("\r\nContent-Security-Policy: " + page.policy + "\r\n"));
    EXPECT_THAT(reply, HasSubstr("\r\nContent-Type: text/html; charset=utf-8\r\n"));
    EXPECT_TRUE(reply.ends_with("\r\n\r\n" + page.html));
}

UniqueFd follow(int port) {
    UniqueFd fd = connectTo(port);
    say(fd.get(), get("/events", port));
    return fd;
}

TEST(Events, TellThePairAgainAndAgain) {
    const StatusServer daemon(StatusServer::saying(lineOf(healthyStatus())));
    const RunningExporter exporter(daemon.path());
    const UniqueFd page = follow(exporter.port());
    const std::string head = readUntil(page.get(), "\nevent: hour\ndata: {");
    EXPECT_THAT(head, StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(head, HasSubstr("\r\nContent-Type: text/event-stream\r\n"));
    EXPECT_THAT(head, HasSubstr("\nevent: pair\ndata: {\"active\":true,"));
    EXPECT_THAT(readUntil(page.get(), "\nevent: pair\n"), HasSubstr("\nevent: pair\n"));
}

TEST(Events, SayThatTheDaemonIsAway) {
    const RunningExporter exporter("/nonexistent/socket");
    const UniqueFd page = follow(exporter.port());
    EXPECT_THAT(readUntil(page.get(), "\"up\":false"), HasSubstr("\"up\":false"));
}

TEST(Events, TakeBackTheHourOfADaemonThatHasGone) {
    auto daemon = std::make_unique<StatusServer>(StatusServer::saying(lineOf(healthyStatus())));
    const RunningExporter exporter(daemon->path());
    const UniqueFd page = follow(exporter.port());
    EXPECT_THAT(readUntil(page.get(), "\nevent: hour\ndata: {"),
                HasSubstr("\nevent: hour\ndata: {"));
    daemon.reset();
    EXPECT_THAT(readUntil(page.get(), "\nevent: hour\ndata: null\n"),
                HasSubstr("\nevent: hour\ndata: null\n"));
}

TEST(Events, AreForThirtyTwoPagesAtOnce) {
    const StatusServer daemon(StatusServer::saying(lineOf(healthyStatus())));
    const RunningExporter exporter(daemon.path());
    std::vector<UniqueFd> pages;
    for (int i = 0; i < 32; ++i) {
        pages.push_back(follow(exporter.port()));
        ASSERT_THAT(readUntil(pages.back().get(), "event: pair\n"), HasSubstr("event: pair\n"))
            << i;
    }
    const std::string refused = exchange(exporter.port(), get("/events", exporter.port()));
    EXPECT_THAT(refused, StartsWith("HTTP/1.1 503 "));
    EXPECT_THAT(refused, HasSubstr("\r\nRetry-After: 5\r\n"));
    const std::string metrics = exchange(exporter.port(), get("/metrics", exporter.port()));
    EXPECT_THAT(metrics, HasSubstr("\nkoraha_exporter_streams 32\n"));
    EXPECT_THAT(metrics,
                HasSubstr("\nkoraha_exporter_refused_requests_total{reason=\"stream\"} 1\n"));

    pages.pop_back();  // its place is free once that is noticed
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    std::string reply;
    do {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        const UniqueFd page = follow(exporter.port());
        reply = readUntil(page.get(), "\r\n\r\n");
    } while (reply.starts_with("HTTP/1.1 503 ") && std::chrono::steady_clock::now() < end);
    EXPECT_THAT(reply, StartsWith("HTTP/1.1 200 "));
}

TEST(Events, AreForNobodyElse) {
    const RunningExporter exporter("/nonexistent/socket");
    EXPECT_THAT(exchange(exporter.port(), "GET /events HTTP/1.1\r\nHost: evil.example\r\n\r\n"),
                StartsWith("HTTP/1.1 421 "));
    EXPECT_THAT(exchange(exporter.port(),
                         get("/events", exporter.port(), "Origin: http://evil.example\r\n")),
                StartsWith("HTTP/1.1 421 "));
    EXPECT_THAT(exchange(exporter.port(), "HEAD /events HTTP/1.1\r\nHost: localhost\r\n\r\n"),
                AnyOf(StartsWith("HTTP/1.1 200 "), StartsWith("HTTP/1.1 4")));
}

}  // namespace
