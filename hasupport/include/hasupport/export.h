// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Marks what the shared objects show to the world; everything else stays inside them.
#define KORAHA_EXPORT __attribute__((visibility("default")))
