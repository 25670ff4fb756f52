// SPDX-License-Identifier: Apache-2.0
// The texts under written/ are written from documentation, not captured.
#include "hasupport/kernel/drbd_events.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/small_stack.h"
#include "tests/support/test_data.h"

namespace KORA::HA::Daemon::support {
namespace {

std::vector<DrbdResource> parsed(const std::string& name, std::string_view peer = {}) {
    const auto resources =
        parseDrbdEvents(koraha::test::testText("written/drbd9-events2-" + name), peer);
    EXPECT_TRUE(resources) << name;
    return resources.value_or(std::vector<DrbdResource>{});
}

void expectResource(const DrbdResource& resource, bool established, bool upToDate, bool target) {
    EXPECT_EQ(resource.established, established) << resource.name;
    EXPECT_EQ(resource.upToDate, upToDate) << resource.name;
    EXPECT_EQ(resource.resyncTarget, target) << resource.name;
}

TEST(DrbdEvents, readsOneResource) {
    const auto connected = parsed("connected");
    ASSERT_EQ(connected.size(), 1U);
    EXPECT_EQ(connected[0].name, "r0");
    expectResource(connected[0], true, true, false);
    expectResource(parsed("connecting").at(0), false, true, false);
    expectResource(parsed("synctarget").at(0), true, false, true);
    EXPECT_TRUE(parsed("no-resource").empty());
}

TEST(DrbdEvents, keepsResourcesApartAndTakesAllTheirVolumes) {
    const auto both = parsed("two-resources");
    ASSERT_EQ(both.size(), 2U);
    expectResource(both[0], true, true, false);
    expectResource(both[1], false, false, false);
}

TEST(DrbdEvents, asksForTheConnectionToThePeerWhereItIsKnown) {
    expectResource(parsed("three-nodes").at(0), false, true, false);
    expectResource(parsed("three-nodes", "2001:db8::2").at(0), true, true, false);
    expectResource(parsed("three-nodes", "192.0.2.3").at(0), false, true, false);
    expectResource(parsed("three-nodes", "192.0.2.99").at(0), false, true, false);
}

TEST(DrbdEvents, withoutAConnectionNothingIsEstablished) {
    const auto resources = parseDrbdEvents("exists resource name:r0\nexists -\n", "");
    ASSERT_TRUE(resources);
    expectResource(resources->at(0), false, false, false);
}

TEST(DrbdEvents, takesUnknownThingsForNormal) {
    const auto resources = parseDrbdEvents(
        "exists resource name:r0 mood:good\nrumour resource name:r9\n\nexists\n"
        "exists comet name:halley\nexists device minor:7 disk:Failed\n"
        "exists connection name:r0 peer-node-id:1 connection:Connected\n"
        "exists device name:r0 disk:UpToDate\nexists path name:r0 peer-node-id:1 peer:odd\n"
        "exists peer-device name:r0 peer-node-id:1 replication:Sideways\nexists -\n"
        "destroy resource name:r0\n",
        "192.0.2.2");
    ASSERT_TRUE(resources);
    ASSERT_EQ(resources->size(), 1U);
    expectResource(resources->at(0), true, true, false);
}

TEST(DrbdEvents, refusesTruncatedText) {
    const std::string text = koraha::test::testText("written/drbd9-events2-connected");
    for (std::size_t size = 0; size < text.rfind('-'); ++size) {
        EXPECT_FALSE(parseDrbdEvents(std::string_view(text).substr(0, size), "192.0.2.2")) << size;
    }
}

TEST(DrbdEvents, refusesGarbage) {
    for (const char* const text : {"", "\n", "garbage\n", "exists --\n", "- exists\n"}) {
        EXPECT_FALSE(parseDrbdEvents(text, {})) << text;
    }
}

TEST(DrbdEvents, boundsAnEnormousText) {
    koraha::test::onSmallStack([] {
        std::string text;
        for (int number = 0; number < 20000; ++number) {
            text += "exists resource name:r" + std::to_string(number) + "\n";
        }
        EXPECT_FALSE(parseDrbdEvents(text + "exists -\n", {}));
        EXPECT_FALSE(parseDrbdEvents(
            "exists resource name:" + std::string(1U << 20U, 'x') + "\nexists -\n", {}));
        std::string peers;
        for (int number = 0; number < 20000; ++number) {
            peers += "exists connection name:r0 peer-node-id:" + std::to_string(number) + "\n";
        }
        EXPECT_FALSE(parseDrbdEvents(peers + "exists -\n", {}));
    });
}

}  // namespace
}  // namespace KORA::HA::Daemon::support
