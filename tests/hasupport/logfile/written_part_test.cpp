// SPDX-License-Identifier: Apache-2.0
#include "hasupport/logfile/written_part.h"

#include <gtest/gtest.h>

#include <string>

namespace KORA::HA::Daemon::support {
namespace {

const std::string batch = "one\ntwo\n\tmore\nthree\n";

void expectPart(std::string_view tail, std::size_t begin, std::size_t size) {
    const WrittenPart part = findWrittenPart(tail, batch);
    EXPECT_EQ(part.begin, begin) << tail;
    EXPECT_EQ(part.size, size) << tail;
}

TEST(WrittenPart, FindsWhatOfTheBatchIsThere) {
    for (std::size_t size = 0; size <= batch.size(); ++size) {
        expectPart(std::string_view(batch).substr(0, size), 0, size);
    }
}

TEST(WrittenPart, LooksBehindTheLinesOfOthers) {
    const std::string theirs = "theirs\nand this\n";
    for (std::size_t size = 1; size <= batch.size(); ++size) {
        expectPart(theirs + batch.substr(0, size), theirs.size(), size);
    }
    expectPart(theirs, 0, 0);
    expectPart(batch + theirs, 0, batch.size());
    expectPart("one\ntheirs\n", 0, 4);
}

TEST(WrittenPart, TakesNoOtherLineForItsOwn) {
    expectPart("onetwo\n", 0, 0);
    expectPart("two\n\tmore\nthree\n", 0, 0);
    expectPart("on\n", 0, 0);
    expectPart("xone\n", 0, 0);
}

TEST(WrittenPart, OfNothingThereIsNothing) {
    EXPECT_EQ(findWrittenPart("text\n", "").size, 0U);
    EXPECT_EQ(findWrittenPart("", "").size, 0U);
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
