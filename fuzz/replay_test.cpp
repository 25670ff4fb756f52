// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "replay_table.h"
#include "tests/support/small_stack.h"

namespace koraha::fuzz {
namespace {

std::vector<std::string> corpusOf(const char* name) {
    std::vector<std::string> inputs{""};
    const std::string directory = std::string(KORAHA_CORPUS) + "/" + name;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        std::ifstream file(entry.path(), std::ios::binary);
        inputs.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
    return inputs;
}

/// The input itself, its beginnings, and it twice over: what a torn file or stream looks like.
void runVariants(const Target& target, const std::string& input) {
    const auto run = [&](const std::string& text) {
        EXPECT_EQ(target.run(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()), 0);
    };
    run(input);
    run(input + input);
    const std::size_t step = input.size() / 64 + 1;
    for (std::size_t length = 0; length < input.size(); length += step) {
        run(input.substr(0, length));
    }
}

class CorpusReplay : public ::testing::TestWithParam<Target> {};

// An input that breaks a target's promise ends the program.
TEST_P(CorpusReplay, Passes) {
    const auto inputs = corpusOf(GetParam().name);
    ASSERT_GT(inputs.size(), 2U) << "a corpus has at least two files";
    for (const std::string& input : inputs) {
        runVariants(GetParam(), input);
    }
}

TEST_P(CorpusReplay, FitsIntoARoutinesStack) {
    const auto inputs = corpusOf(GetParam().name);
    test::onSmallStack([&] {
        for (const std::string& input : inputs) {
            runVariants(GetParam(), input);
        }
    });
}

INSTANTIATE_TEST_SUITE_P(Targets, CorpusReplay, ::testing::ValuesIn(targets),
                         [](const auto& each) { return std::string(each.param.name); });

}  // namespace
}  // namespace koraha::fuzz
