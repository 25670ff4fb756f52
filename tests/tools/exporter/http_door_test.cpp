// SPDX-License-Identifier: Apache-2.0
// How the exporter bears its clients.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <chrono>
#include <vector>

#include "http_client.h"
#include "running_exporter.h"
#include "tests/tools/records.h"
#include "tests/tools/status_server.h"

namespace {

using namespace koraha::test;  // NOLINT(google-build-using-namespace)
using KORA::HA::Daemon::support::UniqueFd;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

class Door : public ::testing::Test {
  protected:
    StatusServer daemon{StatusServer::saying(lineOf(healthyStatus()))};
    RunningExporter exporter{daemon.path(), {"pair.example"}};

    std::string ask(const std::string& bytes) const { return exchange(exporter.port(), bytes); }
    std::string askAs(const std::string& headers) const {
        return ask("GET /metrics HTTP/1.1\r\n" + headers + "\r\n");
    }
};

TEST_F(Door, ServesMetrics) {
    const std::string reply = ask(get("/metrics", exporter.port()));
    EXPECT_THAT(reply, StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(reply, HasSubstr("Content-Type: text/plain; version=0.0.4; charset=utf-8\r\n"));
    EXPECT_THAT(reply, HasSubstr("\r\nX-Content-Type-Options: nosniff\r\n"));
    EXPECT_THAT(reply, HasSubstr("\n# TYPE koraha_up gauge\nkoraha_up 1\n"));
    EXPECT_THAT(reply, HasSubstr("\nkoraha_exporter_refused_requests_total{reason=\"host\"} 0\n"));
}

TEST_F(Door, AnswersUnderItsOwnNamesOnly) {
    const std::string port = std::to_string(exporter.port());
    for (const std::string& host :
         {"localhost:" + port, "LOCALHOST:" + port, "127.0.0.1:" + port, std::string("localhost"),
          std::string("Pair.Example"), "pair.example:" + port}) {
        EXPECT_THAT(askAs("Host: " + host + "\r\n"), StartsWith("HTTP/1.1 200 ")) << host;
    }
    for (const std::string& host :
         {std::string("evil.example"), "evil.example:" + port, std::string("127.0.0.2"),
          std::string("localhost.evil.example"), std::string("evil.example:80@localhost"),
          std::string("[::1]"), std::string("localhost:"), std::string("localhost:1x"),
          std::string("[localhost"), std::string()}) {
        EXPECT_THAT(askAs("Host: " + host + "\r\n"), StartsWith("HTTP/1.1 421 ")) << host;
    }
    EXPECT_THAT(askAs(""), StartsWith("HTTP/1.1 421 "));
    EXPECT_THAT(askAs("Host: localhost\r\nHost: localhost\r\n"), StartsWith("HTTP/1.1 421 "));
    EXPECT_THAT(ask(get("/metrics", exporter.port())),
                HasSubstr("\nkoraha_exporter_refused_requests_total{reason=\"host\"} 12\n"));
}

TEST_F(Door, AnswersNoForeignOrigin) {
    EXPECT_THAT(ask(get("/metrics", exporter.port(), "Origin: http://pair.example:1\r\n")),
                StartsWith("HTTP/1.1 200 "));
    for (const char* origin : {"http://evil.example", "null", "localhost", "file://localhost"}) {
        EXPECT_THAT(
            ask(get("/metrics", exporter.port(), "Origin: " + std::string(origin) + "\r\n")),
            StartsWith("HTTP/1.1 421 "))
            << origin;
    }
}

TEST_F(Door, TakesNothingButGet) {
    const std::string host = " /metrics HTTP/1.1\r\nHost: localhost\r\n";
    for (const char* method : {"POST", "PUT", "DELETE", "OPTIONS", "PATCH"}) {
        const std::string reply = ask(method + host + "Content-Length: 3\r\n\r\nabc");
        EXPECT_THAT(reply, StartsWith("HTTP/1.1 405 ")) << method;
        EXPECT_THAT(reply, HasSubstr("\r\nAllow: GET, HEAD\r\n"));
    }
    EXPECT_THAT(ask("HEAD" + host + "\r\n"), StartsWith("HTTP/1.1 200 "));
    EXPECT_THAT(ask(get("/other", exporter.port())), StartsWith("HTTP/1.1 404 "));
    EXPECT_THAT(ask(get("/metrics/../../etc/passwd", exporter.port())),
                StartsWith("HTTP/1.1 404 "));
    EXPECT_THAT(ask(get("/metrics", exporter.port(), "Range: bytes=0-5\r\n")),
                StartsWith("HTTP/1.1 400 "));
}

TEST_F(Door, BearsGarbage) {
    for (const std::string& bytes :
         {std::string("garbage\r\n\r\n"), std::string("GET\r\n\r\n"), std::string("\r\n\r\n"),
          std::string("GET /metrics HTTP/9.9\r\n\r\n"), std::string(300, '\0') + "\r\n\r\n",
          "GET /" + std::string(9000, 'a') + " HTTP/1.1\r\n\r\n",
          "GET /metrics HTTP/1.1\r\nX: " + std::string(9000, 'b') + "\r\n\r\n",
          get("/metrics", exporter.port(), "Range: bytes=" + std::string(6000, '1') + "\r\n"),
          get("/metrics", exporter.port(), "Transfer-Encoding: chunked\r\n") + "zz\r\n"}) {
        ask(bytes);
    }
    EXPECT_THAT(ask("garbage\r\n\r\n"), StartsWith("HTTP/1.1 400 "));
    EXPECT_THAT(ask(get("/metrics", exporter.port())), StartsWith("HTTP/1.1 200 "));
}

TEST_F(Door, LetsGoOfAClientThatDawdles) {
    const UniqueFd slow = connectTo(exporter.port());
    const std::string request =
        get("/metrics", exporter.port(), "X: " + std::string(600, 'x') + "\r\n");
    const auto start = std::chrono::steady_clock::now();
    for (const char byte : request) {  // would take a minute and more
        if (::send(slow.get(), &byte, 1, MSG_NOSIGNAL) != 1) {
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    EXPECT_THAT(readToEnd(slow.get()), Not(HasSubstr("200 OK")));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
}

TEST_F(Door, ServesOthersWhileClientsSayNothing) {
    std::vector<UniqueFd> idle;
    for (int i = 0; i < 20; ++i) {
        idle.push_back(connectTo(exporter.port()));
    }
    EXPECT_THAT(ask(get("/metrics", exporter.port())), StartsWith("HTTP/1.1 200 "));
}

TEST_F(Door, RefusesMoreThanItHasPlacesFor) {
    std::vector<UniqueFd> idle;
    for (int i = 0; i < 64; ++i) {
        idle.push_back(connectTo(exporter.port()));
    }
    std::string reply;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    do {  // those who say nothing leave after two seconds: come while they are all there
        idle.push_back(connectTo(exporter.port()));
        say(idle.back().get(), get("/metrics", exporter.port()));
        reply = readUntil(idle.back().get(), "\r\n\r\n");
    } while (!reply.starts_with("HTTP/1.1 503 ") && std::chrono::steady_clock::now() < end);
    EXPECT_THAT(reply, StartsWith("HTTP/1.1 503 "));
    idle.clear();
    do {
        reply = ask(get("/metrics", exporter.port()));
    } while (!reply.starts_with("HTTP/1.1 200 ") && std::chrono::steady_clock::now() < end);
    EXPECT_THAT(reply, Not(HasSubstr("{reason=\"busy\"} 0\n")));
}

TEST(DoorWithoutADaemon, SaysSo) {
    const RunningExporter exporter("/nonexistent/socket");
    const std::string reply = exchange(exporter.port(), get("/metrics", exporter.port()));
    EXPECT_THAT(reply, StartsWith("HTTP/1.1 200 "));
    EXPECT_THAT(reply, HasSubstr("\nkoraha_up 0\n"));
}

TEST(DoorWithAHangingDaemon, DoesNotHang) {
    const ScratchDir scratch;
    const UniqueFd listener = boundSocket(scratch.path("socket"));
    ASSERT_EQ(::listen(listener.get(), 64), 0);  // lets clients in and never says a word
    const RunningExporter exporter(scratch.path("socket"));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_THAT(exchange(exporter.port(), get("/metrics", exporter.port())),
                HasSubstr("\nkoraha_up 0\n"));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

}  // namespace
