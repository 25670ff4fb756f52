// SPDX-License-Identifier: Apache-2.0
#include "tools/exporter/page.h"

#include <sodium.h>

#include <array>

namespace korahamonctl {
namespace {

// As a policy names a script or style that may be there.
std::string sourceOf(std::string_view text) {
    std::array<unsigned char, crypto_hash_sha256_BYTES> hash{};
    std::array<char,
               sodium_base64_ENCODED_LEN(crypto_hash_sha256_BYTES, sodium_base64_VARIANT_ORIGINAL)>
        coded{};
    ::crypto_hash_sha256(hash.data(), reinterpret_cast<const unsigned char*>(text.data()),
                         text.size());
    ::sodium_bin2base64(coded.data(), coded.size(), hash.data(), hash.size(),
                        sodium_base64_VARIANT_ORIGINAL);
    return std::string("'sha256-") + coded.data() + "'";
}

void put(std::string& html, std::string_view place, std::string_view text) {
    html.replace(html.find(place), place.size(), text);
}

}  // namespace

Page makePage() {
    Page page;
    page.html = pageHtml;
    put(page.html, "@style@", pageStyle);
    put(page.html, "@script@", pageScript);
    page.policy =
        "default-src 'none'; script-src " + sourceOf(pageScript) + "; style-src " +
        sourceOf(pageStyle) +
        "; connect-src 'self'; img-src data:; base-uri 'none'; form-action 'none'; "
        "frame-ancestors 'none'; require-trusted-types-for 'script'; trusted-types 'none'";
    return page;
}

}  // namespace korahamonctl
