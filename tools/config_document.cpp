#include "tools/config_document.h"

#include <json/reader.h>

#include <exception>

namespace korahamonctl {

std::optional<Json::Value> parseConfig(const std::string& text, std::string* problem) {
    std::string why;
    try {
        Json::Value document;
        Json::Reader reader;
        if (reader.parse(text, document, false)) {
            return document;
        }
        why = reader.getFormattedErrorMessages();
    } catch (const std::exception& e) {
        why = e.what();
    }
    if (problem != nullptr) {
        *problem = why;
    }
    return std::nullopt;
}

}  // namespace korahamonctl
