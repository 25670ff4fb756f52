// SPDX-License-Identifier: Apache-2.0
// Keeps the log buffers of every test in a directory of this process, away from the machine's own.
#include <gtest/gtest.h>

#include <memory>

#include "hasupport/logfile/buffer_place.h"
#include "tests/support/scratch_dir.h"

namespace {

class OwnLogBuffers : public testing::Environment {
  public:
    void SetUp() override {
        directory_ = std::make_unique<koraha::test::ScratchDir>();
        KORA::HA::Daemon::support::TEST_setBufferDirectory(directory_->path());
    }
    void TearDown() override { directory_.reset(); }

  private:
    std::unique_ptr<koraha::test::ScratchDir> directory_;
};

[[maybe_unused]] const auto* const registered =
    testing::AddGlobalTestEnvironment(new OwnLogBuffers);

}  // namespace
