// SPDX-License-Identifier: Apache-2.0
// What is written about the metrics agrees with the metrics.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <json/json.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include "tools/exporter/metric_catalogue.h"

namespace {

using korahamonctl::Metric;
using korahamonctl::metricTable;
using ::testing::HasSubstr;
using ::testing::IsSubsetOf;

std::string contentOf(const std::string& path) {
    std::ifstream file(KORAHA_SOURCE_DIR "/" + path);
    EXPECT_TRUE(file) << path;
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

bool isNamePart(char c) {
    return (c >= 'a' && c <= 'z') || c == '_';
}

// Everything in a text that is spelled like one of our metrics.
std::set<std::string> namesIn(const std::string& text) {
    std::set<std::string> names;
    for (auto at = text.find("koraha_"); at != std::string::npos; at = text.find("koraha_", at)) {
        const auto begin = text.begin() + static_cast<std::ptrdiff_t>(at);
        const auto end = std::find_if_not(begin, text.end(), isNamePart);
        names.emplace(begin, end);
        at = static_cast<std::size_t>(end - text.begin());
    }
    return names;
}

std::set<std::string> tableNames() {
    std::set<std::string> names;
    for (const Metric& metric : metricTable) {
        names.emplace(metric.name);
    }
    return names;
}

TEST(MetricNames, AreFormedAsPrometheusHasThem) {
    EXPECT_EQ(tableNames().size(), std::size(metricTable));
    for (const Metric& metric : metricTable) {
        EXPECT_TRUE(metric.name.starts_with("koraha_")) << metric.name;
        EXPECT_TRUE(std::all_of(metric.name.begin(), metric.name.end(), isNamePart)) << metric.name;
        EXPECT_TRUE(metric.help.ends_with('.')) << metric.name;
    }
}

TEST(MetricNames, InTheRulesExist) {
    const std::set<std::string> used = namesIn(contentOf("packaging/prometheus/koraha.rules.yml"));
    EXPECT_GT(used.size(), 10U);
    EXPECT_THAT(used, IsSubsetOf(tableNames()));
}

TEST(MetricNames, OfTheDashboardExist) {
    const std::string text = contentOf("packaging/grafana/koraha.json");
    Json::Value dashboard;
    std::string errors;
    std::istringstream stream(text);
    ASSERT_TRUE(Json::parseFromStream(Json::CharReaderBuilder(), stream, &dashboard, &errors))
        << errors;
    const std::set<std::string> used = namesIn(text);
    EXPECT_GT(used.size(), 10U);
    EXPECT_THAT(used, IsSubsetOf(tableNames()));
    std::set<int> ids;
    for (const Json::Value& panel : dashboard["panels"]) {
        EXPECT_TRUE(ids.insert(panel["id"].asInt()).second) << panel["title"];
        for (const Json::Value& target : panel["targets"]) {
            EXPECT_FALSE(namesIn(target["expr"].asString()).empty()) << panel["title"];
        }
    }
}

std::string rowOf(const Metric& metric) {
    std::string labels;
    std::istringstream names{std::string(metric.labels)};
    for (std::string name; names >> name;) {
        labels += (labels.empty() ? "`" : ", `") + name + "`";
    }
    return "| `" + std::string(metric.name) + "` | " + labels + (labels.empty() ? "" : " ") + "| " +
           std::string(metric.help) + " |\n";
}

TEST(MetricNames, AreAllInTheDocumentation) {
    const std::string text = contentOf("docs/monitoring.md");
    EXPECT_THAT(namesIn(text), IsSubsetOf(tableNames()));
    for (const Metric& metric : metricTable) {
        EXPECT_THAT(text, HasSubstr(rowOf(metric)));
    }
}

TEST(MetricNames, TheDocumentationTellsEveryAlert) {
    const std::string text = contentOf("docs/monitoring.md");
    std::istringstream rules(contentOf("packaging/prometheus/koraha.rules.yml"));
    int alerts = 0;
    for (std::string line; std::getline(rules, line);) {
        if (const auto at = line.find("- alert: "); at != std::string::npos) {
            EXPECT_THAT(text, HasSubstr("| `" + line.substr(at + 9) + "` |"));
            ++alerts;
        }
    }
    EXPECT_GT(alerts, 10);
}

}  // namespace
