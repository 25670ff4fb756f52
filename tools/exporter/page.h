// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace korahamonctl {

// The files that the page is made of, put in by the build.
extern const std::string_view pageHtml;
extern const std::string_view pageStyle;
extern const std::string_view pageScript;

/// The page, whole, and the policy that lets nothing run but what stands in it.
struct Page {
    std::string html;
    std::string policy;
};

Page makePage();

}  // namespace korahamonctl
